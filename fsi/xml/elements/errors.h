// SPDX-License-Identifier: MIT
//
// The error numbers of elements and documents and their texts.
#ifndef FSI_XML_ELEMENTS_ERRORS_H
#define FSI_XML_ELEMENTS_ERRORS_H

#include <cstdint>

namespace fsi::xml {

// What ZxmlElem_error tells; set by failures, reset by nothing.
extern int32_t element_error;

// What ZxmlParser_error tells.
extern int32_t parser_error;

// Where expat refused a document last: line and column, both from 1.
struct ExpatPlace {
    uint64_t line;
    uint64_t column;
};
extern ExpatPlace expat_place;

// The text of an error number, 0 .. 18; that of 0 for others.
const char *error_text(int32_t number);

}  // namespace fsi::xml

#endif
