// SPDX-License-Identifier: MIT
#include "sql/table_match.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "host/charset.h"
#include "host/config.h"
#include "host/memory.h"
#include "host/messages.h"
#include "tests/sql/sql_fixture.h"
#include "wbfsi/lifecycle.h"

namespace {

using namespace sql_test;

std::string numbered(const char *text, uint32_t n) {
    return std::string(text).append(std::to_string(n));
}

std::string joined(const std::vector<std::string> &names) {
    std::string text;
    for (const std::string &name : names) {
        text.append(text.empty() ? "" : ", ").append(name);
    }
    return text;
}

class TableMatch : public TableTest {
 protected:
    void SetUp() override {
        Z4Init();
        code_page_ = ZGetCOBOLCharSet();
        TableTest::SetUp();
    }
    void TearDown() override {
        f_trace = 0;
        ZSetCOBOLCharSet(code_page_);
        ZCSetValueString("4GL_EXTRA_DB_COLS_OK", nullptr);
        Z4Exit();
    }

    sql::TableMatch match(const sql::TableLayout &layout) {
        sql::TableMatch result;
        const sql::Status status = sql::match_table(*db_, layout, &result);
        EXPECT_TRUE(status.ok()) << status.text();
        return result;
    }
    // The problems, a line each.
    std::string problems(const sql::TableLayout &layout) {
        std::string text;
        for (const std::string &problem : match(layout).problems) {
            text += problem + "\n";
        }
        return text;
    }
    // Makes the table by the statements that a load runs.
    void make_table(const sql::TableLayout &layout) {
        run(sql::ddl_script(layout, db_->dialect()));
    }

    int code_page_ = 0;
};

// Keys over ID (primary), NAME and CITY (unique, two columns), CITY (duplicates),
// and a signed decimal, which stands on key bytes.
XfdBuilder customers() {
    XfdBuilder builder("customers", 40);
    builder.fields({{"ID", 0, 4, 1, 4},
                    {"NAME", 4, 10, 16},
                    {"CITY", 14, 10, 16},
                    {"BALANCE", 24, 6, 3, 6, -2},
                    {"NOTE", 30, 10, 16}});
    builder.key({false, {{0, 4}}})
        .key({false, {{4, 20}}})
        .key({true, {{14, 10}}})
        .key({true, {{24, 6}}});
    return builder;
}

constexpr const char *kColumns =
    "ID INT, NAME TEXT, CITY TEXT, BALANCE TEXT, NOTE TEXT, key_1_bytes BLOB, key_2_bytes BLOB, "
    "key_3_bytes BLOB, key_4_bytes BLOB, exact_record BLOB";
constexpr const char *kBytesIndexes =
    "CREATE UNIQUE INDEX b1 ON customers (key_1_bytes);"
    "CREATE UNIQUE INDEX b2 ON customers (key_2_bytes) WHERE key_2_bytes IS NOT NULL;"
    "CREATE INDEX b3 ON customers (key_3_bytes);"
    "CREATE INDEX b4 ON customers (key_4_bytes);";

TEST_F(TableMatch, ATableThatLoadMadeMatches) {
    XfdBuilder builder = customers();
    const sql::TableLayout layout = layout_of(builder);
    must_load(layout, {});
    const sql::TableMatch result = match(layout);
    EXPECT_EQ(result.problems, std::vector<std::string>());
    EXPECT_TRUE(result.has_exact);
    std::string columns;
    for (const sql::TableMatch::ColumnRow &row : result.columns) {
        columns += row.table + "." + row.column + "=" + row.field + "/" + row.note + "\n";
    }
    EXPECT_EQ(columns,
              "customers.ID=ID/\ncustomers.NAME=NAME/\ncustomers.CITY=CITY/\n"
              "customers.BALANCE=BALANCE/\ncustomers.NOTE=NOTE/\n"
              "customers.key_1_bytes=/bytes of key 1\ncustomers.key_2_bytes=/bytes of key 2\n"
              "customers.key_3_bytes=/bytes of key 3\ncustomers.key_4_bytes=/bytes of key 4\n"
              "customers.exact_record=/exact record\n");
    std::string keys;
    for (const sql::TableMatch::KeyRow &row : result.keys) {
        keys += row.what + " " + joined(row.columns) + ": " + row.index + "\n";
    }
    EXPECT_EQ(keys,
              "key 1 ID: sqlite_autoindex_customers_1\n"
              "key 1, other rows key_1_bytes: customers_key_1_bytes\n"
              "key 2 NAME, CITY: customers_key_2\n"
              "key 2, other rows key_2_bytes: customers_key_2_bytes\n"
              "key 3 CITY: customers_key_3\n"
              "key 3, other rows key_3_bytes: customers_key_3_bytes\n"
              "key 4 key_4_bytes: customers_key_4\n");
    EXPECT_TRUE(sql::mismatch_of(layout, result).ok());
}

TEST_F(TableMatch, ATableOfAnotherOrderCaseAndMakeMatches) {
    XfdBuilder builder = customers();
    const sql::TableLayout layout = layout_of(builder);
    run("CREATE TABLE Customers (note, key_4_bytes, key_3_bytes, key_2_bytes, key_1_bytes, "
        "balance DECIMAL, city, Name, iD INTEGER PRIMARY KEY);"
        "CREATE UNIQUE INDEX x ON customers (NAME, CITY); CREATE INDEX y ON customers (city);" +
        std::string(kBytesIndexes));
    const sql::TableMatch result = match(layout);
    EXPECT_EQ(result.problems, std::vector<std::string>());
    EXPECT_FALSE(result.has_exact);
    EXPECT_EQ(result.columns[0].column, "iD");
    EXPECT_EQ(result.keys[0].index, "PRIMARY KEY");
    EXPECT_EQ(result.keys[2].index, "x");
}

TEST_F(TableMatch, TablesThatAreNotThereAreAnError) {
    XfdBuilder builder = customers();
    const sql::TableLayout layout = layout_of(builder);
    sql::TableMatch result;
    const sql::Status status = sql::match_table(*db_, layout, &result);
    EXPECT_EQ(status.kind(), sql::ErrorKind::kNoSuchTable);
    EXPECT_EQ(status.text(), "the database has no table \"customers\"");
}

TEST_F(TableMatch, ColumnsThatDifferAreProblems) {
    struct Row {
        const char *name;
        const char *change;
        bool takes_extra;
        const char *problems;
    };
    const Row rows[] = {
        {"missing", "ALTER TABLE customers DROP COLUMN NOTE", true, "it has no column \"NOTE\"\n"},
        {"renamed", "ALTER TABLE customers RENAME COLUMN NOTE TO REMARK", true,
         "it has no column \"NOTE\"\n"},
        {"renamed, and no extra ones", "ALTER TABLE customers RENAME COLUMN NOTE TO REMARK", false,
         "it has no column \"NOTE\"\nit has a column \"REMARK\" that no field stands for, and "
         "4GL_EXTRA_DB_COLS_OK is off\n"},
        {"an extra one", "ALTER TABLE customers ADD COLUMN \"a;\"\"b\"", true, ""},
        {"an extra one that is not taken", "ALTER TABLE customers ADD COLUMN \"a;\"\"b\"", false,
         "it has a column \"a;\"\"b\" that no field stands for, and 4GL_EXTRA_DB_COLS_OK is "
         "off\n"},
        {"none extra", "SELECT 1", false, ""},
        {"a generated one in its place",
         "ALTER TABLE customers DROP COLUMN NOTE; ALTER TABLE customers ADD COLUMN note AS "
         "(upper(NAME))",
         false, ""},
        {"other spelling of a field", "ALTER TABLE customers RENAME COLUMN NOTE TO \"NOTE \"", true,
         "it has no column \"NOTE\"\n"},
        {"no exact records", "ALTER TABLE customers DROP COLUMN exact_record", false, ""},
        {"key bytes missing",
         "DROP INDEX customers_key_4; DROP TRIGGER customers_key_4_changed; ALTER TABLE customers "
         "DROP COLUMN key_4_bytes",
         true, "it has no column \"key_4_bytes\" (bytes of key 4)\n"},
    };
    XfdBuilder builder = customers();
    const sql::TableLayout layout = layout_of(builder);
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        TableTest::SetUp();
        make_table(layout);
        run(row.change);
        ZCSetValueString("4GL_EXTRA_DB_COLS_OK", row.takes_extra ? "1" : "0");
        EXPECT_EQ(problems(layout), row.problems);
    }
}

TEST_F(TableMatch, KeysWithoutTheirIndexAreProblems) {
    const std::string make_key_2 =
        "CREATE UNIQUE INDEX \"customers_key_2\" ON \"customers\" (\"NAME\", \"CITY\") would make "
        "it\n";
    const std::string key_2 = "key 2 (\"NAME\", \"CITY\"): ";
    struct Row {
        const char *name;
        const char *indexes;
        std::string problems;
    };
    const char *const kRight = "CREATE UNIQUE INDEX i ON customers (NAME, CITY)";
    const Row rows[] = {
        {"right", kRight, ""},
        {"none", "", key_2 + "there is no index on them; " + make_key_2},
        {"another order", "CREATE UNIQUE INDEX i ON customers (CITY, NAME)",
         key_2 + "index \"i\" has them in another order; " + make_key_2},
        {"more columns", "CREATE UNIQUE INDEX i ON customers (NAME, CITY, NOTE)",
         key_2 + "index \"i\" has more columns; " + make_key_2},
        {"fewer columns", "CREATE UNIQUE INDEX i ON customers (NAME)",
         key_2 + "index \"i\" has only the first 1 of them; " + make_key_2},
        {"not unique", "CREATE INDEX i ON customers (NAME, CITY)",
         key_2 + "index \"i\" is not unique; " + make_key_2},
        {"partial", "CREATE UNIQUE INDEX i ON customers (NAME, CITY) WHERE NOTE <> ''",
         key_2 + "index \"i\" has only a part of the rows; " + make_key_2},
        {"without case", "CREATE UNIQUE INDEX i ON customers (NAME COLLATE NOCASE, CITY)",
         key_2 + "index \"i\" does not ascend by the bytes of its values; " + make_key_2},
        {"descending", "CREATE UNIQUE INDEX i ON customers (NAME, CITY DESC)",
         key_2 + "index \"i\" does not ascend by the bytes of its values; " + make_key_2},
        {"of an expression", "CREATE UNIQUE INDEX i ON customers (NAME, lower(CITY))",
         key_2 + "there is no index on them; " + make_key_2},
        {"of its name", "CREATE INDEX Customers_Key_2 ON customers (NAME)",
         key_2 +
             "index \"Customers_Key_2\" has only the first 1 of them; DROP INDEX "
             "\"Customers_Key_2\"; " +
             make_key_2},
        {"wrong ones beside the right one",
         "CREATE INDEX a ON customers (NAME, CITY); CREATE UNIQUE INDEX b ON customers (CITY, "
         "NAME); CREATE UNIQUE INDEX i ON customers (NAME, CITY); CREATE INDEX c ON customers "
         "(NAME, CITY)",
         ""},
    };
    XfdBuilder builder = customers();
    const sql::TableLayout layout = layout_of(builder);
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        TableTest::SetUp();
        run(std::string("CREATE TABLE customers (") + kColumns + ", PRIMARY KEY (ID));" +
            kBytesIndexes + "CREATE INDEX k3 ON customers (CITY)");
        run(row.indexes);
        EXPECT_EQ(problems(layout), row.problems);
    }
}

TEST_F(TableMatch, UniquenessAgreesWithDuplicates) {
    XfdBuilder builder = customers();
    const sql::TableLayout layout = layout_of(builder);
    run(std::string("CREATE TABLE customers (") + kColumns +
        ");"
        "CREATE UNIQUE INDEX b1 ON customers (key_1_bytes);"
        "CREATE INDEX b2 ON customers (key_2_bytes);"
        "CREATE INDEX b3 ON customers (key_3_bytes);"
        "CREATE UNIQUE INDEX b4 ON customers (key_4_bytes);"
        "CREATE INDEX k1 ON customers (ID);"
        "CREATE UNIQUE INDEX k2 ON customers (NAME, CITY);"
        "CREATE UNIQUE INDEX k3 ON customers (CITY)");
    EXPECT_EQ(
        problems(layout),
        "key 1 (\"ID\"): index \"k1\" is not unique; CREATE UNIQUE INDEX "
        "\"customers_key_1\" ON \"customers\" (\"ID\") would make it\n"
        "key 2, other rows (\"key_2_bytes\"): index \"b2\" is not unique; CREATE UNIQUE INDEX "
        "\"customers_key_2_bytes\" ON \"customers\" (\"key_2_bytes\") WHERE \"key_2_bytes\" "
        "IS NOT NULL would make it\n"
        "key 3 (\"CITY\"): index \"k3\" is unique, but the key allows duplicates; CREATE "
        "INDEX \"customers_key_3\" ON \"customers\" (\"CITY\") would make it\n"
        "key 4 (\"key_4_bytes\"): index \"b4\" is unique, but the key allows duplicates; "
        "CREATE INDEX \"customers_key_4\" ON \"customers\" (\"key_4_bytes\") would make "
        "it\n");
}

// What a problem advises makes the problem go.
TEST_F(TableMatch, TheStatementsOfTheProblemsMakeTheTableRight) {
    XfdBuilder builder = customers();
    const sql::TableLayout layout = layout_of(builder);
    run(std::string("CREATE TABLE customers (") + kColumns +
        ");CREATE INDEX customers_key_1 ON customers (NOTE);"
        "CREATE INDEX customers_key_3_bytes ON customers (NOTE)");
    const std::vector<std::string> found = match(layout).problems;
    EXPECT_EQ(found.size(), 7U);
    for (const std::string &problem : found) {
        const size_t from = problem.find("; ") + 2;
        run(problem.substr(from, problem.rfind(" would make it") - from));
    }
    EXPECT_EQ(problems(layout), "");
}

TEST_F(TableMatch, RecordNumbersNeedTheirKey) {
    for (const uint16_t file_type : {XFD_SEQUENTIAL, XFD_LINE_SEQUENTIAL, XFD_RELATIVE}) {
        SCOPED_TRACE(file_type);
        TableTest::SetUp();
        XfdBuilder builder("t", 4, file_type);
        builder.field({"a", 0, 4, 16});
        const sql::TableLayout layout = layout_of(builder);
        must_load(layout, {});
        const sql::TableMatch result = match(layout);
        EXPECT_EQ(result.problems, std::vector<std::string>());
        ASSERT_EQ(result.keys.size(), 1U);
        EXPECT_EQ(result.keys[0].key, sql::TableLayout::kNone);
        EXPECT_EQ(result.keys[0].index, "PRIMARY KEY");
        run("DROP TABLE t; CREATE TABLE t (a, record_number)");
        EXPECT_EQ(problems(layout),
                  "record number (\"record_number\"): there is no index on it; CREATE UNIQUE "
                  "INDEX \"t_number\" ON \"t\" (\"record_number\") would make it\n");
        run("CREATE UNIQUE INDEX n ON t (record_number)");
        EXPECT_EQ(problems(layout), "");
        run("DROP TABLE t; CREATE TABLE t (a)");
        EXPECT_EQ(problems(layout), "it has no column \"record_number\" (record number)\n");
    }
}

TEST_F(TableMatch, TheRecordNumberStandsForTheKeyFieldThatALoaderAdds) {
    XfdBuilder builder("t", 8, XFD_RELATIVE);
    builder.fields({{"a", 0, 4, 16}, {"Z4GLIdentity", 4, 4, 12, 9}});
    builder.last_field().fd_level = 999;
    builder.key({false, {{4, 4}}});
    const sql::TableLayout layout = layout_of(builder);
    ASSERT_TRUE(layout.keys.empty());
    must_load(layout, {"aaaa"});
    for (const char *extra : {"1", "0"}) {
        ZCSetValueString("4GL_EXTRA_DB_COLS_OK", extra);
        const sql::TableMatch result = match(layout);
        EXPECT_EQ(result.problems, std::vector<std::string>());
        ASSERT_EQ(result.keys.size(), 1U);
        EXPECT_EQ(result.keys[0].index, "PRIMARY KEY");
    }
}

TEST_F(TableMatch, NamesAreMatchedWhateverIsInThem) {
    const char *const names[] = {
        "a\"b",
        "A-B",
        "a_b",
        "x'; DROP TABLE t; --",
        "%s%n",
        "SELECT",
        "abcdefghijklmnopqrstuvwxyz1234",  // 30 characters
        "gr\xFC\xDF",                      // in ISO 8859-1
        "rowid",
    };
    for (const int code_page : {28591, 65001, 437}) {
        SCOPED_TRACE(code_page);
        TableTest::SetUp();
        ZSetCOBOLCharSet(code_page);
        XfdBuilder builder("t\"; DROP", 40);
        uint32_t offset = 0;
        for (const char *name : names) {
            builder.field({name, offset, 4, 16});
            builder.key({false, {{offset, 4}}});
            offset += 4;
        }
        const sql::TableLayout layout = layout_of(builder);
        must_load(layout, {});
        ZCSetValueString("4GL_EXTRA_DB_COLS_OK", "0");
        const sql::TableMatch result = match(layout);
        EXPECT_EQ(result.problems, std::vector<std::string>());
        for (size_t i = 0; i < std::size(names); i++) {
            EXPECT_EQ(result.columns[i].column, layout.columns[i].name);
            EXPECT_EQ(result.columns[i].field, layout.fields[i].name);
        }
    }
}

// A longer name, one that the program's character set cannot write, and one that
// only the library holds for the same.
TEST_F(TableMatch, NamesThatAreAlmostAFieldsAreNot) {
    const char *const kNames[] = {"abcdefghijklmnopqrstuvwxyz12345",
                                  "abcdefghijklmnopqrstuvwxyz",
                                  "abcdefghijklmnopqrstuvwxyz1234567890123456789",
                                  "caf\xE4\xB8\x80",
                                  "cust_no",
                                  "gr\xC3\xBC\xC3\x9F?"};
    XfdBuilder builder("t", 20, XFD_SEQUENTIAL);
    builder.fields({{"abcdefghijklmnopqrstuvwxyz1234", 0, 4, 16},
                    {"caf?", 4, 4, 16},
                    {"CUST-NO", 8, 4, 16},
                    {"gr\xFC\xDF", 12, 4, 16}});
    ZSetCOBOLCharSet(28591);
    const sql::TableLayout layout = layout_of(builder);
    std::string columns = "record_number INTEGER PRIMARY KEY";
    for (const char *name : kNames) {
        columns += ", " + sql::Dialect::quote(name);
    }
    run("CREATE TABLE t (" + columns + ")");
    EXPECT_EQ(problems(layout),
              "it has no column \"abcdefghijklmnopqrstuvwxyz1234\"\nit has no column \"caf?\"\n"
              "it has no column \"CUST-NO\"\nit has no column \"gr\xC3\xBC\xC3\x9F\"\n");
    const sql::TableMatch result = match(layout);
    for (const sql::TableMatch::ColumnRow &row : result.columns) {
        EXPECT_TRUE(row.field.empty() || row.column.empty()) << row.field << " " << row.column;
    }
}

TEST_F(TableMatch, ThousandsOfColumnsMatch) {
    XfdBuilder builder("t", 1990);
    for (uint32_t i = 0; i < 1990; i++) {
        builder.field({(numbered("f", i)).c_str(), i, 1, 16});
    }
    builder.key({false, {{0, 20}}}).key({false, {{100, 16}}}).key({true, {{0, 18}}});
    const sql::TableLayout layout = layout_of(builder);
    ASSERT_EQ(layout.keys[0].columns.size(), 20U);
    must_load(layout, {});
    EXPECT_EQ(problems(layout), "");
    run("DROP INDEX t_key_3; CREATE INDEX t_key_3 ON t (" + [] {
        std::string columns = "f0";
        for (uint32_t i = 1; i < 17; i++) {
            columns += numbered(", f", i);
        }
        return columns + ", f18)";
    }());
    EXPECT_NE(problems(layout).find("key 3 ("), std::string::npos);
    run("ALTER TABLE t DROP COLUMN f1989");
    const sql::Status status = sql::mismatch_of(layout, match(layout));
    EXPECT_EQ(status.kind(), sql::ErrorKind::kMismatch);
    EXPECT_TRUE(status.text().starts_with(
        "the table \"t\" cannot be read with this dictionary: it has no column \"f1989\"; key 3 ("))
        << status.text();
}

TEST_F(TableMatch, AMessageNamesTheFirstProblemsAndCountsTheRest) {
    XfdBuilder builder("t", 100, XFD_SEQUENTIAL);
    for (uint32_t i = 0; i < 100; i++) {
        builder.field({(numbered("f", i)).c_str(), i, 1, 16});
    }
    const sql::TableLayout layout = layout_of(builder);
    run("CREATE TABLE t (record_number INTEGER PRIMARY KEY)");
    EXPECT_EQ(
        sql::mismatch_of(layout, match(layout)).text(),
        "the table \"t\" cannot be read with this dictionary: it has no column \"f0\"; it has no "
        "column \"f1\"; it has no column \"f2\"; it has no column \"f3\"; it has no column "
        "\"f4\"; and 95 more");
}

TEST_F(TableMatch, ViewsAndTablesWithoutRowNumbersAreProblems) {
    XfdBuilder builder("t", 8);
    builder.fields({{"a", 0, 4, 16}, {"b", 4, 4, 16}}).key({false, {{0, 4}}});
    const sql::TableLayout layout = layout_of(builder);
    run("CREATE TABLE base (a, b, key_1_bytes); CREATE VIEW t AS SELECT * FROM base");
    EXPECT_EQ(problems(layout),
              "it is a view, which has no index; a table of its own rows would be right\n");
    run("DROP VIEW t; CREATE VIEW t AS SELECT a, key_1_bytes FROM base");
    EXPECT_EQ(problems(layout),
              "it is a view, which has no index; a table of its own rows would be right\n"
              "it has no column \"b\"\n");
    run("DROP VIEW t; CREATE TABLE t (a TEXT PRIMARY KEY, b, key_1_bytes UNIQUE) WITHOUT ROWID");
    EXPECT_EQ(problems(layout),
              "its rows have no numbers, which say in what order they came; a table without "
              "\"WITHOUT ROWID\" would be right\n");
}

void in_table(XfdField &field, const char *table, std::initializer_list<uint16_t> subscripts) {
    std::strncpy(field.fd_subtable, table, sizeof field.fd_subtable - 1);
    field.fd_occurs_depth = static_cast<uint8_t>(subscripts.size());
    std::ranges::copy(subscripts, field.fd_occurs_index);
}

// 01 NO, then ITEM and QTY three times in "lines", and NOTE in the secondary table.
XfdBuilder orders() {
    XfdBuilder builder("orders", 30);
    builder.field({"NO", 0, 4, 1, 4}).key({false, {{0, 4}}});
    for (uint16_t line = 1; line <= 3; line++) {
        const uint32_t at = 4 + 7U * (line - 1U);
        in_table(builder.field({"ITEM", at, 5, 16}).last_field(), "lines", {line});
        in_table(builder.field({"QTY", at + 5, 2, 1, 2}).last_field(), "lines", {line});
    }
    builder.field({"NOTE", 25, 5, 16});
    builder.last_field().fd_flags = XFD_FIELD_IN_SECONDARY_TABLE;
    return builder;
}

TEST_F(TableMatch, ColumnsOfChildTablesStandForEveryOccurrence) {
    XfdBuilder builder = orders();
    const sql::TableLayout layout = layout_of(builder);
    must_load(layout, {});
    for (const char *extra : {"1", "0"}) {
        ZCSetValueString("4GL_EXTRA_DB_COLS_OK", extra);
        const sql::TableMatch result = match(layout);
        EXPECT_EQ(result.problems, std::vector<std::string>());
        std::string rows;
        for (const sql::TableMatch::ColumnRow &row : result.columns) {
            if (row.table != "orders") {
                rows += row.table + "." + row.column + "=" + row.field + "/" + row.note + "\n";
            }
        }
        EXPECT_EQ(rows,
                  "lines.row_number=/number of the row\nlines.occurrence_1=/subscript\n"
                  "lines.ITEM=ITEM(1) to ITEM(3)/\nlines.QTY=QTY(1) to QTY(3)/\n"
                  "orders_secondary.row_number=/number of the row\norders_secondary.NOTE=NOTE/\n");
        EXPECT_EQ(result.keys[0].what, "record number");
        EXPECT_EQ(joined(result.keys[result.keys.size() - 2].columns), "row_number, occurrence_1");
        EXPECT_EQ(result.keys.back().table, "orders_secondary");
        EXPECT_NE(result.keys.back().index, "");
    }
}

TEST_F(TableMatch, ChildTablesThatDifferAreProblems) {
    struct Row {
        const char *change;
        const char *problems;
    };
    const Row rows[] = {
        {"DROP TABLE lines", "the database has no table \"lines\" for a part of the record\n"},
        {"ALTER TABLE lines DROP COLUMN QTY", "table \"lines\" has no column \"QTY\"\n"},
        {"ALTER TABLE lines ADD COLUMN more",
         "table \"lines\" has a column \"more\" that no field stands for, and "
         "4GL_EXTRA_DB_COLS_OK is off\n"},
        {"DROP TABLE lines; CREATE VIEW lines AS SELECT 1 AS row_number, 1 AS occurrence_1, 'x' "
         "AS item, 1 AS qty",
         "table \"lines\" is a view, which has no index; a table of its own rows would be right\n"},
        {"DROP TABLE lines; CREATE TABLE lines (row_number, occurrence_1, ITEM, QTY, UNIQUE "
         "(occurrence_1, row_number))",
         "table \"lines\", rows of a record (\"row_number\", \"occurrence_1\"): index "
         "\"sqlite_autoindex_lines_1\" has them in another order; CREATE UNIQUE INDEX "
         "\"lines_rows\" ON \"lines\" (\"row_number\", \"occurrence_1\") would make it\n"},
        {"DROP TABLE lines; CREATE TABLE lines (row_number, ITEM, QTY)",
         "table \"lines\" has no column \"occurrence_1\" (subscript)\n"},
    };
    XfdBuilder builder = orders();
    const sql::TableLayout layout = layout_of(builder);
    ZCSetValueString("4GL_EXTRA_DB_COLS_OK", "0");
    for (const Row &row : rows) {
        SCOPED_TRACE(row.change);
        TableTest::SetUp();
        must_load(layout, {});
        run(row.change);
        EXPECT_EQ(problems(layout), row.problems);
    }
}

// Random dictionaries: overlapping fields, every storage, every kind of file, any
// key, names that the library holds for one.
TEST_F(TableMatch, EveryTableThatLoadMakesMatches) {
    std::mt19937 engine(20051231);
    const auto random = [&] { return static_cast<uint32_t>(engine()); };
    const char *const kNames[] = {
        "A-B",   "A_B", "gr\xFC\xDF", "key_1_bytes", "record_number", "exact_record",
        "rowid", "  x", "a\"b",       "?",           "x' --"};
    const uint16_t kTypes[] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14,
                               16, 17, 20, 22, 23, 24, 25, 30, 31, 32, 33, 35, 36, 40};
    const int kPages[] = {28591, 65001, 1252, 37, 437};
    size_t matched = 0;
    size_t with_child_tables = 0;
    for (int round = 0; round < 400; round++) {
        SCOPED_TRACE(round);
        TableTest::SetUp();
        ZSetCOBOLCharSet(kPages[random() % std::size(kPages)]);
        const uint16_t kFileTypes[] = {XFD_INDEXED, XFD_INDEXED, XFD_RELATIVE, XFD_SEQUENTIAL};
        const uint32_t size = 20 + random() % 60;
        XfdBuilder builder(numbered("t", static_cast<uint32_t>(round)), size,
                           kFileTypes[random() % 4]);
        const uint32_t first_name = random() % 4;
        for (uint32_t offset = 0, i = 0; offset < size; i++) {
            const uint32_t n = std::min<uint32_t>(1 + random() % 6, size - offset);
            const bool is_odd = i + first_name < std::size(kNames);
            const std::string name = is_odd ? kNames[i + first_name] : numbered("f", i);
            builder.field({name.c_str(), offset, n, kTypes[random() % std::size(kTypes)],
                           static_cast<uint8_t>(n),
                           static_cast<int8_t>(random() % 4 == 0 ? -1 : 0)});
            offset += random() % 4 == 0 ? 0 : n;
        }
        const uint32_t with_children = random() % 3;
        for (uint16_t n = 1; with_children == 1 && n <= 1 + random() % 4; n++) {
            const uint32_t at = random() % size;
            in_table(builder.field({"A_B", at, 1, 16}).last_field(), "sub", {n});
            in_table(builder.field({"A-B", at, 1, 1, 1}).last_field(), "sub", {n});
        }
        if (with_children == 2) {
            builder.field({"f1-x", 0, 1, 16});
            builder.last_field().fd_flags = XFD_FIELD_IN_SECONDARY_TABLE;
        }
        for (uint32_t k = random() % 6; k > 0; k--) {
            KeyRow key{random() % 2 == 0, {}};
            for (uint32_t s = 1 + random() % 3; s > 0; s--) {
                const uint32_t at = random() % size;
                const uint32_t n = 1 + random() % std::min<uint32_t>(size - at, 12);
                key.segments.emplace_back(at, static_cast<uint16_t>(n));
            }
            builder.key(key);
        }
        sql::TableLayout layout;
        const sql::Status made = sql::make_layout(builder.build(), {}, &layout);
        if (!made.ok()) {
            ASSERT_EQ(made.kind(), sql::ErrorKind::kBadDictionary);
            continue;
        }
        must_load(layout, {});
        for (const char *extra : {"1", "0"}) {
            ZCSetValueString("4GL_EXTRA_DB_COLS_OK", extra);
            ASSERT_EQ(problems(layout), "");
        }
        matched++;
        with_child_tables += layout.children.empty() ? 0 : 1;
    }
    EXPECT_GT(matched, 200U);
    EXPECT_GT(with_child_tables, 50U);
}

TEST_F(TableMatch, RefusedMemoryIsAStatus) {
    XfdBuilder builder = customers();
    const sql::TableLayout layout = layout_of(builder);
    must_load(layout, {});
    const size_t in_use = ZMemoryInUse(nullptr);
    bool has_failed = false;
    for (int64_t nth = 1;; nth++) {
        ZMemoryRefuse(nth, 1);
        sql::TableMatch result;
        const sql::Status status = sql::match_table(*db_, layout, &result);
        const bool was_refused = ZMemoryRefused() != 0;
        ZMemoryRefuse(0, 0);
        ASSERT_EQ(ZMemoryInUse(nullptr), in_use) << nth;
        if (!status.ok()) {
            ASSERT_EQ(status.kind(), sql::ErrorKind::kNoMemory);
            has_failed = true;
        } else {
            ASSERT_EQ(result.problems, std::vector<std::string>()) << nth;
        }
        if (!was_refused) {
            break;
        }
    }
    EXPECT_TRUE(has_failed);
}

}  // namespace
