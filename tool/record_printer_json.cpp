// SPDX-License-Identifier: MIT
//
// One JSON object a line.  Numbers keep all their digits; texts are UTF-8.  A blob is
// {"hex":"00FF"}, illegal data {"illegal":"spaces","hex":"2020"}, an infinite number
// {"number":"inf"}.  A field that does not exist in the record is left out.
#include <array>

#include "tool/record_printer.h"

namespace tool {

namespace {

using sql::ColumnType;
using sql::FieldState;
using sql::Value;

constexpr std::array<bool, 256> kNeedsEscape = [] {
    std::array<bool, 256> table{};
    for (size_t c = 0; c < 0x20; c++) {
        table[c] = true;
    }
    table['"'] = table['\\'] = table[0x7F] = true;
    return table;
}();

void put_escape(RecordOutput &output, unsigned char c) {
    switch (c) {
        case '"':
            output.put("\\\"");
            return;
        case '\\':
            output.put("\\\\");
            return;
        case '\n':
            output.put("\\n");
            return;
        case '\r':
            output.put("\\r");
            return;
        case '\t':
            output.put("\\t");
            return;
        default:
            output.put("\\u00");
            output.put_hex({&c, 1});
            return;
    }
}

void put_string(RecordOutput &output, std::string_view text) {
    output.put('"');
    size_t done = 0;
    for (size_t i = 0; i < text.size(); i++) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (kNeedsEscape[c]) [[unlikely]] {
            output.put(text.substr(done, i - done));
            put_escape(output, c);
            done = i + 1;
        }
    }
    output.put(text.substr(done));
    output.put('"');
}

class JsonPrinter final : public RecordPrinter {
 public:
    JsonPrinter(RecordOutput &output, std::vector<PrintedField> fields)
        : output_(output), fields_(std::move(fields)) {}

    void print(const PrintedRecord &record) override {
        char before = '{';
        for (const PrintedField &field : fields_) {
            const FieldState state = record.states[field.index];
            const Value &value = record.values[field.index];
            if (value.is_null() &&
                (state == FieldState::kAbsent || state == FieldState::kBehindEnd)) {
                continue;
            }
            output_.put(before);
            before = ',';
            put_string(output_, field.field->name);
            output_.put(':');
            put_value(field, record, value);
        }
        output_.put(before == '{' ? "{}\n" : "}\n");
    }

 private:
    void put_value(const PrintedField &field, const PrintedRecord &record, const Value &value) {
        switch (value.kind()) {
            case Value::Kind::kInteger:
                output_.put_integer(value.as_integer());
                break;
            case Value::Kind::kText:
                if (field.field->type == ColumnType::kDecimal) {
                    output_.put(value.as_text());
                } else if (field.field->type == ColumnType::kText) {
                    put_string(output_, text_of(field, record, room_));
                } else {
                    put_string(output_, value.as_text());
                }
                break;
            case Value::Kind::kReal:
                put_real(field, value.as_real());
                break;
            case Value::Kind::kBlob:
                output_.put("{\"hex\":\"");
                output_.put_hex(value.as_blob());
                output_.put("\"}");
                break;
            default:
                put_without_value(field, record);
                break;
        }
    }

    void put_real(const PrintedField &field, double number) {
        char text[32];
        const std::string_view digits(text, real_text(field, number, text));
        const bool is_finite = digits.find('i') == digits.npos;
        output_.put(is_finite ? "" : "{\"number\":\"");
        output_.put(digits);
        output_.put(is_finite ? "" : "\"}");
    }

    void put_without_value(const PrintedField &field, const PrintedRecord &record) {
        const char *words = illegal_in_words(record.states[field.index]);
        if (words == nullptr) {
            output_.put("null");
            return;
        }
        output_.put("{\"illegal\":\"");
        output_.put(words);
        output_.put("\",\"hex\":\"");
        output_.put_hex(bytes_of(field, record));
        output_.put("\"}");
    }

    RecordOutput &output_;
    std::vector<PrintedField> fields_;
    std::string room_;
};

}  // namespace

std::unique_ptr<RecordPrinter> make_json_printer(RecordOutput &output,
                                                 std::vector<PrintedField> fields) {
    return std::make_unique<JsonPrinter>(output, std::move(fields));
}

}  // namespace tool
