// SPDX-License-Identifier: MIT
#include "tool/verify_fields.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <optional>

namespace tool {

namespace {

std::optional<Finding> finding_of(sql::FieldState state) {
    switch (state) {
        case sql::FieldState::kOrdinary:
        case sql::FieldState::kAbsent:
        case sql::FieldState::kBehindEnd:
            return std::nullopt;
        case sql::FieldState::kNullValue:
            return Finding::kNullValue;
        case sql::FieldState::kSpaces:
            return Finding::kSpaces;
        case sql::FieldState::kLowValues:
            return Finding::kLowValues;
        case sql::FieldState::kHighValues:
            return Finding::kHighValues;
        case sql::FieldState::kBadNumber:
            return Finding::kBadNumber;
        case sql::FieldState::kBadDate:
            return Finding::kBadDate;
        case sql::FieldState::kBadText:
            return Finding::kBadText;
    }
    return std::nullopt;
}

}  // namespace

const char *in_words(Finding finding) {
    constexpr const char *kWords[] = {"null value", "spaces",   "low values", "high values",
                                      "bad number", "bad date", "bad text",   "other form"};
    static_assert(std::size(kWords) == kFindings);
    return kWords[static_cast<size_t>(finding)];
}

bool FieldFindings::has_any() const {
    return std::ranges::any_of(counts, [](uint64_t count) { return count != 0; });
}

std::string shown_in_hex(sql::Bytes bytes) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (const unsigned char byte : bytes.first(std::min(bytes.size(), kMaxShownBytes))) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return bytes.size() > kMaxShownBytes ? text + "..." : text;
}

FieldVerifier::FieldVerifier(const sql::TableLayout &layout, size_t places)
    : layout_(layout),
      places_(places),
      codec_(layout),
      values_(codec_.value_count()),
      texts_(codec_.text_capacity()),
      states_(codec_.value_count()),
      image_(layout.max_record),
      explained_(layout.max_record),
      findings_(layout.fields.size() + 1) {}

void FieldVerifier::add(const Record &record) {
    const sql::DecodedRecord decoded = codec_.decode(record.bytes, values_, texts_, states_);
    records_++;
    bool is_faulty = false;
    for (size_t i = 0; i < states_.size(); i++) {
        if (const std::optional<Finding> finding = finding_of(states_[i])) {
            const sql::Field &field = layout_.fields[i];
            count(i, *finding, field.offset, field.data.a_size, record);
            is_faulty = is_faulty || is_fault(*finding);
        }
    }
    faulty_records_ += is_faulty;
    if (decoded.is_untyped) {
        untyped_records_++;
        if (first_untyped_.size() < places_) {
            first_untyped_.push_back(record.number);
        }
    }
    if (!decoded.is_exact) {
        inexact_records_++;
        find_other_forms(record);
    }
}

void FieldVerifier::count(size_t field, Finding finding, uint32_t offset, uint32_t size,
                          const Record &record) {
    FieldFindings &found = findings_[field];
    uint64_t &so_far = found.counts[static_cast<size_t>(finding)];
    if (so_far++ < places_ && finding != Finding::kNullValue) {
        const size_t start = std::min<size_t>(offset, record.bytes.size());
        const size_t length = std::min<size_t>(size, record.bytes.size() - start);
        found.places.push_back(
            {record.number, offset, finding, shown_in_hex(record.bytes.subspan(start, length))});
    }
}

// Contents of a faulty field are told by its fault; of the others, and of bytes
// of no field, it is told where the columns would write something else.
void FieldVerifier::find_other_forms(const Record &record) {
    size_t length = 0;
    if (!codec_.encode(values_, image_, &length).ok()) {
        return;
    }
    const size_t common = std::min(length, record.bytes.size());
    const unsigned char *bytes = record.bytes.data();
    std::fill(explained_.begin(), explained_.end(), 0);
    for (size_t i = 0; i < states_.size(); i++) {
        const sql::Field &field = layout_.fields[i];
        const size_t end = size_t{field.offset} + field.data.a_size;
        if (states_[i] == sql::FieldState::kAbsent || end > common) {
            continue;
        }
        std::memset(explained_.data() + field.offset, 1, field.data.a_size);
        const std::optional<Finding> finding = finding_of(states_[i]);
        if ((!finding || !is_fault(*finding)) &&
            std::memcmp(bytes + field.offset, image_.data() + field.offset, field.data.a_size) !=
                0) {
            count(i, Finding::kOtherForm, field.offset, field.data.a_size, record);
        }
    }
    size_t first = 0;
    while (first < common && (explained_[first] != 0 || bytes[first] == image_[first])) {
        first++;
    }
    if (first < common || length != record.bytes.size()) {
        size_t end = first;
        while (end < record.bytes.size() && (end >= common || explained_[end] == 0)) {
            end++;
        }
        count(layout_.fields.size(), Finding::kOtherForm, static_cast<uint32_t>(first),
              static_cast<uint32_t>(end - first), record);
    }
}

}  // namespace tool
