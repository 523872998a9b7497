// SPDX-License-Identifier: MIT
//
// One digit a character (types 1 to 5, national 35 to 39) and one digit a byte
// (types 6 and 7).
#include "runtime/storage.h"

namespace host {
namespace {

constexpr uint8_t kDigitBytePlus = 11;
constexpr uint8_t kDigitByteMinus = 13;
constexpr uint64_t kDigitZones = kZeros8;

bool is_separate(SignPlace place) {
    return place == SignPlace::kLeading || place == SignPlace::kTrailing;
}

// Digit positions of a storage with this many characters, 0 when it is too
// short or too long for a number.
uint32_t positions_of(uint32_t characters, bool has_sign_character) {
    const uint32_t sign = has_sign_character ? 1 : 0;
    return characters <= sign || characters - sign > kMaxPositions ? 0 : characters - sign;
}

bool read_characters(const uint8_t *bytes, uint32_t positions, SignPlace place,
                     const SignForm &form, Decimal &value, char *digits) {
    const uint8_t *first = bytes + (place == SignPlace::kLeading ? 1 : 0);
    copy_short(digits, first, positions);
    if (is_separate(place)) {
        const uint8_t sign = place == SignPlace::kLeading ? bytes[0] : bytes[positions];
        value.negative = sign == '-';
        return (sign == '-' || sign == '+') && all_digits(digits, positions);
    }
    if (place != SignPlace::kNone) {
        char &carrier = digits[place == SignPlace::kFirstDigit ? 0 : positions - 1];
        const uint8_t meaning = form.meaning[static_cast<uint8_t>(carrier)];
        if (meaning == kNoSignDigit) {
            return false;
        }
        value.negative = (meaning & kMinus) != 0;
        carrier = static_cast<char>('0' + (meaning & 0x0F));
    }
    return all_digits(digits, positions);
}

// Puts the sign around or into digits that are already in place at digits.
void write_sign(char *digits, uint32_t positions, bool negative, SignPlace place,
                const SignForm &form) {
    switch (place) {
        case SignPlace::kNone:
            break;
        case SignPlace::kLeading:
            digits[-1] = negative ? '-' : '+';
            break;
        case SignPlace::kTrailing:
            digits[positions] = negative ? '-' : '+';
            break;
        case SignPlace::kFirstDigit:
        case SignPlace::kLastDigit: {
            char &carrier = digits[place == SignPlace::kFirstDigit ? 0 : positions - 1];
            carrier = (negative ? form.negative : form.positive)[carrier - '0'];
        }
    }
}

bool write_characters(char *bytes, const ZArgument &to, uint32_t positions, SignPlace place,
                      const SignForm &form, const Decimal &value) {
    char *digits = bytes + (place == SignPlace::kLeading ? 1 : 0);
    const Window window{positions, usable_digits(to, positions), to.a_scale};
    const bool fits = align_digits(value, window, digits);
    const bool negative =
        place != SignPlace::kNone && value.negative && !all_zeros(digits, positions);
    write_sign(digits, positions, negative, place, form);
    return fits;
}

}  // namespace

bool read_display(const ZArgument &from, const Layout &layout, const Settings &settings,
                  Decimal &value) {
    const uint32_t characters = layout.is_national ? from.a_size / 2 : from.a_size;
    const uint32_t positions = positions_of(characters, is_separate(layout.sign_place));
    if (positions == 0) {
        return false;
    }
    char *digits = value.start(positions, from.a_scale);
    if (!layout.is_national) {
        return read_characters(bytes_of(from), positions, layout.sign_place, *settings.sign_form,
                               value, digits);
    }
    uint8_t narrow[kMaxPositions + 1];
    for (uint32_t i = 0; i < characters; ++i) {
        const auto unit = load<uint16_t>(bytes_of(from) + 2 * i);
        if (unit > 0x7F) {
            return false;
        }
        narrow[i] = static_cast<uint8_t>(unit);
    }
    return read_characters(narrow, positions, layout.sign_place, *settings.sign_form, value,
                           digits);
}

bool write_display(const ZArgument &to, const Layout &layout, const Settings &settings,
                   const Decimal &value) {
    const uint32_t characters = layout.is_national ? to.a_size / 2 : to.a_size;
    const uint32_t positions = positions_of(characters, is_separate(layout.sign_place));
    if (positions == 0) {
        return false;
    }
    if (!layout.is_national) {
        return write_characters(reinterpret_cast<char *>(bytes_of(to)), to, positions,
                                layout.sign_place, *settings.sign_form, value);
    }
    char narrow[kMaxPositions + 1];
    const bool fits =
        write_characters(narrow, to, positions, layout.sign_place, *settings.sign_form, value);
    for (uint32_t i = 0; i < characters; ++i) {
        store(bytes_of(to) + 2 * i, static_cast<uint16_t>(narrow[i]));
    }
    return fits;
}

bool read_digit_bytes(const ZArgument &from, const Layout &layout, const Settings & /*settings*/,
                      Decimal &value) {
    const uint32_t positions = positions_of(from.a_size, layout.is_signed);
    if (positions == 0) {
        return false;
    }
    const uint8_t *bytes = bytes_of(from);
    char *digits = value.start(positions, from.a_scale);
    copy_short(digits, bytes, positions);
    // The exclusive or turns 0 to 9 into digits and nothing else into one.
    uint32_t i = 0;
    for (; i + 8 <= positions; i += 8) {
        store(digits + i, load<uint64_t>(digits + i) ^ kDigitZones);
    }
    for (; i < positions; ++i) {
        digits[i] = static_cast<char>(digits[i] ^ '0');
    }
    if (layout.is_signed) {
        const uint8_t sign = bytes[positions];
        value.negative = sign == kDigitByteMinus;
        if (sign != kDigitBytePlus && sign != kDigitByteMinus) {
            return false;
        }
    }
    return all_digits(digits, positions);
}

bool write_digit_bytes(const ZArgument &to, const Layout &layout, const Settings & /*settings*/,
                       const Decimal &value) {
    const uint32_t positions = positions_of(to.a_size, layout.is_signed);
    if (positions == 0) {
        return false;
    }
    char *digits = reinterpret_cast<char *>(bytes_of(to));
    const Window window{positions, usable_digits(to, positions), to.a_scale};
    const bool fits = align_digits(value, window, digits);
    if (layout.is_signed) {
        const bool negative = value.negative && !all_zeros(digits, positions);
        digits[positions] = static_cast<char>(negative ? kDigitByteMinus : kDigitBytePlus);
    }
    uint32_t i = 0;
    for (; i + 8 <= positions; i += 8) {
        store(digits + i, load<uint64_t>(digits + i) ^ kDigitZones);
    }
    for (; i < positions; ++i) {
        digits[i] = static_cast<char>(digits[i] ^ '0');
    }
    return fits;
}

}  // namespace host
