// SPDX-License-Identifier: MIT
//
// The number between two storages: decimal digits as characters, an exponent
// and a sign.  Every storage is read into one and written from one, so digits
// are never rounded and never pass through a binary fraction.
#ifndef RUNTIME_DECIMAL_H
#define RUNTIME_DECIMAL_H

#include <cstddef>
#include <cstdint>

#include "runtime/digits.h"

namespace host {

// A numeric storage has at most this many digit positions; the description's
// own count of digits ends at 255.
inline constexpr uint32_t kMaxPositions = 256;

// A text keeps this many digits in front of the point (the highest position of
// any storage is 256 + 127) ...
inline constexpr uint32_t kMaxWholeDigits = 400;
// ... and this many in all, enough to round any double correctly.
inline constexpr uint32_t kMaxDigits = 800;

struct Decimal {
    const char *digits;    // the most significant digit; leading zeros are usual
    uint32_t count;        // at least 1
    int32_t exponent;      // value = digits * 10^exponent
    bool negative;         // may hold for zero, which every writer makes positive
    bool lost_high_digit;  // digits above the kept ones exist: no storage has room for the value
    alignas(16) char room[kMaxDigits + 32];

    // Room for count digits; the caller fills it.
    char *start(uint32_t digit_count, int32_t scale) {
        digits = room;
        count = digit_count;
        exponent = scale;
        negative = false;
        lost_high_digit = false;
        return room;
    }

    bool is_zero() const { return !lost_high_digit && all_zeros(digits, count); }
};

// Where the digits of a number come to lie in a row of digit positions.
struct Window {
    uint32_t positions;  // characters to write, zeros on the left included
    uint32_t capacity;   // digits that may be used, at most positions
    int32_t scale;       // weight of the last position: 10^scale
};

// Writes the window's positions; digits right of it are cut, digits left of its
// capacity are lost.  Returns whether no digit other than zero was lost.
inline bool align_digits(const Decimal &value, const Window &window, char *to) {
    const char *digits = value.digits;
    uint32_t count = value.count;
    uint32_t zeros_behind = 0;
    const int32_t shift = value.exponent - window.scale;
    if (shift < 0) {
        const auto cut = static_cast<uint32_t>(-shift);
        count = cut < count ? count - cut : 0;
    } else if (shift > 0) {
        const auto wanted = static_cast<uint32_t>(shift);
        zeros_behind = wanted < window.capacity ? wanted : window.capacity;
    }
    bool fits = !value.lost_high_digit;
    const uint32_t free = window.capacity - zeros_behind;
    if (count > free) {
        fits &= all_zeros(digits, count - free);
        digits += count - free;
        count = free;
    }
    const uint32_t zeros_in_front = window.positions - count - zeros_behind;
    fill_zeros(to, zeros_in_front);
    copy_short(to + zeros_in_front, digits, count);
    fill_zeros(to + zeros_in_front + count, zeros_behind);
    return fits;
}

}  // namespace host

#endif
