// SPDX-License-Identifier: MIT
#include "wbfsi/where.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "host/config.h"
#include "wbfsi/lifecycle.h"

namespace {

std::string armed() {
    return std::string(32750, ' ') + "\x80\x82\x86\x84kst4gl";
}

std::string buffer() {
    return {Z4GLWhereConstraintAddr(), 32760};
}

TEST(WhereConstraint, InitialisationArmsTheBuffer) {
    EXPECT_EQ(buffer(), std::string(32760, '\0'));
    EXPECT_EQ(fsi_init_cfg(), 1);
    EXPECT_EQ(buffer(), armed());
    EXPECT_EQ(armed().size(), 32760U);
}

TEST(WhereConstraint, RearmingBlanksTextGuardAndVariable) {
    Z4Init();
    char *address = Z4GLWhereConstraintAddr();
    std::memset(address, 'x', 32760);
    ASSERT_EQ(ZCSetValueRaw("4GL_WHERE_CONSTRAINT", 0, "balance > 0"), 1);
    ASSERT_STREQ(ZCGetValueString("4GL_WHERE_CONSTRAINT"), "balance > 0");
    EXPECT_EQ(Z4FillWhereMagic(), 1);
    EXPECT_EQ(Z4GLWhereConstraintAddr(), address);
    EXPECT_EQ(buffer(), armed());
    EXPECT_STREQ(ZCGetValueString("4GL_WHERE_CONSTRAINT"), "");
    Z4Exit();
}

TEST(WhereConstraint, OneByteOverTheTextHurtsTheGuardAlone) {
    Z4FillWhereMagic();
    Z4GLWhereConstraintAddr()[XFD_WHERE_TEXT_BYTES] = 'x';
    EXPECT_NE(buffer(), armed());
    Z4FillWhereMagic();
    EXPECT_EQ(buffer(), armed());
}

}  // namespace
