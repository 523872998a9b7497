// SPDX-License-Identifier: MIT
#include "tool/xml_records.h"

#include <cerrno>
#include <new>
#include <string>

#include "host/charset.h"
#include "host/errors.h"
#include "tool/interrupt.h"
#include "wbfsi/xml_parser.h"
#include "wbfsi/xml_writer.h"

namespace tool {

namespace {

constexpr int kEndOfDocument = 8;  // a file error of the library
constexpr int32_t kIndent = 2;     // of the children of the top element
// Of what stands in lines of its own between the records: blanks around it are layout.
constexpr uint32_t kTextFlags = ZXML_ESCAPE | ZXML_TRIM;

// A text of the library by its two calls; empty when there is none.
template <typename Get>
std::string text_from(Get get) {
    const int32_t length = get(nullptr, 0);
    if (length <= 0) {
        return "";
    }
    std::string text(static_cast<size_t>(length) + 1, '\0');
    get(text.data(), length + 1);
    text.pop_back();
    return text;
}

bool is_blank(const std::string &text) {
    return text.find_first_not_of(" \t\r\n") == std::string::npos;
}

// The document with no more than one record in memory.
class Records {
 public:
    explicit Records(XmlSource &source)
        : source_(source), parser_(ZxmlParser_new("-", ZXML_READ_USUAL, 0)) {
        if (parser_ == 0) {
            source.fail();
        }
        top_ = ZxmlParser_top_element(parser_);
        if (top_ == 0) {
            source.fail();
        }
    }

    ZHandle parser() const { return parser_; }
    ZHandle top() const { return top_; }
    ZHandle record() const { return ZxmlElem_first_child(top_); }

    // Reads the next record; false at the end of the document.
    bool next() {
        InterruptGuard::check();
        if (ZxmlParser_parse_record(parser_) != 0) {
            return true;
        }
        if (*Zstdlib_f_errno() != kEndOfDocument) {
            source_.fail();
        }
        return false;
    }

    // Forgets the record and what was read in front of it.
    void drop() {
        while (const ZHandle child = ZxmlElem_first_child(top_)) {
            ZxmlElem_delete(child);
        }
        for (uint32_t i = instruction_count(); i > 0; i--) {
            ZxmlParser_delete_processing_instruction(parser_, i - 1);
        }
        if (ZxmlElem_value(top_, nullptr, 0) > 0) {
            ZxmlElem_set_value(top_, "", 0);
        }
    }

    uint32_t instruction_count() const {
        const int32_t count = ZxmlParser_processing_instruction_count(parser_);
        return count > 0 ? static_cast<uint32_t>(count) - 1 : 0;
    }

 private:
    XmlSource &source_;
    XmlParser parser_;
    ZHandle top_ = 0;
};

class RecordCopy {
 public:
    RecordCopy(XmlSource &source, XmlOutput &output, int encoding_type)
        : source_(source), output_(output), records_(source), block_(new_xml_text()) {
        choose_encoding(encoding_type);
    }

    void run() {
        put_start();
        while (records_.next()) {
            refuse_deep_nesting(source_.name(), records_.record());
            put_block([this](ZString to, int type) {
                write_between(to, type);
                ZxmlElem_write(to, type, records_.record(), kIndent);
            });
            records_.drop();
        }
        put_block([this](ZString to, int type) {
            write_between(to, type);
            write_last_comment(to, type);
            ZxmlElem_write_ascii(to, type, "</", 0);
            ZxmlElem_write_ascii(to, type, name().c_str(), 0);
            ZxmlElem_write_ascii(to, type, ">\n", 0);
        });
    }

 private:
    std::string name() const {
        return text_from([&](char *b, int32_t n) { return ZxmlElem_name(records_.top(), b, n); });
    }

    void choose_encoding(int type) {
        const char *declared = ZxmlParser_get_encoding(records_.parser());
        if (type == 0 && declared != nullptr && Zencoding_name_to_type(declared) == 0) {
            type = kXmlUtf8;
        }
        if (type != 0) {
            set_encoding(records_.parser(), type);
        }
        checks_loss_ = type == kXmlLatin1;
        const char *name = ZxmlParser_get_encoding(records_.parser());
        type_ = name != nullptr ? Zencoding_name_to_type(name) : kXmlUtf8;
    }

    // The prolog and the start tag: the document as it is now, with an empty top element
    // that is opened.
    void put_start() {
        const XmlText document = written_document(records_.parser());
        const std::string_view text = view_of(document);
        if (const int wide = wide_type_of(text); wide != 0) {
            type_ = wide;
        }
        if (checks_loss_) {
            set_encoding(records_.parser(), kXmlUtf8);
            const XmlText utf8 = written_document(records_.parser());
            refuse_lost_characters(source_.name(), without_declaration(view_of(utf8)),
                                   without_declaration(text));
            set_encoding(records_.parser(), kXmlLatin1);
        }
        output_.put(mark_needed(text, ZxmlParser_get_encoding(records_.parser())));
        constexpr size_t kEnd = 3;  // "/>\n"
        const size_t end = kEnd * Zstdlib_cp_size[type_];
        output_.put(text.substr(0, text.size() - std::min(end, text.size())));
        put_block([](ZString to, int type) { ZxmlElem_write_ascii(to, type, ">\n", 0); });
        records_.drop();
    }

    // What `write` appends to a text of the type.
    template <typename Write>
    void put_block(Write write) {
        fill(block_.get(), type_, write);
        if (checks_loss_) {
            if (utf8_ == nullptr) {
                utf8_ = new_xml_text();
            }
            fill(utf8_.get(), kXmlUtf8, write);
            refuse_lost_characters(source_.name(), view_of(utf8_), view_of(block_));
        }
        output_.put(view_of(block_));
    }

    // The writing functions do not tell that a string could not grow.
    template <typename Write>
    static void fill(ZString to, int type, Write write) {
        ZStringClear(to);
        errno = 0;
        write(to, type);
        if (errno == ENOMEM) {
            throw std::bad_alloc();
        }
    }

    // Instructions and text that stand in front of the record, or in it, in lines of
    // their own.
    void write_between(ZString to, int type) {
        for (uint32_t i = 0; i < records_.instruction_count(); i++) {
            const ZHandle parser = records_.parser();
            const std::string target = text_from([&](char *b, int32_t n) {
                return ZxmlParser_get_processing_instruction_target(parser, i, b, n);
            });
            const std::string data = text_from([&](char *b, int32_t n) {
                return ZxmlParser_get_processing_instruction_data(parser, i, b, n);
            });
            for (const char *part : {"  <?", target.c_str(), " ", data.c_str(), "?>\n"}) {
                ZxmlElem_write_ascii(to, type, part, 0);
            }
        }
        const std::string text =
            text_from([&](char *b, int32_t n) { return ZxmlElem_value(records_.top(), b, n); });
        if (is_blank(text)) {
            return;  // how the document was laid out
        }
        const ZxmlTextPiece piece{text.data(), static_cast<int32_t>(text.size()), kXmlUtf8};
        ZxmlElem_write_ascii(to, type, "  ", 0);
        ZxmlElem_write_with_encoding(to, type, &piece, kTextFlags);
        ZxmlElem_write_newline(to, type);
    }

    // A comment behind the last record is the top element's, whose start is written.
    void write_last_comment(ZString to, int type) {
        const std::string comment = text_from(
            [&](char *b, int32_t n) { return ZxmlElem_get_comment(records_.top(), b, n); });
        if (comment.empty()) {
            return;
        }
        ZxmlElem_write_ascii(to, type, "  <!-- ", 0);
        ZxmlElem_write_ascii(to, type, comment.c_str(), kTextFlags);
        ZxmlElem_write_ascii(to, type, " -->\n", 0);
    }

    XmlSource &source_;
    XmlOutput &output_;
    Records records_;
    XmlText block_;
    XmlText utf8_;
    int type_ = kXmlUtf8;
    bool checks_loss_ = false;
};

}  // namespace

void copy_xml_records(XmlSource &source, XmlOutput &output, int encoding_type) {
    RecordCopy(source, output, encoding_type).run();
    source.finish();
}

void show_xml_records(XmlSource &source, void (*show)(ZHandle top, void *user), void *user) {
    Records records(source);
    while (records.next()) {
        refuse_deep_nesting(source.name(), records.record());
        show(records.top(), user);
        records.drop();
    }
    source.finish();
}

}  // namespace tool
