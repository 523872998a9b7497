/* SPDX-License-Identifier: MIT
 *
 * Names of files and columns, paths and lists of directories, and steps over
 * text of the program's code page.  Nothing here allocates. */
#ifndef HOST_NAMES_H
#define HOST_NAMES_H

#include <stdint.h>

#include "host/linkage.h"

HOST_BEGIN

/* Brings a name to its standard form in place: trailing spaces go, "-" becomes
 * "_", and ASCII letters are folded to lower (mode 4) or upper case (mode 6).
 * Other bytes stay, trail bytes of a multi-byte code page among them; another
 * mode changes nothing.
 *   length  a negative one (-3 by custom): up to the zero byte; else at most that
 *           many bytes, and nothing behind them is touched
 * The zero byte is put where trailing spaces went. */
HOST_API void stdz_name(char *name, int32_t length, int mode);

/* The part behind the last "/", all of it when there is none; points into path. */
HOST_API char *Zbasename(const char *path);

/* Writes directory, "/" and name to dest and returns dest; no "/" when the
 * directory is empty or ends in one.  At most both lengths and 2 bytes are
 * written.  dest may be directory itself, else nothing overlaps. */
HOST_API char *concat_path(char *dest, const char *directory, const char *name);

/* Walks a list of directories separated by ":", spaces or tabs.  Double quotes,
 * which are dropped, hold such a character; an unclosed one runs to the end.
 *   element     260 bytes: the next directory, terminated; empty at the end.
 *               Empty elements and those over 259 bytes are passed over.
 *   cobol_name  for hosts whose lists mention it; not looked at here
 *   list        the same unchanged text in every call of one walk
 *   first       non-zero starts the walk, 0 goes on
 *   state       the walk's place in the list; any value at the start, nothing to
 *               release when the walk is left early
 * Returns 1 with an element, 0 at the end. */
HOST_API int Zget_path_element(char *element, const char *cobol_name, const char *list, int first,
                               void **state);

/* strchr and one step forward, by characters of the program's code page: a trail
 * byte never matches c, a step never ends inside a character.  dbc_next stays
 * where it is at the zero byte. */
HOST_API char *Zdbc_strchr(const char *text, int c);
HOST_API char *dbc_next(const char *text);

HOST_END

#endif
