// SPDX-License-Identifier: MIT
//
// Names of elements and attributes, each kept once for the process: two names are
// equal when their addresses are.  A name lives as long as somebody holds it; when
// the last one goes the table goes with it.
#ifndef FSI_XML_ELEMENTS_NAMES_H
#define FSI_XML_ELEMENTS_NAMES_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace fsi::xml {

struct Name {
    Name *next;  // of the same bucket
    uint32_t holders;
    uint32_t hash;
    uint32_t length;  // bytes of UTF-8; a zero byte follows them

    const char *text() const { return reinterpret_cast<const char *>(this + 1); }
    std::string_view view() const { return {text(), length}; }
};

// The name of these bytes (up to 2^31 of them, no zero byte), with one holder more;
// null without memory.  Takes time in proportion to the bytes, whatever names there
// are: the hash is keyed with random bytes of the process.
Name *hold_name(std::string_view text);

inline Name *hold_name(Name *name) {
    name->holders++;
    return name;
}

// Gives up one hold; null is accepted.
void release_name(Name *name);

}  // namespace fsi::xml

#endif
