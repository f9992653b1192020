#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "collections/nyxhash.h"
#include "collections/nyxlist.h"
#include "collections/nyxxarray.h"
#include "testsupport.h"

namespace {

std::vector<std::string> g_texts;
void Collect(const char* text) { g_texts.push_back(text); }

class HookScope {
public:
    HookScope() : m_previous(nyxSetNotSupportedHook(Collect)) { g_texts.clear(); }
    ~HookScope() { nyxSetNotSupportedHook(m_previous); }

private:
    nyxNotSupportedHook m_previous;
};

const void* Identity(const void* value) { return value; }

// One collection of each kind holding the words 1, 2 and 3.
struct Kinds {
    nyxSingleListOf<uint32_t> single;
    nyxDoubleListOf<uint32_t> doubled;
    nyxXArrayOf<uint32_t> array;
    nyxSortedXArrayOf<uint32_t> sorted;
    nyxDerivedHashOf<uint32_t, uint32_t> set{nyxWordHash, Identity, 13};
    nyxHashMapOf<uint32_t, uint32_t> map{nyxWordHash, 13};

    Kinds() {
        for (uint32_t w : {1u, 2u, 3u}) {
            for (nyxCollection* c : Sequences()) c->Insert(&w);
            map.Put(w, w);
        }
    }
    std::vector<nyxCollection*> Sequences() { return {&single, &doubled, &array, &sorted, &set}; }
    std::vector<nyxCollection*> All() { return {&single, &doubled, &array, &sorted, &set, &map}; }
};

uint32_t Sum(nyxCollection& c) {
    uint32_t sum = 0;
    nyxIteratorGuard it(c);
    for (it->First(); !it->AtEnd(); it->Next()) sum += *static_cast<uint32_t*>(it->Current());
    return sum;
}

TEST(nyxCollectionTest, RefusedOperationsChangeNothingAndNameTheirMethod) {
    testsupport::ClearErrors();
    HookScope hook;
    Kinds k;
    uint32_t w = 9;
    struct {
        nyxCollection* collection;
        std::function<bool(nyxCollection*)> call;
        const char* text;
    } cases[] = {
        {&k.single, [&](nyxCollection* c) { return c->GetAt(0) == nullptr; },
         "Error: Method GetAt not supported by collection of type nyxSingleList"},
        {&k.doubled, [&](nyxCollection* c) { return !c->InsertAt(0, &w); },
         "Error: Method InsertAt not supported by collection of type nyxDoubleList"},
        {&k.single, [&](nyxCollection* c) { return !c->RemoveAt(0u); },
         "Error: Method RemoveAt not supported by collection of type nyxSingleList"},
        {&k.single, [&](nyxCollection* c) { return !c->SetAt(0u, &w); },
         "Error: Method SetAt not supported by collection of type nyxSingleList"},
        {&k.sorted, [&](nyxCollection* c) { return !c->InsertFirst(&w); },
         "Error: Method RemoveAt not supported by collection of type nyxXArray"},
        {&k.map, [&](nyxCollection* c) { return !c->Insert(&w); },
         "Error: Method Insert not supported by collection of type nyxHashImpl"},
        {&k.map, [&](nyxCollection* c) { return !c->Remove(&w, -1); },
         "Error: Method Remove not supported by collection of type nyxHashImpl"},
        {&k.set, [&](nyxCollection* c) { return !c->RemoveLast(); },
         "Error: Method RemoveLast not supported by collection of type nyxHashImpl"},
        {&k.set, [&](nyxCollection* c) {
             return static_cast<nyxKeyedCollection*>(c)->GetPair(k.set.FirstEntry(nullptr)) == nullptr;
         },
         "Error: Method GetPair not supported by collection of type nyxHashImpl"},
        {&k.map, [&](nyxCollection* c) {
             nyxIteratorGuard it(*c);
             return !static_cast<nyxHashIterator*>(it.get())->SetRestriction(0, &w);
         },
         "Error: Method SetRestriction not supported by iterator for type nyxHashImpl"},
        {&k.set, [&](nyxCollection* c) {
             nyxIteratorGuard it(*c);
             return static_cast<nyxHashIterator*>(it.get())->GetPair() == nullptr;
         },
         "Error: Method CurrentPair not supported by iterator for type nyxHashImpl"},
    };
    for (auto& c : cases) {
        g_texts.clear();
        uint32_t count = c.collection->GetCount();
        uint32_t sum = Sum(*c.collection);
        EXPECT_TRUE(c.call(c.collection)) << c.text;
        EXPECT_EQ(c.collection->GetCount(), count) << c.text;
        EXPECT_EQ(Sum(*c.collection), sum) << c.text;
        ASSERT_EQ(g_texts.size(), 1u) << c.text;
        EXPECT_EQ(g_texts[0], c.text);
        // A refusal is no failure of the caller's: nothing may reach the error stack.
        EXPECT_TRUE(testsupport::StackCodes().empty()) << c.text;
    }
}

TEST(nyxCollectionTest, RefusalTextIsTruncatedToItsBuffer) {
    HookScope hook;
    std::string longName(3000, 'x');
    nyxCollectionNotSupported("GetAt", longName.c_str());
    ASSERT_EQ(g_texts.size(), 1u);
    EXPECT_EQ(g_texts[0].size(), 1023u);
    EXPECT_EQ(g_texts[0].substr(0, 56), "Error: Method GetAt not supported by collection of type ");
    EXPECT_EQ(g_texts[0].back(), 'x');
}

TEST(nyxCollectionTest, SelfAssignmentKeepsAndSelfRemovalEmpties) {
    Kinds k;
    for (nyxCollection* c : k.All()) {
        c->Assign(*c);
        EXPECT_EQ(c->GetCount(), 3u) << c->GetClassName();
        c->InsertAll(*c);
        EXPECT_EQ(c->GetCount(), 3u) << c->GetClassName();
        c->RemoveEach(*c);
        EXPECT_EQ(c->GetCount(), 0u) << c->GetClassName();
        EXPECT_EQ(c->GetFirst(), nullptr);
        EXPECT_EQ(c->GetLast(), nullptr);
        nyxIteratorGuard it(*c);
        it->First();
        EXPECT_TRUE(it->AtEnd());
    }
}

TEST(nyxCollectionTest, AssignAndRemoveEachWorkAcrossKinds) {
    Kinds k;
    nyxXArrayOf<uint32_t> source;
    for (uint32_t w : {1u, 2u, 3u}) source.Insert(&w);
    for (nyxCollection* target : k.Sequences()) {
        nyxXArrayOf<uint32_t> other;
        for (uint32_t w : {7u, 8u}) other.Insert(&w);
        target->Assign(other);
        EXPECT_EQ(Sum(*target), 15u) << target->GetClassName();
        target->InsertAll(source);
        EXPECT_EQ(Sum(*target), 21u) << target->GetClassName();
        target->RemoveEach(other);
        EXPECT_EQ(Sum(*target), 6u) << target->GetClassName();
    }
}

TEST(nyxCollectionTest, IteratorsKnowTheirCollection) {
    Kinds k;
    for (nyxCollection* c : k.All()) {
        nyxIterator* it = c->NewIterator();
        EXPECT_EQ(it->GetCollection(), c);
        EXPECT_EQ(it->OwnerObject(), c->Self());
        EXPECT_STREQ(it->CollectionName(), c->GetClassName());
        nyxIterator* clone = it->Clone();
        EXPECT_EQ(clone->Current(), it->Current());
        nyxIterator::Release(clone);
        it->Release();
    }
    nyxIterator::Release(nullptr);
}

TEST(nyxCollectionTest, StringElementsAreOwnedByTheCollection) {
    nyxSingleListOf<nyxString> list;
    nyxXArrayOf<nyxString> array;
    nyxHashMapOf<nyxString, nyxString> map(nyxStringHash, 13);
    {
        nyxString a("alpha"), b("beta");
        list.Insert(&a);
        array.Insert(&b);
        map.Put(a, b);
    }
    EXPECT_STREQ(static_cast<nyxString*>(list.GetFirst())->c_str(), "alpha");
    EXPECT_STREQ(static_cast<nyxString*>(array.GetFirst())->c_str(), "beta");
    EXPECT_STREQ(map.Find(nyxString("alpha"))->c_str(), "beta");
    nyxString same("alpha");
    EXPECT_TRUE(list.Contains(&same));
    EXPECT_EQ(nyxTextCompare("a", "b"), -1);
    EXPECT_EQ(nyxTextCompare("b", "a"), 1);
    EXPECT_EQ(nyxTextCompare("\xe9", "z"), 1);
    EXPECT_EQ(nyxTextCompare(nullptr, ""), -1);
    EXPECT_FALSE(nyxTextEqual(nullptr, ""));
}

}  // namespace
