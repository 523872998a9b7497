// SPDX-License-Identifier: MIT
#include "sql/field_types.h"

#include <array>
#include <bit>

namespace sql {
namespace {

constexpr Storage kBinaryNative =
    std::endian::native == std::endian::little ? Storage::kBinaryLittle : Storage::kBinaryBig;

struct TypeRow {
    uint16_t type;
    Storage storage;
    bool is_signed;
};

constexpr std::array kNumberTypes{
    TypeRow{1, Storage::kDisplay, false},
    TypeRow{2, Storage::kDisplayTrailing, true},
    TypeRow{3, Storage::kDisplayLastDigit, true},
    TypeRow{4, Storage::kDisplayLeading, true},
    TypeRow{5, Storage::kDisplayFirstDigit, true},
    TypeRow{6, Storage::kDigitBytesSigned, true},
    TypeRow{7, Storage::kDigitBytes, false},
    TypeRow{8, Storage::kPackedUnsigned, false},
    TypeRow{9, Storage::kPackedSigned, true},
    TypeRow{10, Storage::kPackedBare, false},
    TypeRow{11, Storage::kBinaryBig, true},
    TypeRow{12, Storage::kBinaryBig, false},
    TypeRow{13, kBinaryNative, true},
    TypeRow{14, kBinaryNative, false},
    TypeRow{30, kBinaryNative, true},
    TypeRow{31, kBinaryNative, false},
    TypeRow{32, Storage::kBinaryLittle, true},
    TypeRow{33, Storage::kBinaryLittle, false},
    TypeRow{35, Storage::kHostNumber, false},
    TypeRow{36, Storage::kHostNumber, true},
    TypeRow{37, Storage::kHostNumber, true},
    TypeRow{38, Storage::kHostNumber, true},
    TypeRow{39, Storage::kHostNumber, true},
};

bool is_binary(Storage storage) {
    return storage == Storage::kBinaryBig || storage == Storage::kBinaryLittle;
}

// Bytes that `digits` digits take in a storage of this layer's own; 0 where
// that is not how the storage is sized.
uint32_t expected_size(Storage storage, uint32_t digits) {
    switch (storage) {
        case Storage::kDisplay:
        case Storage::kDisplayLastDigit:
        case Storage::kDisplayFirstDigit:
        case Storage::kDigitBytes:
            return digits;
        case Storage::kDisplayTrailing:
        case Storage::kDisplayLeading:
        case Storage::kDigitBytesSigned:
            return digits + 1;
        case Storage::kPackedUnsigned:
        case Storage::kPackedSigned:
            return digits / 2 + 1;
        case Storage::kPackedBare:
            return (digits + 1) / 2;
        default:
            return 0;
    }
}

// Digits of the greatest number that fits `bytes` bytes of binary storage.
uint32_t binary_digits(uint32_t bytes, bool is_signed) {
    constexpr std::array<uint8_t, 9> kSigned{1, 3, 5, 7, 10, 12, 15, 17, 18};
    constexpr std::array<uint8_t, 9> kUnsigned{1, 3, 5, 8, 10, 13, 15, 17, 20};
    if (bytes > 8) {
        return 38;
    }
    return (is_signed ? kSigned : kUnsigned)[bytes];
}

Storage text_storage(uint16_t type, uint32_t size) {
    switch (type) {
        case 17:
        case 19:
            return Storage::kTextRight;
        case 24:
        case 26:
            return size % 2 == 0 ? Storage::kNational : Storage::kBytes;
        case 25:
            return size % 2 == 0 ? Storage::kNationalRight : Storage::kBytes;
        case 23:
            return size == 4 || size == 8 ? Storage::kFloat : Storage::kBytes;
        default:
            return Storage::kText;
    }
}

}  // namespace

FieldShape shape_of(const ZArgument &data) {
    for (const TypeRow &row : kNumberTypes) {
        if (row.type != data.a_type) {
            continue;
        }
        FieldShape shape{row.storage, true, row.is_signed, data.a_digits, data.a_scale};
        if (is_binary(row.storage)) {
            if (data.a_size < 1 || data.a_size > 8) {
                shape.storage = Storage::kHostNumber;
            }
            if (shape.digits == 0) {
                shape.digits = binary_digits(data.a_size, row.is_signed);
            }
        } else if (shape.digits < 1 || shape.digits > 18 ||
                   expected_size(row.storage, shape.digits) != data.a_size) {
            shape.storage = Storage::kHostNumber;
        }
        return shape;
    }
    return {text_storage(data.a_type, data.a_size)};
}

bool is_integer(const FieldShape &shape) {
    constexpr int32_t kMaxIntegerDigits = 18;
    return shape.digits > 0 && shape.scale >= 0 &&
           static_cast<int32_t>(shape.digits) + shape.scale <= kMaxIntegerDigits;
}

bool sorts_by_bytes(const FieldShape &shape, const XfdCvtInfo &settings) {
    switch (shape.storage) {
        case Storage::kDisplay:
        case Storage::kDisplayTrailing:
        case Storage::kDisplayLeading:
        case Storage::kDigitBytes:
        case Storage::kDigitBytesSigned:
        case Storage::kPackedUnsigned:
        case Storage::kPackedSigned:
        case Storage::kPackedBare:
        case Storage::kBinaryBig:
            return true;
        case Storage::kDisplayLastDigit:
        case Storage::kDisplayFirstDigit:
            // With sign code 16 the zero "{" sorts behind "A" to "I".
            return settings.cv_sign_code1 != 16;
        default:
            return false;
    }
}

}  // namespace sql
