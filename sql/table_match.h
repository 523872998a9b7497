// SPDX-License-Identifier: MIT
//
// Is a table that a database has the table of a dictionary?  What the catalogue
// says about columns and indexes is handed to the library, which matches it with
// fields and keys.
//
//     TableMatch match;
//     if (Status s = match_table(*db, layout, &match); !s.ok()) ...
//     if (!match.problems.empty()) report(match.problems);
#ifndef SQL_TABLE_MATCH_H
#define SQL_TABLE_MATCH_H

#include <string>
#include <vector>

#include "sql/connection.h"
#include "sql/status.h"
#include "sql/table_layout.h"

namespace sql {

struct TableMatch {
    // A column of the database and what it stands for.
    struct ColumnRow {
        std::string table;
        std::string column;  // as the database writes it
        std::string field;   // of the dictionary; empty: none
        std::string note;    // "record number", "exact record", "not in the dictionary" ...
    };
    struct KeyRow {
        size_t key = 0;     // index in TableLayout::keys
        std::string index;  // as the database calls it; empty: none
    };
    std::vector<ColumnRow> columns;
    std::vector<KeyRow> keys;
    bool has_exact = false;  // the column of exact records is there
    // One line each, naming the column or key and why; empty: it is the table.
    std::vector<std::string> problems;
};

// kNoSuchTable; or what the database says.  A table that differs is ok() with
// problems; kMismatch is for callers that cannot go on (mismatch_of).
Status match_table(Connection &connection, const TableLayout &layout, TableMatch *out);

// kMismatch with the problems in one line; ok when there are none.
Status mismatch_of(const TableLayout &layout, const TableMatch &match);

}  // namespace sql

#endif
