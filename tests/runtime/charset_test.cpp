// SPDX-License-Identifier: MIT
#include "host/charset.h"

#include <gtest/gtest.h>
#include <iconv.h>

#include <cerrno>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "host/config.h"
#include "tests/runtime/host_fixture.h"

namespace {

// Makes a code page the program's own until the end of the scope.
class Page {
 public:
    explicit Page(int number) : old_(ZSetCOBOLCharSet(number)) {
        EXPECT_NE(old_, -1) << "code page " << number;
    }
    Page(const Page &) = delete;
    Page &operator=(const Page &) = delete;
    ~Page() { ZSetCOBOLCharSet(old_); }

 private:
    int old_;
};

using Convert = std::function<int32_t(const char *, int32_t, char *, int32_t)>;

// The usual two calls: learn the size, then fill a buffer of exactly that and a
// terminator.
std::string convert(const Convert &call, const std::string &text, size_t terminator = 1) {
    const auto length = static_cast<int32_t>(text.size());
    const int32_t needed = call(text.data(), length, nullptr, 0);
    EXPECT_GE(needed, 0);
    std::string result(static_cast<size_t>(needed) + terminator, '#');
    EXPECT_EQ(call(text.data(), length, result.data(), static_cast<int32_t>(result.size())),
              needed);
    EXPECT_EQ(result.substr(static_cast<size_t>(needed)), std::string(terminator, '\0'));
    result.resize(static_cast<size_t>(needed));
    return result;
}

std::string to_utf8(const std::string &text) {
    return convert(ZCOBOLCharSetToUTF8, text);
}

std::string from_utf8(const std::string &text) {
    return convert(ZUTF8ToCOBOLCharSet, text);
}

std::string to_utf16(const std::string &text, int type) {
    return convert([type](const char *from, int32_t length, char *buffer,
                          int32_t size) { return ZUTF8To16(from, length, buffer, size, type); },
                   text, 2);
}

struct Row {
    const char *name;
    int page;
    std::string text;
    std::string utf8;
};

// Both ways.
const Row kRows[] = {
    {"ASCII", 28591, "ABC abc 019", "ABC abc 019"},
    {"Latin-1", 28591, "\xe4\xff\x80", "\xc3\xa4\xc3\xbf\xc2\x80"},
    {"UTF-8", 65001, "a\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80",
     "a\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80"},
    {"Latin-2", 28592, "\xb1\xe6", "\xc4\x85\xc4\x87"},
    {"Latin-9", 28605, "\xa4\xbd", "\xe2\x82\xac\xc5\x93"},
    {"Western Windows", 1252, "\x80\x92\xe9", "\xe2\x82\xac\xe2\x80\x99\xc3\xa9"},
    {"a byte that Western Windows leaves out", 1252, "\x81", "\xc2\x81"},
    {"Central European Windows", 1250, "\xb9\x9c", "\xc4\x85\xc5\x9b"},
    {"American PC", 437, "\x84\xe1\xc9", "\xc3\xa4\xc3\x9f\xe2\x95\x94"},
    {"Western PC", 850, "\x84\xe1\xd5", "\xc3\xa4\xc3\x9f\xc4\xb1"},
    {"EBCDIC, USA", 37, "\xc1\xc2\xf0\x40\x5a", "AB0 !"},
    {"EBCDIC, Germany", 273, "\xc0\xd0\x4a", "\xc3\xa4\xc3\xbc\xc3\x84"},
    {"EBCDIC, international", 500, "\xc1\x4a\x5a", "A[]"},
    {"EBCDIC, USA with euro", 1140, "\x9f\xc1",
     "\xe2\x82\xac"
     "A"},
    {"EBCDIC, Germany with euro", 1141, "\x9f\xc0", "\xe2\x82\xac\xc3\xa4"},
    {"Japanese", 932, "a\x83\x5c\xb1\x88\x9f", "a\xe3\x82\xbd\xef\xbd\xb1\xe4\xba\x9c"},
    {"Chinese, simplified", 936, "\xc4\xe3=\x81\x5c", "\xe4\xbd\xa0=\xe4\xb9\x97"},
    {"Korean", 949, "\xb0\xa1=", "\xea\xb0\x80="},
    {"Chinese, traditional", 950, "\xa4\xa4\xb3\x5c", "\xe4\xb8\xad\xe8\xa8\xb1"},
    {"Chinese, four bytes", 54936, "\xc4\xe3\x81\x30\x81\x30", "\xe4\xbd\xa0\xc2\x80"},
    {"Cyrillic", 1251, "\xcf\xf0", "\xd0\x9f\xd1\x80"},
    {"Cyrillic of Unix", 20866, "\xf0\xd2", "\xd0\x9f\xd1\x80"},
    {"Greek of ISO", 28597, "\xc1", "\xce\x91"},
};

TEST(CharacterSets, BothWays) {
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.name);
        Page page(row.page);
        EXPECT_EQ(to_utf8(row.text), row.utf8);
        EXPECT_EQ(from_utf8(row.utf8), row.text);
    }
}

TEST(CharacterSets, EveryByteOfASingleBytePageSurvives) {
    for (int number : {28591, 28592, 28605, 1252, 1250, 437, 850, 37, 273, 500, 1140, 1141, 1251}) {
        SCOPED_TRACE(number);
        Page page(number);
        std::string all;
        for (int byte = 1; byte < 256; ++byte)
            all += static_cast<char>(byte);
        EXPECT_EQ(from_utf8(to_utf8(all)), all);
    }
}

// The tables that are built in against the C library's own.
TEST(CharacterSets, TablesAgreeWithTheCLibrary) {
    const std::pair<int, const char *> pages[] = {
        {28592, "ISO-8859-2"}, {28605, "ISO-8859-15"}, {1252, "CP1252"},  {1250, "CP1250"},
        {437, "IBM437"},       {850, "IBM850"},        {37, "IBM037"},    {273, "IBM273"},
        {500, "IBM500"},       {1140, "IBM1140"},      {1141, "IBM1141"},
    };
    for (const auto &[number, name] : pages) {
        SCOPED_TRACE(name);
        Page page(number);
        iconv_t converter = iconv_open("UTF-8", name);
        if (converter == reinterpret_cast<iconv_t>(intptr_t{-1}))
            GTEST_SKIP() << "this C library has no " << name;
        for (int byte = 1; byte < 256; ++byte) {
            char text = static_cast<char>(byte);
            char *in = &text;
            size_t in_left = 1;
            char utf8[8];
            char *out = utf8;
            size_t out_left = sizeof utf8;
            iconv(converter, nullptr, nullptr, nullptr, nullptr);
            if (iconv(converter, &in, &in_left, &out, &out_left) == static_cast<size_t>(-1))
                continue;
            EXPECT_EQ(to_utf8(std::string(1, text)), std::string(utf8, out)) << "byte " << byte;
        }
        iconv_close(converter);
    }
}

TEST(CharacterSets, WhatThePageDoesNotHoldIsAQuestionMark) {
    const std::pair<int, const char *> rows[] = {{28591, "a?b?"},
                                                 {1252,
                                                  "a\x80"
                                                  "b?"},
                                                 {437, "a?b?"},
                                                 {37, "\x81\x6f\x82\x6f"},
                                                 {932, "a?b?"},
                                                 {1251,
                                                  "a\x88"
                                                  "b?"}};
    for (const auto &[number, expected] : rows) {
        SCOPED_TRACE(number);
        Page page(number);
        EXPECT_EQ(from_utf8("a\xe2\x82\xac"
                            "b\xf0\x9f\x98\x80"),
                  expected);
    }
}

TEST(CharacterSets, BytesThatAreNoUtf8AreReadAsLatin1) {
    const std::pair<const char *, const char *> rows[] = {
        {"a\xff"
         "b",
         "a\xc3\xbf"
         "b"},
        {"\xc3", "\xc3\x83"},
        {"\xc3=", "\xc3\x83="},
        {"\xe2\x82", "\xc3\xa2\xc2\x82"},
        {"\xc0\x80", "\xc3\x80\xc2\x80"},              // overlong
        {"\xe0\x9f\xbf", "\xc3\xa0\xc2\x9f\xc2\xbf"},  // overlong
        {"\xf0\x8f\xbf\xbf", "\xc3\xb0\xc2\x8f\xc2\xbf\xc2\xbf"},
        {"\xed\xa0\x80", "\xc3\xad\xc2\xa0\xc2\x80"},  // a surrogate
        {"\xf4\x90\x80\x80", "\xc3\xb4\xc2\x90\xc2\x80\xc2\x80"},
        {"\x80\xbf", "\xc2\x80\xc2\xbf"},
        {"\xef\xbf\xbf\xf4\x8f\xbf\xbf", "\xef\xbf\xbf\xf4\x8f\xbf\xbf"},  // the last ones
    };
    Page page(65001);
    for (const auto &[text, expected] : rows) {
        EXPECT_EQ(to_utf8(text), expected);
        EXPECT_EQ(from_utf8(text), expected);
    }
}

TEST(CharacterSets, BytesThatAreNoCharacterOfAMultiBytePageAreReadAsLatin1) {
    Page page(932);
    EXPECT_EQ(to_utf8("\x83"), "\xc2\x83");
    EXPECT_EQ(to_utf8("\x83="), "\xc2\x83=");
    EXPECT_EQ(to_utf8("a\xfd"
                      "b"),
              "a\xc3\xbd"
              "b");
}

TEST(CharacterSets, UnknownPagesChangeNothing) {
    Page page(1252);
    for (int number : {0, -1, 7, 65536, 1200, 1201, 65000, 930, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(ZSetCOBOLCharSet(number), -1) << number;
        EXPECT_EQ(ZGetCOBOLCharSet(), 1252);
    }
    EXPECT_EQ(to_utf8("\x80"), "\xe2\x82\xac");
}

TEST(CharacterSets, SwitchingGivesTheOldPage) {
    Page page(28591);
    EXPECT_EQ(ZSetCOBOLCharSet(437), 28591);
    EXPECT_EQ(ZSetCOBOLCharSet(65001), 437);
    EXPECT_EQ(ZSetCOBOLCharSet(65001), 65001);
    EXPECT_EQ(ZSetCOBOLCharSet(437), 65001);
    EXPECT_EQ(to_utf8("\x84"), "\xc3\xa4");
    EXPECT_EQ(from_utf8("\xc3\xa4"), "\x84");
    EXPECT_EQ(ZSetCOBOLCharSet(850), 437);
    EXPECT_EQ(from_utf8("\xc4\xb1"), "\xd5");
}

// A parser goes to UTF-8 and back for every piece of its input.
TEST(CharacterSets, AMultiBytePageStaysReadyWhileUtf8IsCurrent) {
    Page page(932);
    ZSetCOBOLCharSet(65001);
    ZMemoryRefuse(1, -1);
    EXPECT_EQ(ZSetCOBOLCharSet(932), 65001);
    ZMemoryRefuse(0, 0);
    EXPECT_EQ(to_utf8("\x83\x5c"), "\xe3\x82\xbd");
}

TEST(CharacterSets, ARefusedPageChangesNothingAndNothingIsLeftBehind) {
    Page page(28591);
    fixture::refuse_each(
        [] {
            const bool done = ZSetCOBOLCharSet(949) != -1;
            if (!done) {
                EXPECT_EQ(ZGetCOBOLCharSet(), 28591);
            }
            return done;
        },
        [] { ZSetCOBOLCharSet(28591); });
}

TEST(CharacterSets, TheVariableSwitchesThePage) {
    Page page(28591);
    EXPECT_EQ(ZCSetValueString("COBOL_CODE_PAGE", "850"), 1);
    EXPECT_EQ(ZGetCOBOLCharSet(), 850);
    fixture::clear_error();
    EXPECT_EQ(ZCSetValueString("COBOL_CODE_PAGE", "7"), 0);
    EXPECT_EQ(fixture::error(),
              "2: COBOL_CODE_PAGE '7' is no known code page; give one such as 28591, 1252, 65001 "
              "or 932");
    EXPECT_EQ(ZGetCOBOLCharSet(), 850);
    EXPECT_EQ(ZCSetValueString("COBOL_CODE_PAGE", nullptr), 1);
    EXPECT_EQ(ZGetCOBOLCharSet(), 28591);
}

// At every size: the bytes needed are told, no half character is written,
// nothing behind the size is touched, and a terminator is put where it fits.
void check_sizes(const Convert &call, const std::string &text, const std::vector<size_t> &borders,
                 size_t terminator) {
    const auto length = static_cast<int32_t>(text.size());
    const size_t needed = borders.back();
    std::string whole(needed, '#');
    call(text.data(), length, whole.data(), static_cast<int32_t>(needed));
    for (size_t size = 0; size <= needed + 3; ++size) {
        SCOPED_TRACE("size " + std::to_string(size));
        std::vector<char> exact(size, '#');
        EXPECT_EQ(call(text.data(), length, exact.data(), static_cast<int32_t>(size)),
                  static_cast<int32_t>(needed));
        size_t fits = 0;
        for (size_t border : borders)
            fits = border <= size ? border : fits;
        std::string expected = whole.substr(0, fits);
        if (size - fits >= terminator)
            expected.append(terminator, '\0');
        expected.resize(size, '#');
        EXPECT_EQ(std::string(exact.begin(), exact.end()), expected);
    }
}

TEST(CharacterSets, NoSizeMakesHalfACharacter) {
    {
        Page page(28591);
        check_sizes(ZCOBOLCharSetToUTF8,
                    "ab\xe4"
                    "c\xfc",
                    {0, 1, 2, 4, 5, 7}, 1);
        check_sizes(ZUTF8ToISO88591, "a\xc3\xa4\xe2\x82\xac", {0, 1, 2, 3}, 1);
        check_sizes(
            [](const char *t, int32_t n, char *b, int32_t s) { return ZUTF8To16(t, n, b, s, 3); },
            "a\xc3\xa4\xf0\x9f\x98\x80z", {0, 2, 4, 8, 10}, 2);
    }
    {
        Page page(65001);
        check_sizes(ZUTF8ToCOBOLCharSet, "a\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80", {0, 1, 3, 6, 10},
                    1);
    }
    {
        Page page(932);
        check_sizes(ZUTF8ToCOBOLCharSet, "a\xe3\x82\xbd=\xe3\x82\xbd", {0, 1, 3, 4, 6}, 1);
    }
    {
        Page page(37);
        check_sizes(ZUTF8ToCOBOLCharSet, "abc", {0, 1, 2, 3}, 1);
    }
}

// Once a character did not fit, a shorter one behind it is not written either.
TEST(CharacterSets, WhatFitsIsTheTextsBeginning) {
    Page page(28591);
    char buffer[4] = {'#', '#', '#', '#'};
    EXPECT_EQ(ZCOBOLCharSetToUTF8("a\xe4"
                                  "b",
                                  3, buffer, 2),
              4);
    EXPECT_EQ(std::string(buffer, 4), std::string("a\0##", 4));
}

TEST(CharacterSets, LengthsAndZeroBytes) {
    Page page(28591);
    char buffer[10];
    EXPECT_EQ(ZCOBOLCharSetToUTF8("abc", -1, buffer, 10), 3);
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(ZCOBOLCharSetToUTF8("abc", 2, buffer, 10), 2);
    EXPECT_STREQ(buffer, "ab");
    EXPECT_EQ(ZCOBOLCharSetToUTF8("a\0c", 3, buffer, 10), 1);
    EXPECT_EQ(ZUTF8ToCOBOLCharSet("a\0c", 3, buffer, 10), 1);
    EXPECT_EQ(ZUTF8To16("a\0c", 3, buffer, 10, 3), 2);
    EXPECT_EQ(ZUTF8ToISO88591("a\0c", 3, buffer, 10), 1);
    EXPECT_EQ(ZCOBOLCharSetToUTF8("abc", 0, buffer, 10), 0);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(ZCOBOLCharSetToUTF8("abc", 3, nullptr, 10), 3);
    EXPECT_EQ(ZCOBOLCharSetToUTF8("abc", 3, buffer, -1), 3);
    EXPECT_EQ(ZCOBOLCharSetToUTF8(nullptr, 3, buffer, 10), 0);
}

TEST(CharacterSets, LongTextsConvertAsShortOnesDo) {
    Page page(1252);
    for (size_t ascii = 0; ascii < 40; ++ascii) {
        std::string text;
        std::string utf8;
        for (int i = 0; i < 50; ++i) {
            text += std::string(ascii, 'x') + "\x80";
            utf8 += std::string(ascii, 'x') + "\xe2\x82\xac";
        }
        EXPECT_EQ(to_utf8(text), utf8);
        EXPECT_EQ(from_utf8(utf8), text);
    }
}

TEST(CharacterSets, Utf16InBothOrders) {
    const std::string text = "A\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80";
    EXPECT_EQ(to_utf16(text, 3), std::string("A\0\xe4\0\xac\x20\x3d\xd8\x00\xde", 10));
    EXPECT_EQ(to_utf16(text, 5), std::string("\0A\0\xe4\x20\xac\xd8\x3d\xde\x00", 10));
    EXPECT_EQ(to_utf16("\xff", 3), std::string("\xff\0", 2));
    for (int type : {-1, 0, 1, 2, 4, 6, 7, 8})
        EXPECT_EQ(ZUTF8To16("abc", 3, nullptr, 0, type), 0) << type;
}

TEST(CharacterSets, Latin1FromUtf8) {
    EXPECT_EQ(convert(ZUTF8ToISO88591, "a\xc3\xbf\xc4\x80\xe2\x82\xac\xff"), "a\xff??\xff");
}

TEST(Encodings, NamesAndTypes) {
    const std::pair<const char *, int> rows[] = {
        {"UTF-8", 2},    {"utf-8", 2},      {"UTF-16LE", 3},   {"UTF-16", 3}, {"utf-16", 3},
        {"UTF-16BE", 5}, {"iso-8859-1", 7}, {"ISO-8859-1", 7}, {"UTF8", 0},   {"ISO-8859-15", 0},
        {"", 0},         {"UTF-32", 0},     {"UTF-8 ", 0}};
    for (const auto &[name, type] : rows)
        EXPECT_EQ(Zencoding_name_to_type(name), type) << name;
    EXPECT_EQ(Zencoding_name_to_type(nullptr), 0);
    EXPECT_STREQ(Zencoding_type_to_name(2), "UTF-8");
    EXPECT_STREQ(Zencoding_type_to_name(3), "UTF-16LE");
    EXPECT_STREQ(Zencoding_type_to_name(5), "UTF-16BE");
    EXPECT_STREQ(Zencoding_type_to_name(7), "ISO-8859-1");
    for (int type : {-1, 0, 1, 4, 6, 8, INT32_MAX, INT32_MIN})
        EXPECT_EQ(Zencoding_type_to_name(type), nullptr) << type;
}

TEST(Encodings, ByteOrderMarks) {
    const std::pair<std::string, int> rows[] = {
        {"\xef\xbb\xbf<", 2},
        {"\xff\xfe<", 3},
        {"\xfe\xff", 5},
        {std::string("\xff\xfe<\0", 4), 3},
        {std::string("\xff\xfe\0\0", 4), 4},
        {std::string("\0\0\xfe\xff", 4), 6},
        {std::string("\xff\xfe\0", 3), 3},
        {"\xef\xbb", -1},
        {"\xff", -1},
        {"", -1},
        {"<?xml", -1},
    };
    for (const auto &[bytes, type] : rows)
        EXPECT_EQ(ZicuBOMIs(bytes.data(), bytes.size()), type) << bytes;
}

TEST(Encodings, CodeUnits) {
    EXPECT_EQ(std::vector<int>(Zstdlib_cp_size, Zstdlib_cp_size + 8),
              (std::vector<int>{1, 1, 1, 2, 4, 2, 4, 1}));
}

TEST(Encodings, BytesOfACharacter) {
    struct CharacterRow {
        int type;
        std::string text;
        int bytes;
    };
    const CharacterRow rows[] = {
        {2, "a", 1},
        {2, "\xc3\xa4", 2},
        {2, "\xe2\x82\xac", 3},
        {2, "\xf0\x9f\x98\x80", 4},
        {2, "\xe2\x82", 1},  // cut off: never past the zero byte
        {2, "\xff", 1},
        {2, "", 1},
        {3, std::string("a\0", 2), 2},
        {3, std::string("\x3d\xd8\x00\xde", 4), 4},
        {5, std::string("\xd8\x3d\xde\x00", 4), 4},
        {5, std::string("\x20\xac", 2), 2},
        {7, "\xe4", 1},
        {0, "\xe4", 1},
        {-1, "\xc3\xa4", 1},
        {8, "\xc3\xa4", 1},
        {4, "abcd", 4},
    };
    for (const CharacterRow &row : rows)
        EXPECT_EQ(ZCPByteInc(row.text.c_str(), row.type), row.bytes) << row.type << row.text;
    Page page(932);
    EXPECT_EQ(ZCPByteInc("\x83\x5c", 1), 2);
    EXPECT_EQ(ZCPByteInc("\xb1", 1), 1);
    EXPECT_EQ(ZCPByteInc("\x83", 1), 1);
}

}  // namespace
