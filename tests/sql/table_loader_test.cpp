// SPDX-License-Identifier: MIT
#include "sql/table_loader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tests/sql/sql_fixture.h"

namespace {

using namespace sql_test;
using Rows = std::vector<std::string>;

// number 9(4), name X(6), amount S9(3)V99 packed.
XfdBuilder customers() {
    XfdBuilder builder("customers", 13);
    builder.fields({{"number", 0, 4, 1, 4}, {"name", 4, 6, 16}, {"amount", 10, 3, 9, 5, -2}});
    builder.key({false, {{0, 4}}});
    return builder;
}

std::string customer(const std::string &number, const std::string &name, const char *amount) {
    return number + name + std::string(6 - name.size(), ' ') + std::string(amount, 3);
}

TEST_F(TableTest, RecordsBecomeRowsAndComeBack) {
    XfdBuilder builder = customers();
    const sql::TableLayout layout = layout_of(builder);
    const Records records{customer("0001", "ADA", "\x01\x25\x0C"),
                          customer("0002", "GRACE", "\x99\x99\x9D"),
                          customer("0003", "", "\0\0\x0C")};
    must_load(layout, records);
    EXPECT_EQ(query("SELECT number FROM customers"), (Rows{"1", "2", "3"}));
    EXPECT_EQ(query("SELECT name FROM customers"), (Rows{"'ADA'", "'GRACE'", "''"}));
    EXPECT_EQ(query("SELECT amount FROM customers"), (Rows{"'12.50'", "'-999.99'", "'0.00'"}));
    EXPECT_EQ(query("SELECT exact_record FROM customers"), (Rows{"NULL", "NULL", "NULL"}));
    EXPECT_EQ(summary_.loaded, 3U);
    EXPECT_EQ(summary_.kept_exact, 0U);
    EXPECT_EQ(unload(layout), records);
}

}  // namespace
