// SPDX-License-Identifier: MIT
//
// XML documents for tests: read through a host whose one file (and standard input)
// gives as few bytes a read as the test says, and printed in a canonical form.
// Include it in one source of a test program only: it defines the host's file
// services, which then stand in front of the reference host's.
#ifndef TESTS_SUPPORT_TEST_DOCUMENT_H
#define TESTS_SUPPORT_TEST_DOCUMENT_H

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "host/charset.h"
#include "host/config.h"
#include "host/errors.h"
#include "host/files.h"
#include "wbfsi/xml_element.h"
#include "wbfsi/xml_parser.h"

struct ZFile {
    std::string_view bytes;
    size_t next = 0;
    size_t most = SIZE_MAX;      // bytes a read
    size_t fails_at = SIZE_MAX;  // offset from which on reads fail with EIO
    bool has_failed = false;
    int opened = 0;
    int closed = 0;
    int removed = 0;
    int closed_at_removal = -1;
    int reads = 0;
};

namespace support {

constexpr const char *kFileName = "the-file.xml";
inline ZFile the_file;
inline ZFile the_input;

constexpr uint32_t kUsual = ZXML_READ_USUAL;

inline void clear_errors() {
    *Zstdlib_f_errno() = 0;
    *Zstdlib_f_int_errno() = 0;
    *Zstdlib_f_int2_errno() = 0;
    *Zstdlib_f_errmsg() = nullptr;
}

// "19 5 3 no element found", "8": the codes that the file error has set.
inline std::string told_error() {
    const int code = *Zstdlib_f_errno();
    std::string text = std::to_string(code);
    if (code == 19) {
        text += ' ' + std::to_string(*Zstdlib_f_int_errno());
        text += ' ' + std::to_string(*Zstdlib_f_int2_errno());
        text += std::string(" ") + *Zstdlib_f_errmsg();
    }
    if (code == 1)
        text += ' ' + std::to_string(*Zstdlib_f_int2_errno());
    return text;
}

inline int32_t parser_error() {
    int32_t number = -1;
    ZxmlParser_error(&number);
    return number;
}

template <typename Get>
std::string fetched(Get get) {
    const int32_t length = get(nullptr, 0);
    if (length < 0)
        return "(none)";
    std::string text(static_cast<size_t>(length) + 1, '#');
    get(text.data(), static_cast<int32_t>(text.size()));
    text.resize(static_cast<size_t>(length));
    return text;
}

inline std::string name_of(ZHandle element) {
    return fetched([&](char *b, int32_t n) { return ZxmlElem_name(element, b, n); });
}
inline std::string value_of(ZHandle element) {
    return fetched([&](char *b, int32_t n) { return ZxmlElem_value(element, b, n); });
}
inline std::string comment_of(ZHandle element) {
    return fetched([&](char *b, int32_t n) { return ZxmlElem_get_comment(element, b, n); });
}

// One line an element, indented by a blank a level:
// name[indices] attribute="..." = "value" # "comment"
inline std::string print_line(ZHandle element) {
    std::string line = name_of(element);
    const int32_t depth = ZxmlElem_array_depth(element);
    for (int32_t i = 0; i <= depth; i++) {
        line += i == 0 ? '[' : ',';
        line += std::to_string(ZxmlElem_array_index(element, i));
    }
    if (depth >= 0)
        line += ']';
    const auto count = static_cast<uint32_t>(ZxmlElem_attribute_count(element));
    for (uint32_t i = 0; i < count; i++) {
        line += ' ';
        line +=
            fetched([&](char *b, int32_t n) { return ZxmlElem_attribute_name(element, i, b, n); });
        line += "=\"";
        line +=
            fetched([&](char *b, int32_t n) { return ZxmlElem_attribute_value(element, i, b, n); });
        line += '"';
    }
    if (const std::string value = value_of(element); value != "(none)")
        line += std::string(" = \"") + value + "\"";
    if (const std::string comment = comment_of(element); comment != "(none)")
        line += std::string(" # \"") + comment + "\"";
    return line + "\n";
}

inline std::string print_tree(ZHandle top) {
    if (ZxmlElem_is_element(top) == 0)
        return "(no element)\n";
    std::string text;
    std::string indent;
    for (ZHandle at = top; at != 0;) {
        text += indent + print_line(at);
        if (const ZHandle child = ZxmlElem_first_child(at); child != 0) {
            at = child;
            indent += ' ';
            continue;
        }
        while (at != top && ZxmlElem_next_sibling(at) == 0) {
            at = ZxmlElem_parent(at);
            indent.pop_back();
        }
        at = at == top ? 0 : ZxmlElem_next_sibling(at);
    }
    return text;
}

inline std::string print_prolog(ZHandle parser) {
    std::string text;
    if (const char *version = ZxmlParser_get_version(parser); version != nullptr)
        text += std::string("version ") + version + "\n";
    if (const char *encoding = ZxmlParser_get_encoding(parser); encoding != nullptr)
        text += std::string("encoding ") + encoding + "\n";
    text += std::string("standalone ") + std::to_string(ZxmlParser_get_standalone(parser)) + "\n";
    const int32_t count = ZxmlParser_processing_instruction_count(parser);
    for (int32_t i = 0; i + 1 < count; i++) {
        const auto number = static_cast<uint32_t>(i);
        text += "instruction ";
        text += fetched([&](char *b, int32_t n) {
            return ZxmlParser_get_processing_instruction_target(parser, number, b, n);
        });
        text += ' ';
        text += fetched([&](char *b, int32_t n) {
            return ZxmlParser_get_processing_instruction_data(parser, number, b, n);
        });
        text += '\n';
    }
    if (const std::string comment =
            fetched([&](char *b, int32_t n) { return ZxmlParser_get_comment(parser, b, n); });
        comment != "(none)")
        text += std::string("comment ") + comment + "\n";
    return text;
}

enum class Source { kFile, kInput, kMemory };

// Opens a document whose bytes stay where they are.
inline ZHandle open_document(std::string_view bytes, Source source, size_t most, uint32_t flags) {
    clear_errors();
    ZFile &file = source == Source::kInput ? the_input : the_file;
    file = {};
    file.bytes = bytes;
    file.most = most;
    switch (source) {
        case Source::kMemory:
            return ZxmlParser_new(bytes.data(), flags, static_cast<int32_t>(bytes.size()));
        case Source::kInput:
            return ZxmlParser_new("-", flags, 0);
        default:
            return ZxmlParser_new(kFileName, flags, 0);
    }
}

inline ZHandle open_file(std::string_view bytes, uint32_t flags) {
    return open_document(bytes, Source::kFile, SIZE_MAX, flags);
}

// The tree of a document; the error when there was one.
inline std::string read_document(std::string_view bytes, Source source, size_t most, bool by_record,
                                 uint32_t flags = kUsual) {
    const ZHandle parser =
        open_document(bytes, source, most, by_record ? flags : flags | ZXML_WHOLE);
    if (parser == 0)
        return told_error();
    if (by_record) {
        while (ZxmlParser_parse_record(parser) != 0) {
        }
    }
    std::string text =
        *Zstdlib_f_errno() == 8 ? print_tree(ZxmlParser_top_element(parser)) : told_error();
    ZxmlParser_release(parser);
    return text;
}

inline std::string read_whole(std::string_view bytes, uint32_t flags = kUsual) {
    return read_document(bytes, Source::kFile, SIZE_MAX, false, flags);
}

// The program's character set is UTF-8 while it lives.
class Utf8Program {
 public:
    Utf8Program() : before_(ZSetCOBOLCharSet(65001)) {}
    ~Utf8Program() { ZSetCOBOLCharSet(before_); }
    Utf8Program(const Utf8Program &) = delete;
    Utf8Program &operator=(const Utf8Program &) = delete;

 private:
    int before_;
};

}  // namespace support

ZFile *os_fopen(const char *path, const char *, int) {
    if (std::strcmp(path, support::kFileName) != 0) {
        errno = ENOENT;
        return nullptr;
    }
    support::the_file.opened++;
    return &support::the_file;
}

ZFile *os_stdin(void) {
    return &support::the_input;
}

size_t os_fread(void *buffer, size_t bytes, ZFile *file) {
    file->reads++;
    if (file->next >= file->fails_at) {
        file->has_failed = true;
        errno = EIO;
        return 0;
    }
    const size_t left = std::min(file->bytes.size(), file->fails_at) - file->next;
    const size_t n = std::min({bytes, file->most, left});
    std::memcpy(buffer, file->bytes.data() + file->next, n);
    file->next += n;
    return n;
}

int os_ferror(ZFile *file) {
    return file->has_failed ? 1 : 0;
}

int os_fclose(ZFile *file) {
    file->closed++;
    return 1;
}

int os_unlink(const char *path) {
    if (std::strcmp(path, support::kFileName) == 0) {
        support::the_file.removed++;
        support::the_file.closed_at_removal = support::the_file.closed;
    }
    return 1;
}

#endif
