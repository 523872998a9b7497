// SPDX-License-Identifier: MIT
#include "fsi/4gl/kst4gl/date_values.h"

#include <strings.h>

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

#include "fsi/4gl/kst4gl/model.h"
#include "fsi/base/owner.h"
#include "host/config.h"
#include "host/messages.h"

namespace fsi {
namespace {

constexpr const char *kTag = "DateTimeValue";
constexpr char kValueFormat[] = "YYYYMMDDHHNNSSTTTTTT";
static_assert(sizeof kValueFormat - 1 == kMaxDateLetters);

// The variables, by SpecialDate, and what the trace calls them.
struct SpecialVariable {
    const char *name;
    const char *refusal;
};
constexpr SpecialVariable kVariables[kSpecialDates] = {
    {"PLEX_DATE_INVALID_VALUE", "Leaving, 4GL_DATE_INVALID_VALUE = invalid-date-value"},
    {"PLEX_DATE_NINE_VALUE", "Leaving, 4GL_DATE_NINE_VALUE = invalid-date-value"},
    {"PLEX_DATE_NULL_VALUE", "Leaving, 4GL_DATE_NULL_VALUE = invalid-date-value"},
    {"PLEX_DATE_ZERO_VALUE", "Leaving, 4GL_DATE_ZERO_VALUE = invalid-date-value"},
};

struct {
    DateTimeValue *dates[kSpecialDates];  // owned
    bool nines_are_high_values;
    bool zeros_are_low_values;
} special;

// A configured date: as many letters of the format as the text has characters.
bool parse_value(const char *text, DateTimeValue *value) {
    const size_t length = strnlen(text, kMaxDateLetters + 1);
    if (length == 0 || length > kMaxDateLetters)
        return false;
    char letters[kMaxDateLetters + 1] = {};
    std::memcpy(letters, kValueFormat, length);
    DateFormat format;
    scan_date_format(letters, &format);
    if (f_trace != 0)
        trace_unread(format, text);
    DateParts parts;
    if (!parse_date(format, text, length, {}, &parts) || !is_valid_date(parts, format.components))
        return false;
    complete_date(format, &parts);
    set_value(parts, value);
    if (f_trace != 0)
        trace_read(parts);
    return true;
}

// False without memory.
bool load_special_date(int which) {
    const SpecialVariable &variable = kVariables[which];
    const char *text = ZCGetValueString(variable.name);
    if (text == nullptr || strcasecmp(text, "null") == 0)
        return true;
    DateTimeValue *date = allocate_cleared<DateTimeValue>(1, kTag, kSource);
    if (date == nullptr)
        return false;
    special.dates[which] = date;
    if (f_trace != 0)
        ZTrace(1, kDateTraceCategory, "%s", kDateTraceName);
    const bool is_date = parse_value(text, date);
    if (f_trace != 0)
        ZTrace(-1, kDateTraceCategory, "%s", is_date ? "Leaving, 1" : variable.refusal);
    return true;
}

bool is_national(uint16_t type) {
    return (type >= 24 && type <= 26) || (type >= 35 && type <= 39);
}

// Types whose special contents are numbers, not characters.
bool holds_number(uint16_t type) {
    return (type >= 6 && type <= 14) || type == 23 || (type >= 30 && type <= 33);
}

const unsigned char *bytes_of(const ZArgument &field) {
    return reinterpret_cast<const unsigned char *>(field.a_address);
}

template <typename Predicate>
bool all_bytes(const ZArgument &field, Predicate predicate) {
    const unsigned char *bytes = bytes_of(field);
    return std::all_of(bytes, bytes + field.a_size, predicate);
}

// Each byte, or each character of a national field, is `character` or a byte
// (bytes) of `other`.
bool consists_of(const ZArgument &field, char character, unsigned char other) {
    if (all_bytes(field, [=](unsigned char byte) {
            return byte == static_cast<unsigned char>(character) || byte == other;
        }))
        return true;
    if (!is_national(field.a_type) || field.a_size < 2)
        return false;
    const unsigned char *bytes = bytes_of(field);
    for (uint32_t i = 0; i + 1 < field.a_size; i += 2) {
        uint16_t unit;
        std::memcpy(&unit, bytes + i, sizeof unit);
        if (unit != static_cast<uint16_t>(character) && unit != other * 0x101)
            return false;
    }
    return true;
}

std::string_view trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

bool is_all(char character, std::string_view text) {
    return !text.empty() && text.find_first_not_of(character) == text.npos;
}

// As many digits as a binary field of so many bits always holds.
uint32_t digits_of_bits(uint32_t bits) {
    return bits * 30103 / 100000;
}

constexpr uint32_t kMaxDigits = 38;

// The digits of the number that stands for all nines: those of the field's picture,
// as far as its storage has room for them.
uint32_t nine_digits(const ZArgument &field) {
    uint32_t room = 0;
    const uint32_t size = std::min<uint32_t>(field.a_size, 1000);
    switch (field.a_type) {
        case 6:
            room = size - 1;
            break;
        case 7:
            room = size;
            break;
        case 8:
        case 9:
            room = 2 * size - 1;
            break;
        case 10:
            room = 2 * size;
            break;
        case 11:
        case 13:
        case 30:
        case 32:
            room = size <= 16 ? digits_of_bits(8 * size - 1) : 0;
            break;
        case 12:
        case 14:
        case 31:
        case 33:
            room = size <= 16 ? digits_of_bits(8 * size) : 0;
            break;
        // Whole numbers of so many digits are exact.
        case 23:
            room = size == 4 ? 7 : 15;
            break;
        default:
            return field.a_digits;
    }
    room = std::min(room, kMaxDigits);
    return field.a_digits == 0 ? room : std::min<uint32_t>(field.a_digits, room);
}

// Room for the digits of any field that holds a date, and a sign.
constexpr size_t kNumberText = 64;

// The digits of a number, wherever its point is; empty when it has none.
std::string_view digits_of(const ZArgument &field, char (&text)[kNumberText]) {
    ZArgument source = field;
    source.a_scale = 0;
    const ZArgument dest = text_argument(text, sizeof text);
    if (ZconvertData(&dest, &source, 1, nullptr) == 0)
        return {};
    return trimmed({text, sizeof text});
}

bool fill_bytes(const ZArgument &field, int byte) {
    if (field.a_size != 0)
        std::memset(reinterpret_cast<void *>(field.a_address), byte, field.a_size);
    return true;
}

// Fills a field that holds "0" with a digit: characters, or the number of so many
// digits.
bool fill_digits(const ZArgument &field, char digit) {
    if (holds_number(field.a_type)) {
        if (digit == '0')
            return true;
        char digits[kMaxDigits];
        const uint32_t count = nine_digits(field);
        std::memset(digits, digit, count);
        ZArgument dest = field;
        dest.a_scale = 0;
        const ZArgument source = text_argument(digits, count);
        return ZconvertData(&dest, &source, 1, nullptr) != 0;
    }
    if (!is_national(field.a_type))
        return fill_bytes(field, digit);
    auto *bytes = reinterpret_cast<unsigned char *>(field.a_address);
    const auto unit = static_cast<uint16_t>(digit);
    for (uint32_t i = 0; i + 1 < field.a_size; i += 2)
        std::memcpy(bytes + i, &unit, sizeof unit);
    return true;
}

bool matches(const DateTimeValue *special_value, const DateTimeValue &value,
             const DateFormat &format) {
    if (special_value == nullptr)
        return false;
    const DateTimeValue &a = *special_value;
    return a.year == value.year && a.month == value.month && a.day == value.day &&
           (!format.has(kHasHour) || a.hour == value.hour) &&
           (!format.has(kHasMinute) || a.minute == value.minute) &&
           (!format.has(kHasSecond) || a.second == value.second) &&
           (!format.has(kHasFraction) || a.microseconds == value.microseconds);
}

}  // namespace

bool special_dates_are_loaded;
bool has_special_contents;

bool load_special_dates() {
    // Nobody has declared the variables: there is nothing to remember.
    if (ZCGetValueBool("PLEX_DATE_MAX_HIGH_VALUES", -1) == -1)
        return true;
    for (int which = 0; which < kSpecialDates; ++which) {
        if (!load_special_date(which)) {
            release_special_dates();
            return false;
        }
    }
    special.nines_are_high_values = ZCGetValueBool("PLEX_DATE_MAX_HIGH_VALUES", 0) != 0;
    special.zeros_are_low_values = ZCGetValueBool("PLEX_DATE_MIN_LOW_VALUES", 0) != 0;
    has_special_contents = special_date(SpecialDate::kZero) != nullptr ||
                           special_date(SpecialDate::kNine) != nullptr ||
                           special_date(SpecialDate::kInvalid) != nullptr;
    special_dates_are_loaded = true;
    return true;
}

void release_special_dates() {
    for (DateTimeValue *&date : special.dates)
        Block<DateTimeValue>(std::exchange(date, nullptr)).reset();
    has_special_contents = false;
    special_dates_are_loaded = false;
}

const DateTimeValue *special_date(SpecialDate which) {
    return special.dates[static_cast<int>(which)];
}

const DateTimeValue *date_of_contents(const ZArgument &field, const char *text, size_t length) {
    const DateTimeValue *zero = special_date(SpecialDate::kZero);
    const DateTimeValue *nine = special_date(SpecialDate::kNine);
    const DateTimeValue *invalid = special_date(SpecialDate::kInvalid);
    if (field.a_address == 0 && field.a_size != 0)
        return nullptr;

    const bool is_text = text != nullptr;
    std::string_view characters = is_text ? trimmed({text, length}) : std::string_view();
    const bool is_blank = is_text && characters.empty();
    char number[kNumberText];
    if (holds_number(field.a_type) || (field.a_type >= 1 && field.a_type <= 5))
        characters = digits_of(field, number);
    if (zero != nullptr && (consists_of(field, '0', 0) || is_all('0', characters)))
        return zero;
    if (nine != nullptr && (consists_of(field, '9', 0xFF) ||
                            (is_all('9', characters) && characters.size() == nine_digits(field))))
        return nine;
    if (invalid != nullptr && (consists_of(field, ' ', ' ') || is_blank))
        return invalid;
    return nullptr;
}

bool write_special_contents(const ZArgument &field, const DateTimeValue &value,
                            const DateFormat &format) {
    const auto stands_for = [&](SpecialDate which) {
        return matches(special_date(which), value, format);
    };
    // What cannot hold "0" holds no other contents either.
    if (stands_for(SpecialDate::kInvalid))
        return write_zero(field) && fill_bytes(field, ' ');
    if (stands_for(SpecialDate::kNine))
        return write_zero(field) &&
               (special.nines_are_high_values ? fill_bytes(field, 0xFF) : fill_digits(field, '9'));
    if (stands_for(SpecialDate::kZero))
        return write_zero(field) &&
               (special.zeros_are_low_values ? fill_bytes(field, 0) : fill_digits(field, '0'));
    return false;
}

bool write_zero(const ZArgument &field) {
    const ZArgument zero = text_argument("0", 1);
    return ZconvertData(&field, &zero, 1, nullptr) != 0;
}

ZArgument text_argument(const char *text, size_t length) {
    constexpr uint16_t kAlphanumeric = 16;
    return {
        reinterpret_cast<uintptr_t>(text), static_cast<uint32_t>(length), kAlphanumeric, 0, 0, 0};
}

}  // namespace fsi
