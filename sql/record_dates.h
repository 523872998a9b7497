// SPDX-License-Identifier: MIT
//
// Date fields: bytes of a record to ISO text and back.  The conversion is the
// library's; this adds what a column needs: the text, the proof that it leads
// back to the same bytes, and a memory of the dates met last, because the records
// of a file hold the same few over and over.
#ifndef SQL_RECORD_DATES_H
#define SQL_RECORD_DATES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/data.h"
#include "host/dates.h"
#include "sql/table_layout.h"
#include "sql/value.h"

namespace sql {

class DateField {
 public:
    // 2026-11-22 23:59:59.999999, rounded up for quick copies.
    static constexpr size_t kRoom = 32;

    enum class Found : uint8_t {
        kDate,
        kZeros,   // no date, and nothing but zeros: the date that is not there
        kNoDate,  // whatever else the format refuses, or ISO text cannot show
    };
    struct Decoded {
        Found found = Found::kNoDate;
        bool is_canonical = false;  // encode() of the text gives the bytes again
        bool sorts = false;         // the text sorts as the bytes do
    };

    // A field of type kDate, kTime or kTimestamp with its date format.  The
    // settings of date conversion must not change while it lives.
    DateField(const Field &field, const char *format, const XfdCvtInfo &settings);

    // Whether dates of that field are read and written just as those of this one.
    [[nodiscard]] bool is_like(const Field &field, const char *format) const;

    // `room`: kRoom bytes, to which a text value points.
    Decoded decode(const unsigned char *bytes, char *room, Value *out);

    [[nodiscard]] bool holds_zeros(const unsigned char *bytes);

    // Writes ISO text of exactly this field's form; false, nothing written, for any
    // other text and for what the field would not give back as the same.
    bool encode(std::string_view text, unsigned char *bytes);
    // Why encode() refuses the text.
    std::string refusal(std::string_view text);

    // The field's bytes for a date that is not there; empty when "0" cannot be
    // written to it.
    [[nodiscard]] const std::vector<unsigned char> &zeros() const { return zeros_; }

    // Whether the field holds nothing but nines.
    [[nodiscard]] bool holds_nines(const unsigned char *bytes) const;
    // A legal date for contents that are none: what the library's conversion makes
    // of them with `least` (yyyymmdd) as its replacement, else `least` itself.  Null
    // when that is no date either.
    Value replacement(const unsigned char *bytes, int32_t least, char *room) const;
    // A yyyymmdd as text, at midnight; null when there is no such day.
    Value date_of(int32_t yyyymmdd, char *room) const;

 private:
    static constexpr size_t kMaxText = 26;
    static constexpr size_t kMaxBytes = 24;  // fields longer than this are not remembered
    static constexpr size_t kRemembered = 1024;

    struct Memory {
        std::array<unsigned char, kMaxBytes> bytes{};
        std::array<char, kRoom> text{};
        uint8_t text_size = 0;
        bool is_used = false;
        Decoded result;
    };

    void make_zeros();
    [[nodiscard]] ZArgument at(const unsigned char *bytes) const;
    bool read(const unsigned char *bytes, DateTimeValue *out) const;
    bool show(const DateTimeValue &value, char *text, size_t *size) const;
    bool parse(std::string_view text, DateTimeValue *out) const;
    bool write(DateTimeValue value, std::vector<unsigned char> *out) const;
    [[nodiscard]] bool is_same(const DateTimeValue &a, const DateTimeValue &b) const;
    void decode_anew(const unsigned char *bytes, Memory *out);
    [[nodiscard]] bool sorts(const unsigned char *bytes, std::string_view text) const;
    std::string_view digits_of(const unsigned char *bytes, std::array<char, 64> *room) const;

    ZArgument data_;
    ColumnType type_;
    uint8_t decimals_;
    std::string format_;
    XfdCvtInfo settings_;
    bool is_plain_ = false;  // the format is that of ISO text without its punctuation
    std::vector<unsigned char> zeros_;
    std::vector<unsigned char> written_;  // work space, a_size bytes
    std::vector<Memory> decoded_;         // by bytes
    std::vector<Memory> encoded_;         // by text
};

}  // namespace sql

#endif
