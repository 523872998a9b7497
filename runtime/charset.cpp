// SPDX-License-Identifier: MIT
//
// Conversion between the program's code page and the Unicode forms.  Which page
// is the program's own, and what its bytes mean, is the business of code_page.cpp.
#include "host/charset.h"

#include <string.h>
#include <strings.h>

#include "runtime/code_page.h"
#include "runtime/unicode.h"

namespace {

using host::Decoded;

constexpr int kOwn = 1;
constexpr int kUtf8 = 2;
constexpr int kUtf16Le = 3;
constexpr int kUtf32Le = 4;
constexpr int kUtf16Be = 5;
constexpr int kUtf32Be = 6;
constexpr int kLatin1 = 7;

// Counts every byte of a result and keeps those that fit.  Once a character
// did not fit nothing behind it is kept.
class Output {
 public:
    Output(char *buffer, int32_t size)
        : buffer_(buffer), room_(buffer == nullptr || size < 0 ? 0 : static_cast<size_t>(size)) {}

    void character(const char *bytes, size_t n) {
        if (n <= room_ && !full_) {
            memcpy(buffer_ + kept_, bytes, n);
            kept_ += n;
            room_ -= n;
        } else {
            full_ = true;
        }
        needed_ += n;
    }

    // n characters of one byte each.
    void run(const char *bytes, size_t n) {
        size_t fitting = full_ ? 0 : n < room_ ? n : room_;
        if (fitting > 0)
            memcpy(buffer_ + kept_, bytes, fitting);
        kept_ += fitting;
        room_ -= fitting;
        full_ = full_ || fitting < n;
        needed_ += n;
    }

    int32_t finish(size_t terminator_bytes) {
        if (room_ >= terminator_bytes)
            memset(buffer_ + kept_, 0, terminator_bytes);
        return needed_ > INT32_MAX ? INT32_MAX : static_cast<int32_t>(needed_);
    }

 private:
    char *buffer_;
    size_t room_;
    size_t kept_ = 0;
    uint64_t needed_ = 0;
    bool full_ = false;
};

size_t text_bytes(const char *text, int32_t length) {
    if (text == nullptr)
        return 0;
    return length < 0 ? strlen(text) : strnlen(text, static_cast<size_t>(length));
}

void put_utf8(Output &out, char32_t point) {
    char bytes[4];
    out.character(bytes, host::encode_utf8(point, bytes));
}

// Calls put(code point) for every character of UTF-8 text, ASCII runs aside.
template <class Put>
void each_utf8(const char *text, size_t n, Output *ascii, Put put) {
    size_t i = 0;
    while (i < n) {
        if (ascii != nullptr) {
            size_t run = host::ascii_run(text + i, n - i);
            ascii->run(text + i, run);
            i += run;
            if (i == n)
                return;
        }
        Decoded character = host::decode_utf8(text + i, n - i);
        put(character.point);
        i += character.bytes;
    }
}

void put_utf16(Output &out, char32_t point, bool big) {
    uint16_t units[2] = {static_cast<uint16_t>(point), 0};
    size_t count = 1;
    if (point > 0xffff) {
        units[0] = static_cast<uint16_t>(0xd7c0 + (point >> 10));
        units[1] = static_cast<uint16_t>(0xdc00 + (point & 0x3ff));
        count = 2;
    }
    char bytes[4];
    for (size_t i = 0; i < count; ++i) {
        bytes[2 * i + (big ? 0 : 1)] = static_cast<char>(units[i] >> 8);
        bytes[2 * i + (big ? 1 : 0)] = static_cast<char>(units[i] & 0xff);
    }
    out.character(bytes, 2 * count);
}

struct Encoding {
    int type;
    const char *name;
};

// The first name of a type is its own, others are read only.
constexpr Encoding kEncodings[] = {
    {kUtf8, "UTF-8"},       {kUtf16Le, "UTF-16LE"},  {kUtf16Le, "UTF-16"},
    {kUtf16Be, "UTF-16BE"}, {kLatin1, "ISO-8859-1"},
};

}  // namespace

const uint8_t Zstdlib_cp_size[8] = {1, 1, 1, 2, 4, 2, 4, 1};

int32_t ZCOBOLCharSetToUTF8(const char *text, int32_t length, char *buffer, int32_t size) {
    const host::CodePage &page = host::code_page();
    const size_t n = text_bytes(text, length);
    Output out(buffer, size);
    size_t i = 0;
    while (i < n) {
        if (page.is_ascii) {
            size_t run = host::ascii_run(text + i, n - i);
            out.run(text + i, run);
            i += run;
            if (i == n)
                break;
        }
        Decoded character = host::decode(page, text + i, n - i);
        put_utf8(out, character.point);
        i += character.bytes;
    }
    return out.finish(1);
}

int32_t ZUTF8ToCOBOLCharSet(const char *text, int32_t length, char *buffer, int32_t size) {
    const host::CodePage &page = host::code_page();
    Output out(buffer, size);
    each_utf8(text, text_bytes(text, length), page.is_ascii ? &out : nullptr, [&](char32_t point) {
        char bytes[host::kMaxCharacterBytes];
        out.character(bytes, host::encode(page, point, bytes));
    });
    return out.finish(1);
}

int32_t ZUTF8To16(const char *text, int32_t length, char *buffer, int32_t size, int encoding_type) {
    if (encoding_type != kUtf16Le && encoding_type != kUtf16Be)
        return 0;
    Output out(buffer, size);
    each_utf8(text, text_bytes(text, length), nullptr,
              [&](char32_t point) { put_utf16(out, point, encoding_type == kUtf16Be); });
    return out.finish(2);
}

int32_t ZUTF8ToISO88591(const char *text, int32_t length, char *buffer, int32_t size) {
    Output out(buffer, size);
    each_utf8(text, text_bytes(text, length), &out, [&](char32_t point) {
        char byte = point <= 0xff ? static_cast<char>(point) : '?';
        out.character(&byte, 1);
    });
    return out.finish(1);
}

int Zencoding_name_to_type(const char *name) {
    if (name == nullptr)
        return 0;
    for (const Encoding &encoding : kEncodings) {
        if (strcasecmp(name, encoding.name) == 0)
            return encoding.type;
    }
    return 0;
}

const char *Zencoding_type_to_name(int type) {
    for (const Encoding &encoding : kEncodings) {
        if (encoding.type == type)
            return encoding.name;
    }
    return nullptr;
}

int ZicuBOMIs(const char *bytes, size_t length) {
    struct Mark {
        int type;
        size_t length;
        char bytes[5];
    };
    // The 32-bit mark begins as the 16-bit one does and goes first.
    static constexpr Mark kMarks[] = {
        {kUtf32Le, 4, {'\xff', '\xfe', '\0', '\0'}},
        {kUtf32Be, 4, {'\0', '\0', '\xfe', '\xff'}},
        {kUtf8, 3, {'\xef', '\xbb', '\xbf'}},
        {kUtf16Le, 2, {'\xff', '\xfe'}},
        {kUtf16Be, 2, {'\xfe', '\xff'}},
    };
    for (const Mark &mark : kMarks) {
        if (length >= mark.length && memcmp(bytes, mark.bytes, mark.length) == 0)
            return mark.type;
    }
    return -1;
}

int ZCPByteInc(const char *text, int encoding_type) {
    switch (encoding_type) {
        case kOwn:
            return static_cast<int>(host::character_bytes(text));
        case kUtf8:
            return static_cast<int>(host::decode_utf8(text, strnlen(text, 4)).bytes);
        case kUtf16Le:
        case kUtf16Be: {
            auto high = static_cast<unsigned char>(text[encoding_type == kUtf16Le ? 1 : 0]);
            return high >= 0xd8 && high <= 0xdb ? 4 : 2;
        }
        case kUtf32Le:
        case kUtf32Be:
            return 4;
        default:
            return 1;
    }
}
