// SPDX-License-Identifier: MIT
//
// Runs of decimal digits, eight at a time in one machine word: test, copy,
// parse, print.  Everything here works on characters "0" to "9" in memory of any
// alignment and touches exactly the bytes it is given.  Signs, scales and
// storages are not known here.
#ifndef RUNTIME_DIGITS_H
#define RUNTIME_DIGITS_H

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace host {

inline constexpr uint64_t kZeros8 = 0x3030303030303030;  // eight characters "0"
inline constexpr uint32_t kZeros4 = 0x30303030;

template <typename Word>
Word load(const void *from) {
    Word word;
    std::memcpy(&word, from, sizeof word);
    return word;
}

template <typename Word>
void store(void *to, Word word) {
    std::memcpy(to, &word, sizeof word);
}

// Words whose first byte in memory is the most significant one.
inline uint64_t from_big_endian(uint64_t word) {
    return std::endian::native == std::endian::big ? word : __builtin_bswap64(word);
}
inline uint32_t from_big_endian(uint32_t word) {
    return std::endian::native == std::endian::big ? word : __builtin_bswap32(word);
}
inline uint16_t from_big_endian(uint16_t word) {
    return std::endian::native == std::endian::big ? word : __builtin_bswap16(word);
}
template <typename Word>
Word from_little_endian(Word word) {
    return std::endian::native == std::endian::little ? word : from_big_endian(word);
}
template <typename Word>
Word load_big_endian(const void *from) {
    return from_big_endian(load<Word>(from));
}

// Copies 1 to a few hundred bytes; blocks overlap instead of leaving a tail to
// a loop, which pays for the lengths of fields.  The areas must not overlap.
inline void copy_short(char *to, const void *from_bytes, size_t n) {
    const auto *from = static_cast<const char *>(from_bytes);
    if (n >= 16) {
        size_t i = 0;
        for (; i + 16 < n; i += 16) {
            std::memcpy(to + i, from + i, 16);
        }
        std::memcpy(to + n - 16, from + n - 16, 16);
    } else if (n >= 8) {
        const auto head = load<uint64_t>(from);
        const auto tail = load<uint64_t>(from + n - 8);
        store(to, head);
        store(to + n - 8, tail);
    } else if (n >= 4) {
        const auto head = load<uint32_t>(from);
        const auto tail = load<uint32_t>(from + n - 4);
        store(to, head);
        store(to + n - 4, tail);
    } else {
        for (size_t i = 0; i < n; ++i) {
            to[i] = from[i];
        }
    }
}

inline void fill_zeros(char *to, size_t n) {
    if (n < 4) {
        for (size_t i = 0; i < n; ++i) {
            to[i] = '0';
        }
    } else {
        std::memset(to, '0', n);
    }
}

// A digit keeps its zone of 3 before and after 6 is added to its low half.
inline bool is_eight_digits(uint64_t word) {
    constexpr uint64_t kZones = 0xF0F0F0F0F0F0F0F0;
    return ((word & kZones) | (((word + 0x0606060606060606) & kZones) >> 4)) == 0x3333333333333333;
}
inline bool is_four_digits(uint32_t word) {
    constexpr uint32_t kZones = 0xF0F0F0F0;
    return ((word & kZones) | (((word + 0x06060606) & kZones) >> 4)) == 0x33333333;
}

inline bool all_digits(const char *text, size_t n) {
    if (n >= 8) {
        bool good = is_eight_digits(load<uint64_t>(text + n - 8));
        for (size_t i = 0; i + 8 < n; i += 8) {
            good &= is_eight_digits(load<uint64_t>(text + i));
        }
        return good;
    }
    if (n >= 4) {
        return is_four_digits(load<uint32_t>(text)) && is_four_digits(load<uint32_t>(text + n - 4));
    }
    bool good = true;
    for (size_t i = 0; i < n; ++i) {
        good &= text[i] >= '0' && text[i] <= '9';
    }
    return good;
}

inline bool all_zeros(const char *digits, size_t n) {
    uint64_t others = 0;
    size_t i = 0;
    for (; i + 8 <= n; i += 8) {
        others |= load<uint64_t>(digits + i) ^ kZeros8;
    }
    for (; i < n; ++i) {
        others |= static_cast<uint64_t>(digits[i] ^ '0');
    }
    return others == 0;
}

// The number that eight digits spell: pairs, then fours, then all eight.
inline uint32_t parse_eight_word(uint64_t word) {
    word = from_little_endian(word);
    word = (word & 0x0F0F0F0F0F0F0F0F) * 2561 >> 8;
    word = (word & 0x00FF00FF00FF00FF) * 6553601 >> 16;
    return static_cast<uint32_t>((word & 0x0000FFFF0000FFFF) * 42949672960001 >> 32);
}
inline uint32_t parse_eight(const char *digits) {
    return parse_eight_word(load<uint64_t>(digits));
}

inline constexpr auto kDigitPairs = [] {
    std::array<char, 200> pairs{};
    for (size_t i = 0; i < 100; ++i) {
        pairs[2 * i] = static_cast<char>('0' + i / 10);
        pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return pairs;
}();

inline void print_four(char *to, uint32_t value) {
    std::memcpy(to, &kDigitPairs[2 * (value / 100)], 2);
    std::memcpy(to + 2, &kDigitPairs[2 * (value % 100)], 2);
}

inline void print_eight(char *to, uint32_t value) {
    print_four(to, value / 10000);
    print_four(to + 4, value % 10000);
}

// Sixteen digits of two numbers below ten to the eighth.  With vectors all
// halves, quarters, pairs and digits are divided at once: a step multiplies every
// lane for the quotient and puts the remainder into the lane behind it.
[[gnu::always_inline]] inline void print_sixteen(char *to, uint32_t high, uint32_t low) {
#ifdef __SSE2__
    const __m128i numbers = _mm_set_epi32(0, static_cast<int>(low), 0, static_cast<int>(high));
    const __m128i halves =
        _mm_srli_epi64(_mm_mul_epu32(numbers, _mm_set1_epi32(static_cast<int>(0xD1B71759))), 45);
    const __m128i half_rests = _mm_sub_epi32(numbers, _mm_mul_epu32(halves, _mm_set1_epi32(10000)));
    const __m128i fours = _mm_or_si128(halves, _mm_slli_epi64(half_rests, 32));
    const __m128i hundreds = _mm_srli_epi16(_mm_mulhi_epu16(fours, _mm_set1_epi32(5243)), 3);
    const __m128i four_rests = _mm_sub_epi16(fours, _mm_mullo_epi16(hundreds, _mm_set1_epi32(100)));
    const __m128i pairs = _mm_or_si128(hundreds, _mm_slli_epi32(four_rests, 16));
    const __m128i tens = _mm_mulhi_epu16(pairs, _mm_set1_epi16(6554));
    const __m128i ones = _mm_sub_epi16(pairs, _mm_mullo_epi16(tens, _mm_set1_epi16(10)));
    const __m128i digits = _mm_or_si128(tens, _mm_slli_epi16(ones, 8));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(to), _mm_or_si128(digits, _mm_set1_epi8('0')));
#else
    print_eight(to, high);
    print_eight(to + 8, low);
#endif
}

}  // namespace host

#endif
