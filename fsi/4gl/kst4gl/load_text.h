// SPDX-License-Identifier: MIT
//
// The text form of a dictionary, section by section; docs/formats/text-xfd.md
// describes it for people.
#ifndef FSI_4GL_KST4GL_LOAD_TEXT_H
#define FSI_4GL_KST4GL_LOAD_TEXT_H

#include "fsi/4gl/kst4gl/load.h"
#include "fsi/4gl/kst4gl/text_lines.h"

namespace fsi {

// Reads the file whose first data line `lines` stands at into the fresh record
// of the load.  kDone also when a field could not be built: reading of fields
// ended there, and what is wrong with it is in the reader's message.
LoadStatus load_text(Load &load, TextLines &lines);

}  // namespace fsi

#endif
