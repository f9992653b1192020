// Date and time through the exported interface, in several time zones.
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include <gtest/gtest.h>

#include "marrows/marrows.h"
#include "srccldb/cdaytime.h"
#include "testsupport.h"

namespace {
class ZoneScope {
public:
    explicit ZoneScope(const char* zone) {
        const char* old = std::getenv("TZ");
        saved_ = old ? old : "";
        had_ = old != nullptr;
        setenv("TZ", zone, 1);
        tzset();
    }
    ~ZoneScope() {
        if (had_) setenv("TZ", saved_.c_str(), 1);
        else unsetenv("TZ");
        tzset();
    }

private:
    std::string saved_;
    bool had_;
};

const char* const kZones[] = {"UTC0", "CET-1CEST,M3.5.0,M10.5.0/3", "EST5EDT,M3.2.0,M11.1.0",
                              "<+0530>-5:30", "<-10>10"};

class DateTime : public testsupport::CleanStackTest {};
}  // namespace

TEST_F(DateTime, FieldsRoundTripInEveryZone) {
    const PDMDateTimeInfo moments[] = {
        {1970, 1, 2, 0, 0, 1}, {2001, 6, 15, 12, 0, 0}, {2001, 1, 31, 23, 59, 59},
        {2024, 2, 29, 6, 30, 15}, {2037, 12, 31, 23, 59, 59}, {1999, 12, 31, 22, 0, 0}};
    for (const char* zone : kZones) {
        ZoneScope scope(zone);
        for (const PDMDateTimeInfo& in : moments) {
            PDMDateTime value = 0;
            ASSERT_EQ(PDMDateTimeCreate(&in, &value), 0) << zone << " " << in.year;
            PDMDateTimeInfo out{};
            ASSERT_EQ(PDMDateTimeGetInfo(value, &out), 0);
            EXPECT_EQ(std::memcmp(&in, &out, sizeof in), 0) << zone << " " << in.year << "-" << in.month;
        }
        // The broken-down form is UTC whatever the zone.
        PDMDateTimeInfo noon = {2001, 6, 15, 12, 0, 0};
        PDMDateTime value = 0;
        ASSERT_EQ(PDMDateTimeCreate(&noon, &value), 0);
        EXPECT_EQ(value, 992606400) << zone;
    }
}

TEST_F(DateTime, EpochIsOneAndOutOfRangeIsAnInternalError) {
    ZoneScope scope("UTC0");
    PDMDateTimeInfo epoch = {1970, 1, 1, 0, 0, 0};
    PDMDateTime value = 0;
    EXPECT_EQ(PDMDateTimeCreate(&epoch, &value), 0);
    EXPECT_EQ(value, 1);

    PDMDateTimeInfo tooLate = {2040, 1, 1, 0, 0, 0};
    value = 77;
    EXPECT_EQ(PDMDateTimeCreate(&tooLate, &value), 101);
    EXPECT_EQ(value, 77);
    EXPECT_EQ(testsupport::Arguments(nyxErrorGetCurrent()),
              (std::vector<std::string>{"PDMDateTimeCreate", "srccldb/cdaytime", "55"}));
    PDMErrorClearStack();

    PDMDateTimeInfo info = {9, 9, 9, 9, 9, 9};
    EXPECT_EQ(PDMDateTimeGetInfo(-5, &info), 101);
    PDMDateTimeInfo zero{};
    EXPECT_EQ(std::memcmp(&info, &zero, sizeof info), 0);
    EXPECT_EQ(testsupport::Arguments(nyxErrorGetCurrent()),
              (std::vector<std::string>{"PDMDateTimeGetInfo", "srccldb/cdaytime", "78"}));
}

TEST_F(DateTime, JulianTextsUseTruncatingArithmetic) {
    const std::pair<PDMDateTime, const char*> cases[] = {
        {0, "'2440588:0'"}, {86399, "'2440588:86399'"}, {86400, "'2440589:0'"},
        {-1, "'2440588:-1'"}, {-86401, "'2440587:-1'"}, {1000000000, "'2452162:6400'"}};
    for (const auto& c : cases) {
        const char* text = nullptr;
        EXPECT_EQ(PDMDateTimeGetJulianString(c.first, &text), 0);
        EXPECT_STREQ(text, c.second) << c.first;
    }
    ZoneScope scope("CET-1CEST,M3.5.0,M10.5.0/3");
    // Fields out of range are normalised, not refused.
    PDMDateTimeInfo loose = {2001, 0, 0, 0, 0, 0};
    const char* text = nullptr;
    EXPECT_EQ(PDMDateTimeInfoGetJulianString(&loose, &text), 0);
    EXPECT_STREQ(text, "'2451879:0'");  // 2000-11-30
    PDMDateTimeInfo invalid = {2050, 1, 1, 0, 0, 0};
    EXPECT_EQ(PDMDateTimeInfoGetJulianString(&invalid, &text), 0);
    EXPECT_STREQ(text, "'2440588:0'");
}

TEST_F(DateTime, CurrentStampIsLocalWallClockWrittenAsUtc) {
    const std::pair<const char*, int> zones[] = {{"UTC0", 0}, {"<+0530>-5:30", 19800}, {"<-10>10", -36000}};
    for (const auto& z : zones) {
        ZoneScope scope(z.first);
        int32_t before = PDMDateTimeNow();
        int32_t stamp = PDMDateTimeCurrentStamp();
        int32_t after = PDMDateTimeNow();
        EXPECT_GE(stamp - z.second, before) << z.first;
        EXPECT_LE(stamp - z.second, after) << z.first;
    }
}
