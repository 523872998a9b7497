// SPDX-License-Identifier: MIT
//
// Aligned columns of text for a terminal.  Widths are counted in characters of
// UTF-8, not in bytes.
#ifndef TOOL_COLUMNS_H
#define TOOL_COLUMNS_H

#include <ostream>
#include <string>
#include <vector>

namespace tool {

class Columns {
 public:
    enum Align { kLeft, kRight };
    struct Heading {
        const char *text;
        Align align;
    };

    explicit Columns(std::vector<Heading> headings) : headings_(std::move(headings)) {}

    // A row may be shorter than the headings, never longer.
    void add(std::vector<std::string> cells);

    // Columns that are empty in every row are left out, heading and all.
    void print(std::ostream &out, const std::string &indent) const;

 private:
    std::vector<Heading> headings_;
    std::vector<std::vector<std::string>> rows_;
};

// Characters of a UTF-8 text.
size_t display_width(const std::string &text);

// A text of the COBOL program's character set as UTF-8.
std::string to_utf8(const char *text);

// Control characters, which a terminal would obey, become "\xHH" byte by byte.
std::string without_controls(const std::string &text);

// Both: a text of the COBOL program's character set, fit to be seen.
std::string printable(const char *text);

}  // namespace tool

#endif
