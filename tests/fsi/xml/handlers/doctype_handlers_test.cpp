// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fsi/base/text.h"
#include "fsi/xml/parsexml/parser.h"
#include "host/memory.h"
#include "tests/support/small_stack.h"
#include "tests/support/test_document.h"

namespace {

using namespace support;

struct Doctype {
    std::string name, public_id, system_id, text, own;
    std::vector<std::string> models;
};

Doctype read_doctype(const std::string &document, uint32_t flags, size_t most = SIZE_MAX) {
    const ZHandle parser = open_document(document, Source::kFile, most, flags | ZXML_WHOLE);
    EXPECT_NE(parser, 0U) << told_error();
    Doctype found;
    if (parser == 0)
        return found;
    const fsi::xml::State &state = *fsi::xml::require_parser(parser)->state;
    found.name = fsi::view(state.doctype_name);
    found.public_id = fsi::view(state.public_id);
    found.system_id = fsi::view(state.system_id);
    found.text = fsi::view(state.doctype_text);
    found.own =
        found.text.substr(state.doctype_line_end, state.doctype_own_end - state.doctype_line_end);
    if (ZxmlParser_models(parser) != nullptr) {
        ZTTREEWalk(
            ZxmlParser_models(parser),
            [](const char *key, void *, void *user) {
                static_cast<Doctype *>(user)->models.emplace_back(key);
            },
            &found);
    }
    ZxmlParser_release(parser);
    EXPECT_EQ(ZMemoryBlocks("EXPAT library memory"), 0U);
    EXPECT_EQ(ZMemoryBlocks("XML Models"), 0U);
    return found;
}

TEST(DoctypeHandlers, NameAndIds) {
    const Doctype none = read_doctype("<a/>", kUsual);
    EXPECT_EQ(none.name + none.public_id + none.system_id + none.text, "");
    const Doctype plain = read_doctype("<!DOCTYPE a><a/>", kUsual);
    EXPECT_EQ(plain.name, "a");
    const Doctype system = read_doctype("<!DOCTYPE a SYSTEM 's'><a/>", kUsual);
    EXPECT_EQ(system.system_id + "|" + system.public_id, "s|");
    const Doctype both = read_doctype("<!DOCTYPE a PUBLIC 'p' 's'><a/>", kUsual);
    EXPECT_EQ(both.system_id + "|" + both.public_id + "|" + both.text, "s|p|");
    const Doctype off =
        read_doctype("<!DOCTYPE a PUBLIC 'p' 's' [<!ENTITY e 'x'>]><a/>", ZXML_ELEMENTS);
    EXPECT_EQ(off.name + off.public_id + off.system_id + off.text, "");
}

TEST(DoctypeHandlers, TheTextIsTheLineAndTheSubset) {
    struct Row {
        const char *name;
        const char *document;
        uint32_t flags;
        const char *text;
        const char *own;  // what stands between the brackets
    };
    constexpr Row kRows[] = {
        {"lines", "<!DOCTYPE a [\n <!ENTITY e 'x'>\n]><a/>", kUsual,
         "<!DOCTYPE a [\n <!ENTITY e 'x'>\n", "\n <!ENTITY e 'x'>\n"},
        {"one line", "<!DOCTYPE a [<!ENTITY e 'x'>]>\n<a/>", kUsual,
         "<!DOCTYPE a [<!ENTITY e 'x'>]><!ENTITY e 'x'>", "<!ENTITY e 'x'>"},
        {"empty", "<!DOCTYPE a []><a/>", kUsual, "", ""},
        {"blank", "<!DOCTYPE a [ ]>\n<a/>", kUsual, "<!DOCTYPE a [ ]> ", " "},
        {"behind it nothing is kept", "<!DOCTYPE a [\n]>\n<a> </a>\n", kUsual, "<!DOCTYPE a [\n",
         "\n"},
        {"flag for the whole parse", "<!DOCTYPE a [\n]>\n<a/>\n", kUsual | ZXML_DEFAULT,
         "<!DOCTYPE a [\n\n\n", "\n"},
        {"that flag alone", "<!DOCTYPE a [\n]>\n<a/>\n", ZXML_ELEMENTS | ZXML_DEFAULT, "", ""},
        {"comments and instructions have their own place",
         "<!DOCTYPE a [\n<!-- c --><?p d?><!NOTATION n SYSTEM 's'>]><a/>", kUsual,
         "<!DOCTYPE a [\n<!NOTATION n SYSTEM 's'>", "\n<!NOTATION n SYSTEM 's'>"},
    };
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.name);
        const Doctype found = read_doctype(row.document, row.flags);
        EXPECT_EQ(found.text, row.text);
        EXPECT_EQ(found.own, row.own);
    }
}

TEST(DoctypeHandlers, ALongLineIsWhole) {
    const std::string line = "<!DOCTYPE a [ " + std::string(5000, ' ');
    EXPECT_EQ(read_doctype(line + "\n]><a/>", kUsual).text,
              line + line.substr(line.find('[') + 1) + "\n");
}

TEST(DoctypeHandlers, TheLineIsFoundHoweverItIsRead) {
    for (const size_t most : {size_t{1}, size_t{2}, size_t{3}, size_t{7}, size_t{32000}}) {
        SCOPED_TRACE(most);
        const std::string front = "<?xml version='1.0'?>\n<!-- c -->\n";
        EXPECT_EQ(
            read_doctype(front + "<!DOCTYPE a [\n <!ENTITY e 'x'>\n]>\n<a/>", kUsual, most).text,
            "<!DOCTYPE a [\n <!ENTITY e 'x'>\n");
        // As much of it as was read by then.
        EXPECT_TRUE(read_doctype(front + "<!DOCTYPE a [ <!ENTITY e 'x'>\n]>\n<a/>", kUsual, most)
                        .text.starts_with("<!DOCTYPE a ["));
        // A line that had its ">" before the text began is not looked for.
        EXPECT_EQ(
            read_doctype(front + "<!DOCTYPE a [<!-- > -->\n<!ENTITY e 'x'>]><a/>", kUsual, most)
                .text,
            "\n<!ENTITY e 'x'>");
    }
    // It is looked for byte by byte, which does not find it in UTF-16.
    std::string wide = "\xFF\xFE";
    for (const char c : std::string("<!DOCTYPE a [\n<!ENTITY e 'x'>]><a/>")) {
        wide += c;
        wide += '\0';
    }
    EXPECT_EQ(read_doctype(wide, kUsual).text, "\n<!ENTITY e 'x'>");
}

TEST(DoctypeHandlers, TheSubsetDoesNotDependOnTheReads) {
    const std::string document =
        "<!-- f --><!DOCTYPE a [\n<!ENTITY e 'x > y'>\n<!ELEMENT a (b,c)>\n%p; ]>\n<a/>";
    const std::string with_pe =
        std::string("<!DOCTYPE a [<!ENTITY % p '<!NOTATION n SYSTEM \"s\">'>\n") +
        document.substr(document.find("\n<!ENTITY"));
    const std::string own = read_doctype(with_pe, kUsual | ZXML_ELEMENT_DECLARATIONS).own;
    EXPECT_NE(own.find("<!ELEMENT a (b, c)>\n"), own.npos) << own;
    for (const size_t most : {size_t{1}, size_t{2}, size_t{3}, size_t{7}, size_t{20}})
        EXPECT_EQ(read_doctype(with_pe, kUsual | ZXML_ELEMENT_DECLARATIONS, most).own, own);
}

TEST(DoctypeHandlers, ElementDeclarationsAreRebuilt) {
    struct Row {
        const char *declaration;
        const char *expected;
    };
    constexpr Row kRows[] = {
        {"<!ELEMENT a EMPTY>", "<!ELEMENT a EMPTY>\n"},
        {"<!ELEMENT a ANY>", "<!ELEMENT a ANY>\n"},
        {"<!ELEMENT a (#PCDATA)>", "<!ELEMENT a (#PCDATA)>\n"},
        {"<!ELEMENT a (#PCDATA|b|c)*>", "<!ELEMENT a (#PCDATA | b | c)*>\n"},
        {"<!ELEMENT a (b)>", "<!ELEMENT a (b)>\n"},
        {"<!ELEMENT a (b?,c*,d+)>", "<!ELEMENT a (b?, c*, d+)>\n"},
        {"<!ELEMENT a (b,c)*>", "<!ELEMENT a (b, c)*>\n"},
        {"<!ELEMENT a (b|c)>", "<!ELEMENT a (b | c)"},
        {"<!ELEMENT a (b|c)+>", "<!ELEMENT a (b | c)+"},
        {"<!ELEMENT a (b,(c|d),e)>", "<!ELEMENT a (b, (c | d) | e)>\n"},
        {"<!ELEMENT a ((b|c)?,d)>", "<!ELEMENT a ( (b | c)? | d)>\n"},
        {"<!ELEMENT a (b,(c,d)*)>", "<!ELEMENT a (b (c, d)*>\n)>\n"},
    };
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.declaration);
        const Doctype found =
            read_doctype(std::string("<!DOCTYPE a [") + row.declaration + "]><a/>",
                         kUsual | ZXML_ELEMENT_DECLARATIONS);
        EXPECT_EQ(found.text, row.expected);
        EXPECT_EQ(found.models, std::vector<std::string>{"a"});
    }
    // Without the flag they are text of the subset like all others.
    EXPECT_EQ(read_doctype("<!DOCTYPE a [\n<!ELEMENT a (b|c)>]><a/>", kUsual).own,
              "\n<!ELEMENT a (b|c)>");
}

TEST(DoctypeHandlers, ModelsAreKeptByNameInLowerCase) {
    const std::string longest(300, 'N');
    const Doctype found =
        read_doctype("<!DOCTYPE a [<!ELEMENT B-x EMPTY><!ELEMENT a ANY><!ELEMENT " + longest +
                         " ANY><!ELEMENT b-X ANY>]><a/>",
                     kUsual | ZXML_ELEMENT_DECLARATIONS);
    const std::vector<std::string> expected = {"a", "b_x", std::string(255, 'n')};
    EXPECT_EQ(found.models, expected);
}

TEST(DoctypeHandlers, DeeplyNestedModels) {
    const std::string text = "<!DOCTYPE a [<!ELEMENT a " + std::string(20000, '(') + "b" +
                             std::string(20000, ')') + ">]><a/>";
    Doctype found;
    on_small_stack([&] { found = read_doctype(text, kUsual | ZXML_ELEMENT_DECLARATIONS); });
    EXPECT_TRUE(found.text.starts_with("<!ELEMENT a ( ( (")) << found.text.substr(0, 80);
    EXPECT_EQ(found.text.size(), 11U + 20000 * 2 + 1 + 20000 * 3);
}

}  // namespace
