// SPDX-License-Identifier: MIT
//
// Elements by name: for each name a chain of nodes in document order, whose head is
// the entry of a host hash.  A node is the user data of its element.
#ifndef FSI_XML_ELEMENTS_ELEMENT_HASH_H
#define FSI_XML_ELEMENTS_ELEMENT_HASH_H

#include "fsi/xml/elements/element.h"
#include "host/containers.h"
#include "wbfsi/xml_parser.h"

namespace fsi::xml {

// A hash of chains; null without memory.
ZHash *make_element_hash();

// Enters an element under its name, behind those that are there.
//   is_known  whether the name was there
// False without memory.  Takes the same short time however many there are.
bool hash_element(ZHash *hash, Element *element, bool *is_known);

// The element of this node is gone: the node stays in its chain with element 0 and
// is used again for the next element of the name.
void forget_hashed_element(ZxmlHashNode *node);

}  // namespace fsi::xml

#endif
