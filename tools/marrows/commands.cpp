#include "commands.h"

#include <cstdio>
#include <vector>

#include "model.h"
#include "session.h"
#include "table.h"

namespace {

std::string Bytes(uint64_t count) { return std::to_string(count) + " bytes"; }

void Line(const char* label, const std::string& value) { std::printf("%-14s %s\n", label, value.c_str()); }

// Reads the header or reports why not.
bool ReadHeader(const std::string& path, StoreHeader& header) {
    std::string why;
    if (header.Read(path, why)) return true;
    std::fprintf(stderr, "marrows: %s\n", why.c_str());
    return false;
}

void PrintHeader(const std::string& path, const StoreHeader& header) {
    Line("file:", path);
    std::string format = std::to_string(header.version) + " (" + header.VersionText() + ")";
    if (header.version == StoreHeader::kOldVersion) format += ", older: marrows upgrade rewrites it";
    Line("format:", format);
    Line("stamp:", std::to_string(header.stamp));
    Line("top:", Bytes(header.top));
    Line("file size:", Bytes(header.file_size));
    Line("dead space:", Bytes(header.DeadSpace()) + " behind the top");
    Line("root address:", std::to_string(header.root));
}

// Moves the workspace to state `number` by undo and redo steps, in the open transaction that
// the caller aborts.
bool MoveToState(WorkspaceHandle ws, int number) {
    int current = 0, count = 0;
    if (!Ok(PDMWorkspaceGetCurrentStateNumber(ws, &current), "reading the state") ||
        !Ok(PDMWorkspaceGetStateCount(ws, &count), "reading the states"))
        return false;
    if (number >= count) {
        std::fprintf(stderr, "marrows: the workspace has states 0 to %d\n", count - 1);
        return false;
    }
    for (; current > number; --current)
        if (!Ok(PDMWorkspaceUndo(ws), "moving to the state")) return false;
    for (; current < number; ++current)
        if (!Ok(PDMWorkspaceRedo(ws), "moving to the state")) return false;
    return true;
}

}  // namespace

int InfoCommand(const std::string& path) {
    StoreHeader header;
    if (!ReadHeader(path, header)) return kExitFailed;
    if (!header.MagicOk()) {
        std::fprintf(stderr, "marrows: %s is not a marrows store (no store header)\n", path.c_str());
        return kExitFailed;
    }
    PrintHeader(path, header);
    if (!header.ChecksumOk()) {
        Line("header:", "DAMAGED (its checksum doesn't match)");
        return kExitFailed;
    }
    if (header.NeedsRepair()) {
        Line("interrupted:", header.Interrupted() + "; the next open repairs it");
        Line("contents:", "not read, as reading would repair the store first");
        return kExitOk;
    }
    Line("interrupted:", "no");
    if (header.version != StoreHeader::kCurrentVersion) {
        Line("contents:", "not read: an older format");
        return kExitOk;
    }
    Session session;
    std::vector<WorkspaceHandle> workspaces;
    if (!session.Open(path) || !session.Begin() || !Workspaces(session.ldb(), workspaces))
        return kExitFailed;
    int items = 0;
    for (WorkspaceHandle ws : workspaces) {
        WorkspaceView view;
        if (!ReadWorkspace(ws, view)) return kExitFailed;
        items += view.item_count;
    }
    Line("workspaces:", std::to_string(workspaces.size()));
    Line("items:", std::to_string(items) + " (live in the current states)");
    return kExitOk;
}

int CheckCommand(const std::string& path) {
    Session session;
    std::vector<WorkspaceHandle> workspaces;
    if (!session.Open(path) || !session.Begin() || !Workspaces(session.ldb(), workspaces))
        return kExitFailed;
    // Each workspace on its own, so that all findings show, not only the first workspace's.
    int withFindings = 0;
    for (WorkspaceHandle ws : workspaces) {
        WorkspaceView view;
        if (!ReadWorkspace(ws, view)) return kExitFailed;
        std::printf("workspace %s\n", view.name.c_str());
        std::fflush(stdout);
        int found = 0;
        if (!Ok(PDMWorkspaceCheckIntegrity(ws, &found), "checking the workspace")) return kExitFailed;
        withFindings += found;
    }
    if (withFindings == 0)
        std::printf("clean: %zu workspaces, no findings\n", workspaces.size());
    else
        std::printf("findings in %d of %zu workspaces\n", withFindings, workspaces.size());
    return withFindings == 0 ? kExitOk : kExitFindings;
}

int CompactCommand(const std::string& path, bool trimOnly) {
    StoreHeader before;
    if (!ReadHeader(path, before)) return kExitFailed;
    PDMLDBCompactOptions options{};
    options.compact = trimOnly ? 0 : 1;
    options.trim = 1;
    if (!Ok(PDMLDBCompact(path.c_str(), &options), trimOnly ? "trimming" : "compacting"))
        return kExitFailed;
    StoreHeader after;
    if (!ReadHeader(path, after)) return kExitFailed;
    TextTable table({"", "before", "after"});
    table.Add({"top", std::to_string(options.topBefore), std::to_string(options.topAfter)});
    table.Add({"file size", std::to_string(before.file_size), std::to_string(after.file_size)});
    table.Add({"records copied", "", std::to_string(options.recordsCopied)});
    std::printf("%s", table.Render().c_str());
    return kExitOk;
}

int UpgradeCommand(const std::string& path) {
    StoreHeader before;
    if (!ReadHeader(path, before)) return kExitFailed;
    if (!Ok(PDMLDBUpgrade(path.c_str()), "upgrading")) return kExitFailed;
    StoreHeader after;
    if (!ReadHeader(path, after)) return kExitFailed;
    TextTable table({"", "before", "after"});
    table.Add({"format", before.VersionText(), after.VersionText()});
    table.Add({"top", std::to_string(before.top), std::to_string(after.top)});
    table.Add({"file size", std::to_string(before.file_size), std::to_string(after.file_size)});
    table.Add({"stamp", std::to_string(before.stamp), std::to_string(after.stamp)});
    std::printf("%s", table.Render().c_str());
    return kExitOk;
}

int WorkspacesCommand(const std::string& path) {
    Session session;
    std::vector<WorkspaceHandle> workspaces;
    if (!session.Open(path) || !session.Begin() || !Workspaces(session.ldb(), workspaces))
        return kExitFailed;
    TextTable table({"NAME", "ITEMS", "STATES", "CURRENT", "INTEGRATING", "DIRECTORY", "DESCRIPTION"});
    for (WorkspaceHandle ws : workspaces) {
        WorkspaceView view;
        if (!ReadWorkspace(ws, view)) return kExitFailed;
        table.Add({view.name, std::to_string(view.item_count), std::to_string(view.state_count),
                   std::to_string(view.current_state), view.under_integration ? "yes" : "no",
                   view.directory, view.description});
    }
    std::printf("%s", table.Render().c_str());
    return kExitOk;
}

int ItemsCommand(const std::string& path, const std::string& workspace, int state, bool modifiedOnly) {
    Session session;
    WorkspaceHandle ws = nullptr;
    if (!session.Open(path) || !session.Begin() || !FindWorkspace(session.ldb(), workspace, ws))
        return kExitFailed;
    // Another state is shown by moving there in a transaction that the session aborts.
    if (state >= 0 && !MoveToState(ws, state)) return kExitFailed;
    std::vector<ItemView> items;
    if (!ReadItems(ws, modifiedOnly, false, items)) return kExitFailed;
    TextTable table({"NAME", "TYPE", "REVISION", "BRANCH", "LEVEL", "MODIFIED", "ROLE", "LIBRARY", "FILE"});
    for (const ItemView& item : items) {
        table.Add({item.name, item.type, item.target_revision, item.target_branch,
                   item.target_release_level, item.modified ? "yes" : "no", item.role,
                   item.library, item.file});
    }
    std::printf("%s", table.Render().c_str());
    return kExitOk;
}

int StatesCommand(const std::string& path, const std::string& workspace) {
    Session session;
    WorkspaceHandle ws = nullptr;
    std::vector<StateView> states;
    if (!session.Open(path) || !session.Begin() || !FindWorkspace(session.ldb(), workspace, ws) ||
        !ReadStates(ws, states))
        return kExitFailed;
    TextTable table({"STATE", "CURRENT", "USER DATA", "DESCRIPTION"});
    for (const StateView& state : states) {
        table.Add({std::to_string(state.number), state.current ? "*" : "",
                   std::to_string(state.user_data_id), state.description});
    }
    std::printf("%s", table.Render().c_str());
    return kExitOk;
}
