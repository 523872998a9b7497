// SPDX-License-Identifier: MIT
#include "fsi/4gl/kst4gl/date_format.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "fsi/4gl/kst4gl/julian.h"
#include "host/config.h"
#include "host/messages.h"

namespace fsi {
namespace {

constexpr uint8_t kNoLetter = 0x80;

// Components that a letter names; F and R depend on what follows.
constexpr auto kComponents = [] {
    std::array<uint8_t, 256> table{};
    table.fill(kNoLetter);
    table['Y'] = kHasYear;
    table['M'] = kHasMonth;
    table['D'] = kHasDay;
    table['E'] = kHasMonth | kHasDay;
    table['J'] = kHasWholeDate;
    table['H'] = kHasHour;
    table['N'] = kHasMinute;
    table['S'] = kHasSecond;
    table['T'] = kHasFraction;
    table['F'] = 0;
    table['R'] = 0;
    return table;
}();

// Numbers of more digits than any component has stay at this one: too large for
// all of them, and far from the end of its type.
constexpr int32_t kTooLarge = 1000000000;

// Numbers of so many digits fit.
constexpr int kPlainDigits = 9;

// Decades: 174 stands for the 1740s.
constexpr int32_t kFirstDecade = 174;
constexpr int32_t kLastDecade = 215;
constexpr char kFirstDecadeLetter = ' ';
constexpr char kLastDecadeLetter = 'I';

constexpr int32_t kMissingYear = 1901;
constexpr int32_t kDefaultCutoff = 20;

constexpr int32_t kPowersOfTen[] = {1, 10, 100, 1000, 10000, 100000, 1000000};
constexpr int kFractionDigits = 6;

constexpr bool is_in(int32_t value, int32_t lowest, int32_t highest) {
    return value >= lowest && value <= highest;
}

constexpr bool is_decade(char letter) {
    return letter == 'F' || letter == 'R';
}

// The number in the characters of a run: blanks in front of the first digit that
// is not 0 count as 0.  False for anything else; *at is then the character.
bool read_number(const char *&at, int width, bool is_descending, int32_t *number) {
    int32_t value = 0;
    if (width <= kPlainDigits && !is_descending) {
        int i = 0;
        for (; i < width; ++i) {
            const int digit = static_cast<unsigned char>(at[i]) - '0';
            if (static_cast<unsigned>(digit) > 9)
                break;
            value = value * 10 + digit;
        }
        if (i == width) {
            at += width;
            *number = value;
            return true;
        }
        value = 0;
    }
    bool is_leading = true;
    for (const char *end = at + width; at != end; ++at) {
        int digit = static_cast<unsigned char>(*at) - '0';
        if (*at == ' ' && is_leading)
            digit = 0;
        if (digit < 0 || digit > 9)
            return false;
        if (digit != 0)
            is_leading = false;
        if (is_descending)
            digit = 9 - digit;
        value = value >= kTooLarge / 10 ? kTooLarge : value * 10 + digit;
    }
    *number = value;
    return true;
}

void write_number(int32_t number, int width, bool is_descending, char *text) {
    // Only of dates that are not valid, whose text reaches no field.
    uint32_t rest = number < 0 ? 0 : static_cast<uint32_t>(number);
    for (char *at = text + width; at != text;) {
        const auto digit = static_cast<char>(rest % 10);
        *--at = static_cast<char>(is_descending ? '9' - digit : '0' + digit);
        rest /= 10;
    }
}

// What the runs said that is not in the parts yet.
struct RunState {
    int32_t decade = 0;
    bool has_short_year = false;
    bool has_day_of_year = false;
};

void set_day_of_year(int32_t number, DateParts *parts) {
    DateTimeValue value{};
    if (number >= 1 && number <= 366)
        ZGetMonthAndDay(&value, number);
    parts->month = value.month;
    parts->day = value.day;
}

void store_number(DateRun run, int32_t number, int32_t base_day, RunState *state,
                  DateParts *parts) {
    switch (run.letter) {
        case 'Y':
            parts->year = run.width == 1 ? state->decade * 10 + number : number;
            state->has_short_year |= run.width == 2;
            break;
        case 'M':
            parts->month = number;
            break;
        case 'D':
            parts->day = number;
            break;
        case 'E':
            set_day_of_year(number, parts);
            state->has_day_of_year = true;
            break;
        case 'J':
            set_date_of_day(int64_t{base_day} + number, parts);
            break;
        case 'H':
            parts->hour = number;
            break;
        case 'N':
            parts->minute = number;
            break;
        case 'S':
            parts->second = number;
            break;
        default:
            parts->microseconds = run.width < kFractionDigits
                                      ? number * kPowersOfTen[kFractionDigits - run.width]
                                      : number;
            break;
    }
}

// Days of the year were counted in a common year; in a leap year those behind
// February are a day late.
void correct_leap_year(DateParts *parts) {
    // Day 366 was set as December 32.
    if (!is_leap_year(parts->year) || parts->month <= 2 || !is_in(parts->day, 1, 32) ||
        !is_valid_date(*parts, kHasYear | kHasMonth))
        return;
    DateTimeValue value;
    set_value(*parts, &value);
    ZSubtractOneDay(&value);
    parts->year = value.year;
    parts->month = value.month;
    parts->day = value.day;
}

void add_century(DateParts *parts) {
    if (parts->month == 0 || parts->year > 99)
        return;
    int32_t cutoff = ZCGetValueShort("4GL_2000_CUTOFF", kDefaultCutoff);
    if (cutoff >= 100)
        cutoff = kDefaultCutoff;
    parts->year += parts->year < cutoff ? 2000 : 1900;
}

// False for a component that has no text.
bool number_of(DateRun run, const DateParts &parts, int32_t base_day, int32_t *number) {
    switch (run.letter) {
        case 'Y':
            *number = parts.year;
            return true;
        case 'M':
            *number = parts.month;
            return true;
        case 'D':
            *number = parts.day;
            return true;
        case 'E':
            *number = ZGetDays(parts.month, parts.day) +
                      (parts.month > 2 && is_leap_year(parts.year) ? 1 : 0);
            return true;
        case 'J': {
            const int32_t day = day_number(parts.year, parts.month, parts.day);
            const int64_t days = int64_t{day} - base_day;
            if (day == ZCGetValueLong("4GL_JULIAN_NULL", 0) || !(days >= 0 && days <= INT32_MAX))
                return false;
            *number = static_cast<int32_t>(days);
            return true;
        }
        case 'H':
            *number = parts.hour;
            return true;
        case 'N':
            *number = parts.minute;
            return true;
        case 'S':
            *number = parts.second;
            return true;
        default:
            *number = run.width < kFractionDigits
                          ? parts.microseconds / kPowersOfTen[kFractionDigits - run.width]
                          : parts.microseconds;
            return true;
    }
}

// The significant text, which runs from the first to the last character that is not
// blank or is a decade, at the right end of the format's letters, with "0" in front.
const char *align(const DateFormat &format, const char *text, size_t length,
                  char (&aligned)[kMaxDateLetters]) {
    const auto is_significant = [&](size_t i) {
        return text[i] != ' ' || (format.decade_positions >> i & 1) != 0;
    };
    length = std::min<size_t>(length, format.length);
    size_t first = 0;
    while (first < length && !is_significant(first))
        ++first;
    while (length > first && !is_significant(length - 1))
        --length;
    const size_t missing = format.length - (length - first);
    std::fill_n(aligned, missing, '0');
    std::memcpy(aligned + missing, text + first, length - first);
    return aligned;
}

}  // namespace

DateParts parts_of(const DateTimeValue &value) {
    return {value.year,   value.month,  value.day,         value.hour,
            value.minute, value.second, value.microseconds};
}

bool is_leap_year(int32_t year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

bool scan_date_format(const char *text, DateFormat *format) {
    format->text = text;
    int run_count = 0;
    int length = 0;
    unsigned components = 0;
    for (const char *at = text; *at != '\0';) {
        const char letter = *at;
        const uint8_t named = kComponents[static_cast<unsigned char>(letter)];
        const char *start = at;
        do {
            ++at;
        } while (*at == letter && !is_decade(letter));
        if (static_cast<size_t>(at - text) > kMaxDateLetters)
            return false;
        if (named == kNoLetter)
            continue;
        if (is_decade(letter)) {
            format->decade_positions |= 1U << length;
            format->is_descending |= letter == 'R';
            if (*at == 'Y')
                components |= kHasYear;
        }
        components |= named;
        format->runs[run_count++] = {letter, static_cast<uint8_t>(at - start)};
        length += static_cast<int>(at - start);
    }
    format->run_count = static_cast<uint8_t>(run_count);
    format->length = static_cast<uint8_t>(length);
    format->components = static_cast<uint8_t>(components);
    return true;
}

bool is_valid_date(const DateParts &parts, uint8_t components) {
    const auto fails = [components](unsigned component, int32_t value, int32_t lowest,
                                    int32_t highest) {
        return (components & component) != 0 && !is_in(value, lowest, highest);
    };
    if (fails(kHasYear, parts.year, 0, 9999) || fails(kHasMonth, parts.month, 1, 12) ||
        fails(kHasDay, parts.day, 1, 31) || fails(kHasHour, parts.hour, 0, 23) ||
        fails(kHasMinute, parts.minute, 0, 59) || fails(kHasSecond, parts.second, 0, 59) ||
        fails(kHasFraction, parts.microseconds, 0, 999999))
        return false;
    if ((components & (kHasMonth | kHasDay)) != (kHasMonth | kHasDay) || parts.day <= 28)
        return true;
    switch (parts.month) {
        case 4:
        case 6:
        case 9:
        case 11:
            return parts.day <= 30;
        case 2:
            return parts.day == 29 && is_leap_year(parts.year);
        default:
            return true;
    }
}

bool parse_date(const DateFormat &format, const char *text, size_t length, const ParseRules &rules,
                DateParts *parts) {
    char aligned[kMaxDateLetters] = {};
    // Nearly always the text fills its format.
    if (length != format.length || length == 0 || text[0] == ' ' || text[length - 1] == ' ')
        text = align(format, text, length, aligned);

    *parts = DateParts{};
    RunState state;
    const auto bad_character = [](char c) {
        if (f_trace != 0)
            ZTrace(0, kDateTraceCategory, "%s: %c", kDateTraceName, c);
        return false;
    };
    const char *at = text;
    for (const DateRun *run = format.runs; run != format.runs + format.run_count; ++run) {
        if (is_decade(run->letter)) {
            const char c = *at++;
            if (c < kFirstDecadeLetter || c > kLastDecadeLetter)
                return bad_character(c);
            state.decade = run->letter == 'F' ? kFirstDecade + (c - kFirstDecadeLetter)
                                              : kLastDecade - (c - kFirstDecadeLetter);
            continue;
        }
        int32_t number = 0;
        if (!read_number(at, run->width, format.is_descending, &number))
            return bad_character(*at);
        store_number(*run, number, rules.base_day, &state, parts);
    }

    if (state.has_day_of_year)
        correct_leap_year(parts);
    if (rules.is_noon) {
        if (!format.has(kHasMonth))
            parts->month = 1;
        if (!format.has(kHasDay))
            parts->day = 1;
        if (!format.has(kHasHour))
            parts->hour = 12;
    }
    if (state.has_short_year || rules.is_windowed)
        add_century(parts);
    return true;
}

void complete_date(const DateFormat &format, DateParts *parts) {
    if (!format.has(kHasYear))
        parts->year = kMissingYear;
    if (!format.has(kHasMonth))
        parts->month = 1;
    if (!format.has(kHasDay))
        parts->day = 1;
}

void trace_unread(const DateFormat &format, const char *text) {
    ZTrace(0, kDateTraceCategory, "%s: '%s', '%*s'", kDateTraceName, format.text,
           static_cast<int>(format.length), text);
}

void trace_read(const DateParts &parts) {
    ZTrace(0, kDateTraceCategory, "%s: %04d/%02d/%02d %02d:%02d:%02d:%06d", kDateTraceName,
           parts.year, parts.month, parts.day, parts.hour, parts.minute, parts.second,
           parts.microseconds);
}

void trace_unwritten(const DateParts &parts) {
    ZTrace(0, kDateTraceCategory, "%s: %04d/%02d/%02d %02d:%02d:%02d.%06d", kDateTraceName,
           parts.year, parts.month, parts.day, parts.hour, parts.minute, parts.second,
           parts.microseconds);
}

bool format_date(const DateFormat &format, const DateParts &parts, int32_t base_day, char *text) {
    char *at = text;
    for (const DateRun *run = format.runs; run != format.runs + format.run_count; ++run) {
        if (is_decade(run->letter)) {
            // Years before 0 have no decade, either.
            const int32_t decade = parts.year / 10;
            if (decade < kFirstDecade || decade > kLastDecade ||
                (run->letter == 'F' && format.is_descending))
                return false;
            const int32_t step = run->letter == 'F' ? decade - kFirstDecade : kLastDecade - decade;
            *at++ = static_cast<char>(kFirstDecadeLetter + step);
            continue;
        }
        int32_t number = 0;
        if (!number_of(*run, parts, base_day, &number))
            return false;
        write_number(number, run->width, format.is_descending, at);
        at += run->width;
    }
    *at = '\0';
    return true;
}

}  // namespace fsi
