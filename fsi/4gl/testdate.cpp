// SPDX-License-Identifier: MIT
//
// Validation of date formats: runs of the eleven format letters, each letter in
// one run.  What a format means is the date conversion's business.
#include <cstdint>
#include <cstring>
#include <string_view>

#include "wbfsi/dateformat.h"

namespace {
constexpr size_t kMaxFormatLength = 20;
constexpr std::string_view kFormatLetters = "DEFHJMNRSTY";
}  // namespace

int Z4ValidDateFormat(const char *format) {
    if (strnlen(format, kMaxFormatLength + 1) > kMaxFormatLength)
        return 0;

    uint32_t seen = 0;
    for (const char *at = format; *at != '\0';) {
        const char letter = *at;
        const size_t index = kFormatLetters.find(letter);
        if (index == kFormatLetters.npos || (seen & (1U << index)) != 0)
            return 0;
        seen |= 1U << index;
        while (*at == letter)
            ++at;
    }
    return 1;
}
