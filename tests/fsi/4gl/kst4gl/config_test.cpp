// SPDX-License-Identifier: MIT
#include "fsi/4gl/kst4gl/config.h"

#include <gtest/gtest.h>

#include <string>

#include "fsi/4gl/kst4gl/load.h"
#include "host/config.h"
#include "host/memory.h"
#include "wbfsi/lifecycle.h"

namespace {

std::string text_of(const char *name) {
    const char *text = ZCGetValueString(name);
    return text == nullptr ? "unset" : text;
}

TEST(Config, DeclaredVariablesHaveTheirDefaults) {
    // Before, nobody has declared them: the caller's own default holds.
    EXPECT_EQ(ZCGetValueTinyint("4GL_TABLE_CASE", 55), 55);
    EXPECT_EQ(Z4Init(), 0);
    EXPECT_EQ(text_of("4GL_IGNORED_SUFFIX_LIST"), "dat");
    const struct {
        const char *name;
        int32_t value;
    } kLong[] = {{"4GL_JULIAN_BASE_DATE", 0},
                 {"4GL_JULIAN_NULL", 0},
                 {"4GL_MAX_DATE", 20991231},
                 {"4GL_MIN_DATE", 19000101}},
      kShort[] = {{"4GL_2000_CUTOFF", 20}, {"4GL_COMMIT_COUNT", 0}},
      kTiny[] = {{"4GL_COLUMN_CASE", 0},
                 {"4GL_TABLE_CASE", 1},
                 {"4GL_ILLEGAL_DATA", 0},
                 {"4GL_USEDIR_LEVEL", 0}},
      kBool[] = {{"4GL_CONVERT_DATES", 1},
                 {"4GL_CONVERT_DATE_ZERO", 1},
                 {"4GL_EXTRA_DB_COLS_OK", 1},
                 {"4GL_FULL_DATA_TEST", 0},
                 {"4GL_8_DIGIT_CUTOFF", 0},
                 {"4GL_1_3_TRANSACTIONS", 0},
                 {"4GL_USE_VIEWS", 1},
                 {"4GL_POSITIONED_MODIFICATIONS", 1},
                 {"PLEX_DATE_MAX_HIGH_VALUES", 0},
                 {"PLEX_DATE_MIN_LOW_VALUES", 0}};
    for (const auto &row : kLong)
        EXPECT_EQ(ZCGetValueLong(row.name, 55), row.value) << row.name;
    for (const auto &row : kShort)
        EXPECT_EQ(ZCGetValueShort(row.name, 55), row.value) << row.name;
    for (const auto &row : kTiny)
        EXPECT_EQ(ZCGetValueTinyint(row.name, 55), row.value) << row.name;
    for (const auto &row : kBool)
        EXPECT_EQ(ZCGetValueBool(row.name, 55), row.value) << row.name;
    for (const char *name : {"PLEX_DATE_INVALID_VALUE", "PLEX_DATE_NINE_VALUE",
                             "PLEX_DATE_NULL_VALUE", "PLEX_DATE_ZERO_VALUE"})
        EXPECT_EQ(text_of(name), "unset") << name;
    EXPECT_EQ(Z4Exit(), 0);
    EXPECT_EQ(ZCGetValueTinyint("4GL_TABLE_CASE", 55), 55);
    EXPECT_EQ(ZCGetValueLong("4GL_MAX_DATE", 55), 55);
}

TEST(Config, CasesAndIllegalDataAreSetByName) {
    const struct {
        const char *name, *value;
        int accepted;
        int8_t expected;
    } kRows[] = {
        {"4GL_COLUMN_CASE", "UPPER", 1, 1},
        {"4GL_COLUMN_CASE", "lower", 1, 0},
        {"4GL_COLUMN_CASE", "Unchanged", 1, 2},
        {"4GL_TABLE_CASE", "UNCHANGED", 1, 2},
        {"4GL_TABLE_CASE", "sideways", 0, 2},
        {"4GL_ILLEGAL_DATA", "PASS_THROUGH", 1, 3},
        {"4GL_ILLEGAL_DATA", "KEY_MOD", 1, 2},
        {"4GL_ILLEGAL_DATA", "CONVERTED", 1, 1},
        {"4GL_ILLEGAL_DATA", "UNCHANGED", 1, 0},
        // The pair without a name answers to none.
        {"4GL_ILLEGAL_DATA", "KEY_MOD", 1, 2},
        {"4GL_ILLEGAL_DATA", "null", 0, 2},
        {"4GL_ILLEGAL_DATA", "(null)", 0, 2},
    };
    Z4Init();
    for (const auto &row : kRows) {
        SCOPED_TRACE(std::string(row.name) + " " + row.value);
        EXPECT_EQ(ZCSetValueString(row.name, row.value), row.accepted);
        EXPECT_EQ(ZCGetValueTinyint(row.name, 55), row.expected);
    }
    for (const char *name : {"4GL_COLUMN_CASE", "4GL_TABLE_CASE", "4GL_ILLEGAL_DATA"})
        ZCSetValueString(name, nullptr);
    Z4Exit();
}

TEST(Config, InitialisingAgainChangesNothing) {
    Z4Init();
    ZCSetValueString("4GL_2000_CUTOFF", "50");
    const size_t blocks = ZMemoryBlocks(nullptr);
    EXPECT_EQ(Z4Init(), 0);
    EXPECT_EQ(ZMemoryBlocks(nullptr), blocks);
    EXPECT_EQ(ZCGetValueShort("4GL_2000_CUTOFF", 0), 50);
    Z4Exit();
    EXPECT_EQ(ZCGetValueShort("4GL_2000_CUTOFF", 7), 7);
    // What was given stays given.
    Z4Init();
    EXPECT_EQ(ZCGetValueShort("4GL_2000_CUTOFF", 0), 50);
    ZCSetValueString("4GL_2000_CUTOFF", nullptr);
    Z4Exit();
}

TEST(Config, FullDataTestFollowsItsVariable) {
    EXPECT_FALSE(fsi::full_data_test());
    ZCSetValueString("4GL_FULL_DATA_TEST", "yes");
    EXPECT_FALSE(fsi::full_data_test());
    Z4Init();
    EXPECT_TRUE(fsi::full_data_test());
    ZCSetValueString("4GL_FULL_DATA_TEST", "off");
    EXPECT_FALSE(fsi::full_data_test());
    ZCSetValueString("4GL_FULL_DATA_TEST", "1");
    EXPECT_TRUE(fsi::full_data_test());
    ZCSetValueString("4GL_FULL_DATA_TEST", nullptr);
    EXPECT_FALSE(fsi::full_data_test());
    Z4Exit();
    // Nobody listens any more.
    ZCSetValueString("4GL_FULL_DATA_TEST", "1");
    EXPECT_FALSE(fsi::full_data_test());
    ZCSetValueString("4GL_FULL_DATA_TEST", nullptr);
}

TEST(Config, CaseUpperHoldsForTheReader) {
    fsi::set_column_case(0);
    EXPECT_EQ(Z4SetCaseUpper(), 1);
    EXPECT_EQ(fsi::reader.column_case, 1);
}

}  // namespace
