// SPDX-License-Identifier: MIT
//
// wbfsi match: which column a database has for each field of a dictionary, which
// index for each key, and what keeps the table from being the dictionary's.

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "sql/table_match.h"
#include "tool/columns.h"
#include "tool/command.h"
#include "tool/database.h"
#include "tool/failure.h"
#include "tool/session.h"

namespace tool {

namespace {

using Json = nlohmann::ordered_json;

struct Options {
    std::string name;
    std::string database;
    std::string format = "table";
};

std::string shown(const std::string &text) {
    return text.empty() ? "-" : without_controls(text);
}

std::string listed(const std::vector<std::string> &names) {
    std::string text;
    for (const std::string &name : names) {
        text.append(text.empty() ? "" : ", ").append(name);
    }
    return text;
}

void print_table(const Options &options, const sql::TableLayout &layout,
                 const sql::TableMatch &match) {
    std::cout << "Table " << without_controls(layout.table) << " of " << options.database
              << (match.problems.empty() ? " agrees with" : " differs from") << " the dictionary\n";
    // One table needs no name in every row.
    const auto table_of = [&](const std::string &table) {
        return layout.children.empty() ? "" : without_controls(table);
    };
    Columns columns({{"FIELD", Columns::kLeft},
                     {"TABLE", Columns::kLeft},
                     {"COLUMN", Columns::kLeft},
                     {"NOTE", Columns::kLeft}});
    for (const sql::TableMatch::ColumnRow &row : match.columns) {
        columns.add({shown(row.field), table_of(row.table), shown(row.column), row.note});
    }
    std::cout << '\n';
    columns.print(std::cout, "");

    if (!match.keys.empty()) {
        Columns keys({{"KEY", Columns::kLeft},
                      {"TABLE", Columns::kLeft},
                      {"COLUMNS", Columns::kLeft},
                      {"UNIQUE", Columns::kLeft},
                      {"INDEX", Columns::kLeft}});
        for (const sql::TableMatch::KeyRow &row : match.keys) {
            keys.add({row.what, table_of(row.table), without_controls(listed(row.columns)),
                      row.is_unique ? "yes" : "no", shown(row.index)});
        }
        std::cout << '\n';
        keys.print(std::cout, "");
    }
    if (!match.problems.empty()) {
        std::cout << "\nPROBLEMS\n";
        for (const std::string &problem : match.problems) {
            std::cout << without_controls(problem) << '\n';
        }
    }
}

Json text_or_null(const std::string &text) {
    return text.empty() ? Json(nullptr) : Json(text);
}

void print_json(const sql::TableLayout &layout, const sql::TableMatch &match) {
    Json columns = Json::array();
    for (const sql::TableMatch::ColumnRow &row : match.columns) {
        columns.push_back({{"field", text_or_null(row.field)},
                           {"table", row.table},
                           {"column", text_or_null(row.column)},
                           {"note", text_or_null(row.note)}});
    }
    Json keys = Json::array();
    for (const sql::TableMatch::KeyRow &row : match.keys) {
        const bool is_key = row.key != sql::TableLayout::kNone;
        keys.push_back({{"key", is_key ? Json(row.key + 1) : Json(nullptr)},
                        {"what", row.what},
                        {"table", row.table},
                        {"columns", row.columns},
                        {"unique", row.is_unique},
                        {"index", text_or_null(row.index)}});
    }
    const Json json = {{"table", layout.table},
                       {"agrees", match.problems.empty()},
                       {"exact_records", match.has_exact},
                       {"columns", std::move(columns)},
                       {"keys", std::move(keys)},
                       {"problems", match.problems}};
    std::cout << json.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

int match_table(const Options &options) {
    const Dictionary xfd = load_dictionary(options.name, 0);
    const sql::TableLayout layout = layout_of(options.name, *xfd, true);
    sql::OpenOptions open_options;
    open_options.create = false;
    open_options.read_only = true;
    Database database(options.database, open_options);
    sql::TableMatch match;
    const sql::Status status = sql::match_table(database.connection(), layout, &match);
    if (status.kind() == sql::ErrorKind::kNoSuchTable) {
        throw Failure("--db " + options.database + ": " + status.text(), kDifferent);
    }
    check(status, "--db " + options.database);
    if (options.format == "json") {
        print_json(layout, match);
    } else {
        print_table(options, layout, match);
    }
    return match.problems.empty() ? kDone : kDifferent;
}

}  // namespace

Action declare_match(CLI::App &app) {
    const auto options = std::make_shared<Options>();
    app.add_option("NAME", options->name, "Name of the COBOL file")->required();
    declare_database(app, options->database);
    app.add_option("--format", options->format, "table (default) or json")
        ->check(CLI::IsMember({"table", "json"}))
        ->type_name("FORMAT");
    return [options] { return match_table(*options); };
}

}  // namespace tool
