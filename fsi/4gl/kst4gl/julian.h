// SPDX-License-Identifier: MIT
//
// Day numbers.  The host counts days from a day of its own, so dates are found
// from day numbers through its function alone.
#ifndef FSI_4GL_KST4GL_JULIAN_H
#define FSI_4GL_KST4GL_JULIAN_H

#include <cstdint>

#include "fsi/4gl/kst4gl/date_format.h"

namespace fsi {

// The host's day number of a date; its time does not count.
int32_t day_number(int32_t year, int32_t month, int32_t day);

// The date of a day number from 0000-01-01 to 9999-12-31; of others a date that is
// not valid.
void set_date_of_day(int64_t day, DateParts *parts);

// The day number of 4GL_JULIAN_BASE_DATE, 0 when that is 0; false when it is no date.
bool julian_base_day(int32_t *base_day);

}  // namespace fsi

#endif
