// SPDX-License-Identifier: MIT
//
// Life and structure of elements.  Nothing recurses: trees are as deep as documents
// choose.
#include "fsi/xml/elements/element.h"

#include <algorithm>
#include <cstring>

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
    (element->previous != nullptr ? element->previous->next : parent->first_child) = element->next;
    (element->next != nullptr ? element->next->previous : parent->last_child) = element->previous;
    parent->child_count--;
}

void link(Element *element, Element *parent, Element *before) {
    element->parent = parent;
    element->next = before;
    element->previous = before != nullptr ? before->previous : parent->last_child;
    (element->previous != nullptr ? element->previous->next : parent->first_child) = element;
    (before != nullptr ? before->previous : parent->last_child) = element;
    parent->child_count++;
}

void forget_child_names(Element *element) {
    if (element->child_names != nullptr) {
        free_child_names(element->child_names);
        element->child_names = nullptr;
    }
}

// Leaves first, so that each finds itself without children.  The tables of names go on
// the way down: children of who goes as well are not counted out.
void free_descendants(Element *top) {
    Element *at = top;
    while (true) {
        for (; at->first_child != nullptr; at = at->first_child)
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
    free_text(element->value);
    free_attributes(element->attributes);
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
bool join_family(Element *element, Element *parent) {
    NameCount same{};
    if (!find_name(parent, element->name, &same) ||
        (parent->child_names != nullptr && !make_room_for_name(parent)))
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
    Attributes *attributes = element->attributes;
    const uint32_t count = attributes == nullptr ? 0 : attributes->count;
    if (attributes != nullptr && count < attributes->capacity)
        return true;
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
    element->attributes = attributes;
    return true;
}

bool has_extras(Element *element) {
    if (element->extras == nullptr)
        element->extras = allocate_cleared<Extras>(1, "XML element extras", kSource);
    return element->extras != nullptr;
}

}  // namespace

Element *find_element(ZHandle handle) {
    if (handle == 0 || element_type == 0 || H_type(handle) != element_type)
        return nullptr;
    return static_cast<Element *>(H_lock(handle));
}

Element *create_element(Element *parent, ZHandle parent_argument, std::string_view name,
                        Element *before) {
    const ZHandle handle = new_handle();
    auto *element = static_cast<Element *>(H_lock(handle));
    if (element == nullptr) {
        undeclare_when_unused();
        return nullptr;
    }
    element->handle = handle;
    element->parent_argument = parent_argument;
    element->array_depth = -1;
    element->name = hold_name(name);
    if (element->name == nullptr || (parent != nullptr && !join_family(element, parent))) {
        H_FREE(handle);
        undeclare_when_unused();
        return nullptr;
    }
    if (parent != nullptr) {
        count_child(parent, *element);
        link(element, parent, before);
    }
    return element;
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
    Attributes *const attributes = element->attributes;
    attributes->entries()[attributes->count++] = {name, text};
    return true;
}

bool add_attribute(Element *element, std::string_view name, std::string_view value, uint32_t more) {
    Name *const held = hold_name(name);
    return held != nullptr && add_attribute(element, held, value, more);
}

void delete_attribute(Element *element, uint32_t number) {
    Attributes *attributes = element->attributes;
    Attribute *entry = attributes->entries() + number;
    release_name(entry->name);
    free_text(entry->value);
    attributes->count--;
    std::memmove(entry, entry + 1, (attributes->count - number) * sizeof(Attribute));
}

bool append_value(Element *element, std::string_view text, bool keep_blanks) {
    if (element->value == nullptr && !keep_blanks) {
        text = trimmed(text);
        if (text.empty())
            return true;
    }
    return append_text(&element->value, text, kValueTag);
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
