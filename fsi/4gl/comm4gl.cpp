// SPDX-License-Identifier: MIT
//
// Keys, nines and SQL names: small services that database interfaces use when
// they turn COBOL records and names into database keys and identifiers.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "host/errors.h"
#include "host/messages.h"
#include "wbfsi/accessors.h"
#include "wbfsi/keys.h"

namespace {

constexpr int16_t kContentError = 19;
constexpr int16_t kNameTooLong = 6;

// Key order is that of signed bytes: 0x80 to 0xFF come before 0x00 to 0x7F.
// Database interfaces rely on it.
int compare_signed_bytes(const char *a, const char *b, size_t length) {
    const char *end = a + length;
    const auto [at, other] = std::mismatch(a, end, b);
    if (at == end)
        return 0;
    return static_cast<signed char>(*at) < static_cast<signed char>(*other) ? -1 : 1;
}

}  // namespace

void Z4build_key(Xfd *xfd, const char *record, char *key_buffer, int clear_only) {
    std::memset(key_buffer, 0, XFD_KEY_BUFFER_BYTES);
    if (clear_only != 0)
        return;
    const XfdKey *key = Z4GetXFDKeyInfo(xfd, 0);
    if (key == nullptr)
        return;

    // The byte behind the last segment is zero already, when there is room for it.
    size_t room = XFD_KEY_BUFFER_BYTES;
    for (uint32_t i = 0; i < Z4GetXFDKeySegmentCount(key) && i < XFD_MAX_SEGMENTS; ++i) {
        const size_t length = std::min<size_t>(Z4GetXFDKeySegmentLength(key, i), room);
        if (length == 0)
            continue;
        std::memcpy(key_buffer, record + Z4GetXFDKeySegmentOffset(key, i), length);
        key_buffer += length;
        room -= length;
    }
}

int Z4CompareKeyN(XfdKey *key, const char *record1, const char *record2) {
    for (uint32_t i = 0; i < Z4GetXFDKeySegmentCount(key) && i < XFD_MAX_SEGMENTS; ++i) {
        // Where a segment without bytes lies means nothing.
        const size_t length = Z4GetXFDKeySegmentLength(key, i);
        if (length == 0)
            continue;
        const uint32_t offset = Z4GetXFDKeySegmentOffset(key, i);
        const int order = compare_signed_bytes(record1 + offset, record2 + offset, length);
        if (order != 0)
            return order;
    }
    return 0;
}

int Z4make_sql_name(char *dest, const char *base, const char *suffix, int max_length) {
    size_t base_length = std::strlen(base);
    const size_t suffix_length = std::strlen(suffix);
    const size_t limit = max_length < 0 ? 0 : static_cast<size_t>(max_length);

    if (suffix_length != 0 && (base_length > limit || suffix_length > limit - base_length)) {
        if (suffix_length >= limit) {
            *Zstdlib_f_errno() = kContentError;
            *Zstdlib_f_int_errno() = kNameTooLong;
            *Zstdlib_f_errmsg() = message_get(1161, 5, "Composite field name too long");
            return 0;
        }
        base_length = limit - suffix_length;
    }
    // The suffix brings the zero byte.
    std::memmove(dest, base, base_length);
    std::memcpy(dest + base_length, suffix, suffix_length + 1);
    return 1;
}

void Z4fill_nines(char *dest, XfdField *field) {
    const XfdArgument *argument = Z4GetXFDFieldArgument(field);
    const auto digits = static_cast<int8_t>(argument->a_digits);
    const int8_t scale = argument->a_scale;

    char *end = std::fill_n(dest, std::max(digits + scale, 0), '9');
    if (scale < 0) {
        *end++ = '.';
        // The point and all nines together are digits + 1 characters; this
        // decides, also where the scale has more decimals than the field digits.
        while (end - dest < digits + 1)
            *end++ = '9';
    }
    *end = '\0';
}
