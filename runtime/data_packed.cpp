// SPDX-License-Identifier: MIT
//
// Packed decimal: two digits a byte (types 8, 9, 10).  A storage is walked in
// words of eight bytes, sixteen digits at a time; the first word takes what the
// size leaves over.
#include "runtime/nibbles.h"
#include "runtime/storage.h"

namespace host {
namespace {

constexpr uint8_t kMinusNibble = 13;
constexpr uint8_t kOtherMinusNibble = 11;
constexpr uint8_t kUnsignedNibble = 15;
constexpr uint32_t kMaxBytes = kMaxPositions / 2;

}  // namespace

bool read_packed(const ZArgument &from, const Layout &layout, const Settings & /*settings*/,
                 Decimal &value) {
    const uint32_t size = from.a_size;
    if (size == 0 || size > kMaxBytes) {
        return false;
    }
    const uint8_t *bytes = bytes_of(from);
    const uint8_t sign = bytes[size - 1] & 0x0F;
    char *digits = value.start(2 * size - (layout.has_sign_nibble ? 1 : 0), from.a_scale);
    if (layout.has_sign_nibble) {
        if (sign < 10) {
            return false;
        }
        value.negative = layout.is_signed && (sign == kMinusNibble || sign == kOtherMinusNibble);
    }
    const uint64_t sign_mask = layout.has_sign_nibble ? 0x0F : 0;

    const uint32_t first = (size - 1) % 8 + 1;
    uint64_t word = load_partial(bytes, first);
    bool bad = false;
    char *to = digits;
    for (uint32_t done = first; done < size; done += 8) {
        bad |= spread_sixteen(to, word) == kNoDigits;
        to += 16;
        word = load_big_endian<uint64_t>(bytes + done);
    }
    bad |= spread_sixteen(to, word & ~sign_mask) == kNoDigits;
    value.digits = digits + 2 * (8 - first);
    return !bad;
}

bool write_packed(const ZArgument &to, const Layout &layout, const Settings &settings,
                  const Decimal &value) {
    const uint32_t size = to.a_size;
    if (size == 0 || size > kMaxBytes) {
        return false;
    }
    // The characters of all half bytes, with zeros in front up to whole words.
    char characters[2 * kMaxBytes + 16];
    const uint32_t padding = 2 * (7 - (size - 1) % 8);
    const uint32_t positions = 2 * size - (layout.has_sign_nibble ? 1 : 0);
    const Window window{padding + positions, usable_digits(to, positions), to.a_scale};
    const bool fits = align_digits(value, window, characters);
    if (layout.has_sign_nibble) {
        uint8_t sign = layout.is_signed ? settings.packed_plus : kUnsignedNibble;
        if (layout.is_signed && value.negative && !all_zeros(characters, window.positions)) {
            sign = kMinusNibble;
        }
        characters[window.positions] = static_cast<char>(sign);
    }
    uint8_t packed[kMaxBytes];
    const uint32_t padded_size = size + padding / 2;
    for (uint32_t i = 0; i < padded_size; i += 4) {
        store(packed + i,
              from_big_endian(gather_eight(load_big_endian<uint64_t>(characters + 2 * i))));
    }
    copy_short(reinterpret_cast<char *>(bytes_of(to)), packed + padding / 2, size);
    return fits;
}

}  // namespace host
