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
inline uint32_t parse_eight(const char *digits) {
    uint64_t word = load<uint64_t>(digits);
    if constexpr (std::endian::native == std::endian::big) {
        word = __builtin_bswap64(word);
    }
    word = (word & 0x0F0F0F0F0F0F0F0F) * 2561 >> 8;
    word = (word & 0x00FF00FF00FF00FF) * 6553601 >> 16;
    return static_cast<uint32_t>((word & 0x0000FFFF0000FFFF) * 42949672960001 >> 32);
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

}  // namespace host

#endif
