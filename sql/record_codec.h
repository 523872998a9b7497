// SPDX-License-Identifier: MIT
//
// A record's bytes to column values and back, by a plan that is compiled once
// from a layout.  Knows no database.
//
// The canonical image of a row is what its columns encode to: blanks where no
// field is, each field in the one form in which its value is written.  A record
// that differs from the canonical image of its own values has to be kept
// exactly beside them; decode() finds that out on the way, field by field.
#ifndef SQL_RECORD_CODEC_H
#define SQL_RECORD_CODEC_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "sql/status.h"
#include "sql/table_layout.h"
#include "sql/value.h"

namespace sql {

struct RecordPlan;  // the compiled form

// What decode() found in one field.
enum class FieldState : uint8_t {
    kOrdinary,
    kNullValue,  // the value that its dictionary declares to mean null; a date of zeros
    kAbsent,     // its condition does not hold for the record
    kBehindEnd,  // the record ends in front of it
    // Illegal data; the first three as Z4TestData says:
    kSpaces,  // or a bad digit, under the full test
    kLowValues,
    kHighValues,
    kBadNumber,  // no number for another reason
    kBadDate,    // no date of its format
    kBadText,    // bytes that are no characters
};

// What decode() found out about one record.
struct DecodedRecord {
    bool is_exact = true;  // encode() of the values gives the record again
    // Bit k (k < 32): the columns of key k do not sort this record as its bytes
    // do.  Keys without columns of their own have their bit set always.
    uint32_t irregular_keys = 0;
    // The dictionary has conditions and none of them holds.
    bool is_untyped = false;
};

class RecordCodec {
 public:
    explicit RecordCodec(const TableLayout &layout);
    ~RecordCodec();
    RecordCodec(RecordCodec &&) noexcept;

    // Number of values of a record: the fields of the layout, in their order.
    [[nodiscard]] size_t value_count() const;

    // Bytes that decode() may need for the texts of one row.
    [[nodiscard]] size_t text_capacity() const;

    // Decodes a record of 0 to max_record bytes.  Its conditions are evaluated in
    // ascending order, all of them false before.
    //   values  value_count() of them; null: a field whose condition does not hold,
    //           that holds its null value, lies behind the end of the record, or
    //           does not decode (unless 4GL_ILLEGAL_DATA says otherwise)
    //   texts   text_capacity() bytes; texts of `values` point into it or into
    //           `record`, so both stay as long as the values are used
    //   states  empty, or value_count() of them: what was found
    // Never fails.  More bytes than max_record are not looked at (the caller
    // refuses such a record).
    DecodedRecord decode(Bytes record, std::span<Value> values, std::span<char> texts,
                         std::span<FieldState> states = {}) const;

    // Encodes a row into `image`, max_record bytes, and gives its length.  Fields
    // without condition are written first; then, in ascending order, each condition
    // is evaluated in what has been written, and its fields are written when it
    // holds.  An absent value (Value::absent) leaves its field as in a blank record.
    // kBadRecord names the column whose value its field cannot hold, or that is not
    // null though its condition does not hold.
    Status encode(std::span<const Value> values, std::span<unsigned char> image,
                  size_t *length) const;

    // Encodes a row over the record that was kept for it: fields whose value
    // differs from what the kept bytes decode to get their new contents, all
    // other bytes stay.  `image` as above.
    Status encode_over(Bytes exact, std::span<const Value> values, std::span<unsigned char> image,
                       size_t *length) const;

    // encode_over() where `exact` is a blob, encode() where it is null.
    Status restore(std::span<const Value> values, const Value &exact,
                   std::span<unsigned char> image, size_t *length) const;

    // Bytes of key k of a record; where the record is too short for a segment,
    // blanks.  `out` takes key_length(k) bytes.
    [[nodiscard]] size_t key_length(size_t k) const;
    void key_bytes(size_t k, Bytes record, unsigned char *out) const;

 private:
    std::unique_ptr<RecordPlan> plan_;
};

}  // namespace sql

#endif
