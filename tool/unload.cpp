// SPDX-License-Identifier: MIT
//
// wbfsi unload: the records of a table into a file as a COBOL program writes it.

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <string>

#include "sql/table_reader.h"
#include "tool/columns.h"
#include "tool/command.h"
#include "tool/database.h"
#include "tool/failure.h"
#include "tool/interrupt.h"
#include "tool/paths.h"
#include "tool/progress.h"
#include "tool/record_format.h"
#include "tool/record_writer.h"
#include "tool/session.h"

namespace tool {

namespace {

constexpr const char *kNothingWritten = "no file was written";

struct Options {
    std::string name;
    std::string data_file;
    std::string database;
    bool quiet = false;
    RecordFormatOptions format;
};

// For the progress line alone; 0 when the database does not say.
uint64_t count_rows(sql::Connection &connection, const std::string &table) {
    std::unique_ptr<sql::Statement> statement;
    const std::string query = "SELECT count(*) FROM " + connection.dialect().quote(table);
    sql::Value count;
    bool found = false;
    if (!connection.prepare(query, &statement).ok() ||
        !statement->fetch(std::span(&count, 1), &found).ok() || !found ||
        count.kind() != sql::Value::Kind::kInteger || count.as_integer() < 0) {
        return 0;
    }
    return static_cast<uint64_t>(count.as_integer());
}

int unload(const Options &options) {
    const Dictionary xfd = load_dictionary(options.name, 0);
    const sql::TableLayout layout = layout_of(options.name, *xfd, true);
    RecordShape shape = options.format.shape_of(options.name, *xfd);
    if (shape.slot_header == SlotHeader::kUnknown) {
        shape.slot_header = SlotHeader::k64;
    }
    refuse_same_file(file_of_database(options.database), options.data_file);
    refuse_same_file(xfd->x_filename, options.data_file);
    // A summary behind the records would be taken for one of them.
    const bool is_quiet = options.quiet || is_standard_output(options.data_file);

    sql::OpenOptions open_options;
    open_options.create = false;
    open_options.read_only = true;
    Database database(options.database, open_options);
    const InterruptGuard guard(&database.connection(), kNothingWritten);
    Progress progress("unloading", options.quiet);
    const uint64_t rows = progress.is_shown() ? count_rows(database.connection(), layout.table) : 0;

    std::unique_ptr<sql::TableReader> reader;
    sql::Status status =
        sql::TableReader::open(database.connection(), layout, sql::default_order(layout), &reader);
    check(status, "--db " + options.database);
    RecordWriter writer(options.data_file, shape);
    sql::RecordView record;
    uint64_t records = 0;
    for (bool found = true;;) {
        status = reader->next(&record, &found);
        InterruptGuard::check();
        if (!status.ok()) {
            throw Failure("--db " + options.database + ": table " + layout.table + ": " +
                          status.text() + "; " + kNothingWritten);
        }
        if (!found) {
            break;
        }
        writer.put(record.number, record.bytes);
        records++;
        progress.update(records, records, rows);
    }
    writer.commit();
    progress.clear();
    if (!is_quiet) {
        std::cout << options.data_file << ": " << records << (records == 1 ? " record" : " records")
                  << " unloaded from table " << without_controls(layout.table) << " of "
                  << options.database << '\n';
    }
    return kDone;
}

}  // namespace

Action declare_unload(CLI::App &app) {
    const auto options = std::make_shared<Options>();
    app.add_option("NAME", options->name, "Name of the COBOL file")->required();
    app.add_option("DATAFILE", options->data_file, "File to write")->required();
    declare_database(app, options->database);
    app.add_flag("-q,--quiet", options->quiet, "No progress, no summary");
    options->format.declare(app);
    return [options] { return unload(*options); };
}

}  // namespace tool
