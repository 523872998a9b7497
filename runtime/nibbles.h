// SPDX-License-Identifier: MIT
//
// Packed digits, two half bytes a byte, in words whose most significant half
// byte is the first digit.
#ifndef RUNTIME_NIBBLES_H
#define RUNTIME_NIBBLES_H

#include "runtime/digits.h"

namespace host {

// 1 to 8 bytes as a number, the first most significant.  Longer ones are put
// together from two words of 32 bits, which costs no wide shift where words are
// no wider.
[[gnu::always_inline]] inline uint64_t load_partial(const uint8_t *bytes, uint32_t n) {
    if (n > 4) {
        const uint64_t head = load_big_endian<uint32_t>(bytes) >> (8 * (8 - n));
        return head << 32 | load_big_endian<uint32_t>(bytes + n - 4);
    }
    if (n == 4) {
        return load_big_endian<uint32_t>(bytes);
    }
    if (n >= 2) {
        const uint32_t head = load_big_endian<uint16_t>(bytes);
        return head << (8 * (n - 2)) | load_big_endian<uint16_t>(bytes + n - 2);
    }
    return bytes[0];
}

// A half byte above 9 has its bit of 8 set and one of the bits of 4 and 2.
template <typename Word>
bool has_bad_nibble(Word nibbles) {
    constexpr auto kEights = static_cast<Word>(0x8888888888888888);
    return (nibbles & (nibbles << 1 | nibbles << 2) & kEights) != 0;
}

// Sixteen half bytes to sixteen characters in memory.  Returns how many digits
// there are from the first that is not zero on, 0 to 16, or 17 when one of the
// half bytes is no digit.
inline constexpr uint32_t kNoDigits = 17;
[[gnu::always_inline]] inline uint32_t spread_sixteen(char *to, uint64_t nibbles) {
#ifdef __SSE2__
    // Two words, each put in by itself: in 32 bits one of 64 would go through memory.
    const uint32_t first = from_big_endian(static_cast<uint32_t>(nibbles >> 32));
    const uint32_t second = from_big_endian(static_cast<uint32_t>(nibbles));
    const __m128i bytes = _mm_unpacklo_epi32(_mm_cvtsi32_si128(static_cast<int>(first)),
                                             _mm_cvtsi32_si128(static_cast<int>(second)));
    const __m128i low_halves = _mm_set1_epi8(0x0F);
    const __m128i digits = _mm_unpacklo_epi8(_mm_and_si128(_mm_srli_epi16(bytes, 4), low_halves),
                                             _mm_and_si128(bytes, low_halves));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(to), _mm_or_si128(digits, _mm_set1_epi8('0')));
    const int bad = _mm_movemask_epi8(_mm_cmpgt_epi8(digits, _mm_set1_epi8(9)));
    const int not_zero = _mm_movemask_epi8(_mm_cmpgt_epi8(digits, _mm_setzero_si128()));
    const int leading_zeros = __builtin_ctz(static_cast<uint32_t>(not_zero) | 1U << 16);
    return bad != 0 ? kNoDigits : static_cast<uint32_t>(16 - leading_zeros);
#else
    for (int i = 0; i < 2; ++i) {
        uint64_t word = static_cast<uint32_t>(nibbles >> (i == 0 ? 32 : 0));
        word = (word | word << 16) & 0x0000FFFF0000FFFF;
        word = (word | word << 8) & 0x00FF00FF00FF00FF;
        word = (word | word << 4) & 0x0F0F0F0F0F0F0F0F;
        store(to + 8 * i, from_big_endian(word | kZeros8));
    }
    const int leading_zeros = nibbles == 0 ? 16 : __builtin_clzll(nibbles) / 4;
    return has_bad_nibble(nibbles) ? kNoDigits : static_cast<uint32_t>(16 - leading_zeros);
#endif
}

// Eight characters, the first most significant, to eight half bytes.
inline uint32_t gather_eight(uint64_t characters) {
    uint64_t word = characters & 0x0F0F0F0F0F0F0F0F;
    word = (word | word >> 4) & 0x00FF00FF00FF00FF;
    word = (word | word >> 8) & 0x0000FFFF0000FFFF;
    return static_cast<uint32_t>(word | word >> 16);
}

}  // namespace host

#endif
