#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <list>
#include <random>
#include <string>
#include <vector>

#include "collections/nyxlist.h"

namespace {

using StringSingle = nyxSingleListOf<nyxString>;
using StringDouble = nyxDoubleListOf<nyxString>;
using WordSingle = nyxSingleListOf<uint32_t>;

std::vector<std::string> Forward(nyxCollection& list) {
    std::vector<std::string> out;
    nyxIteratorGuard it(list);
    for (it->First(); !it->AtEnd(); it->Next())
        out.push_back(static_cast<nyxString*>(it->Current())->c_str());
    return out;
}

std::vector<std::string> Backward(nyxCollection& list) {
    std::vector<std::string> out;
    nyxIteratorGuard it(list);
    for (it->Last(); !it->AtEnd(); it->Prev())
        out.push_back(static_cast<nyxString*>(it->Current())->c_str());
    return out;
}

// An iterator standing on the n-th element, or at the end for n equal to the count.
nyxIterator* IteratorAt(nyxCollection& list, size_t n) {
    nyxIterator* it = list.NewIterator();
    it->First();
    for (size_t i = 0; i < n; ++i) it->Next();
    return it;
}

template <class List>
void DriveAgainstModel(uint32_t seed) {
    List list;
    std::list<std::string> model;
    std::mt19937 rng(seed);
    auto text = [&] { return "t" + std::to_string(rng() % 40); };
    for (int step = 0; step < 4000; ++step) {
        uint32_t op = rng() % 12;
        size_t pos = model.empty() ? 0 : rng() % (model.size() + 1);
        std::string t = text();
        nyxString s(t.c_str());
        switch (op) {
        case 0:
            ASSERT_TRUE(list.InsertFirst(&s));
            model.push_front(t);
            break;
        case 1:
        case 2:
            ASSERT_TRUE(list.Insert(&s));
            model.push_back(t);
            break;
        case 3: {
            nyxIterator* it = IteratorAt(list, pos);
            ASSERT_TRUE(list.InsertBefore(it, &s));
            // At the end an iterator inserts at the front, as if it stood before the head.
            auto where = pos == model.size() ? model.begin() : std::next(model.begin(), pos);
            model.insert(where, t);
            if (pos < model.size() - 1) {
                EXPECT_EQ(static_cast<nyxString*>(it->Current())->c_str(), *std::next(model.begin(), pos + 1));
            }
            it->Release();
            break;
        }
        case 4: {
            nyxIterator* it = IteratorAt(list, pos);
            ASSERT_TRUE(list.InsertAfter(it, &s));
            if (model.empty())
                model.push_back(t);
            else if (pos == model.size())
                model.push_front(t);
            else
                model.insert(std::next(model.begin(), pos + 1), t);
            it->Release();
            break;
        }
        case 5: {
            auto found = std::find(model.begin(), model.end(), t);
            EXPECT_EQ(list.Remove(&s, -1), found != model.end());
            if (found != model.end()) model.erase(found);
            break;
        }
        case 6:
            EXPECT_TRUE(list.RemoveFirst());
            if (!model.empty()) model.pop_front();
            break;
        case 7:
            EXPECT_EQ(list.RemoveLast(), !model.empty());
            if (!model.empty()) model.pop_back();
            break;
        case 8: {
            if (pos == model.size()) break;
            bool forward = rng() % 2;
            nyxIterator* it = IteratorAt(list, pos);
            ASSERT_TRUE(list.RemoveAt(it, forward));
            model.erase(std::next(model.begin(), pos));
            if (forward) {
                ASSERT_EQ(it->AtEnd(), pos == model.size());
                if (!it->AtEnd()) {
                    EXPECT_EQ(static_cast<nyxString*>(it->Current())->c_str(), *std::next(model.begin(), pos));
                }
            } else {
                ASSERT_EQ(it->AtEnd(), pos == 0);
                if (!it->AtEnd()) {
                    EXPECT_EQ(static_cast<nyxString*>(it->Current())->c_str(), *std::next(model.begin(), pos - 1));
                }
            }
            it->Release();
            break;
        }
        case 9: {
            if (pos == model.size()) break;
            nyxIterator* it = IteratorAt(list, pos);
            ASSERT_TRUE(list.SetAt(it, &s));
            *std::next(model.begin(), pos) = t;
            // Setting an element to itself keeps it.
            ASSERT_TRUE(list.SetAt(it, it->Current()));
            it->Release();
            break;
        }
        case 10:
            EXPECT_EQ(list.Contains(&s), std::find(model.begin(), model.end(), t) != model.end());
            break;
        case 11:
            if (rng() % 50 == 0) {
                list.Clear();
                model.clear();
            }
            break;
        }
        ASSERT_EQ(list.GetCount(), model.size()) << "step " << step;
        ASSERT_EQ(list.IsEmpty(), model.empty());
        if (model.empty()) {
            ASSERT_EQ(list.GetFirst(), nullptr);
            ASSERT_EQ(list.GetLast(), nullptr);
            ASSERT_EQ(list.Head(), nullptr);
            ASSERT_EQ(list.Tail(), nullptr);
        } else {
            ASSERT_EQ(static_cast<nyxString*>(list.GetFirst())->c_str(), model.front());
            ASSERT_EQ(static_cast<nyxString*>(list.GetLast())->c_str(), model.back());
        }
        if (step % 16 == 0) {
            ASSERT_EQ(Forward(list), std::vector<std::string>(model.begin(), model.end()));
            ASSERT_EQ(Backward(list), std::vector<std::string>(model.rbegin(), model.rend()));
        }
    }
}

TEST(nyxListTest, MixedSequencesAgreeWithModel) {
    for (uint32_t seed = 1; seed <= 4; ++seed) {
        DriveAgainstModel<StringSingle>(seed);
        DriveAgainstModel<StringDouble>(seed + 100);
    }
}

TEST(nyxListTest, EmptyListRemovalsAnswerAsQueuesExpect) {
    WordSingle single;
    nyxDoubleListOf<uint32_t> twice;
    nyxLinkedList* lists[] = {&single, &twice};
    for (nyxLinkedList* list : lists) {
        EXPECT_TRUE(list->RemoveFirst());
        EXPECT_FALSE(list->RemoveLast());
        uint32_t w = 7;
        ASSERT_TRUE(list->InsertLast(&w));
        ASSERT_TRUE(list->RemoveLast());
        EXPECT_EQ(list->Head(), nullptr);
        EXPECT_EQ(list->Tail(), nullptr);
        w = 8;
        ASSERT_TRUE(list->InsertLast(&w));
        EXPECT_EQ(*static_cast<uint32_t*>(list->GetFirst()), 8u);
        EXPECT_EQ(list->GetFirst(), list->GetLast());
    }
}

TEST(nyxListTest, RemoveTakesOnlyTheFirstEqualElement) {
    WordSingle list;
    for (uint32_t w : {1u, 2u, 1u, 3u}) list.Insert(&w);
    uint32_t one = 1;
    EXPECT_TRUE(list.Remove(&one, -1));
    std::vector<uint32_t> rest;
    nyxIteratorGuard it(list);
    for (it->First(); !it->AtEnd(); it->Next()) rest.push_back(*static_cast<uint32_t*>(it->Current()));
    EXPECT_EQ(rest, (std::vector<uint32_t>{2, 1, 3}));
}

TEST(nyxListTest, RemovingDuringAWalkVisitsEveryElementOnce) {
    for (bool twice : {false, true}) {
        WordSingle single;
        nyxDoubleListOf<uint32_t> doubled;
        nyxLinkedList& list = twice ? static_cast<nyxLinkedList&>(doubled) : single;
        for (uint32_t w = 0; w < 50; ++w) list.Insert(&w);
        std::vector<uint32_t> seen;
        nyxIteratorGuard it(list);
        for (it->First(); !it->AtEnd();) {
            uint32_t w = *static_cast<uint32_t*>(it->Current());
            seen.push_back(w);
            if (w % 3 != 0)
                list.RemoveAt(it.get(), true);
            else
                it->Next();
        }
        ASSERT_EQ(seen.size(), 50u);
        for (uint32_t w = 0; w < 50; ++w) EXPECT_EQ(seen[w], w);
        EXPECT_EQ(list.GetCount(), 17u);
    }
}

TEST(nyxListTest, IteratorPositionsAtTheEnds) {
    WordSingle list;
    for (uint32_t w : {10u, 20u, 30u}) list.Insert(&w);
    nyxIteratorGuard it(list);
    it->Last();
    it->Next();
    ASSERT_TRUE(it->AtEnd());
    nyxIterator* clone = it->Clone();
    // A clone of an iterator at the end stands on the head, not at the end.
    ASSERT_FALSE(clone->AtEnd());
    EXPECT_EQ(*static_cast<uint32_t*>(clone->Current()), 10u);
    clone->Release();
    it->Prev();
    ASSERT_FALSE(it->AtEnd());
    EXPECT_EQ(*static_cast<uint32_t*>(it->Current()), 30u);
    it->First();
    it->Prev();
    EXPECT_TRUE(it->AtEnd());

    uint32_t w = 5;
    it->First();
    ASSERT_TRUE(list.InsertBefore(it.get(), &w));
    EXPECT_EQ(*static_cast<uint32_t*>(list.GetFirst()), 5u);
    w = 40;
    it->Last();
    ASSERT_TRUE(list.InsertAfter(it.get(), &w));
    EXPECT_EQ(*static_cast<uint32_t*>(list.GetLast()), 40u);
    EXPECT_EQ(list.GetCount(), 5u);
}

}  // namespace
