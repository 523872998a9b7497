// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "fsi/xml/parsexml/parser.h"
#include "host/memory.h"
#include "tests/support/test_document.h"

namespace {

using namespace support;

class Prolog : public testing::Test {
 protected:
    void SetUp() override { parser_ = ZxmlParser_new(nullptr, 0, 0); }
    void TearDown() override { ZxmlParser_release(parser_); }
    void reread(std::string_view bytes, uint32_t flags = kUsual) {
        ZxmlParser_release(parser_);
        parser_ = open_file(bytes, flags | ZXML_WHOLE);
        ASSERT_NE(parser_, 0U) << told_error();
    }
    std::string target(uint32_t number) const {
        return fetched([&](char *b, int32_t n) {
            return ZxmlParser_get_processing_instruction_target(parser_, number, b, n);
        });
    }
    std::string data(uint32_t number) const {
        return fetched([&](char *b, int32_t n) {
            return ZxmlParser_get_processing_instruction_data(parser_, number, b, n);
        });
    }
    std::string doctype() const {
        return fetched(
            [&](char *b, int32_t n) { return ZxmlParser_get_raw_doctype(parser_, b, n); });
    }
    std::string comment() const {
        return fetched([&](char *b, int32_t n) { return ZxmlParser_get_comment(parser_, b, n); });
    }
    Utf8Program utf8_;
    ZHandle parser_ = 0;
};

TEST_F(Prolog, VersionEncodingAndStandaloneOfADocument) {
    struct Row {
        const char *declaration;
        const char *expected;
        int32_t type;
    };
    constexpr Row kRows[] = {
        {"", "standalone 0\n", -1},
        {"<?xml version='1.0'?>", "version 1.0\nstandalone -1\n", 0},
        {"<?xml version='1.0' standalone='yes'?>", "version 1.0\nstandalone 1\n", 0},
        {"<?xml version='1.0' standalone='no'?>", "version 1.0\nstandalone 0\n", 0},
        {"<?xml version='1.0' encoding='utf-8'?>", "version 1.0\nencoding utf-8\nstandalone -1\n",
         2},
        {"<?xml version='1.0' encoding='UTF-8'?>", "version 1.0\nencoding UTF-8\nstandalone -1\n",
         2},
        {"<?xml version='1.0' encoding='Iso-8859-1'?>",
         "version 1.0\nencoding Iso-8859-1\nstandalone -1\n", 7},
        {"<?xml version='1.0' encoding='US-ASCII'?>",
         "version 1.0\nencoding US-ASCII\nstandalone -1\n", 0},
        {"<?xml version='1.0' encoding='iso-8859-2'?>",
         "version 1.0\nencoding iso-8859-2\nstandalone -1\n", 0},
        {"\xEF\xBB\xBF", "standalone 0\n", 2},
        {"\xEF\xBB\xBF<?xml version='1.0'?>", "version 1.0\nstandalone -1\n", 0},
    };
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.declaration);
        reread(std::string(row.declaration) + "<a/>");
        EXPECT_EQ(print_prolog(parser_), row.expected);
        EXPECT_EQ(fsi::xml::require_parser(parser_)->state->encoding_type, row.type);
    }
    reread("<?xml version='1.0' encoding='utf-8'?><a/>", ZXML_ELEMENTS);
    EXPECT_EQ(print_prolog(parser_), "standalone 0\n");
}

TEST_F(Prolog, VersionAndStandaloneAreStoredAsGiven) {
    EXPECT_EQ(ZxmlParser_get_version(parser_), nullptr);
    EXPECT_EQ(ZxmlParser_get_standalone(parser_), 0);
    EXPECT_EQ(ZxmlParser_set_version(parser_, "1.1"), 1);
    EXPECT_STREQ(ZxmlParser_get_version(parser_), "1.1");
    EXPECT_EQ(ZxmlParser_set_version(parser_, "longer than that"), 1);
    EXPECT_STREQ(ZxmlParser_get_version(parser_), "longer than that");
    EXPECT_EQ(ZxmlParser_set_version(parser_, nullptr), 1);
    EXPECT_EQ(ZxmlParser_get_version(parser_), nullptr);
    for (const int32_t standalone : {1, -1, 7, 0}) {
        EXPECT_EQ(ZxmlParser_set_standalone(parser_, standalone), 1);
        EXPECT_EQ(ZxmlParser_get_standalone(parser_), standalone);
    }
}

TEST_F(Prolog, EncodingsAreStoredByTheirCanonicalName) {
    struct Row {
        const char *set;
        const char *expected;
    };
    constexpr Row kRows[] = {
        {"utf-8", "UTF-8"},       {"UTF-8", "UTF-8"},          {"utf-16", "UTF-16LE"},
        {"utf-16BE", "UTF-16BE"}, {"nonsense", nullptr},       {"iso-8859-1", "ISO-8859-1"},
        {"nonsense", nullptr},    {"other nonsense", nullptr},
    };
    EXPECT_EQ(ZxmlParser_get_encoding(parser_), nullptr);
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.set);
        EXPECT_EQ(ZxmlParser_set_encoding(parser_, row.set), 1);
        EXPECT_STREQ(ZxmlParser_get_encoding(parser_), row.expected);
    }
    // The same type leaves the name as it was read.
    reread("<?xml version='1.0' encoding='utf-8'?><a/>");
    EXPECT_EQ(ZxmlParser_set_encoding(parser_, "UTF-8"), 1);
    EXPECT_STREQ(ZxmlParser_get_encoding(parser_), "utf-8");
    reread("<?xml version='1.0' encoding='iso-8859-2'?><a/>");
    EXPECT_EQ(ZxmlParser_set_encoding(parser_, "nonsense"), 1);
    EXPECT_STREQ(ZxmlParser_get_encoding(parser_), "iso-8859-2");
}

TEST_F(Prolog, RawDoctype) {
    EXPECT_EQ(ZxmlParser_get_raw_doctype(parser_, nullptr, 0), 0);
    EXPECT_EQ(ZxmlParser_set_raw_doctype(parser_, "<!ELEMENT a ANY>rest", 16), 1);
    EXPECT_EQ(doctype(), "<!ELEMENT a ANY>");
    // The terminator is stored behind the text.
    EXPECT_EQ(ZStringGetLength(fsi::xml::require_parser(parser_)->state->doctype_text), 17U);
    EXPECT_EQ(ZxmlParser_set_raw_doctype(parser_, "\xC3\xA9", -1), 1);
    EXPECT_EQ(doctype(), "\xC3\xA9");
    EXPECT_EQ(ZxmlParser_set_raw_doctype(parser_, "", 0), 1);
    EXPECT_EQ(doctype(), "");

    reread("<!DOCTYPE a [\n<!-- c --><!ENTITY e 'x'>\n]>\n<a/>");
    EXPECT_EQ(doctype(), "<!DOCTYPE a [\n<!ENTITY e 'x'>\n");
    const fsi::xml::State &state = *fsi::xml::require_parser(parser_)->state;
    EXPECT_EQ(state.doctype_line_end, 13U);
    EXPECT_EQ(state.doctype_own_end, 30U);
    EXPECT_EQ(ZxmlParser_set_raw_doctype(parser_, "new", 3), 1);
    EXPECT_EQ(state.doctype_line_end, 0U);
    EXPECT_EQ(state.doctype_own_end, 0U);
    EXPECT_FALSE(state.is_doctype_read);
    reread("<!DOCTYPE a SYSTEM 'x'><a/>");
    EXPECT_EQ(doctype(), "");
}

TEST_F(Prolog, InstructionsAreNumberedFromNull) {
    EXPECT_EQ(ZxmlParser_processing_instruction_count(parser_), 0);
    EXPECT_EQ(parser_error(), 18);
    ZxmlParser_is_parser(parser_);
    EXPECT_EQ(target(0), "(none)");
    EXPECT_EQ(parser_error(), 18);
    EXPECT_EQ(ZxmlParser_delete_processing_instruction(parser_, 0), 0);
    EXPECT_EQ(parser_error(), 18);

    reread("<?one 1?><a><?two?></a><?three  3 ?>");
    EXPECT_EQ(ZxmlParser_processing_instruction_count(parser_), 4);
    EXPECT_EQ(target(0) + data(0) + "|" + target(1) + data(1) + "|" + target(2) + data(2),
              "one1|two|three3 ");
    EXPECT_EQ(ZxmlParser_get_processing_instruction_target(parser_, 3, nullptr, 0), -1);
    EXPECT_EQ(parser_error(), 17);
    EXPECT_EQ(ZxmlParser_get_processing_instruction_data(parser_, 3, nullptr, 0), -1);
    EXPECT_EQ(ZxmlParser_set_processing_instruction(parser_, 1, "t", 1, "data", -1), 1);
    EXPECT_EQ(target(1) + data(1), "tdata");
    EXPECT_EQ(ZxmlParser_delete_processing_instruction(parser_, 0), 1);
    EXPECT_EQ(target(0) + data(0), "tdata");
    EXPECT_EQ(ZxmlParser_delete_processing_instruction(parser_, 2), 0);
    EXPECT_EQ(parser_error(), 17);
    // A gap: what was passed over has no texts.
    EXPECT_EQ(ZxmlParser_set_processing_instruction(parser_, 4, "far", -1, "d", -1), 1);
    EXPECT_EQ(ZxmlParser_processing_instruction_count(parser_), 6);
    EXPECT_EQ(target(3) + data(3), "");
    EXPECT_EQ(ZxmlParser_set_processing_instruction(parser_, 1000000, "far", -1, "d", -1), 0);
    EXPECT_EQ(parser_error(), 17);
    EXPECT_EQ(ZxmlParser_processing_instruction_count(parser_), 6);
}

TEST_F(Prolog, OneInstructionCountsAsTwo) {
    EXPECT_EQ(ZxmlParser_set_processing_instruction(parser_, 0, "t", -1, "d", -1), 1);
    EXPECT_EQ(ZxmlParser_processing_instruction_count(parser_), 2);
    EXPECT_EQ(target(1), "(none)");
    EXPECT_EQ(parser_error(), 17);
}

TEST_F(Prolog, CommentsAreAppendedWithNothingBetween) {
    EXPECT_EQ(comment(), "(none)");
    EXPECT_EQ(ZxmlParser_append_comment(parser_, "one", -1), 1);
    EXPECT_EQ(ZxmlParser_append_comment(parser_, "two!", 3), 1);
    EXPECT_EQ(comment(), "onetwo");
    EXPECT_EQ(ZxmlParser_delete_comment(parser_), 1);
    EXPECT_EQ(comment(), "(none)");
    EXPECT_EQ(ZxmlParser_delete_comment(parser_), 1);
}

TEST_F(Prolog, TextsAreInTheCharacterSetOfTheProgram) {
    ZSetCOBOLCharSet(28591);
    ZxmlParser_append_comment(parser_, "\xE9", 1);
    ZxmlParser_set_processing_instruction(parser_, 0, "\xE9", 1, "\xFC", 1);
    ZxmlParser_set_raw_doctype(parser_, "\xE9", 1);
    EXPECT_EQ(comment() + target(0) + data(0) + doctype(), "\xE9\xE9\xFC\xE9");
    ZSetCOBOLCharSet(65001);
    EXPECT_EQ(comment() + target(0) + data(0) + doctype(), "\xC3\xA9\xC3\xA9\xC3\xBC\xC3\xA9");
}

TEST_F(Prolog, ABadHandleIsErrorFive) {
    const ZHandle element = ZxmlElem_new(0, "e", -1, 0);
    const ZHandle good = parser_;
    for (const ZHandle bad : {ZHandle{0}, element, ZHandle{0xFFFFFFFF}}) {
        parser_ = bad;
        int failures = 0;
        const auto expect_five = [&](bool failed) {
            EXPECT_TRUE(failed) << failures;
            EXPECT_EQ(parser_error(), 5) << failures;
            failures++;
            // Another number, so that the next one is seen.
            ZxmlParser_processing_instruction_count(good);
            ASSERT_EQ(parser_error(), 18);
        };
        ZxmlParser_processing_instruction_count(good);
        expect_five(ZxmlParser_get_version(bad) == nullptr);
        expect_five(ZxmlParser_set_version(bad, "1") == 0);
        expect_five(ZxmlParser_get_encoding(bad) == nullptr);
        expect_five(ZxmlParser_set_encoding(bad, "utf-8") == 0);
        expect_five(ZxmlParser_get_standalone(bad) == 0);
        expect_five(ZxmlParser_set_standalone(bad, 1) == 0);
        expect_five(ZxmlParser_get_raw_doctype(bad, nullptr, 0) == 0);
        expect_five(ZxmlParser_set_raw_doctype(bad, "", 0) == 0);
        expect_five(ZxmlParser_processing_instruction_count(bad) == 0);
        expect_five(target(0) == "(none)");
        expect_five(data(0) == "(none)");
        expect_five(ZxmlParser_set_processing_instruction(bad, 0, "", 0, "", 0) == 0);
        expect_five(ZxmlParser_delete_processing_instruction(bad, 0) == 0);
        expect_five(ZxmlParser_append_comment(bad, "", 0) == 0);
        expect_five(comment() == "(none)");
        expect_five(ZxmlParser_delete_comment(bad) == 0);
        expect_five(ZxmlParser_models(bad) == nullptr);
        expect_five(ZxmlParser_get_hash(bad) == nullptr);
        expect_five(ZxmlParser_top_element(bad) == 0);
        expect_five(ZxmlParser_current(bad) == 0);
        expect_five(ZxmlParser_set_top_element(bad, "e", -1) == 0);
        expect_five(ZxmlParser_release(bad) == 0);
        EXPECT_EQ(ZxmlParser_is_parser(bad), 0);
        EXPECT_EQ(parser_error(), 18);
    }
    parser_ = good;
    ZxmlElem_delete(element);
}

TEST_F(Prolog, TextOfTheError) {
    ZxmlParser_release(0);
    int32_t number = 0;
    EXPECT_STREQ(ZxmlParser_error(&number), "The passed handle is not a valid parser handle");
    EXPECT_EQ(number, 5);
    EXPECT_STREQ(ZxmlParser_error(nullptr), "The passed handle is not a valid parser handle");
}

}  // namespace
