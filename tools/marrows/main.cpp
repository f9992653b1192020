// marrows: looks inside a marrows store. A client of libmarrows's public interface, like any
// other; only `info` reads the 40-byte header of the file itself.
//
// Exit codes: 0 success; 1 the integrity check found something; 2 the store could not be read
// or a call of the library failed (the error stack is printed on standard error); 64 wrong
// arguments.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>

#include "commands.h"
#include "marrows/marrows.h"
#include "marrows/version.h"

int main(int argc, char** argv) {
    CLI::App app{"marrows " MARROWS_VERSION_STRING ": look inside a marrows store file.\n"
                 "The read-only subcommands (info, check, workspaces, items, states, dump) leave the\n"
                 "file as it is, unless the store needs the repair that every open makes after an\n"
                 "interrupted commit, compaction or upgrade, which they say on standard error.",
                 "marrows"};
    app.require_subcommand(1);
    app.set_version_flag("--version", [] {
        int major = 0, minor = 0, patch = 0;
        PDMGetLibVersion(&major, &minor, &patch);
        return "marrows " MARROWS_VERSION_STRING " (library " + std::to_string(major) + "." +
               std::to_string(minor) + "." + std::to_string(patch) + ")";
    });

    std::string file, workspace;
    bool trimOnly = false, modifiedOnly = false, json = false;
    int state = -1;
    int result = 0;

    auto* info = app.add_subcommand(
        "info", "Format version, stamp, top, file size, dead space behind the top, root address, "
                "whether an interrupted commit, compaction or upgrade awaits repair, and the counts "
                "of workspaces and items. Reads the header without the library; the contents only "
                "if no repair is due.");
    info->add_option("FILE", file, "the store file")->required();
    info->callback([&] { result = InfoCommand(file); });

    auto* check = app.add_subcommand(
        "check", "The integrity check of every workspace, as PDMWorkspaceCheckIntegrity prints it "
                 "under a line naming the workspace. Exit 0 clean, 1 findings, 2 could not check.");
    check->add_option("FILE", file, "the store file")->required();
    check->callback([&] { result = CheckCommand(file); });

    auto* compact = app.add_subcommand(
        "compact", "Rewrites the store without its dead space and cuts the file to its end "
                   "(PDMLDBCompact), and shows the figures before and after.");
    compact->add_option("FILE", file, "the store file")->required();
    compact->add_flag("--trim-only", trimOnly, "only cut the file to the store's used length");
    compact->callback([&] { result = CompactCommand(file, trimOnly); });

    auto* upgrade = app.add_subcommand(
        "upgrade", "Rewrites a store of the older format (1.0.1) in the current one "
                   "(PDMLDBUpgrade), and shows the header's figures before and after.");
    upgrade->add_option("FILE", file, "the store file")->required();
    upgrade->callback([&] { result = UpgradeCommand(file); });

    auto* workspaces = app.add_subcommand(
        "workspaces", "A table of the workspaces: items, states, current state, directory.");
    workspaces->add_option("FILE", file, "the store file")->required();
    workspaces->callback([&] { result = WorkspacesCommand(file); });

    auto* items = app.add_subcommand(
        "items", "A table of the live items of a workspace in its current state (or another): "
                 "type, target revision, branch and release level, modified, library role, file.");
    items->add_option("FILE", file, "the store file")->required();
    items->add_option("WORKSPACE", workspace, "the workspace's name")->required();
    items->add_option("--state", state, "show state N (0 is the oldest) instead of the current")
        ->check(CLI::NonNegativeNumber);
    items->add_flag("--modified", modifiedOnly, "only the items whose version is modified");
    items->callback([&] { result = ItemsCommand(file, workspace, state, modifiedOnly); });

    auto* states = app.add_subcommand(
        "states", "A table of the states of a workspace, oldest first, the current one marked.");
    states->add_option("FILE", file, "the store file")->required();
    states->add_option("WORKSPACE", workspace, "the workspace's name")->required();
    states->callback([&] { result = StatesCommand(file, workspace); });

    auto* dump = app.add_subcommand(
        "dump", "The root's application objects with their attributes, and every workspace with "
                "its states and items (data, attributes, dependencies), as text or JSON.");
    dump->add_option("FILE", file, "the store file")->required();
    dump->add_flag("--json", json, "one JSON document instead of text");
    dump->callback([&] { result = DumpCommand(file, json); });

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        int code = app.exit(error);
        return code == 0 ? 0 : 64;
    }
    return result;
}
