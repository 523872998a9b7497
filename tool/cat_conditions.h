// SPDX-License-Identifier: MIT
//
// Which conditions of a dictionary hold for a record.
#ifndef TOOL_CAT_CONDITIONS_H
#define TOOL_CAT_CONDITIONS_H

#include <cstdint>
#include <span>
#include <vector>

#include "sql/value.h"
#include "wbfsi/records.h"

namespace tool {

class RecordConditions {
 public:
    // `dictionary` outlives this; its conditions' marks are changed.
    RecordConditions(Xfd &dictionary, int code_page);

    // Evaluates all conditions in ascending order, all of them false before.  A
    // short record is taken as if blanks followed it.
    void evaluate(sql::Bytes record);

    [[nodiscard]] bool holds(int condition_1based) const {
        return holds_[static_cast<size_t>(condition_1based) - 1] != 0;
    }
    // Numbers, ascending.
    [[nodiscard]] std::span<const uint16_t> that_hold() const { return numbers_; }

 private:
    Xfd &dictionary_;
    unsigned char blank_;
    std::vector<unsigned char> padded_;
    std::vector<char> holds_;
    std::vector<uint16_t> numbers_;
};

}  // namespace tool

#endif
