// SPDX-License-Identifier: MIT
//
// The program's code page: what its bytes mean and how long its characters are.
#ifndef RUNTIME_CODE_PAGE_H
#define RUNTIME_CODE_PAGE_H

#include <stddef.h>
#include <stdint.h>

#include "runtime/unicode.h"

namespace host {

inline constexpr size_t kMaxCharacterBytes = 8;

struct CodePage {
    enum class Kind : uint8_t { kLatin1, kUtf8, kSingle, kMulti };
    Kind kind;
    bool is_ascii;            // bytes 0 to 127 are ASCII and stand for themselves
    const uint16_t *meaning;  // of a single byte, unless it is Latin-1 or UTF-8
};

const CodePage &code_page();
int code_page_number();

// Makes a page the program's own.  False, and no change, for one that is not
// known and, with errno ENOMEM, for want of memory.  Going to 65001 and back costs nothing.
bool switch_code_page(int number);

// The character at text (n bytes, at least one).  Bytes without a meaning are
// read one by one as Latin-1.
Decoded decode(const CodePage &page, const char *text, size_t n);

// Writes the character, "?" for one that the page does not hold; the count of
// bytes, at most kMaxCharacterBytes.
size_t encode(const CodePage &page, char32_t point, char *bytes);

// A single-byte page needs no walking: every byte is a character.
bool code_page_is_multi_byte();

// Bytes of the character at text; never past a zero byte, 1 for a byte that
// begins no character.
size_t character_bytes(const char *text);

}  // namespace host

#endif
