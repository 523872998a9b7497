// SPDX-License-Identifier: MIT
#include "fsi/xml/elements/text_block.h"

#include <bit>
#include <cstring>

namespace fsi::xml {
namespace {

constexpr const char *kSource = "fsi/xml/elements/text_block";
constexpr size_t kMaxText = INT32_MAX - 64;

// Bytes of the block of a text this long.  Small ones fill the granule of the allocator;
// larger ones grow by quarters of a power of two, so that appending stays linear.
size_t block_size(size_t length) {
    constexpr size_t kGranule = 2 * sizeof(void *);
    constexpr size_t kSmall = 128;
    const size_t size = sizeof(TextBlock) + length + 1;
    const size_t step = size <= kSmall ? kGranule : std::bit_floor(size) / 4;
    return (size + step - 1) & ~(step - 1);
}

// Makes room for a text this long in a block; what is there stays.  One that was cut has
// more room than its length tells, and may lose it here.
bool reserve(TextBlock **block, size_t length, const char *tag) {
    const size_t size = block_size(length);
    if (block_size((*block)->length) == size)
        return true;
    void *moved = Zrealloc(*block, size, tag, kSource);
    if (moved == nullptr)
        return false;
    *block = static_cast<TextBlock *>(moved);
    return true;
}

// Writes a text behind the first `length` bytes.
void put(TextBlock *block, size_t length, std::string_view text) {
    char *end = block->text() + length;
    if (!text.empty())
        std::memcpy(end, text.data(), text.size());
    end[text.size()] = '\0';
    block->length = static_cast<uint32_t>(length + text.size());
}

}  // namespace

TextBlock *make_text(std::string_view text, const char *tag) {
    if (text.size() > kMaxText)
        return nullptr;
    auto *block = static_cast<TextBlock *>(Zmalloc(block_size(text.size()), tag, kSource));
    if (block != nullptr)
        put(block, 0, text);
    return block;
}

bool append_text(TextBlock **block, std::string_view text, const char *tag) {
    if (*block == nullptr) {
        *block = make_text(text, tag);
        return *block != nullptr;
    }
    const size_t length = (*block)->length;
    if (text.size() > kMaxText - length || !reserve(block, length + text.size(), tag))
        return false;
    put(*block, length, text);
    return true;
}

bool assign_text(TextBlock **block, std::string_view text, const char *tag) {
    if (*block != nullptr && block_size(text.size()) <= block_size((*block)->length)) {
        put(*block, 0, text);
        return true;
    }
    TextBlock *fresh = make_text(text, tag);
    if (fresh == nullptr)
        return false;
    free_text(*block);
    *block = fresh;
    return true;
}

}  // namespace fsi::xml
