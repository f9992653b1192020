// The subcommands of the marrows tool. Each prints its result on standard output, its failures
// on standard error, and gives the process's exit code.
#pragma once

#include <string>

int InfoCommand(const std::string& path);
int CheckCommand(const std::string& path);
int CompactCommand(const std::string& path, bool trimOnly);
int UpgradeCommand(const std::string& path);
int WorkspacesCommand(const std::string& path);
// state < 0: the current state.
int ItemsCommand(const std::string& path, const std::string& workspace, int state, bool modifiedOnly);
int StatesCommand(const std::string& path, const std::string& workspace);
int DumpCommand(const std::string& path, bool json);
