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
struct TableLayout;

class Dialect {
 public:
    virtual ~Dialect() = default;

    [[nodiscard]] virtual std::string_view name() const = 0;

    // A name between quotes, quotes in it doubled: any name without a zero
    // byte, reserved words too.
    [[nodiscard]] static std::string quote(std::string_view name);

    // Bytes of a name that count; the database cuts off what follows them.
    [[nodiscard]] virtual size_t max_name_bytes() const = 0;

    // The type of a column, with its collation where the order of bytes needs
    // one.
    [[nodiscard]] virtual std::string type_of(const Column &column) const = 0;

    // Parameter number n, 0-based.
    [[nodiscard]] virtual std::string parameter(size_t n) const = 0;

    // An insert of `rows` rows into these columns (already quoted), every value
    // a parameter, row by row.
    [[nodiscard]] std::string insert(std::string_view table, std::span<const std::string> columns,
                                     size_t rows) const;

    // The column that numbers the rows in the order of insertion where the
    // table has no record number of its own, quoted; a name that no column of
    // the layout has.
    [[nodiscard]] virtual std::string row_number(const TableLayout &layout) const = 0;

    // Its declaration in a table, empty when the database brings it unasked.
    [[nodiscard]] virtual std::string row_number_declaration(const TableLayout &layout) const = 0;

    // Behind the type of a number column: rows that give no value get the next one.
    // Empty where that takes a trigger, or nothing at all.
    [[nodiscard]] virtual std::string_view counts_up() const = 0;

    // Behind a table of child rows, which are found by their primary key alone.
    [[nodiscard]] virtual std::string_view child_table_suffix() const = 0;

    // Whether a trigger is one statement with SQL in its body, "CREATE TRIGGER ...
    // WHEN ... BEGIN ... END", with RAISE() and IS NOT.
    [[nodiscard]] virtual bool has_statement_triggers() const = 0;

    // Whether the columns of a primary key may be null; a unique constraint
    // takes its place where they may not.
    [[nodiscard]] virtual bool has_nullable_primary_key() const = 0;

 protected:
    [[nodiscard]] virtual std::string_view insert_verb() const = 0;
};

// "sqlite" or "postgresql", without case; null for another name.
const Dialect *find_dialect(std::string_view name);

}  // namespace sql

#endif
