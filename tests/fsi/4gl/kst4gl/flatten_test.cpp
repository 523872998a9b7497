// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "host/config.h"
#include "tests/fsi/spies.h"
#include "wbfsi/lifecycle.h"
#include "wbfsi/locate.h"

namespace {

class FlattenName : public testing::Test {
 protected:
    void SetUp() override { Z4Init(); }
    void TearDown() override {
        ZCSetValueString("4GL_USEDIR_LEVEL", nullptr);
        Z4Exit();
    }
};

TEST_F(FlattenName, LevelsJoinDirectories) {
    const struct {
        const char *level;
        const char *name;
        const char *expected;
        int changed;
    } kRows[] = {
        {"0", "/usr/ledger/sales/orders", "orders", 1},
        {"1", "/usr/ledger/sales/orders", "salesorders", 1},
        {"2", "/usr/ledger/sales/orders", "ledgersalesorders", 1},
        {"3", "/usr/ledger/sales/orders", "usrledgersalesorders", 1},
        {"4", "/usr/ledger/sales/orders", "usrledgersalesorders", 1},
        {"127", "/usr/ledger/sales/orders", "usrledgersalesorders", 1},
        {"-1", "/usr/ledger/sales/orders", "orders", 1},
        {"0", "orders", "orders", 0},
        {"5", "orders", "orders", 0},
        {"0", "", "", 0},
        {"1", "/orders", "orders", 1},
        {"0", "/orders", "orders", 1},
        {"1", "a/b", "ab", 1},
        {"0", "a/b", "b", 1},
        {"1", "a//b", "b", 1},
        {"2", "a//b", "ab", 1},
        {"0", "a/", "", 1},
        {"1", "a/", "a", 1},
        {"1", "/", "", 1},
        {"0", "sales.dir/orders.dat", "orders.dat", 1},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(std::string(row.level) + " " + row.name);
        ASSERT_EQ(ZCSetValueString("4GL_USEDIR_LEVEL", row.level), 1);
        char name[64];
        std::memset(name, '#', sizeof name);
        std::memcpy(name, row.name, std::strlen(row.name) + 1);
        EXPECT_EQ(Z4FlattenName(name), row.changed);
        EXPECT_STREQ(name, row.expected);
        EXPECT_EQ(name[std::strlen(row.name) + 1], '#');
    }
}

TEST_F(FlattenName, LevelIsZeroUnlessSet) {
    char name[] = "/usr/ledger/orders";
    EXPECT_EQ(Z4FlattenName(name), 1);
    EXPECT_STREQ(name, "orders");
}

TEST_F(FlattenName, TracesNameAndResult) {
    const spies::TraceLevel level(1);
    char name[] = "/usr/ledger/orders";
    Z4FlattenName(name);
    char plain[] = "plain";
    Z4FlattenName(plain);
    EXPECT_EQ(spies::take_traces(),
              "+1 8 Z4FlattenName /usr/ledger/orders\n-1 8 Returning orders\n"
              "+1 8 Z4FlattenName plain\n-1 8 Returning plain\n");
}

TEST_F(FlattenName, IsSilentWithoutTrace) {
    char name[] = "/usr/ledger/orders";
    Z4FlattenName(name);
    EXPECT_EQ(spies::take_traces(), "");
}

}  // namespace
