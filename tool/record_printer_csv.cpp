// SPDX-License-Identifier: MIT
//
// CSV after RFC 4180 with LF as line end: a header line, quotes where they are
// needed.  Null is an empty field without quotes, the empty text is "".
//
// Illegal data is "hex:" and its bytes in hexadecimal.  A text that begins like that
// gets "text:" in front, as does one that begins with "text:" before it, so that a
// reader who takes one "text:" away from in front of "hex:" has the text.
#include <algorithm>
#include <array>

#include "tool/record_printer.h"

namespace tool {

namespace {

using sql::ColumnType;
using sql::Value;

constexpr std::string_view kHexMark = "hex:";
constexpr std::string_view kTextMark = "text:";

constexpr std::array<bool, 256> kNeedsQuotes = [] {
    std::array<bool, 256> table{};
    for (const unsigned char c : {'"', ',', '\n', '\r'}) {
        table[c] = true;
    }
    return table;
}();

bool needs_quotes(std::string_view text) {
    bool found = text.empty();
    for (const char c : text) {
        found |= kNeedsQuotes[static_cast<unsigned char>(c)];
    }
    return found;
}

bool looks_illegal(std::string_view text) {
    while (text.starts_with(kTextMark)) {
        text.remove_prefix(kTextMark.size());
    }
    return text.starts_with(kHexMark);
}

class CsvPrinter final : public RecordPrinter {
 public:
    CsvPrinter(RecordOutput &output, std::vector<PrintedField> fields)
        : output_(output), fields_(std::move(fields)) {}

    void begin() override {
        for (const PrintedField &field : fields_) {
            put_text(field.field->name);
            output_.put(&field == &fields_.back() ? '\n' : ',');
        }
    }

    void print(const PrintedRecord &record) override {
        for (const PrintedField &field : fields_) {
            const Value &value = record.values[field.index];
            switch (value.kind()) {
                case Value::Kind::kInteger:
                    output_.put_integer(value.as_integer());
                    break;
                case Value::Kind::kText:
                    if (field.field->type == ColumnType::kText) {
                        put_text(text_of(field, record, room_));
                    } else {
                        output_.put(value.as_text());  // digits, a date
                    }
                    break;
                case Value::Kind::kReal: {
                    char text[32];
                    output_.put({text, real_text(field, value.as_real(), text)});
                    break;
                }
                case Value::Kind::kBlob:
                    output_.put_hex(value.as_blob());
                    break;
                default:
                    if (illegal_in_words(record.states[field.index]) != nullptr) {
                        output_.put(kHexMark);
                        output_.put_hex(bytes_of(field, record));
                    }
                    break;
            }
            output_.put(',');
        }
        output_.replace_last('\n');
    }

 private:
    void put_text(std::string_view text) {
        const bool is_marked =
            !text.empty() && (text[0] == 'h' || text[0] == 't') && looks_illegal(text);
        if (!needs_quotes(text)) [[likely]] {
            if (is_marked) [[unlikely]] {
                output_.put(kTextMark);
            }
            output_.put(text);
            return;
        }
        output_.put('"');
        if (is_marked) {
            output_.put(kTextMark);
        }
        for (size_t quote = text.find('"'); quote != text.npos; quote = text.find('"')) {
            output_.put(text.substr(0, quote + 1));
            output_.put('"');
            text.remove_prefix(quote + 1);
        }
        output_.put(text);
        output_.put('"');
    }

    RecordOutput &output_;
    std::vector<PrintedField> fields_;
    std::string room_;
};

}  // namespace

std::unique_ptr<RecordPrinter> make_csv_printer(RecordOutput &output,
                                                std::vector<PrintedField> fields) {
    return std::make_unique<CsvPrinter>(output, std::move(fields));
}

}  // namespace tool
