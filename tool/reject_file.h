// SPDX-License-Identifier: MIT
//
// Where load keeps the records that a table refuses: FILE holds them in the form of
// the file that they came from, so that they can be loaded once mended, and
// FILE.reasons has one line each:
//
//     record 17: customers.cust_id 4711 is there already
#ifndef TOOL_REJECT_FILE_H
#define TOOL_REJECT_FILE_H

#include <string>

#include "sql/table_loader.h"
#include "tool/output_file.h"
#include "tool/record_writer.h"

namespace tool {

class RejectFile {
 public:
    RejectFile(const std::string &path, const RecordShape &shape)
        : records_(path, shape), reasons_(reasons_path(path)) {}

    static std::string reasons_path(const std::string &path) {
        return path.empty() ? "" : path + ".reasons";
    }

    // Writes a rejected record; a file that cannot be written ends the load.
    sql::Status add(const sql::Rejection &rejection);

    // From now on every record reaches the operating system at once: those that
    // are found while the load commits must not fail behind it.
    void write_through();

    // Gives both files their names, also when they are empty.
    void commit();

 private:
    RecordWriter records_;
    OutputFile reasons_;
    bool write_through_ = false;
};

}  // namespace tool

#endif
