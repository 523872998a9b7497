// SPDX-License-Identifier: MIT
//
// The line of a document in which something is wrong, for a person to look at:
//
//     <order><item>pen</order>
//                      ^
#ifndef TOOL_XML_EXCERPT_H
#define TOOL_XML_EXCERPT_H

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace tool {

// The code points of the 256 bytes of an encoding, -1 for a byte without one.
using ByteCodes = std::array<int, 256>;

// How the bytes of a document are read; null codes with kBytes stand for UTF-8.
struct XmlTextForm {
    enum Unit { kBytes, kLittleUnits, kBigUnits };
    Unit unit = kBytes;
    const ByteCodes *codes = nullptr;
};

// The line around the byte `place` of `text`, which is a part of the document that
// may begin and end anywhere, and below it a caret under that byte's character.  Both
// lines end in a newline and are indented by two blanks.  Long lines are cut at both
// ends.  Controls, characters without a width and bytes that are no text stand there
// as their numbers; a tab is a blank.  Empty when nothing but blanks is on the line.
//   column  of the place in the document, from 1
std::string xml_excerpt(std::string_view text, size_t place, uint64_t column, XmlTextForm form);

// A text in UTF-8; bytes that are no text become "?".
std::string utf8_text(std::string_view text, XmlTextForm form);

// Appends a code point in UTF-8, one that a terminal would obey or not show as its
// number.
void append_shown(std::string &text, uint32_t code_point);

// The character at the start of a UTF-8 text that is not empty: its code point and
// its bytes; code point -1 and one byte for what is none.
struct Utf8Character {
    int32_t code_point;
    size_t size;
};
Utf8Character utf8_character(std::string_view text);

}  // namespace tool

#endif
