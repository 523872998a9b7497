// SPDX-License-Identifier: MIT
#include "sql/record_conditions.h"

#include <gtest/gtest.h>

#include "tests/sql/codec_fixture.h"

namespace {

using namespace sql_test;
using sql::Value;

// An order file: a head and lines, which redefine each other, and notes.
XfdBuilder orders() {
    XfdBuilder builder("orders", 20);
    builder.field({"kind", 0, 1, 16}).field({"number", 1, 4, 1, 4});
    builder.condition({XFD_COND_EQ, "kind", "H"}).condition({XFD_COND_EQ, "kind", "L"});
    builder.field({"customer", 5, 10, 16}).under(1);
    builder.field({"total", 15, 5, 1, 5}).under(1);
    builder.field({"item", 5, 6, 16}).under(2);
    builder.field({"count", 11, 4, 1, 4}).under(2);
    return builder;
}

TEST(RecordConditions, FieldsOfOtherRecordTypesAreNull) {
    XfdBuilder builder = orders();
    OneRecord one(builder);
    EXPECT_EQ(one.decode("H0001SMITH     00042"),
              "'H', 1, 'SMITH', 42, null (absent), null (absent)");
    EXPECT_FALSE(one.decoded.is_untyped);
    EXPECT_EQ(one.encode(one.values), "H0001SMITH     00042");
    EXPECT_EQ(one.decode("L0001NAILS 0100     "),
              "'L', 1, null (absent), null (absent), 'NAILS', 100");
    EXPECT_EQ(one.encode(one.values), "L0001NAILS 0100     ");
}

TEST(RecordConditions, ARecordOfNoTypeHasItsCommonFieldsAlone) {
    XfdBuilder builder = orders();
    OneRecord one(builder);
    EXPECT_EQ(one.decode("X0001               "),
              "'X', 1, null (absent), null (absent), null (absent), null (absent)");
    EXPECT_TRUE(one.decoded.is_untyped);
    EXPECT_EQ(one.decode("X0001what is it     "),
              "'X', 1, null (absent), null (absent), null (absent), null (absent) kept");
    EXPECT_EQ(one.round_trip("X0001what is it     "), "X0001what is it     ");
}

}  // namespace
