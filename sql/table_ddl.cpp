// SPDX-License-Identifier: MIT
//
// The statements that make the table of a layout.
#include <algorithm>
#include <string>
#include <vector>

#include "sql/dialect.h"
#include "sql/table_columns.h"
#include "sql/table_layout.h"

namespace sql {
namespace {

// Whether the first key is a constraint of the table itself.
bool has_primary_key(const TableLayout &layout) {
    return layout.record_number == TableLayout::kNone && !layout.keys.empty() &&
           layout.keys[0].unique && !layout.keys[0].columns.empty();
}

// The name of a key's index; where it would be cut, the name of the table gives
// way, so that the indexes of a table still differ.
std::string index_name(const TableLayout &layout, const Key &key, const char *suffix,
                       const Dialect &dialect) {
    std::string name = key.index_name + suffix;
    const size_t max = dialect.max_name_bytes();
    if (name.size() <= max) {
        return name;
    }
    const std::string tail = name.substr(layout.table.size());
    size_t kept = max - tail.size();
    while (kept > 0 && (static_cast<unsigned char>(name[kept]) & 0xC0) == 0x80) {
        kept--;  // not within a character
    }
    return name.substr(0, kept) + tail;
}

}  // namespace

std::string create_table_sql(const TableLayout &layout, const Dialect &dialect) {
    std::string text = "CREATE TABLE " + Dialect::quote(layout.table) + " (";
    const char *separator = "\n    ";
    const auto line = [&](const std::string &part) {
        text += separator + part;
        separator = ",\n    ";
    };
    for (const Column &column : layout.columns) {
        const char *suffix = column.role == ColumnRole::kRecordNumber ? " PRIMARY KEY" : "";
        line(Dialect::quote(column.name) + " " + dialect.type_of(column) + suffix);
    }
    const std::string row_number = dialect.row_number_declaration(layout);
    if (layout.record_number == TableLayout::kNone && !row_number.empty()) {
        line(row_number);
    }
    if (has_primary_key(layout)) {
        line((dialect.has_nullable_primary_key() ? "PRIMARY KEY (" : "UNIQUE (") +
             quoted_names(layout, layout.keys[0].columns) + ")");
    }
    return text + "\n)";
}

std::vector<IndexSql> create_index_sql(const TableLayout &layout, const Dialect &dialect) {
    std::vector<IndexSql> indexes;
    const auto add = [&](const Key &key, const char *suffix, std::vector<size_t> columns,
                         const std::string &condition, bool is_made_first) {
        std::string sql = key.unique ? "CREATE UNIQUE INDEX " : "CREATE INDEX ";
        sql += Dialect::quote(index_name(layout, key, suffix, dialect)) + " ON " +
               Dialect::quote(layout.table) + " (" + quoted_names(layout, columns) + ")" +
               condition;
        indexes.push_back({std::move(sql), std::move(columns), is_made_first});
    };
    for (size_t k = 0; k < layout.keys.size(); k++) {
        const Key &key = layout.keys[k];
        if (key.columns.empty()) {
            add(key, "", {key.bytes_column}, "", k == 0);
            continue;
        }
        if (k > 0 || !has_primary_key(layout)) {
            add(key, "", key.columns, "", k == 0);
        }
        add(key, "_bytes", {key.bytes_column},
            " WHERE " + quoted_names(layout, {key.bytes_column}) + " IS NOT NULL", true);
    }
    return indexes;
}

std::vector<std::string> create_trigger_sql(const TableLayout &layout, const Dialect &dialect) {
    std::vector<std::string> triggers;
    for (const Key &key : layout.keys) {
        std::vector<std::string> columns;
        for (size_t i = 0; i < layout.field_count; i++) {
            const Field &field = layout.fields[i];
            const bool is_in_key = std::ranges::any_of(key.segments, [&](const KeySegment &s) {
                return field.offset < s.offset + s.length &&
                       s.offset < field.offset + field.data.a_size;
            });
            if (is_in_key) {
                columns.push_back(Dialect::quote(field.name));
            }
        }
        // A key over fillers alone has no column that could change it.
        std::string sql =
            columns.empty() ? std::string()
                            : dialect.clearing_trigger(Dialect::quote(key.index_name + "_changed"),
                                                       Dialect::quote(layout.table), columns,
                                                       quoted_names(layout, {key.bytes_column}),
                                                       number_column(layout, dialect));
        if (!sql.empty()) {
            triggers.push_back(std::move(sql));
        }
    }
    return triggers;
}

std::string ddl_script(const TableLayout &layout, const Dialect &dialect) {
    std::string text = create_table_sql(layout, dialect) + ";\n";
    for (const IndexSql &index : create_index_sql(layout, dialect)) {
        text += index.sql + ";\n";
    }
    for (const std::string &trigger : create_trigger_sql(layout, dialect)) {
        text += trigger + ";\n";
    }
    return text;
}

}  // namespace sql
