// SPDX-License-Identifier: MIT
#include "fsi/4gl/kst4gl/julian.h"

#include "host/config.h"
#include "host/messages.h"

namespace fsi {
namespace {

constexpr int32_t kLastYear = 9999;

// The base date seen last, so that it is split and counted once for each setting.
struct JulianBase {
    int32_t date;
    int32_t day;
    bool is_valid;
};
JulianBase julian_base;

}  // namespace

int32_t day_number(int32_t year, int32_t month, int32_t day) {
    DateParts parts;
    parts.year = year;
    parts.month = month;
    parts.day = day;
    DateTimeValue value;
    set_value(parts, &value);
    return ZDTRToJulian(&value);
}

void set_date_of_day(int64_t day, DateParts *parts) {
    if (day < day_number(0, 1, 1) || day > day_number(kLastYear, 12, 31)) {
        parts->year = kLastYear + 1;
        parts->month = 0;
        parts->day = 0;
        return;
    }
    // Invariant: the year sought is in [low, high).
    int32_t low = 0;
    int32_t high = kLastYear + 1;
    while (high - low > 1) {
        const int32_t middle = (low + high) / 2;
        (day_number(middle, 1, 1) <= day ? low : high) = middle;
    }
    int32_t month = 12;
    while (month > 1 && day_number(low, month, 1) > day)
        --month;
    parts->year = low;
    parts->month = month;
    parts->day = static_cast<int32_t>(day - day_number(low, month, 1)) + 1;
}

bool julian_base_day(int32_t *base_day) {
    const int32_t date = ZCGetValueLong("4GL_JULIAN_BASE_DATE", 0);
    *base_day = 0;
    if (date == 0)
        return true;
    if (f_trace != 0)
        ZTrace(0, kDateTraceCategory, "%s: '%ld'", kDateTraceName, static_cast<long>(date));
    if (date != julian_base.date) {
        DateParts parts;
        parts.year = date / 10000;
        parts.month = date / 100 % 100;
        parts.day = date % 100;
        julian_base.date = date;
        julian_base.is_valid = is_valid_date(parts, kHasWholeDate);
        if (julian_base.is_valid)
            julian_base.day = day_number(parts.year, parts.month, parts.day);
    }
    if (!julian_base.is_valid)
        return false;
    *base_day = julian_base.day;
    if (f_trace != 0)
        ZTrace(0, kDateTraceCategory, "%s: %ld", kDateTraceName,
               static_cast<long>(julian_base.day));
    return true;
}

}  // namespace fsi
