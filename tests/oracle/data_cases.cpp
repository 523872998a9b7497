// SPDX-License-Identifier: MIT
//
// Runs conversions that a script describes, one a line on standard input, and
// prints what came out.  A line:
//
//     TYPE SIZE DIGITS SCALE  TYPE DIGITS SCALE BYTES  CODE1 CODE2 POINT
//
// (target, source, settings; BYTES in hexadecimal, "-" for none, POINT a number).
// The answer: result code and the target's bytes, which start as 0xA5.  Both
// areas are heap blocks of exactly their sizes, at an odd address, so that a
// sanitizer sees every byte outside them.
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>

#include "host/data.h"

namespace {

constexpr char kHexDigits[] = "0123456789abcdef";

struct Area {
    explicit Area(size_t size) : block(new unsigned char[size + 1]), bytes(block.get() + 1) {}
    std::unique_ptr<unsigned char[]> block;
    unsigned char *bytes;
};

bool run(const std::string &line) {
    std::istringstream in(line);
    unsigned to_type = 0;
    unsigned to_size = 0;
    unsigned to_digits = 0;
    int to_scale = 0;
    unsigned from_type = 0;
    unsigned from_digits = 0;
    int from_scale = 0;
    std::string hex;
    unsigned code1 = 0;
    unsigned code2 = 0;
    int point = 0;
    if (!(in >> to_type >> to_size >> to_digits >> to_scale >> from_type >> from_digits >>
          from_scale >> hex >> code1 >> code2 >> point)) {
        return false;
    }
    if (hex == "-") {
        hex.clear();
    }
    const size_t from_size = hex.size() / 2;
    const Area from(from_size);
    for (size_t i = 0; i < from_size; ++i) {
        const auto value = [](char c) {
            return static_cast<unsigned>(std::strchr(kHexDigits, c) - kHexDigits);
        };
        from.bytes[i] = static_cast<unsigned char>(value(hex[2 * i]) << 4 | value(hex[2 * i + 1]));
    }
    const Area to(to_size);
    std::memset(to.bytes, 0xA5, to_size);

    const ZArgument dest{reinterpret_cast<uintptr_t>(to.bytes), to_size,
                         static_cast<uint16_t>(to_type),        static_cast<uint8_t>(to_digits),
                         static_cast<int8_t>(to_scale),         0};
    const ZArgument src{reinterpret_cast<uintptr_t>(from.bytes), static_cast<uint32_t>(from_size),
                        static_cast<uint16_t>(from_type),        static_cast<uint8_t>(from_digits),
                        static_cast<int8_t>(from_scale),         0};
    const XfdCvtInfo settings{
        0,   40, static_cast<uint8_t>(code1), static_cast<uint8_t>(code2), static_cast<char>(point),
        ',', 0};
    std::string answer = std::to_string(ZconvertData(&dest, &src, 1, &settings)) + " ";
    for (size_t i = 0; i < to_size; ++i) {
        answer += kHexDigits[to.bytes[i] >> 4];
        answer += kHexDigits[to.bytes[i] & 15];
    }
    std::cout << answer << '\n';
    return true;
}

}  // namespace

int main() {
    std::ios::sync_with_stdio(false);
    std::string line;
    for (unsigned long number = 1; std::getline(std::cin, line); ++number) {
        if (!run(line)) {
            std::fprintf(stderr, "line %lu is no case: %s\n", number, line.c_str());
            return 2;
        }
    }
    return 0;
}
