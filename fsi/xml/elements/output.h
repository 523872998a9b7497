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
    // `target` is a ZString or a ZFile; a null one takes nothing.
    //   byte_codes  for an encoding of type 0 that is no UTF-8: the code points of its
    //               256 bytes, negative for none.  Escaped text is ASCII then, the rest
    //               is written in these bytes.
    Output(void *target, int32_t encoding_type, const int *byte_codes = nullptr);
    ~Output() { finish(); }
    Output(const Output &) = delete;
    Output &operator=(const Output &) = delete;

    // UTF-8, as it is.
    void put(std::string_view text);
    void put(char c) {
        if (used_ == sizeof buffer_)
            flush_full();
        buffer_[used_++] = c;
    }
    void put_blanks(size_t n);

    // With markup characters as references, and those that the encoding cannot
    // carry; a zero byte ends the text.  With ZXML_TRIM without the blanks around it.
    // White space but the blank is a reference too, so that an attribute keeps it.
    //   code_page  of the text; what is not UTF-8 is passed on byte by byte
    void put_escaped(std::string_view text, uint32_t flags, int32_t code_page = 2);

    // Text within a comment: escaped, and no hyphen beside another one.  `is_last`:
    // the comment ends behind it, so that a last hyphen gets its blank as well.
    void put_comment(std::string_view text, uint32_t flags, bool is_last);

    // Gives the target all that is buffered.
    void finish();

    // Bytes that the target took, and whether it refused any.
    [[nodiscard]] int64_t written() const { return written_; }
    [[nodiscard]] bool has_failed() const { return has_failed_; }

 private:
    void put_reference(uint32_t code_point);
    void flush_full();
    void flush(size_t size);
    int32_t convert(std::string_view text, char *to, int32_t room) const;
    bool convert_in_scratch(std::string_view text);
    void convert_in_pieces(std::string_view text);
    void give(const char *bytes, size_t size);

    ZString string_ = nullptr;
    ZFile *file_ = nullptr;
    int32_t encoding_type_;
    const int *byte_codes_;
    uint32_t limit_;  // code points from here on become references in escaped text
    int64_t written_ = 0;
    bool has_failed_ = false;
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
