// SPDX-License-Identifier: MIT
//
// wbfsi ddl: the table and the indexes of a dictionary as SQL text.

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <string>

#include "sql/table_layout.h"
#include "tool/command.h"
#include "tool/database.h"
#include "tool/failure.h"
#include "tool/session.h"

namespace tool {

Action declare_ddl(CLI::App &app) {
    struct Options {
        std::string name;
        std::string dialect = "sqlite";
        bool no_exact = false;
    };
    const auto options = std::make_shared<Options>();
    app.add_option("NAME", options->name, "Name of the COBOL file")->required();
    app.add_option("--dialect", options->dialect, "sqlite (default) or postgresql")
        ->check(CLI::IsMember({"sqlite", "postgresql"}))
        ->type_name("DIALECT");
    app.add_flag("--no-exact", options->no_exact, "Leave out the column of exact records");
    return [options] {
        const Dictionary xfd = load_dictionary(options->name, 0);
        const sql::TableLayout layout = layout_of(options->name, *xfd, !options->no_exact);
        std::cout << sql::ddl_script(layout, *sql::find_dialect(options->dialect));
        return kDone;
    };
}

}  // namespace tool
