// SPDX-License-Identifier: MIT
//
// What the storage codes of a dictionary mean for a column: the one table that
// layout and codec share.  The codes themselves are told in host/data.h.
#ifndef SQL_FIELD_TYPES_H
#define SQL_FIELD_TYPES_H

#include <cstdint>

#include "host/data.h"

namespace sql {

enum class Storage : uint8_t {
    kText,       // characters of the code page, padded on the right
    kTextRight,  // the same, padded on the left
    kNational,   // UTF-16 in machine order
    kNationalRight,
    kFloat,  // 4 or 8 bytes in machine order
    kBytes,  // what is none of the others
    // Numbers of up to 18 digits in a form this layer reads itself:
    kDisplay,          // digits alone
    kDisplayTrailing,  // sign in a byte behind the digits
    kDisplayLeading,   // sign in a byte in front of them
    kDisplayLastDigit,
    kDisplayFirstDigit,
    kDigitBytes,        // values 0 to 9, one a byte
    kDigitBytesSigned,  // and a sign byte behind them
    kPackedUnsigned,    // sign nibble 15
    kPackedSigned,
    kPackedBare,  // no sign nibble
    kBinaryBig,   // most significant byte first
    kBinaryLittle,
    // Every other number goes through the host's conversion.
    kHostNumber,
};

struct FieldShape {
    Storage storage = Storage::kBytes;
    bool is_number = false;
    bool is_signed = false;
    uint32_t digits = 0;  // stored digits
    int32_t scale = 0;    // value = stored digits times ten to this power
};

// Shape of a field by its description.
FieldShape shape_of(const ZArgument &data);

// Whether values of a number field are whole and fit 64 bits; the others become
// decimal text.
bool is_integer(const FieldShape &shape);

// Whether contents of this storage sort by their unsigned bytes as the values
// do, where the value is not negative and in its canonical form.
bool sorts_by_bytes(const FieldShape &shape, const XfdCvtInfo &settings);

}  // namespace sql

#endif
