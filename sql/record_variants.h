// SPDX-License-Identifier: MIT
//
// Record types.  Which fields a record has depends on the truths of the
// dictionary's conditions alone; for each row of truths met, what follows from it
// is worked out once.
#ifndef SQL_RECORD_VARIANTS_H
#define SQL_RECORD_VARIANTS_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "sql/record_conditions.h"

namespace sql {

// Where a field is and when it exists.
struct FieldPlace {
    Range range;
    uint32_t condition = 0;  // 0: always
    uint32_t keys = 0;       // bit k: one of the columns of key k
};

struct Variant {
    std::vector<uint64_t> truths;
    std::vector<uint32_t> active;  // fields that exist, ascending
    std::vector<uint32_t> absent;  // the others
    std::vector<Range> gaps;       // bytes of no active field
    // Two active columns hold the same bytes.  Only the exact bytes tell then which
    // of them was changed, so every such record keeps them.
    bool has_overlaps = false;
    uint32_t absent_keys = 0;
    uint32_t end = 0;    // of the last active field
    uint64_t round = 0;  // of VariantCache, when it was found last
};

// The variants met last; no more than kMost of them, whatever the records hold.
class VariantCache {
 public:
    static constexpr size_t kMost = 16;

    VariantCache() = default;
    VariantCache(std::vector<FieldPlace> places, uint32_t conditions, uint32_t max_record);

    // No condition holds.
    void clear();
    // Marks condition `number` (from 1) as one that holds.
    void set(uint32_t number) {
        const uint32_t bit = bits_[number];
        if (bit != kNoBit) {
            truths_[bit / 64] |= uint64_t{1} << (bit % 64);
        }
    }
    // The variant of the truths set since clear(); good until the next
    // call.
    const Variant &current() {
        return last_ < variants_.size() && variants_[last_].truths == truths_ ? variants_[last_]
                                                                              : find();
    }
    // Whether a condition that some field has holds in a variant.
    [[nodiscard]] bool holds(const Variant &variant, uint32_t number) const {
        return holds(variant.truths, number);
    }

 private:
    static constexpr uint32_t kNoBit = UINT32_MAX;

    const Variant &find();
    [[nodiscard]] Variant compile() const;
    [[nodiscard]] bool holds(const std::vector<uint64_t> &truths, uint32_t number) const;

    std::vector<FieldPlace> places_;
    uint32_t max_record_ = 0;
    std::vector<uint32_t> bits_;    // by condition number
    std::vector<uint64_t> truths_;  // a bit for each condition that a field has
    std::vector<Variant> variants_;
    size_t last_ = 0;      // place of the one found last
    uint64_t rounds_ = 0;  // searches so far
};

}  // namespace sql

#endif
