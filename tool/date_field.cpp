// SPDX-License-Identifier: MIT
#include "tool/date_field.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string_view>

#include "host/data.h"
#include "tool/columns.h"
#include "tool/failure.h"
#include "tool/whole_number.h"
#include "tool/words.h"

namespace tool {

namespace {

constexpr uint16_t kAlphanumeric = 16;
constexpr uint16_t kDisplay = 1;

struct StorageRow {
    const char *name;
    uint16_t type;
    uint32_t size;
};

constexpr StorageRow kStorages[] = {
    {"display", 1, 0},          {"display-trailing-separate", 2, 0},
    {"display-trailing", 3, 0}, {"display-leading-separate", 4, 0},
    {"display-leading", 5, 0},  {"packed", 8, 0},
    {"comp-3", 8, 0},           {"packed-signed", 9, 0},
    {"comp-6", 10, 0},          {"comp", 12, 0},
    {"comp-signed", 11, 0},     {"comp-5", 14, 0},
    {"comp-5-signed", 13, 0},   {"comp-1", 23, 4},
    {"comp-2", 23, 8},          {"alphanumeric", 16, 0},
    {"justified", 17, 0},       {"alphabetic", 18, 0},
    {"group", 22, 0},           {"national", 24, 0},
};

// Bytes of a field with `digits` digits or characters.
uint32_t size_of(uint16_t type, uint32_t digits) {
    switch (type) {
        case 2:
        case 4:
        case 6:
            return digits + 1;
        case 8:
        case 9:
            return digits / 2 + 1;
        case 10:
            return (digits + 1) / 2;
        case 11:
        case 12:
        case 13:
        case 14:
        case 30:
        case 31:
        case 32:
        case 33:
            return digits <= 4 ? 2 : digits <= 9 ? 4 : digits <= 18 ? 8 : 16;
        case 23:
            return 8;
        case 24:
        case 25:
        case 26:
        case 35:
        case 37:
        case 39:
            return 2 * digits;
        case 36:
        case 38:
            return 2 * (digits + 1);
        default:
            return digits;
    }
}

ZArgument argument_of(const void *bytes, size_t size, uint16_t type, size_t digits) {
    return {reinterpret_cast<uintptr_t>(bytes),
            static_cast<uint32_t>(size),
            type,
            static_cast<uint8_t>(std::min<size_t>(digits, 255)),
            0,
            0};
}

bool is_visible(unsigned char byte) {
    return byte >= 0x20 && byte <= 0x7E;
}

int hex_digit(char c) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    const char lower = c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
    const size_t at = kDigits.find(lower);
    return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

std::string counted(size_t n, const char *thing) {
    return std::to_string(n) + " " + thing + (n == 1 ? "" : "s");
}

}  // namespace

Storage storage_of(const std::string &name) {
    const auto *row = std::find_if(std::begin(kStorages), std::end(kStorages),
                                   [&](const StorageRow &r) { return name == r.name; });
    if (row != std::end(kStorages)) {
        return {row->type, row->size, 0};
    }
    constexpr int32_t kLastCode = 39;
    if (!name.empty() && name.find_first_not_of("0123456789") == std::string::npos) {
        return {static_cast<uint16_t>(whole_number("--type", name, 0, kLastCode)), 0, 0};
    }
    throw Failure("--type " + name + ": is no storage; a code from 0 to 39 or one of " +
                  storage_names() + " would be right");
}

std::string storage_names() {
    std::string names;
    for (const StorageRow &row : kStorages) {
        names += (names.empty() ? "" : " ") + std::string(row.name);
    }
    return names;
}

bool DateField::holds_display() const {
    return type_ >= 1 && type_ <= 5;
}

bool DateField::holds_national() const {
    return (type_ >= 24 && type_ <= 26) || (type_ >= 35 && type_ <= 39);
}

bool DateField::holds_text() const {
    return !is_numeric_type(type_) && !holds_national();
}

DateField::DateField(const Storage &storage, size_t characters) : type_(storage.type) {
    const auto wanted = static_cast<uint32_t>(characters);
    const uint32_t digits = storage.digits != 0 ? storage.digits : wanted;
    bytes_.resize(storage.size != 0 ? storage.size : size_of(type_, digits));
    if (is_numeric_type(type_)) {
        digits_ = static_cast<uint8_t>(std::min<uint32_t>(digits, 255));
    }
}

XfdArgument DateField::argument() {
    return argument_of(bytes_.data(), bytes_.size(), type_, digits_);
}

void DateField::set_text(const std::string &text) {
    // Display fields may hold any characters, blanks or decade letters.
    if (holds_display() && text.size() == bytes_.size()) {
        std::copy(text.begin(), text.end(), bytes_.begin());
        return;
    }
    const bool is_cut =
        !is_numeric_type(type_) && text.size() * (holds_national() ? 2 : 1) > bytes_.size();
    const ZArgument source = argument_of(text.data(), text.size(), kAlphanumeric, 0);
    const ZArgument dest = argument();
    if (!is_cut && ZconvertData(&dest, &source, 1, nullptr) != 0) {
        return;
    }
    if (is_cut || !holds_display() || text.size() > bytes_.size()) {
        throw Failure("\"" + text + "\" does not fit into the field (" + in_words() +
                      "); --hex takes the bytes of a field as they are");
    }
    std::fill(std::copy(text.begin(), text.end(), bytes_.begin()), bytes_.end(), ' ');
}

void DateField::set_hex(const std::string &hex, uint32_t size) {
    std::vector<unsigned char> bytes;
    std::string digits = hex;
    digits.erase(std::remove(digits.begin(), digits.end(), ' '), digits.end());
    bool is_hex = digits.size() % 2 == 0 && !digits.empty();
    for (size_t i = 0; is_hex && i < digits.size(); i += 2) {
        const int high = hex_digit(digits[i]);
        const int low = hex_digit(digits[i + 1]);
        is_hex = high >= 0 && low >= 0;
        bytes.push_back(static_cast<unsigned char>(is_hex ? high * 16 + low : 0));
    }
    if (!is_hex || (size != 0 && bytes.size() != size)) {
        throw Failure("--hex \"" + hex + "\": two hexadecimal digits a byte, of " +
                      (size != 0 ? counted(size, "byte") : "at least one byte") +
                      ", would be right");
    }
    bytes_ = std::move(bytes);
}

std::optional<std::string> DateField::text() const {
    if (holds_text() || holds_display()) {
        return std::string(bytes_.begin(), bytes_.end());
    }
    const size_t characters = is_numeric_type(type_) ? digits_ : bytes_.size() / 2;
    std::string text(characters, '\0');
    const ZArgument source = argument_of(bytes_.data(), bytes_.size(), type_, digits_);
    const ZArgument dest =
        argument_of(text.data(), text.size(), is_numeric_type(type_) ? kDisplay : kAlphanumeric, 0);
    if (ZconvertData(&dest, &source, 1, nullptr) == 0) {
        return std::nullopt;
    }
    return text;
}

bool DateField::is_plain_text() const {
    return (holds_text() || holds_display()) && !bytes_.empty() &&
           std::all_of(bytes_.begin(), bytes_.end(), is_visible) && bytes_.front() != ' ' &&
           bytes_.back() != ' ';
}

std::string DateField::hex() const {
    std::string text;
    for (const unsigned char byte : bytes_) {
        char digits[4];
        snprintf(digits, sizeof digits, "%02X", byte);
        text += (text.empty() ? "" : " ") + std::string(digits);
    }
    return text;
}

std::string DateField::in_words() const {
    return type_in_words(type_) +
           (digits_ != 0 ? ", " + counted(digits_, "digit") : std::string()) + ", " +
           counted(bytes_.size(), "byte");
}

}  // namespace tool
