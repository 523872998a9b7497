// SPDX-License-Identifier: MIT
//
// Runs date conversions that a script describes, one a line on standard input, and
// prints what came out.  A line is one of
//
//     set NAME VALUE        VALUE in hexadecimal, "-" for the empty text
//     start                 Z4Exit and Z4Init; all earlier settings are forgotten
//     convert TYPE DIGITS SCALE BYTES  FORMAT DIRECTION DATE ILLEGAL
//             YEAR MONTH DAY HOUR MINUTE SECOND HUNDREDTHS MICROSECONDS
//
// BYTES and FORMAT in hexadecimal, "-" for none; settings come before their start.
// A conversion is answered with its result, the bytes of the field and the members
// of the record.  Field and format are heap blocks of exactly their sizes, at odd
// addresses, so that a sanitizer sees every byte outside them.
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "host/config.h"
#include "wbfsi/dates.h"
#include "wbfsi/lifecycle.h"

namespace {

constexpr char kHexDigits[] = "0123456789abcdef";

std::string bytes_of(const std::string &hex) {
    std::string bytes;
    const auto value = [](char c) {
        return static_cast<unsigned>(std::strchr(kHexDigits, c) - kHexDigits);
    };
    for (size_t i = 0; hex != "-" && i + 1 < hex.size(); i += 2)
        bytes += static_cast<char>(value(hex[i]) << 4 | value(hex[i + 1]));
    return bytes;
}

struct Area {
    explicit Area(const std::string &content)
        : block(new char[content.size() + 1]), bytes(block.get() + 1) {
        std::memcpy(bytes, content.data(), content.size());
    }
    std::unique_ptr<char[]> block;
    char *bytes;
};

std::vector<std::string> given;

bool set(std::istringstream &in) {
    std::string name;
    std::string hex;
    if (!(in >> name >> hex))
        return false;
    given.push_back(name);
    return ZCSetValueString(name.c_str(), bytes_of(hex).c_str()) == 1;
}

// Settings last from their lines to the next start but one.
void start() {
    static std::vector<std::string> in_force;
    Z4Exit();
    for (const std::string &old : in_force) {
        bool is_new = false;
        for (const std::string &name : given)
            is_new |= name == old;
        if (!is_new)
            ZCSetValueString(old.c_str(), nullptr);
    }
    in_force.swap(given);
    given.clear();
    Z4Init();
}

bool convert(std::istringstream &in) {
    unsigned type = 0;
    unsigned digits = 0;
    int scale = 0;
    std::string hex;
    std::string format_hex;
    int direction = 0;
    int32_t date = 0;
    int illegal = 0;
    int members[7];
    int32_t microseconds = 0;
    in >> type >> digits >> scale >> hex >> format_hex >> direction >> date >> illegal;
    for (int &member : members)
        in >> member;
    if (!(in >> microseconds))
        return false;
    const std::string content = bytes_of(hex);
    const Area area(content);
    const Area format(bytes_of(format_hex) + '\0');
    const XfdArgument field{reinterpret_cast<uintptr_t>(area.bytes),
                            static_cast<uint32_t>(content.size()),
                            static_cast<uint16_t>(type),
                            static_cast<uint8_t>(digits),
                            static_cast<int8_t>(scale),
                            0};
    DateTimeValue v{static_cast<int16_t>(members[0]), static_cast<int8_t>(members[1]),
                    static_cast<int8_t>(members[2]),  static_cast<int8_t>(members[3]),
                    static_cast<int8_t>(members[4]),  static_cast<int8_t>(members[5]),
                    static_cast<int8_t>(members[6]),  microseconds};
    const int done = Z4ConvertDateTime(&field, &v, format.bytes, direction, date, illegal);
    std::string out;
    for (size_t i = 0; i < content.size(); ++i) {
        const auto byte = static_cast<unsigned char>(area.bytes[i]);
        out += kHexDigits[byte >> 4];
        out += kHexDigits[byte & 15];
    }
    std::printf("%d %s %d %d %d %d %d %d %d %d\n", done, out.empty() ? "-" : out.c_str(), v.year,
                v.month, v.day, v.hour, v.minute, v.second, v.hundredths, v.microseconds);
    return true;
}

bool run(const std::string &line) {
    std::istringstream in(line);
    std::string word;
    in >> word;
    if (word == "start") {
        start();
        return true;
    }
    return word == "set" ? set(in) : word == "convert" && convert(in);
}

}  // namespace

int main() {
    Z4Init();
    std::string line;
    for (unsigned long number = 1; std::getline(std::cin, line); ++number) {
        if (!run(line)) {
            std::fprintf(stderr, "line %lu is no case: %s\n", number, line.c_str());
            return 2;
        }
    }
    start();
    start();
    Z4Exit();
    return 0;
}
