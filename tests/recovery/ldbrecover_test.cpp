// The repair at open: each state of m_ldb_invalid, the undo log's replay, and the order of the
// header tests before the version test.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "errors/nyxerror.h"
#include "recoverytest.h"
#include "srcldb/ldbstore.h"
#include "testsupport.h"

using recoverytest::Bytes;
using recoverytest::Concat;
using recoverytest::HeaderBytes;
using recoverytest::HeaderWords;
using recoverytest::UndoEnd;
using recoverytest::UndoRecord;
using recoverytest::WordAt;
using testsupport::CleanStackTest;
using testsupport::ReadFileBytes;
using testsupport::TempDir;
using testsupport::WriteFileBytes;

namespace {

// Twenty bytes of records as the interrupted commit left them, and as they were before it.
const Bytes kChanged = {96, 1, 'x', 'x', 'x', 'x', 0, 0, 0, 0, 96, 1, 'y', 'y', 'y', 'y', 0, 0, 0, 0};
const Bytes kOriginal = {96, 1, 'a', 'b', 'c', 'd', 0, 0, 0, 0, 96, 1, 'e', 'f', 'g', 'h', 0, 0, 0, 0};
constexpr uint32_t kTop = 60;
// The commit's new data, lying between the old top and its log.
const Bytes kNewData(12, 0x77);
constexpr uint32_t kLog = kTop + 12;

class Recovery : public CleanStackTest {
protected:
    void SetUp() override {
        CleanStackTest::SetUp();
        path = dir.File("marked.ldb");
    }
    // Connects (which repairs) and closes again; the codes on the stack, newest first.
    std::vector<int> Connect() {
        LDBStore* store = LDBStore::ConnectStore(nullptr, path.c_str());
        if (store != nullptr) LDBStore::CloseStore(store);
        std::vector<int> codes = testsupport::StackCodes();
        return codes;
    }
    std::string TopMessage() {
        nyxError* top = nyxErrorGetCurrent();
        return top == nullptr ? "" : testsupport::Arguments(top)[0];
    }
    TempDir dir;
    std::string path;
};

TEST_F(Recovery, MarkedCommitComesBackToItsOldStateWithTheStampKept) {
    HeaderWords marked;
    marked.top = kTop;
    marked.stamp = 5;
    marked.root = 40;
    marked.invalid = kLog;
    const Bytes log = Concat({UndoRecord(40, Bytes(kOriginal.begin(), kOriginal.begin() + 10)),
                              UndoRecord(50, Bytes(kOriginal.begin() + 10, kOriginal.end())),
                              UndoEnd()});
    WriteFileBytes(path, Concat({HeaderBytes(marked), kChanged, kNewData, log}));

    EXPECT_EQ(Connect(), std::vector<int>{}) << testsupport::DescribeTop();
    HeaderWords clean = marked;
    clean.invalid = 0;
    // Only the records and the mark change; the tail stays for the next commit to overwrite.
    EXPECT_EQ(ReadFileBytes(path), Concat({HeaderBytes(clean), kOriginal, kNewData, log}));
}

TEST_F(Recovery, EmptyLogOnlyClearsTheMark) {
    HeaderWords marked;
    marked.top = kTop;
    marked.stamp = 9;
    marked.invalid = kLog;
    WriteFileBytes(path, Concat({HeaderBytes(marked), kChanged, kNewData, UndoEnd()}));
    EXPECT_EQ(Connect(), std::vector<int>{});
    HeaderWords clean = marked;
    clean.invalid = 0;
    EXPECT_EQ(ReadFileBytes(path), Concat({HeaderBytes(clean), kChanged, kNewData, UndoEnd()}));
}

TEST_F(Recovery, ReplayingTwiceGivesTheSameBytes) {
    HeaderWords marked;
    marked.top = kTop;
    marked.invalid = kLog;
    const Bytes log = Concat({UndoRecord(44, {1, 2, 3}), UndoRecord(44, {4, 5}), UndoEnd()});
    const Bytes file = Concat({HeaderBytes(marked), kChanged, kNewData, log});
    WriteFileBytes(path, file);
    ASSERT_EQ(Connect(), std::vector<int>{});
    const Bytes once = ReadFileBytes(path);
    // Records apply in file order: the later one wins where they overlap.
    EXPECT_EQ(Bytes(once.begin() + 44, once.begin() + 47), (Bytes{4, 5, 3}));

    // A crash after the replay but before the cleared header: the mark stands over restored
    // records, and the next open replays them again.
    Bytes again = once;
    const Bytes header = HeaderBytes(marked);
    std::copy(header.begin(), header.end(), again.begin());
    WriteFileBytes(path, again);
    ASSERT_EQ(Connect(), std::vector<int>{});
    EXPECT_EQ(ReadFileBytes(path), once);
}

// Each header that can't be used, and whether the file must stay exactly as it was.
TEST_F(Recovery, RefusedHeadersGiveTheirCodeInTheOrderOfTheTests) {
    struct Case {
        const char* name;
        HeaderWords words;
        Bytes tail;
        std::vector<int> codes;
        const char* message;  // the newest record's first argument, when not the path
        bool unchanged;
    };
    auto words = [](uint32_t version, uint32_t tag, uint32_t invalid, bool bad = false) {
        HeaderWords w;
        w.version = version;
        w.tag = tag;
        w.top = kTop;
        w.invalid = invalid;
        w.bad = bad;
        return w;
    };
    const Bytes emptyLog = Concat({kNewData, UndoEnd()});
    const std::vector<Case> cases = {
        {"marked unusable", words(514, 0, 1), emptyLog, {2411}, nullptr, true},
        {"bad checksum over a mark", words(514, 0, kLog, true), emptyLog, {2403}, nullptr, true},
        {"unknown format tag before any repair", words(514, 7, kLog), emptyLog, {2405}, nullptr,
         true},
        {"newer version", words(515, 0, 0), emptyLog, {2404}, nullptr, true},
        {"older version, repaired first", words(257, 0, kLog), emptyLog, {2416}, nullptr, false},
        {"undo record of 200 bytes", words(514, 0, kLog),
         Concat({kNewData, UndoRecord(40, Bytes(200, 1)), UndoEnd()}), {2417, 101},
         "Error - buffer[PDM_LDB_MAX_OBJECT_SIZE] <= size inside RestoreUndoLog()", true},
        {"undo record reaching past the top", words(514, 0, kLog),
         Concat({kNewData, UndoRecord(kTop - 2, {1, 2, 3, 4}), UndoEnd()}), {2417, 101},
         "LDB RestoreUndoLog: record outside the store", true},
        {"undo record over the header", words(514, 0, kLog),
         Concat({kNewData, UndoRecord(8, {1, 2, 3, 4}), UndoEnd()}), {2417, 101},
         "LDB RestoreUndoLog: record outside the store", true},
        {"log cut short", words(514, 0, kLog), Concat({kNewData, UndoRecord(40, {1, 2, 3})}),
         {2417, 101}, "LDB StorageFile read failed", false},
        {"shadow mark without a shadow", words(514, 0, 2), Bytes(60, 0x5A), {2417, 101},
         "LDB RecoverShadowLog: Invalid shadow header", true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const Bytes file = Concat({HeaderBytes(c.words), kChanged, c.tail});
        WriteFileBytes(path, file);
        // Every open tries again and fails the same way.
        for (int attempt = 0; attempt < 2; ++attempt) {
            EXPECT_EQ(Connect(), c.codes);
            // The top record names the file; a failed repair leaves its cause beneath.
            std::vector<std::string> args = testsupport::Arguments(nyxErrorGetCurrent());
            ASSERT_FALSE(args.empty());
            EXPECT_EQ(args[0], path);
            if (c.message != nullptr) {
                nyxError* cause = nyxErrorGetPrevious(nyxErrorGetCurrent());
                ASSERT_NE(cause, nullptr);
                EXPECT_EQ(testsupport::Arguments(cause)[0], c.message);
            }
            testsupport::ClearErrors();
        }
        if (c.unchanged) {
            EXPECT_EQ(ReadFileBytes(path), file);
        } else {
            EXPECT_EQ(WordAt(ReadFileBytes(path), 24), c.codes[0] == 2416 ? 0u : kLog);
        }
    }
}

TEST_F(Recovery, VersionCodesCarryTheVersionText) {
    struct Case { uint32_t version; int code; const char* text; };
    const std::vector<Case> cases = {{515, 2404, "2.0.3"}, {257, 2416, "1.0.1"}, {0x1234, 2404, "18.3.4"}};
    for (const Case& c : cases) {
        HeaderWords w;
        w.version = c.version;
        WriteFileBytes(path, HeaderBytes(w));
        EXPECT_EQ(Connect(), std::vector<int>{c.code});
        EXPECT_EQ(testsupport::Arguments(nyxErrorGetCurrent()),
                  (std::vector<std::string>{path, c.text}));
        testsupport::ClearErrors();
    }
}

TEST_F(Recovery, MarkSeenWhereRepairIsNotAllowedIsRefused) {
    HeaderWords marked;
    marked.top = kTop;
    marked.invalid = kLog;
    const Bytes file = Concat({HeaderBytes(marked), kChanged, kNewData, UndoEnd()});
    WriteFileBytes(path, file);
    LDBStore store(nullptr, path.c_str());
    ASSERT_EQ(store.File().Open(), 0);
    LDBHeader header;
    EXPECT_EQ(store.ReadHeader(header, false), 101);
    EXPECT_EQ(TopMessage(), "LDB ReadHeader: Recovery failed");
    EXPECT_EQ(testsupport::Arguments(nyxErrorGetCurrent())[1], "srcldb/ldbstore");
    testsupport::ClearErrors();
    ASSERT_EQ(store.File().Close(), 0);
    EXPECT_EQ(ReadFileBytes(path), file);
}

}  // namespace
