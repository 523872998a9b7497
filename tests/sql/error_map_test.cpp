// SPDX-License-Identifier: MIT
#include "sql/error_map.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "host/memory.h"
#include "sql/connection.h"

namespace {

class ErrorMap : public ::testing::Test {
 protected:
    void SetUp() override {
        folder_ = (std::filesystem::temp_directory_path() / "sql_test.XXXXXX").string();
        ASSERT_NE(mkdtemp(folder_.data()), nullptr);
        unsetenv("WBFSI_ERROR_MAP");
    }
    void TearDown() override {
        std::filesystem::remove_all(folder_);
        unsetenv("WBFSI_ERROR_MAP");
    }
    std::string file(const std::string &text) {
        std::string path = folder_ + "/map";
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

    std::string folder_;
};

TEST_F(ErrorMap, TheShippedMapKnowsEveryPrimaryCodeThatIsAnError) {
    const sql::ErrorMap map = sql::ErrorMap::of("sqlite");
    for (int code = SQLITE_ERROR; code <= SQLITE_NOTADB; code++) {
        EXPECT_NE(sql::file_error_name(map.find(code)), "") << code << " " << sqlite3_errstr(code);
    }
    for (const int code : {SQLITE_OK, SQLITE_NOTICE, SQLITE_WARNING, SQLITE_ROW, SQLITE_DONE}) {
        EXPECT_EQ(map.find(code), 0) << code;
    }
}

// By SQLite's own names, so that a digit that went astray shows.
TEST_F(ErrorMap, TheShippedMapMeansTheCodesItNames) {
    struct Row {
        int code;
        const char *name;
    };
    const Row rows[] = {
        {SQLITE_CONSTRAINT_PRIMARYKEY, "E_DUPLICATE"},
        {SQLITE_CONSTRAINT_UNIQUE, "E_DUPLICATE"},
        {SQLITE_CONSTRAINT_ROWID, "E_DUPLICATE"},
        {SQLITE_CONSTRAINT_DATATYPE, "E_MISMATCH"},
        {SQLITE_CONSTRAINT, "E_PARAM_ERR"},
        {SQLITE_BUSY_RECOVERY, "E_FILE_LOCKED"},
        {SQLITE_BUSY_SNAPSHOT, "E_REC_CHANGED"},
        {SQLITE_BUSY, "E_REC_LOCKED"},
        {SQLITE_LOCKED_SHAREDCACHE, "E_REC_LOCKED"},
        {SQLITE_LOCKED, "E_FILE_LOCKED"},
        {SQLITE_IOERR_UNLOCK, "E_NO_LOCKS"},
        {SQLITE_IOERR_RDLOCK, "E_NO_LOCKS"},
        {SQLITE_IOERR_CHECKRESERVEDLOCK, "E_NO_LOCKS"},
        {SQLITE_IOERR_LOCK, "E_NO_LOCKS"},
        {SQLITE_IOERR_SHMLOCK, "E_NO_LOCKS"},
        {SQLITE_IOERR_SHORT_READ, "E_BROKEN"},
        {SQLITE_IOERR_DATA, "E_BROKEN"},
        {SQLITE_IOERR_CORRUPTFS, "E_BROKEN"},
        {SQLITE_IOERR_NOMEM, "E_NO_MEMORY"},
        {SQLITE_IOERR, "E_SYS_ERROR"},
        {SQLITE_CANTOPEN_SYMLINK, "E_PERMISSION"},
        {SQLITE_CANTOPEN, "E_MISSING_FILE"},
        {SQLITE_READONLY_DBMOVED, "E_MISSING_FILE"},
        {SQLITE_READONLY, "E_PERMISSION"},
        {SQLITE_FULL, "E_DISK_FULL"},
        {SQLITE_NOMEM, "E_NO_MEMORY"},
        {SQLITE_CORRUPT, "E_BROKEN"},
        {SQLITE_NOTADB, "E_BROKEN"},
        {SQLITE_SCHEMA, "E_MISMATCH"},
        {SQLITE_NOLFS, "E_NO_SUPPORT"},
    };
    const sql::ErrorMap map = sql::ErrorMap::of("sqlite");
    for (const Row &row : rows) {
        EXPECT_EQ(sql::file_error_name(map.find(row.code)), row.name) << row.code;
    }
}

TEST_F(ErrorMap, TheFirstLineOfItsSectionsThatNamesAnErrorCounts) {
    const sql::ErrorMap map = sql::ErrorMap::read(
        file("5 E_BROKEN\n[other]\n6 E_BROKEN\n[sqlite] of this site\n7 NONSENSE\n7 E_DUPLICATE\n"
             "7 E_BROKEN\n-1 E_NO_SUPPORT\n8\n[sqlite]\n9 E_NO_LOCKS\n7 E_NOT_FOUND\n"),
        "sqlite");
    EXPECT_EQ(map.find(5), 0);
    EXPECT_EQ(map.find(6), 0);
    EXPECT_EQ(map.find(7), 7);
    EXPECT_EQ(map.find(-1), 17);
    EXPECT_EQ(map.find(8), 0);
    EXPECT_EQ(map.find(9), 18);
    EXPECT_EQ(map.find(0), 0);
}

TEST_F(ErrorMap, AMapThatCannotBeReadKnowsNothing) {
    std::filesystem::create_directory(folder_ + "/folder");
    for (const std::string &path :
         {folder_ + "/none", folder_ + "/folder", std::string(), file(std::string(2000, '\0'))}) {
        EXPECT_EQ(sql::ErrorMap::read(path, "sqlite").find(5), 0) << path;
    }
}

TEST_F(ErrorMap, RefusedMemoryLeavesNothingBehind) {
    const std::string path = file(
        "[sqlite]\n1 E_BROKEN\n2 E_BROKEN\n3 E_BROKEN\n4 E_BROKEN\n"
        "5 E_BROKEN\n6 E_BROKEN\n");
    const size_t in_use = ZMemoryInUse(nullptr);
    for (int64_t nth = 1;; nth++) {
        ZMemoryRefuse(nth, 1);
        const sql::ErrorMap map = sql::ErrorMap::read(path, "sqlite");
        const bool was_refused = ZMemoryRefused() != 0;
        ZMemoryRefuse(0, 0);
        ASSERT_EQ(ZMemoryInUse(nullptr), in_use) << nth;
        if (!was_refused) {
            EXPECT_EQ(map.find(6), 6);
            break;
        }
    }
}

TEST_F(ErrorMap, NamesAreThoseOfTheFileErrors) {
    EXPECT_EQ(sql::file_error_name(1), "E_SYS_ERROR");
    EXPECT_EQ(sql::file_error_name(18), "E_NO_LOCKS");
    for (const int32_t none : {INT32_MIN, -1, 0, 19, INT32_MAX}) {
        EXPECT_EQ(sql::file_error_name(none), "");
    }
    // The library reads each name as its number.
    std::string text = "[sqlite]\n";
    for (int32_t error = 1; error <= 18; error++) {
        text.append(std::to_string(error)).append(" ").append(sql::file_error_name(error));
        text += '\n';
    }
    const sql::ErrorMap map = sql::ErrorMap::read(file(text), "sqlite");
    for (int32_t error = 1; error <= 18; error++) {
        EXPECT_EQ(map.find(error), error);
    }
}

TEST_F(ErrorMap, RefusalsOfADatabaseCarryBothNumbers) {
    std::unique_ptr<sql::Connection> db;
    sql::Status status =
        sql::open_connection("sqlite:" + folder_ + "/none.db", {.create = false}, &db);
    EXPECT_EQ(status.native_code(), SQLITE_CANTOPEN);
    EXPECT_EQ(status.file_error(), 15);
    EXPECT_TRUE(
        status.text().ends_with(": unable to open database file (SQLite 14, "
                                "E_MISSING_FILE)"))
        << status.text();

    ASSERT_TRUE(sql::open_connection("sqlite:" + folder_ + "/a.db", {}, &db).ok());
    ASSERT_TRUE(db->execute("CREATE TABLE t (a UNIQUE NOT NULL, b CHECK (b > 0)); "
                            "INSERT INTO t VALUES (1, 1)")
                    .ok());
    status = db->execute("INSERT INTO t VALUES (1, 1)").within("record 7");
    EXPECT_EQ(status.native_code(), SQLITE_CONSTRAINT_UNIQUE);
    EXPECT_EQ(status.file_error(), 7);
    EXPECT_EQ(status.text(), "record 7: UNIQUE constraint failed: t.a (SQLite 2067, E_DUPLICATE)");
    // No line of its own: the primary code.
    status = db->execute("INSERT INTO t VALUES (2, 0)");
    EXPECT_EQ(status.native_code(), SQLITE_CONSTRAINT_CHECK);
    EXPECT_EQ(status.file_error(), 2);

    ASSERT_TRUE(db->begin().ok());
    std::unique_ptr<sql::Connection> other;
    ASSERT_TRUE(
        sql::open_connection("sqlite:" + folder_ + "/a.db", {.busy_timeout_ms = 0}, &other).ok());
    EXPECT_EQ(other->begin().text(), "database is locked (SQLite 5, E_REC_LOCKED)");

    status = {sql::ErrorKind::kUsage, "no database"};
    EXPECT_EQ(status.native_code(), 0);
    EXPECT_EQ(status.file_error(), 0);
    EXPECT_EQ(sql::Status().file_error(), 0);
}

TEST_F(ErrorMap, ASiteGivesItsOwnMapOrNone) {
    struct Row {
        const char *map;
        const char *expected;
    };
    const Row rows[] = {
        {"[sqlite]\n1 E_NO_SUPPORT\n", "near \"NONSENSE\": syntax error (SQLite 1, E_NO_SUPPORT)"},
        {"[sqlite]\n2 E_NO_SUPPORT\n", "near \"NONSENSE\": syntax error (SQLite 1, E_SYS_ERROR)"},
        {"\xFF\xFE[sqlite\n1 E_NO_SUPPORT",
         "near \"NONSENSE\": syntax error (SQLite 1, E_SYS_ERROR)"},
    };
    for (const Row &row : rows) {
        setenv("WBFSI_ERROR_MAP", file(row.map).c_str(), 1);
        std::unique_ptr<sql::Connection> db;
        ASSERT_TRUE(sql::open_connection("sqlite::memory:", {}, &db).ok());
        EXPECT_EQ(db->execute("NONSENSE").text(), row.expected);
    }
}

}  // namespace
