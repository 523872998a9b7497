/* SPDX-License-Identifier: MIT
 *
 * Two file descriptions side by side: does the dictionary that one compiler wrote
 * say what that of another compiler, or another version, says? */
#ifndef WBFSI_COMPARE_H
#define WBFSI_COMPARE_H

#include "wbfsi/api.h"
#include "wbfsi/records.h"

WBFSI_BEGIN

/* Compares two descriptions item by item and prints each difference to the C
 * library's standard output, three lines: what differs, "< " and the value in
 * first, "> " and the value in second.  "NULL" stands for a text that is not
 * there: a trigger, a field's name.  Of keys, segments, conditions and fields
 * those are compared that both have; a difference of the counts is one of its own.
 *   ignore_sizes  non-zero: not the sizes of the record, nor lengths and offsets
 *                 of key segments and fields
 *   skip_version  non-zero: not the version
 *   sort_keys     non-zero: the keys behind the first one are brought, in both
 *                 records and for good, into the order of the offset of their
 *                 first segment; equal ones stay as they are
 *   verbose       non-zero: a blank line in front of each difference, and a hint
 *                 whether it matters
 * Returns the number of differences.  No pointer may be null; none is kept. */
WBFSI_API int Z4XFDCompare(Xfd *first, Xfd *second, int ignore_sizes, int skip_version,
                           int sort_keys, int verbose);

WBFSI_END

#endif
