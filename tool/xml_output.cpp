// SPDX-License-Identifier: MIT
#include "tool/xml_output.h"

#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>

#include "host/charset.h"
#include "tool/failure.h"
#include "tool/xml_excerpt.h"
#include "tool/xml_source.h"
#include "wbfsi/xml_element.h"
#include "wbfsi/xml_parser.h"
#include "wbfsi/xml_writer.h"

namespace tool {

XmlOutput::XmlOutput(const std::string &path) {
    if (path.empty()) {
        throw Failure("--output: the name is empty; that of a file, or -, would be right");
    }
    if (path == "-") {
        stream_.emplace(STDOUT_FILENO);
    } else {
        file_.emplace(path);
    }
}

void XmlOutput::put(std::string_view bytes) {
    if (file_) {
        file_->write(bytes.data(), bytes.size());
    } else {
        stream_->put(bytes);
    }
}

void XmlOutput::abandon() {
    if (stream_) {
        stream_->flush();
    }
}

void XmlOutput::finish() {
    if (file_) {
        file_->commit();
    } else {
        stream_->flush();
    }
}

XmlParser::~XmlParser() {
    if (handle_ != 0) {
        ZxmlParser_release(handle_);
    }
}

XmlText new_xml_text() {
    constexpr size_t kCapacity = 4096;
    XmlText text(ZSTRINGNew(kCapacity, "XML output of the tool", "tool/xml_output"));
    if (text == nullptr) {
        throw std::bad_alloc();
    }
    return text;
}

std::string_view view_of(const XmlText &text) {
    return {ZStringGet(text.get()), ZStringGetLength(text.get())};
}

XmlText written_document(ZHandle parser) {
    XmlText text(ZxmlParser_write_memory(parser));
    if (text == nullptr) {
        throw std::bad_alloc();
    }
    return text;
}

int type_of_encoding(const std::string &name) {
    const int type = Zencoding_name_to_type(name.c_str());
    if (type != kXmlUtf8 && type != kXmlUtf16Le && type != kXmlUtf16Be && type != kXmlLatin1) {
        throw Failure("--encoding " + name +
                      ": is no encoding that documents are written in; UTF-8, UTF-16LE (also "
                      "UTF-16), UTF-16BE and ISO-8859-1 would be right");
    }
    return type;
}

void set_encoding(ZHandle parser, int type) {
    // A document that has the encoding already may not declare it.
    const int other = type == kXmlUtf8 ? kXmlLatin1 : kXmlUtf8;
    if (ZxmlParser_set_encoding(parser, Zencoding_type_to_name(other)) == 0 ||
        ZxmlParser_set_encoding(parser, Zencoding_type_to_name(type)) == 0) {
        throw std::bad_alloc();
    }
}

int wide_type_of(std::string_view document) {
    if (document.size() < 2) {
        return 0;
    }
    if (document[0] == '<' && document[1] == '\0') {
        return kXmlUtf16Le;
    }
    return document[0] == '\0' && document[1] == '<' ? kXmlUtf16Be : 0;
}

std::string_view mark_needed(std::string_view document, const char *encoding) {
    if (encoding != nullptr && strcasecmp(encoding, "UTF-16") != 0) {
        return "";
    }
    switch (wide_type_of(document)) {
        case kXmlUtf16Le:
            return "\xFF\xFE";
        case kXmlUtf16Be:
            return "\xFE\xFF";
        default:
            return "";
    }
}

std::string_view without_declaration(std::string_view document) {
    const size_t end = document.find("?>");
    return end == std::string_view::npos ? document : document.substr(end + 2);
}

void refuse_lost_characters(const std::string &name, std::string_view utf8,
                            std::string_view latin1) {
    size_t j = 0;
    for (size_t i = 0; i < utf8.size() && j < latin1.size();) {
        const Utf8Character character = utf8_character(utf8.substr(i));
        if (character.code_point < 0x100) {
            i += character.size;
            j++;
            continue;
        }
        if (latin1[j] != '&') {
            char number[16];
            snprintf(number, sizeof number, "U+%04X", static_cast<unsigned>(character.code_point));
            throw XmlFailure(name + ": cannot be written in ISO-8859-1: " + number +
                                 " stands where no reference can stand for it; UTF-8 would be "
                                 "right",
                             xml_excerpt(utf8, i, 0, {}));
        }
        i += character.size;
        j = latin1.find(';', j);
        j = j == std::string_view::npos ? latin1.size() : j + 1;
    }
}

void refuse_deep_nesting(const std::string &name, ZHandle top) {
    constexpr uint64_t kFewLevels = 100;
    constexpr uint64_t kMostBlanks = uint64_t{1} << 28;
    uint64_t blanks = 0;  // of elements below some levels
    uint64_t depth = 0;
    ZHandle element = top;
    while (true) {
        if (depth > kFewLevels) {
            // The lines of both tags and of the attributes, two blanks a level.
            const auto attributes =
                static_cast<uint64_t>(std::max<int32_t>(ZxmlElem_attribute_count(element), 0));
            blanks += 2 * depth * (2 + attributes);
            if (blanks > kMostBlanks) {
                throw Failure(name + ": elements are nested " + std::to_string(depth) +
                              " levels deep: indented, the blanks in front of them would take "
                              "more than 256 MB");
            }
        }
        if (const ZHandle child = ZxmlElem_first_child(element); child != 0) {
            element = child;
            depth++;
            continue;
        }
        while (depth > 0) {
            if (const ZHandle sibling = ZxmlElem_next_sibling(element); sibling != 0) {
                element = sibling;
                break;
            }
            element = ZxmlElem_parent(element);
            depth--;
        }
        if (depth == 0) {
            return;
        }
    }
}

}  // namespace tool
