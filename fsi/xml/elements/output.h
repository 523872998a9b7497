// SPDX-License-Identifier: MIT
//
// Where XML text goes: a host stream or a host string, through a buffer, converted
// to the output encoding on the way.
#ifndef FSI_XML_ELEMENTS_OUTPUT_H
#define FSI_XML_ELEMENTS_OUTPUT_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "host/files.h"
#include "host/strings.h"
#include "wbfsi/xml_writer.h"

namespace fsi::xml {

class Output {
 public:
    // `target` is a ZString or a ZFile; a null one takes nothing.  `is_ascii`:
    // escaped text holds no character beyond ASCII, whatever the type.
    Output(void *target, int32_t encoding_type, bool is_ascii = false);
    ~Output() { flush(); }
    Output(const Output &) = delete;
    Output &operator=(const Output &) = delete;

    // UTF-8, as it is.
    void put(std::string_view text);
    void put(char c) {
        if (used_ == sizeof buffer_)
            flush();
        buffer_[used_++] = c;
    }
    void put_blanks(size_t n);

    // With markup characters as references, and those that the encoding cannot
    // carry; a zero byte ends the text.  With ZXML_TRIM without the blanks around it.
    //   code_page  of the text; what is not UTF-8 is passed on byte by byte
    void put_escaped(std::string_view text, uint32_t flags, int32_t code_page = 2);

    // Text within a comment: escaped, and no hyphen beside another one.
    void put_comment(std::string_view text, uint32_t flags);

    // Gives the target what is buffered.
    void flush();

    // Bytes that the target took.
    [[nodiscard]] int64_t written() const { return written_; }

 private:
    void put_reference(uint32_t code_point);
    void give(const char *bytes, size_t size);

    ZString string_ = nullptr;
    ZFile *file_ = nullptr;
    int32_t encoding_type_;
    uint32_t limit_;  // code points from here on become references in escaped text
    int64_t written_ = 0;
    size_t used_ = 0;
    char buffer_[16 * 1024];
};

// Writes an element with all below it.
struct Element;
void write_element(Output *out, const Element &element, size_t indent, uint32_t text_flags);

// The flags for values: XML_KEEP_WHITESPACE as it was when a document's writing began,
// and the end of that.
uint32_t text_flags();
void forget_text_flags();

}  // namespace fsi::xml

#endif
