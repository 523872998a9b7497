/* SPDX-License-Identifier: MIT
 *
 * Validation of date formats, such as YYYYMMDD. */
#ifndef WBFSI_DATEFORMAT_H
#define WBFSI_DATEFORMAT_H

#include "wbfsi/api.h"

WBFSI_BEGIN

/* Tells whether a text is a date format: 1 or 0.
 *   format  terminated; read up to 21 characters
 * A format has at most 20 of the letters D E F H J M N R S T Y, upper case, each
 * letter in one run; the empty text is one.  Neither the length of a run nor the
 * combination of letters is judged. */
WBFSI_API int Z4ValidDateFormat(const char *format);

WBFSI_END

#endif
