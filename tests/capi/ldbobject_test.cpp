// Application objects and their attributes through the exported interface: every value kind
// survives a commit, a disconnect and a reconnect.
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "marrows/marrows.h"
#include "testsupport.h"

using testsupport::Arguments;

namespace {
class Objects : public testsupport::CleanStackTest {
protected:
    void SetUp() override {
        CleanStackTest::SetUp();
        path = dir.File("objects.ldb");
        ASSERT_EQ(PDMLDBCreate(path.c_str(), &ldb), 0) << testsupport::DescribeTop();
    }
    void TearDown() override {
        if (ldb != nullptr) {
            PDMErrorClearStack();
            int inProgress = 0;
            PDMIsLDBTransactionInProgress(ldb, &inProgress);
            if (inProgress) PDMLDBAbortTransaction(ldb);
            EXPECT_EQ(PDMLDBDisconnect(ldb), 0);
        }
        CleanStackTest::TearDown();
    }
    void Reconnect() {
        ASSERT_EQ(PDMLDBDisconnect(ldb), 0);
        ldb = nullptr;
        ASSERT_EQ(PDMLDBConnect(path.c_str(), &ldb), 0) << testsupport::DescribeTop();
    }
    LDBObjectHandle Root() { return reinterpret_cast<LDBObjectHandle>(ldb); }

    testsupport::TempDir dir;
    std::string path;
    LDBHandle ldb = nullptr;
};

PDMAttrValue Value(int kind) {
    PDMAttrValue v;
    std::memset(&v, 0, sizeof v);
    v.kind = kind;
    return v;
}

uint32_t HeaderWord(const std::string& path, int index) {
    std::vector<unsigned char> b = testsupport::ReadFileBytes(path);
    size_t at = static_cast<size_t>(index) * 4;
    return b[at] | b[at + 1] << 8 | b[at + 2] << 16 | uint32_t(b[at + 3]) << 24;
}
}  // namespace

TEST_F(Objects, EveryValueKindSurvivesCommitAndReconnect) {
    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    LDBObjectHandle part = nullptr, other = nullptr;
    ASSERT_EQ(PDMLDBObjectCreate(ldb, "Part", &part), 0);
    ASSERT_EQ(PDMLDBObjectCreate(ldb, "Drawing", &other), 0);

    PDMAttrValue v = Value(PDM_ATTR_INTEGER);
    v.value.i = -42;
    ASSERT_EQ(PDMLDBObjectSetLDBAttribute(part, "count", &v), 0);
    v = Value(PDM_ATTR_DOUBLE);
    v.value.d = -0.0;
    ASSERT_EQ(PDMLDBObjectSetLDBAttribute(part, "zero", &v), 0);
    v.value.d = std::numeric_limits<double>::quiet_NaN();
    ASSERT_EQ(PDMLDBObjectSetLDBAttribute(part, "nan", &v), 0);
    v = Value(PDM_ATTR_BOOLEAN);
    v.value.b = 5;
    ASSERT_EQ(PDMLDBObjectSetLDBAttribute(part, "flag", &v), 0);
    v = Value(PDM_ATTR_STRING);
    std::string longText(300, 'x');
    v.value.s = longText.c_str();
    ASSERT_EQ(PDMLDBObjectSetLDBAttribute(part, "text", &v), 0);
    v.value.s = "lower";
    ASSERT_EQ(PDMLDBObjectSetLDBAttribute(part, "Text", &v), 0) << "names are case-sensitive";
    v = Value(PDM_ATTR_DATETIME);
    v.value.dt = 992606400;
    ASSERT_EQ(PDMLDBObjectSetLDBAttribute(part, "when", &v), 0);
    v = Value(PDM_ATTR_OBJECT);
    v.value.obj = other;
    ASSERT_EQ(PDMLDBObjectSetLDBAttribute(part, "drawing", &v), 0);
    // The part hangs off the root, which keeps it reachable.
    v.value.obj = part;
    ASSERT_EQ(PDMLDBObjectSetLDBAttribute(Root(), "part", &v), 0);
    ASSERT_EQ(PDMLDBCommitTransaction(ldb), 0) << testsupport::DescribeTop();

    Reconnect();
    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    PDMAttrValue got = Value(PDM_ATTR_NONE);
    ASSERT_EQ(PDMLDBObjectGetLDBAttribute(Root(), "part", &got), 0);
    ASSERT_EQ(got.kind, PDM_ATTR_OBJECT);
    part = got.value.obj;
    ASSERT_NE(part, nullptr);
    const char* type = nullptr;
    ASSERT_EQ(PDMLDBObjectGetType(part, &type), 0);
    EXPECT_STREQ(type, "Part");

    ASSERT_EQ(PDMLDBObjectGetLDBAttribute(part, "count", &got), 0);
    EXPECT_EQ(got.kind, PDM_ATTR_INTEGER);
    EXPECT_EQ(got.value.i, -42);
    ASSERT_EQ(PDMLDBObjectGetLDBAttribute(part, "zero", &got), 0);
    EXPECT_EQ(got.kind, PDM_ATTR_DOUBLE);
    EXPECT_TRUE(std::signbit(got.value.d)) << "all 64 bits come back";
    ASSERT_EQ(PDMLDBObjectGetLDBAttribute(part, "nan", &got), 0);
    EXPECT_TRUE(std::isnan(got.value.d));
    ASSERT_EQ(PDMLDBObjectGetLDBAttribute(part, "flag", &got), 0);
    EXPECT_EQ(got.kind, PDM_ATTR_BOOLEAN);
    EXPECT_EQ(got.value.b, 1);
    ASSERT_EQ(PDMLDBObjectGetLDBAttribute(part, "text", &got), 0);
    EXPECT_EQ(got.kind, PDM_ATTR_STRING);
    EXPECT_EQ(std::string(got.value.s), longText);
    ASSERT_EQ(PDMLDBObjectGetLDBAttribute(part, "Text", &got), 0);
    EXPECT_STREQ(got.value.s, "lower");
    ASSERT_EQ(PDMLDBObjectGetLDBAttribute(part, "when", &got), 0);
    EXPECT_EQ(got.kind, PDM_ATTR_DATETIME);
    EXPECT_EQ(got.value.dt, 992606400);
    ASSERT_EQ(PDMLDBObjectGetLDBAttribute(part, "drawing", &got), 0);
    ASSERT_EQ(got.kind, PDM_ATTR_OBJECT);
    ASSERT_EQ(PDMLDBObjectGetType(got.value.obj, &type), 0);
    EXPECT_STREQ(type, "Drawing");
    got.kind = 99;
    ASSERT_EQ(PDMLDBObjectGetLDBAttribute(part, "absent", &got), 0);
    EXPECT_EQ(got.kind, PDM_ATTR_NONE);
    // A record left on the stack is reported, and the value is read all the same.
    EXPECT_EQ(PDMLDBObjectGetType(nullptr, &type), 110);
    got.kind = 99;
    EXPECT_EQ(PDMLDBObjectGetLDBAttribute(part, "count", &got), 110);
    EXPECT_EQ(got.kind, PDM_ATTR_INTEGER);
    EXPECT_EQ(got.value.i, -42);
    PDMErrorClearStack();

    // Names, counted first, then listed.
    int count = -1;
    ASSERT_EQ(PDMLDBObjectGetLDBAttributeNames(part, &count, nullptr), 0);
    ASSERT_EQ(count, 8);
    std::vector<const char*> names(count);
    ASSERT_EQ(PDMLDBObjectGetLDBAttributeNames(part, &count, names.data()), 0);
    std::vector<std::string> sorted(names.begin(), names.end());
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(sorted, (std::vector<std::string>{"Text", "count", "drawing", "flag", "nan", "text",
                                                "when", "zero"}));
    EXPECT_EQ(PDMLDBCommitTransaction(ldb), 0);
}

TEST_F(Objects, EqualWritesChangeNothingAndRemovalsAreQuiet) {
    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    PDMAttrValue v = Value(PDM_ATTR_STRING);
    v.value.s = "kept";
    ASSERT_EQ(PDMLDBObjectSetLDBAttribute(Root(), "MFAttrDefInfo", &v), 0);
    ASSERT_EQ(PDMLDBCommitTransaction(ldb), 0);
    uint32_t stamp = HeaderWord(path, 4), top = HeaderWord(path, 3);

    // The same value again: nothing is marked, so the commit writes nothing.
    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    ASSERT_EQ(PDMLDBObjectSetLDBAttribute(Root(), "MFAttrDefInfo", &v), 0);
    PDMAttrValue none = Value(PDM_ATTR_NONE);
    ASSERT_EQ(PDMLDBObjectSetLDBAttribute(Root(), "never-set", &none), 0);
    PDMAttrValue nullObject = Value(PDM_ATTR_OBJECT);
    EXPECT_EQ(PDMLDBObjectSetLDBAttribute(Root(), "obj", &nullObject), 110);
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()),
              (std::vector<std::string>{"PDMLDBObjectSetLDBAttribute", "AttrValue"}));
    PDMErrorClearStack();
    PDMAttrValue unknown = Value(17);
    EXPECT_EQ(PDMLDBObjectSetLDBAttribute(Root(), "odd", &unknown), 1113);
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()), std::vector<std::string>{"17"});
    PDMErrorClearStack();
    ASSERT_EQ(PDMLDBCommitTransaction(ldb), 0);
    EXPECT_EQ(HeaderWord(path, 4), stamp);
    EXPECT_EQ(HeaderWord(path, 3), top);

    // A removal is a change; the name is gone afterwards.
    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    ASSERT_EQ(PDMLDBObjectSetLDBAttribute(Root(), "MFAttrDefInfo", &none), 0);
    ASSERT_EQ(PDMLDBCommitTransaction(ldb), 0);
    Reconnect();
    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    PDMAttrValue got = Value(PDM_ATTR_INTEGER);
    ASSERT_EQ(PDMLDBObjectGetLDBAttribute(Root(), "MFAttrDefInfo", &got), 0);
    EXPECT_EQ(got.kind, PDM_ATTR_NONE);
    ASSERT_EQ(PDMLDBAbortTransaction(ldb), 0);
}

TEST_F(Objects, NullHandlesAndMissingDefinitions) {
    PDMAttrValue v = Value(PDM_ATTR_INTEGER);
    EXPECT_EQ(PDMLDBObjectGetLDBAttribute(nullptr, "x", &v), 110);
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()),
              (std::vector<std::string>{"PDMLDBObjectGetLDBAttribute", "LDBObjectHandle"}));
    PDMErrorClearStack();
    int count = 9;
    EXPECT_EQ(PDMLDBObjectGetLDBAttributeNames(nullptr, &count, nullptr), 110);
    EXPECT_EQ(count, 0);
    PDMErrorClearStack();
    LDBObjectHandle object = reinterpret_cast<LDBObjectHandle>(1);
    EXPECT_EQ(PDMLDBObjectCreate(nullptr, "T", &object), 110);
    EXPECT_EQ(object, nullptr);
    PDMErrorClearStack();

    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    CursorHandle cursor = reinterpret_cast<CursorHandle>(1);
    EXPECT_EQ(PDMLDBGetAttrDefs(ldb, "Part", &cursor), 0);
    EXPECT_EQ(cursor, nullptr);
    void* element = nullptr;
    EXPECT_EQ(PDMCursorGetNext(cursor, &element), 110);
    PDMErrorClearStack();
    LDBObjectHandle def = reinterpret_cast<LDBObjectHandle>(1);
    EXPECT_EQ(PDMLDBAttrDefGetByName(ldb, "Part", "weight", &def), 0);
    EXPECT_EQ(def, nullptr);
    int found = 1;
    EXPECT_EQ(PDMLDBCheckIntegrity(ldb, &found), 0);
    EXPECT_EQ(found, 0) << "nothing to find without workspaces";
    ASSERT_EQ(PDMLDBGetWorkspaces(ldb, &cursor), 0);
    ASSERT_NE(cursor, nullptr);
    element = &found;
    EXPECT_EQ(PDMCursorGetNext(cursor, &element), 0);
    EXPECT_EQ(element, nullptr);
    PDMCursorDelete(cursor);
    WorkspaceHandle ws = reinterpret_cast<WorkspaceHandle>(1);
    EXPECT_EQ(PDMLDBGetWorkspaceByName(ldb, "main", &ws), 0);
    EXPECT_EQ(ws, nullptr);
    ASSERT_EQ(PDMLDBAbortTransaction(ldb), 0);
}

TEST_F(Objects, AttributeDefinitionsAreFoundThroughTheRoot) {
    // Definitions are plain generic objects: MFAttrDefInfo on the root leads to an object per
    // type, whose attributes are the definitions.
    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    LDBObjectHandle info = nullptr, partDefs = nullptr, weight = nullptr, colour = nullptr;
    ASSERT_EQ(PDMLDBObjectCreate(ldb, "AttrDefInfo", &info), 0);
    ASSERT_EQ(PDMLDBObjectCreate(ldb, "TypeDefs", &partDefs), 0);
    ASSERT_EQ(PDMLDBObjectCreate(ldb, "AttrDef", &weight), 0);
    ASSERT_EQ(PDMLDBObjectCreate(ldb, "AttrDef", &colour), 0);
    PDMAttrValue v = Value(PDM_ATTR_OBJECT);
    v.value.obj = info;
    ASSERT_EQ(PDMLDBObjectSetLDBAttribute(Root(), "MFAttrDefInfo", &v), 0);
    v.value.obj = partDefs;
    ASSERT_EQ(PDMLDBObjectSetLDBAttribute(info, "Part", &v), 0);
    v.value.obj = weight;
    ASSERT_EQ(PDMLDBObjectSetLDBAttribute(partDefs, "weight", &v), 0);
    v.value.obj = colour;
    ASSERT_EQ(PDMLDBObjectSetLDBAttribute(partDefs, "colour", &v), 0);
    ASSERT_EQ(PDMLDBCommitTransaction(ldb), 0);

    Reconnect();
    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    CursorHandle cursor = nullptr;
    ASSERT_EQ(PDMLDBGetAttrDefs(ldb, "Part", &cursor), 0) << testsupport::DescribeTop();
    std::vector<std::string> types;
    void* element = nullptr;
    while (PDMCursorGetNext(cursor, &element) == 0 && element != nullptr) {
        const char* type = nullptr;
        PDMLDBObjectGetType(static_cast<LDBObjectHandle>(element), &type);
        types.push_back(type);
    }
    PDMCursorDelete(cursor);
    EXPECT_EQ(types, (std::vector<std::string>{"AttrDef", "AttrDef"}));
    LDBObjectHandle def = nullptr;
    ASSERT_EQ(PDMLDBAttrDefGetByName(ldb, "Part", "colour", &def), 0);
    ASSERT_NE(def, nullptr);
    ASSERT_EQ(PDMLDBAttrDefGetByName(ldb, "Part", "Colour", &def), 0);
    EXPECT_EQ(def, nullptr) << "names compare by bytes";
    ASSERT_EQ(PDMLDBAbortTransaction(ldb), 0);
}
