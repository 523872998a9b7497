// SPDX-License-Identifier: MIT
#include "fsi/xml/elements/text_block.h"

#include <cstring>

namespace fsi::xml {
namespace {

constexpr const char *kSource = "fsi/xml/elements/text_block";
constexpr size_t kMaxText = INT32_MAX - 64;

// The capacity that fills the granule of the allocator.
size_t rounded(size_t capacity) {
    constexpr size_t kGranule = 16;
    const size_t size = sizeof(TextBlock) + capacity + 1;
    return (size + kGranule - 1) / kGranule * kGranule - sizeof(TextBlock) - 1;
}

bool reserve(TextBlock **block, size_t capacity, const char *tag) {
    if (capacity > kMaxText)
        return false;
    const size_t room = rounded(capacity);
    void *moved = *block == nullptr ? Zmalloc(sizeof(TextBlock) + room + 1, tag, kSource)
                                    : Zrealloc(*block, sizeof(TextBlock) + room + 1, tag, kSource);
    if (moved == nullptr)
        return false;
    const bool is_new = *block == nullptr;
    *block = static_cast<TextBlock *>(moved);
    (*block)->capacity = static_cast<uint32_t>(room);
    if (is_new)
        cut_text(*block, 0);
    return true;
}

}  // namespace

TextBlock *make_text(std::string_view text, const char *tag) {
    TextBlock *block = nullptr;
    if (!append_text(&block, text, tag))
        return nullptr;
    return block;
}

bool append_text(TextBlock **block, std::string_view text, const char *tag) {
    const size_t length = *block == nullptr ? 0 : (*block)->length;
    if (*block == nullptr) {
        if (!reserve(block, text.size(), tag))
            return false;
    } else if (text.size() > (*block)->capacity - length) {
        // Twice the length, so that appending stays linear.
        const size_t least = length + text.size();
        if (text.size() > kMaxText || least > kMaxText ||
            !(reserve(block, least < kMaxText / 2 ? least + length : kMaxText, tag) ||
              reserve(block, least, tag)))
            return false;
    }
    if (!text.empty())
        std::memcpy((*block)->text() + length, text.data(), text.size());
    cut_text(*block, static_cast<uint32_t>(length + text.size()));
    return true;
}

bool assign_text(TextBlock **block, std::string_view text, const char *tag) {
    if (*block != nullptr && text.size() <= (*block)->capacity) {
        if (!text.empty())
            std::memcpy((*block)->text(), text.data(), text.size());
        cut_text(*block, static_cast<uint32_t>(text.size()));
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
