// SPDX-License-Identifier: MIT
#include "tool/cat_conditions.h"

#include <algorithm>

#include "sql/record_text.h"

namespace tool {

TrueConditions::TrueConditions(const sql::TableLayout &layout)
    : conditions_(layout),
      blank_(sql::CodePage(layout.code_page).blank()),
      padded_(layout.max_record) {
    numbers_.reserve(conditions_.count());
}

void TrueConditions::evaluate(sql::Bytes record) {
    const unsigned char *bytes = record.data();
    if (record.size() < padded_.size()) {
        const auto end = std::copy(record.begin(), record.end(), padded_.begin());
        std::fill(end, padded_.end(), blank_);
        bytes = padded_.data();
    }
    numbers_.clear();
    conditions_.restart();
    for (uint32_t number = 1; number <= conditions_.count(); number++) {
        if (conditions_.holds(number, bytes)) {
            numbers_.push_back(static_cast<uint16_t>(number));
        }
    }
}

bool TrueConditions::contain(int condition_1based) const {
    return std::ranges::binary_search(numbers_, condition_1based);
}

}  // namespace tool
