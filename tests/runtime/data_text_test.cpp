// SPDX-License-Identifier: MIT
//
// Numbers as characters, characters as numbers, and text moved to text.
#include "tests/runtime/data_fixture.h"

#include "host/charset.h"
#include "host/memory.h"

namespace {

using namespace data_test;

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
    EXPECT_EQ(to(display(1, 256, 0, 127), joined({"1", Bytes(127 + 255, '8')})),
              joined({"1 1", Bytes(255, '8')}));
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
    EXPECT_EQ(convert(text(10), text(8, 24), units, &utf8), result(1, bytes + " "));
    EXPECT_EQ(convert(text(3), text(4, 24), raw(uint16_t{0xDE00}) + raw(uint16_t{0xD83D}), &utf8),
              "1 ?? ");
}

TEST(DataText, LongNationalTextNeedsMemoryAndSurvivesWithoutIt) {
    const Bytes ascii(3000, 'x');
    EXPECT_EQ(convert(text(6000, 24), text(3000), ascii), result(1, national(ascii)));
    EXPECT_EQ(convert(text(3000), text(6000, 24), national(ascii)), result(1, ascii));
    for (int64_t nth = 1; nth <= 2; ++nth) {
        ZMemoryRefuse(nth, 1);
        EXPECT_EQ(convert(text(20, 24), text(3000), ascii), result(0, Bytes(20, '#')));
        EXPECT_EQ(ZMemoryRefused(), 1U);
        ZMemoryRefuse(nth, 1);
        EXPECT_EQ(convert(text(20), text(6000, 24), national(ascii)), result(0, Bytes(20, '#')));
        EXPECT_EQ(ZMemoryRefused(), 1U);
        ZMemoryRefuse(0, 0);
    }
    EXPECT_EQ(ZMemoryInUse("Text conversion"), 0U);
}

}  // namespace
