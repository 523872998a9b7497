// SPDX-License-Identifier: MIT
//
// Records into values.  All that ordinary fields pass through is here, so that the
// compiler makes one loop of it.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "sql/record_extent.h"
#include "sql/record_plan.h"

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

// The body of decode_field(): in the loop over whole records the call would cost a
// tenth of the decoding.
[[gnu::always_inline]] inline FieldResult decode_in_place(RecordPlan &plan, const FieldPlan &field,
                                                          const unsigned char *record, char *texts,
                                                          Value *out) {
    const unsigned char *bytes = record + field.offset;
    DecodedText text;
    if (field.form == FieldPlan::Form::kDate) {
        const DateField::Decoded date =
            plan.dates[field.index].decode(bytes, texts + field.room, out);
        return {date.is_canonical, date.sorts};
    }
    switch (field.storage) {
        case Storage::kText:
        case Storage::kTextRight:
            text = plan.code_page.decode({bytes, field.size}, field.storage == Storage::kTextRight,
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
            const DecodedNumber number = decode_number(plan.numbers[field.index], plan.settings,
                                                       bytes, texts + field.room, out);
            return {number.is_canonical, number.is_canonical && !number.is_negative};
        }
    }
    if (text.is_valid) {
        *out = Value::text(text.text);
    }
    return {text.is_canonical, text.sorts};
}

}  // namespace

FieldResult RecordPlan::decode_field(const FieldPlan &field, const unsigned char *record,
                                     char *texts, Value *out) {
    return decode_in_place(*this, field, record, texts, out);
}

namespace {

const Variant &variant_of(RecordPlan *plan, const unsigned char *record, bool *is_untyped) {
    const uint32_t count = plan->conditions.count();
    if (count == 0) {
        return plan->variants.current();
    }
    plan->variants.clear();
    plan->conditions.restart();
    *is_untyped = true;
    for (uint32_t number = 1; number <= count; number++) {
        if (plan->conditions.holds(number, record)) {
            plan->variants.set(number);
            *is_untyped = false;
        }
    }
    return plan->variants.current();
}

// One record on its way into values.
struct Decoder {
    RecordPlan &plan;
    const unsigned char *record;  // max_record bytes
    size_t size;                  // that the record has
    std::span<Value> values;
    char *texts;
    std::span<FieldState> states;
    DecodedRecord result;
    bool has_nulls = false;  // in fields that exist

    void set_state(uint32_t i, FieldState state) const {
        if (!states.empty()) {
            states[i] = state;
        }
    }
    [[gnu::noinline]] void take_unusual(const FieldPlan &field, Value *value);
    [[gnu::noinline]] void take_null(const FieldPlan &field, FieldState state, bool is_canonical);
    template <bool kIsShort>
    void take_fields(const Variant &variant);
    void take_absent(const Variant &variant);
    [[nodiscard]] bool has_blank_gaps(const Variant &variant) const;
    [[nodiscard]] bool has_its_length(const Variant &variant) const;
};

void Decoder::take_null(const FieldPlan &field, FieldState state, bool is_canonical) {
    set_state(field.column, state);
    has_nulls = true;
    result.irregular_keys |= field.keys;
    result.is_exact = result.is_exact && is_canonical;
}

void Decoder::take_unusual(const FieldPlan &field, Value *value) {
    result.irregular_keys |= field.keys;
    if (!value->is_null()) {
        result.is_exact = false;
        // Other bytes have the same value: in the columns of a key, where values have
        // to differ as the bytes do, it counts as none.
        if (field.keys != 0) {
            *value = Value();
        }
        return;
    }
    const UnusualField unusual = plan.decode_unusual(field, record, texts, value);
    if (value->is_null()) {
        take_null(field, unusual.state, unusual.is_canonical);
        return;
    }
    set_state(field.column, unusual.state);
    result.is_exact = result.is_exact && unusual.is_canonical;
}

template <bool kIsShort>
void Decoder::take_fields(const Variant &variant) {
    for (const uint32_t i : variant.active) {
        const FieldPlan &field = plan.fields[i];
        Value &value = values[i];
        value = Value();
        if (kIsShort && field.offset >= size) {
            take_null(field, FieldState::kBehindEnd, true);
            continue;
        }
        if (field.null_value != FieldPlan::kNone && plan.holds_null_value(field, record))
            [[unlikely]] {
            take_null(field, FieldState::kNullValue, plan.holds_null_bytes(field, record));
            continue;
        }
        const FieldResult got = decode_in_place(plan, field, record, texts, &value);
        if (!got.is_canonical) [[unlikely]] {
            take_unusual(field, &value);
        } else if (!got.sorts) {
            result.irregular_keys |= field.keys;
        }
    }
}

void Decoder::take_absent(const Variant &variant) {
    for (const uint32_t i : variant.absent) {
        values[i] = Value();
        set_state(i, FieldState::kAbsent);
    }
    result.irregular_keys |= variant.absent_keys;
}

bool Decoder::has_blank_gaps(const Variant &variant) const {
    return std::ranges::all_of(variant.gaps, [&](const Range &gap) {
        return std::memcmp(record + gap.offset, plan.blanks.data() + gap.offset, gap.size) == 0;
    });
}

bool Decoder::has_its_length(const Variant &variant) const {
    if (plan.min_record == plan.max_record) {
        return size == plan.max_record;
    }
    if (size == plan.max_record && !has_nulls && variant.end == plan.fields_end) {
        return true;
    }
    Extent extent;
    for (const uint32_t i : variant.active) {
        extent.add(plan.fields[i], !values[i].is_null());
    }
    return extent.length(plan) == size;
}

}  // namespace

DecodedRecord decode_record(RecordPlan *plan, Bytes record, std::span<Value> values, char *texts,
                            std::span<FieldState> states, const Variant **type) {
    const size_t size = std::min<size_t>(record.size(), plan->max_record);
    const unsigned char *bytes = record.data();
    const bool is_short = size < plan->max_record;
    if (is_short) {
        auto *padded = reinterpret_cast<unsigned char *>(texts) + plan->padded_at;
        std::copy(record.begin(), record.end(), padded);
        std::fill(padded + size, padded + plan->max_record, plan->code_page.blank());
        bytes = padded;
    }
    constexpr unsigned char kNoBytes[1] = {};
    bytes = bytes == nullptr ? kNoBytes : bytes;
    std::ranges::fill(states, FieldState::kOrdinary);
    DecodedRecord result;
    const Variant &variant = variant_of(plan, bytes, &result.is_untyped);
    *type = &variant;
    result.is_exact = !variant.has_overlaps;
    result.irregular_keys = plan->keys_without_columns;
    Decoder decoder{*plan, bytes, size, values, texts, states, result};
    decoder.take_absent(variant);
    if (is_short) {
        decoder.take_fields<true>(variant);
    } else {
        decoder.take_fields<false>(variant);
    }
    result = decoder.result;
    result.is_exact =
        result.is_exact && decoder.has_blank_gaps(variant) && decoder.has_its_length(variant);
    if (result.is_exact && (!plan->is_settled || plan->tested_end > size)) {
        size_t length = 0;
        result.is_exact = encode_row(plan, values, plan->image, &length).ok() && length == size &&
                          std::equal(bytes, bytes + size, plan->image.begin());
    }
    return result;
}

}  // namespace sql
