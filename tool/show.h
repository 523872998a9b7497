// SPDX-License-Identifier: MIT
//
// The ways in which a dictionary is printed; show.cpp picks one.
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

// The two forms that dictionaries are read from.
enum class Form { kText, kXml };

// The dictionary of a file in one of them: it loads to the same dictionary as the
// file of that name does under the same configuration, the file name aside.  The XML
// form has no comments of fields.  Throws Failure when the file does not load and when
// the form cannot hold something of it, which the failure names.
std::string written_dictionary(const std::string &name, Form form);

// The same from a dictionary that is loaded twice:
//   declared  with XFD_LOAD_COMMENTS | XFD_LOAD_COPY_OCCURS, so that the fields have
//             the names and the order of their declaration
//   expanded  with XFD_LOAD_COMMENTS
// and both with XFD_LOAD_LISTED_VIEW for the listed view.
std::string dictionary_text(const Xfd &declared, const Xfd &expanded, bool listed_view);
std::string dictionary_xml(const Xfd &declared, const Xfd &expanded, bool listed_view);

}  // namespace tool

#endif
