// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "wbfsi/dateformat.h"

namespace {

TEST(DateFormats, TableOfFormats) {
    const struct {
        std::string format;
        int expected;
    } kRows[] = {
        {"", 1},
        {"YYYYMMDD", 1},
        {"YYMMDD", 1},
        {"JJJJJ", 1},
        {"HHNNSSTTTTTT", 1},
        {"FYMMDD", 1},
        {"DEFHJMNRSTY", 1},
        {"M", 1},
        {"FR", 1},
        {"F", 1},
        {std::string(20, 'Y'), 1},
        {std::string(21, 'Y'), 0},
        {"YYYYMMDDHHNNSSTTTTTT", 1},
        {"YYYYMMDDHHNNSSTTTTTTE", 0},
        {std::string(1000, 'Y'), 0},
        {"YYMMYY", 0},
        {"YMY", 0},
        {"DMD", 0},
        {"yyyymmdd", 0},
        {"YYYYmmDD", 0},
        {"YYYY-MM-DD", 0},
        {" YYYY", 0},
        {"YYYY ", 0},
        {"\xD9\xD9", 0},
        {"1", 0},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.format);
        EXPECT_EQ(Z4ValidDateFormat(row.format.c_str()), row.expected);
    }
}

TEST(DateFormats, ElevenCharactersAreLetters) {
    const std::string letters = "DEFHJMNRSTY";
    for (int c = 1; c < 256; ++c) {
        const std::string format(3, static_cast<char>(c));
        const bool expected = letters.find(static_cast<char>(c)) != std::string::npos;
        EXPECT_EQ(Z4ValidDateFormat(format.c_str()), expected ? 1 : 0) << c;
    }
}

TEST(DateFormats, EveryLetterFormsOneRun) {
    for (const char letter : std::string("DEFHJMNRSTY")) {
        const char other = letter == 'Y' ? 'M' : 'Y';
        EXPECT_EQ(Z4ValidDateFormat((std::string(2, letter) + other).c_str()), 1) << letter;
        EXPECT_EQ(Z4ValidDateFormat((std::string(2, letter) + other + letter).c_str()), 0)
            << letter;
    }
}

TEST(DateFormats, ReadsNoMoreThanItJudges) {
    // 21 characters and no zero byte behind them.
    const std::vector<char> unterminated(21, 'Y');
    EXPECT_EQ(Z4ValidDateFormat(unterminated.data()), 0);
}

}  // namespace
