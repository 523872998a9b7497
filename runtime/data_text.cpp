// SPDX-License-Identifier: MIT
//
// Characters: numbers written as text and read from it, and text moved to text
// (types 0, 16 to 20, 22, national 24 to 26, and every code without a row).
#include "host/charset.h"
#include "host/memory.h"
#include "runtime/storage.h"
#include "runtime/unicode.h"

namespace host {
namespace {

constexpr int kUtf8 = 2;
constexpr int kUtf16LittleEndian = 3;
constexpr int kUtf16BigEndian = 5;

template <bool kNational>
struct Characters {
    const uint8_t *bytes;
    uint32_t count;

    explicit Characters(const ZArgument &argument)
        : bytes(bytes_of(argument)), count(kNational ? argument.a_size / 2 : argument.a_size) {}

    uint32_t operator[](uint32_t i) const {
        return kNational ? load<uint16_t>(bytes + size_t{2} * i) : bytes[i];
    }
    bool is_digit(uint32_t i) const { return (*this)[i] - '0' <= 9; }
    uint32_t skip(uint32_t i, uint32_t end, uint32_t character) const {
        while (i < end && (*this)[i] == character) {
            ++i;
        }
        return i;
    }
    uint32_t skip_digits(uint32_t i) const {
        while (i < count && is_digit(i)) {
            ++i;
        }
        return i;
    }
};

// Collects the digits of a text: zeros in front are dropped, and so is what no
// storage can hold.
class Collector {
 public:
    explicit Collector(Decimal &value) : value_(value), room_(value.start(0, 0)) {}

    template <typename Text>
    void whole(const Text &text, uint32_t begin, uint32_t end) {
        begin = text.skip(begin, end, '0');
        if (end - begin > kMaxWholeDigits) {
            value_.lost_high_digit = true;
            begin = end - kMaxWholeDigits;
        }
        for (; begin < end; ++begin) {
            room_[value_.count++] = static_cast<char>(text[begin]);
        }
    }

    template <typename Text>
    void fraction(const Text &text, uint32_t begin, uint32_t end) {
        const uint32_t point = begin;
        if (value_.count == 0) {
            begin = text.skip(begin, end, '0');
            if (begin - point > kMaxWholeDigits) {
                return;  // too small for a digit of any storage
            }
        }
        uint32_t kept = end - begin;
        if (kept > kMaxDigits - value_.count) {
            kept = kMaxDigits - value_.count;
        }
        for (uint32_t i = 0; i < kept; ++i) {
            room_[value_.count++] = static_cast<char>(text[begin + i]);
        }
        value_.exponent = -static_cast<int32_t>(begin - point + kept);
        // What is dropped here only tells a tie from a number just above it.
        if (text.skip(begin + kept, end, '0') < end) {
            room_[value_.count++] = '1';
            --value_.exponent;
        }
    }

    void finish() {
        if (value_.count == 0) {
            room_[value_.count++] = '0';
            value_.exponent = 0;
        }
    }

 private:
    Decimal &value_;
    char *room_;
};

template <bool kNational>
bool parse_text(const ZArgument &from, char point, Decimal &value) {
    const Characters<kNational> text(from);
    uint32_t at = text.skip(0, text.count, ' ');
    if (at == text.count) {
        return false;
    }
    const bool negative = text[at] == '-';
    if (negative || text[at] == '+') {
        ++at;
    }
    const uint32_t whole = at;
    const uint32_t whole_end = at = text.skip_digits(at);
    uint32_t fraction = at;
    if (at < text.count && text[at] == static_cast<uint8_t>(point)) {
        fraction = at + 1;
        at = text.skip_digits(fraction);
    }
    const uint32_t fraction_end = at;
    const bool has_digit = whole_end > whole || fraction_end > fraction;
    if (!has_digit || text.skip(at, text.count, ' ') != text.count) {
        return false;
    }
    Collector collector(value);
    value.negative = negative;
    collector.whole(text, whole, whole_end);
    collector.fraction(text, fraction, fraction_end);
    collector.finish();
    return true;
}

// Sign, up to 256 + 127 or 309 whole digits, or zero, point and 342 decimals.
constexpr uint32_t kMaxNumberText = 512;

uint32_t print_number(const Decimal &value, char point, char *to) {
    const char *digits = value.digits;
    uint32_t count = value.count;
    while (count > 1 && *digits == '0') {
        ++digits;
        --count;
    }
    const bool is_zero = count == 1 && *digits == '0';
    char *at = to;
    if (value.negative && !is_zero) {
        *at++ = '-';
    }
    if (value.exponent >= 0) {
        copy_short(at, digits, count);
        at += count;
        if (!is_zero) {
            fill_zeros(at, static_cast<uint32_t>(value.exponent));
            at += value.exponent;
        }
        return static_cast<uint32_t>(at - to);
    }
    const auto decimals = static_cast<uint32_t>(-value.exponent);
    if (count > decimals) {
        copy_short(at, digits, count - decimals);
        at += count - decimals;
        digits += count - decimals;
        count = decimals;
    } else {
        *at++ = '0';
    }
    *at++ = point;
    fill_zeros(at, decimals - count);
    at += decimals - count;
    copy_short(at, digits, count);
    return static_cast<uint32_t>(at + count - to);
}

// Working memory of a text move: on the stack while it is short.
class Scratch {
 public:
    Scratch() = default;
    Scratch(const Scratch &) = delete;
    Scratch &operator=(const Scratch &) = delete;
    ~Scratch() { Zfree(block_); }

    uint8_t *get(size_t size) {
        if (size <= sizeof near_) {
            return near_;
        }
        block_ = Zmalloc(size, "Text conversion", "runtime/data_text");
        return static_cast<uint8_t *>(block_);
    }

 private:
    uint8_t near_[1024];
    void *block_ = nullptr;
};

// Places text in a field: cut or padded on the right, or on the left when the
// field is justified right.  The areas may overlap.
void place(const ZArgument &to, const Layout &layout, const uint8_t *text, size_t size) {
    const size_t unit = layout.is_national ? 2 : 1;
    const size_t room = to.a_size - to.a_size % unit;
    uint8_t *field = bytes_of(to);
    const size_t copied = size < room ? size : room;
    const size_t padding = room - copied;
    if (copied > 0) {
        std::memmove(field + (layout.right_justified ? padding : 0),
                     text + (layout.right_justified ? size - copied : 0), copied);
    }
    uint8_t *blanks = field + (layout.right_justified ? 0 : copied);
    if (!layout.is_national) {
        if (padding > 0) {
            std::memset(blanks, ' ', padding);
        }
        return;
    }
    for (size_t i = 0; i < padding; i += 2) {
        store(blanks + i, uint16_t{' '});
    }
}

// The text service of host/charset.h stops at a zero byte, which in a record is
// a character like any other: this runs it over the pieces between zero bytes.
// Returns the size of the result, of which at most room bytes are written.
template <typename Convert>
size_t convert_pieces(const uint8_t *text, size_t size, uint8_t *to, size_t room, size_t zero_size,
                      Convert convert) {
    size_t needed = 0;
    const uint8_t *end = text + size;
    while (text < end) {
        const void *zero = std::memchr(text, 0, static_cast<size_t>(end - text));
        const uint8_t *piece_end = zero == nullptr ? end : static_cast<const uint8_t *>(zero);
        if (piece_end > text) {
            const size_t left = needed < room ? room - needed : 0;
            const int32_t written = convert(
                reinterpret_cast<const char *>(text), static_cast<int32_t>(piece_end - text),
                left == 0 ? nullptr : reinterpret_cast<char *>(to + needed),
                static_cast<int32_t>(left));
            needed += written > 0 ? static_cast<size_t>(written) : 0;
        }
        text = piece_end;
        if (text < end) {
            for (size_t i = 0; i < zero_size; ++i, ++needed) {
                if (needed < room) {
                    to[needed] = 0;
                }
            }
            ++text;
        }
    }
    return needed;
}

constexpr uint32_t kMaxMovedText = INT32_MAX / 16;

// National characters to UTF-8; half a surrogate pair becomes "?".
size_t utf8_of_national(const ZArgument &from, uint8_t *to) {
    const Characters<true> text(from);
    uint8_t *at = to;
    for (uint32_t i = 0; i < text.count; ++i) {
        char32_t code = text[i];
        if (code >= 0xD800 && code <= 0xDFFF) {
            const uint32_t low = code < 0xDC00 && i + 1 < text.count ? text[i + 1] : 0;
            if (low >= 0xDC00 && low <= 0xDFFF) {
                code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
                ++i;
            } else {
                code = '?';
            }
        }
        at += encode_utf8(code, reinterpret_cast<char *>(at));
    }
    return static_cast<size_t>(at - to);
}

// A unit of UTF-16 takes at most 3 bytes of UTF-8, a byte of UTF-8 at most 2 of
// a code page.
bool move_from_national(const ZArgument &to, const Layout &layout, const ZArgument &from,
                        const Settings &settings) {
    Scratch utf8_memory;
    Scratch text_memory;
    const size_t utf8_room = size_t{from.a_size} * 3 / 2 + 1;
    uint8_t *utf8 = utf8_memory.get(utf8_room);
    if (utf8 == nullptr) {
        return false;
    }
    const size_t utf8_size = utf8_of_national(from, utf8);
    if (settings.encoding == kUtf8) {
        place(to, layout, utf8, utf8_size);
        return true;
    }
    const size_t text_room = 2 * utf8_size + 1;
    uint8_t *text = text_memory.get(text_room);
    if (text == nullptr) {
        return false;
    }
    const size_t size = convert_pieces(utf8, utf8_size, text, text_room, 1, ZUTF8ToCOBOLCharSet);
    place(to, layout, text, size < text_room ? size : text_room);
    return true;
}

// A byte of a code page takes at most 4 bytes of UTF-8, a byte of UTF-8 at most
// one unit of UTF-16.
bool move_to_national(const ZArgument &to, const Layout &layout, const ZArgument &from,
                      const Settings &settings) {
    Scratch utf8_memory;
    Scratch units_memory;
    const uint8_t *utf8 = bytes_of(from);
    size_t utf8_size = from.a_size;
    if (settings.encoding != kUtf8) {
        const size_t room = size_t{from.a_size} * 4 + 1;
        uint8_t *converted = utf8_memory.get(room);
        if (converted == nullptr) {
            return false;
        }
        utf8_size = convert_pieces(utf8, from.a_size, converted, room, 1, ZCOBOLCharSetToUTF8);
        utf8_size = utf8_size < room ? utf8_size : room;
        utf8 = converted;
    }
    const size_t room = 2 * utf8_size + 2;
    uint8_t *units = units_memory.get(room);
    if (units == nullptr) {
        return false;
    }
    constexpr int kMachineOrder =
        std::endian::native == std::endian::big ? kUtf16BigEndian : kUtf16LittleEndian;
    const size_t size =
        convert_pieces(utf8, utf8_size, units, room, 2,
                       [](const char *text, int32_t length, char *buffer, int32_t left) {
                           return ZUTF8To16(text, length, buffer, left, kMachineOrder);
                       });
    place(to, layout, units, size < room ? size : room);
    return true;
}

}  // namespace

bool read_text(const ZArgument &from, const Layout &layout, const Settings &settings,
               Decimal &value) {
    return layout.is_national ? parse_text<true>(from, settings.point, value)
                              : parse_text<false>(from, settings.point, value);
}

bool write_text(const ZArgument &to, const Layout &layout, const Settings &settings,
                const Decimal &value) {
    char text[kMaxNumberText];
    const uint32_t size = print_number(value, settings.point, text);
    if (size > (layout.is_national ? to.a_size / 2 : to.a_size)) {
        return false;
    }
    if (!layout.is_national) {
        place(to, layout, reinterpret_cast<const uint8_t *>(text), size);
        return true;
    }
    uint8_t units[2 * kMaxNumberText];
    for (uint32_t i = 0; i < size; ++i) {
        store(units + size_t{2} * i, uint16_t{static_cast<uint8_t>(text[i])});
    }
    place(to, layout, units, size_t{2} * size);
    return true;
}

bool move_text(const ZArgument &to, const Layout &to_layout, const ZArgument &from,
               const Layout &from_layout, const Settings &settings) {
    if (to_layout.is_national == from_layout.is_national) {
        const size_t half = to_layout.is_national ? from.a_size % 2 : 0;
        place(to, to_layout, bytes_of(from), from.a_size - half);
        return true;
    }
    if (from.a_size > kMaxMovedText) {
        return false;
    }
    return to_layout.is_national ? move_to_national(to, to_layout, from, settings)
                                 : move_from_national(to, to_layout, from, settings);
}

}  // namespace host
