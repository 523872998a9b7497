// SPDX-License-Identifier: MIT
//
// wbfsi verify: what the fields of a file hold, and whether a table holds the same
// records.

#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

#include "sql/table_reader.h"
#include "tool/columns.h"
#include "tool/command.h"
#include "tool/database.h"
#include "tool/failure.h"
#include "tool/interrupt.h"
#include "tool/progress.h"
#include "tool/record_format.h"
#include "tool/record_reader.h"
#include "tool/session.h"
#include "tool/verify_fields.h"
#include "tool/verify_report.h"
#include "tool/verify_table.h"

namespace tool {

namespace {

constexpr const char *kUnfinished = "the file was not verified to its end";

struct Options {
    std::string name;
    std::string data_file;
    std::string database;
    std::string format = "table";
    uint32_t places = 3;
    bool quiet = false;
    RecordFormatOptions record_format;
};

// A comparison reads the file twice.
void refuse_pipe(const std::string &file) {
    std::error_code error;
    if (std::filesystem::exists(file, error) && !std::filesystem::is_regular_file(file, error)) {
        throw Failure(file +
                      ": what is no regular file is read only once, and a comparison reads it "
                      "twice; without --db, or from a copy in a file, would be right");
    }
}

void check_table(const sql::Status &status, const Options &options,
                 const sql::TableLayout &layout) {
    InterruptGuard::check();
    check(status, "--db " + options.database + ": table " + layout.table);
}

// Goes through the file once; says whether it is in the order of its primary key.
bool verify_fields(const Options &options, const sql::TableLayout &layout, const RecordShape &shape,
                   FieldVerifier &fields) {
    std::optional<KeyOrder> key_order;
    if (!options.database.empty() && sql::default_order(layout) != sql::TableReader::kRecordOrder) {
        key_order.emplace(layout, sql::default_order(layout));
    }
    RecordReader reader(options.data_file, shape);
    Progress progress("verifying", options.quiet);
    Record record;
    while (reader.next(record)) {
        fields.add(record);
        if (key_order) {
            key_order->add(record.bytes);
        }
        InterruptGuard::check();
        progress.update(fields.records(), reader.position(), reader.size());
    }
    return key_order && key_order->holds();
}

void compare_with_table(const Options &options, const sql::TableLayout &layout,
                        const RecordShape &shape, sql::TableReader &table,
                        TableVerifier &verifier) {
    RecordReader reader(options.data_file, shape);
    Progress progress("comparing", options.quiet);
    Record record;
    uint64_t records = 0;
    while (reader.next(record)) {
        check_table(verifier.add(table, record), options, layout);
        progress.update(++records, reader.position(), reader.size());
    }
    check_table(verifier.end(table), options, layout);
}

int verify(const Options &options) {
    const Dictionary xfd = load_dictionary(options.name, 0);
    const sql::TableLayout layout = layout_of(options.name, *xfd, true);
    const RecordShape shape = options.record_format.shape_of(options.name, *xfd);

    std::optional<Database> database;
    if (!options.database.empty()) {
        refuse_pipe(options.data_file);
        sql::OpenOptions open_options;
        open_options.create = false;
        open_options.read_only = true;
        database.emplace(options.database, open_options);
    }
    const InterruptGuard guard(database ? &database->connection() : nullptr, kUnfinished);
    std::unique_ptr<sql::TableReader> table;
    if (database) {
        // That the table is not there need not wait for the end of the file.
        check_table(sql::TableReader::open(database->connection(), layout,
                                           sql::TableReader::kRecordOrder, &table),
                    options, layout);
    }

    FieldVerifier fields(layout, options.places);
    const bool is_in_key_order = verify_fields(options, layout, shape, fields);
    std::optional<TableVerifier> verifier;
    if (database) {
        size_t order = sql::TableReader::kRecordOrder;
        if (is_in_key_order) {
            order = sql::default_order(layout);
            table.reset();
            check_table(sql::TableReader::open(database->connection(), layout, order, &table),
                        options, layout);
        }
        verifier.emplace(layout, order, options.places);
        compare_with_table(options, layout, shape, *table, *verifier);
    }

    if (!options.quiet) {
        const VerifyReport report{options.data_file,
                                  options.database,
                                  layout,
                                  fields,
                                  verifier ? &*verifier : nullptr,
                                  xfd->x_n_conditions != 0};
        if (options.format == "json") {
            print_verify_json(std::cout, report);
        } else {
            print_verify_text(std::cout, report);
        }
    }
    const bool is_same = !verifier || verifier->is_same();
    return fields.is_faultless() && is_same ? kDone : kDifferent;
}

}  // namespace

Action declare_verify(CLI::App &app) {
    const auto options = std::make_shared<Options>();
    app.add_option("NAME", options->name, "Name of the COBOL file")->required();
    app.add_option("DATAFILE", options->data_file, "File with its records")->required();
    declare_database(app, options->database);
    app.get_option("--db")->required(false);
    app.add_option("--places", options->places,
                   "First places to show of each kind, for each field (default 3)")
        ->type_name("N")
        ->check(CLI::Range(0, 1000000));
    app.add_option("--format", options->format, "table or json (default table)")
        ->check(CLI::IsMember({"table", "json"}));
    app.add_flag("-q,--quiet", options->quiet, "No progress, no report: the exit status tells");
    options->record_format.declare(app);
    return [options] { return verify(*options); };
}

}  // namespace tool
