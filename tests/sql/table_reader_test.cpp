// SPDX-License-Identifier: MIT
#include "sql/table_reader.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <random>

#include "tests/sql/sql_fixture.h"

namespace {

using namespace sql_test;
using namespace std::string_literals;

class TableReader : public TableTest {};

std::string key_of(const std::string &record, const sql::Key &key) {
    std::string bytes;
    for (const sql::KeySegment &segment : key.segments) {
        bytes += record.substr(segment.offset, segment.length);
    }
    return bytes;
}

bool byte_less(const std::string &a, const std::string &b) {
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return static_cast<unsigned char>(x) < static_cast<unsigned char>(y);
    });
}

// What a file of these records gives in the order of a key.
Records in_key_order(Records records, const sql::Key &key) {
    std::ranges::stable_sort(records, [&](const std::string &a, const std::string &b) {
        return byte_less(key_of(a, key), key_of(b, key));
    });
    return records;
}

struct KeyCase {
    const char *what;
    std::vector<FieldRow> fields;  // of a record of 8 bytes
    std::vector<std::pair<uint32_t, uint16_t>> segments;
    int sign_code = 25;
};

const std::vector<KeyCase> &key_cases() {
    static const std::vector<KeyCase> cases{
        {"text", {{"a", 0, 4, 16}, {"b", 4, 4, 16}}, {{0, 4}}},
        {"two texts", {{"a", 0, 2, 16}, {"b", 2, 2, 16}, {"c", 4, 4, 16}}, {{0, 4}}},
        {"texts in another order",
         {{"a", 0, 2, 16}, {"b", 2, 2, 16}, {"c", 4, 4, 16}},
         {{2, 2}, {0, 2}}},
        {"part of a text", {{"a", 0, 8, 16}}, {{1, 3}}},
        {"display", {{"a", 0, 3, 1, 3}, {"b", 3, 5, 16}}, {{0, 3}}},
        {"display and text", {{"a", 0, 2, 1, 2}, {"b", 2, 2, 16}, {"c", 4, 4, 16}}, {{0, 4}}},
        {"sign in the last digit", {{"a", 0, 2, 3, 2}, {"b", 2, 6, 16}}, {{0, 2}}},
        {"sign in the last digit, letters", {{"a", 0, 2, 3, 2}, {"b", 2, 6, 16}}, {{0, 2}}, 16},
        {"sign in the last digit, zones", {{"a", 0, 2, 3, 2}, {"b", 2, 6, 16}}, {{0, 2}}, 64},
        {"sign in the first digit", {{"a", 0, 2, 5, 2}, {"b", 2, 6, 16}}, {{0, 2}}},
        {"trailing sign", {{"a", 0, 3, 2, 2}, {"b", 3, 5, 16}}, {{0, 3}}},
        {"leading sign", {{"a", 0, 3, 4, 2}, {"b", 3, 5, 16}}, {{0, 3}}},
        {"packed", {{"a", 0, 2, 9, 3}, {"b", 2, 6, 16}}, {{0, 2}}},
        {"packed, even digits", {{"a", 0, 2, 9, 2}, {"b", 2, 6, 16}}, {{0, 2}}},
        {"packed, unsigned", {{"a", 0, 2, 8, 3}, {"b", 2, 6, 16}}, {{0, 2}}},
        {"packed, bare", {{"a", 0, 2, 10, 4}, {"b", 2, 6, 16}}, {{0, 2}}},
        {"decimals", {{"a", 0, 2, 9, 3, -2}, {"b", 2, 6, 16}}, {{0, 2}}},
        {"zeros behind", {{"a", 0, 3, 1, 3, 2}, {"b", 3, 5, 16}}, {{0, 3}}},
        {"big end", {{"a", 0, 2, 11, 4}, {"b", 2, 6, 16}}, {{0, 2}}},
        {"big end, unsigned", {{"a", 0, 2, 12, 4}, {"b", 2, 6, 16}}, {{0, 2}}},
        {"little end", {{"a", 0, 2, 33, 4}, {"b", 2, 6, 16}}, {{0, 2}}},
        {"digit bytes", {{"a", 0, 2, 7, 2}, {"b", 2, 6, 16}}, {{0, 2}}},
        {"digit bytes, signed", {{"a", 0, 3, 6, 2}, {"b", 3, 5, 16}}, {{0, 3}}},
        {"to the right", {{"a", 0, 4, 17}, {"b", 4, 4, 16}}, {{0, 4}}},
        {"national", {{"a", 0, 4, 24}, {"b", 4, 4, 16}}, {{0, 4}}},
        {"float", {{"a", 0, 4, 23}, {"b", 4, 4, 16}}, {{0, 4}}},
        {"one byte", {{"a", 0, 1, 16}, {"b", 1, 7, 16}}, {{0, 1}}},
        {"redefined", {{"a", 0, 4, 16}, {"n", 0, 4, 1, 4}, {"b", 4, 4, 16}}, {{0, 4}}},
        {"filler", {{"a", 0, 2, 16}, {"b", 4, 4, 16}}, {{0, 4}}},
        {"everything", {{"a", 0, 8, 16}}, {{0, 8}}},
    };
    return cases;
}

// Key contents of few kinds, so that they meet: usual ones for the type, odd
// ones, and any bytes.
std::string random_record(std::mt19937 &random) {
    static const std::string kAlphabets[] = {"0123456789",
                                             "AB ",
                                             "\0\x01 A\x1F!\xFF\x80"s,
                                             "\x10\x2C\x2D\x12\x3C\x3D\x0C\x0D\x0F\x1F",
                                             "01pq{AB}J+-@P",
                                             "\x01\x02\x0B\x0D\0"s};
    std::string record(8, ' ');
    const std::string &alphabet = kAlphabets[random() % std::size(kAlphabets)];
    const bool is_any = random() % 8 == 0;
    for (char &c : record) {
        c = is_any ? static_cast<char>(random()) : alphabet[random() % alphabet.size()];
    }
    return record;
}

sql::TableLayout layout_of_case(const KeyCase &row, bool has_duplicates, XfdBuilder *builder) {
    for (const FieldRow &field : row.fields) {
        builder->field(field);
    }
    builder->key({has_duplicates, row.segments});
    builder->settings().cv_sign_code1 = static_cast<uint8_t>(row.sign_code);
    if (row.sign_code == 16) {
        builder->settings().cv_sign_code2 = 13;
    }
    return layout_of(*builder);
}

TEST_F(TableReader, KeyOrderIsTheOrderOfBytesWithDuplicatesInTheOrderOfInsertion) {
    std::mt19937 random(1);
    for (const KeyCase &row : key_cases()) {
        SCOPED_TRACE(row.what);
        SetUp();
        XfdBuilder builder("t", 8);
        const sql::TableLayout layout = layout_of_case(row, true, &builder);
        Records records;
        for (int i = 0; i < 600; i++) {
            records.push_back(random_record(random));
        }
        must_load(layout, records);
        EXPECT_EQ(unload(layout, 0), in_key_order(records, layout.keys[0]));
        EXPECT_EQ(unload(layout, sql::TableReader::kRecordOrder), records);
    }
}

TEST_F(TableReader, AUniqueKeyRefusesExactlyTheRecordsWithBytesThatWereThere) {
    std::mt19937 random(2);
    for (const KeyCase &row : key_cases()) {
        for (const bool keep_exact : {true, false}) {
            SCOPED_TRACE(row.what);
            SetUp();
            XfdBuilder builder("t", 8);
            sql::TableLayout layout = layout_of_case(row, false, &builder);
            layout = layout_of(builder, {.keep_exact = keep_exact});
            Records records;
            Records taken;
            std::vector<std::string> keys;
            std::vector<uint64_t> expected;
            for (uint64_t i = 1; i <= 400; i++) {
                records.push_back(random_record(random));
                const std::string key = key_of(records.back(), layout.keys[0]);
                if (std::ranges::find(keys, key) == keys.end()) {
                    keys.push_back(key);
                    taken.push_back(records.back());
                } else {
                    expected.push_back(i);
                }
            }
            std::vector<uint64_t> rejected;
            sql::LoadOptions options;
            options.on_reject = [&](const sql::Rejection &r) {
                rejected.push_back(r.record_number);
                EXPECT_EQ(as_string(r.record), records[static_cast<size_t>(r.record_number - 1)]);
                return sql::Status();
            };
            ASSERT_TRUE(load(layout, records, options).ok());
            std::ranges::sort(rejected);
            EXPECT_EQ(rejected, expected);
            if (keep_exact) {
                EXPECT_EQ(unload(layout, 0), in_key_order(taken, layout.keys[0]));
            }
        }
    }
}

TEST_F(TableReader, AlternateKeysGiveTheirOwnOrder) {
    std::mt19937 random(3);
    XfdBuilder builder("t", 8);
    builder.fields({{"a", 0, 4, 16}, {"n", 4, 2, 9, 3}, {"b", 6, 2, 12, 4}});
    builder.key({true, {{0, 4}}}).key({true, {{4, 2}}}).key({true, {{6, 2}, {0, 2}}});
    const sql::TableLayout layout = layout_of(builder);
    Records records;
    for (int i = 0; i < 500; i++) {
        records.push_back(random_record(random));
    }
    must_load(layout, records);
    for (size_t k = 0; k < 3; k++) {
        EXPECT_EQ(unload(layout, k), in_key_order(records, layout.keys[k]));
    }
}

TEST_F(TableReader, AnyBytesOfAnyStorageComeBack) {
    std::mt19937 random(4);
    XfdBuilder builder("t", 60, XFD_SEQUENTIAL);
    builder.fields({{"t1", 0, 6, 16},
                    {"d1", 6, 5, 1, 5},
                    {"p1", 11, 4, 9, 7, -2},
                    {"b1", 15, 4, 11, 9},
                    {"l1", 19, 8, 33, 20},
                    {"s1", 27, 4, 3, 4, -1},
                    {"n1", 32, 6, 24},
                    {"f1", 38, 4, 23},
                    {"f2", 42, 8, 23},
                    {"r1", 50, 5, 17},
                    {"x1", 55, 3, 4, 2}});
    builder.min_record(0);
    const sql::TableLayout layout = layout_of(builder);
    Records records;
    for (int i = 0; i < 1500; i++) {
        std::string record(random() % 4 == 0 ? random() % 61 : 60, ' ');
        const std::string usual = "0123456789 ABCabc\x0C\x1D+-{}pq";
        const bool is_wild = random() % 2 == 0;
        for (char &c : record) {
            c = is_wild ? static_cast<char>(random()) : usual[random() % usual.size()];
        }
        records.push_back(record);
    }
    must_load(layout, records);
    EXPECT_EQ(unload(layout), records);
}

TEST_F(TableReader, WhatIsMissingIsToldByName) {
    XfdBuilder builder("t", 8);
    builder.fields({{"a", 0, 4, 16}, {"b", 4, 4, 16}}).key({false, {{0, 4}}});
    const sql::TableLayout layout = layout_of(builder);
    std::unique_ptr<sql::TableReader> reader;
    EXPECT_EQ(sql::TableReader::open(*db_, layout, 0, &reader).kind(),
              sql::ErrorKind::kNoSuchTable);
    run("CREATE TABLE t (A TEXT UNIQUE, key_1_bytes BLOB); "
        "CREATE UNIQUE INDEX i ON t (key_1_bytes) WHERE key_1_bytes IS NOT NULL");
    const sql::Status status = sql::TableReader::open(*db_, layout, 0, &reader);
    EXPECT_EQ(status.kind(), sql::ErrorKind::kMismatch);
    EXPECT_EQ(status.text(),
              "the table \"t\" cannot be read with this dictionary: it has no column \"b\"");
    EXPECT_EQ(sql::TableReader::open(*db_, layout, 1, &reader).kind(), sql::ErrorKind::kUsage);
}

TEST_F(TableReader, RowsMadeBySqlAreRecords) {
    XfdBuilder builder("t", 8);
    builder.fields({{"n", 0, 4, 1, 4}, {"b", 4, 4, 16}}).key({false, {{0, 4}}});
    const sql::TableLayout layout = layout_of(builder);
    must_load(layout, {"0005AAAA"});
    run("INSERT INTO t (n, b) VALUES (7, 'x'), (3, NULL)");
    EXPECT_EQ(unload(layout), (Records{"0003    ", "0005AAAA", "0007x   "}));
}

TEST_F(TableReader, KeysChangedBySqlTakeTheirNewPlace) {
    for (const int8_t scale : {int8_t{0}, int8_t{-1}}) {
        SCOPED_TRACE(int{scale});
        SetUp();
        XfdBuilder builder("t", 8);
        builder.fields({{"n", 0, 4, 1, 4, scale}, {"b", 4, 4, 16}}).key({true, {{0, 4}}});
        const sql::TableLayout layout = layout_of(builder);
        EXPECT_EQ(layout.keys[0].columns.empty(), scale != 0);
        must_load(layout, {"0010AAAA", "00 0BBBB", "0020CCCC", "0030DDDD"});
        run("UPDATE t SET n = n + " + std::string(scale == 0 ? "15" : "1.5") + " WHERE b = 'AAAA'");
        run("UPDATE t SET n = 7 WHERE b = 'BBBB'");
        run("INSERT INTO t (n, b) VALUES (2, 'EEEE')");
        const Records expected =
            scale == 0 ? Records{"0002EEEE", "0007BBBB", "0020CCCC", "0025AAAA", "0030DDDD"}
                       : Records{"0020CCCC", "0020EEEE", "0025AAAA", "0030DDDD", "0070BBBB"};
        EXPECT_EQ(unload(layout, 0), expected);
    }
}

// Records of other bytes and keys that are changed need the row's own number.
TEST_F(TableReader, ValuesThatMakeTheBytesOfAUniqueKeyTwiceAreTold) {
    XfdBuilder builder("t", 8);
    builder.fields({{"id", 0, 4, 1, 4}, {"name", 4, 4, 16}});
    builder.key({false, {{0, 4}}}).key({true, {{4, 4}}});
    const sql::TableLayout layout = layout_of(builder);
    must_load(layout, {"0000ZERO", "0001ONE "});
    run("INSERT INTO t (name) VALUES ('NULL')");

    std::unique_ptr<sql::TableReader> reader;
    ASSERT_TRUE(sql::TableReader::open(*db_, layout, 0, &reader).ok());
    sql::RecordView record;
    bool found = false;
    ASSERT_TRUE(reader->next(&record, &found).ok());
    EXPECT_EQ(as_string(record.bytes), "0000NULL");
    const sql::Status status = reader->next(&record, &found);
    EXPECT_EQ(status.kind(), sql::ErrorKind::kBadRecord);
    EXPECT_EQ(status.text(),
              "record 1: its key is that of record 3, but key 1 allows no duplicates");
    EXPECT_TRUE(reader->next(&record, &found).ok());
    EXPECT_EQ(as_string(record.bytes), "0001ONE ");
    reader.reset();
    // Other orders do not ask.
    EXPECT_EQ(unload(layout, 1), (Records{"0000NULL", "0001ONE ", "0000ZERO"}));
    EXPECT_EQ(unload(layout, sql::TableReader::kRecordOrder).size(), 3U);
}

TEST_F(TableReader, FieldsNamedLikeTheRowNumberAreFields) {
    XfdBuilder builder("t", 12);
    builder.fields({{"rowid", 0, 4, 1, 4}, {"oid", 4, 4, 16}, {"b", 8, 4, 16}});
    builder.key({false, {{0, 4}}}).key({false, {{4, 2}}});
    const sql::TableLayout layout = layout_of(builder);
    must_load(layout, {"00 3AAAA\1   ", "0007BBBBb   ", "0009CCCCc   "});
    EXPECT_EQ(unload(layout), (Records{"00 3AAAA\1   ", "0007BBBBb   ", "0009CCCCc   "}));
    run("UPDATE t SET \"rowid\" = 8, oid = 'ZZ' WHERE oid = 'AAAA'");
    EXPECT_EQ(unload(layout), (Records{"0007BBBBb   ", "0008ZZ  \1   ", "0009CCCCc   "}));
    EXPECT_EQ(unload(layout, 1), (Records{"0007BBBBb   ", "0009CCCCc   ", "0008ZZ  \1   "}));
}

// Rows without key bytes are read twice, once for their keys.
TEST(TableReaderInAFile, SeesOneStateOfTheTable) {
    std::string folder = (std::filesystem::temp_directory_path() / "sql_test.XXXXXX").string();
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    const std::string url = "sqlite:" + folder + "/t.db";
    {
        std::unique_ptr<sql::Connection> db;
        std::unique_ptr<sql::Connection> other;
        ASSERT_TRUE(sql::open_connection(url, {}, &db).ok());
        ASSERT_TRUE(sql::open_connection(url, {}, &other).ok());
        XfdBuilder builder("t", 4);
        builder.field({"n", 0, 4, 3, 4, -1}).key({true, {{0, 4}}});
        const sql::TableLayout layout = layout_of(builder);
        ASSERT_TRUE(db->execute("PRAGMA journal_mode = WAL").ok());
        std::unique_ptr<sql::TableLoader> loader;
        sql::LoadSummary summary;
        ASSERT_TRUE(sql::TableLoader::begin(*db, layout, {}, &loader).ok());
        ASSERT_TRUE(loader->finish(&summary).ok());
        ASSERT_TRUE(db->execute("INSERT INTO t (n) VALUES ('1.0'), ('2.0'), ('3.0')").ok());

        std::unique_ptr<sql::TableReader> reader;
        ASSERT_TRUE(sql::TableReader::open(*db, layout, 0, &reader).ok());
        ASSERT_TRUE(other->execute("DELETE FROM t").ok());
        Records records;
        sql::RecordView record;
        bool found = false;
        while (reader->next(&record, &found).ok() && found) {
            records.push_back(as_string(record.bytes));
        }
        EXPECT_EQ(records, (Records{"0010", "0020", "0030"}));
        reader.reset();
        EXPECT_FALSE(db->in_transaction());
    }
    std::filesystem::remove_all(folder);
}

}  // namespace
