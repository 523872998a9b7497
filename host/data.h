/* SPDX-License-Identifier: MIT
 *
 * Data conversion: one COBOL field's bytes into another's, exact to the last
 * digit.  A field is described by a ZArgument; this is the table of storages and
 * the rules between them.  Dates are not known here (see dates.h).
 *
 * | Code   | Storage                                                              |
 * |--------|----------------------------------------------------------------------|
 * | 0      | numeric edited                                                       |
 * | 1      | DISPLAY, unsigned                                                    |
 * | 2, 3   | DISPLAY, sign trailing separate; trailing in the last digit          |
 * | 4, 5   | DISPLAY, sign leading separate; leading in the first digit           |
 * | 6, 7   | one digit a byte, values 0 to 9: signed (digits + 1 bytes, the last  |
 * |        | 11 plus, 13 minus); unsigned                                         |
 * | 8      | packed, never negative (sign nibble 15 written, 10 to 15 read)       |
 * | 9      | packed, signed (12 plus, 13 minus written; 11 and 13 read as minus,  |
 * |        | 10, 12, 14 and 15 as plus)                                           |
 * | 10     | packed without sign nibble                                           |
 * | 11, 12 | binary, most significant byte first: signed; unsigned                |
 * | 13, 14 | binary in the machine's order: signed; unsigned                      |
 * | 16, 17 | alphanumeric; justified right                                        |
 * | 18, 19 | alphabetic; justified right                                          |
 * | 20     | alphanumeric edited                                                  |
 * | 22     | group                                                                |
 * | 23     | floating point, 4 or 8 bytes, IEEE 754 in the machine's order        |
 * | 24..26 | national (UTF-16, machine order); justified right; edited            |
 * | 30, 31 | the machine's long: signed; unsigned (stored as 13, 14)              |
 * | 32, 33 | binary, least significant byte first: signed; unsigned               |
 * | 35..39 | the layouts of 1 to 5 in national characters                         |
 * | other  | plain bytes, as 16                                                   |
 */
#ifndef HOST_DATA_H
#define HOST_DATA_H

#include <stdint.h>

#include "host/linkage.h"

HOST_BEGIN

/* One field.  The value of a number is its stored digits times ten to the power
 * a_scale: S9(5)V99 has digits 7 and scale -2, 9(5)P(2) digits 5 and scale 2.
 *   a_address  first byte, of any alignment; may be 0 when a_size is 0
 *   a_size     bytes; nothing outside a_address .. a_address + a_size - 1 is ever
 *              read or written, whatever the other members say
 *   a_type     code of the table above
 *   a_digits   digits of the picture; 0 = as many as the storage has room for
 *   a_scale    as above; not used by text and by floating point, whose bytes say
 *              where the point is
 *   a_extra    not used by the conversion */
typedef struct ZArgument {
    uintptr_t a_address;
    uint32_t a_size;
    uint16_t a_type;
    uint8_t a_digits;
    int8_t a_scale;
    uint32_t a_extra;
} ZArgument;

/* The conversion settings of a file.  A null pointer stands for the defaults.
 *   cv_sign_compat, cv_digits_code, cv_comma   not used by the conversion
 *   cv_sign_code1  the characters that hold a digit and a sign (types 3, 5, 37, 39):
 *                    25 (default)  positive "0123456789", negative "pqrstuvwxy"
 *                    16            positive "{ABCDEFGHI", negative "}JKLMNOPQR"
 *                    64            positive "@ABCDEFGHI", negative "PQRSTUVWXY"
 *                  any other value stands for 25.  All forms are read, except a
 *                  character of two other forms that disagree about it (under 25
 *                  these are "P", "Q" and "R"); plain digits are positive
 *   cv_sign_code2  sign nibble written for plus in type 9: 13 writes 15, 11 (the
 *                  default) and any other value write 12
 *   cv_period      the decimal point of texts, read and written; 0 = "."
 *   cv_encoding    characters of types other than national: 2 = UTF-8, any other
 *                  value = the program's character set (charset.h) */
typedef struct XfdCvtInfo {
    uint16_t cv_sign_compat;
    uint16_t cv_digits_code;
    uint8_t cv_sign_code1;
    uint8_t cv_sign_code2;
    char cv_period;
    char cv_comma;
    int32_t cv_encoding;
} XfdCvtInfo;

/* Converts the field src describes into the field dest describes.
 *   flags  bit 0 asks for the behaviour described here, which is the only one;
 *          the other bits are 0
 *   cvt    settings, or null for the defaults
 * Returns 1, or 0 when the value did not arrive unharmed (below).  The two areas
 * may overlap or be the same: src is read before dest is written.  No pointer is
 * kept; errno and the file error state are not touched.  Memory is taken only
 * for long text between national and other characters (tag "Text conversion");
 * when it is refused the result is 0 and dest is unchanged.
 *
 * From number to number: aligned at the point.  Digits that do not fit on the
 * left are lost and the result is 0: dest gets the low digits, as a MOVE does.
 * Digits on the right are cut.  An unsigned field gets the absolute value.  A
 * field whose digits are all zero is written as positive.
 *
 * From number to characters: decimal digits without leading zeros, "-" in front
 * when negative and not zero; with a negative scale at least one digit, the
 * point and all decimals; padded with blanks on the right, on the left when
 * justified right.  A text longer than the field: 0, dest unchanged.
 *
 * From characters to number: optional blanks, an optional "+" or "-", digits
 * with an optional point, optional blanks; at least one digit, of any number.
 * Anything else is no number.
 *
 * A source that holds no number (bad digit, bad nibble, all blank, infinity or
 * NaN, a storage without a digit): 0, dest unchanged.
 *
 * From characters to characters: cut or padded with blanks, on the right or, for
 * a field justified right, on the left; the result is 1.  Between national and
 * other characters the text goes through UTF-8; half a surrogate pair becomes
 * "?".  Cuts count bytes, in national fields units of two bytes; an odd last
 * byte of a national field is neither read nor written.
 *
 * How digits and size go together:
 * - DISPLAY, packed and one digit a byte: the size fixes the digit positions,
 *   1 to 256.  Reading takes them all, also those above a_digits.  Writing uses
 *   the lower of a_digits and the positions; positions above are set to zero.
 *   A size without a digit position, or with more than 256, holds no number and
 *   takes none (0, dest unchanged).
 * - Binary: sizes 1 to 16, others hold and take no number.  Reading takes all
 *   bits.  Writing cuts to a_digits (0 or above 39: no cut), and a value outside the range of
 *   the size further to the digits that the size always holds (2 for one byte, 4
 *   for two, 9 for four, 18 for eight signed bytes, 19 for eight unsigned ones).
 * - Floating point: sizes 4 and 8.  Read as the shortest decimal that reads back
 *   as the same number (at most 9 or 17 digits), the closest one where there are
 *   several, of two as close the even one; written as the nearest number, ties to even.  A value
 * out of range: 0, dest unchanged. */
HOST_API int ZconvertData(const ZArgument *dest, const ZArgument *src, int flags,
                          const XfdCvtInfo *cvt);

/* The type code of this table for a dictionary's data-type code: the code itself
 * for 0 to 63, else 16. */
HOST_API uint16_t Ztype_from_UD(uint8_t code);

HOST_END

#endif
