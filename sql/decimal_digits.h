// SPDX-License-Identifier: MIT
//
// Decimal digits in bulk: eight at a time out of text, two at a time into it.
#ifndef SQL_DECIMAL_DIGITS_H
#define SQL_DECIMAL_DIGITS_H

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace sql {

// 10 to the power 0 .. 19.
inline constexpr auto kPowersOf10 = [] {
    std::array<uint64_t, 20> powers{1};
    for (size_t i = 1; i < powers.size(); i++) {
        powers[i] = powers[i - 1] * 10;
    }
    return powers;
}();

// "00" to "99".
inline constexpr auto kDigitPairs = [] {
    std::array<char, 200> pairs{};
    for (size_t i = 0; i < 100; i++) {
        pairs[2 * i] = static_cast<char>('0' + i / 10);
        pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return pairs;
}();

// Number of digits "0" to "9"; false when another byte is among them.  n <= 18.
inline bool parse_digits(const unsigned char *text, size_t n, uint64_t *out) {
    static_assert(std::endian::native == std::endian::little, "first digit in the low byte");
    uint64_t number = 0;
    uint64_t bad = 0;
    for (; n >= 8; n -= 8, text += 8) {
        uint64_t word;
        std::memcpy(&word, text, 8);
        word ^= 0x3030303030303030;
        bad |= (word | (word + 0x0606060606060606)) & 0xF0F0F0F0F0F0F0F0;
        // Pairs, then fours, then the eight: each step multiplies the digits in
        // front and adds those behind.
        word = (word * 10 + (word >> 8)) & 0x00FF00FF00FF00FF;
        word = (word * 100 + (word >> 16)) & 0x0000FFFF0000FFFF;
        word = (word * 10000 + (word >> 32)) & 0x00000000FFFFFFFF;
        number = number * 100000000 + word;
    }
    for (; n > 0; n--, text++) {
        const unsigned digit = *text ^ 0x30U;
        bad |= digit > 9;
        number = number * 10 + digit;
    }
    *out = number;
    return bad == 0;
}

// The last n digits of a number, with leading zeros.
inline void put_digits(uint64_t number, size_t n, unsigned char *out) {
    while (n >= 2) {
        n -= 2;
        std::memcpy(out + n, &kDigitPairs[2 * static_cast<size_t>(number % 100)], 2);
        number /= 100;
    }
    if (n == 1) {
        out[0] = static_cast<unsigned char>('0' + number % 10);
    }
}

inline size_t count_digits(uint64_t number) {
    size_t n = 1;
    while (n < kPowersOf10.size() && number >= kPowersOf10[n]) {
        n++;
    }
    return n;
}

}  // namespace sql

#endif
