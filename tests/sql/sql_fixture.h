// SPDX-License-Identifier: MIT
//
// What the tests of tables share: a database without a file, a load of a list
// of records, an unload into another, and queries as text.
#ifndef TESTS_SQL_SQL_FIXTURE_H
#define TESTS_SQL_SQL_FIXTURE_H

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "sql/connection.h"
#include "sql/table_layout.h"
#include "sql/table_loader.h"
#include "sql/table_reader.h"
#include "tests/sql/xfd_builder.h"

namespace sql_test {

using Records = std::vector<std::string>;

inline sql::Bytes as_bytes(std::string_view text) {
    return {reinterpret_cast<const unsigned char *>(text.data()), text.size()};
}
inline std::string as_string(sql::Bytes bytes) {
    return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}

inline sql::TableLayout layout_of(XfdBuilder &builder, const sql::LayoutOptions &options = {}) {
    sql::TableLayout layout;
    const sql::Status status = sql::make_layout(builder.build(), options, &layout);
    EXPECT_TRUE(status.ok()) << status.text();
    return layout;
}

class TableTest : public ::testing::Test {
 protected:
    void SetUp() override {
        const sql::Status status = sql::open_connection("sqlite::memory:", {}, &db_);
        ASSERT_TRUE(status.ok()) << status.text();
    }

    // Loads all records, numbered from 1, or gives the first error.
    sql::Status load(const sql::TableLayout &layout, const Records &records,
                     sql::LoadOptions options = {}) {
        std::unique_ptr<sql::TableLoader> loader;
        sql::Status status = sql::TableLoader::begin(*db_, layout, std::move(options), &loader);
        for (size_t i = 0; status.ok() && i < records.size(); i++) {
            status = loader->add(i + 1, as_bytes(records[i]));
        }
        return status.ok() ? loader->finish(&summary_) : status;
    }

    void must_load(const sql::TableLayout &layout, const Records &records) {
        const sql::Status status = load(layout, records);
        ASSERT_TRUE(status.ok()) << status.text();
    }

    Records unload(const sql::TableLayout &layout, size_t key) {
        std::unique_ptr<sql::TableReader> reader;
        sql::Status status = sql::TableReader::open(*db_, layout, key, &reader);
        Records records;
        sql::RecordView record;
        bool found = true;
        while (status.ok() && (status = reader->next(&record, &found)).ok() && found) {
            records.push_back(as_string(record.bytes));
        }
        EXPECT_TRUE(status.ok()) << status.text();
        return records;
    }
    Records unload(const sql::TableLayout &layout) {
        return unload(layout, sql::default_order(layout));
    }

    // The first column of each row of a query, null as "NULL".
    std::vector<std::string> query(const std::string &sql_text) {
        std::unique_ptr<sql::Statement> statement;
        sql::Status status = db_->prepare(sql_text, &statement);
        std::vector<std::string> rows;
        sql::Value value;
        bool found = true;
        while (status.ok() && (status = statement->fetch({&value, 1}, &found)).ok() && found) {
            switch (value.kind()) {
                case sql::Value::Kind::kInteger:
                    rows.push_back(std::to_string(value.as_integer()));
                    break;
                case sql::Value::Kind::kReal:
                    rows.push_back("real " + std::to_string(value.as_real()));
                    break;
                case sql::Value::Kind::kText:
                    rows.emplace_back("'").append(value.as_text()).append("'");
                    break;
                case sql::Value::Kind::kBlob:
                    rows.push_back("blob " + std::to_string(value.as_blob().size()));
                    break;
                default:
                    rows.emplace_back("NULL");
            }
        }
        EXPECT_TRUE(status.ok()) << sql_text << ": " << status.text();
        return rows;
    }
    void run(const std::string &sql_text) {
        const sql::Status status = db_->execute(sql_text);
        ASSERT_TRUE(status.ok()) << sql_text << ": " << status.text();
    }

    std::unique_ptr<sql::Connection> db_;
    sql::LoadSummary summary_;
};

}  // namespace sql_test

#endif
