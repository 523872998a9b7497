// SPDX-License-Identifier: MIT
#include "sql/connection.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "tests/sql/sql_fixture.h"

namespace {

class Connection : public ::testing::Test {
 protected:
    void SetUp() override {
        folder_ = (std::filesystem::temp_directory_path() / "sql_test.XXXXXX").string();
        ASSERT_NE(mkdtemp(folder_.data()), nullptr);
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    sql::Status open(const std::string &name, const sql::OpenOptions &options = {}) {
        return sql::open_connection("sqlite:" + folder_ + "/" + name, options, &db_);
    }

    std::string folder_;
    std::unique_ptr<sql::Connection> db_;
};

TEST_F(Connection, UrlsWithoutADatabaseAreRefused) {
    for (const char *url : {"", "sqlite", "sqlite:", "shop.db", "oracle:shop"}) {
        SCOPED_TRACE(url);
        const sql::Status status = sql::open_connection(url, {}, &db_);
        EXPECT_EQ(status.kind(), sql::ErrorKind::kUsage);
        EXPECT_NE(status.text().find("sqlite:FILE"), std::string::npos);
    }
}

TEST_F(Connection, ErrorsHaveTheirKind) {
    EXPECT_EQ(open("no/such/folder.db").kind(), sql::ErrorKind::kCannotOpen);
    EXPECT_EQ(open("none.db", {.create = false}).kind(), sql::ErrorKind::kCannotOpen);
    std::ofstream(folder_ + "/text.db") << std::string(4096, 'x');
    const sql::Status status = open("text.db");
    EXPECT_EQ(status.kind(), sql::ErrorKind::kNotADatabase);
    EXPECT_NE(status.text().find("text.db: file is not a database"), std::string::npos);
    ASSERT_TRUE(open("a.db").ok());
    ASSERT_TRUE(db_->execute("CREATE TABLE t (a PRIMARY KEY, b NOT NULL); INSERT INTO t "
                             "VALUES (1, 1)")
                    .ok());
    EXPECT_EQ(db_->execute("INSERT INTO t VALUES (1, 1)").kind(), sql::ErrorKind::kDuplicate);
    EXPECT_EQ(db_->execute("INSERT INTO t VALUES (2, NULL)").kind(), sql::ErrorKind::kConstraint);
    EXPECT_EQ(db_->execute("NONSENSE").kind(), sql::ErrorKind::kInternal);
    ASSERT_TRUE(db_->execute("PRAGMA max_page_count = 4").ok());
    EXPECT_EQ(db_->execute("INSERT INTO t VALUES (3, zeroblob(100000))").kind(),
              sql::ErrorKind::kDiskFull);
    ASSERT_TRUE(open("a.db", {.read_only = true}).ok());
    EXPECT_EQ(db_->execute("INSERT INTO t VALUES (4, 1)").kind(), sql::ErrorKind::kReadOnly);
}

TEST_F(Connection, TheLockOfAnotherIsBusy) {
    ASSERT_TRUE(open("a.db").ok());
    ASSERT_TRUE(db_->begin().ok());
    std::unique_ptr<sql::Connection> first = std::move(db_);
    ASSERT_TRUE(open("a.db", {.busy_timeout_ms = 0}).ok());
    EXPECT_EQ(db_->begin().kind(), sql::ErrorKind::kBusy);
    EXPECT_FALSE(db_->in_transaction());
    EXPECT_TRUE(db_->rollback().ok());
    ASSERT_TRUE(first->rollback().ok());
    EXPECT_TRUE(db_->begin().ok());
}

TEST_F(Connection, AnInsertOfManyRowsSaysWhichRowWasRefused) {
    ASSERT_TRUE(open("a.db").ok());
    ASSERT_TRUE(db_->execute("CREATE TABLE t (a UNIQUE)").ok());
    const std::string column = sql::Dialect::quote("a");
    std::unique_ptr<sql::Statement> insert;
    ASSERT_TRUE(db_->prepare(db_->dialect().insert("t", {&column, 1}, 4), &insert).ok());
    const sql::Value values[] = {sql::Value::integer(1), sql::Value::integer(2),
                                 sql::Value::integer(1), sql::Value::integer(3)};
    insert->bind(0, values);
    uint64_t rows = 99;
    EXPECT_EQ(insert->execute(&rows).kind(), sql::ErrorKind::kDuplicate);
    EXPECT_EQ(rows, 2U);
    const sql::Value again = sql::Value::integer(1);
    insert->bind(0, {&again, 1});
    EXPECT_EQ(insert->execute(&rows).kind(), sql::ErrorKind::kDuplicate);
    EXPECT_EQ(rows, 0U);
}

TEST_F(Connection, ValuesComeBackAsTheyWereBound) {
    ASSERT_TRUE(open("a.db").ok());
    std::unique_ptr<sql::Statement> select;
    ASSERT_TRUE(db_->prepare("SELECT ?, ?, ?, ?, ?, ?", &select).ok());
    const unsigned char bytes[] = {0, 1, 255};
    const sql::Value values[] = {
        sql::Value(),          sql::Value::integer(INT64_MIN),
        sql::Value::real(0.1), sql::Value::text(std::string_view("a\0b'", 4)),
        sql::Value::text(""),  sql::Value::blob(bytes)};
    select->bind(0, values);
    sql::Value row[6];
    bool found = false;
    ASSERT_TRUE(select->fetch(row, &found).ok() && found);
    for (size_t i = 0; i < 6; i++) {
        EXPECT_EQ(row[i], values[i]) << i;
    }
    ASSERT_TRUE(select->fetch(row, &found).ok());
    EXPECT_FALSE(found);
    EXPECT_EQ(db_->prepare("SELECT FROM", &select).kind(), sql::ErrorKind::kInternal);
}

TEST_F(Connection, AFileThatLooksLikeAUriIsAFile) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder_);
    const sql::Status status = sql::open_connection("sqlite:file:x.db?mode=memory", {}, &db_);
    EXPECT_TRUE(status.ok()) << status.text();
    EXPECT_TRUE(db_->execute("CREATE TABLE t (a)").ok());
    EXPECT_TRUE(std::filesystem::exists(folder_ + "/file:x.db?mode=memory"));
    std::filesystem::current_path(before);
}

TEST_F(Connection, DatabasesThatKeepTextInUtf16AreRefused) {
    ASSERT_TRUE(open("wide.db").ok());
    ASSERT_TRUE(db_->execute("PRAGMA encoding = 'UTF-16le'; CREATE TABLE t (a)").ok());
    const sql::Status status = open("wide.db");
    EXPECT_EQ(status.kind(), sql::ErrorKind::kMismatch);
    EXPECT_NE(status.text().find("wide.db: it keeps its text in UTF-16le"), std::string::npos);
}

}  // namespace
