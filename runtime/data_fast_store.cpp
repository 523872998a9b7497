// SPDX-License-Identifier: MIT
//
// The way back of data_fast.cpp: sign and digits of up to 18 digits to DISPLAY,
// packed and binary fields of the same digits.
#include <array>

#include "runtime/data_fast.h"
#include "runtime/nibbles.h"
#include "runtime/storage.h"

namespace host {
namespace {

constexpr uint32_t kMaxFastDigits = 18;
constexpr uint32_t kEightDigits = 100000000;

// The last 24 characters of a number, in words whose first character is the most
// significant; zeros in front.
struct Number {
    uint64_t front;
    uint64_t high;
    uint64_t low;
    bool negative;  // never for zero
};

// 0 to 8 characters, the last lowest, zeros in front.
[[gnu::always_inline]] inline uint64_t load_characters(const uint8_t *characters, uint32_t n) {
    if (n >= 8) {
        return load_big_endian<uint64_t>(characters);
    }
    if (n == 0) {
        return kZeros8;
    }
    return load_partial(characters, n) | kZeros8 << (8 * n);
}

[[gnu::always_inline]] inline bool read_number(const uint8_t *field, uint32_t n, Number &number) {
    const uint8_t sign = field[0];
    const uint8_t *digits = field + 1;
    if (((sign - '+') & ~2U) != 0) {
        return false;
    }
    number = {kZeros8, kZeros8, kZeros8, false};
    if (n <= 8) {
        number.low = load_characters(digits, n);
    } else {
        number.low = load_big_endian<uint64_t>(digits + n - 8);
        if (n <= 16) {
            number.high = load_characters(digits, n - 8);
        } else {
            number.high = load_big_endian<uint64_t>(digits + n - 16);
            number.front = load_characters(digits, n - 16);
        }
        if (!is_eight_digits(number.high) || !is_eight_digits(number.front)) {
            return false;
        }
    }
    const uint64_t not_zero = (number.front | number.high | number.low) ^ kZeros8;
    number.negative =
        (static_cast<unsigned>(sign == '-') & static_cast<unsigned>(not_zero != 0)) != 0;
    return is_eight_digits(number.low);
}

// Stores the last n characters, the longest word last.
[[gnu::always_inline]] inline void store_characters(char *to, const Number &number, uint32_t n) {
    if (n < 8) {
        uint64_t word = number.low;
        for (uint32_t i = n; i > 0; --i) {
            to[i - 1] = static_cast<char>(word);
            word >>= 8;
        }
        return;
    }
    if (n > 16) {
        to[0] = static_cast<char>(number.front >> (8 * (n - 17)));
        to[n - 17] = static_cast<char>(number.front);
        store(to + n - 16, from_big_endian(number.high));
    } else if (n > 8) {
        store(to, from_big_endian(number.high << (8 * (16 - n))));
    }
    store(to + n - 8, from_big_endian(number.low));
}

template <uint16_t kType>
[[gnu::always_inline]] inline bool to_display(char *to, const Number &number, uint32_t n,
                                              uint32_t size, const XfdCvtInfo *cvt) {
    if (size != n + (kType == 2 ? 1 : 0)) {
        return false;
    }
    store_characters(to, number, n);
    if constexpr (kType == 2) {
        to[n] = number.negative ? '-' : '+';
    } else if constexpr (kType == 3 || kType == 5) {
        const SignForm &form = cvt == nullptr ? kAsciiForm : sign_form_of(cvt->cv_sign_code1);
        char &carrier = to[kType == 5 ? 0 : n - 1];
        const auto digit = static_cast<uint32_t>(carrier - '0');
        carrier = number.negative ? form.negative[digit] : form.positive[digit];
    }
    return true;
}

template <uint16_t kType>
[[gnu::always_inline]] inline bool to_packed(char *to, const Number &number, uint32_t n,
                                             uint32_t size, const XfdCvtInfo *cvt) {
    constexpr bool kHasSign = kType != 10;
    if (size != (kHasSign ? n / 2 + 1 : (n + 1) / 2)) {
        return false;
    }
    uint64_t low = gather_eight(number.low);
    uint32_t front = 0;
    if (n > 8) {
        low |= uint64_t{gather_eight(number.high)} << 32;
        front = gather_eight(number.front);
    }
    if constexpr (kHasSign) {
        uint32_t sign = 15;
        if constexpr (kType == 9) {
            const uint32_t plus = cvt != nullptr && cvt->cv_sign_code2 == 13 ? 15 : 12;
            sign = number.negative ? 13 : plus;
        }
        front = front << 4 | static_cast<uint32_t>(low >> 60);
        low = low << 4 | sign;
    }
    if (size >= 8) {
        store(to + size - 8, from_big_endian(low));
        if (size > 8) {
            to[size - 9] = static_cast<char>(front);
        }
        if (size > 9) {
            to[0] = static_cast<char>(front >> 8);
        }
    } else if (size >= 4) {
        const auto upper = static_cast<uint32_t>(low >> (8 * (size - 4)));
        store(to, from_big_endian(upper));
        store(to + size - 4, from_big_endian(static_cast<uint32_t>(low)));
    } else {
        auto word = static_cast<uint32_t>(low);
        for (uint32_t i = size; i > 0; --i) {
            to[i - 1] = static_cast<char>(word);
            word >>= 8;
        }
    }
    return true;
}

template <bool kBigEndian, typename Word>
void store_ordered(char *to, Word word) {
    store(to, kBigEndian ? from_big_endian(word) : from_little_endian(word));
}

// Only as many digits as the size always holds: nothing can be out of range.
template <bool kBigEndian, bool kSigned>
[[gnu::always_inline]] inline bool to_binary(char *to, const Number &number, uint32_t n,
                                             uint32_t size) {
    const uint64_t fill = kSigned && number.negative ? ~uint64_t{0} : 0;
    const uint32_t low = parse_eight_word(from_big_endian(number.low));
    if (size == 8) {
        uint64_t value = low;
        if (n > 8) {
            uint64_t high = parse_eight_word(from_big_endian(number.high));
            high += n > 16
                        ? uint64_t{parse_eight_word(from_big_endian(number.front))} * kEightDigits
                        : 0;
            value += high * kEightDigits;
        }
        store_ordered<kBigEndian>(to, (value ^ fill) - fill);
        return true;
    }
    const auto fill32 = static_cast<uint32_t>(fill);
    if (size == 4 && n <= 9) {
        const uint32_t tenth = n > 8 ? static_cast<uint32_t>(number.high & 0x0F) : 0;
        const uint32_t value = low + tenth * kEightDigits;
        store_ordered<kBigEndian>(to, (value ^ fill32) - fill32);
        return true;
    }
    if (size == 2 && n <= 4) {
        store_ordered<kBigEndian>(to, static_cast<uint16_t>((low ^ fill32) - fill32));
        return true;
    }
    return false;
}

template <uint16_t kType>
int store_short(const ZArgument *to, const ZArgument *from, int flags, const XfdCvtInfo *cvt) {
    const uint32_t n = to->a_digits;
    Number number;
    if (n - 1 >= kMaxFastDigits || from->a_size != n + 1 || to->a_scale != from->a_scale ||
        to->a_address == 0 || from->a_address == 0 || !read_number(bytes_of(*from), n, number)) {
        return convert_any(to, from, flags, cvt);
    }
    char *target = reinterpret_cast<char *>(bytes_of(*to));
    const uint32_t size = to->a_size;
    bool done = false;
    if constexpr (kType <= 5) {
        done = to_display<kType>(target, number, n, size, cvt);
    } else if constexpr (kType <= 10) {
        done = to_packed<kType>(target, number, n, size, cvt);
    } else {
        constexpr bool kMachineIsBigEndian = std::endian::native == std::endian::big;
        constexpr bool kBigEndian =
            kType <= 12 || (kMachineIsBigEndian && (kType == 13 || kType == 14));
        constexpr bool kSigned = kType == 11 || kType == 13 || kType == 32;
        done = to_binary<kBigEndian, kSigned>(target, number, n, size);
    }
    return done ? 1 : convert_any(to, from, flags, cvt);
}

}  // namespace

const Conversion kFromSignAndDigits[kTypes] = {
    convert_any,     store_short<1>,  store_short<2>,  store_short<3>,   // 0 to 3
    convert_any,     store_short<5>,  convert_any,     convert_any,      // 4 to 7
    store_short<8>,  store_short<9>,  store_short<10>, store_short<11>,  // 8 to 11
    store_short<12>, store_short<13>, store_short<14>, convert_any,      // 12 to 15
    convert_any,     convert_any,     convert_any,     convert_any,      // 16 to 19
    convert_any,     convert_any,     convert_any,     convert_any,      // 20 to 23
    convert_any,     convert_any,     convert_any,     convert_any,      // 24 to 27
    convert_any,     convert_any,     store_short<13>, store_short<14>,  // 28 to 31
    store_short<32>, store_short<33>, convert_any,     convert_any,      // 32 to 35
    convert_any,     convert_any,     convert_any,     convert_any,      // 36 to 39
    convert_any,     convert_any,     convert_any,     convert_any,      // 40 to 43
    convert_any,     convert_any,     convert_any,     convert_any,      // 44 to 47
    convert_any,     convert_any,     convert_any,     convert_any,      // 48 to 51
    convert_any,     convert_any,     convert_any,     convert_any,      // 52 to 55
    convert_any,     convert_any,     convert_any,     convert_any,      // 56 to 59
    convert_any,     convert_any,     convert_any,     convert_any,      // 60 to 63
};

}  // namespace host
