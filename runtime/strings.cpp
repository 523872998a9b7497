// SPDX-License-Identifier: MIT
//
// Dynamic strings.  A string is one block, body and text, up to its first
// capacity; a text that outgrows it moves to a block of its own while the body,
// and with it the ZString, stays where it is.
#include "host/strings.h"

#include <bit>
#include <cerrno>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "host/memory.h"
#include "runtime/blocks.h"
#include "runtime/poison.h"

namespace {

// Where each piece begins, for a string that saw a separating append.  A piece
// ends one byte (the newline) before the next one begins, the last at the end.
struct Pieces {
    uint32_t count;
    uint32_t capacity;

    size_t *starts() { return reinterpret_cast<size_t *>(this + 1); }
    const size_t *starts() const { return reinterpret_cast<const size_t *>(this + 1); }
};

constexpr size_t kMaxLength = PTRDIFF_MAX / 2;
constexpr uint32_t kFirstPieces = 6;

}  // namespace

struct ZStringBody {
    // First, for a freed block's link may overwrite it and nothing else: `text`
    // below stays null in a string that was deleted.
    size_t length;
    char *text;
    size_t capacity;  // of the text, terminator not counted
    Pieces *pieces;

    // Behind the body in the same block.
    char *first_text() { return reinterpret_cast<char *>(this + 1); }
    const char *first_text() const { return reinterpret_cast<const char *>(this + 1); }
};

namespace {

void initialise(ZStringBody *body, size_t capacity) {
    body->length = 0;
    body->text = body->first_text();
    body->capacity = capacity;
    body->pieces = nullptr;
    body->text[0] = '\0';
}

// The first capacity rounded up so that the block has no unused tail; 0 when
// there is no such block.
size_t body_size(size_t capacity) {
    constexpr size_t granule = 2 * sizeof(void *);
    if (capacity > kMaxLength) {
        errno = ENOMEM;
        return 0;
    }
    return (sizeof(ZStringBody) + capacity + 1 + granule - 1) / granule * granule;
}

bool owns_text_block(const ZStringBody *body) {
    return body->text != body->first_text();
}

// `body` may be a freed block.
HOST_UNCHECKED bool is_live(const ZStringBody *body) {
    return body->text != nullptr;
}

// Makes room for `more` bytes behind the text; twice what is needed, so that
// appending stays linear.
bool make_room(ZStringBody *body, size_t more) {
    if (more <= body->capacity - body->length) {
        return true;
    }
    if (more > kMaxLength - body->length) {
        errno = ENOMEM;
        return false;
    }
    constexpr size_t least = 8 * sizeof(void *);
    const size_t needed = body->length + more;
    const size_t capacity = (needed < least ? least : needed) * 2 - 1;
    char *old = owns_text_block(body) ? body->text : nullptr;
    auto *text = static_cast<char *>(host::reallocate_beside(body, old, capacity + 1));
    if (text == nullptr) {
        return false;
    }
    if (old == nullptr) {
        memcpy(text, body->text, body->length + 1);
    }
    body->text = text;
    body->capacity = capacity;
    return true;
}

template <class Word>
void copy_ends(char *to, const char *from, size_t n) {
    Word first, last;
    memcpy(&first, from, sizeof(Word));
    memcpy(&last, from + n - sizeof(Word), sizeof(Word));
    memcpy(to, &first, sizeof(Word));
    memcpy(to + n - sizeof(Word), &last, sizeof(Word));
}

struct Sixteen {
    char bytes[16];
};

// Most appends are short, and then a call of memcpy costs more than the moves it
// makes.  The bytes and their copy do not overlap.  n 0 .. 32
void copy_short(char *to, const char *from, size_t n) {
    if (n >= 4) {
        if (n > 16) {
            copy_ends<Sixteen>(to, from, n);
        } else if (n >= 8) {
            copy_ends<uint64_t>(to, from, n);
        } else {
            copy_ends<uint32_t>(to, from, n);
        }
    } else if (n >= 2) {
        copy_ends<uint16_t>(to, from, n);
    } else if (n == 1) {
        *to = *from;
    }
}

constexpr size_t kShort = 32;    // copied where it stands
constexpr size_t kMedium = 256;  // copied in a loop

void put(ZStringBody *body, const void *bytes, size_t n) {
    const size_t length = body->length;
    char *end = body->text + length;
    body->length = length + n;
    if (n > 0) {
        memcpy(end, bytes, n);
    }
    end[n] = '\0';
}

// The bytes may lie in the string's own text, which can move.
bool append_growing(ZStringBody *body, const void *bytes, size_t n, bool after_newline) {
    const uintptr_t offset =
        reinterpret_cast<uintptr_t>(bytes) - reinterpret_cast<uintptr_t>(body->text);
    const bool is_own = offset <= body->length;
    if (!make_room(body, n + (after_newline ? 1 : 0))) {
        return false;
    }
    if (after_newline) {
        put(body, "\n", 1);
    }
    put(body, is_own ? body->text + offset : bytes, n);
    return true;
}

[[gnu::noinline]] int append_long(ZStringBody *body, const char *bytes, size_t n) {
    if (n > body->capacity - body->length) {
        return append_growing(body, bytes, n, false) ? 1 : 0;
    }
    put(body, bytes, n);
    return 1;
}

int append(ZStringBody *body, const char *bytes, size_t n) {
    const size_t length = body->length;
    if (n > kShort || n > body->capacity - length) {
        return append_long(body, bytes, n);
    }
    char *end = body->text + length;
    body->length = length + n;
    copy_short(end, bytes, n);
    end[n] = '\0';
    return 1;
}

#if defined(__SSE2__) && !defined(__SANITIZE_ADDRESS__)

// A bit for each zero byte of the sixteen at `block`, a multiple of sixteen.
unsigned zeros_at(const char *block) {
    const __m128i bytes = _mm_load_si128(reinterpret_cast<const __m128i *>(block));
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_setzero_si128())));
}

// Appends a text of which the bytes before `block` are known not to be zero.
[[gnu::noinline]] int append_text(ZStringBody *body, const char *text, const char *block) {
    const char *limit = block + kMedium;
    unsigned zeros = zeros_at(block);
    while (zeros == 0 && block != limit) {
        block += sizeof(Sixteen);
        zeros = zeros_at(block);
    }
    const auto known = static_cast<size_t>(block - text);
    const size_t n =
        zeros != 0 ? known + static_cast<size_t>(std::countr_zero(zeros)) : known + strlen(block);
    const size_t length = body->length;
    if (n <= kShort || n > kMedium || n > body->capacity - length) {
        return append(body, text, n);
    }
    char *end = body->text + length;
    body->length = length + n;
    for (size_t i = 0; i < n - sizeof(Sixteen); i += sizeof(Sixteen)) {
        memcpy(end + i, text + i, sizeof(Sixteen));
    }
    memcpy(end + n - sizeof(Sixteen), text + n - sizeof(Sixteen), sizeof(Sixteen));
    end[n] = '\0';
    return 1;
}

#endif

uint32_t piece_count(const ZStringBody *body) {
    if (body->pieces != nullptr && body->pieces->count > 0) {
        return body->pieces->count;
    }
    return body->length > 0 ? 1 : 0;
}

// Makes sure that one more border can be noted without asking for memory.
bool reserve_piece(ZStringBody *body) {
    Pieces *pieces = body->pieces;
    // Two, for the text of plain appends becomes the first piece by itself.
    if (pieces != nullptr && pieces->capacity - pieces->count >= 2) {
        return true;
    }
    const uint32_t count = pieces == nullptr ? 0 : pieces->count;
    const uint32_t capacity = count == 0 ? kFirstPieces : count + count / 2;
    if (capacity <= count || capacity > (kMaxLength - sizeof(Pieces)) / sizeof(size_t)) {
        errno = ENOMEM;
        return false;
    }
    pieces = static_cast<Pieces *>(
        host::reallocate_beside(body, pieces, sizeof(Pieces) + capacity * sizeof(size_t)));
    if (pieces == nullptr) {
        return false;
    }
    pieces->count = count;
    pieces->capacity = capacity;
    body->pieces = pieces;
    return true;
}

int add_piece(ZStringBody *body, const char *bytes, size_t n) {
    if (!reserve_piece(body)) {
        return 0;
    }
    const uint32_t before = piece_count(body);
    const size_t start = before > 0 ? body->length + 1 : 0;
    if (n > kMaxLength - 1 || !append_growing(body, bytes, n, before > 0)) {
        return 0;
    }
    Pieces *pieces = body->pieces;
    pieces->starts()[0] = 0;
    pieces->starts()[before] = start;
    pieces->count = before + 1;
    return 1;
}

}  // namespace

ZString ZSTRINGNew(size_t capacity, const char *tag, const char *source) {
    const size_t size = body_size(capacity);
    auto *body = size == 0
                     ? nullptr
                     : static_cast<ZStringBody *>(host::allocate_string_body(size, tag, source));
    if (body != nullptr) {
        initialise(body, size - sizeof(ZStringBody) - 1);
    }
    return body;
}

// A text is measured without a call of strlen, by the sixteen bytes from each
// multiple of sixteen, which never leave its pages.  The sanitizer would object to
// those beside the text.
int ZSTRINGAppend(ZString string, const char *text) {
    if (string == nullptr || text == nullptr) {
        return 0;
    }
#if defined(__SSE2__) && !defined(__SANITIZE_ADDRESS__)
    const uintptr_t before = reinterpret_cast<uintptr_t>(text) % sizeof(Sixteen);
    const char *block = text - before;
    const unsigned zeros = zeros_at(block) >> before;
    return zeros != 0 ? append(string, text, static_cast<size_t>(std::countr_zero(zeros)))
                      : append_text(string, text, block + sizeof(Sixteen));
#else
    return append(string, text, strlen(text));
#endif
}

int ZSTRINGAppendN(ZString string, const void *bytes, size_t n) {
    if (string == nullptr || (bytes == nullptr && n > 0)) {
        return 0;
    }
    return append(string, static_cast<const char *>(bytes), n);
}

ZString ZSTRINGDup(ZString string) {
    if (string == nullptr) {
        return nullptr;
    }
    const size_t size = body_size(string->length);
    auto *copy = size == 0
                     ? nullptr
                     : static_cast<ZStringBody *>(host::allocate_string_body_beside(string, size));
    if (copy == nullptr) {
        return nullptr;
    }
    initialise(copy, size - sizeof(ZStringBody) - 1);
    if (string->pieces != nullptr && string->pieces->count > 0) {
        const uint32_t count = string->pieces->count;
        const size_t bytes = sizeof(Pieces) + (count + 2) * sizeof(size_t);
        copy->pieces = static_cast<Pieces *>(host::allocate_beside(string, bytes));
        if (copy->pieces == nullptr) {
            ZSTRINGDelete(copy);
            return nullptr;
        }
        copy->pieces->count = count;
        copy->pieces->capacity = count + 2;
        memcpy(copy->pieces->starts(), string->pieces->starts(), count * sizeof(size_t));
    }
    append(copy, string->text, string->length);
    return copy;
}

void ZSTRINGDelete(ZString string) {
    if (string == nullptr) {
        return;
    }
    if (owns_text_block(string)) {
        Zfree(string->text);
    }
    Zfree(string->pieces);
    string->text = nullptr;
    Zfree(string);
}

const char *ZStringGet(ZString string) {
    return string == nullptr ? "" : string->text;
}

size_t ZStringGetLength(ZString string) {
    return string == nullptr ? 0 : string->length;
}

void ZStringClear(ZString string) {
    if (string == nullptr) {
        return;
    }
    string->length = 0;
    string->text[0] = '\0';
    if (string->pieces != nullptr) {
        string->pieces->count = 0;
    }
}

void ZStringRemoveRight(ZString string, size_t n) {
    if (n == 0) {
        return;  // also to a string that is one empty piece
    }
    if (n >= ZStringGetLength(string)) {
        ZStringClear(string);
        return;
    }
    string->length -= n;
    string->text[string->length] = '\0';
    if (string->pieces != nullptr) {
        Pieces *pieces = string->pieces;
        while (pieces->count > 0 && pieces->starts()[pieces->count - 1] > string->length) {
            --pieces->count;
        }
    }
}

int ZStringCompareHH(ZString a, ZString b) {
    const size_t a_length = ZStringGetLength(a);
    const size_t b_length = ZStringGetLength(b);
    const size_t shorter = a_length < b_length ? a_length : b_length;
    const int order = memcmp(ZStringGet(a), ZStringGet(b), shorter);
    if (order != 0) {
        return order < 0 ? -1 : 1;
    }
    return a_length < b_length ? -1 : a_length > b_length;
}

int ZIsAString(const void *target) {
    return host::is_string_body(target) && is_live(static_cast<const ZStringBody *>(target)) ? 1
                                                                                             : 0;
}

int ZSTRINGAddNSPChar(ZString string, const char *piece) {
    return string == nullptr || piece == nullptr ? 0 : add_piece(string, piece, strlen(piece));
}

int ZSTRINGAddNSString(ZString string, ZString piece) {
    return string == nullptr || piece == nullptr ? 0
                                                 : add_piece(string, piece->text, piece->length);
}

uint32_t ZStringCountNSStrings(ZString string) {
    return string == nullptr ? 0 : piece_count(string);
}

const char *ZStringGetNSPiece(ZString string, uint32_t i, size_t *length) {
    const uint32_t count = ZStringCountNSStrings(string);
    if (i >= count) {
        if (length != nullptr) {
            *length = 0;
        }
        return nullptr;
    }
    size_t start = 0;
    size_t end = string->length;
    if (string->pieces != nullptr && string->pieces->count > 0) {
        start = string->pieces->starts()[i];
        if (i + 1 < count) {
            end = string->pieces->starts()[i + 1] - 1;
        }
    }
    if (length != nullptr) {
        *length = end - start;
    }
    return string->text + start;
}

void Zspace_info(const char *text, size_t length, size_t *first, size_t *end) {
    const auto is_blank = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
    size_t start = 0;
    while (start < length && is_blank(text[start])) {
        ++start;
    }
    if (start == length) {
        *first = *end = 0;
        return;
    }
    size_t stop = length;
    while (is_blank(text[stop - 1])) {
        --stop;
    }
    *first = start;
    *end = stop;
}
