// SPDX-License-Identifier: MIT
#include "wbfsi/xml_parser.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "fsi/xml/parsexml/parser.h"
#include "tests/support/test_document.h"
#include "wbfsi/lifecycle.h"

namespace {

using namespace support;

std::string top_tree(ZHandle parser) {
    return print_tree(ZxmlParser_top_element(parser));
}

ZHandle first_record(ZHandle parser) {
    return ZxmlElem_first_child(ZxmlParser_top_element(parser));
}

class Parser : public testing::Test {
 protected:
    void SetUp() override { fsi_init_cfg(); }
    void TearDown() override { ZCSetValueString("XML_KEEP_WHITESPACE", nullptr); }
    Utf8Program utf8_;
};

// --- opening

TEST_F(Parser, SourcesAndErrorsOfOpening) {
    struct Row {
        const char *name;
        const char *source;
        const char *file;
        uint32_t flags;
        const char *expected;  // tree, or parser error and file error
    };
    constexpr Row kRows[] = {
        {"file", kFileName, "<a><b/></a>", kUsual | ZXML_WHOLE, "a\n b\n"},
        {"file, up to the top element", kFileName, "<a><b/></a>", kUsual, "a\n"},
        {"attributes of the top element", kFileName, "<a x='1'><b/></a>", kUsual, "a x=\"1\"\n"},
        {"standard input", "-", "<a><b/></a>", kUsual | ZXML_WHOLE, "a\n b\n"},
        {"memory", "<?xml version='1.0'?><a/>", "", kUsual | ZXML_WHOLE, "a\n"},
        {"memory in capitals is memory, wrong as it is", "<?XML version='1.0'?><a/>", "", kUsual,
         "4: 19 5 4 not well-formed (invalid token)"},
        {"no declaration: the name of a file", "<a/>", "", kUsual, "3: 0"},
        {"no such file", "missing.xml", "", kUsual, "3: 0"},
        {"empty file", kFileName, "", kUsual, "4: 19 5 3 no element found"},
        {"no element", kFileName, "<!-- -->", kUsual, "4: 19 5 3 no element found"},
        {"truncated prolog", kFileName, "<!-- ", kUsual, "4: 19 5 5 unclosed token"},
        {"truncated, whole", kFileName, "<a>", kUsual | ZXML_WHOLE, "4: 19 5 3 no element found"},
        {"truncated, not seen yet", kFileName, "<a>", kUsual, "a\n"},
        {"mismatch, whole", kFileName, "<a></b>", kUsual | ZXML_WHOLE, "4: 19 5 7 mismatched tag"},
        {"empty element is the end", kFileName, "<a/>", kUsual, "a\n"},
        {"junk behind an empty element", kFileName, "<a/>x", kUsual,
         "4: 19 5 9 junk after document element"},
        {"unknown encoding", kFileName, "<?xml version='1.0' encoding='x'?><a/>", kUsual,
         "4: 19 5 18 unknown encoding"},
    };
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.name);
        clear_errors();
        the_file = {};
        the_input = {};
        the_file.bytes = the_input.bytes = row.file;
        const ZHandle parser = ZxmlParser_new(row.source, row.flags, -1);
        const std::string result =
            parser != 0 ? top_tree(parser) : std::to_string(parser_error()) + ": " + told_error();
        EXPECT_EQ(result, row.expected);
        EXPECT_EQ(ZxmlParser_release(parser), parser != 0 ? 1 : 0);
        EXPECT_EQ(the_file.opened, the_file.closed);
        EXPECT_EQ(the_input.closed, 0);
        EXPECT_EQ(the_file.removed, 0);
    }
}

TEST_F(Parser, LengthOfMemory) {
    const std::string text = "<?xml version='1.0'?><a/>junk";
    struct Row {
        int32_t length;
        bool is_opened;
    };
    for (const Row &row : {Row{25, true}, Row{26, false}, Row{24, false}, Row{-1, false}}) {
        SCOPED_TRACE(row.length);
        // The exact bytes, no terminator.
        const std::string bytes =
            row.length < 0 ? text : text.substr(0, static_cast<size_t>(row.length));
        const ZHandle parser = ZxmlParser_new(bytes.c_str(), kUsual, row.length);
        EXPECT_EQ(parser != 0, row.is_opened);
        ZxmlParser_release(parser);
    }
}

TEST_F(Parser, TheFileIsClosedOnceItIsRead) {
    const ZHandle whole = open_file("<a/>", kUsual | ZXML_WHOLE);
    EXPECT_EQ(the_file.closed, 1);
    ZxmlParser_release(whole);
    EXPECT_EQ(the_file.closed, 1);
    const ZHandle records = open_file("<a><b/></a>", kUsual);
    EXPECT_EQ(the_file.closed, 0);
    ZxmlParser_release(records);
    EXPECT_EQ(the_file.closed, 1);
}

TEST_F(Parser, AFileThatIsToBeDeletedIsDeletedAtRelease) {
    const ZHandle parser = open_file("<a><b/></a>", kUsual);
    fsi::xml::require_parser(parser)->file_flags |= fsi::xml::kDeleteInput;
    EXPECT_EQ(the_file.removed, 0);
    ZxmlParser_release(parser);
    EXPECT_EQ(the_file.removed, 1);
    EXPECT_EQ(the_file.closed_at_removal, 0);
    EXPECT_EQ(the_file.closed, 1);
}

TEST_F(Parser, ReadErrorsAreToldWithTheirCause) {
    const std::string text = "<a><b/><c>" + std::string(40000, 'x') + "</c></a>";
    for (const size_t at : {size_t{0}, size_t{2}, size_t{9}, size_t{35000}}) {
        SCOPED_TRACE(at);
        clear_errors();
        the_file = {};
        the_file.bytes = text;
        the_file.fails_at = at;
        EXPECT_EQ(ZxmlParser_new(kFileName, kUsual | ZXML_WHOLE, 0), 0U);
        EXPECT_EQ(parser_error(), 4);
        EXPECT_EQ(told_error(), "1 " + std::to_string(EIO));

        the_file = {};
        the_file.bytes = text;
        the_file.fails_at = at;
        const ZHandle parser = ZxmlParser_new(kFileName, kUsual, 0);
        EXPECT_EQ(parser != 0, at > 2);
        if (parser == 0)
            continue;
        EXPECT_EQ(ZxmlParser_parse_record(parser), 1);
        for (int again = 0; again < 3; again++) {
            EXPECT_EQ(ZxmlParser_parse_record(parser), 0);
            EXPECT_EQ(told_error(), "1 " + std::to_string(EIO));
            clear_errors();
        }
        ZxmlParser_release(parser);
    }
}

// --- records

TEST_F(Parser, EachCallReadsOneChildOfTheTopElement) {
    struct Row {
        const char *name;
        const char *document;
        const char *records;  // what each call added, and the error that ended it
    };
    constexpr Row kRows[] = {
        {"three", "<a><r>1</r><r>2</r><r>3</r></a>", "r:1|r:2|r:3|8"},
        {"empty elements", "<a><r/><s/><r></r></a>", "r:(none)|s:(none)|r:(none)|8"},
        {"none", "<a></a>", "8"},
        {"none, text alone", "<a> text <!-- c --> <?p d?> </a>", "8"},
        {"empty top element", "<a/>", "8"},
        {"between them", "<a>x<!-- > --><r>1</r>y > z<?p >?><r>2</r>w</a>", "r:1|r:2|8"},
        {"below", "<a><r><r><r/></r>1</r><s><t>2</t></s></a>", "r:1|s:(none)|8"},
        {"an entity brings several",
         "<!DOCTYPE a [<!ENTITY e '<r>1</r><r>2</r>x<r/>'>]><a>&e;<r>3</r>&e;</a>",
         "r:1|r:2|r:(none)|r:3|r:1|r:2|r:(none)|8"},
        {"an entity in an entity",
         "<!DOCTYPE a [<!ENTITY e '<r>1</r>'><!ENTITY f '&e;<s/>&e;'>]><a>&f;</a>",
         "r:1|s:(none)|r:1|8"},
        {"a record between parts of an entity",
         "<!DOCTYPE a [<!ENTITY e '<s>2</s>'>]><a><r>1&e;</r></a>", "r:1|8"},
        {"wrong end tag", "<a><r>1</r><r>2</q></a>", "r:1|19 5 7 mismatched tag"},
        {"wrong entity", "<a><r/>&no;<r/></a>", "r:(none)|19 5 11 undefined entity"},
        {"wrong entity text", "<!DOCTYPE a [<!ENTITY e '<r/><q>'>]><a>&e;</q></a>",
         "r:(none)|19 5 13 asynchronous entity"},
        {"truncated", "<a><r>1</r>", "r:1|19 5 3 no element found"},
        {"truncated in a record", "<a><r>1</r><r>", "r:1|19 5 3 no element found"},
        {"truncated in a tag", "<a><r>1</r><r", "r:1|19 5 5 unclosed token"},
        {"truncated in text", "<a><r>1</r><r>text", "r:1|19 5 3 no element found"},
        {"truncated in a comment", "<a><r/><!-- >", "r:(none)|19 5 5 unclosed token"},
        {"truncated in CDATA", "<a><r/><![CDATA[ >", "r:(none)|19 5 20 unclosed CDATA section"},
        {"what is behind is not looked at", "<a><r/></a>junk", "r:(none)|8"},
    };
    for (const Row &row : kRows) {
        for (const size_t most : {size_t{1}, size_t{2}, size_t{5}, size_t{32000}}) {
            for (const bool deletes : {false, true}) {
                SCOPED_TRACE(std::string(row.name) + " " + std::to_string(most));
                const ZHandle parser = open_document(row.document, Source::kFile, most, kUsual);
                ASSERT_NE(parser, 0U);
                std::string records;
                ZHandle last = 0;
                *Zstdlib_f_errno() = 99;  // of an earlier call on something else
                while (ZxmlParser_parse_record(parser) != 0) {
                    ASSERT_EQ(*Zstdlib_f_errno(), 0);
                    const ZHandle record =
                        last == 0 ? first_record(parser) : ZxmlElem_next_sibling(last);
                    ASSERT_NE(record, 0U);
                    ASSERT_EQ(ZxmlElem_next_sibling(record), 0U);
                    records += name_of(record) + ":" + value_of(record) + "|";
                    if (deletes)
                        ZxmlElem_delete(record);
                    last = deletes ? 0 : record;
                    *Zstdlib_f_errno() = 19;
                }
                EXPECT_EQ(records + told_error(), row.records);
                const int reads = the_file.reads;
                for (int again = 0; again < 3; again++) {
                    const std::string told = told_error();
                    clear_errors();
                    EXPECT_EQ(ZxmlParser_parse_record(parser), 0);
                    EXPECT_EQ(told_error(), told);
                }
                EXPECT_EQ(the_file.reads, reads);
                ZxmlParser_release(parser);
            }
        }
    }
}

TEST_F(Parser, EachParserTellsItsOwnErrorAgain) {
    const ZHandle one = open_file("<a><r></q></a>", kUsual);
    EXPECT_EQ(ZxmlParser_parse_record(one), 0);
    const ZHandle two = open_file("<a>&no;</a>", kUsual);
    EXPECT_EQ(ZxmlParser_parse_record(two), 0);
    EXPECT_EQ(told_error(), "19 5 11 undefined entity");
    EXPECT_EQ(fsi::xml::expat_place.column, 4U);
    EXPECT_EQ(ZxmlParser_parse_record(one), 0);
    EXPECT_EQ(told_error(), "19 5 7 mismatched tag");
    EXPECT_EQ(fsi::xml::expat_place.column, 9U);
    ZxmlParser_release(one);
    ZxmlParser_release(two);
}

TEST_F(Parser, NoRecordsToRead) {
    struct Row {
        const char *name;
        ZHandle parser;
        std::string expected;
    };
    const ZHandle element = ZxmlElem_new(0, "e", -1, 0);
    const ZHandle empty = ZxmlParser_new(nullptr, 0, 0);
    const ZHandle whole = open_file("<a><r/></a>", kUsual | ZXML_WHOLE);
    for (const Row &row : {Row{"nothing", 0, "5"}, Row{"an element", element, "5"},
                           Row{"no number", 0xFFFFFFFF, "5"}}) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(ZxmlParser_parse_record(row.parser), 0);
        EXPECT_EQ(std::to_string(parser_error()), row.expected);
    }
    for (const ZHandle parser : {empty, whole}) {
        clear_errors();
        EXPECT_EQ(ZxmlParser_parse_record(parser), 0);
        EXPECT_EQ(told_error(), "8");
        ZxmlParser_release(parser);
    }
    ZxmlElem_delete(element);
}

// A record is there as soon as its bytes are, also when what is read ends in markup.
TEST_F(Parser, NothingIsReadBeyondTheRecord) {
    const std::string text = "<a><r>1</r><!-- > > --><r>2</r><r x='>'>3</r></a>";
    const ZHandle parser = open_document(text, Source::kFile, 1, kUsual);
    for (const char *record : {"<r>1</r>", "<r>2</r>", "3</r>"}) {
        ASSERT_EQ(ZxmlParser_parse_record(parser), 1);
        EXPECT_TRUE(text.substr(0, the_file.next).ends_with(record)) << the_file.next;
    }
    ZxmlParser_release(parser);
}

TEST_F(Parser, TheHashHoldsTheRecordAlone) {
    const ZHandle parser =
        open_file("<!DOCTYPE a [<!ENTITY e '<r><x/><x/></r><s/>'>]><a>&e;</a>", kUsual | ZXML_HASH);
    ZHash *hash = ZxmlParser_get_hash(parser);
    ASSERT_NE(hash, nullptr);
    EXPECT_NE(HASH_GET(hash, "a"), nullptr);
    ASSERT_EQ(ZxmlParser_parse_record(parser), 1);
    EXPECT_EQ(HASH_GET(hash, "a"), nullptr);
    EXPECT_EQ(HASH_GET(hash, "s"), nullptr);
    auto *node = static_cast<ZxmlHashNode *>(HASH_GET(hash, "x"));
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->element, ZxmlElem_first_child(first_record(parser)));
    EXPECT_EQ(ZxmlElem_user_data(node->element), node);
    ASSERT_NE(node->next, nullptr);
    EXPECT_EQ(node->next->element, ZxmlElem_next_sibling(node->element));
    const ZHandle x = node->element;
    ASSERT_EQ(ZxmlParser_parse_record(parser), 1);
    EXPECT_EQ(HASH_GET(hash, "x"), nullptr);
    EXPECT_NE(HASH_GET(hash, "s"), nullptr);
    EXPECT_EQ(ZxmlElem_user_data(x), nullptr);
    EXPECT_EQ(ZxmlParser_parse_record(parser), 0);
    EXPECT_EQ(HASH_GET(hash, "s"), nullptr);
    ZxmlParser_release(parser);
}

TEST_F(Parser, NothingIsBuiltInWhatWasDeleted) {
    const char *text = "<a>t<r>1</r><!-- c --><r x='1'>2<s/></r></a>";
    ZHandle parser = open_file(text, kUsual);
    EXPECT_EQ(ZxmlParser_parse_record(parser), 1);
    EXPECT_EQ(ZxmlParser_current(parser), ZxmlParser_top_element(parser));
    ZxmlElem_delete(ZxmlParser_top_element(parser));
    EXPECT_EQ(ZxmlParser_top_element(parser), 0U);
    EXPECT_EQ(ZxmlParser_current(parser), 0U);
    // Records still end where they end.
    EXPECT_EQ(ZxmlParser_parse_record(parser), 1);
    EXPECT_EQ(ZxmlParser_top_element(parser), 0U);
    EXPECT_EQ(ZxmlParser_parse_record(parser), 0);
    EXPECT_EQ(told_error(), "8");
    // A new top element is no part of what is read.
    const ZHandle top = ZxmlParser_set_top_element(parser, "new", -1);
    EXPECT_NE(top, 0U);
    EXPECT_EQ(ZxmlParser_of_element(top), parser);
    ZxmlParser_release(parser);
    EXPECT_EQ(ZxmlElem_is_element(top), 0);

    parser = open_file(text, kUsual);
    ZxmlElem_delete(ZxmlParser_top_element(parser));
    const ZHandle other = ZxmlParser_set_top_element(parser, "other", -1);
    while (ZxmlParser_parse_record(parser) != 0) {
    }
    EXPECT_EQ(told_error(), "8");
    EXPECT_EQ(print_tree(other), "other\n");
    ZxmlParser_release(parser);
}

TEST_F(Parser, WhatIsBelowADeletedOpenElementIsPassedOver) {
    ZxmlExpatState *state = expat_create_parser(kUsual);
    ZFile file;
    file.bytes = "<a><b><!-- c --><c/>text<?p d?><d>x</d></b><e>y</e></a>";
    while (state->element_depth < 2)
        parse_to_next_greaterthan(state, &file);
    parse_to_next_greaterthan(state, &file);  // the comment waits
    ZxmlElem_delete(state->current_element);
    do {
        parse_to_next_greaterthan(state, &file);
    } while (*Zstdlib_f_errno() == 0);
    EXPECT_EQ(told_error(), "8");
    EXPECT_EQ(print_tree(state->top_element), "a\n e = \"y\"\n");
    expat_destroy_parser(state);
}

// --- the handle

TEST_F(Parser, HandlesAndTheirElements) {
    const ZHandle one = open_file("<a><b><c/></b></a>", kUsual | ZXML_WHOLE);
    const ZHandle two = open_file("<a/>", kUsual | ZXML_WHOLE);
    const ZHandle loose = ZxmlElem_new(0, "loose", -1, 0);
    EXPECT_EQ(ZxmlParser_is_parser(one), 1);
    EXPECT_EQ(ZxmlParser_is_parser(loose), 0);
    EXPECT_EQ(ZxmlParser_is_parser(0), 0);
    const ZHandle c = ZxmlElem_first_child(first_record(one));
    EXPECT_EQ(ZxmlParser_of_element(c), one);
    EXPECT_EQ(ZxmlParser_of_element(ZxmlParser_top_element(two)), two);
    EXPECT_EQ(ZxmlParser_of_element(loose), 0U);
    EXPECT_EQ(ZxmlParser_of_element(0), 0U);
    EXPECT_EQ(ZxmlParser_release(one), 1);
    EXPECT_EQ(ZxmlElem_is_element(c), 0);
    EXPECT_EQ(ZxmlParser_is_parser(one), 0);
    EXPECT_EQ(ZxmlParser_release(one), 0);
    EXPECT_EQ(parser_error(), 5);
    // The last one takes the scratch buffer with it.
    EXPECT_EQ(ZxmlElem_set_value(loose, "text", 4), 1);
    EXPECT_NE(xml_scratch, nullptr);
    EXPECT_EQ(ZxmlParser_release(two), 1);
    EXPECT_EQ(xml_scratch, nullptr);
    EXPECT_EQ(xml_scratchlen, 0);
    EXPECT_EQ(ZxmlElem_set_value(loose, "other", 5), 1);
    EXPECT_EQ(value_of(loose), "other");
    // One that was never there takes nothing.
    EXPECT_EQ(ZxmlParser_new("missing.xml", kUsual, 0), 0U);
    EXPECT_NE(xml_scratch, nullptr);
    ZxmlElem_delete(loose);
    const ZHandle again = open_file("<a/>", kUsual);
    EXPECT_EQ(ZxmlParser_is_parser(again), 1);
    ZxmlParser_release(again);
}

TEST_F(Parser, OneTopElementADocument) {
    const ZHandle parser = ZxmlParser_new(nullptr, 0, 0);
    EXPECT_EQ(ZxmlParser_top_element(parser), 0U);
    const ZHandle top = ZxmlParser_set_top_element(parser, "order-x", 5);
    EXPECT_EQ(name_of(top), "order");
    EXPECT_EQ(ZxmlParser_top_element(parser), top);
    EXPECT_EQ(ZxmlParser_set_top_element(parser, "second", -1), 0U);
    EXPECT_EQ(parser_error(), 16);
    ZxmlParser_release(parser);
    EXPECT_EQ(ZxmlParser_set_top_element(parser, "none", -1), 0U);
    EXPECT_EQ(parser_error(), 5);
    EXPECT_EQ(ZxmlParser_top_element(parser), 0U);
    EXPECT_EQ(ZxmlParser_current(parser), 0U);
    EXPECT_EQ(ZxmlParser_models(parser), nullptr);
    EXPECT_EQ(ZxmlParser_get_hash(parser), nullptr);
}

TEST_F(Parser, BlanksAreKeptAsTheSettingSays) {
    struct Row {
        const char *setting;
        const char *expected;
    };
    for (const Row &row : {Row{nullptr, "word"}, Row{"0", "word"}, Row{"1", "  word  "},
                           Row{"2", "word"}, Row{"3", "  word  "}}) {
        SCOPED_TRACE(row.setting == nullptr ? "none" : row.setting);
        ZCSetValueString("XML_KEEP_WHITESPACE", row.setting);
        const ZHandle parser = open_file("<a>  word  </a>", kUsual | ZXML_WHOLE);
        EXPECT_EQ(value_of(ZxmlParser_top_element(parser)), row.expected);
        ZxmlParser_release(parser);
    }
}

}  // namespace
