// SPDX-License-Identifier: MIT
#include "sql/record_number.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <cmath>
#include <cstring>

#include "sql/decimal_digits.h"

namespace sql {
namespace {

// A storage wider than this is read as no number.
constexpr uint32_t kMaxNumberBytes = 256;
// The host's conversions take this many digits.
constexpr uint32_t kMaxHostDigits = 38;
// Digits of a value: those stored and the zeros that a scale adds.
constexpr size_t kMaxValueDigits = kMaxHostDigits + 128;

constexpr unsigned char kDigits[] = "0123456789";
constexpr unsigned char kNegativeAscii[] = "pqrstuvwxy";
constexpr unsigned char kPositiveEbcdic[] = "{ABCDEFGHI";
constexpr unsigned char kNegativeEbcdic[] = "}JKLMNOPQR";
constexpr unsigned char kPositiveZone[] = "@ABCDEFGHI";
constexpr unsigned char kNegativeZone[] = "PQRSTUVWXY";

// 0 to 99 of a byte with two packed digits, kNoPair for any other byte.
constexpr uint8_t kNoPair = 0xFF;
constexpr auto kPackedPairs = [] {
    std::array<uint8_t, 256> pairs{};
    for (size_t b = 0; b < pairs.size(); b++) {
        const size_t high = b >> 4;
        const size_t low = b & 15;
        pairs[b] = high < 10 && low < 10 ? static_cast<uint8_t>(10 * high + low) : kNoPair;
    }
    return pairs;
}();

struct Magnitude {
    uint64_t number = 0;
    bool is_negative = false;
};

bool read_sign(const NumberField &field, unsigned char sign, Magnitude *out) {
    out->is_negative = sign == field.minus;
    return sign == field.plus || out->is_negative;
}

bool read_sign_digit(const NumberField &field, unsigned char byte, unsigned *digit,
                     bool *is_negative) {
    for (unsigned d = 0; d < 10; d++) {
        if (byte == field.plus_digits[d] || byte == field.minus_digits[d]) {
            *digit = d;
            *is_negative = byte == field.minus_digits[d];
            return true;
        }
    }
    return false;
}

bool read_packed_pairs(const unsigned char *bytes, size_t n, uint64_t *out) {
    uint64_t number = 0;
    bool bad = false;
    for (size_t i = 0; i < n; i++) {
        const uint8_t pair = kPackedPairs[bytes[i]];
        bad |= pair == kNoPair;
        number = number * 100 + pair;
    }
    *out = number;
    return !bad;
}

bool read_packed(const NumberField &field, const unsigned char *bytes, Magnitude *out) {
    const size_t last = field.data.a_size - 1;
    if (!read_packed_pairs(bytes, last, &out->number)) {
        return false;
    }
    const unsigned digit = bytes[last] >> 4;
    out->number = out->number * 10 + digit;
    // An even number of digits leaves a half byte in front, which is zero.
    return digit < 10 && out->number <= field.limit && read_sign(field, bytes[last] & 15, out);
}

template <typename Word>
uint64_t load_word(const unsigned char *bytes, bool is_big) {
    Word word;
    std::memcpy(&word, bytes, sizeof word);
    if (is_big == (std::endian::native == std::endian::big)) {
        return word;
    }
    if constexpr (sizeof word == 8) {
        return __builtin_bswap64(word);
    } else if constexpr (sizeof word == 4) {
        return __builtin_bswap32(word);
    } else {
        return __builtin_bswap16(word);
    }
}

Magnitude read_binary(const NumberField &field, const unsigned char *bytes) {
    const size_t size = field.data.a_size;
    assert(size >= 1 && size <= 8);
    const bool is_big = field.shape.storage == Storage::kBinaryBig;
    uint64_t word = 0;
    switch (size) {
        case 2:
            word = load_word<uint16_t>(bytes, is_big);
            break;
        case 4:
            word = load_word<uint32_t>(bytes, is_big);
            break;
        case 8:
            word = load_word<uint64_t>(bytes, is_big);
            break;
        default:
            for (size_t i = 0; i < size; i++) {
                word = word << 8 | bytes[is_big ? i : size - 1 - i];
            }
    }
    if (!field.shape.is_signed || (word >> (8 * size - 1)) == 0) {
        return {word, false};
    }
    const uint64_t extended = size == 8 ? word : word | ~uint64_t{0} << (8 * size);
    return {0 - extended, true};
}

// Reads the canonical form of a value; false for anything else.
bool read_own(const NumberField &field, const unsigned char *bytes, Magnitude *out) {
    const size_t digits = field.shape.digits;
    unsigned digit = 0;
    switch (field.shape.storage) {
        case Storage::kDisplay:
            return parse_digits(bytes, digits, &out->number);
        case Storage::kDisplayTrailing:
            return parse_digits(bytes, digits, &out->number) &&
                   read_sign(field, bytes[digits], out);
        case Storage::kDisplayLeading:
            return parse_digits(bytes + 1, digits, &out->number) && read_sign(field, bytes[0], out);
        case Storage::kDisplayLastDigit:
            if (!parse_digits(bytes, digits - 1, &out->number) ||
                !read_sign_digit(field, bytes[digits - 1], &digit, &out->is_negative)) {
                return false;
            }
            out->number = out->number * 10 + digit;
            return true;
        case Storage::kDisplayFirstDigit:
            if (!parse_digits(bytes + 1, digits - 1, &out->number) ||
                !read_sign_digit(field, bytes[0], &digit, &out->is_negative)) {
                return false;
            }
            out->number += digit * kPowersOf10[digits - 1];
            return true;
        case Storage::kDigitBytes:
        case Storage::kDigitBytesSigned:
            for (size_t i = 0; i < digits; i++) {
                if (bytes[i] > 9) {
                    return false;
                }
                out->number = out->number * 10 + bytes[i];
            }
            return field.shape.storage == Storage::kDigitBytes ||
                   read_sign(field, bytes[digits], out);
        case Storage::kPackedUnsigned:
        case Storage::kPackedSigned:
            return read_packed(field, bytes, out);
        case Storage::kPackedBare:
            return read_packed_pairs(bytes, field.data.a_size, &out->number) &&
                   out->number <= field.limit;
        case Storage::kBinaryBig:
        case Storage::kBinaryLittle:
            *out = read_binary(field, bytes);
            return true;
        default:
            return false;
    }
}

void write_packed(const NumberField &field, const Magnitude &value, unsigned char *bytes) {
    uint64_t number = value.number;
    size_t i = field.data.a_size;
    if (field.shape.storage != Storage::kPackedBare) {
        i--;
        bytes[i] = static_cast<unsigned char>(number % 10 << 4 |
                                              (value.is_negative ? field.minus : field.plus));
        number /= 10;
    }
    while (i > 0) {
        i--;
        const uint64_t pair = number % 100;
        number /= 100;
        bytes[i] = static_cast<unsigned char>(pair / 10 << 4 | pair % 10);
    }
}

void write_binary(const NumberField &field, const Magnitude &value, unsigned char *bytes) {
    uint64_t word = value.is_negative ? 0 - value.number : value.number;
    const size_t size = field.data.a_size;
    const bool is_big = field.shape.storage == Storage::kBinaryBig;
    for (size_t i = 0; i < size; i++) {
        bytes[is_big ? size - 1 - i : i] = static_cast<unsigned char>(word);
        word >>= 8;
    }
}

// Writes a magnitude that the field can hold.
void write_own(const NumberField &field, const Magnitude &value, unsigned char *bytes) {
    const size_t digits = field.shape.digits;
    const unsigned char sign = value.is_negative ? field.minus : field.plus;
    const unsigned char *sign_digits = value.is_negative ? field.minus_digits : field.plus_digits;
    switch (field.shape.storage) {
        case Storage::kDisplay:
            put_digits(value.number, digits, bytes);
            break;
        case Storage::kDisplayTrailing:
            put_digits(value.number, digits, bytes);
            bytes[digits] = sign;
            break;
        case Storage::kDisplayLeading:
            put_digits(value.number, digits, bytes + 1);
            bytes[0] = sign;
            break;
        case Storage::kDisplayLastDigit:
            put_digits(value.number / 10, digits - 1, bytes);
            bytes[digits - 1] = sign_digits[value.number % 10];
            break;
        case Storage::kDisplayFirstDigit:
            put_digits(value.number, digits - 1, bytes + 1);
            bytes[0] = sign_digits[value.number / kPowersOf10[digits - 1]];
            break;
        case Storage::kDigitBytes:
        case Storage::kDigitBytesSigned:
            put_digits(value.number, digits, bytes);
            for (size_t i = 0; i < digits; i++) {
                bytes[i] = bytes[i] & 15;
            }
            if (field.shape.storage == Storage::kDigitBytesSigned) {
                bytes[digits] = sign;
            }
            break;
        case Storage::kBinaryBig:
        case Storage::kBinaryLittle:
            write_binary(field, value, bytes);
            break;
        default:
            write_packed(field, value, bytes);
    }
}

bool is_binary(const NumberField &field) {
    return field.shape.storage == Storage::kBinaryBig ||
           field.shape.storage == Storage::kBinaryLittle;
}

bool holds(const NumberField &field, const Magnitude &value) {
    if (value.is_negative && !field.shape.is_signed) {
        return false;
    }
    // A binary field holds one more below zero than above.
    return value.number <= field.limit + (value.is_negative && is_binary(field) ? 1U : 0U);
}

// Decimal text of stored digits: `digits` as characters, n of them.
size_t put_decimal(bool is_negative, const char *digits, size_t n, int32_t scale, char *out) {
    const char *const start = out;
    const size_t decimals = scale < 0 ? static_cast<size_t>(-scale) : 0;
    const size_t zeros = scale > 0 ? static_cast<size_t>(scale) : 0;
    while (n > 0 && n > decimals && *digits == '0') {
        digits++;
        n--;
    }
    if (is_negative) {
        *out++ = '-';
    }
    if (n <= decimals) {
        *out++ = '0';
    } else {
        out = std::copy_n(digits, n - decimals, out);
        out = std::fill_n(out, zeros, '0');
    }
    if (decimals > 0) {
        *out++ = '.';
        const size_t stored = std::min(n, decimals);
        out = std::fill_n(out, decimals - stored, '0');
        out = std::copy_n(digits + (n - stored), stored, out);
    }
    return static_cast<size_t>(out - start);
}

bool deliver(const NumberField &field, const Magnitude &value, char *room, Value *out) {
    const int32_t scale = field.shape.scale;
    if (!field.is_integer) {
        if (scale < 0 && scale >= -18) {
            // The usual amounts: both sides of the point at once.
            const auto decimals = static_cast<size_t>(-scale);
            const uint64_t whole = value.number / kPowersOf10[decimals];
            auto *at = reinterpret_cast<unsigned char *>(room);
            *at = '-';
            at += value.is_negative ? 1 : 0;
            const size_t whole_digits = count_digits(whole);
            put_digits(whole, whole_digits, at);
            at += whole_digits;
            *at++ = '.';
            put_digits(value.number - whole * kPowersOf10[decimals], decimals, at);
            at += decimals;
            *out = Value::text(room,
                               static_cast<uint32_t>(at - reinterpret_cast<unsigned char *>(room)));
            return true;
        }
        unsigned char digits[20];
        const size_t n = count_digits(value.number);
        put_digits(value.number, n, digits);
        const size_t size =
            put_decimal(value.is_negative, reinterpret_cast<char *>(digits), n, scale, room);
        *out = Value::text(room, static_cast<uint32_t>(size));
        return true;
    }
    uint64_t number = value.number;
    if (scale > 0) {
        const uint64_t power = kPowersOf10[static_cast<size_t>(scale)];
        if (number > static_cast<uint64_t>(INT64_MAX) / power) {
            return false;
        }
        number *= power;
    }
    if (number > static_cast<uint64_t>(INT64_MAX) + (value.is_negative ? 1 : 0)) {
        return false;
    }
    *out = Value::integer(static_cast<int64_t>(value.is_negative ? 0 - number : number));
    return true;
}

ZArgument at_address(ZArgument data, const unsigned char *bytes) {
    data.a_address = reinterpret_cast<uintptr_t>(bytes);
    return data;
}

// Sign and digits, as the host's type 4 holds them.
struct HostDigits {
    unsigned char bytes[1 + kMaxHostDigits];
    size_t digits = 0;

    [[nodiscard]] ZArgument argument(int32_t scale) const {
        return {reinterpret_cast<uintptr_t>(bytes), static_cast<uint32_t>(digits + 1), 4,
                static_cast<uint8_t>(digits),       static_cast<int8_t>(scale),        0};
    }
};

size_t host_digits(const NumberField &field) {
    const uint32_t digits = field.shape.digits;
    return digits == 0 || digits > kMaxHostDigits ? kMaxHostDigits : digits;
}

// What this layer does not read itself: long numbers, and odd contents that the
// host still takes for a number.
DecodedNumber decode_by_host(const NumberField &field, const XfdCvtInfo &settings,
                             const unsigned char *bytes, char *room, Value *out) {
    DecodedNumber result;
    if (field.data.a_size > kMaxNumberBytes) {
        return result;
    }
    HostDigits text;
    text.digits = host_digits(field);
    std::memset(text.bytes, '0', sizeof text.bytes);
    const ZArgument source = at_address(field.data, bytes);
    const ZArgument dest = text.argument(field.shape.scale);
    if (ZconvertData(&dest, &source, 1, &settings) != 1) {
        return result;
    }
    const auto *digits = reinterpret_cast<const char *>(text.bytes) + 1;
    const bool is_zero = std::all_of(digits, digits + text.digits, [](char c) { return c == '0'; });
    result.is_negative = text.bytes[0] == '-' && !is_zero;
    if (field.is_integer) {
        uint64_t number = 0;
        if (text.digits > 18 &&
            std::any_of(digits, digits + text.digits - 18, [](char c) { return c != '0'; })) {
            return result;
        }
        const size_t n = std::min<size_t>(text.digits, 18);
        if (!parse_digits(text.bytes + 1 + text.digits - n, n, &number) ||
            !deliver(field, {number, result.is_negative}, room, out)) {
            return result;
        }
    } else {
        const size_t size =
            put_decimal(result.is_negative, digits, text.digits, field.shape.scale, room);
        *out = Value::text(room, static_cast<uint32_t>(size));
    }
    result.is_valid = true;
    unsigned char again[kMaxNumberBytes];
    result.is_canonical = encode_number(field, settings, *out, again) &&
                          std::memcmp(again, bytes, field.data.a_size) == 0;
    return result;
}

// The digits of a value as stored in a field: shifted by its scale, leading
// zeros dropped.
struct StoredDigits {
    bool is_negative = false;
    size_t n = 0;
    char digits[kMaxValueDigits];
};

// Optional sign, digits, optional point and digits; nothing else.
bool parse_decimal(std::string_view text, int32_t scale, StoredDigits *out) {
    size_t at = 0;
    if (!text.empty() && (text[0] == '-' || text[0] == '+')) {
        out->is_negative = text[0] == '-';
        at++;
    }
    const size_t decimals = scale < 0 ? static_cast<size_t>(-scale) : 0;
    const size_t zeros = scale > 0 ? static_cast<size_t>(scale) : 0;
    size_t seen = 0;
    size_t behind = 0;
    bool has_point = false;
    for (; at < text.size(); at++) {
        const char c = text[at];
        if (c == '.' && !has_point) {
            has_point = true;
            continue;
        }
        if (c < '0' || c > '9') {
            return false;
        }
        seen++;
        if (has_point && ++behind > decimals) {
            if (c != '0') {
                return false;
            }
            continue;
        }
        if (c == '0' && out->n == 0) {
            continue;
        }
        if (out->n == kMaxValueDigits) {
            return false;
        }
        out->digits[out->n++] = c;
    }
    for (; behind < decimals && out->n > 0; behind++) {
        if (out->n == kMaxValueDigits) {
            return false;
        }
        out->digits[out->n++] = '0';
    }
    for (size_t i = 0; i < zeros && out->n > 0; i++) {
        if (out->digits[--out->n] != '0') {
            return false;
        }
    }
    out->is_negative = out->is_negative && out->n > 0;
    return seen > 0;
}

bool encode_by_host(const NumberField &field, const XfdCvtInfo &settings,
                    const StoredDigits &stored, unsigned char *bytes) {
    const size_t digits = host_digits(field);
    const uint32_t size = field.data.a_size;
    if (stored.n > digits || size > kMaxNumberBytes ||
        (stored.is_negative && !field.shape.is_signed)) {
        return false;
    }
    HostDigits text;
    text.digits = digits;
    text.bytes[0] = stored.is_negative ? '-' : '+';
    std::memset(text.bytes + 1, '0', digits);
    std::memcpy(text.bytes + 1 + digits - stored.n, stored.digits, stored.n);
    // What the conversion leaves as it is (half a character) is always the same.
    unsigned char written[kMaxNumberBytes];
    std::memset(written, ' ', size);
    const ZArgument source = text.argument(field.shape.scale);
    const ZArgument dest = at_address(field.data, written);
    if (ZconvertData(&dest, &source, 1, &settings) != 1) {
        return false;
    }
    std::memcpy(bytes, written, size);
    return true;
}

// The fixed form in which decode_number() writes decimals; false for any other
// text, which is then parsed at leisure.
bool parse_fixed(std::string_view text, int32_t scale, Magnitude *out) {
    const auto decimals = static_cast<size_t>(scale < 0 ? -scale : 0);
    const auto *bytes = reinterpret_cast<const unsigned char *>(text.data());
    size_t size = text.size();
    if (size > 0 && *bytes == '-') {
        out->is_negative = true;
        bytes++;
        size--;
    }
    if (decimals == 0 || size < decimals + 2 || size > 18 || bytes[size - decimals - 1] != '.') {
        return false;
    }
    uint64_t behind = 0;
    if (!parse_digits(bytes, size - decimals - 1, &out->number) ||
        !parse_digits(bytes + size - decimals, decimals, &behind)) {
        return false;
    }
    out->number = out->number * kPowersOf10[decimals] + behind;
    out->is_negative = out->is_negative && out->number != 0;
    return true;
}

bool encode_stored(const NumberField &field, const XfdCvtInfo &settings, const StoredDigits &stored,
                   unsigned char *bytes) {
    if (field.shape.storage == Storage::kHostNumber) {
        return encode_by_host(field, settings, stored, bytes);
    }
    if (stored.n > 20) {
        return false;
    }
    Magnitude value{0, stored.is_negative};
    for (size_t i = 0; i < stored.n; i++) {
        const auto digit = static_cast<unsigned>(stored.digits[i] - '0');
        if (value.number > (UINT64_MAX - digit) / 10) {
            return false;
        }
        value.number = value.number * 10 + digit;
    }
    if (!holds(field, value)) {
        return false;
    }
    write_own(field, value, bytes);
    return true;
}

}  // namespace

NumberField make_number_field(const ZArgument &data, const FieldShape &shape, bool is_integer,
                              const XfdCvtInfo &settings) {
    NumberField field{shape, data, is_integer};
    field.plus_digits = kDigits;
    field.minus_digits = kNegativeAscii;
    if (settings.cv_sign_code1 == 16) {
        field.plus_digits = kPositiveEbcdic;
        field.minus_digits = kNegativeEbcdic;
    } else if (settings.cv_sign_code1 == 64) {
        field.plus_digits = kPositiveZone;
        field.minus_digits = kNegativeZone;
    }
    const bool is_other_plus = settings.cv_sign_code2 == 13;
    switch (shape.storage) {
        case Storage::kDisplayTrailing:
        case Storage::kDisplayLeading:
            field.plus = '+';
            field.minus = '-';
            break;
        case Storage::kPackedUnsigned:
            // 15 is the one sign; there is no byte for minus.
            field.plus = 15;
            field.minus = 15;
            break;
        case Storage::kPackedSigned:
            field.plus = is_other_plus ? 15 : 12;
            field.minus = 13;
            break;
        case Storage::kDigitBytesSigned:
            field.plus = 11;
            field.minus = 13;
            break;
        default:
            break;
    }
    if (is_binary(field)) {
        const uint32_t bits = 8 * data.a_size - (shape.is_signed ? 1 : 0);
        field.limit = bits == 64 ? UINT64_MAX : (uint64_t{1} << bits) - 1;
    } else if (shape.storage != Storage::kHostNumber) {
        field.limit = kPowersOf10[shape.digits] - 1;
    }
    return field;
}

size_t decimal_text_size(const NumberField &field) {
    const auto scale = static_cast<size_t>(std::abs(field.shape.scale));
    return kMaxHostDigits + scale + 3;
}

DecodedNumber decode_number(const NumberField &field, const XfdCvtInfo &settings,
                            const unsigned char *bytes, char *room, Value *out) {
    Magnitude value;
    if (read_own(field, bytes, &value)) [[likely]] {
        if (field.shape.storage == Storage::kPackedUnsigned) {
            value.is_negative = false;
        }
        // Minus zero is not how zero is written.
        if ((!value.is_negative || value.number != 0) && deliver(field, value, room, out)) {
            return {true, true, value.is_negative};
        }
        if (is_binary(field)) {
            return {};
        }
    }
    return decode_by_host(field, settings, bytes, room, out);
}

bool encode_number(const NumberField &field, const XfdCvtInfo &settings, const Value &value,
                   unsigned char *bytes) {
    const int32_t scale = field.shape.scale;
    const bool is_own = field.shape.storage != Storage::kHostNumber;
    Magnitude magnitude;
    switch (value.kind()) {
        case Value::Kind::kInteger: {
            const int64_t number = value.as_integer();
            magnitude.is_negative = number < 0;
            magnitude.number =
                number < 0 ? 0 - static_cast<uint64_t>(number) : static_cast<uint64_t>(number);
            if (scale == 0 && is_own) {
                if (!holds(field, magnitude)) {
                    return false;
                }
                write_own(field, magnitude, bytes);
                return true;
            }
            char text[24];
            text[0] = '-';
            const size_t n = count_digits(magnitude.number);
            put_digits(magnitude.number, n, reinterpret_cast<unsigned char *>(text) + 1);
            const std::string_view all(text, n + 1);
            StoredDigits stored;
            return parse_decimal(all.substr(magnitude.is_negative ? 0 : 1), scale, &stored) &&
                   encode_stored(field, settings, stored, bytes);
        }
        case Value::Kind::kReal: {
            // A whole number that the database chose to give as a float.
            const double number = value.as_real();
            constexpr double kExact = 9007199254740992.0;
            if (!(number >= -kExact && number <= kExact) || number != std::trunc(number)) {
                return false;
            }
            return encode_number(field, settings, Value::integer(static_cast<int64_t>(number)),
                                 bytes);
        }
        case Value::Kind::kText: {
            if (is_own && parse_fixed(value.as_text(), scale, &magnitude)) [[likely]] {
                if (!holds(field, magnitude)) {
                    return false;
                }
                write_own(field, magnitude, bytes);
                return true;
            }
            StoredDigits stored;
            return parse_decimal(value.as_text(), scale, &stored) &&
                   encode_stored(field, settings, stored, bytes);
        }
        default:
            return false;
    }
}

}  // namespace sql
