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

#include "runtime/nibbles.h"
#include "runtime/storage.h"

namespace host {
namespace {

constexpr uint32_t kMaxFastDigits = 18;
constexpr uint32_t kEightDigits = 100000000;
constexpr uint64_t kSixteenDigits = uint64_t{kEightDigits} * kEightDigits;

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

bool store_eight_and_more(char *to, const Display &from) {
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

bool store_four_to_seven(char *to, const Display &from) {
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

bool store_up_to_three(char *to, const Display &from) {
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

bool from_display(char *to, const Display &from) {
    return from.count >= 8   ? store_eight_and_more(to, from)
           : from.count >= 4 ? store_four_to_seven(to, from)
                             : store_up_to_three(to, from);
}

bool from_signed_display(char *to, const uint8_t *digits, uint32_t n, bool sign_is_first,
                         const XfdCvtInfo *cvt) {
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

bool from_separate_display(char *to, const uint8_t *digits, uint32_t n, uint8_t sign) {
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
// by the next word.
void store_words(char *to, const Words &words, uint32_t n) {
    if (n > 8) {
        if (n > 16) {
            to[0] = static_cast<char>(words.front >> (n == 18 ? 8 : 0));
            to[1] = static_cast<char>(words.front);
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

bool from_packed(char *to, const uint8_t *bytes, uint32_t size, bool has_sign_nibble,
                 bool is_signed, uint32_t n) {
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
    to[0] = sign_of(negative, (front | low) == 0);
    Words words{0, 0, spread(static_cast<uint32_t>(low))};
    if (n > 8) {
        words.high = spread(static_cast<uint32_t>(low >> 32));
        words.front = n > 16 ? spread(front) : 0;
    }
    store_words(to + 1, words, n);
    return true;
}

constexpr auto kPairWords = [] {
    std::array<uint16_t, 100> pairs{};
    for (uint32_t i = 0; i < 100; ++i) {
        pairs[i] = static_cast<uint16_t>(('0' + i / 10) << 8 | ('0' + i % 10));
    }
    return pairs;
}();

// Eight digits as characters, the first most significant.  In 64 bits both
// halves, then all quarters, then all digits are divided at once: the quotients
// by multiplication, the remainders in the lanes next to them.  In 32 bits, where
// such a multiplication takes three, by a table.
uint64_t print_eight(uint32_t value) {
    if constexpr (sizeof(void *) >= 8) {
        uint64_t word = uint64_t{value / 10000} << 32 | value % 10000;
        word += (word * 10486 >> 20 & 0x0000007F0000007F) * (0x10000 - 100);
        word += (word * 103 >> 10 & 0x000F000F000F000F) * (0x100 - 10);
        return word + kZeros8;
    } else {
        const auto print_four = [](uint32_t four) {
            return uint32_t{kPairWords[four / 100]} << 16 | kPairWords[four % 100];
        };
        return uint64_t{print_four(value / 10000)} << 32 | print_four(value % 10000);
    }
}

bool from_magnitude(char *to, uint64_t value, bool negative, uint32_t n) {
    constexpr uint64_t kTens[kMaxFastDigits + 1] = {1,
                                                    10,
                                                    100,
                                                    1000,
                                                    10000,
                                                    100000,
                                                    1000000,
                                                    10000000,
                                                    100000000,
                                                    1000000000,
                                                    10000000000,
                                                    100000000000,
                                                    1000000000000,
                                                    10000000000000,
                                                    100000000000000,
                                                    1000000000000000,
                                                    10000000000000000,
                                                    100000000000000000,
                                                    1000000000000000000};
    if (value >= kTens[n]) {
        return false;
    }
    to[0] = sign_of(negative, value == 0);
    if (n <= 8) {
        store_words(to + 1, {0, 0, print_eight(static_cast<uint32_t>(value))}, n);
        return true;
    }
    uint64_t front = 0;
    if (n > 16) {
        front = kPairWords[value / kSixteenDigits];
        value %= kSixteenDigits;
    }
    const auto high = static_cast<uint32_t>(value / kEightDigits);
    const auto low = static_cast<uint32_t>(value % kEightDigits);
    store_words(to + 1, {front, print_eight(high), print_eight(low)}, n);
    return true;
}

template <bool kBigEndian, bool kSigned>
bool from_binary(char *to, const uint8_t *bytes, uint32_t size, uint32_t n) {
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

}  // namespace

bool convert_to_sign_and_digits(const ZArgument &to, const ZArgument &from, const XfdCvtInfo *cvt) {
    const uint32_t n = to.a_digits;
    if (n - 1 >= kMaxFastDigits || to.a_size != n + 1 || to.a_scale != from.a_scale ||
        to.a_address == 0 || from.a_address == 0) {
        return false;
    }
    char *target = reinterpret_cast<char *>(bytes_of(to));
    const uint8_t *bytes = bytes_of(from);
    const uint32_t size = from.a_size;
    switch (from.a_type) {
        case 1:
            return size == n && from_display(target, {bytes, n, false, 0, 0});
        case 2:
            return size == n + 1 && from_separate_display(target, bytes, n, bytes[n]);
        case 3:
            return size == n && from_signed_display(target, bytes, n, false, cvt);
        case 4:
            return size == n + 1 && from_separate_display(target, bytes + 1, n, bytes[0]);
        case 5:
            return size == n && from_signed_display(target, bytes, n, true, cvt);
        case 8:
            return from_packed(target, bytes, size, true, false, n);
        case 9:
            return from_packed(target, bytes, size, true, true, n);
        case 10:
            return from_packed(target, bytes, size, false, false, n);
        case 11:
            return from_binary<true, true>(target, bytes, size, n);
        case 12:
            return from_binary<true, false>(target, bytes, size, n);
        case 13:
        case 30:
            return from_binary<!kLittle, true>(target, bytes, size, n);
        case 14:
        case 31:
            return from_binary<!kLittle, false>(target, bytes, size, n);
        case 32:
            return from_binary<false, true>(target, bytes, size, n);
        case 33:
            return from_binary<false, false>(target, bytes, size, n);
        default:
            return false;
    }
}

}  // namespace host
