// SPDX-License-Identifier: MIT
//
// Whole numbers of the command line: decimal, whatever zeros they begin with.
#ifndef TOOL_WHOLE_NUMBER_H
#define TOOL_WHOLE_NUMBER_H

#include <cstdint>
#include <string>

namespace tool {

// The number that `text`, an optional sign and digits, is.  Throws Failure, which
// names `option`, when it is none or lies outside least..most.
int32_t whole_number(const std::string &option, const std::string &text, int32_t least,
                     int32_t most);

}  // namespace tool

#endif
