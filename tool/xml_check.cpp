// SPDX-License-Identifier: MIT
#include "tool/xml_check.h"

#include <expat.h>
#include <strings.h>

#include <new>

#include "host/charset.h"

namespace tool {

namespace {

constexpr int kWindows1252 = 1252;
constexpr int kLatin1 = 28591;
constexpr int kLatin2 = 28592;
constexpr int kUtf8 = 65001;

ByteCodes codes_of_page(int page) {
    ByteCodes codes;
    const int before = ZSetCOBOLCharSet(page);
    for (size_t i = 0; i < codes.size(); i++) {
        const char byte = static_cast<char>(i);
        char utf8[4];
        const int32_t size = ZCOBOLCharSetToUTF8(&byte, 1, utf8, sizeof utf8);
        codes[i] = size <= 0 ? 0 : utf8_character({utf8, static_cast<size_t>(size)}).code_point;
    }
    ZSetCOBOLCharSet(before >= 0 ? before : kUtf8);
    // Bytes of that page without a meaning are the code points of their own numbers;
    // to the library they are none.
    if (page == kWindows1252) {
        for (int i = 0x80; i < 0xA0; i++) {
            int &code = codes[static_cast<size_t>(i)];
            code = code == i ? -1 : code;
        }
    }
    return codes;
}

void XMLCALL on_declaration(void *check, const XML_Char *, const XML_Char *encoding, int) {
    static_cast<XmlCheck *>(check)->on_encoding(encoding);
}

int XMLCALL on_unknown_encoding(void *check, const XML_Char *name, XML_Encoding *info) {
    const ByteCodes *codes = static_cast<XmlCheck *>(check)->find_codes(name);
    if (codes == nullptr) {
        return XML_STATUS_ERROR;
    }
    for (size_t i = 0; i < codes->size(); i++) {
        info->map[i] = (*codes)[i];
    }
    info->data = nullptr;
    info->convert = nullptr;
    info->release = nullptr;
    return XML_STATUS_OK;
}

// expat's text, and what it leaves open.
std::string in_words(XML_Error error, bool is_empty) {
    const XML_LChar *text = XML_ErrorString(error);
    std::string result = text != nullptr ? text : "error " + std::to_string(error);
    if (error == XML_ERROR_NO_ELEMENTS) {
        result += is_empty ? "; the document is empty"
                           : "; the document ends before the end tag of its top element";
    } else if (error == XML_ERROR_UNKNOWN_ENCODING) {
        result +=
            "; UTF-8, UTF-16, US-ASCII, ISO-8859-1, ISO-8859-2 and Windows-1252 would be right";
    }
    return result;
}

}  // namespace

void XmlCheck::Free::operator()(XML_ParserStruct *parser) const {
    XML_ParserFree(parser);
}

XmlCheck::XmlCheck()
    : parser_(XML_ParserCreate(nullptr)),
      windows1252_(codes_of_page(kWindows1252)),
      latin1_(codes_of_page(kLatin1)),
      latin2_(codes_of_page(kLatin2)) {
    if (parser_ == nullptr) {
        throw std::bad_alloc();
    }
    XML_SetUserData(parser_.get(), this);
    XML_SetXmlDeclHandler(parser_.get(), on_declaration);
    XML_SetUnknownEncodingHandler(parser_.get(), on_unknown_encoding, this);
}

XmlCheck::~XmlCheck() = default;

const ByteCodes *XmlCheck::find_codes(const char *name) const {
    if (strcasecmp(name, "Windows-1252") == 0) {
        return &windows1252_;
    }
    return strcasecmp(name, "ISO-8859-2") == 0 ? &latin2_ : nullptr;
}

void XmlCheck::on_encoding(const char *name) {
    if (name == nullptr || form_.unit != XmlTextForm::kBytes) {
        return;
    }
    form_.codes = strcasecmp(name, "ISO-8859-1") == 0 ? &latin1_ : find_codes(name);
}

// By the byte-order mark, or by how the first "<" is written.
void XmlCheck::note_form(const char *bytes, size_t size) {
    for (size_t i = 0; i < size && fed_bytes_ + i < 2; i++) {
        first_bytes_[fed_bytes_ + i] = static_cast<unsigned char>(bytes[i]);
    }
    const unsigned first = first_bytes_[0];
    const unsigned second = first_bytes_[1];
    if (fed_bytes_ + size < 2) {
        return;
    }
    if ((first == 0xFF && second == 0xFE) || (first == '<' && second == 0)) {
        form_.unit = XmlTextForm::kLittleUnits;
    } else if ((first == 0xFE && second == 0xFF) || (first == 0 && second == '<')) {
        form_.unit = XmlTextForm::kBigUnits;
    }
}

void XmlCheck::note_fault() {
    XML_Parser parser = parser_.get();
    const XML_Error error = XML_GetErrorCode(parser);
    if (error == XML_ERROR_NO_MEMORY) {
        throw std::bad_alloc();
    }
    XmlFault fault;
    fault.line = XML_GetCurrentLineNumber(parser);
    fault.column = uint64_t{XML_GetCurrentColumnNumber(parser)} + 1;
    fault.what = in_words(error, fed_bytes_ == 0);
    int place = 0;
    int size = 0;
    const char *context = XML_GetInputContext(parser, &place, &size);
    if (context != nullptr && size > 0 && place >= 0) {
        fault.excerpt = xml_excerpt({context, static_cast<size_t>(size)},
                                    static_cast<size_t>(place), fault.column, form_);
    }
    fault_ = std::move(fault);
}

bool XmlCheck::feed(const char *bytes, size_t size) {
    if (fed_bytes_ < 2) {
        note_form(bytes, size);
    }
    fed_bytes_ += size;
    if (XML_Parse(parser_.get(), bytes, static_cast<int>(size), XML_FALSE) != XML_STATUS_OK) {
        note_fault();
    }
    return !fault_;
}

bool XmlCheck::finish() {
    if (XML_Parse(parser_.get(), "", 0, XML_TRUE) != XML_STATUS_OK) {
        note_fault();
    }
    return !fault_;
}

}  // namespace tool
