#include "model.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

#include "session.h"

namespace {

std::string DateText(PDMDateTime when) {
    std::time_t t = static_cast<std::time_t>(when);
    std::tm fields{};
    if (gmtime_r(&t, &fields) == nullptr) return std::to_string(when);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &fields);
    return text;
}

std::string DoubleText(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}

// A text of the library, copied at once: it may come from the ring of 32 texts.
template <class Handle, class Read>
bool Get(Handle handle, Read read, std::string& out, const char* what) {
    const char* text = nullptr;
    if (!Ok(read(handle, &text), what)) return false;
    out = Text(text);
    return true;
}

template <class Handle, class Read>
bool Flag(Handle handle, Read read, bool& out, const char* what) {
    int flag = 0;
    if (!Ok(read(handle, &flag), what)) return false;
    out = flag != 0;
    return true;
}

// The names of a two-phase list.
template <class Handle, class List>
bool Names(Handle handle, List list, std::vector<std::string>& out, const char* what) {
    int count = 0;
    if (!Ok(list(handle, &count, nullptr), what)) return false;
    std::vector<const char*> names(static_cast<size_t>(count), nullptr);
    if (count > 0 && !Ok(list(handle, &count, names.data()), what)) return false;
    for (const char* name : names) out.push_back(Text(name));
    return true;
}

bool ReadDependencies(WSPIVHandle version, std::vector<DependencyView>& out) {
    CursorHandle cursor = nullptr;
    if (!Ok(PDMWSPIVGetDependencies(version, &cursor), "listing dependencies")) return false;
    for (void* element : Drain(cursor)) {
        auto dependency = static_cast<WSDependencyHandle>(element);
        DependencyView view;
        int inWorkspace = 0;
        if (!Get(dependency, PDMWSDependencyGetChildName, view.child, "reading a dependency") ||
            !Get(dependency, PDMWSDependencyGetClass, view.kind, "reading a dependency") ||
            !Ok(PDMWSDependencyGetType(dependency, &view.type), "reading a dependency") ||
            !Ok(PDMWSDependencyIsChildInWS(dependency, &inWorkspace), "reading a dependency"))
            return false;
        view.child_in_workspace = inWorkspace != 0;
        out.push_back(view);
    }
    return true;
}

bool ReadItem(WSPIHandle item, bool details, ItemView& view) {
    WSPIVHandle version = nullptr;
    if (!Get(item, PDMWSPIGetName, view.name, "reading an item") ||
        !Ok(PDMWSPIGetCurrWSPIV(item, &version), "reading an item"))
        return false;
    bool instance = false, generic = false, hasFile = false;
    if (!Get(version, PDMWSPIVGetTypeName, view.type, "reading a version") ||
        !Get(version, PDMWSPIVGetDescription, view.description, "reading a version") ||
        !Get(version, PDMWSPIVGetTargetBranchName, view.target_branch, "reading a version") ||
        !Get(version, PDMWSPIVGetTargetRevision, view.target_revision, "reading a version") ||
        !Get(version, PDMWSPIVGetTargetReleaseLevel, view.target_release_level,
             "reading a version") ||
        !Get(version, PDMWSPIVGetTargetFolder, view.target_folder, "reading a version") ||
        !Flag(version, PDMWSPIVIsModified, view.modified, "reading a version") ||
        !Flag(version, PDMWSPIVIsInstance, instance, "reading a version") ||
        !Flag(version, PDMWSPIVHasInstance, generic, "reading a version") ||
        !Flag(version, PDMWSPIVHasFile, hasFile, "reading a version"))
        return false;
    view.role = generic && instance ? "generic+instance" : generic ? "generic" : instance ? "instance" : "";
    if (generic || instance) {
        WSLILHandle library = nullptr;
        if (!Ok(PDMWSPIVGetLIL(version, &library), "reading a version")) return false;
        if (library != nullptr && !Get(library, PDMWSLILGetName, view.library, "reading a library"))
            return false;
    }
    if (hasFile && !Get(version, PDMWSPIVGetPathForRead, view.file, "reading a version"))
        return false;
    // Shown as the disk has it: the library keeps "|" as its separator.
    for (char& c : view.file) c = c == '|' ? '/' : c;
    if (!details) return true;
    std::vector<std::string> names;
    if (!Names(version, PDMWSPIVGetAttributeNames, names, "listing attributes")) return false;
    for (const std::string& name : names) {
        PDMAttrValue value{};
        if (!Ok(PDMWSPIVGetAttribute(version, name.c_str(), &value), "reading an attribute"))
            return false;
        view.attributes.push_back(AttributeOf(name, value));
    }
    return ReadDependencies(version, view.dependencies);
}

}  // namespace

AttributeView AttributeOf(const std::string& name, const PDMAttrValue& value) {
    AttributeView view;
    view.name = name;
    switch (value.kind) {
        case PDM_ATTR_INTEGER: view.kind = "integer"; view.text = std::to_string(value.value.i); break;
        case PDM_ATTR_DOUBLE: view.kind = "double"; view.text = DoubleText(value.value.d); break;
        case PDM_ATTR_BOOLEAN: view.kind = "boolean"; view.text = value.value.b ? "true" : "false"; break;
        case PDM_ATTR_STRING: view.kind = "string"; view.text = Text(value.value.s); break;
        case PDM_ATTR_DATETIME: view.kind = "datetime"; view.text = DateText(value.value.dt); break;
        case PDM_ATTR_OBJECT: view.kind = "object"; break;
        default: view.kind = "none"; break;
    }
    return view;
}

bool ReadObject(LDBObjectHandle object, ObjectView& out, std::vector<LDBObjectHandle>& seen) {
    auto known = std::find(seen.begin(), seen.end(), object);
    if (known != seen.end()) {
        out.seen_before = true;
        out.number = static_cast<uint32_t>(known - seen.begin()) + 1;
        return true;
    }
    seen.push_back(object);
    out.number = static_cast<uint32_t>(seen.size());
    // The root has no type name of its own: the connection's handle stands for it.
    if (seen.size() == 1) {
        out.type = "root";
    } else if (!Get(object, PDMLDBObjectGetType, out.type, "reading an object's type")) {
        return false;
    }
    std::vector<std::string> names;
    if (!Names(object, PDMLDBObjectGetLDBAttributeNames, names, "listing attributes")) return false;
    for (const std::string& name : names) {
        PDMAttrValue value{};
        if (!Ok(PDMLDBObjectGetLDBAttribute(object, name.c_str(), &value), "reading an attribute"))
            return false;
        AttributeView view = AttributeOf(name, value);
        if (value.kind == PDM_ATTR_OBJECT && value.value.obj != nullptr) {
            view.object.emplace_back();
            if (!ReadObject(value.value.obj, view.object.back(), seen)) return false;
        }
        out.attributes.push_back(std::move(view));
    }
    return true;
}

bool ReadWorkspace(WorkspaceHandle ws, WorkspaceView& out) {
    int flag = 0;
    CursorHandle cursor = nullptr;
    if (!Get(ws, PDMWorkspaceGetName, out.name, "reading a workspace") ||
        !Get(ws, PDMWorkspaceGetPath, out.directory, "reading a workspace") ||
        !Get(ws, PDMWorkspaceGetDescription, out.description, "reading a workspace") ||
        !Ok(PDMWorkspaceGetStateCount(ws, &out.state_count), "reading a workspace") ||
        !Ok(PDMWorkspaceGetCurrentStateNumber(ws, &out.current_state), "reading a workspace") ||
        !Ok(PDMWorkspaceIsUnderIntegration(ws, &flag), "reading a workspace") ||
        !Ok(PDMWorkspaceGetWSPIs(ws, &cursor), "listing items"))
        return false;
    out.under_integration = flag != 0;
    out.item_count = static_cast<int>(Drain(cursor).size());
    return true;
}

bool ReadStates(WorkspaceHandle ws, std::vector<StateView>& out) {
    int current = 0, count = 0;
    CursorHandle cursor = nullptr;
    if (!Ok(PDMWorkspaceGetCurrentStateNumber(ws, &current), "reading the states") ||
        !Ok(PDMWorkspaceGetAllStatesUserDataIds(ws, &count, nullptr), "reading the states"))
        return false;
    std::vector<int> ids(static_cast<size_t>(count), 0);
    if (count > 0 && !Ok(PDMWorkspaceGetAllStatesUserDataIds(ws, &count, ids.data()), "reading the states"))
        return false;
    if (!Ok(PDMWorkspaceGetAllStates(ws, &cursor), "listing the states")) return false;
    int number = 0;
    for (void* element : Drain(cursor)) {
        StateView view;
        view.number = number;
        view.current = number == current;
        view.user_data_id = number < count ? ids[static_cast<size_t>(number)] : 0;
        if (!Get(static_cast<WorkspaceStateHandle>(element), PDMWorkspaceStateGetDescription,
                 view.description, "reading a state"))
            return false;
        out.push_back(view);
        ++number;
    }
    return true;
}

bool ReadItems(WorkspaceHandle ws, bool modifiedOnly, bool details, std::vector<ItemView>& out) {
    CursorHandle cursor = nullptr;
    int rc = modifiedOnly ? PDMWorkspaceGetModifiedWSPIs(ws, &cursor) : PDMWorkspaceGetWSPIs(ws, &cursor);
    if (!Ok(rc, "listing items")) return false;
    for (void* element : Drain(cursor)) {
        ItemView view;
        if (!ReadItem(static_cast<WSPIHandle>(element), details, view)) return false;
        out.push_back(std::move(view));
    }
    std::sort(out.begin(), out.end(),
              [](const ItemView& a, const ItemView& b) { return a.name < b.name; });
    return true;
}
