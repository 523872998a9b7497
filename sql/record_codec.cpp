// SPDX-License-Identifier: MIT
#include "sql/record_codec.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

#include "sql/field_types.h"
#include "sql/record_number.h"
#include "sql/record_text.h"

namespace sql {
namespace {

struct FieldPlan {
    Storage storage = Storage::kBytes;
    uint32_t offset = 0;
    uint32_t size = 0;
    uint32_t room = 0;         // in the texts of a row
    uint32_t keys = 0;         // bit k: one of the columns of key k
    size_t number = SIZE_MAX;  // index in RecordPlan::numbers
    size_t column = 0;
};

struct Range {
    uint32_t offset = 0;
    uint32_t size = 0;
};

// What one field came to.
struct FieldResult {
    bool is_canonical = false;
    bool sorts = false;
};

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

}  // namespace

struct RecordPlan {
    explicit RecordPlan(const TableLayout &layout);

    std::vector<FieldPlan> fields;
    std::vector<NumberField> numbers;
    std::vector<Range> gaps;  // bytes of no field
    // Two columns hold the same bytes.  Only the exact bytes tell then which of
    // them was changed, so every row keeps them.
    bool has_overlaps = false;
    std::vector<std::string> names;
    std::vector<Key> keys;
    uint32_t keys_without_columns = 0;
    std::vector<unsigned char> blank_image;  // what a row of nulls encodes to
    uint32_t max_record;
    uint32_t min_record;
    XfdCvtInfo settings;
    CodePage code_page;
    size_t text_capacity = 0;

    size_t padded_at = 0;  // a short record's padded copy, in the texts of a row

    // Work space of decode() for short records and of encode_over().
    std::vector<unsigned char> image;
    std::vector<Value> kept_values;
    std::vector<char> kept_texts;

    FieldResult decode_field(const FieldPlan &field, const unsigned char *record, char *texts,
                             Value *out) const;
    bool encode_field(const FieldPlan &field, const Value &value, unsigned char *image_out) const;
    [[nodiscard]] Status does_not_fit(const FieldPlan &field, const Value &value) const;
    DecodedRecord decode_full(const unsigned char *record, std::span<Value> values,
                              char *texts) const;
    [[nodiscard]] size_t encoded_length(std::span<const Value> values) const;

 private:
    void add_field(const Field &from);
    void find_gaps_and_overlaps();
};

RecordPlan::RecordPlan(const TableLayout &layout)
    : keys(layout.keys),
      max_record(layout.max_record),
      min_record(layout.min_record),
      settings(layout.settings),
      code_page(layout.code_page) {
    for (size_t i = 0; i < layout.fields.size(); i++) {
        add_field(layout.fields[i]);
    }
    for (size_t k = 0; k < keys.size() && k < 32; k++) {
        if (keys[k].columns.empty()) {
            keys_without_columns |= uint32_t{1} << k;
        }
        for (const size_t column : keys[k].columns) {
            fields[column].keys |= uint32_t{1} << k;
        }
    }
    find_gaps_and_overlaps();
    blank_image.assign(max_record, code_page.blank());
    for (const FieldPlan &field : fields) {
        if (field.number != SIZE_MAX || field.storage == Storage::kFloat) {
            const Value zero = field.number != SIZE_MAX ? Value::integer(0) : Value::real(0);
            encode_field(field, zero, blank_image.data());
        } else {
            encode_field(field, Value::text(""), blank_image.data());
        }
    }
    padded_at = text_capacity;
    text_capacity += max_record;
    image.resize(max_record);
    kept_values.resize(fields.size());
    kept_texts.resize(text_capacity);
}

void RecordPlan::add_field(const Field &from) {
    const FieldShape shape = shape_of(from.data);
    FieldPlan field;
    field.storage = shape.storage;
    field.offset = from.offset;
    field.size = from.data.a_size;
    field.column = fields.size();
    field.room = static_cast<uint32_t>(text_capacity);
    if (shape.is_number) {
        field.number = numbers.size();
        numbers.push_back(make_number_field(from.data, shape, is_integer(shape), settings));
        text_capacity += is_integer(shape) ? 0 : decimal_text_size(numbers.back());
    } else if (shape.storage == Storage::kText || shape.storage == Storage::kTextRight ||
               shape.storage == Storage::kNational || shape.storage == Storage::kNationalRight) {
        text_capacity += field.size * CodePage::kMaxGrowth;
    }
    fields.push_back(field);
    names.push_back(from.name);
}

void RecordPlan::find_gaps_and_overlaps() {
    std::vector<Range> covered;
    for (const FieldPlan &field : fields) {
        if (field.size > 0) {
            covered.push_back({field.offset, field.size});
        }
    }
    std::ranges::sort(covered, {}, &Range::offset);
    uint32_t end = 0;
    for (const Range &range : covered) {
        if (range.offset > end) {
            gaps.push_back({end, range.offset - end});
        }
        has_overlaps = has_overlaps || range.offset < end;
        end = std::max(end, range.offset + range.size);
    }
    if (end < max_record) {
        gaps.push_back({end, max_record - end});
    }
}

FieldResult RecordPlan::decode_field(const FieldPlan &field, const unsigned char *record,
                                     char *texts, Value *out) const {
    const unsigned char *bytes = record + field.offset;
    DecodedText text;
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
                decode_number(numbers[field.number], settings, bytes, texts + field.room, out);
            return {number.is_canonical, number.is_canonical && !number.is_negative};
        }
    }
    if (text.is_valid) {
        *out = Value::text(text.text);
    }
    return {text.is_canonical, text.sorts};
}

DecodedRecord RecordPlan::decode_full(const unsigned char *record, std::span<Value> values,
                                      char *texts) const {
    DecodedRecord result{!has_overlaps, keys_without_columns};
    for (size_t i = 0; i < fields.size(); i++) {
        const FieldPlan &field = fields[i];
        Value &value = values[i];
        value = Value();
        const FieldResult got = decode_field(field, record, texts, &value);
        if (!got.sorts || !got.is_canonical) {
            result.irregular_keys |= field.keys;
        }
        if (!got.is_canonical) {
            result.is_exact = false;
            // Other bytes have the same value: in the columns of a key, where
            // values have to differ as the bytes do, it counts as none.
            if (field.keys != 0) {
                value = Value();
            }
        }
    }
    for (const Range &gap : gaps) {
        result.is_exact =
            result.is_exact &&
            std::memcmp(record + gap.offset, blank_image.data() + gap.offset, gap.size) == 0;
    }
    return result;
}

bool RecordPlan::encode_field(const FieldPlan &field, const Value &value,
                              unsigned char *image_out) const {
    unsigned char *out = image_out + field.offset;
    const std::span<unsigned char> room(out, field.size);
    const bool is_text = value.kind() == Value::Kind::kText;
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
            if (value.kind() != Value::Kind::kBlob || value.as_blob().size() != field.size) {
                return false;
            }
            std::memcpy(out, value.as_blob().data(), field.size);
            return true;
        default:
            return encode_number(numbers[field.number], settings, value, out);
    }
}

Status RecordPlan::does_not_fit(const FieldPlan &field, const Value &value) const {
    std::string room = std::to_string(field.size) + (field.size == 1 ? " byte" : " bytes");
    if (field.number != SIZE_MAX) {
        const FieldShape &shape = numbers[field.number].shape;
        room = (shape.is_signed ? "a signed number of " : "an unsigned number of ") +
               std::to_string(shape.digits) + " digits" +
               (shape.scale < 0 ? ", " + std::to_string(-shape.scale) + " of them decimals" : "");
    }
    return {ErrorKind::kBadRecord, "column \"" + names[field.column] + "\" holds " + shown(value) +
                                       ", which does not fit its field (" + room + ")"};
}

// A record whose last fields are null ends behind the last one that is not.
size_t RecordPlan::encoded_length(std::span<const Value> values) const {
    if (min_record == max_record) {
        return max_record;
    }
    size_t end = min_record;
    bool has_nulls = false;
    for (size_t i = 0; i < fields.size(); i++) {
        if (values[i].is_null()) {
            has_nulls = true;
        } else {
            end = std::max<size_t>(end, fields[i].offset + fields[i].size);
        }
    }
    return has_nulls ? end : max_record;
}

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
    (void)states;
    const size_t size = record.size();
    RecordPlan &plan = *plan_;
    if (size >= plan.max_record) [[likely]] {
        return plan.decode_full(record.data(), values, texts.data());
    }
    auto *padded = reinterpret_cast<unsigned char *>(texts.data()) + plan.padded_at;
    std::copy(record.begin(), record.end(), padded);
    std::fill(padded + size, padded + plan.max_record, plan.code_page.blank());
    DecodedRecord result = plan.decode_full(padded, values, texts.data());
    for (size_t i = 0; i < plan.fields.size(); i++) {
        if (plan.fields[i].offset >= size) {
            values[i] = Value();
            result.irregular_keys |= plan.fields[i].keys;
        }
    }
    size_t length = 0;
    result.is_exact = !plan.has_overlaps && encode(values, plan.image, &length).ok() &&
                      length == size && std::equal(record.begin(), record.end(), plan.image.data());
    return result;
}

Status RecordCodec::encode(std::span<const Value> values, std::span<unsigned char> image,
                           size_t *length) const {
    const RecordPlan &plan = *plan_;
    std::ranges::copy(plan.blank_image, image.begin());
    for (size_t i = 0; i < plan.fields.size(); i++) {
        if (values[i].is_null()) {
            continue;
        }
        if (!plan.encode_field(plan.fields[i], values[i], image.data())) {
            return plan.does_not_fit(plan.fields[i], values[i]);
        }
    }
    *length = plan.encoded_length(values);
    return {};
}

Status RecordCodec::encode_over(Bytes exact, std::span<const Value> values,
                                std::span<unsigned char> image, size_t *length) const {
    RecordPlan &plan = *plan_;
    if (exact.size() > plan.max_record) {
        return {ErrorKind::kBadRecord, "the exact bytes kept are " + std::to_string(exact.size()) +
                                           ", the record has " + std::to_string(plan.max_record)};
    }
    decode(exact, plan.kept_values, plan.kept_texts);
    std::ranges::copy(exact, image.begin());
    std::fill(image.begin() + static_cast<ptrdiff_t>(exact.size()), image.end(),
              plan.code_page.blank());
    size_t end = exact.size();
    for (size_t i = 0; i < plan.fields.size(); i++) {
        const FieldPlan &field = plan.fields[i];
        if (values[i] == plan.kept_values[i]) [[likely]] {
            continue;
        }
        end = std::max<size_t>(end, field.offset + field.size);
        if (values[i].is_null()) {
            std::copy_n(plan.blank_image.begin() + field.offset, field.size,
                        image.begin() + field.offset);
        } else if (!plan.encode_field(field, values[i], image.data())) {
            return plan.does_not_fit(field, values[i]);
        }
    }
    *length = end;
    return {};
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
