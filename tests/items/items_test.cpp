// Items and their versions through the exported interface, as a client works with them: what a
// commit keeps across a new connect, what an abort takes back (files on disk too), and how the
// first write in a new state copies the version while older states keep theirs.
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "marrows/marrows.h"
#include "testsupport.h"

namespace fs = std::filesystem;
using testsupport::Arguments;
using testsupport::DescribeTop;
using testsupport::Drain;
using testsupport::StackCodes;

namespace {

using testsupport::OnDisk;
using testsupport::WriteLocalFile;

class Items : public testsupport::DatabaseTest {
protected:
    void SetUp() override {
        DatabaseTest::SetUp();
        ASSERT_EQ(PDMWorkspaceCreate(ldb, "ws", wsDir.c_str(), "work", &ws), 0) << DescribeTop();
    }
    WSPIHandle Create(const char* name, const char* type = "Part") {
        return CreateItem(ws, name, type);
    }
    void Reopen() {
        ws = DatabaseTest::Reopen("ws");
        ASSERT_NE(ws, nullptr);
    }
    void Commit() {
        ASSERT_EQ(PDMLDBCommitTransaction(ldb), 0) << DescribeTop();
        ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    }
    WSPIHandle Find(const char* name) { return FindItem(ws, name); }
    WSPIVHandle Current(WSPIHandle item) {
        WSPIVHandle version = nullptr;
        EXPECT_EQ(PDMWSPIGetCurrWSPIV(item, &version), 0);
        return version;
    }
    std::string Description(WSPIVHandle version) {
        const char* text = nullptr;
        EXPECT_EQ(PDMWSPIVGetDescription(version, &text), 0) << DescribeTop();
        return text != nullptr ? text : "<null>";
    }
    int ModCount(WSPIVHandle version) {
        int count = -1;
        EXPECT_EQ(PDMWSPIVGetModCount(version, &count), 0);
        return count;
    }
    std::string ItemName(WSPIHandle item) {
        const char* text = nullptr;
        EXPECT_EQ(PDMWSPIGetName(item, &text), 0) << DescribeTop();
        return text != nullptr ? text : "<null>";
    }
    std::string AddFile(WSPIHandle item) {
        const char* text = nullptr;
        EXPECT_EQ(PDMWSPIAddCurrWSPIVFile(item, &text), 0) << DescribeTop();
        return text != nullptr ? text : "";
    }
    std::string PathForWrite(WSPIHandle item) {
        const char* text = nullptr;
        EXPECT_EQ(PDMWSPIGetCurrWSPIVPathForWrite(item, &text), 0) << DescribeTop();
        return text != nullptr ? text : "";
    }
    std::string PathForRead(WSPIVHandle version) {
        const char* text = nullptr;
        EXPECT_EQ(PDMWSPIVGetPathForRead(version, &text), 0) << DescribeTop();
        return text != nullptr ? text : "";
    }
    PDMAttrValue Text(const char* text) {
        PDMAttrValue value;
        std::memset(&value, 0, sizeof(value));
        value.kind = PDM_ATTR_STRING;
        value.value.s = text;
        return value;
    }

    std::string wsDir = dir.File("ws");
    WorkspaceHandle ws = nullptr;
};

TEST_F(Items, ItemWithItsVersionAndTypeSurvivesReconnect) {
    WSPIHandle item = Create("bracket", "Part");
    ASSERT_NE(item, nullptr);
    ASSERT_EQ(PDMWSPISetCurrWSPIVDescription(item, "steel"), 0);
    ASSERT_EQ(PDMWSPISetCurrWSPIVTargetRevision(item, "B"), 0);
    ASSERT_EQ(PDMWSPISetCurrWSPIVTargetBranchName(item, "main"), 0);
    ASSERT_EQ(PDMWSPISetCurrWSPIVTargetReleaseLevel(item, "draft"), 0);
    ASSERT_EQ(PDMWSPISetCurrWSPIVTargetFolder(item, "/parts"), 0);
    PDMAttrValue colour = Text("red");
    ASSERT_EQ(PDMWSPISetCurrWSPIVAttribute(item, "colour", &colour), 0);
    ASSERT_EQ(PDMWSPISetCurrWSPIVUserDataId(item, 42), 0);
    int before = ModCount(Current(item));

    Reopen();
    item = Find("bracket");
    ASSERT_NE(item, nullptr);
    WSPIVHandle version = Current(item);
    ASSERT_NE(version, nullptr);
    EXPECT_EQ(Description(version), "steel");
    const char* text = nullptr;
    struct {
        int (*read)(WSPIVHandle, const char**);
        const char* expected;
    } texts[] = {
        {PDMWSPIVGetName, "bracket"},           {PDMWSPIVGetTypeName, "Part"},
        {PDMWSPIVGetTargetRevision, "B"},        {PDMWSPIVGetTargetBranchName, "main"},
        {PDMWSPIVGetTargetReleaseLevel, "draft"}, {PDMWSPIVGetTargetFolder, "/parts"},
        {PDMWSPIVGetSourceRevision, ""},
    };
    for (const auto& row : texts) {
        ASSERT_EQ(row.read(version, &text), 0);
        EXPECT_STREQ(text, row.expected);
    }
    EXPECT_EQ(ModCount(version), before);
    int flag = -1;
    ASSERT_EQ(PDMWSPIVIsModified(version, &flag), 0);
    EXPECT_EQ(flag, 1) << "a new version counts as modified";
    ASSERT_EQ(PDMWSPIIsNew(item, &flag), 0);
    EXPECT_EQ(flag, 1);
    ASSERT_EQ(PDMWSPIVGetUserDataId(version, &flag), 0);
    EXPECT_EQ(flag, 42);
    PDMAttrValue read;
    ASSERT_EQ(PDMWSPIGetCurrWSPIVAttribute(item, "colour", &read), 0);
    ASSERT_EQ(read.kind, PDM_ATTR_STRING);
    EXPECT_STREQ(read.value.s, "red");
    WorkspaceHandle owner = nullptr;
    ASSERT_EQ(PDMWSPIVGetOwner(version, &owner), 0);
    EXPECT_EQ(owner, ws);
    WSPIHandle back = nullptr;
    ASSERT_EQ(PDMWSPIVGetWSPI(version, &back), 0);
    EXPECT_EQ(back, item);
}

TEST_F(Items, TypeDefinitionsAreMadeOnFirstUseAndShared) {
    ASSERT_NE(Create("a", "Drawing"), nullptr);
    ASSERT_NE(Create("b", "Drawing"), nullptr);
    ASSERT_NE(Create("c", "Model"), nullptr);
    Reopen();
    CursorHandle cursor = nullptr;
    ASSERT_EQ(PDMWSPITypeDefGetList(ldb, &cursor), 0);
    std::vector<void*> definitions = Drain(cursor);
    ASSERT_EQ(definitions.size(), 2u) << "the second item of a type finds its definition";
    for (void* element : definitions) {
        WSPITypeDefHandle definition = static_cast<WSPITypeDefHandle>(element);
        const char *name = nullptr, *desc = nullptr, *editor = nullptr;
        ASSERT_EQ(PDMWSPITypeDefGetName(definition, &name), 0);
        ASSERT_EQ(PDMWSPITypeDefGetDescription(definition, &desc), 0);
        ASSERT_EQ(PDMWSPITypeDefGetEditor(definition, &editor), 0);
        EXPECT_STREQ(name, desc) << "an unknown type is described by its name";
        EXPECT_STREQ(editor, "");
    }
}

TEST_F(Items, TakenNamesAreRefused) {
    ASSERT_NE(Create("x"), nullptr);
    ASSERT_NE(Create(""), nullptr);
    struct {
        const char* name;
        const char* argument;
    } cases[] = {{"x", "x"}, {"", "<no name>"}};
    for (const auto& row : cases) {
        WSPIHandle item = reinterpret_cast<WSPIHandle>(1);
        EXPECT_EQ(PDMWorkspaceCreatePI(ws, row.name, "Part", &item), 1901);
        EXPECT_EQ(item, nullptr) << "a refusal gives the null handle";
        EXPECT_EQ(Arguments(nyxErrorGetCurrent()), std::vector<std::string>{row.argument});
        testsupport::ClearErrors();
    }
    WSPIHandle kept = reinterpret_cast<WSPIHandle>(1);
    EXPECT_EQ(PDMWorkspaceCreatePI(nullptr, "z", "Part", &kept), 110);
    EXPECT_EQ(kept, reinterpret_cast<WSPIHandle>(1)) << "a null workspace leaves the output";
    testsupport::ClearErrors();
    WSPIHandle y = Create("y");
    EXPECT_EQ(PDMWSPIRename(y, "x"), 1905);
    testsupport::ClearErrors();
    EXPECT_EQ(PDMWSPIRename(y, "y"), 1905) << "the item's own name counts as taken";
}

TEST_F(Items, AbortTakesBackItemAndItsFiles) {
    Commit();
    WSPIHandle item = Create("doc");
    std::string added = AddFile(item);
    ASSERT_FALSE(added.empty());
    WriteLocalFile(added.c_str(), "draft");
    std::string written = PathForWrite(item);
    ASSERT_NE(written, added);
    WriteLocalFile(written.c_str(), "more");
    ASSERT_EQ(PDMLDBAbortTransaction(ldb), 0) << DescribeTop();
    EXPECT_FALSE(fs::exists(OnDisk(added.c_str())));
    EXPECT_FALSE(fs::exists(OnDisk(written.c_str())));
    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    EXPECT_EQ(Find("doc"), nullptr);
    EXPECT_NE(Create("doc"), nullptr) << "the name is free again";
}

TEST_F(Items, FirstWriteInANewStateCopiesTheVersionOnce) {
    WSPIHandle item = Create("gear");
    ASSERT_EQ(PDMWSPISetCurrWSPIVDescription(item, "old"), 0);
    WSPIVHandle first = Current(item);
    Commit();
    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0) << DescribeTop();
    EXPECT_EQ(Current(item), first) << "a new state shares the version";

    int count = ModCount(first);
    ASSERT_EQ(PDMWSPISetCurrWSPIVDescription(item, "new"), 0);
    WSPIVHandle second = Current(item);
    EXPECT_NE(second, first);
    ASSERT_EQ(PDMWSPISetCurrWSPIVTargetRevision(item, "C"), 0);
    EXPECT_EQ(Current(item), second) << "a second write copies nothing";
    EXPECT_EQ(ModCount(second), count + 2);
    EXPECT_EQ(Description(first), "old") << "the older state keeps its version";
    EXPECT_EQ(ModCount(first), count);

    Reopen();
    item = Find("gear");
    EXPECT_EQ(Description(Current(item)), "new");
    ASSERT_EQ(PDMWorkspaceUndo(ws), 0) << DescribeTop();
    EXPECT_EQ(Description(Current(item)), "old");
    const char* revision = nullptr;
    ASSERT_EQ(PDMWSPIGetCurrWSPIVTargetRevision(item, &revision), 0);
    EXPECT_STREQ(revision, "");
    ASSERT_EQ(PDMWorkspaceRedo(ws), 0);
    EXPECT_EQ(Description(Current(item)), "new");

    CursorHandle cursor = nullptr;
    ASSERT_EQ(PDMWSPIGetWSPIVs(item, &cursor), 0);
    EXPECT_EQ(Drain(cursor).size(), 2u);
}

TEST_F(Items, WritingAVersionOfAnEarlierStateIsRefused) {
    WSPIHandle item = Create("frozen");
    Commit();
    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0);
    ASSERT_EQ(PDMWSPISetCurrWSPIVDescription(item, "later"), 0);
    ASSERT_EQ(PDMWorkspaceUndo(ws), 0);
    ASSERT_EQ(PDMWSPISetCurrWSPIVDescription(item, "branch"), 0)
        << "a write after an undo writes the current version of that state";
    int canRedo = -1;
    ASSERT_EQ(PDMWorkspaceCanRedo(ws, &canRedo), 0);
    EXPECT_EQ(canRedo, 0) << "the write ends the redo history";
}

TEST_F(Items, UnchangedItemGivesTheSameVersionForEachState) {
    WSPIHandle item = Create("still");
    for (int i = 0; i < 2; ++i) ASSERT_EQ(PDMWorkspaceCreateState(ws), 0);
    CursorHandle cursor = nullptr;
    ASSERT_EQ(PDMWSPIGetWSPIVs(item, &cursor), 0);
    std::vector<void*> versions = Drain(cursor);
    ASSERT_EQ(versions.size(), 3u);
    EXPECT_EQ(versions[0], versions[2]);
}

TEST_F(Items, FilesOfOlderStatesStayOnDisk) {
    WSPIHandle item = Create("part");
    std::string added = AddFile(item);
    WriteLocalFile(added.c_str(), "v1");
    unsigned fileVersion = 0;
    ASSERT_EQ(PDMWSPIGetCurrWSPIVFileVersion(item, &fileVersion), 0);
    EXPECT_EQ(fileVersion, 1u);
    // Two writes in the state that made the file leave one file: the first copy goes too.
    std::string w1 = PathForWrite(item);
    WriteLocalFile(w1.c_str(), "v2");
    std::string w2 = PathForWrite(item);
    WriteLocalFile(w2.c_str(), "v3");
    ASSERT_EQ(PDMWSPIGetCurrWSPIVFileVersion(item, &fileVersion), 0);
    EXPECT_EQ(fileVersion, 3u) << "each write takes a new file version";
    Reopen();
    EXPECT_FALSE(fs::exists(OnDisk(added.c_str())));
    EXPECT_FALSE(fs::exists(OnDisk(w1.c_str())));
    EXPECT_TRUE(fs::exists(OnDisk(w2.c_str())));

    item = Find("part");
    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0);
    std::string w3 = PathForWrite(item);
    WriteLocalFile(w3.c_str(), "v4");
    Reopen();
    EXPECT_TRUE(fs::exists(OnDisk(w2.c_str()))) << "the earlier state still reads it";
    EXPECT_TRUE(fs::exists(OnDisk(w3.c_str())));
    item = Find("part");
    EXPECT_EQ(PathForRead(Current(item)), w3);
    ASSERT_EQ(PDMWorkspaceUndo(ws), 0);
    EXPECT_EQ(PathForRead(Current(item)), w2);
}

TEST_F(Items, DeletingAFileKeepsWhatAnEarlierStateHolds) {
    WSPIHandle item = Create("sheet");
    std::string added = AddFile(item);
    WriteLocalFile(added.c_str(), "x");
    Commit();
    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0);
    ASSERT_EQ(PDMWSPIDeleteCurrWSPIVFile(item), 0) << DescribeTop();
    int has = -1;
    ASSERT_EQ(PDMWSPIHasCurrWSPIVFile(item, &has), 0);
    EXPECT_EQ(has, 0);
    Reopen();
    EXPECT_TRUE(fs::exists(OnDisk(added.c_str())));
    item = Find("sheet");
    ASSERT_EQ(PDMWorkspaceUndo(ws), 0);
    ASSERT_EQ(PDMWSPIHasCurrWSPIVFile(item, &has), 0);
    EXPECT_EQ(has, 1);

    // Made and deleted in one state: nothing holds it, and it goes at commit.
    WSPIHandle other = Create("scrap");
    std::string scrap = AddFile(other);
    WriteLocalFile(scrap.c_str(), "y");
    ASSERT_EQ(PDMWSPIDeleteCurrWSPIVFile(other), 0);
    Commit();
    EXPECT_FALSE(fs::exists(OnDisk(scrap.c_str())));
}

TEST_F(Items, FileEdgeCases) {
    WSPIHandle item = Create("bare");
    WSPIVHandle version = Current(item);
    int has = -1;
    ASSERT_EQ(PDMWSPIVHasFile(version, &has), 0);
    EXPECT_EQ(has, 0);
    EXPECT_EQ(PathForRead(version), "");
    EXPECT_EQ(PathForWrite(item), "") << "no file, no error";
    EXPECT_EQ(PDMWSPIDeleteCurrWSPIVFile(item), 110);
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()), (std::vector<std::string>{"DeleteFile", "lf"}));
    testsupport::ClearErrors();
    AddFile(item);
    const char* again = nullptr;
    EXPECT_EQ(PDMWSPIAddCurrWSPIVFile(item, &again), 407) << "position 0 is taken";
    EXPECT_STREQ(again, "");
}

TEST_F(Items, RenameAndDeleteFollowUndoAndRedo) {
    WSPIHandle item = Create("old");
    Commit();
    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0);
    ASSERT_EQ(PDMWSPIRename(item, "new"), 0) << DescribeTop();
    EXPECT_EQ(Find("old"), nullptr);
    EXPECT_EQ(Find("new"), item);
    Reopen();
    item = Find("new");
    ASSERT_EQ(PDMWorkspaceUndo(ws), 0);
    EXPECT_EQ(ItemName(item), "old");
    EXPECT_EQ(Find("new"), nullptr) << "the new name is free again";
    ASSERT_EQ(PDMWorkspaceRedo(ws), 0);
    EXPECT_EQ(ItemName(item), "new");

    WSPIVHandle version = Current(item);
    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0);
    ASSERT_EQ(PDMWSPIDelete(item), 0) << DescribeTop();
    EXPECT_EQ(Find("new"), nullptr);
    EXPECT_EQ(Current(item), nullptr);
    EXPECT_EQ(PDMWSPIDelete(item), 110);
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()), std::vector<std::string>{"PDMc_WSPI::Delete"});
    testsupport::ClearErrors();
    // What goes to the current version finds none.
    const char* text = nullptr;
    EXPECT_EQ(PDMWSPIGetCurrWSPIVDescription(item, &text), 110);
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()).at(1), "WSPIVHandle");
    testsupport::ClearErrors();
    EXPECT_EQ(PDMWSPISetCurrWSPIVDescription(item, "x"), 110);
    testsupport::ClearErrors();

    Commit();
    ASSERT_EQ(PDMWorkspaceUndo(ws), 0);
    EXPECT_EQ(Find("new"), item) << "the same handle is live again";
    EXPECT_EQ(Current(item), version);
    EXPECT_EQ(ItemName(item), "new");
    // And from the file: the deletion is in the last state, the item live in the one before.
    Reopen();
    EXPECT_NE(Find("new"), nullptr);
    ASSERT_EQ(PDMWorkspaceRedo(ws), 0);
    EXPECT_EQ(Find("new"), nullptr);
}

TEST_F(Items, CreationFollowsUndoAndRedo) {
    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0);
    ASSERT_NE(Create("late"), nullptr);
    Reopen();
    WSPIHandle item = Find("late");
    ASSERT_NE(item, nullptr);
    ASSERT_EQ(PDMWorkspaceUndo(ws), 0) << DescribeTop();
    EXPECT_EQ(Find("late"), nullptr) << "the state before its creation doesn't show it";
    CursorHandle cursor = nullptr;
    ASSERT_EQ(PDMWorkspaceGetWSPIs(ws, &cursor), 0);
    EXPECT_TRUE(Drain(cursor).empty());
    ASSERT_EQ(PDMWorkspaceRedo(ws), 0);
    EXPECT_EQ(Find("late"), item);
    EXPECT_EQ(ItemName(item), "late");
}

TEST_F(Items, MarksAreWrittenInPlaceOnAnyVersion) {
    WSPIHandle item = Create("held");
    WSPIVHandle first = Current(item);
    int count = ModCount(first);
    ASSERT_EQ(PDMWSPISetCurrWSPIVHoldFromSubmission(item, 1), 0);
    ASSERT_EQ(PDMWSPIVSetMarkedForCheckIn(first, 1), 0);
    ASSERT_EQ(PDMWSPISetCurrWSPIVWorkspaceStatus(item, 7), 0);
    EXPECT_EQ(ModCount(first), count) << "marks don't count as changes";
    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0);
    ASSERT_EQ(PDMWSPISetCurrWSPIVDescription(item, "x"), 0);
    ASSERT_NE(Current(item), first);
    // The older version is still writable by its marks.
    ASSERT_EQ(PDMWSPIVSetHoldFromSubmission(first, 0), 0);
    int hold = -1;
    ASSERT_EQ(PDMWSPIVIsHoldFromSubmission(first, &hold), 0);
    EXPECT_EQ(hold, 0);
    ASSERT_EQ(PDMWSPIIsCurrWSPIVHoldFromSubmission(item, &hold), 0);
    EXPECT_EQ(hold, 1) << "the copy took the hold with it";
    int status = -1;
    ASSERT_EQ(PDMWSPIGetCurrWSPIVWorkspaceStatus(item, &status), 0);
    EXPECT_EQ(status, 7);
    Reopen();
    item = Find("held");
    ASSERT_EQ(PDMWorkspaceUndo(ws), 0);
    ASSERT_EQ(PDMWSPIIsCurrWSPIVHoldFromSubmission(item, &hold), 0);
    EXPECT_EQ(hold, 0) << "an undo doesn't take a mark back";
}

TEST_F(Items, AttributesFollowTheVersions) {
    WSPIHandle item = Create("attr");
    PDMAttrValue value;
    EXPECT_EQ(PDMWSPIGetCurrWSPIVAttribute(item, "never", &value), 0);
    EXPECT_EQ(value.kind, PDM_ATTR_NONE);
    PDMAttrValue a = Text("1");
    ASSERT_EQ(PDMWSPISetCurrWSPIVAttribute(item, "a", &a), 0);
    ASSERT_EQ(PDMWSPISetCurrWSPIVDBAttribute(item, "b", 0, &a), 0);
    int flag = -1;
    ASSERT_EQ(PDMWSPIIsCurrWSPIVAttributeFileBased(item, "a", &flag), 0);
    EXPECT_EQ(flag, 1);
    ASSERT_EQ(PDMWSPIIsCurrWSPIVAttributeFileBased(item, "b", &flag), 0);
    EXPECT_EQ(flag, 0);
    ASSERT_EQ(PDMWSPIIsCurrWSPIVAttributeModified(item, "a", &flag), 0);
    EXPECT_EQ(flag, 1);
    WSPIVHandle first = Current(item);
    Commit();
    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0);
    ASSERT_EQ(PDMWSPIUnSetCurrWSPIVAttribute(item, "a"), 0);
    ASSERT_EQ(PDMWSPIUnSetCurrWSPIVAttribute(item, "a"), 0);
    ASSERT_EQ(PDMWSPIUnSetCurrWSPIVAttribute(item, "unknown"), 0);
    int count = -1;
    const char* names[4] = {};
    ASSERT_EQ(PDMWSPIGetCurrWSPIVUnSetAttrNames(item, &count, names), 0);
    ASSERT_EQ(count, 1) << "unset twice is listed once";
    EXPECT_STREQ(names[0], "a");
    ASSERT_EQ(PDMWSPIGetCurrWSPIVAttributeNames(item, &count, names), 0);
    ASSERT_EQ(count, 1);
    EXPECT_STREQ(names[0], "b");
    ASSERT_EQ(PDMWSPIVGetAttributeNames(first, &count, nullptr), 0);
    EXPECT_EQ(count, 2) << "the older version keeps both";

    ASSERT_EQ(PDMWSPISetCurrWSPIVAttribute(item, "a", nullptr), 0);
    Reopen();
    item = Find("attr");
    ASSERT_EQ(PDMWSPIIsCurrWSPIVAttributeSet(item, "a", &flag), 0);
    EXPECT_EQ(flag, 1) << "a null record sets kind 0";
    ASSERT_EQ(PDMWSPIGetCurrWSPIVUnSetAttrNames(item, &count, nullptr), 0);
    EXPECT_EQ(count, 1) << "setting again leaves the unset list alone";
}

TEST_F(Items, WorkspaceListsRefocusAndNullHandles) {
    WSPIHandle a = Create("a");
    Create("b");
    CursorHandle cursor = nullptr;
    ASSERT_EQ(PDMWorkspaceGetModifiedWSPIs(ws, &cursor), 0);
    EXPECT_EQ(Drain(cursor).size(), 2u);
    ASSERT_EQ(PDMWorkspaceGetUnmodifiedWSPIs(ws, &cursor), 0);
    EXPECT_EQ(Drain(cursor).size(), 0u);

    EXPECT_EQ(PDMWorkspaceRefocus(ws, Current(a)), 0);
    EXPECT_EQ(PDMWorkspaceRefocus(nullptr, nullptr), 110);
    EXPECT_EQ(StackCodes(), (std::vector<int>{110, 110}));
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()).at(1), "WSHandle") << "the version's comes first";
    testsupport::ClearErrors();

    // A handle to an object of another class is an error, not a misread.
    const char* text = nullptr;
    EXPECT_NE(PDMWSPIGetName(reinterpret_cast<WSPIHandle>(ws), &text), 0);
    testsupport::ClearErrors();
    EXPECT_EQ(PDMWSPIVGetName(nullptr, &text), 110);
    EXPECT_STREQ(text, "");
}

}  // namespace
