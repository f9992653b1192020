// Containers, values and the root in a real store file: commit, cache drop, reload, abort, and
// a second process reading what the first one wrote.
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "errors/nyxerror.h"
#include "memstore.h"
#include "srcldb/ldbattr.h"
#include "srcldb/ldbattrholder.h"
#include "srcldb/ldbcodec.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldbroot.h"
#include "srcldb/ldbstore.h"
#include "testsupport.h"

using testsupport::TempDir;

namespace {

constexpr uint32_t kRootSize = 22;
constexpr uint32_t kContainerSize = 10;

uint32_t WordAt(const std::vector<unsigned char>& bytes, uint32_t at) {
    return at + 4 <= bytes.size() ? LDBDecodeU32(&bytes[at]) : 0xFFFFFFFF;
}

std::string NameOf(PDMc_LDBObject* object) {
    if (object == nullptr || object->GetTypeCode() != LDB_TYPE_LAD) return "<none>";
    return static_cast<PDMc_LAD*>(object)->GetName().c_str();
}

// The reference under a key as the map keeps it, resolved or not.
const PDMc_LDBRef* ReferenceIn(PDMc_LDBMap* map, const char* key) {
    return const_cast<LDBRefStringTable&>(map->References()).Find(key);
}

std::string KeyName(int i) { return "item " + std::to_string(i * 13); }

class StoreContainers : public testsupport::CleanStackTest {
protected:
    void SetUp() override {
        CleanStackTest::SetUp();
        path = dir.File("containers.ldb");
    }
    void TearDown() override {
        if (store != nullptr) {
            testsupport::ClearErrors();
            if (store->InTransaction()) store->AbortTransaction();
            testsupport::ClearErrors();
            LDBStore::CloseStore(store);
        }
        CleanStackTest::TearDown();
    }

    static LDBStore* Open(const std::string& file, bool create) {
        LDBStore* made = create ? LDBStore::CreateStore(nullptr, file.c_str())
                                : LDBStore::ConnectStore(nullptr, file.c_str());
        if (made != nullptr) made->SetLayout(&containertest::Layout());
        return made;
    }

    // A new store whose first transaction made the root.
    void MakeStoreWithRoot() {
        store = Open(path, true);
        ASSERT_NE(store, nullptr) << testsupport::DescribeTop();
        ASSERT_EQ(store->StartTransaction(), 0) << testsupport::DescribeTop();
        ASSERT_NE(LDBMakeStoreRoot(*store, store), nullptr);
        ASSERT_EQ(store->CommitTransaction(), 0) << testsupport::DescribeTop();
    }

    PDMc_LDBRoot* Root() { return static_cast<PDMc_LDBRoot*>(store->GetRoot()); }

    TempDir dir;
    std::string path;
    LDBStore* store = nullptr;
};

TEST_F(StoreContainers, AFreshStoreHoldsTheRootAt40AndItsFourMapsBehindIt) {
    MakeStoreWithRoot();
    std::vector<unsigned char> bytes = testsupport::ReadFileBytes(path);
    const uint32_t top = 40 + kRootSize + 4 * kContainerSize;
    EXPECT_EQ(WordAt(bytes, 20), 40u);   // the header's root
    EXPECT_EQ(WordAt(bytes, 12), top);   // five records, no blocks
    ASSERT_GE(bytes.size(), top);
    EXPECT_EQ(bytes[40], 64);
    EXPECT_EQ(bytes[41], 2);
    for (uint32_t i = 0; i < 4; ++i) {
        uint32_t map = 40 + kRootSize + i * kContainerSize;
        SCOPED_TRACE(i);
        EXPECT_EQ(WordAt(bytes, 42 + 4 * i), map);
        EXPECT_EQ(bytes[map], 66);
        EXPECT_EQ(bytes[map + 1], 1);
        EXPECT_EQ(WordAt(bytes, map + 2), 103u);  // made and saved in one transaction
        EXPECT_EQ(WordAt(bytes, map + 6), 0u);
    }
    EXPECT_EQ(WordAt(bytes, 40 + 18), 0u);  // m_attrs

    // A second root is refused.
    ASSERT_EQ(store->StartTransaction(), 0);
    EXPECT_EQ(LDBMakeStoreRoot(*store, store), nullptr);
    EXPECT_EQ(nyxErrorCurrentCode(), 101);
}

TEST_F(StoreContainers, ThousandsOfEntriesSurviveCommitCacheDropAndAnotherProcess) {
    const int kCount = 3000;
    MakeStoreWithRoot();
    ASSERT_EQ(store->StartTransaction(), 0);
    PDMc_LDBMap* defs = Root()->GetAttrDefs();
    ASSERT_NE(defs, nullptr);
    PDMc_LDBArray* array = new PDMc_LDBArray(store);
    for (int i = 0; i < kCount; ++i) {
        PDMc_LAD* def = new PDMc_LAD(store, KeyName(i).c_str());
        ASSERT_TRUE(defs->Put(KeyName(i).c_str(), def));
        ASSERT_TRUE(array->Append(def));
    }
    // The array hangs off the root's attributes, the only open place in a root.
    ASSERT_EQ(LDBSetAttribute(Root(), *Root()->GetAttrs(), "all",
                              PDMc_LDBValue(PDMc_LDBRef(array))), 0);
    ASSERT_EQ(store->CommitTransaction(), 0) << testsupport::DescribeTop();

    // The entries in the order of the table as it stood at the write.
    std::vector<std::string> written;
    for (void* e = defs->FirstEntry(nullptr); e != nullptr; e = defs->FirstEntry(e))
        written.push_back(static_cast<nyxString*>(defs->KeyOfEntry(e))->c_str());
    nyxHashMapOf<nyxString, uint32_t> rebuilt(nyxStringHash, PDMc_LDBMap::kLoadCapacity);
    for (const std::string& key : written) rebuilt.Put(nyxString(key.c_str()), 0u);
    std::vector<std::string> expected;
    for (void* e = rebuilt.FirstEntry(nullptr); e != nullptr; e = rebuilt.FirstEntry(e))
        expected.push_back(static_cast<nyxString*>(rebuilt.KeyOfEntry(e))->c_str());

    auto check = [&](LDBStore* s) -> std::string {
        if (s->StartTransaction() != 0) return "start";
        PDMc_LDBRoot* root = static_cast<PDMc_LDBRoot*>(s->GetRoot());
        if (root == nullptr) return "root";
        PDMc_LDBMap* map = root->GetAttrDefs();
        if (map == nullptr || map->GetCount() != static_cast<uint32_t>(kCount)) return "map";
        if (map->References().Capacity() != static_cast<uint32_t>(rebuilt.GetCapacity()))
            return "capacity";
        uint32_t loaded = s->Objects().Count();
        std::vector<std::string> order;
        for (void* e = map->FirstEntry(nullptr); e != nullptr; e = map->FirstEntry(e))
            order.push_back(static_cast<nyxString*>(map->KeyOfEntry(e))->c_str());
        if (order != expected) return "order";
        if (s->Objects().Count() != loaded) return "a key walk loaded elements";
        if (NameOf(map->Find(KeyName(17).c_str())) != KeyName(17)) return "lookup";
        if (s->Objects().Count() != loaded + 1) return "a lookup loaded more than its element";

        PDMc_LDBValue all;
        if (LDBGetAttribute(*root->GetAttrs(), "all", all) != 0) return "attribute";
        PDMc_LDBArray* list = static_cast<PDMc_LDBArray*>(all.GetObject());
        if (list == nullptr || list->GetCount() != static_cast<uint32_t>(kCount)) return "array";
        loaded = s->Objects().Count();
        for (int i = 0; i < kCount; i += 97)
            if (NameOf(list->ObjectAt(i)) != KeyName(i)) return "element " + std::to_string(i);
        // Element 17 was loaded through the map already: the two share the one object.
        if (s->Objects().Count() != loaded + (kCount + 96) / 97) return "element loads";
        if (list->ObjectAt(17) != map->Find(KeyName(17).c_str())) return "shared element";
        return s->AbortTransaction() == 0 ? "" : "abort";
    };

    store->ClearCache();
    EXPECT_EQ(check(store), "");
    LDBStore::CloseStore(store);
    store = nullptr;
    int status = testsupport::RunInChild([&] {
        LDBStore* other = Open(path, false);
        if (other == nullptr) return 10;
        std::string failure = check(other);
        LDBStore::CloseStore(other);
        if (!failure.empty()) std::fprintf(stderr, "child: %s\n", failure.c_str());
        return failure.empty() ? 0 : 11;
    });
    EXPECT_EQ(status, 0);
}

TEST_F(StoreContainers, AbortRereadsAStoredContainerAndDropsANewOne) {
    MakeStoreWithRoot();
    ASSERT_EQ(store->StartTransaction(), 0);
    PDMc_LDBMap* workspaces = Root()->GetWorkspaces();
    PDMc_LAD* kept = new PDMc_LAD(store, "kept");
    ASSERT_TRUE(workspaces->Put("kept", kept));
    ASSERT_EQ(store->CommitTransaction(), 0);

    ASSERT_EQ(store->StartTransaction(), 0);
    ASSERT_NE(workspaces->Find("kept"), nullptr);
    EXPECT_TRUE(ReferenceIn(workspaces, "kept")->IsResolved());
    ASSERT_TRUE(workspaces->Put("gone", new PDMc_LAD(store, "gone")));
    ASSERT_TRUE(workspaces->RemoveName("kept"));
    new PDMc_LDBArray(store);
    uint32_t objectsBefore = store->Objects().Count();
    ASSERT_EQ(store->AbortTransaction(), 0) << testsupport::DescribeTop();

    // Same object, stored entries, references unresolved again.
    EXPECT_EQ(Root()->GetWorkspaces(), workspaces);
    EXPECT_EQ(workspaces->GetCount(), 1u);
    EXPECT_FALSE(workspaces->Has("gone"));
    EXPECT_FALSE(ReferenceIn(workspaces, "kept")->IsResolved());
    EXPECT_FALSE(workspaces->IsModified());
    EXPECT_EQ(store->Objects().Count(), objectsBefore);
    ASSERT_EQ(store->StartTransaction(), 0);
    EXPECT_EQ(NameOf(workspaces->Find("kept")), "kept");
}

TEST_F(StoreContainers, TheFirstRootAttributeDirtiesTheRootAndLaterOnesOnlyTheMap) {
    MakeStoreWithRoot();
    ASSERT_EQ(store->StartTransaction(), 0);
    PDMc_LDBRoot* root = Root();
    ASSERT_EQ(LDBSetAttribute(root, *root->GetAttrs(), "MFAttrDefInfo", PDMc_LDBValue(1)), 0);
    EXPECT_TRUE(root->IsModified());
    ASSERT_EQ(store->CommitTransaction(), 0);
    std::vector<unsigned char> bytes = testsupport::ReadFileBytes(path);
    uint32_t attrsAt = WordAt(bytes, 40 + 18);
    EXPECT_NE(attrsAt, 0u);

    ASSERT_EQ(store->StartTransaction(), 0);
    ASSERT_EQ(LDBSetAttribute(root, *root->GetAttrs(), "mfattrdefinfo", PDMc_LDBValue(2)), 0);
    EXPECT_FALSE(root->IsModified());
    EXPECT_EQ(store->ModifiedList().Count(), 2u);  // the map and the new value object
    ASSERT_EQ(store->CommitTransaction(), 0);

    store->ClearCache();
    ASSERT_EQ(store->StartTransaction(), 0);
    root = Root();
    PDMc_LDBValue upper, lower;
    ASSERT_EQ(LDBGetAttribute(*root->GetAttrs(), "MFAttrDefInfo", upper), 0);
    ASSERT_EQ(LDBGetAttribute(*root->GetAttrs(), "mfattrdefinfo", lower), 0);
    EXPECT_EQ(upper.GetInteger(), 1);
    EXPECT_EQ(lower.GetInteger(), 2);
    EXPECT_EQ(root->GetAttrs()->GetKey(), attrsAt);
}

}  // namespace
