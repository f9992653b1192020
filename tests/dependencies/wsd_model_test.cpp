// Dependencies below the exports: the child identity that outlives its item's deletion (which
// needs an item the repository knows, made here as a fetch would make it), the flag bit of a
// dependency change, and a dependency that its version no longer lists.
#include <string>

#include <gtest/gtest.h>

#include "marrows/marrows.h"
#include "srcldb/ldbconnection.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldblpi.h"
#include "srcldb/ldbluf.h"
#include "srcldb/ldblufi.h"
#include "srcldbws/ws.h"
#include "srcldbws/wsd.h"
#include "srcldbws/wspi.h"
#include "srcldbws/wspiv.h"
#include "testsupport.h"

using testsupport::DescribeTop;
using testsupport::StackCodes;

namespace {

class DependencyModel : public testsupport::DatabaseTest {
protected:
    void SetUp() override {
        DatabaseTest::SetUp();
        ws = reinterpret_cast<PDMc_WS*>(CreateWorkspace("ws"));
        ASSERT_NE(ws, nullptr);
        assembly = ws->CreateNewPI("asm", nullptr, "");
        ASSERT_NE(assembly, nullptr) << DescribeTop();
        definition = static_cast<PDMc_WSDD*>(
            PDMc_LDB::FromOwner(ws->GetOwner())->CreateDepDef("uses", 1));
        ASSERT_NE(definition, nullptr);
    }
    // An item with a repository id, bound in the current frame as a fetch would bind it.
    PDMc_WSPI* Fetched(const char* name, uint32_t piid) {
        PDMc_LUF* frame = ws->GetCurrentFrame();
        PDMc_LPI* lpi = new PDMc_LPI(ws->GetOwner());
        PDMc_LUFI* record = new PDMc_LUFI(frame, name, nullptr, piid, lpi);
        lpi->SetLUFI(record);
        frame->PutItem(record);
        PDMc_WSPI* item = new PDMc_WSPI(ws, lpi);
        PDMc_WSPIV* version =
            PDMc_WSPIV::Create(ws, lpi, "", "", "", "", false, false, nullptr);
        version->SetCreatingFrame(frame);
        EXPECT_EQ(frame->AddWSPI(item, version), 0) << DescribeTop();
        return item;
    }
    void Reconnect() {
        ws = reinterpret_cast<PDMc_WS*>(Reopen("ws"));
        ASSERT_NE(ws, nullptr);
        assembly = ws->FindWSPI("asm");
        ASSERT_NE(assembly, nullptr);
    }

    PDMc_WS* ws = nullptr;
    PDMc_WSPI* assembly = nullptr;
    PDMc_WSDD* definition = nullptr;
};

TEST_F(DependencyModel, ChildIdentityKeepsItsNameAfterTheItemGoesUntilCleanUpFindsItFree) {
    PDMc_WSPI* bolt = Fetched("bolt", 42);
    ASSERT_FALSE(bolt->IsNew());
    PDMc_LPI* child = bolt->GetLPI();
    ASSERT_NE(assembly->AddDependency(child, definition), nullptr) << DescribeTop();
    ASSERT_EQ(bolt->Delete(), 0) << DescribeTop() << ": a fetched item may go while used";
    Reconnect();

    EXPECT_EQ(ws->FindWSPI("bolt"), nullptr);
    PDMc_LPI* identity = ws->FindLPI("bolt");
    ASSERT_NE(identity, nullptr) << "the used identity stays in the frame";
    PDMc_WSD* dependency = static_cast<PDMc_WSD*>(
        assembly->GetShortcutPIV()->GetDependencies()->ObjectAt(0));
    EXPECT_EQ(dependency->GetChildPI(), identity);
    WSDependencyHandle handle = reinterpret_cast<WSDependencyHandle>(
        static_cast<PDMc_LDBObject*>(dependency));
    const char* name = nullptr;
    int inWorkspace = -1;
    ASSERT_EQ(PDMWSDependencyGetChildName(handle, &name), 0);
    ASSERT_EQ(PDMWSDependencyIsChildInWS(handle, &inWorkspace), 0);
    EXPECT_STREQ(name, "bolt");
    EXPECT_EQ(inWorkspace, 0);
    EXPECT_EQ(ws->CreateNewPI("bolt", nullptr, ""), nullptr);
    EXPECT_EQ(StackCodes(), std::vector<int>{1901}) << "the name stays taken";
    testsupport::ClearErrors();

    // Kept on delete, the identity stays until the clean-up, which finds it free now.
    ASSERT_EQ(assembly->DeleteDependencyKeepLPI(dependency), 0) << DescribeTop();
    EXPECT_EQ(ws->FindLPI("bolt"), identity);
    ASSERT_EQ(PDMWorkspaceCleanUnusedLPIs(reinterpret_cast<WorkspaceHandle>(
                  static_cast<PDMc_LDBObject*>(ws))), 0) << DescribeTop();
    EXPECT_EQ(ws->FindLPI("bolt"), nullptr);
    EXPECT_NE(ws->CreateNewPI("bolt", nullptr, ""), nullptr) << DescribeTop();
}

TEST_F(DependencyModel, DeletingTheLastDependencyOnADeletedItemFreesItsName) {
    PDMc_WSPI* bolt = Fetched("bolt", 7);
    PDMc_WSD* first = assembly->AddDependency(bolt->GetLPI(), definition);
    PDMc_WSD* second = assembly->AddDependency(bolt->GetLPI(), definition);
    ASSERT_NE(second, nullptr);
    ASSERT_EQ(bolt->Delete(), 0) << DescribeTop();
    ASSERT_EQ(ws->CreateState(), 0);
    // Written through the dependency handles: each delete finds the twin in the copy.
    ASSERT_EQ(first->Delete(), 0) << DescribeTop();
    EXPECT_NE(ws->FindLPI("bolt"), nullptr) << "one dependency still uses it";
    PDMc_WSD* twin = static_cast<PDMc_WSD*>(
        assembly->GetShortcutPIV()->GetDependencies()->ObjectAt(0));
    ASSERT_EQ(twin->Delete(), 0) << DescribeTop();
    EXPECT_EQ(ws->FindLPI("bolt"), nullptr);

    // The earlier state still has the identity and both dependencies.
    ASSERT_EQ(ws->Undo(), 0) << DescribeTop();
    EXPECT_NE(ws->FindLPI("bolt"), nullptr);
    EXPECT_EQ(assembly->GetShortcutPIV()->GetDependencies()->GetCount(), 2u);
}

TEST_F(DependencyModel, AChangeOfTheListSetsItsOwnModifiedBit) {
    PDMc_WSPI* bolt = Fetched("bolt", 9);
    PDMc_WSPIV* version = assembly->GetShortcutPIV();
    ASSERT_EQ(version->GetModifiedState(), 1) << "a new version is born written";
    int32_t count = version->GetModCount();

    // With the automatic raising off only the dependency bit rises, and no new count.
    ws->SetAutoSetIsModified(false);
    PDMc_WSD* dependency = assembly->AddDependency(bolt->GetLPI(), definition);
    ASSERT_NE(dependency, nullptr) << DescribeTop();
    EXPECT_EQ(version->GetModifiedState(), 1 | PDMc_WSPIV::kDependenciesModified);
    EXPECT_EQ(version->GetModCount(), count);
    ws->SetAutoSetIsModified(true);
    Reconnect();

    EXPECT_EQ(assembly->GetShortcutPIV()->GetModifiedState(),
              1 | PDMc_WSPIV::kDependenciesModified)
        << "the bits are stored";
    // A write of the data alone leaves a copy's dependency bit as it was, and raises the count.
    ASSERT_EQ(ws->CreateState(), 0);
    version = assembly->GetShortcutPIV();
    count = version->GetModCount();
    ASSERT_EQ(version->SetDescription("x"), 0);
    PDMc_WSPIV* copy = assembly->GetShortcutPIV();
    ASSERT_NE(copy, version);
    EXPECT_EQ(copy->GetModifiedState(), 1 | PDMc_WSPIV::kDependenciesModified);
    EXPECT_GT(copy->GetModCount(), count);
}

TEST_F(DependencyModel, ADependencyItsVersionNoLongerListsIsNotWritten) {
    PDMc_WSPI* bolt = Fetched("bolt", 11);
    PDMc_WSD* dependency = assembly->AddDependency(bolt->GetLPI(), definition);
    ASSERT_EQ(assembly->DeleteDependencyKeepLPI(dependency), 0) << DescribeTop();
    EXPECT_EQ(dependency->ForModification(), nullptr);
    EXPECT_TRUE(StackCodes().empty()) << "not listed is no error";
    EXPECT_EQ(dependency->SetAsStoredChildName("late"), 0);
    EXPECT_STREQ(dependency->GetAsStoredChildName().c_str(), "");
    EXPECT_EQ(assembly->DeleteDependency(dependency), 101);
}

}  // namespace
