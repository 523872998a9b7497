/* SPDX-License-Identifier: MIT
 *
 * Regular expressions.
 *
 * The syntax is POSIX's extended one (IEEE Std 1003.1, section 9.4), byte by byte
 * and in the C locale: . [] [^] [:class:] ( ) | * + ? {n} {n,} {n,m} ^ $ and a
 * backslash before a character that is no letter or digit.  "." matches every byte
 * of a text, newlines too; "^" and "$" match at its ends alone.  There are no
 * back-references and no collating elements.
 *
 * Limits: repeats up to 255, parentheses 100 deep, 256 bracket expressions, and
 * 4096 steps once all repeats are written out.  A match takes at most steps times
 * bytes, whatever pattern and text. */
#ifndef HOST_REGEXP_H
#define HOST_REGEXP_H

#include <stddef.h>

#include "host/linkage.h"

HOST_BEGIN

typedef struct ZRegExp ZRegExp;
typedef struct ZRegExpMatch ZRegExpMatch;

/* flags 2: extended syntax, case counts; there are no others.  The caller gives the
 * expression back with ZRegExp_Release.  Null with error 2 and a message for other
 * flags, for a pattern that is none and for one beyond the limits; with error 14
 * without memory. */
HOST_API ZRegExp *ZRegExp_Compile(const char *pattern, int flags);

/* The leftmost match and of those the longest: text[start] up to but not with
 * text[end].  The caller gives the match back with ZRegExp_ReleaseMatch.  start and
 * end may be null and are untouched without a match.  Null when nothing matches,
 * and with error 14 without memory. */
HOST_API ZRegExpMatch *ZRegExp_Match(ZRegExp *expression, const char *text, size_t *start,
                                     size_t *end);

/* Null is accepted. */
HOST_API void ZRegExp_ReleaseMatch(ZRegExpMatch *match);
HOST_API void ZRegExp_Release(ZRegExp *expression);

HOST_END

#endif
