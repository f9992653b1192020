// Creating, connecting and transactions through the exported interface, as a client would.
#include <cstring>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>

#include "marrows/marrows.h"
#include "testsupport.h"

using testsupport::Arguments;
using testsupport::StackCodes;

namespace {
class Database : public testsupport::CleanStackTest {
protected:
    testsupport::TempDir dir;
};

uint32_t Word(const std::vector<unsigned char>& bytes, size_t at) {
    return bytes[at] | bytes[at + 1] << 8 | bytes[at + 2] << 16 | uint32_t(bytes[at + 3]) << 24;
}

// A header with the given version and a good checksum, as an older or newer library writes it.
void WriteHeaderOfVersion(const std::string& path, uint32_t version) {
    uint32_t words[10] = {0x42444C00, version, 0, 40, 1, 0, 0, 0, 0, 0};
    for (int i = 0; i < 9; ++i) words[9] ^= words[i];
    std::vector<unsigned char> bytes;
    for (uint32_t w : words)
        for (int b = 0; b < 4; ++b) bytes.push_back(static_cast<unsigned char>(w >> (8 * b)));
    testsupport::WriteFileBytes(path, bytes);
}
}  // namespace

TEST_F(Database, CreateLaysDownTheRootAndConnectsOnce) {
    std::string path = dir.File("new.ldb");
    LDBHandle ldb = nullptr;
    ASSERT_EQ(PDMLDBCreate(path.c_str(), &ldb), 0) << testsupport::DescribeTop();
    ASSERT_NE(ldb, nullptr);
    const char* stored = nullptr;
    EXPECT_EQ(PDMLDBGetPath(ldb, &stored), 0);
    EXPECT_EQ(std::string(stored), path);
    int inProgress = 7;
    EXPECT_EQ(PDMIsLDBTransactionInProgress(ldb, &inProgress), 0);
    EXPECT_EQ(inProgress, 0);
    EXPECT_EQ(PDMLDBDisconnect(ldb), 0);

    std::vector<unsigned char> bytes = testsupport::ReadFileBytes(path);
    ASSERT_GE(bytes.size(), 40u);
    EXPECT_EQ(Word(bytes, 20), 40u) << "the root is the first object of a new store";
    EXPECT_EQ(Word(bytes, 24), 0u) << "the header is clean";
    EXPECT_EQ(Word(bytes, 16), 2u) << "the first commit raised the stamp once";
    uint32_t top = Word(bytes, 12);
    EXPECT_EQ(bytes[40], 64) << "class code of the root";

    // Connecting again writes nothing: the root is there.
    ASSERT_EQ(PDMLDBConnect(path.c_str(), &ldb), 0);
    EXPECT_EQ(PDMLDBDisconnect(ldb), 0);
    std::vector<unsigned char> again = testsupport::ReadFileBytes(path);
    EXPECT_EQ(Word(again, 12), top);
    EXPECT_EQ(Word(again, 16), 2u);

    // A file already there is refused and left alone.
    LDBHandle other = reinterpret_cast<LDBHandle>(1);
    EXPECT_EQ(PDMLDBCreate(path.c_str(), &other), 2406);
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(testsupport::ReadFileBytes(path), again);
}

TEST_F(Database, OneConnectionPerFileWhateverTheSpelling) {
    std::string path = dir.File("shared.ldb");
    LDBHandle created = nullptr, viaDot = nullptr, viaBar = nullptr;
    ASSERT_EQ(PDMLDBCreate(path.c_str(), &created), 0);
    std::string dotted = dir.Path() + "/./shared.ldb";
    std::string barred = dir.Path() + "|shared.ldb";
    ASSERT_EQ(PDMLDBConnect(dotted.c_str(), &viaDot), 0);
    ASSERT_EQ(PDMLDBConnect(barred.c_str(), &viaBar), 0);
    EXPECT_EQ(viaDot, created);
    EXPECT_EQ(viaBar, created);
    LDBHandle second = nullptr;
    EXPECT_EQ(PDMLDBCreate(dotted.c_str(), &second), 2406) << "a connected path can't be created";
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()), std::vector<std::string>{dotted});
    PDMErrorClearStack();
    // Three counts: the store goes with the third disconnect only.
    EXPECT_EQ(PDMLDBDisconnect(created), 0);
    EXPECT_EQ(PDMLDBDisconnect(created), 0);
    const char* stored = nullptr;
    EXPECT_EQ(PDMLDBGetPath(created, &stored), 0);
    EXPECT_EQ(PDMLDBDisconnect(created), 0);
}

TEST_F(Database, RefusedDisconnectWaitsForTheNextConnect) {
    std::string path = dir.File("waiting.ldb");
    LDBHandle ldb = nullptr;
    ASSERT_EQ(PDMLDBCreate(path.c_str(), &ldb), 0);
    nyxErrorPush(1, 2401, 2, 1, "stale");
    EXPECT_EQ(PDMLDBDisconnect(ldb), 2401);
    const char* stored = nullptr;
    EXPECT_EQ(PDMLDBGetPath(ldb, &stored), 2401) << "the handle stays valid";
    EXPECT_EQ(std::string(stored), path);
    PDMErrorClearStack();
    // The connect's compatibility check finds the waiting connection, counts it up and down
    // again, which closes it; the connect proper then opens the file afresh.
    LDBHandle revived = nullptr;
    ASSERT_EQ(PDMLDBConnect(path.c_str(), &revived), 0);
    ASSERT_NE(revived, nullptr);
    EXPECT_EQ(PDMLDBGetPath(revived, &stored), 0);
    EXPECT_EQ(std::string(stored), path);
    EXPECT_EQ(PDMLDBDisconnect(revived), 0);  // the count was 1
    LDBHandle again = nullptr;
    EXPECT_EQ(PDMLDBCreate(path.c_str(), &again), 2406) << "the file is still there";
    EXPECT_EQ(testsupport::StackCodes(), std::vector<int>{2406});
}

TEST_F(Database, VersionChecksDecideCompatibilityAndConnect) {
    std::string older = dir.File("older.ldb");
    WriteHeaderOfVersion(older, 513);
    int compatible = 0;
    EXPECT_EQ(PDMIsLDBCompatible(older.c_str(), "M4.0.3.3.1", &compatible), 2416);
    EXPECT_EQ(compatible, 1);
    PDMErrorClearStack();
    LDBHandle ldb = reinterpret_cast<LDBHandle>(0x10);
    EXPECT_EQ(PDMLDBConnect(older.c_str(), &ldb), 2416);
    EXPECT_EQ(ldb, nullptr);
    EXPECT_EQ(StackCodes(), std::vector<int>{2416}) << "the connect behind the check adds nothing";
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()), (std::vector<std::string>{older, "2.0.1"}));
    PDMErrorClearStack();

    std::string newer = dir.File("newer.ldb");
    WriteHeaderOfVersion(newer, 515);
    ldb = reinterpret_cast<LDBHandle>(0x10);
    EXPECT_EQ(PDMLDBConnect(newer.c_str(), &ldb), 2404);
    EXPECT_EQ(ldb, reinterpret_cast<LDBHandle>(0x10)) << "an incompatible file leaves the output";
    EXPECT_EQ(PDMIsLDBCompatible(newer.c_str(), "", &compatible), 2404);
    EXPECT_EQ(compatible, 0);
    PDMErrorClearStack();

    // A missing file counts as compatible; the connect then reports it.
    std::string missing = dir.File("missing.ldb");
    EXPECT_EQ(PDMIsLDBCompatible(missing.c_str(), "", &compatible), 2408);
    EXPECT_EQ(compatible, 1);
    PDMErrorClearStack();
    int major = 0, minor = 0, patch = 0;
    nyxErrorPush(1, 2401, 2, 0);
    EXPECT_EQ(PDMGetLibVersion(&major, &minor, &patch), 0);
    EXPECT_EQ(major * 100 + minor * 10 + patch, 400);
}

TEST_F(Database, NullHandlesAreRefusedWithTheExportsName) {
    const char* path = "untouched";
    EXPECT_EQ(PDMLDBGetPath(nullptr, &path), 110);
    EXPECT_EQ(path, nullptr) << "pre-set null";
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()),
              (std::vector<std::string>{"PDMLDBGetPath", "LDBHandle"}));
    PDMErrorClearStack();
    struct Case {
        int (*call)(LDBHandle);
        const char* name;
    };
    const Case cases[] = {{PDMLDBStartTransaction, "PDMLDBStartTransaction"},
                          {PDMLDBCommitTransaction, "PDMLDBCommitTransaction"},
                          {PDMLDBAbortTransaction, "PDMLDBAbortTransaction"},
                          {PDMLDBDisconnect, "PDMLDBDisconnect"}};
    for (const Case& c : cases) {
        EXPECT_EQ(c.call(nullptr), 110) << c.name;
        EXPECT_EQ(Arguments(nyxErrorGetCurrent()), (std::vector<std::string>{c.name, "LDBHandle"}));
        PDMErrorClearStack();
    }
}

TEST_F(Database, TransactionsOpenAndCloseTheFile) {
    std::string path = dir.File("txn.ldb");
    LDBHandle ldb = nullptr;
    ASSERT_EQ(PDMLDBCreate(path.c_str(), &ldb), 0);
    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    int inProgress = 0;
    PDMIsLDBTransactionInProgress(ldb, &inProgress);
    EXPECT_EQ(inProgress, 1);
    EXPECT_EQ(PDMLDBStartTransaction(ldb), 2402);
    EXPECT_EQ(PDMLDBDisconnect(ldb), 2402) << "no disconnect inside a transaction";
    PDMErrorClearStack();
    // Another process waits for the file while the transaction holds it.
    EXPECT_EQ(PDMLDBAbortTransaction(ldb), 0);
    EXPECT_EQ(PDMLDBCommitTransaction(ldb), 2401);
    PDMErrorClearStack();
    int child = testsupport::RunInChild([&] {
        LDBHandle mine = nullptr;
        if (PDMLDBConnect(path.c_str(), &mine) != 0) return 1;
        if (PDMLDBStartTransaction(mine) != 0 || PDMLDBCommitTransaction(mine) != 0) return 2;
        return PDMLDBDisconnect(mine) == 0 ? 0 : 3;
    });
    EXPECT_EQ(child, 0);
    EXPECT_EQ(PDMLDBDisconnect(ldb), 0);
}
