// SPDX-License-Identifier: MIT
#include "sql/record_dates.h"

#include <gtest/gtest.h>

#include "host/config.h"
#include "tests/sql/codec_fixture.h"
#include "wbfsi/lifecycle.h"

namespace {

using namespace sql_test;
using namespace std::string_literals;
using sql::Value;

// A record of one date.
OneRecord one_date(const FieldRow &row, const char *format) {
    XfdBuilder builder("t", row.size);
    builder.field(row).date(format);
    return OneRecord(builder);
}

std::string not_held(const std::string &text, const std::string &why) {
    return "column \"d\" holds '" + text + "', which " + why;
}

TEST(RecordDates, EachStorageDecodesAndComesBack) {
    struct Row {
        const char *what;
        FieldRow field;
        const char *format;
        std::string bytes;
        const char *expected;
    };
    const Row rows[] = {
        {"display", {"d", 0, 8, 1, 8}, "YYYYMMDD", "20240229", "'2024-02-29'"},
        {"display, six digits", {"d", 0, 6, 1, 6}, "YYMMDD", "991231", "'1999-12-31'"},
        {"display, window", {"d", 0, 6, 1, 6}, "YYMMDD", "191231", "'2019-12-31'"},
        {"text", {"d", 0, 8, 16}, "DDMMYYYY", "31121999", "'1999-12-31'"},
        {"text wider than the format", {"d", 0, 10, 16}, "YYYYMMDD", "20240229  ", "'2024-02-29'"},
        {"packed", {"d", 0, 5, 9, 9}, "YYYYMMDD", "\x02\x02\x40\x22\x9C", "'2024-02-29'"},
        {"packed without sign", {"d", 0, 4, 10, 8}, "YYYYMMDD", "\x20\x24\x02\x29", "'2024-02-29'"},
        {"the format of type 8", {"d", 0, 5, 8, 8}, "", "\x02\x02\x40\x22\x9F", "'2024-02-29'"},
        {"the format of type 6",
         {"d", 0, 7, 6, 6},
         "",
         "\x09\x09\x01\x02\x03\x01\x0B",
         "'1999-12-31'"},
        {"binary", {"d", 0, 4, 11, 9}, "YYYYMMDD", "\x01\x34\xD7\x65", "'2024-02-29'"},
        {"day of the year", {"d", 0, 5, 1, 5}, "YYEEE", "19365", "'2019-12-31'"},
        {"decade letter", {"d", 0, 6, 16}, "FYMMDD", "<40229", "'2024-02-29'"},
        {"month", {"d", 0, 6, 1, 6}, "YYYYMM", "202402", "'2024-02-01'"},
        {"time", {"d", 0, 6, 1, 6}, "HHNNSS", "123059", "'12:30:59'"},
        {"midnight", {"d", 0, 6, 1, 6}, "HHNNSS", "000000", "'00:00:00'"},
        {"time of hundredths", {"d", 0, 8, 1, 8}, "HHNNSSTT", "12305909", "'12:30:59.09'"},
        {"hours", {"d", 0, 4, 1, 4}, "HHNN", "1230", "'12:30:00'"},
        {"date and time",
         {"d", 0, 14, 1, 14},
         "YYYYMMDDHHNNSS",
         "20240229123059",
         "'2024-02-29 12:30:59'"},
        {"all of it",
         {"d", 0, 20, 16},
         "YYYYMMDDHHNNSSTTTTTT",
         "20240229123059000001",
         "'2024-02-29 12:30:59.000001'"},
        {"zeros", {"d", 0, 8, 1, 8}, "YYYYMMDD", "00000000", "null (null value)"},
        {"zeros of a text", {"d", 0, 8, 16}, "YYYYMMDD", "00000000", "null (null value)"},
        {"a zero in a text", {"d", 0, 8, 16}, "YYYYMMDD", "0       ", "null (null value) kept"},
        {"zeros, packed", {"d", 0, 5, 9, 9}, "YYYYMMDD", "\0\0\0\0\x0C"s, "null (null value)"},
        {"minus zero", {"d", 0, 5, 9, 9}, "YYYYMMDD", "\0\0\0\0\x0D"s, "null (null value) kept"},
        {"zeros, binary", {"d", 0, 4, 11, 9}, "YYYYMMDD", "\0\0\0\0"s, "null (null value)"},
        {"spaces", {"d", 0, 8, 16}, "YYYYMMDD", "        ", "null (spaces) kept"},
        {"spaces in a number", {"d", 0, 8, 1, 8}, "YYYYMMDD", "        ", "null (spaces) kept"},
        {"low-values", {"d", 0, 8, 16}, "YYYYMMDD", std::string(8, '\0'), "null (low) kept"},
        {"high-values", {"d", 0, 8, 16}, "YYYYMMDD", std::string(8, '\xFF'), "null (high) kept"},
        {"nines", {"d", 0, 8, 1, 8}, "YYYYMMDD", "99999999", "null (bad date) kept"},
        {"no such day", {"d", 0, 8, 1, 8}, "YYYYMMDD", "20230229", "null (bad date) kept"},
        {"letters", {"d", 0, 8, 16}, "YYYYMMDD", "tomorrow", "null (bad date) kept"},
        {"another plus",
         {"d", 0, 5, 9, 9},
         "YYYYMMDD",
         "\x02\x02\x40\x22\x9F",
         "'2024-02-29' kept"},
        {"a blank in front", {"d", 0, 9, 16}, "YYYYMMDD", " 20240229", "null (bad date) kept"},
        {"year 0", {"d", 0, 8, 1, 8}, "YYYYMMDD", "00000101", "'0000-01-01'"},
        {"no format", {"d", 0, 8, 1, 8}, "", "20240229", "null (bad date) kept"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.what);
        ASSERT_EQ(row.bytes.size(), row.field.size);
        OneRecord one = one_date(row.field, row.format);
        // Once anew, once as remembered.
        EXPECT_EQ(one.decode(row.bytes), row.expected);
        EXPECT_EQ(one.decode(row.bytes), row.expected);
        EXPECT_EQ(one.round_trip(row.bytes), row.bytes);
        if (one.decoded.is_exact) {
            EXPECT_EQ(one.encode(one.values), row.bytes);
        }
    }
}

TEST(RecordDates, WhatAFieldWouldNotGiveBackIsRefused) {
    struct Row {
        FieldRow field;
        const char *format;
        const char *text;
        const char *why;  // empty: taken
    };
    const FieldRow eight{"d", 0, 8, 1, 8};
    const FieldRow six{"d", 0, 6, 1, 6};
    const FieldRow fourteen{"d", 0, 14, 1, 14};
    constexpr const char *kNoDate = "is not a date (YYYY-MM-DD)";
    constexpr const char *kNoTime = "is not a time (HH:MM:SS)";
    constexpr const char *kNeither = "is not a date and time (YYYY-MM-DD HH:MM:SS)";
    const Row rows[] = {
        {eight, "YYYYMMDD", "2024-02-29", ""},
        {eight, "YYYYMMDD", "2023-02-29", kNoDate},
        {eight, "YYYYMMDD", "2024-13-01", kNoDate},
        {eight, "YYYYMMDD", "2024-2-29", kNoDate},
        {eight, "YYYYMMDD", "20240229", kNoDate},
        {eight, "YYYYMMDD", "2024-02-29 00:00:00", kNoDate},
        {eight, "YYYYMMDD", "2024-02-29 ", kNoDate},
        {eight, "YYYYMMDD", "12024-02-29", kNoDate},
        {eight, "YYYYMMDD", "", kNoDate},
        {six, "YYMMDD", "1920-01-01", ""},
        {six, "YYMMDD", "2019-12-31", ""},
        {six, "YYMMDD", "2020-01-01", "its date format YYMMDD would give back as '1920-01-01'"},
        {six, "YYYYMM", "2024-02-01", ""},
        {six, "YYYYMM", "2024-02-02", "its date format YYYYMM would give back as '2024-02-01'"},
        {six, "HHNNSS", "23:59:59", ""},
        {six, "HHNNSS", "23:59:59.000", ""},
        {six, "HHNNSS", "23:59:59.5", "its date format HHNNSS would give back as '23:59:59'"},
        {six, "HHNNSS", "24:00:00", kNoTime},
        {six, "HHNNSS", "23:59", kNoTime},
        {six, "HHNNSS", "2024-02-29 23:59:59", kNoTime},
        {six, "HHNNSS", "23:59:59.", kNoTime},
        {six, "HHNNSS", "23:59:59.0000000", kNoTime},
        {eight, "HHNNSSTT", "23:59:59.98", ""},
        {eight, "HHNNSSTT", "23:59:59.9", ""},
        {eight, "HHNNSSTT", "23:59:59.987",
         "its date format HHNNSSTT would give back as '23:59:59.98'"},
        {fourteen, "YYYYMMDDHHNNSS", "2024-02-29 23:59:59", ""},
        {fourteen, "YYYYMMDDHHNNSS", "2024-02-29", kNeither},
        {fourteen, "YYYYMMDDHHNNSS", "2024-02-29T23:59:59", kNeither},
        {{"d", 0, 6, 16}, "FYMMDD", "1739-12-31", "its date format FYMMDD cannot hold"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.text);
        OneRecord one = one_date(row.field, row.format);
        const std::string got = one.encode({Value::text(row.text)});
        if (*row.why != '\0') {
            EXPECT_EQ(got, not_held(row.text, row.why));
        } else {
            EXPECT_EQ(got.size(), row.field.size) << got;
            one.decode(got);
            EXPECT_TRUE(one.decoded.is_exact);
            EXPECT_TRUE(shown(one.values[0])
                            .starts_with(std::string("'") + std::string(row.text).substr(0, 8)));
        }
    }
    OneRecord one = one_date(eight, "YYYYMMDD");
    EXPECT_EQ(one.encode({Value::integer(20240229)}),
              "column \"d\" holds 20240229, which is not the text of a date nor 8 bytes");
    EXPECT_EQ(one.encode({Value()}), "00000000");
}

// Of more dates than are remembered each keeps its own text.
TEST(RecordDates, DatesThatShareAPlaceInMemoryStayApart) {
    OneRecord one = one_date({"d", 0, 8, 1, 8}, "YYYYMMDD");
    for (int round = 0; round < 2; round++) {
        for (int year = 1900; year < 2100; year++) {
            for (int day = 1; day <= 28; day += 3) {
                char bytes[16];
                char text[16];
                std::snprintf(bytes, sizeof bytes, "%04d12%02d", year, day);
                std::snprintf(text, sizeof text, "%04d-12-%02d", year, day);
                ASSERT_EQ(one.decode(bytes), "'" + std::string(text) + "'");
                ASSERT_EQ(one.encode({Value::text(text)}), bytes);
            }
        }
    }
}

class RecordDatesConfigured : public ::testing::Test {
 protected:
    void SetUp() override { Z4Init(); }
    void TearDown() override {
        ZCSetValueString("PLEX_DATE_ZERO_VALUE", nullptr);
        ZCSetValueString("PLEX_DATE_NINE_VALUE", nullptr);
        Z4Exit();
    }
};

TEST_F(RecordDatesConfigured, SpecialDatesAreDatesAndKeepTheirBytes) {
    ZCSetValueString("PLEX_DATE_ZERO_VALUE", "00010101");
    ZCSetValueString("PLEX_DATE_NINE_VALUE", "20991231");
    OneRecord one = one_date({"d", 0, 8, 1, 8}, "YYYYMMDD");
    EXPECT_EQ(one.decode("00000000"), "'0001-01-01'");
    EXPECT_EQ(one.encode(one.values), "00000000");
    EXPECT_EQ(one.decode("99999999"), "'2099-12-31'");
    EXPECT_EQ(one.encode(one.values), "99999999");
    // The day itself is written as nines.
    EXPECT_EQ(one.decode("20991231"), "'2099-12-31' kept");
    EXPECT_EQ(one.round_trip("20991231"), "20991231");
}

TEST(RecordDates, KeysOfDatesSortAsTheirBytesWhereTheDigitsAreTheText) {
    struct Row {
        FieldRow field;
        const char *format;
        std::string bytes;
        bool sorts;
    };
    const Row rows[] = {
        {{"d", 0, 8, 1, 8}, "YYYYMMDD", "20240229", true},
        {{"d", 0, 8, 16}, "YYYYMMDD", "20240229", true},
        {{"d", 0, 5, 9, 9}, "YYYYMMDD", "\x02\x02\x40\x22\x9C", true},
        {{"d", 0, 4, 11, 9}, "YYYYMMDD", "\x01\x34\xD7\x65", true},
        {{"d", 0, 6, 1, 6}, "HHNNSS", "123059", true},
        {{"d", 0, 6, 1, 6}, "YYMMDD", "991231", false},
        {{"d", 0, 8, 1, 8}, "DDMMYYYY", "29022024", false},
        {{"d", 0, 8, 1, 8}, "YYYYMMDD", "00000000", false},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.format);
        XfdBuilder builder("t", row.field.size);
        builder.field(row.field).date(row.format);
        sql::TableLayout layout = plain_layout(builder);
        sql::Key key;
        key.segments = {{0, row.field.size}};
        key.columns = {0};
        layout.keys = {key};
        OneRecord one(layout);
        one.decode(row.bytes);
        EXPECT_EQ(one.decoded.irregular_keys, row.sorts ? 0U : 1U);
    }
}

}  // namespace
