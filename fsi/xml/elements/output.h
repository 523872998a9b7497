// SPDX-License-Identifier: MIT
//
// Where XML text goes: a host stream or a host string, through a buffer, converted
// to the output encoding on the way.
#ifndef FSI_XML_ELEMENTS_OUTPUT_H
#define FSI_XML_ELEMENTS_OUTPUT_H

#include <cstddef>
#include <cstdint>
#include <cstring>
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
    void put(std::string_view text) {
        if (text.size() > sizeof buffer_ - used_) {
            put_long(text);
            return;
        }
        copy(buffer_ + used_, text.data(), text.size());
        used_ += text.size();
    }
    void put(char c) {
        if (used_ == sizeof buffer_)
            flush_full();
        buffer_[used_++] = c;
    }
    void put_blanks(size_t n) {
        constexpr size_t kFew = 32;
        if (n > kFew || sizeof buffer_ - used_ < kFew) {
            put_many_blanks(n);
            return;
        }
        // All of them, however many count, take fewer instructions.
        std::memset(buffer_ + used_, ' ', kFew);
        used_ += n;
    }

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
    // Most texts are short, and a call costs more than they do.
    static void copy(char *to, const char *from, size_t n) {
        if (n > 16) {
            std::memcpy(to, from, n);
        } else if (n >= 8) {
            std::memcpy(to, from, 8);
            std::memcpy(to + n - 8, from + n - 8, 8);
        } else if (n >= 4) {
            std::memcpy(to, from, 4);
            std::memcpy(to + n - 4, from + n - 4, 4);
        } else {
            for (size_t i = 0; i < n; i++)
                to[i] = from[i];
        }
    }
    void put_long(std::string_view text);
    void put_many_blanks(size_t n);
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
    bool minds_high_;  // escaped text may hold bytes from 0x80 on that are not passed
    uint32_t limit_;   // code points from here on become references in escaped text
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
