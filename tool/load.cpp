// SPDX-License-Identifier: MIT
//
// wbfsi load: the records of a file into a new table, all or none.

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "sql/table_loader.h"
#include "tool/columns.h"
#include "tool/command.h"
#include "tool/database.h"
#include "tool/failure.h"
#include "tool/interrupt.h"
#include "tool/paths.h"
#include "tool/progress.h"
#include "tool/record_format.h"
#include "tool/record_reader.h"
#include "tool/reject_file.h"
#include "tool/session.h"

namespace tool {

namespace {

constexpr const char *kNothingLoaded = "nothing was loaded";

struct Options {
    std::string name;
    std::string data_file;
    std::string database;
    std::string reject_file;
    bool replace = false;
    bool no_exact = false;
    bool quiet = false;
    RecordFormatOptions format;
};

std::string counted(uint64_t n, const char *one, const char *many) {
    return std::to_string(n) + " " + (n == 1 ? one : many);
}

[[noreturn]] void fail(const Options &options, const sql::Status &status) {
    InterruptGuard::check();
    std::string text = options.data_file + ": " + status.text() + "; " + kNothingLoaded;
    const bool refused = status.kind() == sql::ErrorKind::kDuplicate ||
                         status.kind() == sql::ErrorKind::kConstraint ||
                         status.kind() == sql::ErrorKind::kBadRecord;
    if (refused && options.reject_file.empty()) {
        text += " (--reject FILE would keep such records and go on)";
    }
    throw Failure(text);
}

void print_notes(const RecordReader &reader) {
    const ReaderNotes &notes = reader.notes();
    const auto note = [](uint64_t n, const char *one, const char *many, const char *rest) {
        if (n != 0) {
            std::cout << "note: " << counted(n, one, many) << " " << rest << '\n';
        }
    };
    note(notes.slots_with_old_bytes, "empty slot", "empty slots",
         "held bytes of a deleted record; it comes back as zeros");
    note(notes.trailing_empty_slots, "empty slot", "empty slots",
         "behind the last record; a file that is unloaded ends with its last record");
    note(notes.slots_with_tails, "slot", "slots",
         "held other bytes than blanks behind a short record; blanks come back");
    note(notes.blank_ended_lines, "line", "lines",
         "ended in blanks, which a program does not write and unloading does not bring back");
    note(notes.cr_ended_lines, "line", "lines",
         "ended in CR, now part of the record; --line-end crlf takes it as part of the line end");
    note(notes.last_line_is_open ? 1 : 0, "line", "lines",
         "had no line end, the last one; unloading writes one");
}

void print_summary(const Options &options, const sql::TableLayout &layout,
                   const sql::LoadSummary &summary, const RecordReader &reader) {
    std::cout << options.data_file << ": " << counted(summary.loaded, "record", "records")
              << " loaded into table " << without_controls(layout.table) << " of "
              << options.database << '\n';
    if (reader.shape().format == RecordFormat::kRelative) {
        std::cout << "slots: " << counted(reader.notes().empty_slots, "is empty", "are empty")
                  << ", headers of " << static_cast<int>(reader.shape().slot_header) << " bytes\n";
    }
    if (summary.kept_exact != 0) {
        std::cout << counted(summary.kept_exact, "record keeps its exact bytes",
                             "records keep their exact bytes")
                  << " beside the columns\n";
    }
    if (options.no_exact) {
        std::cout << counted(summary.changed, "record was changed: its columns do",
                             "records were changed: their columns do")
                  << " not give the same bytes back\n";
    }
    if (!options.reject_file.empty()) {
        std::cout << counted(summary.rejected, "record", "records") << " rejected, kept in "
                  << options.reject_file << ", reasons in "
                  << RejectFile::reasons_path(options.reject_file) << '\n';
    }
    print_notes(reader);
}

// Neither file of rejected records may take the place of what is read or made.
void refuse_files_in_use(const Options &options, const Xfd &xfd) {
    const std::string reasons = RejectFile::reasons_path(options.reject_file);
    refuse_same_file(options.reject_file, reasons);
    for (const std::string &written : {options.reject_file, reasons}) {
        refuse_same_file(options.data_file, written);
        refuse_same_file(file_of_database(options.database), written);
        refuse_same_file(xfd.x_filename, written);
    }
}

int load(const Options &options) {
    const Dictionary xfd = load_dictionary(options.name, 0);
    const sql::TableLayout layout = layout_of(options.name, *xfd, !options.no_exact);
    RecordReader reader(options.data_file, options.format.shape_of(options.name, *xfd));

    // A database that is made now has its file from here on.
    Database database(options.database, {});
    std::optional<RejectFile> rejects;
    sql::LoadOptions load_options;
    load_options.replace = options.replace;
    if (!options.reject_file.empty()) {
        refuse_files_in_use(options, *xfd);
        rejects.emplace(options.reject_file, reader.shape());
        load_options.on_reject = [&](const sql::Rejection &r) { return rejects->add(r); };
    }

    const InterruptGuard guard(&database.connection(), kNothingLoaded);
    Progress progress("loading", options.quiet);
    std::unique_ptr<sql::TableLoader> loader;
    sql::Status status =
        sql::TableLoader::begin(database.connection(), layout, std::move(load_options), &loader);
    if (status.kind() == sql::ErrorKind::kTableExists) {
        throw Failure("--db " + options.database + ": " + status.text() +
                      "; --replace drops it first, another database leaves it alone");
    }
    Record record;
    uint64_t records = 0;
    while (status.ok() && reader.next(record)) {
        status = loader->add(record.number, record.bytes);
        InterruptGuard::check();
        progress.update(++records, reader.position(), reader.size());
    }
    sql::LoadSummary summary;
    if (status.ok()) {
        progress.say("making the indexes");
        if (rejects) {
            rejects->write_through();
        }
        status = loader->finish(&summary);
    }
    progress.clear();
    if (!status.ok()) {
        fail(options, status);
    }
    if (rejects) {
        rejects->commit();
    }
    if (!options.quiet) {
        print_summary(options, layout, summary, reader);
    }
    return summary.rejected == 0 ? kDone : kRejected;
}

}  // namespace

Action declare_load(CLI::App &app) {
    const auto options = std::make_shared<Options>();
    app.add_option("NAME", options->name, "Name of the COBOL file")->required();
    app.add_option("DATAFILE", options->data_file, "File with its records")->required();
    declare_database(app, options->database);
    app.add_option("--reject", options->reject_file,
                   "Keep records that the table refuses in FILE, each with its reason in "
                   "FILE.reasons, and go on")
        ->type_name("FILE");
    app.add_flag("--replace", options->replace, "Drop a table of that name first");
    app.add_flag("--no-exact", options->no_exact,
                 "Leave out the column of exact records; count the records that change");
    app.add_flag("-q,--quiet", options->quiet, "No progress, no summary");
    options->format.declare(app);
    return [options] { return load(*options); };
}

}  // namespace tool
