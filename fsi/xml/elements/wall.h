// SPDX-License-Identifier: MIT
//
// What the exported functions of elements share.
#ifndef FSI_XML_ELEMENTS_WALL_H
#define FSI_XML_ELEMENTS_WALL_H

#include "fsi/xml/elements/element.h"
#include "fsi/xml/elements/errors.h"
#include "wbfsi/xml_element.h"

namespace fsi::xml {

// The record of a handle; null and error 6 for a bad one.
inline Element *require_element(ZHandle handle) {
    Element *element = find_element(handle);
    if (element == nullptr)
        element_error = ZXML_BAD_ELEMENT;
    return element;
}

}  // namespace fsi::xml

#endif
