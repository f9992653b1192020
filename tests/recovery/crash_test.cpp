// Crashing at every durable step of a commit, a compaction and a repair: each crash must leave
// a file that the next open brings back to exactly the state before or exactly the state after,
// with a clean header.
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "crashharness.h"
#include "errors/nyxerror.h"
#include "recoverytest.h"
#include "srcldb/ldbcompact.h"
#include "srcldb/ldbstore.h"
#include "storegraph.h"
#include "testsupport.h"

using recoverytest::Bytes;
using recoverytest::WordAt;
using testsupport::CleanStackTest;
using testsupport::ReadFileBytes;
using testsupport::TempDir;
using testsupport::WriteFileBytes;

namespace {

int Compact(const std::string& path) {
    PDMLDBCompactOptions options = {1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    return LDBCompactDatabase(path.c_str(), storegraph::Layout(), &options) == 0 ? 0 : 1;
}

int Reconnect(const std::string& path) {
    LDBStore* store = LDBStore::ConnectStore(nullptr, path.c_str());
    if (store == nullptr) return 1;
    LDBStore::CloseStore(store);
    return 0;
}

// The bytes of a file up to the top its header names.
Bytes Live(const Bytes& file) {
    uint32_t top = WordAt(file, 12);
    return top <= file.size() ? Bytes(file.begin(), file.begin() + top) : file;
}

class CrashPoints : public CleanStackTest {
protected:
    void SetUp() override {
        CleanStackTest::SetUp();
        path = dir.File("crash.ldb");
        ASSERT_EQ(storegraph::MakeGraphStore(path, 1, 24), 0) << testsupport::DescribeTop();
        base = ReadFileBytes(path);
    }

    std::string List() {
        std::string failure;
        std::string listing = storegraph::ListFile(path, &failure);
        EXPECT_FALSE(listing.empty()) << failure;
        return listing;
    }

    // Runs scenario from the file start at every crash point; after each crash the file must
    // open to the listing before or after (never back to before once after was seen), with a
    // clean header, and its live bytes must be one of the given forms when any are given.
    int CheckEveryCrash(const char* name, const Bytes& start, const std::function<int()>& scenario,
                        const std::vector<Bytes>& liveForms = {}) {
        WriteFileBytes(path, start);
        const std::string before = List();
        EXPECT_EQ(scenario(), 0) << testsupport::DescribeTop();
        testsupport::ClearErrors();
        const std::string after = List();
        bool sawAfter = false, sawBefore = false;
        int points = testsupport::CrashAtEveryStep(
            [&] { WriteFileBytes(path, start); }, scenario,
            [&](const testsupport::CrashRun&) -> std::string {
                testsupport::ClearErrors();
                std::string failure;
                std::string now = storegraph::ListFile(path, &failure);
                if (now.empty()) return "the store didn't open: " + failure;
                std::string header = storegraph::HeaderProblem(path);
                if (!header.empty()) return "header after the repair: " + header;
                if (!liveForms.empty()) {
                    Bytes live = Live(ReadFileBytes(path));
                    bool known = false;
                    for (const Bytes& form : liveForms) known = known || live == form;
                    if (!known) return "the file's live bytes are neither the old nor the new";
                }
                if (now == after) {
                    sawAfter = true;
                    return "";
                }
                if (now != before) return "neither the state before nor the state after";
                if (sawAfter) return "back to the state before after the state after";
                sawBefore = true;
                return "";
            });
        std::printf("%s: checked %d crash points\n", name, points);
        EXPECT_TRUE(sawAfter || before == after);
        return points;
    }

    TempDir dir;
    std::string path;
    Bytes base;
};

TEST_F(CrashPoints, CommitOfNewAndChangedObjectsGivesTheOldOrTheNewState) {
    int points = CheckEveryCrash("commit", base, [&] { return storegraph::CommitChange(path, 1000); });
    EXPECT_GE(points, 10);
}

TEST_F(CrashPoints, SecondCommitOverTheFirstsUndoLogGivesTheOldOrTheNewState) {
    ASSERT_EQ(storegraph::CommitChange(path, 1000), 0);
    const Bytes first = ReadFileBytes(path);
    // The first commit's log lies behind its top; the second's new data must cover it.
    ASSERT_GT(first.size(), WordAt(first, 12) + 4);
    ASSERT_EQ(storegraph::CommitChange(path, 2000), 0);
    ASSERT_GE(WordAt(ReadFileBytes(path), 12), first.size());

    int points = CheckEveryCrash("second commit", first, [&] { return storegraph::CommitChange(path, 2000); });
    EXPECT_GE(points, 10);
}

TEST_F(CrashPoints, CompactionGivesTheOldOrTheCompactedFile) {
    ASSERT_EQ(storegraph::CommitChange(path, 1000), 0);
    ASSERT_EQ(storegraph::CommitChange(path, 2000), 0);
    const Bytes churned = ReadFileBytes(path);
    ASSERT_EQ(Compact(path), 0) << testsupport::DescribeTop();
    const Bytes compacted = ReadFileBytes(path);
    ASSERT_LT(compacted.size(), churned.size());

    int points = CheckEveryCrash("compaction", churned, [&] { return Compact(path); },
                                 {Live(churned), compacted});
    EXPECT_GE(points, 8);
}

// A file left by a crash at step k of scenario; k is the last step after which the header is
// marked, so that the most is left to repair.
Bytes MarkedFile(const std::string& path, const Bytes& start, const std::function<int()>& scenario,
                 uint32_t mark) {
    Bytes found;
    testsupport::CrashAtEveryStep(
        [&] { WriteFileBytes(path, start); }, scenario,
        [&](const testsupport::CrashRun& run) -> std::string {
            Bytes now = ReadFileBytes(path);
            uint32_t invalid = WordAt(now, 24);
            if (run.crashed && invalid != 0 && (mark == 0 ? invalid != 2 : invalid == mark))
                found = now;
            return "";
        });
    return found;
}

TEST_F(CrashPoints, CrashDuringTheRepairOfACommitIsRepairedAgain) {
    const Bytes marked = MarkedFile(path, base, [&] { return storegraph::CommitChange(path, 1000); }, 0);
    ASSERT_FALSE(marked.empty());
    // The repair gives the state before the interrupted commit, and nothing else.
    WriteFileBytes(path, base);
    const std::string before = List();
    WriteFileBytes(path, marked);
    ASSERT_EQ(Reconnect(path), 0);
    ASSERT_EQ(List(), before);
    const Bytes repaired = ReadFileBytes(path);

    int points = CheckEveryCrash("repair of a commit", marked, [&] { return Reconnect(path); },
                                 {Live(repaired)});
    EXPECT_GE(points, 3);
}

TEST_F(CrashPoints, CrashDuringTheRepairOfACompactionIsRepairedAgain) {
    ASSERT_EQ(storegraph::CommitChange(path, 1000), 0);
    const Bytes churned = ReadFileBytes(path);
    const Bytes marked = MarkedFile(path, churned, [&] { return Compact(path); }, LDB_INVALID_SHADOW);
    ASSERT_FALSE(marked.empty());
    WriteFileBytes(path, churned);
    ASSERT_EQ(Compact(path), 0);
    const Bytes compacted = ReadFileBytes(path);

    int points = CheckEveryCrash("repair of a compaction", marked,
                                 [&] { return Reconnect(path); }, {compacted});
    EXPECT_GE(points, 3);
}

}  // namespace
