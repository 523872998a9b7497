/* SPDX-License-Identifier: MIT
 *
 * What a field of a record holds before it is converted: ordinary data, one of the
 * fillers that COBOL programs leave (spaces, LOW-VALUES, HIGH-VALUES), bad digits,
 * or the value that its dictionary declares to mean null. */
#ifndef WBFSI_DATATEST_H
#define WBFSI_DATATEST_H

#include "wbfsi/api.h"
#include "wbfsi/records.h"

/* What Z4TestData found, a bit each.  The words are those of the default test; the
 * full test means a digit below and above its range by the first and the last. */
enum {
    XFD_DATA_ORDINARY = 0,
    XFD_DATA_LOW_VALUES = 1,
    XFD_DATA_SPACES = 2, /* or a bad digit */
    XFD_DATA_HIGH_VALUES = 4
};

WBFSI_BEGIN

/* Looks for data that no number can be made of: Z4TestDatap in the field's own
 * bytes, Z4TestData in those at fd_offset of a record.
 *
 * The default test looks at the first byte alone, which is read whatever a_size:
 * space, 0xFF or 0x00.  Which of them count goes by a_type: all three for 1 to 5
 * and 35 to 39, space and 0xFF for 6 and 7, 0xFF for 8 to 10; types that use the
 * full range of a byte, text, and codes above 63 hold ordinary data.
 *
 * While 4GL_FULL_DATA_TEST is on, the first digit that is none decides, within
 * a_size bytes and for types 1 to 10 alone:
 *   1 to 5   space: spaces; below "0": low values; above "9": high values.  The
 *            byte of the sign (2, 3 the last; 4, 5 the first) is not looked at
 *   6, 7     values 10 to 32: spaces; above 32: high values.  The last byte is not
 *            looked at; a field of one byte holds ordinary data
 *   8 to 10  a high half-byte of 15: high values; one of 10 to 14, or a low one
 *            above 9: spaces.  The low half of the last byte is not looked at */
WBFSI_API int Z4TestData(XfdField *field, const unsigned char *record);
WBFSI_API int Z4TestDatap(XfdField *field, const unsigned char *data);

/* 1 when the field holds its null value (fd_null_value), else 0; 0 without one.
 *   cvt     settings for numbers, null for the defaults
 *   record  the whole record, fd_offset + a_size bytes of it
 * HIGH-VALUE(S), LOW-VALUE(S), SPACE(S) and ZERO(S), ZEROES in these letters stand
 * for a field all of whose bytes are 0xFF, 0x00, " " or "0"; one without bytes holds
 * any of them.  Any other text is compared with a number as sign and digits, with
 * the field's digits and scale (Z4Compare), and with other data as text of at most
 * 50 bytes: a field that goes on with spaces where the value ends holds it. */
WBFSI_API int Z4TestNullValue(XfdField *field, XfdCvtInfo *cvt, const unsigned char *record);

/* Orders two texts of an optional sign and digits: -1, 0 or 1 as a is less than,
 * equal to or greater than b.
 *   a, b  len bytes each, at least one, no zero byte needed behind them; b has one
 *         more when it begins with "+" and a does not, or with "-+" and a with "-"
 * A text with "-" is less than one without.  Behind the signs bytes are compared one
 * by one as signed characters, so both texts hold as many digits.  The "+" of a
 * takes one byte off len, that of b none. */
WBFSI_API int Z4Compare(const char *a, const char *b, int len);

WBFSI_END

#endif
