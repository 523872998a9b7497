// SPDX-License-Identifier: MIT
#include "tool/words.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>

#include "host/data.h"
#include "host/names.h"
#include "wbfsi/accessors.h"

namespace tool {

namespace {

struct TypeRow {
    uint8_t code;
    bool numeric;
    const char *words;
};

constexpr TypeRow kTypes[] = {
    {0, false, "numeric edited"},
    {1, true, "DISPLAY, unsigned"},
    {2, true, "DISPLAY, sign trailing separate"},
    {3, true, "DISPLAY, sign in last digit"},
    {4, true, "DISPLAY, sign leading separate"},
    {5, true, "DISPLAY, sign in first digit"},
    {6, true, "digit a byte, signed"},
    {7, true, "digit a byte, unsigned"},
    {8, true, "packed, unsigned"},
    {9, true, "packed, signed"},
    {10, true, "packed, no sign nibble"},
    {11, true, "binary, signed"},
    {12, true, "binary, unsigned"},
    {13, true, "native binary, signed"},
    {14, true, "native binary, unsigned"},
    {16, false, "alphanumeric"},
    {17, false, "alphanumeric, justified right"},
    {18, false, "alphabetic"},
    {19, false, "alphabetic, justified right"},
    {20, false, "alphanumeric edited"},
    {22, false, "group"},
    {23, true, "floating point"},
    {24, false, "national"},
    {25, false, "national, justified right"},
    {26, false, "national edited"},
    {30, true, "long, signed"},
    {31, true, "long, unsigned"},
    {32, true, "little-endian binary, signed"},
    {33, true, "little-endian binary, unsigned"},
    {35, true, "national DISPLAY, unsigned"},
    {36, true, "national DISPLAY, sign trailing separate"},
    {37, true, "national DISPLAY, sign in last digit"},
    {38, true, "national DISPLAY, sign leading separate"},
    {39, true, "national DISPLAY, sign in first digit"},
};

const TypeRow *find_type(uint32_t type) {
    const auto *row = std::find_if(std::begin(kTypes), std::end(kTypes),
                                   [&](const TypeRow &r) { return r.code == type; });
    return row == std::end(kTypes) ? nullptr : row;
}

struct FlagRow {
    uint32_t bit;
    const char *words;
};

constexpr FlagRow kFlags[] = {
    {XFD_FIELD_IN_KEY, "in key"},     {XFD_FIELD_IN_SECONDARY_TABLE, "secondary table"},
    {XFD_FIELD_HIDDEN, "hidden"},     {XFD_FIELD_READ_ONLY, "read-only"},
    {XFD_FIELD_IDENTITY, "identity"},
};

// Sign and as many digits as the field has.
bool is_stored_number(std::string_view value, uint8_t digits) {
    return value.size() == static_cast<size_t>(digits) + 1 &&
           (value[0] == '+' || value[0] == '-') &&
           value.find_first_not_of("0123456789", 1) == std::string_view::npos;
}

bool is_tested_by(const XfdField &field, const XfdCondition &condition) {
    char name[sizeof field.fd_name];
    memcpy(name, field.fd_name, sizeof name);
    stdz_name(name, -3, 4);
    return field.fd_cond_num != XFD_LISTED_ONLY && strcmp(name, condition.c_variable) == 0;
}

// The field that a condition was resolved to; the slot is 0 without one, too.
const XfdField *tested_field(const Xfd &xfd, const XfdCondition &condition) {
    const auto slot = static_cast<uint16_t>(condition.c_field_num);
    const bool is_resolved =
        slot < xfd.x_n_fields_alloc && is_tested_by(xfd.x_fdesc[slot], condition);
    return is_resolved ? &xfd.x_fdesc[slot] : nullptr;
}

}  // namespace

std::string type_in_words(uint32_t type) {
    const TypeRow *row = find_type(type);
    return row != nullptr ? row->words : "plain bytes (code " + std::to_string(type) + ")";
}

bool is_numeric_type(uint32_t type) {
    const TypeRow *row = find_type(type);
    return row != nullptr && row->numeric;
}

std::string file_type_in_words(uint32_t file_type) {
    switch (file_type) {
        case XFD_SEQUENTIAL:
            return "sequential";
        case XFD_LINE_SEQUENTIAL:
            return "line sequential";
        case XFD_RELATIVE:
            return "relative";
        case XFD_INDEXED:
            return "indexed";
        default:
            return "type " + std::to_string(file_type);
    }
}

const char *condition_operator(int type) {
    switch (type) {
        case XFD_COND_EQ:
            return "=";
        case XFD_COND_AND:
            return "and";
        case XFD_COND_OTHER:
            return "other";
        case XFD_COND_GT:
            return ">";
        case XFD_COND_GE:
            return ">=";
        case XFD_COND_LT:
            return "<";
        case XFD_COND_LE:
            return "<=";
        case XFD_COND_NE:
            return "<>";
        case XFD_COND_OR:
            return "or";
        default:
            return "";
    }
}

std::string condition_value(const Xfd &xfd, const XfdCondition &condition) {
    std::string value = condition.c_value;
    const XfdField *field = tested_field(xfd, condition);
    if (field == nullptr || !is_numeric_type(field->fd_argument.a_type) ||
        !is_stored_number(value, field->fd_argument.a_digits)) {
        return value;
    }
    std::string digits = value.substr(1);
    const int scale = field->fd_argument.a_scale;
    std::string decimals;
    if (scale > 0) {
        digits.append(static_cast<size_t>(scale), '0');
    } else if (scale < 0) {
        const auto places = static_cast<size_t>(-scale);
        if (digits.size() < places) {
            digits.insert(0, places - digits.size(), '0');
        }
        decimals = digits.substr(digits.size() - places);
        digits.resize(digits.size() - places);
    }
    digits.erase(0, digits.find_first_not_of('0'));
    const char point = xfd.x_cvt_info != nullptr ? xfd.x_cvt_info->cv_period : '.';
    return (value[0] == '-' ? "-" : "") + (digits.empty() ? "0" : digits) +
           (decimals.empty() ? "" : point + decimals);
}

std::string compared_value(const Xfd &xfd, const XfdCondition &condition,
                           const std::string &written) {
    constexpr uint16_t kText = 16;
    constexpr uint16_t kSignAndDigits = 4;
    const XfdField *field = tested_field(xfd, condition);
    const bool is_compared = condition.c_type != XFD_COND_AND && condition.c_type != XFD_COND_OR &&
                             condition.c_type != XFD_COND_OTHER && !written.empty();
    if (!is_compared || field == nullptr || !is_numeric_type(field->fd_argument.a_type)) {
        return written;
    }
    const XfdArgument &data = field->fd_argument;
    std::string value(data.a_digits + size_t{1}, '\0');
    if (value.size() >= sizeof condition.c_value) {
        return written;
    }
    ZArgument source{reinterpret_cast<uintptr_t>(written.data()),
                     static_cast<uint32_t>(written.size()),
                     kText,
                     0,
                     0,
                     0};
    ZArgument dest{reinterpret_cast<uintptr_t>(value.data()),
                   static_cast<uint32_t>(value.size()),
                   kSignAndDigits,
                   data.a_digits,
                   data.a_scale,
                   0};
    return ZconvertData(&dest, &source, 1, xfd.x_cvt_info) == 1 ? value : written;
}

std::string condition_in_words(const Xfd &xfd, const XfdCondition &condition) {
    const std::string op = condition_operator(condition.c_type);
    switch (condition.c_type) {
        case XFD_COND_AND:
        case XFD_COND_OR:
            return std::to_string(Z4GetXFDConditionNum1(&condition)) + " " + op + " " +
                   std::to_string(Z4GetXFDConditionNum2(&condition));
        case XFD_COND_OTHER:
            return std::string(condition.c_variable) + " is any other value";
        case 0:
            return "not given";
        default:
            return std::string(condition.c_variable) + " " + op + " " +
                   condition_value(xfd, condition);
    }
}

std::string flags_in_words(const XfdField &field) {
    std::string words;
    for (const FlagRow &row : kFlags) {
        if ((field.fd_flags & row.bit) != 0) {
            words += (words.empty() ? "" : ", ") + std::string(row.words);
        }
    }
    return words;
}

std::string occurs_in_words(const XfdField &field) {
    std::string words;
    for (int i = 0; i < field.fd_occurs_depth && i < XFD_MAX_OCCURS; i++) {
        words += (i == 0 ? "" : ", ") + std::to_string(field.fd_occurs_index[i]) + "/" +
                 std::to_string(field.fd_max_occurs[i]);
    }
    return words;
}

}  // namespace tool
