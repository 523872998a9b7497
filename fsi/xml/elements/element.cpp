// SPDX-License-Identifier: MIT
//
// Life and structure of elements.  Nothing recurses: trees are as deep as documents
// choose.
#include "fsi/xml/elements/element.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "fsi/base/owner.h"
#include "fsi/xml/elements/child_names.h"
#include "fsi/xml/elements/element_hash.h"
#include "fsi/xml/elements/occurrences.h"
#include "wbfsi/xml_parser.h"

namespace fsi::xml {
namespace {

constexpr const char *kSource = "fsi/xml/elements/element";

int element_type;  // 0: not declared

void unlink(Element *element) {
    Element *const parent = element->parent;
    Element *const before = element->previous_sibling();
    Element *const next = element->next;
    if (before == nullptr && next == nullptr) {
        // The only one: the value returns to its place.
        parent->has_children = 0;
        parent->text = nullptr;
        if (parent->extras != nullptr)
            std::swap(parent->text, parent->extras->value);
        return;
    }
    (before != nullptr ? before->next : parent->child) = next;
    (next != nullptr ? next : parent->child)->previous = element->previous;
}

// Puts a short value into a block.
bool spill(Element *element) {
    TextBlock *const text = make_text(element->value(), kValueTag);
    if (text == nullptr)
        return false;
    element->has_short_text = 0;
    element->text = text;
    return true;
}

// Whether a value that is there can give way to a first child.
bool has_child_place(Element *parent) {
    if (parent->has_children != 0 || !parent->has_value())
        return true;
    return has_extras(parent) && (parent->has_short_text == 0 || spill(parent));
}

void link(Element *element, Element *parent, Element *before) {
    element->parent = parent;
    element->next = before;
    Element *const first = parent->first_child();
    if (first == nullptr) {
        if (parent->text != nullptr)
            parent->extras->value = parent->text;  // has_child_place made sure of both
        parent->has_children = 1;
        parent->child = element;
        element->previous = element;
        return;
    }
    Element *const behind = before != nullptr ? before : first;
    (before == first ? parent->child : behind->previous->next) = element;
    element->previous = behind->previous;
    behind->previous = element;
}

void forget_child_names(Element *element) {
    if (element->child_names() != nullptr) {
        free_child_names(element->extras->child_names);
        element->extras->child_names = nullptr;
    }
}

// Leaves first, so that each finds itself without children.  The tables of names go on
// the way down: children of who goes as well are not counted out.
void free_descendants(Element *top) {
    Element *at = top;
    while (true) {
        for (; at->has_children != 0; at = at->child)
            forget_child_names(at);
        if (at == top)
            return;
        Element *const up = at->parent;
        H_FREE(at->handle);
        at = up;
    }
}

void free_attributes(Attributes *attributes) {
    if (attributes == nullptr)
        return;
    for (uint32_t i = 0; i < attributes->count; i++) {
        release_name(attributes->entries()[i].name);
        free_text(attributes->entries()[i].value);
    }
    Zfree(attributes);
}

void free_extras(Extras *extras) {
    if (extras == nullptr)
        return;
    if (extras->is_hash_node)
        forget_hashed_element(static_cast<ZxmlHashNode *>(extras->user_data));
    free_attributes(extras->attributes);
    free_text(extras->value);
    free_text(extras->comments);
    Zfree(extras);
}

void destroy(ZHandle, void *record) {
    auto *element = static_cast<Element *>(record);
    if (element->parent != nullptr) {
        uncount_child(element->parent, *element);
        unlink(element);
    }
    free_descendants(element);
    forget_child_names(element);
    release_name(element->name);
    if (element->has_short_text == 0)
        free_text(element->text);  // the children are gone
    free_indices(element);
    free_extras(element->extras);
}

void undeclare_when_unused() {
    if (element_type != 0 && H_next(0, element_type) == 0) {
        H_undeclare(element_type);
        element_type = 0;
    }
}

ZHandle new_handle() {
    if (element_type == 0) {
        const ZHandleType type{"XML element", sizeof(Element), 2, destroy};
        element_type = H_declare(&type);
    }
    return HBUILDV(element_type, "XML element info", kSource);
}

// Numbers the new child among those of its name, which may turn the only one there
// was into the first of a row: that is done last, when nothing can fail behind it.
bool join_family(Element *element, Element *parent, bool is_new_name) {
    NameCount same{};
    if ((!is_new_name && !find_name(parent, element->name, &same)) ||
        (parent->child_names() != nullptr && !make_room_for_name(parent)) ||
        !has_child_place(parent))
        return false;
    if (same.count == 0)
        return copy_indices(element, *parent, 0);
    if (!copy_indices(element, *parent, static_cast<int32_t>(same.count + 1)))
        return false;
    if (same.count > 1)
        return true;
    Element *const only = find_element(same.handles);
    return only == nullptr || only->array_depth != parent->array_depth ||
           become_first(only, parent->array_depth);
}

// Room for one attribute; where the block must grow, for `more` behind it.
bool has_attribute_room(Element *element, uint32_t more) {
    Attributes *attributes = element->attributes();
    const uint32_t count = attributes == nullptr ? 0 : attributes->count;
    if (attributes != nullptr && count < attributes->capacity)
        return true;
    if (!has_extras(element))
        return false;
    constexpr uint32_t kMost = INT32_MAX / sizeof(Attribute) / 2;
    if (count >= kMost)
        return false;
    const uint32_t capacity = std::min(std::max(count + 1 + more, count * 2), kMost);
    attributes = static_cast<Attributes *>(
        Zrealloc(attributes, sizeof(Attributes) + capacity * sizeof(Attribute),
                 "XML elements attributes array", kSource));
    if (attributes == nullptr)
        return false;
    attributes->count = count;
    attributes->capacity = capacity;
    element->extras->attributes = attributes;
    return true;
}

// Writes a text behind the first `length` bytes of a value that is in place or none.
void put_short(Element *element, size_t length, std::string_view text) {
    char *const end = element->short_text + length;
    if (text.size() >= 4) {
        // Two words that may overlap: no more than is needed, and no call.
        std::array<char, 4> first;
        std::array<char, 4> last;
        std::memcpy(first.data(), text.data(), 4);
        std::memcpy(last.data(), text.data() + text.size() - 4, 4);
        std::memcpy(end, first.data(), 4);
        std::memcpy(end + text.size() - 4, last.data(), 4);
    } else if (!text.empty()) {
        end[0] = text.front();
        end[text.size() / 2] = text[text.size() / 2];
        end[text.size() - 1] = text.back();
    }
    length += text.size();
    element->has_short_text = 1;
    element->short_text[length] = '\0';
    element->short_text[kMaxShort] = static_cast<char>(kMaxShort - length);
}

// Where the block of the value stands; null without memory for the place.
TextBlock **value_place(Element *element) {
    if (element->has_children == 0)
        return &element->text;
    return has_extras(element) ? &element->extras->value : nullptr;
}

}  // namespace

Element *find_element(ZHandle handle) {
    if (handle == 0 || element_type == 0 || H_type(handle) != element_type)
        return nullptr;
    return static_cast<Element *>(H_lock(handle));
}

Element *create_element(Element *parent, ZHandle parent_argument, Name *name, Element *before,
                        bool is_new_name) {
    const ZHandle handle = new_handle();
    auto *element = static_cast<Element *>(H_lock(handle));
    if (element == nullptr) {
        release_name(name);
        undeclare_when_unused();
        return nullptr;
    }
    element->handle = handle;
    element->array_depth = -1;
    element->name = name;
    const bool is_complete = parent != nullptr ? join_family(element, parent, is_new_name)
                                               : parent_argument == 0 || has_extras(element);
    if (!is_complete) {
        H_FREE(handle);
        undeclare_when_unused();
        return nullptr;
    }
    if (parent != nullptr) {
        count_child(parent, *element);
        link(element, parent, before);
    } else if (parent_argument != 0) {
        element->extras->parent_argument = parent_argument;
    }
    return element;
}

Element *create_element(Element *parent, ZHandle parent_argument, std::string_view name,
                        Element *before) {
    Name *const held = hold_name(name);
    return held == nullptr ? nullptr : create_element(parent, parent_argument, held, before);
}

void delete_element(Element *element) {
    H_FREE(element->handle);
    undeclare_when_unused();
}

bool add_attribute(Element *element, Name *name, std::string_view value, uint32_t more) {
    TextBlock *const text = make_text(value, "XML element attribute value");
    if (text == nullptr || !has_attribute_room(element, more)) {
        free_text(text);
        release_name(name);
        return false;
    }
    Attributes *const attributes = element->extras->attributes;
    attributes->entries()[attributes->count++] = {name, text};
    return true;
}

bool add_attribute(Element *element, std::string_view name, std::string_view value, uint32_t more) {
    Name *const held = hold_name(name);
    return held != nullptr && add_attribute(element, held, value, more);
}

void delete_attribute(Element *element, uint32_t number) {
    Attributes *attributes = element->extras->attributes;
    Attribute *entry = attributes->entries() + number;
    release_name(entry->name);
    free_text(entry->value);
    attributes->count--;
    std::memmove(entry, entry + 1, (attributes->count - number) * sizeof(Attribute));
}

bool append_to_value(Element *element, std::string_view text) {
    if (element->has_short_text != 0) {
        const size_t length = element->value().size();
        if (text.size() <= kMaxShort - length) {
            put_short(element, length, text);
            return true;
        }
        if (!spill(element))
            return false;
    }
    TextBlock **place = value_place(element);
    return place != nullptr && append_text(place, text, kValueTag);
}

bool append_read_text(Element *element, std::string_view text) {
    if (text.size() > kMaxShort || element->has_children != 0 || element->has_value())
        return append_to_value(element, text);
    put_short(element, 0, text);
    return true;
}

bool assign_value(Element *element, std::string_view text) {
    if (element->has_short_text != 0) {
        if (text.size() <= kMaxShort) {
            put_short(element, 0, text);
            return true;
        }
        TextBlock *const block = make_text(text, kValueTag);
        if (block == nullptr)
            return false;
        element->has_short_text = 0;
        element->text = block;
        return true;
    }
    TextBlock **place = value_place(element);
    return place != nullptr && assign_text(place, text, kValueTag);
}

void cut_value(Element *element, size_t length) {
    if (element->has_short_text != 0)
        put_short(element, length, {});
    else
        cut_text(element->has_children != 0 ? element->extras->value : element->text,
                 static_cast<uint32_t>(length));
}

bool append_value(Element *element, std::string_view text, bool keep_blanks) {
    if (!keep_blanks && !element->has_value()) {
        text = trimmed(text);
        if (text.empty())
            return true;
    }
    return append_to_value(element, text);
}

bool has_extras(Element *element) {
    if (element->extras == nullptr)
        element->extras = allocate_cleared<Extras>(1, "XML element extras", kSource);
    return element->extras != nullptr;
}

bool append_comment(Element *element, std::string_view text) {
    return has_extras(element) && append_text(&element->extras->comments, text, kCommentTag);
}

void delete_comments(Element *element) {
    if (element->extras != nullptr) {
        free_text(element->extras->comments);
        element->extras->comments = nullptr;
    }
}

bool set_user_data(Element *element, void *data, bool is_hash_node) {
    if (data == nullptr && element->extras == nullptr)
        return true;
    if (!has_extras(element))
        return false;
    element->extras->user_data = data;
    element->extras->is_hash_node = is_hash_node;
    return true;
}

}  // namespace fsi::xml
