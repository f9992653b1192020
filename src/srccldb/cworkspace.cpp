// The workspace exports: frames round the operations of a workspace and of its states.
#include <new>

#include "callframe.h"
#include "ccursor.h"
#include "chandles.h"
#include "ctargets.h"
#include "errors/nyxerror.h"
#include "marrows/marrows.h"
#include "srcldb/ldbconnection.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldbluf.h"
#include "srcldb/ldblpi.h"
#include "srcldbws/ws.h"
#include "srcldbws/wspi.h"
#include "srcldbws/wspiv.h"

namespace {

const char kSourcePath[] = "srccldb/cworkspace";

PDMc_WS* Workspace(WorkspaceHandle ws, const char* exportName) {
    return PDMTarget<PDMc_WS>(ws, exportName, "WorkspaceHandle", kSourcePath);
}

PDMc_LUF* State(WorkspaceStateHandle state, const char* exportName, const char* kindText) {
    return PDMTarget<PDMc_LUF>(state, exportName, kindText, kSourcePath);
}

}  // namespace

int PDMWorkspaceCreate(LDBHandle ldb, const char* name, const char* directory,
                       const char* description, WorkspaceHandle* ws) {
    PDMCallFrame frame("PDMWorkspaceCreate");
    *ws = nullptr;
    if (PDMCheckHandle(ldb, "PDMWorkspaceCreate", "LDBHandle")) return PDMResultT();
    nyxString nameCopy(name);
    nyxString directoryCopy(directory);
    nyxString descriptionCopy(description);
    PDMc_WS* made =
        ConnectionOf(ldb)->CreateWorkspace(nameCopy.c_str(), directoryCopy.c_str());
    if (made == nullptr) return PDMResultT();
    made->SetDescription(descriptionCopy.c_str());
    *ws = reinterpret_cast<WorkspaceHandle>(static_cast<PDMc_LDBObject*>(made));
    return PDMResultT();
}

int PDMWorkspaceDelete(WorkspaceHandle ws) {
    PDMCallFrame frame("PDMWorkspaceDelete");
    PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceDelete");
    return workspace != nullptr ? workspace->Delete() : PDMResultT();
}

int PDMWorkspaceGetLDB(WorkspaceHandle ws, LDBHandle* ldb) {
    PDMCallFrame frame("PDMWorkspaceGetLDB");
    *ldb = nullptr;
    PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceGetLDB");
    if (workspace != nullptr) {
        PDMc_LDB* connection = workspace->GetConnection();
        *ldb = connection != nullptr ? LDBHandleOf(connection) : nullptr;
    }
    return PDMResultT();
}

int PDMWorkspaceGetName(WorkspaceHandle ws, const char** name) {
    PDMCallFrame frame("PDMWorkspaceGetName");
    if (PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceGetName"))
        *name = workspace->GetName().c_str();
    return PDMResultT();
}

int PDMWorkspaceGetPath(WorkspaceHandle ws, const char** path) {
    PDMCallFrame frame("PDMWorkspaceGetPath");
    if (PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceGetPath"))
        *path = workspace->GetOsDirPath().c_str();
    return PDMResultT();
}

int PDMWorkspaceGetDescription(WorkspaceHandle ws, const char** text) {
    PDMCallFrame frame("PDMWorkspaceGetDescription");
    if (PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceGetDescription"))
        *text = workspace->GetDescription().c_str();
    return PDMResultT();
}

int PDMWorkspaceSetDescription(WorkspaceHandle ws, const char* text) {
    PDMCallFrame frame("PDMWorkspaceSetDescription");
    nyxString copy(text);
    if (PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceSetDescription"))
        workspace->SetDescription(copy.c_str());
    return PDMResultT();
}

int PDMWorkspaceGetUserDataId(WorkspaceHandle ws, int* id) {
    PDMCallFrame frame("PDMWorkspaceGetUserDataId");
    if (PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceGetUserDataId"))
        *id = workspace->GetUserDataId();
    return PDMResultT();
}

int PDMWorkspaceSetUserDataId(WorkspaceHandle ws, int id) {
    PDMCallFrame frame("PDMWorkspaceSetUserDataId");
    if (PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceSetUserDataId"))
        workspace->SetUserDataId(id);
    return PDMResultT();
}

int PDMWorkspaceIsUnderIntegration(WorkspaceHandle ws, int* flag) {
    PDMCallFrame frame("PDMWorkspaceIsUnderIntegration");
    if (PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceIsUnderIntegration"))
        *flag = workspace->IsUnderIntegration() ? 1 : 0;
    return PDMResultT();
}

int PDMWorkspaceSetUnderIntegration(WorkspaceHandle ws, int flag) {
    PDMCallFrame frame("PDMWorkspaceSetUnderIntegration");
    if (PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceSetUnderIntegration"))
        workspace->SetUnderIntegration(flag != 0);
    return PDMResultT();
}

int PDMWorkspaceGetWSPIByName(WorkspaceHandle ws, const char* name, WSPIHandle* item) {
    PDMCallFrame frame("PDMWorkspaceGetWSPIByName");
    *item = nullptr;
    nyxString copy(name);
    if (PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceGetWSPIByName")) {
        PDMc_LDBObject* found = workspace->FindWSPI(copy.c_str());
        *item = reinterpret_cast<WSPIHandle>(found);
    }
    return PDMResultT();
}

int PDMWorkspaceGetWSPIs(WorkspaceHandle ws, CursorHandle* cursor) {
    PDMCallFrame frame("PDMWorkspaceGetWSPIs");
    *cursor = nullptr;
    PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceGetWSPIs");
    if (workspace == nullptr) return PDMResultT();
    return PDMListCursor(cursor, [workspace](PDMPointerList& list) {
        return workspace->GetWSPIs(list);
    });
}

int PDMWorkspaceGetModifiedWSPIs(WorkspaceHandle ws, CursorHandle* cursor) {
    PDMCallFrame frame("PDMWorkspaceGetModifiedWSPIs");
    *cursor = nullptr;
    PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceGetModifiedWSPIs");
    if (workspace == nullptr) return PDMResultT();
    return PDMListCursor(cursor, [workspace](PDMPointerList& list) {
        return workspace->GetWSPIsByModified(true, list);
    });
}

int PDMWorkspaceGetModifiedLILs(WorkspaceHandle ws, CursorHandle* cursor) {
    PDMCallFrame frame("PDMWorkspaceGetModifiedLILs");
    *cursor = nullptr;
    PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceGetModifiedLILs");
    if (workspace == nullptr) return PDMResultT();
    return PDMListCursor(cursor, [workspace](PDMPointerList& list) {
        return workspace->GetLILsByModified(true, list);
    });
}

int PDMWorkspaceGetUnmodifiedWSPIs(WorkspaceHandle ws, CursorHandle* cursor) {
    PDMCallFrame frame("PDMWorkspaceGetUnmodifiedWSPIs");
    *cursor = nullptr;
    PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceGetUnmodifiedWSPIs");
    if (workspace == nullptr) return PDMResultT();
    return PDMListCursor(cursor, [workspace](PDMPointerList& list) {
        return workspace->GetWSPIsByModified(false, list);
    });
}

int PDMWorkspaceCheckIntegrity(WorkspaceHandle ws, int* found) {
    PDMCallFrame frame("PDMWorkspaceCheckIntegrity");
    PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceCheckIntegrity");
    if (workspace == nullptr) return PDMResultT();
    return PDMRunCheck(found, [workspace] { return workspace->CheckIntegrity(); });
}

int PDMWorkspaceCreatePI(WorkspaceHandle ws, const char* name, const char* typeName,
                         WSPIHandle* item) {
    PDMCallFrame frame("PDMWorkspaceCreatePI");
    PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceCreatePI");
    if (workspace == nullptr) return PDMResultT();
    PDMc_LDB* connection = workspace->GetConnection();
    if (connection == nullptr)
        return NYX_INTERNAL_ERROR("a workspace without a connection", kSourcePath);
    nyxString itemName(name);
    PDMc_LPITD* definition = PDMFindOrCreateTypeDef(connection, typeName);
    if (definition == nullptr) return PDMResultT();
    PDMc_LDBObject* made = workspace->CreateNewPI(itemName.c_str(), definition, "");
    *item = reinterpret_cast<WSPIHandle>(made);
    return PDMResultT();
}

int PDMWorkspaceRefocus(WorkspaceHandle ws, WSPIVHandle version) {
    PDMCallFrame frame("PDMWorkspaceRefocus");
    // Both handles are reported, the version's first.
    if (version == nullptr || ws == nullptr) {
        if (version == nullptr) PDMCheckHandle(version, "PDMWorkspaceRefocus", "WSPIVHandle");
        if (ws == nullptr) PDMCheckHandle(ws, "PDMWorkspaceRefocus", "WSHandle");
        return 110;
    }
    PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceRefocus");
    PDMc_WSPIV* target =
        PDMTarget<PDMc_WSPIV>(version, "PDMWorkspaceRefocus", "WSPIVHandle", kSourcePath);
    if (workspace != nullptr && target != nullptr) workspace->CheckRefocus(target);
    return PDMResultT();
}

namespace {
// Runs CleanLPI on every identity of the current state; the first failure stops the walk.
int32_t CleanUnusedLPIs(PDMc_WS* workspace) {
    nyxSingleListOf<void*> identities;
    if (int32_t rc = workspace->GetLPIs(identities)) return rc;
    return LDBForEachElement<PDMc_LPI>(identities,
                                       [workspace](PDMc_LPI* lpi) { return workspace->CleanLPI(lpi); });
}
}  // namespace

int PDMWorkspaceCleanUnusedLPIs(WorkspaceHandle ws) {
    PDMCallFrame frame("PDMWorkspaceCleanUnusedLPIs");
    if (ws == nullptr) {
        nyxErrorReport(1605);
        return PDMResultT();
    }
    PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceCleanUnusedLPIs");
    return workspace != nullptr ? CleanUnusedLPIs(workspace) : PDMResultT();
}

int PDMWorkspaceCleanUnusedLPIs1(LDBHandle ldb, const char* workspaceName) {
    PDMCallFrame frame("PDMWorkspaceCleanUnusedLPIs1");
    if (PDMCheckHandle(ldb, "PDMWorkspaceCleanUnusedLPIs", "LDBHandle")) return PDMResultT();
    nyxString name(workspaceName);
    PDMc_LDBObject* found = ConnectionOf(ldb)->FindWorkspace(name.c_str());
    if (found == nullptr) {
        nyxErrorReport(1605, name);
        return PDMResultT();
    }
    PDMc_WS* workspace = LDBObjectAs<PDMc_WS>(found);
    return workspace != nullptr ? CleanUnusedLPIs(workspace) : PDMResultT();
}

// ---------------------------------------------------------------------------------------------
// States

int PDMWorkspaceCreateState(WorkspaceHandle ws) {
    PDMCallFrame frame("PDMWorkspaceCreateState");
    PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceCreateState");
    return workspace != nullptr ? workspace->CreateState() : PDMResultT();
}

int PDMWorkspaceUndo(WorkspaceHandle ws) {
    PDMCallFrame frame("PDMWorkspaceUndo");
    PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceUndo");
    return workspace != nullptr ? workspace->Undo() : PDMResultT();
}

int PDMWorkspaceRedo(WorkspaceHandle ws) {
    PDMCallFrame frame("PDMWorkspaceRedo");
    PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceRedo");
    return workspace != nullptr ? workspace->Redo() : PDMResultT();
}

int PDMWorkspaceCanUndo(WorkspaceHandle ws, int* can) {
    PDMCallFrame frame("PDMWorkspaceCanUndo");
    if (PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceCanUndo"))
        *can = workspace->GetCurrentStateNumber() > 0 ? 1 : 0;
    return PDMResultT();
}

int PDMWorkspaceCanRedo(WorkspaceHandle ws, int* can) {
    PDMCallFrame frame("PDMWorkspaceCanRedo");
    if (PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceCanRedo"))
        *can = workspace->GetCurrentStateNumber() < workspace->GetStackSize() - 1 ? 1 : 0;
    return PDMResultT();
}

int PDMWorkspacePurge(WorkspaceHandle ws, int stateNumber) {
    PDMCallFrame frame("PDMWorkspacePurge");
    PDMc_WS* workspace = Workspace(ws, "PDMWorkspacePurge");
    return workspace != nullptr ? workspace->PurgeUndoStack(stateNumber) : PDMResultT();
}

int PDMWorkspacePurgeRedoStack(WorkspaceHandle ws) {
    PDMCallFrame frame("PDMWorkspacePurgeRedoStack");
    PDMc_WS* workspace = Workspace(ws, "PDMWorkspacePurgeRedoStack");
    return workspace != nullptr ? workspace->PurgeRedoStack() : PDMResultT();
}

int PDMWorkspaceGetCurrentState(WorkspaceHandle ws, WorkspaceStateHandle* state) {
    if (PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceGetCurrentState")) {
        PDMc_LDBObject* current = workspace->GetCurrentFrame();
        if (current != nullptr) *state = reinterpret_cast<WorkspaceStateHandle>(current);
    }
    return PDMResultT();
}

int PDMWorkspaceGetCurrentStateNumber(WorkspaceHandle ws, int* number) {
    PDMCallFrame frame("PDMWorkspaceGetCurrentStateNumber");
    if (PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceGetCurrentStateNumber"))
        *number = workspace->GetCurrentStateNumber();
    return PDMResultT();
}

int PDMWorkspaceGetStateCount(WorkspaceHandle ws, int* count) {
    *count = 0;
    PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceGetStateCount");
    if (workspace == nullptr) return nyxErrorCurrentCode();
    PDMc_LDBArray* stack = workspace->GetUndoStack();
    if (stack == nullptr) return nyxErrorCurrentCode();
    *count = static_cast<int>(stack->GetCount());
    return 0;
}

int PDMWorkspaceGetAllStates(WorkspaceHandle ws, CursorHandle* cursor) {
    *cursor = nullptr;
    PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceGetAllStates");
    if (workspace == nullptr) return nyxErrorCurrentCode();
    PDMc_LDBArray* stack = workspace->GetUndoStack();
    if (stack == nullptr) return nyxErrorCurrentCode();
    return PDMBindCursor(stack, false, cursor);
}

int PDMWorkspaceGetCurrentStateUserDataId(WorkspaceHandle ws, int* id) {
    PDMCallFrame frame("PDMWorkspaceGetCurrentStateUserDataId");
    if (PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceGetCurrentStateUserDataId")) {
        if (PDMc_LUF* current = workspace->GetCurrentFrame()) *id = current->GetUserDataId();
    }
    return PDMResultT();
}

int PDMWorkspaceSetCurrentStateUserDataId(WorkspaceHandle ws, int id) {
    PDMCallFrame frame("PDMWorkspaceSetCurrentStateUserDataId");
    if (PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceSetCurrentStateUserDataId")) {
        if (PDMc_LUF* current = workspace->GetCurrentFrame()) current->SetUserDataId(id);
    }
    return PDMResultT();
}

int PDMWorkspaceGetAllStatesUserDataIds(WorkspaceHandle ws, int* count, int* ids) {
    PDMCallFrame frame("PDMWorkspaceGetAllStatesUserDataIds");
    PDMc_WS* workspace = Workspace(ws, "PDMWorkspaceGetAllStatesUserDataIds");
    if (workspace == nullptr) return PDMResultT();
    PDMc_LDBArray* stack = workspace->GetUndoStack();
    if (stack == nullptr) return PDMResultT();
    *count = static_cast<int>(stack->GetCount());
    if (ids == nullptr) return PDMResultT();
    int index = 0;
    LDBForEachElement<PDMc_LUF>(*stack, [ids, &index](PDMc_LUF* state) {
        ids[index++] = state->GetUserDataId();
        return 0;
    });
    return PDMResultT();
}

int PDMWorkspaceStateGetDescription(WorkspaceStateHandle state, const char** text) {
    if (PDMc_LUF* frame = State(state, "PDMWorkspaceStateGetDescription", "WorkspaceStateHandle"))
        *text = frame->GetDescription().c_str();
    return PDMResultT();
}

int PDMWorkspaceStateSetDescription(WorkspaceStateHandle state, const char* text) {
    nyxString copy(text);
    if (PDMc_LUF* frame = State(state, "PDMWorkspaceStateSetDescription", "WorkspaceStateHandle"))
        frame->SetDescription(copy.c_str());
    return PDMResultT();
}

int PDMWorkspaceStateGetModifiedWSPIVs(WorkspaceStateHandle state, CursorHandle* cursor) {
    PDMCallFrame frame("PDMWorkspaceStateGetModifiedWSPIVs");
    *cursor = nullptr;
    PDMc_LUF* luf = State(state, "PDMWorkspaceStateGetModifiedWSPIVs", "WorkspaceLUFHandle");
    if (luf == nullptr) return PDMResultT();
    return PDMListCursor(cursor, [luf](PDMPointerList& list) { return luf->GetModifiedWSPIVs(list); });
}
