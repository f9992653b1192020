// Each write, flush and truncate of a commit and of a compaction failing once: the operation
// reports the disk's failure with its code, and once the stack is cleared the store opens to
// a consistent state and goes on working.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "crashharness.h"
#include "errors/nyxerror.h"
#include "platform/pfile.h"
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

// Whether the stack holds the record that a failed step of this kind pushes.
std::string MissingRecord(char step) {
    for (nyxError* e = nyxErrorGetCurrent(); e != nullptr; e = nyxErrorGetPrevious(e)) {
        int code = nyxErrorGetErrorCode(e);
        if (step == 'F' && code == 2410) return "";
        if (step == 'T' && code == 2415) return "";
        if (step == 'W' && code == 101 &&
            testsupport::Arguments(e)[0] == "LDB StorageFile write failed")
            return "";
    }
    return std::string("no record of the failed ") + step + " on the stack";
}

int32_t Compact(const std::string& path) {
    PDMLDBCompactOptions options = {1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    return LDBCompactDatabase(path.c_str(), storegraph::Layout(), &options);
}

class FailingSteps : public CleanStackTest {
protected:
    void SetUp() override {
        CleanStackTest::SetUp();
        path = dir.File("fault.ldb");
        ASSERT_EQ(storegraph::MakeGraphStore(path, 1, 24), 0) << testsupport::DescribeTop();
        ASSERT_EQ(storegraph::CommitChange(path, 500), 0);
        base = ReadFileBytes(path);
        before = List();
    }
    std::string List() {
        std::string failure;
        std::string listing = storegraph::ListFile(path, &failure);
        EXPECT_FALSE(listing.empty()) << failure;
        return listing;
    }
    TempDir dir;
    std::string path;
    Bytes base;
    std::string before;
};

TEST_F(FailingSteps, FailedCommitStepReportsItAndTheStoreGoesOn) {
    // The steps of the commit alone, and the state it makes.
    std::string steps;
    {
        LDBStore* store = storegraph::Connect(path);
        ASSERT_NE(store, nullptr);
        ASSERT_EQ(store->StartTransaction(), 0);
        storegraph::ChangeGraph(store, 1000);
        testsupport::StepRecorder recorder;
        ASSERT_EQ(store->CommitTransaction(), 0);
        steps = recorder.steps;
        LDBStore::CloseStore(store);
    }
    const std::string after = List();
    ASSERT_NE(after, before);

    for (size_t k = 1; k <= steps.size(); ++k) {
        SCOPED_TRACE("step " + std::to_string(k) + " of " + steps);
        WriteFileBytes(path, base);
        LDBStore* store = storegraph::Connect(path);
        ASSERT_NE(store, nullptr);
        ASSERT_EQ(store->StartTransaction(), 0);
        storegraph::ChangeGraph(store, 1000);
        int32_t rc = 0;
        testsupport::FailStepOnce(int(k), [&] { rc = store->CommitTransaction(); });
        EXPECT_NE(rc, 0);
        EXPECT_EQ(MissingRecord(steps[k - 1]), "");
        EXPECT_FALSE(store->InTransaction());
        testsupport::ClearErrors();

        // The same store object starts again, repairing the file if the mark stands.
        ASSERT_EQ(store->StartTransaction(), 0) << testsupport::DescribeTop();
        std::string failure;
        std::string now = storegraph::ListObjects(store, &failure);
        EXPECT_TRUE(now == before || now == after) << failure;
        std::vector<PDMc_LDBObject*> objects = storegraph::Reachable(store);
        storegraph::FillMembers(objects[1], 4242, {objects[2]});
        EXPECT_EQ(store->CommitTransaction(), 0) << testsupport::DescribeTop();
        LDBStore::CloseStore(store);
        EXPECT_EQ(storegraph::HeaderProblem(path), "");
        EXPECT_FALSE(List().empty());
    }
}

TEST_F(FailingSteps, FailedCompactionStepReportsItAndTheFileKeepsItsContent) {
    std::string steps;
    {
        testsupport::StepRecorder recorder;
        ASSERT_EQ(Compact(path), 0) << testsupport::DescribeTop();
        steps = recorder.steps;
    }
    const Bytes compacted = ReadFileBytes(path);
    const Bytes old(base.begin(), base.begin() + WordAt(base, 12));
    ASSERT_EQ(steps.find('T'), 0u) << steps;  // the trim comes first

    for (size_t k = 1; k <= steps.size(); ++k) {
        SCOPED_TRACE("step " + std::to_string(k) + " of " + steps);
        WriteFileBytes(path, base);
        int32_t rc = 0;
        testsupport::FailStepOnce(int(k), [&] { rc = Compact(path); });
        EXPECT_NE(rc, 0);
        EXPECT_EQ(MissingRecord(steps[k - 1]), "");
        testsupport::ClearErrors();

        EXPECT_EQ(List(), before);
        EXPECT_EQ(storegraph::HeaderProblem(path), "");
        Bytes now = ReadFileBytes(path);
        Bytes live(now.begin(), now.begin() + std::min<size_t>(now.size(), WordAt(now, 12)));
        // A failure past the commit point leaves the new store, perhaps with the old tail.
        EXPECT_TRUE(live == old || live == compacted);
        // A compaction of the compacted store differs only in the stamp.
        EXPECT_EQ(Compact(path), 0) << testsupport::DescribeTop();
        EXPECT_EQ(ReadFileBytes(path).size(), compacted.size());
        EXPECT_EQ(List(), before);
    }
}

}  // namespace
