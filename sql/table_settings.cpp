// SPDX-License-Identifier: MIT
#include "sql/table_settings.h"

#include <algorithm>
#include <array>
#include <memory>

#include "host/config.h"
#include "sql/table_description.h"

namespace sql {
namespace {

struct Setting {
    const char *name;
    std::string value;
};

constexpr std::array kIllegalDataNames = {"UNCHANGED", "CONVERTED", "KEY_MOD", "PASS_THROUGH"};

// Of dates: numbers as they count, whatever way they were written.
constexpr std::array kDateNumbers = {
    "4GL_2000_CUTOFF", "4GL_JULIAN_BASE_DATE", "4GL_JULIAN_NULL", "4GL_MIN_DATE", "4GL_MAX_DATE",
};
constexpr std::array kDateTexts = {
    "PLEX_DATE_ZERO_VALUE",
    "PLEX_DATE_NINE_VALUE",
    "PLEX_DATE_INVALID_VALUE",
    "PLEX_DATE_NULL_VALUE",
};
constexpr std::array kDateSwitches = {
    "4GL_8_DIGIT_CUTOFF",
    "4GL_CONVERT_DATES",
    "PLEX_DATE_MAX_HIGH_VALUES",
    "PLEX_DATE_MIN_LOW_VALUES",
};

int32_t number_of(const char *name) {
    // The one that is a short integer has no other reader.
    return std::string_view(name) == "4GL_2000_CUTOFF" ? ZCGetValueShort(name, 0)
                                                       : ZCGetValueLong(name, 0);
}

std::string text_of(const char *name) {
    const char *text = ZCGetValueString(name);
    return text == nullptr ? "" : text;
}

std::vector<Setting> settings_of(const TableLayout &layout) {
    std::vector<Setting> settings{
        {"COBOL_CODE_PAGE", std::to_string(layout.code_page)},
        {"4GL_ILLEGAL_DATA", kIllegalDataNames[static_cast<size_t>(layout.illegal_data)]},
    };
    // What is taken for high-values becomes all nines.
    if (layout.illegal_data == IllegalData::kConverted ||
        layout.illegal_data == IllegalData::kKeyMod) {
        const bool is_full = ZCGetValueBool("4GL_FULL_DATA_TEST", 0) != 0;
        settings.push_back({"4GL_FULL_DATA_TEST", is_full ? "1" : "0"});
    }
    const bool has_dates = std::ranges::any_of(layout.fields, [](const Field &field) {
        return field.type == ColumnType::kDate || field.type == ColumnType::kTime ||
               field.type == ColumnType::kTimestamp;
    });
    if (!has_dates) {
        return settings;
    }
    for (const char *name : kDateNumbers) {
        settings.push_back({name, std::to_string(number_of(name))});
    }
    for (const char *name : kDateTexts) {
        settings.push_back({name, text_of(name)});
    }
    for (const char *name : kDateSwitches) {
        settings.push_back({name, ZCGetValueBool(name, 0) != 0 ? "1" : "0"});
    }
    return settings;
}

std::string quoted_settings_table() {
    return Dialect::quote(kSettingsTable);
}

// The rows of a table, found without case, as the databases find tables.
std::string of_table(const Dialect &dialect) {
    return " WHERE lower(\"table_name\") = lower(" + dialect.parameter(0) + ")";
}

Status run(Connection &connection, const std::string &sql, std::span<const Value> values) {
    std::unique_ptr<Statement> statement;
    if (Status status = connection.prepare(sql, &statement); !status.ok()) {
        return status;
    }
    statement->bind(0, values);
    uint64_t rows = 0;
    return statement->execute(&rows);
}

std::string shown(std::string_view value) {
    return value.empty() ? "not set" : std::string(value);
}

}  // namespace

Status keep_settings(Connection &connection, const TableLayout &layout) {
    const Dialect &dialect = connection.dialect();
    Status status =
        connection.execute("CREATE TABLE IF NOT EXISTS " + quoted_settings_table() +
                           " (\"table_name\" TEXT NOT NULL, \"name\" TEXT NOT NULL, \"value\" "
                           "TEXT NOT NULL)");
    const Value table = Value::text(layout.table);
    if (status.ok()) {
        status = run(connection, "DELETE FROM " + quoted_settings_table() + of_table(dialect),
                     {&table, 1});
    }
    for (const Setting &setting : settings_of(layout)) {
        if (!status.ok()) {
            break;
        }
        const Value row[] = {table, Value::text(setting.name), Value::text(setting.value)};
        status = run(connection,
                     "INSERT INTO " + quoted_settings_table() +
                         " (\"table_name\", \"name\", \"value\") VALUES (" + dialect.parameter(0) +
                         ", " + dialect.parameter(1) + ", " + dialect.parameter(2) + ")",
                     row);
    }
    return status;
}

Status changed_settings(Connection &connection, const TableLayout &layout,
                        std::vector<std::string> *changes) {
    TableDescription described;
    Status status = connection.describe_table(kSettingsTable, &described);
    if (!status.ok() || described.kind == TableDescription::Kind::kNone) {
        return status;
    }
    std::unique_ptr<Statement> query;
    status = connection.prepare("SELECT \"name\", \"value\" FROM " + quoted_settings_table() +
                                    of_table(connection.dialect()),
                                &query);
    if (!status.ok()) {
        return status;
    }
    const Value table = Value::text(layout.table);
    query->bind(0, {&table, 1});
    const std::vector<Setting> now = settings_of(layout);
    Value row[2];
    bool found = true;
    while ((status = query->fetch(row, &found)).ok() && found) {
        const auto setting = std::ranges::find_if(now, [&](const Setting &one) {
            return row[0].kind() == Value::Kind::kText && row[0].as_text() == one.name;
        });
        const std::string_view then =
            row[1].kind() == Value::Kind::kText ? row[1].as_text() : std::string_view();
        if (setting != now.end() && then != setting->value) {
            changes->push_back("it was loaded with " + std::string(setting->name) + " " +
                               shown(then) + ", now it is " + shown(setting->value) +
                               "; set it as it was");
        }
    }
    return status;
}

}  // namespace sql
