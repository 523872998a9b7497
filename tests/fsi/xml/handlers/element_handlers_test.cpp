// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "host/memory.h"
#include "tests/fsi/spies.h"
#include "tests/support/small_stack.h"
#include "tests/support/test_document.h"
#include "wbfsi/xml_expat.h"

namespace {

using namespace support;

class ElementHandlers : public testing::Test {
 protected:
    Utf8Program utf8_;
};

TEST_F(ElementHandlers, NamesInTheCaseThatTheFlagsAskFor) {
    struct Row {
        uint32_t flags;
        const char *expected;
    };
    const std::string longer = "Long-" + std::string(200, 'N');
    for (const Row &row :
         {Row{0, "Top-El At-1=\"V-x\" = \"T-x\"\n"}, Row{1, "top_el At-1=\"V-x\" = \"T-x\"\n"},
          Row{2, "TOP_EL At-1=\"V-x\" = \"T-x\"\n"}, Row{3, "Top-El At-1=\"V-x\" = \"T-x\"\n"}}) {
        EXPECT_EQ(read_whole("<Top-El At-1='V-x'>T-x</Top-El>", kUsual | row.flags), row.expected);
    }
    EXPECT_EQ(read_whole("<" + longer + "/>", kUsual | 1), "long_" + std::string(200, 'n') + "\n");
    EXPECT_EQ(read_whole("<\xC3\x89/>"), "\xC3\x89\n");
}

TEST_F(ElementHandlers, TreesOfDocuments) {
    struct Row {
        const char *name;
        const char *document;
        const char *expected;
    };
    constexpr Row kRows[] = {
        {"attributes in order", "<a z='1' y='2' x=' 3 '/>", "a z=\"1\" y=\"2\" x=\" 3 \"\n"},
        {"empty attribute", "<a x=''/>", "a x=\"\"\n"},
        {"defaults behind those given",
         "<!DOCTYPE a [<!ATTLIST a d CDATA 'given' x CDATA 'no'>]><a x='1'/>",
         "a x=\"1\" d=\"given\"\n"},
        {"repeated", "<a><b><c/></b><b><c/><c/></b></a>",
         "a\n b[1]\n  c[1]\n b[2]\n  c[2,1]\n  c[2,2]\n"},
        {"comment goes to the next element", "<a><!-- one --><b/></a>", "a\n b # \"one\"\n"},
        {"comments are joined by newlines", "<a><!-- one --><!-- two\nlines --><b/></a>",
         "a\n b # \"one\ntwo\nlines\"\n"},
        {"comment with no element behind goes to the one around", "<a><b/><!-- one --></a>",
         "a # \"one\"\n b\n"},
        {"to the innermost", "<a><b><!-- one --></b><c/></a>", "a\n b # \"one\"\n c\n"},
        {"blank comment", "<a><!--  --><b/><!-- --></a>", "a\n b\n"},
        {"before and at the end", "<a><b><!--1--><c/><!--2--></b></a>",
         "a\n b # \"2\"\n  c # \"1\"\n"},
        {"two on one element", "<a><!--1--><b><!--2--></b></a>", "a\n b # \"12\"\n"},
        {"in front of the top element it is the document's", "<!-- x --><a/>", "a\n"},
    };
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.name);
        for (const size_t most : {size_t{1}, size_t{32000}}) {
            EXPECT_EQ(read_document(row.document, Source::kFile, most, false), row.expected);
            EXPECT_EQ(read_document(row.document, Source::kFile, most, true), row.expected);
        }
    }
}

TEST_F(ElementHandlers, TheHashChainsEqualNamesInOrder) {
    spies::traces.clear();
    const spies::TraceLevel level(1);
    const ZHandle parser =
        open_file("<a><b>1</b><c/><b>2</b></a>", kUsual | ZXML_HASH | ZXML_WHOLE);
    EXPECT_EQ(spies::take_traces(),
              "+0 8 Adding element a to the hash\n+0 8 Adding element b to the hash\n"
              "+0 8 Adding element c to the hash\n"
              "+0 8 Adding element b to an existing hash\n");
    const auto *node = static_cast<ZxmlHashNode *>(HASH_GET(ZxmlParser_get_hash(parser), "b"));
    ASSERT_NE(node, nullptr);
    EXPECT_STREQ(node->name, "b");
    EXPECT_EQ(value_of(node->element), "1");
    EXPECT_EQ(ZxmlElem_user_data(node->element), node);
    ASSERT_NE(node->next, nullptr);
    EXPECT_STREQ(node->next->name, "b");
    EXPECT_EQ(value_of(node->next->element), "2");
    EXPECT_EQ(ZxmlElem_user_data(node->next->element), node->next);
    EXPECT_EQ(node->next->next, nullptr);
    // A deleted element is passed over and its node used again.
    ZxmlElem_delete(node->element);
    EXPECT_EQ(node->element, 0U);
    ZxmlParser_release(parser);
    EXPECT_EQ(ZMemoryBlocks("Element hash"), 0U);
}

TEST_F(ElementHandlers, WithoutItsFlagThereIsNoHash) {
    const ZHandle parser = open_file("<a/>", kUsual | ZXML_WHOLE);
    EXPECT_EQ(ZxmlParser_get_hash(parser), nullptr);
    EXPECT_EQ(ZxmlElem_user_data(ZxmlParser_top_element(parser)), nullptr);
    ZxmlParser_release(parser);
}

// --- what must end, and soon

// `codes` hold those that may end it.
void expect_end(const std::string &document, std::string_view codes) {
    for (const bool by_record : {false, true}) {
        const std::string result = read_document(document, Source::kFile, 32000, by_record);
        const std::string code = result.substr(0, 2);
        EXPECT_TRUE(code.size() == 2 && codes.find(code) != codes.npos) << result.substr(0, 80);
    }
    EXPECT_EQ(ZMemoryBlocks("XML element info"), 0U);
    EXPECT_EQ(ZMemoryBlocks("EXPAT library memory"), 0U);
}

TEST_F(ElementHandlers, EntityBombsEnd) {
    for (const char *innermost : {"lol", "<x/>", "<x a='1'/>"}) {
        std::string bomb = "<!DOCTYPE a [<!ENTITY e0 \"";
        bomb += innermost;
        bomb += "\">";
        for (int i = 1; i < 30; i++) {
            const std::string inner = "&e" + std::to_string(i - 1) + ";";
            bomb += "<!ENTITY e" + std::to_string(i) + " \"";
            for (int n = 0; n < 10; n++)
                bomb += inner;
            bomb += "\">";
        }
        // Text ends at expat's own limit; elements may have grown too much before it.
        expect_end(bomb + "]><a>&e29;</a>", innermost[0] == '<' ? "19 14" : "19");
    }
}

TEST_F(ElementHandlers, AttributeDefaultBombsEnd) {
    const std::string value(20000, 'v');
    std::string bomb =
        "<!DOCTYPE a [<!ATTLIST x d CDATA '" + value + "' e CDATA '" + value + "'>]><a>";
    for (int i = 0; i < 20000; i++)
        bomb += "<x/>";
    expect_end(bomb + "</a>", "14");
}

TEST_F(ElementHandlers, AnArrayDepthBeyondAThousandEnds) {
    // Each level repeats its name once, and so adds one to the depth of all below.
    std::string bomb;
    for (int i = 0; i < 1200; i++)
        bomb += "<x/><x>";
    std::string ends;
    for (int i = 0; i < 1200; i++)
        ends += "</x>";
    expect_end("<a>" + bomb + ends + "</a>", "14");
}

// Defaults of records that are deleted one by one do not add up.
TEST_F(ElementHandlers, DeletedRecordsAreNoBomb) {
    const std::string value(5000, 'v');
    std::string text = "<!DOCTYPE a [<!ATTLIST x d CDATA '" + value + "'>]><a>";
    for (int i = 0; i < 20000; i++)
        text += "<x/>";
    text += "</a>";
    const ZHandle parser = open_file(text, kUsual);
    int records = 0;
    for (; ZxmlParser_parse_record(parser) != 0; records++)
        ZxmlElem_delete(ZxmlElem_first_child(ZxmlParser_top_element(parser)));
    EXPECT_EQ(told_error(), "8");
    EXPECT_EQ(records, 20000);
    ZxmlParser_release(parser);
}

TEST_F(ElementHandlers, DepthAloneIsNoBomb) {
    on_small_stack([] {
        constexpr int kDepth = 1000000;
        std::string text;
        for (int i = 0; i < kDepth; i++)
            text += "<x>";
        for (int i = 0; i < kDepth; i++)
            text += "</x>";
        const ZHandle parser = open_file(text, kUsual | ZXML_WHOLE);
        EXPECT_NE(parser, 0U) << told_error();
        int depth = 0;
        for (ZHandle at = ZxmlParser_top_element(parser); at != 0; at = ZxmlElem_first_child(at))
            depth++;
        EXPECT_EQ(depth, kDepth);
        ZxmlParser_release(parser);

        const std::string twice = "<top>" + text + text + "</top>";
        const ZHandle records = open_file(twice, kUsual);
        EXPECT_EQ(ZxmlParser_parse_record(records), 1) << told_error();
        ZxmlElem_delete(ZxmlElem_first_child(ZxmlParser_top_element(records)));
        EXPECT_EQ(ZxmlParser_parse_record(records), 1) << told_error();
        EXPECT_EQ(ZxmlParser_parse_record(records), 0);
        EXPECT_EQ(told_error(), "8");
        ZxmlParser_release(records);
    });
}

}  // namespace
