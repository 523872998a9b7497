// SPDX-License-Identifier: MIT
//
// Day numbers with hosts that count from other days: this program's ZDTRToJulian
// stands in front of the reference host's.
#include "fsi/4gl/kst4gl/julian.h"

#include <gtest/gtest.h>

#include <string>

#include "host/config.h"
#include "host/dates.h"
#include "wbfsi/lifecycle.h"

namespace {

int32_t day_of_first;  // what the host calls 0000-01-01

}  // namespace

// Counts the days of each year and month in turn.
int32_t ZDTRToJulian(const DateTimeValue *value) {
    constexpr int kLengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const auto leap_years_before = [](int year) {
        return year == 0 ? 0 : (year - 1) / 4 - (year - 1) / 100 + (year - 1) / 400 + 1;
    };
    int32_t day = day_of_first + value->year * 365 + leap_years_before(value->year);
    for (int month = 1; month < value->month; ++month)
        day += kLengths[month - 1] + (month == 2 && fsi::is_leap_year(value->year) ? 1 : 0);
    return day + (value->day - 1);
}

namespace {

constexpr int32_t kDays = 3652425;  // of the years 0 to 9999

std::string date_of(int64_t day) {
    fsi::DateParts parts;
    fsi::set_date_of_day(day, &parts);
    if (!fsi::is_valid_date(parts, fsi::kHasWholeDate))
        return "none";
    return std::to_string(parts.year) + '-' + std::to_string(parts.month) + '-' +
           std::to_string(parts.day);
}

TEST(Julian, DatesAreFoundWhereverTheHostCountsFrom) {
    for (const int32_t first : {0, -693960, 1721060, INT32_MIN, INT32_MAX - kDays + 1}) {
        SCOPED_TRACE(first);
        day_of_first = first;
        const int64_t start = first;
        EXPECT_EQ(date_of(start - 1), "none");
        EXPECT_EQ(date_of(start), "0-1-1");
        EXPECT_EQ(date_of(start + 59), "0-2-29");
        EXPECT_EQ(date_of(start + 60), "0-3-1");
        EXPECT_EQ(date_of(start + 365), "0-12-31");
        EXPECT_EQ(date_of(start + 366), "1-1-1");
        EXPECT_EQ(date_of(start + kDays - 1), "9999-12-31");
        EXPECT_EQ(date_of(start + kDays), "none");
        EXPECT_EQ(date_of(int64_t{INT32_MIN} - 1000000000), "none");
        EXPECT_EQ(date_of(int64_t{INT32_MAX} + 1000000000), "none");
        for (int64_t day = start; day < start + kDays; day += 97) {
            fsi::DateParts parts;
            fsi::set_date_of_day(day, &parts);
            ASSERT_TRUE(fsi::is_valid_date(parts, fsi::kHasWholeDate)) << day;
            ASSERT_EQ(fsi::day_number(parts.year, parts.month, parts.day), day);
        }
    }
}

TEST(Julian, TheBaseDayIsThatOfAValidDateOrZero) {
    const struct {
        const char *setting;
        bool is_date;
        int32_t day;
    } kRows[] = {
        {"0", true, 0},
        {"101", true, 1000},
        {"00010101", true, 1366},
        {"20000229", true, 1000 + 730544},
        {"99991231", true, 1000 + kDays - 1},
        {"19000229", false, 0},
        {"20000431", false, 0},
        {"20001301", false, 0},
        {"20000001", false, 0},
        {"20000100", false, 0},
        {"20000132", false, 0},
        {"100000101", false, 0},
        {"-101", false, 0},
        {"-20000101", false, 0},
        {"2147483647", false, 0},
        {"-2147483648", false, 0},
    };
    day_of_first = 1000;
    Z4Init();
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.setting);
        ASSERT_EQ(ZCSetValueString("4GL_JULIAN_BASE_DATE", row.setting), 1);
        // The second answer is a remembered one.
        for (int i = 0; i < 2; ++i) {
            int32_t day = -1;
            EXPECT_EQ(fsi::julian_base_day(&day), row.is_date);
            EXPECT_EQ(day, row.day);
        }
    }
    ZCSetValueString("4GL_JULIAN_BASE_DATE", nullptr);
    Z4Exit();
}

}  // namespace
