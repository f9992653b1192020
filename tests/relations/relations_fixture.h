// The fixture of the relation tests: a workspace with one item, "bracket", and the readers a
// client uses to see generics, instances, their relations and their library.
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "marrows/marrows.h"
#include "testsupport.h"

namespace relationstest {

using testsupport::DescribeTop;
using testsupport::Drain;

class Relations : public testsupport::DatabaseTest {
protected:
    void SetUp() override {
        DatabaseTest::SetUp();
        ws = CreateWorkspace("ws");
        ASSERT_NE(ws, nullptr);
        ASSERT_EQ(PDMWorkspaceCreatePI(ws, "bracket", "Part", &generic), 0) << DescribeTop();
    }
    WSPIHandle Find(const char* name) { return FindItem(ws, name); }
    WSPIHandle AddInstance(WSPIHandle of, const char* name, const char* type = nullptr) {
        WSPIHandle made = nullptr;
        EXPECT_EQ(PDMWSPIAddInstance(of, name, type, &made), 0) << DescribeTop();
        EXPECT_NE(made, nullptr);
        return made;
    }
    static WSPIVHandle Current(WSPIHandle item) {
        WSPIVHandle version = nullptr;
        EXPECT_EQ(PDMWSPIGetCurrWSPIV(item, &version), 0) << DescribeTop();
        return version;
    }
    static std::vector<void*> GIRs(WSPIHandle item) {
        CursorHandle cursor = nullptr;
        EXPECT_EQ(PDMWSPIVGetGIRs(Current(item), &cursor), 0) << DescribeTop();
        return Drain(cursor);
    }
    static std::vector<void*> GIRsRecursive(WSPIHandle item) {
        CursorHandle cursor = nullptr;
        EXPECT_EQ(PDMWSPIVGetGIRsRecursive(Current(item), &cursor), 0) << DescribeTop();
        return Drain(cursor);
    }
    static WSGIRHandle Generic(WSPIHandle item) {
        WSGIRHandle relation = nullptr;
        EXPECT_EQ(PDMWSPIVGetGeneric(Current(item), &relation), 0) << DescribeTop();
        return relation;
    }
    static WSPIHandle Top(WSPIHandle item) {
        WSPIHandle top = nullptr;
        EXPECT_EQ(PDMWSPIVGetTopGeneric(Current(item), &top), 0) << DescribeTop();
        return top;
    }
    static WSPIHandle InstanceOf(WSGIRHandle relation) {
        WSPIHandle item = nullptr;
        EXPECT_EQ(PDMWSGIRGetInstanceWSPI(relation, &item), 0) << DescribeTop();
        return item;
    }
    static WSPIHandle GenericOf(WSGIRHandle relation) {
        WSPIHandle item = nullptr;
        EXPECT_EQ(PDMWSGIRGetGenericWSPI(relation, &item), 0) << DescribeTop();
        return item;
    }
    static std::string StoredName(WSGIRHandle relation) {
        const char* name = nullptr;
        EXPECT_EQ(PDMWSGIRGetAsStoredInstanceName(relation, &name), 0) << DescribeTop();
        return name != nullptr ? name : "<null>";
    }
    static WSLILHandle Library(WSPIHandle item) {
        WSLILHandle library = nullptr;
        EXPECT_EQ(PDMWSPIGetCurrWSPIVLIL(item, &library), 0) << DescribeTop();
        return library;
    }
    static std::vector<void*> Members(WSLILHandle library) {
        WSLILVHandle version = nullptr;
        EXPECT_EQ(PDMWSLILGetCurrentLILV(library, &version), 0) << DescribeTop();
        CursorHandle cursor = nullptr;
        EXPECT_EQ(PDMWSLILVGetWSPIs(version, &cursor), 0) << DescribeTop();
        return Drain(cursor);
    }
    static std::vector<int> Roles(WSPIHandle item) {
        int isInstance = -1, hasInstances = -1, member = -1;
        WSPIVHandle version = Current(item);
        EXPECT_EQ(PDMWSPIVIsInstance(version, &isInstance), 0);
        EXPECT_EQ(PDMWSPIVHasInstance(version, &hasInstances), 0);
        EXPECT_EQ(PDMWSPIVIsLibraryMember(version, &member), 0);
        return {isInstance, hasInstances, member};
    }
    void Reopen() {
        ws = DatabaseTest::Reopen("ws");
        ASSERT_NE(ws, nullptr);
        generic = Find("bracket");
    }

    WorkspaceHandle ws = nullptr;
    WSPIHandle generic = nullptr;
};

inline const std::vector<int> kPlain{0, 0, 0};
inline const std::vector<int> kGeneric{0, 1, 1};
inline const std::vector<int> kInstance{1, 0, 1};
inline const std::vector<int> kBoth{1, 1, 1};

}  // namespace relationstest
