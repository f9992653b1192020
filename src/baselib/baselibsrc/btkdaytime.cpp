// The conversions under every time stamp of the library. The runtime here has a 64-bit time_t;
// results are held to what a 32-bit one gives, so that stored stamps mean the same everywhere.
#include "btkdaytime.h"

#include <ctime>

#include "platform/pclock.h"

namespace {
// mktime as a 32-bit runtime gives it: -1 outside 1970-01-01 to 2038-01-19.
int64_t MakeTime32(std::tm* tm) {
    int64_t t = static_cast<int64_t>(std::mktime(tm));
    return (t < 0 || t > 0x7FFFFFFF) ? -1 : t;
}

// gmtime/localtime as a 32-bit runtime gives them: null for a negative value.
bool BreakDown(int64_t value, PDMZone zone, std::tm& out) {
    if (value < 0) return false;
    std::time_t t = static_cast<std::time_t>(value);
    // The re-entrant forms don't re-read TZ; the zone of a long-running client may change.
    tzset();
    return (zone == PDMZone::kUtc ? gmtime_r(&t, &out) : localtime_r(&t, &out)) != nullptr;
}
}  // namespace

int32_t PDMDateTimeNow() { return static_cast<int32_t>(platform::Now()); }

int32_t PDMDateTimeCurrentStamp() {
    PDMDateTimeFields fields;
    if (!PDMDateTimeToFields(PDMDateTimeNow(), PDMZone::kLocal, fields)) return 0;
    return PDMDateTimeFromFields(fields, PDMZone::kUtc);
}

int32_t PDMDateTimeFromFields(const PDMDateTimeFields& fields, PDMZone zone) {
    tzset();
    std::tm tm{};
    tm.tm_year = fields.year - 1900;
    tm.tm_mon = fields.month - 1;
    tm.tm_mday = fields.day;
    tm.tm_hour = fields.hour;
    tm.tm_min = fields.minute;
    tm.tm_sec = fields.second;
    if (zone == PDMZone::kLocal) {
        tm.tm_isdst = -1;
        int64_t t = MakeTime32(&tm);
        return t == -1 ? 0 : static_cast<int32_t>(t);
    }
    // Read the fields as local standard time, then move by the zone offset in force: the
    // difference between a moment and its UTC fields read back as local time.
    tm.tm_isdst = 0;
    int64_t t1 = MakeTime32(&tm);
    if (t1 == -1) return 0;
    std::tm utc{};
    if (!BreakDown(t1, PDMZone::kUtc, utc)) return 0;
    int64_t t2 = MakeTime32(&utc);
    int32_t value = static_cast<int32_t>(static_cast<uint32_t>(2 * t1 - t2));
    // The epoch itself must not read as a failure.
    return value == 0 ? 1 : value;
}

bool PDMDateTimeToFields(int32_t value, PDMZone zone, PDMDateTimeFields& fields) {
    std::tm tm{};
    if (!BreakDown(value, zone, tm)) {
        fields = PDMDateTimeFields{0, 0, 0, 0, 0, 0, 0, 0};
        return false;
    }
    fields = {tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour,
              tm.tm_min,         tm.tm_sec,     tm.tm_wday, tm.tm_yday};
    return true;
}
