// SPDX-License-Identifier: MIT
//
// The two ways of a conversion: the general one, and the short ones for what
// record work asks for most.  All have the arguments and the result of
// ZconvertData, so that one hands on to the other by a jump.
#ifndef RUNTIME_DATA_FAST_H
#define RUNTIME_DATA_FAST_H

#include <cstddef>

#include "host/data.h"

namespace host {

using Conversion = decltype(&ZconvertData);

inline constexpr size_t kTypes = 64;

// Any storage to any other, through a reader and a writer.
int convert_any(const ZArgument *to, const ZArgument *from, int flags, const XfdCvtInfo *cvt);

// To a type 4 field, by the source's type.  Short when both sides have the same
// scale, the target has 1 to 18 digits and room for just them, and the value is
// good and fits; else the general way decides.
extern const Conversion kToSignAndDigits[kTypes];

// From a type 4 field, by the target's type, under the same conditions.
extern const Conversion kFromSignAndDigits[kTypes];

}  // namespace host

#endif
