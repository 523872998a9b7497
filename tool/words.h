// SPDX-License-Identifier: MIT
//
// The codes of a dictionary in words.
#ifndef TOOL_WORDS_H
#define TOOL_WORDS_H

#include <cstdint>
#include <string>

#include "wbfsi/records.h"

namespace tool {

// The field number of a key column that names no field.
constexpr uint32_t kNoField = 65535;

// "packed, signed"; "plain bytes (code 77)" for a code without a meaning.
std::string type_in_words(uint32_t type);
bool is_numeric_type(uint32_t type);

// "indexed"; "type 7" for a code without a meaning.
std::string file_type_in_words(uint32_t file_type);

// "=", ">=" ... of a comparison, "and", "or", "other"; "" for an unknown type.
const char *condition_operator(int type);

// "tax > 10", "1 and 2", "not any other".
std::string condition_in_words(const Xfd &xfd, const XfdCondition &condition);

// The value of a condition as a person writes it: sign and digits, the form in
// which it is compared with a numeric field, become a plain decimal number.
std::string condition_value(const Xfd &xfd, const XfdCondition &condition);

// What a load makes of the value of a condition that is written so: the other way.
std::string compared_value(const Xfd &xfd, const XfdCondition &condition,
                           const std::string &written);

// "in key, hidden": the flags of a field, "" when it has none.
std::string flags_in_words(const XfdField &field);

// "2/3, 1/5": subscript and count of each enclosing OCCURS, outermost first.
std::string occurs_in_words(const XfdField &field);

}  // namespace tool

#endif
