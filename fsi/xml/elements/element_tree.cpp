// SPDX-License-Identifier: MIT
//
// The exported functions that make, delete and walk elements.
#include "fsi/xml/elements/element.h"
#include "fsi/xml/elements/errors.h"
#include "fsi/xml/elements/scratch.h"
#include "fsi/xml/elements/wall.h"
#include "wbfsi/xml_element.h"

using namespace fsi::xml;

namespace {

constexpr ZHandle kNoHandle = 0xFFFFFFFF;

// The child in front of which another one goes; null: behind the last.
Element *child_of(const Element *parent, ZHandle handle) {
    if (parent == nullptr || handle == kNoHandle)
        return nullptr;
    Element *element = find_element(handle);
    return element != nullptr && element->parent == parent ? element : nullptr;
}

ZHandle neighbour(const Element *element, int32_t error) {
    if (element == nullptr) {
        element_error = error;
        return 0;
    }
    return element->handle;
}

}  // namespace

ZHandle ZxmlElem_new(ZHandle parent, const char *name, int32_t length, ZHandle before) {
    Element *above = require_element(parent);  // none is an error, and all the same a start
    const auto text = to_utf8(name, length);
    Element *element =
        text ? create_element(above, parent, *text, child_of(above, before)) : nullptr;
    if (element == nullptr) {
        element_error = ZXML_NO_MEMORY;
        return 0;
    }
    return element->handle;
}

ZHandle ZxmlElem_add_child(ZHandle parent, const char *name, int32_t length) {
    return ZxmlElem_new(parent, name, length, 0);
}

ZHandle ZxmlElem_add_sibling(ZHandle element, const char *name, int32_t length) {
    if (require_element(element) == nullptr)
        return 0;
    const ZHandle parent = ZxmlElem_parent(element);
    if (parent == 0) {
        element_error = ZXML_HAS_TOP;
        return 0;
    }
    return ZxmlElem_new(parent, name, length, ZxmlElem_next_sibling(element));
}

int ZxmlElem_delete(ZHandle handle) {
    Element *element = require_element(handle);
    if (element == nullptr)
        return 0;
    delete_element(element);
    return 1;
}

int ZxmlElem_is_element(ZHandle handle) {
    return find_element(handle) != nullptr ? 1 : 0;
}

int ZxmlElem_set_user_data(ZHandle handle, void *data) {
    Element *element = require_element(handle);
    if (element == nullptr || (element->extras != nullptr && element->extras->user_data != nullptr))
        return 0;
    if (data == nullptr)
        return 1;
    if (!set_user_data(element, data, false)) {
        element_error = ZXML_NO_MEMORY;
        return 0;
    }
    return 1;
}

void *ZxmlElem_user_data(ZHandle handle) {
    const Element *element = require_element(handle);
    return element == nullptr || element->extras == nullptr ? nullptr : element->extras->user_data;
}

ZHandle ZxmlElem_first_child(ZHandle handle) {
    const Element *element = require_element(handle);
    return element == nullptr ? 0 : neighbour(element->first_child(), ZXML_NO_CHILDREN);
}

ZHandle ZxmlElem_next_sibling(ZHandle handle) {
    const Element *element = require_element(handle);
    return element == nullptr ? 0 : neighbour(element->next, ZXML_NO_SIBLINGS);
}

ZHandle ZxmlElem_prev_sibling(ZHandle handle) {
    const Element *element = require_element(handle);
    return element == nullptr ? 0 : neighbour(element->previous_sibling(), ZXML_NO_SIBLINGS);
}

ZHandle ZxmlElem_parent(ZHandle handle) {
    const Element *element = require_element(handle);
    if (element == nullptr)
        return 0;
    const ZHandle parent = element->parent_argument();
    if (parent == 0)
        element_error = ZXML_TOP_LEVEL;
    return parent;
}

int32_t ZxmlElem_array_depth(ZHandle handle) {
    const Element *element = require_element(handle);
    return element == nullptr ? -1 : element->array_depth;
}

int32_t ZxmlElem_array_index(ZHandle handle, int32_t level) {
    Element *element = require_element(handle);
    if (element == nullptr || level < 0 || level > element->array_depth)
        return -1;
    return element->index_array()[level];
}

const char *ZxmlElem_error(int32_t *number) {
    if (number != nullptr)
        *number = element_error;
    return error_text(element_error);
}
