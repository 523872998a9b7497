// SPDX-License-Identifier: MIT
//
// Days of the proleptic Gregorian calendar.
#include "host/dates.h"

namespace {

// Days of the common year before each month, and of the whole year.
constexpr int16_t kDaysBefore[13] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365};

constexpr bool is_leap(int year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

constexpr int days_in(int year, int month) {
    return kDaysBefore[month] - kDaysBefore[month - 1] + (month == 2 && is_leap(year) ? 1 : 0);
}

constexpr int32_t floor_div(int32_t a, int32_t b) {
    return a / b - (a % b < 0 ? 1 : 0);
}

// Years are counted from March, so that the leap day is the last of its year
// and the months before any month have (153 m + 2) / 5 days.  Day 0 is
// 0000-03-01.  Source: E. G. Richards, Mapping Time, chapter 25.
constexpr int32_t days_since_march_0(int32_t year, int32_t month, int32_t day) {
    int32_t months = year * 12 + month - 3;
    int32_t y = floor_div(months, 12);
    int32_t m = months - y * 12;
    return y * 365 + floor_div(y, 4) - floor_div(y, 100) + floor_div(y, 400) + (153 * m + 2) / 5 +
           day - 1;
}

constexpr int32_t kDayZero = days_since_march_0(1899, 12, 31);
static_assert(days_since_march_0(1970, 1, 1) - kDayZero == 25568);

}  // namespace

int32_t ZDTRToJulian(const DateTimeValue *value) {
    return days_since_march_0(value->year, value->month, value->day) - kDayZero;
}

int32_t ZGetDays(int month, int day) {
    if (month < 1 || month > 12)
        return 0;
    return static_cast<int32_t>(kDaysBefore[month - 1] + int64_t{day});
}

void ZGetMonthAndDay(DateTimeValue *value, int day_of_year) {
    value->month = 0;
    value->day = 0;
    if (day_of_year < 1 || day_of_year > 366)
        return;
    int month = 1;
    while (month < 12 && day_of_year > kDaysBefore[month])
        ++month;
    value->month = static_cast<int8_t>(month);
    value->day = static_cast<int8_t>(day_of_year - kDaysBefore[month - 1]);
}

void ZSubtractOneDay(DateTimeValue *value) {
    if (value->month < 1 || value->month > 12 || value->day < 1)
        return;
    if (value->day > 1) {
        value->day = static_cast<int8_t>(value->day - 1);
        return;
    }
    if (value->month > 1) {
        value->month = static_cast<int8_t>(value->month - 1);
    } else if (value->year > INT16_MIN) {
        value->month = 12;
        value->year = static_cast<int16_t>(value->year - 1);
    } else {
        return;
    }
    value->day = static_cast<int8_t>(days_in(value->year, value->month));
}
