// SPDX-License-Identifier: MIT
//
// The way between the program's character set and the UTF-8 of the tree.
#ifndef FSI_XML_ELEMENTS_SCRATCH_H
#define FSI_XML_ELEMENTS_SCRATCH_H

#include <cstdint>
#include <optional>
#include <string_view>

namespace fsi::xml {

// A text of the program as UTF-8, in the scratch buffer until it is next used; none
// when memory is refused.
//   text    null is empty; not within the scratch buffer
//   length  bytes, negative for up to the zero byte, which ends it in any case
std::optional<std::string_view> to_utf8(const char *text, int32_t length);

// What a getter does with a stored text, which has a zero byte behind it: its length in
// the program's character set, and as much as fits in the buffer.
int32_t fetch(std::string_view stored, char *buffer, int32_t size);

// Frees the buffer; the next use makes a new one.
void free_scratch();

}  // namespace fsi::xml

#endif
