// SPDX-License-Identifier: MIT
//
// Data conversion, row by row of the table of storages.  Random descriptions
// against exact arithmetic, and fields that COBOL programs wrote, are in
// tests/oracle.
#include "host/data.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "host/charset.h"
#include "host/memory.h"

namespace {

using Bytes = std::string;

struct Field {
    uint16_t type;
    uint32_t size;
    uint8_t digits;
    int8_t scale;
};

constexpr XfdCvtInfo kDefaults{0, 40, 25, 11, '.', ',', 0};

XfdCvtInfo settings(uint8_t sign_code1, uint8_t sign_code2 = 11, char period = '.') {
    XfdCvtInfo info = kDefaults;
    info.cv_sign_code1 = sign_code1;
    info.cv_sign_code2 = sign_code2;
    info.cv_period = period;
    return info;
}

// Result code and bytes of a conversion, as "1 text"; the target starts as "#"s.
// Both areas are blocks of exactly their sizes, so that a sanitizer sees every
// byte outside them, and start at odd addresses.
Bytes convert(const Field &to, const Field &from, const Bytes &bytes,
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
    const int result = ZconvertData(&dest, &src, 1, info);
    EXPECT_EQ(target[0], '#');
    EXPECT_EQ(Bytes(source.data() + 1, bytes.size()), bytes) << "the source was changed";
    return (result == 0 ? "0 " : result == 1 ? "1 " : "? ") + Bytes(target.data() + 1, to.size);
}

Field display(uint16_t type, size_t size, int digits, int scale = 0) {
    return {type, static_cast<uint32_t>(size), static_cast<uint8_t>(digits),
            static_cast<int8_t>(scale)};
}

Field text(size_t size, uint16_t type = 16) {
    return {type, static_cast<uint32_t>(size), 0, 0};
}

Bytes hex(const Bytes &digits) {
    Bytes bytes;
    for (size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

// What hex() turns into bytes, behind a result code.
Bytes result(int code, const Bytes &bytes) {
    return std::to_string(code) + " " + bytes;
}

Bytes national(const Bytes &ascii) {
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

// Reading every storage: the text form shows sign, digits and point.

struct ReadRow {
    const char *name;
    Field field;
    Bytes bytes;
    Bytes expected;  // text of a 24 byte field without its padding; "0" = no number
};

Bytes read(const Field &field, const Bytes &bytes, const XfdCvtInfo *info = nullptr) {
    const Bytes shown = convert(text(24), field, bytes, info);
    if (shown[0] == '0') {
        EXPECT_EQ(shown, "0 ########################") << "the target was changed";
        return "no number";
    }
    return shown.substr(2, shown.find_last_not_of(' ') - 1);
}

TEST(DataReading, EveryNumericStorage) {
    const ReadRow rows[] = {
        {"unsigned display", display(1, 5, 5), "00120", "120"},
        {"unsigned display with decimals", display(1, 5, 5, -2), "00120", "1.20"},
        {"unsigned display, all decimals", display(1, 3, 3, -3), "007", "0.007"},
        {"unsigned display, point left of the digits", display(1, 2, 2, -5), "12", "0.00012"},
        {"unsigned display, scaled up", display(1, 5, 5, 2), "00123", "12300"},
        {"zero, scaled up", display(1, 2, 2, 3), "00", "0"},
        {"zero with decimals", display(1, 4, 4, -2), "0000", "0.00"},
        {"trailing separate minus", display(2, 4, 3), "123-", "-123"},
        {"trailing separate plus", display(2, 4, 3), "123+", "123"},
        {"trailing in the digit, minus", display(3, 3, 3), "12s", "-123"},
        {"trailing in the digit, plus", display(3, 3, 3), "123", "123"},
        {"leading separate minus", display(4, 4, 3, -1), "-123", "-12.3"},
        {"leading in the digit, minus", display(5, 3, 3), "q23", "-123"},
        {"leading in the digit, only digit", display(5, 1, 1), "p", "0"},
        {"digit bytes, plus", display(6, 4, 3), Bytes("\1\2\3\13", 4), "123"},
        {"digit bytes, minus", display(6, 4, 3), Bytes("\1\0\3\15", 4), "-103"},
        {"digit bytes, unsigned", display(7, 9, 9), Bytes("\0\1\2\3\4\5\6\7\10", 9), "12345678"},
        {"packed unsigned, sign 15", display(8, 2, 3), hex("123F"), "123"},
        {"packed unsigned, sign 13", display(8, 2, 3), hex("123D"), "123"},
        {"packed unsigned, sign 10", display(8, 2, 3), hex("123A"), "123"},
        {"packed plus 12", display(9, 2, 3), hex("123C"), "123"},
        {"packed plus 10", display(9, 2, 3), hex("123A"), "123"},
        {"packed plus 14", display(9, 2, 3), hex("123E"), "123"},
        {"packed plus 15", display(9, 2, 3), hex("123F"), "123"},
        {"packed minus 13", display(9, 2, 3, -2), hex("123D"), "-1.23"},
        {"packed minus 11", display(9, 2, 3), hex("123B"), "-123"},
        {"packed, nine bytes", display(9, 9, 17), hex("12345678901234567D"), "-12345678901234567"},
        {"packed without sign", display(10, 3, 6), hex("012345"), "12345"},
        {"packed without sign, ten bytes", display(10, 10, 20), hex("12345678901234567890"),
         "12345678901234567890"},
        {"big-endian minus", display(11, 2, 4), hex("FF85"), "-123"},
        {"big-endian unsigned", display(12, 2, 4), hex("FF85"), "65413"},
        {"big-endian, three bytes", display(11, 3, 6), hex("FFFF85"), "-123"},
        {"little-endian minus", display(32, 2, 4), hex("85FF"), "-123"},
        {"little-endian unsigned", display(33, 4, 9), hex("00000080"), "2147483648"},
        {"machine order minus", display(13, 4, 9, -2), raw(int32_t{-12345}), "-123.45"},
        {"machine order unsigned", display(14, 8, 18), raw(uint64_t{18446744073709551615U}),
         "18446744073709551615"},
        {"machine long minus", display(30, 4, 9), raw(int32_t{-7}), "-7"},
        {"machine long unsigned", display(31, 4, 9), raw(uint32_t{4000000000}), "4000000000"},
        {"lowest of eight bytes", display(11, 8, 18), hex("8000000000000000"),
         "-9223372036854775808"},
        {"nine bytes", display(12, 9, 20), hex("010000000000000000"), "18446744073709551616"},
        {"nine bytes, minus", display(11, 9, 20), hex("FFFFFFFFFFFFFFFFFE"), "-2"},
        {"national display", display(35, 6, 3), national("123"), "123"},
        {"national trailing separate", display(36, 8, 3), national("123-"), "-123"},
        {"national trailing in the digit", display(37, 6, 3), national("12s"), "-123"},
        {"national leading separate", display(38, 8, 3), national("-123"), "-123"},
        {"national leading in the digit", display(39, 6, 3), national("q23"), "-123"},
    };
    for (const ReadRow &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(read(row.field, row.bytes), row.expected);
    }
}

TEST(DataReading, StorageThatHoldsNoNumberLeavesTheTargetAlone) {
    const ReadRow rows[] = {
        {"display of blanks", display(1, 3, 3), "   ", ""},
        {"display with a letter", display(1, 9, 9), "12345678A", ""},
        {"display, first of nine bad", display(1, 9, 9), "/12345678", ""},
        {"display, colon", display(1, 4, 4), "12:4", ""},
        {"display, sign letter in an unsigned field", display(1, 3, 3), "12s", ""},
        {"display, high values", display(1, 3, 3), "\xFF\xFF\xFF", ""},
        {"display, low values", display(1, 3, 3), Bytes(3, '\0'), ""},
        {"separate sign blank", display(2, 4, 3), "123 ", ""},
        {"separate sign missing", display(4, 4, 3), "0123", ""},
        {"sign digit of no form", display(3, 3, 3), "12z", ""},
        {"digit byte above 9", display(7, 3, 3), Bytes("\1\12\3", 3), ""},
        {"digit byte as character", display(7, 3, 3), "123", ""},
        {"digit bytes, sign 12", display(6, 4, 3), Bytes("\1\2\3\14", 4), ""},
        {"packed, digit 10", display(9, 2, 3), hex("1A3C"), ""},
        {"packed, last digit 12", display(9, 2, 3), hex("12CC"), ""},
        {"packed, sign nibble 9", display(9, 2, 3), hex("1239"), ""},
        {"packed unsigned, sign nibble 0", display(8, 2, 3), hex("1230"), ""},
        {"packed, bad digit in a far word", display(9, 17, 33),
         hex("1234567890123456789012345678901F3C"), ""},
        {"packed without sign, nibble 15", display(10, 2, 4), hex("123F"), ""},
        {"national, blank", display(35, 4, 2), national("1 "), ""},
        {"national, digit of another script", display(35, 2, 1), raw(uint16_t{0x0661}), ""},
        {"national, byte swapped", display(35, 2, 1), raw(uint16_t{0x3100}), ""},
        {"display of size 0", display(1, 0, 3), "", ""},
        {"sign without digit", display(4, 1, 0), "+", ""},
        {"packed of size 0", display(9, 0, 3), "", ""},
        {"binary of size 0", display(11, 0, 3), "", ""},
        {"binary of 17 bytes", display(11, 17, 18), Bytes(17, '\0'), ""},
        {"display of 257 digits", display(1, 257, 18), Bytes(257, '0'), ""},
        {"packed of 129 bytes", display(9, 129, 18), Bytes(128, '\0') + "\x0C", ""},
        {"float of 5 bytes", display(23, 5, 0), Bytes(5, '\0'), ""},
        {"float of size 0", display(23, 0, 0), "", ""},
        {"infinity", display(23, 8, 0), raw(std::numeric_limits<double>::infinity()), ""},
        {"negative infinity", display(23, 4, 0), raw(-std::numeric_limits<float>::infinity()), ""},
        {"not a number", display(23, 8, 0), raw(std::numeric_limits<double>::quiet_NaN()), ""},
        {"not a number, 4 bytes", display(23, 4, 0), raw(std::numeric_limits<float>::quiet_NaN()),
         ""},
    };
    for (const ReadRow &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(read(row.field, row.bytes), "no number");
    }
}

TEST(DataReading, DigitsAboveThePictureCount) {
    EXPECT_EQ(read(display(1, 5, 3), "12345"), "12345");
    EXPECT_EQ(read(display(9, 3, 4), hex("12345C")), "12345");
    EXPECT_EQ(read(display(13, 2, 4), raw(int16_t{32767})), "32767");
    EXPECT_EQ(read(display(1, 3, 9), "123"), "123");
    EXPECT_EQ(read(display(1, 3, 0), "123"), "123");
}

TEST(DataSigns, EachSettingReadsItsOwnFormFirst) {
    struct Row {
        uint8_t code;
        const char *characters;
        int first;  // value of the first character
        int step;
    };
    const Row rows[] = {
        {25, "0123456789", 0, 1},  {25, "pqrstuvwxy", 0, -1}, {25, "{ABCDEFGHI", 0, 1},
        {25, "}JKLMNO", 0, -1},    {25, "STUVWXY", -3, -1},   {25, "@", 0, 1},
        {16, "{ABCDEFGHI", 0, 1},  {16, "}JKLMNOPQR", 0, -1}, {16, "0123456789", 0, 1},
        {16, "pqrstuvwxy", 0, -1}, {16, "STUVWXY", -3, -1},   {64, "@ABCDEFGHI", 0, 1},
        {64, "PQRSTUVWXY", 0, -1}, {64, "JKLMNO", -1, -1},    {64, "0123456789", 0, 1},
        {64, "pqrstuvwxy", 0, -1}, {0, "pqrstuvwxy", 0, -1},
    };
    for (const Row &row : rows) {
        const XfdCvtInfo info = settings(row.code);
        int value = row.first;
        for (const char *c = row.characters; *c != '\0'; ++c, value += row.step) {
            SCOPED_TRACE(std::to_string(row.code) + " " + *c);
            const bool negative = row.step < 0;
            const int number = negative ? -(10 - value) : 10 + value;
            EXPECT_EQ(read(display(3, 2, 2), Bytes("1") + *c, &info), std::to_string(number));
        }
    }
}

TEST(DataSigns, ACharacterOfTwoOtherFormsThatDisagreeIsNoNumber) {
    const XfdCvtInfo info = settings(25);
    for (const char *c : {"1P", "1Q", "1R"}) {
        SCOPED_TRACE(c);
        EXPECT_EQ(read(display(3, 2, 2), c, &info), "no number");
    }
}

TEST(DataSigns, EachSettingWritesItsOwnForm) {
    struct Row {
        uint8_t code;
        const char *positive;
        const char *negative;
    };
    const Row rows[] = {{25, "0123456789", "pqrstuvwxy"},
                        {16, "{ABCDEFGHI", "}JKLMNOPQR"},
                        {64, "@ABCDEFGHI", "PQRSTUVWXY"}};
    for (const Row &row : rows) {
        const XfdCvtInfo info = settings(row.code);
        for (int digit = 0; digit < 10; ++digit) {
            SCOPED_TRACE(std::to_string(row.code) + " digit " + std::to_string(digit));
            const char number[] = {'1', static_cast<char>('0' + digit), '\0'};
            const Bytes minus = Bytes("-") + number;
            EXPECT_EQ(convert(display(3, 2, 2), text(2), number, &info),
                      Bytes("1 1") + row.positive[digit]);
            EXPECT_EQ(convert(display(3, 2, 2), text(3), minus, &info),
                      Bytes("1 1") + row.negative[digit]);
            const char mirrored[] = {static_cast<char>('0' + digit), '1', '\0'};
            const Bytes mirrored_minus = Bytes("-") + mirrored;
            EXPECT_EQ(convert(display(5, 2, 2), text(2), mirrored, &info),
                      Bytes("1 ") + row.positive[digit] + "1");
            EXPECT_EQ(convert(display(5, 2, 2), text(3), mirrored_minus, &info),
                      Bytes("1 ") + row.negative[digit] + "1");
        }
    }
}

TEST(DataSigns, PackedPlusFollowsTheSecondCode) {
    const XfdCvtInfo thirteen = settings(25, 13);
    EXPECT_EQ(convert(display(9, 2, 3), text(3), "123"), result(1, hex("123C")));
    EXPECT_EQ(convert(display(9, 2, 3), text(3), "123", &thirteen), result(1, hex("123F")));
    EXPECT_EQ(convert(display(9, 2, 3), text(4), "-123", &thirteen), result(1, hex("123D")));
    EXPECT_EQ(convert(display(8, 2, 3), text(4), "-123"), result(1, hex("123F")));
}

TEST(DataWriting, EveryNumericStorage) {
    struct Row {
        const char *name;
        Bytes number;
        Field field;
        Bytes expected;  // "1 bytes"
    };
    const Row rows[] = {
        {"unsigned display", "42", display(1, 5, 5), "1 00042"},
        {"unsigned gets the absolute value", "-42", display(1, 5, 5), "1 00042"},
        {"decimals are cut", "4.279", display(1, 4, 4, -2), "1 0427"},
        {"decimals are filled up", "4.2", display(1, 4, 4, -2), "1 0420"},
        {"scaled up", "12345", display(1, 5, 5, 2), "1 00123"},
        {"point left of the digits", "0.00012", display(1, 2, 2, -5), "1 12"},
        {"trailing separate", "-42", display(2, 4, 3), "1 042-"},
        {"trailing in the digit", "-42", display(3, 3, 3), "1 04r"},
        {"leading separate", "42", display(4, 4, 3), "1 +042"},
        {"leading in the digit", "-42", display(5, 3, 3), "1 p42"},
        {"zero is positive", "-0", display(4, 4, 3), "1 +000"},
        {"cut to zero is positive", "-0.009", display(3, 3, 3, -2), "1 000"},
        {"digit bytes", "-42", display(6, 4, 3), result(1, Bytes("\0\4\2\15", 4))},
        {"digit bytes, zero", "-0", display(6, 3, 2), result(1, Bytes("\0\0\13", 3))},
        {"digit bytes, unsigned", "-42", display(7, 10, 10),
         result(1, Bytes("\0\0\0\0\0\0\0\0\4\2", 10))},
        {"packed", "-42", display(9, 2, 3), result(1, hex("042D"))},
        {"packed, zero", "-0.4", display(9, 2, 3), result(1, hex("000C"))},
        {"packed, even digits", "1234", display(9, 3, 4), result(1, hex("01234C"))},
        {"packed, seventeen bytes", "-123456789012345678901234567890123", display(9, 17, 33),
         result(1, hex("123456789012345678901234567890123D"))},
        {"packed without sign", "-42", display(10, 2, 4), result(1, hex("0042"))},
        {"big-endian", "-123", display(11, 2, 4), result(1, hex("FF85"))},
        {"big-endian unsigned", "-123", display(12, 2, 4), result(1, hex("007B"))},
        {"little-endian", "-123", display(32, 3, 6), result(1, hex("85FFFF"))},
        {"little-endian unsigned", "4000000000", display(33, 4, 10), result(1, hex("00286BEE"))},
        {"machine order", "-12345.67", display(13, 4, 9, -2), result(1, raw(int32_t{-1234567}))},
        {"machine long", "-7", display(30, 4, 9), result(1, raw(int32_t{-7}))},
        {"no digits given: the size decides", "-32768", display(11, 2, 0), result(1, hex("8000"))},
        {"sixteen bytes", "-170141183460469231731687303715884105728", display(11, 16, 39),
         result(1, hex("80000000000000000000000000000000"))},
        {"sixteen bytes unsigned", "340282366920938463463374607431768211455", display(12, 16, 0),
         result(1, hex("FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF"))},
        {"national", "-42", display(38, 8, 3), result(1, national("-042"))},
        {"national in the digit", "-42", display(37, 6, 3), result(1, national("04r"))},
        {"digits below the positions", "42", display(1, 5, 3), "1 00042"},
        {"digits above the positions", "42", display(1, 3, 9), "1 042"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(convert(row.field, text(row.number.size()), row.number), row.expected);
    }
}

TEST(DataWriting, DigitsLostOnTheLeftLeaveTheLowOnesAndGiveZero) {
    struct Row {
        const char *name;
        Bytes number;
        Field field;
        Bytes expected;
    };
    const Row rows[] = {
        {"display", "12345", display(1, 3, 3), "0 345"},
        {"display, sign kept", "-12345", display(3, 3, 3), "0 34u"},
        {"display, only zeros left", "-12000", display(4, 4, 3), "0 +000"},
        {"display, picture below the positions", "12345", display(1, 5, 3), "0 00345"},
        {"packed", "-12345", display(9, 2, 3), result(0, hex("345D"))},
        {"packed, picture below the positions", "12345", display(9, 3, 4),
         result(0, hex("02345C"))},
        {"binary, picture", "12345", display(11, 2, 4), result(0, hex("0929"))},
        {"binary, width", "99999", display(11, 2, 5), result(0, hex("270F"))},
        {"binary, width, minus", "-99999", display(11, 2, 5), result(0, hex("D8F1"))},
        {"binary, just above", "32768", display(11, 2, 0), result(0, hex("0AD0"))},
        {"binary, beyond 128 bits", "340282366920938463463374607431768211456", display(12, 16, 0),
         result(0, hex("1E4E1A06F06BB291E361994000000000"))},
        {"scaled up beyond the field", "1200000", display(1, 2, 2, 3), "0 00"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(convert(row.field, text(row.number.size()), row.number), row.expected);
    }
}

TEST(DataWriting, AStorageWithoutRoomForADigitIsLeftAlone) {
    const Field fields[] = {
        display(1, 0, 3),   display(4, 1, 3),    display(6, 1, 3),  display(9, 0, 3),
        display(11, 0, 3),  display(11, 17, 18), display(23, 5, 0), display(1, 257, 18),
        display(9, 129, 5), display(35, 1, 1),   display(36, 3, 1),
    };
    for (const Field &field : fields) {
        SCOPED_TRACE("type " + std::to_string(field.type));
        EXPECT_EQ(convert(field, text(1), "0"), "0 " + Bytes(field.size, '#'));
    }
}

TEST(DataWriting, UpTo256PositionsAndEveryScale) {
    EXPECT_EQ(convert(display(1, 256, 0), text(3), "-17"), "1 " + Bytes(254, '0') + "17");
    EXPECT_EQ(convert(display(9, 128, 255), text(3), "-17"),
              result(1, Bytes(126, '\0') + hex("017D")));
    EXPECT_EQ(convert(display(1, 3, 3, -128), text(131), "0." + Bytes(125, '0') + "1234"), "1 123");
    EXPECT_EQ(convert(display(1, 3, 3, 127), text(130), "123" + Bytes(127, '9')), "1 123");
    EXPECT_EQ(convert(text(130), display(1, 3, 3, 127), "123"), "1 123" + Bytes(127, '0'));
    EXPECT_EQ(convert(text(130), display(1, 3, 3, -128), "123"), "1 0." + Bytes(125, '0') + "123");
}

TEST(DataNumbers, OneStorageToAnotherKeepsDigitsSignAndPoint) {
    // Every pair of these holds -1234567.89.
    struct Row {
        Field field;
        Bytes bytes;
    };
    const Row rows[] = {
        {display(2, 10, 9, -2), "123456789-"},
        {display(3, 9, 9, -2), "12345678y"},
        {display(4, 10, 9, -2), "-123456789"},
        {display(5, 12, 12, -3), "p01234567890"},
        {display(6, 10, 9, -2), hex("0102030405060708090D")},
        {display(9, 5, 9, -2), hex("123456789D")},
        {display(9, 8, 15, -4), hex("000012345678900D")},
        {display(11, 4, 9, -2), hex("F8A432EB")},
        {display(32, 8, 18, -2), hex("EB32A4F8FFFFFFFF")},
        {display(23, 8, 0), raw(-1234567.89)},
        {display(38, 20, 9, -2), national("-123456789")},
        {text(12), "-1234567.89 "},
        {text(12, 17), " -1234567.89"},
        {display(25, 24, 0), national(" -1234567.89")},
    };
    const auto is_text = [](const Field &field) {
        return field.type >= 16 && field.type != 23 && field.type < 30;
    };
    for (const Row &from : rows) {
        for (const Row &to : rows) {
            SCOPED_TRACE(std::to_string(from.field.type) + " to " + std::to_string(to.field.type));
            const bool to_is_text = is_text(to.field);
            // Text moves as it stands, and shows the decimals of the scale.
            if (to_is_text && (is_text(from.field) || from.field.scale < -2)) {
                continue;
            }
            EXPECT_EQ(convert(to.field, from.field, from.bytes), result(1, to.bytes));
        }
    }
}

TEST(DataText, NumberToCharacters) {
    struct Row {
        const char *name;
        Field field;
        Bytes bytes;
        Field target;
        Bytes expected;
    };
    const Row rows[] = {
        {"padded", display(4, 4, 3), "-007", text(4), "1 -7  "},
        {"exact room", display(4, 4, 3), "-007", text(2), "1 -7"},
        {"no room", display(4, 4, 3), "-007", text(1), "0 #"},
        {"no room at all", display(1, 1, 1), "0", text(0), "0 "},
        {"justified right", display(4, 4, 3), "-007", text(4, 17), "1   -7"},
        {"alphabetic", display(4, 4, 3), "-007", text(4, 18), "1 -7  "},
        {"alphabetic, justified right", display(4, 4, 3), "-007", text(4, 19), "1   -7"},
        {"alphanumeric edited", display(4, 4, 3), "-007", text(4, 20), "1 -7  "},
        {"numeric edited", display(4, 4, 3), "-007", text(4, 0), "1 -7  "},
        {"group", display(4, 4, 3), "-007", text(4, 22), "1 -7  "},
        {"a code without a row", display(4, 4, 3), "-007", text(4, 999), "1 -7  "},
        {"all decimals", display(4, 6, 5, -3), "-01500", text(8), "1 -1.500  "},
        {"zero before the point", display(4, 4, 3, -3), "-015", text(8), "1 -0.015  "},
        {"negative zero", display(4, 4, 3, -1), "-000", text(4), "1 0.0 "},
        {"national", display(4, 4, 3), "-007", text(8, 24), result(1, national("-7  "))},
        {"national, justified right", display(4, 4, 3), "-007", text(8, 25),
         result(1, national("  -7"))},
        {"national edited, odd size", display(4, 4, 3), "-007", text(7, 26),
         result(1, national("-7 ") + "#")},
        {"national, no room", display(4, 4, 3), "-007", text(3, 24), "0 ###"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(convert(row.target, row.field, row.bytes), row.expected);
    }
}

TEST(DataText, CharactersToNumber) {
    struct Row {
        Bytes text;
        Bytes expected;  // in S9(5)V99 as type 4
    };
    const Row rows[] = {
        {"12", "1 +0001200"},
        {"  12  ", "1 +0001200"},
        {"+12", "1 +0001200"},
        {"-12", "1 -0001200"},
        {" -1.5 ", "1 -0000150"},
        {".5", "1 +0000050"},
        {"5.", "1 +0000500"},
        {"-.07", "1 -0000007"},
        {"00000000012.3", "1 +0001230"},
        {"1.239", "1 +0000123"},
        {"-0.009", "1 +0000000"},
        {"123456.78", "0 +2345678"},
        {"1200000", "0 +0000000"},
        {"", "0 ########"},
        {"   ", "0 ########"},
        {"+", "0 ########"},
        {"-", "0 ########"},
        {".", "0 ########"},
        {"-.", "0 ########"},
        {"1 2", "0 ########"},
        {"- 1", "0 ########"},
        {"1-", "0 ########"},
        {"+-1", "0 ########"},
        {"1..2", "0 ########"},
        {"1.2.3", "0 ########"},
        {"1,2", "0 ########"},
        {"1e2", "0 ########"},
        {"0x1", "0 ########"},
        {"\t1", "0 ########"},
        {"1x", "0 ########"},
        {Bytes("1\0", 2), "0 ########"},
        {"/", "0 ########"},
        {":", "0 ########"},
        {"\xB2", "0 ########"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.text);
        const Field target = display(4, 8, 7, -2);
        EXPECT_EQ(convert(target, text(row.text.size()), row.text), row.expected);
        EXPECT_EQ(convert(target, text(row.text.size(), 22), row.text), row.expected);
        EXPECT_EQ(convert(target, text(row.text.size(), 17), row.text), row.expected);
        EXPECT_EQ(convert(target, text(2 * row.text.size(), 24), national(row.text)), row.expected);
    }
}

TEST(DataText, ThePointIsTheSettings) {
    const XfdCvtInfo comma = settings(25, 11, ',');
    EXPECT_EQ(convert(display(4, 5, 4, -2), text(5), "-1,50", &comma), "1 -0150");
    EXPECT_EQ(convert(display(4, 5, 4, -2), text(5), "-1.50", &comma), "0 #####");
    EXPECT_EQ(convert(text(6), display(4, 5, 4, -2), "-0150", &comma), "1 -1,50 ");
    const XfdCvtInfo none = settings(25, 11, '\0');
    EXPECT_EQ(convert(text(6), display(4, 5, 4, -2), "-0150", &none), "1 -1.50 ");
}

TEST(DataText, TextsOfAnyLengthKeepTheDigitsThatFit) {
    const Bytes zeros(5000, '0');
    const Bytes nines(5000, '9');
    const auto to = [](const Field &field, const Bytes &bytes) {
        return convert(field, text(bytes.size()), bytes);
    };
    EXPECT_EQ(to(display(1, 3, 3), zeros + "12"), "1 012");
    EXPECT_EQ(to(display(1, 3, 3), nines + "012"), "0 012");
    EXPECT_EQ(to(display(1, 5, 5, -2), "12.34" + nines), "1 01234");
    EXPECT_EQ(to(display(1, 3, 3), zeros + "." + nines), "1 000");
    EXPECT_EQ(to(display(1, 3, 3, -128), "0." + zeros + "7"), "1 000");
    EXPECT_EQ(to(display(1, 256, 0, 127), "1" + Bytes(127 + 255, '8')), "1 1" + Bytes(255, '8'));
    EXPECT_EQ(to(display(23, 8, 0), nines), "0 ########");
    EXPECT_EQ(to(display(23, 8, 0), "0." + zeros + "7"), result(1, raw(0.0)));
}

TEST(DataText, CharactersToCharacters) {
    struct Row {
        Field field;
        Bytes bytes;
        Field target;
        Bytes expected;
    };
    const Row rows[] = {
        {text(3), "abc", text(5), "1 abc  "},
        {text(3), "abc", text(3), "1 abc"},
        {text(3), "abc", text(2), "1 ab"},
        {text(3), "abc", text(5, 17), "1   abc"},
        {text(3), "abc", text(2, 17), "1 bc"},
        {text(5), "abc  ", text(6, 19), "1  abc  "},
        {text(3, 22), Bytes("a\0c", 3), text(4, 22), result(1, Bytes("a\0c ", 4))},
        {text(3, 77), "abc", text(2, 15), "1 ab"},
        {text(0), "", text(2), "1   "},
        {text(2), "ab", text(0), "1 "},
        {text(6, 24), national("abc"), text(10, 24), result(1, national("abc  "))},
        {text(6, 24), national("abc"), text(4, 25), result(1, national("bc"))},
        {text(7, 24), national("abc") + "x", text(9, 25), result(1, national(" abc") + "#")},
        {text(3), "abc", text(8, 24), result(1, national("abc "))},
        {text(3), "abc", text(8, 25), result(1, national(" abc"))},
        {text(3), "abc", text(4, 26), result(1, national("ab"))},
        {text(3), Bytes("a\0c", 3), text(8, 24), result(1, national(Bytes("a\0c ", 4)))},
        {text(6, 24), national("abc"), text(4), "1 abc "},
        {text(6, 24), national("abc"), text(2), "1 ab"},
        {text(6, 25), national(Bytes("a\0c", 3)), text(4), result(1, Bytes("a\0c ", 4))},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(std::to_string(row.field.type) + " to " + std::to_string(row.target.type) +
                     " " + row.bytes);
        EXPECT_EQ(convert(row.target, row.field, row.bytes), row.expected);
    }
}

TEST(DataText, NationalTextIsReadInTheProgramsCharacterSet) {
    const Bytes units = raw(uint16_t{0xE9}) + raw(uint16_t{0x20AC}) + raw(uint16_t{'z'});
    const int before = ZSetCOBOLCharSet(1252);
    EXPECT_EQ(convert(text(6, 24), text(3), "\xE9\x80z"), result(1, units));
    EXPECT_EQ(convert(text(3), text(6, 24), units), "1 \xE9\x80z");
    ASSERT_EQ(ZSetCOBOLCharSet(28591), 1252);
    EXPECT_EQ(convert(text(3), text(6, 24), units), "1 \xE9?z");
    ZSetCOBOLCharSet(before);
}

TEST(DataText, NationalTextIsReadAsUtf8WhenTheSettingsSaySo) {
    XfdCvtInfo utf8 = kDefaults;
    utf8.cv_encoding = 2;
    const Bytes units =
        raw(uint16_t{0xE9}) + raw(uint16_t{0x20AC}) + raw(uint16_t{0xD83D}) + raw(uint16_t{0xDE00});
    const Bytes bytes = "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
    EXPECT_EQ(convert(text(10, 24), text(bytes.size()), bytes, &utf8),
              result(1, units + national(" ")));
    EXPECT_EQ(convert(text(10), text(8, 24), units, &utf8), "1 " + bytes + " ");
    EXPECT_EQ(convert(text(3), text(4, 24), raw(uint16_t{0xDE00}) + raw(uint16_t{0xD83D}), &utf8),
              "1 ?? ");
}

TEST(DataText, LongNationalTextNeedsMemoryAndSurvivesWithoutIt) {
    const Bytes ascii(3000, 'x');
    EXPECT_EQ(convert(text(6000, 24), text(3000), ascii), result(1, national(ascii)));
    EXPECT_EQ(convert(text(3000), text(6000, 24), national(ascii)), "1 " + ascii);
    for (int64_t nth = 1; nth <= 2; ++nth) {
        ZMemoryRefuse(nth, 1);
        EXPECT_EQ(convert(text(20, 24), text(3000), ascii), "0 " + Bytes(20, '#'));
        EXPECT_EQ(ZMemoryRefused(), 1U);
        ZMemoryRefuse(nth, 1);
        EXPECT_EQ(convert(text(20), text(6000, 24), national(ascii)), "0 " + Bytes(20, '#'));
        EXPECT_EQ(ZMemoryRefused(), 1U);
        ZMemoryRefuse(0, 0);
    }
    EXPECT_EQ(ZMemoryInUse("Text conversion"), 0U);
}

TEST(DataFloats, TheShortestDecimalIsRead) {
    const auto shown = [](auto number) {
        const Field field = display(23, sizeof number, 0);
        const Bytes out = convert(text(400), field, raw(number));
        return out.substr(2, out.find_last_not_of(' ') - 1);
    };
    EXPECT_EQ(shown(0.0), "0");
    EXPECT_EQ(shown(-0.0), "0");
    EXPECT_EQ(shown(0.1), "0.1");
    EXPECT_EQ(shown(0.1F), "0.1");
    EXPECT_EQ(shown(-1234.5), "-1234.5");
    EXPECT_EQ(shown(1.0 / 3.0), "0.3333333333333333");
    EXPECT_EQ(shown(1.0F / 3.0F), "0.33333334");
    EXPECT_EQ(shown(0.1 + 0.2), "0.30000000000000004");
    EXPECT_EQ(shown(16777216.0F), "16777216");
    EXPECT_EQ(shown(3716340.75F), "3716340.8");
    EXPECT_EQ(shown(2097152.25F), "2097152.2");
    EXPECT_EQ(shown(9007199254740993.0), "9007199254740992");
    EXPECT_EQ(shown(1e23), "1" + Bytes(23, '0'));
    EXPECT_EQ(shown(0x1p-44), "0.00000000000005684341886080802");
    EXPECT_EQ(shown(std::numeric_limits<double>::max()), "17976931348623157" + Bytes(292, '0'));
    EXPECT_EQ(shown(std::numeric_limits<double>::denorm_min()), "0." + Bytes(323, '0') + "5");
    EXPECT_EQ(shown(std::numeric_limits<double>::min()),
              "0." + Bytes(307, '0') + "22250738585072014");
    EXPECT_EQ(shown(std::numeric_limits<float>::max()), "34028235" + Bytes(31, '0'));
    EXPECT_EQ(shown(std::numeric_limits<float>::denorm_min()), "0." + Bytes(44, '0') + "1");
}

TEST(DataFloats, TheNearestNumberIsWritten) {
    const auto stored = [](const Bytes &number, uint32_t size) {
        return convert(display(23, size, 0), text(number.size()), number);
    };
    EXPECT_EQ(stored("0.1", 8), result(1, raw(0.1)));
    EXPECT_EQ(stored("-0.1", 4), result(1, raw(-0.1F)));
    EXPECT_EQ(stored("-0", 8), result(1, raw(0.0)));
    EXPECT_EQ(stored("9007199254740993", 8), result(1, raw(9007199254740992.0)));
    EXPECT_EQ(stored("9007199254740993.00000000000000000001", 8),
              result(1, raw(9007199254740994.0)));
    EXPECT_EQ(stored("9007199254740993." + Bytes(900, '0') + "1", 8),
              result(1, raw(9007199254740994.0)));
    EXPECT_EQ(stored("9007199254740995", 8), result(1, raw(9007199254740996.0)));
    // Rounds to another 4-byte number when it passes through 8 bytes first.
    EXPECT_EQ(stored("1.00000017881393432617187499", 4), result(1, raw(1.00000011920928955F)));
    EXPECT_EQ(stored("1" + Bytes(308, '0'), 8), result(1, raw(1e308)));
    EXPECT_EQ(stored("1" + Bytes(309, '0'), 8), "0 ########");
    EXPECT_EQ(stored("179769313486231580793" + Bytes(288, '0'), 8),
              result(1, raw(std::numeric_limits<double>::max())));
    EXPECT_EQ(stored("179769313486231580794" + Bytes(288, '0'), 8), "0 ########");
    EXPECT_EQ(stored("34028235" + Bytes(31, '0'), 4),
              result(1, raw(std::numeric_limits<float>::max())));
    EXPECT_EQ(stored("1" + Bytes(39, '0'), 4), "0 ####");
    EXPECT_EQ(stored("0." + Bytes(323, '0') + "5", 8),
              result(1, raw(std::numeric_limits<double>::denorm_min())));
    EXPECT_EQ(stored("0." + Bytes(324, '0') + "1", 8), result(1, raw(0.0)));
    EXPECT_EQ(stored("0." + Bytes(307, '0') + "222507385850720138", 8),
              result(1, raw(std::numeric_limits<double>::min())));
}

TEST(DataFloats, ReadAndWrittenTheyKeepEveryBit) {
    uint64_t state = 88172645463325252U;
    for (int i = 0; i < 20000; ++i) {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        const auto wide = std::bit_cast<double>(state);
        const auto narrow = std::bit_cast<float>(static_cast<uint32_t>(state >> 16));
        if (std::isfinite(wide)) {
            const Bytes shown = convert(text(400), display(23, 8, 0), raw(wide));
            ASSERT_EQ(convert(display(23, 8, 0), text(400), shown.substr(2)), result(1, raw(wide)));
        }
        if (std::isfinite(narrow)) {
            const Bytes shown = convert(text(400), display(23, 4, 0), raw(narrow));
            ASSERT_EQ(convert(display(23, 4, 0), text(400), shown.substr(2)),
                      result(1, raw(narrow)));
        }
    }
}

TEST(DataFloats, ToAndFromFixedPoint) {
    EXPECT_EQ(convert(display(4, 8, 7, -2), display(23, 8, 0), raw(-12.349)), "1 -0001234");
    EXPECT_EQ(convert(display(4, 4, 3), display(23, 8, 0), raw(1e30)), "0 +000");
    EXPECT_EQ(convert(display(23, 4, 0), display(9, 3, 5, -2), hex("12345D")),
              result(1, raw(-123.45F)));
    EXPECT_EQ(convert(display(23, 8, 0), display(23, 4, 0), raw(0.1F)), result(1, raw(0.1)));
    EXPECT_EQ(convert(display(23, 4, 0), display(23, 8, 0), raw(1e300)), "0 ####");
    // Scale and digits of a description do not move a floating point's own point.
    EXPECT_EQ(convert(text(4), display(23, 8, 9, -2), raw(1.5)), "1 1.5 ");
}

TEST(DataCalls, SourceAndTargetMayOverlap) {
    for (int shift = 0; shift <= 12; ++shift) {
        SCOPED_TRACE(shift);
        char area[40];
        std::memset(area, '.', sizeof area);
        std::memcpy(area + 12, "123456789u", 10);
        const ZArgument src{reinterpret_cast<uintptr_t>(area + 12), 10, 3, 10, 0, 0};
        const ZArgument dest{reinterpret_cast<uintptr_t>(area + shift), 17, 4, 16, 0, 0};
        EXPECT_EQ(ZconvertData(&dest, &src, 1, nullptr), 1);
        EXPECT_EQ(Bytes(area + shift, 17), "-0000001234567895");
    }
    // The same digits on both sides take another way.
    struct Row {
        uint16_t type;
        Bytes bytes;
        uint8_t digits;
        Bytes expected;
    };
    const Row rows[] = {
        {3, "12345678901234567u", 18, "-123456789012345675"},
        {5, "q2345678901", 11, "-12345678901"},
        {2, "12345-", 5, "-12345"},
        {9, hex("0456789012345678901D"), 18, "-456789012345678901"},
        {9, hex("12345D"), 5, "-12345"},
        {11, hex("FFFFFFFFFFFFFF85"), 18, "-000000000000000123"},
        {32, hex("85FFFFFF"), 9, "-000000123"},
    };
    for (const Row &row : rows) {
        for (size_t shift = 0; shift <= 40; ++shift) {
            SCOPED_TRACE(std::to_string(row.type) + " at " + std::to_string(shift));
            char area[64];
            std::memset(area, '.', sizeof area);
            std::memcpy(area + 20, row.bytes.data(), row.bytes.size());
            const ZArgument src{reinterpret_cast<uintptr_t>(area + 20),
                                static_cast<uint32_t>(row.bytes.size()),
                                row.type,
                                row.digits,
                                0,
                                0};
            const ZArgument dest{
                reinterpret_cast<uintptr_t>(area + shift), row.digits + 1U, 4, row.digits, 0, 0};
            EXPECT_EQ(ZconvertData(&dest, &src, 1, nullptr), 1);
            EXPECT_EQ(Bytes(area + shift, row.expected.size()), row.expected);
        }
    }
    char area[9];
    std::memcpy(area, "abcdefgh", 9);
    const ZArgument src{reinterpret_cast<uintptr_t>(area), 6, 16, 0, 0, 0};
    const ZArgument dest{reinterpret_cast<uintptr_t>(area + 1), 7, 17, 0, 0, 0};
    EXPECT_EQ(ZconvertData(&dest, &src, 1, nullptr), 1);
    EXPECT_EQ(Bytes(area, 8), "a abcdef");
}

TEST(DataCalls, NullPointersAreRefused) {
    char byte = '1';
    const ZArgument field{reinterpret_cast<uintptr_t>(&byte), 1, 1, 1, 0, 0};
    const ZArgument nowhere{0, 1, 1, 1, 0, 0};
    EXPECT_EQ(ZconvertData(nullptr, &field, 1, nullptr), 0);
    EXPECT_EQ(ZconvertData(&field, nullptr, 1, nullptr), 0);
    EXPECT_EQ(ZconvertData(&nowhere, &field, 1, nullptr), 0);
    EXPECT_EQ(ZconvertData(&field, &nowhere, 1, nullptr), 0);
    EXPECT_EQ(byte, '1');
}

TEST(DataTypes, DictionaryCodesUpTo63AreTypeCodes) {
    for (unsigned code = 0; code < 256; ++code) {
        EXPECT_EQ(Ztype_from_UD(static_cast<uint8_t>(code)), code < 64 ? code : 16U);
    }
}

}  // namespace
