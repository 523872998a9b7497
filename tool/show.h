// SPDX-License-Identifier: MIT
//
// The three ways in which a dictionary is printed; show.cpp picks one.
#ifndef TOOL_SHOW_H
#define TOOL_SHOW_H

#include <ostream>
#include <string>

#include "wbfsi/records.h"

namespace tool {

// Slots of the field array that hold a field, in the view that was loaded.
uint32_t shown_field_count(const Xfd &xfd, bool listed_view);

// For a person: identity, keys, conditions, fields, ruler.
void show_table(std::ostream &out, const Xfd &xfd, bool listed_view, bool with_comments);

// The same as one JSON object; texts are UTF-8.
void show_json(std::ostream &out, const Xfd &xfd, bool listed_view);

// The text form that dictionaries are read from.  One dictionary is given twice:
//   declared  loaded with XFD_LOAD_COMMENTS | XFD_LOAD_COPY_OCCURS, so that the
//             fields have the names and the order of their declaration
//   expanded  loaded with XFD_LOAD_COMMENTS
// and both with XFD_LOAD_LISTED_VIEW where the listed view has its items.  The text
// loads to the same dictionary under the same configuration, the file name aside.
// Throws Failure that names what the form cannot hold; then nothing was printed.
void show_text(std::ostream &out, const Xfd &declared, const Xfd &expanded, bool listed_view);

}  // namespace tool

#endif
