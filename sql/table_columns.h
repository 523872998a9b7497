// SPDX-License-Identifier: MIT
//
// The order in which loader and reader name a table's columns in their
// statements: the row's number, the fields, then what stands beside them.
#ifndef SQL_TABLE_COLUMNS_H
#define SQL_TABLE_COLUMNS_H

#include <string>
#include <vector>

#include "sql/dialect.h"
#include "sql/table_layout.h"

namespace sql {

// Quoted name of the column that numbers the rows in the order of insertion.
inline std::string number_column(const TableLayout &layout, const Dialect &dialect) {
    return layout.record_number == TableLayout::kNone
               ? dialect.row_number(layout)
               : Dialect::quote(layout.columns[layout.record_number].name);
}

// Quoted names: the number, then the fields.
inline std::vector<std::string> number_and_fields(const TableLayout &layout,
                                                  const Dialect &dialect) {
    std::vector<std::string> names{number_column(layout, dialect)};
    for (size_t i = 0; i < layout.field_count; i++) {
        names.push_back(Dialect::quote(layout.columns[i].name));
    }
    return names;
}

// Quoted names of some columns, separated by commas.
inline std::string quoted_names(const TableLayout &layout, const std::vector<size_t> &columns) {
    std::string text;
    for (const size_t column : columns) {
        text += (text.empty() ? "" : ", ") + Dialect::quote(layout.columns[column].name);
    }
    return text;
}

// Quoted names of what a child table's rows are found by: number, subscripts.
inline std::vector<std::string> child_key(const ChildTable &child) {
    std::vector<std::string> names{Dialect::quote(child.number_column)};
    for (const std::string &name : child.subscript_columns) {
        names.push_back(Dialect::quote(name));
    }
    return names;
}

// The same, and the fields behind them.
inline std::vector<std::string> child_columns(const ChildTable &child) {
    std::vector<std::string> names = child_key(child);
    for (const Column &column : child.columns) {
        names.push_back(Dialect::quote(column.name));
    }
    return names;
}

inline std::string joined(const std::vector<std::string> &names) {
    std::string text;
    for (const std::string &name : names) {
        text += (text.empty() ? "" : ", ") + name;
    }
    return text;
}

}  // namespace sql

#endif
