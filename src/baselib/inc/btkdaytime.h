// Time stamps: 32-bit seconds since 1970, as the runtime's time() of a 32-bit process gives them.
// A stored stamp is the local wall-clock reading of its moment written down as if it were UTC.
// The model stamps its records with these; the date-time exports convert with them.
#pragma once

#include <cstdint>

// The broken-down form: the six client fields, then weekday and day of the year.
struct PDMDateTimeFields {
    int32_t year, month, day, hour, minute, second, weekday, yearday;
};

enum class PDMZone { kLocal = 0, kUtc = 1 };

int32_t PDMDateTimeNow();
// The value stored stamps get: now, broken down as local time, converted back as UTC.
int32_t PDMDateTimeCurrentStamp();
// 0 when the runtime can't represent the moment; a UTC conversion never gives 0 for a valid one.
int32_t PDMDateTimeFromFields(const PDMDateTimeFields& fields, PDMZone zone);
// False, with all eight fields 0, when the runtime can't break the value down.
bool PDMDateTimeToFields(int32_t value, PDMZone zone, PDMDateTimeFields& fields);
