// The database exports: thin frames round the connection object.
#include "callframe.h"
#include "ccursor.h"
#include "chandles.h"
#include "errors/nyxerror.h"
#include "marrows/marrows.h"
#include "srcldb/ldbconnection.h"

namespace {
// The version text the library's own callers pass; the check reads the file's format alone.
const char kLibraryVersionText[] = "M4.0.3.3.1";
}  // namespace

int PDMIsLDBCompatible(const char* path, const char* version, int* compatible) {
    (void)version;
    nyxString copy(path);
    PDMc_LDB* connection = PDMc_LDB::ConnectDatabase(copy);
    int32_t code = nyxErrorCurrentCode();
    // Only a file newer than this library is incompatible; anything else shows when used.
    *compatible = code != 2404;
    int32_t disconnected = connection ? PDMc_LDB::DisconnectDatabase(connection) : 0;
    return code != 0 ? code : disconnected;
}

int PDMLDBCreate(const char* path, LDBHandle* ldb) {
    PDMCallFrame frame("PDMLDBCreate");
    nyxString copy(path);
    PDMc_LDB* connection = PDMc_LDB::CreateDatabase(copy);
    *ldb = connection ? LDBHandleOf(connection) : nullptr;
    return PDMResultT();
}

int PDMLDBConnect(const char* path, LDBHandle* ldb) {
    PDMCallFrame frame("PDMLDBConnect");
    int compatible = 0;
    PDMIsLDBCompatible(path, kLibraryVersionText, &compatible);
    if (compatible != 1) return PDMResultT();
    nyxString copy(path);
    PDMc_LDB* connection = PDMc_LDB::ConnectDatabase(copy);
    *ldb = connection ? LDBHandleOf(connection) : nullptr;
    return PDMResultT();
}

int PDMLDBDisconnect(LDBHandle ldb) {
    PDMCallFrame frame("PDMLDBDisconnect");
    if (PDMCheckHandle(ldb, "PDMLDBDisconnect", "LDBHandle")) return PDMResultT();
    return PDMc_LDB::DisconnectDatabase(ConnectionOf(ldb));
}

int PDMLDBGetPath(LDBHandle ldb, const char** path) {
    PDMCallFrame frame("PDMLDBGetPath");
    *path = nullptr;
    if (PDMCheckHandle(ldb, "PDMLDBGetPath", "LDBHandle")) return PDMResultT();
    *path = ConnectionOf(ldb)->GetPath().c_str();
    return PDMResultT();
}

int PDMLDBStartTransaction(LDBHandle ldb) {
    PDMCallFrame frame("PDMLDBStartTransaction");
    if (PDMCheckHandle(ldb, "PDMLDBStartTransaction", "LDBHandle")) return PDMResultT();
    return ConnectionOf(ldb)->Start();
}

int PDMLDBCommitTransaction(LDBHandle ldb) {
    PDMCallFrame frame("PDMLDBCommitTransaction");
    if (PDMCheckHandle(ldb, "PDMLDBCommitTransaction", "LDBHandle")) return PDMResultT();
    return ConnectionOf(ldb)->Commit();
}

int PDMLDBAbortTransaction(LDBHandle ldb) {
    PDMCallFrame frame("PDMLDBAbortTransaction");
    if (PDMCheckHandle(ldb, "PDMLDBAbortTransaction", "LDBHandle")) return PDMResultT();
    return ConnectionOf(ldb)->Abort();
}

int PDMIsLDBTransactionInProgress(LDBHandle ldb, int* inProgress) {
    PDMCallFrame frame("PDMIsLDBTransactionInProgress");
    if (PDMCheckHandle(ldb, "PDMIsLDBTransactionInProgress", "LDBHandle")) return PDMResultT();
    *inProgress = ConnectionOf(ldb)->IsInTransaction() ? 1 : 0;
    return 0;
}

int PDMLDBGetWorkspaceByName(LDBHandle ldb, const char* name, WorkspaceHandle* ws) {
    PDMCallFrame frame("PDMLDBGetWorkspaceByName");
    *ws = nullptr;
    if (PDMCheckHandle(ldb, "PDMLDBGetWorkspaceByName", "LDBHandle")) return PDMResultT();
    nyxString key(name);
    PDMc_LDBObject* found = ConnectionOf(ldb)->FindWorkspace(key.c_str());
    *ws = reinterpret_cast<WorkspaceHandle>(found);
    return PDMResultT();
}

int PDMLDBGetWorkspaces(LDBHandle ldb, CursorHandle* cursor) {
    PDMCallFrame frame("PDMLDBGetWorkspaces");
    *cursor = nullptr;
    if (PDMCheckHandle(ldb, "PDMLDBGetWorkspaces", "LDBHandle")) return PDMResultT();
    nyxCollection* workspaces = ConnectionOf(ldb)->Workspaces();
    if (workspaces == nullptr) return PDMResultT();
    return PDMBindCursor(workspaces, false, cursor);
}

int PDMLDBCheckIntegrity(LDBHandle ldb, int* found) {
    PDMCallFrame frame("PDMLDBCheckIntegrity");
    if (PDMCheckHandle(ldb, "PDMLDBCheckIntegrity", "LDBHandle")) return PDMResultT();
    return PDMRunCheck(found, [ldb] { return ConnectionOf(ldb)->CheckIntegrity(); });
}

int PDMLDBUpgrade(const char* path) {
    PDMCallFrame frame("PDMLDBUpgrade");
    nyxString copy(path);
    PDMc_LDB::UpgradeDatabase(copy);
    return PDMResultT();
}

int PDMLDBCompact(const char* path, PDMLDBCompactOptions* options) {
    PDMCallFrame frame("PDMLDBCompact");
    int compatible = 0;
    PDMIsLDBCompatible(path, kLibraryVersionText, &compatible);
    if (compatible == 1) {
        nyxString copy(path);
        PDMc_LDB::CompactDatabase(copy, options);
    }
    return PDMResultT();
}
