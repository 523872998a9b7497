// SPDX-License-Identifier: MIT
//
// The storages of the data table: what a type code means, and the reader and
// writer that serve it.  One source a family: data_display, data_packed,
// data_binary, data_float, data_text.
#ifndef RUNTIME_STORAGE_H
#define RUNTIME_STORAGE_H

#include <cstddef>
#include <cstdint>

#include "host/data.h"
#include "runtime/decimal.h"
#include "runtime/sign_forms.h"

namespace host {

// The conversion settings with defaults filled in.
struct Settings {
    const SignForm *sign_form;
    uint8_t packed_plus;
    char point;
    int32_t encoding;
};

enum class SignPlace : uint8_t { kNone, kLeading, kTrailing, kFirstDigit, kLastDigit };

struct Layout;
using Reader = bool (*)(const ZArgument &from, const Layout &, const Settings &, Decimal &);
using Writer = bool (*)(const ZArgument &to, const Layout &, const Settings &, const Decimal &);

struct Layout {
    Reader read;
    Writer write;
    SignPlace sign_place;
    bool is_text;          // characters, not a number
    bool is_signed;        // a negative number keeps its sign
    bool is_national;      // two bytes a character, machine order
    bool right_justified;  // text
    bool big_endian;       // binary
    bool has_sign_nibble;  // packed
};

inline uint8_t *bytes_of(const ZArgument &argument) {
    return reinterpret_cast<uint8_t *>(argument.a_address);
}

// The digits that may be used of a storage with this many positions: what the
// description says, 0 standing for all, never more than there are.
inline uint32_t usable_digits(const ZArgument &argument, uint32_t positions) {
    return argument.a_digits == 0 || argument.a_digits > positions ? positions : argument.a_digits;
}

// Readers return false when the storage holds no number; the Decimal is then
// undefined.  Writers return false when the number does not fit, after writing
// its low digits (numbers) or nothing (text, floating point, storages without a
// digit position).  Writers may overwrite what the Decimal was read from.
bool read_display(const ZArgument &, const Layout &, const Settings &, Decimal &);
bool write_display(const ZArgument &, const Layout &, const Settings &, const Decimal &);
bool read_digit_bytes(const ZArgument &, const Layout &, const Settings &, Decimal &);
bool write_digit_bytes(const ZArgument &, const Layout &, const Settings &, const Decimal &);
bool read_packed(const ZArgument &, const Layout &, const Settings &, Decimal &);
bool write_packed(const ZArgument &, const Layout &, const Settings &, const Decimal &);
bool read_binary(const ZArgument &, const Layout &, const Settings &, Decimal &);
bool write_binary(const ZArgument &, const Layout &, const Settings &, const Decimal &);
bool read_float(const ZArgument &, const Layout &, const Settings &, Decimal &);
bool write_float(const ZArgument &, const Layout &, const Settings &, const Decimal &);
bool read_text(const ZArgument &, const Layout &, const Settings &, Decimal &);
bool write_text(const ZArgument &, const Layout &, const Settings &, const Decimal &);

// Characters to characters: cut or padded with blanks.  Fails only for want of
// memory, and then leaves the target as it was.
bool move_text(const ZArgument &to, const Layout &to_layout, const ZArgument &from,
               const Layout &from_layout, const Settings &);

}  // namespace host

#endif
