// SPDX-License-Identifier: MIT
//
// What the tests of data conversion share: descriptions of fields in short, and
// a conversion as text.
#ifndef TESTS_RUNTIME_DATA_FIXTURE_H
#define TESTS_RUNTIME_DATA_FIXTURE_H

#include <gtest/gtest.h>

#include <cstring>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "host/data.h"

namespace data_test {

using Bytes = std::string;

struct Field {
    uint16_t type;
    uint32_t size;
    uint8_t digits;
    int8_t scale;
};

inline constexpr XfdCvtInfo kDefaults{0, 40, 25, 11, '.', ',', 0};

inline XfdCvtInfo settings(uint8_t sign_code1, uint8_t sign_code2 = 11, char period = '.') {
    XfdCvtInfo info = kDefaults;
    info.cv_sign_code1 = sign_code1;
    info.cv_sign_code2 = sign_code2;
    info.cv_period = period;
    return info;
}

inline Bytes joined(std::initializer_list<std::string_view> pieces) {
    Bytes all;
    for (const std::string_view piece : pieces) {
        all += piece;
    }
    return all;
}

// Result code and bytes as a conversion shows them.
inline Bytes result(int code, const Bytes &bytes) {
    Bytes shown = std::to_string(code);
    shown += ' ';
    shown += bytes;
    return shown;
}

// Result code and bytes of a conversion, as "1 text"; the target starts as "#"s.
// Both areas are blocks of exactly their sizes, so that a sanitizer sees every
// byte outside them, and start at odd addresses.
inline Bytes convert(const Field &to, const Field &from, const Bytes &bytes,
                     const XfdCvtInfo *info = nullptr) {
    std::vector<char> source(bytes.size() + 1);
    std::memcpy(source.data() + 1, bytes.data(), bytes.size());
    std::vector<char> target(to.size + 1, '#');
    const ZArgument src{reinterpret_cast<uintptr_t>(source.data() + 1),
                        from.size,
                        from.type,
                        from.digits,
                        from.scale,
                        0};
    const ZArgument dest{
        reinterpret_cast<uintptr_t>(target.data() + 1), to.size, to.type, to.digits, to.scale, 0};
    const int code = ZconvertData(&dest, &src, 1, info);
    EXPECT_EQ(target[0], '#');
    EXPECT_EQ(Bytes(source.data() + 1, bytes.size()), bytes) << "the source was changed";
    return result(code, Bytes(target.data() + 1, to.size));
}

inline Field display(uint16_t type, size_t size, int digits, int scale = 0) {
    return {type, static_cast<uint32_t>(size), static_cast<uint8_t>(digits),
            static_cast<int8_t>(scale)};
}

inline Field text(size_t size, uint16_t type = 16) {
    return {type, static_cast<uint32_t>(size), 0, 0};
}

inline Bytes hex(const Bytes &digits) {
    Bytes bytes;
    for (size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

inline Bytes national(const Bytes &ascii) {
    Bytes units;
    for (const char c : ascii) {
        const auto unit = static_cast<uint16_t>(static_cast<unsigned char>(c));
        units.append(reinterpret_cast<const char *>(&unit), sizeof unit);
    }
    return units;
}

template <typename Real>
Bytes raw(Real number) {
    return {reinterpret_cast<const char *>(&number), sizeof number};
}

}  // namespace data_test

#endif
