// SPDX-License-Identifier: MIT
//
// Binary numbers of 1 to 16 bytes (types 11 to 14 and 30 to 33).  Up to eight
// bytes take one 64-bit word; wider ones four limbs of 32 bits, which every
// target has.
#include "runtime/storage.h"

namespace host {
namespace {

constexpr uint32_t kMaxBytes = 16;
constexpr uint32_t kEight = 100000000;     // ten to the eighth, one group of digits
constexpr uint32_t kMaxBinaryDigits = 40;  // 39 in whole groups

// Digits that a width always holds: floor(log10(2 ^ bits)).
struct SureDigits {
    uint8_t is_signed[kMaxBytes + 1];
    uint8_t is_unsigned[kMaxBytes + 1];
};
constexpr SureDigits kSureDigits{
    {0, 2, 4, 6, 9, 11, 14, 16, 18, 21, 23, 26, 28, 31, 33, 35, 38},
    {0, 2, 4, 7, 9, 12, 14, 16, 19, 21, 24, 26, 28, 31, 33, 36, 38},
};

// An unsigned number of 128 bits.
struct Wide {
    uint64_t low;
    uint64_t high;
};

bool exceeds(const Wide &a, const Wide &b) {
    return a.high > b.high || (a.high == b.high && a.low > b.low);
}

Wide negated(const Wide &a) {
    return {0 - a.low, ~a.high + (a.low == 0 ? 1 : 0)};
}

Wide load_wide(const uint8_t *bytes, uint32_t size, const Layout &layout) {
    switch (size) {
        case 8: {
            const auto word = load<uint64_t>(bytes);
            return {layout.big_endian ? from_big_endian(word) : from_little_endian(word), 0};
        }
        case 4: {
            const auto word = load<uint32_t>(bytes);
            return {layout.big_endian ? from_big_endian(word) : from_little_endian(word), 0};
        }
        case 2: {
            const auto word = load<uint16_t>(bytes);
            return {layout.big_endian ? from_big_endian(word) : from_little_endian(word), 0};
        }
        default: {
            Wide wide{0, 0};
            for (uint32_t weight = 0; weight < size; ++weight) {
                const uint64_t byte = bytes[layout.big_endian ? size - 1 - weight : weight];
                (weight < 8 ? wide.low : wide.high) |= byte << (8 * (weight % 8));
            }
            return wide;
        }
    }
}

void store_wide(uint8_t *bytes, uint32_t size, const Layout &layout, const Wide &wide) {
    switch (size) {
        case 8:
            store(bytes,
                  layout.big_endian ? from_big_endian(wide.low) : from_little_endian(wide.low));
            break;
        case 4: {
            const auto word = static_cast<uint32_t>(wide.low);
            store(bytes, layout.big_endian ? from_big_endian(word) : from_little_endian(word));
            break;
        }
        case 2: {
            const auto word = static_cast<uint16_t>(wide.low);
            store(bytes, layout.big_endian ? from_big_endian(word) : from_little_endian(word));
            break;
        }
        default:
            for (uint32_t weight = 0; weight < size; ++weight) {
                const uint64_t word = weight < 8 ? wide.low : wide.high;
                bytes[layout.big_endian ? size - 1 - weight : weight] =
                    static_cast<uint8_t>(word >> (8 * (weight % 8)));
            }
    }
}

// Sets the bits above a negative number's own.
Wide sign_extended(const Wide &wide, uint32_t size) {
    if (size <= 8) {
        const uint32_t unused = 64 - 8 * size;
        return {static_cast<uint64_t>(static_cast<int64_t>(wide.low << unused) >> unused),
                ~uint64_t{0}};
    }
    const uint32_t unused = 128 - 8 * size;
    return {wide.low, static_cast<uint64_t>(static_cast<int64_t>(wide.high << unused) >> unused)};
}

bool has_sign_bit(const Wide &wide, uint32_t size) {
    const uint64_t top = size <= 8 ? wide.low : wide.high;
    return (top >> ((8 * size - 1) % 64) & 1) != 0;
}

// Both print in whole groups of eight digits that end at end; they return the
// first character.
char *print_word(char *end, uint64_t word) {
    while (word >= kEight) {
        end -= 8;
        print_eight(end, static_cast<uint32_t>(word % kEight));
        word /= kEight;
    }
    end -= 8;
    print_eight(end, static_cast<uint32_t>(word));
    return end;
}
char *print_wide(char *end, const Wide &wide) {
    uint32_t limbs[4] = {static_cast<uint32_t>(wide.high >> 32), static_cast<uint32_t>(wide.high),
                         static_cast<uint32_t>(wide.low >> 32), static_cast<uint32_t>(wide.low)};
    for (int group = 0; group < 5; ++group) {
        uint64_t remainder = 0;
        for (uint32_t &limb : limbs) {
            const uint64_t dividend = remainder << 32 | limb;
            limb = static_cast<uint32_t>(dividend / kEight);
            remainder = dividend % kEight;
        }
        end -= 8;
        print_eight(end, static_cast<uint32_t>(remainder));
    }
    return end;
}

struct Parsed {
    Wide magnitude;
    bool fits;      // no digit was lost on the left
    bool overflow;  // beyond 128 bits; magnitude means nothing
};

// The low digits of a number at a scale, as many as capacity says.
Parsed parse(const Decimal &value, uint32_t capacity, int32_t scale) {
    constexpr uint32_t kWordDigits = 19;
    constexpr uint32_t kWideDigits = 40;
    char digits[kWideDigits];
    if (capacity <= kWordDigits) {
        const bool fits = align_digits(value, {24, capacity, scale}, digits);
        const uint64_t high = uint64_t{parse_eight(digits)} * kEight + parse_eight(digits + 8);
        return {{high * kEight + parse_eight(digits + 16), 0}, fits, false};
    }
    Parsed parsed{{0, 0}, false, false};
    parsed.fits = align_digits(value, {kWideDigits, capacity, scale}, digits);
    uint32_t limbs[4] = {0, 0, 0, 0};  // the least significant first
    for (uint32_t group = 0; group < kWideDigits; group += 8) {
        uint64_t carry = parse_eight(digits + group);
        for (uint32_t &limb : limbs) {
            carry += uint64_t{limb} * kEight;
            limb = static_cast<uint32_t>(carry);
            carry >>= 32;
        }
        parsed.overflow |= carry != 0;
    }
    parsed.magnitude = {uint64_t{limbs[1]} << 32 | limbs[0], uint64_t{limbs[3]} << 32 | limbs[2]};
    return parsed;
}

// The largest magnitude that a width holds.
Wide largest(uint32_t size, bool is_signed, bool negative) {
    const uint32_t bits = 8 * size - (is_signed ? 1 : 0);
    Wide limit{bits >= 64 ? ~uint64_t{0} : (uint64_t{1} << bits) - 1, 0};
    if (bits > 64) {
        limit.high = bits == 128 ? ~uint64_t{0} : (uint64_t{1} << (bits - 64)) - 1;
    }
    if (negative) {
        limit.low += 1;
        limit.high += limit.low == 0 ? 1 : 0;
    }
    return limit;
}

}  // namespace

bool read_binary(const ZArgument &from, const Layout &layout, const Settings & /*settings*/,
                 Decimal &value) {
    const uint32_t size = from.a_size;
    if (size == 0 || size > kMaxBytes) {
        return false;
    }
    Wide wide = load_wide(bytes_of(from), size, layout);
    value.start(0, from.a_scale);
    if (layout.is_signed && has_sign_bit(wide, size)) {
        value.negative = true;
        wide = negated(sign_extended(wide, size));
    }
    char *end = value.room + kMaxBinaryDigits;
    value.digits = wide.high == 0 ? print_word(end, wide.low) : print_wide(end, wide);
    value.count = static_cast<uint32_t>(end - value.digits);
    return true;
}

bool write_binary(const ZArgument &to, const Layout &layout, const Settings & /*settings*/,
                  const Decimal &value) {
    const uint32_t size = to.a_size;
    if (size == 0 || size > kMaxBytes) {
        return false;
    }
    const bool has_picture = to.a_digits != 0 && to.a_digits < kMaxBinaryDigits;
    const uint32_t capacity = has_picture ? to.a_digits : kMaxBinaryDigits;
    Parsed parsed = parse(value, capacity, to.a_scale);
    bool fits = parsed.fits;
    const bool negative = layout.is_signed && value.negative;
    const bool beyond_words = parsed.overflow || (!fits && !has_picture);
    if (beyond_words || exceeds(parsed.magnitude, largest(size, layout.is_signed, negative))) {
        const uint32_t sure =
            layout.is_signed ? kSureDigits.is_signed[size] : kSureDigits.is_unsigned[size];
        parsed = parse(value, sure, to.a_scale);
        fits = false;
    }
    store_wide(bytes_of(to), size, layout, negative ? negated(parsed.magnitude) : parsed.magnitude);
    return fits;
}

}  // namespace host
