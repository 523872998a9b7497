// SPDX-License-Identifier: MIT
#include "fsi/base/text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using fsi::copy_text;

TEST(Text, CopiesAreCutAndFilledWithZeros) {
    const struct {
        const char *row;
        const char *text;
        size_t limit;
        const char *expected;
    } kRows[] = {
        {"shorter", "abc", 5, "abc"},
        {"just fits", "abcde", 5, "abcde"},
        {"longer", "abcdefgh", 5, "abcde"},
        {"empty", "", 5, ""},
        {"no characters", "abc", 0, ""},
        {"up to the array", "abcdefghij", 7, "abcdefg"},
        {"no further than the array", "abcdefghij", 100, "abcdefg"},
        {"whatever the limit", "abcdefghij", SIZE_MAX, "abcdefg"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.row);
        struct {
            char dest[8];
            char behind;
        } buffer;
        std::string expected(row.expected);
        expected.resize(sizeof buffer.dest, '\0');

        std::memset(&buffer, '#', sizeof buffer);
        copy_text(buffer.dest, row.text, row.limit);
        EXPECT_EQ(std::string(buffer.dest, sizeof buffer.dest), expected);
        EXPECT_EQ(buffer.behind, '#');

        std::memset(&buffer, '#', sizeof buffer);
        copy_text(buffer.dest, std::string_view(row.text), row.limit);
        EXPECT_EQ(std::string(buffer.dest, sizeof buffer.dest), expected);
        EXPECT_EQ(buffer.behind, '#');
    }
}

TEST(Text, ReadsNoMoreThanTheLimit) {
    const std::vector<char> unterminated(5, 'x');
    char dest[8];
    copy_text(dest, unterminated.data(), 5);
    EXPECT_STREQ(dest, "xxxxx");
    EXPECT_EQ(fsi::bounded_view(unterminated.data(), 5).size(), 5U);
}

TEST(Text, CopiesWithinTheArray) {
    char text[8] = "abcdef";
    copy_text(text, std::string_view(text).substr(2));
    EXPECT_STREQ(text, "cdef");
    copy_text(text, std::string_view());
    EXPECT_STREQ(text, "");
}

TEST(Text, ViewsOfDynamicStrings) {
    EXPECT_EQ(fsi::view(nullptr), "");
    ZString string = ZSTRINGNew(4, "test", "test");
    EXPECT_EQ(fsi::view(string), "");
    ZSTRINGAppendN(string, "a\0b", 3);
    EXPECT_EQ(fsi::view(string), std::string_view("a\0b", 3));
    ZSTRINGDelete(string);
}

TEST(Text, SixCharactersAreWhiteSpace) {
    int spaces = 0;
    for (int c = 0; c < 256; ++c)
        spaces += fsi::is_space(static_cast<char>(c)) ? 1 : 0;
    EXPECT_EQ(spaces, 6);
    for (const char c : std::string(" \t\n\v\f\r"))
        EXPECT_TRUE(fsi::is_space(c)) << static_cast<int>(c);
}

}  // namespace
