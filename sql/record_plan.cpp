// SPDX-License-Identifier: MIT
#include "sql/record_plan.h"

#include <algorithm>
#include <cstring>

#include "host/config.h"
#include "wbfsi/datatest.h"

namespace sql {
namespace {

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
    image.reserve(max_record + size_t{1});
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
    // In a blank record, as the functions that test and write expect.
    std::vector<unsigned char> record;
    record.reserve(max_record + size_t{1});  // it has an address though it has no byte
    record = blanks;
    const auto blank = [&](const FieldPlan &field) {
        std::fill_n(record.begin() + field.offset, field.size, code_page.blank());
    };
    for (const FieldPlan &field : fields) {
        if (!find_null_value_bytes(field, record.data())) {
            blank(field);
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
        blank(field);
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

bool RecordPlan::holds_null_value(const FieldPlan &field, const unsigned char *record) {
    return Z4TestNullValue(&with_null_value[field.null_value], &settings, record) != 0;
}

bool RecordPlan::holds_null_bytes(const FieldPlan &field, const unsigned char *record) const {
    const auto first = null_bytes.begin() + field.null_at;
    return std::equal(first, first + field.size, record + field.offset);
}

void RecordPlan::encode_null(const FieldPlan &field, unsigned char *image_out) const {
    std::copy_n(null_bytes.data() + field.null_at, field.size, image_out + field.offset);
}

}  // namespace sql
