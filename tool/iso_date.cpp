// SPDX-License-Identifier: MIT
#include "tool/iso_date.h"

#include <charconv>
#include <chrono>
#include <cstdio>

#include "tool/failure.h"

namespace tool {

namespace {

// Takes digits, exactly `count` of them, off the text.
bool take_number(std::string_view *text, size_t count, int *number) {
    if (text->size() < count ||
        text->substr(0, count).find_first_not_of("0123456789") != std::string_view::npos) {
        return false;
    }
    std::from_chars(text->data(), text->data() + count, *number);
    text->remove_prefix(count);
    return true;
}

bool take_character(std::string_view *text, char c) {
    if (text->empty() || text->front() != c) {
        return false;
    }
    text->remove_prefix(1);
    return true;
}

bool take_date(std::string_view *text, DateTimeValue *value) {
    int year = 0;
    int month = 0;
    int day = 0;
    if (!take_number(text, 4, &year) || !take_character(text, '-') ||
        !take_number(text, 2, &month) || !take_character(text, '-') ||
        !take_number(text, 2, &day)) {
        return false;
    }
    value->year = static_cast<int16_t>(year);
    value->month = static_cast<int8_t>(month);
    value->day = static_cast<int8_t>(day);
    return true;
}

bool take_time(std::string_view *text, DateTimeValue *value) {
    int hour = 0;
    int minute = 0;
    int second = 0;
    if (!take_number(text, 2, &hour) || !take_character(text, ':') ||
        !take_number(text, 2, &minute) || !take_character(text, ':') ||
        !take_number(text, 2, &second)) {
        return false;
    }
    value->hour = static_cast<int8_t>(hour);
    value->minute = static_cast<int8_t>(minute);
    value->second = static_cast<int8_t>(second);
    if (!take_character(text, '.')) {
        return true;
    }
    constexpr size_t kMaxDecimals = 6;
    int fraction = 0;
    size_t decimals = 0;
    for (int digit; decimals < kMaxDecimals && take_number(text, 1, &digit); decimals++) {
        fraction = fraction * 10 + digit;
    }
    for (size_t i = decimals; i < kMaxDecimals; i++) {
        fraction *= 10;
    }
    value->microseconds = fraction;
    return decimals > 0;
}

}  // namespace

IsoDate parse_iso_date(const std::string &text) {
    IsoDate date;
    date.value = {1901, 1, 1, 0, 0, 0, 0, 0};
    std::string_view rest = text;
    date.has_date = text.size() > 2 && text[2] != ':';
    date.has_time = !date.has_date || text.size() > 10;
    const bool is_read = (!date.has_date || take_date(&rest, &date.value)) &&
                         (!date.has_date || !date.has_time || take_character(&rest, ' ') ||
                          take_character(&rest, 'T')) &&
                         (!date.has_time || take_time(&rest, &date.value)) && rest.empty();
    if (!is_read) {
        throw Failure("\"" + text +
                      "\" is no ISO date; YYYY-MM-DD, HH:MM:SS with up to six decimals behind a "
                      "point, or both with a blank or T between them, would be right");
    }
    return date;
}

std::string iso_date(const DateTimeValue &value) {
    char text[32];
    snprintf(text, sizeof text, "%04d-%02d-%02d", value.year, value.month, value.day);
    return text;
}

std::string iso_time(const DateTimeValue &value, bool with_fraction) {
    char text[32];
    const int length =
        snprintf(text, sizeof text, "%02d:%02d:%02d", value.hour, value.minute, value.second);
    if (with_fraction) {
        snprintf(text + length, sizeof text - static_cast<size_t>(length), ".%06d",
                 value.microseconds + value.hundredths * 10000);
    }
    return text;
}

bool exists(const DateTimeValue &value) {
    const std::chrono::year_month_day day(std::chrono::year(value.year),
                                          std::chrono::month(static_cast<unsigned>(value.month)),
                                          std::chrono::day(static_cast<unsigned>(value.day)));
    return day.ok() && value.hour <= 23 && value.minute <= 59 && value.second <= 59;
}

}  // namespace tool
