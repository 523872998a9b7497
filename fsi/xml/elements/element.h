// SPDX-License-Identifier: MIT
//
// The record behind the handle of an element, and what the library itself does
// with elements: the handlers build trees with it, the exported functions are a
// wall in front of it.  Texts are UTF-8 here; nothing is converted and no error
// number is set: false or null means that memory was refused, unless said otherwise.
#ifndef FSI_XML_ELEMENTS_ELEMENT_H
#define FSI_XML_ELEMENTS_ELEMENT_H

#include <cstdint>
#include <span>
#include <string_view>

#include "fsi/xml/elements/names.h"
#include "fsi/xml/elements/text_block.h"
#include "host/handles.h"

namespace fsi::xml {

struct Attribute {
    Name *name;
    TextBlock *value;  // never null
};

// One block.
struct Attributes {
    uint32_t count;
    uint32_t capacity;

    Attribute *entries() { return reinterpret_cast<Attribute *>(this + 1); }
};

// What few elements have.
struct Extras {
    TextBlock *comments;
    void *user_data;
    bool is_hash_node;  // user_data is a ZxmlHashNode, which is told of the end
};

struct ChildNames;

constexpr uint16_t kSmallIndices = 2;

// The zeroed record of a handle.
struct Element {
    Name *name;
    Element *parent;  // null: top-level
    Element *first_child;
    Element *last_child;
    Element *next;
    Element *previous;
    TextBlock *value;
    Attributes *attributes;  // null: it never had one
    ChildNames *child_names;
    Extras *extras;
    // The occurrence numbers of levels 0 .. array_depth, in place while they fit.
    union {
        int32_t small_indices[kSmallIndices];
        int32_t *indices;
    };
    ZHandle handle;
    ZHandle parent_argument;  // as it was given, a handle or not
    uint32_t child_count;
    int16_t array_depth;      // -1: none
    uint16_t index_capacity;  // up to kSmallIndices: in place

    int32_t *index_array() { return index_capacity > kSmallIndices ? indices : small_indices; }
    TextBlock *comments() const { return extras == nullptr ? nullptr : extras->comments; }
};

// Levels beyond this end as memory does.
constexpr int kMaxArrayDepth = 1000;

// The record of an element's handle; null for anything else.
Element *find_element(ZHandle handle);

// A new element with its handle; `parent` null: top-level, else a child of it in
// front of `before`, a child of the same parent, or last.  Its array indices and
// those of its siblings follow.
Element *create_element(Element *parent, ZHandle parent_argument, std::string_view name,
                        Element *before);

// Frees the element with all below it.  The type of the handles goes with the last of
// them.
void delete_element(Element *element);

// Adds an attribute, with room for `more` behind it when the block must grow.  A name
// that is held already is taken over, also when nothing is added.
bool add_attribute(Element *element, std::string_view name, std::string_view value,
                   uint32_t more = 0);
bool add_attribute(Element *element, Name *name, std::string_view value, uint32_t more = 0);
void delete_attribute(Element *element, uint32_t number);
inline std::span<Attribute> attributes_of(const Element &element) {
    if (element.attributes == nullptr)
        return {};
    return {element.attributes->entries(), element.attributes->count};
}

// The value as ZxmlElem_append_value keeps it.
bool append_value(Element *element, std::string_view text, bool keep_blanks);

// What the host counts as blank: space, tab, CR, LF, VT, FF.
constexpr bool is_blank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// The text without the blanks around it.
constexpr std::string_view trimmed(std::string_view text) {
    size_t first = 0;
    while (first < text.size() && is_blank(text[first]))
        first++;
    size_t end = text.size();
    while (end > first && is_blank(text[end - 1]))
        end--;
    return {text.data() + first, end - first};
}

bool append_comment(Element *element, std::string_view text);
void delete_comments(Element *element);

// The element behind `element` in document order of the subtree of `top`, null at
// its end: children first, then siblings, then those of the ancestors.
inline Element *next_in_tree(const Element *element, const Element *top) {
    if (element->first_child != nullptr)
        return element->first_child;
    for (; element != top; element = element->parent) {
        if (element->next != nullptr)
            return element->next;
    }
    return nullptr;
}

// Sets the user data, whatever was there.
bool set_user_data(Element *element, void *data, bool is_hash_node);

constexpr const char *kValueTag = "XML Character data";
constexpr const char *kCommentTag = "XML comments";

}  // namespace fsi::xml

#endif
