// SPDX-License-Identifier: MIT
#include "fsi/xml/elements/output.h"
#include "fsi/base/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

#include "fsi/xml/elements/element.h"
#include "host/charset.h"
#include "wbfsi/xml_element.h"

namespace fsi::xml {
namespace {

constexpr int32_t kUtf8 = 2;
constexpr int32_t kUtf16Little = 3;
constexpr int32_t kUtf16Big = 5;
constexpr int32_t kLatin1 = 7;

// What a byte of escaped text asks for.
enum class Care : uint8_t { kNone, kReference, kLead, kEnd };

constexpr std::array<Care, 256> kCare = [] {
    std::array<Care, 256> care{};
    for (size_t i = 1; i < 32; i++)
        care[i] = Care::kReference;
    for (const char c : {'<', '>', '&', '\'', '"', '\x7F'})
        care[static_cast<unsigned char>(c)] = Care::kReference;
    for (size_t i = 0x80; i < 0x100; i++)
        care[i] = Care::kLead;
    care[0] = Care::kEnd;
    return care;
}();

std::string_view named_reference(unsigned char c) {
    switch (c) {
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '&':
            return "&amp;";
        case '\'':
            return "&apos;";
        case '"':
            return "&quot;";
        default:
            return {};
    }
}

struct Character {
    uint32_t code_point;
    size_t size;  // 1 for a byte that begins no character
};

// As the host does: neither longer forms than needed, nor halves of surrogate pairs, nor
// numbers past the last code point are characters.
Character decode(std::string_view text) {
    const auto byte = [&](size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    };
    const auto is_trail = [&](size_t i) { return (byte(i) & 0xC0) == 0x80; };
    const unsigned first = byte(0);
    Character character{first, 1};
    if (first >= 0xC2 && first < 0xE0 && is_trail(1)) {
        character = {(first & 0x1F) << 6 | (byte(1) & 0x3F), 2};
    } else if (first >= 0xE0 && first < 0xF0 && is_trail(1) && is_trail(2)) {
        character = {(first & 0x0F) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F), 3};
        if (character.code_point < 0x800 || character.code_point >> 11 == 0xD800 >> 11)
            return {first, 1};
    } else if (first >= 0xF0 && first < 0xF5 && is_trail(1) && is_trail(2) && is_trail(3)) {
        character = {(first & 0x07) << 18 | (byte(1) & 0x3F) << 12 | (byte(2) & 0x3F) << 6 |
                         (byte(3) & 0x3F),
                     4};
        if (character.code_point < 0x10000 || character.code_point > 0x10FFFF)
            return {first, 1};
    }
    return character;
}

// Whether eight bytes of text hold one below 0x20 or a markup character; with
// `minds_high` also one above 0x7E.  Each test is exact for the eight as a whole:
// subtracting borrows across bytes only behind one that is found.
bool has_care(const char *text, bool minds_high) {
    constexpr uint64_t kOnes = 0x0101010101010101;
    constexpr uint64_t kTops = kOnes << 7;
    uint64_t word;
    std::memcpy(&word, text, sizeof word);
    uint64_t found = word - kOnes * 0x20;
    for (const char c : {'<', '>', '&', '\'', '"'}) {
        const uint64_t differs = word ^ kOnes * static_cast<unsigned char>(c);
        found |= (differs - kOnes) & ~differs;
    }
    found &= ~word;
    if (minds_high)
        found |= word | (word + kOnes);
    return (found & kTops) != 0;
}

// The next byte that is not just passed, or the end.
size_t find_care(std::string_view text, size_t from, bool minds_high) {
    while (from + 8 <= text.size() && !has_care(text.data() + from, minds_high))
        from += 8;
    for (; from < text.size(); from++) {
        const Care care = kCare[static_cast<unsigned char>(text[from])];
        if (care != Care::kNone && (care != Care::kLead || minds_high))
            break;
    }
    return from;
}

// Bytes at the end of the text that may be the beginning of a character.
size_t open_character(std::string_view text) {
    for (size_t n = 1; n <= 3 && n <= text.size(); n++) {
        const auto byte = static_cast<unsigned char>(text[text.size() - n]);
        if (byte >= 0xC0)
            return n;
        if (byte < 0x80)
            return 0;
    }
    return 0;
}

// In the bytes of an encoding by table; what it has no byte for becomes "?".
int32_t convert_to_bytes(std::string_view text, const int *codes, char *to, int32_t room) {
    int32_t size = 0;
    while (!text.empty() && size < room) {
        const Character character = decode(text);
        const auto code_point = static_cast<int>(character.code_point);
        const int *end = codes + 256;
        const int *code =
            code_point < 0x80 ? codes + code_point : std::find(codes, end, code_point);
        to[size++] = code == end ? '?' : static_cast<char>(code - codes);
        text.remove_prefix(character.size);
    }
    return size;
}

}  // namespace

Output::Output(void *target, int32_t encoding_type, const int *byte_codes)
    : encoding_type_(encoding_type),
      byte_codes_(byte_codes),
      minds_high_(byte_codes != nullptr || encoding_type == 0 || encoding_type == kLatin1),
      limit_(byte_codes != nullptr      ? 0x80
             : encoding_type == kLatin1 ? 0x100
                                        : UINT32_MAX) {
    if (target != nullptr && ZIsAString(target) != 0)
        string_ = static_cast<ZString>(target);
    else
        file_ = static_cast<ZFile *>(target);
}

void Output::put_long(std::string_view text) {
    while (text.size() > sizeof buffer_ - used_) {
        const size_t room = sizeof buffer_ - used_;
        std::memcpy(buffer_ + used_, text.data(), room);
        used_ += room;
        text.remove_prefix(room);
        flush_full();
    }
    if (!text.empty())
        std::memcpy(buffer_ + used_, text.data(), text.size());
    used_ += text.size();
}

void Output::put_many_blanks(size_t n) {
    while (n > 0) {
        if (used_ == sizeof buffer_)
            flush_full();
        const size_t some = std::min(n, sizeof buffer_ - used_);
        std::memset(buffer_ + used_, ' ', some);
        used_ += some;
        n -= some;
    }
}

void Output::put_reference(uint32_t code_point) {
    char digits[8];
    char *end = std::to_chars(digits, digits + sizeof digits, code_point, 16).ptr;
    put("&#x");
    if (end - digits == 1)
        put('0');
    put({digits, static_cast<size_t>(end - digits)});
    put(';');
}

void Output::put_escaped(std::string_view text, uint32_t flags, int32_t code_page) {
    if ((flags & ZXML_TRIM) != 0)
        text = trimmed(text);
    // Other code pages may have markup characters within theirs.
    const bool minds_high = minds_high_ || code_page != kUtf8;
    size_t start = 0;
    size_t i = 0;
    while ((i = find_care(text, i, minds_high)) < text.size()) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const Care care = kCare[byte];
        if (care == Care::kEnd)
            break;
        Character character{byte, 1};
        if (care == Care::kLead) {
            if (code_page == kUtf8)
                character = decode(fsi::part(text, i));
            else
                character.size = std::min<size_t>(
                    static_cast<size_t>(std::max(ZCPByteInc(text.data() + i, code_page), 1)),
                    text.size() - i);
        }
        const bool is_single = character.size == 1;
        const bool is_referred =
            byte < 0x7F || (is_single && encoding_type_ == 0) ||
            (byte >= 0x80 && code_page == kUtf8 && character.code_point >= limit_);
        if (!is_referred) {
            i += character.size;
            continue;
        }
        put(fsi::part(text, start, i - start));
        const std::string_view named = named_reference(byte);
        if (named.empty())
            put_reference(character.code_point);
        else
            put(named);
        i += character.size;
        start = i;
    }
    put(fsi::part(text, start, i - start));
}

void Output::put_comment(std::string_view text, uint32_t flags, bool is_last) {
    if ((flags & ZXML_TRIM) != 0)
        text = trimmed(text);
    flags &= ~uint32_t{ZXML_TRIM};
    while (true) {
        const size_t pair = text.find("--");
        if (pair == text.npos)
            break;
        put_escaped(text.substr(0, pair + 1), flags);
        put(' ');
        text.remove_prefix(pair + 1);
    }
    put_escaped(text, flags);
    if (is_last && text.ends_with('-'))
        put(' ');
}

void Output::give(const char *bytes, size_t size) {
    size_t taken = 0;
    if (string_ != nullptr)
        taken = ZSTRINGAppendN(string_, bytes, size) != 0 ? size : 0;
    else if (file_ != nullptr)
        taken = os_fwrite(bytes, size, file_);
    written_ += static_cast<int64_t>(taken);
    has_failed_ = has_failed_ || taken < size;
}

void Output::finish() {
    if (used_ > 0)
        flush(used_);
    used_ = 0;
}

// Half a character waits for its end.
void Output::flush_full() {
    const size_t size = used_ - open_character({buffer_, used_});
    flush(size);
    std::memmove(buffer_, buffer_ + size, used_ - size);
    used_ -= size;
}

void Output::flush(size_t size) {
    const std::string_view text(buffer_, size);
    const bool converts =
        encoding_type_ == kUtf16Little || encoding_type_ == kUtf16Big || encoding_type_ == kLatin1;
    if (byte_codes_ != nullptr)
        convert_in_pieces(text);
    else if (!converts)
        give(buffer_, size);
    else if (!convert_in_scratch(text))
        convert_in_pieces(text);
}

int32_t Output::convert(std::string_view text, char *to, int32_t room) const {
    const auto length = static_cast<int32_t>(text.size());
    if (byte_codes_ != nullptr)
        return convert_to_bytes(text, byte_codes_, to, room);
    return encoding_type_ == kLatin1 ? ZUTF8ToISO88591(text.data(), length, to, room)
                                     : ZUTF8To16(text.data(), length, to, room, encoding_type_);
}

// False without memory.  What has no conversion is given as it is.
bool Output::convert_in_scratch(std::string_view text) {
    const int32_t needed = convert(text, nullptr, 0);
    if (needed <= 0) {
        give(text.data(), text.size());
        return true;
    }
    if (validate_scratch(needed) == 0)
        return false;
    convert(text, xml_scratch, xml_scratchlen);
    give(xml_scratch, static_cast<size_t>(needed));
    return true;
}

// Through a small buffer: slower, and asks for no memory.
void Output::convert_in_pieces(std::string_view text) {
    char converted[2048];
    while (!text.empty()) {
        // A byte becomes two at most.
        std::string_view piece = text.substr(0, sizeof converted / 2);
        if (const size_t open = open_character(piece); open < piece.size())
            piece.remove_suffix(piece.size() < text.size() ? open : 0);
        const int32_t size = convert(piece, converted, sizeof converted);
        if (size > 0)
            give(converted, static_cast<size_t>(size));
        else
            give(piece.data(), piece.size());
        text.remove_prefix(piece.size());
    }
}

}  // namespace fsi::xml
