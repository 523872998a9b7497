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

// The listed items are written too where the listed view is whole: a dictionary may
// count too few of them for it.
std::string written_dictionary(const std::string &name, Form form) {
    constexpr uint32_t kNormal = XFD_LOAD_COMMENTS;
    constexpr uint32_t kListed = XFD_LOAD_COMMENTS | XFD_LOAD_LISTED_VIEW;
    constexpr int kTextVersionWithListedView = 5;
    const Dictionary normal = load_dictionary(name, kNormal);
    const Dictionary listed = try_load_dictionary(name, kListed);
    const bool has_view = listed != nullptr &&
                          listed->x_n_fields_alloc > normal->x_n_fields_alloc &&
                          (form == Form::kXml || listed->x_version >= kTextVersionWithListedView);
    const uint32_t flags = (has_view ? kListed : kNormal) | XFD_LOAD_COPY_OCCURS;
    const Dictionary declared = load_dictionary(name, flags);
    const auto write = form == Form::kText ? dictionary_text : dictionary_xml;
    return write(*declared, has_view ? *listed : *normal, has_view);
}

Action declare_show(CLI::App &app) {
    const auto options = std::make_shared<Options>();
    app.add_option("NAME", options->name, "Name of the COBOL file")->required();
    app.add_option("--format", options->format,
                   "table (default), json, or text or xml: a dictionary that loads to the same")
        ->check(CLI::IsMember({"table", "json", "text", "xml"}))
        ->type_name("FORMAT");
    app.add_flag("--listed", options->listed,
                 "Show the items that belong to the listed view alone, too");
    app.add_flag("--comments", options->comments, "Show the comments of the fields");
    return [options] {
        if (options->format == "text" || options->format == "xml") {
            std::cout << written_dictionary(options->name,
                                            options->format == "xml" ? Form::kXml : Form::kText);
            return kDone;
        }
        const uint32_t flags = XFD_LOAD_COMMENTS | (options->listed ? XFD_LOAD_LISTED_VIEW : 0);
        const Dictionary xfd = load_dictionary(options->name, flags);
        // The text form has the view from version 5 on, the XML form always.
        const bool listed_view =
            options->listed &&
            (xfd->x_version >= 5 || xfd->x_n_fields_alloc == xfd->x_n_total_fields_listed);
        if (options->format == "json") {
            show_json(std::cout, *xfd, listed_view);
        } else {
            show_table(std::cout, *xfd, listed_view, options->comments);
        }
        return kDone;
    };
}

}  // namespace tool
