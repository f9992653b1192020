// The connection object inside: what a fresh database holds, and the root-level definitions.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "crashharness.h"
#include "errors/nyxerror.h"
#include "srcldb/ldbconnection.h"
#include "srcldb/ldbstgdesc.h"
#include "srcldb/ldbstore.h"
#include "srcldbws/wsd.h"
#include "testsupport.h"

using testsupport::Arguments;
using testsupport::FailStepOnce;

namespace {
class Connection : public testsupport::CleanStackTest {
protected:
    testsupport::TempDir dir;
};
}  // namespace

TEST_F(Connection, FreshDatabaseHoldsTheRootAndItsFourMapsOnly) {
    std::string path = dir.File("fresh.ldb");
    PDMc_LDB* ldb = PDMc_LDB::CreateDatabase(path.c_str());
    ASSERT_NE(ldb, nullptr) << testsupport::DescribeTop();
    LDBStore* store = ldb->Store();
    ASSERT_EQ(store->StartTransaction(), 0);
    EXPECT_EQ(store->RootAddress(), 40u);
    // The records lie one behind the other from 40: the root, then its four empty maps, and
    // nothing else up to the top.
    std::vector<unsigned char> bytes = testsupport::ReadFileBytes(path);
    uint32_t at = 40;
    std::vector<int> codes;
    while (at < store->Top()) {
        uint8_t code = bytes[at];
        ASSERT_GE(code, 64) << "an empty database has no block at " << at;
        codes.push_back(code);
        const LDBClassDescriptor* descriptor = store->StorageDescriptor(code);
        ASSERT_NE(descriptor, nullptr);
        at += descriptor->GetFixedSize();
    }
    EXPECT_EQ(codes, (std::vector<int>{64, 66, 66, 66, 66}));
    EXPECT_EQ(at, store->Top());
    EXPECT_EQ(store->Objects().Count(), 5u);
    EXPECT_EQ(store->CommitTransaction(), 0);
    EXPECT_EQ(PDMc_LDB::DisconnectDatabase(ldb), 0);
}

TEST_F(Connection, DefinitionsAreMadeOncePerKey) {
    std::string path = dir.File("defs.ldb");
    PDMc_LDB* ldb = PDMc_LDB::CreateDatabase(path.c_str());
    ASSERT_NE(ldb, nullptr);
    ASSERT_EQ(ldb->Start(), 0);
    PDMc_LDBObject* first = ldb->CreateDepDef("MFDrawing", 3);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(ldb->CreateDepDef("MFDrawing", 3), nullptr);
    EXPECT_EQ(testsupport::StackCodes(), std::vector<int>{1901});
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()), std::vector<std::string>{"MFDrawing"});
    nyxErrorClear();
    EXPECT_NE(ldb->CreateDepDef("MFDrawing", 4), nullptr) << "another type is another key";
    ASSERT_NE(ldb->CreateAttrDef("weight"), nullptr);
    EXPECT_EQ(ldb->CreateAttrDef("weight"), nullptr);
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()), std::vector<std::string>{"weight"});
    nyxErrorClear();
    ASSERT_EQ(ldb->Commit(), 0);
    EXPECT_EQ(PDMc_LDB::DisconnectDatabase(ldb), 0);

    // They come back from the file under the same keys.
    ldb = PDMc_LDB::ConnectDatabase(path.c_str());
    ASSERT_NE(ldb, nullptr);
    ASSERT_EQ(ldb->Start(), 0);
    PDMc_LDBObject* found = ldb->FindDepDef("MFDrawing", 3);
    ASSERT_NE(found, nullptr);
    ASSERT_EQ(found->GetTypeCode(), PDMc_WSDD::kTypeCode);
    EXPECT_STREQ(static_cast<PDMc_WSDD*>(found)->GetClass().c_str(), "MFDrawing");
    EXPECT_EQ(static_cast<PDMc_WSDD*>(found)->GetType(), 3);
    EXPECT_NE(ldb->FindAttrDef("weight"), nullptr);
    EXPECT_EQ(ldb->FindAttrDef("Weight"), nullptr);
    EXPECT_EQ(ldb->FindDepDef("MFDrawing", 5), nullptr);
    EXPECT_TRUE(nyxErrorStackEmpty());
    ASSERT_EQ(ldb->Abort(), 0);
    EXPECT_EQ(PDMc_LDB::DisconnectDatabase(ldb), 0);
}

TEST_F(Connection, NoConnectionIsMadeWhileARecordStands) {
    nyxErrorReport(2401, "stale");
    EXPECT_EQ(PDMc_LDB::MakeConnection(), nullptr);
    EXPECT_EQ(PDMc_LDB::CreateDatabase(dir.File("x.ldb").c_str()), nullptr);
    EXPECT_EQ(testsupport::StackCodes(), std::vector<int>{2401});
}

// A connect or create that fails leaves nothing behind: no connection that keeps the file open
// and answers the next connect with its broken state, and no new file.
TEST_F(Connection, AFailedConnectOrCreateLeavesNothingBehind) {
    const std::string path = dir.File("whole.ldb");
    LDBHandle ldb = nullptr;
    ASSERT_EQ(PDMLDBCreate(path.c_str(), &ldb), 0);
    ASSERT_EQ(PDMLDBDisconnect(ldb), 0);
    const std::vector<unsigned char> whole = testsupport::ReadFileBytes(path);
    // The header names a top past the end of the file: the root can't be read.
    testsupport::WriteFileBytes(path, {whole.begin(), whole.end() - 8});
    EXPECT_EQ(PDMLDBConnect(path.c_str(), &ldb), 101);
    testsupport::ClearErrors();
    testsupport::WriteFileBytes(path, whole);
    ASSERT_EQ(PDMLDBConnect(path.c_str(), &ldb), 0) << testsupport::DescribeTop();
    int found = -1;
    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    EXPECT_EQ(PDMLDBCheckIntegrity(ldb, &found), 0);
    EXPECT_EQ(PDMLDBAbortTransaction(ldb), 0);
    EXPECT_EQ(PDMLDBDisconnect(ldb), 0);

    const std::string fresh = dir.File("fresh.ldb");
    for (int k = 1;; ++k) {
        int rc = -1;
        const int steps = FailStepOnce(k, [&] { rc = PDMLDBCreate(fresh.c_str(), &ldb); });
        if (k > steps) {
            ASSERT_EQ(rc, 0);
            EXPECT_EQ(PDMLDBDisconnect(ldb), 0);
            break;
        }
        ASSERT_NE(rc, 0) << "step " << k;
        testsupport::ClearErrors();
        ASSERT_EQ(platform::FileSize(fresh.c_str()), -1) << "step " << k;
    }
}
