#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "collections/nyxhash.h"
#include "memstore.h"
#include "srcldb/ldbattr.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldbroot.h"
#include "testsupport.h"

using containertest::MemStore;

namespace {

// Elements of the tests: definitions carry a name that tells them apart after a reload.
PDMc_LAD* NewElement(MemStore& store, const std::string& name) {
    return new PDMc_LAD(&store, name.c_str());
}

std::string NameOf(PDMc_LDBObject* object) {
    if (object == nullptr) return "<null>";
    return static_cast<PDMc_LAD*>(object)->GetName().c_str();
}

std::string NameAt(void* element) {
    return element == nullptr ? "<none>" : NameOf(*static_cast<PDMc_LDBObject**>(element));
}

class Containers : public testsupport::CleanStackTest {
protected:
    // An array of count named elements, committed; its address.
    uint32_t StoredArray(uint32_t count) {
        PDMc_LDBArray* array = new PDMc_LDBArray(&store);
        for (uint32_t i = 0; i < count; ++i)
            EXPECT_TRUE(array->Append(NewElement(store, "e" + std::to_string(i))));
        EXPECT_EQ(store.Commit(), 0);
        return array->GetStorageAddress();
    }

    PDMc_LDBArray* LoadArray(uint32_t address) {
        return static_cast<PDMc_LDBArray*>(store.FindOrLoadObject(address));
    }
    PDMc_LDBMap* LoadMap(uint32_t address) {
        return static_cast<PDMc_LDBMap*>(store.FindOrLoadObject(address));
    }

    MemStore store;
};

TEST_F(Containers, ArrayElementsLoadOnlyWhenTouchedAndOnlyOnce) {
    uint32_t address = StoredArray(2000);
    store.DropCache();

    PDMc_LDBArray* array = LoadArray(address);
    ASSERT_NE(array, nullptr);
    EXPECT_EQ(store.loads, 1);
    EXPECT_EQ(array->GetCount(), 2000u);
    EXPECT_FALSE(array->References().At(7).IsResolved());
    EXPECT_EQ(store.loads, 1);

    EXPECT_EQ(NameAt(array->GetAt(7)), "e7");
    EXPECT_EQ(NameAt(array->GetAt(7)), "e7");
    EXPECT_EQ(store.loads, 2);
    EXPECT_TRUE(array->References().At(7).IsResolved());
    // Resolving is no change: the array stays off the modified list.
    EXPECT_FALSE(array->IsModified());
    EXPECT_TRUE(store.modified.empty());

    // A walk goes through GetAt and resolves in place; a second walk loads nothing more.
    nyxIteratorGuard it(*array);
    uint32_t seen = 0;
    for (it->First(); !it->AtEnd(); it->Next())
        if (NameAt(it->Current()) == "e" + std::to_string(seen)) ++seen;
    EXPECT_EQ(seen, 2000u);
    EXPECT_EQ(store.loads, 2001);
    for (it->First(); !it->AtEnd(); it->Next()) it->Current();
    EXPECT_EQ(store.loads, 2001);
}

TEST_F(Containers, ArraysOfThousandsSurviveSaveDropAndLoadInOrder) {
    uint32_t address = StoredArray(5000);
    store.DropCache();
    PDMc_LDBArray* array = LoadArray(address);
    ASSERT_NE(array, nullptr);
    ASSERT_EQ(array->GetCount(), 5000u);
    // The block: a header with a four-byte count (5000 needs a word), then the addresses.
    uint32_t block = store.WordAt(address + 6);
    EXPECT_EQ(store.WordAt(address + 2), 5000u);
    EXPECT_EQ(store.cursor.BytesAt(block)[0], 0x27);
    for (uint32_t i = 0; i < 5000; i += 499) EXPECT_EQ(NameOf(array->ObjectAt(i)), "e" + std::to_string(i));

    // A change rewrites the whole block at the top; the old one stays behind.
    ASSERT_TRUE(array->RemoveFirst());
    ASSERT_EQ(store.Commit(), 0);
    EXPECT_NE(store.WordAt(address + 6), block);
    store.DropCache();
    array = LoadArray(address);
    ASSERT_EQ(array->GetCount(), 4999u);
    EXPECT_EQ(NameOf(array->ObjectAt(0)), "e1");
    EXPECT_EQ(NameOf(array->ObjectAt(4998)), "e4999");
}

TEST_F(Containers, ArrayRecordAndBlockFormsAreExact) {
    // Empty: count 0 and no block, and it loads without one.
    PDMc_LDBArray* empty = new PDMc_LDBArray(&store);
    // 300 elements need a word count: tag 0x27, 3 header bytes, 1200 bytes of addresses.
    PDMc_LDBArray* large = new PDMc_LDBArray(&store);
    for (int i = 0; i < 300; ++i) large->Append(NewElement(store, "x"));
    ASSERT_EQ(store.Commit(), 0);

    EXPECT_EQ(store.WordAt(empty->GetStorageAddress() + 2), 0u);
    EXPECT_EQ(store.WordAt(empty->GetStorageAddress() + 6), 0u);
    uint32_t block = store.WordAt(large->GetStorageAddress() + 6);
    const uint8_t* header = store.cursor.BytesAt(block);
    EXPECT_EQ(header[0], 0x27);
    EXPECT_EQ(header[1] | (header[2] << 8), 300);
    // The first element's record was laid down in the same commit as the block that names it.
    EXPECT_EQ(store.WordAt(block + 3), large->References().At(0).GetKey());
    EXPECT_NE(store.WordAt(block + 3), 0u);
    // The elements' records came before it; their names are written behind it.
    EXPECT_EQ(store.cursor.BytesAt(block + 3 + 1200)[0], 0x11);
}

TEST_F(Containers, ArrayChangesMarkTheArrayOnlyWhenTheTableSaysSo) {
    struct Case {
        const char* what;
        bool (*change)(PDMc_LDBArray&, PDMc_LDBObject*);
        bool result;
        bool modified;
        uint32_t count;  // afterwards, from two elements
    };
    const Case cases[] = {
        {"Insert", [](PDMc_LDBArray& a, PDMc_LDBObject* o) { return a.Insert(&o); }, true, true, 3},
        {"InsertAt past the end",
         [](PDMc_LDBArray& a, PDMc_LDBObject* o) { return a.InsertAt(3, &o); }, false, false, 2},
        {"InsertFirst", [](PDMc_LDBArray& a, PDMc_LDBObject* o) { return a.InsertFirst(&o); },
         true, true, 3},
        {"Remove of every copy succeeds even with none there",
         [](PDMc_LDBArray& a, PDMc_LDBObject* o) { return a.Remove(&o, -1); }, true, true, 2},
        {"Remove of one absent element",
         [](PDMc_LDBArray& a, PDMc_LDBObject* o) { return a.Remove(&o, 1); }, false, false, 2},
        {"Remove of more than there are",
         [](PDMc_LDBArray& a, PDMc_LDBObject*) {
             PDMc_LDBObject* first = a.ObjectAt(0);
             return a.Remove(&first, 5);
         },
         false, true, 1},
        {"RemoveAt out of range marks anyway",
         [](PDMc_LDBArray& a, PDMc_LDBObject*) { return a.RemoveAt(9u); }, false, true, 2},
        {"RemoveLast", [](PDMc_LDBArray& a, PDMc_LDBObject*) { return a.RemoveLast(); }, true,
         true, 1},
        {"SetAt out of range marks anyway",
         [](PDMc_LDBArray& a, PDMc_LDBObject* o) { return a.SetAt(2u, &o); }, false, true, 2},
        {"RemoveAt by iterator is refused",
         [](PDMc_LDBArray& a, PDMc_LDBObject*) { return a.RemoveAt(a.NewIterator(), true); },
         false, false, 2},
        {"InsertAfter past the end",
         [](PDMc_LDBArray& a, PDMc_LDBObject* o) {
             nyxIterator* it = a.NewIterator();
             it->Last();
             it->Next();
             return a.InsertAfter(it, &o);
         },
         false, false, 2},
        {"InsertBefore the first",
         [](PDMc_LDBArray& a, PDMc_LDBObject* o) { return a.InsertBefore(a.NewIterator(), &o); },
         true, true, 3},
        {"Clear", [](PDMc_LDBArray& a, PDMc_LDBObject*) { a.Clear(); return true; }, true, true,
         0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        uint32_t address = StoredArray(2);
        PDMc_LDBAppObj* other = new PDMc_LDBAppObj(&store);
        ASSERT_EQ(store.Commit(), 0);
        PDMc_LDBArray* array = LoadArray(address);
        EXPECT_EQ(c.change(*array, other), c.result);
        EXPECT_EQ(array->IsModified(), c.modified);
        EXPECT_EQ(store.IsModified(array), c.modified);
        EXPECT_EQ(array->GetCount(), c.count);
        ASSERT_EQ(store.Commit(), 0);
    }

    // Clear of an empty array changes nothing.
    uint32_t address = StoredArray(0);
    PDMc_LDBArray* empty = LoadArray(address);
    empty->Clear();
    EXPECT_FALSE(empty->IsModified());
}

TEST_F(Containers, PositionalInsertsKeepOrderAndReleaseTheirIterator) {
    PDMc_LDBArray* array = new PDMc_LDBArray(&store);
    PDMc_LDBObject* a = NewElement(store, "a");
    PDMc_LDBObject* b = NewElement(store, "b");
    PDMc_LDBObject* c = NewElement(store, "c");
    PDMc_LDBObject* d = NewElement(store, "d");
    ASSERT_TRUE(array->InsertLast(&b));
    nyxIterator* it = array->NewIterator();
    it->First();
    ASSERT_TRUE(array->InsertBefore(it, &a));  // the iterator is gone now
    it = array->NewIterator();
    it->Last();
    ASSERT_TRUE(array->InsertAfter(it, &d));
    ASSERT_TRUE(array->InsertAt(2, &c));
    ASSERT_EQ(store.Commit(), 0);
    uint32_t address = array->GetStorageAddress();
    store.DropCache();

    array = LoadArray(address);
    std::string order;
    for (uint32_t i = 0; i < array->GetCount(); ++i) order += NameOf(array->ObjectAt(i));
    EXPECT_EQ(order, "abcd");
    EXPECT_EQ(NameAt(array->GetFirst()), "a");
    EXPECT_EQ(NameAt(array->GetLast()), "d");
    EXPECT_EQ(array->GetAt(4), nullptr);

    // Contains and Remove compare references, so a loaded element matches its pointer.
    PDMc_LDBObject* third = array->ObjectAt(2);
    EXPECT_TRUE(array->Contains(&third));
    it = array->NewIterator();
    it->First();
    PDMc_LDBObject* e = NewElement(store, "e");
    ASSERT_TRUE(array->SetAt(it, &e));
    EXPECT_EQ(NameOf(array->ObjectAt(0)), "e");
}

TEST_F(Containers, RemoveOfANewObjectTakesTheFirstNewObject) {
    PDMc_LDBArray* array = new PDMc_LDBArray(&store);
    PDMc_LDBObject* stored = NewElement(store, "stored");
    ASSERT_EQ(store.Commit(), 0);
    PDMc_LDBObject* first = NewElement(store, "first");
    PDMc_LDBObject* second = NewElement(store, "second");
    array->Append(stored);
    array->Append(first);
    array->Append(second);
    ASSERT_TRUE(array->Remove(&second, 1));
    ASSERT_EQ(array->GetCount(), 2u);
    EXPECT_EQ(NameOf(array->ObjectAt(0)), "stored");
    EXPECT_EQ(NameOf(array->ObjectAt(1)), "second");
}

TEST_F(Containers, ANewArrayRepeatsItsObjectAndACopySharesTheTargets) {
    PDMc_LDBObject* target = NewElement(store, "t");
    PDMc_LDBArray* repeated = new PDMc_LDBArray(&store, 3, target);
    ASSERT_EQ(repeated->GetCount(), 3u);
    EXPECT_EQ(repeated->ObjectAt(2), target);
    ASSERT_EQ(store.Commit(), 0);
    uint32_t address = repeated->GetStorageAddress();
    store.DropCache();

    PDMc_LDBArray* loaded = LoadArray(address);
    int loadsBefore = store.loads;
    PDMc_LDBArray* copy = new PDMc_LDBArray(*loaded);
    EXPECT_TRUE(copy->IsNew());
    EXPECT_TRUE(store.IsModified(copy));
    EXPECT_FALSE(loaded->IsModified());
    ASSERT_EQ(copy->GetCount(), 3u);
    // The copy takes the references as they stand: nothing is loaded for it.
    EXPECT_EQ(store.loads, loadsBefore);
    EXPECT_EQ(copy->References().At(1).GetKey(), loaded->References().At(1).GetKey());
    EXPECT_EQ(copy->ObjectAt(0), loaded->ObjectAt(0));
}

TEST_F(Containers, ATargetThatCannotLoadShowsAsNullAndKeepsItsAddress) {
    PDMc_LDBArray* array = new PDMc_LDBArray(&store);
    PDMc_LDBRef broken;
    broken.Set(&store, 8);  // inside no record: the factory knows no class of code 0
    array->Append(nullptr);
    ASSERT_EQ(store.Commit(), 0);
    uint32_t address = array->GetStorageAddress();
    store.DropCache();

    array = LoadArray(address);
    const_cast<PDMc_LDBRef&>(array->References().At(0)) = broken;
    void* element = array->GetAt(0);
    ASSERT_NE(element, nullptr);
    EXPECT_EQ(*static_cast<PDMc_LDBObject**>(element), nullptr);
    EXPECT_EQ(array->References().At(0).GetKey(), 8u);
    EXPECT_FALSE(array->IsModified());
}

// ---------------------------------------------------------------------------------------------
// Maps

TEST_F(Containers, MapsOfThousandsReloadInTheOrderOfATableRebuiltByInsertion) {
    PDMc_LDBMap* map = new PDMc_LDBMap(&store, PDMc_LDBMap::kNewCapacity);
    EXPECT_EQ(map->References().Capacity(), 103u);
    const int kEntries = 3000;
    for (int i = 0; i < kEntries; ++i)
        ASSERT_TRUE(map->Put(("name" + std::to_string(i * 7)).c_str(),
                             NewElement(store, "v" + std::to_string(i * 7))));
    ASSERT_EQ(store.Commit(), 0);
    uint32_t address = map->GetStorageAddress();
    // The record holds the capacity the table had when it was written.
    uint32_t capacityAtWrite = map->References().Capacity();
    EXPECT_EQ(store.WordAt(address + 2), capacityAtWrite);
    std::vector<std::string> storedOrder;
    for (void* e = map->FirstEntry(nullptr); e != nullptr; e = map->FirstEntry(e))
        storedOrder.push_back(static_cast<nyxString*>(map->KeyOfEntry(e))->c_str());
    store.DropCache();

    // What loading must give: the pairs put in stored order into a table of the load size.
    nyxHashMapOf<nyxString, uint32_t> expected(nyxStringHash, PDMc_LDBMap::kLoadCapacity);
    for (const std::string& key : storedOrder) {
        nyxString k(key.c_str());
        uint32_t zero = 0;
        expected.Put(k, zero);
    }
    std::vector<std::string> expectedOrder;
    for (void* e = expected.FirstEntry(nullptr); e != nullptr; e = expected.FirstEntry(e))
        expectedOrder.push_back(static_cast<nyxString*>(expected.KeyOfEntry(e))->c_str());

    map = LoadMap(address);
    ASSERT_NE(map, nullptr);
    EXPECT_EQ(map->GetCount(), static_cast<uint32_t>(kEntries));
    EXPECT_EQ(map->References().Capacity(), static_cast<uint32_t>(expected.GetCapacity()));
    std::vector<std::string> loadedOrder;
    nyxIteratorGuard it(*map);
    for (it->First(); !it->AtEnd(); it->Next())
        loadedOrder.push_back(
            static_cast<nyxString*>(static_cast<nyxHashIterator*>(it.get())->CurrentKey())->c_str());
    EXPECT_EQ(loadedOrder, expectedOrder);
    // A walk over the keys loads no element.
    EXPECT_EQ(store.loads, 1);
    for (int i = 0; i < kEntries; i += 271) {
        std::string n = std::to_string(i * 7);
        EXPECT_EQ(NameOf(map->Find(("name" + n).c_str())), "v" + n);
    }
    EXPECT_EQ(store.loads, 1 + (kEntries + 270) / 271);
    EXPECT_FALSE(map->IsModified());
}

TEST_F(Containers, MapRecordAndBlockFormsAreExact) {
    // One entry, made and saved in one go: the record holds the new table's 103.
    PDMc_LDBMap* single = new PDMc_LDBMap(&store, 100);
    single->Put("", NewElement(store, "empty key"));
    PDMc_LDBMap* wide = new PDMc_LDBMap(&store, 100);
    for (int i = 0; i < 200; ++i) wide->Put(std::to_string(i).c_str(), nullptr);
    ASSERT_EQ(store.Commit(), 0);

    uint32_t address = single->GetStorageAddress();
    EXPECT_EQ(store.WordAt(address + 2), 103u);
    uint32_t block = store.WordAt(address + 6);
    EXPECT_EQ(store.cursor.BytesAt(block)[0], 0x17);
    EXPECT_EQ(store.cursor.BytesAt(block)[1], 2);
    // An empty key has no string block.
    EXPECT_EQ(store.WordAt(block + 2), 0u);
    EXPECT_NE(store.WordAt(block + 6), 0u);

    uint32_t wideBlock = store.WordAt(wide->GetStorageAddress() + 6);
    const uint8_t* header = store.cursor.BytesAt(wideBlock);
    EXPECT_EQ(header[0], 0x27);
    EXPECT_EQ(header[1] | (header[2] << 8), 400);
    // 200 entries pass the threshold of 103 and its successor: the table grew before the write.
    EXPECT_GT(store.WordAt(wide->GetStorageAddress() + 2), 200u);

    store.DropCache();
    PDMc_LDBMap* loaded = LoadMap(address);
    ASSERT_EQ(loaded->GetCount(), 1u);
    EXPECT_TRUE(loaded->Has(""));
    EXPECT_EQ(NameOf(loaded->Find("")), "empty key");
    EXPECT_EQ(loaded->References().Capacity(), 257u);
}

TEST_F(Containers, MapChangesMarkTheMapOnlyWhenSomethingChanged) {
    PDMc_LDBMap* map = new PDMc_LDBMap(&store, 100);
    map->Put("Name", NewElement(store, "upper"));
    ASSERT_EQ(store.Commit(), 0);
    uint32_t address = map->GetStorageAddress();
    store.DropCache();
    map = LoadMap(address);

    // A present key is refused and the map stays clean; keys are case-sensitive.
    PDMc_LDBObject* other = NewElement(store, "lower");
    nyxString key("Name");
    EXPECT_FALSE(map->PutValue(&key, &other));
    EXPECT_FALSE(map->IsModified());
    EXPECT_FALSE(map->RemoveName("name"));
    EXPECT_FALSE(map->IsModified());
    // An absent key writes null over what the out pointer held.
    PDMc_LDBObject* out = other;
    nyxString absent("absent");
    EXPECT_FALSE(map->GetValue(&absent, &out));
    EXPECT_EQ(out, nullptr);
    // Refused forms of the collection face change nothing.
    EXPECT_FALSE(map->Insert(&other));
    EXPECT_EQ(map->GetAt(0), nullptr);
    EXPECT_EQ(map->GetFirst(), nullptr);
    EXPECT_FALSE(map->IsModified());

    EXPECT_TRUE(map->Put("name", other));
    EXPECT_TRUE(map->IsModified());
    ASSERT_EQ(store.Commit(), 0);
    store.DropCache();
    map = LoadMap(address);
    EXPECT_EQ(NameOf(map->Find("Name")), "upper");
    EXPECT_EQ(NameOf(map->Find("name")), "lower");

    // Removal during a walk: each removal releases its iterator and marks the map.
    nyxIterator* it = map->NewIterator();
    it->First();
    ASSERT_TRUE(map->RemoveAt(it, true));
    EXPECT_TRUE(map->IsModified());
    EXPECT_EQ(map->GetCount(), 1u);
    map->Clear();
    EXPECT_EQ(map->GetCount(), 0u);
    ASSERT_EQ(store.Commit(), 0);
    map->Clear();
    EXPECT_FALSE(map->IsModified());
    EXPECT_EQ(store.WordAt(address + 6), 0u);
}

TEST_F(Containers, AMapCopyStartsAtTheLoadCapacityWithTheSameEntries) {
    PDMc_LDBMap* map = new PDMc_LDBMap(&store, 100);
    for (int i = 0; i < 10; ++i) map->Put(std::to_string(i).c_str(), NewElement(store, "x"));
    PDMc_LDBMap* copy = new PDMc_LDBMap(*map);
    EXPECT_TRUE(copy->IsNew());
    EXPECT_EQ(copy->References().Capacity(), 257u);
    EXPECT_EQ(copy->GetCount(), 10u);
    EXPECT_EQ(copy->Find("3"), map->Find("3"));
    EXPECT_STREQ(copy->GetClassName(), "PDMc_LDBStringMap");
    EXPECT_STREQ(static_cast<nyxCollection*>(copy)->GetClassName(), "PDMc_LDBStringMap");
    ASSERT_EQ(store.Commit(), 0);
}

TEST_F(Containers, FollowingAReferenceChecksTheContainerClass) {
    PDMc_LDBMap* map = new PDMc_LDBMap(&store, 100);
    PDMc_LDBArray* array = new PDMc_LDBArray(&store);
    ASSERT_EQ(store.Commit(), 0);
    PDMc_LDBRef toMap, toArray, none;
    toMap.Set(&store, map->GetStorageAddress());
    toArray.Set(&store, array->GetStorageAddress());
    EXPECT_EQ(LDBMapTarget(toMap), map);
    EXPECT_EQ(LDBArrayTarget(toMap), nullptr);
    EXPECT_EQ(LDBArrayTarget(toArray), array);
    EXPECT_EQ(LDBMapTarget(toArray), nullptr);
    EXPECT_EQ(LDBMapTarget(none), nullptr);
}

}  // namespace
