// SPDX-License-Identifier: MIT
#include "host/values.h"

#include <gtest/gtest.h>

#include <string>

#include "host/files.h"
#include "host/memory.h"
#include "tests/runtime/host_fixture.h"

namespace {

// "i12(012) s0(text)": type, value as a number, text as written.
std::string split(const std::string &text) {
    ZHandle values = Zcds_new(text.c_str());
    if (values == 0)
        return "no memory";
    std::string shown;
    for (uint32_t i = 0; i < Zcds_get_count(values); ++i) {
        const int type = Zcds_get_type(values, i);
        shown += i == 0 ? "" : " ";
        shown += type == 1 ? 'i' : type == 3 ? 's' : '?';
        shown += std::to_string(Zcds_get_int_value(values, i));
        shown += '(' + std::string(Zcds_get_str_value(values, i, 0)) + ')';
    }
    H_FREE(values);
    return shown;
}

struct Row {
    const char *name, *text, *values;
};

const Row kRows[] = {
    {"nothing", "", ""},
    {"blanks alone", " \t ", ""},
    {"one value", "12", "i12(12)"},
    {"blanks and tabs separate", " 1\t \t2  3 ", "i1(1) i2(2) i3(3)"},
    {"commas separate", "1,2,3", "i1(1) i2(2) i3(3)"},
    {"blanks around a comma are dropped", " 1 , 2\t,\t3 ", "i1(1) i2(2) i3(3)"},
    {"with a comma blanks stay inside", "a b,c  d", "s0(a b) s0(c  d)"},
    {"leading zeros are decimal", "00010 08 0x1", "i10(00010) i8(08) s0(0x1)"},
    {"signs", "+5 -5 -0 + - +-5 --5 5-",
     "i5(+5) i-5(-5) i0(-0) s0(+) s0(-) s0(+-5) s0(--5) s5(5-)"},
    {"largest integers", "2147483647 -2147483648",
     "i2147483647(2147483647) i-2147483648(-2147483648)"},
    {"too large for an integer", "2147483648 -2147483649 99999999999999999999",
     "s2147483647(2147483648) s-2147483648(-2147483649) s2147483647(99999999999999999999)"},
    {"a string gives its leading number", "12AB -7.5 +3+ A1", "s12(12AB) s-7(-7.5) s3(+3+) s0(A1)"},
    {"a quoted value is a string", "\"12\" \"\" \" 7\"", "s12(12) s0() s0( 7)"},
    {"a doubled quote is one", "\"a\"\"b\" \"\"\"\"", "s0(a\"b) s0(\")"},
    {"a quoted comma does not separate", "\"a,b\" c", "s0(a,b) s0(c)"},
    {"commas count when one is bare", "\"a,b\",c", "s0(a,b) s0(c)"},
    {"quoted blanks stay", "\" a \",\" b \" ", "s0( a ) s0( b )"},
    {"an unclosed quote runs to the end", "1 \"a, b ", "i1(1) s0(a, b )"},
    {"a lone quote", "\"", "s0()"},
    {"a quote inside a word is itself", "5\" 6\"", "s5(5\") s6(6\")"},
    {"a quote inside a word hides no comma", "5\",6\"", "s5(5\") s6(6\")"},
    {"two quotes inside a word hide no comma", "x\"\",1,2", "s0(x\"\") i1(1) i2(2)"},
    {"a quote behind a stray pair opens nothing", "a,x\"\"\",1", "s0(a) s0(x\"\"\") i1(1)"},
    {"a quoted stretch behind a word", "a \"b,c\", d", "s0(a \"b,c\") s0(d)"},
    {"text behind a quoted value", "\"a\"b, \"c\" d,e", "s0(ab) s0(c d) s0(e)"},
    {"nothing between commas", "1,,3", "i1(1) s0() i3(3)"},
    {"blanks between commas", "1, ,3", "i1(1) s0() i3(3)"},
    {"nothing before a comma", ",2", "s0() i2(2)"},
    {"nothing behind the last comma", "1,2,", "i1(1) i2(2)"},
    {"blanks behind the last comma", "1,2, \t", "i1(1) i2(2)"},
    {"an empty quoted value behind the last comma", "1,\"\"", "i1(1) s0()"},
    {"commas alone", ",,", "s0() s0()"},
    {"one trailing CR is dropped", "1,2\r", "i1(1) i2(2)"},
    {"a trailing CR is no value", "1 \r", "i1(1)"},
    {"of two CRs one stays", "a\r\r", "s0(a\r)"},
    {"a CR alone", "\r", ""},
    {"a CR behind the last comma", "1,\r", "i1(1)"},
    {"a CR inside stays", "a\rb c", "s0(a\rb) s0(c)"},
    {"a line break is no separator", "a\nb", "s0(a\nb)"},
};

TEST(Values, EveryRowSplitsAsWritten) {
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(split(row.text), row.values);
    }
}

TEST(Values, SixteenValuesAndMoreSplitAlike) {
    for (const char *separator : {",", " ", " , "}) {
        SCOPED_TRACE(separator);
        std::string text;
        std::string expected;
        for (int i = 0; i < 400; ++i) {
            text += (i == 0 ? "" : separator) + std::to_string(i * 1000);
            expected += (i == 0 ? "i" : " i") + std::to_string(i * 1000) + "(" +
                        std::to_string(i * 1000) + ")";
            EXPECT_EQ(split(text), expected) << i + 1 << " values";
        }
    }
}

TEST(Values, StrayQuotesLeaveRoomForEveryValue) {
    std::string text = "a,x\"\"";
    std::string expected = "s0(a) s0(x\"\")";
    for (int i = 0; i < 400; ++i) {
        text += ",7";
        expected += " i7(7)";
        EXPECT_EQ(split(text), expected) << i + 3 << " values";
    }
}

TEST(Values, TextsOfEveryLengthSplitAlike) {
    for (size_t n = 1; n < 600; ++n) {
        EXPECT_EQ(split(std::string(n, 'x')), "s0(" + std::string(n, 'x') + ")") << n;
        EXPECT_EQ(split('"' + std::string(n, ',')), "s0(" + std::string(n, ',') + ")") << n;
        const std::string quotes(2 * n, '"');
        EXPECT_EQ(split('"' + quotes + '"'), "s0(" + std::string(n, '"') + ")") << n;
    }
}

TEST(Values, PastTheEndThereIsNothing) {
    ZHandle values = Zcds_new("1,2");
    ASSERT_NE(values, 0u);
    for (uint32_t i : {2u, 3u, 1000u, 0xffffffffu}) {
        EXPECT_EQ(Zcds_get_type(values, i), 0) << i;
        EXPECT_EQ(Zcds_get_int_value(values, i), 0) << i;
        EXPECT_STREQ(Zcds_get_str_value(values, i, 0), "") << i;
    }
    EXPECT_EQ(H_FREE(values), 1);
}

TEST(Values, ABadHandleHoldsNothing) {
    ZHandle freed = Zcds_new("1,2");
    H_FREE(freed);
    for (ZHandle bad : {ZHandle{0}, freed, ZHandle{0xffffffff}, ZHandle{12345}}) {
        EXPECT_EQ(Zcds_get_count(bad), 0u) << bad;
        EXPECT_EQ(Zcds_get_type(bad, 0), 0) << bad;
        EXPECT_EQ(Zcds_get_int_value(bad, 0), 0) << bad;
        EXPECT_STREQ(Zcds_get_str_value(bad, 0, 0), "") << bad;
    }
}

TEST(Values, NullIsAnEmptyText) {
    ZHandle values = Zcds_new(nullptr);
    ASSERT_NE(values, 0u);
    EXPECT_EQ(Zcds_get_count(values), 0u);
    H_FREE(values);
}

TEST(Values, TextsStayWhileOtherLinesComeAndGo) {
    ZHandle first = Zcds_new("name,\"x\"\"y\"");
    const char *name = Zcds_get_str_value(first, 0, 0);
    for (int i = 0; i < 100; ++i)
        H_FREE(Zcds_new("other,values,in,between"));
    EXPECT_EQ(Zcds_get_str_value(first, 0, 0), name);
    EXPECT_STREQ(name, "name");
    EXPECT_STREQ(Zcds_get_str_value(first, 1, 0), "x\"y");
    H_FREE(first);
}

TEST(Values, ARefusedAllocationGivesNoHandle) {
    split("the type is declared now");
    for (const std::string &text : {std::string("1,2,3"), std::string(2000, 'x')}) {
        ZHandle values = 0;
        fixture::refuse_each(
            [&] {
                values = Zcds_new(text.c_str());
                return values != 0;
            },
            [&] { H_FREE(values); });
    }
}

// A splitter never writes outside its block and never loses its place.
TEST(Values, EveryShortTextOfTheSpecialCharactersSplits) {
    const char kCharacters[] = {',', ' ', '"', 'a', '\r', '7'};
    const size_t kCount = sizeof kCharacters;
    for (size_t length = 1; length <= 6; ++length) {
        size_t texts = 1;
        for (size_t i = 0; i < length; ++i)
            texts *= kCount;
        for (size_t number = 0; number < texts; ++number) {
            std::string text;
            for (size_t rest = number, i = 0; i < length; ++i, rest /= kCount)
                text += kCharacters[rest % kCount];
            ZHandle values = Zcds_new(text.c_str());
            ASSERT_NE(values, 0u);
            size_t bytes = 0;
            for (uint32_t i = 0; i < Zcds_get_count(values); ++i) {
                const std::string value = Zcds_get_str_value(values, i, 0);
                bytes += value.size();
                for (char c : value)
                    ASSERT_NE(std::string(kCharacters, kCount).find(c), std::string::npos) << text;
            }
            ASSERT_LE(bytes, text.size()) << text;
            H_FREE(values);
        }
    }
}

}  // namespace
