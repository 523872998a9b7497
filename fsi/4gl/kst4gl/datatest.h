// SPDX-License-Identifier: MIT
//
// How the content of a field is compared with a text of its dictionary: the two
// comparisons that null values and record-type conditions share.
#ifndef FSI_4GL_KST4GL_DATATEST_H
#define FSI_4GL_KST4GL_DATATEST_H

#include <cstddef>
#include <cstdint>

#include "wbfsi/records.h"

namespace fsi {

// Trace category of data tests, conditions and the where constraint.
inline constexpr int kDataTraceCategory = 6;

// Most bytes of a field that a text is compared with.
inline constexpr size_t kMaxComparedBytes = 50;

// Orders data of `size` bytes against a text: negative, 0 or positive.  The text
// counts as followed by zero bytes; at most kMaxComparedBytes of both are read.
// Data that begins with the text and ends in a space within the compared bytes is
// equal to it, whatever lies between.
int compare_text(const char *data, size_t size, const char *text);

// Orders the number that `source` describes against a text of sign and digits, by
// its digits and scale; the text, of `limit` bytes at most, counts as followed by zero
// bytes.  What the host does not convert is compared as the host left it: nothing, or
// the digits that fit.
int compare_number(const XfdArgument &source, const XfdCvtInfo *settings, const char *text,
                   size_t limit = SIZE_MAX);

}  // namespace fsi

#endif
