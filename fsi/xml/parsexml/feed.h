// SPDX-License-Identifier: MIT
//
// Feeding expat for the reading of records; the other loops are exported
// (wbfsi/xml_expat.h).
#ifndef FSI_XML_PARSEXML_FEED_H
#define FSI_XML_PARSEXML_FEED_H

#include "fsi/xml/handlers/state.h"
#include "host/files.h"

namespace fsi::xml {

// Parses up to the end tag of the next child of the top element, the end of an entity
// not waited for: f_errno 0; or up to that of the top element or to the end: 8.  Errors
// are those of parse_to_next_greaterthan.  Once ended, the outcome is told again and
// expat is left alone.
void parse_to_end_of_record(State *state, ZFile *file);

}  // namespace fsi::xml

#endif
