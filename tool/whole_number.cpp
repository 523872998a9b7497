// SPDX-License-Identifier: MIT
#include "tool/whole_number.h"

#include <charconv>
#include <system_error>

#include "tool/failure.h"

namespace tool {

int32_t whole_number(const std::string &option, const std::string &text, int32_t least,
                     int32_t most) {
    const char *const end = text.data() + text.size();
    const char *begin = text.data();
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') {
        begin++;
    }
    int32_t number = 0;
    const auto [behind, error] = std::from_chars(begin, end, number);
    if (error != std::errc() || behind != end || number < least || number > most) {
        throw Failure(option + " " + text + ": a whole number from " + std::to_string(least) +
                      " to " + std::to_string(most) + " would be right");
    }
    return number;
}

}  // namespace tool
