// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "host/charset.h"
#include "host/memory.h"
#include "tests/fsi/xml/elements/element_fixture.h"
#include "wbfsi/xml_element.h"

namespace {

using elements::error;
using elements::forget_error;
using elements::kAbsent;
using elements::kUntouched;
using elements::Tree;
using elements::tree;
using elements::value;

// The program's code page, set back at the end of the scope.
class ProgramCharset {
 public:
    explicit ProgramCharset(int code_page) : old_(ZSetCOBOLCharSet(code_page)) {}
    ~ProgramCharset() { ZSetCOBOLCharSet(old_); }
    ProgramCharset(const ProgramCharset &) = delete;
    ProgramCharset &operator=(const ProgramCharset &) = delete;

 private:
    int old_;
};

constexpr const char *kNone = nullptr;  // no value is there before

TEST(SetValue, RowByRow) {
    const struct {
        const char *row;
        const char *before;
        const char *text;
        int32_t length;
        int result;
        const char *after;
    } kRows[] = {
        {"a first text", kNone, "abc", 3, 1, "abc"},
        {"to its zero byte", kNone, "abc", -1, 1, "abc"},
        {"a part", kNone, "abc", 2, 1, "ab"},
        {"no further than its zero byte", kNone, "abc", 7, 1, "abc"},
        {"empty", kNone, "", 0, 1, ""},
        {"empty by its zero byte begins what is empty", kNone, "", -1, 0, ""},
        {"null", kNone, nullptr, 0, 1, "<null>"},
        {"null with a length", "abc", nullptr, 2, 1, "<null>"},
        {"null by its zero byte", "abc", nullptr, -1, 1, "<null>"},
        {"null twice", "<null>", nullptr, -1, 1, "<null>"},
        {"another", "abc", "xy", 2, 1, "xy"},
        {"another to its zero byte", "abc", "xyz", -1, 1, "xyz"},
        {"a longer one", "abc", "abcd", 4, 1, "abcd"},
        {"a longer one to its zero byte", "abc", "abcd", -1, 1, "abcd"},
        {"the same", "abc", "abc", 3, 1, "abc"},
        {"the same to its zero byte", "abc", "abc", -1, 0, "abc"},
        {"a beginning", "abc", "ab", 2, 1, "ab"},
        {"a beginning of a longer text", "abc", "abX", 2, 1, "ab"},
        {"a beginning to its zero byte", "abc", "ab", -1, 0, "abc"},
        {"the same, length past the end", "abc", "abc", 9, 1, "abc"},
        {"a beginning, length past its end", "abc", "ab", 9, 1, "ab"},
        {"empty over a text", "abc", "", 0, 1, ""},
        {"empty to its zero byte over a text", "abc", "", -1, 0, "abc"},
        {"empty over empty", "", "", 0, 1, ""},
        {"the same, two bytes stored for one", "\xE9t\xE9", "\xE9t\xE9", 3, 1, "\xE9t\xE9"},
        {"a beginning of two bytes", "\xE9t\xE9", "\xE9t", 2, 1, "\xE9t"},
        {"a first of two bytes", kNone, "\xE9t\xE9", 3, 1, "\xE9t\xE9"},
        {"a smallest length", "abc", "x", INT32_MIN, 1, "x"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.row);
        const Tree top;
        if (row.before != kNone)
            ZxmlElem_append_value(top, row.before, -1, 1);
        forget_error();
        EXPECT_EQ(ZxmlElem_set_value(top, row.text, row.length), row.result);
        EXPECT_EQ(value(top), row.after);
        EXPECT_EQ(error(), kUntouched);
    }
}

TEST(AppendValue, RowByRow) {
    const struct {
        const char *row;
        const char *before;
        const char *text;
        int32_t length;
        uint8_t keep_blanks;
        const char *after;
    } kRows[] = {
        {"a first text", kNone, "abc", 3, 0, "abc"},
        {"loses the blanks around it", kNone, " \t\r\n\v\fab c \t\r\n\v\f", -1, 0, "ab c"},
        {"with a length", kNone, "  ab  ", 5, 0, "ab"},
        {"within its length", kNone, "  ab  cd", 5, 0, "ab"},
        {"blanks alone", kNone, " \t\r\n\v\f", -1, 0, kAbsent},
        {"blanks alone with a length", kNone, "   ", 2, 0, kAbsent},
        {"nothing", kNone, "", -1, 0, kAbsent},
        {"null", kNone, nullptr, 3, 0, kAbsent},
        {"a no-break space is no blank", kNone, "\xA0", 1, 0, "\xA0"},
        {"blanks kept", kNone, "  ", -1, 1, "  "},
        {"blanks kept around a text", kNone, " a ", 3, 1, " a "},
        {"any other flag keeps as well", kNone, " a ", 3, 0x80, " a "},
        {"nothing kept", kNone, "", 0, 1, ""},
        {"a second text", "abc", "def", 3, 0, "abcdef"},
        {"keeps its blanks", "abc", "  d ", -1, 0, "abc  d "},
        {"and blanks alone", "abc", "  ", 2, 0, "abc  "},
        {"nothing more", "abc", "", -1, 0, "abc"},
        {"behind an empty one", "", " d ", -1, 0, " d "},
        {"of two bytes", "\xE9", " \xE9", 2, 0, "\xE9 \xE9"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.row);
        const Tree top;
        if (row.before != kNone)
            ZxmlElem_set_value(top, row.before, static_cast<int32_t>(std::strlen(row.before)));
        forget_error();
        EXPECT_EQ(ZxmlElem_append_value(top, row.text, row.length, row.keep_blanks), 1);
        EXPECT_EQ(error(), kUntouched);
        EXPECT_EQ(value(top), row.after);
        EXPECT_EQ(error(), row.after == kAbsent ? ZXML_NO_VALUE : kUntouched);
    }
}

TEST(AppendValue, GathersManyPieces) {
    const Tree top;
    std::string expected;
    for (int i = 0; i < 5000; i++) {
        const std::string piece = std::to_string(i) + " ";
        ASSERT_EQ(ZxmlElem_append_value(top, piece.data(), static_cast<int32_t>(piece.size()), 1),
                  1);
        expected += piece;
    }
    EXPECT_EQ(value(top), expected);
}

TEST(Values, AreReadAsDecimalNumbers) {
    const struct {
        const char *text;
        int32_t expected;
    } kRows[] = {
        {"0", 0},
        {"42", 42},
        {"-42", -42},
        {"+42", 42},
        {" \t\r\n\v\f7", 7},
        {"007", 7},
        {"12abc", 12},
        {"1.9", 1},
        {"0x10", 0},
        {"", 0},
        {"abc", 0},
        {"-", 0},
        {"- 1", 0},
        {"+-1", 0},
        {"2147483647", INT32_MAX},
        {"2147483648", INT32_MAX},
        {"-2147483648", INT32_MIN},
        {"-2147483649", INT32_MIN},
        {"99999999999999999999999999", INT32_MAX},
        {"-99999999999999999999999999", INT32_MIN},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.text);
        const Tree top;
        ZxmlElem_append_value(top, row.text, -1, 1);
        ZxmlElem_add_attribute(top, "n", 1, row.text, -1);
        forget_error();
        EXPECT_EQ(ZxmlElem_value_i(top), row.expected);
        EXPECT_EQ(ZxmlElem_attribute_value_i(top, 0), row.expected);
        EXPECT_EQ(error(), kUntouched);
    }
}

TEST(Values, ThatAreAbsentLeaveError13) {
    const Tree top;
    char buffer[] = "kept";
    forget_error();
    EXPECT_EQ(ZxmlElem_value(top, buffer, 4), -1);
    EXPECT_EQ(error(), ZXML_NO_VALUE);
    EXPECT_STREQ(buffer, "kept");
    forget_error();
    EXPECT_EQ(ZxmlElem_value_i(top), 0);
    EXPECT_EQ(error(), ZXML_NO_VALUE);
    forget_error();
    EXPECT_EQ(ZxmlElem_value_compare(top, "", 0, -1), 0) << "compares as empty";
    EXPECT_LT(ZxmlElem_value_compare(top, "a", 0, -1), 0);
    EXPECT_EQ(error(), kUntouched);
}

int sign(int number) {
    return (number > 0) - (number < 0);
}

// The same of names, values, names and values of attributes.
TEST(Comparisons, RowByRow) {
    const struct {
        const char *stored;
        const char *text;
        uint8_t ignore_case;
        int32_t n;
        int expected;
    } kRows[] = {
        {"abc", "abc", 0, -1, 0},
        {"abc", "abd", 0, -1, -1},
        {"abd", "abc", 0, -1, 1},
        {"abc", "ab", 0, -1, 1},
        {"ab", "abc", 0, -1, -1},
        {"abc", "ABC", 0, -1, 1},
        {"abc", "ABC", 1, -1, 0},
        {"ABC", "abc", 255, -1, 0},
        {"AZaz", "azAZ", 1, -1, 0},
        {"@[`{", "`{@[", 1, -1, -1},
        {"abc", "ABD", 1, -1, -1},
        {"abc", "abX", 0, 2, 0},
        {"abc", "abX", 0, 3, 1},
        {"abc", "xyz", 0, 0, 0},
        {"abc", "abc", 0, 99, 0},
        {"abc", "ab", 0, 3, 1},
        {"abc", "ab", 0, 2, 0},
        {"abc", "AB", 1, 2, 0},
        {"abc", "AX", 1, 2, -1},
        {"", "", 0, -1, 0},
        {"", "a", 0, -1, -1},
        {"a", "", 0, -1, 1},
        {"a", nullptr, 0, -1, 1},
        {"", nullptr, 1, 3, 0},
        {"a_", "aA", 1, -1, -1},
        {"a[", "aa", 1, -1, -1},
        {"abc", "abc", 0, INT32_MIN, 0},
        {"abc", "abc", 0, INT32_MAX, 0},
        // What is stored is UTF-8 and compared as it is, by unsigned bytes, without a
        // conversion; only ASCII has letters.
        {"\xE9", "\xC3\xA9", 0, -1, 0},
        {"\xE9", "\xE9", 0, -1, -1},
        {"\xE9", "z", 0, -1, 1},
        {"\xE9", "\xC3\x89", 1, -1, 1},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(std::string(row.stored) + " and " + (row.text == nullptr ? "null" : row.text));
        const Tree top(row.stored);
        ZxmlElem_append_value(top, row.stored, -1, 1);
        ZxmlElem_add_attribute(top, row.stored, -1, "x", 1);
        ZxmlElem_add_attribute(top, "x", 1, row.stored, -1);
        forget_error();
        const int results[] = {
            ZxmlElem_name_compare(top, row.text, row.ignore_case, row.n),
            ZxmlElem_value_compare(top, row.text, row.ignore_case, row.n),
            ZxmlElem_attribute_name_compare(top, 0, row.text, row.ignore_case, row.n),
            ZxmlElem_attribute_value_compare(top, 1, row.text, row.ignore_case, row.n)};
        for (const int result : results)
            EXPECT_EQ(sign(result), row.expected);
        EXPECT_EQ(error(), kUntouched);
    }
}

TEST(Attributes, AreNumberedInTheirOrder) {
    const Tree top;
    EXPECT_EQ(ZxmlElem_add_attribute(top, "a", -1, "1", -1), 1);
    EXPECT_EQ(ZxmlElem_add_attribute(top, "bx", 1, "23", 1), 2);
    EXPECT_EQ(ZxmlElem_add_attribute(top, "a", 1, "", 0), 3) << "a name may repeat";
    EXPECT_EQ(ZxmlElem_add_attribute(top, "", 0, "\xE9", 1), 4);
    EXPECT_EQ(ZxmlElem_add_attribute(top, nullptr, 5, nullptr, 5), 5);
    EXPECT_EQ(tree(top), "top{a=1;b=2;a=;=\xE9;=;}");
    EXPECT_EQ(ZxmlElem_attribute_count(top), 5);
    EXPECT_EQ(ZxmlElem_delete_attribute(top, 1), 1);
    EXPECT_EQ(tree(top), "top{a=1;a=;=\xE9;=;}");
    EXPECT_EQ(ZxmlElem_delete_attribute(top, 3), 1);
    EXPECT_EQ(ZxmlElem_delete_attribute(top, 0), 1);
    EXPECT_EQ(tree(top), "top{a=;=\xE9;}");
    EXPECT_EQ(ZxmlElem_add_attribute(top, "c", 1, "4", 1), 3);
    EXPECT_EQ(tree(top), "top{a=;=\xE9;c=4;}");
}

TEST(Attributes, AreModified) {
    const Tree top;
    ZxmlElem_add_attribute(top, "a", -1, "1", -1);
    ZxmlElem_add_attribute(top, "b", -1, "2", -1);
    const struct {
        const char *text;
        int32_t length;
        const char *expected;
    } kRows[] = {
        {"new", 3, "new"},
        {"newer", 3, "new"},
        {"long enough for a block of its own", -1, "long enough for a block of its own"},
        {"", 0, ""},
        {"x", 9, "x"},
        {"", -1, ""},
        {"\xE9\xE9", 1, "\xE9"},
        {nullptr, 4, ""},
    };
    forget_error();
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.expected);
        EXPECT_EQ(ZxmlElem_modify_attribute(top, 1, row.text, row.length), 1);
        EXPECT_EQ(tree(top), std::string("top{a=1;b=") + row.expected + ";}");
    }
    EXPECT_EQ(error(), kUntouched);
}

TEST(Attributes, OutOfRangeFailAsEachFunctionSays) {
    for (const uint32_t count : {0U, 1U, 2U}) {
        const Tree top;
        for (uint32_t i = 0; i < count; i++)
            ZxmlElem_add_attribute(top, "a", 1, "1", 1);
        const std::string before = tree(top);
        for (const uint32_t number : {count, count + 1, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
            SCOPED_TRACE(std::to_string(number) + " of " + std::to_string(count));
            char buffer[] = "kept";
            const struct {
                int64_t result, expected;
                int32_t error, expected_error;
            } kCalls[] = {
                {(forget_error(), ZxmlElem_attribute_name(top, number, buffer, 4)), -1, error(),
                 ZXML_BAD_ATTRIBUTE},
                {(forget_error(), ZxmlElem_attribute_value(top, number, buffer, 4)), -1, error(),
                 ZXML_BAD_ATTRIBUTE},
                {(forget_error(), ZxmlElem_attribute_value_i(top, number)), 0, error(),
                 ZXML_BAD_ATTRIBUTE},
                {(forget_error(), ZxmlElem_delete_attribute(top, number)), 0, error(),
                 ZXML_BAD_ATTRIBUTE},
                {(forget_error(), ZxmlElem_attribute_name_compare(top, number, "", 0, -1)), -1,
                 error(), kUntouched},
                {(forget_error(), ZxmlElem_attribute_value_compare(top, number, "", 0, -1)), -1,
                 error(), kUntouched},
                {(forget_error(), ZxmlElem_modify_attribute(top, number, "x", 1)), 0, error(),
                 kUntouched},
            };
            for (const auto &call : kCalls) {
                EXPECT_EQ(call.result, call.expected);
                EXPECT_EQ(call.error, call.expected_error);
            }
            EXPECT_STREQ(buffer, "kept");
            EXPECT_EQ(tree(top), before);
        }
    }
}

TEST(Attributes, ThatNeverWereLeaveError14) {
    const Tree top;
    forget_error();
    EXPECT_EQ(ZxmlElem_attribute_count(top), 0);
    EXPECT_EQ(error(), ZXML_NO_ATTRIBUTES);
    ZxmlElem_add_attribute(top, "a", 1, "1", 1);
    ZxmlElem_delete_attribute(top, 0);
    forget_error();
    EXPECT_EQ(ZxmlElem_attribute_count(top), 0);
    EXPECT_EQ(error(), kUntouched);
}

TEST(Comments, AreJoinedAndDeletedTogether) {
    const Tree top;
    forget_error();
    EXPECT_EQ(elements::comment(top), kAbsent);
    EXPECT_EQ(ZxmlElem_delete_comment(top), 1);
    EXPECT_EQ(ZxmlElem_append_comment(top, "one", -1), 1);
    EXPECT_EQ(ZxmlElem_append_comment(top, " two ", 4), 1);
    EXPECT_EQ(ZxmlElem_append_comment(top, "\xE9", 1), 1);
    EXPECT_EQ(elements::comment(top), "one two\xE9");
    EXPECT_EQ(ZMemoryBlocks("XML comments"), 1U);
    EXPECT_EQ(ZxmlElem_delete_comment(top), 1);
    EXPECT_EQ(ZMemoryBlocks("XML comments"), 0U);
    EXPECT_EQ(elements::comment(top), kAbsent);
    EXPECT_EQ(ZxmlElem_append_comment(top, "", 0), 1);
    EXPECT_EQ(elements::comment(top), "") << "there is one now";
    EXPECT_EQ(error(), kUntouched);
}

// However small the buffer: the length is the whole one, no byte behind the size is
// touched, and a terminator comes when there is room.
TEST(Getters, KeepToTheBuffer) {
    const Tree top("name");
    ZxmlElem_set_value(top, "name", 4);
    ZxmlElem_add_attribute(top, "name", 4, "name", 4);
    ZxmlElem_append_comment(top, "name", 4);
    using Getter = int32_t (*)(ZHandle, char *, int32_t);
    const Getter kGetters[] = {
        ZxmlElem_name, ZxmlElem_value, ZxmlElem_get_comment,
        [](ZHandle h, char *b, int32_t n) { return ZxmlElem_attribute_name(h, 0, b, n); },
        [](ZHandle h, char *b, int32_t n) { return ZxmlElem_attribute_value(h, 0, b, n); }};
    const char *const kExpected[] = {"######", "n#####",  "na####", "nam###",
                                     "name##", "name\0#", "name\0#"};
    for (const Getter getter : kGetters) {
        for (int32_t size = 0; size <= 6; size++) {
            SCOPED_TRACE(size);
            std::string buffer(6, '#');
            EXPECT_EQ(getter(top, buffer.data(), size), 4);
            EXPECT_EQ(buffer, std::string(kExpected[size], 6));
        }
        EXPECT_EQ(getter(top, nullptr, 0), 4);
    }
}

TEST(Charsets, OfTheProgramAreConvertedBothWays) {
    const struct {
        int code_page;
        const char *text;
        const char *utf8;
    } kRows[] = {
        {28591, "\xE9", "\xC3\xA9"},
        {65001, "\xE2\x82\xAC", "\xE2\x82\xAC"},
        {1252, "\x80", "\xE2\x82\xAC"},
        {37, "\xC1\xC2", "AB"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.code_page);
        const ProgramCharset charset(row.code_page);
        const Tree top(row.text);
        ZxmlElem_set_value(top, row.text, -1);
        ZxmlElem_add_attribute(top, row.text, -1, row.text, -1);
        EXPECT_EQ(ZxmlElem_name_compare(top, row.utf8, 0, -1), 0);
        EXPECT_EQ(ZxmlElem_value_compare(top, row.utf8, 0, -1), 0);
        EXPECT_EQ(ZxmlElem_attribute_name_compare(top, 0, row.utf8, 0, -1), 0);
        EXPECT_EQ(ZxmlElem_attribute_value_compare(top, 0, row.utf8, 0, -1), 0);
        EXPECT_EQ(elements::name(top), row.text);
        EXPECT_EQ(value(top), row.text);
        EXPECT_EQ(elements::attribute_name(top, 0), row.text);
        EXPECT_EQ(elements::attribute_value(top, 0), row.text);
    }
}

}  // namespace
