// SPDX-License-Identifier: MIT
//
// The two tables of variables as the host receives them: rows, order, types,
// defaults, named values and handlers, and the calls around them.
#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <string>

#include "fsi/fsivars.h"
#include "host/config.h"
#include "host/errors.h"
#include "host/messages.h"
#include "wbfsi/lifecycle.h"
#include "wbfsi/where.h"

namespace {

// What the host heard, one line a call or row.
std::ostringstream heard;

std::string row_text(const ZCVariable &row) {
    std::ostringstream out;
    out << row.name << " " << row.type << " ";
    const bool is_text = row.type == 1 || row.type == 7 || row.type == 8 || row.type == 10;
    if (!is_text)
        out << row.default_value;
    else if (row.default_value == 0)
        out << "none";
    else
        out << "\"" << reinterpret_cast<const char *>(row.default_value) << "\"";
    for (uint32_t i = 0; i < row.named_count; ++i) {
        const ZCNamedValue &pair = row.named_values[i];
        out << (i == 0 ? " (" : " ") << (pair.name == nullptr ? "null" : pair.name) << " "
            << pair.value << (i + 1 == row.named_count ? ")" : ",");
    }
    if (row.handler != nullptr)
        out << " handled";
    if (row.reserved != 0 || (row.named_count == 0) != (row.named_values == nullptr))
        out << " malformed";
    return out.str();
}

ZCHandler general_handler;

void hear_table(const char *what, const ZCVariable *table, uint32_t count, int flags) {
    heard << what << " " << count << " " << flags << "\n";
    for (uint32_t i = 0; i < count; ++i) {
        heard << row_text(table[i]) << "\n";
        if (std::string(table[i].name) == "FILE_TRACE")
            general_handler = table[i].handler;
    }
}

std::string take() {
    std::string text = heard.str();
    heard.str("");
    return text;
}

unsigned char *bound_byte;
int raw_result = 1;

}  // namespace

// These stand in front of the reference host's.
int ZCDefineVariables(const ZCVariable *table, uint32_t count, int flags) {
    hear_table("define", table, count, flags);
    return 1;
}
int ZCUndefineVariables(const ZCVariable *, uint32_t count, int flags) {
    heard << "undefine " << count << " " << flags << "\n";
    return 1;
}
int ZCDefineIndicator(const char *name, int flags, unsigned char *byte) {
    heard << "indicator " << name << " " << flags << "\n";
    bound_byte = byte;
    return 1;
}
int ZCSetValueRaw(const char *name, int flags, const char *value) {
    heard << "raw " << name << " " << flags << " '" << value << "'\n";
    return raw_result;
}

namespace {

constexpr const char kGeneralTable[] =
    "define 11 0\n"
    "XML_KEEP_WHITESPACE 5 0 (OFF 0, FALSE 0, ON 1, TRUE 1, INPUT 1, OUTPUT 2, BOTH 3, IO 3)\n"
    "FILE_TRACE 5 0 handled\n"
    "STRENGTHEN_LOCKS 2 0 handled\n"
    "XFD_MAP_RESETS 2 1 handled\n"
    "NO_TRANSACTIONS 2 0\n"
    "XFD_MAP 10 none handled\n"
    "DEFAULT_HOST 7 \"\"\n"
    "DEFAULT_FILESYSTEM 7 \"\"\n"
    "DEFAULT_IDX_FILESYSTEM 7 \"\"\n"
    "DEFAULT_REL_FILESYSTEM 7 \"\"\n"
    "DEFAULT_SEQ_FILESYSTEM 7 \"\"\n";

constexpr const char kInterfaceTable[] =
    "define 27 0\n"
    "4GL_IGNORED_SUFFIX_LIST 8 \"dat\"\n"
    "4GL_JULIAN_BASE_DATE 6 0\n"
    "4GL_JULIAN_NULL 6 0\n"
    "4GL_MAX_DATE 6 20991231\n"
    "4GL_MIN_DATE 6 19000101\n"
    "4GL_2000_CUTOFF 5 20\n"
    "4GL_COMMIT_COUNT 5 0\n"
    "4GL_COLUMN_CASE 3 0 (LOWER 0, UPPER 1, UNCHANGED 2)\n"
    "4GL_TABLE_CASE 3 1 (LOWER 0, UPPER 1, UNCHANGED 2)\n"
    "4GL_ILLEGAL_DATA 3 0 (null 0, UNCHANGED 0, CONVERTED 1, KEY_MOD 2, PASS_THROUGH 3)\n"
    "4GL_USEDIR_LEVEL 3 0\n"
    "4GL_CONVERT_DATES 2 1\n"
    "4GL_CONVERT_DATE_ZERO 2 1\n"
    "4GL_EXTRA_DB_COLS_OK 2 1\n"
    "4GL_FULL_DATA_TEST 2 0\n"
    "4GL_8_DIGIT_CUTOFF 2 0\n"
    "4GL_1_3_TRANSACTIONS 2 0\n"
    "4GL_USE_VIEWS 2 1\n"
    "4GL_POSITIONED_MODIFICATIONS 2 1\n"
    "4GL_DB_MAP 10 none handled\n"
    "4GL_WHERE_CONSTRAINT 1 none\n"
    "PLEX_DATE_INVALID_VALUE 8 none\n"
    "PLEX_DATE_MAX_HIGH_VALUES 2 0\n"
    "PLEX_DATE_MIN_LOW_VALUES 2 0\n"
    "PLEX_DATE_NINE_VALUE 8 none\n"
    "PLEX_DATE_NULL_VALUE 8 none\n"
    "PLEX_DATE_ZERO_VALUE 8 none\n";

TEST(VariableTables, GeneralTableThenTheWhereConstraint) {
    for (const int result : {1, 0}) {
        raw_result = result;
        EXPECT_EQ(fsi_init_cfg(), result);
        EXPECT_EQ(take(), std::string(kGeneralTable) + "raw 4GL_WHERE_CONSTRAINT 0 ''\n");
        EXPECT_EQ(Z4GLWhereConstraintAddr()[0], ' ');
    }
}

TEST(VariableTables, InterfaceTableThenItsIndicator) {
    EXPECT_EQ(Z4Init(), 0);
    EXPECT_EQ(take(), std::string(kInterfaceTable) + "indicator 4GL_FULL_DATA_TEST 0\n");
    EXPECT_NE(bound_byte, nullptr);
}

TEST(VariableTables, ExitWithdrawsTheInterfaceTable) {
    EXPECT_EQ(Z4Exit(), 0);
    EXPECT_EQ(take(), "undefine 27 0\n");
}

// One handler serves four variables and knows them by their exact names.
TEST(VariableTables, OtherNamesAreIgnored) {
    fsi_init_cfg();
    take();
    ASSERT_NE(general_handler, nullptr);
    char value[] = "9";
    for (const char *name : {"FILE_TRACE2", "FILE_TRAC", "file_trace", "XFD_MA", "XFD_MAP2", ""})
        EXPECT_EQ(general_handler(name, value, 9, 1), 0) << name;
    EXPECT_EQ(f_trace, 0);
    EXPECT_EQ(*Zstdlib_f_upgrade_rlock(), 0);
    EXPECT_TRUE(fsi::name_map().empty());

    EXPECT_EQ(general_handler("FILE_TRACE", value, -2, 0), 0);
    EXPECT_EQ(f_trace, -2);
    EXPECT_EQ(general_handler("FILE_TRACE", nullptr, 9, 0), 0);
    EXPECT_EQ(f_trace, 0);
}

}  // namespace
