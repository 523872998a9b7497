// SPDX-License-Identifier: MIT
#include "sql/record_variants.h"

#include <algorithm>
#include <utility>

namespace sql {

VariantCache::VariantCache(std::vector<FieldPlace> places, uint32_t conditions, uint32_t max_record)
    : places_(std::move(places)), max_record_(max_record), bits_(conditions + size_t{1}, kNoBit) {
    uint32_t used = 0;
    for (const FieldPlace &place : places_) {
        if (place.condition != 0 && place.condition <= conditions &&
            bits_[place.condition] == kNoBit) {
            bits_[place.condition] = used++;
        }
    }
    truths_.resize(used / 64 + size_t{1});
}

void VariantCache::clear() {
    std::ranges::fill(truths_, 0);
}

bool VariantCache::holds(const std::vector<uint64_t> &truths, uint32_t number) const {
    const uint32_t bit = number < bits_.size() ? bits_[number] : kNoBit;
    return bit != kNoBit && (truths[bit / 64] >> (bit % 64) & 1) != 0;
}

Variant VariantCache::compile() const {
    Variant variant;
    variant.truths = truths_;
    std::vector<Range> covered;
    for (uint32_t i = 0; i < places_.size(); i++) {
        const FieldPlace &place = places_[i];
        if (place.condition != 0 && !holds(truths_, place.condition)) {
            variant.absent.push_back(i);
            variant.absent_keys |= place.keys;
            continue;
        }
        variant.active.push_back(i);
        if (place.range.size > 0) {
            covered.push_back(place.range);
        }
    }
    std::ranges::sort(covered, {}, &Range::offset);
    uint32_t end = 0;
    for (const Range &range : covered) {
        if (range.offset > end) {
            variant.gaps.push_back({end, range.offset - end});
        }
        variant.has_overlaps = variant.has_overlaps || range.offset < end;
        end = std::max(end, range.offset + range.size);
    }
    variant.end = end;
    if (end < max_record_) {
        variant.gaps.push_back({end, max_record_ - end});
    }
    return variant;
}

const Variant &VariantCache::find() {
    rounds_++;
    for (size_t i = 0; i < variants_.size(); i++) {
        if (variants_[i].truths == truths_) {
            last_ = i;
            variants_[i].round = rounds_;
            return variants_[i];
        }
    }
    if (variants_.size() < kMost) {
        variants_.emplace_back();
        last_ = variants_.size() - 1;
    } else {
        const auto oldest = std::ranges::min_element(variants_, {}, &Variant::round);
        last_ = static_cast<size_t>(oldest - variants_.begin());
    }
    variants_[last_] = compile();
    variants_[last_].round = rounds_;
    return variants_[last_];
}

}  // namespace sql
