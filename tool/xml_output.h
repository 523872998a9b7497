// SPDX-License-Identifier: MIT
//
// Documents that go out: to the standard output or to a file that appears when it is
// whole; owners of what the library gives; encodings of the output.
#ifndef TOOL_XML_OUTPUT_H
#define TOOL_XML_OUTPUT_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "host/handles.h"
#include "host/strings.h"
#include "tool/output_file.h"
#include "tool/record_output.h"

namespace tool {

// Throws Failure and, when nobody reads the standard output any more, OutputClosed.
class XmlOutput {
 public:
    // "-" stands for the standard output.
    explicit XmlOutput(const std::string &path);

    void put(std::string_view bytes);
    // Hands on what there is of an output that stays incomplete: a file does not appear.
    void abandon();
    // The output is complete.
    void finish();
    bool is_file() const { return file_.has_value(); }

 private:
    std::optional<OutputFile> file_;
    std::optional<RecordOutput> stream_;
};

// A parser of the library, released at the end.
class XmlParser {
 public:
    explicit XmlParser(ZHandle handle) : handle_(handle) {}
    ~XmlParser();
    XmlParser(const XmlParser &) = delete;
    XmlParser &operator=(const XmlParser &) = delete;
    operator ZHandle() const { return handle_; }

 private:
    ZHandle handle_;
};

struct ZStringRelease {
    void operator()(ZStringBody *string) const { ZSTRINGDelete(string); }
};
using XmlText = std::unique_ptr<ZStringBody, ZStringRelease>;

// An empty text.  Throws bad_alloc.
XmlText new_xml_text();
std::string_view view_of(const XmlText &text);

// The document in its own encoding.  Throws bad_alloc.
XmlText written_document(ZHandle parser);

constexpr int kXmlUtf8 = 2;
constexpr int kXmlUtf16Le = 3;
constexpr int kXmlUtf16Be = 5;
constexpr int kXmlLatin1 = 7;

// The type of a name given by a person.  Throws Failure for an encoding that is not
// written.
int type_of_encoding(const std::string &name);

// Sees to it that the document is written in the encoding, and declares it.
void set_encoding(ZHandle parser, int type);

// In which of the two forms of UTF-16 a document is, 0 for neither.
int wide_type_of(std::string_view document);

// The byte-order mark that a document needs in front: one in UTF-16 that does not say
// in which order its bytes are.  Empty for none.
std::string_view mark_needed(std::string_view document, const char *encoding);

// Outside of values and attributes a character that ISO-8859-1 does not have becomes
// "?".  Throws XmlFailure when that happened; `utf8` is the same text in UTF-8, `latin1`
// in ISO-8859-1, both without an XML declaration.
void refuse_lost_characters(const std::string &name, std::string_view utf8,
                            std::string_view latin1);

// What is nested deeply is indented deeply: a document of some megabytes may become one
// of terabytes.  Throws Failure for indentations out of all proportion; `top` stands at
// the margin.
void refuse_deep_nesting(const std::string &name, ZHandle top);

// A document without its XML declaration, one byte an ASCII character.
std::string_view without_declaration(std::string_view document);

}  // namespace tool

#endif
