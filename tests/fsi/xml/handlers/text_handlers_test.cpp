// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tests/support/test_document.h"
#include "wbfsi/lifecycle.h"

namespace {

using namespace support;

struct Row {
    const char *name;
    const char *content;   // of <a>
    const char *expected;  // value of a, blanks not kept
    const char *kept;      // the same, blanks kept
};

constexpr const char *kNone = "(none)";

constexpr Row kRows[] = {
    {"nothing", "", kNone, kNone},
    {"word", "word", "word", "word"},
    {"blanks around", "  word  ", "word", "  word  "},
    {"blanks alone", "  \t ", kNone, "  \t "},
    {"newlines alone", "\n \r\n ", kNone, "\n \n "},
    {"newlines around", "\n  word\n  ", "word", "\n  word\n  "},
    {"two lines", " one  \n  two  ", "one\n  two", " one  \n  two  "},
    {"reference between blanks: the first run is trimmed", "text &#38; more", "text& more",
     "text & more"},
    {"reference first", "&lt; x ", "< x", "< x "},
    {"blank reference first", "&#32;&#32;x", "x", "  x"},
    {"blank reference last", "x&#32;&#9;", "x", "x \t"},
    {"blank reference between", "x&#32;y", "x y", "x y"},
    {"entity", " one &e; two ", "onea  b two", " one a  b two "},
    {"entity first", "&e; two ", "a  b two", "a  b two "},
    {"blank entity", "&b;x&b;", "x", "  x  "},
    {"entity with a reference", "&r;", "1< 2", " 1 < 2 "},
    {"element between", " one <b/> two ", "one two", " one  two "},
    {"comment between", " one <!-- c --> two ", "one two", " one  two "},
    {"blank, comment, word", "  <!-- c -->  word", "word", "    word"},
    {"CDATA is kept", "<![CDATA[  word  ]]>", "  word  ", "  word  "},
    {"blank CDATA is kept", "<![CDATA[  ]]>", "  ", "  "},
    {"empty CDATA", "<![CDATA[]]>", kNone, kNone},
    {"CDATA behind text", "  one  <![CDATA[ two ]]>  ", "one two   ", "  one   two   "},
    {"CDATA with lines", "<![CDATA[ a \n b ]]>", " a \n b ", " a \n b "},
    {"CDATA, then an element", "<![CDATA[ a ]]><b/>  ", " a", " a   "},
    {"two sections", "<![CDATA[a ]]><![CDATA[ b]]>", "a  b", "a  b"},
    {"brackets", " ]] ]> ", "]] ]>", " ]] ]> "},
    {"greater-than and quotes", " > \" ' ", "> \" '", " > \" ' "},
};

class TextHandlers : public testing::Test {
 protected:
    void SetUp() override { fsi_init_cfg(); }
    void TearDown() override { ZCSetValueString("XML_KEEP_WHITESPACE", nullptr); }
    static std::string value(const std::string &document, size_t most, bool by_record) {
        const ZHandle parser =
            open_document(document, Source::kFile, most, by_record ? kUsual : kUsual | ZXML_WHOLE);
        EXPECT_NE(parser, 0U) << told_error();
        while (by_record && ZxmlParser_parse_record(parser) != 0) {
        }
        const ZHandle d = ZxmlParser_top_element(parser);
        std::string text = value_of(ZxmlElem_first_child(d));
        ZxmlParser_release(parser);
        return text;
    }
    Utf8Program utf8_;
};

TEST_F(TextHandlers, BlanksOfARun) {
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.name);
        const std::string document = std::string(
                                         "<!DOCTYPE d [<!ENTITY e 'a  b'><!ENTITY b '  '>"
                                         "<!ENTITY r ' 1 &#38;lt; 2 '>]><d> <a>") +
                                     row.content + "</a> </d>";
        for (const size_t most : {size_t{1}, size_t{2}, size_t{3}, size_t{32000}}) {
            for (const bool by_record : {false, true}) {
                ZCSetValueString("XML_KEEP_WHITESPACE", "0");
                EXPECT_EQ(value(document, most, by_record), row.expected) << most;
                ZCSetValueString("XML_KEEP_WHITESPACE", "1");
                EXPECT_EQ(value(document, most, by_record), row.kept) << most;
            }
        }
    }
}

// Wherever a read or a conversion ends, a run is one run.
TEST_F(TextHandlers, LongRunsAreNotCutByPosition) {
    std::string latin1;
    for (int i = 0; i < 20000; i++)
        latin1 += i % 5 < 2 ? ' ' : i % 3 == 0 ? '\xE9' : 'x';
    const std::string document =
        "<?xml version='1.0' encoding='iso-8859-1'?><d><a>   " + latin1 + "   </a></d>";
    std::string expected;
    for (const char c : latin1.substr(2)) {
        if (c == '\xE9')
            expected += "\xC3\xA9";
        else
            expected += c;
    }
    for (const size_t most : {size_t{1}, size_t{7}, size_t{1000}, size_t{32000}}) {
        EXPECT_EQ(value(document, most, false), expected) << most;
        EXPECT_EQ(value(document, most, true), expected) << most;
    }
}

TEST_F(TextHandlers, FlagsOfTextAndCdata) {
    const char *text = "<d>  x  <![CDATA[ y ]]> </d>";
    EXPECT_EQ(read_whole(text, ZXML_ELEMENTS), "d\n");
    // Without its handlers a section is text like any other.
    EXPECT_EQ(read_whole(text, ZXML_ELEMENTS | ZXML_TEXT), "d = \"x y\"\n");
    EXPECT_EQ(read_whole(text, ZXML_ELEMENTS | ZXML_TEXT | ZXML_CDATA), "d = \"x y  \"\n");
    // Entities are text, whoever sees the rest of the document.
    EXPECT_EQ(read_whole("<!DOCTYPE d [<!ENTITY e 'x'>]><d>&e;</d>",
                         ZXML_ELEMENTS | ZXML_TEXT | ZXML_DEFAULT),
              "d = \"x\"\n");
    // Without elements text has nowhere to go, which ends the parse.
    int32_t error = 0;
    EXPECT_EQ(read_whole(text, ZXML_TEXT), "19 5 35 parsing aborted");
    ZxmlElem_error(&error);
    EXPECT_EQ(error, 6);
    EXPECT_EQ(read_whole("<d><r/></d>", ZXML_TEXT), "(no element)\n");
}

}  // namespace
