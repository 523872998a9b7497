// SPDX-License-Identifier: MIT
//
// wbfsi date: what the library makes of one date field, in either direction, and
// which settings it hangs on.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/errors.h"
#include "tool/columns.h"
#include "tool/command.h"
#include "tool/date_field.h"
#include "tool/date_settings.h"
#include "tool/failure.h"
#include "tool/iso_date.h"
#include "tool/whole_number.h"
#include "tool/words.h"
#include "wbfsi/dateformat.h"
#include "wbfsi/dates.h"

namespace tool {

namespace {

constexpr const char *kFormatLetters = "DEFHJMNRSTY";
constexpr const char *kDateLetters = "DEFJMRY";
constexpr const char *kTimeLetters = "HNST";
constexpr const char *kNoDate = "no date";
constexpr size_t kMaxLetters = 20;

constexpr uint16_t kShortDateType = 6;  // its dates are YYMMDD without a format
constexpr uint16_t kLongDateType = 8;   // and YYYYMMDD

struct Options {
    std::string format;
    std::string value;
    bool to_field = false;
    bool is_hex = false;
    std::string type = "display";
    std::string size;
    std::string digits;
    std::string date_value;
    bool use_illegal = false;
    bool verbose = false;
};

// A conversion as the command line asks for it.
struct Conversion {
    const char *format;
    Storage storage;
    int32_t date_value;
    bool use_illegal;
};

// Bytes that are no ASCII characters as "\xHH".
std::string seen(const std::string &text) {
    constexpr const char *kHex = "0123456789ABCDEF";
    std::string out;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte <= 0x7E) {
            out += c;
        } else {
            out += {'\\', 'x', kHex[byte >> 4], kHex[byte & 15]};
        }
    }
    return out;
}

// A letter and its places: "-" (5, 8).
std::string with_places(char letter, const std::vector<size_t> &places) {
    std::string text = "\"" + seen(std::string(1, letter)) + "\" (";
    for (size_t i = 0; i < places.size(); i++) {
        text += (i == 0 ? "" : ", ") + std::to_string(places[i] + 1);
    }
    return text + ")";
}

// Says everything that makes a format none.
void check_format(const std::string &format) {
    if (Z4ValidDateFormat(format.c_str()) != 0) {
        return;
    }
    std::string unknown;
    std::string again;
    for (size_t i = 0; i < format.size(); i++) {
        const char letter = format[i];
        std::vector<size_t> places;
        std::vector<size_t> runs;
        for (size_t j = 0; j < format.size(); j++) {
            if (format[j] == letter) {
                places.push_back(j);
                if (j == 0 || format[j - 1] != letter) {
                    runs.push_back(j);
                }
            }
        }
        if (places[0] != i) {
            continue;
        }
        if (strchr(kFormatLetters, letter) == nullptr) {
            unknown += (unknown.empty() ? "" : ", ") + with_places(letter, places);
        } else if (runs.size() > 1) {
            again += (again.empty() ? "" : ", ") + with_places(letter, runs);
        }
    }
    std::string text = "\"" + format + "\" is no date format";
    if (format.size() > kMaxLetters) {
        text += "; it has " + std::to_string(format.size()) + " letters, 20 are the most";
    }
    if (!unknown.empty()) {
        text += "; no letter of a format: " + unknown;
    }
    if (!again.empty()) {
        text += "; in more than one place: " + again;
    }
    throw Failure(text + "; D E F H J M N R S T Y, each in one run, would be right");
}

bool has_any(std::string_view format, const char *letters) {
    return format.find_first_of(letters) != std::string_view::npos;
}

// The parts that the format names.
std::string in_iso(const Conversion &conversion, const DateTimeValue &value) {
    const std::string_view format = conversion.format;
    const bool has_date = format.empty() || has_any(format, kDateLetters);
    const bool has_time = has_any(format, kTimeLetters);
    return (has_date ? iso_date(value) : "") + (has_date && has_time ? " " : "") +
           (has_time ? iso_time(value, has_any(format, "T")) : "");
}

// The file error tells want of memory from a date that is none.
bool convert(const Conversion &conversion, DateField *field, DateTimeValue *value, int direction) {
    const XfdArgument argument = field->argument();
    *Zstdlib_f_errno() = 0;
    const bool is_done =
        Z4ConvertDateTime(&argument, value, conversion.format, direction, conversion.date_value,
                          conversion.use_illegal ? 1 : 0) != 0;
    if (!is_done && *Zstdlib_f_errno() == 14) {
        throw Failure("out of memory");
    }
    return is_done;
}

// What the field holds, in one line.
std::string contents(const DateField &field) {
    const auto text = field.text();
    return text && field.is_plain_text() ? *text
           : text                        ? "\"" + seen(*text) + "\", bytes " + field.hex()
                                         : "bytes " + field.hex();
}

void print_details(const Conversion &conversion, const DateField &field, const DateTimeValue *value,
                   const std::vector<DateSetting> &settings) {
    std::cout << "  format   " << (*conversion.format != '\0' ? conversion.format : "none") << '\n'
              << "  field    " << field.in_words() << ": " << field.hex() << '\n';
    if (value != nullptr) {
        std::cout << "  record   " << iso_date(*value) << ' ' << iso_time(*value, true) << '\n';
    }
    for (const DateSetting &setting : settings) {
        std::cout << "  setting  " << setting.name << " is " << printable(setting.value.c_str())
                  << "; with " << setting.other << ": " << setting.result << '\n';
    }
}

// A number has no characters of decades.
std::string decade_advice(const Conversion &conversion) {
    return has_any(conversion.format, "FR") && is_numeric_type(conversion.storage.type)
               ? "; the characters of F and R want --type alphanumeric"
               : "";
}

int from_field(const Options &options, const Conversion &conversion, size_t letters) {
    DateField field(conversion.storage,
                    options.is_hex ? letters : std::max(letters, options.value.size()));
    if (options.is_hex) {
        field.set_hex(options.value, conversion.storage.size);
    } else {
        field.set_text(options.value);
    }
    DateTimeValue value = {};
    const auto read = [&] {
        return convert(conversion, &field, &value, Z4_DATE_FROM_FIELD) ? in_iso(conversion, value)
                                                                       : std::string(kNoDate);
    };
    const std::string date = read();
    const bool is_date = date != kNoDate;
    if (is_date) {
        std::cout << date << '\n';
    }
    if (options.verbose) {
        const DateTimeValue result = value;
        print_details(conversion, field, is_date ? &result : nullptr,
                      settings_that_matter(read, date));
    }
    if (!is_date) {
        throw Failure(contents(field) + " holds no date" +
                          (options.format.empty() ? "" : " of the format " + options.format) +
                          decade_advice(conversion),
                      kDifferent);
    }
    return kDone;
}

int to_field(const Options &options, const Conversion &conversion, size_t letters) {
    const IsoDate date = parse_iso_date(options.value);
    if (!date.has_date && (options.format.empty() || has_any(options.format, kDateLetters))) {
        throw Failure("\"" + options.value +
                      "\" has no date, which the format wants; YYYY-MM-DD in front of it would be "
                      "right");
    }
    DateField field(conversion.storage, letters);
    DateTimeValue value = date.value;
    const auto write = [&] {
        value = date.value;
        return convert(conversion, &field, &value, Z4_DATE_TO_FIELD) ? contents(field)
                                                                     : std::string(kNoDate);
    };
    const std::string written = write();
    const bool is_written = written != kNoDate;
    const DateField result = field;
    if (is_written) {
        if (const auto text = result.text()) {
            std::cout << seen(*text) << '\n';
        }
        if (!result.is_plain_text()) {
            std::cout << "bytes " << result.hex() << '\n';
        }
    }
    if (options.verbose) {
        const DateTimeValue record = value;
        print_details(conversion, result, is_written ? &record : nullptr,
                      settings_that_matter(write, written));
    }
    if (!is_written) {
        throw Failure(
            options.value + (exists(date.value)
                                 ? ": cannot be written to the field (" + result.in_words() +
                                       ") in its format" + decade_advice(conversion)
                                 : ": there is no such date"),
            kDifferent);
    }
    return kDone;
}

int run(const Options &options) {
    check_format(options.format);
    if (options.is_hex && options.to_field) {
        throw Failure("--hex is for the bytes of a field; --to-field takes a date");
    }
    constexpr int32_t kMaxSize = 1000;
    constexpr int32_t kMaxDigits = 38;
    Storage storage = storage_of(options.type);
    if (!options.size.empty()) {
        storage.size = static_cast<uint32_t>(whole_number("--size", options.size, 1, kMaxSize));
    }
    if (!options.digits.empty()) {
        storage.digits =
            static_cast<uint32_t>(whole_number("--digits", options.digits, 1, kMaxDigits));
    }
    if (options.value.size() > kMaxSize * 3) {
        throw Failure("VALUE has more than " + std::to_string(kMaxSize * 3) +
                      " characters; a field of up to 1000 bytes would be right");
    }
    if (options.format.empty() && storage.type != kShortDateType && storage.type != kLongDateType) {
        throw Failure(
            "an empty format is YYMMDD in a field of type 6 and YYYYMMDD in one of type 8, and "
            "nothing in others");
    }
    const int32_t date_value =
        options.date_value.empty()
            ? 0
            : whole_number("--date-value", options.date_value, INT32_MIN, INT32_MAX);
    const Conversion conversion{options.format.c_str(), storage, date_value, options.use_illegal};
    const size_t letters = !options.format.empty()          ? options.format.size()
                           : storage.type == kShortDateType ? 6
                                                            : 8;
    return options.to_field ? to_field(options, conversion, letters)
                            : from_field(options, conversion, letters);
}

}  // namespace

Action declare_date(CLI::App &app) {
    const auto options = std::make_shared<Options>();
    app.add_option("FORMAT", options->format,
                   "The date format of the field, such as YYYYMMDD: Y year, M month, D day, H N S "
                   "time, T fraction, E day of the year, J day number, F R decade")
        ->required();
    app.add_option("VALUE", options->value,
                   "The text of the field; with --to-field YYYY-MM-DD, HH:MM:SS[.ffffff] or both")
        ->required();
    app.add_flag("--to-field", options->to_field, "Write the date VALUE to a field");
    app.add_flag("--hex", options->is_hex, "VALUE is the bytes of the field, in hexadecimal");
    app.add_option("--type", options->type,
                   "Storage of the field: a type code of a dictionary (0 to 39) or one of " +
                       storage_names() + "; default display")
        ->type_name("TYPE");
    app.add_option("--size", options->size, "Bytes of the field; default: as the digits want")
        ->type_name("BYTES");
    app.add_option("--digits", options->digits,
                   "Digits of the field; default: as many as the format or VALUE has")
        ->type_name("DIGITS");
    app.add_option("--date-value", options->date_value,
                   "The database's date for zero, and the replacement of dates that do not exist: "
                   "YYYYMMDD, default 0; -1 for noon where the format has no hour")
        ->type_name("NUMBER");
    app.add_flag("--use-illegal", options->use_illegal,
                 "Replace a date that does not exist, if 4GL_CONVERT_DATES is true");
    app.add_flag("--verbose", options->verbose,
                 "Show field, record and the settings that the result hangs on");
    return [options] { return run(*options); };
}

}  // namespace tool
