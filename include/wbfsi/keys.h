/* SPDX-License-Identifier: MIT
 *
 * Keys, nines and SQL names: what a database interface needs to turn records
 * and dictionary names into database keys and identifiers.  No pointer
 * may be null; none is kept. */
#ifndef WBFSI_KEYS_H
#define WBFSI_KEYS_H

#include "wbfsi/api.h"
#include "wbfsi/records.h"

/* Bytes of the key buffer of Z4build_key. */
enum { XFD_KEY_BUFFER_BYTES = 250 };

/* Bytes that hold the longest result of Z4fill_nines, its zero byte included. */
enum { XFD_NINES_BUFFER_BYTES = 255 };

WBFSI_BEGIN

/* The primary key of a record, as its bytes.
 *   record      the record; read at the key's segments alone, so it holds at
 *               least the last byte of each.  Not read when clear_only is set.
 *   key_buffer  XFD_KEY_BUFFER_BYTES bytes, all of them written: the segments of
 *               key 0 one after the other, nothing between them, zeros behind.
 *               Segments of more bytes than the buffer has are cut, and there is
 *               no zero byte then.
 *   clear_only  non-zero: zeros only
 * Without a key the buffer is all zero. */
WBFSI_API void Z4build_key(Xfd *xfd, const char *record, char *key_buffer, int clear_only);

/* Orders two records by a key: -1, 0 or 1.  Segments count in their order, each
 * from its first byte; bytes compare as signed, 0x80 to 0xFF before 0x00 to
 * 0x7F.  (The order of an indexed COBOL file is the unsigned one; this is not
 * it.)  Segments of length 0 are passed over; without segments the result is 0. */
WBFSI_API int Z4CompareKeyN(XfdKey *key, const char *record1, const char *record2);

/* Composes a column name: base, then suffix.
 *   dest        takes the name and its zero byte: max_length + 1 bytes, with an
 *               empty suffix as many as base has.  May be base itself.
 *   base        cut so that base and suffix have max_length characters together;
 *               with an empty suffix copied whole, without a limit
 *   suffix      never cut; not in dest
 *   max_length  in characters; 30 is the usual value
 * Returns 1, or 0 when less than one character of base would be left: f_errno is
 * 19, f_int_errno 6, f_errmsg message 1161 of set 5, "Composite field name too
 * long", and dest is as it was. */
WBFSI_API int Z4make_sql_name(char *dest, const char *base, const char *suffix, int max_length);

/* The largest value of a numeric field as text: digits + scale nines, and with a
 * negative scale (decimals) a point and nines up to digits + 1 characters in
 * all.  7 digits of scale -2 give 99999.99.
 *   dest        digits + 2 bytes, and as many more as a positive scale says;
 *               XFD_NINES_BUFFER_BYTES always do.  Terminated. */
WBFSI_API void Z4fill_nines(char *dest, XfdField *field);

WBFSI_END

#endif
