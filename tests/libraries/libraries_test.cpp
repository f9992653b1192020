// Libraries as a client sees them through the library exports: what a commit keeps across a new
// connect and an abort takes back (files on disk too), how undo and redo bring back an earlier
// version, name or member list, and which writes copy a library version into a new state.
// Libraries are made through the workspace model, as the first instance of an item makes them.
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "collections/nyxlist.h"
#include "marrows/marrows.h"
#include "srcldb/ldblil.h"
#include "srcldb/ldblilv.h"
#include "srcldbws/ws.h"
#include "srcldb/ldblufi.h"
#include "srcldbws/wspi.h"
#include "srcldbws/wspiv.h"
#include "testsupport.h"

using testsupport::DescribeTop;
using testsupport::Drain;
using testsupport::StackCodes;

namespace fs = std::filesystem;

namespace {

using testsupport::OnDisk;
using testsupport::WriteLocalFile;

class Libraries : public testsupport::DatabaseTest {
protected:
    void SetUp() override {
        DatabaseTest::SetUp();
        ws = CreateWorkspace("ws");
        ASSERT_NE(ws, nullptr);
        bracket = Create("bracket");
        bracketLong = Create("bracket-long");
    }
    WSPIHandle Create(const char* name) { return CreateItem(ws, name); }
    WSPIHandle Find(const char* name) { return FindItem(ws, name); }
    PDMc_WS* Model() { return reinterpret_cast<PDMc_WS*>(ws); }
    WSLILHandle MakeLibrary(const char* name, const char* fileName,
                            std::vector<WSPIHandle> members) {
        nyxSingleListOf<void*> list;
        for (WSPIHandle item : members) {
            void* element = item;
            list.Insert(&element);
        }
        PDMc_LDBObject* made = Model()->CreateNewLIL(name, fileName, list);
        EXPECT_NE(made, nullptr) << DescribeTop();
        return reinterpret_cast<WSLILHandle>(made);
    }
    WSLILHandle FindLibrary(const char* name) {
        PDMc_LDBObject* found = Model()->FindLIL(name);
        return reinterpret_cast<WSLILHandle>(found);
    }
    void Commit() {
        ASSERT_EQ(PDMLDBCommitTransaction(ldb), 0) << DescribeTop();
        ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    }
    void Reopen() {
        ws = DatabaseTest::Reopen("ws");
        ASSERT_NE(ws, nullptr);
        bracket = Find("bracket");
        bracketLong = Find("bracket-long");
    }
    static WSLILVHandle Current(WSLILHandle library) {
        WSLILVHandle version = nullptr;
        EXPECT_EQ(PDMWSLILGetCurrentLILV(library, &version), 0) << DescribeTop();
        return version;
    }
    static std::string Name(WSLILHandle library) {
        const char* text = nullptr;
        EXPECT_EQ(PDMWSLILGetName(library, &text), 0) << DescribeTop();
        return text != nullptr ? text : "<null>";
    }
    static std::string Folder(WSLILVHandle version) {
        const char* text = nullptr;
        EXPECT_EQ(PDMWSLILVGetTargetFolder(version, &text), 0) << DescribeTop();
        return text != nullptr ? text : "<null>";
    }
    static std::string PathForRead(WSLILHandle library) {
        const char* text = nullptr;
        EXPECT_EQ(PDMWSLILGetPathForRead(library, &text), 0) << DescribeTop();
        return text != nullptr ? text : "<null>";
    }
    static std::string PathForWrite(WSLILHandle library) {
        const char* text = nullptr;
        EXPECT_EQ(PDMWSLILGetPathForWrite(library, &text), 0) << DescribeTop();
        return text != nullptr ? text : "<null>";
    }
    static std::vector<void*> Members(WSLILVHandle version) {
        CursorHandle cursor = nullptr;
        EXPECT_EQ(PDMWSLILVGetWSPIs(version, &cursor), 0) << DescribeTop();
        return Drain(cursor);
    }
    static int Modified(WSLILVHandle version) {
        int flag = -1;
        EXPECT_EQ(PDMWSLILVIsModified(version, &flag), 0);
        return flag;
    }
    std::vector<void*> ModifiedLibraries() {
        CursorHandle cursor = nullptr;
        EXPECT_EQ(PDMWorkspaceGetModifiedLILs(ws, &cursor), 0) << DescribeTop();
        return Drain(cursor);
    }

    WorkspaceHandle ws = nullptr;
    WSPIHandle bracket = nullptr;
    WSPIHandle bracketLong = nullptr;
};

TEST_F(Libraries, LibraryWithMembersAndFileSurvivesReconnect) {
    WSLILHandle library = MakeLibrary("bracket", "bracket.lib", {bracket, bracketLong});
    ASSERT_NE(library, nullptr);
    std::string file = PathForRead(library);
    WriteLocalFile(file, "table");
    Reopen();
    library = FindLibrary("bracket");
    ASSERT_NE(library, nullptr);
    EXPECT_EQ(Name(library), "bracket");
    int isNew = -1;
    ASSERT_EQ(PDMWSLILIsNew(library, &isNew), 0);
    EXPECT_EQ(isNew, 1) << "a library made here has no repository id";
    WSLILVHandle version = Current(library);
    ASSERT_NE(version, nullptr);
    WSLILHandle owner = nullptr;
    ASSERT_EQ(PDMWSLILVGetLIL(version, &owner), 0);
    EXPECT_EQ(owner, library);
    const char* versionName = nullptr;
    ASSERT_EQ(PDMWSLILVGetName(version, &versionName), 0);
    EXPECT_STREQ(versionName, "bracket");
    EXPECT_EQ(Members(version), (std::vector<void*>{bracket, bracketLong}))
        << "members keep the order they joined in";
    EXPECT_EQ(Modified(version), 1) << "a new library version starts modified";
    EXPECT_EQ(ModifiedLibraries(), std::vector<void*>{library});
    unsigned fileVersion = 0;
    ASSERT_EQ(PDMWSLILVGetFileVersion(version, &fileVersion), 0);
    EXPECT_EQ(fileVersion, 1u);
    EXPECT_EQ(PathForRead(library), file);
    EXPECT_TRUE(fs::exists(OnDisk(file)));
    for (WSPIHandle member : {bracket, bracketLong}) {
        WSLILHandle of = nullptr;
        ASSERT_EQ(PDMWSPIGetCurrWSPIVLIL(member, &of), 0);
        EXPECT_EQ(of, library) << "each member names its library";
    }
    int count = -1;
    ASSERT_EQ(PDMWSLILVGetRepositoryPIVIDs(version, &count, nullptr), 0);
    EXPECT_EQ(count, 0);
    ASSERT_EQ(PDMWSLILVGetRemovedPIVIDs(version, &count, nullptr), 0);
    EXPECT_EQ(count, 0);
}

TEST_F(Libraries, AbortTakesBackLibraryAndItsFiles) {
    Commit();
    WSLILHandle library = MakeLibrary("bracket", "", {bracket});
    const char* added = nullptr;
    ASSERT_EQ(PDMWSLILAddFile(library, &added), 0) << DescribeTop();
    std::string path = added;
    EXPECT_NE(path.find("bracket"), std::string::npos) << "the file is named after the library";
    WriteLocalFile(path, "draft");
    std::string written = PathForWrite(library);
    ASSERT_NE(written, path);
    WriteLocalFile(written, "more");
    ASSERT_EQ(PDMLDBAbortTransaction(ldb), 0) << DescribeTop();
    EXPECT_FALSE(fs::exists(OnDisk(path)));
    EXPECT_FALSE(fs::exists(OnDisk(written)));
    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    EXPECT_EQ(FindLibrary("bracket"), nullptr);
    WSLILHandle of = reinterpret_cast<WSLILHandle>(1);
    ASSERT_EQ(PDMWSPIGetCurrWSPIVLIL(bracket, &of), 0);
    EXPECT_EQ(of, nullptr) << "the member's library reference is taken back too";
}

TEST_F(Libraries, FirstWriteInANewStateCopiesTheVersionOnce) {
    WSLILHandle library = MakeLibrary("bracket", "", {bracket, bracketLong});
    ASSERT_EQ(PDMWSLILSetTargetFolder(library, "lib/one"), 0);
    WSLILVHandle first = Current(library);
    EXPECT_EQ(Current(library), first) << "a write in the state that made it copies nothing";
    Reopen();
    library = FindLibrary("bracket");
    first = Current(library);
    // Clear the modified state as a check-in would, so that the copy's raise can be seen.
    reinterpret_cast<PDMc_LILV*>(first)->SetIsModified(false);
    EXPECT_TRUE(ModifiedLibraries().empty());

    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0);
    ASSERT_EQ(PDMWSLILSetTargetFolder(library, "lib/two"), 0) << DescribeTop();
    WSLILVHandle second = Current(library);
    ASSERT_NE(second, first);
    EXPECT_EQ(Folder(first), "lib/one") << "the earlier state's version stays as it was";
    EXPECT_EQ(Folder(second), "lib/two");
    EXPECT_EQ(Modified(second), 1);
    EXPECT_EQ(Modified(first), 0);
    EXPECT_EQ(Members(second), (std::vector<void*>{bracket, bracketLong}));
    ASSERT_EQ(PDMWSLILSetTargetFolder(library, "lib/three"), 0);
    EXPECT_EQ(Current(library), second) << "the second write goes to the same copy";

    // Writing the older version is refused; the client holds a stale handle.
    EXPECT_NE(reinterpret_cast<PDMc_LILV*>(first)->SetTargetFolder("x"), 0);
    EXPECT_EQ(StackCodes().front(), 101);
    testsupport::ClearErrors();

    Reopen();
    library = FindLibrary("bracket");
    const char* folder = nullptr;
    ASSERT_EQ(PDMWSLILGetTargetFolder(library, &folder), 0);
    EXPECT_STREQ(folder, "lib/three");
    ASSERT_EQ(PDMWorkspaceUndo(ws), 0);
    ASSERT_EQ(PDMWSLILGetTargetFolder(library, &folder), 0);
    EXPECT_STREQ(folder, "lib/one");
    ASSERT_EQ(PDMWorkspaceRedo(ws), 0);
    ASSERT_EQ(PDMWSLILGetTargetFolder(library, &folder), 0);
    EXPECT_STREQ(folder, "lib/three");
}

TEST_F(Libraries, RenameFollowsUndoAndRedo) {
    WSLILHandle library = MakeLibrary("bracket", "", {bracket});
    MakeLibrary("clamp", "", {bracketLong});
    nyxSingleListOf<void*> none;
    EXPECT_EQ(Model()->CreateNewLIL("clamp", "", none), nullptr);
    EXPECT_EQ(StackCodes().front(), 1901) << "a library name is taken once";
    testsupport::ClearErrors();
    EXPECT_EQ(PDMWSLILRename(library, "clamp"), 1906);
    testsupport::ClearErrors();
    Reopen();
    library = FindLibrary("bracket");
    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0);
    ASSERT_EQ(PDMWSLILRename(library, "bracket-family"), 0) << DescribeTop();
    EXPECT_EQ(Name(library), "bracket-family");
    EXPECT_EQ(FindLibrary("bracket"), nullptr);
    Reopen();
    library = FindLibrary("bracket-family");
    ASSERT_NE(library, nullptr);
    ASSERT_EQ(PDMWorkspaceUndo(ws), 0);
    EXPECT_EQ(Name(library), "bracket");
    EXPECT_EQ(FindLibrary("bracket"), library);
    ASSERT_EQ(PDMWorkspaceRedo(ws), 0);
    EXPECT_EQ(Name(library), "bracket-family");
}

TEST_F(Libraries, FilesOfOlderStatesStayOnDisk) {
    WSLILHandle library = MakeLibrary("bracket", "bracket.lib", {bracket});
    std::string made = PathForRead(library);
    WriteLocalFile(made, "v1");
    // Two writes in the state that made the file leave one file: the first copy goes too.
    std::string w1 = PathForWrite(library);
    WriteLocalFile(w1, "v2");
    std::string w2 = PathForWrite(library);
    WriteLocalFile(w2, "v3");
    unsigned fileVersion = 0;
    ASSERT_EQ(PDMWSLILVGetFileVersion(Current(library), &fileVersion), 0);
    EXPECT_EQ(fileVersion, 3u);
    int flag = 0;
    ASSERT_EQ(PDMWSLILVFileIsModified(Current(library), &flag), 0);
    EXPECT_EQ(flag, 1);
    Reopen();
    EXPECT_FALSE(fs::exists(OnDisk(made)));
    EXPECT_FALSE(fs::exists(OnDisk(w1)));
    EXPECT_TRUE(fs::exists(OnDisk(w2)));

    library = FindLibrary("bracket");
    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0);
    std::string w3 = PathForWrite(library);
    WriteLocalFile(w3, "v4");
    Reopen();
    EXPECT_TRUE(fs::exists(OnDisk(w2))) << "the earlier state still reads it";
    library = FindLibrary("bracket");
    EXPECT_EQ(PathForRead(library), w3);
    ASSERT_EQ(PDMWorkspaceUndo(ws), 0);
    EXPECT_EQ(PathForRead(library), w2);
    ASSERT_EQ(PDMWorkspaceRedo(ws), 0);

    // Deleted in a later state: the file stays for the undo.
    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0);
    ASSERT_EQ(PDMWSLILDeleteFile(library), 0) << DescribeTop();
    int has = -1;
    ASSERT_EQ(PDMWSLILVHasFile(Current(library), &has), 0);
    EXPECT_EQ(has, 0);
    Reopen();
    EXPECT_TRUE(fs::exists(OnDisk(w3)));
}

TEST_F(Libraries, FileEdgeCases) {
    WSLILHandle bare = MakeLibrary("bare", "", {bracket});
    EXPECT_EQ(PDMWSLILDeleteFile(bare), 110) << "no file: the current file is null";
    testsupport::ClearErrors();
    const char* path = nullptr;
    ASSERT_EQ(PDMWSLILGetPathForWrite(bare, &path), 0);
    EXPECT_STREQ(path, "") << "nothing to write without a file";
    unsigned fileVersion = 7;
    ASSERT_EQ(PDMWSLILVGetFileVersion(Current(bare), &fileVersion), 0);
    EXPECT_EQ(fileVersion, 0u);

    WSLILHandle withFile = MakeLibrary("full", "full.lib", {bracketLong});
    EXPECT_EQ(PDMWSLILAddFile(withFile, &path), 101) << "position 0 is taken";
    EXPECT_STREQ(path, "");
    testsupport::ClearErrors();

    EXPECT_EQ(PDMWSLILGetName(nullptr, &path), 110);
    EXPECT_EQ(testsupport::Arguments(nyxErrorGetCurrent()).at(1), "WSLILHandle");
    testsupport::ClearErrors();
    // A handle of another class is refused, not misread.
    EXPECT_EQ(PDMWSLILVGetName(reinterpret_cast<WSLILVHandle>(bare), &path), 101);
    testsupport::ClearErrors();
    unsigned ids[1] = {0};
    int count = -1;
    EXPECT_EQ(PDMWSLILVGetRepositoryPIVIDs(Current(bare), &count, ids), 0);
    EXPECT_EQ(count, 0);
}

TEST_F(Libraries, MembershipChangesFollowTheStates) {
    WSLILHandle library = MakeLibrary("bracket", "", {bracket});
    PDMc_LIL* model = reinterpret_cast<PDMc_LIL*>(library);
    Reopen();
    library = FindLibrary("bracket");
    model = reinterpret_cast<PDMc_LIL*>(library);
    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0);
    PDMc_LILV* current = reinterpret_cast<PDMc_LILV*>(Current(library));
    ASSERT_EQ(current->AddWSPIToMembers(reinterpret_cast<PDMc_WSPI*>(bracketLong)), 0)
        << DescribeTop();
    WSLILVHandle grown = Current(library);
    EXPECT_NE(reinterpret_cast<PDMc_LILV*>(grown), current) << "the member list was copied";
    EXPECT_EQ(Members(grown), (std::vector<void*>{bracket, bracketLong}));
    EXPECT_EQ(Members(reinterpret_cast<WSLILVHandle>(current)), std::vector<void*>{bracket});

    // Leaving twice: the second time it isn't a member, and nothing changes.
    PDMc_WSPI* leaving = reinterpret_cast<PDMc_WSPI*>(bracket);
    ASSERT_EQ(model->DeleteWSPIFromMembers(leaving), 0) << DescribeTop();
    EXPECT_EQ(model->DeleteWSPIFromMemberWSPIs(leaving), 101);
    testsupport::ClearErrors();
    EXPECT_EQ(Members(Current(library)), std::vector<void*>{bracketLong});
    WSLILHandle of = reinterpret_cast<WSLILHandle>(1);
    ASSERT_EQ(PDMWSPIGetCurrWSPIVLIL(bracket, &of), 0);
    EXPECT_EQ(of, nullptr);

    Reopen();
    library = FindLibrary("bracket");
    EXPECT_EQ(Members(Current(library)), std::vector<void*>{bracketLong});
    ASSERT_EQ(PDMWorkspaceUndo(ws), 0);
    EXPECT_EQ(Members(Current(library)), std::vector<void*>{bracket})
        << "the earlier state keeps its own member array";
}

}  // namespace

namespace {

// A write to a member is a write to its library: its library version is brought into the state
// as well, and the library counts as modified.
TEST_F(Libraries, WriteToAMemberCopiesTheLibraryVersion) {
    // Give the item a current version that has the instance flag, as joining a generic does.
    PDMc_WSPI* item = reinterpret_cast<PDMc_WSPI*>(bracketLong);
    PDMc_LUFI* record = item->GetLUFI();
    ASSERT_NE(record, nullptr);
    PDMc_WSPIV* instance =
        PDMc_WSPIV::Create(Model(), item->GetLPI(), "", "", "", "", true, false, nullptr);
    ASSERT_NE(instance, nullptr) << DescribeTop();
    instance->SetCreatingFrame(Model()->GetCurrentFrame());
    ASSERT_EQ(record->SetCurrentPIV(instance), 0) << DescribeTop();
    WSLILHandle library = MakeLibrary("bracket", "", {bracket, bracketLong});
    Reopen();
    library = FindLibrary("bracket");
    WSLILVHandle before = Current(library);
    reinterpret_cast<PDMc_LILV*>(before)->SetIsModified(false);

    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0);
    ASSERT_EQ(PDMWSPISetCurrWSPIVTargetRevision(bracketLong, "B"), 0) << DescribeTop();
    WSLILVHandle after = Current(library);
    EXPECT_NE(after, before) << "the library version was copied into the new state";
    EXPECT_EQ(Modified(after), 1);
    EXPECT_EQ(Modified(before), 0);
    EXPECT_EQ(reinterpret_cast<PDMc_LILV*>(after)->GetCreatingFrame(), Model()->GetCurrentFrame());
    EXPECT_EQ(ModifiedLibraries(), std::vector<void*>{library});

    // A plain item's write leaves the library alone.
    ASSERT_EQ(PDMWSPISetCurrWSPIVTargetRevision(bracket, "C"), 0);
    EXPECT_EQ(Current(library), after);
    Reopen();
    library = FindLibrary("bracket");
    ASSERT_EQ(PDMWorkspaceUndo(ws), 0);
    EXPECT_EQ(Modified(Current(library)), 0) << "the earlier state shows its own version";
    EXPECT_EQ(reinterpret_cast<PDMc_LILV*>(Current(library))->GetCreatingFrame(),
              Model()->GetCurrentFrame());
}

}  // namespace
