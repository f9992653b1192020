#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "collections/nyxxarray.h"

namespace {

using Words = nyxXArrayOf<uint32_t>;
using Strings = nyxXArrayOf<nyxString>;
using SortedWords = nyxSortedXArrayOf<uint32_t>;

std::vector<uint32_t> Contents(nyxCollection& array) {
    std::vector<uint32_t> out;
    nyxIteratorGuard it(array);
    for (it->First(); !it->AtEnd(); it->Next()) out.push_back(*static_cast<uint32_t*>(it->Current()));
    return out;
}

std::vector<std::string> Texts(Strings& array) {
    std::vector<std::string> out;
    for (uint32_t i = 0; i < array.GetCount(); ++i) out.push_back(array.At(i)->c_str());
    return out;
}

TEST(nyxXArrayTest, CapacityFollowsRoundingPlusAQuarter) {
    Words array;
    struct { uint32_t n, rounded; } rounding[] = {{0, 0}, {1, 5}, {4, 5}, {5, 10}, {6, 10}, {9, 15}, {100, 125}};
    for (auto& r : rounding) EXPECT_EQ(array.RoundCapacity(r.n), r.rounded) << r.n;

    EXPECT_EQ(array.GetCapacity(), 0u);
    EXPECT_EQ(array.GetData(), nullptr);
    uint32_t capacity = 0;
    for (uint32_t w = 1; w <= 500; ++w) {
        ASSERT_TRUE(array.Insert(&w));
        if (w > capacity) capacity = array.RoundCapacity(w);
        ASSERT_EQ(array.GetCapacity(), capacity) << w;
        if (w == 1) {
            EXPECT_EQ(capacity, 5u);
        }
        if (w == 6) {
            EXPECT_EQ(capacity, 10u);
        }
    }
    // With the default settings the block goes back as the array empties.
    while (array.RemoveLast()) {
        ASSERT_LE(array.GetCapacity(), array.RoundCapacity(array.GetCount()));
    }
    EXPECT_EQ(array.GetCapacity(), 0u);
    EXPECT_EQ(array.GetData(), nullptr);
}

TEST(nyxXArrayTest, DerivedGrowthBlockComesFromTheElementSize) {
    nyxXArraySettings settings;
    settings.growth_block = 0;
    settings.growth_percent = 0;
    nyxXArrayOf<uint32_t> words(settings);
    nyxXArrayOf<nyxString> strings(settings);
    EXPECT_EQ(words.RoundCapacity(1), 4u);
    EXPECT_EQ(words.RoundCapacity(5), 8u);
    EXPECT_EQ(strings.RoundCapacity(3), 3u);
}

TEST(nyxXArrayTest, PositionalArgumentsOutOfRangeAreRefused) {
    Words array;
    uint32_t w = 1;
    EXPECT_FALSE(array.InsertAt(1, &w));
    EXPECT_TRUE(array.InsertAt(0, &w));
    w = 2;
    EXPECT_TRUE(array.InsertAt(1, &w));
    EXPECT_FALSE(array.InsertAt(3, &w));
    EXPECT_EQ(array.GetAt(2), nullptr);
    EXPECT_FALSE(array.SetAt(2, &w));
    EXPECT_FALSE(array.RemoveAt(2u));
    EXPECT_FALSE(array.RemoveRange(2, 1));
    EXPECT_TRUE(array.RemoveRange(1, 0));
    EXPECT_EQ(Contents(array), (std::vector<uint32_t>{1, 2}));
    // A range past the end is cut there.
    EXPECT_TRUE(array.RemoveRange(1, 100));
    EXPECT_EQ(Contents(array), (std::vector<uint32_t>{1}));
}

TEST(nyxXArrayTest, RemoveCountsMatchesInOnePass) {
    struct {
        int32_t count;
        std::vector<uint32_t> left;
        bool result;
    } cases[] = {
        {-1, {2, 3}, true},
        {2, {2, 3, 1}, true},
        {5, {2, 3}, false},
        {0, {1, 2, 1, 3, 1}, true},
        {1, {2, 1, 3, 1}, true},
    };
    for (auto& c : cases) {
        for (bool raw : {false, true}) {
            nyxXArraySettings settings;
            settings.raw = raw;
            Words array(settings);
            for (uint32_t w : {1u, 2u, 1u, 3u, 1u}) array.Insert(&w);
            uint32_t one = 1;
            EXPECT_EQ(array.Remove(&one, c.count), c.result) << c.count;
            EXPECT_EQ(Contents(array), c.left) << c.count;
        }
    }
}

TEST(nyxXArrayTest, IteratorIndexRules) {
    Words array;
    for (uint32_t w : {10u, 20u, 30u}) array.Insert(&w);
    nyxIteratorGuard it(array);
    it->First();
    it->Prev();
    EXPECT_TRUE(it->AtEnd());
    it->First();
    it->Next();
    uint32_t w = 15;
    ASSERT_TRUE(array.InsertBefore(it.get(), &w));
    EXPECT_EQ(*static_cast<uint32_t*>(it->Current()), 20u);
    w = 25;
    ASSERT_TRUE(array.InsertAfter(it.get(), &w));
    EXPECT_EQ(*static_cast<uint32_t*>(it->Current()), 20u);
    EXPECT_EQ(Contents(array), (std::vector<uint32_t>{10, 15, 20, 25, 30}));
    // Removing backwards steps back; forwards stands on the element that moved up.
    ASSERT_TRUE(array.RemoveAt(it.get(), true));
    EXPECT_EQ(*static_cast<uint32_t*>(it->Current()), 25u);
    ASSERT_TRUE(array.RemoveAt(it.get(), false));
    EXPECT_EQ(*static_cast<uint32_t*>(it->Current()), 15u);
    it->Last();
    it->Next();
    EXPECT_FALSE(array.InsertAfter(it.get(), &w));
    EXPECT_FALSE(array.RemoveAt(it.get(), true));
    Words empty;
    nyxIteratorGuard end(empty);
    end->Last();
    EXPECT_TRUE(end->AtEnd());
}

TEST(nyxXArrayTest, SetSizeMakesNullElements) {
    nyxXArrayOf<void*> pointers;
    int x = 0;
    void* p = &x;
    pointers.Insert(&p);
    ASSERT_TRUE(pointers.SetSize(20));
    EXPECT_EQ(*pointers.At(0), p);
    for (uint32_t i = 1; i < 20; ++i) EXPECT_EQ(*pointers.At(i), nullptr);
    ASSERT_TRUE(pointers.SetSize(1));
    EXPECT_EQ(pointers.GetCapacity(), pointers.RoundCapacity(1));
}

TEST(nyxXArrayTest, ElementsFromTheArrayItselfSurviveGrowth) {
    Strings array;
    nyxString a("alpha");
    array.Insert(&a);
    // Each insert copies an element that lives in the block which the insert reallocates.
    for (int i = 0; i < 40; ++i) ASSERT_TRUE(array.InsertFirst(array.GetLast()));
    for (uint32_t i = 0; i < array.GetCount(); ++i) EXPECT_STREQ(array.At(i)->c_str(), "alpha");
    ASSERT_TRUE(array.InsertCopies(3, 10, array.At(0)));
    EXPECT_TRUE(array.Remove(array.At(5), -1));
    EXPECT_EQ(array.GetCount(), 0u);
}

TEST(nyxXArrayTest, MixedSequencesAgreeWithModel) {
    for (uint32_t seed = 1; seed <= 6; ++seed) {
        nyxXArraySettings settings;
        settings.shrink = seed % 2;
        settings.growth_block = seed % 3 == 0 ? 1 : 4;
        settings.growth_percent = seed % 3 == 0 ? 0 : 25;
        Strings array(settings);
        std::vector<std::string> model;
        std::mt19937 rng(seed);
        for (int step = 0; step < 3000; ++step) {
            std::string t = "s" + std::to_string(rng() % 12);
            nyxString s(t.c_str());
            uint32_t n = static_cast<uint32_t>(model.size());
            uint32_t pos = rng() % (n + 1);
            uint32_t run = rng() % 9;
            switch (rng() % 11) {
            case 0:
                ASSERT_TRUE(array.Insert(&s));
                model.push_back(t);
                break;
            case 1:
                ASSERT_TRUE(array.InsertAt(pos, &s));
                model.insert(model.begin() + pos, t);
                break;
            case 2: {
                ASSERT_TRUE(array.InsertCopies(pos, run, &s));
                model.insert(model.begin() + pos, run, t);
                break;
            }
            case 3: {
                std::vector<nyxString> source(run, s);
                for (uint32_t i = 0; i < run; ++i) source[i] = (t + "." + std::to_string(i)).c_str();
                ASSERT_TRUE(array.InsertRun(pos, run, source.data()));
                for (uint32_t i = 0; i < run; ++i) model.insert(model.begin() + pos + i, source[i].c_str());
                break;
            }
            case 4: {
                int32_t count = static_cast<int32_t>(rng() % 4) - 1;
                uint32_t present = static_cast<uint32_t>(std::count(model.begin(), model.end(), t));
                uint32_t limit = count < 0 ? present : std::min<uint32_t>(present, count);
                bool expected = count <= 0 || present >= static_cast<uint32_t>(count);
                EXPECT_EQ(array.Remove(&s, count), expected);
                for (uint32_t k = 0; k < limit; ++k) model.erase(std::find(model.begin(), model.end(), t));
                break;
            }
            case 5:
                EXPECT_EQ(array.RemoveRange(pos, run), pos < n);
                if (pos < n) model.erase(model.begin() + pos, model.begin() + std::min(n, pos + run));
                break;
            case 6:
                EXPECT_EQ(array.RemoveAt(pos), pos < n);
                if (pos < n) model.erase(model.begin() + pos);
                break;
            case 7:
                EXPECT_EQ(array.SetAt(pos, &s), pos < n);
                if (pos < n) model[pos] = t;
                break;
            case 8:
                EXPECT_EQ(array.Contains(&s), std::find(model.begin(), model.end(), t) != model.end());
                break;
            case 9:
                EXPECT_EQ(array.RemoveFirst(), n != 0);
                if (n) model.erase(model.begin());
                break;
            case 10:
                if (rng() % 20 == 0) {
                    array.Clear();
                    model.clear();
                } else {
                    ASSERT_TRUE(array.SetSize(pos));
                    model.resize(pos);
                }
                break;
            }
            ASSERT_EQ(Texts(array), model) << "step " << step;
            ASSERT_GE(array.GetCapacity(), array.GetCount());
            if (settings.shrink) {
                ASSERT_LE(array.GetCapacity(), array.RoundCapacity(array.GetCount()));
            }
        }
    }
}

TEST(nyxXArrayTest, InsertAllAppendsInOneGrowthStep) {
    Words a, b;
    for (uint32_t w = 0; w < 7; ++w) a.Insert(&w);
    for (uint32_t w = 100; w < 130; ++w) b.Insert(&w);
    ASSERT_TRUE(a.InsertAll(b));
    EXPECT_EQ(a.GetCapacity(), a.RoundCapacity(37));
    std::vector<uint32_t> expected;
    for (uint32_t w = 0; w < 7; ++w) expected.push_back(w);
    for (uint32_t w = 100; w < 130; ++w) expected.push_back(w);
    EXPECT_EQ(Contents(a), expected);
    ASSERT_TRUE(a.InsertAll(a));
    EXPECT_EQ(a.GetCount(), 37u);
}

TEST(nyxSortedXArrayTest, FindGivesTheInsertionPoint) {
    SortedWords array;
    uint32_t position = 77;
    uint32_t key = 5;
    EXPECT_FALSE(array.Find(&key, &position));
    EXPECT_EQ(position, 77u);
    for (uint32_t w : {20u, 10u}) array.Insert(&w);
    struct { uint32_t key, position; bool found; } cases[] = {
        {5, 0, false}, {10, 0, true}, {15, 1, false}, {20, 1, true}, {25, 2, false}};
    for (auto& c : cases) {
        position = 0;
        EXPECT_EQ(array.Find(&c.key, &position), c.found) << c.key;
        EXPECT_EQ(position, c.position) << c.key;
    }
}

TEST(nyxSortedXArrayTest, KeepsOrderAndRefusesDuplicatesAgainstModel) {
    SortedWords array;
    std::set<uint32_t> model;
    std::mt19937 rng(7);
    for (int step = 0; step < 6000; ++step) {
        uint32_t w = rng() % 300;
        switch (rng() % 4) {
        case 0:
        case 1:
            EXPECT_EQ(array.Insert(&w), model.insert(w).second);
            break;
        case 2:
            EXPECT_EQ(array.Remove(&w, 3), model.erase(w) == 1);
            break;
        case 3:
            EXPECT_EQ(array.Contains(&w), model.count(w) == 1);
            break;
        }
        if (step % 50 == 0) {
            ASSERT_EQ(Contents(array), std::vector<uint32_t>(model.begin(), model.end()));
        }
    }
    // Positional insertion would break the order, and the array says no.
    uint32_t w = 1;
    uint32_t before = array.GetCount();
    nyxIteratorGuard it(array);
    EXPECT_FALSE(array.InsertAt(0, &w));
    EXPECT_FALSE(array.InsertFirst(&w));
    EXPECT_FALSE(array.InsertLast(&w));
    EXPECT_FALSE(array.InsertBefore(it.get(), &w));
    EXPECT_FALSE(array.InsertAfter(it.get(), &w));
    EXPECT_EQ(array.GetCount(), before);
    EXPECT_TRUE(array.IsSorted());
    EXPECT_STREQ(array.GetClassName(), "nyxXArray");
}

TEST(nyxSortedXArrayTest, UnsortedSourceIsMergedIntoPlace) {
    SortedWords sorted;
    Words plain;
    for (uint32_t w : {50u, 10u, 30u, 10u, 20u}) plain.Insert(&w);
    uint32_t w = 40;
    sorted.Insert(&w);
    ASSERT_TRUE(sorted.InsertAll(plain));
    EXPECT_EQ(Contents(sorted), (std::vector<uint32_t>{10, 20, 30, 40, 50}));
}

}  // namespace
