// SPDX-License-Identifier: MIT
//
// Decoded records in the four forms of `wbfsi cat`.  A printer knows the fields to
// print and writes one record after the other; it reads no file and chooses nothing.
//
//     RecordOutput output(STDOUT_FILENO);
//     std::unique_ptr<RecordPrinter> printer = make_csv_printer(output, fields);
//     printer->begin();
//     for (...) printer->print(record);
//     printer->finish();
#ifndef TOOL_RECORD_PRINTER_H
#define TOOL_RECORD_PRINTER_H

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "sql/record_codec.h"
#include "sql/table_layout.h"
#include "sql/value.h"
#include "tool/record_output.h"

namespace tool {

// A field to print: where it stands in the values of a record.
struct PrintedField {
    size_t index;  // in TableLayout::fields
    const sql::Field *field;
};

struct PrintedRecord {
    uint64_t number = 0;  // from 1
    uint64_t offset = 0;  // in the file, of the record or its header
    sql::Bytes bytes;
    // One for each field of the layout.
    std::span<const sql::Value> values;
    std::span<const sql::FieldState> states;
    bool is_exact = true;                  // DecodedRecord::is_exact
    unsigned char blank = ' ';             // of the record's code page
    bool has_conditions = false;           // the dictionary has some; then, for
    std::span<const uint16_t> conditions;  // make_field_printer(), those that hold
};

class RecordPrinter {
 public:
    virtual ~RecordPrinter() = default;

    // What stands in front of the first record.
    virtual void begin() {}
    virtual void print(const PrintedRecord &record) = 0;
    // What is still held back; the last call.
    virtual void finish() {}
};

struct TableStyle {
    bool has_colour = false;
    bool is_wide = false;   // long texts are not cut
    size_t page_rows = 50;  // the rows that give the first widths
};

std::unique_ptr<RecordPrinter> make_csv_printer(RecordOutput &output,
                                                std::vector<PrintedField> fields);
std::unique_ptr<RecordPrinter> make_json_printer(RecordOutput &output,
                                                 std::vector<PrintedField> fields);
std::unique_ptr<RecordPrinter> make_table_printer(RecordOutput &output,
                                                  std::vector<PrintedField> fields,
                                                  const TableStyle &style);
std::unique_ptr<RecordPrinter> make_field_printer(RecordOutput &output,
                                                  std::vector<PrintedField> fields,
                                                  bool has_colour);

// Whether a field holds what is no value of it.
constexpr bool is_illegal(sql::FieldState state) {
    return state > sql::FieldState::kBehindEnd;
}
static_assert(!is_illegal(sql::FieldState::kOrdinary) && !is_illegal(sql::FieldState::kNullValue) &&
              !is_illegal(sql::FieldState::kAbsent) && is_illegal(sql::FieldState::kSpaces) &&
              is_illegal(sql::FieldState::kLowValues) && is_illegal(sql::FieldState::kHighValues) &&
              is_illegal(sql::FieldState::kBadNumber) && is_illegal(sql::FieldState::kBadDate) &&
              is_illegal(sql::FieldState::kBadText));

// "spaces", "bad number" ... of an illegal state; null for all others.
const char *illegal_in_words(sql::FieldState state);

// The bytes of a field as far as the record goes.
sql::Bytes bytes_of(const PrintedField &field, const PrintedRecord &record);

// The text of a field of type kText.  Its value leaves out the low-values that pad
// it with the blanks among them; here they are back, in `room`, as U+0000 and blanks.
std::string_view padded_text_of(const PrintedField &field, const PrintedRecord &record,
                                std::string &room);
inline std::string_view text_of(const PrintedField &field, const PrintedRecord &record,
                                std::string &room) {
    // A record in which a text leaves low-values out is not exact.
    return record.is_exact ? record.values[field.index].as_text()
                           : padded_text_of(field, record, room);
}

// A finite number in the fewest digits that read back as the same one, of single
// precision where the field is; "inf" and "-inf".
size_t real_text(const PrintedField &field, double number, char (&text)[32]);

// What a person sees of a field, its control characters as \xHH.
enum class CellKind : uint8_t { kValue, kEmpty, kNull, kIllegal };
struct Cell {
    std::string text;
    CellKind kind = CellKind::kValue;
};
void fill_cell(const PrintedField &field, const PrintedRecord &record, Cell &cell);

// The escape sequence that begins a cell of the kind, "" for those without colour.
const char *colour_of(CellKind kind);
constexpr const char *kNoColour = "\x1b[0m";

// Numbers stand at the right of their column.
bool is_number(const sql::Field &field);

}  // namespace tool

#endif
