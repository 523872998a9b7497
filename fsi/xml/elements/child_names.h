// SPDX-License-Identifier: MIT
//
// How many children of an element have each name: what decides whether a new child
// begins or joins a row of repeated elements.
#ifndef FSI_XML_ELEMENTS_CHILD_NAMES_H
#define FSI_XML_ELEMENTS_CHILD_NAMES_H

#include <cstdint>

#include "fsi/xml/elements/element.h"

namespace fsi::xml {

// What is known of one name among the children.
struct NameCount {
    const Name *name;
    uint32_t count;
    // Exclusive or of the handles of the children that have the name: while there
    // is one, its handle, however many came and went.
    uint32_t handles;
};

// The entry of a name.  Few children are counted where they stand; from
// kMaxUncounted on the parent has a table, made here on demand.
//   found   the entry, all zero when no child has the name
// False without memory for the table.
bool find_name(Element *parent, const Name *name, NameCount *found);

// Room for one name more in the table that the parent has; false without memory.
bool make_room_for_name(Element *parent);

// Enters a child that is linked next, for which there is room; takes one out that is
// about to be unlinked.  Without a table there is nothing to do.
void count_child(Element *parent, const Element &child);
void uncount_child(Element *parent, const Element &child);

void free_child_names(ChildNames *names);

}  // namespace fsi::xml

#endif
