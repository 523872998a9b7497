// SPDX-License-Identifier: MIT
//
// wbfsi convert: a dictionary in the other one of its two forms.

#include <CLI/CLI.hpp>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>

#include "tool/command.h"
#include "tool/failure.h"
#include "tool/output_file.h"
#include "tool/session.h"
#include "tool/show.h"

namespace tool {

namespace {

struct Options {
    std::string name;
    std::string output;
    std::string format;
};

// A dictionary that loads begins, behind blanks, with "XFD" or a comment in the text
// form, and with "<" or a byte-order mark in the XML form.
Form form_of(const Xfd &xfd) {
    std::ifstream file(xfd.x_filename, std::ios::binary);
    char first = '\0';
    if (!(file >> first)) {
        throw Failure(std::string(xfd.x_filename) + ": cannot be read");
    }
    return first == 'X' || first == '"' || first == '#' ? Form::kText : Form::kXml;
}

int convert(const Options &options) {
    Form form = options.format == "xml" ? Form::kXml : Form::kText;
    if (options.format.empty()) {
        const Dictionary xfd = load_dictionary(options.name, 0);
        form = form_of(*xfd) == Form::kText ? Form::kXml : Form::kText;
    }
    const std::string text = written_dictionary(options.name, form);
    if (options.output == "-") {
        std::cout << text;
        return kDone;
    }
    OutputFile file(options.output);
    file.write(text.data(), text.size());
    file.commit();
    return kDone;
}

}  // namespace

Action declare_convert(CLI::App &app) {
    const auto options = std::make_shared<Options>();
    app.add_option("NAME", options->name, "Name of the COBOL file")->required();
    app.add_option("OUT", options->output, "The dictionary to write, - for the output")->required();
    app.add_option("--format", options->format,
                   "text or xml (default: the form that the dictionary does not have)")
        ->check(CLI::IsMember({"text", "xml"}))
        ->type_name("FORMAT");
    return [options] { return convert(*options); };
}

}  // namespace tool
