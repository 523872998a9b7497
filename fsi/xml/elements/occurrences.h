// SPDX-License-Identifier: MIT
//
// Occurrence numbers of repeated elements.
#ifndef FSI_XML_ELEMENTS_OCCURRENCES_H
#define FSI_XML_ELEMENTS_OCCURRENCES_H

#include "fsi/xml/elements/element.h"

namespace fsi::xml {

// Gives a new child the numbers of its parent and, unless it is 0, its own as one
// level more.
bool copy_indices(Element *element, Element &parent, int32_t number);

// Makes an only child the first of a row: a level is put in for it and for all below
// it.  `parent_depth` is the array depth of its parent.  All or nothing.
bool become_first(Element *element, int parent_depth);

void free_indices(Element *element);

}  // namespace fsi::xml

#endif
