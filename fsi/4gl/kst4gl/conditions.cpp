// SPDX-License-Identifier: MIT
//
// The fields were noted by name while they were built, so that each condition is
// one look-up.
#include "fsi/4gl/kst4gl/conditions.h"

#include <cstring>

#include "host/data.h"

namespace fsi {
namespace {

constexpr uint16_t kAlphanumeric = 16;
constexpr uint16_t kSignAndDigits = 4;
constexpr uint16_t kNoIndex = 65535;

// Type 4 takes one byte more than its digits, and the value has room for 50.
constexpr uint8_t kMaxComparedDigits = 49;

void convert_value(XfdCondition &condition, const XfdArgument &field, const XfdCvtInfo *settings) {
    if (condition.c_type == XFD_COND_OTHER || condition.c_value[0] == '\0' ||
        field.a_digits > kMaxComparedDigits)
        return;

    XfdArgument source = {};
    source.a_address = reinterpret_cast<uintptr_t>(condition.c_value);
    source.a_size = static_cast<uint32_t>(strlen(condition.c_value));
    source.a_type = kAlphanumeric;

    char text[sizeof condition.c_value] = {};
    XfdArgument dest = {};
    dest.a_address = reinterpret_cast<uintptr_t>(text);
    dest.a_size = field.a_digits + 1U;
    dest.a_type = kSignAndDigits;
    dest.a_digits = field.a_digits;
    dest.a_scale = field.a_scale;
    if (ZconvertData(&dest, &source, 1, settings))
        std::memcpy(condition.c_value, text, sizeof text);
}

}  // namespace

bool is_numeric_type(uint16_t type) {
    return (type >= 1 && type <= 14) || type == 23 || (type >= 30 && type <= 33) ||
           (type >= 35 && type <= 39);
}

void resolve_conditions(Xfd *xfd, const MentionedNames &names) {
    for (uint32_t c = 0; c < xfd->x_n_conditions_alloc; ++c) {
        XfdCondition &condition = xfd->x_condition[c];
        if (condition.c_type == XFD_COND_AND || condition.c_type == XFD_COND_OR)
            continue;
        const int64_t slot = names.condition_field(condition.c_variable);
        if (slot < 0 || slot >= kNoIndex)
            continue;
        XfdField &field = xfd->x_fdesc[slot];
        condition.c_field_num = static_cast<int16_t>(slot);
        field.fd_flags &= ~uint32_t{XFD_FIELD_IN_SECONDARY_TABLE};
        if (is_numeric_type(field.fd_argument.a_type))
            convert_value(condition, field.fd_argument, xfd->x_cvt_info);
    }
}

}  // namespace fsi
