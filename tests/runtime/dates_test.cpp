// SPDX-License-Identifier: MIT
#include "host/dates.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <utility>

namespace {

DateTimeValue date(int year, int month, int day) {
    DateTimeValue value{};
    value.year = static_cast<int16_t>(year);
    value.month = static_cast<int8_t>(month);
    value.day = static_cast<int8_t>(day);
    return value;
}

std::string show(const DateTimeValue &value) {
    return std::to_string(value.year) + "-" + std::to_string(value.month) + "-" +
           std::to_string(value.day);
}

bool is_leap(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int days_in(int year, int month) {
    static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && is_leap(year) ? 29 : kDays[month - 1];
}

static_assert(sizeof(DateTimeValue) == 12);

TEST(DayNumber, KnownDays) {
    struct Row {
        int year, month, day;
        int32_t number;
    };
    const Row rows[] = {
        {1899, 12, 31, 0},       {1900, 1, 1, 1},     {1899, 12, 30, -1},      {1900, 2, 28, 59},
        {1900, 3, 1, 60},        {1970, 1, 1, 25568}, {2000, 2, 29, 36584},    {2000, 3, 1, 36585},
        {1600, 12, 31, -109207}, {1, 1, 1, -693594},  {9999, 12, 31, 2958464},
    };
    for (const Row &row : rows)
        EXPECT_EQ(ZDTRToJulian(std::array{date(row.year, row.month, row.day)}.data()), row.number)
            << row.year << '-' << row.month << '-' << row.day;
}

// Counting every day in turn needs no formula.
TEST(DayNumber, EveryDayFollowsTheOneBefore) {
    DateTimeValue first = date(-400, 1, 1);
    int32_t number = ZDTRToJulian(&first);
    for (int year = -400; year <= 2500; ++year) {
        for (int month = 1; month <= 12; ++month) {
            for (int day = 1; day <= days_in(year, month); ++day) {
                DateTimeValue value = date(year, month, day);
                ASSERT_EQ(ZDTRToJulian(&value), number++) << show(value);
            }
        }
    }
}

TEST(DayNumber, TimeDoesNotCount) {
    DateTimeValue value = date(2000, 1, 1);
    const int32_t number = ZDTRToJulian(&value);
    value.hour = 23;
    value.minute = 59;
    value.second = 59;
    value.hundredths = 99;
    value.microseconds = 999999;
    EXPECT_EQ(ZDTRToJulian(&value), number);
}

// Records reach the routine before anybody has checked them.
TEST(DayNumber, MonthsAndDaysOutsideTheCalendarCarry) {
    const int rows[][6] = {
        {2000, 13, 1, 2001, 1, 1}, {2000, 0, 1, 1999, 12, 1},  {2000, -11, 1, 1999, 1, 1},
        {2001, 2, 29, 2001, 3, 1}, {2000, 1, 0, 1999, 12, 31}, {2000, 5, -1, 2000, 4, 29},
        {0, 0, 0, -1, 11, 30},
    };
    for (const auto &row : rows) {
        DateTimeValue odd = date(row[0], row[1], row[2]);
        DateTimeValue even = date(row[3], row[4], row[5]);
        EXPECT_EQ(ZDTRToJulian(&odd), ZDTRToJulian(&even)) << show(odd);
    }
    for (int year : {INT16_MIN, INT16_MAX}) {
        for (int month : {INT8_MIN, INT8_MAX}) {
            DateTimeValue first = date(year, month, 1);
            for (int day : {INT8_MIN, INT8_MAX}) {
                DateTimeValue extreme = date(year, month, day);
                EXPECT_EQ(ZDTRToJulian(&extreme), ZDTRToJulian(&first) + day - 1) << show(extreme);
            }
        }
    }
}

TEST(DayOfYear, BothWaysOverACommonYear) {
    int number = 0;
    for (int month = 1; month <= 12; ++month) {
        for (int day = 1; day <= days_in(2001, month); ++day) {
            EXPECT_EQ(ZGetDays(month, day), ++number);
            DateTimeValue value = date(1987, 99, 99);
            ZGetMonthAndDay(&value, number);
            EXPECT_EQ(show(value), show(date(1987, month, day)));
        }
    }
    EXPECT_EQ(number, 365);
}

TEST(DayOfYear, Day366IsDecember32) {
    DateTimeValue value = date(2000, 5, 5);
    ZGetMonthAndDay(&value, 366);
    EXPECT_EQ(show(value), "2000-12-32");
    ZSubtractOneDay(&value);
    EXPECT_EQ(show(value), "2000-12-31");
}

TEST(DayOfYear, OutsideTheYearThereIsNone) {
    for (int day : {0, -1, 367, 1000, INT32_MIN, INT32_MAX}) {
        DateTimeValue value = date(2000, 5, 5);
        ZGetMonthAndDay(&value, day);
        EXPECT_EQ(show(value), "2000-0-0") << day;
    }
    for (int month : {0, -1, 13, INT32_MIN, INT32_MAX})
        EXPECT_EQ(ZGetDays(month, 1), 0) << month;
    EXPECT_EQ(ZGetDays(2, 29), 60);
    EXPECT_EQ(ZGetDays(3, 200), 259);
    EXPECT_EQ(ZGetDays(1, -200), -200);
}

TEST(DayBefore, EveryDayOfSomeYears) {
    for (int year : {1900, 1999, 2000, 2001, 2004}) {
        for (int month = 1; month <= 12; ++month) {
            for (int day = 1; day <= days_in(year, month); ++day) {
                DateTimeValue value = date(year, month, day);
                DateTimeValue before = value;
                ZSubtractOneDay(&before);
                EXPECT_EQ(ZDTRToJulian(&before), ZDTRToJulian(&value) - 1) << show(value);
                EXPECT_GE(before.day, 1);
                EXPECT_LE(before.day, days_in(before.year, before.month));
            }
        }
    }
}

TEST(DayBefore, ARecordWithoutADateStays) {
    for (auto [month, day] : {std::pair{0, 0}, {0, 5}, {5, 0}, {13, 1}, {-1, 1}, {1, -1}}) {
        DateTimeValue value = date(2000, month, day);
        ZSubtractOneDay(&value);
        EXPECT_EQ(show(value), show(date(2000, month, day)));
    }
    DateTimeValue first = date(INT16_MIN, 1, 1);
    ZSubtractOneDay(&first);
    EXPECT_EQ(show(first), "-32768-1-1");
}

}  // namespace
