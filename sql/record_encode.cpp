// SPDX-License-Identifier: MIT
//
// Rows into records.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "sql/record_extent.h"
#include "sql/record_plan.h"

namespace sql {
namespace {

bool is_null(const Value &value) {
    return value.is_null() || value.kind() == Value::Kind::kAbsent;
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

}  // namespace

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

namespace {

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

}  // namespace

Status encode_row(RecordPlan *plan, std::span<const Value> values, std::span<unsigned char> image,
                  size_t *length) {
    if (plan->max_record == 0) {
        image = plan->image;  // it has an address
    }
    std::ranges::copy(plan->blank_image, image.begin());
    Encoder encoder{*plan, values, image, {}, nullptr, {}, 0};
    Status status = encoder.run();
    if (status.ok()) {
        *length = encoder.extent.length(*plan);
    }
    return status;
}

Status encode_row_over(RecordPlan *plan, Bytes exact, std::span<const Value> values,
                       std::span<unsigned char> image, size_t *length) {
    if (plan->max_record == 0) {
        image = plan->image;  // it has an address
    }
    const Variant *variant = nullptr;
    decode_record(plan, exact, plan->kept_values, plan->kept_texts.data(), {}, &variant);
    std::ranges::copy(exact, image.begin());
    std::fill(image.begin() + static_cast<ptrdiff_t>(exact.size()), image.end(),
              plan->code_page.blank());
    *length = exact.size();
    Encoder encoder{*plan, values, image, plan->kept_values, variant, {}, 0};
    if (encoder.keeps_all()) [[likely]] {
        return {};
    }
    Status status = encoder.run();
    if (status.ok()) {
        *length = std::max(exact.size(), encoder.changed_end);
    }
    return status;
}

}  // namespace sql
