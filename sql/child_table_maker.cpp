// SPDX-License-Identifier: MIT
#include "sql/child_table_maker.h"

#include <algorithm>
#include <cctype>
#include <set>
#include <utility>

namespace sql {
namespace {

// The least of what the databases take, as for the main table.
constexpr size_t kMaxColumns = 2000;
// Rows times columns of one record; more is no dictionary that a compiler writes.
constexpr size_t kMaxCells = size_t{4} << 20;

std::string free_name(const std::string &wanted, std::set<std::string> *names) {
    std::string name = wanted;
    for (size_t n = 2; !names->insert(folded(name)).second; n++) {
        name = wanted + "_" + std::to_string(n);
    }
    return name;
}

std::string shown_table(const std::string &name) {
    return name.empty() ? "the secondary table" : "the sub-table \"" + name + "\"";
}

Status bad_dictionary(const std::string &text) {
    return {ErrorKind::kBadDictionary, text};
}

}  // namespace

std::string folded(std::string_view name) {
    std::string out(name);
    std::ranges::transform(out, out.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return out;
}

std::string shown_subscripts(std::span<const uint16_t> subscripts) {
    std::string text;
    for (const uint16_t subscript : subscripts) {
        text.append(1, text.empty() ? '(' : ',').append(std::to_string(subscript));
    }
    if (!text.empty()) {
        text += ')';
    }
    return text;
}

Status ChildTableMaker::add(const std::string &table, std::span<const uint16_t> subscripts,
                            const Column &column, Field field) {
    const auto [found, is_new] = table_of_.emplace(folded(table), tables_.size());
    if (is_new) {
        tables_.emplace_back();
        tables_.back().name = table;
        tables_.back().depth = subscripts.size();
    }
    Table &to = tables_[found->second];
    if (to.depth != subscripts.size()) {
        return bad_dictionary("field \"" + field.name + "\" has " +
                              std::to_string(subscripts.size()) + " subscripts, other fields of " +
                              shown_table(table) + " have " + std::to_string(to.depth) +
                              "; give one of the groups another table");
    }
    const auto [place, is_new_column] =
        to.column_of.emplace(folded(column.name), to.columns.size());
    if (is_new_column) {
        to.columns.push_back(column);
    }
    const size_t index = place->second;
    auto &row = to.rows[{subscripts.begin(), subscripts.end()}];
    if (std::ranges::any_of(row, [&](const auto &cell) { return cell.column == index; })) {
        return bad_dictionary("two fields make the column \"" + column.name + "\" of " +
                              shown_table(table) + (subscripts.empty() ? "" : ", row ") +
                              shown_subscripts(subscripts) + "; give one of them another name");
    }
    Column &shared = to.columns[index];
    if (shared.type != column.type || shared.decimals != column.decimals) {
        return bad_dictionary("field \"" + field.name +
                              "\" is of another type than those before it in its column of " +
                              shown_table(table) + "; give it another name");
    }
    // The column takes the longest of its occurrences.
    shared.digits = std::max(shared.digits, column.digits);
    shared.characters = std::max(shared.characters, column.characters);
    row.push_back({index, to.fields.size()});
    to.fields.push_back(std::move(field));
    return {};
}

Status ChildTableMaker::finish(const std::string &number, TableLayout *layout) {
    for (const Table &table : tables_) {
        if (Status status = finish(table, number, layout); !status.ok()) {
            return status;
        }
    }
    return {};
}

Status ChildTableMaker::finish(const Table &table, const std::string &number, TableLayout *layout) {
    const size_t columns = table.columns.size();
    if (columns + 1 + table.depth > kMaxColumns) {
        return bad_dictionary(shown_table(table.name) + " would have " +
                              std::to_string(columns + 1 + table.depth) + " columns; " +
                              std::to_string(kMaxColumns) + " are possible");
    }
    if (table.rows.size() > kMaxCells / columns) {
        return bad_dictionary(shown_table(table.name) + " would have " +
                              std::to_string(table.rows.size()) + " rows of " +
                              std::to_string(columns) + " columns a record; " +
                              std::to_string(kMaxCells) + " values are possible");
    }
    ChildTable child;
    child.name = table.name;
    child.columns = table.columns;
    std::set<std::string> names;
    for (const auto &[name, column] : table.column_of) {
        names.insert(name);
    }
    child.number_column = free_name(number, &names);
    for (size_t i = 0; i < table.depth; i++) {
        child.subscript_columns.push_back(free_name("occurrence_" + std::to_string(i + 1), &names));
    }
    for (const auto &[subscripts, cells] : table.rows) {
        ChildTable::Row row{subscripts, std::vector<size_t>(columns, TableLayout::kNone)};
        for (const Table::Cell &cell : cells) {
            row.fields[cell.column] = layout->fields.size() + cell.field;
        }
        child.rows.push_back(std::move(row));
    }
    layout->fields.insert(layout->fields.end(), table.fields.begin(), table.fields.end());
    layout->children.push_back(std::move(child));
    return {};
}

}  // namespace sql
