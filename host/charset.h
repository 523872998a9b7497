/* SPDX-License-Identifier: MIT
 *
 * Text in the program's code page and in Unicode.
 *
 * Every conversion takes its text as a pointer and a length in bytes, negative
 * for up to the zero byte.  A zero byte ends the text in any case and is not
 * counted; a null text is empty.  The result is the number of bytes that the whole
 * result needs, without a terminator, whatever size is (INT32_MAX when it is
 * more).  At most size bytes are written to the buffer, never half a character
 * and nothing behind the first character that does not fit, and then a zero
 * character when there is room for one.  A null buffer and a negative size count
 * as size 0.  Nothing is allocated.
 *
 * What the target cannot hold becomes "?".  What the source cannot mean is read
 * byte by byte as Latin-1. */
#ifndef HOST_CHARSET_H
#define HOST_CHARSET_H

#include <stddef.h>
#include <stdint.h>

#include "host/linkage.h"

HOST_BEGIN

/* The program's code page, as the number by which systems know it.  Built in are
 * 65001 (UTF-8), 28591, 28592, 28605 (ISO-8859-1, -2, -15), 1250, 1252, 437, 850,
 * and EBCDIC 37, 273, 500, 1140, 1141; others are those of the C library's iconv
 * whose bytes mean the same everywhere in a text (932, 936, 949, 950, 1251, ...,
 * not pages with shift states or with zero bytes in their characters).  In a
 * built-in single-byte page a byte without a meaning is the code point of its own
 * number, both ways.  Sources: docs/formats/code_pages.md.
 * ZSetCOBOLCharSet returns the page before; -1, and no change, for one that is not
 * known and (errno ENOMEM) when its tables found no memory. */
HOST_API int ZGetCOBOLCharSet(void);
HOST_API int ZSetCOBOLCharSet(int code_page);

HOST_API int32_t ZCOBOLCharSetToUTF8(const char *text, int32_t length, char *buffer, int32_t size);
HOST_API int32_t ZUTF8ToCOBOLCharSet(const char *text, int32_t length, char *buffer, int32_t size);

/* encoding_type 3 or 5, see below; another gives 0 and writes nothing.  The
 * terminator has two bytes.  No byte-order mark is written. */
HOST_API int32_t ZUTF8To16(const char *text, int32_t length, char *buffer, int32_t size,
                           int encoding_type);
HOST_API int32_t ZUTF8ToISO88591(const char *text, int32_t length, char *buffer, int32_t size);

/* Types of encodings and their names, compared without case:
 *   0 unknown                      4, 6 UTF-32 of either order, only recognised
 *   1 the program's code page      5    "UTF-16BE"
 *   2 "UTF-8"                      7    "ISO-8859-1"
 *   3 "UTF-16LE", also "UTF-16"
 * An unknown and a null name give 0; a type without a name gives null. */
HOST_API int Zencoding_name_to_type(const char *name);
HOST_API const char *Zencoding_type_to_name(int type);

/* The type of the byte-order mark at the start of the bytes: 2, 3, 5, for the
 * 32-bit forms 4 and 6, -1 for none. */
HOST_API int ZicuBOMIs(const char *bytes, size_t length);

/* Bytes of the character at text, at least 1.  In types 1, 2 and those without
 * wide units it never reaches past a zero byte, and a byte that begins no
 * character counts 1; types 3 and 5 look at two bytes and give 2 or, for the first
 * half of a surrogate pair, 4; types 4 and 6 give 4; unknown types give 1. */
HOST_API int ZCPByteInc(const char *text, int encoding_type);

/* Bytes of one code unit by encoding type, the least that an ASCII character
 * takes: 1, 1, 1, 2, 4, 2, 4, 1.  A type outside 0 .. 7 is the caller's to exclude. */
HOST_API extern const uint8_t Zstdlib_cp_size[8];

HOST_END

#endif
