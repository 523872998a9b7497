// SPDX-License-Identifier: MIT
//
// An aligned table for a person.  The first page of records gives the widths of the
// columns; a later cell that needs more widens its column from there on, so that
// memory stays that of a page.  Texts are cut at kMaxCell characters, numbers never.
#include <algorithm>

#include "tool/columns.h"
#include "tool/record_printer.h"

namespace tool {

namespace {

constexpr size_t kMaxCell = 40;
constexpr std::string_view kCutMark = "\u2026";
constexpr size_t kGap = 2;

// The first `count` characters of a UTF-8 text.
void cut(std::string &text, size_t count) {
    size_t at = 0;
    while (count > 0 && at < text.size()) {
        at++;
        while (at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80) {
            at++;
        }
        count--;
    }
    text.resize(at);
}

class TablePrinter final : public RecordPrinter {
 public:
    TablePrinter(RecordOutput &output, std::vector<PrintedField> fields, const TableStyle &style)
        : output_(output), fields_(std::move(fields)), style_(style), row_(fields_.size() + 1) {
        widths_.push_back(1);
        for (const PrintedField &field : fields_) {
            headings_.push_back(cell_text(field.field->name));
            widths_.push_back(display_width(headings_.back()));
        }
    }

    void print(const PrintedRecord &record) override {
        row_[0].text = std::to_string(record.number);
        for (size_t i = 0; i < fields_.size(); i++) {
            Cell &cell = row_[i + 1];
            fill_cell(fields_[i], record, cell);
            const bool is_digits = cell.kind == CellKind::kValue && is_number(*fields_[i].field);
            if (!style_.is_wide && !is_digits && cell.text.size() > kMaxCell &&
                display_width(cell.text) > kMaxCell) {
                cut(cell.text, kMaxCell - 1);
                cell.text += kCutMark;
            }
        }
        for (size_t i = 0; i < row_.size(); i++) {
            widths_[i] = std::max(widths_[i], display_width(row_[i].text));
        }
        if (is_started_) {
            put_row(row_);
            return;
        }
        page_.push_back(row_);
        if (page_.size() == style_.page_rows) {
            put_page();
        }
    }

    void finish() override { put_page(); }

 private:
    // A heading must not be obeyed by a terminal either.
    static std::string cell_text(const std::string &name) { return without_controls(name); }

    void put_page() {
        if (is_started_) {
            return;
        }
        is_started_ = true;
        std::vector<Cell> headings(1);
        headings[0].text = "#";
        for (const std::string &heading : headings_) {
            headings.push_back({heading, CellKind::kValue});
        }
        put_row(headings);
        for (const std::vector<Cell> &row : page_) {
            put_row(row);
        }
        page_ = {};
    }

    void put_row(const std::vector<Cell> &row) {
        size_t blanks = 0;  // owed to the next text; none stands at the end of a line
        for (size_t i = 0; i < row.size(); i++) {
            const std::string &text = row[i].text;
            const size_t padding = widths_[i] - display_width(text);
            const bool is_right = i == 0 || is_number(*fields_[i - 1].field);
            blanks += (i > 0 ? kGap : 0) + (is_right ? padding : 0);
            if (!text.empty()) {
                for (; blanks > 0; blanks--) {
                    output_.put(' ');
                }
                const char *colour = style_.has_colour ? colour_of(row[i].kind) : "";
                output_.put(colour);
                output_.put(text);
                output_.put(*colour != '\0' ? kNoColour : "");
            }
            blanks += is_right ? 0 : padding;
        }
        output_.put('\n');
    }

    RecordOutput &output_;
    std::vector<PrintedField> fields_;
    TableStyle style_;
    std::vector<std::string> headings_;
    std::vector<size_t> widths_;  // in characters; the first is that of the number
    std::vector<Cell> row_;
    std::vector<std::vector<Cell>> page_;
    bool is_started_ = false;
};

}  // namespace

std::unique_ptr<RecordPrinter> make_table_printer(RecordOutput &output,
                                                  std::vector<PrintedField> fields,
                                                  const TableStyle &style) {
    return std::make_unique<TablePrinter>(output, std::move(fields), style);
}

}  // namespace tool
