// SPDX-License-Identifier: MIT
//
// Records into a new table, all or none.
//
//     std::unique_ptr<TableLoader> loader;
//     Status s = TableLoader::begin(*db, layout, {}, &loader);
//     for (uint64_t n = 1; s.ok() && file.next(&record); n++) s = loader->add(n, record);
//     LoadSummary summary;
//     if (s.ok()) s = loader->finish(&summary);
//
// Table, indexes and rows come in one transaction; a loader that goes without a
// successful finish() leaves the database as it was.  Memory does not grow with
// the number of records, rejected ones aside.
#ifndef SQL_TABLE_LOADER_H
#define SQL_TABLE_LOADER_H

#include <cstdint>
#include <functional>
#include <memory>

#include "sql/connection.h"
#include "sql/status.h"
#include "sql/table_layout.h"
#include "sql/value.h"

namespace sql {

// A record that the table refuses.
struct Rejection {
    uint64_t record_number;  // as given to add()
    std::string reason;      // one line
    Bytes record;            // exactly as given to add(); valid during the call
};

struct LoadOptions {
    bool replace = false;  // drop a table of this name first; else it is an error
    // Called for every refused record, at once or, for duplicates found when
    // the indexes are made, in finish() (numbers then need not ascend).  A
    // status other than ok ends the load with it.  Not set: the first refused
    // record ends the load.
    std::function<Status(const Rejection &)> on_reject;
};

struct LoadSummary {
    uint64_t loaded = 0;
    uint64_t rejected = 0;
    uint64_t kept_exact = 0;  // rows that keep their exact bytes
    uint64_t changed = 0;     // without that column: rows that will come back changed
};

class TableLoader {
 public:
    // Starts the transaction and creates the table.  kTableExists when it is
    // there and not to be replaced; what the database says otherwise.  The
    // connection outlives the loader; nothing else uses it meanwhile.
    static Status begin(Connection &connection, const TableLayout &layout, LoadOptions options,
                        std::unique_ptr<TableLoader> *out);

    virtual ~TableLoader() = default;  // rolls back unless finished

    // Adds a record of at most max_record bytes; it is copied.  `record_number`
    // grows from call to call, from 1 (gaps are empty slots of a relative
    // file).  kDuplicate, kBadRecord: refused and no on_reject, the text names
    // record and reason.  After any error only destruction makes sense.
    virtual Status add(uint64_t record_number, Bytes record) = 0;

    // Writes what is buffered, makes the indexes, commits.
    virtual Status finish(LoadSummary *summary) = 0;
};

}  // namespace sql

#endif
