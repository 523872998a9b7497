// SPDX-License-Identifier: MIT
#include "sql/record_text.h"

#include <algorithm>
#include <cstring>

#include "host/charset.h"
#include "sql/utf8.h"

namespace sql {
namespace {

// The host converts in its current code page; this one is current meanwhile.
class CurrentCodePage {
 public:
    explicit CurrentCodePage(int code_page) : old_(ZGetCOBOLCharSet()) {
        if (code_page != old_) {
            ZSetCOBOLCharSet(code_page);
        }
    }
    ~CurrentCodePage() { ZSetCOBOLCharSet(old_); }
    CurrentCodePage(const CurrentCodePage &) = delete;
    CurrentCodePage &operator=(const CurrentCodePage &) = delete;

 private:
    int old_;
};

constexpr std::array kSingleBytePages{28591, 28592, 28605, 1252, 1250, 437,
                                      850,   37,    273,   500,  1140, 1141};
constexpr int kUtf8Page = 65001;

constexpr uint64_t kEach = 0x0101010101010101;

// Whether eight bytes are all in 0x20..0x7F.
bool are_plain(uint64_t bytes) {
    return ((bytes | (bytes - kEach * 0x20)) & (kEach * 0x80)) == 0;
}

bool is_plain(const unsigned char *bytes, size_t size) {
    uint64_t word;
    if (size < 8) {
        for (size_t i = 0; i < size; i++) {
            if (bytes[i] < 0x20 || bytes[i] > 0x7F) {
                return false;
            }
        }
        return true;
    }
    for (size_t i = 0; i + 8 <= size; i += 8) {
        std::memcpy(&word, bytes + i, 8);
        if (!are_plain(word)) {
            return false;
        }
    }
    std::memcpy(&word, bytes + size - 8, 8);
    return are_plain(word);
}

size_t without_trailing(const unsigned char *bytes, size_t size, unsigned char blank) {
    const uint64_t blanks = kEach * blank;
    while (size >= 8) {
        uint64_t word;
        std::memcpy(&word, bytes + size - 8, 8);
        if (word != blanks) {
            break;
        }
        size -= 8;
    }
    while (size > 0 && bytes[size - 1] == blank) {
        size--;
    }
    return size;
}

std::string_view as_text(const unsigned char *bytes, size_t size) {
    return {reinterpret_cast<const char *>(bytes), size};
}

}  // namespace

CodePage::CodePage(int code_page) : code_page_(code_page) {
    const CurrentCodePage current(code_page);
    char blank = ' ';
    if (ZUTF8ToCOBOLCharSet(" ", 1, &blank, 1) == 1) {
        blank_ = static_cast<unsigned char>(blank);
    }
    if (code_page == kUtf8Page) {
        kind_ = Kind::kUtf8;
        is_ascii_ = true;
        return;
    }
    build_characters();
    const bool all_round = std::ranges::all_of(characters_.begin() + 1, characters_.end(),
                                               [](const Character &c) { return c.is_canonical; });
    if (!all_round && std::ranges::find(kSingleBytePages, code_page) == kSingleBytePages.end()) {
        kind_ = Kind::kHost;
    }
    is_ascii_ = true;
    for (unsigned char b = 0x20; b < 0x7F; b++) {
        is_ascii_ = is_ascii_ && characters_[b].size == 1 &&
                    characters_[b].utf8[0] == static_cast<char>(b) && characters_[b].is_canonical;
    }
    find_sorting_characters();
}

void CodePage::build_characters() {
    for (size_t b = 1; b < characters_.size(); b++) {
        Character &c = characters_[b];
        const char byte = static_cast<char>(b);
        const int32_t size = ZCOBOLCharSetToUTF8(&byte, 1, c.utf8.data(), 4);
        size_t at = 0;
        const auto in_range = size >= 1 && size <= 4;
        const std::string_view text(c.utf8.data(), in_range ? static_cast<size_t>(size) : 0);
        const uint32_t unicode = utf8_next(text, &at);
        if (!in_range || unicode == kNoCharacter || at != text.size()) {
            c = {};
            continue;
        }
        c.size = static_cast<uint8_t>(size);
        char back[4];
        c.is_canonical = ZUTF8ToCOBOLCharSet(c.utf8.data(), size, back, 4) == 1 && back[0] == byte;
        if (c.is_canonical) {
            from_unicode_.emplace_back(unicode, static_cast<unsigned char>(b));
        }
    }
    std::ranges::sort(from_unicode_);
}

// From the top down: a byte sorts when its character is below all characters of
// the sorting bytes above it.  Blank is the least of them, so that a shorter
// text, which SQL puts first, is also first with its padding.
void CodePage::find_sorting_characters() {
    if (!is_ascii_) {
        return;
    }
    uint32_t least = kNoCharacter;
    for (size_t b = 0xFF; b >= 0x20; b--) {
        Character &c = characters_[b];
        size_t at = 0;
        const uint32_t unicode = utf8_next({c.utf8.data(), c.size}, &at);
        c.sorts = c.is_canonical && unicode < least && (b < 0x80 || unicode >= 0x80);
        if (c.sorts) {
            least = unicode;
        }
    }
}

DecodedText CodePage::decode(Bytes bytes, bool is_right, char *room) const {
    const unsigned char *data = bytes.data();
    size_t size = bytes.size();
    bool is_canonical = true;
    if (is_right) {
        while (size > 0 && *data == blank_) {
            data++;
            size--;
        }
    } else {
        size = without_trailing(data, size, blank_);
        while (size > 0 && (data[size - 1] == 0 || data[size - 1] == blank_)) {
            size--;
            is_canonical = false;
        }
        if (size == 0 && !is_canonical) {
            return {};
        }
    }
    DecodedText result;
    if (is_ascii_ && is_plain(data, size)) {
        result = {true, true, true, as_text(data, size)};
    } else if (std::memchr(data, 0, size) != nullptr) {
        return {};
    } else if (kind_ == Kind::kSingleByte) {
        result = decode_single({data, size}, room);
    } else if (kind_ == Kind::kUtf8) {
        result = decode_utf8({data, size});
    } else {
        result = decode_host({data, size}, room);
    }
    result.is_canonical = result.is_canonical && is_canonical;
    result.sorts = result.sorts && !is_right;
    return result;
}

DecodedText CodePage::decode_single(Bytes bytes, char *room) const {
    bool is_canonical = true;
    bool sorts = true;
    char *out = room;
    for (const unsigned char b : bytes) {
        const Character &c = characters_[b];
        if (c.size == 0) {
            return {};
        }
        std::memcpy(out, c.utf8.data(), c.utf8.size());
        out += c.size;
        is_canonical = is_canonical && c.is_canonical;
        sorts = sorts && c.sorts;
    }
    return {true, is_canonical, sorts, {room, static_cast<size_t>(out - room)}};
}

DecodedText CodePage::decode_utf8(Bytes bytes) const {
    const std::string_view text = as_text(bytes.data(), bytes.size());
    bool sorts = true;
    for (size_t at = 0; at < text.size();) {
        const uint32_t c = utf8_next(text, &at);
        if (c == kNoCharacter) {
            return {};
        }
        sorts = sorts && c >= 0x20;
    }
    return {true, true, sorts, text};
}

DecodedText CodePage::decode_host(Bytes bytes, char *room) const {
    const CurrentCodePage current(code_page_);
    const auto size = static_cast<int32_t>(bytes.size());
    const int32_t room_size = size * static_cast<int32_t>(kMaxGrowth);
    const int32_t needed =
        ZCOBOLCharSetToUTF8(reinterpret_cast<const char *>(bytes.data()), size, room, room_size);
    if (needed < 0 || needed > room_size) {
        return {};
    }
    const std::string_view text(room, static_cast<size_t>(needed));
    for (size_t at = 0; at < text.size();) {
        if (utf8_next(text, &at) == kNoCharacter) {
            return {};
        }
    }
    std::vector<char> back(bytes.size() + 1);
    const bool is_canonical = ZUTF8ToCOBOLCharSet(room, needed, back.data(), size + 1) == size &&
                              std::memcmp(back.data(), bytes.data(), bytes.size()) == 0;
    return {true, is_canonical, false, text};
}

// Bytes of the character that `bytes`, at least one, begin with; 0: none does.
size_t CodePage::character_size(Bytes bytes) const {
    if (bytes[0] == 0) {
        return 0;
    }
    if (kind_ == Kind::kSingleByte) {
        return characters_[bytes[0]].size != 0 ? 1 : 0;
    }
    if (kind_ == Kind::kUtf8) {
        size_t at = 0;
        utf8_next(as_text(bytes.data(), bytes.size()), &at);
        return at;
    }
    constexpr size_t kLongest = 4;
    char room[kLongest * kMaxGrowth];
    for (size_t n = 1; n <= std::min(kLongest, bytes.size()); n++) {
        if (bytes[n - 1] != 0 && decode_host(bytes.first(n), room).is_valid) {
            return n;
        }
    }
    return 0;
}

void CodePage::make_legal(std::span<unsigned char> bytes) const {
    for (size_t at = 0; at < bytes.size();) {
        const size_t size = character_size(bytes.subspan(at));
        if (size == 0) {
            bytes[at] = blank_;
        }
        at += std::max<size_t>(size, 1);
    }
}

size_t CodePage::encode(std::string_view text, std::span<unsigned char> out) const {
    const auto *bytes = reinterpret_cast<const unsigned char *>(text.data());
    if (is_ascii_ && is_plain(bytes, text.size())) {
        if (text.size() > out.size()) {
            return SIZE_MAX;
        }
        std::copy_n(bytes, text.size(), out.begin());
        return text.size();
    }
    if (text.find('\0') != std::string_view::npos) {
        return SIZE_MAX;
    }
    if (kind_ == Kind::kSingleByte) {
        return encode_single(text, out);
    }
    for (size_t at = 0; at < text.size();) {
        if (utf8_next(text, &at) == kNoCharacter) {
            return SIZE_MAX;
        }
    }
    if (kind_ == Kind::kUtf8) {
        if (text.size() > out.size()) {
            return SIZE_MAX;
        }
        std::copy_n(bytes, text.size(), out.begin());
        return text.size();
    }
    const CurrentCodePage current(code_page_);
    const auto size = static_cast<int32_t>(text.size());
    std::vector<char> buffer(text.size() * 2 + 8);
    const auto buffer_size = static_cast<int32_t>(buffer.size());
    const int32_t needed = ZUTF8ToCOBOLCharSet(text.data(), size, buffer.data(), buffer_size);
    if (needed < 0 || needed > buffer_size || static_cast<size_t>(needed) > out.size()) {
        return SIZE_MAX;
    }
    // What the code page lacks became "?": only what reads back alike is taken.
    std::vector<char> again(static_cast<size_t>(needed) * kMaxGrowth + 1);
    const int32_t length = ZCOBOLCharSetToUTF8(buffer.data(), needed, again.data(),
                                               static_cast<int32_t>(again.size()));
    if (length != size || std::memcmp(again.data(), text.data(), text.size()) != 0) {
        return SIZE_MAX;
    }
    std::memcpy(out.data(), buffer.data(), static_cast<size_t>(needed));
    return static_cast<size_t>(needed);
}

size_t CodePage::encode_single(std::string_view text, std::span<unsigned char> out) const {
    size_t n = 0;
    for (size_t at = 0; at < text.size(); n++) {
        const uint32_t c = utf8_next(text, &at);
        const auto found = std::ranges::lower_bound(from_unicode_, c, {},
                                                    &std::pair<uint32_t, unsigned char>::first);
        if (c == kNoCharacter || n == out.size() || found == from_unicode_.end() ||
            found->first != c) {
            return SIZE_MAX;
        }
        out[n] = found->second;
    }
    return n;
}

DecodedText decode_national(Bytes bytes, bool is_right, char *room) {
    const auto unit = [&](size_t i) {
        uint16_t value;
        std::memcpy(&value, bytes.data() + 2 * i, 2);
        return value;
    };
    size_t first = 0;
    size_t end = bytes.size() / 2;
    while (is_right && first < end && unit(first) == ' ') {
        first++;
    }
    while (!is_right && end > 0 && unit(end - 1) == ' ') {
        end--;
    }
    char *out = room;
    for (size_t i = first; i < end; i++) {
        uint32_t c = unit(i);
        if (c >= 0xD800 && c <= 0xDFFF) {
            const uint32_t low = c < 0xDC00 && i + 1 < end ? unit(i + 1) : 0U;
            if (low < 0xDC00 || low > 0xDFFF) {
                return {};
            }
            c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
            i++;
        }
        if (c == 0) {
            return {};
        }
        out += utf8_put(c, out);
    }
    return {true, true, false, {room, static_cast<size_t>(out - room)}};
}

size_t encode_national(std::string_view text, std::span<unsigned char> out) {
    size_t n = 0;
    const auto put = [&](uint32_t unit) {
        const auto value = static_cast<uint16_t>(unit);
        if (n + 2 > out.size()) {
            return false;
        }
        std::memcpy(out.data() + n, &value, 2);
        n += 2;
        return true;
    };
    for (size_t at = 0; at < text.size();) {
        const uint32_t c = utf8_next(text, &at);
        if (c == kNoCharacter || c == 0) {
            return SIZE_MAX;
        }
        const bool fits = c < 0x10000 ? put(c)
                                      : put(0xD800 + ((c - 0x10000) >> 10)) &&
                                            put(0xDC00 + ((c - 0x10000) & 0x3FF));
        if (!fits) {
            return SIZE_MAX;
        }
    }
    return n;
}

void make_legal_national(std::span<unsigned char> bytes) {
    constexpr uint16_t kBlank = ' ';
    const auto unit = [&](size_t at) {
        uint16_t value = 0;
        if (at + 2 <= bytes.size()) {
            std::memcpy(&value, bytes.data() + at, 2);
        }
        return value;
    };
    for (size_t at = 0; at + 2 <= bytes.size(); at += 2) {
        const uint16_t c = unit(at);
        const bool is_high = c >= 0xD800 && c <= 0xDBFF;
        const uint16_t next = is_high ? unit(at + 2) : uint16_t{0};
        if (next >= 0xDC00 && next <= 0xDFFF) {
            at += 2;
        } else if (c == 0 || (c >= 0xD800 && c <= 0xDFFF)) {
            std::memcpy(bytes.data() + at, &kBlank, 2);
        }
    }
}

int code_page_of_encoding(int32_t encoding, int program) {
    switch (encoding) {
        case 2:
            return kUtf8Page;
        case 7:
            return 28591;
        default:
            return program;
    }
}

}  // namespace sql
