// SPDX-License-Identifier: MIT
#include "runtime/config_value.h"

#include <string.h>
#include <strings.h>

#include <charconv>
#include <iterator>

#include "runtime/error_state.h"

namespace host {
namespace {

struct Range {
    uint32_t type;
    int32_t lowest;
    int32_t highest;
};

constexpr Range kRanges[] = {
    {kTiny, INT8_MIN, INT8_MAX},
    {kShort, INT16_MIN, INT16_MAX},
    {kLong, INT32_MIN, INT32_MAX},
};

constexpr ZCNamedValue kBooleans[] = {
    {"1", 1}, {"0", 0}, {"on", 1}, {"off", 0}, {"true", 1}, {"false", 0}, {"yes", 1}, {"no", 0},
};

bool find_named(const ZCNamedValue *values, size_t count, const char *text, int32_t *number) {
    for (size_t i = 0; i < count; ++i) {
        if (values[i].name != nullptr && strcasecmp(values[i].name, text) == 0) {
            *number = values[i].value;
            return true;
        }
    }
    return false;
}

// ", UPPER, LOWER or UNCHANGED", cut where the room ends.
void list_names(const ZCVariable &row, char *text, size_t size) {
    size_t used = 0;
    text[0] = '\0';
    for (uint32_t i = 0; row.named_values != nullptr && i < row.named_count; ++i) {
        const char *name = row.named_values[i].name;
        size_t n = name == nullptr ? 0 : strlen(name);
        if (n == 0 || used + n + 3 > size)
            continue;
        memcpy(text + used, ", ", 2);
        memcpy(text + used + 2, name, n + 1);
        used += n + 2;
    }
}

}  // namespace

bool parse_number(const char *text, int32_t *number) {
    const char *digits = text[0] == '+' && text[1] != '-' ? text + 1 : text;
    const char *end = text + strlen(text);
    int32_t value = 0;
    auto [behind, error] = std::from_chars(digits, end, value);
    if (error != std::errc() || behind != end)
        return false;
    *number = value;
    return true;
}

int check_value(const ZCVariable &row, const char *text, int32_t *number) {
    if (row.type == kBool) {
        if (find_named(kBooleans, std::size(kBooleans), text, number))
            return 1;
        return refuse(kParameterError, "%s cannot be '%.*s'; give on or off", row.name, kShownBytes,
                      text);
    }
    for (const Range &range : kRanges) {
        if (range.type != row.type)
            continue;
        if (row.named_values != nullptr &&
            find_named(row.named_values, row.named_count, text, number))
            return 1;
        if (parse_number(text, number) && *number >= range.lowest && *number <= range.highest)
            return 1;
        char names[300];
        list_names(row, names, sizeof names);
        return refuse(kParameterError, "%s cannot be '%.*s'; give a number from %d to %d%s",
                      row.name, kShownBytes, text, range.lowest, range.highest, names);
    }
    return 1;
}

}  // namespace host
