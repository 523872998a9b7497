// SPDX-License-Identifier: MIT
//
// Records out of a table, in the order of a key or of their numbers.
//
//     std::unique_ptr<TableReader> reader;
//     Status s = TableReader::open(*db, layout, default_order(layout), &reader);
//     RecordView record;
//     bool found = true;
//     while (s.ok() && (s = reader->next(&record, &found)).ok() && found) write(record.bytes);
//
// A record comes back as it was loaded, byte for byte; columns that were
// changed by SQL since win over the bytes that were kept.  Fields of child rows that
// are not there are as in a blank record.
#ifndef SQL_TABLE_READER_H
#define SQL_TABLE_READER_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "sql/connection.h"
#include "sql/status.h"
#include "sql/table_layout.h"
#include "sql/value.h"

namespace sql {

struct RecordView {
    uint64_t number = 0;  // record number, or place in the order of insertion
    Bytes bytes;          // valid until the next call
};

class TableReader {
 public:
    // Records in the order of record numbers (of insertion, for an indexed
    // file), instead of the index of a key.
    static constexpr size_t kRecordOrder = SIZE_MAX;

    // `key` is an index in layout.keys or kRecordOrder.  The table may lack the
    // column of exact records.  kNoSuchTable, kMismatch (table_match.h: names the
    // columns and keys that differ, and why), kUsage for a key that is not there.
    // The connection outlives the reader.
    static Status open(Connection &connection, const TableLayout &layout, size_t key,
                       std::unique_ptr<TableReader> *out);

    virtual ~TableReader() = default;

    // Next record; *found is false behind the last one.  Unsigned byte order of
    // the key; records of equal keys come in the order of insertion.
    // kBadRecord when a column holds what its field cannot (text too long, a
    // number that does not fit), a child table has a row for it that the dictionary
    // does not have, or its key is that of the record before it and allows no
    // duplicates: record, column and value are in the text, the record is passed
    // over and reading can go on.
    virtual Status next(RecordView *record, bool *found) = 0;
};

// Key 0 of an indexed file, record numbers for the others.
size_t default_order(const TableLayout &layout);

}  // namespace sql

#endif
