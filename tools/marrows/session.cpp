#include "session.h"

#include <cstdio>

bool Fail(const std::string& what) {
    std::fprintf(stderr, "marrows: %s failed\n", what.c_str());
    PDMErrorDumpStack(stderr);
    PDMErrorClearStack();
    return false;
}

bool Ok(int rc, const char* what) { return rc == 0 || Fail(what); }

Session::~Session() {
    if (in_transaction_) PDMLDBAbortTransaction(ldb_);
    if (ldb_ != nullptr) PDMLDBDisconnect(ldb_);
    PDMErrorClearStack();
}

bool Session::Open(const std::string& path) {
    std::string why;
    if (!header_.Read(path, why)) {
        std::fprintf(stderr, "marrows: %s\n", why.c_str());
        return false;
    }
    if (!header_.MagicOk()) {
        std::fprintf(stderr, "marrows: %s is not a marrows store (no store header)\n", path.c_str());
        return false;
    }
    if (header_.NeedsRepair() && header_.ChecksumOk()) {
        std::fprintf(stderr, "marrows: %s: %s was cut short; opening the store repairs it\n",
                     path.c_str(), header_.Interrupted().c_str());
    }
    return Ok(PDMLDBConnect(path.c_str(), &ldb_), ("opening " + path).c_str());
}

bool Session::Begin() {
    if (!Ok(PDMLDBStartTransaction(ldb_), "starting a transaction")) return false;
    in_transaction_ = true;
    return true;
}

bool Session::Commit() {
    in_transaction_ = false;
    return Ok(PDMLDBCommitTransaction(ldb_), "committing");
}

std::vector<void*> Drain(CursorHandle cursor) {
    std::vector<void*> out;
    void* element = nullptr;
    while (cursor != nullptr && PDMCursorGetNext(cursor, &element) == 0 && element != nullptr)
        out.push_back(element);
    if (cursor != nullptr) PDMCursorDelete(cursor);
    return out;
}

bool Workspaces(LDBHandle ldb, std::vector<WorkspaceHandle>& out) {
    CursorHandle cursor = nullptr;
    if (!Ok(PDMLDBGetWorkspaces(ldb, &cursor), "listing the workspaces")) return false;
    for (void* element : Drain(cursor)) out.push_back(static_cast<WorkspaceHandle>(element));
    return true;
}

bool FindWorkspace(LDBHandle ldb, const std::string& name, WorkspaceHandle& out) {
    out = nullptr;
    if (!Ok(PDMLDBGetWorkspaceByName(ldb, name.c_str(), &out), "finding the workspace"))
        return false;
    if (out == nullptr) std::fprintf(stderr, "marrows: no workspace named %s\n", name.c_str());
    return out != nullptr;
}
