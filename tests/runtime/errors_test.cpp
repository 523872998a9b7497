// SPDX-License-Identifier: MIT
#include "host/errors.h"

#include <gtest/gtest.h>

namespace {

TEST(ErrorState, EachSlotKeepsItsValue) {
    *Zstdlib_f_errno() = 19;
    *Zstdlib_f_int_errno() = -2;
    *Zstdlib_f_int2_errno() = 100000;
    *Zstdlib_f_upgrade_rlock() = 1;
    *Zstdlib_f_errmsg() = "message";
    EXPECT_EQ(*Zstdlib_f_errno(), 19);
    EXPECT_EQ(*Zstdlib_f_int_errno(), -2);
    EXPECT_EQ(*Zstdlib_f_int2_errno(), 100000);
    EXPECT_EQ(*Zstdlib_f_upgrade_rlock(), 1);
    EXPECT_STREQ(*Zstdlib_f_errmsg(), "message");
    *Zstdlib_f_errno() = 0;
    EXPECT_EQ(*Zstdlib_f_int_errno(), -2);
    *Zstdlib_f_upgrade_rlock() = 0;
}

TEST(ErrorState, SlotsStayWhereTheyAre) {
    EXPECT_EQ(Zstdlib_f_errno(), Zstdlib_f_errno());
    EXPECT_NE(static_cast<void *>(Zstdlib_f_errno()), static_cast<void *>(Zstdlib_f_int_errno()));
    EXPECT_NE(Zstdlib_f_errno(), Zstdlib_f_upgrade_rlock());
}

}  // namespace
