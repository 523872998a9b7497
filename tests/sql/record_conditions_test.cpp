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

TEST(RecordConditions, EachComparisonDecides) {
    struct Row {
        int16_t type;
        const char *holds;  // of the numbers 1, 2 and 3 compared with 2
    };
    for (const Row &row :
         {Row{XFD_COND_EQ, "-2-"}, Row{XFD_COND_GT, "--3"}, Row{XFD_COND_GE, "-23"},
          Row{XFD_COND_LT, "1--"}, Row{XFD_COND_LE, "12-"}, Row{XFD_COND_NE, "1-3"}}) {
        SCOPED_TRACE(row.type);
        for (const bool is_number : {false, true}) {
            XfdBuilder builder("t", 2);
            builder.field({"kind", 0, 1, static_cast<uint16_t>(is_number ? 1 : 16), 1});
            builder.condition({row.type, "kind", is_number ? "+2" : "2"});
            builder.field({"more", 1, 1, 16}).under(1);
            OneRecord one(builder);
            std::string holds;
            for (const char *record : {"1x", "2x", "3x"}) {
                one.decode(record);
                holds += one.values[1].is_null() ? '-' : record[0];
                EXPECT_EQ(one.decoded.is_untyped, one.values[1].is_null());
                EXPECT_EQ(one.decoded.is_exact, !one.values[1].is_null());
                EXPECT_EQ(one.round_trip(record), record);
            }
            EXPECT_EQ(holds, row.holds);
        }
    }
}

TEST(RecordConditions, AndOrAndOtherCombineThem) {
    XfdBuilder builder("t", 6);
    builder.field({"kind", 0, 1, 16}).field({"sub", 1, 1, 16});
    builder.condition({XFD_COND_EQ, "kind", "A"})
        .condition({XFD_COND_EQ, "sub", "1"})
        .condition({XFD_COND_AND, "", "", 1, 2})
        .condition({XFD_COND_OR, "", "", 1, 2});
    builder.field({"both", 2, 1, 16}).under(3);
    builder.field({"any", 3, 1, 16}).under(4);
    builder.field({"digit", 4, 1, 1, 1}).under(2);
    // Of the conditions on "kind", the "and" and "or" too (they count for field 0).
    builder.condition({XFD_COND_OTHER, "kind"});
    builder.field({"none", 5, 1, 16}).under(5);
    OneRecord one(builder);
    EXPECT_EQ(one.decode("A1xy7 "), "'A', '1', 'x', 'y', 7, null (absent)");
    EXPECT_EQ(one.encode(one.values), "A1xy7 ");
    EXPECT_EQ(one.decode("A2 y  "), "'A', '2', null (absent), 'y', null (absent), null (absent)");
    EXPECT_EQ(one.encode(one.values), "A2 y  ");
    EXPECT_EQ(one.decode("B1 y7 "), "'B', '1', null (absent), 'y', 7, null (absent)");
    EXPECT_EQ(one.encode(one.values), "B1 y7 ");
    EXPECT_EQ(one.decode("B2   z"), "'B', '2', null (absent), null (absent), null (absent), 'z'");
    EXPECT_EQ(one.encode(one.values), "B2   z");
}

// "And" and "or" name conditions above themselves, and each other.
TEST(RecordConditions, OrderOfTheNumbersDoesNotMatter) {
    XfdBuilder builder("t", 4);
    builder.field({"kind", 0, 1, 16});
    builder.condition({XFD_COND_AND, "", "", 3, 2})
        .condition({XFD_COND_OR, "", "", 1, 3})
        .condition({XFD_COND_EQ, "kind", "A"});
    builder.field({"one", 1, 1, 16}).under(1);
    builder.field({"two", 2, 1, 16}).under(2);
    builder.field({"three", 3, 1, 16}).under(3);
    OneRecord one(builder);
    for (int i = 0; i < 3; i++) {
        EXPECT_EQ(one.decode("Axyz"), "'A', 'x', 'y', 'z'");
        EXPECT_EQ(one.encode(one.values), "Axyz");
        EXPECT_EQ(one.decode("B   "), "'B', null (absent), null (absent), null (absent)");
        EXPECT_EQ(one.encode(one.values), "B   ");
    }
}

TEST(RecordConditions, AFieldThatItsOwnConditionTestsNeedsTheBytesKept) {
    XfdBuilder builder("t", 4);
    builder.field({"kind", 0, 1, 16});
    builder.condition({XFD_COND_EQ, "kind", "A"});
    builder.under(1).field({"text", 1, 3, 16}).under(1);
    OneRecord one(builder);
    EXPECT_EQ(one.decode("Axyz"), "'A', 'xyz' kept");
    EXPECT_EQ(one.encode_over("Axyz", one.values), "Axyz");
    EXPECT_EQ(one.encode_over("Axyz", {Value::text("A"), Value::text("b")}), "Ab  ");
    EXPECT_EQ(one.decode("    "), "null (absent), null (absent)");
    EXPECT_EQ(one.encode(one.values), "    ");
    EXPECT_EQ(one.encode({Value::text("A"), Value()}),
              "column \"kind\" holds 'A', but condition 1 of the dictionary, under which it "
              "exists, does not hold for the record; it must be null");
}

// Condition 2 tests a field of condition 1.
TEST(RecordConditions, AFieldOfAnEarlierConditionMayBeTested) {
    XfdBuilder builder("t", 4);
    builder.field({"kind", 0, 1, 16});
    builder.condition({XFD_COND_EQ, "kind", "A"});
    builder.field({"sub", 1, 1, 16}).under(1);
    builder.condition({XFD_COND_EQ, "sub", "1"});
    builder.field({"text", 2, 2, 16}).under(2);
    OneRecord one(builder);
    for (const char *record : {"A1xy", "A2  ", "B   "}) {
        one.decode(record);
        EXPECT_TRUE(one.decoded.is_exact) << record;
        EXPECT_EQ(one.encode(one.values), record);
    }
    EXPECT_EQ(one.decode("B1xy"), "'B', null (absent), 'xy' kept");
    EXPECT_EQ(one.round_trip("B1xy"), "B1xy");
}

// Its condition tests a field of a later one, which is not written yet when it is
// asked for.
TEST(RecordConditions, AFieldOfALaterConditionThatIsTestedNeedsTheBytesKept) {
    XfdBuilder builder("t", 3);
    builder.field({"kind", 0, 1, 16}).field({"late", 1, 1, 16});
    builder.condition({XFD_COND_EQ, "late", "1"}).condition({XFD_COND_EQ, "kind", "A"});
    builder.under(2).field({"text", 2, 1, 16}).under(1);
    OneRecord one(builder);
    EXPECT_EQ(one.decode("A1x"), "'A', '1', 'x' kept");
    EXPECT_EQ(one.round_trip("A1x"), "A1x");
    EXPECT_EQ(one.decode("A2 "), "'A', '2', null (absent)");
    EXPECT_EQ(one.encode(one.values), "A2 ");
}

TEST(RecordConditions, ConditionsThatAreNotThereOrTestBytesOutsideTheRecordNeverHold) {
    XfdBuilder builder("t", 4);
    builder.field({"kind", 0, 1, 16});
    builder.field({"never", 1, 1, 16}).under(9);
    builder.condition({XFD_COND_EQ, "none", "A"}).condition({XFD_COND_EQ, "none", "A"});
    builder.field({"text", 2, 2, 16}).under(1);
    sql::TableLayout layout = plain_layout(builder);
    auto *dictionary = const_cast<Xfd *>(layout.dictionary.get());
    dictionary->x_condition[0].c_field_num = 2;
    dictionary->x_fdesc[2].fd_offset = 0xFFFFFFF0;
    dictionary->x_condition[1].c_field_num = 77;
    OneRecord one(layout);
    EXPECT_EQ(one.decode("Axyz"), "'A', null (absent), null (absent) kept");
    EXPECT_TRUE(one.decoded.is_untyped);
    EXPECT_EQ(one.encode({Value(), Value::text("x"), Value()}),
              "column \"never\" holds 'x', but condition 9 of the dictionary, under which it "
              "exists, does not hold for the record; it must be null");
}

// Two columns for the same bytes in one type, none in the other.
TEST(RecordConditions, OnlyTypesInWhichFieldsShareBytesNeedTheBytesKept) {
    XfdBuilder builder("t", 5);
    builder.field({"kind", 0, 1, 16});
    builder.condition({XFD_COND_EQ, "kind", "A"}).condition({XFD_COND_EQ, "kind", "B"});
    builder.field({"a", 1, 4, 16}).under(1);
    builder.field({"b", 1, 4, 1, 4}).under(2);
    builder.field({"b2", 3, 2, 16}).under(2);
    OneRecord one(builder);
    EXPECT_EQ(one.decode("Atext"), "'A', 'text', null (absent), null (absent)");
    EXPECT_EQ(one.decode("B1234"), "'B', null (absent), 1234, '34' kept");
    EXPECT_EQ(one.encode_over("B1234",
                              {Value::text("B"), Value(), Value::integer(1234), Value::text("99")}),
              "B1299");
    EXPECT_EQ(one.encode_over("B1234",
                              {Value::text("B"), Value(), Value::integer(4321), Value::text("34")}),
              "B4321");
}

TEST(RecordConditions, SeveralMayHoldAtOnce) {
    XfdBuilder builder("t", 4);
    builder.field({"kind", 0, 1, 16});
    builder.condition({XFD_COND_GE, "kind", "B"}).condition({XFD_COND_LE, "kind", "B"});
    builder.field({"high", 1, 2, 16}).under(1);
    builder.field({"low", 2, 2, 16}).under(2);
    OneRecord one(builder);
    EXPECT_EQ(one.decode("Cxy "), "'C', 'xy', null (absent)");
    EXPECT_EQ(one.decode("A yz"), "'A', null (absent), 'yz'");
    EXPECT_EQ(one.decode("Bxyz"), "'B', 'xy', 'yz' kept");
    EXPECT_EQ(one.round_trip("Bxyz"), "Bxyz");
    // A value wins over a null in bytes that they share.
    EXPECT_EQ(one.encode({Value::text("B"), Value::text("xy"), Value()}), "Bxy ");
    EXPECT_EQ(one.encode({Value::text("B"), Value(), Value::text("yz")}), "B yz");
}

TEST(RecordConditions, AnAreaThatTypesRedefineKeepsWhatARowGives) {
    XfdBuilder builder("t", 5);
    builder.field({"kind", 0, 1, 16}).field({"area", 1, 4, 16});
    builder.condition({XFD_COND_EQ, "kind", "A"});
    builder.field({"number", 1, 4, 1, 4}).under(1);
    OneRecord one(builder);
    EXPECT_EQ(one.encode({Value::text("A"), Value::text("wxyz"), Value()}), "Awxyz");
    EXPECT_EQ(one.encode({Value::text("A"), Value(), Value::integer(12)}), "A0012");
    EXPECT_EQ(one.encode({Value::text("A"), Value(), Value()}), "A0000");
}

TEST(RecordConditions, AChangedTypeBringsItsFieldsAndTakesTheOthersAway) {
    XfdBuilder builder = orders();
    OneRecord one(builder);
    const std::string head = "H0001SMITH     00042";
    one.decode(head);
    std::vector<Value> row = one.values;
    row[0] = Value::text("L");
    EXPECT_EQ(one.encode_over(head, row),
              "column \"customer\" holds 'SMITH', but condition 1 of the dictionary, under which "
              "it exists, does not hold for the record; it must be null");
    row[2] = row[3] = Value();
    row[4] = Value::text("NAILS");
    row[5] = Value::integer(7);
    EXPECT_EQ(one.encode_over(head, row), "L0001NAILS 0007     ");
    row[5] = Value();
    EXPECT_EQ(one.encode_over(head, row), "L0001NAILS 0000     ");
    row[0] = Value::text("X");
    row[4] = Value();
    EXPECT_EQ(one.encode_over(head, row), "X0001               ");
}

TEST(RecordConditions, AChangeWithinATypeLeavesOtherBytesAlone) {
    XfdBuilder builder = orders();
    OneRecord one(builder);
    const std::string line = "L    NAILS\0 100?????";
    const std::string kept(line.c_str(), 10);
    const std::string record = kept + std::string(1, '\0') + "0100?????";
    EXPECT_EQ(one.decode(record),
              "'L', null (spaces), null (absent), null (absent), 'NAILS', 100 kept");
    std::vector<Value> row = one.values;
    row[5] = Value::integer(7);
    EXPECT_EQ(one.encode_over(record, row), kept + std::string(1, '\0') + "0007?????");
}

// More types than are remembered, in changing order.
TEST(RecordConditions, ManyTypesInAnyOrder) {
    constexpr int kTypes = 26;
    XfdBuilder builder("t", 5);
    builder.field({"kind", 0, 1, 16});
    std::vector<std::string> names;
    for (int i = 0; i < kTypes; i++) {
        names.push_back(std::string(1, static_cast<char>('A' + i)));
    }
    for (int i = 0; i < kTypes; i++) {
        builder.condition({XFD_COND_EQ, "kind", names[static_cast<size_t>(i)].c_str()});
        builder.field({names[static_cast<size_t>(i)].c_str(), 1, 4,
                       static_cast<uint16_t>(i % 2 == 0 ? 16 : 1), 4});
        builder.under(static_cast<uint16_t>(i + 1));
    }
    OneRecord one(builder);
    for (int i = 0; i < 500; i++) {
        const int kind = i * 7 % kTypes;
        const std::string record = std::string(1, static_cast<char>('A' + kind)) + "0042";
        one.decode(record);
        ASSERT_TRUE(one.decoded.is_exact);
        for (int k = 0; k < kTypes; k++) {
            ASSERT_EQ(one.values[static_cast<size_t>(k) + 1].is_null(), k != kind);
        }
        ASSERT_EQ(one.encode(one.values), record);
    }
}

TEST(RecordConditions, ShortRecordsAreOfTheTypeThatBlanksBehindThemMake) {
    XfdBuilder builder("t", 8);
    builder.min_record(0);
    builder.field({"text", 0, 4, 16}).field({"kind", 4, 1, 16});
    builder.condition({XFD_COND_EQ, "kind", ""}).condition({XFD_COND_EQ, "kind", "B"});
    builder.field({"more", 5, 3, 16}).under(2);
    builder.field({"none", 6, 2, 1, 2}).under(1);
    OneRecord one(builder);
    EXPECT_EQ(one.decode("abcd"), "'abcd', null (behind end), null (absent), null (behind end)");
    EXPECT_EQ(one.encode(one.values), "abcd");
    EXPECT_EQ(one.decode("abcdBxyz"), "'abcd', 'B', 'xyz', null (absent)");
    EXPECT_EQ(one.decode(""),
              "null (behind end), null (behind end), null (absent), null (behind end)");
    for (const char *record :
         {"", "a", "abcd", "abcdB", "abcdBx", "abcdBxyz", "abcd  77", "abcd?"}) {
        EXPECT_EQ(one.round_trip(record), record);
    }
}

// The records of a file whose types are of different lengths.
TEST(RecordConditions, ATypeShorterThanTheLongestHasItsOwnLength) {
    XfdBuilder builder("t", 9);
    builder.min_record(3);
    builder.field({"kind", 0, 1, 16});
    builder.condition({XFD_COND_EQ, "kind", "A"}).condition({XFD_COND_EQ, "kind", "B"});
    builder.field({"a", 1, 4, 16}).under(1);
    builder.field({"b", 1, 8, 16}).under(2);
    OneRecord one(builder);
    EXPECT_EQ(one.decode("Awxyz"), "'A', 'wxyz', null (absent)");
    EXPECT_EQ(one.encode(one.values), "Awxyz");
    EXPECT_EQ(one.decode("Bwxyz    "), "'B', null (absent), 'wxyz'");
    EXPECT_EQ(one.encode(one.values), "Bwxyz    ");
    EXPECT_EQ(one.decode("Awxyz    "), "'A', 'wxyz', null (absent) kept");
    EXPECT_EQ(one.round_trip("Awxyz    "), "Awxyz    ");
}

TEST(RecordConditions, KeysWithAFieldThatDoesNotExistAreIrregular) {
    XfdBuilder builder = orders();
    sql::TableLayout layout = plain_layout(builder);
    sql::Key key;
    key.segments = {{5, 6}};
    key.columns = {4};
    layout.keys = {key};
    OneRecord one(layout);
    one.decode("L0001NAILS 0100     ");
    EXPECT_EQ(one.decoded.irregular_keys, 0U);
    one.decode("H0001SMITH     00042");
    EXPECT_EQ(one.decoded.irregular_keys, 1U);
}

}  // namespace
