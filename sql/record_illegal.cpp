// SPDX-License-Identifier: MIT
//
// Fields without a value: null by intent, or contents that no column of their type
// can take.  None of this is met in ordinary records.
#include <algorithm>
#include <cstring>

#include "sql/record_plan.h"
#include "wbfsi/datatest.h"

namespace sql {
namespace {

bool consists_of(const unsigned char *bytes, size_t size, unsigned char byte) {
    return size > 0 && std::all_of(bytes, bytes + size, [=](unsigned char b) { return b == byte; });
}

}  // namespace

FieldState RecordPlan::illegal_state(const FieldPlan &field, const unsigned char *bytes) const {
    if (field.size > 0) {
        XfdField described{};
        described.fd_argument = data_[field.column];
        const int code = Z4TestDatap(&described, bytes);
        if ((code & XFD_DATA_SPACES) != 0) {
            return FieldState::kSpaces;
        }
        if ((code & XFD_DATA_LOW_VALUES) != 0) {
            return FieldState::kLowValues;
        }
        if ((code & XFD_DATA_HIGH_VALUES) != 0) {
            return FieldState::kHighValues;
        }
    }
    const bool is_date = field.form == FieldPlan::Form::kDate;
    if (!field.is_number() && (is_date || field.storage != Storage::kFloat)) {
        // The test knows numbers alone.
        if (consists_of(bytes, field.size, ' ')) {
            return FieldState::kSpaces;
        }
        if (consists_of(bytes, field.size, 0x00)) {
            return FieldState::kLowValues;
        }
        if (consists_of(bytes, field.size, 0xFF)) {
            return FieldState::kHighValues;
        }
        return is_date ? FieldState::kBadDate : FieldState::kBadText;
    }
    return FieldState::kBadNumber;
}

// Every byte that is no character becomes a blank.
Value RecordPlan::converted_text(const FieldPlan &field, const unsigned char *bytes, char *room) {
    const bool is_right =
        field.storage == Storage::kTextRight || field.storage == Storage::kNationalRight;
    std::vector<unsigned char> legal(bytes, bytes + field.size);
    DecodedText text;
    if (field.storage == Storage::kNational || field.storage == Storage::kNationalRight) {
        make_legal_national(legal);
        text = decode_national(legal, is_right, room);
    } else {
        code_page.make_legal(legal);
        text = code_page.decode(legal, is_right, room);
    }
    if (!text.is_valid) {
        return {};
    }
    // It may lie in `legal`.
    std::memmove(room, text.text.data(), text.text.size());
    return Value::text(room, static_cast<uint32_t>(text.text.size()));
}

Value RecordPlan::converted(const FieldPlan &field, FieldState state, const unsigned char *bytes,
                            char *texts) {
    char *room = texts + field.room;
    const bool is_high = state == FieldState::kHighValues;
    if (field.form == FieldPlan::Form::kDate) {
        const DateField &date = dates[field.index];
        const Value greatest =
            is_high || date.holds_nines(bytes) ? date.date_of(max_date, room) : Value();
        return greatest.is_null() ? date.replacement(bytes, min_date, room) : greatest;
    }
    if (field.is_number()) {
        const NumberField &number = numbers[field.index];
        const auto digits = static_cast<uint8_t>(std::clamp<uint32_t>(number.shape.digits, 1, 38));
        const ZArgument display{0, digits, 1, digits, number.data.a_scale, 0};
        const std::vector<unsigned char> text(digits, is_high ? '9' : '0');
        const NumberField as_display =
            make_number_field(display, shape_of(display), number.is_integer, settings);
        Value value;
        decode_number(as_display, settings, text.data(), room, &value);
        return value;
    }
    return field.storage == Storage::kFloat ? Value::real(0) : converted_text(field, bytes, room);
}

UnusualField RecordPlan::decode_unusual(const FieldPlan &field, const unsigned char *record,
                                        char *texts, Value *value) {
    const unsigned char *bytes = record + field.offset;
    const bool is_null_bytes = holds_null_bytes(field, record);
    if (field.form == FieldPlan::Form::kDate && dates[field.index].holds_zeros(bytes)) {
        return {FieldState::kNullValue, is_null_bytes};
    }
    const FieldState state = illegal_state(field, bytes);
    if (illegal_data == IllegalData::kPassThrough) {
        *value = Value::blob({bytes, field.size});
        return {state, true};
    }
    if (illegal_data == IllegalData::kConverted ||
        (illegal_data == IllegalData::kKeyMod && field.is_in_key)) {
        *value = converted(field, state, bytes, texts);
        if (!value->is_null()) {
            return {state, false};
        }
    }
    return {state, is_null_bytes};
}

}  // namespace sql
