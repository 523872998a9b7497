// SPDX-License-Identifier: MIT
#include "sql/table_layout.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "tests/sql/sql_fixture.h"

namespace {

using namespace sql_test;

// A column as "name TYPE digits,decimals,characters".
std::string shown(const sql::Column &column) {
    const char *const kTypes[] = {"integer", "decimal", "real", "text",
                                  "blob",    "date",    "time", "timestamp"};
    return column.name + " " + kTypes[static_cast<size_t>(column.type)] + " " +
           std::to_string(column.digits) + "," + std::to_string(column.decimals) + "," +
           std::to_string(column.characters);
}

// Puts a field into a sub-table.
void in_table(XfdField &field, const char *table, std::initializer_list<uint16_t> subscripts) {
    std::strncpy(field.fd_subtable, table, sizeof field.fd_subtable - 1);
    field.fd_occurs_depth = static_cast<uint8_t>(subscripts.size());
    std::ranges::copy(subscripts, field.fd_occurs_index);
}

TEST(TableLayout, EachStorageHasItsColumnType) {
    struct Row {
        uint16_t type;
        uint32_t size;
        uint8_t digits;
        int8_t scale;
        const char *expected;
    };
    const Row rows[] = {
        {0, 10, 0, 0, "f text 0,0,10"},        {1, 5, 5, 0, "f integer 5,0,0"},
        {1, 18, 18, 0, "f integer 18,0,0"},    {1, 19, 19, 0, "f decimal 19,0,0"},
        {1, 5, 5, -2, "f decimal 5,2,0"},      {1, 5, 5, 3, "f integer 8,0,0"},
        {1, 18, 18, 1, "f decimal 19,0,0"},    {1, 2, 2, -5, "f decimal 5,5,0"},
        {2, 6, 5, 0, "f integer 5,0,0"},       {3, 5, 5, -1, "f decimal 5,1,0"},
        {4, 6, 5, 0, "f integer 5,0,0"},       {5, 5, 5, 0, "f integer 5,0,0"},
        {6, 6, 5, 0, "f integer 5,0,0"},       {7, 5, 5, 0, "f integer 5,0,0"},
        {8, 3, 5, 0, "f integer 5,0,0"},       {9, 3, 5, -2, "f decimal 5,2,0"},
        {10, 3, 6, 0, "f integer 6,0,0"},      {11, 4, 9, 0, "f integer 9,0,0"},
        {12, 8, 18, 0, "f integer 18,0,0"},    {13, 8, 0, 0, "f integer 18,0,0"},
        {14, 8, 0, 0, "f decimal 20,0,0"},     {16, 7, 0, 0, "f text 0,0,7"},
        {17, 7, 0, 0, "f text 0,0,7"},         {18, 7, 0, 0, "f text 0,0,7"},
        {20, 7, 0, 0, "f text 0,0,7"},         {22, 7, 0, 0, "f text 0,0,7"},
        {23, 4, 0, 0, "f real 0,0,0"},         {23, 8, 0, 0, "f real 0,0,0"},
        {23, 16, 0, 0, "f blob 0,0,0"},        {24, 8, 0, 0, "f text 0,0,4"},
        {24, 7, 0, 0, "f blob 0,0,0"},         {32, 4, 9, 0, "f integer 9,0,0"},
        {33, 2, 4, -2, "f decimal 4,2,0"},     {35, 8, 4, 0, "f integer 4,0,0"},
        {9, 20, 38, -10, "f decimal 38,10,0"}, {40, 3, 0, 0, "f text 0,0,3"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE("type " + std::to_string(row.type) + " size " + std::to_string(row.size));
        XfdBuilder builder("t", 40);
        builder.field({"f", 0, row.size, row.type, row.digits, row.scale});
        EXPECT_EQ(shown(layout_of(builder).columns[0]), row.expected);
    }
}

TEST(TableLayout, DictionariesThatCannotBecomeATableAreRefusedWithTheReason) {
    struct Row {
        const char *reason;
        void (*spoil)(XfdBuilder &);
    };
    const Row rows[] = {
        {"it is cut short: field 2 of 3 could not be read",
         [](XfdBuilder &b) {
             b.field({"", 4, 1, 16}).field({"c", 5, 1, 16});
         }},
        {"two fields make the column \"A\"",
         [](XfdBuilder &b) {
             b.field({"A", 4, 1, 16});
         }},
        {"field \"b\" exists under condition 2 of 1",
         [](XfdBuilder &b) {
             b.condition({1, "a", "x"}).field({"b", 4, 1, 16}).under(2);
         }},
        {"two fields make the column \"B\" of the sub-table \"lines\", row (2,1); give one",
         [](XfdBuilder &b) {
             in_table(b.field({"b", 4, 1, 16}).last_field(), "LINES", {2, 1});
             in_table(b.field({"B", 5, 1, 16}).last_field(), "lines", {2, 1});
         }},
        {"two fields make the column \"b\" of the secondary table; give one of them another name",
         [](XfdBuilder &b) {
             for (const uint32_t offset : {4U, 5U}) {
                 b.field({"b", offset, 1, 16});
                 b.last_field().fd_flags = XFD_FIELD_IN_SECONDARY_TABLE;
             }
         }},
        {"field \"c(1)\" has 1 subscripts, other fields of the sub-table \"LINES\" have 2",
         [](XfdBuilder &b) {
             in_table(b.field({"b", 4, 1, 16}).last_field(), "LINES", {2, 1});
             in_table(b.field({"c", 5, 1, 16}).last_field(), "LINES", {1});
         }},
        {"field \"b(2)\" is of another type than those before it in its column",
         [](XfdBuilder &b) {
             in_table(b.field({"b", 4, 1, 16}).last_field(), "LINES", {1});
             in_table(b.field({"b", 5, 1, 1, 1}).last_field(), "LINES", {2});
         }},
        {"its sub-table \"ORDERS\" has the name of another table or of an index",
         [](XfdBuilder &b) {
             in_table(b.field({"b", 4, 1, 16}).last_field(), "ORDERS", {1});
         }},
        {"its sub-table \"Orders_Key_1\" has the name of another table or of an index",
         [](XfdBuilder &b) {
             in_table(b.field({"b", 4, 1, 16}).last_field(), "Orders_Key_1", {1});
             b.key({false, {{0, 4}}});
         }},
        {"the sub-table \"LINES\" would have 2002 columns; 2000 are possible",
         [](XfdBuilder &b) {
             for (int i = 0; i < 2000; i++) {
                 b.field({std::string("x").append(std::to_string(i)).c_str(), 0, 1, 16});
                 in_table(b.last_field(), "LINES", {1});
             }
         }},
        {"field \"b\" has 17 subscripts; 16 are possible",
         [](XfdBuilder &b) {
             b.field({"b", 4, 1, 16});
             b.last_field().fd_occurs_depth = 17;
         }},
        {"field \"b\" is 5 bytes at offset 6, outside the record of 10 bytes",
         [](XfdBuilder &b) {
             b.field({"b", 6, 5, 16});
         }},
        {"field \"b\" is 4294967295 bytes at offset 2",
         [](XfdBuilder &b) {
             b.field({"b", 2, UINT32_MAX, 16});
         }},
        {"key 1: segment 2 is 3 bytes at offset 8",
         [](XfdBuilder &b) {
             b.key({false, {{0, 4}, {8, 3}}});
         }},
        {"key 1: segment 1 is 0 bytes",
         [](XfdBuilder &b) {
             b.key({false, {{0, 0}}});
         }},
        {"key 1 has 17 segments",
         [](XfdBuilder &b) {
             b.key({false, {{0, 4}}});
             b.last_key().k_seg_count = 17;
         }},
        {"its sub-table \"WBFSI_SETTINGS\" has the name of another table or of an index",
         [](XfdBuilder &b) {
             in_table(b.field({"b", 4, 1, 16}).last_field(), "WBFSI_SETTINGS", {1});
         }},
        {"its table has the name under which settings are kept, wbfsi_settings; give it another",
         [](XfdBuilder &b) {
             std::snprintf(b.xfd().x_table_name, sizeof b.xfd().x_table_name, "Wbfsi_Settings");
         }},
        {"it names neither a table nor a file",
         [](XfdBuilder &b) { b.xfd().x_table_name[0] = b.xfd().x_select_name[0] = '\0'; }},
        {"its record size is 0 bytes", [](XfdBuilder &b) { b.xfd().x_max_rec_size = 0; }},
        {"more than 2000 fields",
         [](XfdBuilder &b) {
             for (int i = 0; i < 2000; i++) {
                 b.field({std::string("x").append(std::to_string(i)).c_str(), 0, 1, 16});
             }
         }},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.reason);
        XfdBuilder builder("orders", 10);
        builder.field({"a", 0, 4, 16});
        row.spoil(builder);
        sql::TableLayout layout;
        layout.table = "untouched";
        const sql::Status status = sql::make_layout(builder.build(), {}, &layout);
        EXPECT_EQ(status.kind(), sql::ErrorKind::kBadDictionary);
        EXPECT_NE(status.text().find(row.reason), std::string::npos) << status.text();
        EXPECT_EQ(layout.table, "untouched");
    }
}

TEST(TableLayout, FewerSlotsThanFieldsIsADictionaryCutShort) {
    XfdBuilder builder("orders", 10);
    builder.field({"a", 0, 4, 16});
    Xfd xfd = builder.build();
    xfd.x_n_total_fields = 2;
    sql::TableLayout layout;
    EXPECT_EQ(sql::make_layout(xfd, {}, &layout).kind(), sql::ErrorKind::kBadDictionary);
}

TEST(TableLayout, ItemsOfTheListedViewAloneHaveNoColumn) {
    XfdBuilder builder("orders", 10);
    builder.fields({{"group", 0, 8, 22}, {"a", 0, 4, 16}, {"b", 4, 4, 16}});
    Xfd xfd = builder.build();
    xfd.x_fdesc[0].fd_cond_num = XFD_LISTED_ONLY;
    xfd.x_n_total_fields = 2;
    sql::TableLayout layout;
    ASSERT_TRUE(sql::make_layout(xfd, {}, &layout).ok());
    EXPECT_EQ(layout.field_count, 2U);
    EXPECT_EQ(layout.columns[0].name, "a");
}

TEST(TableLayout, TheRelativeKeyFieldGivesWayToTheRecordNumber) {
    XfdBuilder builder("slots", 10, XFD_RELATIVE);
    builder.field({"a", 0, 10, 16});
    builder.field({"z4glidentity", 10, 31, 1, 31});
    builder.last_field().fd_level = 999;
    builder.key({false, {{10, 31}}});
    builder.xfd().x_max_rec_size = 41;
    const sql::TableLayout layout = layout_of(builder);
    EXPECT_EQ(layout.max_record, 10U);
    EXPECT_EQ(layout.field_count, 1U);
    EXPECT_TRUE(layout.keys.empty());
    EXPECT_EQ(layout.columns[layout.record_number].name, "record_number");
}

TEST(TableLayout, AddedColumnsAvoidTheNamesOfFields) {
    XfdBuilder builder("slots", 12, XFD_RELATIVE);
    builder.fields(
        {{"RECORD_NUMBER", 0, 4, 16}, {"exact_record", 4, 4, 16}, {"Exact_Record_2", 8, 4, 16}});
    const sql::TableLayout layout = layout_of(builder);
    EXPECT_EQ(layout.columns[layout.record_number].name, "record_number_2");
    EXPECT_EQ(layout.columns[layout.exact_record].name, "exact_record_3");
}

TEST(TableLayout, KeysStandOnColumnsThatSortAsTheirBytes) {
    struct Row {
        const char *what;
        FieldRow first, second;
        uint32_t offset;
        uint16_t length;
        size_t columns;
    };
    const FieldRow text{"b", 4, 4, 16};
    const Row rows[] = {
        {"text", {"a", 0, 4, 16}, text, 0, 4, 1},
        {"text and text", {"a", 0, 4, 16}, text, 0, 8, 2},
        {"display", {"a", 0, 4, 1, 4}, text, 0, 8, 2},
        {"display, sign in the digit", {"a", 0, 4, 3, 4}, text, 0, 4, 1},
        {"packed", {"a", 0, 4, 9, 7}, text, 0, 4, 1},
        {"binary, big end first", {"a", 0, 4, 12, 9}, text, 0, 4, 1},
        {"binary, little end first", {"a", 0, 4, 33, 9}, text, 0, 4, 0},
        {"decimals", {"a", 0, 4, 9, 7, -2}, text, 0, 4, 0},
        {"float", {"a", 0, 4, 23}, text, 0, 4, 0},
        {"part of a field", {"a", 0, 4, 16}, text, 0, 3, 0},
        {"a field and a filler", {"a", 0, 3, 16}, text, 0, 8, 0},
        {"justified right", {"a", 0, 4, 17}, text, 0, 4, 0},
        {"national", {"a", 0, 4, 24}, text, 0, 4, 0},
        {"long number", {"a", 0, 4, 1, 30}, text, 0, 4, 0},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.what);
        XfdBuilder builder("t", 8);
        builder.fields({row.first, row.second}).key({false, {{row.offset, row.length}}});
        EXPECT_EQ(layout_of(builder).keys[0].columns.size(), row.columns);
    }
}

TEST(TableLayout, ZerosThatSortBehindOtherDigitsTakeKeyBytes) {
    XfdBuilder builder("t", 4);
    builder.field({"a", 0, 4, 3, 4}).key({false, {{0, 4}}});
    builder.settings().cv_sign_code1 = 16;
    EXPECT_TRUE(layout_of(builder).keys[0].columns.empty());
}

TEST(TableLayout, SqlOfAnIndexedFile) {
    XfdBuilder builder("customers", 20);
    builder.fields({{"number", 0, 4, 1, 4}, {"name", 4, 6, 16}, {"amount", 10, 3, 9, 5, -2}});
    builder.key({false, {{0, 4}}}).key({true, {{4, 6}}}).key({false, {{10, 3}}});
    const sql::TableLayout layout = layout_of(builder);
    EXPECT_EQ(sql::ddl_script(layout, *sql::find_dialect("SQLite")),
              "CREATE TABLE \"customers\" (\n"
              "    \"number\" INT,\n"
              "    \"name\" TEXT,\n"
              "    \"amount\" TEXT,\n"
              "    \"key_1_bytes\" BLOB,\n"
              "    \"key_2_bytes\" BLOB,\n"
              "    \"key_3_bytes\" BLOB,\n"
              "    \"exact_record\" BLOB,\n"
              "    PRIMARY KEY (\"number\")\n"
              ");\n"
              "CREATE UNIQUE INDEX \"customers_key_1_bytes\" ON \"customers\" (\"key_1_bytes\") "
              "WHERE \"key_1_bytes\" IS NOT NULL;\n"
              "CREATE INDEX \"customers_key_2\" ON \"customers\" (\"name\");\n"
              "CREATE INDEX \"customers_key_2_bytes\" ON \"customers\" (\"key_2_bytes\") "
              "WHERE \"key_2_bytes\" IS NOT NULL;\n"
              "CREATE UNIQUE INDEX \"customers_key_3\" ON \"customers\" (\"key_3_bytes\");\n"
              "CREATE TRIGGER \"customers_key_1_changed\" AFTER UPDATE OF \"number\" ON "
              "\"customers\" WHEN old.\"key_1_bytes\" IS NOT NULL AND (new.\"number\" IS NOT "
              "old.\"number\") BEGIN UPDATE \"customers\" SET \"key_1_bytes\" = NULL WHERE rowid "
              "= new.rowid; END;\n"
              "CREATE TRIGGER \"customers_key_2_changed\" AFTER UPDATE OF \"name\" ON "
              "\"customers\" WHEN old.\"key_2_bytes\" IS NOT NULL AND (new.\"name\" IS NOT "
              "old.\"name\") BEGIN UPDATE \"customers\" SET \"key_2_bytes\" = NULL WHERE rowid "
              "= new.rowid; END;\n"
              "CREATE TRIGGER \"customers_key_3_changed\" AFTER UPDATE OF \"amount\" ON "
              "\"customers\" WHEN old.\"key_3_bytes\" IS NOT NULL AND (new.\"amount\" IS NOT "
              "old.\"amount\") BEGIN UPDATE \"customers\" SET \"key_3_bytes\" = NULL WHERE rowid "
              "= new.rowid; END;\n");
    EXPECT_EQ(sql::create_table_sql(layout, *sql::find_dialect("postgresql")),
              "CREATE TABLE \"customers\" (\n"
              "    \"number\" bigint,\n"
              "    \"name\" varchar(6) COLLATE \"C\",\n"
              "    \"amount\" numeric(5, 2),\n"
              "    \"key_1_bytes\" bytea,\n"
              "    \"key_2_bytes\" bytea,\n"
              "    \"key_3_bytes\" bytea,\n"
              "    \"exact_record\" bytea,\n"
              "    \"row_number\" bigint GENERATED BY DEFAULT AS IDENTITY,\n"
              "    UNIQUE (\"number\")\n"
              ")");
}

TEST(TableLayout, SqlOfARelativeFileWithoutExactRecords) {
    XfdBuilder builder("slots", 4, XFD_RELATIVE);
    builder.field({"select", 0, 4, 16});
    EXPECT_EQ(
        sql::ddl_script(layout_of(builder, {.keep_exact = false}), *sql::find_dialect("sqlite")),
        "CREATE TABLE \"slots\" (\n"
        "    \"select\" TEXT,\n"
        "    \"record_number\" INTEGER PRIMARY KEY\n"
        ");\n");
    EXPECT_EQ(sql::find_dialect("oracle"), nullptr);
}

// SQLite finds a row by "rowid", "_rowid_" or "oid", whichever no column hides.
TEST(TableLayout, FieldsNamedLikeTheRowNumberLeaveAnotherNameForIt) {
    struct Row {
        std::vector<const char *> fields;
        const char *sqlite;
        const char *postgresql;
    };
    const Row rows[] = {
        {{"a"}, "rowid", "\"row_number\""},
        {{"RowID"}, "_rowid_", "\"row_number\""},
        {{"rowid", "_ROWID_", "Row_Number"}, "oid", "\"row_number_2\""},
        {{"oid", "row_number", "row_number_2"}, "rowid", "\"row_number_3\""},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.sqlite);
        XfdBuilder builder("t", 12);
        for (uint32_t i = 0; i < row.fields.size(); i++) {
            builder.field({row.fields[i], 4 * i, 4, 16});
        }
        const sql::TableLayout layout = layout_of(builder);
        EXPECT_EQ(sql::find_dialect("sqlite")->row_number(layout), row.sqlite);
        EXPECT_EQ(sql::find_dialect("postgresql")->row_number(layout), row.postgresql);
    }
    XfdBuilder all("t", 12);
    all.fields({{"rowid", 0, 4, 16}, {"oid", 4, 4, 16}, {"_rowid_", 8, 4, 16}});
    sql::TableLayout layout;
    const sql::Status status = sql::make_layout(all.build(), {}, &layout);
    EXPECT_EQ(status.kind(), sql::ErrorKind::kBadDictionary);
    EXPECT_NE(status.text().find("give one of them another name"), std::string::npos);
}

TEST(TableLayout, NamesAndTextsStayWithinWhatPostgresqlTakes) {
    XfdBuilder builder(std::string(60, 'T') + "\xE4\xE4", 20000000);
    builder.fields({{"id", 0, 4, 1, 4}, {"huge", 4, 10485761, 16}}).key({false, {{0, 4}}});
    const sql::TableLayout layout = layout_of(builder);
    const sql::Dialect &postgresql = *sql::find_dialect("postgresql");
    EXPECT_NE(sql::create_table_sql(layout, postgresql).find("\"huge\" text COLLATE \"C\","),
              std::string::npos);
    const std::vector<sql::IndexSql> indexes = sql::create_index_sql(layout, postgresql);
    ASSERT_EQ(indexes.size(), 1U);
    EXPECT_TRUE(indexes[0].sql.starts_with("CREATE UNIQUE INDEX \"" + std::string(51, 'T') +
                                           "_key_1_bytes\" ON "))
        << indexes[0].sql;
}

}  // namespace
