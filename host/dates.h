/* SPDX-License-Identifier: MIT */
#ifndef HOST_DATES_H
#define HOST_DATES_H

#include <stdint.h>

#include "host/linkage.h"

HOST_BEGIN

typedef struct DateTimeValue {
    int16_t year;
    int8_t month, day, hour, minute, second, hundredths;
    int32_t microseconds;
} DateTimeValue;

HOST_API int32_t ZDTRToJulian(const DateTimeValue *value);
HOST_API int32_t ZGetDays(int month, int day);
HOST_API void ZGetMonthAndDay(DateTimeValue *value, int day_of_year);
HOST_API void ZSubtractOneDay(DateTimeValue *value);

HOST_END

#endif
