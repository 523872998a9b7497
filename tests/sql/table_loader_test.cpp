// SPDX-License-Identifier: MIT
#include "sql/table_loader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "tests/sql/sql_fixture.h"

namespace {

using namespace sql_test;
using namespace std::string_literals;
using Rows = std::vector<std::string>;

class TableLoader : public TableTest {};

// number 9(4), name X(6), amount S9(3)V99 packed; the number is the key, the
// name an alternate one.
XfdBuilder customers(bool are_names_unique = false) {
    XfdBuilder builder("customers", 13);
    builder.fields({{"number", 0, 4, 1, 4}, {"name", 4, 6, 16}, {"amount", 10, 3, 9, 5, -2}});
    builder.key({false, {{0, 4}}}).key({!are_names_unique, {{4, 6}}});
    return builder;
}

std::string customer(const std::string &number, const std::string &name,
                     const std::string &amount = "\x01\x25\x0C"s) {
    return number + name + std::string(6 - name.size(), ' ') + amount;
}

struct Reject {
    uint64_t number;
    std::string reason, record;
};

sql::LoadOptions keep_rejects(std::vector<Reject> *rejects) {
    sql::LoadOptions options;
    options.on_reject = [rejects](const sql::Rejection &r) {
        rejects->push_back({r.record_number, r.reason, as_string(r.record)});
        return sql::Status();
    };
    return options;
}

TEST_F(TableLoader, RecordsBecomeRowsAndComeBack) {
    XfdBuilder builder = customers();
    const sql::TableLayout layout = layout_of(builder);
    const Records records{customer("0001", "ADA"), customer("0002", "GRACE", "\x99\x99\x9D"),
                          customer("0003", "", "\0\0\x0C"s)};
    must_load(layout, records);
    EXPECT_EQ(query("SELECT number FROM customers"), (Rows{"1", "2", "3"}));
    EXPECT_EQ(query("SELECT name FROM customers ORDER BY rowid"), (Rows{"'ADA'", "'GRACE'", "''"}));
    EXPECT_EQ(query("SELECT amount FROM customers"), (Rows{"'12.50'", "'-999.99'", "'0.00'"}));
    EXPECT_EQ(query("SELECT exact_record FROM customers"), (Rows{"NULL", "NULL", "NULL"}));
    EXPECT_EQ(query("SELECT key_1_bytes FROM customers"), (Rows{"NULL", "NULL", "NULL"}));
    EXPECT_EQ(summary_.loaded, 3U);
    EXPECT_EQ(summary_.kept_exact, 0U);
    EXPECT_EQ(unload(layout), records);
}

TEST_F(TableLoader, OddContentsKeepTheirExactBytes) {
    XfdBuilder builder = customers();
    const sql::TableLayout layout = layout_of(builder);
    const Records records{customer("0001", "ADA"), customer("0002", "GRACE", "\x01\x25\x0F"),
                          customer("0003", "JO\0\0"s), customer("0004", "JEAN", "   ")};
    must_load(layout, records);
    EXPECT_EQ(query("SELECT exact_record FROM customers ORDER BY rowid"),
              (Rows{"NULL", "blob 13", "blob 13", "blob 13"}));
    EXPECT_EQ(query("SELECT amount FROM customers ORDER BY rowid"),
              (Rows{"'12.50'", "'12.50'", "'12.50'", "NULL"}));
    EXPECT_EQ(summary_.kept_exact, 3U);
    EXPECT_EQ(unload(layout), records);
}

TEST_F(TableLoader, ChangedColumnsWinOverExactBytes) {
    XfdBuilder builder = customers();
    const sql::TableLayout layout = layout_of(builder);
    must_load(layout, {customer("0001", "ADA"), customer("0002", "GRACE", "\x01\x25\x0F")});
    run("UPDATE customers SET name = 'B''X'");
    run("UPDATE customers SET number = number + 10 WHERE number = 1");
    EXPECT_EQ(unload(layout),
              (Records{customer("0002", "B'X", "\x01\x25\x0F"), customer("0011", "B'X")}));
    run("UPDATE customers SET amount = '-1.5'");
    EXPECT_EQ(unload(layout), (Records{customer("0002", "B'X", "\0\x15\x0D"s),
                                       customer("0011", "B'X", "\0\x15\x0D"s)}));
}

TEST_F(TableLoader, ColumnsThatShareBytesKeepThemSoThatEitherCanChange) {
    XfdBuilder builder("shapes", 6);
    builder.fields({{"number", 0, 2, 1, 2}, {"code", 2, 4, 16}, {"amount", 2, 4, 1, 4}});
    builder.key({false, {{0, 2}}});
    const sql::TableLayout layout = layout_of(builder);
    must_load(layout, {"011234", "025678"});
    run("UPDATE shapes SET code = 'WXYZ' WHERE number = 1");
    run("UPDATE shapes SET amount = 9 WHERE number = 2");
    EXPECT_EQ(unload(layout), (Records{"01WXYZ", "020009"}));
}

TEST_F(TableLoader, ValuesThatDoNotFitAreToldWithRecordAndColumn) {
    XfdBuilder builder = customers();
    const sql::TableLayout layout = layout_of(builder);
    must_load(layout, {customer("0001", "ADA"), customer("0002", "GRACE")});
    run("UPDATE customers SET name = 'TOO LONG' WHERE number = 1");
    std::unique_ptr<sql::TableReader> reader;
    ASSERT_TRUE(sql::TableReader::open(*db_, layout, 0, &reader).ok());
    sql::RecordView record;
    bool found = false;
    const sql::Status status = reader->next(&record, &found);
    EXPECT_EQ(status.kind(), sql::ErrorKind::kBadRecord);
    EXPECT_EQ(status.text(),
              "record 1: column \"name\" holds 'TOO LONG', which does not fit its field (6 bytes)");
    ASSERT_TRUE(reader->next(&record, &found).ok());
    EXPECT_EQ(as_string(record.bytes), customer("0002", "GRACE"));
}

TEST_F(TableLoader, DuplicatesEndTheLoadAndLeaveNothing) {
    struct Row {
        const char *what;
        bool are_names_unique;
        Records records;
        const char *expected;
    };
    const Row rows[] = {
        {"primary key",
         false,
         {customer("0001", "ADA"), customer("0002", "GRACE"), customer("0001", "JEAN")},
         "record 3: its key is in the table already (UNIQUE constraint failed: customers.number "
         "(SQLite 1555, E_DUPLICATE))"},
        {"alternate key",
         true,
         {customer("0001", "ADA"), customer("0002", "GRACE"), customer("0003", "ADA")},
         "record 3: its key (\"name\") is that of record 1"},
        {"odd contents",
         false,
         {customer("  01", "ADA"), customer("0002", "GRACE"), customer("  01", "JEAN")},
         "record 3: its key is in the table already (UNIQUE constraint failed: "
         "customers.key_1_bytes (SQLite 2067, E_DUPLICATE))"},
        {"too long",
         false,
         {customer("0001", "ADA") + "!"},
         "record 1: the record has 14 bytes, the dictionary 13 at most"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.what);
        XfdBuilder builder = customers(row.are_names_unique);
        EXPECT_EQ(load(layout_of(builder), row.records).text(), row.expected);
        EXPECT_EQ(query("SELECT count(*) FROM sqlite_schema"), (Rows{"0"}));
    }
}

TEST_F(TableLoader, RejectedRecordsAreHandedBackWithTheirReason) {
    for (const bool keep_exact : {true, false}) {
        SCOPED_TRACE(keep_exact);
        XfdBuilder builder = customers(true);
        const sql::TableLayout layout = layout_of(builder, {.keep_exact = keep_exact});
        Records records;
        for (int i = 0; i < 100; i++) {
            const std::string number = std::to_string(1000 + i);
            records.push_back(customer(number, number));
        }
        records[40] = customer("1010", "DUP");
        records[41] = customer("1041", "1011", "\x01\x25\x0F");
        records[99] = std::string(14, 'x');
        std::vector<Reject> rejects;
        sql::LoadOptions options = keep_rejects(&rejects);
        options.replace = true;
        ASSERT_TRUE(load(layout, records, std::move(options)).ok());
        ASSERT_EQ(rejects.size(), 3U);
        EXPECT_EQ(summary_.rejected, 3U);
        EXPECT_EQ(summary_.loaded, 97U);
        EXPECT_EQ(summary_.kept_exact, 0U);
        std::ranges::sort(rejects, {}, &Reject::number);
        EXPECT_EQ(rejects[0].number, 41U);
        EXPECT_EQ(rejects[1].number, 42U);
        EXPECT_EQ(rejects[2].number, 100U);
        for (const Reject &reject : rejects) {
            EXPECT_EQ(reject.record, records[static_cast<size_t>(reject.number - 1)]);
        }
        Records rest = records;
        rest.erase(rest.begin() + 99);
        rest.erase(rest.begin() + 40, rest.begin() + 42);
        EXPECT_EQ(unload(layout), rest);
    }
}

TEST_F(TableLoader, ARejectThatFailsEndsTheLoad) {
    XfdBuilder builder = customers();
    sql::LoadOptions options;
    options.on_reject = [](const sql::Rejection &) {
        return sql::Status(sql::ErrorKind::kIoError, "no room");
    };
    const sql::Status status = load(layout_of(builder), {"1", "1"}, std::move(options));
    EXPECT_EQ(status.text(), "no room");
    EXPECT_EQ(query("SELECT count(*) FROM sqlite_schema"), (Rows{"0"}));
}

TEST_F(TableLoader, WithoutExactRecordsTheChangedOnesAreCounted) {
    XfdBuilder builder = customers();
    const sql::TableLayout layout = layout_of(builder, {.keep_exact = false});
    must_load(layout, {customer("0001", "ADA"), customer("0002", "GRACE", "\x01\x25\x0F")});
    EXPECT_EQ(summary_.changed, 1U);
    EXPECT_EQ(unload(layout), (Records{customer("0001", "ADA"), customer("0002", "GRACE")}));
    // A reader that knows of the column does without it.
    EXPECT_EQ(unload(layout_of(builder)).size(), 2U);
}

TEST_F(TableLoader, ATableThatIsThereStaysUnlessItIsReplaced) {
    XfdBuilder builder = customers();
    const sql::TableLayout layout = layout_of(builder);
    must_load(layout, {customer("0001", "ADA")});
    EXPECT_EQ(load(layout, {}).kind(), sql::ErrorKind::kTableExists);
    EXPECT_EQ(unload(layout).size(), 1U);
    sql::LoadOptions options;
    options.replace = true;
    ASSERT_TRUE(load(layout, {customer("0002", "GRACE"), customer("0003", "")}, options).ok());
    EXPECT_EQ(unload(layout).size(), 2U);
    // A load that fails leaves the table that it would have replaced.
    EXPECT_FALSE(load(layout, {customer("0002", ""), customer("0002", "")}, options).ok());
    EXPECT_EQ(unload(layout).size(), 2U);
}

TEST_F(TableLoader, ALoadThatIsGivenUpLeavesNothing) {
    XfdBuilder builder = customers();
    const sql::TableLayout layout = layout_of(builder);
    std::unique_ptr<sql::TableLoader> loader;
    ASSERT_TRUE(sql::TableLoader::begin(*db_, layout, {}, &loader).ok());
    for (uint64_t i = 1; i <= 100; i++) {
        ASSERT_TRUE(loader->add(i, as_bytes(customer(std::to_string(1000 + i), "X"))).ok());
    }
    EXPECT_EQ(loader->add(100, as_bytes("x")).kind(), sql::ErrorKind::kUsage);
    loader.reset();
    EXPECT_EQ(query("SELECT count(*) FROM sqlite_schema"), (Rows{"0"}));
    EXPECT_FALSE(db_->in_transaction());
}

TEST_F(TableLoader, NamesAndDataThatLookLikeSqlAreNamesAndData) {
    XfdBuilder builder("x\"; DROP TABLE t; --", 32, XFD_SEQUENTIAL);
    builder.fields({{"select", 0, 8, 16}, {"a\"b'c", 8, 8, 16}, {"?1; --", 16, 16, 16}});
    const sql::TableLayout layout = layout_of(builder);
    const Records records{"');DROP T\"\"\"\"\"\"\"\"x'--;/*        ",
                          "\xFF\x80\x01\x02\x03\x7F\t\n" + std::string(24, '\''),
                          std::string(32, '\0')};
    must_load(layout, records);
    EXPECT_EQ(unload(layout), records);
}

TEST_F(TableLoader, RelativeRecordsKeepTheirNumbers) {
    XfdBuilder builder("slots", 4, XFD_RELATIVE);
    builder.field({"a", 0, 4, 16});
    const sql::TableLayout layout = layout_of(builder);
    std::unique_ptr<sql::TableLoader> loader;
    ASSERT_TRUE(sql::TableLoader::begin(*db_, layout, {}, &loader).ok());
    ASSERT_TRUE(loader->add(3, as_bytes("AAAA")).ok());
    ASSERT_TRUE(loader->add(70, as_bytes("BBBB")).ok());
    ASSERT_TRUE(loader->finish(&summary_).ok());
    EXPECT_EQ(query("SELECT record_number FROM slots"), (Rows{"3", "70"}));
    std::unique_ptr<sql::TableReader> reader;
    ASSERT_TRUE(sql::TableReader::open(*db_, layout, sql::default_order(layout), &reader).ok());
    sql::RecordView record;
    bool found = false;
    ASSERT_TRUE(reader->next(&record, &found).ok() && found);
    EXPECT_EQ(record.number, 3U);
    ASSERT_TRUE(reader->next(&record, &found).ok() && found);
    EXPECT_EQ(record.number, 70U);
    ASSERT_TRUE(reader->next(&record, &found).ok());
    EXPECT_FALSE(found);
}

TEST_F(TableLoader, RealsComeBackBitForBit) {
    XfdBuilder builder("reals", 12, XFD_SEQUENTIAL);
    builder.fields({{"d", 0, 8, 23}, {"f", 8, 4, 23}});
    const sql::TableLayout layout = layout_of(builder);
    Records records;
    constexpr uint64_t kBits[] = {0x0000000000000000U, 0x8000000000000000U, 0x3FF0000000000000U,
                                  0x4340000000000001U, 0x0000000000000001U, 0x7FEFFFFFFFFFFFFFU,
                                  0x7FF0000000000000U, 0xFFF0000000000000U, 0x7FF8000000000001U,
                                  0x7FF0000000000001U, 0x3FB999999999999AU, 0x43E0000000000000U};
    for (const uint64_t bits : kBits) {
        std::string record(12, '\0');
        const uint64_t value = bits;
        const auto high = static_cast<uint32_t>(bits >> 32);
        std::memcpy(record.data(), &value, 8);
        std::memcpy(record.data() + 8, &high, 4);
        records.push_back(record);
    }
    must_load(layout, records);
    EXPECT_EQ(unload(layout), records);
    // Not a number and minus zero are all that a column cannot hold.
    EXPECT_EQ(query("SELECT count(*) FROM reals WHERE exact_record IS NOT NULL AND d IS NOT NULL "
                    "AND d <> 0 AND f IS NOT NULL AND f <> 0"),
              (Rows{"0"}));
}

TEST_F(TableLoader, RowsOfFieldsAloneAreLoaded) {
    XfdBuilder builder("t", 4, XFD_SEQUENTIAL);
    builder.field({"a", 0, 4, 16});
    const sql::TableLayout layout = layout_of(builder, {.keep_exact = false});
    must_load(layout, {"AAAA", "B\1  "});
    EXPECT_EQ(summary_.loaded, 2U);
    EXPECT_EQ(summary_.changed, 0U);
    EXPECT_EQ(unload(layout), (Records{"AAAA", "B\1  "}));
}

TEST_F(TableLoader, RecordsThatOnlyTheirExactBytesBringBackAreRefusedWithoutThem) {
    // A blank is no number; its column is null, zero in the record, and then the
    // condition does not hold.
    XfdBuilder builder("t", 4, XFD_SEQUENTIAL);
    builder.field({"kind", 0, 1, 1, 1}).field({"rest", 1, 3, 16});
    builder.last_field().fd_cond_num = 1;
    builder.condition({XFD_COND_NE, "kind", "+0"});
    const sql::TableLayout exact = layout_of(builder);
    const sql::TableLayout plain = layout_of(builder, {.keep_exact = false});
    const Records records{"1AAA", " BBB", "0 C "};

    const sql::Status status = load(plain, records);
    EXPECT_EQ(status.kind(), sql::ErrorKind::kBadRecord);
    EXPECT_TRUE(status.text().starts_with(
        "record 2: it could not be read back without its exact bytes: column \"rest\" holds 'BBB'"))
        << status.text();
    Records rejected;
    sql::LoadOptions options;
    options.on_reject = [&](const sql::Rejection &rejection) {
        rejected.push_back(as_string(rejection.record));
        return sql::Status();
    };
    ASSERT_TRUE(load(plain, records, options).ok());
    EXPECT_EQ(rejected, Records{records[1]});
    EXPECT_EQ(summary_.loaded, 2U);
    EXPECT_EQ(summary_.changed, 1U);
    EXPECT_EQ(unload(plain), (Records{"1AAA", "0   "}));
    options.replace = true;
    options.on_reject = {};
    ASSERT_TRUE(load(exact, records, options).ok());
    EXPECT_EQ(unload(exact), records);
}

}  // namespace
