// SPDX-License-Identifier: MIT
#include "tool/xml_check.h"

#include <expat.h>
#include <strings.h>

#include <algorithm>
#include <cstring>
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

void XMLCALL on_entity_declaration(void *check, const XML_Char *name, int is_parameter,
                                   const XML_Char *text, int size, const XML_Char *,
                                   const XML_Char *, const XML_Char *, const XML_Char *) {
    if (is_parameter == 0 && text != nullptr) {
        static_cast<XmlCheck *>(check)->on_entity(name, {text, static_cast<size_t>(size)});
    }
}

int XMLCALL on_not_standalone(void *check) {
    static_cast<XmlCheck *>(check)->on_outside_entities();
    return XML_STATUS_OK;
}

void XMLCALL on_start_element(void *check, const XML_Char *, const XML_Char **) {
    static_cast<XmlCheck *>(check)->on_start_tag();
}

void XMLCALL on_skipped_entity(void *check, const XML_Char *name, int is_parameter) {
    if (is_parameter == 0) {
        static_cast<XmlCheck *>(check)->on_missing_text(name);
    }
}

int XMLCALL on_external_entity(XML_Parser parser, const XML_Char *, const XML_Char *,
                               const XML_Char *system_id, const XML_Char *) {
    static_cast<XmlCheck *>(XML_GetUserData(parser))
        ->on_missing_text(system_id != nullptr ? system_id : "");
    return XML_STATUS_ERROR;
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

// A name or address, for a message.
std::string shortened(std::string_view name) {
    constexpr size_t kMost = 60;
    size_t size = std::min(kMost, name.size());
    while (size < name.size() && (static_cast<unsigned char>(name[size]) & 0xC0) == 0x80) {
        size--;
    }
    return '"' + std::string(name.substr(0, size)) + (size < name.size() ? "...\"" : "\"");
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

XmlCheck::XmlCheck(Outside outside)
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
    if (outside == Outside::kRefused) {
        XML_SetEntityDeclHandler(parser_.get(), on_entity_declaration);
        XML_SetNotStandaloneHandler(parser_.get(), on_not_standalone);
        XML_SetSkippedEntityHandler(parser_.get(), on_skipped_entity);
        XML_SetExternalEntityRefHandler(parser_.get(), on_external_entity);
    }
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

void XmlCheck::on_entity(const char *name, std::string_view text) noexcept {
    try {
        entities_.declare(name, text);
    } catch (...) {
        stop_with_exception();
    }
}

// Of a reference in an attribute to an entity that may be declared elsewhere expat says
// nothing.
void XmlCheck::on_outside_entities() {
    XML_SetStartElementHandler(parser_.get(), on_start_element);
}

void XmlCheck::on_start_tag() noexcept {
    try {
        size_t place = 0;
        const size_t size = static_cast<size_t>(XML_GetCurrentByteCount(parser_.get()));
        const std::string_view text = context(&place);
        const std::string_view tag = text.substr(place, size);
        if (tag.find('&') == tag.npos) {
            return;
        }
        if (const auto name = entities_.find_missing(utf8_text(tag, form_))) {
            on_missing_text(*name);
        }
    } catch (...) {
        stop_with_exception();
    }
}

void XmlCheck::on_missing_text(std::string_view entity) noexcept {
    if (fault_ || exception_) {
        return;
    }
    try {
        note_fault("the text of the entity " + shortened(entity) +
                   " is outside of the document, and nothing is fetched: it would be lost; a "
                   "declaration with its text in the DOCTYPE would be right");
        XML_StopParser(parser_.get(), XML_FALSE);
    } catch (...) {
        stop_with_exception();
    }
}

void XmlCheck::stop_with_exception() noexcept {
    exception_ = std::current_exception();
    XML_StopParser(parser_.get(), XML_FALSE);
}

// By the byte-order mark, or by how the first "<" is written.
void XmlCheck::note_form(const char *bytes, size_t size) {
    using namespace std::string_view_literals;
    const auto before = static_cast<size_t>(fed_bytes_);
    const size_t more = std::min(size, sizeof first_bytes_ - before);
    memcpy(first_bytes_ + before, bytes, more);
    const std::string_view first(first_bytes_, before + more);
    const bool has_mark = first.starts_with("\xFF\xFE"sv) || first.starts_with("\xFE\xFF"sv);
    if (first.starts_with("\xFF\xFE"sv) || first.starts_with("<\0"sv)) {
        form_.unit = XmlTextForm::kLittleUnits;
    } else if (first.starts_with("\xFE\xFF"sv) || first.starts_with("\0<"sv)) {
        form_.unit = XmlTextForm::kBigUnits;
    }
    mark_size_ = has_mark ? 2 : first == "\xEF\xBB\xBF"sv ? 3 : 0;
}

// What expat has of the document around the place where it is, which is in `place`.
std::string_view XmlCheck::context(size_t *place) const {
    int offset = 0;
    int size = 0;
    const char *text = XML_GetInputContext(parser_.get(), &offset, &size);
    if (text == nullptr || size <= 0 || offset < 0 || offset > size) {
        *place = 0;
        return "";
    }
    *place = static_cast<size_t>(offset);
    return {text, static_cast<size_t>(size)};
}

void XmlCheck::note_fault(std::string what) {
    XML_Parser parser = parser_.get();
    XmlFault fault;
    fault.line = XML_GetCurrentLineNumber(parser);
    fault.column = uint64_t{XML_GetCurrentColumnNumber(parser)} + 1;
    fault.what = std::move(what);
    size_t place = 0;
    std::string_view text = context(&place);
    if (fault.line == 1 && mark_size_ > 0 && fault.column > 1) {
        fault.column--;
    }
    const bool is_from_start = XML_GetCurrentByteIndex(parser) == static_cast<XML_Index>(place);
    if (is_from_start && place >= mark_size_) {
        text.remove_prefix(mark_size_);
        place -= mark_size_;
    }
    if (!text.empty()) {
        fault.excerpt = xml_excerpt(text, place, fault.column, form_);
    }
    fault_ = std::move(fault);
}

bool XmlCheck::took(int status) {
    if (exception_) {
        std::rethrow_exception(exception_);
    }
    if (status == XML_STATUS_OK || fault_) {
        return !fault_;
    }
    const XML_Error error = XML_GetErrorCode(parser_.get());
    if (error == XML_ERROR_NO_MEMORY) {
        throw std::bad_alloc();
    }
    note_fault(in_words(error, fed_bytes_ <= mark_size_));
    return false;
}

bool XmlCheck::feed(const char *bytes, size_t size) {
    if (fed_bytes_ < sizeof first_bytes_) {
        note_form(bytes, size);
    }
    fed_bytes_ += size;
    return took(XML_Parse(parser_.get(), bytes, static_cast<int>(size), XML_FALSE));
}

bool XmlCheck::finish() {
    return took(XML_Parse(parser_.get(), "", 0, XML_TRUE));
}

}  // namespace tool
