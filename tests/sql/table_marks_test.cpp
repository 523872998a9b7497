// SPDX-License-Identifier: MIT
//
// What the marks of a dictionary do in the database: hidden, read-only, identity.
#include <gtest/gtest.h>

#include <cstring>

#include "host/config.h"
#include "tests/sql/sql_fixture.h"
#include "wbfsi/lifecycle.h"

namespace {

using namespace sql_test;
using Rows = std::vector<std::string>;

// number is the identity, secret and line_cost are hidden, since is read-only, name is
// both.
XfdBuilder staff() {
    XfdBuilder builder("staff", 24);
    builder.field({"number", 0, 4, 1, 4});
    builder.last_field().fd_flags = XFD_FIELD_IDENTITY | XFD_FIELD_READ_ONLY;
    builder.xfd().x_identity_field = 0;
    builder.field({"name", 4, 6, 16});
    builder.last_field().fd_flags = XFD_FIELD_HIDDEN | XFD_FIELD_READ_ONLY;
    builder.field({"since", 10, 4, 1, 4});
    builder.last_field().fd_flags = XFD_FIELD_READ_ONLY;
    builder.field({"secret", 14, 4, 16});
    builder.last_field().fd_flags = XFD_FIELD_HIDDEN;
    for (uint16_t line = 1; line <= 2; line++) {
        builder.field({"line", 18U + 3U * (line - 1U), 2, 16});
        builder.field({"line_cost", 20U + 3U * (line - 1U), 1, 1, 1});
        builder.last_field().fd_flags = XFD_FIELD_HIDDEN;
    }
    builder.key({false, {{0, 4}}});
    return builder;
}

XfdBuilder staff_with_lines() {
    XfdBuilder builder = staff();
    builder.build();
    for (uint32_t i = 4; i < 8; i++) {
        XfdField &field = builder.xfd().x_fdesc[i];
        std::strncpy(field.fd_subtable, "lines", sizeof field.fd_subtable - 1);
        field.fd_occurs_depth = 1;
        field.fd_occurs_index[0] = static_cast<uint16_t>(i < 6 ? 1 : 2);
    }
    return builder;
}

const Records kStaff{"0007ADA   1990abcdL11L22", "0003GRACE 1991efghM13M24"};

class TableMarks : public TableTest {
 protected:
    void SetUp() override {
        Z4Init();
        TableTest::SetUp();
    }
    void TearDown() override { Z4Exit(); }
};

TEST_F(TableMarks, HiddenFieldsAreColumnsThatTheViewsLeaveOut) {
    XfdBuilder builder = staff_with_lines();
    const sql::TableLayout layout = layout_of(builder);
    must_load(layout, kStaff);
    EXPECT_EQ(query("SELECT secret FROM staff"), (Rows{"'abcd'", "'efgh'"}));
    EXPECT_EQ(query("SELECT name FROM pragma_table_info('staff_view')"),
              (Rows{"'number'", "'since'"}));
    EXPECT_EQ(query("SELECT name FROM pragma_table_info('lines_view')"),
              (Rows{"'row_number'", "'occurrence_1'", "'line'"}));
    EXPECT_EQ(query("SELECT since FROM staff_view"), (Rows{"1990", "1991"}));
    EXPECT_EQ(unload(layout, sql::TableReader::kRecordOrder), kStaff);
    sql::LoadOptions options;
    options.replace = true;
    ASSERT_TRUE(load(layout, kStaff, options).ok());
    EXPECT_EQ(query("SELECT count(*) FROM lines_view"), (Rows{"4"}));
}

TEST_F(TableMarks, ViewsAreMadeOnlyWhereTheyAreWantedAndLeaveSomethingOut) {
    struct Row {
        const char *what;
        const char *use_views;
        bool is_hidden;
        bool all_hidden;
        const char *expected;
    };
    const Row rows[] = {{"hidden", "1", true, false, "t_view"},
                        {"none hidden", "1", false, false, ""},
                        {"not wanted", "0", true, false, ""},
                        {"nothing left", "1", true, true, ""}};
    for (const Row &row : rows) {
        SCOPED_TRACE(row.what);
        ZCSetValueString("4GL_USE_VIEWS", row.use_views);
        XfdBuilder builder("t", 8);
        builder.field({"a", 0, 4, 16});
        builder.last_field().fd_flags = row.all_hidden ? uint32_t{XFD_FIELD_HIDDEN} : 0U;
        builder.field({"b", 4, 4, 16});
        builder.last_field().fd_flags = row.is_hidden ? uint32_t{XFD_FIELD_HIDDEN} : 0U;
        const sql::TableLayout layout = layout_of(builder);
        EXPECT_EQ(layout.view, row.expected);
        EXPECT_EQ(sql::create_view_sql(layout, *sql::find_dialect("postgresql")).size(),
                  layout.view.empty() ? 0U : 1U);
    }
    ZCSetValueString("4GL_USE_VIEWS", "1");
}

TEST_F(TableMarks, ReadOnlyColumnsRefuseUpdatesWithTheirName) {
    XfdBuilder builder = staff();
    builder.build();
    for (uint32_t i = 4; i < 8; i++) {
        // Names of their own in the main table.
        builder.xfd().x_fdesc[i].fd_name[0] = static_cast<char>('a' + i);
    }
    const sql::TableLayout layout = layout_of(builder);
    must_load(layout, kStaff);
    struct Row {
        const char *set;
        const char *column;
    };
    const Row rows[] = {{"since = 2000", "since"},
                        {"number = number + 1", "number"},
                        {"name = NULL", "name"},
                        {"secret = 'x', since = 1", "since"}};
    for (const Row &row : rows) {
        SCOPED_TRACE(row.set);
        const sql::Status status = db_->execute(std::string("UPDATE staff SET ").append(row.set));
        EXPECT_EQ(status.kind(), sql::ErrorKind::kConstraint);
        EXPECT_TRUE(status.text().starts_with(
            std::string("column \"").append(row.column).append("\" is read-only")))
            << status.text();
    }
    run("UPDATE staff SET secret = 'new', since = since, name = name");
    EXPECT_EQ(unload(layout), (Records{"0003GRACE 1991new M13M24", "0007ADA   1990new L11L22"}));
}

TEST_F(TableMarks, RowsWithoutAnIdentityGetTheNextOne) {
    for (const bool has_children : {false, true}) {
        SCOPED_TRACE(has_children);
        SetUp();
        XfdBuilder builder = has_children ? staff_with_lines() : staff();
        builder.build();
        for (uint32_t i = 4; i < 8 && !has_children; i++) {
            builder.xfd().x_fdesc[i].fd_name[0] = static_cast<char>('a' + i);
        }
        const sql::TableLayout layout = layout_of(builder);
        must_load(layout, kStaff);
        run("INSERT INTO staff (secret) VALUES ('x'), ('y')");
        run("INSERT INTO staff (number, secret) VALUES (20, 'z')");
        run("INSERT INTO staff (number) VALUES (x'30303030')");
        run("INSERT INTO staff (secret) VALUES ('zz')");
        run("DELETE FROM staff WHERE typeof(number) = 'blob'");
        EXPECT_EQ(query("SELECT number FROM staff ORDER BY number"),
                  (Rows{"3", "7", "8", "9", "20", "21"}));
        EXPECT_EQ(unload(layout).back().substr(0, 18), "0021      0000zz  ");
    }
}

TEST_F(TableMarks, PostgresqlCountsIdentitiesItself) {
    XfdBuilder builder = staff_with_lines();
    const sql::TableLayout layout = layout_of(builder);
    EXPECT_EQ(sql::ddl_script(layout, *sql::find_dialect("postgresql")),
              "CREATE TABLE \"staff\" (\n"
              "    \"number\" bigint GENERATED BY DEFAULT AS IDENTITY,\n"
              "    \"name\" varchar(6) COLLATE \"C\",\n"
              "    \"since\" bigint,\n"
              "    \"secret\" varchar(4) COLLATE \"C\",\n"
              "    \"row_number\" bigint GENERATED BY DEFAULT AS IDENTITY PRIMARY KEY,\n"
              "    \"key_1_bytes\" bytea,\n"
              "    \"exact_record\" bytea\n"
              ");\n"
              "CREATE TABLE \"lines\" (\n"
              "    \"row_number\" bigint NOT NULL REFERENCES \"staff\" (\"row_number\") "
              "ON DELETE CASCADE ON UPDATE CASCADE,\n"
              "    \"occurrence_1\" bigint NOT NULL,\n"
              "    \"line\" varchar(2) COLLATE \"C\",\n"
              "    \"line_cost\" bigint,\n"
              "    PRIMARY KEY (\"row_number\", \"occurrence_1\")\n"
              ");\n"
              "CREATE UNIQUE INDEX \"staff_key_1\" ON \"staff\" (\"number\");\n"
              "CREATE UNIQUE INDEX \"staff_key_1_bytes\" ON \"staff\" (\"key_1_bytes\") "
              "WHERE \"key_1_bytes\" IS NOT NULL;\n"
              "CREATE VIEW \"staff_view\" AS SELECT \"number\", \"since\" FROM \"staff\";\n"
              "CREATE VIEW \"lines_view\" AS SELECT \"row_number\", \"occurrence_1\", \"line\" "
              "FROM \"lines\";\n");
}

TEST_F(TableMarks, TheScriptForSqliteMakesTheSameTablesAsALoad) {
    XfdBuilder builder = staff_with_lines();
    const sql::TableLayout layout = layout_of(builder);
    must_load(layout, {});
    const char *const schema =
        "SELECT type || name || sql FROM sqlite_schema WHERE sql IS NOT NULL "
        "AND name <> 'wbfsi_settings' ORDER BY type, name";
    const Rows loaded = query(schema);
    EXPECT_GT(loaded.size(), 8U);
    SetUp();
    run(sql::ddl_script(layout, *sql::find_dialect("sqlite")));
    EXPECT_EQ(query(schema), loaded);
}

}  // namespace
