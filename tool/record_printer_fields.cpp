// SPDX-License-Identifier: MIT
//
// One field a line, each record under a heading:
//
//     record 17 at byte 1920, conditions 1 and 3
//       CUST_ID = 4711
//       BORN    = <null>
#include <algorithm>

#include "tool/columns.h"
#include "tool/record_printer.h"

namespace tool {

namespace {

class FieldPrinter final : public RecordPrinter {
 public:
    FieldPrinter(RecordOutput &output, std::vector<PrintedField> fields, bool has_colour)
        : output_(output), fields_(std::move(fields)), has_colour_(has_colour) {
        size_t width = 0;
        for (const PrintedField &field : fields_) {
            width = std::max(width, display_width(field.field->name));
        }
        for (const PrintedField &field : fields_) {
            const std::string &name = field.field->name;
            names_.push_back("  " + without_controls(name) +
                             std::string(width - display_width(name), ' ') + " =");
        }
    }

    void print(const PrintedRecord &record) override {
        put_heading(record);
        for (size_t i = 0; i < fields_.size(); i++) {
            fill_cell(fields_[i], record, cell_);
            if (cell_.kind == CellKind::kEmpty) {
                continue;  // no field of this record
            }
            output_.put(names_[i]);
            if (!cell_.text.empty()) {
                const char *colour = has_colour_ ? colour_of(cell_.kind) : "";
                output_.put(' ');
                output_.put(colour);
                output_.put(cell_.text);
                output_.put(*colour != '\0' ? kNoColour : "");
            }
            output_.put('\n');
        }
    }

 private:
    void put_heading(const PrintedRecord &record) {
        output_.put("record ");
        output_.put_integer(static_cast<int64_t>(record.number));
        output_.put(" at byte ");
        output_.put_integer(static_cast<int64_t>(record.offset));
        if (record.has_conditions) {
            const size_t n = record.conditions.size();
            output_.put(n == 0 ? ", no condition" : n == 1 ? ", condition " : ", conditions ");
            for (size_t i = 0; i < n; i++) {
                output_.put(i == 0 ? "" : i + 1 == n ? " and " : ", ");
                output_.put_integer(record.conditions[i]);
            }
        }
        output_.put('\n');
    }

    RecordOutput &output_;
    std::vector<PrintedField> fields_;
    bool has_colour_;
    std::vector<std::string> names_;  // with everything in front of the value
    Cell cell_;
};

}  // namespace

std::unique_ptr<RecordPrinter> make_field_printer(RecordOutput &output,
                                                  std::vector<PrintedField> fields,
                                                  bool has_colour) {
    return std::make_unique<FieldPrinter>(output, std::move(fields), has_colour);
}

}  // namespace tool
