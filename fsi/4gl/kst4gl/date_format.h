// SPDX-License-Identifier: MIT
//
// Date formats: what their letters ask for, and the text that a date has under
// one.  Fields and configured dates are the business of dates.cpp and
// date_values.cpp.
#ifndef FSI_4GL_KST4GL_DATE_FORMAT_H
#define FSI_4GL_KST4GL_DATE_FORMAT_H

#include <cstddef>
#include <cstdint>

#include "host/dates.h"

namespace fsi {

constexpr size_t kMaxDateLetters = 20;

constexpr int kDateTraceCategory = 5;
constexpr const char *kDateTraceName = "Z4ConvertDateTime";

// Components that a format names; only these are checked.
enum DateComponent : uint8_t {
    kHasYear = 1,
    kHasMonth = 2,
    kHasDay = 4,
    kHasHour = 8,
    kHasMinute = 16,
    kHasSecond = 32,
    kHasFraction = 64,
};
constexpr uint8_t kHasWholeDate = kHasYear | kHasMonth | kHasDay;

// A date before it is known to exist: wider than the members of DateTimeValue, so
// that nothing is cut before it is judged.
struct DateParts {
    int32_t year = 0, month = 0, day = 0;
    int32_t hour = 0, minute = 0, second = 0;
    int32_t microseconds = 0;
};

DateParts parts_of(const DateTimeValue &value);

// Only of parts that fit: those of a valid date, and zeros.  Straight into its place:
// a record that is filled and then copied waits for its own narrow members.
inline void set_value(const DateParts &parts, DateTimeValue *value) {
    value->year = static_cast<int16_t>(parts.year);
    value->month = static_cast<int8_t>(parts.month);
    value->day = static_cast<int8_t>(parts.day);
    value->hour = static_cast<int8_t>(parts.hour);
    value->minute = static_cast<int8_t>(parts.minute);
    value->second = static_cast<int8_t>(parts.second);
    value->hundredths = 0;
    value->microseconds = parts.microseconds;
}

bool is_leap_year(int32_t year);

// One run of a letter; each F and each R is a run of its own.
struct DateRun {
    char letter;
    uint8_t width;
};

// What a format says, letters without meaning left out.
struct DateFormat {
    const char *text = "";  // as given; not owned
    DateRun runs[kMaxDateLetters];
    uint8_t run_count = 0;
    uint8_t length = 0;             // characters of a text in this format
    uint8_t components = 0;         // DateComponent bits
    uint32_t decade_positions = 0;  // bit i: character i is a decade
    bool is_descending = false;     // R occurs

    bool has(DateComponent component) const { return (components & component) != 0; }
};

// False when the format has more letters than any may have.
bool scan_date_format(const char *text, DateFormat *format);

// Tells whether each of the components is in its range, and the day in its month.
bool is_valid_date(const DateParts &parts, uint8_t components);

struct ParseRules {
    int32_t base_day = 0;      // day number from which J counts
    bool is_windowed = false;  // years below 100 get a century however written
    bool is_noon = false;      // hours that the format does not name are 12
};

// Reads the `length` characters of a text, aligned with the format's right end;
// what is missing on the left counts as "0".  The components may still be
// invalid.  False for a character that cannot stand where it does.
bool parse_date(const DateFormat &format, const char *text, size_t length, const ParseRules &rules,
                DateParts *parts);

// Year, month and day that the format does not name become 1901, 1 and 1.
void complete_date(const DateFormat &format, DateParts *parts);

// Lines of the trace, for callers that find f_trace set: a text about to be parsed,
// the date that came of it, a date about to be formatted.
void trace_unread(const DateFormat &format, const char *text);
void trace_read(const DateParts &parts);
void trace_unwritten(const DateParts &parts);

// Writes the format.length characters of a date, and a zero byte.  False for a year
// without a decade letter, and for a day that J cannot express.
bool format_date(const DateFormat &format, const DateParts &parts, int32_t base_day, char *text);

}  // namespace fsi

#endif
