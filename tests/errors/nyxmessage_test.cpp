#include <string>

#include <gtest/gtest.h>

#include "errors/nyxmessage.h"

namespace {
std::string Expand(const char* format, std::initializer_list<const char*> texts) {
    std::vector<const char*> array(texts);
    nyxString out;
    EXPECT_TRUE(nyxExpandMessage(format, static_cast<int32_t>(array.size()), array.data(), out));
    return out.c_str();
}
}  // namespace

TEST(NyxMessage, ExpansionTakesOnlyDigitPlaceholders) {
    struct Case {
        const char* format;
        std::initializer_list<const char*> texts;
        const char* expected;
    };
    const Case cases[] = {
        {"100%", {}, "100%"},
        {"%1%1", {"ab"}, "abab"},
        {"[%2]", {"a"}, "[]"},
        {"%0 %% %x", {"a"}, "%0 %% %x"},
        {"", {"a"}, ""},
        {"%1 and %2", {"%2", "b"}, "%2 and b"},  // an argument's text is not expanded again
        {"null:%1.", {nullptr}, "null:."},
    };
    for (const Case& c : cases) EXPECT_EQ(Expand(c.format, c.texts), c.expected) << c.format;
}

TEST(NyxMessage, ExpansionIsNotLimitedByItsBuffer) {
    std::string format(5000, 'x');
    format += "%1";
    std::string arg(4095, 'y');
    EXPECT_EQ(Expand(format.c_str(), {arg.c_str()}), std::string(5000, 'x') + arg);
}

TEST(NyxMessage, WithoutCatalogueRenderingFallsBackAndReportsFalse) {
    nyxString out;
    EXPECT_FALSE(nyxRenderMessage(1, 110, out, "PDMWSPIGetOwner", nyxMessageArg::NullArg,
                                  "WSPIHandle", nyxMessageArg::NullArg, nyxMessageArg::NullArg,
                                  nyxMessageArg::NullArg, nyxMessageArg::NullArg,
                                  nyxMessageArg::NullArg, nyxMessageArg::NullArg));
    // Null arguments in the middle are skipped, not a stop as in a push.
    EXPECT_STREQ(out.c_str(),
                 "<no message available> (module 1, message 110) "
                 "[\"PDMWSPIGetOwner\", \"WSPIHandle\"]");
    EXPECT_EQ(nyxModuleName(1), nullptr);
}
