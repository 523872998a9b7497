// SPDX-License-Identifier: MIT
//
// A document copied record by record: memory does not grow with it.
#ifndef TOOL_XML_RECORDS_H
#define TOOL_XML_RECORDS_H

#include "tool/xml_output.h"
#include "tool/xml_source.h"

namespace tool {

// Writes the document with the children of its top element read, written and deleted
// one by one.
//   encoding_type  of host/charset.h, 0 for the document's own; one that is known by
//                  its name alone becomes UTF-8
// Throws Failure and OutputClosed; what was written before stays.
void copy_xml_records(XmlSource &source, XmlOutput &output, int encoding_type);

// Calls `show` with the top element for each record, which is its only child then.
void show_xml_records(XmlSource &source, void (*show)(ZHandle top, void *user), void *user);

}  // namespace tool

#endif
