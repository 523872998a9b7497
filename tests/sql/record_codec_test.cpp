// SPDX-License-Identifier: MIT
#include "sql/record_codec.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "host/charset.h"
#include "sql/field_types.h"
#include "sql/record_number.h"
#include "tests/sql/sql_fixture.h"

namespace {

using namespace sql_test;
using namespace std::string_literals;

std::string shown(const sql::Value &value) {
    switch (value.kind()) {
        case sql::Value::Kind::kInteger:
            return std::to_string(value.as_integer());
        case sql::Value::Kind::kReal: {
            char text[40];
            std::snprintf(text, sizeof text, "%.17g", value.as_real());
            return text;
        }
        case sql::Value::Kind::kText:
            return std::string("'").append(value.as_text()).append("'");
        case sql::Value::Kind::kBlob:
            return "blob";
        default:
            return "null";
    }
}

// A record of one field: what it decodes to, and whether that is all of it.
struct OneField {
    explicit OneField(const FieldRow &row, void (*change)(XfdBuilder &) = nullptr)
        : builder("t", row.size) {
        builder.field(row);
        if (change != nullptr) {
            change(builder);
        }
        codec = std::make_unique<sql::RecordCodec>(layout_of(builder));
        texts.resize(codec->text_capacity());
        image.resize(row.size);
    }

    std::string decode(const std::string &bytes) {
        record = bytes;
        is_exact = codec->decode(as_bytes(record), {&value, 1}, texts).is_exact;
        return shown(value) + (is_exact ? "" : " kept");
    }
    // The bytes of a value, or "refused".
    std::string encode(const sql::Value &from) {
        size_t length = 0;
        return codec->encode({&from, 1}, image, &length).ok() ? as_string({image.data(), length})
                                                              : "refused";
    }

    XfdBuilder builder;
    std::unique_ptr<sql::RecordCodec> codec;
    std::vector<char> texts;
    std::vector<unsigned char> image;
    std::string record;  // what the value may point into
    sql::Value value;
    bool is_exact = false;
};

struct TypeRow {
    const char *what;
    FieldRow field;
    std::string bytes;
    const char *expected;  // " kept": the bytes are not the value's own
};

TEST(RecordCodec, EachStorageDecodesAndComesBack) {
    const TypeRow rows[] = {
        {"display", {"f", 0, 4, 1, 4}, "0042", "42"},
        {"display of 18 digits", {"f", 0, 18, 1, 18}, "999999999999999999", "999999999999999999"},
        {"display of 19 digits",
         {"f", 0, 19, 1, 19},
         "0999999999999999999",
         "'999999999999999999'"},
        {"display, 38 digits",
         {"f", 0, 38, 1, 38, -38},
         std::string(37, '0') + "1",
         "'0.00000000000000000000000000000000000001'"},
        {"display, decimals", {"f", 0, 5, 1, 5, -2}, "00150", "'1.50'"},
        {"display, point in front of the digits", {"f", 0, 2, 1, 2, -5}, "12", "'0.00012'"},
        {"display, zeros behind the digits", {"f", 0, 2, 1, 2, 3}, "12", "12000"},
        {"display, blanks", {"f", 0, 4, 1, 4}, "    ", "null kept"},
        {"display, low-values", {"f", 0, 4, 1, 4}, "\0\0\0\0"s, "null kept"},
        {"display, high-values", {"f", 0, 4, 1, 4}, "\xFF\xFF\xFF\xFF", "null kept"},
        {"display, a letter", {"f", 0, 9, 1, 9}, "12345A789", "null kept"},
        {"display, a letter behind eight digits", {"f", 0, 9, 1, 9}, "12345678:", "null kept"},
        {"trailing sign", {"f", 0, 4, 2, 3}, "042-", "-42"},
        {"trailing plus", {"f", 0, 4, 2, 3}, "042+", "42"},
        {"trailing sign, minus zero", {"f", 0, 4, 2, 3}, "000-", "0 kept"},
        {"trailing sign, bad", {"f", 0, 4, 2, 3}, "042x", "null kept"},
        {"sign in the last digit", {"f", 0, 3, 3, 3}, "04r", "-42"},
        {"sign in the last digit, plus", {"f", 0, 3, 3, 3}, "042", "42"},
        {"sign in the last digit, other form", {"f", 0, 3, 3, 3}, "04B", "42 kept"},
        {"sign in the last digit, minus zero", {"f", 0, 3, 3, 3}, "00p", "0 kept"},
        {"leading sign", {"f", 0, 4, 4, 3, -1}, "-042", "'-4.2'"},
        {"sign in the first digit", {"f", 0, 3, 5, 3}, "t42", "-442"},
        {"one digit a byte", {"f", 0, 3, 7, 3}, "\x01\x02\x03", "123"},
        {"one digit a byte, too great", {"f", 0, 3, 7, 3}, "\x01\x0A\x03", "null kept"},
        {"one digit a byte, signed", {"f", 0, 4, 6, 3}, "\x01\x02\x03\x0D", "-123"},
        {"packed without minus", {"f", 0, 2, 8, 3}, "\x12\x3F", "123"},
        {"packed", {"f", 0, 3, 9, 5, -2}, "\x12\x34\x5D", "'-123.45'"},
        {"packed, other plus", {"f", 0, 3, 9, 5}, "\x12\x34\x5F", "12345 kept"},
        {"packed, minus zero", {"f", 0, 3, 9, 5}, "\0\0\x0D"s, "0 kept"},
        {"packed, blanks", {"f", 0, 3, 9, 5}, "   ", "null kept"},
        {"packed, even digits", {"f", 0, 3, 9, 4}, "\x01\x23\x4C", "1234"},
        {"packed, 38 digits",
         {"f", 0, 20, 9, 38, -2},
         "\x01"s + std::string(18, '\x11') + "\x1D",
         "'-111111111111111111111111111111111111.11'"},
        {"packed without sign", {"f", 0, 2, 10, 4}, "\x12\x34", "1234"},
        {"binary, big end", {"f", 0, 4, 11, 9}, "\xFF\xFF\xFF\xFE", "-2"},
        {"binary beyond its digits", {"f", 0, 2, 12, 4}, "\xFF\xFF", "65535"},
        {"binary of three bytes", {"f", 0, 3, 11, 6}, "\x80\0\0"s, "-8388608"},
        {"binary, little end", {"f", 0, 4, 32, 9}, "\xFE\xFF\xFF\xFF", "-2"},
        {"binary, decimals", {"f", 0, 4, 32, 9, -3}, "\xFE\xFF\xFF\xFF", "'-0.002'"},
        {"binary, all of 64 bits",
         {"f", 0, 8, 33, 20},
         std::string(8, '\xFF'),
         "'18446744073709551615'"},
        {"binary, more than an integer column",
         {"f", 0, 8, 12, 18},
         std::string(8, '\xFF'),
         "null kept"},
        {"binary, least",
         {"f", 0, 8, 11, 18},
         "\x80"s + std::string(7, '\0'),
         "-9223372036854775808"},
        {"text", {"f", 0, 6, 16}, "AB C  ", "'AB C'"},
        {"text, nothing", {"f", 0, 6, 16}, "      ", "''"},
        {"text, Latin letters", {"f", 0, 6, 16}, "M\xFCller", "'M\xC3\xBCller'"},
        {"text, quotes", {"f", 0, 6, 16}, "a'b\"; ", "'a'b\";'"},
        {"text, zeros behind", {"f", 0, 6, 16}, "AB\0\0\0\0"s, "'AB' kept"},
        {"text, a zero within", {"f", 0, 6, 16}, "A\0B   "s, "null kept"},
        {"text, low-values", {"f", 0, 6, 16}, std::string(6, '\0'), "null kept"},
        {"text, tab", {"f", 0, 6, 16}, "A\tB   ", "'A\tB'"},
        {"text to the right", {"f", 0, 6, 17}, "  AB  ", "'AB  '"},
        {"text to the right, blank", {"f", 0, 6, 17}, "      ", "''"},
        {"national", {"f", 0, 6, 24}, "A\0\xAC\x20 \0"s, "'A\xE2\x82\xAC'"},
        {"national, pair", {"f", 0, 6, 24}, "\x3D\xD8\0\xDE \0"s, "'\xF0\x9F\x98\x80'"},
        {"national, half a pair", {"f", 0, 4, 24}, "\x3D\xD8 \0"s, "null kept"},
        {"national to the right", {"f", 0, 6, 25}, " \0 \0A\0"s, "'A'"},
        {"float", {"f", 0, 4, 23}, "\0\0\xC0\x3F"s, "1.5"},
        {"double", {"f", 0, 8, 23}, "\0\0\0\0\0\0\xF8\xBF"s, "-1.5"},
        {"double, minus zero", {"f", 0, 8, 23}, "\0\0\0\0\0\0\0\x80"s, "0 kept"},
        {"float, not a number", {"f", 0, 4, 23}, "\0\0\xC0\x7F"s, "null kept"},
        {"float, infinity", {"f", 0, 4, 23}, "\0\0\x80\x7F"s, "inf"},
        {"national digits",
         {"f", 0, 4, 35, 2},
         "4\0"
         "2\0"s,
         "42"},
        {"float of a strange size", {"f", 0, 3, 23}, "abc", "blob"},
    };
    for (const TypeRow &row : rows) {
        SCOPED_TRACE(row.what);
        ASSERT_EQ(row.bytes.size(), row.field.size);
        OneField one(row.field);
        ASSERT_EQ(one.decode(row.bytes), row.expected);
        if (one.is_exact) {
            EXPECT_EQ(one.encode(one.value), row.bytes);
        }
        size_t length = 0;
        ASSERT_TRUE(
            one.codec->encode_over(as_bytes(row.bytes), {&one.value, 1}, one.image, &length).ok());
        EXPECT_EQ(as_string({one.image.data(), length}), row.bytes);
    }
}

TEST(RecordCodec, SettingsChooseTheSigns) {
    struct Row {
        uint8_t code1, code2;
        FieldRow field;
        const char *bytes;
        const char *expected;
    };
    const Row rows[] = {
        {16, 13, {"f", 0, 3, 3, 3}, "04K", "-42"},
        {16, 13, {"f", 0, 3, 3, 3}, "04{", "40"},
        {16, 13, {"f", 0, 2, 9, 3}, "\x12\x3F", "123"},
        {16, 13, {"f", 0, 2, 9, 3}, "\x12\x3C", "123 kept"},
        {64, 11, {"f", 0, 3, 5, 3}, "R42", "-242"},
        {64, 11, {"f", 0, 3, 5, 3}, "@42", "42"},
        {25, 11, {"f", 0, 2, 9, 3}, "\x12\x3C", "123"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.bytes);
        XfdBuilder builder("t", row.field.size);
        builder.field(row.field);
        builder.settings().cv_sign_code1 = row.code1;
        builder.settings().cv_sign_code2 = row.code2;
        const sql::RecordCodec codec(layout_of(builder));
        std::vector<char> texts(codec.text_capacity());
        sql::Value value;
        const bool is_exact = codec.decode(as_bytes(row.bytes), {&value, 1}, texts).is_exact;
        EXPECT_EQ(shown(value) + (is_exact ? "" : " kept"), row.expected);
        if (is_exact) {
            std::vector<unsigned char> image(row.field.size);
            size_t length = 0;
            ASSERT_TRUE(codec.encode({&value, 1}, image, &length).ok());
            EXPECT_EQ(as_string(image), row.bytes);
        }
    }
}

TEST(RecordCodec, ValuesOfOthersAreTakenOrRefused) {
    struct Row {
        const char *what;
        FieldRow field;
        sql::Value value;
        std::string expected;
    };
    const FieldRow amount{"f", 0, 3, 9, 5, -2};
    const FieldRow count{"f", 0, 4, 1, 4};
    const Row rows[] = {
        {"fewer decimals", amount, sql::Value::text("12.5"), "\x01\x25\x0C"},
        {"no decimals", amount, sql::Value::text("-7"), "\0\x70\x0D"s},
        {"an integer", amount, sql::Value::integer(7), "\0\x70\x0C"s},
        {"zeros behind", amount, sql::Value::text("1.2500"), "\0\x12\x5C"s},
        {"zeros in front", amount, sql::Value::text("+0000001.25"), "\0\x12\x5C"s},
        {"minus zero", amount, sql::Value::text("-0.00"), "\0\0\x0C"s},
        {"too many decimals", amount, sql::Value::text("1.255"), "refused"},
        {"too great", amount, sql::Value::text("1000.00"), "refused"},
        {"too great, short form", amount, sql::Value::text("1000"), "refused"},
        {"far too great", amount,
         sql::Value::text(std::string_view("9999999999999999999999999999")), "refused"},
        {"no number", amount, sql::Value::text("abc"), "refused"},
        {"nothing", amount, sql::Value::text(""), "refused"},
        {"a sign alone", amount, sql::Value::text("-"), "refused"},
        {"a point alone", amount, sql::Value::text("."), "refused"},
        {"two points", amount, sql::Value::text("1.2.5"), "refused"},
        {"an exponent", amount, sql::Value::text("1e2"), "refused"},
        {"a part of one in a float", amount, sql::Value::real(0.5), "refused"},
        {"a blob", amount, sql::Value::blob({}), "refused"},
        {"null", amount, sql::Value(), "\0\0\x0C"s},
        {"whole number in a float", count, sql::Value::real(42), "0042"},
        {"whole number in a text", count, sql::Value::text("42"), "0042"},
        {"minus in an unsigned field", count, sql::Value::integer(-1), "refused"},
        {"five digits", count, sql::Value::integer(10000), "refused"},
        {"no multiple of the scale", {"f", 0, 2, 1, 2, 3}, sql::Value::integer(12500), "refused"},
        {"a multiple of the scale", {"f", 0, 2, 1, 2, 3}, sql::Value::integer(12000), "12"},
        {"binary in its bytes", {"f", 0, 2, 12, 4}, sql::Value::integer(65535), "\xFF\xFF"},
        {"binary beyond its bytes", {"f", 0, 2, 12, 4}, sql::Value::integer(65536), "refused"},
        {"binary, least", {"f", 0, 2, 11, 4}, sql::Value::integer(-32768), "\x80\0"s},
        {"binary, below the least", {"f", 0, 2, 11, 4}, sql::Value::integer(-32769), "refused"},
        {"long number", {"f", 0, 20, 1, 20}, sql::Value::integer(7), std::string(19, '0') + "7"},
        {"text that fits", {"f", 0, 4, 16}, sql::Value::text("AB"), "AB  "},
        {"text too long", {"f", 0, 4, 16}, sql::Value::text("ABCDE"), "refused"},
        {"text of other letters", {"f", 0, 4, 16}, sql::Value::text("\xE2\x82\xAC"), "refused"},
        {"text with a zero",
         {"f", 0, 4, 16},
         sql::Value::text(std::string_view("A\0", 2)),
         "refused"},
        {"broken UTF-8", {"f", 0, 4, 16}, sql::Value::text("\xC3"), "refused"},
        {"a number in a text", {"f", 0, 4, 16}, sql::Value::integer(1), "refused"},
        {"text to the right", {"f", 0, 4, 17}, sql::Value::text("AB"), "  AB"},
        {"national too long", {"f", 0, 4, 24}, sql::Value::text("ABC"), "refused"},
        {"float too great", {"f", 0, 4, 23}, sql::Value::real(1e300), "refused"},
        {"integer in a float", {"f", 0, 4, 23}, sql::Value::integer(2), "\0\0\0\x40"s},
        {"blob of another size", {"f", 0, 3, 23}, sql::Value::blob({}), "refused"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(OneField(row.field).encode(row.value), row.expected);
    }
}

// What this layer reads and writes itself, and what the host makes of it.
TEST(RecordCodec, NumbersAgreeWithTheHost) {
    std::mt19937 random(11);
    const XfdCvtInfo settings{0, 40, 25, 11, '.', ',', 0};
    constexpr uint16_t kTypes[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 32, 33};
    for (const uint16_t type : kTypes) {
        for (uint8_t digits = 1; digits <= 18; digits++) {
            SCOPED_TRACE("type " + std::to_string(type) + " digits " + std::to_string(digits));
            const bool is_binary = type >= 11;
            const uint32_t size = is_binary                             ? (digits < 5    ? 2U
                                                                           : digits < 10 ? 4U
                                                                                         : 8U)
                                  : type == 8 || type == 9              ? digits / 2U + 1
                                  : type == 10                          ? (digits + 1U) / 2
                                  : type == 2 || type == 4 || type == 6 ? digits + 1U
                                                                        : digits;
            const ZArgument data{0, size, type, digits, 0, 0};
            const sql::FieldShape shape = sql::shape_of(data);
            ASSERT_NE(shape.storage, sql::Storage::kHostNumber);
            const sql::NumberField field = sql::make_number_field(data, shape, true, settings);
            for (int i = 0; i < 20; i++) {
                std::string text(digits, '0');
                for (char &c : text) {
                    c = static_cast<char>('0' + random() % 10);
                }
                const bool is_negative = shape.is_signed && random() % 2 == 0;
                const std::string signed_text = std::string(1, is_negative ? '-' : '+') + text;
                const int64_t number = std::stoll(signed_text);
                unsigned char ours[20] = {};
                unsigned char theirs[20] = {};
                ASSERT_TRUE(sql::encode_number(field, settings, sql::Value::integer(number), ours));
                const ZArgument from{
                    reinterpret_cast<uintptr_t>(signed_text.data()), digits + 1U, 4, digits, 0, 0};
                ZArgument to = data;
                to.a_address = reinterpret_cast<uintptr_t>(theirs);
                ASSERT_EQ(ZconvertData(&to, &from, 1, &settings), 1);
                EXPECT_EQ(std::memcmp(ours, theirs, size), 0) << number;
                sql::Value value;
                char room[64];
                ASSERT_TRUE(sql::decode_number(field, settings, theirs, room, &value).is_canonical);
                EXPECT_EQ(value.as_integer(), number);
            }
        }
    }
}

// A record of every storage, some overlapping, with fillers.
XfdBuilder everything() {
    XfdBuilder builder("everything", 80);
    builder.fields({{"t1", 0, 6, 16},
                    {"d1", 6, 5, 1, 5},
                    {"p1", 11, 4, 9, 7, -2},
                    {"b1", 15, 4, 11, 9},
                    {"l1", 19, 8, 33, 20},
                    {"s1", 27, 4, 3, 4, -1},
                    {"n1", 32, 6, 24},
                    {"f1", 38, 4, 23},
                    {"f2", 42, 8, 23},
                    {"r1", 50, 5, 17},
                    {"x1", 55, 19, 9, 36, -9},
                    {"g1", 74, 4, 6, 3}});
    return builder;
}

std::string random_record(std::mt19937 &random, size_t size) {
    std::string record(size, '\0');
    const std::string usual = "0123456789 ABCabc\x0C\x1D+-{}pq";
    const bool is_wild = random() % 3 == 0;
    for (char &c : record) {
        c = is_wild ? static_cast<char>(random()) : usual[random() % usual.size()];
    }
    return record;
}

TEST(RecordCodec, AnyBytesComeBackFromValuesOrFromTheBytesKept) {
    std::mt19937 random(5);
    XfdBuilder builder = everything();
    const sql::RecordCodec codec(layout_of(builder));
    std::vector<sql::Value> values(codec.value_count());
    std::vector<char> texts(codec.text_capacity());
    std::vector<unsigned char> image(80);
    for (int i = 0; i < 20000; i++) {
        const std::string record = random_record(random, 80);
        size_t length = 0;
        if (codec.decode(as_bytes(record), values, texts).is_exact) {
            ASSERT_TRUE(codec.encode(values, image, &length).ok());
            ASSERT_EQ(as_string({image.data(), length}), record);
        }
        ASSERT_TRUE(codec.encode_over(as_bytes(record), values, image, &length).ok());
        ASSERT_EQ(as_string({image.data(), length}), record);
    }
}

// Each field's own canonical bytes, random, are taken as exact; each other
// content of the field is not.
TEST(RecordCodec, ExactnessIsDecidedRightlyForEveryField) {
    std::mt19937 random(6);
    for (const FieldRow &row :
         {FieldRow{"f", 0, 2, 1, 2}, FieldRow{"f", 0, 2, 2, 1}, FieldRow{"f", 0, 2, 3, 2},
          FieldRow{"f", 0, 2, 4, 1}, FieldRow{"f", 0, 2, 5, 2, -1}, FieldRow{"f", 0, 2, 6, 1},
          FieldRow{"f", 0, 2, 7, 2}, FieldRow{"f", 0, 2, 8, 2}, FieldRow{"f", 0, 2, 9, 3, -2},
          FieldRow{"f", 0, 2, 10, 3}, FieldRow{"f", 0, 2, 11, 4}, FieldRow{"f", 0, 2, 32, 4, 2},
          FieldRow{"f", 0, 2, 16}, FieldRow{"f", 0, 2, 17}, FieldRow{"f", 0, 2, 24},
          FieldRow{"f", 0, 2, 35, 1}}) {
        SCOPED_TRACE(row.type);
        OneField one(row);
        size_t exact = 0;
        for (uint32_t bits = 0; bits < 65536; bits++) {
            const std::string record{static_cast<char>(bits >> 8), static_cast<char>(bits)};
            one.decode(record);
            const bool comes_back = !one.value.is_null() && one.encode(one.value) == record;
            ASSERT_EQ(one.is_exact, comes_back) << bits;
            exact += one.is_exact ? 1 : 0;
        }
        EXPECT_GT(exact, 0U);
    }
}

TEST(RecordCodec, ChangedValuesWinOverTheBytesKept) {
    XfdBuilder builder("t", 12);
    builder.fields({{"a", 0, 4, 16}, {"n", 4, 4, 1, 4}});
    const sql::RecordCodec codec(layout_of(builder));
    std::vector<unsigned char> image(12);
    size_t length = 0;
    const std::string record = "AB\0\0 12?fill"s;
    const sql::Value values[] = {sql::Value::text("AB"), sql::Value::integer(7)};
    ASSERT_TRUE(codec.encode_over(as_bytes(record), values, image, &length).ok());
    EXPECT_EQ(as_string({image.data(), length}),
              "AB\0\0"
              "0007fill"s);
    const sql::Value nulls[] = {sql::Value(), sql::Value()};
    ASSERT_TRUE(codec.encode_over(as_bytes(record), nulls, image, &length).ok());
    EXPECT_EQ(as_string({image.data(), length}), "     12?fill");
}

TEST(RecordCodec, RecordsOfOtherLengthsComeBackWithTheirLength) {
    struct Row {
        uint16_t file_type;
        std::string record;
        bool is_exact;
    };
    const Row rows[] = {
        {XFD_SEQUENTIAL, "AAAA12345678", true},
        {XFD_SEQUENTIAL, "AAAA1234", true},
        {XFD_SEQUENTIAL, "AAAA123456", false},
        {XFD_SEQUENTIAL, "AAAA", true},
        {XFD_SEQUENTIAL, "AA", false},
        {XFD_SEQUENTIAL, "", false},
        {XFD_LINE_SEQUENTIAL, "AAAA12345678", true},
        {XFD_LINE_SEQUENTIAL, "AAAA", true},
        {XFD_LINE_SEQUENTIAL, "", false},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.record);
        XfdBuilder builder("t", 12, row.file_type);
        builder.fields({{"a", 0, 4, 16}, {"n1", 4, 4, 1, 4}, {"n2", 8, 4, 1, 4}}).min_record(4);
        const sql::RecordCodec codec(layout_of(builder));
        std::vector<sql::Value> values(codec.value_count());
        std::vector<char> texts(codec.text_capacity());
        std::vector<unsigned char> image(12);
        size_t length = 0;
        EXPECT_EQ(codec.decode(as_bytes(row.record), values, texts).is_exact, row.is_exact);
        if (row.is_exact) {
            ASSERT_TRUE(codec.encode(values, image, &length).ok());
            EXPECT_EQ(as_string({image.data(), length}), row.record);
        }
        ASSERT_TRUE(codec.encode_over(as_bytes(row.record), values, image, &length).ok());
        EXPECT_EQ(as_string({image.data(), length}), row.record);
    }
}

TEST(RecordCodec, RecordsOfLinesKeepTheBlanksAtTheirEnd) {
    XfdBuilder builder("t", 12, XFD_LINE_SEQUENTIAL);
    builder.fields({{"a", 0, 4, 16}, {"b", 4, 8, 16}}).min_record(0);
    const sql::RecordCodec codec(layout_of(builder));
    std::vector<sql::Value> values(codec.value_count());
    std::vector<char> texts(codec.text_capacity());
    std::vector<unsigned char> image(12);
    for (const std::string record : {"AAAAx       ", "            ", "AAAAx", "AAAAx  ", ""}) {
        SCOPED_TRACE(record);
        size_t length = 0;
        const bool is_exact = codec.decode(as_bytes(record), values, texts).is_exact;
        const sql::Value exact = is_exact ? sql::Value() : sql::Value::blob(as_bytes(record));
        ASSERT_TRUE(codec.restore(values, exact, image, &length).ok());
        EXPECT_EQ(as_string({image.data(), length}), record);
    }
}

TEST(RecordCodec, CodePagesOfOneAndOfMoreBytes) {
    struct Row {
        int code_page;
        const char *bytes;
        const char *expected;
    };
    const Row rows[] = {
        {28591, "\xE4\x80  ", "'\xC3\xA4\xC2\x80'"},
        {1252, "\x80\xE4  ", "'\xE2\x82\xAC\xC3\xA4'"},
        {437, "\x84   ", "'\xC3\xA4'"},
        {65001, "\xC3\xA4  ", "'\xC3\xA4'"},
        {65001, "\xE4   ", "null kept"},
        {37, "\xC1\x81\x40\x40", "'Aa'"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.code_page);
        const int old = ZSetCOBOLCharSet(row.code_page);
        OneField one({"f", 0, 4, 16});
        ZSetCOBOLCharSet(old);
        EXPECT_EQ(one.decode(std::string(row.bytes, 4)), row.expected);
        if (one.is_exact) {
            EXPECT_EQ(one.encode(one.value), std::string(row.bytes, 4));
        }
    }
}

}  // namespace
