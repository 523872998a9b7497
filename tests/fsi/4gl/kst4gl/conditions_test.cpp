// SPDX-License-Identifier: MIT
#include "fsi/4gl/kst4gl/conditions.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/dictionary_file.h"
#include "tests/support/print_xfd.h"

namespace {

using support::file_error;
using support::OwnedXfd;

class Conditions : public support::DictionaryTest {
 protected:
    // The value of a condition on a field with the given columns "size, type,
    // digits, scale", after loading.
    std::string value(const std::string &written, const std::string &columns, int type = 1) {
        const OwnedXfd xfd =
            load("XFD,8,C,C,12\n9,9,0\n0,18,46,44,0\n1\n1," + std::to_string(type) + ",F,\"" +
                 written + "\"\n1\n0," + columns + ",0,0,1,F\n");
        return xfd == nullptr ? file_error() : xfd->x_condition[0].c_value;
    }
};

TEST_F(Conditions, NumericTypesAreThoseThatHoldNumbers) {
    for (uint32_t type = 0; type <= 65535; ++type) {
        const bool expected = (type >= 1 && type <= 14) || type == 23 ||
                              (type >= 30 && type <= 33) || (type >= 35 && type <= 39);
        EXPECT_EQ(fsi::is_numeric_type(static_cast<uint16_t>(type)), expected) << type;
    }
}

TEST_F(Conditions, ValuesOfNumbersBecomeSignAndDigits) {
    struct Row {
        const char *written;
        const char *columns;
        const char *expected;
    };
    const Row rows[] = {
        {"12", "3,1,3,0", "+012"},
        {"-7", "2,9,3,0", "-007"},
        {"+7", "2,9,3,0", "+007"},
        {"1.5", "4,3,7,-2", "+0000150"},
        {" 42 ", "4,11,9,0", "+000000042"},
        {"0", "4,33,1,0", "+0"},
        {"999", "3,6,3,0", "+999"},
        {"3", "49,1,49,0", "+0000000000000000000000000000000000000000000000003"},
        {"3", "50,1,50,0", "3"},
        {"1000", "3,1,3,0", "1000"},  // does not fit
        {"abc", "3,1,3,0", "abc"},
        {"12", "3,16,3,0", "12"},  // text is compared as it is written
        {"12", "3,0,3,0", "12"},
        {"", "3,1,3,0", ""},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(std::string(row.written) + " for " + row.columns);
        EXPECT_EQ(value(row.written, row.columns), row.expected);
    }
    for (const int type : {1, 4, 5, 6, 7, 8})
        EXPECT_EQ(value("12", "3,1,3,0", type), "+012") << type;
}

TEST_F(Conditions, OtherHasNoValue) {
    EXPECT_EQ(value("12", "3,1,3,0", 3), "");
}

TEST_F(Conditions, FirstFieldOutsideTheListedViewIsTested) {
    const std::string text =
        "XFD,8,C,C,12\n9,9,0\n0,18,46,44,0\n4\n1,1,KIND,A\n2,1,MISSING,7\n3,3,KIND\n4,2,1,3\n"
        "3,3,4,4\n0,4,16,4,0,16,999,1,KIND\n0,1,1,1,0,0,0,1,FIRST\n0,4,16,4,0,16,0,1,KIND\n"
        "4,4,16,4,0,16,0,1,KIND\n";
    const OwnedXfd listed = load(text, XFD_LOAD_LISTED_VIEW);
    ASSERT_NE(listed, nullptr) << file_error();
    EXPECT_EQ(support::print_conditions(*listed) + support::print_fields(*listed),
              "condition 1: type 1 'kind' 'A' field 2\n"
              "condition 2: type 1 'missing' '7' field 0\n"
              "condition 3: type 3 'kind' '' field 2\n"
              "condition 4: type 2 operands 1 3\n"
              "field 0: 'kind' at 0 size 4 type 16 digits 4 condition 999 level 1 flags S\n"
              "field 1: 'first' at 0 size 1 type 1 digits 1 level 1\n"
              "field 2: 'kind' at 0 size 4 type 16 digits 4 level 1\n"
              "field 3: 'kind' at 4 size 4 type 16 digits 4 level 1 flags S\n");
}

TEST_F(Conditions, ExpandedNamesAreMatchedWhole) {
    const OwnedXfd xfd = load(
        "XFD,8,C,C,12\n9,9,0\n0,18,46,44,0\n2\n1,1,KIND,A\n2,1,KIND-2,B\n1,2\n"
        "90001,2,1,\"START OCCURS\"\n0,1,16,1,0,0,0,1,KIND\n");
    ASSERT_NE(xfd, nullptr) << file_error();
    EXPECT_EQ(support::print_conditions(*xfd),
              "condition 1: type 1 'kind' 'A' field 0\n"
              "condition 2: type 1 'kind_2' 'B' field 1\n");
}

TEST_F(Conditions, RelativeKeyIsAFieldLikeAnother) {
    const OwnedXfd xfd =
        load("XFD,8,C,C,8\n9,9,0\n0,18,46,44,0\n1\n1,1,Z4GLIDENTITY,5\n1\n0,9,16,9,0,0,0,1,A\n",
             XFD_LOAD_RELATIVE_KEY);
    ASSERT_NE(xfd, nullptr) << file_error();
    EXPECT_EQ(support::print_conditions(*xfd),
              "condition 1: type 1 'z4glidentity' '+0000000000000000000000000000005' field 1\n");
    EXPECT_EQ(xfd->x_fdesc[1].fd_flags, static_cast<uint32_t>(XFD_FIELD_IN_KEY));
}

}  // namespace
