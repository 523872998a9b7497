// SPDX-License-Identifier: MIT
//
// Records whose parts are in tables of their own: loaded, changed by SQL, and
// read back.
#include "sql/child_rows.h"

#include "sql/child_table_maker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>

#include "host/config.h"
#include "tests/sql/sql_fixture.h"
#include "wbfsi/lifecycle.h"

namespace {

using namespace sql_test;
using namespace std::string_literals;
using Rows = std::vector<std::string>;

class ChildRows : public TableTest {};

void in_table(XfdField &field, const char *table, std::initializer_list<uint16_t> subscripts) {
    std::strncpy(field.fd_subtable, table, sizeof field.fd_subtable - 1);
    field.fd_occurs_depth = static_cast<uint8_t>(subscripts.size());
    std::ranges::copy(subscripts, field.fd_occurs_index);
}

// 01 NUMBER 9(4), NAME X(4); 08 LINE OCCURS 3 in "lines": ITEM X(3), QTY 9(2), and in it
// PART OCCURS 2 in "parts": CODE X(2); 35 NOTE X(5) in the secondary table.
constexpr uint32_t kOrderSize = 40;

XfdBuilder orders(uint16_t file_type = XFD_INDEXED) {
    XfdBuilder builder("orders", kOrderSize, file_type);
    builder.fields({{"number", 0, 4, 1, 4}, {"name", 4, 4, 16}});
    for (uint16_t line = 1; line <= 3; line++) {
        const uint32_t at = 8 + 9U * (line - 1U);
        in_table(builder.field({"item", at, 3, 16}).last_field(), "lines", {line});
        in_table(builder.field({"qty", at + 3, 2, 1, 2}).last_field(), "lines", {line});
        for (uint16_t part = 1; part <= 2; part++) {
            const uint32_t code = at + 5 + 2U * (part - 1U);
            in_table(builder.field({"code", code, 2, 16}).last_field(), "parts", {line, part});
        }
    }
    builder.field({"note", 35, 5, 16});
    builder.last_field().fd_flags = XFD_FIELD_IN_SECONDARY_TABLE;
    if (file_type == XFD_INDEXED) {
        builder.key({false, {{0, 4}}});
    }
    return builder;
}

// A line without contents.
const char *const kNoLine = "   00    ";

std::string order(const std::string &number, const std::string &name, const std::string &lines,
                  const std::string &note = "") {
    std::string record = number + name;
    record.resize(8, ' ');
    record += lines;
    record.resize(35, ' ');
    record += note;
    record.resize(kOrderSize, ' ');
    return record;
}

TEST_F(ChildRows, OccurrencesBecomeRowsOfTheirTablesAndComeBack) {
    for (const uint16_t type : {XFD_INDEXED, XFD_RELATIVE, XFD_SEQUENTIAL, XFD_LINE_SEQUENTIAL}) {
        SCOPED_TRACE(type);
        SetUp();
        XfdBuilder builder = orders(type);
        const sql::TableLayout layout = layout_of(builder);
        const Records records{order("0001", "ADA", "PEN12AABBINK03CCDDBOX99EEFF", "first"),
                              order("0002", "BOB", "PEN01AA"), order("0003", "CY", "")};
        must_load(layout, records);
        const std::string number = type == XFD_INDEXED ? "row_number" : "record_number";
        run(std::string("CREATE TEMP VIEW l AS SELECT *, ").append(number).append(" n FROM lines"));
        run(std::string("CREATE TEMP VIEW p AS SELECT *, ").append(number).append(" n FROM parts"));
        EXPECT_EQ(query("SELECT n || '/' || occurrence_1 || '/' || item || '/' || qty FROM l "
                        "WHERE item <> ''"),
                  (Rows{"'1/1/PEN/12'", "'1/2/INK/3'", "'1/3/BOX/99'", "'2/1/PEN/1'"}));
        EXPECT_EQ(query("SELECT group_concat(occurrence_1 || occurrence_2 || code) FROM p "
                        "WHERE n = 1"),
                  (Rows{"'11AA,12BB,21CC,22DD,31EE,32FF'"}));
        EXPECT_EQ(query("SELECT note FROM orders_secondary WHERE note <> ''"), (Rows{"'first'"}));
        EXPECT_EQ(unload(layout), records);
    }
}

Records random_orders(std::mt19937 *random, bool is_variable) {
    Records records;
    const std::string usual = "0123456789AB  ";
    for (int i = 0; i < 500; i++) {
        std::string record(is_variable ? 2 + (*random)() % 39 : kOrderSize, ' ');
        const bool is_wild = (*random)() % 2 == 0;
        const size_t end = (*random)() % (record.size() + 1);
        for (size_t at = 0; at < end; at++) {
            record[at] =
                is_wild ? static_cast<char>((*random)()) : usual[(*random)() % usual.size()];
        }
        records.push_back(record);
    }
    return records;
}

TEST_F(ChildRows, AnyBytesComeBackUnderEachSettingForIllegalData) {
    std::mt19937 random(7);
    Z4Init();
    for (const char *setting : {"UNCHANGED", "CONVERTED", "KEY_MOD", "PASS_THROUGH"}) {
        for (const bool is_variable : {false, true}) {
            SCOPED_TRACE(std::string(setting).append(is_variable ? ", variable" : ""));
            SetUp();
            ASSERT_NE(ZCSetValueString("4GL_ILLEGAL_DATA", setting), 0);
            XfdBuilder builder = orders(XFD_SEQUENTIAL);
            builder.min_record(is_variable ? 2 : kOrderSize);
            const sql::TableLayout layout = layout_of(builder);
            const Records records = random_orders(&random, is_variable);
            must_load(layout, records);
            EXPECT_EQ(unload(layout), records);
            // No row that a blank record has is missed.
            run("INSERT INTO orders (number, name) VALUES (7, 'new')");
            EXPECT_EQ(unload(layout).back().substr(0, 7), "0007new");
        }
    }
    ZCSetValueString("4GL_ILLEGAL_DATA", "UNCHANGED");
    Z4Exit();
}

TEST_F(ChildRows, RowsChangedBySqlChangeTheRecord) {
    XfdBuilder builder = orders();
    const sql::TableLayout layout = layout_of(builder);
    const std::string lines = "PEN12AABBINK03CCDDBOX99EEFF";
    must_load(layout, {order("0001", "ADA", lines, "first"), order("0002", "BOB\1", lines)});
    run("UPDATE lines SET item = 'CUP', qty = 7 WHERE occurrence_1 = 2");
    run("DELETE FROM lines WHERE occurrence_1 = 3");
    run("DELETE FROM orders_secondary");
    run("UPDATE parts SET code = 'ZZ' WHERE occurrence_1 = 3 AND occurrence_2 = 1");
    const std::string changed = "PEN12AABBCUP07CCDD   00ZZFF";
    EXPECT_EQ(unload(layout),
              (Records{order("0001", "ADA", changed), order("0002", "BOB\1", changed)}));
    run("INSERT INTO lines VALUES (2, 3, 'NEW', 5)");
    run("INSERT INTO orders (number, name) VALUES (3, 'CY')");
    run("INSERT INTO parts SELECT row_number, 1, 2, 'QQ' FROM orders WHERE number = 3");
    run("DELETE FROM orders WHERE number = 1");
    EXPECT_EQ(unload(layout), (Records{order("0002", "BOB\1", "PEN12AABBCUP07CCDDNEW05ZZFF"),
                                       order("0003", "CY", "   00  QQ   00       00    ")}));
    EXPECT_EQ(query("SELECT count(*) FROM lines WHERE row_number = 1"), (Rows{"0"}));
}

TEST_F(ChildRows, RowsFollowTheNumberOfTheirRecord) {
    XfdBuilder builder = orders(XFD_RELATIVE);
    const sql::TableLayout layout = layout_of(builder);
    must_load(layout, {order("0001", "ADA", "PEN12AABB"), order("0002", "BOB", "CUP34CCDD")});
    run("PRAGMA foreign_keys = ON");
    run("UPDATE orders SET record_number = 9 WHERE record_number = 1");
    EXPECT_EQ(unload(layout),
              (Records{order("0002", "BOB", "CUP34CCDD"), order("0001", "ADA", "PEN12AABB")}));
    run("DELETE FROM orders WHERE record_number = 2");
    EXPECT_EQ(query("SELECT DISTINCT record_number FROM parts"), (Rows{"9"}));
}

TEST_F(ChildRows, NumbersStayThroughDeletionsAndAVacuum) {
    XfdBuilder builder = orders();
    const sql::TableLayout layout = layout_of(builder);
    Records records;
    for (int i = 0; i < 100; i++) {
        records.push_back(order(std::to_string(1000 + i), "N", std::to_string(100 + i)));
    }
    must_load(layout, records);
    run("DELETE FROM orders WHERE number BETWEEN 1010 AND 1049");
    run("VACUUM");
    records.erase(records.begin() + 10, records.begin() + 50);
    EXPECT_EQ(unload(layout), records);
}

TEST_F(ChildRows, RowsThatTheDictionaryDoesNotHaveAreTold) {
    struct Row {
        const char *sql;
        const char *expected;
    };
    const Row rows[] = {
        {"INSERT INTO lines VALUES (1, 4, 'X', 1)",
         "record 1: table \"lines\" has the row (4), which the dictionary does not have"},
        {"INSERT INTO lines VALUES (1, 65537, 'X', 1)",
         "record 1: table \"lines\" has the row (65537), which the dictionary does not have"},
        {"INSERT INTO lines VALUES (1, 'a', 'X', 1)",
         "record 1: table \"lines\" has the row (?), which the dictionary does not have"},
        {"INSERT INTO parts VALUES (1, 2, 3, 'X')",
         "record 1: table \"parts\" has the row (2,3), which the dictionary does not have"},
        {"UPDATE lines SET item = 'TOO LONG' WHERE record_number = 1 AND occurrence_1 = 1",
         "record 1: column \"item(1)\" holds 'TOO LONG', which does not fit its field (3 bytes)"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.sql);
        SetUp();
        XfdBuilder builder = orders(XFD_SEQUENTIAL);
        const sql::TableLayout layout = layout_of(builder);
        must_load(layout, {order("0001", "ADA", "PEN12AABBPEN12AABB"), order("0002", "BOB", "")});
        run(row.sql);
        std::unique_ptr<sql::TableReader> reader;
        const sql::Status opened =
            sql::TableReader::open(*db_, layout, sql::default_order(layout), &reader);
        ASSERT_TRUE(opened.ok()) << opened.text();
        sql::RecordView record;
        bool found = false;
        const sql::Status status = reader->next(&record, &found);
        EXPECT_EQ(status.kind(), sql::ErrorKind::kBadRecord);
        EXPECT_EQ(status.text(), row.expected);
        const sql::Status next = reader->next(&record, &found);
        ASSERT_TRUE(next.ok() && found) << next.text();
        EXPECT_EQ(as_string(record.bytes), order("0002", "BOB", ""));
    }
}

TEST_F(ChildRows, RejectedRecordsHaveNone) {
    for (const bool keep_exact : {true, false}) {
        SCOPED_TRACE(keep_exact);
        SetUp();
        XfdBuilder builder = orders();
        builder.key({false, {{4, 4}}});
        const sql::TableLayout layout = layout_of(builder, {.keep_exact = keep_exact});
        Records records;
        for (int i = 0; i < 100; i++) {
            const std::string n = std::to_string(1000 + i);
            records.push_back(order(n, n, n + "9BBCC" + kNoLine + kNoLine, n));
        }
        records[40] =
            order("1010", "DUP", "PEN12AABB   00       00    ", "x");  // of the first key, at once
        records[41] = order("1041", "1011", "PEN12AABB   00       00    ",
                            "y");  // of the other one, at the end
        std::vector<std::string> rejected;
        sql::LoadOptions options;
        options.on_reject = [&](const sql::Rejection &r) {
            EXPECT_EQ(as_string(r.record), records[static_cast<size_t>(r.record_number - 1)]);
            rejected.push_back(std::to_string(r.record_number));
            return sql::Status();
        };
        const sql::Status status = load(layout, records, options);
        ASSERT_TRUE(status.ok()) << status.text();
        EXPECT_EQ(rejected, (Rows{"41", "42"}));
        EXPECT_EQ(query("SELECT count(*) FROM lines WHERE item = 'PEN'"), (Rows{"0"}));
        EXPECT_EQ(query("SELECT count(*) FROM parts WHERE row_number IN (41, 42)"), (Rows{"0"}));
        EXPECT_EQ(query("SELECT count(*) FROM orders_secondary"), (Rows{"98"}));
        records.erase(records.begin() + 40, records.begin() + 42);
        EXPECT_EQ(unload(layout), records);
    }
}

TEST_F(ChildRows, TablesThatAreThereStayUnlessTheyAreReplaced) {
    for (const char *name : {"lines", "parts", "ORDERS_SECONDARY", "orders"}) {
        SCOPED_TRACE(name);
        SetUp();
        XfdBuilder builder = orders();
        const sql::TableLayout layout = layout_of(builder);
        run(std::string("CREATE TABLE ").append(name).append(" (a)"));
        const sql::Status status = load(layout, {});
        EXPECT_EQ(status.kind(), sql::ErrorKind::kTableExists);
        EXPECT_EQ(sql::folded(status.text()),
                  std::string("there is a table ").append(sql::folded(name)).append(" already"));
        EXPECT_EQ(query("SELECT count(*) FROM sqlite_schema"), (Rows{"1"}));
        const Records records{order("0001", "ADA", "PEN12AABB   00       00    ")};
        ASSERT_TRUE(load(layout, records, {.replace = true, .on_reject = {}}).ok());
        ASSERT_TRUE(load(layout, records, {.replace = true, .on_reject = {}}).ok());
        EXPECT_EQ(unload(layout), records);
        EXPECT_EQ(query("SELECT count(*) FROM lines"), (Rows{"1"}));
    }
}

TEST_F(ChildRows, AKeyOverAChildTableStandsOnItsBytes) {
    XfdBuilder builder = orders();
    builder.key({true, {{8, 3}}});
    const sql::TableLayout layout = layout_of(builder);
    EXPECT_TRUE(layout.keys[1].columns.empty());
    const Records records{order("0001", "ADA", "PEN12"), order("0002", "BOB", "CUP34"),
                          order("0003", "CY", "")};
    must_load(layout, records);
    EXPECT_EQ(unload(layout, 1), (Records{records[2], records[1], records[0]}));
    run("UPDATE lines SET item = 'ANY' WHERE row_number = 1 AND occurrence_1 = 1");
    run("DELETE FROM lines WHERE row_number = 2");
    run("INSERT INTO lines VALUES (3, 1, 'BEE', 5) "
        "ON CONFLICT DO UPDATE SET item = excluded.item, qty = excluded.qty");
    EXPECT_EQ(unload(layout, 1),
              (Records{order("0002", "BOB", "   00       00       00"),
                       order("0001", "ADA", "ANY12"), order("0003", "CY", "BEE05")}));
}

TEST_F(ChildRows, KeyBytesGoOnlyWithWhatChangesTheRecord) {
    XfdBuilder builder = orders();
    builder.key({true, {{8, 3}}});
    const sql::TableLayout layout = layout_of(builder);
    const Records records{order("0001", "ADA", "PEN12"),
                          order("0002", "BOB", "CUP34       00       00")};
    const std::string kept = "SELECT hex(key_2_bytes) FROM orders ORDER BY row_number";
    struct Row {
        const char *statement;
        Rows keys;
    };
    const Row rows[] = {
        {"UPDATE lines SET item = item, row_number = row_number", {"'50454E'", "'435550'"}},
        {"UPDATE lines SET item = 'ANY' WHERE item = 'PEN'", {"''", "'435550'"}},
        {"UPDATE lines SET row_number = 2, occurrence_1 = 2 WHERE item = 'PEN'", {"''", "''"}},
        {"DELETE FROM lines WHERE item = 'CUP'", {"'50454E'", "''"}},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.statement);
        ASSERT_TRUE(load(layout, records, {.replace = true, .on_reject = {}}).ok());
        run(row.statement);
        EXPECT_EQ(query(kept), row.keys);
    }
}

TEST_F(ChildRows, NamesThatLookLikeSqlAreNames) {
    XfdBuilder builder("x\"; DROP TABLE t; --", 12);
    builder.field({"select", 0, 4, 16});
    builder.last_field().fd_flags = XFD_FIELD_READ_ONLY;
    in_table(builder.field({"a\"b'c", 4, 4, 16}).last_field(), "t\"'); --", {1});
    builder.last_field().fd_flags = XFD_FIELD_READ_ONLY | XFD_FIELD_HIDDEN;
    in_table(builder.field({"occurrence_1", 8, 2, 16}).last_field(), "t\"'); --", {1});
    builder.field({"Row_Number", 10, 2, 16});
    builder.last_field().fd_flags = XFD_FIELD_IN_SECONDARY_TABLE;
    builder.key({false, {{0, 4}}}).key({true, {{2, 4}}});
    const sql::TableLayout layout = layout_of(builder);
    const Records records{"AAAABBBBCCDD", "BBBB');-'\"xx"};
    must_load(layout, records);
    EXPECT_EQ(unload(layout), records);
    EXPECT_EQ(layout.children[0].subscript_columns, (Rows{"occurrence_1_2"}));
    EXPECT_EQ(layout.children[1].number_column, "row_number_2");
    EXPECT_FALSE(db_->execute("UPDATE \"t\"\"'); --\" SET \"a\"\"b'c\" = 'x'").ok());
}

}  // namespace
