// SPDX-License-Identifier: MIT
//
// What `wbfsi cat` prints of a file: which fields, which records by number.
#ifndef TOOL_CAT_CHOICE_H
#define TOOL_CAT_CHOICE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "sql/table_layout.h"
#include "tool/record_printer.h"

namespace tool {

// The fields that `names` asks for, in its order: names without case, separated by
// commas.  A name without its subscripts means all occurrences.  Empty: all fields
// in the order of the layout, the hidden ones only with `with_hidden`.  Throws
// Failure for an unknown name, which lists the names that are like it.
std::vector<PrintedField> choose_fields(const sql::TableLayout &layout, const std::string &names,
                                        bool with_hidden);

// "10-20,35,100-": numbers of records.
class NumberRanges {
 public:
    // Empty: all.  Throws Failure for anything else than numbers from 1 and ranges.
    explicit NumberRanges(const std::string &text);

    // Numbers are asked for in ascending order.
    bool contains(uint64_t number) {
        while (at_ < ranges_.size() && ranges_[at_].last < number) {
            at_++;
        }
        return at_ < ranges_.size() && ranges_[at_].first <= number;
    }
    // No number above this one is contained.
    [[nodiscard]] uint64_t last() const { return ranges_.back().last; }

 private:
    struct Range {
        uint64_t first;
        uint64_t last;
    };
    static Range parse(std::string_view part);

    std::vector<Range> ranges_;  // ascending, at least one
    size_t at_ = 0;
};

// Parts between commas that stand outside of parentheses, blanks around them off.
std::vector<std::string> split_list(std::string_view text);

}  // namespace tool

#endif
