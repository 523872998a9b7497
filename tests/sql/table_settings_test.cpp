// SPDX-License-Identifier: MIT
#include "sql/table_settings.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "host/config.h"
#include "tests/sql/sql_fixture.h"
#include "wbfsi/lifecycle.h"

namespace {

using sql_test::layout_of;
using sql_test::Records;
using sql_test::TableTest;
using sql_test::XfdBuilder;

// A variable set for a test and cleared behind it.
class Setting {
 public:
    Setting(const char *name, const char *value) : name_(name) {
        EXPECT_EQ(ZCSetValueString(name, value), 1);
    }
    ~Setting() { ZCSetValueString(name_, nullptr); }
    Setting(const Setting &) = delete;
    Setting &operator=(const Setting &) = delete;

 private:
    const char *name_;
};

XfdBuilder numbers() {
    XfdBuilder builder("numbers", 4, XFD_SEQUENTIAL);
    builder.field({"amount", 0, 4, 1, 4});
    return builder;
}

XfdBuilder days() {
    XfdBuilder builder("days", 6, XFD_SEQUENTIAL);
    builder.field({"day", 0, 6, 1, 6});
    builder.last_field().fd_user_type = 1;
    std::snprintf(builder.last_field().fd_format, sizeof builder.last_field().fd_format, "YYMMDD");
    return builder;
}

class TableSettings : public TableTest {
 protected:
    void SetUp() override {
        Z4Init();
        TableTest::SetUp();
    }
    void TearDown() override { Z4Exit(); }

    std::vector<std::string> changes(const sql::TableLayout &layout) {
        std::vector<std::string> found;
        const sql::Status status = sql::changed_settings(*db_, layout, &found);
        EXPECT_TRUE(status.ok()) << status.text();
        return found;
    }

    sql::Status open(const sql::TableLayout &layout) {
        std::unique_ptr<sql::TableReader> reader;
        return sql::TableReader::open(*db_, layout, sql::default_order(layout), &reader);
    }
};

TEST_F(TableSettings, ATableIsReadUnderTheSettingsOfItsLoadAlone) {
    XfdBuilder builder = numbers();
    {
        const Setting converted("4GL_ILLEGAL_DATA", "CONVERTED");
        must_load(layout_of(builder), {"0001", "    "});
        EXPECT_EQ(unload(layout_of(builder)), (Records{"0001", "    "}));
    }
    EXPECT_EQ(query("SELECT amount FROM numbers"), (std::vector<std::string>{"1", "0"}));
    const sql::Status status = open(layout_of(builder));
    EXPECT_EQ(status.kind(), sql::ErrorKind::kMismatch);
    EXPECT_EQ(status.text(),
              "the table \"numbers\" cannot be read with this dictionary: it was loaded with "
              "4GL_ILLEGAL_DATA CONVERTED, now it is UNCHANGED; set it as it was");
}

TEST_F(TableSettings, DatesBringTheirSettings) {
    XfdBuilder builder = days();
    must_load(layout_of(builder), {"051231"});
    EXPECT_EQ(changes(layout_of(builder)), std::vector<std::string>());
    struct Row {
        const char *name;
        const char *value;
        const char *change;
    };
    const Row rows[] = {
        {"4GL_2000_CUTOFF", "50", "4GL_2000_CUTOFF 20, now it is 50"},
        {"4GL_JULIAN_BASE_DATE", "19000101", "4GL_JULIAN_BASE_DATE 0, now it is 19000101"},
        {"4GL_JULIAN_NULL", "-1", "4GL_JULIAN_NULL 0, now it is -1"},
        {"4GL_MIN_DATE", "18000101", "4GL_MIN_DATE 19000101, now it is 18000101"},
        {"4GL_MAX_DATE", "21991231", "4GL_MAX_DATE 20991231, now it is 21991231"},
        {"4GL_8_DIGIT_CUTOFF", "on", "4GL_8_DIGIT_CUTOFF 0, now it is 1"},
        {"4GL_CONVERT_DATES", "off", "4GL_CONVERT_DATES 1, now it is 0"},
        {"PLEX_DATE_ZERO_VALUE", "19000101", "PLEX_DATE_ZERO_VALUE not set, now it is 19000101"},
        {"PLEX_DATE_NINE_VALUE", "20991231", "PLEX_DATE_NINE_VALUE not set, now it is 20991231"},
        {"PLEX_DATE_INVALID_VALUE", "18000101",
         "PLEX_DATE_INVALID_VALUE not set, now it is 18000101"},
        {"PLEX_DATE_NULL_VALUE", "17000101", "PLEX_DATE_NULL_VALUE not set, now it is 17000101"},
        {"PLEX_DATE_MAX_HIGH_VALUES", "1", "PLEX_DATE_MAX_HIGH_VALUES 0, now it is 1"},
        {"PLEX_DATE_MIN_LOW_VALUES", "1", "PLEX_DATE_MIN_LOW_VALUES 0, now it is 1"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const Setting setting(row.name, row.value);
        EXPECT_EQ(changes(layout_of(builder)),
                  std::vector<std::string>{std::string("it was loaded with ") + row.change +
                                           "; set it as it was"});
    }
}

TEST_F(TableSettings, WithoutDatesTheirSettingsDoNotMatter) {
    XfdBuilder builder = numbers();
    must_load(layout_of(builder), {"0001"});
    const Setting cutoff("4GL_2000_CUTOFF", "50");
    EXPECT_EQ(changes(layout_of(builder)), std::vector<std::string>());
    EXPECT_EQ(unload(layout_of(builder)), Records{"0001"});
}

TEST_F(TableSettings, ALoadReplacesThoseOfItsTableAlone) {
    XfdBuilder first = numbers();
    XfdBuilder second = days();
    must_load(layout_of(first), {"0001"});
    must_load(layout_of(second), {"051231"});
    const Setting converted("4GL_ILLEGAL_DATA", "CONVERTED");
    sql::LoadOptions replace;
    replace.replace = true;
    ASSERT_TRUE(load(layout_of(first), {"0002"}, replace).ok());
    EXPECT_EQ(changes(layout_of(first)), std::vector<std::string>());
    EXPECT_EQ(changes(layout_of(second)).size(), 1U);
    EXPECT_EQ(query("SELECT value FROM wbfsi_settings WHERE name = '4GL_ILLEGAL_DATA' "
                    "ORDER BY table_name"),
              (std::vector<std::string>{"'UNCHANGED'", "'CONVERTED'"}));
}

TEST_F(TableSettings, TheTestForHighValuesCountsWhereTheyAreConverted) {
    XfdBuilder builder = numbers();
    for (const char *illegal_data : {"UNCHANGED", "CONVERTED", "KEY_MOD", "PASS_THROUGH"}) {
        SCOPED_TRACE(illegal_data);
        TableTest::SetUp();
        const Setting how("4GL_ILLEGAL_DATA", illegal_data);
        must_load(layout_of(builder), {"0001"});
        const Setting full("4GL_FULL_DATA_TEST", "1");
        const bool counts = illegal_data[0] == 'C' || illegal_data[0] == 'K';
        EXPECT_EQ(changes(layout_of(builder)),
                  counts ? std::vector<std::string>{"it was loaded with 4GL_FULL_DATA_TEST 0, now "
                                                    "it is 1; set it as it was"}
                         : std::vector<std::string>());
    }
}

TEST_F(TableSettings, ATableIsFoundWithoutCase) {
    XfdBuilder lower = numbers();
    XfdBuilder upper("NUMBERS", 4, XFD_SEQUENTIAL);
    upper.field({"amount", 0, 4, 1, 4});
    must_load(layout_of(lower), {"0001"});
    sql::LoadOptions replace;
    replace.replace = true;
    const Setting converted("4GL_ILLEGAL_DATA", "CONVERTED");
    EXPECT_EQ(changes(layout_of(upper)).size(), 1U);
    ASSERT_TRUE(load(layout_of(upper), {"0002"}, replace).ok());
    EXPECT_EQ(changes(layout_of(lower)), std::vector<std::string>());
}

TEST_F(TableSettings, AnotherTableInTheirPlaceEndsTheLoadAtOnce) {
    XfdBuilder builder = numbers();
    run("CREATE TABLE wbfsi_settings (a)");
    std::unique_ptr<sql::TableLoader> loader;
    const sql::Status status = sql::TableLoader::begin(*db_, layout_of(builder), {}, &loader);
    EXPECT_FALSE(status.ok());
    EXPECT_TRUE(status.text().starts_with("table wbfsi_settings has no column named table_name"))
        << status.text();
    EXPECT_EQ(query("SELECT count(*) FROM sqlite_schema"), std::vector<std::string>{"1"});
}

TEST_F(TableSettings, ATableThatWasNotLoadedHasNone) {
    XfdBuilder builder = numbers();
    const sql::TableLayout layout = layout_of(builder);
    run(sql::ddl_script(layout, *sql::find_dialect("sqlite")));
    EXPECT_EQ(changes(layout), std::vector<std::string>());
    EXPECT_TRUE(open(layout).ok());
}

}  // namespace
