// SPDX-License-Identifier: MIT
#include "tool/cat_conditions.h"

#include <algorithm>

#include "sql/record_text.h"
#include "wbfsi/conditions.h"

namespace tool {

RecordConditions::RecordConditions(Xfd &dictionary, int code_page)
    : dictionary_(dictionary),
      blank_(sql::CodePage(code_page).blank()),
      padded_(dictionary.x_max_rec_size),
      holds_(dictionary.x_n_conditions) {
    numbers_.reserve(holds_.size());
}

void RecordConditions::evaluate(sql::Bytes record) {
    const unsigned char *bytes = record.data();
    if (record.size() < padded_.size()) {
        const auto end = std::copy(record.begin(), record.end(), padded_.begin());
        std::fill(end, padded_.end(), blank_);
        bytes = padded_.data();
    }
    for (size_t i = 0; i < holds_.size(); i++) {
        dictionary_.x_condition[i].c_flags &= ~uint32_t{XFD_CONDITION_TRUE};
    }
    numbers_.clear();
    for (size_t i = 0; i < holds_.size(); i++) {
        const int number = static_cast<int>(i) + 1;
        holds_[i] =
            Z4TestCOBOLCond(&dictionary_, number, reinterpret_cast<const char *>(bytes)) != 0;
        if (holds_[i] != 0) {
            numbers_.push_back(static_cast<uint16_t>(number));
        }
    }
}

}  // namespace tool
