// SPDX-License-Identifier: MIT
//
// Documents of every encoding, read whole and by record, in reads of every size; and
// what expat is fed, which says what long tokens cost.
//
// Built twice.  With TESTS_WITHOUT_DEFERRAL the linker leaves the library without
// XML_SetReparseDeferralEnabled, as an older expat does; the tests themselves switch
// deferral off, which such an expat does not have.
#include <dlfcn.h>
#include <expat.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "tests/support/test_document.h"
#include "wbfsi/xml_expat.h"

namespace {

using namespace support;

// What expat goes over: all it is fed and, with every call, the token that it could
// not finish before.
struct Fed {
    uint64_t calls = 0;
    uint64_t bytes = 0;
    uint64_t gone_over = 0;
};
Fed fed;
bool keeps_deferral = false;
int times_switched_off = 0;

template <typename Function>
Function next_one(const char *name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// These stand in front of expat's own.
extern "C" {
#ifdef TESTS_WITHOUT_DEFERRAL
[[gnu::weak]] XML_Bool XML_SetReparseDeferralEnabled(XML_Parser parser, XML_Bool enabled);

XML_Parser XML_ParserCreate_MM(const XML_Char *encoding, const XML_Memory_Handling_Suite *memory,
                               const XML_Char *separator) {
    static const auto real = next_one<decltype(&XML_ParserCreate_MM)>(__func__);
    static const auto set_deferral =
        next_one<XML_Bool (*)(XML_Parser, XML_Bool)>("XML_SetReparseDeferralEnabled");
    XML_Parser parser = real(encoding, memory, separator);
    if (parser != nullptr && set_deferral != nullptr && !keeps_deferral)
        set_deferral(parser, XML_FALSE);
    return parser;
}
#else
XML_Bool XML_SetReparseDeferralEnabled(XML_Parser parser, XML_Bool enabled);

XML_Bool XML_SetReparseDeferralEnabled(XML_Parser parser, XML_Bool enabled) {
    static const auto real = next_one<decltype(&XML_SetReparseDeferralEnabled)>(__func__);
    times_switched_off += enabled == XML_FALSE ? 1 : 0;
    if (keeps_deferral || real == nullptr)
        return XML_FALSE;
    return real(parser, enabled);
}
#endif

XML_Status XML_Parse(XML_Parser parser, const char *bytes, int size, int is_final) {
    static const auto real = next_one<decltype(&XML_Parse)>(__func__);
    static XML_Parser last_parser;
    static uint64_t before;
    if (parser != last_parser || XML_GetCurrentByteIndex(parser) < 0)
        before = 0;
    last_parser = parser;
    const XML_Index index = XML_GetCurrentByteIndex(parser);
    fed.calls++;
    fed.bytes += static_cast<uint64_t>(size);
    fed.gone_over += static_cast<uint64_t>(size);
    if (index >= 0)
        fed.gone_over += before - static_cast<uint64_t>(index);
    before += static_cast<uint64_t>(size);
    return real(parser, bytes, size, is_final);
}
}

namespace {

constexpr size_t kReads[] = {1, 2, 3, 7, 511, 32000};

// --- encodings

enum class Coding { kUtf8, kLittle, kBig, kLatin1, kLatin2, kWindows };

struct Letter {
    char32_t code;
    int latin2;   // byte, or -1
    int windows;  // byte, or -1
};

constexpr Letter kLetters[] = {
    {U'\u0105', 0xB1, -1},   {U'\u015B', 0xB6, -1}, {U'\u0142', 0xB3, -1}, {U'\u00E9', 0xE9, 0xE9},
    {U'\u00FC', 0xFC, 0xFC}, {U'\u20AC', -1, 0x80}, {U'\u2019', -1, 0x92},
};

// The bytes of a text; "?" for what the coding does not have.
std::string encode(std::u32string_view text, Coding coding) {
    std::string bytes;
    const auto put = [&bytes](uint32_t byte) { bytes += static_cast<char>(byte); };
    const auto put_unit = [&](uint32_t unit) {
        put(coding == Coding::kLittle ? unit & 0xFF : unit >> 8);
        put(coding == Coding::kLittle ? unit >> 8 : unit & 0xFF);
    };
    for (const char32_t c : text) {
        if (coding == Coding::kLittle || coding == Coding::kBig) {
            if (c >= 0x10000) {
                put_unit(0xD800 + ((c - 0x10000) >> 10));
                put_unit(0xDC00 + ((c - 0x10000) & 0x3FF));
            } else {
                put_unit(c);
            }
        } else if (c < 0x80) {
            put(c);
        } else if (coding == Coding::kLatin1) {
            put(c < 0x100 ? c : '?');
        } else if (coding != Coding::kUtf8) {
            uint32_t byte = '?';
            for (const Letter &letter : kLetters) {
                const int has = coding == Coding::kLatin2 ? letter.latin2 : letter.windows;
                if (letter.code == c && has >= 0)
                    byte = static_cast<uint32_t>(has);
            }
            put(byte);
        } else if (c < 0x800) {
            put(0xC0 | c >> 6);
            put(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            put(0xE0 | c >> 12);
            put(0x80 | (c >> 6 & 0x3F));
            put(0x80 | (c & 0x3F));
        } else {
            put(0xF0 | c >> 18);
            put(0x80 | (c >> 12 & 0x3F));
            put(0x80 | (c >> 6 & 0x3F));
            put(0x80 | (c & 0x3F));
        }
    }
    return bytes;
}

// Letters that the coding has.
std::u32string letters(Coding coding) {
    std::u32string has;
    for (const Letter &letter : kLetters) {
        if (encode(std::u32string(1, letter.code), coding) != "?")
            has += letter.code;
    }
    if (coding == Coding::kUtf8 || coding == Coding::kLittle || coding == Coding::kBig)
        has += U"\u4E2D\U0001F600\u3E3E\u3C3C";
    return has;
}

// All kinds of markup, longer than a read of the largest size.
std::u32string body(std::u32string_view has) {
    const std::u32string some(has);
    std::u32string long_text;
    for (int i = 0; i < 150; i++)
        long_text += some + U"  blanks " + std::u32string(static_cast<size_t>(i % 7), U' ');
    std::u32string text =
        U"<!-- top -->\n<?first one > two?>\n<!DOCTYPE d [\n<!ENTITY two \"<r>1</r><r "
        U"a='>'>2</r>\">"
        U"\n<!ENTITY word \"a  b\">\n<!-- don't > -->\n<!ATTLIST r dflt CDATA \"given >\">\n]>\n"
        U"<d top='" +
        some + U"'>\n";
    for (int i = 0; i < 18; i++) {
        text +=
            U"  <!-- " + some + U" > -->\r\n  <r a='x > y" + some + U"' b=\"'\">  " + some +
            U"\n  line two &lt; &#233; &word; > ]] <s/>\t<s>deep<t><u/> </t></s><?p  data > ?>" +
            U"<![CDATA[  <raw> ]]]]>  </r> stray > <r/><q>" + long_text + U"</q>\n &two; \n";
    }
    return text + U"</d>\n<!-- behind > -->\n";
}

struct EncodingRow {
    const char *name;
    Coding coding;
    bool has_mark;
    const char32_t *declaration;
    bool is_accepted;
};

constexpr const char32_t *kNone = U"";
constexpr const char32_t *kPlain = U"<?xml version='1.0'?>";

#define DECLARED(name) U"<?xml version='1.0' encoding='" name U"'?>"

constexpr EncodingRow kEncodings[] = {
    {"utf-8, nothing", Coding::kUtf8, false, kNone, true},
    {"utf-8, mark", Coding::kUtf8, true, kNone, true},
    {"utf-8, version", Coding::kUtf8, false, kPlain, true},
    {"utf-8, mark, version", Coding::kUtf8, true, kPlain, true},
    {"utf-8, declared", Coding::kUtf8, false, DECLARED(U"UTF-8"), true},
    {"utf-8, mark, declared", Coding::kUtf8, true, DECLARED(U"utf-8"), true},
    {"utf-8 declared as latin-1 is latin-1", Coding::kUtf8, false, DECLARED(U"ISO-8859-1"), true},
    {"utf-8, mark, declared as latin-1", Coding::kUtf8, true, DECLARED(U"ISO-8859-1"), true},
    {"utf-8 declared as utf-16", Coding::kUtf8, false, DECLARED(U"UTF-16"), false},
    {"utf-8 declared as utf-16le", Coding::kUtf8, false, DECLARED(U"UTF-16LE"), false},
    {"utf-8 declared as utf-16be", Coding::kUtf8, false, DECLARED(U"UTF-16BE"), false},
    {"utf-8, mark, declared as utf-16", Coding::kUtf8, true, DECLARED(U"UTF-16"), false},
    {"little, mark", Coding::kLittle, true, kNone, true},
    {"little, mark, version", Coding::kLittle, true, kPlain, true},
    {"little, mark, utf-16", Coding::kLittle, true, DECLARED(U"UTF-16"), true},
    {"little, mark, utf-16le", Coding::kLittle, true, DECLARED(U"UTF-16LE"), true},
    {"little, mark, utf-16be", Coding::kLittle, true, DECLARED(U"UTF-16BE"), false},
    {"little, mark, utf-8", Coding::kLittle, true, DECLARED(U"UTF-8"), false},
    {"little, mark, latin-1", Coding::kLittle, true, DECLARED(U"ISO-8859-1"), false},
    {"little, mark, latin-2", Coding::kLittle, true, DECLARED(U"ISO-8859-2"), false},
    {"little, mark, unknown", Coding::kLittle, true, DECLARED(U"KOI8-R"), false},
    {"little, utf-16be", Coding::kLittle, false, DECLARED(U"UTF-16BE"), false},
    {"little, utf-8", Coding::kLittle, false, DECLARED(U"UTF-8"), false},
    {"little, nothing", Coding::kLittle, false, kNone, true},
    {"little, version", Coding::kLittle, false, kPlain, true},
    {"little, utf-16le", Coding::kLittle, false, DECLARED(U"UTF-16LE"), true},
    {"little, utf-16", Coding::kLittle, false, DECLARED(U"UTF-16"), true},
    {"big, mark", Coding::kBig, true, kNone, true},
    {"big, mark, version", Coding::kBig, true, kPlain, true},
    {"big, mark, utf-16", Coding::kBig, true, DECLARED(U"UTF-16"), true},
    {"big, mark, utf-16be", Coding::kBig, true, DECLARED(U"UTF-16BE"), true},
    {"big, mark, utf-16le", Coding::kBig, true, DECLARED(U"UTF-16LE"), false},
    {"big, mark, utf-8", Coding::kBig, true, DECLARED(U"UTF-8"), false},
    {"big, mark, latin-1", Coding::kBig, true, DECLARED(U"ISO-8859-1"), false},
    {"big, mark, windows", Coding::kBig, true, DECLARED(U"Windows-1252"), false},
    {"big, utf-16le", Coding::kBig, false, DECLARED(U"UTF-16LE"), false},
    {"big, utf-16", Coding::kBig, false, DECLARED(U"UTF-16"), true},
    {"big, nothing", Coding::kBig, false, kNone, true},
    {"big, version", Coding::kBig, false, kPlain, true},
    {"big, utf-16be", Coding::kBig, false, DECLARED(U"UTF-16BE"), true},
    {"latin-1, declared", Coding::kLatin1, false, DECLARED(U"ISO-8859-1"), true},
    {"latin-1, small", Coding::kLatin1, false, DECLARED(U"iso-8859-1"), true},
    {"latin-1, nothing: no utf-8", Coding::kLatin1, false, kNone, false},
    {"latin-1, version: no utf-8", Coding::kLatin1, false, kPlain, false},
    {"latin-2, declared", Coding::kLatin2, false, DECLARED(U"ISO-8859-2"), true},
    {"latin-2, small", Coding::kLatin2, false, DECLARED(U"iso-8859-2"), true},
    {"windows, declared", Coding::kWindows, false, DECLARED(U"Windows-1252"), true},
    {"windows, capitals", Coding::kWindows, false, DECLARED(U"WINDOWS-1252"), true},
    {"latin-2, undeclared: no utf-8", Coding::kLatin2, false, kPlain, false},
    {"windows, undeclared: no utf-8", Coding::kWindows, false, kNone, false},
    {"unknown", Coding::kUtf8, false, DECLARED(U"KOI8-R"), false},
};

class Feeding : public testing::Test {
 protected:
    void TearDown() override { keeps_deferral = false; }
    Utf8Program utf8_;
};

TEST_F(Feeding, EveryEncodingGivesTheSameTreeHoweverItIsRead) {
    for (const EncodingRow &row : kEncodings) {
        SCOPED_TRACE(row.name);
        const std::u32string text = body(letters(row.coding));
        std::string bytes = row.has_mark ? encode(U"\uFEFF", row.coding) : "";
        bytes += encode(row.declaration, row.coding) + encode(text, row.coding);
        ASSERT_GT(bytes.size(), 40000U);

        // The same characters as plain UTF-8, or with each byte taken for a character.
        std::u32string meant = text;
        if (row.is_accepted && row.declaration == std::u32string_view(DECLARED(U"ISO-8859-1"))) {
            meant.clear();
            for (const char c : encode(text, row.coding))
                meant += static_cast<unsigned char>(c);
        }
        const std::string expected = read_whole(encode(meant, Coding::kUtf8));
        ASSERT_TRUE(expected.starts_with("d top=\"")) << expected;
        const std::string result = read_whole(bytes);
        if (row.is_accepted)
            ASSERT_EQ(result, expected);
        else
            ASSERT_TRUE(result.starts_with("19 5 ")) << result.substr(0, 80);

        for (const size_t most : kReads) {
            for (const Source source : {Source::kFile, Source::kInput, Source::kMemory}) {
                if (source == Source::kMemory && !bytes.starts_with("<?xml "))
                    continue;
                // Memory is read in no pieces.
                if (source == Source::kMemory && most != kReads[0])
                    continue;
                for (const bool by_record : {false, true}) {
                    ASSERT_EQ(read_document(bytes, source, most, by_record), result)
                        << most << ", source " << static_cast<int>(source)
                        << (by_record ? ", by record" : ", whole");
                }
            }
        }
    }
}

TEST_F(Feeding, DeferralIsSwitchedOffWhereThereIsASwitch) {
    times_switched_off = 0;
    expat_destroy_parser(expat_create_parser(kUsual));
#ifdef TESTS_WITHOUT_DEFERRAL
    EXPECT_EQ(&XML_SetReparseDeferralEnabled, nullptr);
    EXPECT_EQ(times_switched_off, 0);
#else
    EXPECT_EQ(times_switched_off, 1);
#endif
}

TEST_F(Feeding, DeferralThatCannotBeSwitchedOffChangesNoTree) {
    const std::string bytes = encode(body(letters(Coding::kUtf8)), Coding::kUtf8);
    const std::string expected = read_whole(bytes);
    keeps_deferral = true;
    for (const size_t most : kReads) {
        EXPECT_EQ(read_document(bytes, Source::kFile, most, false), expected);
        EXPECT_EQ(read_document(bytes, Source::kFile, most, true), expected);
    }
}

// Record by record, each deleted, in reads of every size: the records are those of
// the whole document.
TEST_F(Feeding, RecordsAreTheChildrenOfTheTopElement) {
    const std::string bytes = encode(body(letters(Coding::kUtf8)), Coding::kUtf8);
    const ZHandle whole = open_file(bytes, kUsual | ZXML_WHOLE);
    std::vector<std::string> expected;
    ZHandle child = ZxmlElem_first_child(ZxmlParser_top_element(whole));
    for (; child != 0; child = ZxmlElem_next_sibling(child))
        expected.push_back(name_of(child) + value_of(child) + comment_of(child));
    ZxmlParser_release(whole);
    EXPECT_EQ(expected.size(), 18U * 5);

    for (const size_t most : kReads) {
        SCOPED_TRACE(most);
        const ZHandle parser = open_document(bytes, Source::kFile, most, kUsual);
        std::vector<std::string> records;
        while (ZxmlParser_parse_record(parser) != 0) {
            ASSERT_EQ(*Zstdlib_f_errno(), 0);
            const ZHandle record = ZxmlElem_first_child(ZxmlParser_top_element(parser));
            ASSERT_NE(record, 0U);
            EXPECT_EQ(ZxmlElem_next_sibling(record), 0U);
            EXPECT_EQ(ZxmlParser_current(parser), ZxmlParser_top_element(parser));
            records.push_back(name_of(record) + value_of(record) + comment_of(record));
            ZxmlElem_delete(record);
        }
        EXPECT_EQ(told_error(), "8");
        EXPECT_EQ(records, expected);
        ZxmlParser_release(parser);
    }
}

// Behind a record the other loops go on with what is there.
TEST_F(Feeding, TheLoopsMayBeMixed) {
    const std::string bytes = encode(body(letters(Coding::kUtf8)), Coding::kUtf8);
    const std::string expected = read_whole(bytes);
    for (const size_t most : kReads) {
        for (const bool to_end : {false, true}) {
            SCOPED_TRACE(std::to_string(most) + (to_end ? ", to the end" : ", both in turn"));
            const ZHandle parser = open_document(bytes, Source::kFile, most, kUsual);
            ZxmlExpatState *state = *static_cast<ZxmlExpatState **>(H_lock(parser));
            for (int record = 0; record < 20; record++) {
                ASSERT_EQ(ZxmlParser_parse_record(parser), 1) << told_error();
                for (int i = 0; !to_end && i < record % 3; i++)
                    parse_to_next_greaterthan(state, &the_file);
            }
            if (to_end)
                parse_to_end_of_file(state, &the_file);
            while (ZxmlParser_parse_record(parser) != 0) {
            }
            EXPECT_EQ(told_error(), "8");
            EXPECT_EQ(print_tree(ZxmlParser_top_element(parser)), expected);
            ZxmlParser_release(parser);
        }
    }
}

// --- to the next ">"

TEST_F(Feeding, ToTheNextGreaterThanReturnsBehindEach) {
    for (const size_t most : kReads) {
        SCOPED_TRACE(most);
        ZxmlExpatState *state = expat_create_parser(kUsual);
        ZFile file;
        file.bytes = "<a><b x='1>2'/>text</a>";
        file.most = most;
        std::string depths;
        do {
            parse_to_next_greaterthan(state, &file);
            depths += std::to_string(state->element_depth) + "/" +
                      std::to_string(*Zstdlib_f_errno()) + " ";
        } while (*Zstdlib_f_errno() == 0);
        // The tag of b takes two calls.
        EXPECT_EQ(depths, "1/0 1/0 1/0 0/0 0/8 ");
        EXPECT_EQ(print_tree(state->top_element), "a = \"text\"\n b x=\"1>2\"\n");
        parse_to_next_greaterthan(state, &file);
        EXPECT_EQ(*Zstdlib_f_errno(), 8);
        expat_destroy_parser(state);
    }
}

TEST_F(Feeding, ToTheNextGreaterThanStopsAtTheTagsOfAnEmptyElement) {
    ZxmlExpatState *state = expat_create_parser(kUsual);
    const std::string text = "<a><b/></a>";
    state->position = text.data();
    state->end = text.data() + text.size();
    std::string seen;
    for (int call = 0; call < 5; call++) {
        parse_to_next_greaterthan(state, nullptr);
        seen += std::to_string(state->position - text.data()) + ":" +
                std::to_string(*Zstdlib_f_errno()) + " ";
    }
    EXPECT_EQ(seen, "3:0 7:0 11:0 11:8 11:8 ");
    expat_destroy_parser(state);
}

TEST_F(Feeding, TheMarkTellsTheEncodingUntilADeclarationDoes) {
    struct Row {
        const char *name;
        std::string bytes;
        int32_t at_first;
        int32_t at_the_end;
    };
    const auto row = [](const char *name, const char32_t *text, Coding coding, int32_t at_first,
                        int32_t at_the_end) {
        return Row{name, encode(text, coding), at_first, at_the_end};
    };
    for (const Row &mark : {
             row("nothing", U"<a></a>", Coding::kUtf8, -1, -1),
             row("utf-8", U"\uFEFF<a></a>", Coding::kUtf8, 2, 2),
             row("little", U"\uFEFF<a></a>", Coding::kLittle, 3, 3),
             row("big", U"\uFEFF<a></a>", Coding::kBig, 5, 5),
             row("big, no mark", U"<a></a>", Coding::kBig, -1, -1),
             row("little, other markup first", U"\uFEFF<!----><?p?><a></a>", Coding::kLittle, 3, 3),
             row("version", U"\uFEFF<?xml version='1.0'?><a></a>", Coding::kLittle, 0, 0),
             row("utf-16 of big", U"\uFEFF<?xml version='1.0' encoding='utf-16'?><a/>",
                 Coding::kBig, 3, 3),
         }) {
        SCOPED_TRACE(mark.name);
        for (const size_t most : {size_t{1}, size_t{32000}}) {
            ZxmlExpatState *state = expat_create_parser(kUsual);
            ZFile file;
            file.bytes = mark.bytes;
            file.most = most;
            EXPECT_EQ(state->state_bits & ZXML_MARK_CHECKED, 0U);
            parse_to_next_greaterthan(state, &file);
            EXPECT_EQ(state->encoding_type, mark.at_first);
            EXPECT_NE(state->state_bits & ZXML_MARK_CHECKED, 0U);
            do {
                parse_to_next_greaterthan(state, &file);
            } while (*Zstdlib_f_errno() == 0);
            EXPECT_EQ(told_error(), "8");
            EXPECT_EQ(state->encoding_type, mark.at_the_end);
            expat_destroy_parser(state);
        }
    }
}

TEST_F(Feeding, MemoryIsGoneOverBeforeTheFile) {
    for (const bool whole : {false, true}) {
        ZxmlExpatState *state = expat_create_parser(kUsual);
        const std::string text = "<a>one <";
        state->position = text.data();
        state->end = text.data() + text.size();
        ZFile file;
        file.bytes = "b/></a>";
        file.most = 1;
        do {
            if (whole)
                parse_to_end_of_file(state, &file);
            else
                parse_to_next_greaterthan(state, &file);
        } while (*Zstdlib_f_errno() == 0);
        EXPECT_EQ(told_error(), "8");
        EXPECT_EQ(print_tree(state->top_element), "a = \"one\"\n b\n");
        expat_destroy_parser(state);
    }
}

TEST_F(Feeding, TheCharacterSetOfTheProgramIsBackBehindEveryCall) {
    ZSetCOBOLCharSet(28591);
    EXPECT_EQ(read_whole("<a>\xC3\xA9</a>"), "a = \"\xE9\"\n");
    EXPECT_EQ(ZGetCOBOLCharSet(), 28591);
    EXPECT_EQ(read_whole("<a>\xC3</a>").substr(0, 3), "19 ");
    EXPECT_EQ(ZGetCOBOLCharSet(), 28591);
}

// --- long tokens

struct LongRow {
    const char *name;
    const char *front;
    char filler;
    const char *behind;
};

constexpr LongRow kLongTokens[] = {
    {"comment", "<d><r><!--", '>', "--></r></d>"},
    {"attribute value", "<d><r a='", '>', "'/></d>"},
    {"instruction", "<d><r><?p ", '>', "?></r></d>"},
    {"cdata", "<d><r><![CDATA[", '>', "]]></r></d>"},
    {"text", "<d><r>", '>', "</r></d>"},
    {"comment in the subset", "<!DOCTYPE d [<!--", '>', "-->]><d><r/></d>"},
    {"entity in the subset", "<!DOCTYPE d [<!ENTITY e '", '>', "'>]><d><r/></d>"},
    {"instruction in the subset", "<!DOCTYPE d [<?p ", '>', "?>]><d><r/></d>"},
    {"comment in front", "<!--", '>', "--><d><r/></d>"},
    {"comment behind", "<d><r/></d><!--", '>', "-->"},
    {"tag", "<d><r", ' ', "/></d>"},
    {"plain comment", "<d><r><!--", 'x', "--></r></d>"},
    {"name", "<d><", 'x', "/></d>"},
    {"reference", "<d><r>&#", '0', "65;</r></d>"},
    {"reference in the subset", "<!DOCTYPE d [%", 'x', ";]><d><r/></d>"},
};

uint64_t cost(const LongRow &row, size_t length, size_t most, bool by_record) {
    const std::string text = row.front + std::string(length, row.filler) + row.behind;
    fed = {};
    const std::string tree = read_document(text, Source::kFile, most, by_record);
    EXPECT_TRUE(tree.starts_with("d\n ")) << tree.substr(0, 80);
    return fed.gone_over + 50 * fed.calls;
}

TEST_F(Feeding, LongTokensCostInProportion) {
    struct Size {
        size_t length;
        size_t most;
    };
    for (const LongRow &row : kLongTokens) {
        for (const bool by_record : {false, true}) {
            for (const Size &size : {Size{1 << 19, 32000}, Size{1 << 18, 7}, Size{1 << 18, 1}}) {
                for (const bool has_deferral : {false, true}) {
                    SCOPED_TRACE(std::string(row.name) + (by_record ? " by record " : " whole ") +
                                 std::to_string(size.most));
                    if (has_deferral && size.most != 32000)
                        continue;
                    // Only the text of a reference is no markup for the scanner.
                    if (size.most == 1 && !std::string_view(row.name).starts_with("reference"))
                        continue;
                    keeps_deferral = has_deferral;
                    const uint64_t once = cost(row, size.length, size.most, by_record);
                    const uint64_t twice = cost(row, 2 * size.length, size.most, by_record);
                    EXPECT_LE(twice * 10, once * 25);
                    // At worst a call for each byte that is text.
                    EXPECT_LE(once, size.length * (50 + 8));
                }
            }
        }
    }
}

}  // namespace
