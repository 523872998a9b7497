// SPDX-License-Identifier: MIT
#include "tool/ruler.h"

#include <algorithm>
#include <cstdio>
#include <set>

#include "tool/columns.h"

namespace tool {

namespace {

constexpr uint64_t kRowBytes = 50;
constexpr size_t kLineWidth = 79;
// One letter an item; a lane's row holds at most kRowBytes items.
constexpr char kLetters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
static_assert(sizeof kLetters - 1 >= kRowBytes);
// Bounds the work on a dictionary whose fields all overlap.
constexpr size_t kMaxLanes = 64;
constexpr const char *kGutter = "            ";

using Lane = std::vector<RulerItem>;  // ascending, without overlap

uint64_t end_of(const RulerItem &item) {
    return item.offset + item.size;
}

// Every item in the first lane where it fits; of two that begin at one byte the
// longer one first, so that a group stands above what it is made of.
// Items that no lane has room for are counted.
std::vector<Lane> make_lanes(std::vector<RulerItem> items, size_t &left_out) {
    std::erase_if(items, [](const RulerItem &item) { return item.size == 0; });
    std::stable_sort(items.begin(), items.end(), [](const RulerItem &a, const RulerItem &b) {
        return a.offset != b.offset ? a.offset < b.offset : a.size > b.size;
    });
    std::vector<Lane> lanes;
    for (RulerItem &item : items) {
        auto lane = std::find_if(lanes.begin(), lanes.end(),
                                 [&](const Lane &l) { return end_of(l.back()) <= item.offset; });
        if (lane == lanes.end()) {
            if (lanes.size() == kMaxLanes) {
                left_out++;
                continue;
            }
            lane = lanes.emplace(lanes.end());
        }
        lane->push_back(std::move(item));
    }
    return lanes;
}

std::string row_label(uint64_t offset) {
    char label[32];
    snprintf(label, sizeof label, "%10llu  ", static_cast<unsigned long long>(offset));
    return label;
}

void print_legend(std::ostream &out, const std::vector<std::string> &entries) {
    std::string line = kGutter;
    bool empty = true;
    for (const std::string &entry : entries) {
        if (!empty && display_width(line) + 2 + display_width(entry) > kLineWidth) {
            out << line << '\n';
            line = kGutter;
            empty = true;
        }
        line += (empty ? "" : "  ") + entry;
        empty = false;
    }
    out << line << '\n';
}

// The part of one lane between two offsets at most a row apart.  `first` is the
// lane's first item that ends behind `begin`; nothing is printed without one,
// except in the lane that also shows the bytes of no field.
void print_lane_row(std::ostream &out, const Lane &lane, Lane::const_iterator first, uint64_t begin,
                    uint64_t end, bool show_empty) {
    std::string bytes(static_cast<size_t>(end - begin), '.');
    std::vector<std::string> legend;
    for (auto item = first; item != lane.end() && item->offset < end; ++item) {
        const char letter = kLetters[legend.size()];
        const uint64_t from = std::max(item->offset, begin) - begin;
        const uint64_t to = std::min(end_of(*item), end) - begin;
        std::fill(bytes.begin() + static_cast<ptrdiff_t>(from),
                  bytes.begin() + static_cast<ptrdiff_t>(to), letter);
        std::string entry =
            std::string(1, letter) + " " + item->name + " " + std::to_string(item->offset);
        if (item->size > 1) {
            entry += "-" + std::to_string(end_of(*item) - 1);
        }
        legend.push_back(std::move(entry));
    }
    if (legend.empty() && !show_empty) {
        return;
    }
    out << (show_empty ? row_label(begin) : kGutter) << bytes << '\n';
    if (!legend.empty()) {
        print_legend(out, legend);
    }
}

// The item of a lane that covers the byte, or null.
const RulerItem *item_at(const Lane &lane, uint64_t byte) {
    const auto item = std::partition_point(lane.begin(), lane.end(),
                                           [&](const RulerItem &i) { return end_of(i) <= byte; });
    return item != lane.end() && item->offset <= byte ? &*item : nullptr;
}

// Rows in which nothing begins or ends, as one line that names what goes on.
void print_gap(std::ostream &out, const std::vector<Lane> &lanes, uint64_t begin, uint64_t end) {
    std::string names;
    for (const Lane &lane : lanes) {
        if (const RulerItem *item = item_at(lane, begin)) {
            names += (names.empty() ? "" : ", ") + item->name;
        }
    }
    out << row_label(begin) << "... to " << end - 1 << ": " << (names.empty() ? "no field" : names)
        << '\n';
}

// Numbers of the rows that have to be drawn: those in which an item begins or
// ends, the first and the last.
std::set<uint64_t> rows_to_draw(const std::vector<Lane> &lanes, uint64_t length) {
    std::set<uint64_t> rows{0, (length - 1) / kRowBytes};
    for (const Lane &lane : lanes) {
        for (const RulerItem &item : lane) {
            for (const uint64_t edge : {item.offset / kRowBytes, end_of(item) / kRowBytes}) {
                if (edge * kRowBytes < length) {
                    rows.insert(edge);
                }
            }
        }
    }
    return rows;
}

}  // namespace

void print_ruler(std::ostream &out, const std::vector<RulerItem> &items, uint64_t record_bytes) {
    size_t left_out = 0;
    const std::vector<Lane> lanes = make_lanes(items, left_out);
    uint64_t length = record_bytes;
    for (const Lane &lane : lanes) {
        length = std::max(length, end_of(lane.back()));
    }
    if (length == 0) {
        return;
    }
    out << kGutter << "0         1         2         3         4\n"
        << kGutter << "01234567890123456789012345678901234567890123456789\n";

    uint64_t drawn_to = 0;
    for (const uint64_t row : rows_to_draw(lanes, length)) {
        const uint64_t begin = row * kRowBytes;
        if (begin > drawn_to) {
            print_gap(out, lanes, drawn_to, begin);
        }
        const uint64_t end = std::min(begin + kRowBytes, length);
        bool first_lane = true;
        for (const Lane &lane : lanes) {
            const auto first = std::partition_point(
                lane.begin(), lane.end(), [&](const RulerItem &i) { return end_of(i) <= begin; });
            print_lane_row(out, lane, first, begin, end, first_lane);
            first_lane = false;
        }
        if (lanes.empty()) {
            out << row_label(begin) << std::string(static_cast<size_t>(end - begin), '.') << '\n';
        }
        drawn_to = end;
    }
    if (left_out != 0) {
        out << kGutter << left_out << " more overlapping fields are not drawn\n";
    }
}

}  // namespace tool
