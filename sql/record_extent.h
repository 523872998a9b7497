// SPDX-License-Identifier: MIT
//
// The length of a record that is made of values.
#ifndef SQL_RECORD_EXTENT_H
#define SQL_RECORD_EXTENT_H

#include <algorithm>
#include <cstddef>

#include "sql/record_plan.h"

namespace sql {

// Takes the fields that a record has: it is as long as its type, but ends behind its
// last value when fields behind that are null.
class Extent {
 public:
    void add(const FieldPlan &field, bool has_value) {
        const size_t end = field.size > 0 ? field.offset + field.size : 0;
        end_ = std::max(end_, end);
        if (has_value) {
            last_value_ = std::max(last_value_, field.offset + size_t{field.size});
        } else {
            has_nulls_ = true;
        }
    }
    [[nodiscard]] size_t length(const RecordPlan &plan) const {
        if (plan.min_record == plan.max_record || (!has_nulls_ && end_ == plan.fields_end)) {
            return plan.max_record;
        }
        return std::max<size_t>(plan.min_record, has_nulls_ ? last_value_ : end_);
    }

 private:
    size_t end_ = 0;
    size_t last_value_ = 0;
    bool has_nulls_ = false;
};

}  // namespace sql

#endif
