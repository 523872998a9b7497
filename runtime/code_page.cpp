// SPDX-License-Identifier: MIT
//
// The program's code page.  Latin-1, UTF-8 and the usual single-byte pages are
// built in; others come from the C library's iconv.  Such a page is probed once,
// when it is made: which bytes are characters, which begin longer ones, and
// which may follow those.  Pages with shift states are not offered, for there a
// byte means nothing by itself.
#include "runtime/code_page.h"

#include <errno.h>
#include <iconv.h>
#include <stdio.h>
#include <wchar.h>

#include <algorithm>
#include <iterator>

#include "host/charset.h"
#include "runtime/charset_tables.h"
#include "runtime/error_state.h"
#include "runtime/owner.h"
#include "runtime/variables.h"

namespace host {
namespace {

constexpr int kLatin1Number = 28591;
constexpr int kUtf8Number = 65001;

constexpr CodePage kLatin1Page = {CodePage::Kind::kLatin1, true, nullptr};
constexpr CodePage kUtf8Page = {CodePage::Kind::kUtf8, true, nullptr};

// From code points to the bytes of a single-byte page: one row a high byte.
class Reverse {
 public:
    // False, and no change, when the characters are spread over too many rows.
    bool build(const uint16_t *meaning) {
        bool seen[256] = {};
        for (int byte = 0; byte < 256; ++byte)
            seen[meaning[byte] >> 8] = true;
        if (std::count(std::begin(seen), std::end(seen), true) >= static_cast<ptrdiff_t>(kRows))
            return false;
        memset(row_of_, 0, sizeof row_of_);
        memset(rows_, 0, sizeof rows_);
        rows_used_ = 1;
        // Backwards, so that of two bytes with one meaning the lower one counts.
        for (int byte = 255; byte >= 0; --byte) {
            uint8_t &row = row_of_[meaning[byte] >> 8];
            if (row == 0)
                row = static_cast<uint8_t>(rows_used_++);
            rows_[row][meaning[byte] & 0xff] = static_cast<uint8_t>(byte);
        }
        return true;
    }

    // 0 for a point that the page does not hold.
    uint8_t find(char32_t point) const {
        return point > 0xffff ? uint8_t{0} : rows_[row_of_[point >> 8]][point & 0xff];
    }

 private:
    static constexpr size_t kRows = 32;
    uint8_t row_of_[256];
    uint8_t rows_[kRows][256];  // row 0 stays empty
    size_t rows_used_;
};

class Converter {
 public:
    // Both are open, or neither is.
    bool open(const char *name) {
        to_points_ = iconv_open("WCHAR_T", name);
        if (to_points_ == kNone)
            return false;
        from_points_ = iconv_open(name, "WCHAR_T");
        if (from_points_ != kNone)
            return true;
        iconv_close(to_points_);
        to_points_ = kNone;
        return false;
    }

    void close() {
        iconv_close(to_points_);
        iconv_close(from_points_);
    }

    enum class Result { kCharacter, kIncomplete, kNoCharacter, kShift };

    // The first character of n bytes.
    Result read(const char *text, size_t n, Decoded *character) const {
        iconv(to_points_, nullptr, nullptr, nullptr, nullptr);
        char *in = const_cast<char *>(text);
        size_t in_left = n;
        wchar_t point = 0;
        char *out = reinterpret_cast<char *>(&point);
        size_t out_left = sizeof point;
        size_t done = iconv(to_points_, &in, &in_left, &out, &out_left);
        int cause = done == static_cast<size_t>(-1) ? errno : 0;
        if (out_left != 0 && cause != EILSEQ) {
            // Some pages hold a character back until they see that nothing combines with it.
            iconv(to_points_, nullptr, nullptr, &out, &out_left);
        }
        if (out_left == 0 && in_left < n) {
            *character = {static_cast<char32_t>(point), n - in_left};
            return Result::kCharacter;
        }
        return cause == EINVAL ? Result::kIncomplete
               : cause == 0    ? Result::kShift
                               : Result::kNoCharacter;
    }

    // The character's bytes, 0 when the page does not hold it.
    size_t write(char32_t point, char *bytes) const {
        iconv(from_points_, nullptr, nullptr, nullptr, nullptr);
        auto wide = static_cast<wchar_t>(point);
        char *in = reinterpret_cast<char *>(&wide);
        size_t in_left = sizeof wide;
        char *out = bytes;
        size_t out_left = kMaxCharacterBytes;
        if (iconv(from_points_, &in, &in_left, &out, &out_left) != 0 ||
            iconv(from_points_, nullptr, nullptr, &out, &out_left) != 0)
            return 0;
        return kMaxCharacterBytes - out_left;
    }

 private:
    static inline const iconv_t kNone = reinterpret_cast<iconv_t>(intptr_t{-1});
    iconv_t to_points_;
    iconv_t from_points_;
};

// A page of the C library.
struct LibraryPage {
    int number;
    CodePage page;
    Converter converter;
    bool has_long;    // characters of more than two bytes
    bool lead[256];   // begins a longer character
    bool trail[256];  // can be the second byte of one
    uint16_t meaning[256];
};

const CodePage *current = &kLatin1Page;
int current_number = kLatin1Number;

// Of the single-byte page that was current last.
Reverse reverse;
int reverse_number;

// Kept while UTF-8 is current, because a parser switches there and back for
// every piece of its input.
LibraryPage *library_page;

CodePage single_page;

const SinglePage *find_single(int number) {
    const auto *end = std::end(kSinglePages);
    const auto *page = std::find_if(std::begin(kSinglePages), end,
                                    [&](const SinglePage &p) { return p.number == number; });
    return page == end ? nullptr : page;
}

bool is_ascii(const uint16_t *meaning) {
    for (int byte = 0; byte < 128; ++byte) {
        if (meaning[byte] != byte)
            return false;
    }
    return true;
}

bool open_library_converter(int number, Converter *converter) {
    struct Named {
        int number;
        const char *name;
    };
    static constexpr Named kNamed[] = {
        {20127, "ASCII"},  {20866, "KOI8-R"}, {21866, "KOI8-U"},  {51932, "EUC-JP"},
        {51936, "EUC-CN"}, {51949, "EUC-KR"}, {54936, "GB18030"},
    };
    for (const Named &named : kNamed) {
        if (named.number == number)
            return converter->open(named.name);
    }
    char name[32];
    if (number > 28590 && number <= 28606) {
        snprintf(name, sizeof name, "ISO-8859-%d", number - 28590);
        return converter->open(name);
    }
    if (number < 1 || number > 65535)
        return false;
    for (const char *form : {"CP%03d", "IBM%03d"}) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
        snprintf(name, sizeof name, form, number);
#pragma GCC diagnostic pop
        if (converter->open(name))
            return true;
    }
    return false;
}

// Learns what single bytes mean.  False for a page with shift states, and for
// one whose zero byte is not the end of a text.
bool probe_bytes(LibraryPage *page) {
    page->has_long = false;
    memset(page->trail, 0, sizeof page->trail);
    bool any_lead = false;
    for (int byte = 0; byte < 256; ++byte) {
        char text = static_cast<char>(byte);
        Decoded character{};
        Converter::Result result = page->converter.read(&text, 1, &character);
        page->lead[byte] = result == Converter::Result::kIncomplete;
        page->meaning[byte] = static_cast<uint16_t>(byte);
        any_lead = any_lead || page->lead[byte];
        if (result == Converter::Result::kCharacter) {
            if (character.point > 0xffff)
                return false;
            page->meaning[byte] = static_cast<uint16_t>(character.point);
        } else if (result == Converter::Result::kShift) {
            return false;
        }
    }
    page->page.kind = any_lead ? CodePage::Kind::kMulti : CodePage::Kind::kSingle;
    page->page.meaning = page->meaning;
    page->page.is_ascii = is_ascii(page->meaning);
    return page->meaning[0] == 0 && !page->lead[0];
}

void probe_trails(LibraryPage *page) {
    for (int lead = 0; lead < 256; ++lead) {
        if (!page->lead[lead])
            continue;
        for (int trail = 1; trail < 256; ++trail) {
            const char text[2] = {static_cast<char>(lead), static_cast<char>(trail)};
            Decoded character{};
            Converter::Result result = page->converter.read(text, 2, &character);
            bool longer = result == Converter::Result::kIncomplete;
            page->has_long = page->has_long || longer;
            if (longer || (result == Converter::Result::kCharacter && character.bytes == 2))
                page->trail[trail] = true;
        }
    }
}

void discard(LibraryPage *page) {
    page->converter.close();
    Zfree(page);
}

LibraryPage *make_library_page(int number) {
    Block<LibraryPage> page(Zmalloc(sizeof(LibraryPage), "code page", "runtime/code_page"));
    if (!page) {
        refuse_memory();
        return nullptr;
    }
    if (!open_library_converter(number, &page->converter))
        return nullptr;
    page->number = number;
    if (!probe_bytes(page.get())) {
        page->converter.close();
        return nullptr;
    }
    if (page->page.kind == CodePage::Kind::kMulti)
        probe_trails(page.get());
    return page.release();
}

void release_library_page() {
    if (library_page == nullptr)
        return;
    discard(library_page);
    library_page = nullptr;
}

bool use_reverse(int number, const uint16_t *meaning) {
    if (reverse_number != number && !reverse.build(meaning))
        return false;
    reverse_number = number;
    return true;
}

bool switch_to_library_page(int number) {
    if (library_page == nullptr || library_page->number != number) {
        LibraryPage *page = make_library_page(number);
        if (page == nullptr)
            return false;
        release_library_page();
        library_page = page;
    }
    if (library_page->page.kind == CodePage::Kind::kSingle)
        use_reverse(number, library_page->meaning);
    current = &library_page->page;
    return true;
}

}  // namespace

const CodePage &code_page() {
    start_variables();
    return *current;
}

int code_page_number() {
    start_variables();
    return current_number;
}

bool switch_code_page(int number) {
    if (number == current_number)
        return true;
    if (number == kUtf8Number) {
        current = &kUtf8Page;
    } else if (number == kLatin1Number) {
        current = &kLatin1Page;
        release_library_page();
    } else if (const SinglePage *known = find_single(number); known != nullptr) {
        use_reverse(number, known->meaning);
        single_page = {CodePage::Kind::kSingle, is_ascii(known->meaning), known->meaning};
        current = &single_page;
        release_library_page();
    } else if (!switch_to_library_page(number)) {
        return false;
    }
    current_number = number;
    return true;
}

Decoded decode(const CodePage &page, const char *text, size_t n) {
    const auto byte = static_cast<unsigned char>(*text);
    switch (page.kind) {
        case CodePage::Kind::kLatin1:
            return {byte, 1};
        case CodePage::Kind::kUtf8:
            return decode_utf8(text, n);
        case CodePage::Kind::kSingle:
            return {page.meaning[byte], 1};
        case CodePage::Kind::kMulti:
            break;
    }
    if (!library_page->lead[byte])
        return {page.meaning[byte], 1};
    Decoded character{};
    if (library_page->converter.read(text, std::min(n, kMaxCharacterBytes), &character) ==
        Converter::Result::kCharacter)
        return character;
    return {byte, 1};
}

size_t encode(const CodePage &page, char32_t point, char *bytes) {
    bytes[0] = '?';
    switch (page.kind) {
        case CodePage::Kind::kLatin1:
            if (point <= 0xff)
                bytes[0] = static_cast<char>(point);
            return 1;
        case CodePage::Kind::kUtf8:
            return encode_utf8(point, bytes);
        case CodePage::Kind::kSingle:
            bytes[0] = static_cast<char>(reverse.find(reverse.find(point) != 0 ? point : U'?'));
            return 1;
        case CodePage::Kind::kMulti:
            break;
    }
    if (size_t n = library_page->converter.write(point, bytes); n != 0)
        return n;
    bytes[0] = '?';
    return page.is_ascii ? 1 : std::max(size_t{1}, library_page->converter.write(U'?', bytes));
}

bool code_page_is_multi_byte() {
    CodePage::Kind kind = code_page().kind;
    return kind == CodePage::Kind::kMulti || kind == CodePage::Kind::kUtf8;
}

size_t character_bytes(const char *text) {
    const CodePage &page = code_page();
    if (page.kind == CodePage::Kind::kUtf8)
        return decode_utf8(text, strnlen(text, 4)).bytes;
    if (page.kind != CodePage::Kind::kMulti)
        return 1;
    const LibraryPage &own = *library_page;
    if (!own.lead[static_cast<unsigned char>(text[0])] ||
        !own.trail[static_cast<unsigned char>(text[1])])
        return 1;
    if (!own.has_long)
        return 2;
    // An unassigned pair still is a pair.
    return std::max(size_t{2}, decode(page, text, strnlen(text, kMaxCharacterBytes)).bytes);
}

}  // namespace host

int ZGetCOBOLCharSet() {
    return host::code_page_number();
}

int ZSetCOBOLCharSet(int code_page) {
    int old = host::code_page_number();
    return host::switch_code_page(code_page) ? old : -1;
}
