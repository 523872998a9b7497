// SPDX-License-Identifier: MIT
//
// What the commands that reach a database share: the option --db, the table of a
// dictionary, and statuses turned into failures.
#ifndef TOOL_DATABASE_H
#define TOOL_DATABASE_H

#include <memory>
#include <string>

#include "sql/connection.h"
#include "sql/status.h"
#include "sql/table_layout.h"

namespace CLI {
class App;
}

namespace tool {

void declare_database(CLI::App &app, std::string &url);

// Throws Failure with `where` in front of the status's text unless it is ok.
void check(const sql::Status &status, const std::string &where);

// The table of a dictionary; throws Failure with the reason when it has none.
sql::TableLayout layout_of(const std::string &name, const Xfd &xfd, bool keep_exact);

// A database that takes its own file away again when that file was made by opening
// it and nothing has come into it.
class Database {
 public:
    Database(const std::string &url, const sql::OpenOptions &options);
    ~Database();
    Database(const Database &) = delete;
    Database &operator=(const Database &) = delete;

    sql::Connection &connection() { return *connection_; }

 private:
    std::string made_file_;  // empty when the file was there before
    std::unique_ptr<sql::Connection> connection_;
};

}  // namespace tool

#endif
