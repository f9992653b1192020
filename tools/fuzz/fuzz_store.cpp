// The fuzz target of the store reader: the input is a store file. It is opened through the
// exported interface and walked as a client can walk it: the root's attributes and the objects
// they lead to, the item types and attribute definitions, every workspace with its states,
// items, versions, dependencies, libraries and relations, the integrity checks, and undo and
// redo through every state inside a transaction that is then aborted. Nothing is committed, so
// no file beside the store is ever touched. Whatever the file holds, every call must come back
// with a result; the sanitizers make a stray read, a leak or undefined behaviour fatal.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <unistd.h>
#include <vector>

#include "marrows/marrows.h"

namespace {

// A walk has bounds of its own, so that a large but honest store costs a bounded time: a
// store that makes a cursor run without end is still found, as the bound is far above what
// the inputs can hold.
constexpr int kMaxElements = 100000;
constexpr int kMaxDepth = 8;

std::vector<void*> Drain(int rc, CursorHandle cursor) {
    std::vector<void*> out;
    if (rc == 0 && cursor != nullptr) {
        void* element = nullptr;
        while (out.size() < static_cast<size_t>(kMaxElements) &&
               PDMCursorGetNext(cursor, &element) == 0 && element != nullptr)
            out.push_back(element);
    }
    PDMCursorDelete(cursor);
    return out;
}

// The elements of the cursor that f gives for args; the cursor starts null, as a failing call
// may leave it untouched.
template <class F, class... Args>
std::vector<void*> Elements(F f, Args... args) {
    CursorHandle cursor = nullptr;
    const int rc = f(args..., &cursor);
    return Drain(rc, cursor);
}

// A two-phase name list; the names are copied, as they may be ring texts.
template <class Handle, class Names>
std::vector<std::string> NameList(Handle handle, Names names) {
    int count = 0;
    std::vector<std::string> out;
    if (names(handle, &count, nullptr) != 0 || count <= 0) return out;
    std::vector<const char*> texts(static_cast<size_t>(count), nullptr);
    if (names(handle, &count, texts.data()) != 0) return out;
    for (int i = 0; i < count && i < static_cast<int>(texts.size()); ++i)
        out.push_back(texts[i] != nullptr ? texts[i] : "");
    return out;
}

// Touches a text the library handed out, so that a bad pointer shows.
size_t Touch(const char* text) { return text != nullptr ? std::string(text).size() : 0; }

class Walker {
public:
    explicit Walker(LDBHandle ldb) : ldb_(ldb) {}

    void WalkDatabase() {
        const char* text = nullptr;
        PDMLDBGetPath(ldb_, &text);
        int found = 0;
        PDMLDBCheckIntegrity(ldb_, &found);
        Clear();
        WalkObject(reinterpret_cast<LDBObjectHandle>(ldb_), 0);
        for (void* t : Elements(PDMWSPITypeDefGetList, ldb_)) {
            WSPITypeDefHandle typeDef = static_cast<WSPITypeDefHandle>(t);
            PDMWSPITypeDefGetDescription(typeDef, &text);
            PDMWSPITypeDefGetEditor(typeDef, &text);
            PDMWSPITypeDefGetViewer(typeDef, &text);
            PDMWSPITypeDefGetDiscriminator(typeDef, &text);
            if (PDMWSPITypeDefGetName(typeDef, &text) == 0 && text != nullptr) WalkAttrDefs(text);
        }
        Clear();
        for (void* ws : Elements(PDMLDBGetWorkspaces, ldb_))
            WalkWorkspace(static_cast<WorkspaceHandle>(ws));
        Clear();
    }

    void UndoAndRedo() {
        for (void* w : Elements(PDMLDBGetWorkspaces, ldb_)) {
            WorkspaceHandle ws = static_cast<WorkspaceHandle>(w);
            int can = 0, steps = 0;
            while (steps < 64 && PDMWorkspaceCanUndo(ws, &can) == 0 && can &&
                   PDMWorkspaceUndo(ws) == 0) {
                ++steps;
                WalkWorkspace(ws);
            }
            while (steps-- > 0 && PDMWorkspaceCanRedo(ws, &can) == 0 && can &&
                   PDMWorkspaceRedo(ws) == 0) {
            }
            WalkWorkspace(ws);
            Clear();
        }
    }

private:
    static void Clear() { PDMErrorClearStack(); }

    void WalkAttrDefs(const std::string& typeName) {
        for (void* d : Elements(PDMLDBGetAttrDefs, ldb_, typeName.c_str())) {
            LDBObjectHandle definition = static_cast<LDBObjectHandle>(d);
            WalkObject(definition, kMaxDepth - 1);
            LDBObjectHandle again = nullptr;
            const char* type = nullptr;
            if (PDMLDBObjectGetType(definition, &type) == 0) Touch(type);
            PDMLDBAttrDefGetByName(ldb_, typeName.c_str(), "name", &again);
        }
        Clear();
    }

    // The object's attributes, and the objects they refer to, once each.
    void WalkObject(LDBObjectHandle object, int depth) {
        if (object == nullptr || depth > kMaxDepth || !objects_.insert(object).second) return;
        const char* type = nullptr;
        if (PDMLDBObjectGetType(object, &type) == 0) Touch(type);
        for (const std::string& name : NameList(object, PDMLDBObjectGetLDBAttributeNames)) {
            PDMAttrValue value = {};
            if (PDMLDBObjectGetLDBAttribute(object, name.c_str(), &value) != 0) continue;
            if (value.kind == PDM_ATTR_STRING) Touch(value.value.s);
            if (value.kind == PDM_ATTR_DATETIME) {
                PDMDateTimeInfo info;
                const char* text = nullptr;
                if (PDMDateTimeGetInfo(value.value.dt, &info) == 0)
                    PDMDateTimeInfoGetJulianString(&info, &text);
            }
            if (value.kind == PDM_ATTR_OBJECT) WalkObject(value.value.obj, depth + 1);
        }
        Clear();
    }

    void WalkWorkspace(WorkspaceHandle ws) {
        const char* text = nullptr;
        int value = 0, found = 0;
        PDMWorkspaceGetName(ws, &text);
        PDMWorkspaceGetPath(ws, &text);
        PDMWorkspaceGetDescription(ws, &text);
        PDMWorkspaceGetUserDataId(ws, &value);
        PDMWorkspaceIsUnderIntegration(ws, &value);
        PDMWorkspaceCheckIntegrity(ws, &found);
        Clear();
        PDMWorkspaceGetCurrentStateNumber(ws, &value);
        PDMWorkspaceGetStateCount(ws, &value);
        PDMWorkspaceGetCurrentStateUserDataId(ws, &value);
        int count = 0;
        if (PDMWorkspaceGetAllStatesUserDataIds(ws, &count, nullptr) == 0 && count > 0) {
            std::vector<int> ids(static_cast<size_t>(count));
            PDMWorkspaceGetAllStatesUserDataIds(ws, &count, ids.data());
        }
        WorkspaceStateHandle current = nullptr;
        PDMWorkspaceGetCurrentState(ws, &current);
        for (void* s : Elements(PDMWorkspaceGetAllStates, ws)) {
            WorkspaceStateHandle state = static_cast<WorkspaceStateHandle>(s);
            if (PDMWorkspaceStateGetDescription(state, &text) == 0) Touch(text);
            for (void* v : Elements(PDMWorkspaceStateGetModifiedWSPIVs, state))
                WalkVersion(static_cast<WSPIVHandle>(v));
        }
        PairHandle* pairs = nullptr;
        if (PDMWorkspaceGetIntegrateInfo(ws, &pairs, &count) == 0 && pairs != nullptr) {
            for (int i = 0; i < count; ++i) {
                PDMStringPairGetString(pairs[i], 1, &text);
                PDMStringPairGetString(pairs[i], 2, &text);
                PDMStringPairDelete(pairs[i]);
            }
            std::free(pairs);
        }
        Clear();
        for (void* i : Elements(PDMWorkspaceGetWSPIs, ws))
            WalkItem(static_cast<WSPIHandle>(i));
        Elements(PDMWorkspaceGetModifiedWSPIs, ws);
        Elements(PDMWorkspaceGetUnmodifiedWSPIs, ws);
        for (void* l : Elements(PDMWorkspaceGetModifiedLILs, ws))
            WalkLibrary(static_cast<WSLILHandle>(l));
        WalkObject(reinterpret_cast<LDBObjectHandle>(ws), kMaxDepth - 1);
        Clear();
    }

    void WalkItem(WSPIHandle item) {
        const char* text = nullptr;
        int flag = 0;
        unsigned number = 0;
        PDMWSPIGetName(item, &text);
        PDMWSPIIsNew(item, &flag);
        WorkspaceHandle owner = nullptr;
        PDMWSPIGetOwner(item, &owner);
        PDMWSPIGetCurrWSPIVWorkspaceStatus(item, &flag);
        PDMWSPIGetCurrWSPIVModificationStamp(item, &number);
        PDMWSPIGetCurrWSPIVPathForRead(item, &text);
        WSPIVHandle current = nullptr;
        if (PDMWSPIGetCurrWSPIV(item, &current) == 0) WalkVersion(current);
        for (void* v : Elements(PDMWSPIGetWSPIVs, item))
            WalkVersion(static_cast<WSPIVHandle>(v));
        for (void* d : Elements(PDMWSPIGetWhereUsed, item))
            WalkDependency(static_cast<WSDependencyHandle>(d));
        Clear();
    }

    void WalkVersion(WSPIVHandle version) {
        if (version == nullptr || !versions_.insert(version).second) return;
        const char* text = nullptr;
        int flag = 0;
        unsigned number = 0;
        using Text = int (*)(WSPIVHandle, const char**);
        for (Text read : {PDMWSPIVGetName, PDMWSPIVGetTypeName, PDMWSPIVGetDescription,
                          PDMWSPIVGetSourceBranchName, PDMWSPIVGetSourceRevision,
                          PDMWSPIVGetSourceReleaseLevel, PDMWSPIVGetSourceFolder,
                          PDMWSPIVGetTargetBranchName, PDMWSPIVGetTargetRevision,
                          PDMWSPIVGetTargetReleaseLevel, PDMWSPIVGetTargetFolder,
                          PDMWSPIVGetPathForRead, PDMWSPIVGetPathForLocalize})
            if (read(version, &text) == 0) Touch(text);
        using Flag = int (*)(WSPIVHandle, int*);
        for (Flag read : {PDMWSPIVGetModCount, PDMWSPIVGetUserDataId, PDMWSPIVIsModified,
                          PDMWSPIVIsInstance, PDMWSPIVHasInstance, PDMWSPIVIsLibraryMember,
                          PDMWSPIVIsHoldFromSubmission, PDMWSPIVHasFile,
                          PDMWSPIVFileIsModified, PDMWSPIVFileIsRepository})
            read(version, &flag);
        PDMWSPIVGetSourcePIVID(version, &number);
        PDMWSPIVGetSourceVersion(version, &number);
        PDMWSPIVGetFileVersion(version, &number);
        WSPIHandle item = nullptr;
        PDMWSPIVGetWSPI(version, &item);
        PDMWSPIVGetTopGeneric(version, &item);
        WorkspaceHandle owner = nullptr;
        PDMWSPIVGetOwner(version, &owner);
        WSGIRHandle generic = nullptr;
        if (PDMWSPIVGetGeneric(version, &generic) == 0 && generic != nullptr)
            WalkRelation(generic);
        WSLILHandle library = nullptr;
        if (PDMWSPIVGetLIL(version, &library) == 0 && library != nullptr) WalkLibrary(library);
        Clear();

        for (const std::string& name : NameList(version, PDMWSPIVGetAttributeNames)) {
            PDMAttrValue value = {};
            if (PDMWSPIVGetAttribute(version, name.c_str(), &value) == 0 &&
                value.kind == PDM_ATTR_STRING)
                Touch(value.value.s);
            PDMWSPIVIsAttributeSet(version, name.c_str(), &flag);
            PDMWSPIVIsAttributeFileBased(version, name.c_str(), &flag);
            PDMWSPIVIsAttributeModified(version, name.c_str(), &flag);
        }
        NameList(version, PDMWSPIVGetUnSetAttributeNames);
        Clear();
        for (void* d : Elements(PDMWSPIVGetDependencies, version))
            WalkDependency(static_cast<WSDependencyHandle>(d));
        for (void* r : Elements(PDMWSPIVGetGIRs, version))
            WalkRelation(static_cast<WSGIRHandle>(r));
        Elements(PDMWSPIVGetGIRsRecursive, version);
        WalkObject(reinterpret_cast<LDBObjectHandle>(version), kMaxDepth - 1);
        Clear();
    }

    void WalkDependency(WSDependencyHandle dependency) {
        if (!dependencies_.insert(dependency).second) return;
        const char* text = nullptr;
        int flag = 0;
        PDMWSDependencyGetClass(dependency, &text);
        PDMWSDependencyGetType(dependency, &flag);
        PDMWSDependencyIsChildInWS(dependency, &flag);
        WSPIVHandle parent = nullptr;
        PDMWSDependencyGetParentPIV(dependency, &parent);
        if (PDMWSDependencyGetAsStoredChildName(dependency, &text) == 0 && text != nullptr) {
            const std::string child = text;
            Elements(PDMWSPIVGetDependenciesToAsStoredChildName, parent, child.c_str());
            Elements(PDMWSPIVSelectDependenciesToChildName, parent, child.c_str(),
                     static_cast<const char*>(nullptr), 0, static_cast<const char*>(nullptr),
                     static_cast<const PDMAttrValue*>(nullptr));
        }
        if (PDMWSDependencyGetChildName(dependency, &text) == 0) Touch(text);
        for (const std::string& name : NameList(dependency, PDMWSDependencyGetAttributeNames)) {
            PDMAttrValue value = {};
            if (PDMWSDependencyGetAttribute(dependency, name.c_str(), &value) == 0 &&
                value.kind == PDM_ATTR_STRING)
                Touch(value.value.s);
            PDMWSDependencyIsAttributeSet(dependency, name.c_str(), &flag);
            PDMWSDependencyIsAttributeFileBased(dependency, name.c_str(), &flag);
        }
        Clear();
    }

    void WalkRelation(WSGIRHandle relation) {
        unsigned id = 0;
        const char* text = nullptr;
        WSPIHandle item = nullptr;
        PDMWSGIRGetGenericPIVID(relation, &id);
        PDMWSGIRGetInstancePIVID(relation, &id);
        PDMWSGIRGetGenericWSPI(relation, &item);
        PDMWSGIRGetInstanceWSPI(relation, &item);
        if (PDMWSGIRGetAsStoredInstanceName(relation, &text) == 0) Touch(text);
        Clear();
    }

    void WalkLibrary(WSLILHandle library) {
        if (!libraries_.insert(library).second) return;
        const char* text = nullptr;
        int flag = 0;
        using Text = int (*)(WSLILHandle, const char**);
        for (Text read : {PDMWSLILGetName, PDMWSLILGetTargetFolder, PDMWSLILGetPathForRead,
                          PDMWSLILGetPathForLocalize})
            if (read(library, &text) == 0) Touch(text);
        PDMWSLILIsNew(library, &flag);
        WSLILVHandle version = nullptr;
        if (PDMWSLILGetCurrentLILV(library, &version) == 0 && version != nullptr) {
            using VText = int (*)(WSLILVHandle, const char**);
            for (VText read : {PDMWSLILVGetName, PDMWSLILVGetTargetFolder,
                               PDMWSLILVGetPathForRead})
                if (read(version, &text) == 0) Touch(text);
            using VFlag = int (*)(WSLILVHandle, int*);
            for (VFlag read : {PDMWSLILVGetSourceVersion, PDMWSLILVIsModified, PDMWSLILVHasFile,
                               PDMWSLILVFileIsModified, PDMWSLILVFileIsRepository})
                read(version, &flag);
            unsigned number = 0;
            PDMWSLILVGetFileVersion(version, &number);
            WSLILHandle back = nullptr;
            PDMWSLILVGetLIL(version, &back);
            using Ids = int (*)(WSLILVHandle, int*, unsigned*);
            for (Ids read : {PDMWSLILVGetRepositoryPIVIDs, PDMWSLILVGetRemovedPIVIDs}) {
                int count = 0;
                if (read(version, &count, nullptr) == 0 && count > 0) {
                    std::vector<unsigned> ids(static_cast<size_t>(count));
                    read(version, &count, ids.data());
                }
            }
            for (void* i : Elements(PDMWSLILVGetWSPIs, version)) {
                WSPIVHandle current = nullptr;
                if (PDMWSPIGetCurrWSPIV(static_cast<WSPIHandle>(i), &current) == 0)
                    WalkVersion(current);
            }
        }
        Clear();
    }

    LDBHandle ldb_;
    std::set<void*> objects_, versions_, dependencies_, libraries_;
};

[[noreturn]] void Fail(const char* what, LDBHandle) {
    std::fprintf(stderr, "fuzz_store: %s\n", what);
    PDMErrorDumpStack(stderr);
    std::abort();
}

std::string StorePath() {
    const char* base = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    return std::string(base) + "/marrows-fuzz-" + std::to_string(getpid()) + ".ldb";
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The integrity checks print what they find on standard output, hundreds of times a second.
    if (std::freopen("/dev/null", "w", stdout) == nullptr) return 1;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string path = StorePath();
    FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) return 0;
    std::fwrite(data, 1, size, file);
    std::fclose(file);

    int compatible = 0;
    PDMIsLDBCompatible(path.c_str(), "", &compatible);
    LDBHandle ldb = nullptr;
    if (PDMLDBConnect(path.c_str(), &ldb) == 0 && ldb != nullptr) {
        if (PDMLDBStartTransaction(ldb) == 0) {
            Walker walker(ldb);
            walker.WalkDatabase();
            walker.UndoAndRedo();
            PDMErrorClearStack();
            if (PDMLDBAbortTransaction(ldb) != 0) Fail("the abort failed", ldb);
        }
        PDMErrorClearStack();
        // A client that has ended its transaction and cleared the stack can always let go.
        if (PDMLDBDisconnect(ldb) != 0) Fail("the disconnect failed", ldb);
    }
    PDMErrorClearStack();
    std::remove(path.c_str());
    return 0;
}
