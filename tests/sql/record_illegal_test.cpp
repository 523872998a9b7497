// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "host/config.h"
#include "tests/sql/codec_fixture.h"
#include "wbfsi/lifecycle.h"

namespace {

using namespace sql_test;
using namespace std::string_literals;
using sql::IllegalData;
using sql::Value;

struct Mode {
    IllegalData mode;
    const char *expected;
};

TEST(IllegalData, EachModeAndEachKindOfContents) {
    struct Row {
        const char *what;
        FieldRow field;
        const char *format;  // of a date, or null
        std::string bytes;
        const char *unchanged;
        const char *converted;
        const char *passed;
    };
    const FieldRow amount{"f", 0, 4, 1, 4, -2};
    const FieldRow text{"f", 0, 4, 16};
    const FieldRow date{"f", 0, 8, 1, 8};
    const Row rows[] = {
        {"spaces",
         {"f", 0, 4, 1, 4},
         nullptr,
         "    ",
         "null (spaces) kept",
         "0 (spaces) kept",
         "x20202020 (spaces)"},
        {"low-values",
         {"f", 0, 4, 1, 4},
         nullptr,
         "\0\0\0\0"s,
         "null (low) kept",
         "0 (low) kept",
         "x00000000 (low)"},
        {"high-values",
         {"f", 0, 4, 1, 4},
         nullptr,
         "\xFF\xFF\xFF\xFF",
         "null (high) kept",
         "9999 (high) kept",
         "xFFFFFFFF (high)"},
        {"high-values, decimals", amount, nullptr, "\xFF\xFF\xFF\xFF", "null (high) kept",
         "'99.99' (high) kept", "xFFFFFFFF (high)"},
        {"a letter", amount, nullptr, "12A4", "null (bad number) kept", "'0.00' (bad number) kept",
         "x31324134 (bad number)"},
        {"packed, spaces",
         {"f", 0, 3, 9, 5},
         nullptr,
         "   ",
         "null (bad number) kept",
         "0 (bad number) kept",
         "x202020 (bad number)"},
        {"packed, high-values",
         {"f", 0, 3, 9, 5},
         nullptr,
         "\xFF\xFF\xFF",
         "null (high) kept",
         "99999 (high) kept",
         "xFFFFFF (high)"},
        {"packed, 38 digits",
         {"f", 0, 20, 9, 38},
         nullptr,
         std::string(20, '\xFF'),
         "null (high) kept",
         "'99999999999999999999999999999999999999' (high) kept",
         "xFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF (high)"},
        {"not a number",
         {"f", 0, 4, 23},
         nullptr,
         "\0\0\xC0\x7F"s,
         "null (bad number) kept",
         "0 (bad number) kept",
         "x0000C07F (bad number)"},
        {"text, a zero within", text, nullptr, "A\0B "s, "null (bad text) kept",
         "'A B' (bad text) kept", "x41004220 (bad text)"},
        {"text, low-values", text, nullptr, "\0\0\0\0"s, "null (low) kept", "'' (low) kept",
         "x00000000 (low)"},
        {"national, half a pair",
         {"f", 0, 4, 24},
         nullptr,
         "\x3D\xD8"
         "A\0"s,
         "null (bad text) kept",
         "' A' (bad text) kept",
         "x3DD84100 (bad text)"},
        {"date, spaces", date, "YYYYMMDD", "        ", "null (spaces) kept",
         "'1900-01-01' (spaces) kept", "x2020202020202020 (spaces)"},
        {"date, high-values", date, "YYYYMMDD", std::string(8, '\xFF'), "null (high) kept",
         "'2099-12-31' (high) kept", "xFFFFFFFFFFFFFFFF (high)"},
        {"date, nines", date, "YYYYMMDD", "99999999", "null (bad date) kept",
         "'2099-12-31' (bad date) kept", "x3939393939393939 (bad date)"},
        {"no such day", date, "YYYYMMDD", "20230229", "null (bad date) kept",
         "'1900-01-01' (bad date) kept", "x3230323330323239 (bad date)"},
        {"time, letters",
         {"f", 0, 6, 16},
         "HHNNSS",
         "noon  ",
         "null (bad date) kept",
         "'00:00:00' (bad date) kept",
         "x6E6F6F6E2020 (bad date)"},
        {"date and time, no such hour",
         {"f", 0, 12, 1, 12},
         "YYYYMMDDHHNN",
         "202401012500",
         "null (bad date) kept",
         "'1900-01-01 00:00:00' (bad date) kept",
         "x323032343031303132353030 (bad date)"},
    };
    for (const Row &row : rows) {
        for (const Mode &mode : {Mode{IllegalData::kUnchanged, row.unchanged},
                                 Mode{IllegalData::kConverted, row.converted},
                                 Mode{IllegalData::kKeyMod, row.unchanged},
                                 Mode{IllegalData::kPassThrough, row.passed}}) {
            SCOPED_TRACE(std::string(row.what).append(", mode ").append(
                std::to_string(static_cast<int>(mode.mode))));
            XfdBuilder builder("t", row.field.size);
            builder.field(row.field);
            if (row.format != nullptr) {
                builder.date(row.format);
            }
            sql::TableLayout layout = plain_layout(builder);
            layout.illegal_data = mode.mode;
            OneRecord one(layout);
            EXPECT_EQ(one.decode(row.bytes), mode.expected);
            EXPECT_EQ(one.round_trip(row.bytes), row.bytes);
            // The bytes themselves are taken in every mode.
            const sql::Bytes bytes{reinterpret_cast<const unsigned char *>(row.bytes.data()),
                                   row.bytes.size()};
            EXPECT_EQ(one.encode({Value::blob(bytes)}), row.bytes);
            EXPECT_NE(one.encode({Value::blob(bytes.first(1))}), row.bytes);
        }
    }
}

TEST(IllegalData, KeyModConvertsTheFieldsOfKeysAlone) {
    XfdBuilder builder("t", 12);
    builder.fields({{"a", 0, 4, 1, 4}, {"b", 4, 4, 1, 4}, {"c", 8, 4, 1, 4}});
    builder.key({false, {{0, 4}}});
    sql::TableLayout layout = plain_layout(builder);
    layout.illegal_data = IllegalData::kKeyMod;
    layout.keys[0].columns = {0};
    // Part of a field.
    sql::Key part;
    part.segments = {{9, 1}};
    layout.keys.push_back(part);
    OneRecord one(layout);
    EXPECT_EQ(one.decode("            "), "0 (spaces), null (spaces), 0 (spaces) kept");
    EXPECT_EQ(one.decoded.irregular_keys, 3U);
    EXPECT_EQ(one.round_trip("            "), "            ");
    EXPECT_EQ(
        one.encode_over("            ", {Value::integer(0), Value::integer(7), Value::integer(0)}),
        "    0007    ");
}

// Legal values in other bytes than their own, in a key's column.
TEST(IllegalData, OtherBytesOfTheSameValueAreNoneInAKey) {
    XfdBuilder builder("t", 3);
    builder.field({"a", 0, 3, 9, 5});
    sql::TableLayout layout = plain_layout(builder);
    layout.illegal_data = IllegalData::kConverted;
    sql::Key key;
    key.segments = {{0, 3}};
    key.columns = {0};
    layout.keys = {key};
    OneRecord one(layout);
    EXPECT_EQ(one.decode("\x12\x34\x5F"), "null kept");
    EXPECT_EQ(one.decoded.irregular_keys, 1U);
    EXPECT_EQ(one.decode("\x12\x34\x5C"), "12345");
    EXPECT_EQ(one.decoded.irregular_keys, 0U);
}

TEST(IllegalData, TextOfEachKindOfCodePageLosesItsBadBytesAlone) {
    struct Row {
        int code_page;
        std::string bytes;
        const char *expected;
    };
    const Row rows[] = {
        {65001,
         "A\xE4"
         "B\xC3\xA4",
         "'A B\xC3\xA4' (bad text) kept"},
        {65001, "A\xE4\xFF\xC3 ", "'A' (bad text) kept"},
        {28591, "A\0\xE4\0B"s, "'A \xC3\xA4 B' (bad text) kept"},
        {1252, "A\x80\0 B"s, "'A\xE2\x82\xAC  B' (bad text) kept"},
        {932,
         "A\0\x82\xA0"
         "B"s,
         "'A \xE3\x81\x82"
         "B' (bad text) kept"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.expected);
        XfdBuilder builder("t", 5);
        builder.field({"f", 0, 5, 16});
        sql::TableLayout layout = plain_layout(builder, row.code_page);
        layout.illegal_data = IllegalData::kConverted;
        OneRecord one(layout);
        EXPECT_EQ(one.decode(row.bytes), row.expected);
        EXPECT_EQ(one.round_trip(row.bytes), row.bytes);
    }
}

class IllegalDataConfigured : public ::testing::Test {
 protected:
    void SetUp() override { Z4Init(); }
    void TearDown() override {
        for (const char *name : {"4GL_MIN_DATE", "4GL_MAX_DATE", "4GL_FULL_DATA_TEST"}) {
            ZCSetValueString(name, nullptr);
        }
        Z4Exit();
    }
};

TEST_F(IllegalDataConfigured, TheLeastAndTheGreatestDateAreThoseConfigured) {
    ZCSetValueString("4GL_MIN_DATE", "18000101");
    ZCSetValueString("4GL_MAX_DATE", "22001231");
    XfdBuilder builder("t", 8);
    builder.field({"f", 0, 8, 1, 8}).date("YYYYMMDD");
    sql::TableLayout layout = plain_layout(builder);
    layout.illegal_data = IllegalData::kConverted;
    OneRecord one(layout);
    EXPECT_EQ(one.decode("        "), "'1800-01-01' (spaces) kept");
    EXPECT_EQ(one.decode("20230229"), "'1800-01-01' (bad date) kept");
    EXPECT_EQ(one.decode("99999999"), "'2200-12-31' (bad date) kept");
    ZCSetValueString("4GL_MIN_DATE", "18000230");
    OneRecord none(layout);
    EXPECT_EQ(none.decode("        "), "null (spaces) kept");
}

TEST_F(IllegalDataConfigured, TheFullTestTellsMore) {
    ZCSetValueString("4GL_FULL_DATA_TEST", "1");
    XfdBuilder builder("t", 4);
    builder.field({"f", 0, 4, 1, 4});
    OneRecord one(builder);
    EXPECT_EQ(one.decode("12A4"), "null (high) kept");
    EXPECT_EQ(one.decode("12/4"), "null (low) kept");
    EXPECT_EQ(one.decode("12 4"), "null (spaces) kept");
}

TEST(NullValue, AFieldThatHoldsItIsNullAndNullIsWrittenAsIt) {
    struct Row {
        FieldRow field;
        const char *null_value;
        std::string written;  // for null
        std::string other;    // holds it as well; empty: nothing does
    };
    const FieldRow text{"f", 0, 4, 16};
    const FieldRow number{"f", 0, 4, 1, 4};
    const Row rows[] = {
        {text, "SPACES", "    ", ""},
        {text, "HIGH-VALUE", "\xFF\xFF\xFF\xFF", ""},
        {text, "LOW-VALUES", "\0\0\0\0"s, ""},
        {text, "ZERO", "0000", ""},
        {text, "N/A", "N/A ", ""},
        {text, "A", "A   ", "AB  "},
        {text, "longer than it", "long", ""},
        {text, "Spaces", "Spac", ""},
        {number, "SPACES", "    ", ""},
        {number, "HIGH-VALUES", "\xFF\xFF\xFF\xFF", ""},
        {number, "ZEROES", "0000", ""},
        {number, "9999", "9999", ""},
        {{"f", 0, 4, 1, 4, -2}, "1234", "1234", ""},
        {{"f", 0, 3, 9, 5}, "-00001", "\0\0\x1D"s, ""},
        {{"f", 0, 3, 9, 5}, "00001", "\0\0\x1C"s, "\0\0\x1F"s},
        {{"f", 0, 2, 11, 4}, "0007", "\0\x07"s, ""},
        {{"f", 0, 4, 17}, "A", "A   ", ""},
        {{"f", 0, 0, 16}, "SPACES", "", ""},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.null_value);
        XfdBuilder builder("t", 5);
        builder.field(row.field).null_value(row.null_value);
        builder.field({"g", row.field.size, 5 - row.field.size, 16});
        OneRecord one(builder);
        const std::string rest(5 - row.field.size, 'x');
        EXPECT_EQ(one.decode(row.written + rest), "null (null value), '" + rest + "'");
        EXPECT_EQ(one.encode(one.values), row.written + rest);
        if (!row.other.empty()) {
            EXPECT_EQ(one.decode(row.other + rest), "null (null value), '" + rest + "' kept");
            EXPECT_EQ(one.round_trip(row.other + rest), row.other + rest);
        }
    }
}

TEST(NullValue, WithoutBytesThatHoldItNullIsZeroOrBlank) {
    XfdBuilder builder("t", 8);
    builder.field({"n", 0, 4, 1, 4}).null_value("12A");
    builder.field({"d", 4, 4, 1, 4}).null_value("0");
    OneRecord one(builder);
    EXPECT_EQ(one.encode({Value(), Value()}), "00000000");
    EXPECT_EQ(one.decode("00000000"), "0, 0");
}

TEST(NullValue, CountsBeforeTheDateAndTheTestOfTheData) {
    XfdBuilder builder("t", 12);
    builder.field({"d", 0, 8, 1, 8}).date("YYYYMMDD").null_value("99999999");
    builder.field({"n", 8, 4, 1, 4}).null_value("SPACES");
    OneRecord one(builder);
    EXPECT_EQ(one.decode("99999999    "), "null (null value), null (null value)");
    EXPECT_EQ(one.encode(one.values), "99999999    ");
    EXPECT_EQ(one.decode("000000000042"), "null (null value), 42 kept");
    EXPECT_EQ(one.encode_over("000000000042", {Value::text("2024-02-29"), Value()}),
              "20240229    ");
}

// What a row of a child table that is not there says about its fields.
TEST(AbsentValues, StandForABlankRecordAndForNulls) {
    XfdBuilder builder("t", 12);
    builder.fields({{"n", 0, 4, 1, 4}, {"t", 4, 4, 16}, {"p", 8, 4, 1, 4, -2}});
    sql::TableLayout layout = plain_layout(builder);
    layout.children.emplace_back();
    OneRecord one(layout);
    const std::vector<Value> absent(3, Value::absent());
    EXPECT_EQ(one.encode(absent), "0000    0000");
    // Bytes that say what a blank record says stay as they are.
    for (const std::string &record : {"0000    0000"s, "    \0\0\0\0    "s, "????    0000"s}) {
        EXPECT_EQ(one.encode_over(record, absent), record);
    }
    EXPECT_EQ(one.encode_over("0012ABC\0\0\0\0\0"s, absent), "0000    \0\0\0\0"s);
}

}  // namespace
