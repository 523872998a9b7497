// SPDX-License-Identifier: MIT
//
// One value on its way between a record and a column.  Values do not own the
// bytes they show: whoever hands one out says how long they stay.
#ifndef SQL_VALUE_H
#define SQL_VALUE_H

#include <bit>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

namespace sql {

// The bytes of a record, a key or a blob.
using Bytes = std::span<const unsigned char>;

class Value {
 public:
    // kAbsent: no row of a child table holds the value.
    enum class Kind : uint8_t { kNull, kInteger, kReal, kText, kBlob, kAbsent };

    Value() : kind_(Kind::kNull), size_(0), integer_(0) {}

    static Value absent() { return Value(Kind::kAbsent, 0); }
    static Value integer(int64_t number) {
        Value value(Kind::kInteger, 0);
        value.integer_ = number;
        return value;
    }
    static Value real(double number) {
        Value value(Kind::kReal, 0);
        value.real_ = number;
        return value;
    }
    // UTF-8, not terminated; at most 4 GiB - 1 bytes.
    static Value text(const char *bytes, uint32_t size) {
        Value value(Kind::kText, size);
        value.bytes_ = bytes;
        return value;
    }
    static Value text(std::string_view text) {
        return Value::text(text.data(), static_cast<uint32_t>(text.size()));
    }
    static Value blob(Bytes bytes) {
        Value value(Kind::kBlob, static_cast<uint32_t>(bytes.size()));
        value.bytes_ = reinterpret_cast<const char *>(bytes.data());
        return value;
    }

    [[nodiscard]] Kind kind() const { return kind_; }
    [[nodiscard]] bool is_null() const { return kind_ == Kind::kNull; }
    // Each of these only for its own kind.
    [[nodiscard]] int64_t as_integer() const { return integer_; }
    [[nodiscard]] double as_real() const { return real_; }
    [[nodiscard]] std::string_view as_text() const { return {bytes_, size_}; }
    [[nodiscard]] Bytes as_blob() const {
        return {reinterpret_cast<const unsigned char *>(bytes_), size_};
    }

    // Same kind and same contents; reals bit for bit.
    friend bool operator==(const Value &a, const Value &b) {
        if (a.kind_ != b.kind_) {
            return false;
        }
        switch (a.kind_) {
            case Kind::kNull:
            case Kind::kAbsent:
                return true;
            case Kind::kInteger:
                return a.integer_ == b.integer_;
            case Kind::kReal:
                return std::bit_cast<uint64_t>(a.real_) == std::bit_cast<uint64_t>(b.real_);
            default:
                return a.size_ == b.size_ &&
                       (a.size_ == 0 || std::memcmp(a.bytes_, b.bytes_, a.size_) == 0);
        }
    }

 private:
    Value(Kind kind, uint32_t size) : kind_(kind), size_(size), integer_(0) {}

    Kind kind_;
    uint32_t size_;
    union {
        int64_t integer_;
        double real_;
        const char *bytes_;
    };
};

}  // namespace sql

#endif
