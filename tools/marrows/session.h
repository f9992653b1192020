// The tool's connection to one store, through the exported interface only. Every failure is
// reported on standard error with the library's own rendering of the error stack, and the
// stack is cleared, so that one failure doesn't show again under the next call.
#pragma once

#include <string>
#include <vector>

#include "header.h"
#include "marrows/marrows.h"

// Exit codes of the tool.
constexpr int kExitOk = 0;
constexpr int kExitFindings = 1;  // the integrity check found something
constexpr int kExitFailed = 2;    // the store could not be read, or a call failed

class Session {
public:
    Session() = default;
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Connects, after telling on standard error what the open repairs if the header says a
    // commit, compaction or upgrade was cut short. False after a report.
    bool Open(const std::string& path);
    // A transaction, which the tool ends by an abort unless it means to change the store.
    bool Begin();
    bool Commit();
    LDBHandle ldb() const { return ldb_; }
    const StoreHeader& header() const { return header_; }

private:
    LDBHandle ldb_ = nullptr;
    bool in_transaction_ = false;
    StoreHeader header_;
};

// Reports a failed call: "marrows: WHAT failed", then the error stack; clears it. Gives false.
bool Fail(const std::string& what);
// Checks a result: false after the report when it isn't 0.
bool Ok(int rc, const char* what);

// A text the library handed out, empty for null.
inline std::string Text(const char* text) { return text != nullptr ? text : ""; }
// Every element of a cursor, which is deleted.
std::vector<void*> Drain(CursorHandle cursor);
// The workspaces of the store, in the order of the root's map.
bool Workspaces(LDBHandle ldb, std::vector<WorkspaceHandle>& out);
bool FindWorkspace(LDBHandle ldb, const std::string& name, WorkspaceHandle& out);
