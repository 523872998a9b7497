// SPDX-License-Identifier: MIT
//
// Bounded text: copies into the fixed arrays of the records, views over what
// the host hands out, and the one notion of white space that the parsers of
// configuration texts share.  Nothing here allocates.
#ifndef FSI_BASE_TEXT_H
#define FSI_BASE_TEXT_H

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "host/strings.h"

namespace fsi {

// At most `limit` characters of a text that may go on without a zero byte.
inline std::string_view bounded_view(const char *text, size_t limit) {
    return {text, strnlen(text, limit)};
}

// Up to `count` characters from `first` on, both within bounds: std's substr asks for the
// C++ run-time library, which is not there to throw.
constexpr std::string_view part(std::string_view text, size_t first,
                                size_t count = std::string_view::npos) {
    first = std::min(first, text.size());
    return {text.data() + first, std::min(count, text.size() - first)};
}

// The whole text of a dynamic string; empty for null.  Valid until the string
// changes.
inline std::string_view view(ZString string) {
    if (string == nullptr)
        return {};
    return {ZStringGet(string), ZStringGetLength(string)};
}

// Copies at most `limit` characters of `text` and clears the rest of `dest`,
// whose last byte is zero whatever the limit.  `text` may lie in `dest`.
template <size_t N>
void copy_text(char (&dest)[N], std::string_view text, size_t limit = N - 1) {
    const size_t length = std::min({text.size(), limit, N - 1});
    if (length != 0)
        std::memmove(dest, text.data(), length);
    std::memset(dest + length, 0, N - length);
}

// The same for a terminated text; never reads more than `limit` characters.
template <size_t N>
void copy_text(char (&dest)[N], const char *text, size_t limit = N - 1) {
    copy_text(dest, bounded_view(text, std::min(limit, N - 1)), limit);
}

// White space of configuration texts: the C locale's, whatever the process set.
constexpr bool is_space(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

}  // namespace fsi

#endif
