// SPDX-License-Identifier: MIT
//
// Parse, write, parse again: the second document is what a model of what writing
// changes makes of the first, and a third round changes nothing more, comments aside.
// The documents are generated ones, and all files of XML and SVG below the folders of
// the variable WBFSI_XML_FILES (separated by ":", by default /usr/share), whatever
// packages have put there.  Files that expat refuses are refused with its code.
#include <expat.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fsi/xml/handlers/handlers.h"
#include "fsi/xml/parsexml/parser.h"
#include "host/charset.h"
#include "host/errors.h"
#include "wbfsi/lifecycle.h"
#include "wbfsi/xml_parser.h"
#include "wbfsi/xml_writer.h"

namespace {

namespace fs = std::filesystem;

constexpr uint32_t kWhole = ZXML_READ_USUAL | ZXML_WHOLE;

// --- a document as plain data

struct Node {
    std::string name;
    std::string indices;
    std::optional<std::string> value;
    std::vector<std::pair<std::string, std::string>> attributes;
    std::optional<std::string> comment;
    std::vector<Node> children;

    bool operator==(const Node &) const = default;
};

struct Document {
    std::optional<std::string> version;
    std::optional<std::string> encoding;
    int32_t encoding_type = 0;
    int32_t standalone = 0;
    std::vector<std::pair<std::string, std::string>> instructions;
    std::vector<std::string> comments;
    std::string doctype;
    std::string subset;
    std::string public_id;
    std::string system_id;
    Node top;

    bool operator==(const Document &) const = default;
};

template <typename Get>
std::optional<std::string> fetched(Get get) {
    const int32_t length = get(nullptr, 0);
    if (length < 0)
        return std::nullopt;
    std::string text(static_cast<size_t>(length) + 1, '#');
    get(text.data(), length + 1);
    text.resize(static_cast<size_t>(length));
    return text;
}

Node node_of(ZHandle element) {
    Node node;
    node.name = *fetched([&](char *b, int32_t n) { return ZxmlElem_name(element, b, n); });
    for (int32_t i = 0; i <= ZxmlElem_array_depth(element); i++)
        node.indices += std::to_string(ZxmlElem_array_index(element, i)) + " ";
    node.value = fetched([&](char *b, int32_t n) { return ZxmlElem_value(element, b, n); });
    node.comment = fetched([&](char *b, int32_t n) { return ZxmlElem_get_comment(element, b, n); });
    const auto count = static_cast<uint32_t>(ZxmlElem_attribute_count(element));
    for (uint32_t i = 0; i < count; i++) {
        node.attributes.emplace_back(
            *fetched([&](char *b, int32_t n) { return ZxmlElem_attribute_name(element, i, b, n); }),
            *fetched(
                [&](char *b, int32_t n) { return ZxmlElem_attribute_value(element, i, b, n); }));
    }
    for (ZHandle at = ZxmlElem_first_child(element); at != 0; at = ZxmlElem_next_sibling(at))
        node.children.push_back(node_of(at));
    return node;
}

std::string text_of(ZString string) {
    return {ZStringGet(string), ZStringGetLength(string)};
}

Document document_of(ZHandle parser) {
    const fsi::xml::State &state = *fsi::xml::require_parser(parser)->state;
    Document document;
    if (state.version != nullptr)
        document.version = state.version;
    if (state.encoding != nullptr)
        document.encoding = state.encoding;
    document.encoding_type = state.encoding_type;
    document.standalone = state.standalone;
    const int32_t instructions = ZxmlParser_processing_instruction_count(parser);
    for (int32_t k = 0; k + 1 < instructions; k++) {
        const auto i = static_cast<uint32_t>(k);
        document.instructions.emplace_back(*fetched([&](char *b, int32_t n) {
            return ZxmlParser_get_processing_instruction_target(parser, i, b, n);
        }),
                                           *fetched([&](char *b, int32_t n) {
                                               return ZxmlParser_get_processing_instruction_data(
                                                   parser, i, b, n);
                                           }));
    }
    for (uint32_t i = 0; i < ZStringCountNSStrings(state.top_comments); i++) {
        size_t length = 0;
        const char *piece = ZStringGetNSPiece(state.top_comments, i, &length);
        document.comments.emplace_back(piece, length);
    }
    document.doctype = text_of(state.doctype_name);
    if (state.doctype_own_end > state.doctype_line_end)
        document.subset =
            text_of(state.doctype_text)
                .substr(state.doctype_line_end, state.doctype_own_end - state.doctype_line_end);
    document.public_id = text_of(state.public_id);
    document.system_id = text_of(state.system_id);
    document.top = node_of(ZxmlParser_top_element(parser));
    return document;
}

// --- the model: what a document is when it was written and read again

bool is_blank(char c) {
    return std::string_view(" \t\n\r\v\f").find(c) != std::string_view::npos;
}

std::string without_blanks(std::string text) {
    while (!text.empty() && is_blank(text.back()))
        text.pop_back();
    while (!text.empty() && is_blank(text.front()))
        text.erase(0, 1);
    return text;
}

// The first code point that an encoding cannot carry.
uint32_t limit_of(const Document &document) {
    if (document.encoding_type == 7)
        return 0x100;
    return document.encoding_type == 0 && document.encoding ? 0x80 : 0x110000;
}

uint32_t code_point_at(std::string_view text, size_t i) {
    const auto first = static_cast<unsigned char>(text[i]);
    if (first < 0x80)
        return first;
    const int more = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
    uint32_t code = first & (0x3FU >> more);
    for (int k = 1; k <= more; k++)
        code = code << 6 | (static_cast<unsigned char>(text[i + static_cast<size_t>(k)]) & 0x3FU);
    return code;
}

bool is_reference(std::string_view text, size_t i, const Document &document) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte >= 0x80 && byte < 0xC0)
        return false;  // within a character
    const uint32_t code = code_point_at(text, i);
    return code < 32 || std::string_view("<>&'\"").find(text[i]) != std::string_view::npos ||
           (code == 0x7F && document.encoding_type == 0) || code >= limit_of(document);
}

// A value: the blanks around it go, and those in front of the first character that is
// now a reference, because there the first run of text ends.
std::optional<std::string> value_after(const std::string &value, const Document &document) {
    const std::string text = without_blanks(value);
    if (text.empty())
        return std::nullopt;
    size_t end = 0;
    while (end < text.size() && !is_reference(text, end, document))
        end++;
    size_t kept = end;
    while (end < text.size() && kept > 0 && is_blank(text[kept - 1]))
        kept--;
    return text.substr(0, kept) + text.substr(end);
}

std::string spaced(const std::string &text) {
    std::string out;
    for (size_t i = 0; i < text.size(); i++) {
        out += text[i];
        if (text[i] == '-' && (i + 1 == text.size() || text[i + 1] == '-'))
            out += ' ';
    }
    return out;
}

std::string escaped(std::string_view text, const Document &document) {
    std::string out;
    size_t after = 0;
    for (size_t i = 0; i < text.size(); i++) {
        if (i < after)
            continue;
        if (!is_reference(text, i, document)) {
            out += text[i];
            continue;
        }
        const uint32_t code = code_point_at(text, i);
        char reference[16];
        std::snprintf(reference, sizeof reference, "&#x%02x;", code);
        out += code == '<'    ? "&lt;"
               : code == '>'  ? "&gt;"
               : code == '&'  ? "&amp;"
               : code == '\'' ? "&apos;"
               : code == '"'  ? "&quot;"
                              : reference;
        after = i + (code < 0x80 ? 1 : code < 0x800 ? 2 : code < 0x10000 ? 3 : 4);
    }
    return out;
}

std::optional<std::string> comment_after(const std::string &comment, size_t indent,
                                         const Document &document) {
    std::string out;
    std::istringstream lines(comment + "\n");
    for (std::string line; std::getline(lines, line);) {
        if (!out.empty() || lines.tellg() > static_cast<std::streamoff>(line.size() + 1))
            out.append("\n").append(indent + 5, ' ');
        // A hyphen at the end of a line has the newline behind it.
        line = without_blanks(line);
        const std::string apart = spaced(line);
        out += escaped(line.ends_with('-') ? apart.substr(0, apart.size() - 1) : apart, document);
    }
    out = without_blanks(out);
    if (out.empty())
        return std::nullopt;
    return out;
}

Node node_after(const Node &before, size_t indent, const Document &document) {
    Node after = before;
    if (before.value)
        after.value = value_after(*before.value, document);
    for (auto &[name, value] : after.attributes)
        value = without_blanks(value);
    if (before.comment)
        after.comment = comment_after(*before.comment, indent, document);
    after.children.clear();
    for (const Node &child : before.children)
        after.children.push_back(node_after(child, indent + 2, document));
    return after;
}

Document document_after(const Document &before) {
    Document after = before;
    if (!before.version)
        after.version = "1.0";
    // A declaration without an encoding leaves it unknown.
    if (!before.encoding)
        after.encoding_type = 0;
    for (std::string &comment : after.comments)
        comment = without_blanks(spaced(comment));
    if (!before.subset.empty())
        after.public_id.clear();
    if (after.public_id.empty())
        after.system_id.clear();
    after.top = node_after(before.top, 0, before);
    // It stands in front of the top element now.
    if (after.top.comment) {
        after.comments.push_back(*after.top.comment);
        after.top.comment.reset();
    }
    return after;
}

void forget_comments(Node *node) {
    node->comment.reset();
    for (Node &child : node->children)
        forget_comments(&child);
}

// --- what is compared, as text

void print(const Node &node, size_t level, std::string *out) {
    out->append(level, ' ').append(node.name).append(" ").append(node.indices);
    for (const auto &[name, value] : node.attributes)
        out->append(" ").append(name).append("=[").append(value).append("]");
    if (node.value)
        out->append(" = [").append(*node.value).append("]");
    if (node.comment)
        out->append(" # [").append(*node.comment).append("]");
    *out += '\n';
    for (const Node &child : node.children)
        print(child, level + 1, out);
}

std::string print(const Document &document) {
    std::string out = "version " + document.version.value_or("(none)") + "\nencoding " +
                      document.encoding.value_or("(none)") + "\nstandalone " +
                      std::to_string(document.standalone) + "\ntype " +
                      std::to_string(document.encoding_type) + "\n";
    for (const auto &[target, data] : document.instructions)
        out.append("instruction ").append(target).append(" [").append(data).append("]\n");
    for (const std::string &comment : document.comments)
        out.append("comment [").append(comment).append("]\n");
    out.append("doctype ").append(document.doctype).append(" [").append(document.subset);
    out.append("] ").append(document.public_id).append(" ").append(document.system_id).append("\n");
    print(document.top, 0, &out);
    return out;
}

// Where two texts part, a few lines of both.
std::string difference(const std::string &expected, const std::string &got) {
    const auto [a, b] = std::mismatch(expected.begin(), expected.end(), got.begin(), got.end());
    const auto at = static_cast<size_t>(a - expected.begin());
    const size_t from = at < 200 ? 0 : at - 200;
    return "expected ..." + expected.substr(from, 400) + "\ngot ..." + got.substr(from, 400);
}

// --- rounds

struct Refusal {
    int code = 0;
    std::string text;
};

// expat itself on the same bytes.
Refusal expat_on(const std::string &bytes) {
    const XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetUnknownEncodingHandler(parser, fsi::xml::on_unknown_encoding, nullptr);
    Refusal refusal;
    if (XML_Parse(parser, bytes.data(), static_cast<int>(bytes.size()), 1) != XML_STATUS_OK) {
        refusal.code = XML_GetErrorCode(parser);
        refusal.text = XML_ErrorString(static_cast<XML_Error>(refusal.code));
    }
    XML_ParserFree(parser);
    return refusal;
}

class RoundTrip : public testing::Test {
 protected:
    void SetUp() override {
        fsi_init_cfg();
        before_ = ZSetCOBOLCharSet(65001);
        std::string pattern = (fs::temp_directory_path() / "round_trip.XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder_ = pattern;
    }
    void TearDown() override {
        ZSetCOBOLCharSet(before_);
        fs::remove_all(folder_);
    }

    // Reads a file and writes it to another.
    Document round(const std::string &from, const std::string &to) {
        Document document;
        const ZHandle parser = ZxmlParser_new(from.c_str(), kWhole, 0);
        EXPECT_NE(parser, 0U) << *Zstdlib_f_int2_errno();
        if (parser == 0)
            return document;
        document = document_of(parser);
        EXPECT_EQ(ZxmlParser_write(parser, to.c_str()), 1);
        ZxmlParser_release(parser);
        return document;
    }

    void expect_rounds(const std::string &path) {
        const std::string one = (folder_ / "1.xml").string();
        const std::string two = (folder_ / "2.xml").string();
        const std::string three = (folder_ / "3.xml").string();
        const Document first = round(path, one);
        Document second = round(one, two);
        if (HasFailure())
            return;
        const Document expected = document_after(first);
        EXPECT_TRUE(second == expected) << difference(print(expected), print(second));
        Document third = round(two, three);
        second.comments.clear();
        third.comments.clear();
        forget_comments(&second.top);
        forget_comments(&third.top);
        EXPECT_TRUE(third == second) << difference(print(second), print(third));
    }

    // True when the document is well formed.
    bool try_document(const std::string &path) {
        std::ostringstream bytes;
        bytes << std::ifstream(path, std::ios::binary).rdbuf();
        const Refusal refusal = expat_on(bytes.str());
        if (refusal.code == 0) {
            expect_rounds(path);
            return true;
        }
        EXPECT_EQ(ZxmlParser_new(path.c_str(), kWhole, 0), 0U);
        int32_t number = 0;
        ZxmlParser_error(&number);
        EXPECT_EQ(number, ZXML_INVALID);
        EXPECT_EQ(*Zstdlib_f_errno(), 19);
        EXPECT_EQ(*Zstdlib_f_int2_errno(), refusal.code);
        EXPECT_EQ(std::string(*Zstdlib_f_errmsg()), refusal.text);
        return false;
    }

    std::string file_of(const std::string &bytes) {
        const std::string path = (folder_ / "source.xml").string();
        std::ofstream(path, std::ios::binary) << bytes;
        return path;
    }

    fs::path folder_;

 private:
    int before_ = 0;
};

TEST_F(RoundTrip, DocumentsByHand) {
    constexpr const char *kDocuments[] = {
        "<a/>",
        "<?xml version='1.0'?><a> x </a>",
        "<?xml version='1.1' standalone='yes'?><a>x <b>y</b> z</a>",
        "<a>first 'run' &amp; others </a>",
        "<a>tab \t newline \n &#10; end</a>",
        "<a><![CDATA[  ]]></a>",
        "<a>x<![CDATA[  ]]><b/></a>",
        "<a><![CDATA[  <x>  ]]><![CDATA[]]]]><![CDATA[>]]></a>",
        "<a b=' x&#10;y ' c='&lt;&quot;&apos;'/>",
        "<a><!-- one -- two --><b/></a>",
        "<a><!--one<&'\">\n  two-\n-three--><b/><!--end--></a>",
        "<a><!--x--><!--y--><b><!--z--></b></a>",
        "<!--1--><?p  data ?><!-- 2\n - generated by KESTREL v9\n--><a/><!--3--><?q?>",
        "<!DOCTYPE a SYSTEM 's'><a>&undefined;</a>",
        "<!DOCTYPE a PUBLIC 'p' \"s's\"><a/>",
        "<!DOCTYPE a PUBLIC 'p' 's' [\n<!ENTITY e ' v '><!-- don't --><?p d?>\n]><a>x &e; y</a>",
        "<!DOCTYPE a [<!ATTLIST a x CDATA 'd' y NMTOKENS ' p  q '>]><a/>",
        "<!DOCTYPE a [<!ELEMENT a (b|c)*><!NOTATION n SYSTEM 'x'>]><a><b/><c/></a>",
        "<?xml version='1.0' encoding='ISO-8859-1'?><a \xE9='\xE9'>\xE9 \xFC &#8364; x</a>",
        "<?xml version='1.0' encoding='iso-8859-2'?><?p \xB1?><a>x \xB1 y &#8364;<\xB1/></a>",
        "<?xml version='1.0' encoding='Windows-1252'?><!-- \x80 --><a b='\x80'>x \x80 \xE9</a>",
        "<?xml version='1.0' encoding='us-ascii'?><a>x &#8364; &#127;</a>",
        "<?xml version='1.0'?><a>x \x7F y</a>",
        "<a><b/><b/><c><b/><b>1</b></c><b/></a>",
        "<a",
        "<a>",
        "<a></b>",
        "",
        "x",
        "<a/><b/>",
        "<a x='1' x='2'/>",
        "<a>&e;</a>",
        "<?xml version='1.0' encoding='no-such'?><a/>",
        "<a>\x01</a>",
        "<a>\xFF</a>",
        "<?xml version='1.0' encoding='UTF-16'?><a/>",
        "<a><!-- -- --></a>",
    };
    int well_formed = 0;
    for (const char *document : kDocuments) {
        SCOPED_TRACE(document);
        well_formed += try_document(file_of(document)) ? 1 : 0;
    }
    EXPECT_GE(well_formed, 23);
}

// In code units of 16 bits, with and without mark and declaration.
TEST_F(RoundTrip, WideDocuments) {
    constexpr const char16_t *kDeclarations[] = {u"",
                                                 u"<?xml version='1.0'?>",
                                                 u"<?xml version='1.0' encoding='UTF-16'?>",
                                                 u"<?xml version='1.0' encoding='UTF-16LE'?>",
                                                 u"<?xml version='1.0' encoding='UTF-16BE'?>",
                                                 u"<?xml version='1.0' encoding='UTF-8'?>"};
    int well_formed = 0;
    for (const char16_t *declaration : kDeclarations) {
        for (const std::u16string mark : {u"", u"\uFEFF"}) {
            for (const bool is_big : {false, true}) {
                const std::u16string text =
                    mark + declaration + u"<!--é--><a b='é>'>x '\u20AC' y<!--Ā--><é/></a>";
                std::string bytes;
                for (const char16_t unit : text) {
                    const char pair[] = {static_cast<char>(unit & 0xFF),
                                         static_cast<char>(unit >> 8)};
                    bytes += pair[is_big ? 1 : 0];
                    bytes += pair[is_big ? 0 : 1];
                }
                SCOPED_TRACE(bytes);
                well_formed += try_document(file_of(bytes)) ? 1 : 0;
            }
        }
    }
    EXPECT_GE(well_formed, 14);
}

// Documents of all there is, in every encoding.
std::string generated(std::mt19937 *random) {
    const auto some = [&](unsigned n) { return static_cast<size_t>((*random)() % n); };
    struct Encoding {
        const char *declaration;
        std::vector<const char *> letters;
    };
    static const Encoding kEncodings[] = {
        {"", {"é", "€", "😀"}},
        {"<?xml version='1.0'?>", {"é", "€", "😀"}},
        {"<?xml version='1.0' encoding='UTF-8' standalone='no'?>", {"é", "€", "😀"}},
        {"<?xml version='1.0' encoding='ISO-8859-1'?>", {"\xE9", "&#8364;", "\xFC"}},
        {"<?xml version='1.0' encoding='ISO-8859-2'?>", {"\xB1", "&#8364;", "\xE9"}},
        {"<?xml version='1.0' encoding='Windows-1252'?>", {"\x80", "&#8984;", "\x9C"}},
        {"<?xml version='1.0' encoding='US-ASCII'?>", {"z", "&#8364;", "&#233;"}},
    };
    const Encoding &encoding = kEncodings[some(std::size(kEncodings))];
    const auto text = [&] {
        constexpr const char *kPieces[] = {"word", " ",     "  ",   "'",    "\"", "\n",
                                           "\t",   "&amp;", "&lt;", "&gt;", ">",  "-",
                                           "&e;",  "&#10;", "x",    "&#9;", "--", "]"};
        std::string out;
        for (size_t n = some(8); n > 0; n--)
            out += some(5) == 0 ? encoding.letters[some(3)] : kPieces[some(std::size(kPieces))];
        return out;
    };
    const auto comment = [&] {
        constexpr const char *kPieces[] = {"word", " ", "\n", "<", "&", "'", "- ", "\t", "x"};
        std::string out = "<!--";
        for (size_t n = some(8); n > 0; n--)
            out += kPieces[some(std::size(kPieces))];
        return out + "-->";
    };
    std::string out = encoding.declaration;
    if (some(2) == 0)
        out += comment();
    out += "<!DOCTYPE top [<!ENTITY e 'entity '>\n<!ATTLIST a d CDATA ' default '>]>";
    out += "<?p data?><top>";
    std::vector<std::string> open;
    for (size_t n = some(60); n > 0; n--) {
        switch (some(8)) {
            case 0:
            case 1:
            case 2: {
                open.push_back(std::string(1, static_cast<char>('a' + some(4))));
                out += "<" + open.back();
                if (some(2) == 0) {
                    std::string value = text();
                    std::erase(value, '"');
                    out += " x=\"" + value + "\"";
                }
                out += ">";
                break;
            }
            case 3:
                out += text();
                break;
            case 4:
                out += comment();
                break;
            case 5:
                out += some(2) == 0 ? "<![CDATA[ <x> ]]>" : "<![CDATA[  ]]>";
                break;
            default:
                if (!open.empty()) {
                    out += "</" + open.back() + ">";
                    open.pop_back();
                }
        }
    }
    for (; !open.empty(); open.pop_back())
        out += "</" + open.back() + ">";
    return out + "</top>" + (some(2) == 0 ? comment() : "");
}

TEST_F(RoundTrip, GeneratedDocuments) {
    std::mt19937 random(4711);
    int well_formed = 0;
    for (int i = 0; i < 400 && !HasFailure(); i++) {
        const std::string document = generated(&random);
        SCOPED_TRACE(document);
        well_formed += try_document(file_of(document)) ? 1 : 0;
        // Cut anywhere it is none.
        if (i % 5 == 0)
            try_document(file_of(document.substr(0, random() % document.size())));
    }
    EXPECT_EQ(well_formed, 400);
}

TEST_F(RoundTrip, FilesAtHand) {
    const char *folders = getenv("WBFSI_XML_FILES");
    std::istringstream list(folders == nullptr ? "/usr/share" : folders);
    int well_formed = 0;
    int refused = 0;
    uintmax_t bytes = 0;
    for (std::string folder; std::getline(list, folder, ':');) {
        std::error_code error;
        const auto options = fs::directory_options::skip_permission_denied;
        for (fs::recursive_directory_iterator at(folder, options, error), end; !error && at != end;
             at.increment(error)) {
            const fs::path &path = at->path();
            if ((path.extension() != ".xml" && path.extension() != ".svg") ||
                at->is_symlink(error) || !at->is_regular_file(error))
                continue;
            SCOPED_TRACE(path);
            bytes += at->file_size(error);
            (try_document(path.string()) ? well_formed : refused)++;
        }
    }
    std::printf("%d well-formed files and %d others, %ju bytes\n", well_formed, refused, bytes);
    if (folders != nullptr) {
        EXPECT_GT(well_formed, 0) << folders << ": scripts/xml_documents.sh unpacks documents";
    }
}

}  // namespace
