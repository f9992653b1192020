// Generic and instance relations as a client sees them through the exports: the library that
// the first instance founds and later ones join, chains of generics, what a commit keeps across
// a new connect and what an abort takes back, undo and redo of the relation lists, and the
// copy that replaces a relation on a write.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "marrows/marrows.h"
#include "relations_fixture.h"
#include "testsupport.h"

using testsupport::DescribeTop;
using testsupport::Drain;
using testsupport::StackCodes;

namespace {

using namespace relationstest;


TEST_F(Relations, FirstInstanceFoundsLibraryAndLaterOnesJoinIt) {
    WSPIHandle shortOne = AddInstance(generic, "bracket-short");
    WSLILHandle library = Library(generic);
    ASSERT_NE(library, nullptr) << "the first instance makes a library";
    const char* name = nullptr;
    ASSERT_EQ(PDMWSLILGetName(library, &name), 0);
    EXPECT_STREQ(name, "bracket") << "the library takes the generic's name";
    EXPECT_EQ(Members(library), (std::vector<void*>{generic, shortOne})) << "generic first";
    WSPIHandle longOne = AddInstance(generic, "bracket-long", "Variant");
    EXPECT_EQ(Library(longOne), library) << "a second instance joins, it founds nothing";
    EXPECT_EQ(Members(library), (std::vector<void*>{generic, shortOne, longOne}));
    const char* type = nullptr;
    ASSERT_EQ(PDMWSPIVGetTypeName(Current(longOne), &type), 0);
    EXPECT_STREQ(type, "Variant");
    ASSERT_EQ(PDMWSPIVGetTypeName(Current(shortOne), &type), 0);
    EXPECT_STREQ(type, "Part") << "no type name: the generic's type";

    EXPECT_EQ(Roles(generic), kGeneric);
    EXPECT_EQ(Roles(shortOne), kInstance);
    std::vector<void*> relations = GIRs(generic);
    ASSERT_EQ(relations.size(), 2u);
    WSGIRHandle first = static_cast<WSGIRHandle>(relations[0]);
    EXPECT_EQ(Generic(shortOne), first) << "the instance holds the very relation the list has";
    EXPECT_EQ(InstanceOf(first), shortOne);
    EXPECT_EQ(GenericOf(first), generic);
    EXPECT_EQ(StoredName(first), "");
    unsigned id = 99;
    ASSERT_EQ(PDMWSGIRGetGenericPIVID(first, &id), 0);
    EXPECT_EQ(id, 0u) << "items made here have no repository id";
    ASSERT_EQ(PDMWSGIRGetInstancePIVID(first, &id), 0);
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(Top(generic), generic) << "a generic is its own top";
    EXPECT_EQ(Top(shortOne), generic);
}

TEST_F(Relations, WrongRolesAreReportedByNumber) {
    WSPIVHandle plain = Current(generic);
    WSGIRHandle relation = reinterpret_cast<WSGIRHandle>(1);
    EXPECT_EQ(PDMWSPIVGetGeneric(plain, &relation), 2601);
    EXPECT_EQ(relation, nullptr);
    WSPIHandle top = reinterpret_cast<WSPIHandle>(1);
    testsupport::ClearErrors();
    EXPECT_EQ(PDMWSPIVGetTopGeneric(plain, &top), 2600);
    EXPECT_EQ(top, nullptr);
}

TEST_F(Relations, InstanceOfAnInstanceMakesAChainListedByGenerations) {
    WSPIHandle a = AddInstance(generic, "a");
    WSPIHandle b = AddInstance(generic, "b");
    WSPIHandle a1 = AddInstance(a, "a1");
    WSPIHandle a1x = AddInstance(a1, "a1x");
    EXPECT_EQ(Roles(a), kBoth);
    EXPECT_EQ(Library(a1x), Library(generic)) << "the whole chain is one library";
    EXPECT_EQ(Top(a1x), generic);
    std::vector<void*> all = GIRsRecursive(generic);
    ASSERT_EQ(all.size(), 4u);
    std::vector<void*> instances;
    for (void* relation : all) instances.push_back(InstanceOf(static_cast<WSGIRHandle>(relation)));
    EXPECT_EQ(instances, (std::vector<void*>{a, b, a1, a1x})) << "direct relations first";
    CursorHandle cursor = nullptr;
    EXPECT_EQ(PDMWSPIVGetGIRsRecursive(Current(b), &cursor), 2602);
}

TEST_F(Relations, RelationsSurviveReconnectAndAbortTakesThemBack) {
    WSPIHandle shortOne = AddInstance(generic, "bracket-short");
    Reopen();
    shortOne = Find("bracket-short");
    ASSERT_NE(shortOne, nullptr);
    EXPECT_EQ(Roles(generic), kGeneric);
    EXPECT_EQ(Roles(shortOne), kInstance);
    std::vector<void*> relations = GIRs(generic);
    ASSERT_EQ(relations.size(), 1u);
    EXPECT_EQ(Generic(shortOne), relations[0]);
    EXPECT_EQ(Members(Library(generic)), (std::vector<void*>{generic, shortOne}));

    WSPIHandle longOne = AddInstance(generic, "bracket-long");
    ASSERT_NE(longOne, nullptr);
    ASSERT_EQ(PDMLDBAbortTransaction(ldb), 0) << DescribeTop();
    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    WSPIHandle gone = reinterpret_cast<WSPIHandle>(1);
    PDMWorkspaceGetWSPIByName(ws, "bracket-long", &gone);
    EXPECT_EQ(gone, nullptr);
    testsupport::ClearErrors();
    EXPECT_EQ(GIRs(generic).size(), 1u) << "the abort takes back the relation";
    EXPECT_EQ(Members(Library(generic)), (std::vector<void*>{generic, shortOne}));
}

TEST_F(Relations, UndoShowsTheOlderListAndRedoTheNewer) {
    WSPIHandle shortOne = AddInstance(generic, "bracket-short");
    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0) << DescribeTop();
    WSPIVHandle before = Current(generic);
    AddInstance(generic, "bracket-long");
    EXPECT_NE(Current(generic), before) << "a new state copies the generic's version";
    EXPECT_EQ(GIRs(generic).size(), 2u);
    CursorHandle cursor = nullptr;
    ASSERT_EQ(PDMWSPIVGetGIRs(before, &cursor), 0);
    EXPECT_EQ(Drain(cursor).size(), 1u) << "the earlier version keeps its own list";

    ASSERT_EQ(PDMWorkspaceUndo(ws), 0) << DescribeTop();
    EXPECT_EQ(GIRs(generic).size(), 1u);
    EXPECT_EQ(Members(Library(generic)), (std::vector<void*>{generic, shortOne}));
    ASSERT_EQ(PDMWorkspaceRedo(ws), 0) << DescribeTop();
    EXPECT_EQ(GIRs(generic).size(), 2u);
    EXPECT_EQ(Members(Library(generic)).size(), 3u);
}

TEST_F(Relations, StoredNameGoesIntoACopyAndTheOldHandleIsStale) {
    WSPIHandle shortOne = AddInstance(generic, "bracket-short");
    WSGIRHandle old = static_cast<WSGIRHandle>(GIRs(generic)[0]);
    ASSERT_EQ(PDMWSGIRSetAsStoredInstanceName(old, "BR-S"), 0) << DescribeTop();
    EXPECT_EQ(StoredName(old), "") << "the handle keeps the text it had";
    WSGIRHandle fresh = static_cast<WSGIRHandle>(GIRs(generic)[0]);
    EXPECT_NE(fresh, old);
    EXPECT_EQ(StoredName(fresh), "BR-S");
    EXPECT_EQ(Generic(shortOne), fresh) << "the instance holds the copy too";
    EXPECT_EQ(PDMWSGIRSetAsStoredInstanceName(old, "again"), 101)
        << "the replaced relation is in no list";
    std::vector<int> codes = StackCodes();
    EXPECT_EQ(codes.front(), 101);
    testsupport::ClearErrors();
    Reopen();
    shortOne = Find("bracket-short");
    EXPECT_EQ(StoredName(Generic(shortOne)), "BR-S");
}

TEST_F(Relations, TargetFolderOfTheTopGenericIsTheLibrarysToo) {
    WSPIHandle a = AddInstance(generic, "a");
    WSPIHandle a1 = AddInstance(a, "a1");
    ASSERT_EQ(PDMWSPISetCurrWSPIVTargetFolder(generic, "/parts/brackets"), 0) << DescribeTop();
    const char* folder = nullptr;
    ASSERT_EQ(PDMWSLILGetTargetFolder(Library(generic), &folder), 0);
    EXPECT_STREQ(folder, "/parts/brackets");
    ASSERT_EQ(PDMWSPISetCurrWSPIVTargetFolder(a, "/elsewhere"), 0) << DescribeTop();
    ASSERT_EQ(PDMWSLILGetTargetFolder(Library(generic), &folder), 0);
    EXPECT_STREQ(folder, "/parts/brackets") << "an instance that is a generic too decides nothing";
    ASSERT_EQ(PDMWSPIGetCurrWSPIVTargetFolder(a, &folder), 0);
    EXPECT_STREQ(folder, "/elsewhere");
    (void)a1;
}

TEST_F(Relations, InstanceWithATakenNameChangesNothing) {
    WSPIHandle other = nullptr;
    ASSERT_EQ(PDMWorkspaceCreatePI(ws, "taken", "Part", &other), 0);
    WSPIHandle made = reinterpret_cast<WSPIHandle>(1);
    EXPECT_EQ(PDMWSPIAddInstance(generic, "taken", nullptr, &made), 1901);
    EXPECT_EQ(made, nullptr);
    testsupport::ClearErrors();
    EXPECT_EQ(Roles(generic), kPlain);
    EXPECT_EQ(Library(generic), nullptr);
}

TEST_F(Relations, FirstInstanceUnderATakenLibraryNameMakesNothing) {
    WSPIHandle other = nullptr;
    ASSERT_EQ(PDMWorkspaceCreatePI(ws, "clamp", "Part", &other), 0);
    AddInstance(other, "clamp-1");
    ASSERT_EQ(PDMWSLILRename(Library(other), "bracket"), 0) << DescribeTop();
    WSPIHandle made = reinterpret_cast<WSPIHandle>(1);
    EXPECT_EQ(PDMWSPIAddInstance(generic, "bracket-1", nullptr, &made), 1901);
    EXPECT_EQ(made, nullptr);
    testsupport::ClearErrors();
    WSPIHandle gone = reinterpret_cast<WSPIHandle>(1);
    PDMWorkspaceGetWSPIByName(ws, "bracket-1", &gone);
    EXPECT_EQ(gone, nullptr) << "no instance is left behind without a library";
    testsupport::ClearErrors();
    EXPECT_EQ(Roles(generic), kPlain);
}

TEST_F(Relations, NullHandlesAreReported) {
    WSPIHandle made = reinterpret_cast<WSPIHandle>(1);
    EXPECT_EQ(PDMWSPIAddInstance(nullptr, "x", nullptr, &made), 110);
    EXPECT_EQ(made, nullptr);
    testsupport::ClearErrors();
    unsigned id = 7;
    EXPECT_EQ(PDMWSGIRGetGenericPIVID(nullptr, &id), 110);
    EXPECT_EQ(id, 0u);
    testsupport::ClearErrors();
    EXPECT_EQ(PDMWSGIRSetAsStoredInstanceName(reinterpret_cast<WSGIRHandle>(generic), "x"), 101)
        << "an item is no relation";
}

}  // namespace
