// SPDX-License-Identifier: MIT
//
// The short way for the conversion that record work asks for most.
#ifndef RUNTIME_DATA_FAST_H
#define RUNTIME_DATA_FAST_H

#include "host/data.h"

namespace host {

// Converts to a type 4 field when both sides have the same scale and the target
// 1 to 18 digits, all of them filled.  Returns false, with nothing written, when
// the fields are not like that or the value is bad or too long: the general path
// then decides.
bool convert_to_sign_and_digits(const ZArgument &to, const ZArgument &from, const XfdCvtInfo *cvt);

}  // namespace host

#endif
