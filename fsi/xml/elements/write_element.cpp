// SPDX-License-Identifier: MIT
//
// Elements and pieces of text, written.
#include <algorithm>
#include <cstring>

#include "fsi/xml/elements/output.h"
#include "fsi/xml/elements/wall.h"
#include "host/config.h"
#include "wbfsi/xml_writer.h"

namespace fsi::xml {
namespace {

constexpr size_t kAttributeIndent = 5;
constexpr size_t kChildIndent = 2;
constexpr int32_t kAsItIs = 1;  // an output encoding that changes no byte

int16_t keep_whitespace = -1;  // as configured; negative: not read

void write_comments(Output *out, std::string_view comments, size_t indent, uint32_t flags) {
    out->put_blanks(indent);
    out->put("<!-- ");
    while (true) {
        const size_t newline = comments.find('\n');
        if (newline == comments.npos)
            break;
        out->put_comment(comments.substr(0, newline), flags, false);
        out->put('\n');
        out->put_blanks(indent + kAttributeIndent);
        comments.remove_prefix(newline + 1);
    }
    out->put_comment(comments, flags, true);
    out->put(" -->\n");
}

// Up to the start tag's end and the value; all of an element without children.
void write_start(Output *out, const Element &element, size_t indent, uint32_t flags) {
    if (const TextBlock *comments = element.comments(); comments != nullptr && comments->length > 0)
        write_comments(out, comments->view(), indent, flags);
    out->put_blanks(indent);
    out->put('<');
    out->put(element.name->view());
    for (const Attribute &attribute : attributes_of(element)) {
        out->put('\n');
        out->put_blanks(indent + kAttributeIndent);
        out->put(attribute.name->view());
        out->put("=\"");
        out->put_escaped(attribute.value->view(), flags);
        out->put('"');
    }
    const std::string_view value = element.value();
    if (value.empty() && element.has_children == 0) {
        out->put("/>\n");
        return;
    }
    out->put('>');
    out->put_escaped(value, flags);
    if (element.has_children != 0) {
        out->put('\n');
        return;
    }
    out->put("</");
    out->put(element.name->view());
    out->put(">\n");
}

void write_end(Output *out, const Element &element, size_t indent) {
    out->put_blanks(indent);
    out->put("</");
    out->put(element.name->view());
    out->put(">\n");
}

}  // namespace

uint32_t text_flags() {
    if (keep_whitespace < 0)
        keep_whitespace = std::max<int16_t>(ZCGetValueShort("XML_KEEP_WHITESPACE", 0), 0);
    const bool keeps = keep_whitespace == 2 || keep_whitespace == 3;
    return keeps ? ZXML_ESCAPE : ZXML_ESCAPE | ZXML_TRIM;
}

void forget_text_flags() {
    keep_whitespace = -1;
}

void write_element(Output *out, const Element &top, size_t indent, uint32_t flags) {
    const Element *element = &top;
    while (true) {
        write_start(out, *element, indent, flags);
        if (element->has_children != 0) {
            element = element->child;
            indent += kChildIndent;
            continue;
        }
        while (element != &top && element->next == nullptr) {
            element = element->parent;
            indent -= kChildIndent;
            write_end(out, *element, indent);
        }
        if (element == &top)
            return;
        element = element->next;
    }
}

}  // namespace fsi::xml

using namespace fsi::xml;

namespace {

// The result of the writing functions.
int32_t finish(Output *out) {
    out->finish();
    return static_cast<int32_t>(std::min<int64_t>(out->written(), INT32_MAX));
}

void put_stretch(Output *out, std::string_view text, uint32_t flags) {
    if ((flags & ZXML_ESCAPE) != 0)
        out->put_escaped(text, flags);
    else
        out->put(text);
}

}  // namespace

int32_t ZxmlElem_write_with_encoding(void *target, int32_t encoding_type,
                                     const ZxmlTextPiece *piece, uint32_t flags) {
    if (piece == nullptr || piece->text == nullptr)
        return 0;
    const size_t given =
        piece->length < 0 ? std::strlen(piece->text) : static_cast<size_t>(piece->length);
    if ((flags & ZXML_ESCAPE) != 0) {
        Output out(target, encoding_type);
        out.put_escaped({piece->text, given}, flags, piece->code_page);
        return finish(&out);
    }
    const size_t terminated = strnlen(piece->text, given);
    const bool is_utf8 = encoding_type == -1 || encoding_type == 0 || encoding_type == 2;
    const bool converts = encoding_type == 3 || encoding_type == 5 || encoding_type == 7;
    // Where no text is left to convert, the bytes are written as they are, as they are
    // in encodings without a conversion.
    const bool is_cut = is_utf8 || (converts && terminated > 0);
    Output out(target, is_cut ? encoding_type : kAsItIs);
    out.put({piece->text, is_cut ? terminated : given});
    return finish(&out);
}

int32_t ZxmlElem_write_ascii(void *target, int32_t encoding_type, const char *text,
                             uint32_t flags) {
    if (text == nullptr)
        return 0;
    Output out(target, encoding_type);
    std::string_view rest = text;
    while (true) {
        const size_t newline = rest.find('\n');
        put_stretch(&out, rest.substr(0, newline), flags);
        if (newline == rest.npos)
            return finish(&out);
        out.put('\n');
        rest.remove_prefix(newline + 1);
    }
}

int32_t ZxmlElem_write_newline(void *target, int32_t encoding_type) {
    return ZxmlElem_write_ascii(target, encoding_type, "\n", 0);
}

int ZxmlElem_write(void *target, int32_t encoding_type, ZHandle handle, int32_t indent) {
    const Element *element = require_element(handle);
    if (element == nullptr)
        return 0;
    {
        Output out(target, encoding_type);
        write_element(&out, *element, static_cast<size_t>(std::max(indent, 0)), text_flags());
    }
    if (indent == 0)
        forget_text_flags();
    return 1;
}
