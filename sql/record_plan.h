// SPDX-License-Identifier: MIT
//
// What a layout compiles to for the codec: each field's bytes to a value and back,
// what null is in it, and what becomes of contents that no column can take.  Knows
// nothing of conditions but which field has which.
#ifndef SQL_RECORD_PLAN_H
#define SQL_RECORD_PLAN_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "sql/field_types.h"
#include "sql/record_codec.h"
#include "sql/record_conditions.h"
#include "sql/record_dates.h"
#include "sql/record_number.h"
#include "sql/record_text.h"
#include "sql/record_variants.h"

namespace sql {

struct FieldPlan {
    enum class Form : uint8_t { kAsStored, kDate };

    Storage storage = Storage::kBytes;
    Form form = Form::kAsStored;
    bool is_in_key = false;  // shares bytes with a segment of any key
    uint32_t offset = 0;
    uint32_t size = 0;
    uint32_t room = 0;            // in the texts of a row
    uint32_t keys = 0;            // bit k: one of the columns of key k
    uint32_t index = 0;           // in RecordPlan::numbers or dates
    uint32_t null_at = 0;         // in RecordPlan::null_bytes
    uint32_t null_value = kNone;  // in RecordPlan::with_null_value
    uint32_t condition = 0;       // 0: exists always
    uint32_t column = 0;          // its own place among the fields

    static constexpr uint32_t kNone = UINT32_MAX;

    [[nodiscard]] bool is_number() const {
        return form == Form::kAsStored && storage >= Storage::kDisplay;
    }
};

// What one field came to.
struct FieldResult {
    bool is_canonical = false;
    bool sorts = false;
};

// A field whose bytes are not just the one form of a value.
struct UnusualField {
    FieldState state = FieldState::kOrdinary;
    bool is_canonical = false;  // encode_field() of the value gives the bytes again
};

struct RecordPlan {
    explicit RecordPlan(const TableLayout &layout);

    std::vector<FieldPlan> fields;
    std::vector<uint32_t> unconditional;  // fields
    std::vector<uint32_t> conditional;    // fields, by condition, then by place
    std::vector<NumberField> numbers;
    std::vector<DateField> dates;
    std::vector<std::string> names;
    std::vector<XfdField> with_null_value;  // as Z4TestNullValue takes them
    std::shared_ptr<const Xfd> dictionary;  // owns what they point to
    std::vector<Key> keys;
    uint32_t keys_without_columns = 0;
    uint32_t max_record;
    uint32_t min_record;
    uint32_t fields_end = 0;
    XfdCvtInfo settings;
    CodePage code_page;
    IllegalData illegal_data;
    int32_t min_date;
    int32_t max_date;
    size_t text_capacity = 0;
    size_t padded_at = 0;  // a short record's padded copy, in the texts of a row

    std::vector<unsigned char> blanks;       // a record of no field
    std::vector<unsigned char> blank_image;  // what nulls in the unconditional fields encode to
    std::vector<unsigned char> null_bytes;   // of each field: what null encodes to
    // What a field of null_bytes decodes to, where there are child tables.
    std::vector<Value> blank_values;

    RecordConditions conditions;
    VariantCache variants;
    // A record whose fields are all in canonical form and share no bytes encodes
    // to itself: no comparison looks at bytes of a field that has a condition.
    bool is_settled = true;
    uint32_t tested_end = 0;  // behind the last byte that a comparison looks at

    // Work space.
    std::vector<unsigned char> image;
    std::vector<unsigned char> written;  // see Encoder
    std::vector<Value> kept_values;
    std::vector<char> kept_texts;

    FieldResult decode_field(const FieldPlan &field, const unsigned char *record, char *texts,
                             Value *out);
    [[nodiscard]] bool holds_null_value(const FieldPlan &field, const unsigned char *record);
    // For fields that decode_field() left without a value (`*value` is null): what
    // they hold, and the value that 4GL_ILLEGAL_DATA gives them.
    UnusualField decode_unusual(const FieldPlan &field, const unsigned char *record, char *texts,
                                Value *value);
    [[nodiscard]] bool holds_null_bytes(const FieldPlan &field, const unsigned char *record) const;

    // False, and nothing written, for a value that the field cannot hold.
    bool encode_field(const FieldPlan &field, const Value &value, unsigned char *image_out);
    void encode_null(const FieldPlan &field, unsigned char *image_out) const;
    [[nodiscard]] Status does_not_fit(const FieldPlan &field, const Value &value);
    [[nodiscard]] Status does_not_exist(const FieldPlan &field, const Value &value) const;

 private:
    void add_field(const Field &from);
    void add_date(const Field &from, const char *format, FieldPlan *field);
    void mark_keys();
    void order_fields();
    void make_null_bytes();
    bool find_null_value_bytes(const FieldPlan &field, unsigned char *record);
    void make_blank_values();
    [[nodiscard]] FieldState illegal_state(const FieldPlan &field,
                                           const unsigned char *bytes) const;
    Value converted(const FieldPlan &field, FieldState state, const unsigned char *bytes,
                    char *texts);
    Value converted_text(const FieldPlan &field, const unsigned char *bytes, char *room);

    std::vector<ZArgument> data_;    // by field
    std::vector<char> blank_texts_;  // of blank_values
};

// decode() and encode() of RecordCodec; *type is what the record turned out to be.
DecodedRecord decode_record(RecordPlan *plan, Bytes record, std::span<Value> values, char *texts,
                            std::span<FieldState> states, const Variant **type);
Status encode_row(RecordPlan *plan, std::span<const Value> values, std::span<unsigned char> image,
                  size_t *length);
// encode_over(); `exact` is not longer than the record.
Status encode_row_over(RecordPlan *plan, Bytes exact, std::span<const Value> values,
                       std::span<unsigned char> image, size_t *length);

// A value for a message.
std::string shown(const Value &value);

}  // namespace sql

#endif
