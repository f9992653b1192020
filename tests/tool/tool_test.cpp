// The marrows tool on real files: what each subcommand prints of a store made by the workspace
// example, its exit codes, that the read-only ones leave the bytes alone, and how it meets a
// damaged file, a foreign one, an interrupted commit and a file of the older format.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/wait.h>
#include <vector>

#include <gtest/gtest.h>

#include "crashharness.h"
#include "marrows/marrows.h"
#include "oldstore.h"
#include "testsupport.h"

namespace {

using testsupport::ReadFileBytes;

struct Outcome {
    int code;
    std::string out;
    std::string err;
};

std::string Slurp(const std::string& path) {
    std::vector<unsigned char> bytes = ReadFileBytes(path);
    return std::string(bytes.begin(), bytes.end());
}

class Tool : public testsupport::CleanStackTest {
protected:
    void SetUp() override {
        CleanStackTest::SetUp();
#if !defined(MARROWS_TOOL_PATH)
        GTEST_SKIP() << "the marrows tool isn't built (CLI11 or nlohmann-json missing)";
#else
        std::string command = std::string(MARROWS_WORKSPACE_EXAMPLE) + " '" + dir.Path() + "' > /dev/null";
        ASSERT_EQ(std::system(command.c_str()), 0) << "the workspace example failed";
#endif
    }
    Outcome Run(const std::string& arguments) {
        std::string out = dir.File("out"), err = dir.File("err");
        std::string command = std::string(TOOL) + " " + arguments + " > '" + out + "' 2> '" + err + "'";
        int status = std::system(command.c_str());
        return Outcome{WIFEXITED(status) ? WEXITSTATUS(status) : -1, Slurp(out), Slurp(err)};
    }

#if defined(MARROWS_TOOL_PATH)
    static constexpr const char* TOOL = MARROWS_TOOL_PATH;
#else
    static constexpr const char* TOOL = "false";
#endif
    testsupport::TempDir dir;
    std::string store = dir.File("plant.ldb");
};

TEST_F(Tool, ReadOnlySubcommandsShowTheStoreAndLeaveItsBytes) {
    struct Case {
        std::string arguments;
        std::vector<std::string> lines;  // each must appear in the output
    };
    const std::vector<Case> cases = {
        {"info", {"format:        514 (2.0.2)", "interrupted:   no", "workspaces:    1",
                  "items:         4 (live in the current states)"}},
        {"check", {"workspace design\n", "clean: 1 workspaces, no findings"}},
        {"workspaces", {"design  4      2       1        no"}},
        {"items", {"bolt-M8       Part      B                        yes"}},
        {"items --modified", {"bracket-left  Part                               yes       instance  bracket"}},
        {"items --state 0", {"bolt-M8       Part      A"}},
        {"states", {"0               -1", "1      *        -1"}},
        {"dump", {"item frame (Assembly) revision A, modified, file ",
                  "    supplier = Acme fasteners (string)", "    depends on bolt-M8 (uses, type 1)"}},
        {"dump --json", {"\"name\": \"bracket-left\"", "\"role\": \"instance\"", "\"kind\": \"double\""}},
    };
    const std::vector<unsigned char> before = ReadFileBytes(store);
    for (const Case& c : cases) {
        std::string sub = c.arguments.substr(0, c.arguments.find(' '));
        std::string rest = c.arguments.size() > sub.size() ? c.arguments.substr(sub.size()) : "";
        bool named = sub == "items" || sub == "states";
        Outcome outcome = Run(sub + " '" + store + "'" + (named ? " design" : "") + rest);
        EXPECT_EQ(outcome.code, 0) << c.arguments << "\n" << outcome.err;
        EXPECT_EQ(outcome.err, "") << c.arguments;
        for (const std::string& line : c.lines)
            EXPECT_NE(outcome.out.find(line), std::string::npos) << c.arguments << ": " << line << "\n" << outcome.out;
        EXPECT_EQ(ReadFileBytes(store), before) << c.arguments << " changed the file";
    }
    for (const char* sub : {"info", "check", "compact", "upgrade", "workspaces", "items", "states", "dump"}) {
        Outcome help = Run(std::string(sub) + " --help");
        EXPECT_EQ(help.code, 0) << sub;
        EXPECT_NE(help.out.find(std::string("marrows ") + sub), std::string::npos) << help.out;
    }
    EXPECT_EQ(Run("").code, 64) << "a subcommand is required";
    EXPECT_EQ(Run("items '" + store + "' nowhere").code, 2);
}

TEST_F(Tool, CompactShowsTheFiguresAndShrinksTheFile) {
    Outcome trim = Run("compact --trim-only '" + store + "'");
    ASSERT_EQ(trim.code, 0) << trim.err;
    EXPECT_NE(trim.out.find("records copied"), std::string::npos);
    Outcome info = Run("info '" + store + "'");
    EXPECT_NE(info.out.find("dead space:    0 bytes behind the top"), std::string::npos) << info.out;
    Outcome compact = Run("compact '" + store + "'");
    ASSERT_EQ(compact.code, 0) << compact.err;
    EXPECT_EQ(Run("check '" + store + "'").code, 0) << "the compacted store is whole";
}

TEST_F(Tool, DamagedForeignAndMissingFilesAreRefusedWithoutAWrite) {
    std::vector<unsigned char> damaged = ReadFileBytes(store);
    damaged[12] ^= 0x55;  // the top, which the checksum no longer matches
    testsupport::WriteFileBytes(store, damaged);
    for (const char* sub : {"info", "check", "workspaces", "dump"}) {
        Outcome outcome = Run(std::string(sub) + " '" + store + "'");
        EXPECT_EQ(outcome.code, 2) << sub;
        EXPECT_FALSE(outcome.err.empty() && outcome.out.find("DAMAGED") == std::string::npos) << sub;
        EXPECT_EQ(ReadFileBytes(store), damaged) << sub;
    }
    std::string foreign = dir.File("notes.txt");
    testsupport::WriteFileBytes(foreign, std::vector<unsigned char>(100, 'x'));
    Outcome outcome = Run("check '" + foreign + "'");
    EXPECT_EQ(outcome.code, 2);
    EXPECT_NE(outcome.err.find("is not a marrows store"), std::string::npos) << outcome.err;
    EXPECT_EQ(Run("info '" + dir.File("absent.ldb") + "'").code, 2);
}

TEST_F(Tool, InterruptedCommitIsReportedAndRepairedOnlyByAnOpen) {
    // A child commits a change and dies at the k-th durable step; the first k that leaves the
    // header marked is an interrupted commit.
    const std::vector<unsigned char> clean = ReadFileBytes(store);
    bool marked = false;
    for (int k = 1; k <= 20 && !marked; ++k) {
        testsupport::WriteFileBytes(store, clean);
        testsupport::RunInChild([&] {
            LDBHandle ldb = nullptr;
            WorkspaceHandle ws = nullptr;
            WSPIHandle item = nullptr;
            if (PDMLDBConnect(store.c_str(), &ldb) != 0 || PDMLDBStartTransaction(ldb) != 0 ||
                PDMLDBGetWorkspaceByName(ldb, "design", &ws) != 0 ||
                PDMWorkspaceGetWSPIByName(ws, "bolt-M8", &item) != 0 ||
                PDMWSPISetCurrWSPIVTargetRevision(item, "C") != 0)
                return 1;
            testsupport::StepCounter counter(k, testsupport::StepFault::kCrashAfter);
            platform::SetIoHook(&counter);
            PDMLDBCommitTransaction(ldb);
            return 0;
        });
        std::vector<unsigned char> bytes = ReadFileBytes(store);
        marked = bytes.size() >= 28 && (bytes[24] | bytes[25] | bytes[26] | bytes[27]) != 0;
    }
    ASSERT_TRUE(marked);
    const std::vector<unsigned char> interrupted = ReadFileBytes(store);
    Outcome info = Run("info '" + store + "'");
    EXPECT_EQ(info.code, 0);
    EXPECT_NE(info.out.find("interrupted:   a commit (its undo log lies at address"), std::string::npos) << info.out;
    EXPECT_EQ(ReadFileBytes(store), interrupted) << "info doesn't repair";
    Outcome check = Run("check '" + store + "'");
    EXPECT_EQ(check.code, 0) << check.err;
    EXPECT_NE(check.err.find("was cut short; opening the store repairs it"), std::string::npos);
    EXPECT_NE(Run("info '" + store + "'").out.find("interrupted:   no"), std::string::npos);
    EXPECT_NE(Run("items '" + store + "' design").out.find("bolt-M8       Part      B"), std::string::npos)
        << "the repair brings back the last commit";
}

TEST_F(Tool, OlderFormatIsNamedAndUpgraded) {
    std::string old = dir.File("old.ldb");
    testsupport::WriteFileBytes(old, oldstore::HealthyStore());
    Outcome info = Run("info '" + old + "'");
    EXPECT_EQ(info.code, 0);
    EXPECT_NE(info.out.find("format:        257 (1.0.1), older: marrows upgrade rewrites it"), std::string::npos);
    EXPECT_EQ(Run("workspaces '" + old + "'").code, 2) << "an older file can't be opened";
    Outcome upgrade = Run("upgrade '" + old + "'");
    ASSERT_EQ(upgrade.code, 0) << upgrade.err;
    EXPECT_NE(upgrade.out.find("format     1.0.1   2.0.2"), std::string::npos) << upgrade.out;
    EXPECT_NE(Run("items '" + old + "' alpha").out.find("bracket-1"), std::string::npos);
    EXPECT_EQ(Run("check '" + old + "'").code, 0);
}

}  // namespace
