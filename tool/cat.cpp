// SPDX-License-Identifier: MIT
//
// wbfsi cat: the records of a file on the standard output, decoded.

#include <sys/ioctl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sql/record_codec.h"
#include "sql/record_text.h"
#include "tool/cat_choice.h"
#include "tool/cat_conditions.h"
#include "tool/cat_key_range.h"
#include "tool/columns.h"
#include "tool/command.h"
#include "tool/database.h"
#include "tool/failure.h"
#include "tool/progress.h"
#include "tool/record_format.h"
#include "tool/record_output.h"
#include "tool/record_printer.h"
#include "tool/record_reader.h"
#include "tool/session.h"

namespace tool {

namespace {

struct Options {
    std::string name;
    std::string data_file;
    std::string format;
    std::string fields;
    std::string records;
    std::string key;
    std::string colour = "auto";
    size_t key_number = 0;
    int where_condition = 0;
    uint64_t limit = UINT64_MAX;
    bool all = false;
    bool wide = false;
    bool quiet = false;
    RecordFormatOptions shape;
};

struct Counts {
    uint64_t read = 0;
    uint64_t printed = 0;
    uint64_t illegal = 0;  // with illegal data in some field
    uint64_t untyped = 0;  // for which no condition holds
};

// The columns of keys have values of their own rules, by which different bytes give
// different values; here every field shows what it holds.
sql::TableLayout layout_without_keys(const sql::TableLayout &layout) {
    sql::TableLayout copy = layout;
    copy.keys.clear();
    return copy;
}

// A table leaves out what does not fit a screen: no program is to read it.
std::string format_of(const Options &options) {
    if (!options.format.empty()) {
        return options.format;
    }
    return isatty(STDOUT_FILENO) != 0 ? "table" : "csv";
}

// One run of the command.
class Cat {
 public:
    explicit Cat(const Options &options);
    int run();

 private:
    std::unique_ptr<RecordPrinter> make_printer();
    bool has_colour() const;
    bool is_wanted(const Record &record);
    uint64_t offset_of(const Record &record, uint64_t position_before) const;
    void print_all();
    void print_one(const Record &record, uint64_t offset);
    void print_summary() const;

    const Options &options_;
    Dictionary dictionary_;
    sql::TableLayout layout_;
    std::string format_;
    RecordReader reader_;
    NumberRanges numbers_;
    std::optional<KeyRange> key_range_;
    std::optional<TrueConditions> conditions_;
    sql::RecordCodec codec_;
    unsigned char blank_;
    std::vector<sql::Value> values_;
    std::vector<sql::FieldState> states_;
    std::vector<char> texts_;
    RecordOutput output_;
    std::unique_ptr<RecordPrinter> printer_;
    Counts counts_;
};

Cat::Cat(const Options &options)
    : options_(options),
      dictionary_(load_dictionary(options.name, 0)),
      layout_(layout_of(options.name, *dictionary_, false)),
      format_(format_of(options)),
      reader_(options.data_file, options.shape.shape_of(options.name, *dictionary_)),
      numbers_(options.records),
      codec_(layout_without_keys(layout_)),
      blank_(sql::CodePage(layout_.code_page).blank()),
      values_(codec_.value_count()),
      states_(codec_.value_count()),
      texts_(codec_.text_capacity()),
      output_(STDOUT_FILENO) {
    if (!options.key.empty()) {
        key_range_.emplace(layout_, options.key_number, options.key);
    }
    const int conditions = dictionary_->x_n_conditions;
    if (options.where_condition < 0 || options.where_condition > conditions) {
        throw Failure(
            "--where-condition " + std::to_string(options.where_condition) + ": the file has " +
            (conditions == 0 ? "no conditions" : "conditions 1 to " + std::to_string(conditions)));
    }
    if (conditions != 0 && (options.where_condition != 0 || format_ == "fields")) {
        conditions_.emplace(layout_);
    }
    printer_ = make_printer();
}

bool Cat::has_colour() const {
    if (options_.colour != "auto") {
        return options_.colour == "always";
    }
    const char *no_colour = getenv("NO_COLOR");
    const char *terminal = getenv("TERM");
    return isatty(STDOUT_FILENO) != 0 && (no_colour == nullptr || *no_colour == '\0') &&
           (terminal == nullptr || std::string_view(terminal) != "dumb");
}

std::unique_ptr<RecordPrinter> Cat::make_printer() {
    std::vector<PrintedField> fields = choose_fields(layout_, options_.fields, options_.all);
    if (format_ == "csv") {
        return make_csv_printer(output_, std::move(fields));
    }
    if (format_ == "json") {
        return make_json_printer(output_, std::move(fields));
    }
    if (format_ == "fields") {
        return make_field_printer(output_, std::move(fields), has_colour());
    }
    TableStyle style;
    style.has_colour = has_colour();
    style.is_wide = options_.wide;
    winsize window{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) == 0 && window.ws_row > 1) {
        style.page_rows = window.ws_row - 1U;
    }
    return make_table_printer(output_, std::move(fields), style);
}

bool Cat::is_wanted(const Record &record) {
    if (!numbers_.contains(record.number) || (key_range_ && !key_range_->contains(record.bytes))) {
        return false;
    }
    if (conditions_) {
        conditions_->evaluate(record.bytes);
    }
    return options_.where_condition == 0 || conditions_->contain(options_.where_condition);
}

// Empty slots of a relative file, which the reader passes over, lie between the
// position and the record.
uint64_t Cat::offset_of(const Record &record, uint64_t position_before) const {
    const RecordShape &shape = reader_.shape();
    if (shape.format != RecordFormat::kRelative) {
        return position_before;
    }
    return (record.number - 1) * (static_cast<uint64_t>(shape.slot_header) + shape.max_bytes);
}

void Cat::print_one(const Record &record, uint64_t offset) {
    const sql::DecodedRecord decoded = codec_.decode(record.bytes, values_, texts_, states_);
    bool has_illegal = false;
    for (const sql::FieldState state : states_) {
        has_illegal |= is_illegal(state);
    }
    counts_.illegal += has_illegal ? 1 : 0;
    counts_.untyped += decoded.is_untyped ? 1 : 0;
    PrintedRecord printed;
    printed.number = record.number;
    printed.offset = offset;
    printed.bytes = record.bytes;
    printed.values = values_;
    printed.states = states_;
    printed.is_exact = decoded.is_exact;
    printed.blank = blank_;
    if (conditions_) {
        printed.has_conditions = true;
        printed.conditions = conditions_->numbers();
    }
    printer_->print(printed);
    counts_.printed++;
}

void Cat::print_all() {
    // A line of progress in the midst of a table would spoil both.
    Progress progress("reading", options_.quiet || isatty(STDOUT_FILENO) != 0);
    Record record;
    while (counts_.printed < options_.limit) {
        const uint64_t position = reader_.position();
        if (!reader_.next(record)) {
            return;
        }
        counts_.read++;
        if (is_wanted(record)) {
            print_one(record, offset_of(record, position));
        }
        if (record.number >= numbers_.last()) {
            return;
        }
        progress.update(counts_.read, reader_.position(), reader_.size());
    }
}

void Cat::print_summary() const {
    const auto counted = [](uint64_t n) {
        return std::to_string(n) + (n == 1 ? " record" : " records");
    };
    std::string text = without_controls(options_.data_file) + ": " + counted(counts_.printed);
    if (counts_.read != counts_.printed) {
        text += " of " + std::to_string(counts_.read) + " read";
    }
    if (counts_.illegal != 0) {
        text += ", " + std::to_string(counts_.illegal) + " with illegal data";
    }
    if (counts_.untyped != 0) {
        text += ", " + std::to_string(counts_.untyped) + " for which no condition holds";
    }
    std::cerr << text << '\n';
}

int Cat::run() {
    try {
        printer_->begin();
        try {
            print_all();
        } catch (const Failure &) {
            // What was read before the place of the error is good.
            printer_->finish();
            output_.flush();
            throw;
        }
        printer_->finish();
        output_.flush();
    } catch (const OutputClosed &) {
        return kDone;
    }
    if (!options_.quiet) {
        print_summary();
    }
    return kDone;
}

}  // namespace

Action declare_cat(CLI::App &app) {
    const auto options = std::make_shared<Options>();
    app.add_option("NAME", options->name, "Name of the COBOL file")->required();
    app.add_option("DATAFILE", options->data_file, "File with its records")->required();
    app.add_option("--format", options->format,
                   "table (default on a terminal), csv (default elsewhere), json: one object a "
                   "line, or fields: one field a line")
        ->check(CLI::IsMember({"table", "csv", "json", "fields"}))
        ->type_name("FORMAT");
    app.add_option("--fields", options->fields, "Print these fields, in this order")
        ->type_name("NAME,...");
    app.add_flag("--all", options->all, "Print hidden fields, too");
    app.add_option("--records", options->records,
                   "Print the records with these numbers: 10-20,35,100-")
        ->type_name("RANGES");
    CLI::Option *key =
        app.add_option("--key", options->key,
                       "Print the records whose key is in this range, in the order of the key's "
                       "bytes; values of several columns are separated by commas")
            ->type_name("FROM..TO");
    app.add_option("--key-number", options->key_number,
                   "Key of --key, as \"wbfsi show\" numbers them (default 0)")
        ->needs(key)
        ->type_name("NUMBER");
    app.add_option("--where-condition", options->where_condition,
                   "Print the records for which the condition holds")
        ->type_name("NUMBER");
    app.add_option("--limit", options->limit, "Stop after so many records")->type_name("COUNT");
    app.add_flag("--wide", options->wide, "Do not cut long texts in the table");
    app.add_option("--color", options->colour,
                   "Nulls dim and illegal data red: auto (default), always, never")
        ->check(CLI::IsMember({"auto", "always", "never"}))
        ->type_name("WHEN");
    app.add_flag("-q,--quiet", options->quiet, "No progress, no summary");
    options->shape.declare(app);
    return [options] { return Cat(*options).run(); };
}

}  // namespace tool
