/* SPDX-License-Identifier: MIT
 *
 * Record-type conditions: which layout a record of a file with several has. */
#ifndef WBFSI_CONDITIONS_H
#define WBFSI_CONDITIONS_H

#include "wbfsi/api.h"
#include "wbfsi/records.h"

WBFSI_BEGIN

/* 1 when condition number cond_num (1-based) holds for a record, else 0, which also
 * becomes its XFD_CONDITION_TRUE bit.  Number 0 is true, one below it or above
 * x_n_conditions false; neither touches a bit.
 *   record  x_max_rec_size bytes, at least up to the end of each field tested
 *
 * For each record the conditions are asked for in ascending order: "and", "or" and
 * "other" take the bits of lower conditions as their last evaluation left them, and
 * evaluate higher ones on demand.  Each condition is evaluated at most once for one
 * call; asked for again it answers with its bit.  So conditions that refer to
 * each other in circles end, in time proportional to their number and for each
 * "other" once more.
 *   comparisons  of numbers by sign and digits (Z4Compare), of other data by bytes,
 *                over at most 50: a field that ends in spaces behind the value
 *                equals it.  The field's a_address is left on a copy of a
 *                number, valid until the next call, or in the record when the
 *                field is longer than any number
 *   and, or      c_num2 first; c_num1 only when that does not settle it.  Numbers
 *                of 0 or less are false
 *   other        true when no other condition with the same c_field_num holds; "and"
 *                and "or" from a dictionary have 0, that of the first field
 * A comparison of a field that there is not, and a type that there is not, are false.
 *
 * Takes memory only for more than 64 conditions, and only when one asks for a higher
 * one; when it is refused the result is 0, f_errno 14, and no bit has changed. */
WBFSI_API int Z4TestCOBOLCond(Xfd *xfd, int cond_num, const char *record);

WBFSI_END

#endif
