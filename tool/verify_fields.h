// SPDX-License-Identifier: MIT
//
// What the fields of many records hold, counted, with the first places of each
// kind.  Memory does not grow with the number of records.
#ifndef TOOL_VERIFY_FIELDS_H
#define TOOL_VERIFY_FIELDS_H

#include <cstdint>
#include <string>
#include <vector>

#include "sql/record_codec.h"
#include "sql/table_layout.h"
#include "tool/record_reader.h"

namespace tool {

// What one field of one record can be found to hold.
enum class Finding : uint8_t {
    kNullValue,
    kSpaces,
    kLowValues,
    kHighValues,
    kBadNumber,
    kBadDate,
    kBadText,
    kOtherForm,  // its value, but not in the form that the value is written in
};
constexpr size_t kFindings = 8;

// Faults are contents that no column of the field's type can take.
constexpr bool is_fault(Finding finding) {
    return finding != Finding::kNullValue && finding != Finding::kOtherForm;
}
// "low values".
const char *in_words(Finding finding);

struct FieldPlace {
    uint64_t record = 0;
    uint32_t offset = 0;  // in the record
    Finding finding = Finding::kNullValue;
    std::string bytes;  // in hexadecimal, "..." behind the first of many
};

struct FieldFindings {
    uint64_t counts[kFindings] = {};
    // The first of each kind, in the order of records; none for null values.
    std::vector<FieldPlace> places;

    [[nodiscard]] bool has_any() const;
};

// Up to so many bytes are shown of one place.
constexpr size_t kMaxShownBytes = 32;
std::string shown_in_hex(sql::Bytes bytes);

class FieldVerifier {
 public:
    // `places`: how many to keep of each kind for each field.  The layout stays.
    FieldVerifier(const sql::TableLayout &layout, size_t places);

    void add(const Record &record);

    [[nodiscard]] uint64_t records() const { return records_; }
    [[nodiscard]] uint64_t faulty_records() const { return faulty_records_; }
    // Records of a dictionary with conditions of which none holds.
    [[nodiscard]] uint64_t untyped_records() const { return untyped_records_; }
    [[nodiscard]] const std::vector<uint64_t> &first_untyped() const { return first_untyped_; }
    // Records that their columns alone do not give back.
    [[nodiscard]] uint64_t inexact_records() const { return inexact_records_; }

    // One for each field of the layout, and last, with kOtherForm alone, that of
    // the bytes that belong to no field.
    [[nodiscard]] const std::vector<FieldFindings> &findings() const { return findings_; }

    [[nodiscard]] bool is_faultless() const {
        return faulty_records_ == 0 && untyped_records_ == 0;
    }

 private:
    void count(size_t field, Finding finding, uint32_t offset, uint32_t size, const Record &record);
    void find_other_forms(const Record &record);

    const sql::TableLayout &layout_;
    const size_t places_;
    sql::RecordCodec codec_;
    std::vector<sql::Value> values_;
    std::vector<char> texts_;
    std::vector<sql::FieldState> states_;
    std::vector<unsigned char> image_;      // what the values encode to
    std::vector<unsigned char> explained_;  // 1: the byte belongs to a field

    uint64_t records_ = 0;
    uint64_t faulty_records_ = 0;
    uint64_t untyped_records_ = 0;
    uint64_t inexact_records_ = 0;
    std::vector<uint64_t> first_untyped_;
    std::vector<FieldFindings> findings_;
};

}  // namespace tool

#endif
