// SPDX-License-Identifier: MIT
//
// Which field each record-type condition tests, settled once for a dictionary.
// Whether a condition holds for a record is evaluated elsewhere.
#ifndef FSI_4GL_KST4GL_CONDITIONS_H
#define FSI_4GL_KST4GL_CONDITIONS_H

#include "fsi/4gl/kst4gl/mentioned_names.h"
#include "wbfsi/records.h"

namespace fsi {

// True for the COBOL data types that hold numbers.
bool is_numeric_type(uint16_t type);

// For each condition on a field: c_field_num becomes the first field of its
// variable's name, that field loses its secondary-table bit, and the value of a
// comparison on a numeric field becomes the text it is compared as later, sign
// and digits with the field's digits and scale; decimals that the field does not
// have are cut, as in a MOVE.  A value that is empty, no number, or does not fit
// the field stays as it is, and so does every value for a field of more than 49
// digits.  A condition without a field is left alone.
void resolve_conditions(Xfd *xfd, const MentionedNames &names);

}  // namespace fsi

#endif
