#include <clocale>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "btkstatics.h"
#include "btkwidetext.h"

TEST(WideMatch, StarQuestionMarkAndLiteralTable) {
    struct Case {
        const wchar_t* text;
        const wchar_t* pattern;
        bool match;
    };
    const Case cases[] = {
        {L"abc", L"a*", true},    {L"abc", L"*c", true},    {L"abc", L"a?c", true},
        {L"abc", L"*", true},     {L"abc", L"***", true},   {L"abc", L"abc", true},
        {L"abc", L"ab", false},   {L"abc", L"abcd", false}, {L"abc", L"a?", false},
        {L"abc", L"?", false},    {L"abc", L"abc?", false}, {L"", L"*", true},
        {L"", L"", true},         {L"", L"?", false},       {L"", L"a", false},
        {L"a.TXT", L"*.txt", false}, {L"a.txt", L"*.txt", true}, {L"abcbd", L"a*b?", true},
        {L"abcbd", L"*b*d", true}, {L"abc", L"a*b*c*", true}, {L"x\u00e9y", L"x?y", true},
        {L"mississippi", L"m*iss*ppi", true}, {L"mississippi", L"m*iss*pp", false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(btkWideMatch(c.text, c.pattern), c.match)
            << std::wstring(c.text).size() << " chars, pattern index " << (&c - cases);
    }
}

TEST(WideText, ConversionKeepsEveryByteInTheCLocale) {
    ASSERT_STREQ(std::setlocale(LC_CTYPE, nullptr), "C");
    EXPECT_EQ(btkMbsWideLength(""), 0u);
    EXPECT_EQ(btkMbsWideLength(reinterpret_cast<const char*>(uintptr_t{255})), 0u);
    EXPECT_EQ(btkMbsWideLength("abc"), 3u);
    // Bytes that the C locale refuses still count and widen to their own value.
    const char latin[] = "caf\xE9.txt";
    EXPECT_EQ(btkMbsWideLength(latin), 8u);
    wchar_t* wide = btkMbsToWide(latin);
    ASSERT_NE(wide, nullptr);
    EXPECT_EQ(std::wstring(wide), std::wstring(L"caf\u00e9.txt"));
    delete[] wide;
    EXPECT_EQ(btkMbsToWide(nullptr), nullptr);
    wchar_t* empty = btkMbsToWide("");
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(empty[0], L'\0');
    delete[] empty;
    EXPECT_EQ(btkMbsCharLength("abc"), 1);
    EXPECT_EQ(btkMbsCharLength(""), 0);
}

TEST(WideText, CopyStopsAtTheLimit) {
    wchar_t buffer[8];
    std::wmemset(buffer, L'#', 8);
    EXPECT_EQ(btkMbsCopyToWide(buffer, "abcdef", 3), buffer);
    EXPECT_EQ(std::wstring(buffer, 4), std::wstring(L"abc#"));
    btkMbsCopyToWide(buffer, "xy", 8);
    EXPECT_EQ(std::wstring(buffer), std::wstring(L"xy"));
}

TEST(WideText, MultibyteLocaleDecodesWholeCharacters) {
    if (std::setlocale(LC_CTYPE, "C.UTF-8") == nullptr) GTEST_SKIP() << "no C.UTF-8 locale";
    const char text[] = "x\xC3\xA9y";  // x, e acute, y
    EXPECT_EQ(btkMbsWideLength(text), 3u);
    EXPECT_EQ(btkMbsCharLength(text + 1), 2);
    wchar_t* wide = btkMbsToWide(text);
    EXPECT_EQ(std::wstring(wide), std::wstring(L"x\u00e9y"));
    EXPECT_TRUE(btkWideMatch(wide, L"x?y"));
    delete[] wide;
    std::setlocale(LC_CTYPE, "C");
}

namespace {
int freed = 0;
void FreeBuffer(btkBufHeader* header) {
    ++freed;
    delete[] reinterpret_cast<unsigned char*>(header);
}
char* MakeBuffer(const char* text, int32_t count) {
    auto* block = new unsigned char[kBtkBufHeaderBytes + std::strlen(text) + 1];
    auto* header = reinterpret_cast<btkBufHeader*>(block);
    header->count = count;
    header->free = FreeBuffer;
    char* chars = reinterpret_cast<char*>(block + kBtkBufHeaderBytes);
    std::strcpy(chars, text);
    return chars;
}
}  // namespace

TEST(CountedBuffer, ReleaseDropsOneReferenceAndFreesWithTheLast) {
    freed = 0;
    char* shared = MakeBuffer("text", 3);
    void* first = shared;
    void* second = shared;
    void* third = shared;
    btkBufRelease(&first);
    EXPECT_EQ(first, nullptr);
    EXPECT_EQ(btkBufHeaderOf(shared)->count, 2);
    btkBufRelease(&second);
    EXPECT_EQ(freed, 0);
    btkBufRelease(&third);
    EXPECT_EQ(freed, 1);
    void* none = nullptr;
    btkBufRelease(&none);
    EXPECT_EQ(freed, 1);
    // The library's own handles are never filled.
    EXPECT_EQ(btkCSBufHandle.text, nullptr);
    EXPECT_EQ(btkWSBufHandle.text, nullptr);
    EXPECT_EQ(btkCSBuf::emptyStringBuf, nullptr);
    EXPECT_EQ(btkWSBuf::emptyStringBuf, nullptr);
    EXPECT_EQ(btkMBStrFunc::mbsMode, nullptr);
}

TEST(CountedBuffer, ExitFunctionReleasesAHeldTextAndDropsAnEmptyOne) {
    freed = 0;
    {
        btkBufHandle<char> handle;
        handle.text = MakeBuffer("last", 1);
    }
    EXPECT_EQ(freed, 1);
    // A release always clears the handle, so a shared text loses just this one reference.
    char* shared = MakeBuffer("shared", 2);
    {
        btkBufHandle<char> handle;
        handle.text = shared;
    }
    EXPECT_EQ(freed, 1);
    EXPECT_EQ(btkBufHeaderOf(shared)->count, 1);
    void* last = shared;
    btkBufRelease(&last);
    EXPECT_EQ(freed, 2);
    char* empty = MakeBuffer("", 1);
    {
        btkBufHandle<char> handle;
        handle.text = empty;
    }
    EXPECT_EQ(freed, 2);  // an empty text is dropped, not released
    delete[] reinterpret_cast<unsigned char*>(btkBufHeaderOf(empty));
}
