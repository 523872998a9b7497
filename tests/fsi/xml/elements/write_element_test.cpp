// SPDX-License-Identifier: MIT
//
// Pieces of text and elements written to strings and to streams.
#include <gtest/gtest.h>
#include <pthread.h>

#include <cstdio>
#include <initializer_list>
#include <string>
#include <string_view>

#include "host/charset.h"
#include "host/config.h"
#include "host/files.h"
#include "host/memory.h"
#include "host/strings.h"
#include "tests/fsi/xml/elements/element_fixture.h"
#include "wbfsi/lifecycle.h"
#include "wbfsi/xml_writer.h"

// A stream that takes at most so many bytes in all.
struct ZFile {
    std::string bytes;
    size_t most = SIZE_MAX;
    bool counts_only = false;
    uint64_t count = 0;
};

size_t os_fwrite(const void *bytes, size_t n, ZFile *file) {
    if (file->counts_only) {
        file->count += n;
        return n;
    }
    n = std::min(n, file->most - file->bytes.size());
    file->bytes.append(static_cast<const char *>(bytes), n);
    return n;
}

namespace {

using namespace std::string_literals;
using elements::Tree;

constexpr int32_t kTypes[] = {-2, -1, 0, 1, 2, 3, 4, 5, 6, 7, 8};

bool is_utf16(int32_t type) {
    return type == 3 || type == 5;
}

// ASCII in an output encoding.
std::string in_type(std::string_view ascii, int32_t type) {
    if (!is_utf16(type))
        return std::string(ascii);
    std::string units;
    for (const char c : ascii) {
        if (type == 5)
            units += '\0';
        units += c;
        if (type == 3)
            units += '\0';
    }
    return units;
}

// What a call writes to a string, and to a stream, with the count it returns.
template <typename Write>
std::string written(Write write) {
    const ZString string = ZSTRINGNew(10, "test", "test");
    ZFile stream;
    const int32_t count = write(static_cast<void *>(string));
    const std::string bytes(ZStringGet(string), ZStringGetLength(string));
    EXPECT_EQ(static_cast<size_t>(count), bytes.size());
    EXPECT_EQ(write(static_cast<void *>(&stream)), count);
    EXPECT_EQ(stream.bytes, bytes);
    ZSTRINGDelete(string);
    return bytes;
}

std::string piece(std::string_view text, int32_t type, uint32_t flags, int32_t code_page = 2) {
    // The exact bytes, so that a checker sees a byte too many.
    char *exact = new char[text.size()];
    text.copy(exact, text.size());
    const ZxmlTextPiece one{exact, static_cast<int32_t>(text.size()), code_page};
    std::string bytes =
        written([&](void *to) { return ZxmlElem_write_with_encoding(to, type, &one, flags); });
    delete[] exact;
    return bytes;
}

// --- pieces

TEST(WritePiece, EveryAsciiCharacterInEveryType) {
    for (const int32_t type : kTypes) {
        for (int c = 1; c < 128; c++) {
            SCOPED_TRACE(testing::Message() << "type " << type << ", character " << c);
            const std::string text = {'a', static_cast<char>(c), 'b'};
            char reference[16];
            std::snprintf(reference, sizeof reference, "&#x%02x;", static_cast<unsigned>(c));
            std::string expected = std::string(1, static_cast<char>(c));
            if (c == '<')
                expected = "&lt;";
            else if (c == '>')
                expected = "&gt;";
            else if (c == '&')
                expected = "&amp;";
            else if (c == '\'')
                expected = "&apos;";
            else if (c == '"')
                expected = "&quot;";
            else if (c < 32 || (c == 127 && type == 0))
                expected = reference;
            expected = "a" + expected + "b";
            for (const uint32_t flags : {1U, 3U})
                EXPECT_EQ(piece(text, type, flags), in_type(expected, type));
            for (const uint32_t flags : {0U, 2U})
                EXPECT_EQ(piece(text, type, flags), in_type(text, type));
        }
    }
}

TEST(WritePiece, CharactersBeyondAscii) {
    struct Row {
        int32_t type;
        std::string plain;
        std::string escaped;
    };
    const std::string text = "é€😀\xC3";
    const Row rows[] = {
        {-2, text, text},
        {-1, text, text},
        {0, text, "é€😀&#xc3;"},
        {1, text, text},
        {2, text, text},
        {3, "\xE9\x00\xAC\x20\x3D\xD8\x00\xDE\xC3\x00"s,
         "\xE9\x00\xAC\x20\x3D\xD8\x00\xDE\xC3\x00"s},
        {4, text, text},
        {5, "\x00\xE9\x20\xAC\xD8\x3D\xDE\x00\x00\xC3"s,
         "\x00\xE9\x20\xAC\xD8\x3D\xDE\x00\x00\xC3"s},
        {6, text, text},
        {7, "\xE9??\xC3", "\xE9&#x20ac;&#x1f600;\xC3"},
        {8, text, text},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.type);
        EXPECT_EQ(piece(text, row.type, 0), row.plain);
        EXPECT_EQ(piece(text, row.type, 2), row.plain);
        EXPECT_EQ(piece(text, row.type, 1), row.escaped);
        EXPECT_EQ(piece(text, row.type, 3), row.escaped);
    }
}

// Long texts are looked through many bytes at a time, short ones byte by byte: both find
// the same, wherever it stands and whatever stands beside it.
TEST(WritePiece, LongTextsAreEscapedAsShortOnesAre) {
    std::string beside = "\x01\x1F !\"#%&'(;<=>?@`\x7E\x7F\x80\x81\xA0\xBF\xC2\xE0\xFE\xFF";
    for (const int32_t type : {0, 2, 7}) {
        for (int c = 1; c < 256; c++) {
            SCOPED_TRACE(testing::Message() << "type " << type << ", byte " << c);
            for (const char d : beside) {
                const std::string pair = {static_cast<char>(c), d};
                EXPECT_EQ(piece("aaaaa" + pair + "aaaaaaaaa", type, 1),
                          "aaaaa" + piece(pair, type, 1) + "aaaaaaaaa");
            }
            const std::string alone(1, static_cast<char>(c));
            const std::string expected = piece(alone, type, 1);
            for (size_t at = 0; at <= 24; at++) {
                const std::string before(at, 'z');
                const std::string behind(24 - at, ' ');
                EXPECT_EQ(piece(before + alone + behind, type, 1), before + expected + behind);
            }
        }
    }
}

// Bytes that begin no character of UTF-8 stand for themselves, wherever they are found.
TEST(WritePiece, BytesThatAreNoCharacter) {
    struct Row {
        const char *name;
        const char *text;
        bool is_character;
    };
    constexpr Row kRows[] = {
        {"a trail", "\x80", false},
        {"two bytes for ASCII", "\xC1\xBF", false},
        {"the first of two", "\xC2\x80", true},
        {"the last of Latin-1", "\xC3\xBF", true},
        {"the first behind Latin-1", "\xC4\x80", true},
        {"the last of two", "\xDF\xBF", true},
        {"half of two", "\xDF", false},
        {"three bytes for what takes two", "\xE0\x9F\xBF", false},
        {"the first of three", "\xE0\xA0\x80", true},
        {"before the surrogates", "\xED\x9F\xBF", true},
        {"the first surrogate", "\xED\xA0\x80", false},
        {"the last surrogate", "\xED\xBF\xBF", false},
        {"behind the surrogates", "\xEE\x80\x80", true},
        {"the last of three", "\xEF\xBF\xBF", true},
        {"two thirds", "\xEF\xBF", false},
        {"four bytes for what takes three", "\xF0\x8F\xBF\xBF", false},
        {"the first of four", "\xF0\x90\x80\x80", true},
        {"the last of all", "\xF4\x8F\xBF\xBF", true},
        {"past the last", "\xF4\x90\x80\x80", false},
        {"past the last by its first byte", "\xF5\x80\x80\x80", false},
        {"three quarters", "\xF4\x8F\xBF", false},
    };
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.name);
        const std::string text = row.text;
        EXPECT_EQ(ZCPByteInc(row.text, 2) > 1, row.is_character);
        std::string references;
        for (const char c : text) {
            char reference[16];
            std::snprintf(reference, sizeof reference, "&#x%02x;", static_cast<unsigned char>(c));
            references += reference;
        }
        EXPECT_EQ(piece(text, 0, 1), row.is_character ? text : references);
        EXPECT_EQ(piece(text, 2, 1), text);
        // A reference is to a whole character alone.
        const bool is_latin = text == "\xC2\x80" || text == "\xC3\xBF" || !row.is_character;
        EXPECT_EQ(piece(text, 7, 1).starts_with("&#x"), !is_latin);
        if (is_latin) {
            EXPECT_EQ(piece(text, 7, 1), piece(text, 7, 0));
        }
    }
}

TEST(WritePiece, CodePageOfTheText) {
    struct Row {
        int32_t code_page;
        int32_t type;
        const char *expected;
    };
    // One byte of Latin-1, or half a character of UTF-8.
    constexpr Row kRows[] = {
        {7, 2, "a\xE9<b"},   {7, 0, "a&#xe9;<b"}, {2, 2, "a\xE9<b"},
        {2, 0, "a&#xe9;<b"}, {7, 7, "a\xE9<b"},
    };
    for (const Row &row : kRows) {
        SCOPED_TRACE(testing::Message() << row.code_page << " to " << row.type);
        std::string expected = row.expected;
        expected.replace(expected.find('<'), 1, "&lt;");
        EXPECT_EQ(piece("a\xE9<b", row.type, 1, row.code_page), expected);
    }
}

TEST(WritePiece, AZeroByteEndsTheText) {
    for (const int32_t type : kTypes) {
        SCOPED_TRACE(type);
        const bool is_whole = type < -1 || type == 1 || type == 4 || type == 6 || type > 7;
        EXPECT_EQ(piece("ab\0cd"s, type, 0), is_whole ? "ab\0cd"s : in_type("ab", type));
        EXPECT_EQ(piece("ab\0cd"s, type, 1), in_type("ab", type));
        // With nothing to convert, the bytes as they are.
        const bool is_empty = type >= -1 && type <= 2 && type != 1;
        EXPECT_EQ(piece("\0ab"s, type, 0), is_empty ? ""s : "\0ab"s);
        EXPECT_EQ(piece("\0ab"s, type, 1), "");
        EXPECT_EQ(piece("", type, 0), "");
        EXPECT_EQ(piece("", type, 3), "");
    }
}

TEST(WritePiece, BlanksAroundTheText) {
    struct Row {
        const char *text;
        const char *flags[4];
    };
    constexpr Row kRows[] = {
        {"  a b  ", {"  a b  ", "  a b  ", "  a b  ", "a b"}},
        {"\t\n a\r\v\f", {"\t\n a\r\v\f", "&#x09;&#x0a; a&#x0d;&#x0b;&#x0c;", "\t\n a\r\v\f", "a"}},
        {" \t", {" \t", " &#x09;", " \t", ""}},
        {"a", {"a", "a", "a", "a"}},
        {" <a> ", {" <a> ", " &lt;a&gt; ", " <a> ", "&lt;a&gt;"}},
    };
    for (const Row &row : kRows) {
        for (uint32_t flags = 0; flags < 4; flags++) {
            SCOPED_TRACE(testing::Message() << '"' << row.text << "\" flags " << flags);
            EXPECT_EQ(piece(row.text, 2, flags), row.flags[flags]);
            EXPECT_EQ(piece(row.text, 5, flags), in_type(row.flags[flags], 5));
        }
    }
}

TEST(WritePiece, TextsLongerThanTheBufferAreWhole) {
    for (size_t ahead = 0; ahead < 4; ahead++) {
        for (const size_t length : {16380U, 16384U, 16385U, 40000U}) {
            SCOPED_TRACE(testing::Message() << ahead << " and up to " << length << " bytes");
            std::string text(ahead, 'a');
            std::string little = in_type(text, 3);
            std::string latin = text;
            while (text.size() + 3 <= length) {
                text += "€";
                little += "\xAC\x20";
                latin += '?';
            }
            text += "é";
            EXPECT_EQ(piece(text, 2, 0), text);
            EXPECT_EQ(piece(text, 2, 1), text);
            EXPECT_EQ(piece(text, 3, 1), little + "\xE9\x00"s);
            EXPECT_EQ(piece(text, 7, 0), latin + "\xE9");
        }
    }
}

TEST(WritePiece, WithoutMemoryForTheScratchTextIsConvertedAllTheSame) {
    std::string text;
    std::string big;
    for (int i = 0; i < 3000; i++) {
        text += "a€é";
        big += "\x00\x61\x20\xAC\x00\xE9"s;
    }
    const ZxmlTextPiece one{text.data(), static_cast<int32_t>(text.size()), 2};
    ZFile stream;
    // The scratch buffer is gone.
    ZMemoryRefuse(1, -1);
    EXPECT_EQ(validate_scratch(1 << 20), 0);
    EXPECT_EQ(ZxmlElem_write_with_encoding(&stream, 5, &one, 0), 18000);
    ZMemoryRefuse(0, 0);
    EXPECT_EQ(stream.bytes, big);
}

TEST(WritePiece, CountsWhatTheTargetTook) {
    const ZxmlTextPiece one{"abcdef", 6, 2};
    for (size_t most = 0; most <= 8; most++) {
        SCOPED_TRACE(most);
        ZFile stream;
        stream.most = most;
        const size_t expected = std::min<size_t>(most, 6);
        EXPECT_EQ(ZxmlElem_write_with_encoding(&stream, 2, &one, 0),
                  static_cast<int32_t>(expected));
        EXPECT_EQ(stream.bytes, std::string("abcdef").substr(0, expected));
    }
    const std::string large(1000, 'x');
    const ZxmlTextPiece refused{large.data(), 1000, 2};
    const ZString string = ZSTRINGNew(4, "test", "test");
    ZMemoryRefuse(1, -1);
    EXPECT_EQ(ZxmlElem_write_with_encoding(string, 2, &refused, 0), 0);
    ZMemoryRefuse(0, 0);
    EXPECT_STREQ(ZStringGet(string), "");
    ZSTRINGDelete(string);
    EXPECT_EQ(ZxmlElem_write_with_encoding(nullptr, 2, &one, 0), 0);
    EXPECT_EQ(ZxmlElem_write_ascii(nullptr, 2, "a", 0), 0);
}

TEST(WritePiece, NothingIsWrittenOfNoText) {
    const ZxmlTextPiece none{nullptr, 5, 2};
    const ZxmlTextPiece terminated{"abc ", -1, 2};
    EXPECT_EQ(written([](void *to) { return ZxmlElem_write_with_encoding(to, 2, nullptr, 0); }),
              "");
    EXPECT_EQ(written([&](void *to) { return ZxmlElem_write_with_encoding(to, 2, &none, 1); }), "");
    EXPECT_EQ(written([](void *to) { return ZxmlElem_write_ascii(to, 2, nullptr, 0); }), "");
    EXPECT_EQ(
        written([&](void *to) { return ZxmlElem_write_with_encoding(to, 2, &terminated, 0); }),
        "abc ");
    for (const int32_t length : {-1, -2, INT32_MIN}) {
        const ZxmlTextPiece trimmed{" abc ", length, 2};
        EXPECT_EQ(
            written([&](void *to) { return ZxmlElem_write_with_encoding(to, 2, &trimmed, 3); }),
            "abc");
    }
}

// --- terminated texts and newlines

TEST(WriteAscii, NewlinesAreNeverEscaped) {
    constexpr const char *kText = "a\n b<\t \n\n'c' ";
    constexpr const char *kExpected[] = {
        "a\n b<\t \n\n'c' ",
        "a\n b&lt;&#x09; \n\n&apos;c&apos; ",
        "a\n b<\t \n\n'c' ",
        "a\nb&lt;\n\n&apos;c&apos;",
    };
    for (const int32_t type : kTypes) {
        for (uint32_t flags = 0; flags < 4; flags++) {
            SCOPED_TRACE(testing::Message() << "type " << type << " flags " << flags);
            EXPECT_EQ(
                written([&](void *to) { return ZxmlElem_write_ascii(to, type, kText, flags); }),
                in_type(kExpected[flags], type));
        }
        EXPECT_EQ(written([&](void *to) { return ZxmlElem_write_ascii(to, type, "", 3); }), "");
        EXPECT_EQ(written([&](void *to) { return ZxmlElem_write_newline(to, type); }),
                  in_type("\n", type));
    }
}

// --- elements

std::string element_text(ZHandle element, int32_t indent = 0, int32_t type = 2) {
    const ZString string = ZSTRINGNew(10, "test", "test");
    ZFile stream;
    EXPECT_EQ(ZxmlElem_write(string, type, element, indent), 1);
    EXPECT_EQ(ZxmlElem_write(&stream, type, element, indent), 1);
    const std::string bytes(ZStringGet(string), ZStringGetLength(string));
    EXPECT_EQ(stream.bytes, bytes);
    ZSTRINGDelete(string);
    return bytes;
}

void set(ZHandle element, std::string_view text) {
    ZxmlElem_set_value(element, text.data(), static_cast<int32_t>(text.size()));
}

class WriteElement : public testing::Test {
 protected:
    void SetUp() override {
        fsi_init_cfg();
        before_ = ZSetCOBOLCharSet(65001);
    }
    void TearDown() override {
        ZCSetValueString("XML_KEEP_WHITESPACE", nullptr);
        ZSetCOBOLCharSet(before_);
    }

    static std::string one_value(const char *text) {
        const Tree top("a");
        set(top, text);
        return element_text(top);
    }

 private:
    int before_ = 0;
};

TEST_F(WriteElement, Layout) {
    const Tree top("a");
    EXPECT_EQ(element_text(top), "<a/>\n");
    ZxmlElem_add_attribute(top, "x", -1, "1", -1);
    ZxmlElem_add_attribute(top, "y", -1, "2", -1);
    EXPECT_EQ(element_text(top), "<a\n     x=\"1\"\n     y=\"2\"/>\n");
    set(top, "v");
    EXPECT_EQ(element_text(top), "<a\n     x=\"1\"\n     y=\"2\">v</a>\n");
    const ZHandle b = ZxmlElem_add_child(top, "b", -1);
    EXPECT_EQ(element_text(top), "<a\n     x=\"1\"\n     y=\"2\">v\n  <b/>\n</a>\n");
    ZxmlElem_delete_attribute(top, 0);
    ZxmlElem_delete_attribute(top, 0);
    set(top, "");
    EXPECT_EQ(element_text(top), "<a>\n  <b/>\n</a>\n");
    const ZHandle c = ZxmlElem_add_child(b, "c", -1);
    set(c, "w");
    ZxmlElem_add_attribute(c, "z", -1, "", -1);
    ZxmlElem_add_child(top, "d", -1);
    const char *whole = "<a>\n  <b>\n    <c\n         z=\"\">w</c>\n  </b>\n  <d/>\n</a>\n";
    EXPECT_EQ(element_text(top), whole);
    EXPECT_EQ(element_text(b, 0), "<b>\n  <c\n       z=\"\">w</c>\n</b>\n");
    EXPECT_EQ(element_text(b, 3), "   <b>\n     <c\n          z=\"\">w</c>\n   </b>\n");
    EXPECT_EQ(element_text(b, -4), element_text(b, 0));
    for (const int32_t type : {3, 5})
        EXPECT_EQ(element_text(top, 0, type), in_type(whole, type));
}

TEST_F(WriteElement, EmptiedListsAndValuesAreNone) {
    const Tree top("a");
    ZxmlElem_delete(ZxmlElem_add_child(top, "b", -1));
    EXPECT_EQ(element_text(top), "<a/>\n");
    set(top, "v");
    set(top, "");
    EXPECT_EQ(element_text(top), "<a/>\n");
    ZxmlElem_append_value(top, "  ", 2, 1);
    EXPECT_EQ(element_text(top), "<a></a>\n");
}

TEST_F(WriteElement, TextsAreEscapedAndNamesAreNot) {
    const Tree top("a<b");
    set(top, " \t<x>\t&\n'y' \" ");
    ZxmlElem_add_attribute(top, "p&q", -1, "\n<'\t\">\r& ", -1);
    EXPECT_EQ(element_text(top),
              "<a<b\n     p&q=\"&lt;&apos;&#x09;&quot;&gt;&#x0d;&amp;\">"
              "&lt;x&gt;&#x09;&amp;&#x0a;&apos;y&apos; &quot;</a<b>\n");
}

TEST_F(WriteElement, CharactersThatTheEncodingCannotCarryAreReferences) {
    const Tree top("é");
    set(top, "é€😀");
    ZxmlElem_add_attribute(top, "é", -1, "Ā", -1);
    EXPECT_EQ(element_text(top, 0, 2), "<é\n     é=\"Ā\">é€😀</é>\n");
    EXPECT_EQ(element_text(top, 0, 7),
              "<\xE9\n     \xE9=\"&#x100;\">\xE9&#x20ac;&#x1f600;</\xE9>\n");
}

TEST_F(WriteElement, Comments) {
    struct Row {
        const char *name;
        const char *comment;
        const char *expected;  // what follows "<!-- " in front of the element
    };
    constexpr Row kRows[] = {
        {"one line", "one", "one -->\n"},
        {"lines are indented and trimmed", "one \n\t two\nthree",
         "one\n       two\n       three -->\n"},
        {"an empty line", "one\n\ntwo", "one\n       \n       two -->\n"},
        {"escaped", "a<b> & 'c' \"d\"\te",
         "a&lt;b&gt; &amp; &apos;c&apos; &quot;d&quot;&#x09;e -->\n"},
        {"two hyphens", "a--b", "a- -b -->\n"},
        {"three hyphens", "---", "- - -  -->\n"},
        {"a last hyphen", "a-", "a-  -->\n"},
        {"a last hyphen behind which blanks are dropped", "a- ", "a-  -->\n"},
        {"a hyphen at the end of a line", "a-\n-b", "a-\n       -b -->\n"},
        {"the mark that ends a comment", "a-->b", "a- -&gt;b -->\n"},
        {"blank", "  ", " -->\n"},
    };
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.name);
        const Tree top("a");
        ZxmlElem_append_comment(top, row.comment, -1);
        EXPECT_EQ(element_text(top, 2), std::string("  <!-- ") + row.expected + "  <a/>\n");
    }
    const Tree top("a");
    ZxmlElem_append_comment(top, "", -1);
    EXPECT_EQ(element_text(top), "<a/>\n");
    ZxmlElem_append_comment(top, "gone", -1);
    ZxmlElem_delete_comment(top);
    EXPECT_EQ(element_text(top), "<a/>\n");
}

TEST_F(WriteElement, BlanksAreKeptAsConfigured) {
    struct Row {
        const char *setting;
        bool keeps;
    };
    constexpr Row kRows[] = {{nullptr, false}, {"0", false}, {"1", false},  {"2", true},
                             {"3", true},      {"4", false}, {"-1", false}, {"6", false}};
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.setting == nullptr ? "none" : row.setting);
        ZCSetValueString("XML_KEEP_WHITESPACE", row.setting);
        EXPECT_EQ(one_value("  x "), row.keeps ? "<a>  x </a>\n" : "<a>x</a>\n");
        const Tree top("a");
        ZxmlElem_add_attribute(top, "b", -1, " \t ", -1);
        ZxmlElem_append_comment(top, " c\n d ", -1);
        EXPECT_EQ(element_text(top), row.keeps
                                         ? "<!--  c\n      d  -->\n<a\n     b=\" &#x09; \"/>\n"
                                         : "<!-- c\n     d -->\n<a\n     b=\"\"/>\n");
    }
}

TEST_F(WriteElement, TheSettingIsReadAgainAfterAWholeElement) {
    const Tree top("a");
    set(top, " x ");
    ZCSetValueString("XML_KEEP_WHITESPACE", "2");
    EXPECT_EQ(element_text(top, 1), " <a> x </a>\n");
    ZCSetValueString("XML_KEEP_WHITESPACE", "0");
    EXPECT_EQ(element_text(top, 1), " <a> x </a>\n");
    ZFile stream;
    ZxmlElem_write(&stream, 2, top, 0);
    EXPECT_EQ(stream.bytes, "<a> x </a>\n");
    EXPECT_EQ(element_text(top, 1), " <a>x</a>\n");
    ZxmlElem_write(&stream, 2, top, 0);
}

TEST_F(WriteElement, BadHandlesWriteNothing) {
    const elements::BadHandles bad;
    for (const auto &row : bad.rows) {
        SCOPED_TRACE(row.what);
        ZFile stream;
        elements::forget_error();
        EXPECT_EQ(ZxmlElem_write(&stream, 2, row.handle, 0), 0);
        EXPECT_EQ(elements::error(), ZXML_BAD_ELEMENT);
        EXPECT_EQ(stream.bytes, "");
    }
}

TEST_F(WriteElement, DeepTreesNeedNoStack) {
    constexpr int kDepth = 100'000;
    const Tree top("a");
    ZHandle at = top;
    for (int i = 1; i < kDepth; i++)
        at = ZxmlElem_add_child(at, "a", -1);
    struct Job {
        ZHandle top;
        ZFile stream;
    } job{top, {}};
    job.stream.counts_only = true;
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 256 * 1024), 0);
    pthread_t thread;
    const auto run = [](void *argument) -> void * {
        auto *one = static_cast<Job *>(argument);
        ZxmlElem_write(&one->stream, 2, one->top, 0);
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &job), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    // Blanks in front of both tags of all but the innermost: 2 (0 + 2 + .. + 2 (n - 2)),
    // and once 2 (n - 1); "<a>\n" and "</a>\n", and "<a/>\n".
    constexpr uint64_t n = kDepth;
    EXPECT_EQ(job.stream.count, 2 * (n - 2) * (n - 1) + 2 * (n - 1) + (n - 1) * 9 + 5);
}

}  // namespace
