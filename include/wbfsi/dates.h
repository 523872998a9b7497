/* SPDX-License-Identifier: MIT
 *
 * Date fields: from the bytes of a record to a date-time record and back, as the
 * date format of the field says.
 *
 * A date format has at most 20 letters (dateformat.h judges one), one a
 * character of the field's text:
 *   Y  year                 H  hour       E  day of the year, 1..366
 *   M  month                N  minute     J  days since 4GL_JULIAN_BASE_DATE
 *   D  day of the month     S  second     T  fraction of a second, tenths first
 *   F  decade of the year: ' ' for the 1740s up to 'I' for the 2150s; the last
 *      digit is a single Y directly behind it
 *   R  the same, ' ' for the 2150s; all numbers of a format with R are stored as
 *      their complement to nines
 *      Fields of numbers hold the digits of F and R alone, the 1900s to 1990s
 * Other letters mean nothing: nothing is written and nothing read for them.
 *
 * The variables that steer the conversion (docs/api/configuration.md) are read at
 * each call, the PLEX_DATE_... ones at the first call after Z4Init: each names a
 * date, YYYYMMDD and as much of HHNNSSTTTTTT as it has digits, that stands for
 *   PLEX_DATE_ZERO_VALUE     a field of zeros (or of bytes 0x00, which are also
 *                            written when PLEX_DATE_MIN_LOW_VALUES is true)
 *   PLEX_DATE_NINE_VALUE     a field of nines (or of bytes 0xFF, which are also
 *                            written when PLEX_DATE_MAX_HIGH_VALUES is true)
 *   PLEX_DATE_INVALID_VALUE  a field of spaces, and any date that does not exist
 *   PLEX_DATE_NULL_VALUE     whatever cannot be converted */
#ifndef WBFSI_DATES_H
#define WBFSI_DATES_H

#include <stdint.h>

#include "host/dates.h"
#include "wbfsi/api.h"
#include "wbfsi/records.h"

WBFSI_BEGIN

#define Z4_DATE_FROM_FIELD 1
#define Z4_DATE_TO_FIELD 2

/* Converts a date field.
 *   field       address, size, type, digits and scale of the field; fields in
 *               either direction are those that ZconvertData knows
 *   dtr         the date-time record
 *   format      a date format, terminated.  Null or empty: YYMMDD for a field of
 *               type 6, YYYYMMDD for one of type 8, none for others.  More than
 *               20 letters cannot be converted
 *   direction   Z4_DATE_FROM_FIELD sets dtr and never writes the field;
 *               Z4_DATE_TO_FIELD writes the field
 *   date_value  yyyymmdd: to the field the date of the database that stands for
 *               zero; in both the replacement for dates that do not exist.  -1
 *               from the field: hours are 12 where the format has none
 *   use_illegal non-zero: a date that does not exist is replaced by date_value if
 *               4GL_CONVERT_DATES is true and date_value has 6 digits (YYMMDD), 8
 *               (YYYYMMDD), or as many as the format
 * From the field the text is aligned with the right end of the format, and what is
 * missing on the left is zero.  Year, month and day that the format does not name
 * become 1901, 1 and 1; times become 0.  Two digits of a year, and any year below
 * 100 of the default formats (for YYYYMMDD if 4GL_8_DIGIT_CUTOFF is true), belong
 * to the hundred years from 1900 + 4GL_2000_CUTOFF on.
 * To the field hundredths count only where they are not 0, in place of the
 * microseconds, and dtr is left with microseconds alone; a replaced date is left
 * in it, too.
 * Returns 1, or 0 when there is no such date, with a field that "0" was written
 * to or a dtr that is all zero.  With PLEX_DATE_NULL_VALUE there is no such
 * failure: dtr is that date, or the field stays at "0".
 * Without memory: 0, the file error is 14, and neither is changed; also 0, and
 * nothing else, for a null field or dtr.  Keeps no pointer. */
WBFSI_API int Z4ConvertDateTime(const XfdArgument *field, DateTimeValue *dtr, const char *format,
                                int direction, int32_t date_value, int use_illegal);

/* Whether the date format of a field has a date letter (D, E, J, M, Y) or is empty:
 * 1 or 0. */
WBFSI_API int Z4HaveDateInfo(const XfdField *field);

/* Whether the date format of a field has a letter of time (H, N, S, T): 1 or 0. */
WBFSI_API int Z4HaveTimeInfo(const XfdField *field);

WBFSI_END

#endif
