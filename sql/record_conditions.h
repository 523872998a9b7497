// SPDX-License-Identifier: MIT
//
// Which of a dictionary's conditions hold for a record.
#ifndef SQL_RECORD_CONDITIONS_H
#define SQL_RECORD_CONDITIONS_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "sql/table_layout.h"

namespace sql {

// Bytes of a record.
struct Range {
    uint32_t offset = 0;
    uint32_t size = 0;
};

// The results of a dictionary's conditions stay in the dictionary from one
// evaluation to the next, so this has a copy of its own.  Each round begins with
// restart(): then only the record decides.
class RecordConditions {
 public:
    explicit RecordConditions(const TableLayout &layout);

    [[nodiscard]] uint32_t count() const { return count_; }

    // All conditions become false.
    void restart();

    // Whether condition `number`, 1 to count(), holds; to be asked for in ascending
    // order.  `record` has max_record bytes; a condition on bytes outside them never
    // holds.
    bool holds(uint32_t number, const unsigned char *record);

    // The bytes that comparisons look at.
    [[nodiscard]] const std::vector<Range> &tested() const { return tested_; }

 private:
    struct Release {
        void operator()(Xfd *xfd) const;
    };
    std::unique_ptr<Xfd, Release> dictionary_;
    uint32_t count_ = 0;
    std::vector<Range> tested_;
};

}  // namespace sql

#endif
