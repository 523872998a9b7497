// SPDX-License-Identifier: MIT
//
// wbfsi compare: what the library finds different between two dictionaries.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

#include "tool/columns.h"
#include "tool/command.h"
#include "tool/failure.h"
#include "tool/session.h"
#include "tool/temporary_setting.h"
#include "wbfsi/compare.h"

namespace tool {

namespace {

struct Options {
    std::string first, second;
    bool ignore_sizes = false;
    bool skip_version = false;
    bool sort_keys = false;
    bool verbose = false;
    bool quiet = false;
};

bool is_dictionary_file(const std::filesystem::path &path) {
    return path.extension() == ".xfd" || path.extension() == ".XFD" || path.filename() == ".xfd" ||
           path.filename() == ".XFD";
}

// The library is told the folder and the name, and finds the file as it finds
// every dictionary.  The other spellings of the name and the name map come before
// the name as it is, so what was taken has to be looked at.
Dictionary load_file(const std::filesystem::path &path) {
    std::error_code error;
    if (!std::filesystem::exists(path, error)) {
        throw Failure(path.string() + ": " +
                      (error ? error.message() : "there is no such dictionary"));
    }
    const std::string folder = path.has_parent_path() ? path.parent_path().string() : ".";
    const std::string file = path.filename().string();
    const TemporarySetting no_prefix("XFD_PREFIX", nullptr);
    const TemporarySetting directory("XFD_DIRECTORY", folder.c_str());
    Dictionary xfd;
    try {
        xfd = load_dictionary(file.substr(0, file.size() - sizeof "xfd"), 0);
    } catch (const Failure &failure) {
        if (failure.status() != kDifferent) {
            throw;
        }
        throw Failure(path.string() +
                      ": the file is there, but the search for its name does not end at it; a "
                      "readable file whose name XFD_MAP leaves alone would be right");
    }
    if (!std::filesystem::equivalent(path, xfd->x_filename, error)) {
        throw Failure(path.string() + ": the search for its name takes " +
                      printable(xfd->x_filename) +
                      "; a name that is the only one of its folder but for case and hyphens, and "
                      "that XFD_MAP leaves alone, would be right");
    }
    return xfd;
}

// No dictionary is as fatal as a malformed one: status 1 would say that there are
// differences.
Dictionary load(const std::string &name) {
    try {
        Dictionary xfd = is_dictionary_file(name) ? load_file(name) : load_dictionary(name, 0);
        if (const int64_t cut = cut_short_at(*xfd); cut >= 0) {
            throw Failure(name + ": the dictionary is cut short: field " + std::to_string(cut + 1) +
                          " of " + std::to_string(xfd->x_n_total_fields) +
                          " could not be built; only a whole one can be compared");
        }
        return xfd;
    } catch (const Failure &failure) {
        throw Failure(failure.what(), kFatal);
    }
}

// Takes what the library prints to the C library's standard output for as long as
// it lives, and puts it out through std::cout, fit for a terminal.
class PrintedLines {
 public:
    PrintedLines() : before_(stdout) {
        cookie_io_functions_t functions = {};
        functions.write = write;
        FILE *const stream = fopencookie(this, "w", functions);
        if (stream == nullptr) {
            throw Failure("out of memory");
        }
        std::cout.flush();
        stdout = stream;
    }
    ~PrintedLines() {
        FILE *const stream = stdout;
        stdout = before_;
        fclose(stream);
    }
    PrintedLines(const PrintedLines &) = delete;
    PrintedLines &operator=(const PrintedLines &) = delete;

 private:
    static ssize_t write(void *cookie, const char *text, size_t n) {
        try {
            static_cast<PrintedLines *>(cookie)->add({text, n});
        } catch (const std::exception &) {
            std::cout.setstate(std::ios::badbit);  // main reports it
        }
        return static_cast<ssize_t>(n);
    }

    void add(std::string_view text) {
        for (size_t end; (end = text.find('\n')) != std::string_view::npos;
             text.remove_prefix(end + 1)) {
            line_ += text.substr(0, end);
            std::cout << printable(line_.c_str()) << '\n';
            line_.clear();
        }
        line_ += text;
    }

    FILE *before_;
    std::string line_;
};

int compare(const Options &options) {
    const Dictionary first = load(options.first);
    const Dictionary second = load(options.second);
    int differences = 0;
    {
        const PrintedLines lines;
        differences = Z4XFDCompare(first.get(), second.get(), options.ignore_sizes ? 1 : 0,
                                   options.skip_version ? 1 : 0, options.sort_keys ? 1 : 0,
                                   options.verbose ? 1 : 0);
    }
    if (!options.quiet) {
        const std::string count = differences == 0   ? "no differences"
                                  : differences == 1 ? "1 difference"
                                                     : std::to_string(differences) + " differences";
        std::cout << (differences != 0 ? "\n" : "") << count << " between "
                  << printable(first->x_filename) << " (<) and " << printable(second->x_filename)
                  << " (>)\n";
    }
    return differences == 0 ? kDone : kDifferent;
}

}  // namespace

Action declare_compare(CLI::App &app) {
    const auto options = std::make_shared<Options>();
    constexpr const char *kHelp =
        "Name of a COBOL file, or path of its dictionary file (*.xfd, *.XFD)";
    app.add_option("A", options->first, kHelp)->required();
    app.add_option("B", options->second, kHelp)->required();
    app.add_flag("--ignore-sizes", options->ignore_sizes,
                 "Leave out record sizes, lengths and offsets of fields and keys");
    app.add_flag("--skip-version", options->skip_version, "Leave out the versions");
    app.add_flag("--sort-keys", options->sort_keys,
                 "Compare the keys behind the primary one by their offsets, not by their order");
    app.add_flag("--verbose", options->verbose, "Say for each difference whether it matters");
    app.add_flag("-q,--quiet", options->quiet, "No summary");
    return [options] { return compare(*options); };
}

}  // namespace tool
