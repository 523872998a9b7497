// SPDX-License-Identifier: MIT
//
// CSV after RFC 4180 with LF as line end: a header line, quotes where they are
// needed.  Null is an empty field without quotes, the empty text is "".
//
// Illegal data is "hex:" and its bytes in hexadecimal.  A text that begins like that
// gets "text:" in front, as does one that begins with "text:" before it, so that a
// reader who takes one "text:" away from in front of "hex:" has the text.
#include <emmintrin.h>

#include <cstring>

#include "tool/record_printer.h"

namespace tool {

namespace {

using sql::ColumnType;
using sql::Value;

constexpr std::string_view kHexMark = "hex:";
constexpr std::string_view kTextMark = "text:";

// Whether `text` must stand between quotes.  Looks at sixteen bytes at a time, so
// kOverread bytes behind the text must be readable.
constexpr size_t kOverread = 15;

bool needs_quotes(const char *text, size_t size) {
    if (size == 0) {
        return true;
    }
    const __m128i quote = _mm_set1_epi8('"');
    const __m128i comma = _mm_set1_epi8(',');
    const __m128i line_feed = _mm_set1_epi8('\n');
    const __m128i carriage_return = _mm_set1_epi8('\r');
    for (size_t i = 0; i < size; i += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(text + i));
        const __m128i found = _mm_or_si128(
            _mm_or_si128(_mm_cmpeq_epi8(bytes, quote), _mm_cmpeq_epi8(bytes, comma)),
            _mm_or_si128(_mm_cmpeq_epi8(bytes, line_feed), _mm_cmpeq_epi8(bytes, carriage_return)));
        const auto mask = static_cast<uint32_t>(_mm_movemask_epi8(found));
        const uint32_t inside = size - i >= 16 ? 0xFFFFU : (1U << (size - i)) - 1;
        if ((mask & inside) != 0) {
            return true;
        }
    }
    return false;
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
                    if (is_illegal(record.states[field.index])) {
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
    // Most texts go out as they are: they are copied first and looked at there.
    void put_text(std::string_view text) {
        if (text.size() <= RecordOutput::kMaxRoom - kOverread) [[likely]] {
            char *to = output_.room(text.size() + kOverread);
            memcpy(to, text.data(), text.size());
            const bool is_marked = (*to == 'h' || *to == 't') && looks_illegal(text);
            if (!is_marked && !needs_quotes(to, text.size())) [[likely]] {
                output_.took(to + text.size());
                return;
            }
        }
        output_.put('"');
        if (looks_illegal(text)) {
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
