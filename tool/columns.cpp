// SPDX-License-Identifier: MIT
#include "tool/columns.h"

#include <algorithm>
#include <cassert>
#include <cstdio>
#include <cstring>

#include "host/charset.h"

namespace tool {

namespace {

constexpr const char *kGap = "  ";

std::string pad(const std::string &text, size_t width, Columns::Align align) {
    const std::string blanks(width - std::min(width, display_width(text)), ' ');
    return align == Columns::kRight ? blanks + text : text + blanks;
}

}  // namespace

size_t display_width(const std::string &text) {
    return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    }));
}

std::string to_utf8(const char *text) {
    const size_t length = strlen(text);
    if (std::all_of(text, text + length, [](char c) { return (c & 0x80) == 0; })) {
        return text;
    }
    const int32_t needed = ZCOBOLCharSetToUTF8(text, static_cast<int32_t>(length), nullptr, 0);
    std::string utf8(static_cast<size_t>(std::max(needed, 0)) + 1, '\0');
    ZCOBOLCharSetToUTF8(text, static_cast<int32_t>(length), utf8.data(), needed + 1);
    utf8.pop_back();
    return utf8;
}

std::string without_controls(const std::string &text) {
    std::string out;
    const auto put_escaped = [&](unsigned char byte) {
        char escaped[5];
        snprintf(escaped, sizeof escaped, "\\x%02X", byte);
        out += escaped;
    };
    for (size_t i = 0; i < text.size(); i++) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : 0);
        if (byte == 0xC2 && next >= 0x80 && next < 0xA0) {
            // U+0080 to U+009F in UTF-8: controls of eight bits.
            put_escaped(byte);
            put_escaped(next);
            i++;
        } else if (byte < 0x20 || byte == 0x7F) {
            put_escaped(byte);
        } else {
            out += text[i];
        }
    }
    return out;
}

std::string printable(const char *text) {
    return without_controls(to_utf8(text));
}

void Columns::add(std::vector<std::string> cells) {
    assert(cells.size() <= headings_.size());
    cells.resize(headings_.size());
    rows_.push_back(std::move(cells));
}

void Columns::print(std::ostream &out, const std::string &indent) const {
    std::vector<size_t> widths(headings_.size(), 0);
    for (const auto &row : rows_) {
        for (size_t c = 0; c < row.size(); c++) {
            widths[c] = std::max(widths[c], display_width(row[c]));
        }
    }
    const auto print_row = [&](auto &&cell_at) {
        std::string line = indent;
        bool first = true;
        for (size_t c = 0; c < headings_.size(); c++) {
            if (widths[c] == 0) {
                continue;
            }
            const size_t width = std::max(widths[c], strlen(headings_[c].text));
            line += (first ? "" : kGap) + pad(cell_at(c), width, headings_[c].align);
            first = false;
        }
        line.erase(line.find_last_not_of(' ') + 1);
        out << line << '\n';
    };
    print_row([&](size_t c) { return std::string(headings_[c].text); });
    for (const auto &row : rows_) {
        print_row([&](size_t c) { return row[c]; });
    }
}

}  // namespace tool
