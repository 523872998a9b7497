// SPDX-License-Identifier: MIT
#include "sql/record_codec.h"

#include <algorithm>
#include <string>

#include "sql/record_plan.h"

namespace sql {

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
    return encode_row_over(&plan, exact, values, image, length);
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
