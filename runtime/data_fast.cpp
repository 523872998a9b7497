// SPDX-License-Identifier: MIT
//
// DISPLAY, packed and binary fields of up to 18 digits to sign and digits.  The
// digits stay in registers between load and store and nothing is written before
// all of them are known to be good.  Words of characters overlap in memory
// instead of being cut to length.
//
// Measured with bench_data: this way costs a third of the general one, which has
// to keep the digits in memory between a reader and a writer.
#include "runtime/data_fast.h"

#include <array>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

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

// Up to 18 digits as characters, the last of all lowest in low; two of the
// characters of front count.
struct Words {
    uint64_t front;
    uint64_t high;
    uint64_t low;
};

// Stores the last n characters.  Where a word begins in front of the target's
// first digit it is shifted there, and what this leaves behind it is overwritten
// by the next word; of 17 digits the one in front of the first falls on the sign's
// place, which is written last.
[[gnu::always_inline]] inline void store_words(char *to, const Words &words, uint32_t n) {
    if (n > 8) {
        if (n > 16) {
            store(to + n - 18, from_big_endian(static_cast<uint16_t>(words.front)));
            store(to + n - 16, from_big_endian(words.high));
        } else {
            store(to, from_big_endian(words.high << (8 * (16 - n))));
        }
        store(to + n - 8, from_big_endian(words.low));
        return;
    }
    if (n >= 4) {
        store(to, from_big_endian(static_cast<uint32_t>(words.low >> (8 * (n - 4)))));
        store(to + n - 4, from_big_endian(static_cast<uint32_t>(words.low)));
        return;
    }
    for (uint32_t i = n; i > 0; --i) {
        to[i - 1] = static_cast<char>(words.low >> (8 * (n - i)));
    }
}

[[gnu::always_inline]] inline bool from_packed(char *to, const uint8_t *bytes, uint32_t size,
                                               bool has_sign_nibble, bool is_signed, uint32_t n) {
    if (size - 1 >= 10) {
        return false;
    }
    // low: the last sixteen half bytes, the sign not counted; front: those before.
    uint64_t low = 0;
    uint32_t front = 0;
    if (size < 8) {
        low = load_partial(bytes, size);
    } else {
        low = load_big_endian<uint64_t>(bytes + size - 8);
        for (uint32_t i = 0; i + 8 < size; ++i) {
            front = front << 8 | bytes[i];
        }
    }
    bool negative = false;
    if (has_sign_nibble) {
        constexpr uint32_t kMinusSigns = 1U << 11 | 1U << 13;
        const uint32_t sign = low & 0x0F;
        if (sign < 10) {
            return false;
        }
        negative = ((is_signed ? kMinusSigns : 0) >> sign & 1) != 0;
        low = low >> 4 | uint64_t{front} << 60;
        front >>= 4;
    }
    if (n < 16 ? front != 0 || low >> (4 * n) != 0 : front >> (4 * (n - 16)) != 0) {
        return false;
    }
    if (has_bad_nibble(low) || has_bad_nibble(front)) {
        return false;
    }
    Words words{0, 0, spread(static_cast<uint32_t>(low))};
    if (n > 8) {
        words.high = spread(static_cast<uint32_t>(low >> 32));
        words.front = n > 16 ? spread(front) : 0;
    }
    store_words(to + 1, words, n);
    to[0] = sign_of(negative, (front | low) == 0);
    return true;
}

constexpr auto kTens = [] {
    std::array<uint64_t, kMaxFastDigits + 1> tens{1};
    for (size_t i = 1; i < tens.size(); ++i) {
        tens[i] = 10 * tens[i - 1];
    }
    return tens;
}();

constexpr auto kPairWords = [] {
    std::array<uint16_t, 100> pairs{};
    for (uint32_t i = 0; i < 100; ++i) {
        pairs[i] = static_cast<uint16_t>(('0' + i / 10) << 8 | ('0' + i % 10));
    }
    return pairs;
}();

uint32_t print_four(uint32_t value) {
    return uint32_t{kPairWords[value / 100]} << 16 | kPairWords[value % 100];
}

// Two numbers below ten to the eighth as eight characters each, the first most
// significant.
struct Eights {
    uint64_t high;
    uint64_t low;
};

#ifdef __SSE2__

uint64_t low_half(__m128i both) {
    uint64_t half = 0;
    _mm_storel_epi64(reinterpret_cast<__m128i *>(&half), both);
    return half;
}

// Halves, quarters and digits of both numbers at once: each step divides every
// lane by multiplying, and puts the remainder below the quotient.
[[gnu::always_inline]] inline Eights print_eights(uint32_t high, uint32_t low) {
    const __m128i numbers = _mm_set_epi32(0, static_cast<int>(low), 0, static_cast<int>(high));
    const __m128i halves =
        _mm_srli_epi64(_mm_mul_epu32(numbers, _mm_set1_epi32(static_cast<int>(0xD1B71759))), 45);
    // numbers - 10000 * halves, plus halves one lane up.
    const __m128i fours =
        _mm_add_epi64(_mm_sub_epi64(numbers, _mm_mul_epu32(halves, _mm_set1_epi32(10000))),
                      _mm_slli_epi64(halves, 32));
    const __m128i hundreds = _mm_srli_epi16(_mm_mulhi_epu16(fours, _mm_set1_epi32(5243)), 3);
    const __m128i pairs =
        _mm_add_epi16(_mm_sub_epi16(fours, _mm_mullo_epi16(hundreds, _mm_set1_epi32(100))),
                      _mm_slli_epi32(hundreds, 16));
    const __m128i tens = _mm_mulhi_epu16(pairs, _mm_set1_epi16(6554));
    const __m128i digits = _mm_add_epi8(
        _mm_sub_epi16(pairs, _mm_mullo_epi16(tens, _mm_set1_epi16(10))), _mm_slli_epi16(tens, 8));
    const __m128i characters = _mm_or_si128(digits, _mm_set1_epi8('0'));
    return {low_half(characters), low_half(_mm_unpackhi_epi64(characters, characters))};
}

#else

Eights print_eights(uint32_t high, uint32_t low) {
    const auto print_eight = [](uint32_t value) {
        return uint64_t{print_four(value / 10000)} << 32 | print_four(value % 10000);
    };
    return {print_eight(high), print_eight(low)};
}

#endif

[[gnu::always_inline]] inline bool from_magnitude(char *to, uint64_t value, bool negative,
                                                  uint32_t n) {
    if (value >= kTens[n]) {
        return false;
    }
    Words words{0, 0, 0};
    if (n <= 4) {
        words.low = print_four(static_cast<uint32_t>(value));
    } else if (n <= 8) {
        words.low = print_eights(static_cast<uint32_t>(value), 0).high;
    } else {
        uint64_t high = value / kEightDigits;
        const auto low = static_cast<uint32_t>(value - high * kEightDigits);
        if (n > 16) {
            // high has ten digits at most; without the factor 2^8 it fits 32 bits.
            const uint32_t front = static_cast<uint32_t>(high >> 8) / (kEightDigits >> 8);
            words.front = kPairWords[front];
            high -= uint64_t{front} * kEightDigits;
        }
        const Eights eights = print_eights(static_cast<uint32_t>(high), low);
        words.high = eights.high;
        words.low = eights.low;
    }
    store_words(to + 1, words, n);
    to[0] = sign_of(negative, value == 0);
    return true;
}

template <bool kBigEndian, bool kSigned>
[[gnu::always_inline]] inline bool from_binary(char *to, const uint8_t *bytes, uint32_t size,
                                               uint32_t n) {
    int64_t value = 0;
    if (size == 4) {
        const auto word = load<uint32_t>(bytes);
        const uint32_t ordered = kBigEndian ? from_big_endian(word) : from_little_endian(word);
        value = kSigned ? static_cast<int32_t>(ordered) : static_cast<int64_t>(ordered);
    } else if (size == 8) {
        const auto word = load<uint64_t>(bytes);
        value = static_cast<int64_t>(kBigEndian ? from_big_endian(word) : from_little_endian(word));
    } else if (size == 2) {
        const auto word = load<uint16_t>(bytes);
        const uint16_t ordered = kBigEndian ? from_big_endian(word) : from_little_endian(word);
        value = kSigned ? static_cast<int16_t>(ordered) : static_cast<int64_t>(ordered);
    } else if (size == 1) {
        value = kSigned ? static_cast<int8_t>(bytes[0]) : bytes[0];
    } else {
        return false;
    }
    const auto fill = static_cast<uint64_t>(kSigned ? value >> 63 : 0);
    return from_magnitude(to, (static_cast<uint64_t>(value) ^ fill) - fill, fill != 0, n);
}

// One storage to sign and digits; what is not simple goes on to the general way.
template <uint16_t kType>
int convert_short(const ZArgument &to, const ZArgument &from, const XfdCvtInfo *cvt) {
    const uint32_t n = to.a_digits;
    if (n - 1 >= kMaxFastDigits || to.a_size != n + 1 || to.a_scale != from.a_scale ||
        to.a_address == 0 || from.a_address == 0) {
        return convert_any(to, from, cvt);
    }
    char *target = reinterpret_cast<char *>(bytes_of(to));
    const uint8_t *bytes = bytes_of(from);
    const uint32_t size = from.a_size;
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
    return done ? 1 : convert_any(to, from, cvt);
}

constexpr auto kShortWays = [] {
    std::array<Conversion, 64> ways{};
    for (Conversion &way : ways) {
        way = convert_any;
    }
    ways[1] = convert_short<1>;
    ways[2] = convert_short<2>;
    ways[3] = convert_short<3>;
    ways[4] = convert_short<4>;
    ways[5] = convert_short<5>;
    ways[8] = convert_short<8>;
    ways[9] = convert_short<9>;
    ways[10] = convert_short<10>;
    ways[11] = convert_short<11>;
    ways[12] = convert_short<12>;
    ways[13] = ways[30] = convert_short<13>;
    ways[14] = ways[31] = convert_short<14>;
    ways[32] = convert_short<32>;
    ways[33] = convert_short<33>;
    return ways;
}();

}  // namespace

int convert_to_sign_and_digits(const ZArgument &to, const ZArgument &from, const XfdCvtInfo *cvt) {
    return from.a_type < kShortWays.size() ? kShortWays[from.a_type](to, from, cvt)
                                           : convert_any(to, from, cvt);
}

}  // namespace host
