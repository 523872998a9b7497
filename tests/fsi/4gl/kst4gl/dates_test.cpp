// SPDX-License-Identifier: MIT
#include "wbfsi/dates.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <utility>

#include "tests/fsi/4gl/kst4gl/date_calls.h"
#include "tests/fsi/spies.h"

namespace {

using namespace date_calls;

// ASCII characters of a national field.
std::string national(const std::string &text) {
    std::string bytes;
    for (const char ascii : text) {
        const auto c = static_cast<char16_t>(ascii);
        char unit[2];
        std::memcpy(unit, &c, sizeof unit);
        bytes.append(unit, sizeof unit);
    }
    return bytes;
}

TEST(Dates, FieldsReadAsTheirFormatSays) {
    const struct {
        const char *format, *text, *expected;
    } kRows[] = {
        {"YYYYMMDD", "20051231", "2005-12-31 00:00:00.000000"},
        {"YYMMDD", "051231", "2005-12-31 00:00:00.000000"},
        {"YYMMDD", "991231", "1999-12-31 00:00:00.000000"},
        {"YYMMDD", "191231", "2019-12-31 00:00:00.000000"},
        {"YYMMDD", "201231", "1920-12-31 00:00:00.000000"},
        {"DDMMYYYY", "31122005", "2005-12-31 00:00:00.000000"},
        // A year of three or four digits is what it says.
        {"YYYMMDD", "0051231", "0005-12-31 00:00:00.000000"},
        {"YYYYMMDD", "00051231", "0005-12-31 00:00:00.000000"},
        {"YYYYYMMDD", "020051231", "2005-12-31 00:00:00.000000"},
        // Without a month there is no century.
        {"YY", "05", "0005-01-01 00:00:00.000000"},
        {"YYYY", "2005", "2005-01-01 00:00:00.000000"},
        {"MMDD", "1231", "1901-12-31 00:00:00.000000"},
        {"DD", "31", "1901-01-31 00:00:00.000000"},
        {"HHNNSS", "123000", "1901-01-01 12:30:00.000000"},
        {"HHNNSSTTTTTT", "235959123456", "1901-01-01 23:59:59.123456"},
        {"HHNNSST", "2359591", "1901-01-01 23:59:59.100000"},
        {"HHNNSSTT", "23595912", "1901-01-01 23:59:59.120000"},
        {"TTTTTTT", "0123456", "1901-01-01 00:00:00.123456"},
        {"YYYYMMDDHHNNSSTTTTTT", "20051231235959000001", "2005-12-31 23:59:59.000001"},
        // Days of the year.
        {"YYYYEEE", "2005001", "2005-01-01 00:00:00.000000"},
        {"YYYYEEE", "2005060", "2005-03-01 00:00:00.000000"},
        {"YYYYEEE", "2004060", "2004-02-29 00:00:00.000000"},
        {"YYYYEEE", "2004059", "2004-02-28 00:00:00.000000"},
        {"YYYYEEE", "2004061", "2004-03-01 00:00:00.000000"},
        {"YYYYEEE", "2004366", "2004-12-31 00:00:00.000000"},
        {"YYYYEEE", "2005365", "2005-12-31 00:00:00.000000"},
        {"EEEYYYY", "3662004", "2004-12-31 00:00:00.000000"},
        {"YYEEE", "04366", "2004-12-31 00:00:00.000000"},
        // Day numbers: 1 is 1900-01-01.
        {"JJJJJJJ", "0000001", "1900-01-01 00:00:00.000000"},
        {"JJJJJJJ", "0038716", "2005-12-31 00:00:00.000000"},
        {"JJJJJ", "38716", "2005-12-31 00:00:00.000000"},
        {"JJJJJJJ", "2958463", "9999-12-30 00:00:00.000000"},
        {"JJJJJJJ", "2958464", "9999-12-31 00:00:00.000000"},
        {"JJJJJJJHH", "003871623", "2005-12-31 23:00:00.000000"},
        // Decades: ' ' 174, '0' 190, ':' 200, 'I' 215.
        {"FYMMDD", ":51231", "2005-12-31 00:00:00.000000"},
        {"FYMMDD", " 51231", "1745-12-31 00:00:00.000000"},
        {"FYMMDD", "I91231", "2159-12-31 00:00:00.000000"},
        {"FYMMDD", "051231", "1905-12-31 00:00:00.000000"},
        {"MMDDYF", "12315 ", "0005-12-31 00:00:00.000000"},
        {"FMMDD", "01231", "1901-12-31 00:00:00.000000"},
        // Descending: complements to nines, and the decades backwards.
        {"RYMMDD", "/48768", "2005-12-31 00:00:00.000000"},
        {"RYMMDD", " 08768", "2159-12-31 00:00:00.000000"},
        {"RYMMDD", "I98768", "1740-12-31 00:00:00.000000"},
        {"RYMMDDHHNNSSTTT", "/48768764040876", "2005-12-31 23:59:59.123000"},
        {"YYYYMMDDR", "79948768 ", "2005-12-31 00:00:00.000000"},
        // Letters without meaning read nothing.
        {"YYYY-MM-DD", "20051231", "2005-12-31 00:00:00.000000"},
        {"yYYYYzMMDD", "20051231", "2005-12-31 00:00:00.000000"},
        {"YYXYY", "9905", "0005-01-01 00:00:00.000000"},
    };
    const Library library;
    for (const auto &row : kRows) {
        SCOPED_TRACE(std::string(row.format) + " " + row.text);
        EXPECT_EQ(read(row.text, row.format), row.expected);
    }
}

TEST(Dates, TextIsAlignedWithTheRightEndOfTheFormat) {
    const struct {
        const char *format, *text, *expected;
    } kRows[] = {
        {"YYMMDD", "51231 ", "2005-12-31 00:00:00.000000"},
        {"YYMMDD", " 51231", "2005-12-31 00:00:00.000000"},
        {"YYMMDD", "1231", "2000-12-31 00:00:00.000000"},
        {"YYYYMMDD", "2005 1 1", "2005-01-01 00:00:00.000000"},
        {"YYYYMMDD", "  51231", "0005-12-31 00:00:00.000000"},
        {"HHNNSS", "      ", "1901-01-01 00:00:00.000000"},
        {"HHNNSS", "5", "1901-01-01 00:00:05.000000"},
        {"HHNNSSTTTTTT", "1", "1901-01-01 00:00:00.000001"},
        {"HHNNSSTTT", "1", "1901-01-01 00:00:00.001000"},
        {"HHNNSS", " 1 2 3", "1901-01-01 01:02:03.000000"},
        // "0" is the decade of the 1900s.
        {"FYMMDD", "51231 ", "1905-12-31 00:00:00.000000"},
        // What is missing is zeros before it is complemented.
        {"YYYYRMMDD", "4", kRefused},
        {"YYYYMMDD", "20051 31", kRefused},
        {"YYYYMMDD", "2 051231", kRefused},
        // Text beyond the format is not read.
        {"YYYYMMDD", "20051231rest", "2005-12-31 00:00:00.000000"},
    };
    const Library library;
    for (const auto &row : kRows) {
        SCOPED_TRACE(std::string(row.format) + " '" + row.text + "'");
        EXPECT_EQ(read(row.text, row.format), row.expected);
    }
    EXPECT_EQ(read({17, "    20051231"}, "YYYYMMDD"), "2005-12-31 00:00:00.000000");
    EXPECT_EQ(read({17, "    20051"}, "YYYYMMDD"), kRefused);
    EXPECT_EQ(read({25, national("    20051231")}, "YYYYMMDD"), "2005-12-31 00:00:00.000000");
    EXPECT_EQ(read({25, national("  20051231") + 'x'}, "YYYYMMDD"), "2005-12-31 00:00:00.000000");
    EXPECT_EQ(read({24, national("20051231    ")}, "YYYYMMDD"), "2005-12-31 00:00:00.000000");
    EXPECT_EQ(read({19, "     51231"}, "FYMMDD"), "1745-12-31 00:00:00.000000");
}

TEST(Dates, DatesThatDoNotExistAreRefused) {
    const struct {
        const char *format, *text;
    } kRows[] = {
        {"YYYYMMDD", "19000229"},
        {"YYYYMMDD", "20050229"},
        {"YYYYMMDD", "20050431"},
        {"YYYYMMDD", "20050631"},
        {"YYYYMMDD", "20050931"},
        {"YYYYMMDD", "20051131"},
        {"YYYYMMDD", "20051301"},
        {"YYYYMMDD", "20050001"},
        {"YYYYMMDD", "20050100"},
        {"YYYYMMDD", "20050132"},
        {"YYYYMMDD", "        "},
        {"YYYYMMDD", "00000000"},
        {"HHNNSS", "240000"},
        {"HHNNSS", "006000"},
        {"HHNNSS", "000060"},
        {"TTTTTTT", "1000000"},
        {"YYYYEEE", "2005366"},
        {"YYYYEEE", "2004367"},
        {"YYYYEEE", "2005000"},
        {"YYYYYMMDD", "120051231"},
        {"JJJJJJJ", "2958465"},
        {"JJJJJJJJJJ", "9999999999"},
        {"YYYYYYYYYYYYMMDD", "9999999920051231"},
        // One digit more than 8 bits or 16 bits hold would look like a date.
        {"YYYYMMMDD", "200525801"},
        {"YYYYYYMMDD", "6754112315"},
        {"YYYYMMDDHHH", "20051231256"},
        {"YYYYEEEDDD", "2004100261"},
        // No characters of a date.
        {"YYYYMMDD", "2005123a"},
        {"YYYYMMDD", "-2005123"},
        {"YYYYMMDD", "2005/1/1"},
        {"FYMMDD", "J51231"},
        {"FYMMDD",
         "\x1f"
         "51231"},
        {"RYMMDD",
         "\xA0"
         "51231"},
        // No format.
        {"", "20051231"},
        {nullptr, "20051231"},
        {"YYYYYYYYYYYYYYYYYMMDD", "000000000000020051231"},
    };
    const Library library;
    for (const auto &row : kRows) {
        SCOPED_TRACE(std::string(row.format == nullptr ? "null" : row.format) + " " + row.text);
        EXPECT_EQ(read(row.text, row.format), kRefused);
    }
    EXPECT_EQ(read("20000229", "YYYYMMDD"), "2000-02-29 00:00:00.000000");
    EXPECT_EQ(read(Field{16, ""}, "YYYYMMDD"), kRefused);
    EXPECT_EQ(read(Field{9, "\xAB\xCD"}, "YYYYMMDD"), kRefused);
    DateTimeValue value = stamp(2005, 12, 31);
    const XfdArgument nowhere{0, 8, 16, 0, 0, 0};
    EXPECT_EQ(Z4ConvertDateTime(&nowhere, &value, "YYYYMMDD", 1, 0, 0), 0);
    EXPECT_EQ(Z4ConvertDateTime(&nowhere, &value, "YYYYMMDD", 2, 0, 0), 0);
    EXPECT_EQ(Z4ConvertDateTime(&nowhere, &value, "YYYYMMDD", 3, 0, 0), 0);
    EXPECT_EQ(Z4ConvertDateTime(nullptr, &value, "YYYYMMDD", 1, 0, 0), 0);
    EXPECT_EQ(Z4ConvertDateTime(&nowhere, nullptr, "YYYYMMDD", 1, 0, 0), 0);
}

TEST(Dates, DatesAreWrittenAsTheFormatSays) {
    const DateTimeValue date = stamp(2005, 12, 31, 23, 59, 58, 123456);
    const struct {
        const char *format;
        DateTimeValue value;
        const char *expected;
    } kRows[] = {
        {"YYYYMMDD", date, "20051231"},
        {"YYMMDD", date, "051231"},
        {"Y", date, "5"},
        {"YYYYYYYYYYYY", date, "000000002005"},
        {"YYYYMMDDHHNNSSTTTTTT", date, "20051231235958123456"},
        {"HHNNSST", date, "2359581"},
        {"TTTTT", date, "12345"},
        {"TTTTTTT", date, "0123456"},
        {"EEE", date, "365"},
        {"YYYYEEE", stamp(2004, 12, 31), "2004366"},
        {"YYYYEEE", stamp(2004, 2, 29), "2004060"},
        {"YYYYEEE", stamp(2004, 3, 1), "2004061"},
        {"JJJJJJJ", date, "0038716"},
        {"JJJ", date, "716"},
        {"FYMMDD", date, ":51231"},
        {"FYMMDD", stamp(1740, 1, 1), " 00101"},
        {"FYMMDD", stamp(2159, 1, 1), "I90101"},
        {"RYMMDD", date, "/48768"},
        {"RYMMDD", stamp(1740, 1, 1), "I99898"},
        {"RYMMDD", stamp(2159, 1, 1), " 09898"},
        {"RYMMDDHHNNSSTT", date, "/4876876404187"},
        {"YYYY-MM-DD", date, "20051231"},
        {"FYMMDD", stamp(1739, 1, 1), "!0"},
        {"FYMMDD", stamp(2160, 1, 1), "!0"},
        {"RYMMDD", stamp(1739, 1, 1), "!0"},
        {"RYMMDD", stamp(2160, 1, 1), "!0"},
        {"FRYMMDD", date, "!0"},
        {"JJJJJJJ", stamp(1899, 12, 30), "!0"},  // below the base
        {"JJJJJJJ", stamp(1899, 12, 31), "!0"},  // 4GL_JULIAN_NULL
        {"YYYYMMDD", stamp(1900, 2, 29), "!0"},
        {"YYYYMMDD", stamp(-5, 2, 3), "!0"},
        {"YYYYMMDD", stamp(10000, 2, 3), "!0"},
        {"HHNNSS", stamp(0, 0, 1, 24), "!0"},
        {"HHNNSS", stamp(0, 0, 1, -1), "!0"},
        {"TTTTTT", stamp(0, 0, 1, 0, 0, 0, 1000000), "!0"},
        {"TTTTTT", stamp(0, 0, 1, 0, 0, 0, -1), "!0"},
        {"", date, "!0"},
        {"YYYYYYYYYYYYYYYYYMMDD", date, "!0"},
        // Only what the format names is judged.
        {"HHNNSS", stamp(-9, 77, 99, 1, 2, 3), "010203"},
        {"YYMMDD", stamp(2005, 12, 31, 99, 99, 99), "051231"},
    };
    const Library library;
    for (const auto &row : kRows) {
        SCOPED_TRACE(std::string(row.format) + " " + print(row.value));
        std::string expected = row.expected;
        expected.resize(20 + (expected[0] == '!' ? 1 : 0), ' ');
        EXPECT_EQ(write(20, row.format, row.value), expected);
    }
    DateTimeValue value = date;
    value.hundredths = 99;
    char bytes[6];
    const XfdArgument argument{reinterpret_cast<uintptr_t>(bytes), 6, 16, 0, 0, 0};
    EXPECT_EQ(Z4ConvertDateTime(&argument, &value, "TTTTTT", 2, 0, 0), 1);
    EXPECT_EQ(std::string(bytes, 6), "990000");
    EXPECT_EQ(print(value), "2005-12-31 23:59:58.990000");
    value.hundredths = -1;
    EXPECT_EQ(Z4ConvertDateTime(&argument, &value, "TTTTTT", 2, 0, 0), 0);
}

TEST(Dates, TheTypeChoosesTheFormatThatIsNotGiven) {
    const std::string six("\1\7\1\2\3\1\x0B", 7);
    for (const char *none : {static_cast<const char *>(nullptr), ""}) {
        Library library;
        EXPECT_EQ(read({6, std::string("\x9\x9\1\2\3\1\x0B", 7), 6}, none),
                  "1999-12-31 00:00:00.000000");
        EXPECT_EQ(read({6, std::string("\1\x9\1\2\3\1\x0B", 7), 6}, none),
                  "2019-12-31 00:00:00.000000");
        EXPECT_EQ(write_bytes({6, std::string(7, 'x'), 6}, none, stamp(2017, 12, 31)), six);
        // 00051231 packed without a sign.
        const Field packed{8, std::string("\x00\x00\x51\x23\x1F", 5), 8};
        EXPECT_EQ(read(packed, none), "0005-12-31 00:00:00.000000");
        ZCSetValueString("4GL_8_DIGIT_CUTOFF", "1");
        EXPECT_EQ(read(packed, none), "2005-12-31 00:00:00.000000");
        // A format that is given has no century added to its four digits.
        EXPECT_EQ(read(packed, "YYYYMMDD"), "0005-12-31 00:00:00.000000");
        for (const uint16_t type : std::initializer_list<uint16_t>{0, 1, 7, 9, 16, 22, 300})
            EXPECT_EQ(read({type, "20051231"}, none), kRefused) << type;
    }
}

TEST(Dates, EveryStorageHoldsDates) {
    const struct {
        uint16_t type;
        uint8_t digits;
        size_t size;
    } kRows[] = {
        {0, 8, 8},  {1, 8, 8},   {2, 8, 9},   {3, 8, 8},   {4, 8, 9},   {5, 8, 8},   {6, 8, 9},
        {7, 8, 8},  {8, 8, 5},   {9, 8, 5},   {10, 8, 4},  {11, 8, 4},  {12, 8, 4},  {13, 8, 4},
        {14, 8, 4}, {16, 8, 8},  {17, 8, 10}, {18, 8, 9},  {19, 8, 12}, {20, 8, 8},  {22, 8, 8},
        {23, 8, 8}, {24, 8, 16}, {25, 8, 16}, {26, 8, 18}, {30, 8, 4},  {31, 8, 4},  {32, 8, 4},
        {33, 8, 4}, {35, 8, 16}, {36, 8, 18}, {37, 8, 16}, {38, 8, 18}, {39, 8, 16}, {300, 8, 8},
        {11, 0, 8}, {9, 0, 5},   {23, 7, 8},
    };
    const Library library(Settings{{"PLEX_DATE_ZERO_VALUE", "00010101"},
                                   {"PLEX_DATE_NINE_VALUE", "99991231"},
                                   {"PLEX_DATE_INVALID_VALUE", "17530101"}});
    for (const auto &row : kRows) {
        SCOPED_TRACE(std::to_string(row.type) + " " + std::to_string(row.digits));
        Field field{row.type, std::string(row.size, 'x'), row.digits};
        for (const DateTimeValue &date : {stamp(2005, 12, 31), stamp(1, 1, 1), stamp(9999, 12, 31),
                                          stamp(1753, 1, 1), stamp(5, 10, 9)}) {
            field.bytes.assign(row.size, 'x');
            field.bytes = write_bytes(field, "YYYYMMDD", date);
            EXPECT_EQ(read(field, "YYYYMMDD"), print(date)) << hex(field.bytes);
        }
        for (const bool low : {false, true}) {
            ZCSetValueString("PLEX_DATE_MIN_LOW_VALUES", low ? "1" : "0");
            ZCSetValueString("PLEX_DATE_MAX_HIGH_VALUES", low ? "1" : "0");
            Z4Exit();
            Z4Init();
            for (const DateTimeValue &date : {stamp(1, 1, 1), stamp(9999, 12, 31)}) {
                field.bytes.assign(row.size, 'x');
                field.bytes = write_bytes(field, "YYYYMMDD", date);
                EXPECT_EQ(read(field, "YYYYMMDD"), print(date)) << hex(field.bytes);
                if (low) {
                    EXPECT_EQ(field.bytes, std::string(row.size, date.year == 1 ? '\0' : '\xFF'));
                }
            }
        }
    }
}

TEST(Dates, NumbersLoseTheirLeadingZerosAndNothingElse) {
    const Library library;
    const Field six{14, std::string(4, '\0'), 6};
    for (const auto &[number, expected] : {std::pair{51231U, "2005-12-31 00:00:00.000000"},
                                           {1231U, "2000-12-31 00:00:00.000000"},
                                           {991231U, "1999-12-31 00:00:00.000000"}}) {
        Field field = six;
        std::memcpy(field.bytes.data(), &number, 4);
        EXPECT_EQ(read(field, "YYMMDD"), expected) << number;
    }
    EXPECT_EQ(read({9, std::string("\x00\x12\x3C", 3), 5}, "HHNNSSTTTTTT"),
              "1901-01-01 00:00:00.000123");
    EXPECT_EQ(read({1, "1234567890"}, "YYYYMMDD"), kRefused);  // does not fit
    EXPECT_EQ(read({3, "2005123q"}, "YYYYMMDD"), kRefused);    // negative
}

TEST(Dates, ANumberThatDoesNotFitLeavesZero) {
    const Library library;
    EXPECT_EQ(write_bytes({1, "xxxxxx"}, "YYYYMMDD", stamp(2005, 12, 31)), "!000000");
    EXPECT_EQ(write_bytes({1, "xxxxxx"}, "FYMMDD", stamp(2075, 12, 31)), "!000000");
    EXPECT_EQ(write_bytes({23, "xxxxx"}, "YYYYMMDD", stamp(2005, 12, 31)), "!xxxxx");
}

TEST(Dates, NumbersHoldNoDecadeButDigits) {
    const Library library;
    for (const uint16_t type :
         {uint16_t{1}, uint16_t{5}, uint16_t{9}, uint16_t{12}, uint16_t{35}}) {
        SCOPED_TRACE(type);
        const Field field{type, std::string(12, '\0'), 6};
        for (const int year : {1745, 1855, 1865, 1875, 1885, 2005})
            EXPECT_EQ(write_bytes(field, "FYMMDD", stamp(year, 12, 31)).substr(0, 1), "!") << year;
        Field written = field;
        written.bytes = write_bytes(field, "FYMMDD", stamp(1905, 12, 31));
        EXPECT_EQ(read(written, "FYMMDD"), "1905-12-31 00:00:00.000000");
    }
    EXPECT_EQ(write(6, "FYMMDD", stamp(1855, 12, 31)), "+51231");
}

TEST(Dates, CutoffDividesTheCenturies) {
    const struct {
        const char *cutoff, *text, *year;
    } kRows[] = {
        {"20", "190101", "2019"},  {"20", "200101", "1920"},  {"0", "000101", "1900"},
        {"99", "980101", "2098"},  {"99", "990101", "1999"},  {"100", "190101", "2019"},
        {"150", "190101", "2019"}, {"150", "200101", "1920"}, {"-5", "000101", "1900"},
    };
    for (const auto &row : kRows) {
        const Library library(Settings{{"4GL_2000_CUTOFF", row.cutoff}});
        EXPECT_EQ(read(row.text, "YYMMDD").substr(0, 4), row.year) << row.cutoff << row.text;
    }
}

TEST(Dates, DateValueMinusOneMakesMissingHoursNoon) {
    const Library library;
    EXPECT_EQ(read("1231", "MMDD", {-1, 0}), "1901-12-31 12:00:00.000000");
    EXPECT_EQ(read("20051231", "YYYYMMDD", {-1, 0}), "2005-12-31 12:00:00.000000");
    EXPECT_EQ(read("3015", "NNSS", {-1, 0}), "1901-01-01 12:30:15.000000");
    EXPECT_EQ(read("00", "HH", {-1, 0}), "1901-01-01 00:00:00.000000");
    // The month counts as read, so the year gets its century.
    EXPECT_EQ(read("05", "YY", {-1, 0}), "2005-01-01 12:00:00.000000");
    EXPECT_EQ(read("123000", "HHNNSS", {20051231, 0}), "1901-01-01 12:30:00.000000");
}

TEST(Dates, JulianBaseIsCheckedEachTime) {
    Library library(Settings{{"4GL_JULIAN_BASE_DATE", "20000101"}});
    EXPECT_EQ(read("00000", "JJJJJ"), "2000-01-01 00:00:00.000000");
    EXPECT_EQ(read("00366", "JJJJJ"), "2001-01-01 00:00:00.000000");
    EXPECT_EQ(write(5, "JJJJJ", stamp(2001, 1, 1)), "00366");
    EXPECT_EQ(write(5, "JJJJJ", stamp(1999, 12, 31)), "!0    ");
    ZCSetValueString("4GL_JULIAN_NULL", "36890");
    EXPECT_EQ(write(5, "JJJJJ", stamp(2000, 12, 31)), "!0    ");
    EXPECT_EQ(write(5, "JJJJJ", stamp(2001, 1, 1)), "00366");
    for (const char *wrong : {"20000230", "20010229", "20000431", "20001301", "20000001",
                              "20000100", "20000132", "100000101", "-20000101", "1"}) {
        ZCSetValueString("4GL_JULIAN_BASE_DATE", wrong);
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(read("20051231", "YYYYMMDD"), kRefused) << wrong;
            EXPECT_EQ(write(8, "YYYYMMDD", stamp(2005, 12, 31)), "!0       ") << wrong;
        }
    }
    ZCSetValueString("4GL_JULIAN_BASE_DATE", "101");
    EXPECT_EQ(read("00000", "JJJJJ"), "0000-01-01 00:00:00.000000");
    ZCSetValueString("4GL_JULIAN_BASE_DATE", "0");
    EXPECT_EQ(read("00001", "JJJJJ"), "1900-01-01 00:00:00.000000");
}

TEST(Dates, TheZeroDateOfTheDatabaseLeavesZero) {
    const Library library;
    EXPECT_EQ(write(8, "YYYYMMDD", stamp(1753, 1, 1), {17530101, 0}), "0       ");
    EXPECT_EQ(write_bytes({1, "xxxxxxxx"}, "YYYYMMDD", stamp(1753, 1, 1), {17530101, 0}),
              "00000000");
    EXPECT_EQ(write(8, "YYYYMMDD", stamp(0, 0, 0), {0, 0}), "0       ");
    for (const DateTimeValue &later : {stamp(1753, 1, 1, 1), stamp(1753, 1, 1, 0, 1),
                                       stamp(1753, 1, 1, 0, 0, 1), stamp(1753, 1, 1, 0, 0, 0, 1)})
        EXPECT_EQ(write(8, "YYYYMMDD", later, {17530101, 0}), "17530101");
    ZCSetValueString("4GL_CONVERT_DATE_ZERO", "0");
    EXPECT_EQ(write(8, "YYYYMMDD", stamp(1753, 1, 1), {17530101, 0}), "17530101");
}

TEST(Dates, IllegalDatesAreReplacedWhenAskedFor) {
    Library library;
    EXPECT_EQ(read("20050231", "YYYYMMDD", {20051231, 0}), kRefused);
    EXPECT_EQ(read("20050231", "YYYYMMDD", {20051231, 1}), "2005-12-31 00:00:00.000000");
    EXPECT_EQ(read("20050231", "YYYYMMDD", {991231, 1}), "1999-12-31 00:00:00.000000");
    EXPECT_EQ(read("050231", "YYMMDD", {20051231, 1}), "2005-12-31 00:00:00.000000");
    EXPECT_EQ(read("1399", "MMDD", {1231, 1}), "1901-12-31 00:00:00.000000");
    EXPECT_EQ(read("20050231", "YYYYMMDD", {1231, 1}), kRefused);
    EXPECT_EQ(read("20050231", "YYYYMMDD", {20051331, 1}), kRefused);
    EXPECT_EQ(read("20050231", "YYYYMMDD", {-1, 1}), kRefused);
    EXPECT_EQ(read("13", "MM", {-1, 1}), kRefused);
    EXPECT_EQ(read("2005023a", "YYYYMMDD", {20051231, 1}), kRefused);

    EXPECT_EQ(write(8, "YYYYMMDD", stamp(2005, 2, 31), {20051231, 0}), "!0       ");
    EXPECT_EQ(write(8, "YYYYMMDD", stamp(2005, 2, 31), {20051231, 1}), "20051231");
    EXPECT_EQ(write(6, "YYMMDD", stamp(2005, 2, 31), {20051231, 1}), "051231");
    EXPECT_EQ(write(8, "DDMMYYYY", stamp(2005, 2, 31), {31122005, 1}), "31122005");
    EXPECT_EQ(write(10, "YYYYMMDDHH", stamp(2005, 1, 1, 25), {20051231, 1}), "2005123100");
    EXPECT_EQ(write(8, "YYYYMMDD", stamp(2005, 2, 31), {20051331, 1}), "!0       ");
    EXPECT_EQ(write(8, "YYYYMMDD", stamp(2005, 2, 31), {5, 1}), "!0       ");
    EXPECT_EQ(write(6, "FYMMDD", stamp(2500, 2, 31), {20051231, 1}), "!0     ");
    ZCSetValueString("4GL_CONVERT_DATES", "0");
    EXPECT_EQ(read("20050231", "YYYYMMDD", {20051231, 1}), kRefused);
    EXPECT_EQ(write(8, "YYYYMMDD", stamp(2005, 2, 31), {20051231, 1}), "!0       ");

    ZCSetValueString("4GL_CONVERT_DATES", "1");
    ZCSetValueString("PLEX_DATE_INVALID_VALUE", "18500505");
    Z4Exit();
    Z4Init();
    EXPECT_EQ(read("20050231", "YYYYMMDD", {20051231, 1}), "1850-05-05 00:00:00.000000");
    EXPECT_EQ(write(8, "YYYYMMDD", stamp(2005, 2, 31), {20051231, 1}), "20051231");
}

TEST(Dates, AReplacedDateIsLeftInTheRecord) {
    const Library library;
    DateTimeValue value = stamp(2005, 2, 31);
    char bytes[8];
    const XfdArgument argument{reinterpret_cast<uintptr_t>(bytes), 8, 16, 0, 0, 0};
    EXPECT_EQ(Z4ConvertDateTime(&argument, &value, "YYYYMMDD", 2, 20051231, 1), 1);
    EXPECT_EQ(print(value), "2005-12-31 00:00:00.000000");
    value = stamp(2005, 2, 31, 25);
    EXPECT_EQ(Z4ConvertDateTime(&argument, &value, "HHNNSS", 2, 123456, 1), 1);
    EXPECT_EQ(std::string(bytes, 8), "123456  ");
    EXPECT_EQ(print(value), "1901-01-01 12:34:56.000000");
    value = stamp(2005, 2, 31);
    EXPECT_EQ(Z4ConvertDateTime(&argument, &value, "YYYYMMDD", 2, 20051231, 0), 0);
    EXPECT_EQ(print(value), "2005-02-31 00:00:00.000000");
}

TEST(Dates, TraceLines) {
    const Library library(Settings{{"4GL_JULIAN_BASE_DATE", "20000101"},
                                   {"PLEX_DATE_INVALID_VALUE", "a"},
                                   {"PLEX_DATE_NINE_VALUE", "b"},
                                   {"PLEX_DATE_NULL_VALUE", "19990101"},
                                   {"PLEX_DATE_ZERO_VALUE", "d"}});
    const spies::TraceLevel level(1);
    spies::take_traces();
    const std::string base =
        "+0 5 Z4ConvertDateTime: '20000101'\n"
        "+0 5 Z4ConvertDateTime: 36525\n";
    EXPECT_EQ(read("2005123/", "YYYYMMDD"), "1999-01-01 00:00:00.000000");
    EXPECT_EQ(spies::take_traces(),
              "+1 5 Z4ConvertDateTime\n"
              "+1 5 Z4ConvertDateTime\n"
              "+0 5 Z4ConvertDateTime: 'Y', 'a'\n"
              "+0 5 Z4ConvertDateTime: a\n"
              "-1 5 Leaving, 4GL_DATE_INVALID_VALUE = invalid-date-value\n"
              "+1 5 Z4ConvertDateTime\n"
              "+0 5 Z4ConvertDateTime: 'Y', 'b'\n"
              "+0 5 Z4ConvertDateTime: b\n"
              "-1 5 Leaving, 4GL_DATE_NINE_VALUE = invalid-date-value\n"
              "+1 5 Z4ConvertDateTime\n"
              "+0 5 Z4ConvertDateTime: 'YYYYMMDD', '19990101'\n"
              "+0 5 Z4ConvertDateTime: 1999/01/01 00:00:00:000000\n"
              "-1 5 Leaving, 1\n"
              "+1 5 Z4ConvertDateTime\n"
              "+0 5 Z4ConvertDateTime: 'Y', 'd'\n"
              "+0 5 Z4ConvertDateTime: d\n"
              "-1 5 Leaving, 4GL_DATE_ZERO_VALUE = invalid-date-value\n" +
                  base +
                  "+0 5 Z4ConvertDateTime: 'YYYYMMDD', '2005123/'\n"
                  "+0 5 Z4ConvertDateTime: /\n"
                  "-1 5 Leaving, 1\n");
    EXPECT_EQ(read("20051231", "YYYYMMDD"), "2005-12-31 00:00:00.000000");
    EXPECT_EQ(spies::take_traces(), "+1 5 Z4ConvertDateTime\n" + base +
                                        "+0 5 Z4ConvertDateTime: 'YYYYMMDD', '20051231'\n"
                                        "+0 5 Z4ConvertDateTime: 2005/12/31 00:00:00:000000\n"
                                        "-1 5 Leaving, 1\n");
    ZCSetValueString("PLEX_DATE_NINE_VALUE", "20991231");
    Z4Exit();
    Z4Init();
    EXPECT_EQ(read("99999999", "YYYYMMDD"), "2099-12-31 00:00:00.000000");
    const std::string nines = spies::take_traces();
    EXPECT_EQ(nines.substr(nines.rfind(base)),
              base +
                  "+0 5 Z4ConvertDateTime: 2099/12/31 00:00:00.000000\n"
                  "+0 5 Z4ConvertDateTime: '20991231'\n"
                  "+0 5 Z4ConvertDateTime: 'YYYYMMDD', '20991231'\n"
                  "+0 5 Z4ConvertDateTime: 2099/12/31 00:00:00:000000\n"
                  "-1 5 Leaving, 1\n");
    EXPECT_EQ(write(8, "YYYYMMDD", stamp(2005, 12, 31, 1, 2, 3, 4)), "20051231");
    EXPECT_EQ(spies::take_traces(), "+1 5 Z4ConvertDateTime\n" + base +
                                        "+0 5 Z4ConvertDateTime: 2005/12/31 01:02:03.000004\n"
                                        "+0 5 Z4ConvertDateTime: '20051231'\n"
                                        "-1 5 Leaving, 1\n");
    EXPECT_EQ(write(8, "YYYYMMDD", stamp(2005, 12, 31), {20051231, 0}), "0       ");
    EXPECT_EQ(spies::take_traces(),
              "+1 5 Z4ConvertDateTime\n" + base + "-1 5 Leaving, date = invalid-date-value\n");
    EXPECT_EQ(write(8, "YYYYMMDD", stamp(0, 0, 0), {20051231, 0}), "        ");
    EXPECT_EQ(spies::take_traces(),
              "+1 5 Z4ConvertDateTime\n" + base + "-1 5 Leaving, date = boundary-date-value\n");
    EXPECT_EQ(write(8, "YYYYMMDD", stamp(1, 13, 0), {123, 1}), "0       ");
    EXPECT_EQ(spies::take_traces(), "+1 5 Z4ConvertDateTime\n" + base +
                                        "+0 5 Z4ConvertDateTime: 0001/13/00 00:00:00.000000\n"
                                        "+0 5 Z4ConvertDateTime: '00011300'\n"
                                        "+0 5 Invalid value for ILLEGAL-DATE-VALUE: 123\n"
                                        "-1 5 Leaving, 1\n");
}

TEST(Dates, FormatsCarryDatesAndTimes) {
    const struct {
        const char *format;
        int date, time;
    } kRows[] = {{"", 1, 0},       {"YYYYMMDD", 1, 0}, {"D", 1, 0}, {"E", 1, 0},  {"J", 1, 0},
                 {"M", 1, 0},      {"Y", 1, 0},        {"H", 0, 1}, {"N", 0, 1},  {"S", 0, 1},
                 {"T", 0, 1},      {"F", 0, 0},        {"R", 0, 0}, {"FY", 1, 0}, {"-", 0, 0},
                 {"HHNNSS", 0, 1}, {"YYMMDDHH", 1, 1}, {"y", 0, 0}, {"h", 0, 0}};
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.format);
        XfdField field{};
        std::snprintf(field.fd_format, sizeof field.fd_format, "%s", row.format);
        EXPECT_EQ(Z4HaveDateInfo(&field), row.date);
        EXPECT_EQ(Z4HaveTimeInfo(&field), row.time);
    }
}

}  // namespace
