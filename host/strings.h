/* SPDX-License-Identifier: MIT
 *
 * Dynamic strings: bytes with a length, always followed by a zero byte.
 *
 * A string may also be a row of pieces.  The separating appends begin a new piece
 * each; the text shows the pieces joined by one newline, and their borders are
 * kept beside it, so that a piece may itself hold newlines.  Plain appends extend
 * the last piece.  A string that never saw a separating append is one piece, or
 * none when it is empty.
 *
 * A ZString stays valid at its value until it is deleted, however much its text
 * grows.  A string takes one block until its text outgrows the first capacity, a
 * second one for the text from then on, and one for the borders from the first
 * separating append; all count under its tag and source.  A text has at most
 * PTRDIFF_MAX / 2 bytes.
 *
 * Functions that return int give 1, or 0 with the string as it was: errno ENOMEM
 * for want of memory; a null argument is refused without touching errno.  To all
 * others a null string is an empty one. */
#ifndef HOST_STRINGS_H
#define HOST_STRINGS_H

#include <stddef.h>
#include <stdint.h>

#include "host/linkage.h"

HOST_BEGIN

typedef struct ZStringBody *ZString;

/* An empty string with room for `capacity` bytes, any number, terminator not
 * counted.  The caller deletes it.  Returns null with errno ENOMEM. */
HOST_API ZString ZSTRINGNew(size_t capacity, const char *tag, const char *source);

/* Appends the text up to its zero byte, or `n` bytes, zeros included.  The bytes
 * may lie in the string's own text.  `bytes` may be null when n is 0. */
HOST_API int ZSTRINGAppend(ZString string, const char *text);
HOST_API int ZSTRINGAppendN(ZString string, const void *bytes, size_t n);

/* A new string with the same text, pieces, tag and source; the caller deletes it.
 * Null for null, and with errno ENOMEM. */
HOST_API ZString ZSTRINGDup(ZString string);

/* Releases the string and its text.  Null is accepted. */
HOST_API void ZSTRINGDelete(ZString string);

/* The text, with a zero byte behind its last: never null, valid until the string
 * next changes. */
HOST_API const char *ZStringGet(ZString string);

/* Bytes of the text, zeros among them included, terminator not counted. */
HOST_API size_t ZStringGetLength(ZString string);

/* Empties the string and forgets its pieces; memory is kept for what comes next. */
HOST_API void ZStringClear(ZString string);

/* Drops the last `n` bytes.  Pieces that begin behind the new end are gone, a
 * piece that begins exactly there stays as an empty one.  Dropping all bytes, or
 * more, is ZStringClear. */
HOST_API void ZStringRemoveRight(ZString string, size_t n);

/* Below, equal to or above 0 as a's text is less than, the same as or greater
 * than b's: by unsigned bytes, zeros included, then by length. */
HOST_API int ZStringCompareHH(ZString a, ZString b);

/* 1 when `target` is a live string of this host, else 0: deleted strings, streams,
 * blocks, addresses that are nobody's.  Reads nothing at `target` unless it is the
 * host's own memory. */
HOST_API int ZIsAString(const void *target);

/* Appends one piece: a text up to its zero byte, or all the text of another string
 * (the pieces of which become one), also of the same. */
HOST_API int ZSTRINGAddNSPChar(ZString string, const char *piece);
HOST_API int ZSTRINGAddNSString(ZString string, ZString piece);

/* Number of pieces, and piece `i`, 0 .. number - 1: where it begins in the text,
 * not terminated; its bytes in *length unless that is null.  Past the end null
 * and length 0.  Valid until the string next changes. */
HOST_API uint32_t ZStringCountNSStrings(ZString string);
HOST_API const char *ZStringGetNSPiece(ZString string, uint32_t i, size_t *length);

/* Where the text of `length` bytes, any bytes, is without the blanks around it:
 * *first is the offset of the first byte that is not blank, *end the one behind the
 * last such byte; both 0 when there is none.  Blank are space, tab, CR, LF, VT and
 * FF. */
HOST_API void Zspace_info(const char *text, size_t length, size_t *first, size_t *end);

HOST_END

#endif
