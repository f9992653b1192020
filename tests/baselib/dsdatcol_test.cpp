#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "btkmemmgr.h"
#include "dsblockarray.h"
#include "dsdatcol.h"
#include "dsortmap.h"

namespace {

struct FatalCall {
    std::string message;
    std::string source;
    int line;
};
std::vector<FatalCall> calls;

class FatalRecorder {
public:
    FatalRecorder() {
        calls.clear();
        btkFatalHandler = [](const char* message, const char* source, int line) {
            calls.push_back({message, source, line});
            return 0;
        };
    }
    ~FatalRecorder() { btkFatalHandler = nullptr; }
};

dsWord Key(const char* text) { return reinterpret_cast<dsWord>(text); }

std::vector<std::string> Keys(dsSortedMap& map) {
    std::vector<std::string> keys;
    std::unique_ptr<dsIterator> it(map.NewIterator());
    for (it->First(); !it->AtEnd(); it->Next()) {
        keys.push_back(reinterpret_cast<const char*>(static_cast<dsMapEntry*>(it->Current())->key));
    }
    return keys;
}

}  // namespace

TEST(TextCompare, NullSortsFirstAndBytesAreUnsigned) {
    static const char same[] = "abc";
    struct Case {
        const char* first;
        const char* second;
        int expected;
    };
    const Case cases[] = {
        {nullptr, nullptr, 0}, {nullptr, "", -1}, {"", nullptr, 1},  {same, same, 0},
        {"abc", "abc", 0},     {"ab", "abc", -1}, {"abd", "abc", 1}, {"\xE9", "z", 1},
        {"a", "\x80", -1},     {"", "", 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(dsCompareText(c.first, c.second), c.expected)
            << (c.first ? c.first : "<null>") << " vs " << (c.second ? c.second : "<null>");
    }
}

TEST(SortedMap, KeepsKeysSortedAndRefusesADuplicate) {
    dsTextSortedMap map;
    const char* words[] = {"pear", "apple", "fig", "kiwi", "banana", "zucchini", "cherry"};
    dsWord value = 1;
    for (const char* word : words) EXPECT_TRUE(map.Add(Key(word), value++));
    EXPECT_EQ(Keys(map), (std::vector<std::string>{"apple", "banana", "cherry", "fig", "kiwi",
                                                   "pear", "zucchini"}));
    // A present key, even under another pointer, stores nothing and keeps the old value.
    std::string again = "fig";
    EXPECT_FALSE(map.Add(Key(again.c_str()), 99));
    EXPECT_EQ(map.Count(), 7u);
    dsWord found = 0;
    EXPECT_TRUE(map.Find(Key("fig"), &found));
    EXPECT_EQ(found, 3u);
    // The map doesn't copy its keys: the stored pointer is the first one given.
    std::unique_ptr<dsIterator> it(map.NewIterator());
    for (it->First(); !it->AtEnd(); it->Next()) {
        auto* entry = static_cast<dsMapEntry*>(it->Current());
        if (entry->value == 3) {
            EXPECT_EQ(entry->key, Key(words[2]));
        }
    }
    EXPECT_EQ(*static_cast<dsWord*>(map[Key("zucchini")]), 6u);
    EXPECT_TRUE(map.Contains(Key("apple")));
    EXPECT_FALSE(map.Contains(Key("grape")));
    EXPECT_FALSE(map.Find(Key("grape"), &found));
    EXPECT_FALSE(map.Remove(Key("grape")));
    EXPECT_TRUE(map.Remove(Key("apple")));
    EXPECT_TRUE(map.Remove(Key("zucchini")));
    EXPECT_TRUE(map.Remove(Key("fig")));
    EXPECT_EQ(Keys(map), (std::vector<std::string>{"banana", "cherry", "kiwi", "pear"}));
    EXPECT_TRUE(map.Find(Key("pear"), &found));
    EXPECT_EQ(found, 1u);
}

TEST(SortedMap, NullKeyIsAnOrdinaryKeyThatSortsFirst) {
    dsTextSortedMap map;
    EXPECT_TRUE(map.Add(Key("b"), 2));
    EXPECT_TRUE(map.Add(0, 1));
    EXPECT_FALSE(map.Add(0, 3));
    dsWord found = 0;
    EXPECT_TRUE(map.Find(0, &found));
    EXPECT_EQ(found, 1u);
}

TEST(SortedMap, CapacityFollowsTheCompactOption) {
    struct Case {
        bool compact;
        uint32_t unit;
        uint32_t afterAdds;      // capacity after 40 adds
        uint32_t afterRemoves;   // after removing down to 10
        uint32_t afterRemoveAll;
    };
    const Case cases[] = {
        {false, 0, 64, 64, 64},  // default unit 32
        {true, 0, 64, 32, 0},
        {true, 16, 48, 16, 0},
        {false, 100, 100, 100, 100},
    };
    static char names[40][4];
    for (int i = 0; i < 40; ++i) std::snprintf(names[i], sizeof names[i], "%02d", i);
    for (const Case& c : cases) {
        dsArrayOptions options = {c.compact, c.unit};
        dsTextSortedMap map(&options);
        for (int i = 0; i < 40; ++i) ASSERT_TRUE(map.Add(Key(names[i]), i));
        EXPECT_EQ(map.Capacity(), c.afterAdds) << c.compact << "/" << c.unit;
        for (int i = 10; i < 40; ++i) ASSERT_TRUE(map.Remove(Key(names[i])));
        EXPECT_EQ(map.Capacity(), c.afterRemoves) << c.compact << "/" << c.unit;
        map.RemoveAll();
        EXPECT_EQ(map.Count(), 0u);
        EXPECT_EQ(map.Capacity(), c.afterRemoveAll) << c.compact << "/" << c.unit;
        EXPECT_FALSE(map.Contains(Key("00")));
        EXPECT_TRUE(map.Add(Key("00"), 5));  // usable again after the array was released
    }
}

TEST(SortedMap, MissingKeyAndBaseOperationsAreMisuses) {
    FatalRecorder recorder;
    dsTextSortedMap map;
    EXPECT_EQ(map[Key("none")], nullptr);
    dsDataArray<4> array;
    dsDataMap& base = array;
    dsWord value = 0;
    EXPECT_FALSE(base.Add(1, 2));
    EXPECT_FALSE(base.Remove(1));
    EXPECT_FALSE(base.Find(1, &value));
    ASSERT_EQ(calls.size(), 4u);
    const FatalCall expected[] = {
        {"dsSortedMap::operator [] failed", "baselib/inc/dsortmap", 166},
        {"dsDataMap::Add ()", "baselib/inc/dsdatcol", 291},
        {"dsDataMap::Remove ()", "baselib/inc/dsdatcol", 295},
        {"dsDataMap::Find ()", "baselib/inc/dsdatcol", 299},
    };
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(calls[i].message, expected[i].message);
        EXPECT_EQ(calls[i].source, expected[i].source);
        EXPECT_EQ(calls[i].line, expected[i].line);
    }
}

TEST(DataArray, IndexIsTheKeyAndGrowthIsByUnits) {
    dsDataArray<4> array;
    EXPECT_TRUE(array.IsEmpty());
    ASSERT_TRUE(array.Resize(3));
    EXPECT_EQ(array.Capacity(), 256u);
    for (uint32_t i = 0; i < 3; ++i) *static_cast<int32_t*>(array[i]) = static_cast<int32_t>(i * 10);
    EXPECT_TRUE(array.Contains(2));
    EXPECT_FALSE(array.Contains(3));
    EXPECT_EQ(static_cast<int32_t*>(array.Data())[2], 20);
    ASSERT_TRUE(array.Resize(257));
    EXPECT_EQ(array.Capacity(), 512u);
    EXPECT_EQ(static_cast<int32_t*>(array.Data())[1], 10);
}

TEST(BlockArray, CapacityDoublesAndShrinksBackTo64) {
    dsBlockArray array(4);
    EXPECT_EQ(array.Capacity(), 64u);
    for (int32_t i = 0; i < 64; ++i) ASSERT_TRUE(array.Append(&i));
    EXPECT_EQ(array.Capacity(), 64u);
    int32_t extra = 64;
    ASSERT_TRUE(array.Append(&extra));
    EXPECT_EQ(array.Capacity(), 128u);
    for (int32_t i = 65; i < 130; ++i) ASSERT_TRUE(array.Append(&i));
    EXPECT_EQ(array.Capacity(), 256u);
    ASSERT_TRUE(array.Remove(0, 66));  // 64 left
    EXPECT_EQ(array.Capacity(), 64u);
    EXPECT_EQ(*static_cast<int32_t*>(array.At(0)), 66);
    EXPECT_EQ(*static_cast<int32_t*>(array.At(63)), 129);
    EXPECT_FALSE(array.Remove(60, 5));
    array.Clear();
    EXPECT_EQ(array.Count(), 0u);
    EXPECT_EQ(array.Capacity(), 64u);
}

TEST(BlockArray, InsertKeepsOrderAndIndexOfComparesBytes) {
    dsBlockArray array(8);
    const int64_t values[] = {1, 2, 5};
    ASSERT_TRUE(array.Insert(0, values, 3));
    const int64_t middle[] = {3, 4};
    ASSERT_TRUE(array.Insert(2, middle, 2));
    int64_t six = 6;
    ASSERT_TRUE(array.Set(4, &six));
    std::vector<int64_t> seen;
    for (uint32_t i = 0; i < array.Count(); ++i) seen.push_back(*static_cast<int64_t*>(array.At(i)));
    EXPECT_EQ(seen, (std::vector<int64_t>{1, 2, 3, 4, 6}));
    int64_t four = 4;
    int64_t seven = 7;
    EXPECT_EQ(array.IndexOf(&four), 3);
    EXPECT_EQ(array.IndexOf(&seven), -1);
    EXPECT_FALSE(array.Insert(9, values, 1));
    EXPECT_FALSE(array.Set(5, &six));
}

TEST(BlockArray, RemovingThroughTheIteratorSkipsNothing) {
    dsBlockArray array(4);
    for (int32_t i = 0; i < 10; ++i) array.Append(&i);
    std::unique_ptr<dsBlockArrayIterator> it(array.NewIterator());
    std::vector<int32_t> visited;
    for (it->First(); !it->AtEnd(); it->Next()) {
        int32_t value = *static_cast<int32_t*>(it->Current());
        visited.push_back(value);
        // Remove runs of neighbours: each successor must still be visited.
        if (value % 3 != 0) {
            EXPECT_TRUE(it->RemoveCurrent());
        }
    }
    EXPECT_EQ(visited, (std::vector<int32_t>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
    std::vector<int32_t> kept;
    for (uint32_t i = 0; i < array.Count(); ++i) kept.push_back(*static_cast<int32_t*>(array.At(i)));
    EXPECT_EQ(kept, (std::vector<int32_t>{0, 3, 6, 9}));
}

namespace {
// Elements that own a heap text, so that a byte copy instead of CopyElement would share it and
// a missing DestroyElement would leak it.
class TextArray : public dsObjectArray {
public:
    TextArray() : dsObjectArray(sizeof(std::string*)) {}
    ~TextArray() override { DestroyAll(); }
    void CopyElement(void* target, const void* source) override {
        if (target == nullptr) return;
        auto* text = new std::string(**static_cast<std::string* const*>(source));
        *static_cast<std::string**>(target) = text;
        ++copies;
    }
    void DestroyElement(void* element) override {
        delete *static_cast<std::string**>(element);
        ++destroys;
    }
    std::string Text(uint32_t i) const { return **static_cast<std::string**>(At(i)); }
    int copies = 0;
    int destroys = 0;
};
}  // namespace

TEST(ObjectArray, ElementsMoveThroughTheirOwnOperations) {
    TextArray array;
    std::string texts[100];
    for (int i = 0; i < 100; ++i) {
        texts[i] = "text " + std::to_string(i);
        std::string* p = &texts[i];
        ASSERT_TRUE(array.Append(&p));
    }
    EXPECT_EQ(array.Capacity(), 128u);
    std::string inserted = "inserted";
    std::string* p = &inserted;
    ASSERT_TRUE(array.Insert(1, &p, 1));
    EXPECT_EQ(array.Text(0), "text 0");
    EXPECT_EQ(array.Text(1), "inserted");
    EXPECT_EQ(array.Text(2), "text 1");
    EXPECT_EQ(array.Text(100), "text 99");
    ASSERT_TRUE(array.Remove(0, 60));
    EXPECT_EQ(array.Count(), 41u);
    EXPECT_EQ(array.Capacity(), 64u);
    EXPECT_EQ(array.Text(0), "text 59");
    std::string replaced = "replaced";
    p = &replaced;
    ASSERT_TRUE(array.Set(40, &p));
    EXPECT_EQ(array.Text(40), "replaced");
    array.Clear();
    EXPECT_EQ(array.copies - array.destroys, 0);
}
