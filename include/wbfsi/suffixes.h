/* SPDX-License-Identifier: MIT
 *
 * Extensions that file names of programs have and names of database tables must
 * not: one list for the process, usually that of 4GL_IGNORED_SUFFIX_LIST. */
#ifndef WBFSI_SUFFIXES_H
#define WBFSI_SUFFIXES_H

#include "wbfsi/api.h"

/* Suffixes that a list holds. */
enum { Z4_MAX_SUFFIXES = 10 };

WBFSI_BEGIN

/* Replaces the list.
 *   list  words separated by white space, not by commas; dots in front of a word
 *         do not count, nor does a word of dots alone.  The first Z4_MAX_SUFFIXES
 *         words are taken.  It is copied.  Null, and a text without words, leave
 *         the list empty; so does a refused request for memory. */
WBFSI_API void Z4DefineSuffixes(const char *list);

/* Cuts the extension off a name, in place, when it is in the list.  The extension
 * is what follows the last "." of the whole text; case does not count.
 *   name  terminated, not null
 * The result is 0 and says nothing. */
WBFSI_API int Z4RemoveSuffix(char *name);

WBFSI_END

#endif
