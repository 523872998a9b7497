// SPDX-License-Identifier: MIT
//
// Calls of Z4ConvertDateTime as tests want to write them: fields and dates as texts.
#ifndef TESTS_FSI_4GL_KST4GL_DATE_CALLS_H
#define TESTS_FSI_4GL_KST4GL_DATE_CALLS_H

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "host/config.h"
#include "host/memory.h"
#include "wbfsi/dates.h"
#include "wbfsi/lifecycle.h"

namespace date_calls {

using Settings = std::vector<std::pair<const char *, const char *>>;

inline const char *const kNames[] = {
    "4GL_JULIAN_BASE_DATE",    "4GL_JULIAN_NULL",           "4GL_2000_CUTOFF",
    "4GL_CONVERT_DATES",       "4GL_CONVERT_DATE_ZERO",     "4GL_8_DIGIT_CUTOFF",
    "PLEX_DATE_INVALID_VALUE", "PLEX_DATE_MAX_HIGH_VALUES", "PLEX_DATE_MIN_LOW_VALUES",
    "PLEX_DATE_NINE_VALUE",    "PLEX_DATE_NULL_VALUE",      "PLEX_DATE_ZERO_VALUE"};

// The library with some settings while it lives.
class Library {
 public:
    explicit Library(const Settings &settings = {}) {
        Z4Init();
        for (const auto &[name, value] : settings)
            EXPECT_EQ(ZCSetValueString(name, value), 1) << name;
    }
    ~Library() {
        for (const char *name : kNames)
            ZCSetValueString(name, nullptr);
        Z4Exit();
        EXPECT_EQ(ZMemoryBlocks("DateTimeValue"), 0U);
        EXPECT_EQ(ZMemoryBlocks("Temp date string"), 0U);
    }
    Library(const Library &) = delete;
    Library &operator=(const Library &) = delete;
};

inline std::string hex(const std::string &bytes) {
    std::string text;
    char two[3];
    for (const char c : bytes) {
        std::snprintf(two, sizeof two, "%02x", static_cast<unsigned char>(c));
        text += two;
    }
    return text;
}

inline std::string print(const DateTimeValue &v) {
    char text[80];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%06d", v.year, v.month, v.day,
                  v.hour, v.minute, v.second, v.microseconds);
    return v.hundredths == 0 ? text : text + (" +" + std::to_string(v.hundredths));
}

inline DateTimeValue stamp(int year, int month, int day, int hour = 0, int minute = 0,
                           int second = 0, int microseconds = 0) {
    return {static_cast<int16_t>(year),
            static_cast<int8_t>(month),
            static_cast<int8_t>(day),
            static_cast<int8_t>(hour),
            static_cast<int8_t>(minute),
            static_cast<int8_t>(second),
            0,
            microseconds};
}

struct Field {
    uint16_t type;
    std::string bytes;
    uint8_t digits = 0;
    int8_t scale = 0;
};

struct Call {
    int32_t date_value = 0;
    int use_illegal = 0;
};

constexpr const char *kRefused = "refused";

// What a field reads as.  The field is never written, and a refused one leaves zeros.
inline std::string read(Field field, const char *format, Call call = {}) {
    const std::string before = field.bytes;
    const XfdArgument argument{reinterpret_cast<uintptr_t>(field.bytes.data()),
                               static_cast<uint32_t>(field.bytes.size()),
                               field.type,
                               field.digits,
                               field.scale,
                               0};
    DateTimeValue value;
    std::memset(&value, 0x5A, sizeof value);
    const int done = Z4ConvertDateTime(&argument, &value, format, Z4_DATE_FROM_FIELD,
                                       call.date_value, call.use_illegal);
    EXPECT_EQ(hex(field.bytes), hex(before));
    EXPECT_TRUE(done == 0 || done == 1);
    if (done == 1)
        return print(value);
    EXPECT_EQ(print(value), "0000-00-00 00:00:00.000000");
    return kRefused;
}

inline std::string read(const std::string &text, const char *format, Call call = {}) {
    return read(Field{16, text}, format, call);
}

// The bytes that a date is written as into a field that held `field.bytes`; in front
// of those of a refused one stands "!".
inline std::string write_bytes(Field field, const char *format, DateTimeValue value,
                               Call call = {}) {
    const XfdArgument argument{reinterpret_cast<uintptr_t>(field.bytes.data()),
                               static_cast<uint32_t>(field.bytes.size()),
                               field.type,
                               field.digits,
                               field.scale,
                               0};
    const int done = Z4ConvertDateTime(&argument, &value, format, Z4_DATE_TO_FIELD, call.date_value,
                                       call.use_illegal);
    return (done == 1 ? "" : "!") + field.bytes;
}

inline std::string write(size_t size, const char *format, DateTimeValue value, Call call = {}) {
    return write_bytes(Field{16, std::string(size, 'x')}, format, value, call);
}

}  // namespace date_calls

#endif
