// SPDX-License-Identifier: MIT
//
// Data conversion, row by row of the table of storages; text is in data_text_test,
// floating point in data_float_test.  Random descriptions against exact
// arithmetic, and fields that COBOL programs wrote, are in tests/oracle.
#include "tests/runtime/data_fixture.h"

#include <limits>

namespace {

using namespace data_test;

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
        EXPECT_EQ(convert(field, text(1), "0"), result(0, Bytes(field.size, '#')));
    }
}

TEST(DataWriting, UpTo256PositionsAndEveryScale) {
    EXPECT_EQ(convert(display(1, 256, 0), text(3), "-17"), result(1, Bytes(254, '0') + "17"));
    EXPECT_EQ(convert(display(9, 128, 255), text(3), "-17"),
              result(1, Bytes(126, '\0') + hex("017D")));
    EXPECT_EQ(convert(display(1, 3, 3, -128), text(131), joined({"0.", Bytes(125, '0'), "1234"})),
              "1 123");
    EXPECT_EQ(convert(display(1, 3, 3, 127), text(130), joined({"123", Bytes(127, '9')})), "1 123");
    EXPECT_EQ(convert(text(130), display(1, 3, 3, 127), "123"), joined({"1 123", Bytes(127, '0')}));
    EXPECT_EQ(convert(text(130), display(1, 3, 3, -128), "123"),
              joined({"1 0.", Bytes(125, '0'), "123"}));
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
