// Workspaces and their states through the exported interface, as a client works with them:
// what a commit keeps across a new connect, what an abort takes back, and how the history of
// states moves and shrinks.
#include <filesystem>
#include <cstdlib>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "errors/nyxerror.h"
#include "marrows/marrows.h"
#include "testsupport.h"

namespace fs = std::filesystem;
using testsupport::Arguments;
using testsupport::DescribeTop;
using testsupport::StackCodes;

namespace {

class Workspaces : public testsupport::DatabaseTest {
protected:
    WorkspaceHandle Create(const char* name, const char* description = "work") {
        WorkspaceHandle ws = nullptr;
        EXPECT_EQ(PDMWorkspaceCreate(ldb, name, Dir(name).c_str(), description, &ws), 0)
            << DescribeTop();
        return ws;
    }
    std::string Dir(const char* name) const { return dir.File(std::string("ws_") + name); }
    // State count, current state number, can undo, can redo.
    std::vector<int> Position(WorkspaceHandle ws) {
        int count = -1, number = -1, undo = -1, redo = -1;
        EXPECT_EQ(PDMWorkspaceGetStateCount(ws, &count), 0);
        EXPECT_EQ(PDMWorkspaceGetCurrentStateNumber(ws, &number), 0);
        EXPECT_EQ(PDMWorkspaceCanUndo(ws, &undo), 0);
        EXPECT_EQ(PDMWorkspaceCanRedo(ws, &redo), 0);
        return {count, number, undo, redo};
    }
    // Marks each state with its own user data id, so that a test sees which frames are left.
    std::vector<int> StateIds(WorkspaceHandle ws) {
        int count = 0;
        EXPECT_EQ(PDMWorkspaceGetAllStatesUserDataIds(ws, &count, nullptr), 0);
        std::vector<int> ids(count);
        EXPECT_EQ(PDMWorkspaceGetAllStatesUserDataIds(ws, &count, ids.data()), 0);
        return ids;
    }
    // Five states marked 0 to 4, the last one current.
    WorkspaceHandle FiveStates(const char* name = "five") {
        WorkspaceHandle ws = Create(name);
        for (int i = 0; i < 5; ++i) {
            if (i > 0) {
                EXPECT_EQ(PDMWorkspaceCreateState(ws), 0) << DescribeTop();
            }
            EXPECT_EQ(PDMWorkspaceSetCurrentStateUserDataId(ws, i), 0);
        }
        return ws;
    }

};

TEST_F(Workspaces, NewWorkspaceKeepsItsFieldsAcrossReconnect) {
    WorkspaceHandle ws = Create("alpha", "first one");
    ASSERT_NE(ws, nullptr);
    EXPECT_TRUE(fs::is_directory(Dir("alpha"))) << "the directory is made at once";
    ASSERT_EQ(PDMWorkspaceSetUnderIntegration(ws, 2), 0);

    ws = Reopen("alpha");
    ASSERT_NE(ws, nullptr);
    const char* text = nullptr;
    ASSERT_EQ(PDMWorkspaceGetName(ws, &text), 0);
    EXPECT_STREQ(text, "alpha");
    ASSERT_EQ(PDMWorkspaceGetDescription(ws, &text), 0);
    EXPECT_STREQ(text, "first one");
    ASSERT_EQ(PDMWorkspaceGetPath(ws, &text), 0);
    EXPECT_EQ(std::string(text), Dir("alpha"));
    int value = 0;
    ASSERT_EQ(PDMWorkspaceGetUserDataId(ws, &value), 0);
    EXPECT_EQ(value, -1);
    ASSERT_EQ(PDMWorkspaceIsUnderIntegration(ws, &value), 0);
    EXPECT_EQ(value, 1);
    LDBHandle owner = nullptr;
    ASSERT_EQ(PDMWorkspaceGetLDB(ws, &owner), 0);
    EXPECT_EQ(owner, ldb);
    EXPECT_EQ(Position(ws), (std::vector<int>{1, 0, 0, 0}));
    WorkspaceStateHandle state = nullptr;
    ASSERT_EQ(PDMWorkspaceGetCurrentState(ws, &state), 0);
    EXPECT_NE(state, nullptr);

    ASSERT_EQ(PDMWorkspaceSetDescription(ws, "changed"), 0);
    ASSERT_EQ(PDMWorkspaceSetUserDataId(ws, 17), 0);
    ws = Reopen("alpha");
    ASSERT_EQ(PDMWorkspaceGetDescription(ws, &text), 0);
    EXPECT_STREQ(text, "changed");
    ASSERT_EQ(PDMWorkspaceGetUserDataId(ws, &value), 0);
    EXPECT_EQ(value, 17);
    WSPIHandle item = reinterpret_cast<WSPIHandle>(&value);
    EXPECT_EQ(PDMWorkspaceGetWSPIByName(ws, "absent", &item), 0);
    EXPECT_EQ(item, nullptr) << "a name that isn't there is no error";
}

TEST_F(Workspaces, TakenNameIs1901AndLeavesTheFirstAlone) {
    WorkspaceHandle first = Create("alpha", "original");
    WorkspaceHandle second = reinterpret_cast<WorkspaceHandle>(&first);
    EXPECT_EQ(PDMWorkspaceCreate(ldb, "alpha", dir.File("other").c_str(), "copy", &second),
              1901);
    EXPECT_EQ(second, nullptr);
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()), std::vector<std::string>{"alpha"});
    EXPECT_FALSE(fs::exists(dir.File("other")));
    testsupport::ClearErrors();
    WorkspaceHandle found = nullptr;
    ASSERT_EQ(PDMLDBGetWorkspaceByName(ldb, "alpha", &found), 0);
    EXPECT_EQ(found, first);
    const char* text = nullptr;
    ASSERT_EQ(PDMWorkspaceGetDescription(found, &text), 0);
    EXPECT_STREQ(text, "original");
}

TEST_F(Workspaces, DirectoryInTheWayGives418ButTheWorkspaceIsMade) {
    fs::create_directory(Dir("beta"));
    WorkspaceHandle ws = nullptr;
    EXPECT_EQ(PDMWorkspaceCreate(ldb, "beta", Dir("beta").c_str(), "", &ws), 418);
    EXPECT_NE(ws, nullptr);
}

TEST_F(Workspaces, AbortTakesTheWorkspaceAndItsDirectoryAway) {
    ASSERT_EQ(PDMLDBCommitTransaction(ldb), 0);
    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    Create("gone");
    ASSERT_TRUE(fs::is_directory(Dir("gone")));
    ASSERT_EQ(PDMLDBAbortTransaction(ldb), 0);
    EXPECT_FALSE(fs::exists(Dir("gone")));
    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    WorkspaceHandle found = nullptr;
    ASSERT_EQ(PDMLDBGetWorkspaceByName(ldb, "gone", &found), 0);
    EXPECT_EQ(found, nullptr);
    EXPECT_NE(Create("gone"), nullptr) << "the name is free again";
}

TEST_F(Workspaces, DeleteTakesTheDirectoryAtCommitOnly) {
    WorkspaceHandle ws = Create("doomed");
    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0);
    ws = Reopen("doomed");
    std::ofstream(Dir("doomed") + "/model.prt.1") << "data";

    ASSERT_EQ(PDMWorkspaceDelete(ws), 0) << DescribeTop();
    EXPECT_TRUE(fs::exists(Dir("doomed") + "/model.prt.1")) << "nothing goes before the commit";
    ASSERT_EQ(PDMLDBAbortTransaction(ldb), 0);
    EXPECT_TRUE(fs::exists(Dir("doomed") + "/model.prt.1"));
    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    WorkspaceHandle found = nullptr;
    ASSERT_EQ(PDMLDBGetWorkspaceByName(ldb, "doomed", &found), 0);
    ASSERT_NE(found, nullptr) << "the abort brought it back";
    EXPECT_EQ(Position(found), (std::vector<int>{2, 1, 1, 0}));

    ASSERT_EQ(PDMWorkspaceDelete(found), 0);
    EXPECT_EQ(Reopen("doomed"), nullptr);
    EXPECT_FALSE(fs::exists(Dir("doomed")));
}

TEST_F(Workspaces, NullHandlesAre110WithTheKindOfTheArgument) {
    int value = 0;
    const char* text = nullptr;
    CursorHandle cursor = nullptr;
    const struct {
        int result;
        const char* exportName;
        const char* kind;
    } rows[] = {
        {PDMWorkspaceUndo(nullptr), "PDMWorkspaceUndo", "WorkspaceHandle"},
        {PDMWorkspaceGetName(nullptr, &text), "PDMWorkspaceGetName", "WorkspaceHandle"},
        {PDMWorkspaceGetStateCount(nullptr, &value), "PDMWorkspaceGetStateCount",
         "WorkspaceHandle"},
        {PDMWorkspaceStateSetDescription(nullptr, "x"), "PDMWorkspaceStateSetDescription",
         "WorkspaceStateHandle"},
        {PDMWorkspaceStateGetModifiedWSPIVs(nullptr, &cursor),
         "PDMWorkspaceStateGetModifiedWSPIVs", "WorkspaceLUFHandle"},
        {PDMWorkspaceCleanUnusedLPIs1(nullptr, "x"), "PDMWorkspaceCleanUnusedLPIs", "LDBHandle"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.exportName);
        EXPECT_EQ(row.result, 110);
    }
    // Newest first: the last call's record is on top.
    nyxError* record = nyxErrorGetCurrent();
    for (size_t i = std::size(rows); i-- > 0; record = record->previous) {
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(Arguments(record), (std::vector<std::string>{rows[i].exportName, rows[i].kind}));
    }
    testsupport::ClearErrors();
    EXPECT_EQ(PDMWorkspaceCleanUnusedLPIs(nullptr), 1605);
    testsupport::ClearErrors();
    EXPECT_EQ(PDMWorkspaceCleanUnusedLPIs1(ldb, "nobody"), 1605);
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()), std::vector<std::string>{"nobody"});
}

TEST_F(Workspaces, UndoAndRedoStopAtTheEndsAndTheStepIsStored) {
    WorkspaceHandle ws = Create("steps");
    ASSERT_EQ(PDMWorkspaceUndo(ws), 2651);
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()), std::vector<std::string>{"Undo"});
    testsupport::ClearErrors();
    ASSERT_EQ(PDMWorkspaceRedo(ws), 2652);
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()), std::vector<std::string>{"Redo"});
    testsupport::ClearErrors();

    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0);
    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0);
    const struct {
        int (*step)(WorkspaceHandle);
        std::vector<int> position;
    } rows[] = {
        {nullptr, {3, 2, 1, 0}},
        {PDMWorkspaceUndo, {3, 1, 1, 1}},
        {PDMWorkspaceUndo, {3, 0, 0, 1}},
        {PDMWorkspaceRedo, {3, 1, 1, 1}},
    };
    for (const auto& row : rows) {
        if (row.step != nullptr) {
            ASSERT_EQ(row.step(ws), 0) << DescribeTop();
        }
        EXPECT_EQ(Position(ws), row.position);
    }
    // The position is stored: it comes back from the file, and an abort takes a step back.
    ws = Reopen("steps");
    EXPECT_EQ(Position(ws), (std::vector<int>{3, 1, 1, 1}));
    ASSERT_EQ(PDMWorkspaceUndo(ws), 0);
    ASSERT_EQ(PDMLDBAbortTransaction(ldb), 0);
    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    EXPECT_EQ(Position(ws), (std::vector<int>{3, 1, 1, 1}));
}

TEST_F(Workspaces, CreateStateInTheMiddleDropsTheLaterStates) {
    WorkspaceHandle ws = FiveStates();
    ASSERT_EQ(PDMWorkspaceUndo(ws), 0);
    ASSERT_EQ(PDMWorkspaceUndo(ws), 0);
    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0);
    EXPECT_EQ(StateIds(ws), (std::vector<int>{0, 1, 2, -1}));
    EXPECT_EQ(Position(ws), (std::vector<int>{4, 3, 1, 0}));
    ws = Reopen("five");
    EXPECT_EQ(StateIds(ws), (std::vector<int>{0, 1, 2, -1}));
    ASSERT_EQ(PDMWorkspaceUndo(ws), 0);
    ASSERT_EQ(PDMWorkspacePurgeRedoStack(ws), 0);
    EXPECT_EQ(Position(ws), (std::vector<int>{3, 2, 1, 0}));
}

TEST_F(Workspaces, PurgeDropsTheOldestStatesUpToTheCurrentOne) {
    // From five states with the fourth (number 3) current.
    const struct {
        const char* name;
        int count;
        int result;
        std::vector<int> ids;
        int current;
    } rows[] = {
        {"all", 0, 0, {3, 4}, 0},
        {"three", 3, 0, {3, 4}, 0},
        {"one", 1, 0, {1, 2, 3, 4}, 2},
        {"too_many", 4, 101, {0, 1, 2, 3, 4}, 3},
        {"negative", -1, 101, {0, 1, 2, 3, 4}, 3},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        WorkspaceHandle ws = FiveStates(row.name);
        ASSERT_EQ(PDMWorkspaceUndo(ws), 0);
        EXPECT_EQ(PDMWorkspacePurge(ws, row.count), row.result);
        if (row.result == 0) {
            ws = Reopen(row.name);
        } else {
            EXPECT_EQ(Arguments(nyxErrorGetCurrent()).at(0), "PDMc_WS::PurgeUndoStack");
            testsupport::ClearErrors();
        }
        EXPECT_EQ(StateIds(ws), row.ids);
        int current = -1;
        ASSERT_EQ(PDMWorkspaceGetCurrentStateNumber(ws, &current), 0);
        EXPECT_EQ(current, row.current);
        int id = 0;
        ASSERT_EQ(PDMWorkspaceGetCurrentStateUserDataId(ws, &id), 0);
        EXPECT_EQ(id, 3) << "the current frame stays current";
        ASSERT_EQ(PDMLDBAbortTransaction(ldb), 0);
        ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    }
    // In the first state there is nothing before to purge, whatever the count.
    WorkspaceHandle ws = Create("single");
    EXPECT_EQ(PDMWorkspacePurge(ws, 5), 0);
    EXPECT_EQ(Position(ws), (std::vector<int>{1, 0, 0, 0}));
}

TEST_F(Workspaces, NewStateTakesTheDescriptionButNotTheUserDataId) {
    WorkspaceHandle ws = Create("marks");
    WorkspaceStateHandle first = nullptr;
    ASSERT_EQ(PDMWorkspaceGetCurrentState(ws, &first), 0);
    ASSERT_EQ(PDMWorkspaceStateSetDescription(first, "baseline"), 0);
    ASSERT_EQ(PDMWorkspaceSetCurrentStateUserDataId(ws, 7), 0);
    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0);
    ws = Reopen("marks");
    EXPECT_EQ(StateIds(ws), (std::vector<int>{7, -1}));

    CursorHandle cursor = nullptr;
    ASSERT_EQ(PDMWorkspaceGetAllStates(ws, &cursor), 0);
    std::vector<std::string> descriptions;
    void* element = nullptr;
    while (PDMCursorGetNext(cursor, &element) == 0 && element != nullptr) {
        const char* text = nullptr;
        ASSERT_EQ(PDMWorkspaceStateGetDescription(static_cast<WorkspaceStateHandle>(element),
                                                  &text),
                  0);
        descriptions.push_back(text);
    }
    PDMCursorDelete(cursor);
    EXPECT_EQ(descriptions, (std::vector<std::string>{"baseline", "baseline"}));
    EXPECT_EQ(PDMWorkspaceLUFGetDescription(first, nullptr), 101);
}

}  // namespace

namespace {

class IntegrateInfo : public Workspaces {
protected:
    void Store(WorkspaceHandle ws, std::vector<std::pair<const char*, const char*>> names) {
        std::vector<PairHandle> pairs;
        for (const auto& [oldName, newName] : names) {
            pairs.emplace_back();
            ASSERT_EQ(PDMStringPairCreate(oldName, newName, &pairs.back()), 0);
        }
        EXPECT_EQ(PDMWorkspaceStoreIntegrateInfo(ws, pairs.data(), int(pairs.size())), 0)
            << DescribeTop();
        for (PairHandle pair : pairs) PDMStringPairDelete(pair);
    }
    // The pairs read back, as "old>new", in the order they came.
    std::multiset<std::string> Stored(WorkspaceHandle ws) {
        PairHandle* pairs = reinterpret_cast<PairHandle*>(&ws);
        int count = -1;
        EXPECT_EQ(PDMWorkspaceGetIntegrateInfo(ws, &pairs, &count), 0) << DescribeTop();
        std::multiset<std::string> out;
        for (int i = 0; i < count; ++i) {
            const char* first = nullptr;
            const char* second = nullptr;
            PDMStringPairGetString(pairs[i], 1, &first);
            PDMStringPairGetString(pairs[i], 2, &second);
            out.insert(std::string(first) + ">" + second);
            PDMStringPairDelete(pairs[i]);
        }
        if (count > 0) free(pairs);
        return out;
    }
    // The number of entries of the list object itself.
    int Entries(WorkspaceHandle ws) {
        PDMAttrValue list;
        list.kind = PDM_ATTR_NONE;
        EXPECT_EQ(PDMLDBObjectGetLDBAttribute(reinterpret_cast<LDBObjectHandle>(ws),
                                              "MFIntegrateInfo", &list),
                  0);
        if (list.kind != PDM_ATTR_OBJECT) return -1;
        int count = -1;
        EXPECT_EQ(PDMLDBObjectGetLDBAttributeNames(list.value.obj, &count, nullptr), 0);
        return count;
    }
};

TEST_F(IntegrateInfo, StoredPairsReplaceTheListAndSurviveReconnectButNotAbort) {
    WorkspaceHandle ws = Create("merge");
    EXPECT_TRUE(Stored(ws).empty());
    EXPECT_EQ(Entries(ws), -1) << "reading makes no list";
    Store(ws, {});
    EXPECT_EQ(Entries(ws), 0) << "an empty store makes the empty list";

    Store(ws, {{"a", "b"}, {"c", "d"}});
    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0);
    ASSERT_EQ(PDMWorkspaceUndo(ws), 0);
    ws = Reopen("merge");
    EXPECT_EQ(Stored(ws), (std::multiset<std::string>{"a>b", "c>d"}));
    Store(ws, {{"e", "f"}});
    EXPECT_EQ(Entries(ws), 1);
    EXPECT_EQ(Stored(ws).size(), 1u);
    // A longer list after a shorter one: every pair gets an entry of its own.
    Store(ws, {{"1", "2"}, {"3", "4"}, {"5", "6"}});
    EXPECT_EQ(Stored(ws), (std::multiset<std::string>{"1>2", "3>4", "5>6"}));
    ASSERT_EQ(PDMLDBAbortTransaction(ldb), 0);
    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    EXPECT_EQ(Stored(ws), (std::multiset<std::string>{"a>b", "c>d"}));

    // An entry without its new name doesn't reach the client.
    PDMAttrValue list;
    list.kind = PDM_ATTR_NONE;
    ASSERT_EQ(PDMLDBObjectGetLDBAttribute(reinterpret_cast<LDBObjectHandle>(ws),
                                          "MFIntegrateInfo", &list),
              0);
    LDBObjectHandle half = nullptr;
    ASSERT_EQ(PDMLDBObjectCreate(ldb, "MFWSIPFInfo", &half), 0);
    PDMAttrValue value;
    value.kind = PDM_ATTR_STRING;
    value.value.s = "lonely";
    ASSERT_EQ(PDMLDBObjectSetLDBAttribute(half, "OldName", &value), 0);
    value.kind = PDM_ATTR_OBJECT;
    value.value.obj = half;
    ASSERT_EQ(PDMLDBObjectSetLDBAttribute(list.value.obj, "9", &value), 0);
    EXPECT_EQ(Stored(ws).size(), 2u);
}

}  // namespace
