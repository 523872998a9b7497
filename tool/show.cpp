// SPDX-License-Identifier: MIT
//
// wbfsi show: a dictionary for a person, a program, or as a dictionary again.

#include "tool/show.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <memory>

#include "tool/command.h"
#include "tool/failure.h"
#include "tool/session.h"

namespace tool {

namespace {

struct Options {
    std::string name;
    std::string format = "table";
    bool listed = false;
    bool comments = false;
};

}  // namespace

uint32_t shown_field_count(const Xfd &xfd, bool listed_view) {
    const uint32_t stated = listed_view ? xfd.x_n_total_fields_listed : xfd.x_n_total_fields;
    uint32_t count = std::min(listed_view ? xfd.x_n_fields_alloc : stated, xfd.x_n_fields_alloc);
    while (count > 0 && xfd.x_fdesc[count - 1].fd_name[0] == '\0') {
        count--;
    }
    return count;
}

Action declare_show(CLI::App &app) {
    const auto options = std::make_shared<Options>();
    app.add_option("NAME", options->name, "Name of the COBOL file")->required();
    app.add_option("--format", options->format,
                   "table (default), json, or text: a dictionary that loads to the same")
        ->check(CLI::IsMember({"table", "json", "text"}))
        ->type_name("FORMAT");
    app.add_flag("--listed", options->listed,
                 "Show the items that belong to the listed view alone, too");
    app.add_flag("--comments", options->comments, "Show the comments of the fields");
    return [options] {
        if (options->format == "text") {
            show_text(std::cout, options->name);
            return kDone;
        }
        const uint32_t flags = XFD_LOAD_COMMENTS | (options->listed ? XFD_LOAD_LISTED_VIEW : 0);
        const Dictionary xfd = load_dictionary(options->name, flags);
        const bool listed_view = options->listed && xfd->x_version >= 5;
        if (options->format == "json") {
            show_json(std::cout, *xfd, listed_view);
        } else {
            show_table(std::cout, *xfd, listed_view, options->comments);
        }
        return kDone;
    };
}

}  // namespace tool
