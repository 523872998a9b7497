// SPDX-License-Identifier: MIT
//
// Dates that the configuration gives to special contents of fields: zeros, nines,
// spaces, and what cannot be converted.  Also the contents themselves: which a
// field holds, and how they are written.
#ifndef FSI_4GL_KST4GL_DATE_VALUES_H
#define FSI_4GL_KST4GL_DATE_VALUES_H

#include <cstdint>

#include "fsi/4gl/kst4gl/date_format.h"
#include "host/data.h"
#include "host/dates.h"

namespace fsi {

enum class SpecialDate { kInvalid, kNine, kNull, kZero };
constexpr int kSpecialDates = 4;

// Whether the configuration was read since Z4Init; asked at each conversion.
extern bool special_dates_are_loaded;

// Reads the configuration.  False without memory, and nothing is kept then.
bool load_special_dates();

// Frees the dates; the next load reads them again.
void release_special_dates();

// Null for a date that is not configured.  Of a configuration that is no date all
// members are zero.
const DateTimeValue *special_date(SpecialDate which);

// Whether any of ZERO, NINE and INVALID is configured; asked at each conversion.
extern bool has_special_contents;

// The date that the field's contents stand for, of ZERO, NINE and INVALID; null
// when they are not special or what they are is not configured.
//   text, length   the field's text under its format; null when it has none
const DateTimeValue *date_of_contents(const ZArgument &field, const char *text, size_t length);

// Writes the contents that stand for a date, of INVALID, NINE and ZERO.  Only the
// times that the format names count.  False, with the field unchanged, for a date
// that nothing stands for.
bool write_special_contents(const ZArgument &field, const DateTimeValue &value,
                            const DateFormat &format);

// Writes the text "0" to a field.
bool write_zero(const ZArgument &field);

// Descriptors of text for ZconvertData, which writes to what it is told is the
// destination alone.
ZArgument text_argument(const char *text, size_t length);

}  // namespace fsi

#endif
