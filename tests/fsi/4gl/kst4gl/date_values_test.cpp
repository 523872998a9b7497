// SPDX-License-Identifier: MIT
#include "fsi/4gl/kst4gl/date_values.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "tests/fsi/4gl/kst4gl/date_calls.h"

namespace {

using namespace date_calls;

TEST(DateValues, SpecialContentsStandForConfiguredDates) {
    const struct {
        Field field;
        const char *format, *expected;
    } kRows[] = {
        {{16, "00000000"}, "YYYYMMDD", "0001-02-03 00:00:00.000000"},
        {{16, std::string("0\0"
                          "0\0\0\0\0\0",
                          8)},
         "YYYYMMDD",
         "0001-02-03 00:00:00.000000"},
        {{16, std::string(8, '\0')}, "YYYYMMDD", "0001-02-03 00:00:00.000000"},
        {{16, ""}, "YYYYMMDD", "0001-02-03 00:00:00.000000"},
        {{16, "0       "}, "YYYYMMDD", "0001-02-03 00:00:00.000000"},
        {{14, std::string(4, '\0'), 8}, "YYYYMMDD", "0001-02-03 00:00:00.000000"},
        {{9, std::string("\0\0\0\0\x0C", 5), 8}, "YYYYMMDD", "0001-02-03 00:00:00.000000"},
        {{9, std::string(5, '\0'), 8}, "YYYYMMDD", "0001-02-03 00:00:00.000000"},
        {{16, "99999999"}, "YYYYMMDD", "2099-12-31 00:00:00.000000"},
        {{16,
          "99\xFF\xFF"
          "9999"},
         "YYYYMMDD",
         "2099-12-31 00:00:00.000000"},
        {{9, std::string(5, '\xFF'), 9}, "YYYYMMDD", "2099-12-31 00:00:00.000000"},
        {{9, "\x09\x99\x99\x99\x9C", 8}, "YYYYMMDD", "2099-12-31 00:00:00.000000"},
        // More digits than the format: still all nines.
        {{9, "\x99\x99\x99\x99\x9C", 9}, "YYYYMMDD", "2099-12-31 00:00:00.000000"},
        {{9, "\x99\x99\x99\x99\x9C", 8}, "YYYYMMDD", kRefused},
        // A time, not nines.
        {{9, std::string("\0\0\0\x9C", 4), 6}, "HHNNSS", "1901-01-01 00:00:09.000000"},
        {{1, "999999", 6}, "HHNNSS", "1901-01-01 00:00:00.000000"},
        {{16, "        "}, "YYYYMMDD", "1850-05-05 00:00:00.000000"},
        {{1, "        ", 8}, "YYYYMMDD", "1850-05-05 00:00:00.000000"},
        {{9, "     ", 9}, "YYYYMMDD", "1850-05-05 00:00:00.000000"},
        {{24, std::string("9\0009\0009\0009\0", 8), 4}, "YYYY", "2099-01-01 00:00:00.000000"},
        {{24, std::string(" \0 \0 \0 \0", 8), 4}, "YYYY", "1850-01-01 00:00:00.000000"},
        // An invalid date is INVALID, too; what is no number is not.
        {{16, "20050231"}, "YYYYMMDD", "1850-05-05 00:00:00.000000"},
        {{16, "2005023a"}, "YYYYMMDD", kRefused},
        // They go through the format: what it leaves out is lost.
        {{16, "999999"}, "YYMMDD", "1999-12-31 00:00:00.000000"},
        {{16, "000000"}, "FYMMDD", kRefused},  // no decade for the year 1
    };
    const Library library(Settings{{"PLEX_DATE_ZERO_VALUE", "00010203"},
                                   {"PLEX_DATE_NINE_VALUE", "20991231"},
                                   {"PLEX_DATE_INVALID_VALUE", "18500505"}});
    for (const auto &row : kRows) {
        SCOPED_TRACE(hex(row.field.bytes) + " " + row.format);
        EXPECT_EQ(read(row.field, row.format), row.expected);
    }
}

TEST(DateValues, EmptyFieldsTakeTheFirstThatIsConfigured) {
    for (const auto &[name, expected] : {std::pair{"PLEX_DATE_NINE_VALUE", "2005-12-31"},
                                         {"PLEX_DATE_INVALID_VALUE", "2005-12-31"}}) {
        const Library library(Settings{{name, "20051231"}});
        EXPECT_EQ(read("", "YYYYMMDD").substr(0, 10), expected);
    }
}

TEST(DateValues, ConfiguredDatesAreWrittenAsSpecialContents) {
    const Settings dates = {{"PLEX_DATE_ZERO_VALUE", "00010203"},
                            {"PLEX_DATE_NINE_VALUE", "20991231235959"},
                            {"PLEX_DATE_INVALID_VALUE", "18500505"}};
    {
        const Library library(dates);
        EXPECT_EQ(write(8, "YYYYMMDD", stamp(2099, 12, 31)), "99999999");
        EXPECT_EQ(write(6, "YYMMDD", stamp(1, 2, 3)), "000000");
        EXPECT_EQ(write(10, "YYYYMMDD", stamp(1850, 5, 5)), "          ");
        EXPECT_EQ(write_bytes({9, "xxxxx", 9}, "YYYYMMDD", stamp(1850, 5, 5)), "     ");
        EXPECT_EQ(write_bytes({9, "xxxxx", 8}, "YYYYMMDD", stamp(2099, 12, 31)),
                  "\x09\x99\x99\x99\x9C");
        EXPECT_EQ(hex(write_bytes({24, "xxxx", 2}, "YY", stamp(1, 2, 3))), "30003000");
        // Times count where the format has them.
        EXPECT_EQ(write(8, "YYYYMMDD", stamp(2099, 12, 31, 1, 2, 3, 4)), "99999999");
        EXPECT_EQ(write(10, "YYYYMMDDHH", stamp(2099, 12, 31, 22)), "2099123122");
        EXPECT_EQ(write(10, "YYYYMMDDHH", stamp(2099, 12, 31, 23)), "9999999999");
        EXPECT_EQ(write(12, "YYYYMMDDHHNN", stamp(2099, 12, 31, 23, 58)), "209912312358");
        EXPECT_EQ(write(2, "SS", stamp(2099, 12, 31, 0, 0, 58)), "58");
        EXPECT_EQ(write(6, "TTTTTT", stamp(2099, 12, 31, 0, 0, 0, 5)), "000005");
    }
    Settings bytes = dates;
    bytes.insert(bytes.end(),
                 {{"PLEX_DATE_MAX_HIGH_VALUES", "1"}, {"PLEX_DATE_MIN_LOW_VALUES", "1"}});
    const Library library(bytes);
    EXPECT_EQ(write(8, "YYYYMMDD", stamp(2099, 12, 31)), std::string(8, '\xFF'));
    EXPECT_EQ(write(8, "YYYYMMDD", stamp(1, 2, 3)), std::string(8, '\0'));
    EXPECT_EQ(write_bytes({9, "xxxxx", 9}, "YYYYMMDD", stamp(1, 2, 3)), std::string(5, '\0'));
}

TEST(DateValues, InvalidStandsBeforeNineAndNineBeforeZero) {
    const Library library(Settings{{"PLEX_DATE_ZERO_VALUE", "20051231"},
                                   {"PLEX_DATE_NINE_VALUE", "20051231"},
                                   {"PLEX_DATE_INVALID_VALUE", "20051231"}});
    EXPECT_EQ(write(2, "YY", stamp(2005, 12, 31)), "  ");
    ZCSetValueString("PLEX_DATE_INVALID_VALUE", "NULL");
    Z4Exit();
    Z4Init();
    EXPECT_EQ(write(2, "YY", stamp(2005, 12, 31)), "99");
    ZCSetValueString("PLEX_DATE_NINE_VALUE", nullptr);
    // They are kept until the library ends.
    EXPECT_EQ(write(2, "YY", stamp(2005, 12, 31)), "99");
    EXPECT_EQ(ZMemoryBlocks("DateTimeValue"), 2U);
    Z4Exit();
    EXPECT_EQ(ZMemoryBlocks("DateTimeValue"), 0U);
    // A call while nobody declares the variables remembers nothing.
    EXPECT_EQ(write(2, "YY", stamp(2005, 12, 31)), "05");
    Z4Init();
    EXPECT_EQ(write(2, "YY", stamp(2005, 12, 31)), "00");
}

TEST(DateValues, ConfiguredDatesHaveAsManyPartsAsDigits) {
    const struct {
        const char *value, *expected;
    } kRows[] = {
        {"20051231", "2005-12-31 00:00:00.000000"},
        {"2005", "2005-01-01 00:00:00.000000"},
        {"20051231235958", "2005-12-31 23:59:58.000000"},
        {"20051231235958123456", "2005-12-31 23:59:58.123456"},
        {"200512312359581", "2005-12-31 23:59:58.100000"},
        {"20050231", "0000-00-00 00:00:00.000000"},
        {"2005-12-31", "0000-00-00 00:00:00.000000"},
        {"", "0000-00-00 00:00:00.000000"},
        {"200512312359581234567", "0000-00-00 00:00:00.000000"},
        {"00000000", "0000-00-00 00:00:00.000000"},
        {"Null", kRefused},
        {"null ", "0000-00-00 00:00:00.000000"},
    };
    for (const auto &row : kRows) {
        const Library library(Settings{{"PLEX_DATE_NULL_VALUE", row.value}});
        EXPECT_EQ(read("nonsense", "YYYYMMDD"), row.expected) << row.value;
    }
    // None applies while another is read: neither as NULL nor as INVALID.
    const Library library(Settings{{"PLEX_DATE_INVALID_VALUE", "20051231"},
                                   {"PLEX_DATE_NINE_VALUE", "99999999"},
                                   {"PLEX_DATE_NULL_VALUE", "20060101"},
                                   {"PLEX_DATE_ZERO_VALUE", "00000000"}});
    EXPECT_EQ(read("00000000", "YYYYMMDD"), "2006-01-01 00:00:00.000000");
    EXPECT_EQ(read("99999999", "YYYYMMDD"), "2006-01-01 00:00:00.000000");
}

TEST(DateValues, NullMakesEveryFailureASuccess) {
    const Library library(Settings{{"PLEX_DATE_NULL_VALUE", "20060102030405"}});
    const char *null_date = "2006-01-02 03:04:05.000000";
    EXPECT_EQ(read("20050231", "YYYYMMDD"), null_date);
    EXPECT_EQ(read("2005023a", "YYYYMMDD"), null_date);
    EXPECT_EQ(read({9, "abcde"}, "YYYYMMDD"), null_date);
    EXPECT_EQ(read("20050231", nullptr), null_date);
    EXPECT_EQ(read("20050231", "YYYYYYYYYYYYYYYYYMMDD"), null_date);
    EXPECT_EQ(read("20050231", "YYYYMMDD", {12345, 1}), null_date);
    EXPECT_EQ(write(8, "YYYYMMDD", stamp(2005, 2, 31)), "0       ");
    EXPECT_EQ(write_bytes({1, "xxxxxx"}, "YYYYMMDD", stamp(2005, 12, 31)), "000000");
    ZCSetValueString("4GL_JULIAN_BASE_DATE", "1");
    EXPECT_EQ(read("20051231", "YYYYMMDD"), null_date);
    EXPECT_EQ(write(8, "YYYYMMDD", stamp(2005, 12, 31)), "0       ");
}

}  // namespace
