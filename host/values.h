/* SPDX-License-Identifier: MIT
 *
 * A line of text split into numbered values.
 *
 * When the text holds a comma outside quotes, commas separate the values and
 * blanks around a value are dropped; else runs of blanks and tabs separate them.
 * Nothing between two commas is an empty string, nothing behind the last comma is
 * no value.  A quote where a value or a word of it can begin (at the start, behind
 * a blank, behind a comma) opens a quoted stretch, in which separators do not
 * count and a doubled quote stands for one; without a closing quote it runs to the
 * end.  A value that begins with such a stretch is a string without its quotes;
 * elsewhere quotes stay.  One CR at the end of the text is dropped.
 *
 * A bare value of digits with an optional sign that fits 32 bits is an integer,
 * decimal also with leading zeros; all else is a string. */
#ifndef HOST_VALUES_H
#define HOST_VALUES_H

#include <stdint.h>

#include "host/handles.h"
#include "host/linkage.h"

HOST_BEGIN

/* Splits a copy of the text; null is an empty text.  The caller gives the handle
 * back with H_FREE.  0 with error 14 without memory. */
HOST_API ZHandle Zcds_new(const char *text);

/* Zcds_get_count: the values; 0 for a handle that is none of these.
 * The others take i from 0 and, past the end and for such a handle, give type 0,
 * integer 0 and the text "".
 * Zcds_get_type: 1 integer, 3 string.
 * Zcds_get_int_value: of a string its leading number, brought into 32 bits, or 0.
 * Zcds_get_str_value: the value as it was written, owned by the handle; flags is 0. */
HOST_API uint32_t Zcds_get_count(ZHandle values);
HOST_API int Zcds_get_type(ZHandle values, uint32_t i);
HOST_API int32_t Zcds_get_int_value(ZHandle values, uint32_t i);
HOST_API const char *Zcds_get_str_value(ZHandle values, uint32_t i, int flags);

HOST_END

#endif
