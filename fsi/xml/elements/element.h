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

struct ChildNames;

// What few elements have.
struct Extras {
    Attributes *attributes;  // null: it never had one
    TextBlock *value;        // of an element with children
    TextBlock *comments;
    ChildNames *child_names;
    void *user_data;
    ZHandle parent_argument;  // of a top-level element: what was given, no element
    bool is_hash_node;        // user_data is a ZxmlHashNode, which is told of the end
};

constexpr uint16_t kSmallIndices = 2;
constexpr size_t kMaxShort = sizeof(void *) - 1;  // bytes of a value that needs no block

// The zeroed record of a handle: one cache line, since a tree is as large as memory
// lets it.  What most elements do not have stands elsewhere.
struct Element {
    Name *name;
    Element *parent;    // null: top-level
    Element *next;      // null: the last child
    Element *previous;  // of the first child the last one, which may be itself
    // Few elements have both children and a value, and most values are a few characters.
    union {
        Element *child;   // the first one, while there are children
        TextBlock *text;  // else the value; null: it has none
        // Or the value itself with its zero byte.  The last byte is what it leaves of
        // kMaxShort: that zero byte when it leaves nothing.
        char short_text[sizeof(void *)];
    };
    Extras *extras;
    // The occurrence numbers of levels 0 .. array_depth, in place while they fit.
    union {
        int32_t small_indices[kSmallIndices];
        int32_t *indices;
    };
    ZHandle handle;
    int16_t array_depth;        // -1: none
    uint16_t has_children : 1;  // say what the union holds
    uint16_t has_short_text : 1;
    uint16_t index_capacity : 14;  // up to kSmallIndices: in place

    int32_t *index_array() { return index_capacity > kSmallIndices ? indices : small_indices; }
    TextBlock *comments() const { return extras == nullptr ? nullptr : extras->comments; }
    ChildNames *child_names() const { return extras == nullptr ? nullptr : extras->child_names; }
    Attributes *attributes() const { return extras == nullptr ? nullptr : extras->attributes; }
    Element *first_child() const { return has_children != 0 ? child : nullptr; }
    // A zero byte follows it.  Without data: none, which is not the same as an empty one.
    std::string_view value() const {
        if (has_short_text != 0)
            return {short_text, kMaxShort - static_cast<size_t>(short_text[kMaxShort])};
        return text_of(has_children == 0 ? text : extras == nullptr ? nullptr : extras->value);
    }
    bool has_value() const {
        return has_children == 0 ? text != nullptr || has_short_text != 0
                                 : extras != nullptr && extras->value != nullptr;
    }
    Element *previous_sibling() const {
        return previous == nullptr || previous->next == nullptr ? nullptr : previous;
    }
    // As it was given, a handle or not.
    ZHandle parent_argument() const {
        return parent != nullptr ? parent->handle : extras == nullptr ? 0 : extras->parent_argument;
    }
};
static_assert(sizeof(Element) == 6 * sizeof(void *) + 16);

// Levels beyond this end as memory does.
constexpr int kMaxArrayDepth = 1000;

// The record of an element's handle; null for anything else.
Element *find_element(ZHandle handle);

// A new element with its handle; `parent` null: top-level, else a child of it in
// front of `before`, a child of the same parent, or last.  Its array indices and
// those of its siblings follow.  A name that is held already is taken over, also when
// nothing is made.
//   is_new_name  no child of `parent` has the name; false: not known
Element *create_element(Element *parent, ZHandle parent_argument, Name *name, Element *before,
                        bool is_new_name = false);
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
    Attributes *attributes = element.attributes();
    if (attributes == nullptr)
        return {};
    return {attributes->entries(), attributes->count};
}

// Appends to the value, which is made when there is none: in a block, or of text that
// was read, when it is short, in place.
bool append_to_value(Element *element, std::string_view text);
bool append_read_text(Element *element, std::string_view text);
// Replaces it.
bool assign_value(Element *element, std::string_view text);
// Cuts it behind `length` bytes, at most as many as it has.
void cut_value(Element *element, size_t length);

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
    if (element->has_children != 0)
        return element->child;
    for (; element != top; element = element->parent) {
        if (element->next != nullptr)
            return element->next;
    }
    return nullptr;
}

// Makes extras where there are none.
bool has_extras(Element *element);

// Sets the user data, whatever was there.
bool set_user_data(Element *element, void *data, bool is_hash_node);

constexpr const char *kValueTag = "XML Character data";
constexpr const char *kCommentTag = "XML comments";

}  // namespace fsi::xml

#endif
