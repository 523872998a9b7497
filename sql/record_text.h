// SPDX-License-Identifier: MIT
//
// Text of a record to UTF-8 and back.  A code page of one byte a character is
// turned into tables once; UTF-8 is checked and taken as it is; the rest goes
// through the host's conversion.
#ifndef SQL_RECORD_TEXT_H
#define SQL_RECORD_TEXT_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "sql/value.h"

namespace sql {

// How one text came out.
struct DecodedText {
    bool is_valid = false;      // false: no text can show these bytes
    bool is_canonical = false;  // encoding the text gives the bytes again
    bool sorts = false;         // only characters that sort as their bytes do
    std::string_view text;      // in the record itself or in the room given
};

class CodePage {
 public:
    explicit CodePage(int code_page);

    [[nodiscard]] unsigned char blank() const { return blank_; }

    // Whether the printable ASCII characters stand for themselves, so that
    // texts of them sort by their bytes.
    [[nodiscard]] bool is_ascii() const { return is_ascii_; }

    // Bytes of UTF-8 that one byte of a record can become.
    static constexpr size_t kMaxGrowth = 4;

    // `bytes` without the blanks (and low-values, which make it not canonical)
    // behind it, or in front of it when `is_right`.  `room`: size times
    // kMaxGrowth bytes, used when the text differs from the bytes.
    DecodedText decode(Bytes bytes, bool is_right, char *room) const;

    // Makes every byte that is no character, zero bytes among them, a blank.
    void make_legal(std::span<unsigned char> bytes) const;

    // Bytes of `text` into `out`; the number of bytes written, or SIZE_MAX when
    // it does not fit or holds a character that the code page does not have.
    size_t encode(std::string_view text, std::span<unsigned char> out) const;

 private:
    enum class Kind : uint8_t { kSingleByte, kUtf8, kHost };
    struct Character {
        std::array<char, 4> utf8{};
        uint8_t size = 0;
        bool is_canonical = false;
        bool sorts = false;
    };

    void build_characters();
    void find_sorting_characters();
    DecodedText decode_single(Bytes bytes, char *room) const;
    DecodedText decode_utf8(Bytes bytes) const;
    DecodedText decode_host(Bytes bytes, char *room) const;
    [[nodiscard]] size_t character_size(Bytes bytes) const;
    size_t encode_single(std::string_view text, std::span<unsigned char> out) const;

    int code_page_;
    Kind kind_ = Kind::kSingleByte;
    bool is_ascii_ = false;
    unsigned char blank_ = ' ';
    std::array<Character, 256> characters_{};
    std::vector<std::pair<uint32_t, unsigned char>> from_unicode_;  // sorted
};

// UTF-16 in machine order.  As CodePage: room takes three bytes for two of the
// record.
DecodedText decode_national(Bytes bytes, bool is_right, char *room);
size_t encode_national(std::string_view text, std::span<unsigned char> out);
// Makes every half of a surrogate pair and every zero a blank.
void make_legal_national(std::span<unsigned char> bytes);

// The code page of texts in a file of this encoding type (XfdCvtInfo), for a
// program whose own code page is `program`.
int code_page_of_encoding(int32_t encoding, int program);

}  // namespace sql

#endif
