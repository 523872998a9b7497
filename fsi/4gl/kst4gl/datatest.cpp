// SPDX-License-Identifier: MIT
//
// Tests of a field's bytes for fillers, bad digits and the declared null value.
#include "fsi/4gl/kst4gl/datatest.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "fsi/4gl/kst4gl/conditions.h"
#include "fsi/4gl/kst4gl/config.h"
#include "host/data.h"
#include "host/messages.h"
#include "wbfsi/datatest.h"

namespace {

using Bytes = std::span<const unsigned char>;

constexpr int kLow = XFD_DATA_LOW_VALUES;
constexpr int kSpaces = XFD_DATA_SPACES;
constexpr int kHigh = XFD_DATA_HIGH_VALUES;

// What counts in the default test, by data type.
constexpr std::array<uint8_t, 64> kSpecialValues = [] {
    std::array<uint8_t, 64> mask = {};
    const auto set = [&mask](size_t first, size_t last, int codes) {
        for (size_t type = first; type <= last; ++type)
            mask[type] = static_cast<uint8_t>(codes);
    };
    set(1, 5, kLow | kSpaces | kHigh);
    set(6, 7, kSpaces | kHigh);
    set(8, 10, kHigh);
    set(35, 39, kLow | kSpaces | kHigh);
    return mask;
}();

int test_first_byte(uint16_t type, unsigned char first) {
    if (type >= kSpecialValues.size())
        return XFD_DATA_ORDINARY;
    int code = XFD_DATA_ORDINARY;
    const char *word = "";
    switch (first) {
        case ' ':
            code = kSpaces;
            word = "Spaces";
            break;
        case 0xFF:
            code = kHigh;
            word = "High Values";
            break;
        case 0x00:
            code = kLow;
            word = "Low Values";
            break;
        default:
            break;
    }
    code &= kSpecialValues[type];
    if (code != XFD_DATA_ORDINARY && f_trace != 0)
        ZTrace(0, fsi::kDataTraceCategory, "%s, %s", "Z4TestDatap", word);
    return code;
}

int test_display(Bytes digits) {
    for (const unsigned char c : digits) {
        if (c >= '0' && c <= '9')
            continue;
        if (c == ' ')
            return kSpaces;
        return c < '0' ? kLow : kHigh;
    }
    return XFD_DATA_ORDINARY;
}

int test_digit_values(Bytes digits) {
    for (const unsigned char value : digits) {
        if (value > 9)
            return value > 32 ? kHigh : kSpaces;
    }
    return XFD_DATA_ORDINARY;
}

int test_packed(Bytes bytes) {
    for (size_t i = 0; i < bytes.size(); ++i) {
        const int high = bytes[i] >> 4;
        const int low = bytes[i] & 15;
        if (high > 9)
            return high == 15 ? kHigh : kSpaces;
        if (low > 9 && i + 1 < bytes.size())  // the last low half is the sign
            return kSpaces;
    }
    return XFD_DATA_ORDINARY;
}

int test_every_digit(uint16_t type, Bytes bytes) {
    switch (type) {
        case 1:
            return test_display(bytes);
        case 2:
        case 3:
            return test_display(bytes.first(bytes.size() - 1));
        case 4:
        case 5:
            return test_display(bytes.subspan(1));
        case 6:
        case 7:
            return test_digit_values(bytes.first(bytes.size() - 1));
        case 8:
        case 9:
        case 10:
            return test_packed(bytes);
        default:
            return XFD_DATA_ORDINARY;
    }
}

// The field's bytes; none for a size that is negative as a signed number.
Bytes field_bytes(const XfdField *field, const unsigned char *data) {
    const auto size = static_cast<int32_t>(field->fd_argument.a_size);
    return {data, size > 0 ? static_cast<size_t>(size) : 0};
}

// A word that stands for one byte throughout a field.
struct Figurative {
    std::string_view word;
    unsigned char byte;
    const char *found;
    const char *not_found;
};
constexpr Figurative kFiguratives[] = {
    {"HIGH-VALUE", 0xFF, "Leaving, HIGH-VALUES", "Leaving, not HIGH-VALUES"},
    {"HIGH-VALUES", 0xFF, "Leaving, HIGH-VALUES", "Leaving, not HIGH-VALUES"},
    {"LOW-VALUE", 0x00, "Leaving, LOW-VALUES", "Leaving, not LOW-VALUES"},
    {"LOW-VALUES", 0x00, "Leaving, LOW-VALUES", "Leaving, not LOW-VALUES"},
    {"SPACE", ' ', "Leaving, SPACES", "Leaving, not SPACES"},
    {"SPACES", ' ', "Leaving, SPACES", "Leaving, not SPACES"},
    {"ZERO", '0', "Leaving, ZERO", "Leaving, not ZERO"},
    {"ZEROS", '0', "Leaving, ZERO", "Leaving, not ZERO"},
    {"ZEROES", '0', "Leaving, ZERO", "Leaving, not ZERO"},
};

int leave(int result, const char *text) {
    if (f_trace != 0)
        ZTrace(-1, fsi::kDataTraceCategory, "%s", text);
    return result;
}

int sign_of_difference(signed char a, signed char b) {
    return a < b ? -1 : a > b;
}

}  // namespace

namespace fsi {

int compare_text(const char *data, size_t size, const char *text) {
    const size_t compared = std::min(size, kMaxComparedBytes);
    const size_t length = strnlen(text, compared);
    if (const int order = std::memcmp(data, text, length); order != 0)
        return order;

    // Behind the text a space at the very end decides, whatever lies before it.
    const std::string_view rest(data + length, compared - length);
    if (rest.empty() || rest.back() == ' ')
        return 0;
    return rest.find_first_not_of('\0') == std::string_view::npos ? 0 : 1;
}

int compare_number(const XfdArgument &source, const XfdCvtInfo *settings, const char *text,
                   size_t limit) {
    constexpr uint16_t kSignAndDigits = 4;
    constexpr size_t kMaxLength = UINT8_MAX + 1;  // of sign and digits
    const size_t length = source.a_digits + size_t{1};

    // Z4Compare looks at one byte more of its second text, traces at none behind
    // a zero byte.
    char number[kMaxLength + 1];
    std::memset(number, 0, length + 1);
    XfdArgument dest = {};
    dest.a_address = reinterpret_cast<uintptr_t>(number);
    dest.a_size = static_cast<uint32_t>(length);
    dest.a_type = kSignAndDigits;
    dest.a_digits = source.a_digits;
    dest.a_scale = source.a_scale;
    ZconvertData(&dest, &source, 1, settings);

    char padded[kMaxLength + 2];
    const size_t text_length = strnlen(text, std::min(length + 1, limit));
    std::memcpy(padded, text, text_length);
    std::memset(padded + text_length, 0, length + 2 - text_length);
    return Z4Compare(number, padded, static_cast<int>(length));
}

}  // namespace fsi

int Z4TestData(XfdField *field, const unsigned char *record) {
    return Z4TestDatap(field, record + field->fd_offset);
}

int Z4TestDatap(XfdField *field, const unsigned char *data) {
    const uint16_t type = field->fd_argument.a_type;
    if (!fsi::full_data_test())
        return test_first_byte(type, *data);
    const Bytes bytes = field_bytes(field, data);
    return bytes.empty() ? XFD_DATA_ORDINARY : test_every_digit(type, bytes);
}

int Z4TestNullValue(XfdField *field, XfdCvtInfo *cvt, const unsigned char *record) {
    if (f_trace != 0)
        ZTrace(1, fsi::kDataTraceCategory, "%s '%s'", "Z4TestNullValue", field->fd_name);
    const char *value = field->fd_null_value;
    if (value == nullptr)
        return leave(0, "Leaving, no value");

    const unsigned char *data = record + field->fd_offset;
    for (const Figurative &figurative : kFiguratives) {
        if (figurative.word != value)
            continue;
        const Bytes bytes = field_bytes(field, data);
        const bool all = std::all_of(bytes.begin(), bytes.end(), [&figurative](unsigned char c) {
            return c == figurative.byte;
        });
        return all ? leave(1, figurative.found) : leave(0, figurative.not_found);
    }

    int order = 0;
    if (fsi::is_numeric_type(field->fd_argument.a_type)) {
        XfdArgument source = field->fd_argument;
        source.a_address = reinterpret_cast<uintptr_t>(data);
        order = fsi::compare_number(source, cvt, value);
    } else {
        order = fsi::compare_text(reinterpret_cast<const char *>(data), field->fd_argument.a_size,
                                  value);
    }
    return order == 0 ? leave(1, "Leaving, TRUE") : leave(0, "Leaving, FALSE");
}

int Z4Compare(const char *a, const char *b, int len) {
    len = std::max(len, 0);
    if (f_trace != 0)
        ZTrace(1, fsi::kDataTraceCategory, "%s '%.*s' vs. '%.*s'", "Z4Compare", len, a, len, b);
    bool inverted = false;
    if (*a == '-') {
        if (*b != '-')
            return leave(-1, "Leaving, less");
        inverted = true;
        ++a;
        ++b;
        --len;
        if (len > 0 && *b == '+')
            ++b;
    } else {
        if (*b == '-')
            return leave(1, "Leaving, greater");
        if (*a == '+') {
            ++a;
            --len;
        }
        if (len > 0 && *b == '+')
            ++b;
    }

    for (int i = 0; i < len; ++i) {
        if (a[i] == b[i])
            continue;
        const int order =
            sign_of_difference(static_cast<signed char>(a[i]), static_cast<signed char>(b[i]));
        const bool greater = (order > 0) != inverted;
        return greater ? leave(1, "Leaving, greater") : leave(-1, "Leaving, less");
    }
    // Not asking f_trace: a trace file hears of equal texts at any level.
    ZTrace(-1, fsi::kDataTraceCategory, "%s", "Leaving, equal");
    return 0;
}
