// SPDX-License-Identifier: MIT
#include "tool/cat_key_range.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "tool/failure.h"
#include "tool/words.h"
#include "wbfsi/accessors.h"

namespace tool {

namespace {

using sql::Value;

// The values of a bound, none for an open one, and where it ends: at "..", or with
// the text.
std::vector<std::string> parse_bound(std::string_view text, size_t *at) {
    if (*at == text.size() || text.substr(*at).starts_with("..")) {
        return {};
    }
    std::vector<std::string> values(1);
    bool is_quoted = false;
    for (; *at < text.size(); ++*at) {
        const char c = text[*at];
        if (c == '"' && is_quoted && text.substr(*at + 1).starts_with('"')) {
            values.back() += c;
            ++*at;
        } else if (c == '"') {
            is_quoted = !is_quoted;
        } else if (is_quoted) {
            values.back() += c;
        } else if (text.substr(*at).starts_with("..")) {
            break;
        } else if (c == ',') {
            values.emplace_back();
        } else {
            values.back() += c;
        }
    }
    if (is_quoted) {
        throw Failure("--key " + std::string(text) +
                      ": a double quote is not closed; inside of quotes \"\" is a quote");
    }
    return values;
}

sql::TableLayout without_conditions(sql::TableLayout layout) {
    for (sql::Field &field : layout.fields) {
        field.condition = 0;
    }
    return layout;
}

bool parse_hex(const std::string &text, std::vector<unsigned char> *out) {
    for (size_t i = 0; i < text.size(); i += 2) {
        unsigned byte = 0;
        const char *end = text.data() + std::min(i + 2, text.size());
        const auto result = std::from_chars(text.data() + i, end, byte, 16);
        if (result.ec != std::errc() || result.ptr != end) {
            return false;
        }
        out->push_back(static_cast<unsigned char>(byte));
    }
    return text.size() % 2 == 0;
}

// The value of a column; texts of numbers and dates are read by the codec.
Value value_of(const sql::Field &field, const std::string &text, std::vector<unsigned char> *room) {
    if (field.type == sql::ColumnType::kReal) {
        double number = 0;
        const char *end = text.data() + text.size();
        const auto result = std::from_chars(text.data(), end, number);
        if (result.ec != std::errc() || result.ptr != end) {
            throw Failure("\"" + text + "\" is no number");
        }
        return Value::real(number);
    }
    if (field.type == sql::ColumnType::kBlob) {
        if (!parse_hex(text, room)) {
            throw Failure("\"" + text + "\" is no hexadecimal digits, two for each byte");
        }
        return Value::blob(*room);
    }
    return Value::text(text);
}

}  // namespace

KeyRange::KeyRange(const sql::TableLayout &layout, size_t key, const std::string &text)
    : layout_(without_conditions(layout)), key_(key), text_(text), codec_(layout_) {
    if (layout_.keys.empty()) {
        throw Failure("--key " + text_ + ": the file has no keys; --records chooses by number");
    }
    if (key_ >= layout_.keys.size()) {
        throw Failure("--key-number " + std::to_string(key_) + ": the file's last key is number " +
                      std::to_string(layout_.keys.size() - 1));
    }
    columns_ = columns_of(*layout_.dictionary);
    size_t at = 0;
    const std::vector<std::string> from = parse_bound(text_, &at);
    from_ = bound(from);
    if (at == text_.size()) {
        to_ = from_;
    } else {
        at += 2;
        to_ = bound(parse_bound(text_, &at));
        if (at != text_.size()) {
            throw Failure("--key " + text_ + ": has \"..\" twice; FROM..TO would be right");
        }
    }
    of_record_.resize(codec_.key_length(key_));
}

std::vector<size_t> KeyRange::columns_of(const Xfd &dictionary) const {
    const XfdKey &key = dictionary.x_key_desc[key_];
    std::vector<size_t> columns;
    for (uint32_t c = 0; c < key.k_n_fields; c++) {
        const uint32_t slot = Z4GetXFDKeyColFieldNum(&key.k_field[c]);
        const auto found = std::ranges::find(layout_.fields, slot, &sql::Field::slot);
        if (found == layout_.fields.end()) {
            break;  // later columns cannot be compared without this one
        }
        columns.push_back(static_cast<size_t>(found - layout_.fields.begin()));
    }
    if (columns.empty()) {
        throw Failure("--key " + text_ + ": the dictionary names no field for the key");
    }
    return columns;
}

// The first bytes of a key that has these values: as far as they reach without a gap.
KeyRange::KeyBytes KeyRange::bound(const std::vector<std::string> &texts) const {
    if (texts.empty()) {
        return {};
    }
    if (texts.size() > columns_.size()) {
        throw Failure("--key " + text_ + ": has " + std::to_string(texts.size()) +
                      " values; the key has " + std::to_string(columns_.size()) +
                      (columns_.size() == 1 ? " column" : " columns"));
    }
    std::vector<Value> values(layout_.fields.size(), Value::absent());
    std::vector<std::vector<unsigned char>> blobs(texts.size());
    std::vector<unsigned char> covered(layout_.max_record, 0);
    for (size_t i = 0; i < texts.size(); i++) {
        const sql::Field &field = layout_.fields[columns_[i]];
        values[columns_[i]] = value_of(field, texts[i], &blobs[i]);
        std::fill_n(covered.begin() + field.offset, field.data.a_size, 1);
    }
    KeyBytes image(layout_.max_record);
    size_t length = 0;
    if (const sql::Status status = codec_.encode(values, image, &length); !status.ok()) {
        throw Failure("--key " + text_ + ": " + status.text());
    }
    KeyBytes key(codec_.key_length(key_));
    KeyBytes key_covered(key.size());
    codec_.key_bytes(key_, image, key.data());
    codec_.key_bytes(key_, covered, key_covered.data());
    key.resize(static_cast<size_t>(std::ranges::find(key_covered, 0) - key_covered.begin()));
    if (key.empty()) {
        throw Failure("--key " + text_ + ": the key's first byte belongs to none of its columns");
    }
    return key;
}

bool KeyRange::contains(sql::Bytes record) {
    codec_.key_bytes(key_, record, of_record_.data());
    return (from_.empty() || memcmp(of_record_.data(), from_.data(), from_.size()) >= 0) &&
           (to_.empty() || memcmp(of_record_.data(), to_.data(), to_.size()) <= 0);
}

}  // namespace tool
