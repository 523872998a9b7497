// SPDX-License-Identifier: MIT
//
// Record types, dates and illegal data in the table: what the columns hold, and
// that the records come back.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "host/config.h"
#include "sql/date_column.h"
#include "tests/sql/sql_fixture.h"
#include "wbfsi/lifecycle.h"

namespace {

using namespace sql_test;
using namespace std::string_literals;
using Rows = std::vector<std::string>;

class TableContents : public TableTest {
 protected:
    void SetUp() override {
        Z4Init();
        TableTest::SetUp();
    }
    void TearDown() override { Z4Exit(); }
};

constexpr uint16_t kFileTypes[] = {XFD_INDEXED, XFD_RELATIVE, XFD_SEQUENTIAL, XFD_LINE_SEQUENTIAL};

TEST_F(TableContents, DateFormatsGiveTheTypeOfTheColumn) {
    struct Row {
        const char *format;
        uint16_t type;
        uint32_t size;
        const char *sqlite;
        const char *postgresql;
        size_t key_columns;
    };
    const Row rows[] = {
        {"YYYYMMDD", 1, 8, "TEXT", "date", 1},
        {"YYMMDD", 1, 6, "TEXT", "date", 0},
        {"DDMMYYYY", 1, 8, "TEXT", "date", 0},
        {"YYYYEEE", 1, 7, "TEXT", "date", 0},
        {"FYMMDD", 16, 6, "TEXT", "date", 0},
        {"JJJJJJ", 1, 6, "TEXT", "date", 0},
        {"HHNNSS", 1, 6, "TEXT", "time(0)", 1},
        {"HHNN", 1, 4, "TEXT", "time(0)", 0},
        {"HHNNSSTT", 16, 8, "TEXT", "time(2)", 1},
        {"YYYYMMDDHHNNSSTTTTTT", 16, 20, "TEXT", "timestamp(6)", 1},
        {"YYYYMMDDHHNNTTTTTTTT", 16, 20, "TEXT", "timestamp(6)", 0},
        {"YYYYMMDD", 9, 5, "TEXT", "date", 1},
        {"YYYYMMDD", 33, 4, "TEXT", "date", 0},
        {"", 8, 5, "TEXT", "date", 1},
        {"", 6, 7, "TEXT", "date", 0},
        {"", 1, 8, "INTEGER", "bigint", 1},
        {"", 16, 8, "TEXT", "varchar(8) COLLATE \"C\"", 1},
        {"R", 16, 8, "TEXT", "varchar(8) COLLATE \"C\"", 1},
        {"MMDDMM", 1, 6, "INTEGER", "bigint", 1},
        {"YYYYMMDDHHNNSSTTTTTTT", 16, 21, "TEXT", "varchar(21) COLLATE \"C\"", 1},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(std::string(row.format).append(" type ").append(std::to_string(row.type)));
        XfdBuilder builder("t", 24);
        const auto digits = static_cast<uint8_t>(row.type == 1 ? row.size : 8);
        builder.field({"d", 0, row.size, row.type, digits}).date(row.format);
        builder.key({true, {{0, static_cast<uint16_t>(row.size)}}});
        const sql::TableLayout layout = layout_of(builder);
        EXPECT_EQ(sql::find_dialect("sqlite")->type_of(layout.columns[0]), row.sqlite);
        EXPECT_EQ(sql::find_dialect("postgresql")->type_of(layout.columns[0]), row.postgresql);
        EXPECT_EQ(layout.keys[0].columns.size(), row.key_columns);
        EXPECT_EQ(layout.fields[0].type, layout.columns[0].type);
    }
}

// kind X decides: P has a price, N a note of the same bytes, others neither.
XfdBuilder items(uint16_t file_type) {
    XfdBuilder builder("items", 16, file_type);
    builder.fields({{"number", 0, 4, 1, 4}, {"kind", 4, 1, 16}});
    builder.field({"price", 5, 5, 1, 5, -2}).under(1);
    builder.field({"note", 5, 5, 16}).under(2);
    builder.field({"day", 10, 6, 1, 6}).date("YYMMDD").under(1);
    builder.condition({XFD_COND_EQ, "kind", "P"}).condition({XFD_COND_EQ, "kind", "N"});
    if (file_type == XFD_INDEXED) {
        builder.key({false, {{0, 4}}});
    }
    return builder;
}

TEST_F(TableContents, FieldsOfOtherRecordTypesAreNull) {
    const Records records{"0001P01250191231", "0002Nhello      ", "0003X           ",
                          "0004Nwor\1dABCDEF", "0005P     999999"};
    for (const uint16_t type : kFileTypes) {
        SCOPED_TRACE(type);
        SetUp();
        XfdBuilder builder = items(type);
        const sql::TableLayout layout = layout_of(builder);
        must_load(layout, records);
        EXPECT_EQ(query("SELECT price FROM items"),
                  (Rows{"'12.50'", "NULL", "NULL", "NULL", "NULL"}));
        EXPECT_EQ(query("SELECT note FROM items LIMIT 3"), (Rows{"NULL", "'hello'", "NULL"}));
        EXPECT_EQ(query("SELECT day FROM items"),
                  (Rows{"'2019-12-31'", "NULL", "NULL", "NULL", "NULL"}));
        EXPECT_EQ(summary_.kept_exact, 2U);
        EXPECT_EQ(unload(layout), records);
        run("UPDATE items SET kind = 'N', price = NULL, day = NULL, note = 'now' "
            "WHERE number = 1");
        run("UPDATE items SET note = 'later' WHERE number = 4");
        EXPECT_EQ(unload(layout)[0], "0001Nnow        ");
        EXPECT_EQ(unload(layout)[3], "0004NlaterABCDEF");
    }
}

TEST_F(TableContents, RecordTypesWithOccurrencesOfTheirOwnComeBack) {
    std::mt19937 random(5);
    XfdBuilder builder("t", 20);
    builder.fields({{"number", 0, 4, 1, 4}, {"kind", 4, 1, 16}});
    for (uint16_t i = 1; i <= 3; i++) {
        const uint32_t at = 5U + 5U * (i - 1U);
        for (const char *name : {"price", "note"}) {
            const bool is_price = name[0] == 'p';
            builder.field({name, at, 5, is_price ? uint16_t{1} : uint16_t{16}, 5});
            XfdField &field = builder.under(is_price ? 1 : 2).last_field();
            std::ranges::copy("lines"s, field.fd_subtable);
            field.fd_occurs_depth = 1;
            field.fd_occurs_index[0] = i;
        }
    }
    builder.condition({XFD_COND_EQ, "kind", "P"}).condition({XFD_COND_OTHER, "kind"});
    builder.key({true, {{0, 4}}});
    const sql::TableLayout layout = layout_of(builder);
    Records records;
    for (int i = 0; i < 600; i++) {
        std::string record = std::to_string(1000 + i) + "PNX "[random() % 4];
        for (int n = 0; n < 3; n++) {
            constexpr const char *kContents[] = {"     ", "00000", "00123", "AB   ", "  9  "};
            record += kContents[random() % 5];
        }
        records.push_back(record);
    }
    must_load(layout, records);
    EXPECT_EQ(unload(layout), records);
    EXPECT_EQ(query("SELECT count(*) FROM lines l JOIN t USING (row_number) "
                    "WHERE kind <> 'P' AND price IS NOT NULL OR kind = 'P' AND note IS NOT NULL"),
              (Rows{"0"}));
}

TEST_F(TableContents, KeysOfDatesAreInTheOrderOfTheirBytes) {
    struct Row {
        const char *format;
        uint16_t type;
        const char *zero_value;
    };
    const Row rows[] = {{"YYYYMMDD", 1, nullptr},    {"YYYYMMDD", 16, nullptr},
                        {"YYYYMMDD", 1, "18990101"}, {"DDMMYYYY", 1, nullptr},
                        {"YYMMDDHH", 1, nullptr},    {"YYYYMMDD", 12, nullptr}};
    std::mt19937 random(6);
    for (const Row &row : rows) {
        SCOPED_TRACE(std::string(row.format).append(row.zero_value ? " zero" : ""));
        Z4Exit();
        SetUp();
        ZCSetValueString("PLEX_DATE_ZERO_VALUE", row.zero_value);
        XfdBuilder builder("t", 12);
        builder.field({"d", 0, 8, row.type, 8}).date(row.format);
        builder.field({"n", 8, 4, 1, 4}).key({true, {{0, 8}}});
        const sql::TableLayout layout = layout_of(builder);
        Records records;
        for (int i = 0; i < 400; i++) {
            constexpr const char *kDates[] = {"20241231", "20240229", "00000000",
                                              "99999999", "19000101", "        ",
                                              "18990101", "31122024", "\0\0\0\0\1\x34\xF6\x95",
                                              "17001224", "20991231", "ABCDEFGH",
                                              "20230229"};
            const char *date = kDates[random() % std::size(kDates)];
            records.push_back(std::string(date, 8) + std::to_string(1000 + i));
        }
        must_load(layout, records);
        Records sorted = records;
        std::ranges::sort(sorted, [](const std::string &a, const std::string &b) {
            return std::ranges::lexicographical_compare(a, b, [](char x, char y) {
                return static_cast<unsigned char>(x) < static_cast<unsigned char>(y);
            });
        });
        EXPECT_EQ(unload(layout), sorted);
        EXPECT_EQ(unload(layout, sql::TableReader::kRecordOrder), records);
    }
    ZCSetValueString("PLEX_DATE_ZERO_VALUE", nullptr);
}

// A number, a date, a text and the number of a key without legal contents, and the
// second record's of zeros, blanks and text.
TEST_F(TableContents, EachSettingForIllegalDataGivesItsColumnsAndTheRecordsBack) {
    struct Row {
        const char *setting;
        const char *key, *number, *day, *text;  // of the first record
    };
    const Row rows[] = {
        {"UNCHANGED", "NULL", "NULL", "NULL", "NULL"},
        {"CONVERTED", "9999", "0", "'2099-12-31'", "'A B'"},
        {"KEY_MOD", "9999", "NULL", "NULL", "NULL"},
        {"PASS_THROUGH", "blob 4", "blob 4", "blob 8", "blob 3"},
    };
    const Records records{
        "\xFF\xFF\xFF\xFF"
        "12X4"
        "99999999"
        "A\0B"s,
        "0000"
        "0000"
        "00000000"
        "A B"s,
        "0007"
        "0001"
        "20241231"
        "ABC"s};
    for (const Row &row : rows) {
        for (const uint16_t type : kFileTypes) {
            SCOPED_TRACE(std::string(row.setting).append(" ").append(std::to_string(type)));
            SetUp();
            ASSERT_NE(ZCSetValueString("4GL_ILLEGAL_DATA", row.setting), 0);
            XfdBuilder builder("t", 19, type);
            builder.fields({{"k", 0, 4, 1, 4}, {"n", 4, 4, 1, 4}, {"d", 8, 8, 1, 8}});
            builder.date("YYYYMMDD").field({"a", 16, 3, 16});
            builder.key({false, {{0, 4}}});
            const sql::TableLayout layout = layout_of(builder);
            must_load(layout, records);
            const std::string first = " FROM t WHERE a IS NOT 'ABC' AND k IS NOT 0";
            EXPECT_EQ(query(std::string("SELECT n").append(first)), (Rows{row.number}));
            EXPECT_EQ(query(std::string("SELECT d").append(first)), (Rows{row.day}));
            EXPECT_EQ(query(std::string("SELECT a").append(first)), (Rows{row.text}));
            EXPECT_EQ(query(std::string("SELECT k").append(first)), (Rows{row.key}));
            EXPECT_EQ(query("SELECT count(*) FROM t WHERE k = 0 AND n = 0 AND d IS NULL"),
                      (Rows{"1"}));
            Records expected = records;
            if (type == XFD_INDEXED) {
                std::ranges::rotate(expected, expected.begin() + 1);
            }
            EXPECT_EQ(unload(layout), expected);
            run("UPDATE t SET n = 5, d = '2001-02-03', a = 'new'");
            for (const std::string &record : unload(layout)) {
                EXPECT_EQ(record.substr(4), "000520010203new");
            }
        }
    }
    ZCSetValueString("4GL_ILLEGAL_DATA", "UNCHANGED");
}

TEST_F(TableContents, SettingsOutsideTheirRangeCountAsUnchanged) {
    for (const char *setting : {"4", "-1", "127"}) {
        ASSERT_NE(ZCSetValueString("4GL_ILLEGAL_DATA", setting), 0);
        XfdBuilder builder("t", 4);
        builder.field({"a", 0, 4, 16});
        EXPECT_EQ(layout_of(builder).illegal_data, sql::IllegalData::kUnchanged) << setting;
    }
    ZCSetValueString("4GL_ILLEGAL_DATA", "UNCHANGED");
}

}  // namespace
