// SPDX-License-Identifier: MIT
//
// One field of a record by itself: bytes in a storage of COBOL, filled from what a
// person writes and shown again.
#ifndef TOOL_DATE_FIELD_H
#define TOOL_DATE_FIELD_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "wbfsi/records.h"

namespace tool {

struct Storage {
    uint16_t type = 1;    // code of host/data.h
    uint32_t size = 0;    // bytes, 0 = as the digits or characters want
    uint32_t digits = 0;  // 0 = as the text wants
};

// The storage that a name ("packed") or a code ("8") stands for.  Throws Failure,
// which lists the names.
Storage storage_of(const std::string &name);
// The names, separated by blanks.
std::string storage_names();

class DateField {
 public:
    // A field of zero bytes that has room for `characters`, at least 1, digits or
    // characters.
    DateField(const Storage &storage, size_t characters);

    // Fills the field with a text that a program would show for it.  Throws Failure
    // when it does not fit, and for what is no number where the storage takes
    // nothing else.
    void set_text(const std::string &text);

    // Makes the field hold exactly these bytes: digit pairs, blanks between them do
    // not count.  Throws Failure for anything else, and for more or fewer bytes than
    // `size`, if that is not 0.
    void set_hex(const std::string &hex, uint32_t size);

    // What a program would show, leading zeros and all; nothing when the field holds
    // no number.
    std::optional<std::string> text() const;
    // Whether the bytes are the text, and all of it can be seen.
    bool is_plain_text() const;
    // "02 00 51 23 1F"
    std::string hex() const;
    // "packed, unsigned, 8 digits, 5 bytes"
    std::string in_words() const;

    XfdArgument argument();

 private:
    bool holds_text() const;
    bool holds_national() const;
    bool holds_display() const;

    uint16_t type_;
    uint8_t digits_ = 0;
    std::vector<unsigned char> bytes_;
};

}  // namespace tool

#endif
