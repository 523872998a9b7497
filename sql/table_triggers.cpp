// SPDX-License-Identifier: MIT
//
// The triggers that keep a table true while people change it by SQL, in the words
// of SQLite: the dialects whose triggers are one statement have no others.
#include <algorithm>
#include <span>
#include <string>
#include <vector>

#include "sql/dialect.h"
#include "sql/table_columns.h"
#include "sql/table_layout.h"

namespace sql {
namespace {

std::string quoted_text(const std::string &text) {
    std::string out = "'";
    for (const char c : text) {
        out.append(c == '\'' ? 2 : 1, c);
    }
    return out += "'";
}

// `event` is "AFTER UPDATE OF ..." and so on; all but `name` is SQL already.
std::string trigger(const std::string &name, const std::string &event, const std::string &table,
                    const std::string &condition, const std::string &body) {
    return "CREATE TRIGGER " + Dialect::quote(name) + " " + event + " ON " + table +
           (condition.empty() ? "" : " WHEN " + condition) + " BEGIN " + body + "; END";
}

std::string any_changed(const std::vector<std::string> &columns) {
    std::string text;
    for (const std::string &column : columns) {
        text += text.empty() ? "" : " OR ";
        text.append("new.").append(column).append(" IS NOT old.").append(column);
    }
    return text;
}

bool is_in_key(const Field &field, const Key &key) {
    return std::ranges::any_of(key.segments, [&](const KeySegment &s) {
        return field.offset < s.offset + s.length && s.offset < field.offset + field.data.a_size;
    });
}

class TriggerMaker {
 public:
    TriggerMaker(const TableLayout &layout, const Dialect &dialect)
        : layout_(layout),
          table_(Dialect::quote(layout.table)),
          number_(number_column(layout, dialect)) {}

    std::vector<std::string> make() {
        for (const Key &key : layout_.keys) {
            clear_key_bytes(key);
        }
        for (const ChildTable &child : layout_.children) {
            keep_with_record(child);
        }
        const auto fields = std::span(layout_.columns).first(layout_.field_count);
        refuse_updates(layout_.table, fields);
        for (const ChildTable &child : layout_.children) {
            refuse_updates(child.name, child.columns);
        }
        count_identity(fields);
        return std::move(triggers_);
    }

 private:
    void clear_key_bytes(const Key &key);
    void clear_key_bytes_by(const Key &key, const ChildTable &child);
    void keep_with_record(const ChildTable &child);
    void refuse_updates(const std::string &table, std::span<const Column> columns);
    void count_identity(std::span<const Column> columns);

    const TableLayout &layout_;
    const std::string table_;
    const std::string number_;
    std::vector<std::string> triggers_;
};

// A key over fillers alone has no column that could change it.
void TriggerMaker::clear_key_bytes(const Key &key) {
    std::vector<std::string> columns;
    for (size_t i = 0; i < layout_.field_count; i++) {
        if (is_in_key(layout_.fields[i], key)) {
            columns.push_back(Dialect::quote(layout_.columns[i].name));
        }
    }
    if (!columns.empty()) {
        const std::string bytes = quoted_names(layout_, {key.bytes_column});
        triggers_.push_back(
            trigger(key.index_name + "_changed", "AFTER UPDATE OF " + joined(columns), table_,
                    "old." + bytes + " IS NOT NULL AND (" + any_changed(columns) + ")",
                    "UPDATE " + table_ + " SET " + bytes + " = NULL WHERE " + number_ + " = new." +
                        number_));
    }
    for (const ChildTable &child : layout_.children) {
        clear_key_bytes_by(key, child);
    }
}

// The same where part of a key is in a child table: rows that come, go, change or
// move to another record.
void TriggerMaker::clear_key_bytes_by(const Key &key, const ChildTable &child) {
    const bool is_part = std::ranges::any_of(child.rows, [&](const ChildTable::Row &row) {
        return std::ranges::any_of(row.fields, [&](size_t field) {
            return field != TableLayout::kNone && is_in_key(layout_.fields[field], key);
        });
    });
    if (!is_part) {
        return;
    }
    const std::string number = Dialect::quote(child.number_column);
    struct Event {
        const char *name;
        const char *event;
        std::string condition;
        std::string records;
    };
    const Event events[] = {
        {"_updated", "AFTER UPDATE", any_changed(child_columns(child)),
         " IN (new." + number + ", old." + number + ")"},
        {"_inserted", "AFTER INSERT", "", " = new." + number},
        {"_deleted", "AFTER DELETE", "", " = old." + number},
    };
    for (const Event &event : events) {
        triggers_.push_back(trigger(key.index_name + "_" + child.name + event.name, event.event,
                                    Dialect::quote(child.name), event.condition,
                                    "UPDATE " + table_ + " SET " +
                                        quoted_names(layout_, {key.bytes_column}) +
                                        " = NULL WHERE " + number_ + event.records));
    }
}

void TriggerMaker::keep_with_record(const ChildTable &child) {
    const std::string name = layout_.table + "_" + child.name;
    const std::string table = Dialect::quote(child.name);
    const std::string number = Dialect::quote(child.number_column);
    const std::string of_record = " WHERE " + number + " = old." + number_;
    triggers_.push_back(
        trigger(name + "_deleted", "AFTER DELETE", table_, "", "DELETE FROM " + table + of_record));
    triggers_.push_back(
        trigger(name + "_renumbered", "AFTER UPDATE OF " + number_, table_,
                "new." + number_ + " IS NOT old." + number_,
                "UPDATE " + table + " SET " + number + " = new." + number_ + of_record));
}

void TriggerMaker::refuse_updates(const std::string &table, std::span<const Column> columns) {
    std::vector<std::string> names;
    std::string body;
    for (const Column &column : columns) {
        if (!column.is_read_only) {
            continue;
        }
        const std::string name = Dialect::quote(column.name);
        names.push_back(name);
        // The identity of a new row is written behind its insertion.
        const std::string had_value =
            column.is_identity ? std::string(" AND old.").append(name) + " IS NOT NULL" : "";
        body += body.empty() ? "SELECT CASE" : "";
        const std::string message =
            quoted_text(std::string("column ").append(name) + " is read-only");
        body.append(" WHEN new.").append(name).append(" IS NOT old.").append(name);
        body.append(had_value).append(" THEN RAISE(ABORT, ").append(message).append(")");
    }
    if (!names.empty()) {
        triggers_.push_back(trigger(table + "_read_only", "BEFORE UPDATE OF " + joined(names),
                                    Dialect::quote(table), "", body + " END"));
    }
}

void TriggerMaker::count_identity(std::span<const Column> columns) {
    const auto identity = std::ranges::find_if(columns, [](const Column &column) {
        return column.is_identity && column.type == ColumnType::kInteger;
    });
    if (identity == columns.end()) {
        return;
    }
    // Numbers are less than any text or blob, which illegal data may have left.
    const std::string name = Dialect::quote(identity->name);
    const std::string next =
        "(SELECT coalesce(max(" + name + "), 0) + 1 FROM " + table_ + " WHERE " + name + " < '')";
    triggers_.push_back(trigger(layout_.table + "_identity", "AFTER INSERT", table_,
                                "new." + name + " IS NULL",
                                "UPDATE " + table_ + " SET " + name + " = " + next + " WHERE " +
                                    number_ + " = new." + number_));
}

}  // namespace

std::vector<std::string> create_trigger_sql(const TableLayout &layout, const Dialect &dialect) {
    return dialect.has_statement_triggers() ? TriggerMaker(layout, dialect).make()
                                            : std::vector<std::string>();
}

}  // namespace sql
