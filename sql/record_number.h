// SPDX-License-Identifier: MIT
//
// Numbers of a record: stored digits to 64-bit magnitudes and decimal text, and
// back.  Forms of up to 18 digits are read and written here; the others go
// through the host's conversion, digit by digit.  Nothing passes through a
// float.
#ifndef SQL_RECORD_NUMBER_H
#define SQL_RECORD_NUMBER_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "host/data.h"
#include "sql/field_types.h"
#include "sql/value.h"

namespace sql {

// A number field, compiled.
struct NumberField {
    FieldShape shape;
    ZArgument data{};        // a_address unused
    bool is_integer = true;  // as an integer, else as decimal text
    // Sign bytes: as written for plus and minus, and for a sign inside a digit
    // the byte of each digit.
    unsigned char plus = 0;
    unsigned char minus = 0;
    const unsigned char *plus_digits = nullptr;   // 10 bytes
    const unsigned char *minus_digits = nullptr;  // 10 bytes
    uint64_t limit = 0;                           // greatest magnitude that the storage takes
};

NumberField make_number_field(const ZArgument &data, const FieldShape &shape, bool is_integer,
                              const XfdCvtInfo &settings);

// The most bytes of decimal text of a number field.
size_t decimal_text_size(const NumberField &field);

struct DecodedNumber {
    bool is_valid = false;      // false: the bytes hold no number of the field
    bool is_canonical = false;  // the one form in which the value is written
    bool is_negative = false;
};

// Reads a field into an integer or a text (decimal_text_size() bytes of room,
// used for texts only).
DecodedNumber decode_number(const NumberField &field, const XfdCvtInfo &settings,
                            const unsigned char *bytes, char *room, Value *out);

// Writes a value into the field; false, nothing written, when it is no number,
// does not fit, has more decimals than the field or a sign that it cannot hold.
bool encode_number(const NumberField &field, const XfdCvtInfo &settings, const Value &value,
                   unsigned char *bytes);

}  // namespace sql

#endif
