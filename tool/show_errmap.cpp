// SPDX-License-Identifier: MIT
//
// wbfsi errmap: what the library reads from an error-map file, and which lines it
// cannot use.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "host/memory.h"
#include "sql/error_map.h"
#include "tool/columns.h"
#include "tool/command.h"
#include "tool/errmap_lines.h"
#include "tool/failure.h"
#include "tool/whole_number.h"
#include "wbfsi/errmap.h"

namespace tool {

namespace {

using Json = nlohmann::ordered_json;

struct Options {
    std::string file;
    std::vector<std::string> lookup;
    bool implicit_section = false;
    std::string format = "table";
};

struct Entry {
    uint64_t line;
    ErrorMapEntry map;
};

struct Section {
    std::string name;
    uint64_t line;
    std::vector<Entry> entries;
};

// The library's array of sections until its end.
class ErrorMap {
 public:
    ErrorMap(const std::string &path, bool implicit_section)
        : sections_(Z4ParseErrorFile(path.c_str(), &count_, implicit_section ? 1 : 0)) {}
    ~ErrorMap() {
        for (size_t s = 0; s < size(); s++) {
            Zfree(sections_[s].entries);
        }
        Zfree(sections_);
    }
    ErrorMap(const ErrorMap &) = delete;
    ErrorMap &operator=(const ErrorMap &) = delete;

    bool is_read() const { return sections_ != nullptr; }
    // Slots, filled or not.
    size_t size() const { return static_cast<size_t>(count_); }
    const ErrorMapSection &operator[](size_t s) const { return sections_[s]; }

 private:
    int count_ = 0;
    ErrorMapSection *sections_;
};

// The sections of the library with the lines that they come from.  The two were
// read one after the other: a file that has changed in between is refused.
std::vector<Section> match_lines(const std::string &path, const ErrorMap &map,
                                 const ErrmapLines &lines) {
    const Failure changed(path + ": has changed while it was read");
    std::vector<Section> sections;
    if (lines.sections.size() > map.size() ||
        (lines.sections.size() < map.size() && map[lines.sections.size()].name[0] != '\0')) {
        throw changed;
    }
    for (const ErrmapLines::Section &from : lines.sections) {
        const ErrorMapSection &section = map[sections.size()];
        const auto slots = static_cast<size_t>(std::max(section.capacity, 0));
        Section to{section.name, from.line, {}};
        for (const ErrmapLines::Entry &entry : from.entries) {
            const size_t slot = to.entries.size();
            if (slot >= slots || section.entries[slot].native != entry.native) {
                throw changed;
            }
            to.entries.push_back({entry.line, section.entries[slot]});
        }
        sections.push_back(std::move(to));
    }
    return sections;
}

std::string error_in_words(const ErrorMapEntry &entry) {
    const std::string_view name = sql::file_error_name(entry.cobol);
    return std::string(name.empty() ? "none" : name);
}

void print_table(const std::vector<Section> &sections) {
    const char *gap = "";
    for (const Section &section : sections) {
        std::cout << gap << printable(section.name.c_str()) << '\n';
        gap = "\n";
        if (section.entries.empty()) {
            std::cout << "  no entries\n";
            continue;
        }
        Columns columns({{"Number", Columns::kRight},
                         {"Code", Columns::kRight},
                         {"File error", Columns::kLeft},
                         {"Line", Columns::kRight}});
        for (const Entry &entry : section.entries) {
            columns.add({std::to_string(entry.map.native), std::to_string(entry.map.cobol),
                         error_in_words(entry.map), std::to_string(entry.line)});
        }
        columns.print(std::cout, "  ");
    }
    if (sections.empty()) {
        std::cout << "no sections\n";
    }
}

struct Match {
    int32_t number;
    const Section *section;
    const Entry *entry;
};

std::vector<Match> find_number(const std::vector<Section> &sections, int32_t number) {
    std::vector<Match> matches;
    for (const Section &section : sections) {
        for (const Entry &entry : section.entries) {
            if (entry.map.native == number) {
                matches.push_back({number, &section, &entry});
            }
        }
    }
    return matches;
}

void print_matches(const std::vector<Match> &matches) {
    Columns columns({{"Number", Columns::kRight},
                     {"Code", Columns::kRight},
                     {"File error", Columns::kLeft},
                     {"Line", Columns::kRight},
                     {"Section", Columns::kLeft}});
    for (const Match &match : matches) {
        columns.add({std::to_string(match.number), std::to_string(match.entry->map.cobol),
                     error_in_words(match.entry->map), std::to_string(match.entry->line),
                     printable(match.section->name.c_str())});
    }
    if (!matches.empty()) {
        columns.print(std::cout, "");
    }
}

Json entry_as_json(const Entry &entry) {
    const std::string_view name = sql::file_error_name(entry.map.cobol);
    return {{"number", entry.map.native},
            {"code", entry.map.cobol},
            {"file_error", name.empty() ? Json(nullptr) : Json(name)},
            {"line", entry.line}};
}

Json sections_as_json(const std::vector<Section> &sections) {
    Json json = Json::array();
    for (const Section &section : sections) {
        Json entries = Json::array();
        for (const Entry &entry : section.entries) {
            entries.push_back(entry_as_json(entry));
        }
        json.push_back({{"name", to_utf8(section.name.c_str())},
                        {"line", section.line},
                        {"entries", std::move(entries)}});
    }
    return json;
}

Json matches_as_json(const std::vector<Match> &matches) {
    Json json = Json::array();
    for (const Match &match : matches) {
        Json entry = entry_as_json(*match.entry);
        entry["section"] = to_utf8(match.section->name.c_str());
        json.push_back(std::move(entry));
    }
    return json;
}

Json warnings_as_json(const std::vector<ErrmapLines::Warning> &warnings) {
    Json json = Json::array();
    for (const ErrmapLines::Warning &warning : warnings) {
        json.push_back({{"line", warning.line}, {"text", to_utf8(warning.text.c_str())}});
    }
    return json;
}

int show(const Options &options) {
    std::vector<int32_t> numbers;
    for (const std::string &text : options.lookup) {
        numbers.push_back(whole_number("--lookup", text, INT32_MIN, INT32_MAX));
    }
    const ErrmapLines lines = read_errmap_lines(options.file, options.implicit_section);
    const ErrorMap map(options.file, options.implicit_section);
    if (!map.is_read()) {
        throw Failure(options.file + ": the library cannot read it");
    }
    const std::vector<Section> sections = match_lines(options.file, map, lines);

    std::vector<Match> matches;
    std::vector<int32_t> unmapped;
    for (const int32_t number : numbers) {
        const std::vector<Match> found = find_number(sections, number);
        if (std::all_of(found.begin(), found.end(),
                        [](const Match &match) { return match.entry->map.cobol == 0; })) {
            unmapped.push_back(number);
        }
        matches.insert(matches.end(), found.begin(), found.end());
    }

    if (options.format == "json") {
        Json json = {{"file", to_utf8(options.file.c_str())}};
        if (numbers.empty()) {
            json["sections"] = sections_as_json(sections);
        } else {
            json["entries"] = matches_as_json(matches);
        }
        json["warnings"] = warnings_as_json(lines.warnings);
        std::cout << json.dump(2, ' ', true, Json::error_handler_t::replace) << '\n';
    } else {
        if (numbers.empty()) {
            print_table(sections);
        } else {
            print_matches(matches);
        }
        std::cout.flush();
        for (const ErrmapLines::Warning &warning : lines.warnings) {
            std::cerr << "wbfsi errmap: " << printable(options.file.c_str()) << ": line "
                      << warning.line << ": " << printable(warning.text.c_str()) << '\n';
        }
    }
    if (!unmapped.empty()) {
        std::string text = options.file + ": no file error for ";
        for (size_t i = 0; i < unmapped.size(); i++) {
            text += (i == 0 ? "" : ", ") + std::to_string(unmapped[i]);
        }
        throw Failure(text, kDifferent);
    }
    return kDone;
}

}  // namespace

Action declare_errmap(CLI::App &app) {
    const auto options = std::make_shared<Options>();
    app.add_option("FILE", options->file, "The error-map file")->required();
    app.add_option("--lookup", options->lookup,
                   "Show the entries of these error numbers alone; status 1 when one of them "
                   "stands for no file error")
        ->type_name("NUMBER");
    app.add_flag("--implicit-section", options->implicit_section,
                 "A first line without \"[\" opens a section, as some interfaces have it");
    app.add_option("--format", options->format, "table (default) or json")
        ->check(CLI::IsMember({"table", "json"}))
        ->type_name("FORMAT");
    return [options] { return show(*options); };
}

}  // namespace tool
