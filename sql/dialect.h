// SPDX-License-Identifier: MIT
//
// What differs in the SQL text of two databases.  Needs no connection: the
// statements for a database can be printed where that database is not.
#ifndef SQL_DIALECT_H
#define SQL_DIALECT_H

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace sql {

struct Column;

class Dialect {
 public:
    virtual ~Dialect() = default;

    [[nodiscard]] virtual std::string_view name() const = 0;

    // A name between quotes, quotes in it doubled.  Any name but one with a
    // zero byte, which no dictionary can hold.
    [[nodiscard]] std::string quote(std::string_view name) const;

    // A text literal between quotes; for catalogue queries and comments, never
    // for data.
    [[nodiscard]] static std::string literal(std::string_view text);

    // The type of a column, with its collation where the order of bytes needs
    // one.
    [[nodiscard]] virtual std::string type_of(const Column &column) const = 0;

    // Parameter number n, 0-based.
    [[nodiscard]] virtual std::string parameter(size_t n) const = 0;

    // An insert of `rows` rows of these columns, all parameters, row by row.
    [[nodiscard]] virtual std::string insert(std::string_view table,
                                             std::span<const std::string> columns,
                                             size_t rows) const = 0;

    // The column that numbers the rows in the order of insertion where the
    // table has no record number of its own, quoted.
    [[nodiscard]] virtual std::string row_number() const = 0;

    // Its declaration in a table, empty when the database brings it unasked.
    [[nodiscard]] virtual std::string row_number_declaration() const = 0;

    // What a record number that is the table's key is declared as.
    [[nodiscard]] virtual std::string record_number_type() const = 0;

    // "PRIMARY KEY" where its columns may be null, else "UNIQUE".
    [[nodiscard]] virtual std::string_view nullable_primary_key() const = 0;
};

// "sqlite" or "postgresql", without case; null for another name.
const Dialect *find_dialect(std::string_view name);

}  // namespace sql

#endif
