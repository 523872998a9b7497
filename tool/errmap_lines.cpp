// SPDX-License-Identifier: MIT
#include "tool/errmap_lines.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <string_view>
#include <system_error>
#include <unordered_map>
#include <utility>

#include "sql/error_map.h"
#include "tool/failure.h"
#include "tool/input_file.h"

namespace tool {

namespace {

constexpr size_t kMaxLine = 511;
constexpr size_t kMaxSectionName = 79;

// File errors are numbered from 1.
constexpr int32_t kFileErrors = 18;

bool is_space(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

std::string_view without_leading_space(std::string_view text) {
    text.remove_prefix(
        static_cast<size_t>(std::find_if_not(text.begin(), text.end(), is_space) - text.begin()));
    return text;
}

// Splits what stands in front of the first character for which `ends` off.
template <typename Predicate>
std::string_view split_off(std::string_view *text, Predicate ends) {
    const auto length =
        static_cast<size_t>(std::find_if(text->begin(), text->end(), ends) - text->begin());
    const std::string_view part = text->substr(0, length);
    text->remove_prefix(length);
    return part;
}

std::string quoted(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

// A number beyond 32 bits is the largest or smallest one, as in the library.
int32_t clamped_number(std::string_view sign, std::string_view digits, bool *is_clamped) {
    const bool is_negative = sign == "-";
    const int64_t most = is_negative ? -int64_t{INT32_MIN} : INT32_MAX;
    int64_t number = 0;
    *is_clamped = false;
    for (const char digit : digits) {
        number = number * 10 + (digit - '0');
        if (number > most) {
            number = most;
            *is_clamped = true;
            break;
        }
    }
    return static_cast<int32_t>(is_negative ? -number : number);
}

class Reader {
 public:
    explicit Reader(bool implicit_section) : is_implicit_(implicit_section) {}

    // The next line, of which more than its first characters were left out or not.
    void add(std::string_view line, bool is_cut);
    ErrmapLines take() { return std::move(lines_); }

 private:
    void warn(std::string text) { lines_.warnings.push_back({line_, std::move(text)}); }
    void open_section(std::string_view name);
    void add_entry(std::string_view text);
    void check_name(std::string_view name);

    bool is_implicit_;
    uint64_t line_ = 0;
    ErrmapLines lines_;
    std::unordered_map<int32_t, uint64_t> line_of_;  // of each number of the section
};

void Reader::add(std::string_view line, bool is_cut) {
    line_++;
    if (is_cut) {
        warn("only its first 511 characters are read");
    }
    if (const size_t zero = line.find('\0'); zero != std::string_view::npos) {
        warn("what follows its zero byte is not read");
        line = line.substr(0, zero);
    }
    const std::string_view text = without_leading_space(line);
    if (text.empty() || text[0] == '#') {
        return;
    }
    if (text[0] == '[') {
        is_implicit_ = false;
        open_section(text);
        return;
    }
    if (std::exchange(is_implicit_, false)) {
        open_section(text);
    }
    if (lines_.sections.empty()) {
        warn(
            "skipped: it stands in front of the first section; a line that begins with \"[\" "
            "opens one");
        return;
    }
    add_entry(text);
}

void Reader::open_section(std::string_view name) {
    if (name.size() > kMaxSectionName) {
        warn("the name of the section is cut to its first 79 characters");
    }
    lines_.sections.push_back({line_, {}});
    line_of_.clear();
}

void Reader::add_entry(std::string_view text) {
    std::string_view rest = text;
    const std::string_view sign =
        rest[0] == '-' || rest[0] == '+' ? rest.substr(0, 1) : std::string_view();
    rest.remove_prefix(sign.size());
    const std::string_view digits = split_off(&rest, [](char c) { return !is_digit(c); });
    if (digits.empty()) {
        warn(
            "skipped: it begins with no number; NUMBER E_NAME, or [NAME] for a section, would be "
            "right");
        return;
    }
    const std::string number = std::string(sign) + std::string(digits);
    if (!rest.empty() && !is_space(rest[0])) {
        std::string_view word = rest;
        warn("skipped: " + quoted(split_off(&word, is_space)) + " follows the number " + number +
             " at once; a blank between them would be right");
        return;
    }
    rest = without_leading_space(rest);
    if (rest.empty()) {
        warn("skipped: no name follows the number " + number);
        return;
    }
    bool is_clamped = false;
    const int32_t native = clamped_number(sign, digits, &is_clamped);
    if (is_clamped) {
        warn("the number " + number + " is beyond 32 bits: it counts as " + std::to_string(native));
    }
    check_name(split_off(&rest, is_space));
    const auto [before, is_new] = line_of_.emplace(native, line_);
    if (!is_new) {
        warn("the number " + std::to_string(native) + " stands on line " +
             std::to_string(before->second) + " of this section already");
    }
    lines_.sections.back().entries.push_back({line_, native});
}

void Reader::check_name(std::string_view name) {
    std::vector<std::string_view> meant;
    for (int32_t error = 1; error <= kFileErrors; error++) {
        const std::string_view known = sql::file_error_name(error);
        if (name == known) {
            return;
        }
        if (known.starts_with(name)) {
            meant.push_back(known);
        }
    }
    if (meant.empty()) {
        warn(quoted(name) +
             " is no file error: the number stands for none; E_SYS_ERROR to "
             "E_NO_LOCKS are known");
    } else if (meant.size() > 1) {
        std::string text = quoted(name) + " counts as " + std::string(meant[0]) + "; ";
        for (size_t i = 1; i < meant.size(); i++) {
            text += (i == 1 ? "" : ", ") + std::string(meant[i]);
        }
        warn(text + (meant.size() == 2 ? " begins" : " begin") + " with it, too");
    }
}

// Skips what is left of a line, and its newline.
void skip_line_end(InputFile *file) {
    while (const size_t ready = file->need(1)) {
        const auto *newline = static_cast<const unsigned char *>(memchr(file->data(), '\n', ready));
        if (newline != nullptr) {
            file->skip(static_cast<size_t>(newline - file->data()) + 1);
            return;
        }
        file->skip(ready);
    }
}

}  // namespace

ErrmapLines read_errmap_lines(const std::string &path, bool implicit_section) {
    // A pipe would be waited for: it is refused before it is opened.
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (!error && std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        throw Failure(path + ": is no regular file; it has to be read twice");
    }
    InputFile file(path, kMaxLine + 1);
    Reader reader(implicit_section);
    while (const size_t ready = file.need(kMaxLine + 1)) {
        const auto *text = reinterpret_cast<const char *>(file.data());
        const auto *newline = static_cast<const char *>(memchr(text, '\n', ready));
        const size_t length =
            newline != nullptr ? static_cast<size_t>(newline - text) : std::min(ready, kMaxLine);
        const bool is_cut = newline == nullptr ? ready > kMaxLine : length > kMaxLine;
        reader.add({text, std::min(length, kMaxLine)}, is_cut);
        file.skip(length);
        skip_line_end(&file);
    }
    return reader.take();
}

}  // namespace tool
