// SPDX-License-Identifier: MIT
//
// One character of UTF-8 at a time, strictly: no overlong forms, no surrogates,
// nothing above U+10FFFF (The Unicode Standard, table 3-7).
#ifndef SQL_UTF8_H
#define SQL_UTF8_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace sql {

constexpr uint32_t kNoCharacter = UINT32_MAX;

// The character at text[*at], *at moved behind it; kNoCharacter (and *at where
// it was) when there is none.
inline uint32_t utf8_next(std::string_view text, size_t *at) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[*at + i]); };
    const size_t left = text.size() - *at;
    if (left == 0) {
        return kNoCharacter;
    }
    const uint32_t lead = byte(0);
    if (lead < 0x80) {
        *at += 1;
        return lead;
    }
    const size_t size = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || left < size) {
        return kNoCharacter;
    }
    uint32_t c = lead & (0x7FU >> size);
    for (size_t i = 1; i < size; i++) {
        if ((byte(i) & 0xC0) != 0x80) {
            return kNoCharacter;
        }
        c = (c << 6) | (byte(i) & 0x3FU);
    }
    constexpr uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (c < kSmallest[size] || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
        return kNoCharacter;
    }
    *at += size;
    return c;
}

// Writes a character (no surrogate, at most U+10FFFF) in 1 to 4 bytes.
inline size_t utf8_put(uint32_t c, char *out) {
    if (c < 0x80) {
        out[0] = static_cast<char>(c);
        return 1;
    }
    const size_t size = c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
    for (size_t i = size - 1; i > 0; i--) {
        out[i] = static_cast<char>(0x80 | (c & 0x3F));
        c >>= 6;
    }
    out[0] = static_cast<char>((0xF00U >> size) | c);
    return size;
}

}  // namespace sql

#endif
