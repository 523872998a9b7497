// SPDX-License-Identifier: MIT
//
// The XML form of a dictionary; docs/formats/xml-xfd.md describes it for people.
#ifndef FSI_4GL_KST4GL_LOAD_XML_H
#define FSI_4GL_KST4GL_LOAD_XML_H

#include "fsi/4gl/kst4gl/load.h"
#include "host/handles.h"

namespace fsi {

// Reads the document at reader.path into the fresh record of the load.  Every file
// that does not begin as a text dictionary comes here, so the usual failure is one
// that is no XML either.  kTold when the XML library has said what is wrong.
LoadStatus load_xml(Load &load);

// The section of the fields (load_xml_fields.cpp), 0 for a document without one;
// keys and conditions are loaded.  kBadField: a name that cannot be composed or a
// date format that is wrong fails the load.
LoadStatus load_xml_fields(Load &load, ZHandle section);

}  // namespace fsi

#endif
