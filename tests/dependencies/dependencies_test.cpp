// Dependencies through the exported interface, as a client works with them: what a commit keeps
// across a new connect and an abort takes back, how undo and redo bring back an earlier list,
// what a handle stands for after the first write of a new state copied its version, and the
// filters of the selection.
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "marrows/marrows.h"
#include "testsupport.h"

using testsupport::Arguments;
using testsupport::DescribeTop;
using testsupport::StackCodes;

namespace {

class Dependencies : public testsupport::DatabaseTest {
protected:
    void SetUp() override {
        DatabaseTest::SetUp();
        ws = CreateWorkspace("ws");
        ASSERT_NE(ws, nullptr);
        assembly = Create("asm");
        bolt = Create("bolt");
        nut = Create("nut");
    }
    WSPIHandle Create(const char* name) { return CreateItem(ws, name); }
    WSPIHandle Find(const char* name) { return FindItem(ws, name); }
    void Reopen() {
        ws = DatabaseTest::Reopen("ws");
        ASSERT_NE(ws, nullptr);
        assembly = Find("asm");
        bolt = Find("bolt");
        nut = Find("nut");
    }
    WSDependencyHandle Add(WSPIHandle parent, WSPIHandle child, const char* depClass = "uses",
                           int depType = 1) {
        WSDependencyHandle dependency = nullptr;
        EXPECT_EQ(PDMWSPIAddCurrWSPIVDependency(parent, child, depClass, depType, &dependency), 0)
            << DescribeTop();
        EXPECT_NE(dependency, nullptr);
        return dependency;
    }
    static std::vector<WSDependencyHandle> Drain(CursorHandle cursor) {
        std::vector<WSDependencyHandle> out;
        void* element = nullptr;
        while (PDMCursorGetNext(cursor, &element) == 0 && element != nullptr)
            out.push_back(static_cast<WSDependencyHandle>(element));
        PDMCursorDelete(cursor);
        return out;
    }
    std::vector<WSDependencyHandle> List(WSPIHandle item) {
        CursorHandle cursor = nullptr;
        EXPECT_EQ(PDMWSPIGetCurrWSPIVDependencies(item, &cursor), 0) << DescribeTop();
        return Drain(cursor);
    }
    static std::string ChildName(WSDependencyHandle dependency) {
        const char* text = nullptr;
        EXPECT_EQ(PDMWSDependencyGetChildName(dependency, &text), 0) << DescribeTop();
        return text != nullptr ? text : "<null>";
    }
    static std::string StoredName(WSDependencyHandle dependency) {
        const char* text = nullptr;
        EXPECT_EQ(PDMWSDependencyGetAsStoredChildName(dependency, &text), 0) << DescribeTop();
        return text != nullptr ? text : "<null>";
    }
    std::vector<std::string> ChildNames(WSPIHandle item) {
        std::vector<std::string> names;
        for (WSDependencyHandle dependency : List(item)) names.push_back(ChildName(dependency));
        return names;
    }
    static PDMAttrValue Integer(int value) {
        PDMAttrValue record;
        std::memset(&record, 0, sizeof(record));
        record.kind = PDM_ATTR_INTEGER;
        record.value.i = value;
        return record;
    }
    static PDMAttrValue Text(const char* text) {
        PDMAttrValue record;
        std::memset(&record, 0, sizeof(record));
        record.kind = PDM_ATTR_STRING;
        record.value.s = text;
        return record;
    }

    WorkspaceHandle ws = nullptr;
    WSPIHandle assembly = nullptr;
    WSPIHandle bolt = nullptr;
    WSPIHandle nut = nullptr;
};

TEST_F(Dependencies, DependencyWithDefinitionNameAndAttributesSurvivesReconnect) {
    WSDependencyHandle first = Add(assembly, bolt, "uses", 3);
    WSDependencyHandle second = nullptr;
    ASSERT_EQ(PDMWSPIAddCurrWSPIVDependencyByChildName(assembly, "nut", "refs", -7, &second), 0);
    ASSERT_NE(second, nullptr);
    ASSERT_EQ(PDMWSPISetCurrWSPIVDepAsStoredChildName(assembly, first, "BOLT-1"), 0);
    PDMAttrValue quantity = Integer(4);
    PDMAttrValue finish = Text("zinc");
    ASSERT_EQ(PDMWSPISetCurrWSPIVFileBasedDepAttr(assembly, first, "qty", &quantity), 0);
    ASSERT_EQ(PDMWSPISetCurrWSPIVDBDepAttr(assembly, first, "finish", &finish), 0);
    Reopen();

    std::vector<WSDependencyHandle> list = List(assembly);
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(ChildName(list[0]), "bolt");
    EXPECT_EQ(ChildName(list[1]), "nut");
    EXPECT_EQ(StoredName(list[0]), "BOLT-1");
    EXPECT_EQ(StoredName(list[1]), "") << "a new dependency has no stored child name";
    const char* depClass = nullptr;
    int depType = 0;
    ASSERT_EQ(PDMWSDependencyGetClass(list[1], &depClass), 0);
    ASSERT_EQ(PDMWSDependencyGetType(list[1], &depType), 0);
    EXPECT_STREQ(depClass, "refs");
    EXPECT_EQ(depType, -7);
    WSPIVHandle parent = nullptr;
    WSPIVHandle current = nullptr;
    ASSERT_EQ(PDMWSDependencyGetParentPIV(list[0], &parent), 0);
    ASSERT_EQ(PDMWSPIGetCurrWSPIV(assembly, &current), 0);
    EXPECT_EQ(parent, current);
    int inWorkspace = 0;
    ASSERT_EQ(PDMWSDependencyIsChildInWS(list[0], &inWorkspace), 0);
    EXPECT_EQ(inWorkspace, 1);

    PDMAttrValue read;
    ASSERT_EQ(PDMWSDependencyGetAttribute(list[0], "qty", &read), 0);
    EXPECT_EQ(read.kind, PDM_ATTR_INTEGER);
    EXPECT_EQ(read.value.i, 4);
    ASSERT_EQ(PDMWSDependencyGetAttribute(list[0], "finish", &read), 0);
    ASSERT_EQ(read.kind, PDM_ATTR_STRING);
    EXPECT_STREQ(read.value.s, "zinc");
    ASSERT_EQ(PDMWSDependencyGetAttribute(list[0], "never-defined", &read), 0);
    EXPECT_EQ(read.kind, PDM_ATTR_NONE);
    EXPECT_TRUE(StackCodes().empty());

    int based = -1;
    ASSERT_EQ(PDMWSDependencyIsAttributeFileBased(list[0], "qty", &based), 0);
    EXPECT_EQ(based, 1);
    ASSERT_EQ(PDMWSDependencyIsAttributeFileBased(list[0], "finish", &based), 0);
    EXPECT_EQ(based, 0) << "a value from the database side isn't file based";
    int count = 0;
    ASSERT_EQ(PDMWSDependencyGetAttributeNames(list[0], &count, nullptr), 0);
    EXPECT_EQ(count, 2);
    ASSERT_EQ(PDMWSDependencyGetAttributeNames(list[1], &count, nullptr), 0);
    EXPECT_EQ(count, 0) << "attributes belong to one dependency";
}

TEST_F(Dependencies, AbortTakesBackAddsDeletesAndWrites) {
    WSDependencyHandle kept = Add(assembly, bolt);
    ASSERT_EQ(PDMWSPISetCurrWSPIVDepAsStoredChildName(assembly, kept, "b"), 0);
    ASSERT_EQ(PDMLDBCommitTransaction(ldb), 0);
    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);

    Add(assembly, nut);
    ASSERT_EQ(PDMWSPIDeleteCurrWSPIVDependency(assembly, kept), 0) << DescribeTop();
    ASSERT_EQ(ChildNames(assembly), std::vector<std::string>{"nut"});
    ASSERT_EQ(PDMLDBAbortTransaction(ldb), 0);
    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);

    std::vector<WSDependencyHandle> list = List(assembly);
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(ChildName(list[0]), "bolt");
    EXPECT_EQ(StoredName(list[0]), "b");
}

TEST_F(Dependencies, UndoAndRedoBringBackTheListOfEachState) {
    Add(assembly, bolt);
    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0);
    WSDependencyHandle toBolt = List(assembly).at(0);
    Add(assembly, nut);
    // The add copied the version: the handle taken before it is the earlier state's, and the
    // current version's twin is found at the same place.
    ASSERT_EQ(PDMWSPIDeleteCurrWSPIVDependency(assembly, List(assembly).at(0)), 0)
        << DescribeTop();
    ASSERT_EQ(ChildNames(assembly), std::vector<std::string>{"nut"});
    EXPECT_EQ(ChildName(toBolt), "bolt") << "the earlier state keeps its dependency";
    Reopen();

    ASSERT_EQ(PDMWorkspaceUndo(ws), 0) << DescribeTop();
    EXPECT_EQ(ChildNames(assembly), std::vector<std::string>{"bolt"});
    ASSERT_EQ(PDMWorkspaceRedo(ws), 0) << DescribeTop();
    EXPECT_EQ(ChildNames(assembly), std::vector<std::string>{"nut"});
}

TEST_F(Dependencies, HandleTakenBeforeACopyStandsForTheEarlierState) {
    WSDependencyHandle old = Add(assembly, bolt);
    ASSERT_EQ(PDMWSPISetCurrWSPIVDepAsStoredChildName(assembly, old, "first"), 0);
    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0);
    ASSERT_EQ(PDMWSPISetCurrWSPIVDepAsStoredChildName(assembly, old, "second"), 0)
        << DescribeTop();
    WSDependencyHandle twin = List(assembly).at(0);
    ASSERT_NE(twin, old);
    EXPECT_EQ(StoredName(old), "first");
    EXPECT_EQ(StoredName(twin), "second");

    // The old handle is no longer in the current version: neither delete nor write takes it.
    EXPECT_EQ(PDMWSPIDeleteCurrWSPIVDependency(assembly, old), 101);
    ASSERT_EQ(StackCodes(), std::vector<int>{101});
    EXPECT_EQ(Arguments(nyxErrorGetCurrent())[0], "PDMc_WSPIV::DeleteDependency");
    testsupport::ClearErrors();
    EXPECT_EQ(PDMWSPIDeleteCurrWSPIVDependencyKeepLPI(assembly, old), 101);
    EXPECT_EQ(Arguments(nyxErrorGetCurrent())[0], "PDMc_WSPIV::DeleteDependencyKeepLPI");
    testsupport::ClearErrors();
    EXPECT_EQ(PDMWSPISetCurrWSPIVDepAsStoredChildName(assembly, old, "third"), 101);
    EXPECT_EQ(Arguments(nyxErrorGetCurrent())[0], "PDMc_WSPI::ModifiedWSPIV");
    testsupport::ClearErrors();
    EXPECT_EQ(StoredName(twin), "second");
    EXPECT_EQ(List(assembly).size(), 1u);

    ASSERT_EQ(PDMWorkspaceUndo(ws), 0);
    EXPECT_EQ(StoredName(List(assembly).at(0)), "first");
}

TEST_F(Dependencies, UnsetOfAnAttributeChangesAFrozenDependencyInPlace) {
    WSDependencyHandle dependency = Add(assembly, bolt);
    PDMAttrValue quantity = Integer(2);
    ASSERT_EQ(PDMWSPISetCurrWSPIVDepAttr(assembly, dependency, "qty", &quantity), 0);
    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0);
    WSPIVHandle before = nullptr;
    int countBefore = 0;
    ASSERT_EQ(PDMWSPIGetCurrWSPIV(assembly, &before), 0);
    ASSERT_EQ(PDMWSPIVGetModCount(before, &countBefore), 0);

    ASSERT_EQ(PDMWSPIUnSetCurrWSPIVDepAttr(assembly, dependency, "qty"), 0) << DescribeTop();
    ASSERT_EQ(PDMWSPIUnSetCurrWSPIVDepAttr(assembly, dependency, "never-defined"), 0);
    WSPIVHandle after = nullptr;
    int countAfter = 0;
    ASSERT_EQ(PDMWSPIGetCurrWSPIV(assembly, &after), 0);
    ASSERT_EQ(PDMWSPIVGetModCount(after, &countAfter), 0);
    EXPECT_EQ(after, before) << "an unset copies no version";
    EXPECT_EQ(countAfter, countBefore);
    int set = -1;
    ASSERT_EQ(PDMWSDependencyIsAttributeSet(dependency, "qty", &set), 0);
    EXPECT_EQ(set, 0);
    // The earlier state shared the dependency, and an undo can't bring the value back.
    ASSERT_EQ(PDMWorkspaceUndo(ws), 0);
    ASSERT_EQ(PDMWSDependencyIsAttributeSet(List(assembly).at(0), "qty", &set), 0);
    EXPECT_EQ(set, 0);
}

TEST_F(Dependencies, NewChildWithADependentCannotBeDeletedUntilTheDependencyGoes) {
    WSDependencyHandle first = Add(assembly, bolt);
    WSDependencyHandle second = Add(assembly, bolt);
    ASSERT_NE(first, second) << "each add adds one, also for the same child and definition";
    CursorHandle cursor = nullptr;
    ASSERT_EQ(PDMWSPIGetWhereUsed(bolt, &cursor), 0);
    EXPECT_EQ(Drain(cursor).size(), 2u);

    EXPECT_EQ(PDMWSPIDelete(bolt), 2603);
    ASSERT_EQ(Arguments(nyxErrorGetCurrent()).at(0), "bolt");
    testsupport::ClearErrors();
    EXPECT_EQ(Find("bolt"), bolt) << "the refused item stays live";

    ASSERT_EQ(PDMWSPIDeleteCurrWSPIVDependency(assembly, first), 0);
    EXPECT_EQ(PDMWSPIDelete(bolt), 2603) << "one dependency is still there";
    testsupport::ClearErrors();
    ASSERT_EQ(PDMWSPIDeleteCurrWSPIVDependencyKeepLPI(assembly, second), 0);
    ASSERT_EQ(PDMWSPIDelete(bolt), 0) << DescribeTop();
    EXPECT_NE(Create("bolt"), nullptr) << "the name is free again";
}

TEST_F(Dependencies, SelectionFiltersByClassTypeChildAndAttributeValue) {
    PDMAttrValue two = Integer(2);
    PDMAttrValue three = Integer(3);
    WSDependencyHandle a = Add(assembly, bolt, "uses", 1);
    WSDependencyHandle b = Add(assembly, bolt, "uses", 2);
    WSDependencyHandle c = Add(assembly, nut, "refs", 1);
    ASSERT_EQ(PDMWSPISetCurrWSPIVDepAttr(assembly, a, "qty", &two), 0);
    ASSERT_EQ(PDMWSPISetCurrWSPIVDepAttr(assembly, c, "qty", &three), 0);
    ASSERT_EQ(PDMWSPISetCurrWSPIVDepAsStoredChildName(assembly, b, "Bolt"), 0);

    struct Case {
        const char* childName;
        const char* depClass;
        int depType;
        const char* attrName;
        const PDMAttrValue* value;
        std::vector<WSDependencyHandle> expected;
    } cases[] = {
        {nullptr, nullptr, 0, nullptr, nullptr, {a, b, c}},
        {"", "uses", 0, nullptr, nullptr, {a, b}},
        {nullptr, "use", 0, nullptr, nullptr, {}},
        {nullptr, nullptr, 1, nullptr, nullptr, {a, c}},
        {"nut", nullptr, 0, nullptr, nullptr, {c}},
        {"no-such-item", nullptr, 0, nullptr, nullptr, {a, b, c}},
        {"bolt", "uses", 2, nullptr, nullptr, {b}},
        {nullptr, nullptr, 0, "qty", &two, {a}},
        {nullptr, nullptr, 0, "qty", nullptr, {}},
        {nullptr, nullptr, 0, "never-defined", &two, {}},
    };
    for (const Case& test : cases) {
        CursorHandle cursor = nullptr;
        ASSERT_EQ(PDMWSPISelectCurrWSPIVDependenciesToChildName(assembly, test.childName,
                                                               test.depClass, test.depType,
                                                               test.attrName, test.value, &cursor),
                  0)
            << DescribeTop();
        EXPECT_EQ(Drain(cursor), test.expected)
            << (test.childName ? test.childName : "-") << " " << (test.depClass ? test.depClass : "-")
            << " " << test.depType << " " << (test.attrName ? test.attrName : "-");
    }

    CursorHandle cursor = nullptr;
    ASSERT_EQ(PDMWSPIGetCurrWSPIVDependenciesToAsStoredChildName(assembly, "Bolt", &cursor), 0);
    EXPECT_EQ(Drain(cursor), std::vector<WSDependencyHandle>{b});
    ASSERT_EQ(PDMWSPIGetCurrWSPIVDependenciesToAsStoredChildName(assembly, "bolt", &cursor), 0);
    EXPECT_TRUE(Drain(cursor).empty()) << "stored names compare exactly";
}

TEST_F(Dependencies, RefusedAddsAndBadHandlesChangeNothing) {
    WSDependencyHandle dependency = Add(assembly, bolt);
    WSDependencyHandle out = dependency;
    ASSERT_EQ(PDMWSPIAddCurrWSPIVDependencyByChildName(assembly, "ghost", "uses", 1, &out), 0);
    EXPECT_EQ(out, nullptr) << "a name no identity has adds nothing, and is no error";
    // Class texts beyond the key's size could meet in one key: the second is refused.
    std::string longClass(1100, 'c');
    ASSERT_EQ(PDMWSPIAddCurrWSPIVDependency(assembly, nut, longClass.c_str(), 1, &out), 0);
    EXPECT_EQ(PDMWSPIAddCurrWSPIVDependency(assembly, nut, (longClass + "d").c_str(), 1, &out),
              101);
    testsupport::ClearErrors();
    ASSERT_EQ(PDMWSPIDeleteCurrWSPIVDependency(assembly, List(assembly).at(1)), 0);

    EXPECT_EQ(PDMWSPIAddCurrWSPIVDependency(assembly, nullptr, "uses", 1, &out), 110);
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()).at(1), "ChildWSPIHandle");
    testsupport::ClearErrors();
    const char* text = "untouched";
    EXPECT_EQ(PDMWSDependencyGetClass(nullptr, &text), 110);
    EXPECT_EQ(text, nullptr) << "the pre-set comes first";
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()).at(1), "WSDependencyHandle");
    testsupport::ClearErrors();
    // An item handle where a dependency is promised is an error, not a misread object.
    EXPECT_EQ(PDMWSDependencyGetClass(reinterpret_cast<WSDependencyHandle>(bolt), &text), 101);
    testsupport::ClearErrors();
    EXPECT_EQ(PDMWSPIDeleteCurrWSPIVDependency(
                  assembly, reinterpret_cast<WSDependencyHandle>(bolt)), 101);
    testsupport::ClearErrors();
    EXPECT_EQ(List(assembly), std::vector<WSDependencyHandle>{dependency});

    // A deleted item has no current version for a forwarder to hand on.
    ASSERT_EQ(PDMWSPIDelete(nut), 0);
    CursorHandle cursor = reinterpret_cast<CursorHandle>(&ws);
    EXPECT_EQ(PDMWSPIGetCurrWSPIVDependencies(nut, &cursor), 110);
    EXPECT_EQ(cursor, nullptr);
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()).at(1), "WSPIVHandle");
}

}  // namespace
