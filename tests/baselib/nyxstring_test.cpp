#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "nyxstring.h"

TEST(NyxString, UnsetStringsShareTheEmptyTextAndNeverFreeIt) {
    nyxString unset;
    EXPECT_EQ(unset.c_str(), nyxStringEmpty());
    unset.Clear();
    EXPECT_EQ(unset.c_str(), nyxStringEmpty());
    // Appending nothing keeps the very same pointer.
    unset.Append("");
    unset.Append(nullptr);
    EXPECT_EQ(unset.c_str(), nyxStringEmpty());
    EXPECT_EQ(nyxStringDup(nullptr), nyxStringEmpty());
    EXPECT_EQ(nyxStrdup(nullptr), nullptr);
}

TEST(NyxString, CopyOfEmptyTextIsPrivateAndOwned) {
    nyxString fromEmpty("");
    EXPECT_NE(fromEmpty.c_str(), nyxStringEmpty());
    EXPECT_TRUE(fromEmpty.IsEmpty());
    EXPECT_TRUE(fromEmpty.OwnsText());
    nyxString unset;
    nyxString assigned;
    assigned = unset;  // an empty source still gives a private one-byte text
    EXPECT_NE(assigned.c_str(), nyxStringEmpty());
    assigned = static_cast<const char*>(nullptr);
    EXPECT_EQ(assigned.c_str(), nyxStringEmpty());
}

TEST(NyxString, AppendConcatenatesAndSelfAssignmentKeepsText) {
    nyxString text;
    text.Append("ab");
    const char* first = text.c_str();
    EXPECT_NE(first, nyxStringEmpty());
    text.Append("cd").Append("e");
    EXPECT_STREQ(text.c_str(), "abcde");
    const nyxString& alias = text;
    text = alias;
    EXPECT_STREQ(text.c_str(), "abcde");
    text = text.c_str() + 2;  // assigning from our own text must copy before it frees
    EXPECT_STREQ(text.c_str(), "cde");
    char* joined = nyxStringConcat(nullptr, "x");
    EXPECT_STREQ(joined, "x");
    nyxStringFree(joined);
}

TEST(NyxString, ReadFromStopsAtNulOrEnd) {
    std::istringstream withNul(std::string("12.5\0rest", 9));
    nyxString text;
    text.ReadFrom(withNul);
    EXPECT_STREQ(text.c_str(), "12.5");
    std::istringstream empty("");
    text.ReadFrom(empty);
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_TRUE(text.OwnsText());
    std::string longText(1000, 'q');
    std::istringstream large(longText);
    text.ReadFrom(large);
    EXPECT_EQ(std::string(text.c_str()), longText);
}
