// Cursors and string pairs as a client meets them.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "marrows/marrows.h"
#include "srccldb/ccursor.h"
#include "testsupport.h"

using testsupport::Arguments;

namespace {
class Cursors : public testsupport::CleanStackTest {};

std::vector<void*> Drain(CursorHandle cursor) {
    std::vector<void*> out;
    void* element = reinterpret_cast<void*>(1);
    for (;;) {
        EXPECT_EQ(PDMCursorGetNext(cursor, &element), 0);
        if (element == nullptr) break;
        out.push_back(element);
    }
    return out;
}

PDMPointerList* ListOf(std::vector<int>& values) {
    PDMPointerList* list = new PDMPointerList();
    for (int& v : values) {
        void* p = &v;
        list->InsertLast(&p);
    }
    return list;
}
}  // namespace

TEST_F(Cursors, LiveAndBuiltCollectionsWalkToNullAndStayThere) {
    std::vector<int> values = {1, 2, 3};
    PDMPointerList live;
    for (int& v : values) {
        void* p = &v;
        live.InsertLast(&p);
    }
    CursorHandle a = nullptr, b = nullptr;
    ASSERT_EQ(PDMBindCursor(&live, false, &a), 0);
    ASSERT_EQ(PDMBindCursor(&live, false, &b), 0);
    void* first = nullptr;
    ASSERT_EQ(PDMCursorGetNext(a, &first), 0);
    EXPECT_EQ(first, &values[0]);
    // Two cursors over one live container advance independently.
    EXPECT_EQ(Drain(b), (std::vector<void*>{&values[0], &values[1], &values[2]}));
    EXPECT_EQ(Drain(a), (std::vector<void*>{&values[1], &values[2]}));
    void* after = reinterpret_cast<void*>(1);
    EXPECT_EQ(PDMCursorGetNext(a, &after), 0);
    EXPECT_EQ(after, nullptr);
    EXPECT_EQ(PDMCursorDelete(a), 0);
    EXPECT_EQ(PDMCursorDelete(b), 0);
    EXPECT_EQ(live.GetCount(), 3u) << "deleting a live cursor must leave its container";

    // A built list is the cursor's own and goes with it (the sanitizer build sees a leak).
    CursorHandle built = nullptr;
    ASSERT_EQ(PDMBindCursor(ListOf(values), true, &built), 0);
    EXPECT_EQ(Drain(built).size(), 3u);
    EXPECT_EQ(PDMCursorDelete(built), 0);

    std::vector<int> none;
    CursorHandle empty = nullptr;
    ASSERT_EQ(PDMBindCursor(ListOf(none), true, &empty), 0);
    EXPECT_TRUE(Drain(empty).empty());
    PDMCursorDelete(empty);
    EXPECT_EQ(PDMCursorDelete(nullptr), 0);
}

TEST_F(Cursors, StandingRecordRefusesACursorAndNullCursorIs110) {
    std::vector<int> values = {1};
    nyxErrorPush(1, 2403, 2, 1, "a.ldb");
    CursorHandle cursor = reinterpret_cast<CursorHandle>(1);
    EXPECT_EQ(PDMBindCursor(ListOf(values), true, &cursor), 2403);
    EXPECT_EQ(cursor, nullptr);

    void* element = reinterpret_cast<void*>(1);
    EXPECT_EQ(PDMCursorGetNext(nullptr, &element), 110) << "the code, not the top of the stack";
    EXPECT_EQ(element, nullptr);
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()),
              (std::vector<std::string>{"PDMCursorGetNext", "CursorHandle"}));
}

TEST_F(Cursors, ErrorStackCursorWalksNewestFirst) {
    CursorHandle cursor = reinterpret_cast<CursorHandle>(1);
    EXPECT_EQ(PDMErrorGetStack(&cursor), 0);
    EXPECT_EQ(cursor, nullptr);
    nyxError* older = nyxErrorPush(1, 2408, 2, 0);
    nyxError* newer = nyxErrorPush(1, 110, 2, 0);
    ASSERT_EQ(PDMErrorGetStack(&cursor), 0);
    EXPECT_EQ(Drain(cursor), (std::vector<void*>{newer, older}));
    EXPECT_EQ(PDMCursorDelete(cursor), 110);  // form T with the records still standing
}

TEST_F(Cursors, StringPairsKeepTheirTextsAndCheckTheSide) {
    PairHandle pair = nullptr;
    ASSERT_EQ(PDMStringPairCreate(nullptr, "x", &pair), 0);
    const char* text = nullptr;
    ASSERT_EQ(PDMStringPairGetString(pair, 1, &text), 0);
    EXPECT_STREQ(text, "");
    ASSERT_EQ(PDMStringPairGetString(pair, 2, &text), 0);
    EXPECT_STREQ(text, "x");

    for (int which : {0, 3}) {
        const char* untouched = "keep";
        EXPECT_EQ(PDMStringPairGetString(pair, which, &untouched), 110);
        EXPECT_STREQ(untouched, "keep");
        EXPECT_EQ(Arguments(nyxErrorGetCurrent()),
                  (std::vector<std::string>{"PDMStingPairGetString", "NumberInPair"}));
        PDMErrorClearStack();
    }
    const char* untouched = "keep";
    EXPECT_EQ(PDMStringPairGetString(nullptr, 1, &untouched), 110);
    EXPECT_EQ(Arguments(nyxErrorGetCurrent()),
              (std::vector<std::string>{"PDMStingPairGetString", "PairHandle"}));
    PDMErrorClearStack();
    EXPECT_EQ(PDMStringPairDelete(pair), 0);
    EXPECT_EQ(PDMStringPairDelete(nullptr), 0);
}
