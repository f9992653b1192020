// Frames and their records inside a real database: what a new state shares, what the first
// write copies, how identities follow undo and redo, and which local files a purge takes.
// Items and versions are built record by record here, as far as the frames need them.
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "collections/nyxlist.h"
#include "errors/nyxerror.h"
#include "marrows/marrows.h"
#include "srccldb/chandles.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldblf.h"
#include "srcldb/ldblpi.h"
#include "srcldb/ldbluf.h"
#include "srcldb/ldblufi.h"
#include "srcldb/ldbstgdesc.h"
#include "srcldb/ldbstglayout.h"
#include "srcldbws/ws.h"
#include "srcldbws/wspi.h"
#include "srcldbws/wspiv.h"
#include "testsupport.h"

namespace fs = std::filesystem;
using testsupport::Arguments;
using testsupport::DescribeTop;

namespace {

class Frames : public testsupport::CleanStackTest {
protected:
    void SetUp() override {
        CleanStackTest::SetUp();
        ASSERT_EQ(PDMLDBCreate(path.c_str(), &handle), 0) << DescribeTop();
        ldb = ConnectionOf(handle);
        ASSERT_EQ(PDMLDBStartTransaction(handle), 0);
        ws = Open(true);
        ASSERT_NE(ws, nullptr);
    }
    void TearDown() override {
        testsupport::ClearErrors();
        if (ldb->IsInTransaction()) ldb->Abort();
        PDMLDBDisconnect(handle);
        CleanStackTest::TearDown();
    }
    PDMc_WS* Open(bool create) {
        WorkspaceHandle made = nullptr;
        if (create)
            EXPECT_EQ(PDMWorkspaceCreate(handle, "ws", dir.File("ws").c_str(), "", &made), 0);
        else
            EXPECT_EQ(PDMLDBGetWorkspaceByName(handle, "ws", &made), 0);
        return static_cast<PDMc_WS*>(reinterpret_cast<PDMc_LDBObject*>(made));
    }
    // Commits and connects anew: what follows is read back from the file.
    void Reopen() {
        ASSERT_EQ(PDMLDBCommitTransaction(handle), 0) << DescribeTop();
        ASSERT_EQ(PDMLDBDisconnect(handle), 0);
        ASSERT_EQ(PDMLDBConnect(path.c_str(), &handle), 0) << DescribeTop();
        ldb = ConnectionOf(handle);
        ASSERT_EQ(PDMLDBStartTransaction(handle), 0);
        ws = Open(false);
        ASSERT_NE(ws, nullptr);
    }
    // A stored member set as a load from the store would set it.
    template <class T>
    T& Member(PDMc_LDBObject* object, const char* name) {
        const LDBClassDescriptor* cls = ldb->Layout()->CurrentClass(object->GetTypeCode());
        return *static_cast<T*>(cls->FindMember(name)->GetPlace().FieldIn(object));
    }
    PDMc_LUF* Frame() { return ws->GetCurrentFrame(); }
    PDMc_LUF* FrameAt(uint32_t n) {
        return static_cast<PDMc_LUF*>(ws->GetUndoStack()->ObjectAt(n));
    }
    PDMc_LPI* AddItem(const char* name) { return Frame()->AddPI(name, nullptr, nullptr); }
    PDMc_WSPIV* Version(std::vector<PDMc_LF*> files) {
        PDMc_WSPIV* version = new PDMc_WSPIV(ldb);
        PDMc_LDBArray* array = new PDMc_LDBArray(ldb);
        for (PDMc_LF* file : files) array->Append(file);
        Member<PDMc_LDBRef>(version, "m_files") = array;
        return version;
    }
    // An identity with a live item and its version, bound in the current frame.
    PDMc_WSPI* LiveItem(const char* name, PDMc_WSPIV* version) {
        PDMc_LPI* lpi = AddItem(name);
        PDMc_WSPI* item = new PDMc_WSPI(ldb);
        Member<PDMc_LDBRef>(item, "m_ws") = ws;
        Member<PDMc_LDBRef>(item, "m_lpi") = lpi;
        EXPECT_EQ(lpi->GetLUFI()->AcquireWSPI(item, version), 0) << DescribeTop();
        return item;
    }
    PDMc_LF* LocalFile(const char* name, int32_t version) {
        std::string stored = dir.File("ws");
        for (char& c : stored) c = c == '/' ? '|' : c;
        return PDMc_LF::Create(ldb, (stored + "|" + name).c_str(), version);
    }
    static std::string DiskPath(PDMc_LF* file) {
        nyxString stored;
        file->GetPath(stored);
        std::string path = stored.c_str();
        for (char& c : path) c = c == '|' ? '/' : c;
        return path;
    }
    static std::set<std::string> Keys(PDMc_LDBMap* map) {
        std::set<std::string> keys;
        map->References().VisitEntries(
            [](void* context, const nyxString& key, const PDMc_LDBRef&) -> int32_t {
                static_cast<std::set<std::string>*>(context)->insert(key.c_str());
                return 0;
            },
            &keys);
        return keys;
    }
    static std::vector<void*> WSPIs(PDMc_WS* workspace) {
        nyxSingleListOf<void*> list;
        EXPECT_EQ(workspace->GetWSPIs(list), 0);
        std::vector<void*> out;
        nyxIteratorGuard walk(list);
        for (walk->First(); !walk->AtEnd(); walk->Next())
            out.push_back(*static_cast<void**>(walk->Current()));
        return out;
    }

    testsupport::TempDir dir;
    std::string path = dir.File("frames.ldb");
    LDBHandle handle = nullptr;
    PDMc_LDB* ldb = nullptr;
    PDMc_WS* ws = nullptr;
};

TEST_F(Frames, NewStateSharesRecordsUntilTheFirstWrite) {
    PDMc_LPI* a = AddItem("a");
    AddItem("b");
    PDMc_LUFI* original = a->GetLUFI();
    ASSERT_EQ(ws->CreateState(), 0);
    PDMc_LUF* before = FrameAt(0);
    PDMc_LUF* now = Frame();
    ASSERT_NE(before, now);
    EXPECT_EQ(now->FindItem("a"), original) << "a new state copies no record";
    EXPECT_EQ(now->FindItem("b"), before->FindItem("b"));

    PDMc_LUFI* written = original->ForModification();
    ASSERT_NE(written, nullptr) << DescribeTop();
    EXPECT_NE(written, original);
    EXPECT_EQ(written->GetCreatingFrame(), now);
    EXPECT_EQ(now->FindItem("a"), written);
    EXPECT_EQ(now->GetItems()->GetCount(), 2u);
    EXPECT_EQ(before->FindItem("a"), original) << "the earlier state keeps its record";
    EXPECT_EQ(a->GetLUFI(), written) << "the identity follows the copy";
    EXPECT_EQ(written->ForModification(), written) << "the second write copies nothing";
}

TEST_F(Frames, RenameMovesTheKeyOfTheCurrentFrameOnly) {
    PDMc_LPI* lpi = AddItem("old");
    ASSERT_EQ(ws->CreateState(), 0);
    ASSERT_EQ(lpi->GetLUFI()->ModifyPIName("new"), 0) << DescribeTop();
    Reopen();
    EXPECT_EQ(Keys(Frame()->GetItems()), std::set<std::string>{"new"});
    EXPECT_EQ(Keys(FrameAt(0)->GetItems()), std::set<std::string>{"old"});
    lpi = ws->FindLPI("new");
    ASSERT_NE(lpi, nullptr);

    // The identity's name follows the state.
    ASSERT_EQ(ws->Undo(), 0);
    EXPECT_STREQ(lpi->GetName().c_str(), "old");
    EXPECT_EQ(ws->FindLPI("new"), nullptr);
    EXPECT_EQ(ws->FindLPI("old"), lpi);

    // A taken name, the item's own included, is refused before anything changes: the redo
    // state stays.
    AddItem("other");
    ASSERT_EQ(ws->GetStackSize(), 2);
    for (const char* taken : {"old", "other"}) {
        EXPECT_EQ(lpi->GetLUFI()->ModifyPIName(taken), 1905);
        EXPECT_EQ(Arguments(nyxErrorGetCurrent()), std::vector<std::string>{taken});
        testsupport::ClearErrors();
        EXPECT_EQ(ws->GetStackSize(), 2);
    }
    // A rename of a record that is the frame's own still ends the redo history.
    ASSERT_EQ(lpi->GetLUFI()->GetCreatingFrame(), Frame());
    ASSERT_EQ(lpi->GetLUFI()->ModifyPIName("third"), 0);
    EXPECT_EQ(ws->GetStackSize(), 1);
    EXPECT_EQ(Keys(Frame()->GetItems()), (std::set<std::string>{"other", "third"}));
}

TEST_F(Frames, UndoAndRedoRebindTheSameItemAndVersion) {
    ASSERT_EQ(ws->CreateState(), 0);
    PDMc_WSPIV* version = Version({});
    PDMc_WSPI* item = LiveItem("part", version);
    ASSERT_EQ(ws->CreateState(), 0);
    Reopen();
    item = ws->FindWSPI("part");
    ASSERT_NE(item, nullptr);
    version = item->GetShortcutPIV();
    ASSERT_NE(version, nullptr);

    // An older state lists its own items with the versions of the current state.
    CursorHandle cursor = nullptr;
    ASSERT_EQ(PDMWorkspaceStateGetModifiedWSPIVs(
                  reinterpret_cast<WorkspaceStateHandle>(static_cast<PDMc_LDBObject*>(FrameAt(1))),
                  &cursor),
              0);
    void* element = nullptr;
    ASSERT_EQ(PDMCursorGetNext(cursor, &element), 0);
    EXPECT_EQ(element, static_cast<PDMc_LDBObject*>(version));
    PDMCursorDelete(cursor);

    ASSERT_EQ(PDMWorkspaceUndo(reinterpret_cast<WorkspaceHandle>(static_cast<PDMc_LDBObject*>(ws))),
              0);
    ASSERT_EQ(ws->Undo(), 0);
    EXPECT_EQ(ws->FindWSPI("part"), nullptr);
    EXPECT_EQ(ws->FindLPI("part"), nullptr) << "its name is free in the state before";
    EXPECT_TRUE(WSPIs(ws).empty());
    ASSERT_EQ(ws->Redo(), 0);
    EXPECT_EQ(ws->FindWSPI("part"), item);
    EXPECT_EQ(WSPIs(ws), std::vector<void*>{item});
    EXPECT_EQ(item->GetShortcutPIV(), version);
}

TEST_F(Frames, DeletedItemComesBackWithUndo) {
    PDMc_WSPIV* version = Version({});
    PDMc_WSPI* item = LiveItem("part", version);
    PDMc_LPI* lpi = item->GetLPI();
    EXPECT_EQ(lpi->GetLUFI()->AcquireWSPI(item, version), 101);
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()).at(0), "PDMc_LUFI::AcquireWSPI");
    testsupport::ClearErrors();
    EXPECT_EQ(lpi->GetLUFI()->DeleteLPI(), 101) << "a live item keeps its record";
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()).at(0), "PDMc_LUFI::DeleteLPI");
    testsupport::ClearErrors();

    ASSERT_EQ(ws->CreateState(), 0);
    ASSERT_EQ(lpi->GetLUFI()->DeleteWSPI(), 0) << DescribeTop();
    // Nothing uses the identity, so it went with the item, and the name is free.
    EXPECT_EQ(ws->FindLPI("part"), nullptr);
    EXPECT_EQ(FrameAt(0)->FindItem("part")->GetWSPI(), item);
    Reopen();
    EXPECT_EQ(ws->FindLPI("part"), nullptr);
    ASSERT_EQ(ws->Undo(), 0);
    item = ws->FindWSPI("part");
    ASSERT_NE(item, nullptr) << "the identity kept for undo is bound again";
    EXPECT_NE(item->GetShortcutPIV(), nullptr);
    EXPECT_EQ(item->GetLPI()->GetLUFI(), Frame()->FindItem("part"));
}

TEST_F(Frames, PurgeQueuesOnlyTheFilesThatNoStayingStateHolds) {
    PDMc_LF* kept = LocalFile("a.txt", 1);
    PDMc_WSPI* item = LiveItem("a", Version({kept}));
    ASSERT_EQ(ws->CreateState(), 0);
    PDMc_LF* dropped = LocalFile("a.txt", 2);
    PDMc_LF* repository = new PDMc_LF(ldb);
    Member<nyxString>(repository, "m_local_path") = dir.File("shared.txt").c_str();
    Member<uint32_t>(repository, "m_rep_obj_id") = 42;
    ASSERT_EQ(item->GetLPI()->GetLUFI()->SetCurrentPIV(Version({kept, dropped, repository})), 0);
    // Another record of the kept file's path: the path is still in use.
    LiveItem("b", Version({LocalFile("a.txt", 1)}));
    for (PDMc_LF* file : {kept, dropped, repository}) std::ofstream(DiskPath(file)) << "data";
    std::vector<std::string> paths = {DiskPath(kept), DiskPath(dropped), DiskPath(repository)};
    Reopen();

    ASSERT_EQ(ws->Undo(), 0);
    ASSERT_EQ(ws->PurgeRedoStack(), 0) << DescribeTop();
    EXPECT_EQ(ws->GetStackSize(), 1);
    EXPECT_TRUE(fs::exists(paths[1])) << "nothing goes before the commit";
    Reopen();
    EXPECT_TRUE(fs::exists(paths[0]));
    EXPECT_FALSE(fs::exists(paths[1]));
    EXPECT_TRUE(fs::exists(paths[2])) << "a repository file isn't ours";
    EXPECT_EQ(ws->FindWSPI("b"), nullptr);
    EXPECT_NE(ws->FindWSPI("a"), nullptr);
}

TEST_F(Frames, ReferenceToAnotherClassIsAnErrorNotACrash) {
    PDMc_LPI* lpi = AddItem("a");
    ASSERT_EQ(ws->CreateState(), 0);
    Member<PDMc_LDBRef>(lpi->GetLUFI(), "m_lpi") = ws;
    ASSERT_EQ(ws->Undo(), 101);
    EXPECT_FALSE(testsupport::StackCodes().empty());
}

}  // namespace
