// SPDX-License-Identifier: MIT
//
// The two ways of a conversion: the general one, and the short one for what
// record work asks for most.  Both give the result of ZconvertData.
#ifndef RUNTIME_DATA_FAST_H
#define RUNTIME_DATA_FAST_H

#include "host/data.h"

namespace host {

using Conversion = int (*)(const ZArgument &to, const ZArgument &from, const XfdCvtInfo *cvt);

// Any storage to any other, through a reader and a writer.
int convert_any(const ZArgument &to, const ZArgument &from, const XfdCvtInfo *cvt);

// To a type 4 field.  Short when both sides have the same scale, the target has 1
// to 18 digits and room for just them, and the value is good and fits; else the
// general way decides.
int convert_to_sign_and_digits(const ZArgument &to, const ZArgument &from, const XfdCvtInfo *cvt);

}  // namespace host

#endif
