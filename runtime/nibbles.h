// SPDX-License-Identifier: MIT
//
// Packed digits, two half bytes a byte, in words whose most significant half
// byte is the first digit.
#ifndef RUNTIME_NIBBLES_H
#define RUNTIME_NIBBLES_H

#include "runtime/digits.h"

namespace host {

// 1 to 8 bytes as a number, the first most significant.
inline uint64_t load_partial(const uint8_t *bytes, uint32_t n) {
    if (n >= 4) {
        const uint64_t head = load_big_endian<uint32_t>(bytes);
        return head << (8 * (n - 4)) | load_big_endian<uint32_t>(bytes + n - 4);
    }
    if (n >= 2) {
        const uint64_t head = load_big_endian<uint16_t>(bytes);
        return head << (8 * (n - 2)) | load_big_endian<uint16_t>(bytes + n - 2);
    }
    return bytes[0];
}

// A half byte above 9 has its bit of 8 set and one of the bits of 4 and 2.
inline bool has_bad_nibble(uint64_t nibbles) {
    return (nibbles & (nibbles << 1 | nibbles << 2) & 0x8888888888888888) != 0;
}

// Eight half bytes to eight characters, the first most significant.
inline uint64_t spread(uint32_t nibbles) {
    uint64_t word = nibbles;
    word = (word | word << 16) & 0x0000FFFF0000FFFF;
    word = (word | word << 8) & 0x00FF00FF00FF00FF;
    return ((word | word << 4) & 0x0F0F0F0F0F0F0F0F) | kZeros8;
}

}  // namespace host

#endif
