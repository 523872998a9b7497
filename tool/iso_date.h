// SPDX-License-Identifier: MIT
//
// Date-time records as ISO 8601 writes them.
#ifndef TOOL_ISO_DATE_H
#define TOOL_ISO_DATE_H

#include <string>
#include <string_view>

#include "host/dates.h"

namespace tool {

struct IsoDate {
    DateTimeValue value = {};
    bool has_date = false;
    bool has_time = false;
};

// Reads YYYY-MM-DD, HH:MM:SS[.ffffff] (1 to 6 decimals), or both with a blank or "T"
// between them.  A text without a date gets 1901-01-01.  Throws Failure for another
// form; whether there is such a date or time is not judged.
IsoDate parse_iso_date(const std::string &text);

// "2005-12-31", "12:30:00", "2005-12-31 12:30:00.250000".
std::string iso_date(const DateTimeValue &value);
std::string iso_time(const DateTimeValue &value, bool with_fraction);

// Whether the calendar has the day and the clock the time.
bool exists(const DateTimeValue &value);

}  // namespace tool

#endif
