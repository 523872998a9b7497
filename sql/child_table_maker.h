// SPDX-License-Identifier: MIT
//
// Gathers the fields of child tables while a layout is made, one occurrence at a
// time, into tables of columns and rows.
#ifndef SQL_CHILD_TABLE_MAKER_H
#define SQL_CHILD_TABLE_MAKER_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "sql/status.h"
#include "sql/table_layout.h"

namespace sql {

class ChildTableMaker {
 public:
    // One occurrence of a field in the child table `table` (in UTF-8, compared
    // without case; empty: the secondary table).  kBadDictionary: this column has
    // these subscripts already, or other fields of the table have more or fewer
    // subscripts, or other fields of the column are of another type.
    Status add(const std::string &table, std::span<const uint16_t> subscripts, const Column &column,
               Field field);

    [[nodiscard]] bool empty() const { return tables_.empty(); }

    // Puts the fields behind those of the layout and the tables into it, each with
    // columns of its own for number (called `number` where that is free) and
    // subscripts.  The secondary table has no name yet.  kBadDictionary: a table too
    // large.
    Status finish(const std::string &number, TableLayout *layout);

 private:
    struct Table {
        std::string name;
        size_t depth = 0;
        std::vector<Column> columns;
        std::map<std::string, size_t, std::less<>> column_of;  // by folded name
        std::vector<Field> fields;
        // By subscripts: column and place in `fields`.
        struct Cell {
            size_t column;
            size_t field;
        };
        std::map<std::vector<uint16_t>, std::vector<Cell>> rows;
    };
    static Status finish(const Table &table, const std::string &number, TableLayout *layout);

    std::vector<Table> tables_;
    std::map<std::string, size_t, std::less<>> table_of_;  // by folded name
};

// A name without case, as the databases compare.
std::string folded(std::string_view name);

// "(3, 1)"; empty without subscripts.
std::string shown_subscripts(std::span<const uint16_t> subscripts);

}  // namespace sql

#endif
