// SPDX-License-Identifier: MIT
//
// DISPLAY, packed and binary fields of up to 18 digits to sign and digits.  The
// source is in registers before the first byte is written, and nothing is written
// before all of it is known to be good.  Words of characters overlap in memory
// instead of being cut to length.
//
// Measured with bench_data: three to five times as fast as the general way, whose
// reader leaves the digits in memory for the writer to find.
#include "runtime/data_fast.h"

#include <array>
#include <type_traits>

#include "runtime/nibbles.h"
#include "runtime/storage.h"

namespace host {
namespace {

constexpr uint32_t kMaxFastDigits = 18;
constexpr uint32_t kEightDigits = 100000000;

// Where the first and the last character of a word in memory lie.
constexpr bool kLittle = std::endian::native == std::endian::little;
constexpr int kFirst8 = kLittle ? 0 : 56;
constexpr int kLast8 = kLittle ? 56 : 0;
constexpr int kFirst4 = kLittle ? 0 : 24;
constexpr int kLast4 = kLittle ? 24 : 0;

// Signs of records come in no order that a processor could predict: no branch.
char sign_of(bool negative, bool is_zero) {
    static_assert('-' == '+' + 2);
    const unsigned is_minus = static_cast<unsigned>(negative) & static_cast<unsigned>(!is_zero);
    return static_cast<char>('+' + 2 * is_minus);
}

// The digits of a DISPLAY field.  The corrections turn a first or last character
// that carries the sign into its digit, by exclusive or.
struct Display {
    const uint8_t *digits;
    uint32_t count;
    bool negative;
    uint8_t first_correction;
    uint8_t last_correction;
};

[[gnu::always_inline]] inline bool store_eight_and_more(char *to, const Display &from) {
    const uint32_t n = from.count;
    const uint64_t first_correction = uint64_t{from.first_correction} << kFirst8;
    const uint64_t last_correction = uint64_t{from.last_correction} << kLast8;
    uint64_t first = load<uint64_t>(from.digits) ^ first_correction;
    uint64_t last = load<uint64_t>(from.digits + n - 8) ^ last_correction;
    uint64_t middle = kZeros8;
    if (n == 8) {
        first ^= last_correction;
        last = first;
    } else if (n > 16) {
        middle = load<uint64_t>(from.digits + 8);
    }
    if (!is_eight_digits(first) || !is_eight_digits(last) || !is_eight_digits(middle)) {
        return false;
    }
    const bool is_zero = ((first ^ kZeros8) | (middle ^ kZeros8) | (last ^ kZeros8)) == 0;
    to[0] = sign_of(from.negative, is_zero);
    store(to + 1, first);
    if (n > 16) {
        store(to + 9, middle);
    }
    store(to + 1 + n - 8, last);
    return true;
}

[[gnu::always_inline]] inline bool store_four_to_seven(char *to, const Display &from) {
    const uint32_t n = from.count;
    const uint32_t first_correction = uint32_t{from.first_correction} << kFirst4;
    const uint32_t last_correction = uint32_t{from.last_correction} << kLast4;
    uint32_t first = load<uint32_t>(from.digits) ^ first_correction;
    uint32_t last = load<uint32_t>(from.digits + n - 4) ^ last_correction;
    if (n == 4) {
        first ^= last_correction;
        last = first;
    }
    if (!is_four_digits(first) || !is_four_digits(last)) {
        return false;
    }
    to[0] = sign_of(from.negative, ((first ^ kZeros4) | (last ^ kZeros4)) == 0);
    store(to + 1, first);
    store(to + 1 + n - 4, last);
    return true;
}

[[gnu::always_inline]] inline bool store_up_to_three(char *to, const Display &from) {
    const uint32_t n = from.count;
    uint8_t digits[3] = {'0', '0', '0'};
    for (uint32_t i = 0; i < n; ++i) {
        digits[i] = from.digits[i];
    }
    digits[0] ^= from.first_correction;
    digits[n - 1] ^= from.last_correction;
    const uint32_t word = uint32_t{digits[0]} << 16 | uint32_t{digits[1]} << 8 | digits[2];
    if (!is_four_digits(word | uint32_t{'0'} << 24)) {
        return false;
    }
    to[0] = sign_of(from.negative, word == 0x303030);
    for (uint32_t i = 0; i < n; ++i) {
        to[1 + i] = static_cast<char>(digits[i]);
    }
    return true;
}

[[gnu::always_inline]] inline bool from_display(char *to, const Display &from) {
    return from.count >= 8   ? store_eight_and_more(to, from)
           : from.count >= 4 ? store_four_to_seven(to, from)
                             : store_up_to_three(to, from);
}

[[gnu::always_inline]] inline bool from_signed_display(char *to, const uint8_t *digits, uint32_t n,
                                                       bool sign_is_first, const XfdCvtInfo *cvt) {
    const SignForm &form = cvt == nullptr ? kAsciiForm : sign_form_of(cvt->cv_sign_code1);
    const uint8_t carrier = digits[sign_is_first ? 0 : n - 1];
    const uint8_t meaning = form.meaning[carrier];
    if (meaning == kNoSignDigit) {
        return false;
    }
    const auto correction = static_cast<uint8_t>(carrier ^ ('0' + (meaning & 0x0F)));
    return from_display(
        to, {digits, n, (meaning & kMinus) != 0, sign_is_first ? correction : uint8_t{0},
             sign_is_first ? uint8_t{0} : correction});
}

[[gnu::always_inline]] inline bool from_separate_display(char *to, const uint8_t *digits,
                                                         uint32_t n, uint8_t sign) {
    if (((sign - '+') & ~2U) != 0) {
        return false;
    }
    return from_display(to, {digits, n, sign == '-', 0, 0});
}

constexpr auto kPairs = [] {
    std::array<uint16_t, 100> pairs{};
    for (uint32_t i = 0; i < 100; ++i) {
        pairs[i] = static_cast<uint16_t>(('0' + i / 10) << 8 | ('0' + i % 10));
    }
    return pairs;
}();

constexpr auto kTens = [] {
    std::array<uint64_t, kMaxFastDigits + 1> tens{1};
    for (size_t i = 1; i < tens.size(); ++i) {
        tens[i] = 10 * tens[i - 1];
    }
    return tens;
}();

// Stores the last n of sixteen characters, by words that overlap.
[[gnu::always_inline]] inline void store_last(char *to, const char *sixteen, uint32_t n) {
    if (n >= 8) {
        store(to, load<uint64_t>(sixteen + 16 - n));
        store(to + n - 8, load<uint64_t>(sixteen + 8));
    } else if (n >= 4) {
        store(to, load<uint32_t>(sixteen + 16 - n));
        store(to + n - 4, load<uint32_t>(sixteen + 12));
    } else {
        for (uint32_t i = 0; i < n; ++i) {
            to[i] = sixteen[16 - n + i];
        }
    }
}

// The same for 17 and 18 digits, of which two stand in front, the first in the
// upper byte.  Of 17 that one falls on the sign's place, which is written last.
[[gnu::always_inline]] inline void store_with_front(char *to, uint16_t front, const char *sixteen,
                                                    uint32_t n) {
    store(to + n - 18, from_big_endian(front));
    std::memcpy(to + n - 16, sixteen, 16);
}

[[gnu::always_inline]] inline bool is_minus_nibble(uint32_t sign, bool is_signed) {
    constexpr uint32_t kMinusSigns = 1U << 11 | 1U << 13;
    return ((is_signed ? kMinusSigns : 0) >> sign & 1) != 0;
}

// A packed field of up to eight bytes.
[[gnu::always_inline]] inline bool from_packed_word(char *to, uint64_t nibbles,
                                                    bool has_sign_nibble, bool is_signed,
                                                    uint32_t n) {
    bool negative = false;
    if (has_sign_nibble) {
        const uint32_t sign = nibbles & 0x0F;
        if (sign < 10) {
            return false;
        }
        negative = is_minus_nibble(sign, is_signed);
        nibbles >>= 4;
    }
    alignas(16) char digits[16];
    const uint32_t used = spread_sixteen(digits, nibbles);
    if (n > 16 || used > n) {
        return false;
    }
    store_last(to + 1, digits, n);
    to[0] = sign_of(negative, used == 0);
    return true;
}

// One of 9 or 10 bytes.
[[gnu::always_inline]] inline bool from_long_packed(char *to, const uint8_t *bytes, uint32_t size,
                                                    bool has_sign_nibble, bool is_signed,
                                                    uint32_t n) {
    uint64_t low = load_big_endian<uint64_t>(bytes + size - 8);
    uint32_t front = size == 10 ? uint32_t{bytes[0]} << 8 | bytes[1] : bytes[0];
    bool negative = false;
    if (has_sign_nibble) {
        const uint32_t sign = low & 0x0F;
        if (sign < 10) {
            return false;
        }
        negative = is_minus_nibble(sign, is_signed);
        low = low >> 4 | uint64_t{front} << 60;
        front >>= 4;
    }
    alignas(16) char digits[16];
    const uint32_t used = spread_sixteen(digits, low);
    if (n < 16 || front >> (4 * (n - 16)) != 0 || used == kNoDigits || has_bad_nibble(front)) {
        return false;
    }
    if (n == 16) {
        store_last(to + 1, digits, n);
    } else {
        const uint32_t pair = (front & 0xF0) << 4 | (front & 0x0F);
        store_with_front(to + 1, static_cast<uint16_t>(pair | 0x3030), digits, n);
    }
    to[0] = sign_of(negative, (front | used) == 0);
    return true;
}

[[gnu::always_inline]] inline bool from_packed(char *to, const uint8_t *bytes, uint32_t size,
                                               bool has_sign_nibble, bool is_signed, uint32_t n) {
    if (size - 1 < 4) {  // on its own: the upper half of the word is known to be zero
        const auto nibbles = static_cast<uint32_t>(load_partial(bytes, size));
        return from_packed_word(to, nibbles, has_sign_nibble, is_signed, n);
    }
    if (size - 1 < 8) {
        return from_packed_word(to, load_partial(bytes, size), has_sign_nibble, is_signed, n);
    }
    return (size == 9 || size == 10) &&
           from_long_packed(to, bytes, size, has_sign_nibble, is_signed, n);
}

template <typename Word>
[[gnu::always_inline]] inline bool from_magnitude(char *to, Word value, bool negative, uint32_t n) {
    if (uint64_t{value} >= kTens[n]) {
        return false;
    }
    alignas(16) char digits[16];
    if (n <= 4) {
        const auto small = static_cast<uint32_t>(value);
        const uint32_t four = uint32_t{kPairs[small / 100]} << 16 | kPairs[small % 100];
        store(digits + 12, from_big_endian(four));
        store_last(to + 1, digits, n);
    } else if (n <= 8) {
        print_sixteen(digits, 0, static_cast<uint32_t>(value));
        store_last(to + 1, digits, n);
    } else {
        Word high = value / kEightDigits;
        const auto low = static_cast<uint32_t>(value - high * kEightDigits);
        if (n <= 16) {
            print_sixteen(digits, static_cast<uint32_t>(high), low);
            store_last(to + 1, digits, n);
        } else {
            // high has ten digits at most; without the factor 2^8 it fits 32 bits.
            const uint32_t front = static_cast<uint32_t>(high >> 8) / (kEightDigits >> 8);
            high -= Word{front} * kEightDigits;
            print_sixteen(digits, static_cast<uint32_t>(high), low);
            store_with_front(to + 1, kPairs[front], digits, n);
        }
    }
    to[0] = sign_of(negative, value == 0);
    return true;
}

// The magnitude of bits that are a number of their width.
template <bool kSigned, typename Word>
[[gnu::always_inline]] inline bool from_word(char *to, Word bits, uint32_t n) {
    Word fill = 0;
    if constexpr (kSigned) {
        using Signed = std::make_signed_t<Word>;
        fill = static_cast<Word>(static_cast<Signed>(bits) >> (8 * sizeof(Word) - 1));
    }
    return from_magnitude(to, static_cast<Word>((bits ^ fill) - fill), fill != 0, n);
}

template <bool kBigEndian, typename Word>
Word load_ordered(const uint8_t *bytes) {
    const auto word = load<Word>(bytes);
    return kBigEndian ? from_big_endian(word) : from_little_endian(word);
}

template <bool kBigEndian, bool kSigned>
[[gnu::always_inline]] inline bool from_binary(char *to, const uint8_t *bytes, uint32_t size,
                                               uint32_t n) {
    if (size == 8) {
        return from_word<kSigned>(to, load_ordered<kBigEndian, uint64_t>(bytes), n);
    }
    uint32_t word = 0;  // widened with its sign
    if (size == 4) {
        word = load_ordered<kBigEndian, uint32_t>(bytes);
    } else if (size == 2) {
        const auto half = load_ordered<kBigEndian, uint16_t>(bytes);
        word = static_cast<uint32_t>(kSigned ? static_cast<int16_t>(half) : int32_t{half});
    } else if (size == 1) {
        word = static_cast<uint32_t>(kSigned ? static_cast<int8_t>(bytes[0]) : int32_t{bytes[0]});
    } else {
        return false;
    }
    return from_word<kSigned>(to, word, n);
}

// One storage to sign and digits; what is not simple goes on to the general way.
template <uint16_t kType>
int convert_short(const ZArgument *to, const ZArgument *from, int flags, const XfdCvtInfo *cvt) {
    const uint32_t n = to->a_digits;
    if (n - 1 >= kMaxFastDigits || to->a_size != n + 1 || to->a_scale != from->a_scale ||
        to->a_address == 0 || from->a_address == 0) {
        return convert_any(to, from, flags, cvt);
    }
    char *target = reinterpret_cast<char *>(bytes_of(*to));
    const uint8_t *bytes = bytes_of(*from);
    const uint32_t size = from->a_size;
    bool done = false;
    if constexpr (kType == 1) {
        done = size == n && from_display(target, {bytes, n, false, 0, 0});
    } else if constexpr (kType == 2 || kType == 4) {
        done = size == n + 1 && from_separate_display(target, bytes + (kType == 4 ? 1 : 0), n,
                                                      bytes[kType == 4 ? 0 : n]);
    } else if constexpr (kType == 3 || kType == 5) {
        done = size == n && from_signed_display(target, bytes, n, kType == 5, cvt);
    } else if constexpr (kType >= 8 && kType <= 10) {
        done = from_packed(target, bytes, size, kType != 10, kType == 9, n);
    } else {
        constexpr bool kBigEndian = kType <= 12 || (!kLittle && kType != 32 && kType != 33);
        constexpr bool kSigned = kType == 11 || kType == 13 || kType == 30 || kType == 32;
        done = from_binary<kBigEndian, kSigned>(target, bytes, size, n);
    }
    return done ? 1 : convert_any(to, from, flags, cvt);
}

}  // namespace

const Conversion kToSignAndDigits[kTypes] = {
    convert_any,       convert_short<1>,  convert_short<2>,  convert_short<3>,   // 0 to 3
    convert_short<4>,  convert_short<5>,  convert_any,       convert_any,        // 4 to 7
    convert_short<8>,  convert_short<9>,  convert_short<10>, convert_short<11>,  // 8 to 11
    convert_short<12>, convert_short<13>, convert_short<14>, convert_any,        // 12 to 15
    convert_any,       convert_any,       convert_any,       convert_any,        // 16 to 19
    convert_any,       convert_any,       convert_any,       convert_any,        // 20 to 23
    convert_any,       convert_any,       convert_any,       convert_any,        // 24 to 27
    convert_any,       convert_any,       convert_short<13>, convert_short<14>,  // 28 to 31
    convert_short<32>, convert_short<33>, convert_any,       convert_any,        // 32 to 35
    convert_any,       convert_any,       convert_any,       convert_any,        // 36 to 39
    convert_any,       convert_any,       convert_any,       convert_any,        // 40 to 43
    convert_any,       convert_any,       convert_any,       convert_any,        // 44 to 47
    convert_any,       convert_any,       convert_any,       convert_any,        // 48 to 51
    convert_any,       convert_any,       convert_any,       convert_any,        // 52 to 55
    convert_any,       convert_any,       convert_any,       convert_any,        // 56 to 59
    convert_any,       convert_any,       convert_any,       convert_any,        // 60 to 63
};

}  // namespace host
