// SPDX-License-Identifier: MIT
#include "sql/record_codec.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "sql/record_plan.h"

namespace sql {
namespace {

bool is_null(const Value &value) {
    return value.is_null() || value.kind() == Value::Kind::kAbsent;
}

// How long a record of these fields is: as long as its type, but it ends behind its
// last value when the fields behind that are null.
class Extent {
 public:
    void add(const FieldPlan &field, bool has_value) {
        const size_t end = field.size > 0 ? field.offset + field.size : 0;
        end_ = std::max(end_, end);
        if (has_value) {
            last_value_ = std::max(last_value_, field.offset + size_t{field.size});
        } else {
            has_nulls_ = true;
        }
    }
    [[nodiscard]] size_t length(const RecordPlan &plan) const {
        if (plan.min_record == plan.max_record || (!has_nulls_ && end_ == plan.fields_end)) {
            return plan.max_record;
        }
        return std::max<size_t>(plan.min_record, has_nulls_ ? last_value_ : end_);
    }

 private:
    size_t end_ = 0;
    size_t last_value_ = 0;
    bool has_nulls_ = false;
};

const Variant &variant_of(RecordPlan *plan, const unsigned char *record, bool *is_untyped) {
    plan->variants.clear();
    const uint32_t count = plan->conditions.count();
    if (count != 0) {
        plan->conditions.restart();
        bool is_typed = false;
        for (uint32_t number = 1; number <= count; number++) {
            if (plan->conditions.holds(number, record)) {
                plan->variants.set(number);
                is_typed = true;
            }
        }
        *is_untyped = !is_typed;
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
        const FieldResult got = plan.decode_field(field, record, texts, &value);
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

// Writes the fields of a row in their order: those without condition, then, by
// ascending condition, those of each that holds in what has been written.
//
// RecordPlan::written says of each byte what it came from, so that a null does not
// take the place of a value in fields that share bytes.
struct Encoder {
    enum Source : unsigned char { kNothing, kNull, kValue };

    RecordPlan &plan;
    std::span<const Value> values;
    std::span<unsigned char> image;
    // Over a record that was kept: its values; else empty.
    std::span<const Value> kept;
    const Variant *kept_variant = nullptr;
    Extent extent;
    size_t changed_end = 0;

    // Whether no value differs from what the kept record holds.
    [[nodiscard]] bool keeps_all() const;
    Status run();

 private:
    [[nodiscard]] bool is_kept(uint32_t i) const;
    Status write_unconditional();
    Status write_conditional();
    Status write_group(std::span<const uint32_t> group, bool held);
    Status refuse_group(std::span<const uint32_t> group, bool held);
    Status write(const FieldPlan &field);
    void mark(const FieldPlan &field) const;
    [[nodiscard]] bool shares_bytes_with_a_value(const FieldPlan &field) const;
};

bool Encoder::is_kept(uint32_t i) const {
    if (kept.empty()) {
        return false;
    }
    if (values[i].kind() == Value::Kind::kAbsent) {
        return kept[i].is_null() ||
               (i < plan.blank_values.size() && kept[i] == plan.blank_values[i]);
    }
    return values[i] == kept[i];
}

bool Encoder::keeps_all() const {
    for (uint32_t i = 0; i < plan.fields.size(); i++) {
        if (!is_kept(i)) {
            return false;
        }
    }
    return true;
}

void Encoder::mark(const FieldPlan &field) const {
    unsigned char *at = plan.written.data() + field.offset;
    if (!is_null(values[field.column])) {
        std::fill_n(at, field.size, static_cast<unsigned char>(kValue));
        return;
    }
    for (uint32_t i = 0; i < field.size; i++) {
        at[i] = std::max<unsigned char>(at[i], kNull);
    }
}

bool Encoder::shares_bytes_with_a_value(const FieldPlan &field) const {
    const auto first = plan.written.begin() + field.offset;
    return std::find(first, first + field.size, kValue) != first + field.size;
}

Status Encoder::write(const FieldPlan &field) {
    const Value &value = values[field.column];
    if (is_null(value)) {
        plan.encode_null(field, image.data());
    } else if (!plan.encode_field(field, value, image.data())) {
        return plan.does_not_fit(field, value);
    }
    return {};
}

Status Encoder::write_unconditional() {
    const bool is_variable = plan.min_record != plan.max_record;
    for (const uint32_t i : plan.unconditional) {
        const FieldPlan &field = plan.fields[i];
        if (is_variable) {
            extent.add(field, !is_null(values[i]));
        }
        // Nulls stand in the blank image already.
        if (kept.empty() ? is_null(values[i]) : is_kept(i)) {
            continue;
        }
        changed_end = std::max<size_t>(changed_end, field.offset + size_t{field.size});
        if (Status status = write(field); !status.ok()) {
            return status;
        }
    }
    return {};
}

// Fields of a condition that holds.
Status Encoder::write_group(std::span<const uint32_t> group, bool held) {
    for (const uint32_t i : group) {
        const FieldPlan &field = plan.fields[i];
        extent.add(field, !is_null(values[i]));
        if (!(held && is_kept(i)) && !(is_null(values[i]) && shares_bytes_with_a_value(field))) {
            changed_end = std::max<size_t>(changed_end, field.offset + size_t{field.size});
            if (Status status = write(field); !status.ok()) {
                return status;
            }
        }
        mark(field);
    }
    return {};
}

// Fields of a condition that does not hold.  Where it held in the record that was
// kept, their bytes go with them.
Status Encoder::refuse_group(std::span<const uint32_t> group, bool held) {
    for (const uint32_t i : group) {
        const FieldPlan &field = plan.fields[i];
        if (!is_null(values[i])) {
            return plan.does_not_exist(field, values[i]);
        }
        for (uint32_t at = field.offset; held && at < field.offset + field.size; at++) {
            if (plan.written[at] == kNothing) {
                image[at] = plan.blanks[at];
            }
        }
    }
    return {};
}

Status Encoder::write_conditional() {
    std::ranges::fill(plan.written, static_cast<unsigned char>(kNothing));
    for (const uint32_t i : plan.unconditional) {
        mark(plan.fields[i]);
    }
    const auto held = [this](uint32_t condition) {
        return kept_variant != nullptr && plan.variants.holds(*kept_variant, condition);
    };
    std::span<const uint32_t> rest = plan.conditional;
    plan.conditions.restart();
    for (uint32_t number = 1; !rest.empty(); number++) {
        const bool exists = number <= plan.conditions.count();
        const bool holds = exists && plan.conditions.holds(number, image.data());
        const auto group_end = std::ranges::find_if(
            rest, [&](uint32_t i) { return exists && plan.fields[i].condition != number; });
        const auto group = rest.first(static_cast<size_t>(group_end - rest.begin()));
        rest = rest.subspan(group.size());
        if (group.empty()) {
            continue;
        }
        Status status =
            holds ? write_group(group, held(number)) : refuse_group(group, held(number));
        if (!status.ok()) {
            return status;
        }
    }
    return {};
}

Status Encoder::run() {
    Status status = write_unconditional();
    return status.ok() && !plan.conditional.empty() ? write_conditional() : status;
}

Status encode_row(RecordPlan *plan, std::span<const Value> values, std::span<unsigned char> image,
                  size_t *length) {
    std::ranges::copy(plan->blank_image, image.begin());
    Encoder encoder{*plan, values, image, {}, nullptr, {}, 0};
    Status status = encoder.run();
    if (status.ok()) {
        *length = encoder.extent.length(*plan);
    }
    return status;
}

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

}  // namespace

RecordCodec::RecordCodec(const TableLayout &layout) : plan_(std::make_unique<RecordPlan>(layout)) {}
RecordCodec::~RecordCodec() = default;
RecordCodec::RecordCodec(RecordCodec &&) noexcept = default;

size_t RecordCodec::value_count() const {
    return plan_->fields.size();
}
size_t RecordCodec::text_capacity() const {
    return plan_->text_capacity;
}

DecodedRecord RecordCodec::decode(Bytes record, std::span<Value> values, std::span<char> texts,
                                  std::span<FieldState> states) const {
    const Variant *variant = nullptr;
    return decode_record(plan_.get(), record, values, texts.data(), states, &variant);
}

Status RecordCodec::encode(std::span<const Value> values, std::span<unsigned char> image,
                           size_t *length) const {
    return encode_row(plan_.get(), values, image, length);
}

Status RecordCodec::encode_over(Bytes exact, std::span<const Value> values,
                                std::span<unsigned char> image, size_t *length) const {
    RecordPlan &plan = *plan_;
    if (exact.size() > plan.max_record) {
        return {ErrorKind::kBadRecord, "the exact bytes kept are " + std::to_string(exact.size()) +
                                           ", the record has " + std::to_string(plan.max_record)};
    }
    const Variant *variant = nullptr;
    decode_record(&plan, exact, plan.kept_values, plan.kept_texts.data(), {}, &variant);
    std::ranges::copy(exact, image.begin());
    std::fill(image.begin() + static_cast<ptrdiff_t>(exact.size()), image.end(),
              plan.code_page.blank());
    *length = exact.size();
    Encoder encoder{plan, values, image, plan.kept_values, variant, {}, 0};
    if (encoder.keeps_all()) [[likely]] {
        return {};
    }
    Status status = encoder.run();
    if (status.ok()) {
        *length = std::max(exact.size(), encoder.changed_end);
    }
    return status;
}

Status RecordCodec::restore(std::span<const Value> values, const Value &exact,
                            std::span<unsigned char> image, size_t *length) const {
    switch (exact.kind()) {
        case Value::Kind::kNull:
            return encode(values, image, length);
        case Value::Kind::kBlob:
            return encode_over(exact.as_blob(), values, image, length);
        default:
            return {ErrorKind::kBadRecord, "the column of exact bytes holds " + shown(exact) +
                                               " instead of a blob or null"};
    }
}

size_t RecordCodec::key_length(size_t k) const {
    size_t length = 0;
    for (const KeySegment &segment : plan_->keys[k].segments) {
        length += segment.length;
    }
    return length;
}

void RecordCodec::key_bytes(size_t k, Bytes record, unsigned char *out) const {
    for (const KeySegment &segment : plan_->keys[k].segments) {
        const size_t from = std::min<size_t>(segment.offset, record.size());
        const size_t n = std::min<size_t>(segment.length, record.size() - from);
        out = std::copy_n(record.begin() + static_cast<ptrdiff_t>(from), n, out);
        out = std::fill_n(out, segment.length - n, plan_->code_page.blank());
    }
}

}  // namespace sql
