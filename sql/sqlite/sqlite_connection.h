// SPDX-License-Identifier: MIT
//
// The door to SQLite; everything else about it is in the source file.
#ifndef SQL_SQLITE_SQLITE_CONNECTION_H
#define SQL_SQLITE_SQLITE_CONNECTION_H

#include <memory>
#include <string>

#include "sql/connection.h"

namespace sql {

// Opens the database in a file, or one without a file for ":memory:".
Status open_sqlite(const std::string &file, const OpenOptions &options,
                   std::unique_ptr<Connection> *out);

}  // namespace sql

#endif
