// SPDX-License-Identifier: MIT
#include "sql/record_dates.h"

#include <algorithm>
#include <cstring>

#include "sql/decimal_digits.h"
#include "sql/field_types.h"
#include "sql/record_number.h"
#include "wbfsi/dates.h"

namespace sql {
namespace {

constexpr uint16_t kAlphanumeric = 16;

bool is_character_storage(const FieldShape &shape) {
    return shape.storage == Storage::kText || shape.storage == Storage::kTextRight;
}

bool is_national_storage(const FieldShape &shape) {
    return shape.storage == Storage::kNational || shape.storage == Storage::kNationalRight;
}

int days_in_month(int year, int month) {
    constexpr std::array<int8_t, 12> kDays{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool is_leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return kDays[static_cast<size_t>(month - 1)] + (month == 2 && is_leap ? 1 : 0);
}

bool is_date(const DateTimeValue &value) {
    return value.year >= 0 && value.year <= 9999 && value.month >= 1 && value.month <= 12 &&
           value.day >= 1 && value.day <= days_in_month(value.year, value.month);
}

bool is_time(const DateTimeValue &value) {
    return value.hour >= 0 && value.hour <= 23 && value.minute >= 0 && value.minute <= 59 &&
           value.second >= 0 && value.second <= 59 && value.microseconds >= 0 &&
           value.microseconds <= 999999;
}

// Reads digits and fixed characters of a text one behind the other.
class Scanner {
 public:
    explicit Scanner(std::string_view text) : text_(text) {}

    // A number of exactly n digits.
    Scanner &digits(size_t n, int *out) {
        uint64_t number = 0;
        is_good_ = is_good_ && text_.size() >= n &&
                   parse_digits(reinterpret_cast<const unsigned char *>(text_.data()), n, &number);
        if (is_good_) {
            *out = static_cast<int>(number);
            text_.remove_prefix(n);
        }
        return *this;
    }
    Scanner &character(char c) {
        is_good_ = is_good_ && text_.starts_with(c);
        if (is_good_) {
            text_.remove_prefix(1);
        }
        return *this;
    }
    [[nodiscard]] bool is_good() const { return is_good_; }
    [[nodiscard]] std::string_view rest() const { return text_; }

 private:
    std::string_view text_;
    bool is_good_ = true;
};

// Where contents of n bytes are remembered.
size_t place_of(const void *contents, size_t n, size_t places) {
    const auto *bytes = static_cast<const unsigned char *>(contents);
    uint64_t first = 0;
    uint64_t last = 0;
    if (n >= 8) {
        std::memcpy(&first, bytes, 8);
        std::memcpy(&last, bytes + n - 8, 8);
    } else {
        for (size_t i = 0; i < n; i++) {
            first = first << 8 | bytes[i];
        }
    }
    constexpr uint64_t kGolden = 0x9E3779B97F4A7C15;  // Knuth, vol. 3, 6.4: multiplicative hashing
    const uint64_t mixed = (first ^ (last * kGolden)) * kGolden;
    return static_cast<size_t>(mixed >> 40) % places;
}

}  // namespace

DateField::DateField(const Field &field, const char *format, const XfdCvtInfo &settings)
    : data_(field.data),
      type_(field.type),
      decimals_(std::min<uint8_t>(field.decimals, 6)),
      format_(format),
      settings_(settings),
      written_(field.data.a_size) {
    std::string_view letters = format_;
    if (letters.empty() && data_.a_type == 8) {
        letters = "YYYYMMDD";
    }
    const std::string_view date = type_ == ColumnType::kTime ? "" : "YYYYMMDD";
    const std::string_view time = type_ == ColumnType::kDate ? "" : "HHNNSS";
    std::string plain(date);
    plain.append(time).append(decimals_, 'T');
    is_plain_ = letters == plain;
    if (data_.a_size <= kMaxBytes) {
        decoded_.resize(kRemembered);
        encoded_.resize(kRemembered);
    }
    make_zeros();
}

bool DateField::is_like(const Field &field, const char *format) const {
    return data_.a_size == field.data.a_size && data_.a_type == field.data.a_type &&
           data_.a_digits == field.data.a_digits && data_.a_scale == field.data.a_scale &&
           type_ == field.type && decimals_ == std::min<uint8_t>(field.decimals, 6) &&
           format_ == format;
}

ZArgument DateField::at(const unsigned char *bytes) const {
    ZArgument data = data_;
    data.a_address = reinterpret_cast<uintptr_t>(bytes);
    return data;
}

// Characters are all zeros; of a number it is the number.
void DateField::make_zeros() {
    const FieldShape shape = shape_of(data_);
    zeros_.assign(data_.a_size, '0');
    if (is_character_storage(shape)) {
        return;
    }
    if (is_national_storage(shape)) {
        constexpr uint16_t kZero = '0';
        for (size_t i = 0; i + 2 <= zeros_.size(); i += 2) {
            std::memcpy(zeros_.data() + i, &kZero, 2);
        }
        return;
    }
    std::ranges::fill(zeros_, 0);
    const ZArgument source{reinterpret_cast<uintptr_t>("0"), 1, kAlphanumeric, 0, 0, 0};
    const ZArgument dest = at(zeros_.data());
    if (ZconvertData(&dest, &source, 1, nullptr) != 1) {
        zeros_.clear();
    }
}

bool DateField::read(const unsigned char *bytes, DateTimeValue *out) const {
    const ZArgument source = at(bytes);
    return Z4ConvertDateTime(&source, out, format_.c_str(), Z4_DATE_FROM_FIELD, 0, 0) == 1;
}

bool DateField::show(const DateTimeValue &value, char *text, size_t *size) const {
    auto *const start = reinterpret_cast<unsigned char *>(text);
    unsigned char *at = start;
    const auto put = [&](int number, size_t digits, char behind) {
        put_digits(static_cast<uint64_t>(number), digits, at);
        at += digits;
        if (behind != '\0') {
            *at++ = static_cast<unsigned char>(behind);
        }
    };
    if (type_ != ColumnType::kTime) {
        if (!is_date(value)) {
            return false;
        }
        put(value.year, 4, '-');
        put(value.month, 2, '-');
        put(value.day, 2, type_ == ColumnType::kTimestamp ? ' ' : '\0');
    }
    if (type_ != ColumnType::kDate) {
        const auto finer = static_cast<int32_t>(kPowersOf10[6U - decimals_]);
        if (!is_time(value) || value.microseconds % finer != 0) {
            return false;
        }
        put(value.hour, 2, ':');
        put(value.minute, 2, ':');
        put(value.second, 2, decimals_ > 0 ? '.' : '\0');
        put(value.microseconds / finer, decimals_, '\0');
    }
    *size = static_cast<size_t>(at - start);
    return true;
}

bool DateField::parse(std::string_view text, DateTimeValue *out) const {
    Scanner scanner(text);
    int year = 1901;
    int month = 1;
    int day = 1;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int fraction = 0;
    if (type_ != ColumnType::kTime) {
        scanner.digits(4, &year).character('-').digits(2, &month).character('-').digits(2, &day);
    }
    if (type_ == ColumnType::kTimestamp) {
        scanner.character(' ');
    }
    if (type_ != ColumnType::kDate) {
        scanner.digits(2, &hour)
            .character(':')
            .digits(2, &minute)
            .character(':')
            .digits(2, &second);
        if (scanner.is_good() && !scanner.rest().empty()) {
            const size_t places = std::clamp<size_t>(scanner.rest().size() - 1, 1, 6);
            scanner.character('.').digits(places, &fraction);
            fraction *= static_cast<int>(kPowersOf10[6 - places]);
        }
    }
    *out = {static_cast<int16_t>(year),
            static_cast<int8_t>(month),
            static_cast<int8_t>(day),
            static_cast<int8_t>(hour),
            static_cast<int8_t>(minute),
            static_cast<int8_t>(second),
            0,
            fraction};
    return scanner.is_good() && scanner.rest().empty() && is_date(*out) && is_time(*out);
}

// What the conversion leaves as it is (half a character) is always the same.
bool DateField::write(DateTimeValue value, std::vector<unsigned char> *out) const {
    std::ranges::fill(*out, static_cast<unsigned char>(' '));
    const ZArgument dest = at(out->data());
    return Z4ConvertDateTime(&dest, &value, format_.c_str(), Z4_DATE_TO_FIELD, 0, 0) == 1;
}

bool DateField::is_same(const DateTimeValue &a, const DateTimeValue &b) const {
    const bool is_same_date = a.year == b.year && a.month == b.month && a.day == b.day;
    const bool is_same_time = a.hour == b.hour && a.minute == b.minute && a.second == b.second &&
                              a.microseconds == b.microseconds;
    return (type_ == ColumnType::kTime || is_same_date) &&
           (type_ == ColumnType::kDate || is_same_time);
}

// The field as characters, blanks around them left out.
std::string_view DateField::digits_of(const unsigned char *bytes,
                                      std::array<char, 64> *room) const {
    ZArgument source = at(bytes);
    source.a_scale = 0;
    const ZArgument dest{reinterpret_cast<uintptr_t>(room->data()),
                         static_cast<uint32_t>(room->size()),
                         kAlphanumeric,
                         0,
                         0,
                         0};
    if (ZconvertData(&dest, &source, 1, nullptr) != 1) {
        return {};
    }
    std::string_view text(room->data(), room->size());
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

// The digits of the text are what the field holds, most significant first.
bool DateField::sorts(const unsigned char *bytes, std::string_view text) const {
    if (!is_plain_) {
        return false;
    }
    std::array<char, kMaxText> digits{};
    size_t n = 0;
    for (const char c : text) {
        if (c >= '0' && c <= '9') {
            digits[n++] = c;
        }
    }
    const FieldShape shape = shape_of(data_);
    if (shape.storage == Storage::kText) {
        return n == data_.a_size && std::memcmp(digits.data(), bytes, n) == 0;
    }
    if (!shape.is_number || !is_integer(shape) || !sorts_by_bytes(shape, settings_)) {
        return false;
    }
    const NumberField number = make_number_field(data_, shape, true, settings_);
    std::vector<unsigned char> again(data_.a_size);
    return encode_number(number, settings_, Value::text(digits.data(), static_cast<uint32_t>(n)),
                         again.data()) &&
           std::memcmp(again.data(), bytes, again.size()) == 0;
}

void DateField::decode_anew(const unsigned char *bytes, Memory *out) {
    out->result = {};
    out->text_size = 0;
    DateTimeValue value{};
    if (!read(bytes, &value)) {
        const bool is_zeros =
            zeros_.size() == data_.a_size && std::equal(zeros_.begin(), zeros_.end(), bytes);
        std::array<char, 64> room;
        const std::string_view digits = digits_of(bytes, &room);
        if (is_zeros || (!digits.empty() && digits.find_first_not_of('0') == digits.npos)) {
            out->result.found = Found::kZeros;
        }
        return;
    }
    size_t size = 0;
    DateTimeValue again{};
    if (!show(value, out->text.data(), &size)) {
        return;
    }
    out->text_size = static_cast<uint8_t>(size);
    const std::string_view text(out->text.data(), size);
    out->result.found = Found::kDate;
    // Not `value`: what the text leaves out of it must not matter.
    out->result.is_canonical = parse(text, &again) && write(again, &written_) &&
                               std::equal(written_.begin(), written_.end(), bytes);
    out->result.sorts = out->result.is_canonical && sorts(bytes, text);
}

DateField::Decoded DateField::decode(const unsigned char *bytes, char *room, Value *out) {
    Memory lone;
    Memory *memory = &lone;
    const size_t size = data_.a_size;
    if (!decoded_.empty()) {
        memory = &decoded_[place_of(bytes, size, kRemembered)];
    }
    if (!memory->is_used || !std::equal(bytes, bytes + size, memory->bytes.begin())) {
        decode_anew(bytes, memory);
        if (!decoded_.empty()) {
            std::copy_n(bytes, size, memory->bytes.begin());
            memory->is_used = true;
        }
    }
    if (memory->result.found == Found::kDate) {
        std::memcpy(room, memory->text.data(), kRoom);
        *out = Value::text(room, memory->text_size);
    }
    return memory->result;
}

bool DateField::holds_zeros(const unsigned char *bytes) {
    char room[kRoom];
    Value value;
    return decode(bytes, room, &value).found == Found::kZeros;
}

bool DateField::encode(std::string_view text, unsigned char *bytes) {
    Memory *memory = nullptr;
    if (!encoded_.empty() && text.size() <= kMaxText) {
        memory = &encoded_[place_of(text.data(), text.size(), kRemembered)];
        if (memory->is_used && text == std::string_view(memory->text.data(), memory->text_size)) {
            std::copy_n(memory->bytes.begin(), data_.a_size, bytes);
            return true;
        }
    }
    DateTimeValue value{};
    DateTimeValue again{};
    if (!parse(text, &value) || !write(value, &written_) || !read(written_.data(), &again) ||
        !is_same(value, again)) {
        return false;
    }
    std::ranges::copy(written_, bytes);
    if (memory != nullptr) {
        std::ranges::copy(text, memory->text.begin());
        memory->text_size = static_cast<uint8_t>(text.size());
        std::ranges::copy(written_, memory->bytes.begin());
        memory->is_used = true;
    }
    return true;
}

std::string DateField::refusal(std::string_view text) {
    const char *form = type_ == ColumnType::kDate   ? "a date (YYYY-MM-DD)"
                       : type_ == ColumnType::kTime ? "a time (HH:MM:SS)"
                                                    : "a date and time (YYYY-MM-DD HH:MM:SS)";
    DateTimeValue value{};
    if (!parse(text, &value)) {
        return std::string("which is not ") + form;
    }
    const std::string format = format_.empty() ? "its date format" : "its date format " + format_;
    DateTimeValue again{};
    char room[kRoom];
    size_t size = 0;
    if (!write(value, &written_) || !read(written_.data(), &again) || !show(again, room, &size)) {
        return "which " + format + " cannot hold";
    }
    return "which " + format + " would give back as '" + std::string(room, size) + "'";
}

bool DateField::holds_nines(const unsigned char *bytes) const {
    const unsigned char *end = bytes + data_.a_size;
    if (std::all_of(bytes, end, [](unsigned char b) { return b == '9'; })) {
        return data_.a_size > 0;
    }
    std::array<char, 64> room;
    const std::string_view digits = digits_of(bytes, &room);
    return !digits.empty() && digits.find_first_not_of('9') == digits.npos &&
           (data_.a_digits == 0 || digits.size() == data_.a_digits);
}

Value DateField::date_of(int32_t yyyymmdd, char *room) const {
    if (yyyymmdd < 0 || yyyymmdd > 99991231) {
        return {};
    }
    DateTimeValue value{};
    value.year = static_cast<int16_t>(yyyymmdd / 10000);
    value.month = static_cast<int8_t>(yyyymmdd / 100 % 100);
    value.day = static_cast<int8_t>(yyyymmdd % 100);
    size_t size = 0;
    return show(value, room, &size) ? Value::text(room, static_cast<uint32_t>(size)) : Value();
}

Value DateField::replacement(const unsigned char *bytes, int32_t least, char *room) const {
    const ZArgument source = at(bytes);
    DateTimeValue value{};
    size_t size = 0;
    if (Z4ConvertDateTime(&source, &value, format_.c_str(), Z4_DATE_FROM_FIELD, least, 1) == 1 &&
        show(value, room, &size)) {
        return Value::text(room, static_cast<uint32_t>(size));
    }
    return date_of(least, room);
}

}  // namespace sql
