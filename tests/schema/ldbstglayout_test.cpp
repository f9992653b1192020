#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "errors/nyxerror.h"
#include "marrows/marrows.h"
#include "recordforms.h"
#include "srcldb/ldbschema.h"
#include "srcldb/ldbstglayout.h"
#include "testsupport.h"

using testsupport::Arguments;
using testsupport::CleanStackTest;

namespace {

class StorageLayout : public CleanStackTest {
protected:
    void SetUp() override {
        CleanStackTest::SetUp();
        ASSERT_EQ(LDBDefineSchema(layout_), 0) << testsupport::DescribeTop();
    }
    LDBStorageLayout layout_;
};

bool IsBoolean(uint16_t type) { return type == LDB_MEMBER_BOOLEAN; }

// What the classic build gave each member type in memory; the layout keeps it as a record.
uint32_t ClassicMemorySize(uint16_t type) {
    switch (type) {
        case 3: case 7: case 17: return 4;
        case 16: return 8;
        case 18: return 16;
        case 19: return 1;
        case 32: case 34: return 24;
        case 33: return 64;
        default: return 8;  // references
    }
}

}  // namespace

TEST_F(StorageLayout, CurrentDescriptorsGiveTheRecordOfEveryClass) {
    uint32_t largest = 0;
    for (const RecordForm& form : CurrentRecords()) {
        SCOPED_TRACE(form.className);
        const LDBClassDescriptor* cls = layout_.CurrentClass(form.code);
        ASSERT_NE(cls, nullptr);
        EXPECT_STREQ(cls->GetName().c_str(), form.className);
        EXPECT_EQ(cls->GetStoreVersion(), 514u);
        EXPECT_EQ(cls->GetClassVersion(), form.classVersion);
        EXPECT_EQ(cls->GetFixedSize(), form.size);
        ASSERT_EQ(cls->MemberCount(), form.members.size());
        for (uint32_t i = 0; i < form.members.size(); ++i) {
            const RecordMember& expected = form.members[i];
            const LDBMemberDescriptor* member = cls->MemberAt(i);
            SCOPED_TRACE(expected.name);
            EXPECT_STREQ(member->GetName().c_str(), expected.name);
            EXPECT_EQ(member->GetType(), expected.type);
            EXPECT_EQ(member->GetDiskOffset(), expected.offset);
            EXPECT_EQ(member->GetDiskSize(), expected.size);
            EXPECT_EQ(member->GetMemorySize(), ClassicMemorySize(expected.type));
            EXPECT_EQ(member->GetOwner(), cls);
            EXPECT_TRUE(member->GetPlace().IsSet());
            EXPECT_EQ(cls->FindMember(expected.name), member);
        }
        EXPECT_EQ(cls->MemberAt(cls->MemberCount()), nullptr);
        if (form.size > largest) largest = form.size;
    }
    EXPECT_EQ(largest, 124u);
    EXPECT_LT(largest, LDB_MAX_OBJECT_SIZE);
}

TEST_F(StorageLayout, OlderDescriptorsKeepFileOrderAndCountBooleansAsOneByte) {
    for (const RecordForm& form : Version257Records()) {
        SCOPED_TRACE(form.className);
        const LDBClassDescriptor* cls = layout_.ClassByVersion(form.code, form.classVersion);
        ASSERT_NE(cls, nullptr);
        EXPECT_STREQ(cls->GetName().c_str(), form.className);
        EXPECT_EQ(cls->GetStoreVersion(), 257u);
        EXPECT_EQ(cls->GetMemorySize(), 0u);
        ASSERT_EQ(cls->MemberCount(), form.members.size());
        // In the file a boolean takes four bytes; the rows give it one, so each boolean
        // shifts the rows behind it three bytes short of the file.
        uint32_t shortBy = 0;
        for (uint32_t i = 0; i < form.members.size(); ++i) {
            const RecordMember& expected = form.members[i];
            const LDBMemberDescriptor* member = cls->MemberAt(i);
            SCOPED_TRACE(expected.name);
            EXPECT_STREQ(member->GetName().c_str(), expected.name);
            EXPECT_EQ(member->GetType(), expected.type);
            EXPECT_EQ(member->GetDiskOffset(), expected.offset - shortBy);
            EXPECT_EQ(member->GetDiskSize(), IsBoolean(expected.type) ? 1u : expected.size);
            EXPECT_EQ(member->GetMemorySize(), 0u);
            EXPECT_FALSE(member->GetPlace().IsSet());
            if (IsBoolean(expected.type)) shortBy += 3;
        }
        EXPECT_EQ(cls->GetFixedSize(), form.size - shortBy);
    }
}

TEST_F(StorageLayout, HoldsExactlyTheSchemaClassesNewestFirst) {
    uint32_t rows514 = 0, members514 = 0, rows257 = 0, members257 = 0;
    for (uint32_t code = 0; code < LDBStorageLayout::kBucketCount; ++code) {
        uint32_t previous = 0xFFFFFFFF;
        for (const LDBClassDescriptor* row = layout_.BucketHead(static_cast<uint8_t>(code));
             row != nullptr; row = row->GetNext()) {
            EXPECT_EQ(row->GetClassCode(), code);
            EXPECT_LT(row->GetStoreVersion(), previous);
            previous = row->GetStoreVersion();
            if (row->GetStoreVersion() == 514) {
                ++rows514;
                members514 += row->MemberCount();
            } else {
                EXPECT_EQ(row->GetStoreVersion(), 257u);
                ++rows257;
                members257 += row->MemberCount();
            }
        }
    }
    EXPECT_EQ(rows514, 21u);
    EXPECT_EQ(members514, 128u);
    EXPECT_EQ(rows257, 10u);
    EXPECT_EQ(members257, 84u);
    // The connection's code names no stored class, and neither do the gaps.
    for (uint8_t code : {0, 63, 67, 78, 79, 98, 255}) EXPECT_EQ(layout_.BucketHead(code), nullptr);
}

TEST_F(StorageLayout, DescriptorsAreFoundByCodeVersionAndName) {
    const LDBClassDescriptor* ws = layout_.CurrentClass(80);
    ASSERT_NE(ws, nullptr);
    EXPECT_EQ(ws->GetClassVersion(), 2);
    EXPECT_EQ(layout_.ClassByVersion(80, 2), ws);
    const LDBClassDescriptor* oldWs = layout_.ClassByVersion(80, 1);
    ASSERT_NE(oldWs, nullptr);
    EXPECT_EQ(oldWs->GetStoreVersion(), 257u);
    EXPECT_EQ(ws->GetNext(), oldWs);
    EXPECT_EQ(layout_.ClassByVersion(80, 3), nullptr);
    EXPECT_EQ(layout_.CurrentClass(70), nullptr);
    EXPECT_EQ(layout_.CurrentClass(79), nullptr);

    // A class that never changed has one descriptor, which answers for its version 1.
    EXPECT_EQ(layout_.ClassByVersion(88, 1), layout_.CurrentClass(88));
    EXPECT_EQ(layout_.CurrentClass(88)->GetNext(), nullptr);

    EXPECT_EQ(layout_.FindClassByName("PDMc_WS"), ws);
    EXPECT_EQ(layout_.FindClassByName("pdmc_ws"), nullptr);
    EXPECT_EQ(layout_.FindClassByName("PDMc_LDBStringMap"), nullptr);
    EXPECT_EQ(ws->FindMember("m_Name"), nullptr);
}

namespace {

struct Mistake {
    const char* what;
    // Runs the mistaken definition on a layout that holds class "PDMc_A" (code 70, version 1,
    // store 514, member m_x); gives its result.
    int32_t (*define)(LDBStorageLayout& layout);
    const char* message;
    const char* sourcePath;
};

}  // namespace

TEST(StorageLayoutGuards, SchemaMistakesAreRefusedAndChangeNothing) {
    const Mistake mistakes[] = {
        {"a name taken by another code",
         [](LDBStorageLayout& l) { return l.DefineClass(514, "PDMc_A", 71, 1, 0); },
         "Duplicate class descriptor name", "srcldb/ldbstglayout"},
        {"a code and version already described",
         [](LDBStorageLayout& l) { return l.DefineClass(257, "PDMc_B", 70, 1, 0); },
         "Duplicate class descriptor type/version", "srcldb/ldbstglayout"},
        {"a member of a version the class lacks",
         [](LDBStorageLayout& l) { return l.DefineMember(257, "PDMc_A", "m_y", 3, LDBMemberPlace()); },
         "Undefined class descriptor for member", "srcldb/ldbstglayout"},
        {"a member of an unknown class",
         [](LDBStorageLayout& l) { return l.DefineMember(514, "PDMc_Z", "m_y", 3, LDBMemberPlace()); },
         "Undefined class descriptor for member", "srcldb/ldbstglayout"},
        {"a member name twice",
         [](LDBStorageLayout& l) { return l.DefineMember(514, "PDMc_A", "m_x", 19, LDBMemberPlace()); },
         "Duplicate member descriptor name", "srcldb/ldbstgdesc"},
    };
    for (const Mistake& mistake : mistakes) {
        SCOPED_TRACE(mistake.what);
        testsupport::ClearErrors();
        LDBStorageLayout layout;
        ASSERT_EQ(layout.DefineClass(514, "PDMc_A", 70, 1, 0), 0);
        ASSERT_EQ(layout.DefineMember(514, "PDMc_A", "m_x", 3, LDBMemberPlace()), 0);

        EXPECT_EQ(mistake.define(layout), 101);
        nyxError* top = nyxErrorGetCurrent();
        ASSERT_NE(top, nullptr);
        EXPECT_EQ(top->error_code, 101);
        EXPECT_EQ(top->severity, 3);
        std::vector<std::string> args = Arguments(top);
        ASSERT_GE(args.size(), 2u);
        EXPECT_EQ(args[0], mistake.message);
        EXPECT_EQ(args[1], mistake.sourcePath);

        const LDBClassDescriptor* a = layout.CurrentClass(70);
        ASSERT_NE(a, nullptr);
        EXPECT_EQ(a->GetNext(), nullptr);
        EXPECT_EQ(a->MemberCount(), 1u);
        EXPECT_EQ(a->GetFixedSize(), 6u);
        EXPECT_EQ(layout.BucketHead(71), nullptr);
    }
    testsupport::ClearErrors();
}

TEST(StorageLayoutGuards, ChainsStaySortedByDescendingStoreVersion) {
    LDBStorageLayout layout;
    ASSERT_EQ(layout.DefineClass(257, "PDMc_A", 70, 1, 0), 0);
    ASSERT_EQ(layout.DefineClass(514, "PDMc_A", 70, 3, 0), 0);
    ASSERT_EQ(layout.DefineClass(300, "PDMc_A", 70, 2, 0), 0);
    ASSERT_EQ(layout.DefineClass(300, "PDMc_A", 70, 4, 0), 0);
    std::vector<uint8_t> versions;
    for (const LDBClassDescriptor* row = layout.BucketHead(70); row != nullptr; row = row->GetNext())
        versions.push_back(row->GetClassVersion());
    // Among equal store versions a later definition goes behind the earlier one.
    EXPECT_EQ(versions, (std::vector<uint8_t>{3, 2, 4, 1}));
    EXPECT_EQ(layout.CurrentClass(70)->GetClassVersion(), 3);

    // Members go to the row of their store version only.
    ASSERT_EQ(layout.DefineMember(300, "PDMc_A", "m_flag", 19, LDBMemberPlace()), 0);
    ASSERT_EQ(layout.DefineMember(300, "PDMc_A", "m_list", 34, LDBMemberPlace()), 0);
    EXPECT_EQ(layout.ClassByVersion(70, 2)->GetFixedSize(), 2u + 1u + 4u);
    EXPECT_EQ(layout.ClassByVersion(70, 4)->MemberCount(), 0u);
    EXPECT_EQ(layout.CurrentClass(70)->MemberCount(), 0u);
    testsupport::ClearErrors();
}
