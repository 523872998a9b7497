// SPDX-License-Identifier: MIT
//
// The table of variables that the database interfaces and this library share,
// and the lifecycle around it.
#include "fsi/4gl/kst4gl/config.h"

#include <iterator>

#include "fsi/4gl/kst4gl/date_values.h"
#include "fsi/4gl/kst4gl/dbmap.h"
#include "fsi/4gl/kst4gl/load.h"
#include "fsi/base/variables.h"
#include "host/config.h"
#include "wbfsi/lifecycle.h"

namespace fsi {
namespace {

constexpr int16_t kCaseLower = 0;
constexpr int16_t kCaseUpper = 1;
constexpr int16_t kCaseUnchanged = 2;

constexpr ZCNamedValue kCaseNames[] = {
    {"LOWER", kCaseLower}, {"UPPER", kCaseUpper}, {"UNCHANGED", kCaseUnchanged}};

// The first pair has no name and can be set by its number alone; it is part of
// the array and of its count.
constexpr ZCNamedValue kIllegalDataNames[] = {
    {nullptr, 0}, {"UNCHANGED", 0}, {"CONVERTED", 1}, {"KEY_MOD", 2}, {"PASS_THROUGH", 3}};

// No row closes the table: its count is passed along with it.  A default text is
// its address.
const ZCVariable kVariables[] = {
    {"4GL_IGNORED_SUFFIX_LIST", kText, reinterpret_cast<intptr_t>("dat"), nullptr, 0, nullptr, 0},
    {"4GL_JULIAN_BASE_DATE", kLongInteger, 0, nullptr, 0, nullptr, 0},
    {"4GL_JULIAN_NULL", kLongInteger, 0, nullptr, 0, nullptr, 0},
    {"4GL_MAX_DATE", kLongInteger, 20991231, nullptr, 0, nullptr, 0},
    {"4GL_MIN_DATE", kLongInteger, 19000101, nullptr, 0, nullptr, 0},
    {"4GL_2000_CUTOFF", kShortInteger, 20, nullptr, 0, nullptr, 0},
    {"4GL_COMMIT_COUNT", kShortInteger, 0, nullptr, 0, nullptr, 0},
    {"4GL_COLUMN_CASE", kTinyInteger, kCaseLower, kCaseNames, std::size(kCaseNames), nullptr, 0},
    {"4GL_TABLE_CASE", kTinyInteger, kCaseUpper, kCaseNames, std::size(kCaseNames), nullptr, 0},
    {"4GL_ILLEGAL_DATA", kTinyInteger, 0, kIllegalDataNames, std::size(kIllegalDataNames), nullptr,
     0},
    {"4GL_USEDIR_LEVEL", kTinyInteger, 0, nullptr, 0, nullptr, 0},
    {"4GL_CONVERT_DATES", kBoolean, 1, nullptr, 0, nullptr, 0},
    {"4GL_CONVERT_DATE_ZERO", kBoolean, 1, nullptr, 0, nullptr, 0},
    {"4GL_EXTRA_DB_COLS_OK", kBoolean, 1, nullptr, 0, nullptr, 0},
    {"4GL_FULL_DATA_TEST", kBoolean, 0, nullptr, 0, nullptr, 0},
    {"4GL_8_DIGIT_CUTOFF", kBoolean, 0, nullptr, 0, nullptr, 0},
    {"4GL_1_3_TRANSACTIONS", kBoolean, 0, nullptr, 0, nullptr, 0},
    {"4GL_USE_VIEWS", kBoolean, 1, nullptr, 0, nullptr, 0},
    {"4GL_POSITIONED_MODIFICATIONS", kBoolean, 1, nullptr, 0, nullptr, 0},
    {"4GL_DB_MAP", kHandledText, 0, nullptr, 0, db_map_handler, 0},
    {"4GL_WHERE_CONSTRAINT", kRawText, 0, nullptr, 0, nullptr, 0},
    {"PLEX_DATE_INVALID_VALUE", kText, 0, nullptr, 0, nullptr, 0},
    {"PLEX_DATE_MAX_HIGH_VALUES", kBoolean, 0, nullptr, 0, nullptr, 0},
    {"PLEX_DATE_MIN_LOW_VALUES", kBoolean, 0, nullptr, 0, nullptr, 0},
    {"PLEX_DATE_NINE_VALUE", kText, 0, nullptr, 0, nullptr, 0},
    {"PLEX_DATE_NULL_VALUE", kText, 0, nullptr, 0, nullptr, 0},
    {"PLEX_DATE_ZERO_VALUE", kText, 0, nullptr, 0, nullptr, 0},
};
static_assert(std::size(kVariables) == 27);

unsigned char full_data_test_byte;

}  // namespace

bool full_data_test() {
    return full_data_test_byte != 0;
}

}  // namespace fsi

int Z4Init() {
    ZCDefineVariables(fsi::kVariables, std::size(fsi::kVariables), 0);
    ZCDefineIndicator("4GL_FULL_DATA_TEST", 0, &fsi::full_data_test_byte);
    return 0;
}

int Z4Exit() {
    fsi::release_special_dates();
    ZCUndefineVariables(fsi::kVariables, std::size(fsi::kVariables), 0);
    return 0;
}

int Z4SetCaseUpper() {
    fsi::set_column_case(fsi::kCaseUpper);
    return 1;
}
