// The item model below the exports: which frame item and version a write lands in, the gate
// that keeps older versions frozen, the workspace's switch for the modified state, and the
// operations that have no export of their own.
#include <string>

#include <gtest/gtest.h>

#include "collections/nyxlist.h"
#include "errors/nyxerror.h"
#include "marrows/marrows.h"
#include "srcldb/ldblf.h"
#include "srcldb/ldblpi.h"
#include "srcldb/ldbluf.h"
#include "srcldb/ldblufi.h"
#include "srcldbws/ws.h"
#include "srcldbws/wspi.h"
#include "srcldbws/wspiv.h"
#include "testsupport.h"

using testsupport::DescribeTop;
using testsupport::StackCodes;

namespace {

class ItemModel : public testsupport::DatabaseTest {
protected:
    void SetUp() override {
        DatabaseTest::SetUp();
        ws = reinterpret_cast<PDMc_WS*>(CreateWorkspace("ws"));
        ASSERT_NE(ws, nullptr);
        item = ws->CreateNewPI("gear", nullptr, "gear.prt");
        ASSERT_NE(item, nullptr) << DescribeTop();
    }
    PDMc_LUFI* Record() { return item->GetLPI()->GetLUFI(); }

    PDMc_WS* ws = nullptr;
    PDMc_WSPI* item = nullptr;
};

TEST_F(ItemModel, NewItemIsBoundInTheCurrentFrame) {
    PDMc_WSPIV* version = item->GetShortcutPIV();
    ASSERT_NE(version, nullptr);
    EXPECT_EQ(Record()->GetWSPI(), item);
    EXPECT_EQ(Record()->GetCurrentPIV(), version);
    EXPECT_EQ(version->GetCreatingFrame(), ws->GetCurrentFrame());
    ASSERT_NE(version->FirstFile(), nullptr) << "a file name gives the first version a file";
    EXPECT_EQ(version->FirstFile()->GetFileVersion(), 1);
    EXPECT_TRUE(version->IsMarkedForCheckIn());
    EXPECT_EQ(version->GetUserDataId(), -1);
}

TEST_F(ItemModel, FirstWriteCopiesVersionAndFrameItemIntoTheNewFrame) {
    PDMc_WSPIV* old = item->GetShortcutPIV();
    PDMc_LUFI* oldRecord = Record();
    ASSERT_EQ(ws->CreateState(), 0);
    EXPECT_EQ(Record(), oldRecord) << "a new state shares the record";

    ASSERT_EQ(old->SetDescription("one"), 0) << DescribeTop();
    PDMc_WSPIV* copy = item->GetShortcutPIV();
    ASSERT_NE(copy, old);
    EXPECT_NE(Record(), oldRecord);
    EXPECT_EQ(Record()->GetCreatingFrame(), ws->GetCurrentFrame());
    EXPECT_EQ(copy->GetCreatingFrame(), ws->GetCurrentFrame());
    EXPECT_EQ(copy->FirstFile(), old->FirstFile()) << "a copy shares its file records";
    EXPECT_NE(copy->GetFiles(), old->GetFiles()) << "but not the array that holds them";

    // The old version is frozen: its write is refused and nothing changes.
    EXPECT_NE(old->SetDescription("two"), 0);
    EXPECT_EQ(StackCodes().front(), 101);
    testsupport::ClearErrors();
    EXPECT_STREQ(old->GetDescription().c_str(), "");
    EXPECT_EQ(item->GetShortcutPIV(), copy);
}

TEST_F(ItemModel, AutomaticModifiedStateCanBeSwitchedOff) {
    PDMc_WSPIV* version = item->GetShortcutPIV();
    int32_t count = version->GetModCount();
    ws->SetAutoSetIsModified(false);
    ASSERT_EQ(version->SetTargetRevision("A"), 0);
    EXPECT_EQ(version->GetModCount(), count);
    ws->SetAutoSetIsModified(true);
    ASSERT_EQ(version->SetTargetRevision("B"), 0);
    EXPECT_GT(version->GetModCount(), count);
    // The user data id never counts, and leaves the switch on.
    count = version->GetModCount();
    version->SetUserDataId(5);
    EXPECT_EQ(version->GetModCount(), count);
    EXPECT_TRUE(ws->GetAutoSetIsModified());
}

TEST_F(ItemModel, MarksOfAHeldVersion) {
    PDMc_WSPIV* version = item->GetShortcutPIV();
    version->SetHoldFromSubmission(true);
    EXPECT_FALSE(version->IsMarkedForCheckIn()) << "a hold clears the mark";
    version->SetMarkedForCheckIn(true);
    EXPECT_FALSE(version->IsMarkedForCheckIn()) << "a held version can't be marked";
    version->SetHoldFromSubmission(false);
    EXPECT_FALSE(version->IsMarkedForCheckIn()) << "lifting the hold doesn't bring it back";
}

TEST_F(ItemModel, FrameItemsAreFoundUnderTheCurrentName) {
    ASSERT_EQ(ws->CreateState(), 0);
    ASSERT_EQ(ws->CreateState(), 0);
    nyxSingleListOf<void*> records;
    ASSERT_EQ(ws->GetFrameItemsOfLPI(2, item->GetLPI(), records), 0);
    EXPECT_EQ(records.GetCount(), 3u);
    ASSERT_EQ(item->Rename("wheel"), 0) << DescribeTop();
    records.Clear();
    ASSERT_EQ(ws->GetFrameItemsOfLPI(2, item->GetLPI(), records), 0);
    EXPECT_EQ(records.GetCount(), 1u) << "earlier states had it under the old name";
}

TEST_F(ItemModel, RefocusNeedsALiveItemOfThisWorkspace) {
    PDMc_WSPIV* version = item->GetShortcutPIV();
    EXPECT_EQ(ws->CheckRefocus(version), 0);
    ASSERT_EQ(item->Delete(), 0) << DescribeTop();
    EXPECT_EQ(ws->CheckRefocus(version), 2702);
    testsupport::ClearErrors();
    EXPECT_EQ(ws->FindLPI("gear"), nullptr) << "nothing used the identity: it went too";
}

}  // namespace
