// SPDX-License-Identifier: MIT
//
// UTF-8 one character at a time, and the search for its ASCII runs.
#ifndef RUNTIME_UNICODE_H
#define RUNTIME_UNICODE_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

namespace host {

struct Decoded {
    char32_t point;
    size_t bytes;  // 1..
};

// Bytes at the start of the text that are ASCII, eight at a time.
inline size_t ascii_run(const char *text, size_t n) {
    size_t i = 0;
    for (; i + 8 <= n; i += 8) {
        uint64_t word;
        memcpy(&word, text + i, 8);
        if ((word & UINT64_C(0x8080808080808080)) != 0)
            break;
    }
    while (i < n && static_cast<signed char>(text[i]) >= 0)
        ++i;
    return i;
}

// The character at text (n bytes, at least one).  Overlong forms, surrogates,
// points past U+10FFFF, stray and missing trail bytes are no characters: the
// first byte is then read as Latin-1.  Source: RFC 3629, section 4.
inline Decoded decode_utf8(const char *text, size_t n) {
    auto byte = [text](size_t i) { return static_cast<unsigned char>(text[i]); };
    const Decoded as_latin1 = {n == 0 ? char32_t{0} : byte(0), 1};
    if (n == 0 || byte(0) < 0xc2 || byte(0) > 0xf4)
        return as_latin1;
    const size_t bytes = byte(0) < 0xe0 ? 2 : byte(0) < 0xf0 ? 3 : 4;
    if (n < bytes)
        return as_latin1;
    char32_t point = byte(0) & (0xffu >> (bytes + 1));
    for (size_t i = 1; i < bytes; ++i) {
        if ((byte(i) & 0xc0) != 0x80)
            return as_latin1;
        point = (point << 6) | (byte(i) & 0x3fu);
    }
    bool overlong = (bytes == 3 && point < 0x800) || (bytes == 4 && point < 0x10000);
    if (overlong || (point >= 0xd800 && point <= 0xdfff) || point > 0x10ffff)
        return as_latin1;
    return {point, bytes};
}

// Writes at most 4 bytes; their count.
inline size_t encode_utf8(char32_t point, char *bytes) {
    auto trail = [](char32_t bits) { return static_cast<char>(0x80 | (bits & 0x3f)); };
    if (point < 0x80) {
        bytes[0] = static_cast<char>(point);
        return 1;
    }
    if (point < 0x800) {
        bytes[0] = static_cast<char>(0xc0 | (point >> 6));
        bytes[1] = trail(point);
        return 2;
    }
    if (point < 0x10000) {
        bytes[0] = static_cast<char>(0xe0 | (point >> 12));
        bytes[1] = trail(point >> 6);
        bytes[2] = trail(point);
        return 3;
    }
    bytes[0] = static_cast<char>(0xf0 | (point >> 18));
    bytes[1] = trail(point >> 12);
    bytes[2] = trail(point >> 6);
    bytes[3] = trail(point);
    return 4;
}

}  // namespace host

#endif
