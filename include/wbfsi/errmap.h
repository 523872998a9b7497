/* SPDX-License-Identifier: MIT
 *
 * The error-map file: which file error of COBOL an error number of a database
 * stands for.  The format is in docs/formats/error-map.md; searching the map is
 * the caller's. */
#ifndef WBFSI_ERRMAP_H
#define WBFSI_ERRMAP_H

#include <stdint.h>

#include "wbfsi/api.h"

/* One line of a section.  Slots behind the last line are all zero, as a line that
 * maps the number 0 to no error would be. */
typedef struct ErrorMapEntry {
    int32_t native; /* error number of the database */
    int32_t cobol;  /* file error, 1 to 18; 0 for a name that is none */
} ErrorMapEntry;

/* One section.  Sections behind the last one of the file are all zero. */
typedef struct ErrorMapSection {
    char name[80];          /* the header line from "[" on, at most 79 characters */
    int32_t capacity;       /* slots of entries, a multiple of 5 */
    ErrorMapEntry *entries; /* owned by the section */
} ErrorMapSection;

WBFSI_BEGIN

/* Reads an error-map file.
 *   path              null or empty: there is none
 *   count             in: sections to make room for, 5 for 0 and below.  Out: slots of the
 *                     result, filled or not; 0 for a null result
 *   implicit_section  not 0: a first line without "[" is the name of a section and
 *                     its first entry too
 * Returns an array that the caller releases: the entries of each of the *count
 * sections, then the array, with Zfree.  Null, with f_errno 0, when there is no path or
 * count is null, the file does not open, or memory for the array or a section's first
 * entries was refused.  When memory to grow is refused, or the file cannot be read on,
 * the result holds what was read so far. */
WBFSI_API ErrorMapSection *Z4ParseErrorFile(const char *path, int *count, int implicit_section);

WBFSI_END

#endif
