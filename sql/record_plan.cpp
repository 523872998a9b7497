// SPDX-License-Identifier: MIT
#include "sql/record_plan.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "host/config.h"
#include "wbfsi/datatest.h"

namespace sql {
namespace {

FieldResult decode_float(const unsigned char *bytes, uint32_t size, Value *out) {
    double number = 0;
    uint64_t bits = 0;
    if (size == 4) {
        uint32_t bits4;
        std::memcpy(&bits4, bytes, 4);
        number = std::bit_cast<float>(bits4);
        bits = bits4;
    } else {
        std::memcpy(&bits, bytes, 8);
        number = std::bit_cast<double>(bits);
    }
    if (std::isnan(number)) {
        return {};  // a database takes it for null
    }
    // Databases may give minus zero back without its sign.
    *out = Value::real(number == 0 ? 0.0 : number);
    return {number != 0 || bits == 0, false};
}

bool encode_float(const Value &value, unsigned char *out, uint32_t size) {
    double number = 0;
    if (value.kind() == Value::Kind::kReal) {
        number = value.as_real();
    } else if (value.kind() == Value::Kind::kInteger) {
        number = static_cast<double>(value.as_integer());
        if (std::abs(number) > 9007199254740992.0) {
            return false;
        }
    } else {
        return false;
    }
    if (size == 8) {
        std::memcpy(out, &number, 8);
        return true;
    }
    const auto narrow = static_cast<float>(number);
    if (std::isinf(narrow) != std::isinf(number)) {
        return false;
    }
    std::memcpy(out, &narrow, 4);
    return true;
}

bool overlap(const Range &a, const Range &b) {
    return a.size > 0 && b.size > 0 && a.offset < b.offset + b.size && b.offset < a.offset + a.size;
}

Range range_of(const FieldPlan &field) {
    return {field.offset, field.size};
}

bool is_text(Storage storage) {
    return storage == Storage::kText || storage == Storage::kTextRight ||
           storage == Storage::kNational || storage == Storage::kNationalRight;
}

}  // namespace

std::string shown(const Value &value) {
    switch (value.kind()) {
        case Value::Kind::kInteger:
            return std::to_string(value.as_integer());
        case Value::Kind::kReal:
            return std::to_string(value.as_real());
        case Value::Kind::kText: {
            constexpr size_t kMaxShown = 60;
            const std::string_view text = value.as_text();
            std::string out = "'";
            for (const char c : text.substr(0, kMaxShown)) {
                out += static_cast<unsigned char>(c) < 0x20 ? '?' : c;
            }
            return out + (text.size() > kMaxShown ? "...'" : "'");
        }
        case Value::Kind::kBlob:
            return "a blob of " + std::to_string(value.as_blob().size()) + " bytes";
        default:
            return "null";
    }
}

RecordPlan::RecordPlan(const TableLayout &layout)
    : dictionary(layout.dictionary),
      keys(layout.keys),
      max_record(layout.max_record),
      min_record(layout.min_record),
      settings(layout.settings),
      code_page(layout.code_page),
      illegal_data(layout.illegal_data),
      min_date(ZCGetValueLong("4GL_MIN_DATE", 19000101)),
      max_date(ZCGetValueLong("4GL_MAX_DATE", 20991231)),
      conditions(layout) {
    for (const Field &field : layout.fields) {
        add_field(field);
    }
    mark_keys();
    order_fields();
    make_null_bytes();
    padded_at = text_capacity;
    text_capacity += max_record;
    image.resize(max_record);
    written.resize(conditional.empty() ? 0 : max_record);
    kept_values.resize(fields.size());
    kept_texts.resize(text_capacity);
    if (!layout.children.empty()) {
        make_blank_values();
    }
}

void RecordPlan::add_field(const Field &from) {
    const FieldShape shape = shape_of(from.data);
    const XfdField *described = dictionary != nullptr && from.slot < dictionary->x_n_fields_alloc
                                    ? &dictionary->x_fdesc[from.slot]
                                    : nullptr;
    FieldPlan field;
    field.storage = shape.storage;
    field.offset = from.offset;
    field.size = from.data.a_size;
    field.column = static_cast<uint32_t>(fields.size());
    field.room = static_cast<uint32_t>(text_capacity);
    field.condition = from.condition;
    if (from.type == ColumnType::kDate || from.type == ColumnType::kTime ||
        from.type == ColumnType::kTimestamp) {
        add_date(from, described != nullptr ? described->fd_format : "", &field);
        text_capacity += DateField::kRoom;
    } else if (shape.is_number) {
        field.index = static_cast<uint32_t>(numbers.size());
        numbers.push_back(make_number_field(from.data, shape, is_integer(shape), settings));
        text_capacity += is_integer(shape) ? 0 : decimal_text_size(numbers.back());
    } else if (is_text(shape.storage)) {
        text_capacity += field.size * CodePage::kMaxGrowth;
    }
    if (described != nullptr && described->fd_null_value != nullptr) {
        field.null_value = static_cast<uint32_t>(with_null_value.size());
        with_null_value.push_back(*described);
        with_null_value.back().fd_offset = from.offset;
        with_null_value.back().fd_argument = from.data;
    }
    fields.push_back(field);
    names.push_back(from.name);
    data_.push_back(from.data);
}

// Date fields that differ in their place alone share what they remember.
void RecordPlan::add_date(const Field &from, const char *format, FieldPlan *field) {
    field->form = FieldPlan::Form::kDate;
    const auto found = std::ranges::find_if(
        dates, [&](const DateField &date) { return date.is_like(from, format); });
    field->index = static_cast<uint32_t>(found - dates.begin());
    if (found == dates.end()) {
        dates.emplace_back(from, format, settings);
    }
}

void RecordPlan::mark_keys() {
    for (size_t k = 0; k < keys.size() && k < 32; k++) {
        if (keys[k].columns.empty()) {
            keys_without_columns |= uint32_t{1} << k;
        }
        for (const size_t column : keys[k].columns) {
            fields[column].keys |= uint32_t{1} << k;
        }
    }
    for (FieldPlan &field : fields) {
        field.is_in_key = std::ranges::any_of(keys, [&](const Key &key) {
            return std::ranges::any_of(key.segments, [&](const KeySegment &segment) {
                return overlap(range_of(field), {segment.offset, segment.length});
            });
        });
    }
}

void RecordPlan::order_fields() {
    std::vector<FieldPlace> places;
    for (const FieldPlan &field : fields) {
        places.push_back({range_of(field), field.condition, field.keys});
        (field.condition == 0 ? unconditional : conditional).push_back(field.column);
        if (field.size > 0) {
            fields_end = std::max(fields_end, field.offset + field.size);
        }
    }
    std::ranges::stable_sort(conditional, {}, [this](uint32_t i) { return fields[i].condition; });
    variants = VariantCache(std::move(places), conditions.count(), max_record);
    for (const Range &tested : conditions.tested()) {
        tested_end = std::max(tested_end, tested.offset + tested.size);
        is_settled = is_settled && std::ranges::none_of(conditional, [&](uint32_t i) {
                         return overlap(tested, range_of(fields[i]));
                     });
    }
}

void RecordPlan::make_null_bytes() {
    blanks.assign(max_record, code_page.blank());
    uint32_t size = 0;
    for (FieldPlan &field : fields) {
        field.null_at = size;
        size += field.size;
    }
    null_bytes.assign(size, code_page.blank());
    for (const FieldPlan &field : fields) {
        // In a record of its own, as the functions that test and write expect.
        std::vector<unsigned char> record = blanks;
        if (!find_null_value_bytes(field, record.data())) {
            std::ranges::copy(blanks, record.begin());
            if (field.form == FieldPlan::Form::kDate) {
                std::ranges::copy(dates[field.index].zeros(), record.begin() + field.offset);
            } else if (field.is_number()) {
                encode_field(field, Value::integer(0), record.data());
            } else if (field.storage == Storage::kFloat) {
                encode_field(field, Value::real(0), record.data());
            } else {
                encode_field(field, Value::text(""), record.data());
            }
        }
        std::copy_n(record.begin() + field.offset, field.size, null_bytes.begin() + field.null_at);
    }
    blank_image = blanks;
    for (const uint32_t i : unconditional) {
        encode_null(fields[i], blank_image.data());
    }
}

// The bytes in which a program would write the value that means null, tried until
// the test for it agrees.
bool RecordPlan::find_null_value_bytes(const FieldPlan &field, unsigned char *record) {
    if (field.null_value == FieldPlan::kNone) {
        return false;
    }
    unsigned char *bytes = record + field.offset;
    const char *value = with_null_value[field.null_value].fd_null_value;
    const auto length = static_cast<uint32_t>(std::strlen(value));
    ZArgument dest = data_[field.column];
    dest.a_address = reinterpret_cast<uintptr_t>(bytes);
    ZArgument source{reinterpret_cast<uintptr_t>(value), length, 16, 0, 0, 0};
    if (ZconvertData(&dest, &source, 1, &settings) == 1 && holds_null_value(field, record)) {
        return true;
    }
    // As the sign and the stored digits of a number, without its point.
    const bool has_sign = *value == '-' || *value == '+';
    source.a_type = has_sign ? 4 : 1;
    source.a_digits = static_cast<uint8_t>(std::min<uint32_t>(length - (has_sign ? 1 : 0), 255));
    source.a_scale = dest.a_scale;
    if (shape_of(dest).is_number && length > 0 && length <= 255 &&
        ZconvertData(&dest, &source, 1, &settings) == 1 && holds_null_value(field, record)) {
        return true;
    }
    const size_t n = std::min(length, field.size);
    std::fill_n(std::copy_n(value, n, bytes), field.size - n, static_cast<unsigned char>(' '));
    if (holds_null_value(field, record)) {
        return true;
    }
    constexpr unsigned char kFiguratives[] = {' ', '0', 0x00, 0xFF};
    return std::ranges::any_of(kFiguratives, [&](unsigned char figurative) {
        std::fill_n(bytes, field.size, figurative);
        return holds_null_value(field, record);
    });
}

void RecordPlan::make_blank_values() {
    blank_values.resize(fields.size());
    blank_texts_.resize(text_capacity);
    for (const FieldPlan &field : fields) {
        encode_null(field, image.data());
        if (field.null_value == FieldPlan::kNone || !holds_null_value(field, image.data())) {
            Value &value = blank_values[field.column];
            decode_field(field, image.data(), blank_texts_.data(), &value);
            if (value.kind() == Value::Kind::kText && !value.as_text().empty()) {
                // It may lie in the image.
                char *room = blank_texts_.data() + field.room;
                std::memmove(room, value.as_text().data(), value.as_text().size());
                value = Value::text(room, static_cast<uint32_t>(value.as_text().size()));
            } else if (value.kind() == Value::Kind::kBlob) {
                value = Value::blob({null_bytes.data() + field.null_at, field.size});
            }
        }
    }
}

FieldResult RecordPlan::decode_field(const FieldPlan &field, const unsigned char *record,
                                     char *texts, Value *out) {
    const unsigned char *bytes = record + field.offset;
    DecodedText text;
    if (field.form == FieldPlan::Form::kDate) {
        const DateField::Decoded date = dates[field.index].decode(bytes, texts + field.room, out);
        return {date.is_canonical, date.sorts};
    }
    switch (field.storage) {
        case Storage::kText:
        case Storage::kTextRight:
            text = code_page.decode({bytes, field.size}, field.storage == Storage::kTextRight,
                                    texts + field.room);
            break;
        case Storage::kNational:
        case Storage::kNationalRight:
            text = decode_national({bytes, field.size}, field.storage == Storage::kNationalRight,
                                   texts + field.room);
            break;
        case Storage::kFloat:
            return decode_float(bytes, field.size, out);
        case Storage::kBytes:
            *out = Value::blob({bytes, field.size});
            return {true, false};
        default: {
            const DecodedNumber number =
                decode_number(numbers[field.index], settings, bytes, texts + field.room, out);
            return {number.is_canonical, number.is_canonical && !number.is_negative};
        }
    }
    if (text.is_valid) {
        *out = Value::text(text.text);
    }
    return {text.is_canonical, text.sorts};
}

bool RecordPlan::holds_null_value(const FieldPlan &field, const unsigned char *record) {
    return Z4TestNullValue(&with_null_value[field.null_value], &settings, record) != 0;
}

bool RecordPlan::holds_null_bytes(const FieldPlan &field, const unsigned char *record) const {
    const auto first = null_bytes.begin() + field.null_at;
    return std::equal(first, first + field.size, record + field.offset);
}

bool RecordPlan::encode_field(const FieldPlan &field, const Value &value,
                              unsigned char *image_out) {
    unsigned char *out = image_out + field.offset;
    const std::span<unsigned char> room(out, field.size);
    const bool is_text = value.kind() == Value::Kind::kText;
    // The very bytes of the field.
    if (value.kind() == Value::Kind::kBlob) [[unlikely]] {
        if (value.as_blob().size() != field.size) {
            return false;
        }
        std::ranges::copy(value.as_blob(), out);
        return true;
    }
    if (field.form == FieldPlan::Form::kDate) {
        return is_text && dates[field.index].encode(value.as_text(), out);
    }
    switch (field.storage) {
        case Storage::kText:
        case Storage::kTextRight: {
            if (!is_text) {
                return false;
            }
            const size_t n = code_page.encode(value.as_text(), room);
            if (n == SIZE_MAX) {
                return false;
            }
            const size_t padding = field.size - n;
            if (field.storage == Storage::kTextRight) {
                std::memmove(out + padding, out, n);
                std::memset(out, code_page.blank(), padding);
            } else {
                std::memset(out + n, code_page.blank(), padding);
            }
            return true;
        }
        case Storage::kNational:
        case Storage::kNationalRight: {
            const size_t n = is_text ? encode_national(value.as_text(), room) : SIZE_MAX;
            if (n == SIZE_MAX) {
                return false;
            }
            const bool is_right = field.storage == Storage::kNationalRight;
            const size_t padding = field.size - n;
            if (is_right) {
                std::memmove(out + padding, out, n);
            }
            constexpr uint16_t kBlank = ' ';
            for (size_t i = 0; i < padding; i += sizeof kBlank) {
                std::memcpy(out + (is_right ? 0 : n) + i, &kBlank, sizeof kBlank);
            }
            return true;
        }
        case Storage::kFloat:
            return encode_float(value, out, field.size);
        case Storage::kBytes:
            return false;
        default:
            return encode_number(numbers[field.index], settings, value, out);
    }
}

void RecordPlan::encode_null(const FieldPlan &field, unsigned char *image_out) const {
    std::copy_n(null_bytes.data() + field.null_at, field.size, image_out + field.offset);
}

Status RecordPlan::does_not_fit(const FieldPlan &field, const Value &value) {
    const std::string held = "column \"" + names[field.column] + "\" holds " + shown(value) + ", ";
    std::string room = std::to_string(field.size) + (field.size == 1 ? " byte" : " bytes");
    if (field.form == FieldPlan::Form::kDate) {
        return {ErrorKind::kBadRecord,
                held + (value.kind() == Value::Kind::kText
                            ? dates[field.index].refusal(value.as_text())
                            : "which is not the text of a date nor " + room)};
    }
    if (field.is_number()) {
        const FieldShape &shape = numbers[field.index].shape;
        room = (shape.is_signed ? "a signed number of " : "an unsigned number of ") +
               std::to_string(shape.digits) + " digits" +
               (shape.scale < 0 ? ", " + std::to_string(-shape.scale) + " of them decimals" : "");
    }
    return {ErrorKind::kBadRecord, held + "which does not fit its field (" + room + ")"};
}

Status RecordPlan::does_not_exist(const FieldPlan &field, const Value &value) const {
    return {ErrorKind::kBadRecord,
            "column \"" + names[field.column] + "\" holds " + shown(value) + ", but condition " +
                std::to_string(field.condition) +
                " of the dictionary, under which it exists, does not hold for the record; it "
                "must be null"};
}

}  // namespace sql
