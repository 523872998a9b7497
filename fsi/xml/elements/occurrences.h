// SPDX-License-Identifier: MIT
//
// Occurrence numbers of repeated elements.
#ifndef FSI_XML_ELEMENTS_OCCURRENCES_H
#define FSI_XML_ELEMENTS_OCCURRENCES_H

#include <cstring>

#include "fsi/xml/elements/element.h"

namespace fsi::xml {

// Gives a new child the numbers of its parent and, unless it is 0, its own as one
// level more.
bool copy_many_indices(Element *element, Element &parent, int32_t number);
inline bool copy_indices(Element *element, Element &parent, int32_t number) {
    const int count = parent.array_depth + 1;
    const int more = number != 0 ? 1 : 0;
    if (count + more > kSmallIndices || parent.index_capacity > kSmallIndices)
        return copy_many_indices(element, parent, number);
    std::memcpy(element->small_indices, parent.small_indices, sizeof parent.small_indices);
    if (more != 0)
        element->small_indices[count] = number;
    element->array_depth = static_cast<int16_t>(parent.array_depth + more);
    return true;
}

// Makes an only child the first of a row: a level is put in for it and for all below
// it.  `parent_depth` is the array depth of its parent.  All or nothing.
bool become_first(Element *element, int parent_depth);

void free_indices(Element *element);

}  // namespace fsi::xml

#endif
