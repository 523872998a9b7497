// SPDX-License-Identifier: MIT
//
// Floating point (type 23): the shortest decimal that reads back as the same
// number, and the nearest number to a decimal.  Most values of records have few
// digits and take an exact path in hardware arithmetic; the others go through
// whole numbers of any length, so that nothing depends on a rounding or on the
// C library's locale.
//
// Sources: Burger and Dybvig, "Printing Floating-Point Numbers Quickly and
// Accurately", PLDI 1996 (free-format algorithm); Clinger, "How to Read Floating
// Point Numbers Accurately", PLDI 1990 (the exact path).
#include <cassert>
#include <cfloat>

#include "runtime/storage.h"

namespace host {
namespace {

static_assert(FLT_EVAL_METHOD == 0, "the exact paths need arithmetic without excess precision");

// IEEE 754 binary formats: value = mantissa * 2^exponent, exponent from
// min_exponent on, mantissas of mantissa_bits.
struct Format {
    int mantissa_bits;
    int min_exponent;
    uint32_t exponent_mask;  // of the biased exponent; all ones for infinities and NaN
};
constexpr Format kSingle{24, -149, 0xFF};
constexpr Format kDouble{53, -1074, 0x7FF};

constexpr double kTens[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                            1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
constexpr float kSingleTens[] = {1e0F, 1e1F, 1e2F, 1e3F, 1e4F, 1e5F, 1e6F, 1e7F, 1e8F, 1e9F, 1e10F};

// A whole number of up to 5120 bits.  The longest one here is a decimal of 801
// digits scaled up by 2^4060 to be divided by 10^1200.
class Big {
 public:
    explicit Big(uint64_t value = 0) {
        while (value != 0) {
            limbs_[size_++] = static_cast<uint32_t>(value);
            value >>= 32;
        }
    }

    bool is_zero() const { return size_ == 0; }

    int bits() const { return size_ == 0 ? 0 : 32 * size_ - __builtin_clz(limbs_[size_ - 1]); }

    void multiply_add(uint32_t factor, uint32_t addend) {
        uint64_t carry = addend;
        for (int i = 0; i < size_; ++i) {
            carry += uint64_t{limbs_[i]} * factor;
            limbs_[i] = static_cast<uint32_t>(carry);
            carry >>= 32;
        }
        if (carry != 0) {
            limbs_[size_++] = static_cast<uint32_t>(carry);
        }
    }

    void multiply_by_ten_to(int power) {
        for (; power >= 9; power -= 9) {
            multiply_add(1000000000, 0);
        }
        for (; power > 0; --power) {
            multiply_add(10, 0);
        }
    }

    // Returns the remainder.
    uint32_t divide(uint32_t divisor) {
        uint64_t remainder = 0;
        for (int i = size_ - 1; i >= 0; --i) {
            const uint64_t dividend = remainder << 32 | limbs_[i];
            limbs_[i] = static_cast<uint32_t>(dividend / divisor);
            remainder = dividend % divisor;
        }
        trim();
        return static_cast<uint32_t>(remainder);
    }

    void shift_left(int count) {
        if (size_ == 0) {
            return;
        }
        const int whole = count / 32;
        const int part = count % 32;
        limbs_[size_ + whole] = 0;
        for (int i = size_ - 1; i >= 0; --i) {
            const uint64_t moved = uint64_t{limbs_[i]} << part;
            limbs_[i + whole + 1] |= static_cast<uint32_t>(moved >> 32);
            limbs_[i + whole] = static_cast<uint32_t>(moved);
        }
        for (int i = 0; i < whole; ++i) {
            limbs_[i] = 0;
        }
        size_ += whole + 1;
        trim();
    }

    // Bits first to first + 63.
    uint64_t word_at(int first) const {
        uint64_t word = 0;
        for (int i = 0; i < 3; ++i) {
            const int limb = first / 32 + i;
            const int place = 32 * i - first % 32;
            const uint64_t bits = limb < size_ ? limbs_[limb] : 0;
            if (place < 64) {
                word |= place < 0 ? bits >> -place : bits << place;
            }
        }
        return word;
    }

    bool any_bit_below(int end) const {
        const int whole = end / 32;
        for (int i = 0; i < whole && i < size_; ++i) {
            if (limbs_[i] != 0) {
                return true;
            }
        }
        return whole < size_ && (limbs_[whole] & ((uint32_t{1} << (end % 32)) - 1)) != 0;
    }

    void add(const Big &other) {
        uint64_t carry = 0;
        for (int i = 0; i < other.size_ || i < size_ || carry != 0; ++i) {
            carry += uint64_t{i < size_ ? limbs_[i] : 0} + (i < other.size_ ? other.limbs_[i] : 0);
            limbs_[i] = static_cast<uint32_t>(carry);
            carry >>= 32;
            size_ = i < size_ ? size_ : i + 1;
        }
    }

    // other is at most this number.
    void subtract(const Big &other) {
        uint64_t borrow = 0;
        for (int i = 0; i < size_; ++i) {
            const uint64_t taken = borrow + (i < other.size_ ? other.limbs_[i] : 0);
            borrow = limbs_[i] < taken ? 1 : 0;
            limbs_[i] = static_cast<uint32_t>(limbs_[i] - taken);
        }
        trim();
    }

    int compare(const Big &other) const {
        if (size_ != other.size_) {
            return size_ < other.size_ ? -1 : 1;
        }
        for (int i = size_ - 1; i >= 0; --i) {
            if (limbs_[i] != other.limbs_[i]) {
                return limbs_[i] < other.limbs_[i] ? -1 : 1;
            }
        }
        return 0;
    }

 private:
    void trim() {
        while (size_ > 0 && limbs_[size_ - 1] == 0) {
            --size_;
        }
    }

    int size_ = 0;
    uint32_t limbs_[160];
};

struct Parts {
    uint64_t mantissa;
    int exponent;
    bool negative;
    bool is_number;
};

Parts take_apart(uint64_t bits, const Format &format) {
    const int field_bits = format.mantissa_bits - 1;
    const auto biased = static_cast<uint32_t>(bits >> field_bits) & format.exponent_mask;
    Parts parts{bits & ((uint64_t{1} << field_bits) - 1), format.min_exponent, false,
                biased != format.exponent_mask};
    if (biased != 0) {
        parts.mantissa |= uint64_t{1} << field_bits;
        parts.exponent += static_cast<int>(biased) - 1;
    }
    parts.negative = (bits >> field_bits) > format.exponent_mask;
    return parts;
}

// floor(n * log10(2)), exact for |n| up to 2136.
int floor_log10_of_two_to(int n) {
    return (n * 315653) >> 20;
}

// Writes the shortest digits that identify the number, the closest of them to it
// (even in the last digit when two are as close); value = 0.DIGITS * 10^point.  Returns how many.
uint32_t shortest_digits(const Parts &parts, const Format &format, char *digits, int &point) {
    // The number is rest / scale, its neighbours' halfway points lie below and
    // above by margins over the same scale; the gap below a power of two is half
    // as wide.
    const bool narrow_below = parts.mantissa == uint64_t{1} << (format.mantissa_bits - 1) &&
                              parts.exponent > format.min_exponent;
    const int extra = narrow_below ? 1 : 0;
    Big rest(parts.mantissa);
    Big scale(1);
    Big below(1);
    rest.shift_left((parts.exponent > 0 ? parts.exponent : 0) + 1 + extra);
    scale.shift_left((parts.exponent < 0 ? -parts.exponent : 0) + 1 + extra);
    below.shift_left(parts.exponent > 0 ? parts.exponent : 0);
    Big above = below;
    above.shift_left(extra);

    const int length = 64 - __builtin_clzll(parts.mantissa);
    point = floor_log10_of_two_to(parts.exponent + length - 1) + 1;
    if (point >= 0) {
        scale.multiply_by_ten_to(point);
    } else {
        rest.multiply_by_ten_to(-point);
        below.multiply_by_ten_to(-point);
        above.multiply_by_ten_to(-point);
    }
    // A halfway point reads back as the number when the mantissa is even.
    const int tie = parts.mantissa % 2 == 0 ? 0 : 1;
    const auto reaches_above = [&] {
        Big sum = rest;
        sum.add(above);
        return sum.compare(scale) >= tie;
    };
    while (reaches_above()) {
        scale.multiply_add(10, 0);
        ++point;
    }
    for (uint32_t count = 0;;) {
        rest.multiply_add(10, 0);
        below.multiply_add(10, 0);
        above.multiply_add(10, 0);
        char digit = '0';
        while (rest.compare(scale) >= 0) {
            rest.subtract(scale);
            ++digit;
        }
        const bool low_is_close = rest.compare(below) <= -tie;
        const bool high_is_close = reaches_above();
        if (low_is_close || high_is_close) {
            if (high_is_close) {
                rest.shift_left(1);
                const int half = rest.compare(scale);
                const bool is_odd = (digit - '0') % 2 == 1;
                if (!low_is_close || half > 0 || (half == 0 && is_odd)) {
                    ++digit;
                }
            }
            digits[count++] = digit;
            return count;
        }
        digits[count++] = digit;
    }
}

// Few decimals: a candidate of at most 15 (6 for 4 bytes) digits that reads
// back is the shortest.  Its reading back is tested by one division, which
// rounds correctly because both operands are exact.
template <typename Real>
bool print_short(Real number, double most, int max_decimals, Decimal &value) {
    const double magnitude = static_cast<double>(number);
    for (int decimals = 0; decimals <= max_decimals; ++decimals) {
        const double scaled = magnitude * kTens[decimals];
        if (!(scaled < most)) {
            return false;
        }
        // Never negative, and a wrong last digit does not read back.
        const auto whole =
            static_cast<int64_t>(scaled + 0.5);  // NOLINT(bugprone-incorrect-roundings)
        const double back = static_cast<double>(whole) / kTens[decimals];
        if (static_cast<Real>(back) == number) {
            char *digits = value.start(16, -decimals);
            print_eight(digits, static_cast<uint32_t>(whole / 100000000));
            print_eight(digits + 8, static_cast<uint32_t>(whole % 100000000));
            return true;
        }
    }
    return false;
}

void print_long(const Parts &parts, const Format &format, Decimal &value) {
    char *digits = value.start(0, 0);
    int point = 0;
    value.count = shortest_digits(parts, format, digits, point);
    value.exponent = point - static_cast<int>(value.count);
}

// The bits of the nearest number, ties to even; all ones in the exponent when it
// is out of range.
uint64_t nearest(const Decimal &value, const char *digits, uint32_t count, const Format &format) {
    Big number;
    for (uint32_t i = 0; i < count; ++i) {
        number.multiply_add(10, static_cast<uint32_t>(digits[i] - '0'));
    }
    int exponent = 0;  // value = (number + what sticky tells) * 2^exponent
    bool sticky = false;
    if (value.exponent >= 0) {
        number.multiply_by_ten_to(value.exponent);
    } else {
        // Enough bits in front for the quotient to keep more than a mantissa:
        // 10/3 bits a decimal are a little more than log2(10).
        const int divisor_bits = -value.exponent * 10 / 3 + 1;
        const int wanted = divisor_bits + 70 - number.bits();
        if (wanted > 0) {
            number.shift_left(wanted);
            exponent = -wanted;
        }
        int left = -value.exponent;
        for (; left >= 9; left -= 9) {
            sticky |= number.divide(1000000000) != 0;
        }
        for (; left > 0; --left) {
            sticky |= number.divide(10) != 0;
        }
    }
    int lowest = number.bits() + exponent - format.mantissa_bits;  // weight of the last bit
    if (lowest < format.min_exponent) {
        lowest = format.min_exponent;
    }
    const int dropped = lowest - exponent;
    uint64_t mantissa = 0;
    if (dropped <= 0) {
        assert(dropped > -64);
        mantissa = number.word_at(0) << -dropped;
    } else {
        mantissa = number.word_at(dropped);
        const bool half = (number.word_at(dropped - 1) & 1) != 0;
        sticky |= number.any_bit_below(dropped - 1);
        mantissa += half && (sticky || mantissa % 2 == 1) ? 1 : 0;
    }
    // The mantissa's top bit, if set, adds the one that the exponent lacks here;
    // a mantissa rounded up to the next power of two carries into it.
    const auto steps = static_cast<uint64_t>(lowest - format.min_exponent);
    return (steps << (format.mantissa_bits - 1)) + mantissa;
}

// Nearest number to a decimal: the bits without sign, exponent all ones when it
// is out of range.
uint64_t number_bits(const Decimal &value, const Format &format) {
    const uint64_t out_of_range = uint64_t{format.exponent_mask} << (format.mantissa_bits - 1);
    const char *digits = value.digits;
    uint32_t count = value.count;
    while (count > 0 && *digits == '0') {
        ++digits;
        --count;
    }
    if (count == 0) {
        return 0;
    }
    const int point = static_cast<int>(count) + value.exponent;
    if (value.lost_high_digit || point > 400) {
        return out_of_range;
    }
    if (point < -400) {
        return 0;
    }
    if (count <= 15) {
        uint64_t whole = 0;
        for (uint32_t i = 0; i < count; ++i) {
            whole = whole * 10 + static_cast<uint32_t>(digits[i] - '0');
        }
        const int power = value.exponent < 0 ? -value.exponent : value.exponent;
        if (format.mantissa_bits == kDouble.mantissa_bits && power <= 22) {
            const auto exact = static_cast<double>(whole);
            return std::bit_cast<uint64_t>(value.exponent < 0 ? exact / kTens[power]
                                                              : exact * kTens[power]);
        }
        if (format.mantissa_bits == kSingle.mantissa_bits && power <= 10 &&
            whole < uint64_t{1} << kSingle.mantissa_bits) {
            const auto exact = static_cast<float>(whole);
            return std::bit_cast<uint32_t>(value.exponent < 0 ? exact / kSingleTens[power]
                                                              : exact * kSingleTens[power]);
        }
    }
    const uint64_t bits = nearest(value, digits, count, format);
    return bits < out_of_range ? bits : out_of_range;
}

}  // namespace

bool read_float(const ZArgument &from, const Layout & /*layout*/, const Settings & /*settings*/,
                Decimal &value) {
    if (from.a_size != 4 && from.a_size != 8) {
        return false;
    }
    const bool is_single = from.a_size == 4;
    const Format &format = is_single ? kSingle : kDouble;
    const uint64_t bits =
        is_single ? load<uint32_t>(bytes_of(from)) : load<uint64_t>(bytes_of(from));
    const Parts parts = take_apart(bits, format);
    if (!parts.is_number) {
        return false;
    }
    if (is_single) {
        const auto magnitude = std::bit_cast<float>(static_cast<uint32_t>(bits) & 0x7FFFFFFFU);
        if (!print_short(magnitude, 1e6, 8, value)) {
            print_long(parts, format, value);
        }
    } else {
        const auto magnitude = std::bit_cast<double>(bits & 0x7FFFFFFFFFFFFFFFU);
        if (!print_short(magnitude, 1e15, 15, value)) {
            print_long(parts, format, value);
        }
    }
    value.negative = parts.negative;
    return true;
}

bool write_float(const ZArgument &to, const Layout & /*layout*/, const Settings & /*settings*/,
                 const Decimal &value) {
    if (to.a_size != 4 && to.a_size != 8) {
        return false;
    }
    const bool is_single = to.a_size == 4;
    const Format &format = is_single ? kSingle : kDouble;
    uint64_t bits = number_bits(value, format);
    if (bits >> (format.mantissa_bits - 1) == format.exponent_mask) {
        return false;
    }
    if (is_single) {
        bits |= value.negative && bits != 0 ? uint64_t{1} << 31 : 0;
        store(bytes_of(to), static_cast<uint32_t>(bits));
    } else {
        bits |= value.negative && bits != 0 ? uint64_t{1} << 63 : 0;
        store(bytes_of(to), bits);
    }
    return true;
}

}  // namespace host
