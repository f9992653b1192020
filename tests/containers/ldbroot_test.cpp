#include <string>

#include <gtest/gtest.h>

#include "memstore.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldbroot.h"
#include "testsupport.h"

using containertest::MemStore;

namespace {

class Roots : public testsupport::CleanStackTest {
protected:
    MemStore store;
};

TEST_F(Roots, ANewRootLaysDownItselfThenItsFourMapsWithNoAttributeMap) {
    PDMc_LDBRoot* root = CreateRootObject(&store);
    ASSERT_NE(root, nullptr);
    ASSERT_EQ(store.modified.size(), 5u);
    EXPECT_EQ(store.modified[0], root);
    EXPECT_EQ(store.modified[1], root->GetWorkspaces());
    EXPECT_EQ(store.modified[2], root->GetPITypeDefs());
    EXPECT_EQ(store.modified[3], root->GetAttrDefs());
    EXPECT_EQ(store.modified[4], root->GetDepDefs());
    for (size_t i = 1; i < 5; ++i)
        EXPECT_EQ(static_cast<PDMc_LDBMap*>(store.modified[i])->References().Capacity(), 103u);
    EXPECT_TRUE(root->GetAttrs()->IsNull());

    ASSERT_EQ(store.Commit(), 0);
    // The first record of a store sits behind its 40-byte header.
    EXPECT_EQ(root->GetStorageAddress(), 40u);
    const uint32_t kRootSize = 22, kMapSize = 10;
    EXPECT_EQ(root->GetWorkspaces()->GetStorageAddress(), 40u + kRootSize);
    EXPECT_EQ(root->GetDepDefs()->GetStorageAddress(), 40u + kRootSize + 3 * kMapSize);
    EXPECT_EQ(store.cursor.Top(), 40u + kRootSize + 4 * kMapSize);
    EXPECT_EQ(store.cursor.BytesAt(40)[0], 64);
    EXPECT_EQ(store.cursor.BytesAt(40)[1], 2);
    EXPECT_EQ(store.WordAt(42), 40u + kRootSize);
    EXPECT_EQ(store.WordAt(40 + 18), 0u);  // m_attrs

    store.DropCache();
    root = static_cast<PDMc_LDBRoot*>(store.FindOrLoadObject(40));
    ASSERT_NE(root, nullptr);
    ASSERT_NE(root->GetAttrDefs(), nullptr);
    EXPECT_EQ(root->GetAttrDefs()->GetStorageAddress(), 40u + kRootSize + 2 * kMapSize);
    EXPECT_TRUE(root->GetAttrs()->IsNull());
}

TEST_F(Roots, DependencyDefinitionKeysJoinClassAndType) {
    struct Case {
        std::string classText;
        int32_t type;
        std::string key;
    };
    const Case cases[] = {
        {"drawing", 3, "drawing_3"},
        {"", 0, "_0"},
        {"part", -12, "part_-12"},
        {"Drawing", 3, "Drawing_3"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(PDMc_LDBRoot::DepDefKey(c.classText.c_str(), c.type).c_str(), c.key);
    // The key is cut to what its 1024-byte buffer holds.
    std::string longClass(1030, 'c');
    nyxString cut = PDMc_LDBRoot::DepDefKey(longClass.c_str(), 7);
    EXPECT_EQ(cut.Length(), 1023u);
    EXPECT_EQ(std::string(cut.c_str()), std::string(1023, 'c'));
}

TEST_F(Roots, AnApplicationObjectHasItsTypeAndAnEmptyAttributeMap) {
    PDMc_LDBAppObj* object = CreateAppObject(&store, "MyType");
    ASSERT_NE(object, nullptr);
    EXPECT_STREQ(object->GetType().c_str(), "MyType");
    EXPECT_TRUE(object->GetAttrs()->IsResolved());
    PDMc_LDBMap* map = LDBMapTarget(*object->GetAttrs());
    ASSERT_NE(map, nullptr);
    EXPECT_EQ(map->GetCount(), 0u);
    EXPECT_EQ(store.modified.size(), 2u);
    ASSERT_EQ(store.Commit(), 0);
    uint32_t address = object->GetStorageAddress();
    store.DropCache();

    PDMc_LDBObject* loaded = store.FindOrLoadObject(address);
    ASSERT_NE(loaded, nullptr);
    nyxString type;
    ASSERT_EQ(loaded->GetTypeName(type), 0);
    EXPECT_STREQ(type.c_str(), "MyType");
    EXPECT_EQ(loaded->Validate(), 0);
    EXPECT_NE(LDBMapTarget(*loaded->GetAttrs()), nullptr);
}

}  // namespace
