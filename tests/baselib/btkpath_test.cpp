#include <clocale>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "btkpath.h"

namespace {
std::string Appended(const std::string& path, const char* part) {
    btkPath buffer;
    std::strcpy(buffer, path.c_str());
    btkPathAppend(buffer, part);
    return buffer;
}
std::string Stripped(const char* path) {
    btkPath buffer;
    std::strcpy(buffer, path);
    btkPathStripTrailing(buffer);
    return buffer;
}
}  // namespace

TEST(Path, AbsoluteFormsAndTheirRoots) {
    struct Case {
        const char* path;
        bool absolute;
        size_t root;
    };
    const Case cases[] = {
        {"|x", true, 1},   {"/x", true, 1},   {"C:\\x", true, 3}, {"C:|x", true, 3},
        {"\\x", false, 0}, {"C:/x", false, 0}, {"x", false, 0},   {"", false, 0},
        {"1:|x", false, 0}, {"C:", false, 0},  {"\xE9:|x", false, 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(btkPathIsAbsolute(c.path), c.absolute) << c.path;
        EXPECT_EQ(static_cast<size_t>(btkPathSkipRoot(c.path) - c.path), c.root) << c.path;
    }
}

TEST(Path, SeparatorConversionsTouchOnlySeparators) {
    btkPath native;
    btkPath portable;
    btkPathToNative(native, "a/b|c\\d");
    EXPECT_STREQ(native, "a/b/c/d");
    btkPathToPortable("a/b|c\\d", portable);
    EXPECT_STREQ(portable, "a|b|c|d");
    btkPathToPortable("caf\xE9/x", portable);
    EXPECT_STREQ(portable, "caf\xE9|x");
    btkPathToNative(native, "");
    EXPECT_STREQ(native, "");
}

TEST(Path, AppendAddsOnePortableSeparatorAndRefusesOverlongResults) {
    struct Case {
        std::string path;
        const char* part;
        std::string expected;
    };
    const Case cases[] = {
        {"a", "b", "a|b"},     {"a|", "b", "a|b"}, {"", "b", "b"},     {"a", "", "a"},
        {"a/", "b", "a/|b"},   {"a\\", "b", "a\\|b"}, {"a", nullptr, "a"},
    };
    for (const Case& c : cases) EXPECT_EQ(Appended(c.path, c.part), c.expected) << c.path;
    // The sum of both lengths plus two must stay below the 1024-byte buffer.
    std::string fits(1020, 'x');
    EXPECT_EQ(Appended(fits, "y"), fits + "|y");
    std::string full(1021, 'x');
    EXPECT_EQ(Appended(full, "y"), full);
}

TEST(Path, StripTrailingKeepsARoot) {
    struct Case {
        const char* path;
        const char* expected;
    };
    const Case cases[] = {
        {"a|b|", "a|b"},  {"a|b//\\", "a|b"}, {"|", "|"},     {"/", "/"},
        {"C:\\", "C:\\"}, {"C:|x|", "C:|x"},  {"|x|", "|x"},  {"a", "a"},
        {"a|", "a"},      {"", ""},           {"//", "//"},   {"|a||", "|a"},
    };
    for (const Case& c : cases) EXPECT_EQ(Stripped(c.path), c.expected) << c.path;
}

TEST(Path, LastSeparatorAndFileName) {
    const char* path = "dir|sub/name.txt";
    EXPECT_EQ(btkPathLastSeparator(path), path + 7);
    EXPECT_EQ(btkPathLastSeparator("name"), nullptr);
    EXPECT_EQ(btkPathLastSeparator(""), nullptr);
    btkPath name;
    EXPECT_TRUE(btkPathFileName(path, name));
    EXPECT_STREQ(name, "name.txt");
    EXPECT_TRUE(btkPathFileName("plain", name));
    EXPECT_STREQ(name, "plain");
    EXPECT_TRUE(btkPathFileName("dir|", name));
    EXPECT_STREQ(name, "");
    std::strcpy(name, "untouched");
    EXPECT_FALSE(btkPathFileName("", name));
    EXPECT_STREQ(name, "untouched");
}

TEST(Path, MultibyteLocaleWalksWholeCharacters) {
    if (std::setlocale(LC_CTYPE, "C.UTF-8") == nullptr) GTEST_SKIP() << "no C.UTF-8 locale";
    // A two-byte letter isn't a drive letter, and a separator after it is still found.
    EXPECT_FALSE(btkPathIsAbsolute("\xC3\xA9:|x"));
    EXPECT_EQ(Stripped("\xC3\xA9|"), "\xC3\xA9");
    EXPECT_EQ(Appended("\xC3\xA9", "b"), "\xC3\xA9|b");
    std::setlocale(LC_CTYPE, "C");
}
