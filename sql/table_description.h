// SPDX-License-Identifier: MIT
//
// What a database's catalogue says about one table.
#ifndef SQL_TABLE_DESCRIPTION_H
#define SQL_TABLE_DESCRIPTION_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace sql {

struct TableDescription {
    enum class Kind : uint8_t {
        kNone,     // the database has nothing of that name
        kTable,    // rows of its own
        kView,     // rows of others: columns, no index
        kVirtual,  // rows of a module: columns, no index
    };
    struct Column {
        std::string name;  // UTF-8, as the database writes it
        std::string type;  // as it was declared, perhaps empty
        bool is_nullable = true;
    };
    struct Index {
        static constexpr size_t kExpression = SIZE_MAX;

        std::string name;
        std::vector<size_t> columns;  // in TableDescription::columns, or kExpression
        bool is_primary = false;      // of the primary key
        bool is_unique = false;
        bool is_partial = false;  // holds the rows of a condition only
        // Every column ascends, and texts are compared by their bytes.
        bool sorts_by_bytes = true;
    };

    Kind kind = Kind::kNone;
    std::string name;  // as the database writes it
    // Whether rows have a number beside their columns, by which they can be found
    // in the order of insertion.
    bool has_row_numbers = false;
    std::vector<Column> columns;  // in order, generated ones too
    std::vector<Index> indexes;   // the primary key first, if there is one
};

}  // namespace sql

#endif
