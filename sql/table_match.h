// SPDX-License-Identifier: MIT
//
// Is a table that a database has the table of a dictionary?  What the catalogue
// says about columns and indexes is handed to the library, which matches it with
// fields and keys.
//
//     TableMatch match;
//     if (Status s = match_table(*db, layout, &match); !s.ok()) ...
//     if (!match.problems.empty()) report(match.problems);
//
// A table that a loader made from the same layout always matches.
#ifndef SQL_TABLE_MATCH_H
#define SQL_TABLE_MATCH_H

#include <cstddef>
#include <string>
#include <vector>

#include "sql/connection.h"
#include "sql/status.h"
#include "sql/table_layout.h"

namespace sql {

struct TableMatch {
    // A column and what it stands for: those of the layout in its order, child
    // tables behind the main one, each followed by its columns that stand for none.
    struct ColumnRow {
        std::string table;
        std::string column;  // as the database writes it; empty: missing
        std::string field;   // of the dictionary; empty: none
        std::string note;    // "record number", "exact record", "not in the dictionary" ...
    };
    // An index that the file needs.  Record numbers come first, then the keys in
    // their order, then the rows of the child tables.
    struct KeyRow {
        std::string table;
        size_t key = TableLayout::kNone;   // index in TableLayout::keys; kNone: none of them
        std::string what;                  // "key 1", "key 1, other rows", "record number" ...
        std::vector<std::string> columns;  // that the index has to have, in order
        bool is_unique = true;             // that it has to be
        std::string index;                 // as the database calls it; empty: none
    };
    std::vector<ColumnRow> columns;
    std::vector<KeyRow> keys;
    bool has_exact = false;  // the column of exact records is there
    // One line each, naming the column, key or setting and why; empty: it is the table.
    std::vector<std::string> problems;
};

// Matches by name, without case as the databases compare.  Problems are
//   - a view or virtual table in the place of a table, rows without numbers
//   - a child table or a column of the layout that is missing, the column of exact
//     records aside
//   - while 4GL_EXTRA_DB_COLS_OK is off, each column that is none of the layout's
//   - a key (the record number, the rows of a child table) without an index over exactly its
//   columns, in
//     their order, unique where the key is and only there; with the statement that
//     makes the index.  The keys' columns are those of the layout, whatever the
//     dictionary calls them.
// kNoSuchTable; kNoMemory; or what the database says.  A table that differs is ok()
// with problems; kMismatch is for callers that cannot go on (mismatch_of).
Status match_table(Connection &connection, const TableLayout &layout, TableMatch *out);

// kMismatch with the first problems in one line; ok when there are none.
Status mismatch_of(const TableLayout &layout, const TableMatch &match);

}  // namespace sql

#endif
