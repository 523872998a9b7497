/* SPDX-License-Identifier: MIT
 *
 * Days of the proleptic Gregorian calendar. */
#ifndef HOST_DATES_H
#define HOST_DATES_H

#include <stdint.h>

#include "host/linkage.h"

HOST_BEGIN

/* Twelve bytes: a date and a time of day.  month 1..12, day 1..31, hour 0..23,
 * minute and second 0..59, hundredths 0..99, microseconds 0..999999. */
typedef struct DateTimeValue {
    int16_t year;
    int8_t month, day, hour, minute, second, hundredths;
    int32_t microseconds;
} DateTimeValue;

/* The date's day number: 1899-12-31 is 0, 1900-01-01 is 1.  The time does not
 * count.  Any record has a number: months outside 1..12 carry into the years, days
 * count on from the first of the month.
 * Source: E. G. Richards, Mapping Time, chapter 25. */
HOST_API int32_t ZDTRToJulian(const DateTimeValue *value);

/* The day of a common year, 1..365 for a date that exists; February 29 gives 60.
 * 0 for a month outside 1..12.  The day is not checked. */
HOST_API int32_t ZGetDays(int month, int day);

/* Sets month and day from a day of a common year, 1..365.  366 gives December 32,
 * which ZSubtractOneDay brings back; anything else month 0 and day 0. */
HOST_API void ZGetMonthAndDay(DateTimeValue *value, int day_of_year);

/* The day before, across the ends of months (leap years count) and years.  A record
 * without a date (month outside 1..12, day below 1) and the first day of the year
 * -32768 stay as they are. */
HOST_API void ZSubtractOneDay(DateTimeValue *value);

HOST_END

#endif
