// SPDX-License-Identifier: MIT
#include "fsi/4gl/kst4gl/datatest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "host/config.h"
#include "tests/fsi/spies.h"
#include "wbfsi/datatest.h"
#include "wbfsi/lifecycle.h"

using namespace std::string_literals;

namespace {

XfdField field_of(uint16_t type, size_t size) {
    XfdField field = {};
    field.fd_argument.a_type = type;
    field.fd_argument.a_size = static_cast<uint32_t>(size);
    return field;
}

class DataTest : public testing::Test {
 protected:
    void SetUp() override { Z4Init(); }
    void TearDown() override {
        set_full(nullptr);
        Z4Exit();
        spies::traces.clear();
    }

    static void set_full(const char *value) { ZCSetValueString("4GL_FULL_DATA_TEST", value); }

    // The field lies behind three other bytes of its record, at the end of a block
    // of its own.
    static int test(uint16_t type, std::string_view data) {
        XfdField field = field_of(type, data.size());
        field.fd_offset = 3;
        std::vector<unsigned char> record(3 + data.size(), 'x');
        std::copy(data.begin(), data.end(), record.begin() + 3);
        const int code = Z4TestData(&field, record.data());
        EXPECT_EQ(Z4TestDatap(&field, record.data() + 3), code);
        return code;
    }
};

TEST_F(DataTest, FirstByteIsJudgedByTheTypesMask) {
    for (uint32_t type = 0; type < 65536; ++type) {
        int mask = 0;
        if ((type >= 1 && type <= 5) || (type >= 35 && type <= 39))
            mask = 7;
        else if (type == 6 || type == 7)
            mask = 6;
        else if (type >= 8 && type <= 10)
            mask = 4;
        const auto code = static_cast<uint16_t>(type);
        ASSERT_EQ(test(code, " 12"), mask & 2) << type;
        ASSERT_EQ(test(code, "\xFF\x31\x32"), mask & 4) << type;
        ASSERT_EQ(test(code, "\x00\x31\x32"s), mask & 1) << type;
        ASSERT_EQ(test(code, "1 \xFF"), 0) << type;
    }
}

TEST_F(DataTest, OtherFirstBytesAreOrdinaryByDefault) {
    for (int byte = 1; byte < 255; ++byte) {
        if (byte != ' ') {
            EXPECT_EQ(test(1, std::string(1, static_cast<char>(byte))), 0) << byte;
        }
    }
}

TEST_F(DataTest, FullTestFindsTheFirstBadDigit) {
    struct Row {
        const char *name;
        std::vector<uint16_t> types;
        std::string data;
        int expected;
    };
    const Row rows[] = {
        {"a space among digits", {1}, "12 4", 2},
        {"a letter among digits", {1}, "12A4", 4},
        {"a slash among digits", {1}, "12/4", 1},
        {"a colon", {1}, "12:4", 4},
        {"digits", {1}, "0123456789", 0},
        {"low values", {1}, "\0\0"s, 1},
        {"high values", {1}, "\xFF\xFF", 4},
        {"the first one counts", {1}, "1 \0\xFF"s, 2},
        {"the last byte of a number without sign", {1}, "12 ", 2},
        {"a sign behind", {2, 3}, "12+", 0},
        {"anything as the sign behind", {2, 3}, "12\xFF", 0},
        {"bad before the sign", {2, 3}, "1 +", 2},
        {"first byte before the sign", {2, 3}, " 2+", 2},
        {"only a sign", {2, 3, 4, 5}, " ", 0},
        {"a sign in front", {4, 5}, "+123", 0},
        {"anything as the sign in front", {4, 5}, "\0\x31"s, 0},
        {"bad behind the sign", {4, 5}, "+12A", 4},
        {"digit values", {6, 7}, "\x00\x09\x0B"s, 0},
        {"a digit value of 10", {6, 7}, "\x0A\x01\x0B", 2},
        {"a digit value of 32", {6, 7}, "\x01 \x0B", 2},
        {"a digit value of 33", {6, 7}, "\x01!\x0B", 4},
        {"a first digit value of 33", {6, 7}, "!\x01", 4},
        {"the last one is not a digit", {6, 7}, "\x01\x02\xFF", 0},
        {"one byte of digit values", {6, 7}, "\xFF", 0},
        {"packed", {8, 9, 10}, "\x12\x34\x5C", 0},
        {"packed, a sign of any kind", {8, 9, 10}, "\x12\x3F", 0},
        {"packed spaces", {8, 9, 10}, "  ", 0},
        {"packed, high half 15", {8, 9, 10}, "\x12\xF4\x5C", 4},
        {"packed, high half 10", {8, 9, 10}, "\x12\xA4\x5C", 2},
        {"packed, high half 14 of the last", {8, 9, 10}, "\x12\xEC", 2},
        {"packed, high half 15 of the last", {8, 9, 10}, "\xFC", 4},
        {"packed, low half 10", {8, 9, 10}, "\x1A\x2C", 2},
        {"packed, low half before a high one", {8, 9, 10}, "\x1A\xFC", 2},
        {"packed, high half before a low one", {8, 9, 10}, "\xFA\x1C", 4},
        {"packed high values", {8, 9, 10}, "\xFF\xFF", 4},
        {"no bytes", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, "", 0},
        {"other types", {0, 11, 12, 13, 14, 16, 22, 23, 30, 33, 35, 39, 63, 64, 65535}, " ", 0},
        {"other types, high", {0, 11, 16, 35, 36, 37, 38, 39, 64}, "\xFF\xFF", 0},
    };
    set_full("1");
    for (const Row &row : rows) {
        for (const uint16_t type : row.types) {
            SCOPED_TRACE(row.name + std::string(", type ") + std::to_string(type));
            EXPECT_EQ(test(type, row.data), row.expected);
        }
    }
    set_full("0");
    EXPECT_EQ(test(1, "12 4"), 0);
    EXPECT_EQ(test(1, " 234"), 2);
    EXPECT_EQ(test(8, " \x1C"), 0);
}

TEST_F(DataTest, SizesThatAreNegativeHoldNothing) {
    set_full("1");
    XfdField field = field_of(1, 0);
    field.fd_argument.a_size = 0x80000000U;
    const unsigned char byte = ' ';
    EXPECT_EQ(Z4TestDatap(&field, &byte), 0);
}

TEST_F(DataTest, CodesAreTracedWithTheirWord) {
    const spies::TraceLevel level(1);
    test(1, " 1");
    EXPECT_EQ(spies::take_traces(), "+0 6 Z4TestDatap, Spaces\n+0 6 Z4TestDatap, Spaces\n");
    test(8, "\xFF");
    EXPECT_EQ(spies::take_traces(),
              "+0 6 Z4TestDatap, High Values\n+0 6 Z4TestDatap, High Values\n");
    test(35, "\0"s);
    EXPECT_EQ(spies::take_traces(), "+0 6 Z4TestDatap, Low Values\n+0 6 Z4TestDatap, Low Values\n");
    test(8, " ");
    test(1, "1");
    EXPECT_EQ(spies::take_traces(), "");
    set_full("1");
    test(1, " 1");
    EXPECT_EQ(spies::take_traces(), "") << "the full test has no words";
    set_full("0");
    f_trace = 0;
    test(1, " 1");
    EXPECT_EQ(spies::take_traces(), "");
}

class NullValue : public testing::Test {
 protected:
    // 1 or 0 and, with tracing, what it leaves with.
    static std::string test(XfdField field, std::string value, const std::string &data) {
        field.fd_null_value = value.data();
        field.fd_offset = 2;
        std::memcpy(field.fd_name, "f", 2);
        const std::string whole = "xx" + data;
        const std::vector<unsigned char> record(whole.begin(), whole.end());
        XfdCvtInfo settings = {0, 40, 25, 11, '.', ',', 0};
        spies::traces.clear();
        const int quiet = Z4TestNullValue(&field, &settings, record.data());
        // Equal numbers alone are heard of at any level.
        for (const std::string &line : spies::traces)
            EXPECT_EQ(line, "-1 6 Leaving, equal");
        EXPECT_LE(spies::traces.size(), 1U);
        spies::traces.clear();

        const spies::TraceLevel level(1);
        EXPECT_EQ(Z4TestNullValue(&field, &settings, record.data()), quiet);
        EXPECT_EQ(Z4TestNullValue(&field, nullptr, record.data()), quiet);
        EXPECT_EQ(spies::traces.front(), "+1 6 Z4TestNullValue 'f'");
        const std::string last = spies::traces.back();
        spies::traces.clear();
        return std::to_string(quiet) + " " + last;
    }
    static std::string test(uint16_t type, const std::string &value, const std::string &data) {
        return test(field_of(type, data.size()), value, data);
    }
};

TEST_F(NullValue, NoValueIsNeverHeld) {
    XfdField field = field_of(16, 1);
    const spies::TraceLevel level(1);
    EXPECT_EQ(Z4TestNullValue(&field, nullptr, reinterpret_cast<const unsigned char *>("")), 0);
    EXPECT_EQ(spies::take_traces(), "+1 6 Z4TestNullValue ''\n-1 6 Leaving, no value\n");
}

TEST_F(NullValue, FigurativeWordsStandForOneByteThroughout) {
    struct Row {
        std::vector<const char *> words;
        char byte;
        const char *name;
    };
    const Row rows[] = {
        {{"HIGH-VALUE", "HIGH-VALUES"}, '\xFF', "HIGH-VALUES"},
        {{"LOW-VALUE", "LOW-VALUES"}, '\0', "LOW-VALUES"},
        {{"SPACE", "SPACES"}, ' ', "SPACES"},
        {{"ZERO", "ZEROS", "ZEROES"}, '0', "ZERO"},
    };
    for (const Row &row : rows) {
        const std::string found = std::string("1 -1 6 Leaving, ") + row.name;
        const std::string not_found = std::string("0 -1 6 Leaving, not ") + row.name;
        for (const char *word : row.words) {
            for (const uint16_t type :
                 std::initializer_list<uint16_t>{0, 1, 9, 11, 16, 22, 39, 64}) {
                SCOPED_TRACE(word + std::string(", type ") + std::to_string(type));
                EXPECT_EQ(test(type, word, std::string(60, row.byte)), found);
                EXPECT_EQ(test(type, word, std::string(1, row.byte)), found);
                EXPECT_EQ(test(type, word, ""), found);
                EXPECT_EQ(test(type, word, std::string(59, row.byte) + "x"), not_found);
                EXPECT_EQ(test(type, word, std::string(1, 'x').append(3, row.byte)), not_found);
            }
        }
    }
}

TEST_F(NullValue, OnlyTheWholeWordInItsLettersIsFigurative) {
    for (const char *word : {"Spaces", "spaces", "SPACES ", " SPACES", "SPACESS", "HIGH_VALUES",
                             "HIGH VALUES", "ZEROE", "zero", "LOW-VALU"}) {
        SCOPED_TRACE(word);
        EXPECT_EQ(test(16, word, std::string(10, ' ')), "0 -1 6 Leaving, FALSE");
        EXPECT_EQ(test(16, word, word + std::string(5, ' ')), "1 -1 6 Leaving, TRUE");
    }
}

TEST_F(NullValue, NumbersAreComparedAsSignAndDigits) {
    struct Row {
        const char *name;
        XfdArgument argument;
        const char *value;
        std::string data;
        bool expected;
    };
    const Row rows[] = {
        {"digits alone", {0, 3, 1, 3, 0, 0}, "012", "012", true},
        {"with a plus", {0, 3, 1, 3, 0, 0}, "+012", "012", true},
        {"another number", {0, 3, 1, 3, 0, 0}, "013", "012", false},
        {"as many digits on both sides", {0, 3, 1, 3, 0, 0}, "12", "012", false},
        {"digits behind the last", {0, 3, 1, 3, 0, 0}, "0129", "012", true},
        {"packed minus", {0, 2, 9, 3, 0, 0}, "-012", "\x01\x2D", true},
        {"minus and plus", {0, 2, 9, 3, 0, 0}, "-+012", "\x01\x2D", true},
        {"plus for minus", {0, 2, 9, 3, 0, 0}, "012", "\x01\x2D", false},
        {"decimals are digits", {0, 4, 1, 4, -2, 0}, "1234", "1234", true},
        {"binary", {0, 2, 11, 4, 0, 0}, "0258", "\x01\x02", true},
        {"digits that do not fit", {0, 2, 12, 2, 0, 0}, "58", "\x01\x02", true},
        {"no number is no text", {0, 3, 1, 3, 0, 0}, "", "   ", true},
        {"no number and a value", {0, 3, 1, 3, 0, 0}, "000", "   ", false},
        {"no digits", {0, 3, 1, 0, 0, 0}, "", "012", true},
        {"as many digits as there can be",
         {0, 255, 1, 255, 0, 0},
         "7",
         std::string(255, '7'),
         false},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        XfdField field = {};
        field.fd_argument = row.argument;
        const char *expected = row.expected ? "1 -1 6 Leaving, TRUE" : "0 -1 6 Leaving, FALSE";
        EXPECT_EQ(test(field, row.value, row.data), expected);
    }
    XfdField field = {};
    field.fd_argument = {0, 255, 1, 255, 0, 0};
    const std::string sevens(255, '7');
    EXPECT_EQ(test(field, sevens, sevens), "1 -1 6 Leaving, TRUE");
    EXPECT_EQ(test(field, "+" + sevens, sevens), "1 -1 6 Leaving, TRUE");
    EXPECT_EQ(test(field, sevens + std::string(300, '9'), sevens), "1 -1 6 Leaving, TRUE");
    EXPECT_EQ(test(field, "-" + sevens, sevens), "0 -1 6 Leaving, FALSE");
}

TEST_F(NullValue, TheFieldsAddressStaysTheCallers) {
    XfdField field = field_of(1, 1);
    field.fd_argument.a_digits = 1;
    field.fd_argument.a_address = 77;
    char value[] = "5";
    field.fd_null_value = value;
    EXPECT_EQ(Z4TestNullValue(&field, nullptr, reinterpret_cast<const unsigned char *>("5")), 1);
    EXPECT_EQ(field.fd_argument.a_address, 77U);
}

TEST_F(NullValue, TextIsComparedOverFiftyBytesAtMost) {
    const std::string a50(50, 'a');
    EXPECT_EQ(test(16, "NONE", "NONE  "), "1 -1 6 Leaving, TRUE");
    EXPECT_EQ(test(16, "NONE", "NON"), "1 -1 6 Leaving, TRUE");
    EXPECT_EQ(test(16, "NONE", "NONEX"), "0 -1 6 Leaving, FALSE");
    EXPECT_EQ(test(16, "", "     "), "1 -1 6 Leaving, TRUE");
    EXPECT_EQ(test(16, a50 + "b", a50 + "c"), "1 -1 6 Leaving, TRUE");
    EXPECT_EQ(test(16, a50.substr(1) + "b", a50), "0 -1 6 Leaving, FALSE");
    EXPECT_EQ(test(16, "x", ""), "1 -1 6 Leaving, TRUE");
}

// The rule as a walk over the bytes; the library decides by the last one.
int walk(const std::string &data, std::string value) {
    const size_t n = std::min<size_t>(data.size(), 50);
    value.resize(51, '\0');
    int order = std::memcmp(data.data(), value.data(), n);
    if (order == 0)
        return 0;
    for (size_t i = 0; i < n;) {
        if (data[i] == value[i]) {
            ++i;
            continue;
        }
        if (value[i] != '\0')
            return order;
        order = 0;
        while (i < n && data[i] == ' ')
            ++i;
        if (i == n)
            return order;
        order = 1;
        ++i;
    }
    return order;
}

int sign(int order) {
    return order < 0 ? -1 : order > 0;
}

TEST(CompareText, LastDecisionOfTheWalkWins) {
    const struct {
        const char *value;
        std::string data;
        int expected;
    } rows[] = {
        {"A", "A    ", 0},  {"A", "AB   ", 0},  {"A", "AB C ", 0},  {"A", "AB   C", 1},
        {"A", "B    ", 1},  {"B", "A    ", -1}, {"AB", "A ", -1},   {"AB", "A", 0},
        {"A", "A\0\0"s, 0}, {"A", "A \0"s, 1},  {"A", "A \0 "s, 0}, {"A", "AB\0"s, 1},
        {"", "   ", 0},     {"", "x", 1},       {"", "\0x\0"s, 1},  {"\x7F", "\x80", 1},
        {"A", "A\xFF", 1},  {"A", "A\x01", 1},  {"A", "", 0},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(std::string(row.value) + " and " + row.data);
        EXPECT_EQ(sign(fsi::compare_text(row.data.data(), row.data.size(), row.value)),
                  row.expected);
        EXPECT_EQ(sign(walk(row.data, row.value)), row.expected);
    }
}

TEST(CompareText, AgreesWithTheWalkOnEveryShortText) {
    const std::string letters = "\0 A\xFF"s;
    const auto text_of = [&letters](size_t number, size_t length) {
        std::string text;
        for (size_t i = 0; i < length; ++i, number /= letters.size())
            text += letters[number % letters.size()];
        return text;
    };
    for (size_t data_length = 0; data_length <= 6; ++data_length) {
        for (size_t d = 0; d < size_t{1} << (2 * data_length); ++d) {
            const std::string data = text_of(d, data_length);
            for (size_t v = 0; v < 64; ++v) {
                const std::string value = text_of(v, 3).c_str();
                ASSERT_EQ(sign(fsi::compare_text(data.data(), data.size(), value.c_str())),
                          sign(walk(data, value)))
                    << testing::PrintToString(data) << " and " << testing::PrintToString(value);
            }
        }
    }
}

TEST(Compare, OrdersSignsAndDigits) {
    struct Row {
        const char *a;
        const char *b;
        int len;
        int expected;
    };
    const Row rows[] = {
        {"-05", "-07", 3, 1},       {"-07", "-05", 3, -1}, {"-05", "-05", 3, 0},
        {"-05", "05", 3, -1},       {"-05", "+05", 3, -1}, {"05", "-05", 3, 1},
        {"+05", "-05", 3, 1},       {"+5", "5", 2, 0},     {"+5", "5x", 2, 0},
        {"+5", "6", 2, -1},         {"+5", "4", 2, 1},     {"+05", "+07", 3, -1},
        {"5", "+5", 1, 0},          {"55", "+56", 2, -1},  {"12", "13", 1, 0},
        {"12", "13", 0, 0},         {"12", "13", -1, 0},   {"12", "13", INT32_MIN, 0},
        {"-1", "-2", INT32_MIN, 0}, {"-1", "1", 0, -1},    {"1", "-1", 0, 1},
        {"-1", "-2", 1, 0},         {"-12", "-+13", 3, 1}, {"-12", "-+12", 3, 0},
        {"+", "-", 1, 1},           {"+1", "++", 2, 1},    {"\x80", "\x7F", 1, -1},
        {"\xFF", "0", 1, -1},       {"-\xFF", "-0", 2, 1}, {"0", "\xFF", 1, 1},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(std::string(row.a) + " and " + row.b + " over " + std::to_string(row.len));
        EXPECT_EQ(Z4Compare(row.a, row.b, row.len), row.expected);
    }
    spies::traces.clear();
}

TEST(Compare, TracesBothTextsAndEqualityAtAnyLevel) {
    spies::traces.clear();
    Z4Compare("12", "13", 2);
    EXPECT_EQ(spies::take_traces(), "");
    Z4Compare("12", "12", 2);
    EXPECT_EQ(spies::take_traces(), "-1 6 Leaving, equal\n");
    const spies::TraceLevel level(1);
    Z4Compare("123", "124", 2);
    EXPECT_EQ(spies::take_traces(), "+1 6 Z4Compare '12' vs. '12'\n-1 6 Leaving, equal\n");
    Z4Compare("12", "13", 2);
    EXPECT_EQ(spies::take_traces(), "+1 6 Z4Compare '12' vs. '13'\n-1 6 Leaving, less\n");
    Z4Compare("-12", "-13", 3);
    EXPECT_EQ(spies::take_traces(), "+1 6 Z4Compare '-12' vs. '-13'\n-1 6 Leaving, greater\n");
    Z4Compare("12", "-1", 2);
    EXPECT_EQ(spies::take_traces(), "+1 6 Z4Compare '12' vs. '-1'\n-1 6 Leaving, greater\n");
    Z4Compare("-1", "12", 2);
    EXPECT_EQ(spies::take_traces(), "+1 6 Z4Compare '-1' vs. '12'\n-1 6 Leaving, less\n");
    Z4Compare("12", "12", -5);
    EXPECT_EQ(spies::take_traces(), "+1 6 Z4Compare '' vs. ''\n-1 6 Leaving, equal\n");
}

}  // namespace
