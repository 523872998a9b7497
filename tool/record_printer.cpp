// SPDX-License-Identifier: MIT
#include "tool/record_printer.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace tool {

using sql::FieldState;
using sql::Value;

const char *illegal_in_words(FieldState state) {
    switch (state) {
        case FieldState::kOrdinary:
        case FieldState::kNullValue:
        case FieldState::kAbsent:
        case FieldState::kBehindEnd:
            return nullptr;
        case FieldState::kSpaces:
            return "spaces";
        case FieldState::kLowValues:
            return "low-values";
        case FieldState::kHighValues:
            return "high-values";
        case FieldState::kBadNumber:
            return "bad number";
        case FieldState::kBadDate:
            return "bad date";
        case FieldState::kBadText:
            return "bad text";
    }
    return nullptr;
}

sql::Bytes bytes_of(const PrintedField &field, const PrintedRecord &record) {
    const size_t from = std::min<size_t>(field.field->offset, record.bytes.size());
    const size_t size = std::min<size_t>(field.field->data.a_size, record.bytes.size() - from);
    return record.bytes.subspan(from, size);
}

namespace {

// Texts in which no low-value counts as padding: justified right, national.
bool is_other_text(uint16_t type) {
    return type == 17 || type == 19 || (type >= 24 && type <= 26);
}

}  // namespace

std::string_view padded_text_of(const PrintedField &field, const PrintedRecord &record,
                                std::string &room) {
    const std::string_view text = record.values[field.index].as_text();
    if (is_other_text(field.field->data.a_type)) {
        return text;
    }
    const sql::Bytes bytes = bytes_of(field, record);
    size_t end = bytes.size();
    while (end > 0 && bytes[end - 1] == record.blank) {
        end--;
    }
    size_t start = end;
    while (start > 0 && (bytes[start - 1] == 0 || bytes[start - 1] == record.blank)) {
        start--;
    }
    if (start == end) {
        return text;
    }
    room = text;
    for (; start < end; start++) {
        room += bytes[start] == 0 ? '\0' : ' ';
    }
    return room;
}

size_t real_text(const PrintedField &field, double number, char (&text)[32]) {
    char *end = text + sizeof text;
    const std::to_chars_result result = field.field->data.a_size == sizeof(float)
                                            ? std::to_chars(text, end, static_cast<float>(number))
                                            : std::to_chars(text, end, number);
    return static_cast<size_t>(result.ptr - text);
}

bool is_number(const sql::Field &field) {
    return field.type == sql::ColumnType::kInteger || field.type == sql::ColumnType::kDecimal ||
           field.type == sql::ColumnType::kReal;
}

const char *colour_of(CellKind kind) {
    switch (kind) {
        case CellKind::kNull:
            return "\x1b[2m";
        case CellKind::kIllegal:
            return "\x1b[31m";
        default:
            return "";
    }
}

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

void append_hex(sql::Bytes bytes, std::string &to) {
    for (const unsigned char byte : bytes) {
        to += kHexDigits[byte >> 4];
        to += kHexDigits[byte & 15];
    }
}

// A terminal obeys U+0000 to U+001F, U+007F and U+0080 to U+009F; the last are two
// bytes of UTF-8, the first of them C2.
void append_printable(std::string_view text, std::string &to) {
    for (size_t i = 0; i < text.size(); i++) {
        auto byte = static_cast<unsigned char>(text[i]);
        bool is_control = byte < 0x20 || byte == 0x7F;
        if (byte == 0xC2 && i + 1 < text.size()) {
            const auto second = static_cast<unsigned char>(text[i + 1]);
            if (second < 0xA0) {
                is_control = true;
                byte = second;
                i++;
            }
        }
        if (is_control) {
            to += "\\x";
            append_hex({&byte, 1}, to);
        } else {
            to += text[i];
        }
    }
}

// Bytes that are all the same need not be seen where the words say which.
bool says_all(FieldState state, sql::Bytes bytes) {
    return state <= FieldState::kHighValues && !bytes.empty() &&
           std::all_of(bytes.begin(), bytes.end(), [&](auto b) { return b == bytes[0]; });
}

void fill_without_value(const PrintedField &field, const PrintedRecord &record, Cell &cell) {
    const FieldState state = record.states[field.index];
    if (state == FieldState::kAbsent) {
        cell.kind = CellKind::kEmpty;
        return;
    }
    const char *words = illegal_in_words(state);
    if (words == nullptr) {
        cell.kind = CellKind::kNull;
        cell.text += state == FieldState::kBehindEnd ? "<behind the end>" : "<null>";
        return;
    }
    cell.kind = CellKind::kIllegal;
    const sql::Bytes bytes = bytes_of(field, record);
    cell.text += '<';
    if (says_all(state, bytes)) {
        cell.text += words;
    } else {
        // The full test of digits answers with "spaces" for a bad digit.
        cell.text += state == FieldState::kSpaces ? "bad digits" : words;
        cell.text += ' ';
        append_hex(bytes, cell.text);
    }
    cell.text += '>';
}

}  // namespace

void fill_cell(const PrintedField &field, const PrintedRecord &record, Cell &cell) {
    cell.text.clear();
    cell.kind = is_illegal(record.states[field.index]) ? CellKind::kIllegal : CellKind::kValue;
    const Value &value = record.values[field.index];
    char text[32];
    switch (value.kind()) {
        case Value::Kind::kInteger: {
            const auto end = std::to_chars(text, text + sizeof text, value.as_integer()).ptr;
            cell.text.assign(text, static_cast<size_t>(end - text));
            break;
        }
        case Value::Kind::kReal:
            cell.text.assign(text, real_text(field, value.as_real(), text));
            break;
        case Value::Kind::kText:
            if (field.field->type == sql::ColumnType::kText) {
                std::string room;
                append_printable(text_of(field, record, room), cell.text);
            } else {
                cell.text += value.as_text();
            }
            break;
        case Value::Kind::kBlob:
            append_hex(value.as_blob(), cell.text);
            break;
        default:
            fill_without_value(field, record, cell);
            break;
    }
}

}  // namespace tool
