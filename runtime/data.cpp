// SPDX-License-Identifier: MIT
//
// Data conversion: picks reader and writer by the two type codes.  What a
// storage looks like is in the sources of its family (runtime/storage.h).
#include "host/data.h"

#include <array>

#include "runtime/data_fast.h"
#include "runtime/sign_forms.h"
#include "runtime/storage.h"

namespace host {
namespace {

constexpr uint16_t kSignAndDigits = 4;
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

constexpr uint8_t kPackedPlus = 12;
constexpr uint8_t kPackedUnsigned = 15;

constexpr Settings kDefaultSettings{&kAsciiForm, kPackedPlus, '.', 0};

Settings settings_of(const XfdCvtInfo &info) {
    Settings settings = kDefaultSettings;
    settings.sign_form = &sign_form_of(info.cv_sign_code1);
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

int convert_any(const ZArgument *to_field, const ZArgument *from_field, int /*flags*/,
                const XfdCvtInfo *cvt) {
    const ZArgument &dest = *to_field;
    const ZArgument &src = *from_field;
    if (!has_bytes(dest) || !has_bytes(src)) {
        return 0;
    }
    const Layout &to = layout_of(dest);
    const Layout &from = layout_of(src);
    const Settings settings = cvt == nullptr ? kDefaultSettings : settings_of(*cvt);
    if (to.is_text && from.is_text) {
        return move_text(dest, to, src, from, settings) ? 1 : 0;
    }
    Decimal value;
    return from.read(src, from, settings, value) && to.write(dest, to, settings, value) ? 1 : 0;
}

}  // namespace host

int ZconvertData(const ZArgument *dest, const ZArgument *src, int flags, const XfdCvtInfo *cvt) {
    if (dest == nullptr || src == nullptr) {
        return 0;
    }
    if (dest->a_type == host::kSignAndDigits && src->a_type < host::kTypes) {
        return host::kToSignAndDigits[src->a_type](dest, src, flags, cvt);
    }
    if (src->a_type == host::kSignAndDigits && dest->a_type < host::kTypes) {
        return host::kFromSignAndDigits[dest->a_type](dest, src, flags, cvt);
    }
    return host::convert_any(dest, src, flags, cvt);
}

uint16_t Ztype_from_UD(uint8_t code) {
    return code < host::kTypes ? code : host::kAlphanumeric;
}
