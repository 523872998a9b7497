// SPDX-License-Identifier: MIT
//
// Runs comparisons and evaluations that a script describes, one a line on standard
// input, and prints what came out.  Bytes are hexadecimal, "-" for none.
//
//     T DATA VALUE           text against a value: -1, 0 or 1 as "less", "equal" and
//                            "greater" conditions find it, then whether the value
//                            is held as a null value
//     N A B LEN              two texts of sign and digits: -1, 0 or 1
//     C FIELDS {OFFSET SIZE TYPE DIGITS} CONDITIONS {TYPE NUM1 NUM2 FIELD BIT VALUE}
//       RECORD CALLS {NUMBER}
//                            for each call its result, the result bits after it, and
//                            the numbers of the conditions evaluated, as they began
//
// Records and texts are heap blocks of exactly their sizes, so that a sanitizer
// sees every byte read outside them.
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "host/messages.h"
#include "wbfsi/wbfsi.h"

namespace {

std::string evaluated;

}  // namespace

// Stands in front of the host's: evaluations are seen by their entry traces.
int ZTrace(int level_change, int, const char *format, ...) {
    if (level_change == 1 && std::strcmp(format, "%s %d") == 0) {
        va_list arguments;
        va_start(arguments, format);
        const std::string function = va_arg(arguments, const char *);
        const int number = va_arg(arguments, int);
        va_end(arguments);
        if (function == "Z4TestCOBOLCond")
            evaluated.append(evaluated.empty() ? "" : ",").append(std::to_string(number));
    }
    return f_trace;
}

namespace {

struct FreeXfd {
    void operator()(Xfd *xfd) const { Z4XFDFree(xfd); }
};
using OwnedXfd = std::unique_ptr<Xfd, FreeXfd>;

struct Bytes {
    std::unique_ptr<char[]> block;
    size_t size = 0;
};

Bytes exact(const std::string &text) {
    Bytes bytes{std::make_unique<char[]>(text.size()), text.size()};
    std::memcpy(bytes.block.get(), text.data(), text.size());
    return bytes;
}

std::string read_bytes(std::istream &in) {
    std::string hex;
    in >> hex;
    std::string bytes;
    if (hex == "-")
        return bytes;
    const auto value = [](char c) {
        return static_cast<unsigned>(c <= '9' ? c - '0' : c - 'a' + 10);
    };
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes += static_cast<char>(value(hex[i]) << 4 | value(hex[i + 1]));
    return bytes;
}

OwnedXfd new_xfd() {
    const XfdCvtInfo settings = {0, 40, 25, 11, '.', ',', 0};
    return OwnedXfd(Z4AllocXFD("f", "F", nullptr, 1, 1, &settings, XFD_INDEXED, 0, 0, 0));
}

void add_field(Xfd *xfd, uint32_t offset, uint32_t size, uint16_t type, uint8_t digits,
               const char *null_value) {
    const XfdArgument argument = {0, size, type, digits, 0, 0};
    const uint16_t none[XFD_MAX_OCCURS] = {};
    Z4AddXFDField(xfd, offset, &argument, 0, 0, 2, none, none, 0, 0, 0, 0, 0, 0, "f", nullptr,
                  nullptr, nullptr, null_value);
}

std::string compare_text(std::istream &in) {
    const Bytes data = exact(read_bytes(in));
    const std::string value = read_bytes(in);
    const OwnedXfd xfd = new_xfd();
    add_field(xfd.get(), 0, static_cast<uint32_t>(data.size), 16, 0, value.c_str());
    int found[3] = {};
    const int16_t types[3] = {XFD_COND_LT, XFD_COND_EQ, XFD_COND_GT};
    for (int i = 0; i < 3; ++i) {
        Z4XFDAddCondition(xfd.get(), types[i], "f", value.c_str(), "", -1, -1, 0);
        found[i] = Z4TestCOBOLCond(xfd.get(), i + 1, data.block.get());
    }
    if (found[0] + found[1] + found[2] != 1)
        return "not one of three";
    const int null = Z4TestNullValue(&xfd->x_fdesc[0], nullptr,
                                     reinterpret_cast<unsigned char *>(data.block.get()));
    return std::to_string(found[2] - found[0]) + " " + std::to_string(null);
}

std::string compare_digits(std::istream &in) {
    const Bytes a = exact(read_bytes(in));
    const Bytes b = exact(read_bytes(in));
    int length = 0;
    in >> length;
    return std::to_string(Z4Compare(a.block.get(), b.block.get(), length));
}

std::string evaluate(std::istream &in) {
    const OwnedXfd xfd = new_xfd();
    unsigned count = 0;
    in >> count;
    for (unsigned i = 0; i < count; ++i) {
        unsigned offset = 0;
        unsigned size = 0;
        unsigned type = 0;
        unsigned digits = 0;
        in >> offset >> size >> type >> digits;
        add_field(xfd.get(), offset, size, static_cast<uint16_t>(type),
                  static_cast<uint8_t>(digits), nullptr);
    }
    in >> count;
    for (unsigned i = 0; i < count; ++i) {
        int16_t type = 0;
        int16_t num1 = 0;
        int16_t num2 = 0;
        int16_t field = 0;
        int bit = 0;
        in >> type >> num1 >> num2 >> field >> bit;
        Z4XFDAddCondition(xfd.get(), type, "f", read_bytes(in).c_str(), "", num1, num2, field);
        Z4SetXFDCondition(xfd.get(), i, static_cast<uint8_t>(bit));
    }
    const Bytes record = exact(read_bytes(in));
    in >> count;
    std::ostringstream answer;
    for (unsigned i = 0; i < count; ++i) {
        int number = 0;
        in >> number;
        evaluated.clear();
        answer << (i == 0 ? "" : " ") << Z4TestCOBOLCond(xfd.get(), number, record.block.get())
               << ':';
        for (uint32_t c = 0; c < Z4GetXFDConditionCount(xfd.get()); ++c)
            answer << Z4IsXFDConditionTrue(Z4GetXFDConditionInfo(xfd.get(), c));
        answer << ':' << evaluated;
    }
    return answer.str();
}

bool run(const std::string &line) {
    std::istringstream in(line);
    std::string kind;
    in >> kind;
    std::string answer;
    if (kind == "T")
        answer = compare_text(in);
    else if (kind == "N")
        answer = compare_digits(in);
    else if (kind == "C")
        answer = evaluate(in);
    std::cout << answer << '\n';
    return !answer.empty() && !in.fail();
}

}  // namespace

int main() {
    std::ios::sync_with_stdio(false);
    f_trace = 1;
    std::string line;
    for (unsigned long number = 1; std::getline(std::cin, line); ++number) {
        if (!run(line)) {
            std::fprintf(stderr, "line %lu is no case: %s\n", number, line.c_str());
            return 2;
        }
    }
    return 0;
}
