// SPDX-License-Identifier: MIT
//
// The texts of elements: one block each, length in front and a zero byte behind.
// A null pointer is an absent text, which is not the same as an empty one.
#ifndef FSI_XML_ELEMENTS_TEXT_BLOCK_H
#define FSI_XML_ELEMENTS_TEXT_BLOCK_H

#include <cstdint>
#include <string_view>

#include "host/memory.h"

namespace fsi::xml {

// The length alone: how large a block is follows from it (text_block.cpp), so that a
// short text costs no more than it must.
struct TextBlock {
    uint32_t length;

    char *text() { return reinterpret_cast<char *>(this + 1); }
    const char *text() const { return reinterpret_cast<const char *>(this + 1); }
    std::string_view view() const { return {text(), length}; }
};

inline std::string_view text_of(const TextBlock *block) {
    return block == nullptr ? std::string_view() : block->view();
}

// A new block with this text; null without memory.
TextBlock *make_text(std::string_view text, const char *tag);

// Appends; makes the block when it is null.  The text is not within the block.
// False, nothing changed, without memory or past 2 GiB.
bool append_text(TextBlock **block, std::string_view text, const char *tag);

// Replaces the contents, making the block when it is null.
bool assign_text(TextBlock **block, std::string_view text, const char *tag);

// Cuts behind `length` bytes, at most as many as there are.
inline void cut_text(TextBlock *block, uint32_t length) {
    block->length = length;
    block->text()[length] = '\0';
}

inline void free_text(TextBlock *block) {
    Zfree(block);
}

}  // namespace fsi::xml

#endif
