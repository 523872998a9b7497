// SPDX-License-Identifier: MIT
//
// Data conversion: picks reader and writer by the two type codes.  What a
// storage looks like is in the sources of its family (runtime/storage.h).
#include "host/data.h"

#include <array>

#include "runtime/storage.h"

namespace host {
namespace {

constexpr uint32_t kTypes = 64;
constexpr uint16_t kAlphanumeric = 16;

constexpr Layout text(bool right_justified = false, bool is_national = false) {
    Layout layout{read_text, write_text, SignPlace::kNone, true, false, false, false, false, false};
    layout.right_justified = right_justified;
    layout.is_national = is_national;
    return layout;
}

constexpr Layout display(SignPlace sign_place, bool is_national = false) {
    Layout layout{read_display, write_display, sign_place, false, false,
                  is_national,  false,         false,      false};
    layout.is_signed = sign_place != SignPlace::kNone;
    return layout;
}

constexpr Layout digit_bytes(bool is_signed) {
    return {read_digit_bytes,
            write_digit_bytes,
            SignPlace::kNone,
            false,
            is_signed,
            false,
            false,
            false,
            false};
}

constexpr Layout packed(bool is_signed, bool has_sign_nibble) {
    return {read_packed, write_packed, SignPlace::kNone, false, is_signed, false,
            false,       false,        has_sign_nibble};
}

constexpr Layout binary(bool is_signed, bool big_endian) {
    return {read_binary, write_binary, SignPlace::kNone, false, is_signed,
            false,       false,        big_endian,       false};
}

constexpr Layout floating() {
    return {read_float, write_float, SignPlace::kNone, false, true, false, false, false, false};
}

constexpr bool kMachineIsBigEndian = std::endian::native == std::endian::big;

constexpr auto kLayouts = [] {
    std::array<Layout, kTypes> table{};
    for (Layout &entry : table) {
        entry = text();
    }
    constexpr SignPlace kPlaces[] = {SignPlace::kNone, SignPlace::kTrailing, SignPlace::kLastDigit,
                                     SignPlace::kLeading, SignPlace::kFirstDigit};
    for (size_t i = 0; i < 5; ++i) {
        table[1 + i] = display(kPlaces[i]);
        table[35 + i] = display(kPlaces[i], true);
    }
    table[6] = digit_bytes(true);
    table[7] = digit_bytes(false);
    table[8] = packed(false, true);
    table[9] = packed(true, true);
    table[10] = packed(false, false);
    table[11] = binary(true, true);
    table[12] = binary(false, true);
    table[13] = table[30] = binary(true, kMachineIsBigEndian);
    table[14] = table[31] = binary(false, kMachineIsBigEndian);
    table[32] = binary(true, false);
    table[33] = binary(false, false);
    table[17] = table[19] = text(true);
    table[23] = floating();
    table[24] = table[26] = text(false, true);
    table[25] = text(true, true);
    return table;
}();

const Layout &layout_of(const ZArgument &argument) {
    return kLayouts[argument.a_type < kTypes ? argument.a_type : kAlphanumeric];
}

struct SignLetters {
    const char *positive;
    const char *negative;
};
constexpr SignLetters kAsciiLetters{"0123456789", "pqrstuvwxy"};
constexpr SignLetters kEbcdicLetters{"{ABCDEFGHI", "}JKLMNOPQR"};
constexpr SignLetters kZoneLetters{"@ABCDEFGHI", "PQRSTUVWXY"};

// A form reads its own characters; those of the other forms as well, as long as
// all of them mean the same by one character.
constexpr SignForm sign_form(const SignLetters &own) {
    constexpr const SignLetters *kForms[] = {&kAsciiLetters, &kEbcdicLetters, &kZoneLetters};
    constexpr uint8_t kAmbiguous = 0xFE;
    SignForm form{};
    for (uint8_t &meaning : form.meaning) {
        meaning = kNoSignDigit;
    }
    const auto note = [&form](char letter, uint8_t meaning) {
        uint8_t &entry = form.meaning[static_cast<uint8_t>(letter)];
        entry = entry == kNoSignDigit || entry == meaning ? meaning : kAmbiguous;
    };
    for (const SignLetters *letters : kForms) {
        for (uint8_t digit = 0; digit < 10; ++digit) {
            note(letters->positive[digit], digit);
            note(letters->negative[digit], digit | kMinus);
        }
    }
    for (uint8_t digit = 0; digit < 10; ++digit) {
        form.positive[digit] = own.positive[digit];
        form.negative[digit] = own.negative[digit];
        form.meaning[static_cast<uint8_t>(own.positive[digit])] = digit;
        form.meaning[static_cast<uint8_t>(own.negative[digit])] = digit | kMinus;
    }
    for (uint8_t &meaning : form.meaning) {
        meaning = meaning == kAmbiguous ? kNoSignDigit : meaning;
    }
    return form;
}

constexpr SignForm kAsciiForm = sign_form(kAsciiLetters);
constexpr SignForm kEbcdicForm = sign_form(kEbcdicLetters);
constexpr SignForm kZoneForm = sign_form(kZoneLetters);
constexpr uint8_t kPackedPlus = 12;
constexpr uint8_t kPackedUnsigned = 15;

constexpr Settings kDefaultSettings{&kAsciiForm, kPackedPlus, '.', 0};

Settings settings_of(const XfdCvtInfo &info) {
    Settings settings = kDefaultSettings;
    if (info.cv_sign_code1 == 16) {
        settings.sign_form = &kEbcdicForm;
    } else if (info.cv_sign_code1 == 64) {
        settings.sign_form = &kZoneForm;
    }
    if (info.cv_sign_code2 == 13) {
        settings.packed_plus = kPackedUnsigned;
    }
    if (info.cv_period != '\0') {
        settings.point = info.cv_period;
    }
    settings.encoding = info.cv_encoding;
    return settings;
}

bool has_bytes(const ZArgument &argument) {
    return argument.a_address != 0 || argument.a_size == 0;
}

}  // namespace
}  // namespace host

int ZconvertData(const ZArgument *dest, const ZArgument *src, int /*flags*/,
                 const XfdCvtInfo *cvt) {
    using namespace host;
    if (dest == nullptr || src == nullptr || !has_bytes(*dest) || !has_bytes(*src)) {
        return 0;
    }
    const Layout &to = layout_of(*dest);
    const Layout &from = layout_of(*src);
    const Settings settings = cvt == nullptr ? kDefaultSettings : settings_of(*cvt);
    if (to.is_text && from.is_text) {
        return move_text(*dest, to, *src, from, settings);
    }
    Decimal value;
    return from.read(*src, from, settings, value) && to.write(*dest, to, settings, value);
}

uint16_t Ztype_from_UD(uint8_t code) {
    return code < host::kTypes ? code : host::kAlphanumeric;
}
