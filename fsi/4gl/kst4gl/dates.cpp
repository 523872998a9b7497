// SPDX-License-Identifier: MIT
//
// Date fields of records and date-time records, in both directions.
#include "wbfsi/dates.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "fsi/4gl/kst4gl/date_format.h"
#include "fsi/4gl/kst4gl/date_values.h"
#include "fsi/4gl/kst4gl/julian.h"
#include "fsi/4gl/kst4gl/model.h"
#include "fsi/base/owner.h"
#include "host/config.h"
#include "host/data.h"
#include "host/errors.h"
#include "host/messages.h"
#include "wbfsi/accessors.h"

namespace fsi {
namespace {

constexpr int16_t kNoMemory = 14;

constexpr uint16_t kShortDateType = 6;
constexpr uint16_t kLongDateType = 8;
constexpr uint16_t kDisplayType = 1;

// One call.  Its outcome is a leaving line of the trace, null for a failure.
struct Conversion {
    const ZArgument &field;
    DateTimeValue *value;
    int32_t date_value;
    bool replaces_illegal;
    const DateFormat &format;
    const ParseRules &rules;
    char *text;  // room for a sign, kMaxDateLetters and a zero byte, format.length used
};

constexpr const char *kDone = "Leaving, 1";
constexpr const char *kFailed = nullptr;

// What a date that does not exist becomes: the caller's replacement, in a format
// that its number of digits picks.  False when there is none, or it does not exist
// either.
bool replace_illegal(const Conversion &call, DateParts *parts) {
    if (!call.replaces_illegal || ZCGetValueBool("4GL_CONVERT_DATES", 1) == 0)
        return false;
    char digits[16] = {};
    const char *end = std::to_chars(digits, digits + sizeof digits - 1, call.date_value).ptr;
    const auto length = static_cast<size_t>(end - digits);
    DateFormat replacement;
    if (length == call.format.length) {
        replacement = call.format;
    } else if (length == 6 || length == 8) {
        scan_date_format(length == 6 ? "YYMMDD" : "YYYYMMDD", &replacement);
    } else {
        if (f_trace != 0)
            ZTrace(0, kDateTraceCategory, "Invalid value for ILLEGAL-DATE-VALUE: %s", digits);
        return false;
    }
    const auto components = static_cast<uint8_t>(call.format.components | replacement.components);
    if (!parse_date(replacement, digits, length, {call.rules.base_day, false, false}, parts) ||
        !is_valid_date(*parts, components))
        return false;
    complete_date(replacement, parts);
    return true;
}

// A text field wider than its format is cut on the right; of one that is justified
// right the blanks on the left go first.
ZArgument significant_part(const ZArgument &field, size_t length) {
    ZArgument part = field;
    const bool is_national = field.a_type >= 24 && field.a_type <= 26;
    const bool is_right_justified = field.a_type == 17 || field.a_type == 19 || field.a_type == 25;
    const uint32_t unit = is_national ? 2 : 1;
    if (is_right_justified && field.a_address != 0) {
        const auto *bytes = reinterpret_cast<const char *>(field.a_address);
        const char16_t blank = u' ';
        while (part.a_size / unit > length &&
               (is_national ? std::memcmp(bytes, &blank, unit) == 0 : *bytes == ' ')) {
            bytes += unit;
            part.a_size -= unit;
        }
        part.a_address = reinterpret_cast<uintptr_t>(bytes);
    }
    // No more than the text can come from, a pair of units a character, so that the
    // host needs no memory for the rest.
    if (is_national)
        part.a_size = std::min(part.a_size, static_cast<uint32_t>(length) * 2 * unit);
    return part;
}

// Whether a field is one of the decimal storages, without a point.
bool is_plain_number(const ZArgument &field) {
    constexpr uint16_t kLastPackedType = 10;
    return field.a_type >= kDisplayType && field.a_type <= kLastPackedType && field.a_scale == 0;
}

// The digits of a whole number as the host gives them fastest, sign and digits, which
// read like its text; call->text is then behind the sign.  False for what is not as
// simple as that, and when the text is to be traced.
bool read_plain_number(Conversion *call) {
    constexpr uint16_t kSignAndDigits = 4;
    const ZArgument &field = call->field;
    const uint8_t length = call->format.length;
    if (!is_plain_number(field) || call->format.decade_positions != 0 || f_trace != 0)
        return false;
    ZArgument dest = text_argument(call->text, length + size_t{1});
    dest.a_type = kSignAndDigits;
    dest.a_digits = length;
    if (ZconvertData(&dest, &field, 1, nullptr) == 0 || call->text[0] != '+')
        return false;
    ++call->text;
    return true;
}

// Sets call.text to the text of a field of any storage.
bool read_text(const Conversion &call) {
    const ZArgument source = significant_part(call.field, call.format.length);
    const ZArgument dest = text_argument(call.text, call.format.length);
    return ZconvertData(&dest, &source, 1, nullptr) != 0;
}

// Sets call.text to a date.
bool format_traced(const Conversion &call, const DateParts &parts) {
    if (!format_date(call.format, parts, call.rules.base_day, call.text))
        return false;
    if (f_trace != 0)
        ZTrace(0, kDateTraceCategory, "%s: '%s'", kDateTraceName, call.text);
    return true;
}

const char *read_field(Conversion *call) {
    const DateFormat &format = call->format;
    const bool is_text = read_plain_number(call) || read_text(*call);
    call->text[format.length] = '\0';

    const DateTimeValue *special = nullptr;
    if (has_special_contents &&
        (special = date_of_contents(call->field, is_text ? call->text : nullptr, format.length))) {
        const DateParts parts = parts_of(*special);
        if (f_trace != 0)
            trace_unwritten(parts);
        if ((!call->replaces_illegal && !is_valid_date(parts, format.components)) ||
            !format_traced(*call, parts))
            return kFailed;
    } else if (!is_text) {
        return kFailed;
    }
    if (f_trace != 0)
        trace_unread(format, call->text);

    DateParts parts;
    if (!parse_date(format, call->text, format.length, call->rules, &parts))
        return kFailed;
    bool is_complete = (format.components & kHasWholeDate) == kHasWholeDate;
    if (!is_valid_date(parts, format.components)) {
        if (const DateTimeValue *invalid = special_date(SpecialDate::kInvalid))
            parts = parts_of(*invalid);
        else if (replace_illegal(*call, &parts))
            is_complete = true;
        else
            return kFailed;
    }
    if (!is_complete)
        complete_date(format, &parts);
    set_value(parts, call->value);
    if (f_trace != 0)
        trace_read(parts);
    return kDone;
}

bool is_zero_date(const DateTimeValue &value, int32_t date_value) {
    return value.year == date_value / 10000 && value.month == date_value / 100 % 100 &&
           value.day == date_value % 100 && value.hour == 0 && value.minute == 0 &&
           value.second == 0 && value.microseconds == 0;
}

// The descriptor of call.text for a field that is about to be written: to numbers
// digits are digits, which the host takes faster than a text to be looked through.
ZArgument formatted_text(const Conversion &call) {
    ZArgument source = text_argument(call.text, call.format.length);
    if (is_plain_number(call.field) && call.format.decade_positions == 0) {
        source.a_type = kDisplayType;
        source.a_digits = call.format.length;
    }
    return source;
}

// Of the decade letters numbers hold the digits alone; a blank, a sign or a point
// would be taken as one, and the decade be lost.
bool fits_field(const Conversion &call) {
    const uint16_t type = call.field.a_type;
    const bool is_number =
        type <= 14 || type == 23 || (type >= 30 && type <= 33) || (type >= 35 && type <= 39);
    return call.format.decade_positions == 0 || !is_number ||
           std::strspn(call.text, "0123456789") == call.format.length;
}

// A failure leaves it to the caller to write "0" to the field.
const char *write_field(Conversion *call) {
    DateTimeValue &value = *call->value;
    if (is_zero_date(value, call->date_value) && ZCGetValueBool("4GL_CONVERT_DATE_ZERO", 1) != 0)
        return write_zero(call->field) ? "Leaving, date = invalid-date-value" : kFailed;
    if (has_special_contents && write_special_contents(call->field, value, call->format))
        return "Leaving, date = boundary-date-value";

    DateParts parts = parts_of(value);
    if (f_trace != 0)
        trace_unwritten(parts);
    const bool is_valid = is_valid_date(parts, call->format.components);
    if ((!is_valid && !call->replaces_illegal) || !format_traced(*call, parts))
        return kFailed;
    if (!is_valid && (!replace_illegal(*call, &parts) || !format_traced(*call, parts)))
        return kFailed;
    const ZArgument source = formatted_text(*call);
    if (!fits_field(*call) || ZconvertData(&call->field, &source, 1, nullptr) == 0)
        return kFailed;
    if (!is_valid)
        set_value(parts, &value);
    return kDone;
}

// The format given, or the one that the type of the field stands for; null for
// none.
const char *choose_format(const char *text, uint16_t type, bool *is_windowed) {
    if (text != nullptr && *text != '\0')
        return text;
    if (type == kShortDateType) {
        *is_windowed = true;
        return "YYMMDD";
    }
    if (type == kLongDateType) {
        *is_windowed = ZCGetValueBool("4GL_8_DIGIT_CUTOFF", 0) != 0;
        return "YYYYMMDD";
    }
    return nullptr;
}

// What a format says, remembered from one call to the next: the records of a file
// ask for the same few over and over.  Null for a format that has too many letters.
const DateFormat *scanned_format(const char *text) {
    static char letters[kMaxDateLetters + 1];
    static DateFormat format;
    if (std::strcmp(text, letters) == 0)
        return &format;
    letters[0] = '\0';
    format = DateFormat();
    const size_t length = strnlen(text, kMaxDateLetters + 1);
    if (length > kMaxDateLetters)
        return nullptr;
    std::memcpy(letters, text, length + 1);
    scan_date_format(letters, &format);
    return &format;
}

const char *convert(Conversion *call, int direction) {
    return direction == Z4_DATE_FROM_FIELD ? read_field(call)
           : direction == Z4_DATE_TO_FIELD ? write_field(call)
                                           : kFailed;
}

const char *convert(const ZArgument &field, DateTimeValue *value, const char *letters,
                    int direction, int32_t date_value, bool replaces_illegal, char *text) {
    ParseRules rules;
    rules.is_noon = date_value == -1;
    letters = choose_format(letters, field.a_type, &rules.is_windowed);
    const DateFormat *format = letters == nullptr ? nullptr : scanned_format(letters);
    if (format == nullptr || !julian_base_day(&rules.base_day))
        return kFailed;
    Conversion call{field, value, date_value, replaces_illegal, *format, rules, text};
    return convert(&call, direction);
}

int refuse_memory() {
    *Zstdlib_f_errno() = kNoMemory;
    if (f_trace != 0)
        ZTrace(-1, kDateTraceCategory, "Leaving, 0");
    return 0;
}

bool has_letter_of(const XfdField *field, const char *letters) {
    return std::strpbrk(Z4GetXFDFieldFormat(field), letters) != nullptr;
}

}  // namespace
}  // namespace fsi

int Z4ConvertDateTime(const XfdArgument *field, DateTimeValue *dtr, const char *format,
                      int direction, int32_t date_value, int use_illegal) {
    using namespace fsi;
    if (field == nullptr || dtr == nullptr)
        return 0;
    if (f_trace != 0)
        ZTrace(1, kDateTraceCategory, "%s", kDateTraceName);
    if (!special_dates_are_loaded && !load_special_dates())
        return refuse_memory();
    const Block<char> text(
        static_cast<char *>(Zmalloc(kMaxDateLetters + 2, "Temp date string", kSource)));
    if (!text)
        return refuse_memory();

    if (direction == Z4_DATE_TO_FIELD && dtr->hundredths != 0) {
        dtr->microseconds = dtr->hundredths * 10000;
        dtr->hundredths = 0;
    }
    const char *outcome =
        convert(*field, dtr, format, direction, date_value, use_illegal != 0, text.get());
    if (outcome == kFailed) {
        const DateTimeValue *null_date = special_date(SpecialDate::kNull);
        if (direction == Z4_DATE_FROM_FIELD)
            *dtr = null_date != nullptr ? *null_date : DateTimeValue{};
        else if (direction == Z4_DATE_TO_FIELD)
            write_zero(*field);
        outcome = null_date != nullptr ? kDone : "Leaving, 0";
        if (f_trace != 0)
            ZTrace(-1, kDateTraceCategory, "%s", outcome);
        return null_date != nullptr ? 1 : 0;
    }
    if (f_trace != 0)
        ZTrace(-1, kDateTraceCategory, "%s", outcome);
    return 1;
}

int Z4HaveDateInfo(const XfdField *field) {
    return Z4GetXFDFieldFormat(field)[0] == '\0' || fsi::has_letter_of(field, "DEJMY") ? 1 : 0;
}

int Z4HaveTimeInfo(const XfdField *field) {
    return fsi::has_letter_of(field, "HNST") ? 1 : 0;
}
