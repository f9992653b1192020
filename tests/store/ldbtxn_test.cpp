#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "crashharness.h"
#include "errors/nyxerror.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbstore.h"
#include "storetest.h"
#include "testsupport.h"
#include "txntest.h"

using storetest::WordAt;
using testsupport::CleanStackTest;
using testsupport::ReadFileBytes;
using testsupport::TempDir;
using txntest::NewAppObj;
using txntest::SetText;
using txntest::TypeText;

namespace {

// Sizes of the records and blocks that the tests lay down.
constexpr uint32_t kAppObjSize = 10;  // code, version, string address, attribute map address
constexpr uint32_t kStringHead = 2;   // tag and byte count

class Transactions : public CleanStackTest {
protected:
    void SetUp() override {
        CleanStackTest::SetUp();
        path = dir.File("txn.ldb");
    }
    void TearDown() override {
        if (store != nullptr) {
            testsupport::ClearErrors();
            if (store->InTransaction()) store->AbortTransaction();
            testsupport::ClearErrors();
            LDBStore::CloseStore(store);
        }
        CleanStackTest::TearDown();
    }
    // A store with a root "a" at 40 and a second object "bb" at 50, committed once.
    void MakeTwoObjects() {
        store = txntest::Create(path);
        ASSERT_NE(store, nullptr) << testsupport::DescribeTop();
        ASSERT_EQ(store->StartTransaction(), 0) << testsupport::DescribeTop();
        store->SetRootObject(NewAppObj(store, "a"));
        NewAppObj(store, "bb");
        ASSERT_EQ(store->CommitTransaction(), 0) << testsupport::DescribeTop();
    }
    static std::string TopArgs() {
        std::string out;
        for (const std::string& arg : testsupport::Arguments(nyxErrorGetCurrent()))
            out += arg + ";";
        return out;
    }

    TempDir dir;
    std::string path;
    LDBStore* store = nullptr;
};

TEST_F(Transactions, CommitOfNewObjectsLaysThemDownWithAnEmptyLogBehindTop) {
    store = txntest::Create(path);
    ASSERT_NE(store, nullptr);
    ASSERT_EQ(store->StartTransaction(), 0) << testsupport::DescribeTop();
    store->SetRootObject(NewAppObj(store, "a"));
    NewAppObj(store, "bb");
    txntest::StepRecorder recorder;
    ASSERT_EQ(store->CommitTransaction(), 0) << testsupport::DescribeTop();

    // Log and its flush; flush, mark, flush; data, flush, clean header, flush; close.
    EXPECT_EQ(recorder.steps, "WFFWFWFWFF");
    const uint32_t top = 40 + 2 * kAppObjSize + (kStringHead + 2) + (kStringHead + 3);
    std::vector<unsigned char> bytes = ReadFileBytes(path);
    ASSERT_EQ(bytes.size(), top + 4u);
    EXPECT_EQ(WordAt(bytes, 12), top);
    EXPECT_EQ(WordAt(bytes, 16), 2u);   // stamp
    EXPECT_EQ(WordAt(bytes, 20), 40u);  // root
    EXPECT_EQ(WordAt(bytes, 24), 0u);   // no mark
    // Both records first, since every address is handed out before anything is written;
    // then the blocks in the order of writing.
    const std::vector<unsigned char> data = {
        96, 1, 60, 0, 0, 0, 0, 0, 0, 0,  96, 1, 64, 0, 0, 0, 0, 0, 0, 0,
        0x11, 2, 'a', 0,  0x11, 3, 'b', 'b', 0,  0, 0, 0, 0};
    EXPECT_EQ(std::vector<unsigned char>(bytes.begin() + 40, bytes.end()), data);
    EXPECT_EQ(store->Top(), top);
    EXPECT_EQ(store->Stamp(), 2u);
    EXPECT_FALSE(store->InTransaction());
}

TEST_F(Transactions, EmptyCommitWritesNothingAndKeepsTheStamp) {
    MakeTwoObjects();
    std::vector<unsigned char> before = ReadFileBytes(path);
    ASSERT_EQ(store->StartTransaction(), 0);
    txntest::StepRecorder recorder;
    ASSERT_EQ(store->CommitTransaction(), 0);
    EXPECT_EQ(recorder.steps.find('W'), std::string::npos) << recorder.steps;
    EXPECT_EQ(ReadFileBytes(path), before);
    EXPECT_EQ(store->Stamp(), 2u);
}

TEST_F(Transactions, ChangedObjectLeavesItsPreImageJustBehindTheNewTop) {
    MakeTwoObjects();
    std::vector<unsigned char> before = ReadFileBytes(path);
    const uint32_t oldTop = store->Top();
    ASSERT_EQ(store->StartTransaction(), 0);
    PDMc_LDBObject* root = store->GetRoot();
    ASSERT_NE(root, nullptr) << testsupport::DescribeTop();
    SetText(root, "xyz");
    ASSERT_EQ(store->CommitTransaction(), 0) << testsupport::DescribeTop();

    const uint32_t top = oldTop + kStringHead + 4;
    std::vector<unsigned char> bytes = ReadFileBytes(path);
    EXPECT_EQ(WordAt(bytes, 12), top);
    EXPECT_EQ(WordAt(bytes, 16), 3u);
    // The record was rewritten in place with the address of its new string block.
    EXPECT_EQ(WordAt(bytes, 42), oldTop);
    // One undo record (address, size, the record as it was), then the end.
    ASSERT_EQ(bytes.size(), top + 8 + kAppObjSize + 4);
    EXPECT_EQ(WordAt(bytes, top), 40u);
    EXPECT_EQ(WordAt(bytes, top + 4), kAppObjSize);
    EXPECT_EQ(std::vector<unsigned char>(bytes.begin() + top + 8, bytes.begin() + top + 18),
              std::vector<unsigned char>(before.begin() + 40, before.begin() + 50));
    EXPECT_EQ(WordAt(bytes, top + 18), 0u);

    // The next commit's data goes over that log.
    ASSERT_EQ(store->StartTransaction(), 0);
    SetText(root, "next one");
    ASSERT_EQ(store->CommitTransaction(), 0);
    bytes = ReadFileBytes(path);
    EXPECT_EQ(bytes[top], 0x11);
    EXPECT_EQ(bytes[top + 1], 9);
}

TEST_F(Transactions, ObjectCreatedAndDeletedInOneTransactionLeavesNothing) {
    MakeTwoObjects();
    std::vector<unsigned char> before = ReadFileBytes(path);
    const uint32_t top = store->Top();
    ASSERT_EQ(store->StartTransaction(), 0);
    NewAppObj(store, "short-lived")->MarkDeleted();
    ASSERT_EQ(store->CommitTransaction(), 0) << testsupport::DescribeTop();
    std::vector<unsigned char> bytes = ReadFileBytes(path);
    EXPECT_EQ(WordAt(bytes, 12), top);
    EXPECT_EQ(std::vector<unsigned char>(bytes.begin() + 40, bytes.begin() + top),
              std::vector<unsigned char>(before.begin() + 40, before.begin() + top));
    EXPECT_EQ(store->Objects().Count(), 2u);
}

TEST_F(Transactions, NewObjectReferencedFromAStoredOneGetsItsAddressInEitherOrder) {
    for (bool newFirst : {true, false}) {
        SCOPED_TRACE(newFirst ? "new object first on the list" : "stored object first");
        TearDown();
        store = nullptr;
        std::remove(path.c_str());
        MakeTwoObjects();
        ASSERT_EQ(store->StartTransaction(), 0);
        PDMc_LDBObject* root = store->GetRoot();
        PDMc_LDBMap* map = nullptr;
        if (newFirst) map = new PDMc_LDBMap(store, 16);
        root->MarkModified();
        if (!newFirst) map = new PDMc_LDBMap(store, 16);
        txntest::AttrsOf(root) = PDMc_LDBRef(map);
        ASSERT_EQ(store->CommitTransaction(), 0) << testsupport::DescribeTop();

        uint32_t mapAddress = map->GetStorageAddress();
        ASSERT_NE(mapAddress, 0u);
        std::vector<unsigned char> bytes = ReadFileBytes(path);
        EXPECT_EQ(WordAt(bytes, 40 + 6), mapAddress);
        EXPECT_EQ(bytes[mapAddress], LDB_TYPE_MAP);

        // A fresh connection follows the stored reference to the same place.
        LDBStore::CloseStore(store);
        store = txntest::Connect(path);
        ASSERT_NE(store, nullptr);
        ASSERT_EQ(store->StartTransaction(), 0);
        PDMc_LDBObject* loaded = txntest::AttrsOf(store->GetRoot()).GetTarget();
        ASSERT_NE(loaded, nullptr) << testsupport::DescribeTop();
        EXPECT_EQ(loaded->GetStorageAddress(), mapAddress);
        EXPECT_EQ(loaded->GetTypeCode(), LDB_TYPE_MAP);
        ASSERT_EQ(store->CommitTransaction(), 0);
    }
}

TEST_F(Transactions, AbortRestoresStoredValuesAndDropsNewObjects) {
    MakeTwoObjects();
    std::vector<unsigned char> before = ReadFileBytes(path);
    ASSERT_EQ(store->StartTransaction(), 0);
    PDMc_LDBObject* root = store->GetRoot();
    PDMc_LDBObject* second = store->FindOrLoadObject(50);
    ASSERT_NE(second, nullptr);
    SetText(root, "changed");
    second->MarkDeleted();
    NewAppObj(store, "new");
    EXPECT_EQ(store->ModifiedList().Count(), 3u);
    ASSERT_EQ(store->AbortTransaction(), 0) << testsupport::DescribeTop();

    EXPECT_EQ(ReadFileBytes(path), before);
    EXPECT_EQ(store->ModifiedList().Count(), 0u);
    EXPECT_EQ(store->Objects().Count(), 2u);
    // The same objects, at the same memory addresses, with their stored values and no flags.
    ASSERT_EQ(store->StartTransaction(), 0);
    EXPECT_EQ(store->FindOrLoadObject(40), root);
    EXPECT_EQ(store->FindOrLoadObject(50), second);
    EXPECT_EQ(TypeText(root), "a");
    EXPECT_EQ(TypeText(second), "bb");
    EXPECT_EQ(root->GetHeaderWord() & 0xFFFF0000u, 0u);
    EXPECT_EQ(second->GetHeaderWord() & 0xFFFF0000u, 0u);
    ASSERT_EQ(store->CommitTransaction(), 0);
    EXPECT_EQ(ReadFileBytes(path), before);
}

TEST_F(Transactions, StartCommitAndAbortRefuseOutOfOrderCalls) {
    MakeTwoObjects();
    struct Case { const char* name; int32_t (LDBStore::*call)(); bool open; int code; };
    const std::vector<Case> cases = {
        {"commit with none open", &LDBStore::CommitTransaction, false, 2401},
        {"abort with none open", &LDBStore::AbortTransaction, false, 2401},
        {"start with one open", &LDBStore::StartTransaction, true, 2402},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        if (c.open) {
            ASSERT_EQ(store->StartTransaction(), 0);
        }
        LDBStore* held = store;
        int32_t rc = (held->*c.call)();
        EXPECT_EQ(rc, c.code);
        EXPECT_EQ(TopArgs(), path + ";");
        testsupport::ClearErrors();
        if (c.open) {
            ASSERT_EQ(store->AbortTransaction(), 0);
        }
    }
    // A standing record stops all three before they act.
    nyxErrorReport(1234);
    EXPECT_EQ(store->StartTransaction(), 1234);
    EXPECT_FALSE(store->InTransaction());
}

TEST_F(Transactions, StartOnAVanishedFileReportsTheCloseAboveTheOpen) {
    MakeTwoObjects();
    ASSERT_EQ(std::remove(path.c_str()), 0);
    EXPECT_EQ(store->StartTransaction(), 2410);
    EXPECT_EQ(testsupport::StackCodes(), (std::vector<int>{2410, 2408}));
    EXPECT_FALSE(store->InTransaction());
}

TEST_F(Transactions, FailedWriteBeforeTheMarkLeavesTheOldStateAndAUsableStore) {
    MakeTwoObjects();
    std::vector<unsigned char> before = ReadFileBytes(path);
    ASSERT_EQ(store->StartTransaction(), 0);
    SetText(store->GetRoot(), "lost");
    testsupport::FailStepOnce(1, [&] { EXPECT_NE(store->CommitTransaction(), 0); });
    EXPECT_EQ(testsupport::Arguments(nyxErrorGetCurrent())[0], "LDB StorageFile write failed");
    EXPECT_FALSE(store->InTransaction());
    EXPECT_EQ(store->Objects().Count(), 0u);
    EXPECT_EQ(ReadFileBytes(path), before);

    testsupport::ClearErrors();
    ASSERT_EQ(store->StartTransaction(), 0) << testsupport::DescribeTop();
    EXPECT_EQ(TypeText(store->GetRoot()), "a");
    ASSERT_EQ(store->CommitTransaction(), 0);
}

TEST_F(Transactions, ChangedStampUnderAnOpenTransactionIsALockFailure) {
    MakeTwoObjects();
    ASSERT_EQ(store->StartTransaction(), 0);
    SetText(store->GetRoot(), "mine");
    // Only a broken lock lets this happen: someone else committed meanwhile.
    std::vector<unsigned char> bytes = ReadFileBytes(path);
    std::vector<unsigned char> header = storetest::HeaderBytes(WordAt(bytes, 12), 9, 40);
    std::copy(header.begin(), header.end(), bytes.begin());
    testsupport::WriteFileBytes(path, bytes);

    EXPECT_EQ(store->CommitTransaction(), 101);
    nyxError* top = nyxErrorGetCurrent();
    EXPECT_EQ(nyxErrorGetSeverity(top), 2);
    std::vector<std::string> args = testsupport::Arguments(top);
    ASSERT_EQ(args.size(), 3u);
    EXPECT_EQ(args[0], "LDB lock failure - invalid file header");
    EXPECT_EQ(args[1], "srcldb/ldbstore");
    EXPECT_EQ(WordAt(ReadFileBytes(path), 24), 0u);
    // The store now believes the file's header.
    EXPECT_EQ(store->Stamp(), 9u);
}

TEST_F(Transactions, DamagedRecordsAndBlocksGiveErrorsNotReads) {
    struct Case { const char* name; std::vector<unsigned char> body; uint32_t address; uint8_t type; const char* message; };
    const std::vector<Case> cases = {
        {"record cut short by the top", {96, 1, 0, 0, 0, 0}, 40, 96,
         "LDB object record outside the store"},
        {"address past the top", {96, 1, 0, 0, 0, 0, 0, 0, 0, 0}, 0xFFFFFFF0, 96,
         "LDB cursor read outside the store"},
        {"address in the header", {96, 1, 0, 0, 0, 0, 0, 0, 0, 0}, 4, 96,
         "LDB cursor read outside the store"},
        {"string block with a count past the top",
         {96, 1, 50, 0, 0, 0, 0, 0, 0, 0, 0x31, 0xFF, 0xFF, 0xFF, 0x7F, 'x'}, 40, 96, nullptr},
        {"record of another class", {96, 1, 0, 0, 0, 0, 0, 0, 0, 0}, 40, LDB_TYPE_MAP,
         "LDB object of the wrong class"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        storetest::WriteStoreFile(path, c.body);
        LDBStore* damaged = txntest::Connect(path);
        ASSERT_NE(damaged, nullptr) << testsupport::DescribeTop();
        ASSERT_EQ(damaged->StartTransaction(), 0);
        EXPECT_EQ(damaged->FindOrLoadObjectOfType(c.address, c.type), nullptr);
        EXPECT_EQ(testsupport::StackCodes().empty(), false);
        if (c.message != nullptr) {
            EXPECT_EQ(testsupport::Arguments(nyxErrorGetCurrent())[0], c.message);
        }
        EXPECT_EQ(damaged->Objects().Count(), c.type == 96 ? 0u : 1u);
        testsupport::ClearErrors();
        ASSERT_EQ(damaged->AbortTransaction(), 0);
        LDBStore::CloseStore(damaged);
    }
}

TEST_F(Transactions, UnknownClassCodeGivesNoObjectAndNoError) {
    storetest::WriteStoreFile(path, {70, 1, 0, 0, 0, 0, 0, 0, 0, 0});
    store = txntest::Connect(path);
    ASSERT_NE(store, nullptr);
    ASSERT_EQ(store->StartTransaction(), 0);
    EXPECT_EQ(store->FindOrLoadObject(40), nullptr);
    EXPECT_TRUE(nyxErrorStackEmpty());
    EXPECT_EQ(store->Objects().Count(), 0u);
}

}  // namespace
