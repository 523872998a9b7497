// SPDX-License-Identifier: MIT
#include "tool/cat_choice.h"

#include <algorithm>
#include <charconv>

#include "tool/failure.h"

namespace tool {

namespace {

std::string_view trimmed(std::string_view text) {
    const size_t first = text.find_first_not_of(' ');
    if (first == text.npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(' ') + 1 - first);
}

std::string folded(std::string_view text) {
    std::string out(text);
    for (char &c : out) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
    }
    return out;
}

// Levenshtein distance: letters added, left out or changed.
size_t distance(const std::string &a, const std::string &b) {
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); j++) {
        row[j] = j;
    }
    for (size_t i = 1; i <= a.size(); i++) {
        size_t corner = row[0];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); j++) {
            const size_t above = row[j];
            row[j] = std::min({above + 1, row[j - 1] + 1, corner + (a[i - 1] == b[j - 1] ? 0 : 1)});
            corner = above;
        }
    }
    return row[b.size()];
}

// Up to five names that are like an unknown one, the likest first; when none is,
// the first names of the file.
std::string names_like(const sql::TableLayout &layout, const std::string &wanted) {
    constexpr size_t kMostShown = 5;
    constexpr size_t kLongestName = 200;
    struct Candidate {
        size_t distance;
        const std::string *name;
    };
    std::vector<Candidate> candidates;
    const std::string name = folded(wanted);
    for (const sql::Field &field : layout.fields) {
        const std::string other = folded(field.name);
        if (std::max(name.size(), other.size()) > kLongestName) {
            continue;
        }
        const bool is_part =
            name.size() >= 3 && (other.find(name) != other.npos || name.find(other) != name.npos);
        const size_t far = distance(name, other);
        if (is_part || far <= std::max<size_t>(2, name.size() / 3)) {
            candidates.push_back({far, &field.name});
        }
    }
    std::ranges::stable_sort(candidates, {}, &Candidate::distance);
    std::string text = candidates.empty() ? "the file has " : "there is ";
    if (candidates.empty()) {
        for (const sql::Field &field : layout.fields) {
            candidates.push_back({0, &field.name});
        }
    }
    const size_t shown = std::min(candidates.size(), kMostShown);
    for (size_t i = 0; i < shown; i++) {
        text += (i == 0 ? "" : ", ") + *candidates[i].name;
    }
    return text + (candidates.size() > shown ? " ..." : "");
}

bool is_hidden(const sql::TableLayout &layout, const sql::Field &field) {
    return (layout.dictionary->x_fdesc[field.slot].fd_flags & XFD_FIELD_HIDDEN) != 0;
}

}  // namespace

std::vector<std::string> split_list(std::string_view text) {
    std::vector<std::string> parts;
    int depth = 0;
    size_t start = 0;
    for (size_t i = 0; i <= text.size(); i++) {
        if (i == text.size() || (text[i] == ',' && depth <= 0)) {
            parts.emplace_back(trimmed(text.substr(start, i - start)));
            start = i + 1;
        } else {
            depth += text[i] == '(' ? 1 : text[i] == ')' ? -1 : 0;
        }
    }
    return parts;
}

std::vector<PrintedField> choose_fields(const sql::TableLayout &layout, const std::string &names,
                                        bool with_hidden) {
    std::vector<PrintedField> chosen;
    if (names.empty()) {
        for (size_t i = 0; i < layout.fields.size(); i++) {
            if (with_hidden || !is_hidden(layout, layout.fields[i])) {
                chosen.push_back({i, &layout.fields[i]});
            }
        }
        if (chosen.empty()) {
            throw Failure("all fields of the file are hidden; --all shows them");
        }
        return chosen;
    }
    for (const std::string &part : split_list(names)) {
        const std::string wanted = folded(part);
        const std::string with_subscripts = wanted + "(";
        const size_t before = chosen.size();
        for (size_t i = 0; i < layout.fields.size(); i++) {
            const std::string name = folded(layout.fields[i].name);
            if (name == wanted || (!wanted.empty() && name.starts_with(with_subscripts))) {
                chosen.push_back({i, &layout.fields[i]});
            }
        }
        if (chosen.size() == before) {
            std::string text = "--fields " + names;
            text.append(": there is no field \"").append(part).append("\"; ");
            throw Failure(text + names_like(layout, part));
        }
    }
    return chosen;
}

NumberRanges::Range NumberRanges::parse(std::string_view part) {
    const auto number = [](std::string_view text, uint64_t *out) {
        const char *end = text.data() + text.size();
        const auto result = std::from_chars(text.data(), end, *out);
        return result.ec == std::errc() && result.ptr == end;
    };
    Range range{1, UINT64_MAX};
    const size_t dash = part.find('-');
    bool is_good = false;
    if (dash == part.npos) {
        is_good = number(part, &range.first);
        range.last = range.first;
    } else {
        const std::string_view from = trimmed(part.substr(0, dash));
        const std::string_view to = trimmed(part.substr(dash + 1));
        is_good = (!from.empty() || !to.empty()) && (from.empty() || number(from, &range.first)) &&
                  (to.empty() || number(to, &range.last));
    }
    if (!is_good || range.first == 0 || range.first > range.last) {
        throw Failure("--records: \"" + std::string(part) +
                      "\" names no records; a number from 1, 10-20, 100- or -20 would be right");
    }
    return range;
}

NumberRanges::NumberRanges(const std::string &text) {
    if (text.empty()) {
        ranges_ = {{1, UINT64_MAX}};
        return;
    }
    for (const std::string &part : split_list(text)) {
        ranges_.push_back(parse(part));
    }
    // Ranges that begin later may end earlier: after this none does.
    std::ranges::sort(ranges_, {}, &Range::first);
    for (size_t i = 1; i < ranges_.size(); i++) {
        ranges_[i].last = std::max(ranges_[i].last, ranges_[i - 1].last);
        if (ranges_[i].first <= ranges_[i - 1].last) {
            ranges_[i].first = ranges_[i - 1].first;
        }
    }
}

}  // namespace tool
