// The date-time exports, on the toolkit's conversions.
#include "cdaytime.h"

#include <cstdio>

#include "callframe.h"
#include "errors/nyxerror.h"
#include "marrows/marrows.h"

namespace {
const char kSource[] = "srccldb/cdaytime";

PDMDateTimeFields FromInfo(const PDMDateTimeInfo& info) {
    return {info.year, info.month, info.day, info.hour, info.minute, info.second, 0, 0};
}

const char* JulianText(int32_t value) {
    char text[48];
    std::snprintf(text, sizeof text, "'%d:%d'", value / 86400 + 2440588, value % 86400);
    return PDMKeepString(text);
}
}  // namespace

int PDMDateTimeCreate(const PDMDateTimeInfo* info, PDMDateTime* value) {
    int32_t created = PDMDateTimeFromFields(FromInfo(*info), PDMZone::kUtc);
    if (created == 0) {
        nyxErrorPushInternal("PDMDateTimeCreate", kSource, 55);
        return 101;
    }
    *value = created;
    return PDMResultT();
}

int PDMDateTimeGetInfo(PDMDateTime value, PDMDateTimeInfo* info) {
    PDMDateTimeFields fields;
    bool ok = PDMDateTimeToFields(value, PDMZone::kUtc, fields);
    info->year = fields.year;
    info->month = fields.month;
    info->day = fields.day;
    info->hour = fields.hour;
    info->minute = fields.minute;
    info->second = fields.second;
    if (!ok) {
        nyxErrorPushInternal("PDMDateTimeGetInfo", kSource, 78);
        return 101;
    }
    return PDMResultT();
}

int PDMDateTimeGetJulianString(PDMDateTime value, const char** text) {
    *text = JulianText(value);
    return PDMResultT();
}

int PDMDateTimeInfoGetJulianString(const PDMDateTimeInfo* info, const char** text) {
    *text = JulianText(PDMDateTimeFromFields(FromInfo(*info), PDMZone::kUtc));
    return PDMResultT();
}
