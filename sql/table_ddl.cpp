// SPDX-License-Identifier: MIT
//
// The statements that make the table of a layout.
#include <span>
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
        std::string text_of_column = Dialect::quote(column.name) + " " + dialect.type_of(column);
        const bool is_number = column.role == ColumnRole::kRecordNumber;
        const bool is_identity = column.is_identity && column.type == ColumnType::kInteger;
        // Whoever inserts into an indexed file need not know about its numbers.
        if (is_identity || (is_number && layout.file_type == XFD_INDEXED)) {
            text_of_column += dialect.counts_up();
        }
        line(text_of_column + (is_number ? " PRIMARY KEY" : ""));
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

std::vector<std::string> create_child_table_sql(const TableLayout &layout, const Dialect &dialect) {
    std::vector<std::string> tables;
    for (const ChildTable &child : layout.children) {
        const std::vector<std::string> key = child_key(child);
        Column number;
        number.role = ColumnRole::kRecordNumber;
        number.type = ColumnType::kInteger;
        const std::string number_type = dialect.type_of(number) + " NOT NULL";
        std::string text = "CREATE TABLE " + Dialect::quote(child.name) + " (\n    " + key[0] +
                           " " + number_type + " REFERENCES " + Dialect::quote(layout.table) +
                           " (" + number_column(layout, dialect) +
                           ") ON DELETE CASCADE ON UPDATE CASCADE";
        for (size_t i = 1; i < key.size(); i++) {
            text += ",\n    " + key[i] + " " + number_type;
        }
        for (const Column &column : child.columns) {
            text += ",\n    " + Dialect::quote(column.name) + " " + dialect.type_of(column);
        }
        tables.push_back(text + ",\n    PRIMARY KEY (" + joined(key) + ")\n)" +
                         std::string(dialect.child_table_suffix()));
    }
    return tables;
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

std::vector<std::string> create_view_sql(const TableLayout &layout, const Dialect &) {
    std::vector<std::string> views;
    const auto add = [&](const std::string &view, const std::string &table,
                         std::vector<std::string> names, std::span<const Column> columns) {
        if (view.empty()) {
            return;
        }
        for (const Column &column : columns) {
            if (!column.is_hidden) {
                names.push_back(Dialect::quote(column.name));
            }
        }
        views.push_back("CREATE VIEW " + Dialect::quote(view) + " AS SELECT " + joined(names) +
                        " FROM " + Dialect::quote(table));
    };
    add(layout.view, layout.table, {}, std::span(layout.columns).first(layout.field_count));
    for (const ChildTable &child : layout.children) {
        add(child.view, child.name, child_key(child), child.columns);
    }
    return views;
}

std::string ddl_script(const TableLayout &layout, const Dialect &dialect) {
    std::string text = create_table_sql(layout, dialect) + ";\n";
    const auto add = [&](const std::vector<std::string> &statements) {
        for (const std::string &statement : statements) {
            text += statement + ";\n";
        }
    };
    add(create_child_table_sql(layout, dialect));
    for (const IndexSql &index : create_index_sql(layout, dialect)) {
        text += index.sql + ";\n";
    }
    add(create_trigger_sql(layout, dialect));
    add(create_view_sql(layout, dialect));
    return text;
}

}  // namespace sql
