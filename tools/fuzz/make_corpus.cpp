// The seed corpus of the store fuzz target: small stores made through the exported interface,
// one per shape a client makes: an empty store, application objects with a value of every
// kind, and a workspace with several states of items, versions, attributes, dependencies,
// files, a library of a generic with its instances, and relations.
//
//   make_corpus DIRECTORY    (writes DIRECTORY/*.ldb; workspace folders go to a temp directory)
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

#include "marrows/marrows.h"

namespace {

int failures = 0;

void Check(int rc, const char* what) {
    if (rc == 0) return;
    std::fprintf(stderr, "make_corpus: %s failed with %d\n", what, rc);
    PDMErrorDumpStack(stderr);
    PDMErrorClearStack();
    ++failures;
}

PDMAttrValue Value(int kind) {
    PDMAttrValue value = {};
    value.kind = kind;
    return value;
}

LDBHandle Create(const std::string& path) {
    std::remove(path.c_str());
    LDBHandle ldb = nullptr;
    Check(PDMLDBCreate(path.c_str(), &ldb), "create");
    return ldb;
}

void Finish(LDBHandle ldb) {
    Check(PDMLDBCommitTransaction(ldb), "commit");
    Check(PDMLDBDisconnect(ldb), "disconnect");
}

void MakeObjects(const std::string& path) {
    LDBHandle ldb = Create(path);
    Check(PDMLDBStartTransaction(ldb), "start");
    LDBObjectHandle root = reinterpret_cast<LDBObjectHandle>(ldb);
    LDBObjectHandle part = nullptr, drawing = nullptr;
    Check(PDMLDBObjectCreate(ldb, "Part", &part), "object");
    Check(PDMLDBObjectCreate(ldb, "Drawing", &drawing), "object");
    PDMAttrValue value = Value(PDM_ATTR_INTEGER);
    value.value.i = -42;
    Check(PDMLDBObjectSetLDBAttribute(part, "count", &value), "integer");
    value = Value(PDM_ATTR_DOUBLE);
    value.value.d = 2.5;
    Check(PDMLDBObjectSetLDBAttribute(part, "ratio", &value), "double");
    value = Value(PDM_ATTR_BOOLEAN);
    value.value.b = 1;
    Check(PDMLDBObjectSetLDBAttribute(part, "flag", &value), "boolean");
    value = Value(PDM_ATTR_STRING);
    value.value.s = "a text of some length";
    Check(PDMLDBObjectSetLDBAttribute(part, "text", &value), "string");
    value = Value(PDM_ATTR_DATETIME);
    value.value.dt = 992606400;
    Check(PDMLDBObjectSetLDBAttribute(part, "when", &value), "datetime");
    value = Value(PDM_ATTR_OBJECT);
    value.value.obj = drawing;
    Check(PDMLDBObjectSetLDBAttribute(part, "drawing", &value), "object");
    value.value.obj = part;
    Check(PDMLDBObjectSetLDBAttribute(drawing, "part", &value), "object");
    Check(PDMLDBObjectSetLDBAttribute(root, "part", &value), "object");
    Finish(ldb);
}

WSPIHandle Item(WorkspaceHandle ws, const char* name, const char* type) {
    WSPIHandle item = nullptr;
    Check(PDMWorkspaceCreatePI(ws, name, type, &item), "item");
    return item;
}

void MakeWorkspace(const std::string& path, const std::string& folders, bool commitEachState) {
    LDBHandle ldb = Create(path);
    Check(PDMLDBStartTransaction(ldb), "start");
    WorkspaceHandle ws = nullptr;
    Check(PDMWorkspaceCreate(ldb, "ws", folders.c_str(), "the workspace", &ws),
          "workspace");
    WSPIHandle assembly = Item(ws, "assembly", "Assembly");
    WSPIHandle bolt = Item(ws, "bolt", "Part");
    WSPIHandle bracket = Item(ws, "bracket", "Part");
    PDMAttrValue value = Value(PDM_ATTR_STRING);
    value.value.s = "steel";
    Check(PDMWSPISetCurrWSPIVAttribute(bolt, "material", &value), "attribute");
    value = Value(PDM_ATTR_INTEGER);
    value.value.i = 7;
    Check(PDMWSPISetCurrWSPIVFileBasedAttribute(bolt, "size", &value), "attribute");
    Check(PDMWSPISetCurrWSPIVDescription(assembly, "the top"), "description");
    WSDependencyHandle uses = nullptr;
    Check(PDMWSPIAddCurrWSPIVDependency(assembly, bolt, "uses", 1, &uses), "dependency");
    Check(PDMWSPISetCurrWSPIVDepAttr(assembly, uses, "count", &value), "dependency attribute");
    WSDependencyHandle byName = nullptr;
    Check(PDMWSPIAddCurrWSPIVDependencyByChildName(assembly, "nut", "uses", 2, &byName),
          "dependency by name");
    const char* file = nullptr;
    Check(PDMWSPIAddCurrWSPIVFile(bracket, &file), "file");
    if (commitEachState) {
        Check(PDMLDBCommitTransaction(ldb), "commit");
        Check(PDMLDBStartTransaction(ldb), "start");
    }

    Check(PDMWorkspaceCreateState(ws), "state");
    WSPIHandle instance = nullptr;
    Check(PDMWSPIAddInstance(bracket, "bracket-long", "Part", &instance), "instance");
    Check(PDMWSPIAddInstance(bracket, "bracket-short", "Part", &instance), "instance");
    Check(PDMWSPIRename(bolt, "bolt-m6"), "rename");
    value = Value(PDM_ATTR_DOUBLE);
    value.value.d = 0.25;
    Check(PDMWSPISetCurrWSPIVAttribute(assembly, "mass", &value), "attribute");
    Check(PDMWorkspaceSetCurrentStateUserDataId(ws, 12), "state id");
    if (commitEachState) {
        Check(PDMLDBCommitTransaction(ldb), "commit");
        Check(PDMLDBStartTransaction(ldb), "start");
    }

    Check(PDMWorkspaceCreateState(ws), "state");
    WSPIHandle washer = Item(ws, "washer", "Part");
    Check(PDMWSPIDelete(washer), "delete");
    // The state's own copy of the dependency: the handle of the first state's one is stale.
    CursorHandle cursor = nullptr;
    void* element = nullptr;
    Check(PDMWSPIGetCurrWSPIVDependencies(assembly, &cursor), "dependencies");
    for (void* next = nullptr; PDMCursorGetNext(cursor, &next) == 0 && next != nullptr;)
        element = next;
    PDMCursorDelete(cursor);
    Check(PDMWSPIDeleteCurrWSPIVDependency(assembly, static_cast<WSDependencyHandle>(element)),
          "delete dependency");
    PairHandle pair = nullptr;
    Check(PDMStringPairCreate("old", "new", &pair), "pair");
    Check(PDMWorkspaceStoreIntegrateInfo(ws, &pair, 1), "integrate info");
    PDMStringPairDelete(pair);
    Check(PDMWorkspaceCreateState(ws), "state");
    Check(PDMWorkspaceUndo(ws), "undo");
    Finish(ldb);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_corpus DIRECTORY\n");
        return 2;
    }
    const std::string out = argv[1];
    char folders[] = "/tmp/marrows-corpus-XXXXXX";
    if (mkdtemp(folders) == nullptr) return 1;

    LDBHandle empty = Create(out + "/empty.ldb");
    Check(PDMLDBDisconnect(empty), "disconnect");
    MakeObjects(out + "/objects.ldb");
    MakeWorkspace(out + "/workspace.ldb", std::string(folders) + "/a", false);
    MakeWorkspace(out + "/workspace-states.ldb", std::string(folders) + "/b", true);

    std::string remove = std::string("rm -rf '") + folders + "'";
    if (std::system(remove.c_str()) != 0) ++failures;
    return failures == 0 ? 0 : 1;
}
