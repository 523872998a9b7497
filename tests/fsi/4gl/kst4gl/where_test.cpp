// SPDX-License-Identifier: MIT
#include "wbfsi/where.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "host/config.h"
#include "host/memory.h"
#include "tests/fsi/spies.h"
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

class ExtraWhere : public testing::Test {
 protected:
    void SetUp() override {
        Z4Init();
        Z4FillWhereMagic();
    }
    void TearDown() override {
        Zfree(where_);
        Z4Exit();
        EXPECT_EQ(ZMemoryBlocks("Extra where clause"), 0U);
    }

    static void write(const std::string &text) {
        std::memcpy(Z4GLWhereConstraintAddr(), text.data(), text.size());
    }
    static void set(const char *text) { ZCSetValueRaw("4GL_WHERE_CONSTRAINT", 0, text); }
    // The caller's clause after a check, "null" without one, and the last trace line.
    std::string check() {
        const spies::TraceLevel level(1);
        spies::traces.clear();
        Z4CheckExtraWhere(&where_);
        EXPECT_EQ(spies::traces.front(), "+1 6 Z4CheckExtraWhere");
        const std::string last = spies::traces.back();
        spies::traces.clear();
        return (where_ == nullptr ? "null" : where_) + (" " + last);
    }

    char *where_ = nullptr;
};

TEST_F(ExtraWhere, TextOfTheBufferIsUsedOnce) {
    write("balance > 0 and name <> ' '   ");
    EXPECT_EQ(check(), "balance > 0 and name <> ' ' -1 6 Leaving, new constraint");
    EXPECT_EQ(buffer(), armed());
    EXPECT_EQ(check(), "null -1 6 Leaving, no constraint");
    EXPECT_EQ(check(), "null -1 6 Leaving, no constraint");
}

TEST_F(ExtraWhere, VariableComesFirst) {
    write("in the buffer");
    set("in the variable");
    EXPECT_EQ(check(), "in the variable -1 6 Leaving, new constraint");
    EXPECT_STREQ(ZCGetValueString("4GL_WHERE_CONSTRAINT"), "");
    EXPECT_EQ(buffer(), armed());
    EXPECT_EQ(check(), "null -1 6 Leaving, no constraint");
    set(" x ");
    EXPECT_EQ(check(), " x  -1 6 Leaving, new constraint");
    set("y");
    EXPECT_EQ(check(), "y -1 6 Leaving, new constraint");
}

TEST_F(ExtraWhere, SameTextAgainStays) {
    write("same one");
    check();
    const char *before = where_;
    write("same one");
    EXPECT_EQ(check(), "same one -1 6 Leaving, no change");
    EXPECT_EQ(where_, before);
    EXPECT_EQ(buffer(), armed());
    set("same one");
    EXPECT_EQ(check(), "same one -1 6 Leaving, no change");
    EXPECT_EQ(where_, before);
    write("another");
    EXPECT_EQ(check(), "another -1 6 Leaving, new constraint");
    EXPECT_EQ(check(), "null -1 6 Leaving, no constraint");
}

TEST_F(ExtraWhere, BlanksAndZeroBytesBehindTheTextDoNotCount) {
    struct Row {
        const char *name;
        std::string text;
        const char *expected;
    };
    const Row rows[] = {
        {"blanks", std::string(20, ' '), "null"},
        {"zero bytes", std::string(32750, '\0'), "null"},
        {"one character", "x", "null"},
        {"one character and a zero byte", std::string("x\0", 2), "null"},
        {"two characters", "xy", "xy"},
        {"a blank and one character", " x", " x"},
        {"zero byte and blanks behind", std::string("xy\0 \0", 5), "xy"},
        {"text behind a zero byte", std::string("xy\0z", 4), "xy"},
        {"a zero byte and one character", std::string("\0x", 2), "null"},
        {"other white space", "xy\t\n", "xy\t\n"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        Z4FillWhereMagic();
        Zfree(where_);
        where_ = nullptr;
        write(row.text);
        check();
        EXPECT_STREQ(where_ == nullptr ? "null" : where_, row.expected);
    }
}

TEST_F(ExtraWhere, NoTextLeavesAnEmptyBuffer) {
    write("x");
    check();
    std::string expected = armed();
    expected[0] = '\0';
    EXPECT_EQ(buffer(), expected);
    write("next");
    EXPECT_EQ(check(), "next -1 6 Leaving, new constraint");
}

TEST_F(ExtraWhere, LongestTextLeavesASpace) {
    write(std::string(32749, 'x'));
    check();
    EXPECT_EQ(std::string(where_), std::string(32749, 'x'));
    // Its end falls on the guard.
    write(std::string(32750, 'y'));
    EXPECT_EQ(check(), std::string(32749, 'x') + " -1 6 Leaving, guard overwritten");
    EXPECT_EQ(buffer(), armed());
}

TEST_F(ExtraWhere, DamagedGuardDiscardsEverythingButTheClause) {
    for (size_t i = XFD_WHERE_TEXT_BYTES; i < XFD_WHERE_BUFFER_BYTES; ++i) {
        SCOPED_TRACE(i);
        set("kept");
        check();
        write("discarded");
        set("discarded, too");
        Z4GLWhereConstraintAddr()[i] ^= 1;
        EXPECT_EQ(check(), "kept -1 6 Leaving, guard overwritten");
        EXPECT_EQ(buffer(), armed());
        EXPECT_STREQ(ZCGetValueString("4GL_WHERE_CONSTRAINT"), "");
    }
}

TEST_F(ExtraWhere, VariableThatNobodyDeclaredIsNone) {
    Z4Exit();
    write("buffer");
    EXPECT_EQ(check(), "buffer -1 6 Leaving, new constraint");
    Z4Init();
}

TEST_F(ExtraWhere, WithoutMemoryTheClauseWaits) {
    write("before");
    check();
    write("next one");
    ZMemoryRefuse(1, 1);
    EXPECT_EQ(check(), "null -1 6 Leaving, no memory");
    ZMemoryRefuse(0, 0);
    EXPECT_EQ(check(), "next one -1 6 Leaving, new constraint");
}

TEST_F(ExtraWhere, SilentWithoutTracing) {
    spies::traces.clear();
    write("quiet");
    Z4CheckExtraWhere(&where_);
    Z4CheckExtraWhere(&where_);
    for (int i = 0; i < 2; ++i) {
        write("quiet");
        Z4CheckExtraWhere(&where_);
    }
    write("refused");
    ZMemoryRefuse(1, 1);
    Z4CheckExtraWhere(&where_);
    ZMemoryRefuse(0, 0);
    Z4GLWhereConstraintAddr()[XFD_WHERE_TEXT_BYTES] = 0;
    Z4CheckExtraWhere(&where_);
    EXPECT_EQ(spies::take_traces(), "");
}

}  // namespace
