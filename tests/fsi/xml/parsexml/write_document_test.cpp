// SPDX-License-Identifier: MIT
//
// Documents written to files and to memory: the prolog in all its forms, the comment
// that names file and date, encodings, failures.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

#include "host/charset.h"
#include "host/config.h"
#include "host/memory.h"
#include "wbfsi/lifecycle.h"
#include "wbfsi/xml_parser.h"
#include "wbfsi/xml_writer.h"

namespace {

using namespace std::string_literals;
namespace fs = std::filesystem;

constexpr uint32_t kWhole = ZXML_READ_USUAL | ZXML_WHOLE;

int32_t parser_error() {
    int32_t number = 0;
    ZxmlParser_error(&number);
    return number;
}

std::string in_memory(ZHandle parser) {
    const ZString text = ZxmlParser_write_memory(parser);
    EXPECT_NE(text, nullptr);
    std::string bytes(ZStringGet(text), ZStringGetLength(text));
    ZSTRINGDelete(text);
    return bytes;
}

std::string in_utf16(std::u16string_view text, bool is_big) {
    std::string bytes;
    for (const char16_t unit : text) {
        const auto high = static_cast<char>(unit >> 8);
        const auto low = static_cast<char>(unit & 0xFF);
        bytes += is_big ? high : low;
        bytes += is_big ? low : high;
    }
    return bytes;
}

class WriteDocument : public testing::Test {
 protected:
    void SetUp() override {
        fsi_init_cfg();
        before_ = ZSetCOBOLCharSet(65001);
        std::string pattern = (fs::temp_directory_path() / "write_document.XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder_ = pattern;
        // 2024-02-03 12:00 UTC
        setenv("SOURCE_DATE_EPOCH", "1706961600", 1);
    }
    void TearDown() override {
        unsetenv("SOURCE_DATE_EPOCH");
        ZSetCOBOLCharSet(before_);
        fs::remove_all(folder_);
    }

    [[nodiscard]] std::string path(const std::string &name) const {
        return (fs::path(folder_) / name).string();
    }
    [[nodiscard]] static std::string contents(const std::string &path) {
        std::ostringstream bytes;
        bytes << std::ifstream(path, std::ios::binary).rdbuf();
        return bytes.str();
    }

    // A document read from a file.
    [[nodiscard]] ZHandle parsed(std::string_view document, uint32_t flags = kWhole) const {
        const std::string name = path("source.xml");
        std::ofstream(name, std::ios::binary) << document;
        const ZHandle parser = ZxmlParser_new(name.c_str(), flags, 0);
        EXPECT_NE(parser, 0U) << document;
        return parser;
    }
    [[nodiscard]] std::string rewritten(std::string_view document, uint32_t flags = kWhole) const {
        const ZHandle parser = parsed(document, flags);
        std::string text = in_memory(parser);
        ZxmlParser_release(parser);
        return text;
    }

    std::string folder_;

 private:
    int before_ = 0;
};

constexpr const char *kPlain = "<?xml version=\"1.0\" standalone=\"no\"?>\n";

TEST_F(WriteDocument, AnEmptyDocument) {
    const ZHandle parser = ZxmlParser_new(nullptr, 0, 0);
    EXPECT_EQ(in_memory(parser), kPlain);
    const ZHandle top = ZxmlParser_set_top_element(parser, "top", -1);
    EXPECT_EQ(in_memory(parser), kPlain + "<top/>\n"s);
    ZxmlElem_delete(top);
    EXPECT_EQ(in_memory(parser), kPlain);
    ZxmlParser_release(parser);
}

TEST_F(WriteDocument, Declarations) {
    struct Row {
        const char *read;
        const char *written;
    };
    constexpr Row kRows[] = {
        {"", "<?xml version=\"1.0\" standalone=\"no\"?>\n"},
        {"<?xml version='1.0'?>", "<?xml version=\"1.0\"?>\n"},
        {"<?xml version='1.0' standalone='no'?>", "<?xml version=\"1.0\" standalone=\"no\"?>\n"},
        {"<?xml version='1.0' standalone='yes'?>", "<?xml version=\"1.0\" standalone=\"yes\"?>\n"},
        {"<?xml version='1.1' encoding='Utf-8'?>", "<?xml version=\"1.1\" encoding=\"Utf-8\"?>\n"},
        {"<?xml version='1.0' encoding='US-ASCII' standalone='yes'?>",
         "<?xml version=\"1.0\" encoding=\"US-ASCII\" standalone=\"yes\"?>\n"},
    };
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.read);
        EXPECT_EQ(rewritten(row.read + "<a/>"s), row.written + "<a/>\n"s);
    }
}

TEST_F(WriteDocument, ADeclarationThatWasSet) {
    const ZHandle parser = ZxmlParser_new(nullptr, 0, 0);
    ZxmlParser_set_version(parser, "1.1");
    ZxmlParser_set_encoding(parser, "utf-8");
    for (const auto &[value, text] :
         {std::pair{0, " standalone=\"no\""}, {1, " standalone=\"yes\""}, {-1, ""}, {2, ""}}) {
        ZxmlParser_set_standalone(parser, value);
        EXPECT_EQ(in_memory(parser), "<?xml version=\"1.1\" encoding=\"UTF-8\""s + text + "?>\n");
    }
    ZxmlParser_set_encoding(parser, "no such");
    EXPECT_EQ(in_memory(parser), "<?xml version=\"1.1\"?>\n");
    ZxmlParser_release(parser);
}

TEST_F(WriteDocument, InstructionsAndComments) {
    struct Row {
        const char *name;
        const char *read;
        const char *written;
    };
    constexpr Row kRows[] = {
        {"instructions, wherever they were", "<?t data d ?><a><?u?></a><?v <>&?>",
         "<?t data d ?>\n<?u ?>\n<?v <>&?>\n<a/>\n"},
        {"comments, each its own", "<!--1--><!-- 2\n b --><a/><!--3-->",
         "<!-- 1 -->\n<!-- 2\n b -->\n<!-- 3 -->\n<a/>\n"},
        {"comments are not escaped", "<!--<&'\"\t>--><a/>", "<!-- <&'\"\t> -->\n<a/>\n"},
        {"instructions stand in front", "<!--c--><?t?><a/>", "<?t ?>\n<!-- c -->\n<a/>\n"},
        {"the generated comment goes", "<!-- x - generated by KESTREL v1 on 1 --><a/>", "<a/>\n"},
        {"a comment at the end of the top element", "<a><b/><!--c--></a>",
         "<!-- c -->\n<a>\n  <b/>\n</a>\n"},
    };
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(rewritten(row.read), kPlain + std::string(row.written));
    }
}

TEST_F(WriteDocument, CommentsThatWereAppended) {
    struct Row {
        const char *comment;
        const char *written;
    };
    constexpr Row kRows[] = {
        {"a--b", "a- -b"}, {"---", "- - - "}, {"a-", "a- "}, {"-->", "- ->"}, {"a-\n-b", "a-\n-b"}};
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.comment);
        const ZHandle parser = ZxmlParser_new(nullptr, 0, 0);
        ZxmlParser_append_comment(parser, row.comment, -1);
        EXPECT_EQ(in_memory(parser), kPlain + "<!-- "s + row.written + " -->\n");
        ZxmlParser_release(parser);
    }
}

TEST_F(WriteDocument, InstructionsThatWereSet) {
    const ZHandle parser = ZxmlParser_new(nullptr, 0, 0);
    ZxmlParser_set_processing_instruction(parser, 2, "t", -1, "d", -1);
    ZxmlParser_set_processing_instruction(parser, 0, "s", -1, "", -1);
    EXPECT_EQ(in_memory(parser), kPlain + "<?s ?>\n<?t d?>\n"s);
    ZxmlParser_release(parser);
}

TEST_F(WriteDocument, Doctypes) {
    struct Row {
        const char *name;
        const char *read;
        const char *written;
        uint32_t more_flags = 0;
    };
    constexpr Row kRows[] = {
        {"a name", "<!DOCTYPE a>", "<!DOCTYPE a>\n"},
        {"a system id is lost", "<!DOCTYPE a SYSTEM 's'>", "<!DOCTYPE a>\n"},
        {"both ids", "<!DOCTYPE a PUBLIC 'p' 's'>", "<!DOCTYPE a PUBLIC \"p\"\n \"s\">\n"},
        {"an empty system id", "<!DOCTYPE a PUBLIC 'p' ''>", "<!DOCTYPE a PUBLIC \"p\">\n"},
        {"a double quote in the id", "<!DOCTYPE a PUBLIC 'p' 's\"t'>",
         "<!DOCTYPE a PUBLIC \"p\"\n 's\"t'>\n"},
        {"a subset", "<!DOCTYPE a [<!ENTITY e 'v'>]>", "<!DOCTYPE a [<!ENTITY e 'v'>]>\n"},
        {"a subset of lines", "<!DOCTYPE a [\n  <!ENTITY e 'v'>\n]>",
         "<!DOCTYPE a [\n  <!ENTITY e 'v'>\n]>\n"},
        {"an empty subset", "<!DOCTYPE a []>", "<!DOCTYPE a>\n"},
        {"an empty subset keeps the ids", "<!DOCTYPE a PUBLIC 'p' 's' []>",
         "<!DOCTYPE a PUBLIC \"p\"\n \"s\">\n"},
        {"a subset loses the ids", "<!DOCTYPE a PUBLIC 'p' 's' [<!ENTITY e 'v'>]>",
         "<!DOCTYPE a [<!ENTITY e 'v'>]>\n"},
        {"on lines of its own", "<!DOCTYPE\na\n[\n<!ENTITY e 'v'>\n]\n>",
         "<!DOCTYPE a [\n<!ENTITY e 'v'>\n]>\n"},
        {"element declarations as they were", "<!DOCTYPE a [<!ELEMENT a (b,c)*>]>",
         "<!DOCTYPE a [<!ELEMENT a (b,c)*>]>\n"},
        {"element declarations rebuilt", "<!DOCTYPE a [<!ELEMENT a (b,c)*>]>",
         "<!DOCTYPE a [<!ELEMENT a (b, c)*>\n]>\n", ZXML_ELEMENT_DECLARATIONS},
    };
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(rewritten(row.read + "<a/>"s, kWhole | row.more_flags),
                  kPlain + std::string(row.written) + "<a/>\n");
    }
}

TEST_F(WriteDocument, ADoctypeThatWasSet) {
    const ZHandle parser = parsed("<!DOCTYPE a PUBLIC 'p' 's' [<!ENTITY e 'v'>]><a/>");
    ZxmlParser_set_raw_doctype(parser, "<!ENTITY f 'w'>", -1);
    EXPECT_EQ(in_memory(parser), kPlain + "<!DOCTYPE a [<!ENTITY f 'w'>]>\n<a/>\n"s);
    ZxmlParser_set_raw_doctype(parser, "", 0);
    EXPECT_EQ(in_memory(parser), kPlain + "<!DOCTYPE a PUBLIC \"p\"\n \"s\">\n<a/>\n"s);
    ZxmlParser_release(parser);
}

TEST_F(WriteDocument, EntitiesAreWrittenAsTheirText) {
    const std::string doctype = "<!DOCTYPE a [<!ENTITY e 'v&#38;#38;w'>]>";
    EXPECT_EQ(rewritten(doctype + "<a x='&e;'>&e;</a>"),
              kPlain + doctype + "\n<a\n     x=\"v&amp;w\">v&amp;w</a>\n");
}

TEST_F(WriteDocument, EveryEncoding) {
    const std::u16string body = u"<é\n     é=\"Ā&#x0a;ü\">ü€</é>\n";
    const auto declared = [](const char *name) {
        return "<?xml version=\"1.0\" encoding=\"" + std::string(name) + "\"?>\n";
    };
    const std::string utf8 = "<é\n     é=\"Ā&#x0a;ü\">ü€</é>\n";
    struct Row {
        const char *name;
        std::string document;
    };
    const auto wide = [](const std::string &ascii) {
        return std::u16string(ascii.begin(), ascii.end());
    };
    const Row rows[] = {
        {"no name", "<?xml version=\"1.0\"?>\n" + utf8},
        {"UTF-8", declared("UTF-8") + utf8},
        {"UTF-16", in_utf16(wide(declared("UTF-16")) + body, false)},
        {"UTF-16LE", in_utf16(wide(declared("UTF-16LE")) + body, false)},
        {"UTF-16BE", in_utf16(wide(declared("UTF-16BE")) + body, true)},
        {"ISO-8859-1",
         declared("ISO-8859-1") + "<\xE9\n     \xE9=\"&#x100;&#x0a;\xFC\">\xFC&#x20ac;</\xE9>\n"},
        {"US-ASCII", declared("US-ASCII") + "<e\n     x=\"e&#x0a;&#x100;\">&#xfc;&#x20ac;</e>\n"},
        {"Windows-1252", declared("Windows-1252") +
                             "<?p \x80\x9C?>\n<!-- \x80 -->\n<!DOCTYPE \xE9 [<!ENTITY z '\x80'>]>\n"
                             "<\xE9\n     \x8A=\"&#x100;\">&#xfc;&#x20ac;</\xE9>\n"},
        {"ISO-8859-2", declared("ISO-8859-2") + "<\xB1\n     \xE9=\"&#x105;\">&#x20ac;</\xB1>\n"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        // It is as it is written, and so are files.
        EXPECT_EQ(rewritten(row.document), row.document);
        const ZHandle parser = parsed(row.document);
        const std::string name = path("out.xml");
        EXPECT_EQ(ZxmlParser_write_file(parser, name.c_str(), 0), 1);
        EXPECT_EQ(contents(name), row.document);
        ZxmlParser_release(parser);
    }
}

TEST_F(WriteDocument, WhatASmallEncodingCannotCarryOutsideOfTextBecomesAQuestionMark) {
    const ZHandle parser = parsed("<?xml version='1.0' encoding='US-ASCII'?><a>&#233;</a>");
    ZxmlParser_append_comment(parser, "é", -1);
    EXPECT_EQ(in_memory(parser),
              "<?xml version=\"1.0\" encoding=\"US-ASCII\"?>\n<!-- ? -->\n<a>&#xe9;</a>\n");
    ZxmlParser_release(parser);
}

TEST_F(WriteDocument, AnotherEncodingThanItWasReadIn) {
    const ZHandle parser = parsed("<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE9&#8364;</a>");
    ZxmlParser_set_encoding(parser, "utf-8");
    EXPECT_EQ(in_memory(parser), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a>é€</a>\n");
    ZxmlParser_set_encoding(parser, "utf-16be");
    EXPECT_EQ(in_memory(parser),
              in_utf16(u"<?xml version=\"1.0\" encoding=\"UTF-16BE\"?>\n<a>é€</a>\n", true));
    ZxmlParser_release(parser);
}

TEST_F(WriteDocument, TheGeneratedComment) {
    struct Row {
        const char *name;
        std::string file;
        std::string shown;
        int code_page = 65001;
    };
    const std::string long_name(150, 'n');
    std::string long_shown;
    for (int i = 0; i < 60; i++)
        long_shown += "é";
    // A name that makes a path of so many bytes.
    const auto of_size = [&](size_t bytes) {
        return "é" + std::string(bytes - path("é").size(), 'x');
    };
    const Row rows[] = {
        {"plain", "out.xml", "out.xml"},
        {"every printable kind", "a b<&>'\"~.xml", "a b<&>'\"~.xml"},
        {"long", long_name, long_name},
        {"hyphens", "a--b-", "a- -b- "},
        {"beyond ASCII", "é.xml", "é.xml"},
        {"beyond ASCII, of the program", "\xE9.xml", "é.xml", 28591},
        {"beyond ASCII and long", long_shown, long_shown},
        {"newline and control characters", "a\nb\x01\x7F.xml", "a?b?\x7F.xml"},
        {"a tab", "a\tb", "a\tb"},
        // As long as the buffer for names that are converted, and one byte less or more.
        {"99 bytes", of_size(99), of_size(99)},
        {"100 bytes", of_size(100), of_size(100)},
        {"101 bytes", of_size(101), of_size(101)},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        ZSetCOBOLCharSet(row.code_page);
        const ZHandle parser = ZxmlParser_new(nullptr, 0, 0);
        ZxmlParser_set_top_element(parser, "a", -1);
        const std::string name = path(row.file);
        EXPECT_EQ(ZxmlParser_write(parser, name.c_str()), 1);
        EXPECT_EQ(contents(name), kPlain + "<!-- "s + path(row.shown) +
                                      " - generated by KESTREL v9.2.0 on 2024/02/03 -->\n<a/>\n");
        EXPECT_EQ(ZxmlParser_write_file(parser, name.c_str(), 255), 1);
        EXPECT_NE(contents(name).find("generated"), std::string::npos);
        EXPECT_EQ(ZxmlParser_write_file(parser, name.c_str(), 0), 1);
        EXPECT_EQ(contents(name), kPlain + "<a/>\n"s);
        EXPECT_EQ(in_memory(parser), kPlain + "<a/>\n"s);
        // Reading drops it again.
        EXPECT_EQ(ZxmlParser_write(parser, name.c_str()), 1);
        const ZHandle again = ZxmlParser_new(name.c_str(), kWhole, 0);
        ASSERT_NE(again, 0U);
        EXPECT_EQ(ZxmlParser_get_comment(again, nullptr, 0), -1);
        ZxmlParser_release(again);
        ZxmlParser_release(parser);
    }
}

// Never within a character, wherever it falls.
TEST_F(WriteDocument, WithoutMemoryAFileNameIsCutInTheComment) {
    const ZHandle parser = ZxmlParser_new(nullptr, 0, 0);
    for (const std::string start : {"", "x"}) {
        std::string file = start;
        for (int i = 0; i < 60; i++)
            file += "é";
        const std::string name = path(file);
        std::string text;
        for (int n = 1; n < 10 && text.find("é - generated") == text.npos; n++) {
            ZMemoryRefuse(n, 1);
            ZxmlParser_write(parser, name.c_str());
            ZMemoryRefuse(0, 0);
            text = contents(name);
            if (text.find(name + " - generated") == text.npos && !text.empty())
                break;
        }
        std::string cut = name.substr(0, 99);
        if ((99 - path(start).size()) % 2 != 0)
            cut.pop_back();
        EXPECT_EQ(text,
                  kPlain + "<!-- "s + cut + " - generated by KESTREL v9.2.0 on 2024/02/03 -->\n");
    }
    ZxmlParser_release(parser);
}

// The setting counts for a whole document, and is read again for the next.
TEST_F(WriteDocument, BlanksAreKeptAsConfigured) {
    const ZHandle parser = ZxmlParser_new(nullptr, 0, 0);
    const ZHandle top = ZxmlParser_set_top_element(parser, "a", -1);
    ZxmlElem_append_value(ZxmlElem_add_child(top, "b", -1), " x ", -1, 1);
    const struct {
        const char *setting, *expected;
    } kRows[] = {{"2", "<a>\n  <b> x </b>\n</a>\n"},
                 {"0", "<a>\n  <b>x</b>\n</a>\n"},
                 {"3", "<a>\n  <b> x </b>\n</a>\n"},
                 {nullptr, "<a>\n  <b>x</b>\n</a>\n"}};
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.setting == nullptr ? "none" : row.setting);
        ZCSetValueString("XML_KEEP_WHITESPACE", row.setting);
        EXPECT_EQ(in_memory(parser), kPlain + std::string(row.expected));
        EXPECT_EQ(ZxmlParser_write_file(parser, path("out").c_str(), 0), 1);
        EXPECT_EQ(contents(path("out")), kPlain + std::string(row.expected));
    }
    ZxmlParser_release(parser);
}

TEST_F(WriteDocument, TheDateIsThatOfTheHost) {
    const ZHandle parser = ZxmlParser_new(nullptr, 0, 0);
    setenv("SOURCE_DATE_EPOCH", "43200", 1);
    ZxmlParser_write(parser, path("out").c_str());
    EXPECT_NE(contents(path("out")).find(" on 1970/01/01 -->\n"), std::string::npos);
    ZxmlParser_release(parser);
}

TEST_F(WriteDocument, Refusals) {
    const ZHandle parser = ZxmlParser_new(nullptr, 0, 0);
    const std::string name = path("out");
    ZxmlParser_release(parser);
    for (const ZHandle bad : {ZHandle{0}, ZHandle{0xFFFFFFFF}, parser}) {
        EXPECT_EQ(ZxmlParser_write(bad, name.c_str()), 0);
        EXPECT_EQ(parser_error(), ZXML_BAD_PARSER);
        EXPECT_EQ(ZxmlParser_write_file(bad, name.c_str(), 0), 0);
        EXPECT_EQ(parser_error(), ZXML_BAD_PARSER);
        EXPECT_EQ(ZxmlParser_write_memory(bad), nullptr);
        EXPECT_EQ(parser_error(), ZXML_BAD_PARSER);
        EXPECT_FALSE(fs::exists(name));
    }
    const ZHandle good = ZxmlParser_new(nullptr, 0, 0);
    for (const std::string &unusable : {folder_, path("none/out"), std::string()}) {
        EXPECT_EQ(ZxmlParser_write(good, unusable.c_str()), 0);
        EXPECT_EQ(parser_error(), ZXML_CANNOT_OPEN);
    }
    EXPECT_EQ(ZxmlParser_write(good, nullptr), 0);
    EXPECT_EQ(parser_error(), ZXML_NO_MEMORY);
    ZxmlParser_release(good);
}

TEST_F(WriteDocument, AFullDiskEndsWithoutHarm) {
    if (!fs::exists("/dev/full"))
        GTEST_SKIP() << "no /dev/full";
    const ZHandle parser = ZxmlParser_new(nullptr, 0, 0);
    EXPECT_EQ(ZxmlParser_write(parser, "/dev/full"), 1);
    ZxmlParser_release(parser);
}

// Every request for memory refused in turn, through a document with all there is.
TEST_F(WriteDocument, RefusedMemory) {
    for (const char *encoding : {"utf-8", "utf-16be", "iso-8859-1", "Windows-1252"}) {
        SCOPED_TRACE(encoding);
        const ZHandle parser =
            parsed("<!DOCTYPE a [<!ENTITY e 'v'>]><?t d?><!--c--><a x='1'><!--d--><b>v</b></a>");
        ZxmlParser_set_encoding(parser, encoding);
        for (int i = 0; i < 300; i++) {
            const ZHandle child = ZxmlElem_add_child(ZxmlParser_top_element(parser), "child", -1);
            ZxmlElem_set_value(child, "é and some text that takes room", -1);
        }
        const std::string whole = in_memory(parser);
        const std::string name = path("oét");
        int refused = 0;
        for (int n = 1; n < 100; n++) {
            SCOPED_TRACE(n);
            const size_t before = ZMemoryBlocks("in-memory XML string");
            ZMemoryRefuse(n, 1);
            const ZString text = ZxmlParser_write_memory(parser);
            const bool was_refused = ZMemoryRefused() != 0;
            const int32_t error = parser_error();
            ZMemoryRefuse(0, 0);
            if (text != nullptr) {
                EXPECT_EQ(std::string(ZStringGet(text), ZStringGetLength(text)), whole);
                ZSTRINGDelete(text);
            } else {
                EXPECT_TRUE(was_refused);
                EXPECT_EQ(error, ZXML_NO_MEMORY);
                refused++;
            }
            EXPECT_EQ(ZMemoryBlocks("in-memory XML string"), before);

            ZMemoryRefuse(n, 1);
            const int done = ZxmlParser_write_file(parser, name.c_str(), 0);
            const bool is_refused = ZMemoryRefused() != 0;
            ZMemoryRefuse(0, 0);
            if (done == 1)
                EXPECT_EQ(contents(name), whole);
            else
                EXPECT_TRUE(is_refused);
            EXPECT_EQ(ZMemoryBlocks("Temp comment buffer"), 0U);
            if (!was_refused && !is_refused)
                break;
            ASSERT_LT(n, 99);
        }
        EXPECT_GE(refused, 2);
        ZxmlParser_release(parser);
    }
}

}  // namespace
