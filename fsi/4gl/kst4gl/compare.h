// SPDX-License-Identifier: MIT
//
// A dictionary shown for diagnosis: the dump that readers make at high trace
// levels.
#ifndef FSI_4GL_KST4GL_COMPARE_H
#define FSI_4GL_KST4GL_COMPARE_H

#include "wbfsi/records.h"

namespace fsi {

// The trace level above which readers dump what they have read.
inline constexpr int16_t kDumpTraceLevel = 10;

// Writes the whole record to the error output.
void dump_xfd(const Xfd *xfd);

}  // namespace fsi

#endif
