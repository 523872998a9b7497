// SPDX-License-Identifier: MIT
//
// Numbers are read strictly: a dictionary that says "12a" for a size is wrong, not
// 12 bytes long.
#include "fsi/4gl/kst4gl/xml_values.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "fsi/4gl/kst4gl/model.h"
#include "host/memory.h"

namespace fsi {
namespace {

// More than a number of 32 bits needs.
constexpr size_t kNumberBytes = 64;

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && is_space(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && is_space(text.back()))
        text.remove_suffix(1);
    return text;
}

// Digits with an optional sign, 32 bits.
bool parse(std::string_view text, int32_t *number) {
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-'))
            return false;
    }
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *number);
    return error == std::errc{} && end == text.data() + text.size();
}

// How many siblings of its name stand in front of an element, and whether any stands
// behind it.
struct Position {
    uint32_t before = 0;
    bool is_alone = true;
};

Position position_of(ZHandle element, const char *name) {
    Position position;
    for (ZHandle at = ZxmlElem_prev_sibling(element); at != 0; at = ZxmlElem_prev_sibling(at))
        position.before += ZxmlElem_name_compare(at, name, 0, -1) == 0 ? 1 : 0;
    position.is_alone = position.before == 0;
    for (ZHandle at = ZxmlElem_next_sibling(element); at != 0 && position.is_alone;
         at = ZxmlElem_next_sibling(at))
        position.is_alone = ZxmlElem_name_compare(at, name, 0, -1) != 0;
    return position;
}

}  // namespace

bool is_element(ZHandle element, int tag) {
    return ZxmlElem_name_compare(element, xmlxfd_tags[tag], 0, -1) == 0;
}

int tag_among(ZHandle element, int first, int last) {
    for (int tag = first; tag <= last; ++tag) {
        if (is_element(element, tag))
            return tag;
    }
    return -1;
}

void element_path(ZHandle element, char *path, size_t size) {
    constexpr std::string_view kCut = "...";
    size_t start = size - 1;
    path[start] = '\0';
    const auto put = [&](std::string_view text) {
        const size_t fits = std::min(text.size(), start);
        start -= fits;
        std::memcpy(path + start, text.data() + (text.size() - fits), fits);
        return fits == text.size();
    };
    bool is_whole = true;
    while (is_whole) {
        const ZHandle parent = ZxmlElem_parent(element);
        char name[128] = {};
        ZxmlElem_name(element, name, sizeof name - 1);
        if (parent != 0) {
            // Names of the form are ASCII, so they compare as they were fetched.
            if (const Position position = position_of(element, name); !position.is_alone) {
                char number[16] = "[";
                char *end = std::to_chars(number + 1, number + 14, position.before + 1).ptr;
                *end++ = ']';
                is_whole = put({number, static_cast<size_t>(end - number)});
            }
        }
        is_whole = is_whole && put(name);
        if (parent == 0 || ZxmlElem_parent(parent) == 0)
            break;
        is_whole = is_whole && put("/");
        element = parent;
    }
    if (!is_whole)
        std::memcpy(path + start, kCut.data(), kCut.size());
    std::memmove(path, path + start, size - start);
}

int32_t XmlValues::find(int tag) const {
    const int32_t count = ZxmlElem_attribute_count(element_);
    for (int32_t i = 0; i < count; ++i) {
        if (ZxmlElem_attribute_name_compare(element_, static_cast<uint32_t>(i), xmlxfd_tags[tag], 0,
                                            -1) == 0)
            return i;
    }
    return -1;
}

// The length of an attribute's text, of which at most `limit` bytes are copied; -1
// without it.
int32_t XmlValues::fetch(int tag, char *dest, size_t limit) const {
    const int32_t i = find(tag);
    return i < 0 ? -1
                 : ZxmlElem_attribute_value(element_, static_cast<uint32_t>(i), dest,
                                            static_cast<int32_t>(limit));
}

std::string_view XmlValues::fetch_own(char (&buffer)[kTextBytes]) const {
    ZxmlElem_value(element_, buffer, kTextBytes - 1);
    return trimmed(bounded_view(buffer, kTextBytes - 1));
}

int32_t XmlValues::checked(std::string_view text, const char *what, int32_t least, int32_t most) {
    if (status_ != LoadStatus::kDone)
        return 0;
    text = trimmed(text);
    int32_t number = 0;
    if (text.size() <= kNumberBytes && parse(text, &number) && number >= least && number <= most)
        return number;
    reader.element = element_;
    status_ = refuse("%s must be a number from %d to %d, not '%.*s'", what, least, most,
                     static_cast<int>(std::min<size_t>(text.size(), kNumberBytes)), text.data());
    return 0;
}

int32_t XmlValues::attribute_number(int tag, int32_t least, int32_t most) {
    char text[kTextBytes] = {};
    if (fetch(tag, text, kTextBytes - 1) >= 0)
        return checked(text, xmlxfd_tags[tag], least, most);
    if (status_ == LoadStatus::kDone) {
        reader.element = element_;
        status_ = refuse("the attribute %s is missing", xmlxfd_tags[tag]);
    }
    return 0;
}

int32_t XmlValues::text_number(int32_t least, int32_t most) {
    char buffer[kTextBytes] = {};
    return checked(fetch_own(buffer), "its text", least, most);
}

char *XmlValues::copy(int tag, const char *block_tag) {
    const int32_t length = fetch(tag, nullptr, 0);
    if (length < 0)
        return nullptr;
    const auto size = static_cast<size_t>(length) + 1;
    auto *block = static_cast<char *>(Zmalloc(size, block_tag, kSource));
    if (block == nullptr) {
        status_ = out_of_memory();
        return nullptr;
    }
    std::memset(block, 0, size);
    fetch(tag, block, size - 1);
    return block;
}

}  // namespace fsi
