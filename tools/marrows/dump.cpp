// The dump: the root's application objects with their attributes, followed from object to
// object, and the workspace model (workspaces, their states and their items with versions'
// data, attributes and dependencies), as indented text or as one JSON document.
#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "commands.h"
#include "model.h"
#include "session.h"

namespace {

using Json = nlohmann::ordered_json;

Json ToJson(const ObjectView& object);

Json ToJson(const AttributeView& attribute) {
    Json value = {{"name", attribute.name}, {"kind", attribute.kind}};
    if (attribute.kind == "integer") {
        value["value"] = std::stoll(attribute.text);
    } else if (attribute.kind == "double") {
        value["value"] = std::stod(attribute.text);
    } else if (attribute.kind == "boolean") {
        value["value"] = attribute.text == "true";
    } else if (attribute.kind == "object") {
        value["value"] = attribute.object.empty() ? Json() : ToJson(attribute.object.front());
    } else {
        value["value"] = attribute.text;
    }
    return value;
}

Json ToJson(const ObjectView& object) {
    if (object.seen_before) return Json{{"ref", object.number}};
    Json attributes = Json::array();
    for (const AttributeView& attribute : object.attributes) attributes.push_back(ToJson(attribute));
    return Json{{"id", object.number}, {"type", object.type}, {"attributes", attributes}};
}

Json ToJson(const ItemView& item) {
    Json attributes = Json::array(), dependencies = Json::array();
    for (const AttributeView& attribute : item.attributes) attributes.push_back(ToJson(attribute));
    for (const DependencyView& d : item.dependencies) {
        dependencies.push_back({{"child", d.child}, {"kind", d.kind}, {"type", d.type},
                                {"child_in_workspace", d.child_in_workspace}});
    }
    return Json{{"name", item.name},
                {"type", item.type},
                {"description", item.description},
                {"target_branch", item.target_branch},
                {"target_revision", item.target_revision},
                {"target_release_level", item.target_release_level},
                {"target_folder", item.target_folder},
                {"modified", item.modified},
                {"role", item.role},
                {"library", item.library},
                {"file", item.file},
                {"attributes", attributes},
                {"dependencies", dependencies}};
}

void PrintObject(const ObjectView& object, int depth);

void PrintAttribute(const AttributeView& attribute, int depth) {
    std::string indent(static_cast<size_t>(depth) * 2, ' ');
    if (attribute.kind == "object" && !attribute.object.empty()) {
        std::printf("%s%s = ", indent.c_str(), attribute.name.c_str());
        PrintObject(attribute.object.front(), depth);
        return;
    }
    std::printf("%s%s = %s (%s)\n", indent.c_str(), attribute.name.c_str(),
                attribute.kind == "object" ? "null" : attribute.text.c_str(), attribute.kind.c_str());
}

void PrintObject(const ObjectView& object, int depth) {
    if (object.seen_before) {
        std::printf("see #%u\n", object.number);
        return;
    }
    std::printf("#%u %s\n", object.number, object.type.c_str());
    for (const AttributeView& attribute : object.attributes) PrintAttribute(attribute, depth + 1);
}

struct WorkspaceDump {
    WorkspaceView workspace;
    std::vector<StateView> states;
    std::vector<ItemView> items;
};

void PrintWorkspace(const WorkspaceDump& dump) {
    const WorkspaceView& w = dump.workspace;
    std::printf("workspace %s\n  directory: %s\n  description: %s\n  state %d of %d%s\n",
                w.name.c_str(), w.directory.c_str(), w.description.c_str(), w.current_state,
                w.state_count, w.under_integration ? ", under integration" : "");
    for (const ItemView& item : dump.items) {
        std::printf("  item %s (%s) revision %s%s%s%s\n", item.name.c_str(), item.type.c_str(),
                    item.target_revision.empty() ? "-" : item.target_revision.c_str(),
                    item.modified ? ", modified" : "",
                    item.role.empty() ? "" : (", " + item.role + " of " + item.library).c_str(),
                    item.file.empty() ? "" : (", file " + item.file).c_str());
        for (const AttributeView& attribute : item.attributes) PrintAttribute(attribute, 2);
        for (const DependencyView& d : item.dependencies) {
            std::printf("    depends on %s (%s, type %d)%s\n", d.child.c_str(), d.kind.c_str(),
                        d.type, d.child_in_workspace ? "" : ", not in the workspace");
        }
    }
}

}  // namespace

int DumpCommand(const std::string& path, bool json) {
    Session session;
    if (!session.Open(path) || !session.Begin()) return kExitFailed;
    std::vector<LDBObjectHandle> seen;
    ObjectView root;
    // The connection stands for the root object, with the root's attributes.
    if (!ReadObject(reinterpret_cast<LDBObjectHandle>(session.ldb()), root, seen)) return kExitFailed;
    std::vector<WorkspaceHandle> handles;
    if (!Workspaces(session.ldb(), handles)) return kExitFailed;
    std::vector<WorkspaceDump> workspaces(handles.size());
    for (size_t i = 0; i < handles.size(); ++i) {
        if (!ReadWorkspace(handles[i], workspaces[i].workspace) ||
            !ReadStates(handles[i], workspaces[i].states) ||
            !ReadItems(handles[i], false, true, workspaces[i].items))
            return kExitFailed;
    }
    if (json) {
        Json document = {{"root", ToJson(root)}, {"workspaces", Json::array()}};
        for (const WorkspaceDump& dump : workspaces) {
            const WorkspaceView& w = dump.workspace;
            Json states = Json::array(), items = Json::array();
            for (const StateView& s : dump.states) {
                states.push_back({{"number", s.number}, {"current", s.current},
                                  {"description", s.description}, {"user_data_id", s.user_data_id}});
            }
            for (const ItemView& item : dump.items) items.push_back(ToJson(item));
            document["workspaces"].push_back({{"name", w.name},
                                              {"directory", w.directory},
                                              {"description", w.description},
                                              {"under_integration", w.under_integration},
                                              {"current_state", w.current_state},
                                              {"states", states},
                                              {"items", items}});
        }
        std::printf("%s\n", document.dump(2).c_str());
        return kExitOk;
    }
    std::printf("root ");
    PrintObject(root, 0);
    for (const WorkspaceDump& dump : workspaces) PrintWorkspace(dump);
    return kExitOk;
}
