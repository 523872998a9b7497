// SPDX-License-Identifier: MIT
//
// All conditions that hold for a record, by number.
#ifndef TOOL_CAT_CONDITIONS_H
#define TOOL_CAT_CONDITIONS_H

#include <cstdint>
#include <span>
#include <vector>

#include "sql/record_conditions.h"
#include "sql/table_layout.h"
#include "sql/value.h"

namespace tool {

class TrueConditions {
 public:
    explicit TrueConditions(const sql::TableLayout &layout);

    // A short record is taken as if blanks followed it.
    void evaluate(sql::Bytes record);

    // For the record evaluated last: numbers from 1, ascending.
    [[nodiscard]] std::span<const uint16_t> numbers() const { return numbers_; }
    [[nodiscard]] bool contain(int condition_1based) const;

 private:
    sql::RecordConditions conditions_;
    unsigned char blank_;
    std::vector<unsigned char> padded_;
    std::vector<uint16_t> numbers_;
};

}  // namespace tool

#endif
