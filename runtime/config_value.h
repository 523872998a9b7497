// SPDX-License-Identifier: MIT
//
// What the text of a value has to be for each type of variable.
#ifndef RUNTIME_CONFIG_VALUE_H
#define RUNTIME_CONFIG_VALUE_H

#include <stdint.h>

#include "host/config.h"

namespace host {

// The type codes of rows.
inline constexpr uint32_t kRaw = 1;
inline constexpr uint32_t kBool = 2;
inline constexpr uint32_t kTiny = 3;
inline constexpr uint32_t kShort = 5;
inline constexpr uint32_t kLong = 6;
inline constexpr uint32_t kTextWithDefault = 7;
inline constexpr uint32_t kText = 8;
inline constexpr uint32_t kStream = 10;  // heard by the handler alone

// 1 when the text fits the row, *number its value when the row holds numbers
// and named values; 0 with the error state set when it does not.
int check_value(const ZCVariable &row, const char *text, int32_t *number);

// Decimal digits with an optional sign and nothing else, within 32 bits.
bool parse_number(const char *text, int32_t *number);

// Gives a text to a variable, as ZCSetValueString does; null clears.
int set_variable(const char *name, const char *text, bool from_file);

// Whether set_variable would find that the text fits; changes nothing but the
// error state.
int check_variable(const char *name, const char *text);

}  // namespace host

#endif
