// SPDX-License-Identifier: MIT
//
// The rows of child tables, on their way in and out beside the rows of the main
// table.
//
// A row that says nothing (each of its values is that of a blank record) is not
// stored, and a row that is not there is read as one.
#ifndef SQL_CHILD_ROWS_H
#define SQL_CHILD_ROWS_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "sql/connection.h"
#include "sql/record_codec.h"
#include "sql/status.h"
#include "sql/table_layout.h"
#include "sql/value.h"

namespace sql {

// For each field of the layout the value that a missing row stands for.
class MissingRows {
 public:
    MissingRows(const TableLayout &layout, const RecordCodec &codec);

    // Whether a child table does without row `row` of a record of these values.
    [[nodiscard]] bool can_leave_out(size_t child, size_t row, std::span<const Value> values) const;

    // Of a field; absent where the rows of its kind are never left out.
    [[nodiscard]] const Value &value(size_t field) const { return values_[field]; }

 private:
    const TableLayout &layout_;
    std::vector<Value> values_;
    std::vector<std::vector<bool>> is_left_out_;  // [child][row]
    std::vector<unsigned char> blank_;            // these two hold the texts of values_
    std::vector<char> texts_;
};

class ChildRowWriter {
 public:
    // Layout and codec outlive the writer.
    ChildRowWriter(const TableLayout &layout, const RecordCodec &codec);

    Status prepare(Connection &connection);

    // Takes the child rows of a record: `values` has one of each field of the
    // layout.  Texts and blobs stay where they are until flush().
    Status add(uint64_t number, std::span<const Value> values);
    Status flush();

    // Deletes the rows of a record.
    Status remove(uint64_t number);

 private:
    struct Table {
        size_t width = 0;  // values of a row
        std::vector<Value> pending;
        // [i] inserts 2^i rows.
        std::vector<std::unique_ptr<Statement>> inserts;
        std::unique_ptr<Statement> remove;
    };
    Status flush(size_t child, bool all);

    const TableLayout &layout_;
    const MissingRows missing_;
    std::vector<Table> tables_;
};

class ChildRowReader {
 public:
    // Layout and codec outlive the reader.
    ChildRowReader(const TableLayout &layout, const RecordCodec &codec);

    Status prepare(Connection &connection);

    // Reads the child rows of a record into the values of their fields; `values`
    // has one of each field of the layout.  Texts and blobs stay until the next
    // call.  kBadRecord, with the values of missing rows for all fields: a row
    // of subscripts that the dictionary does not have, or two of the same.
    Status read(const Value &number, std::span<Value> values);

 private:
    struct Table {
        std::unique_ptr<Statement> query;
        std::vector<Value> row;
        std::vector<uint64_t> seen;  // by row: the last call of read() that met it
    };
    Status read(size_t child, const Value &number, std::span<Value> values);
    Status take(size_t child, std::span<Value> values, size_t *next);
    Value kept(size_t field, const Value &value);

    const TableLayout &layout_;
    const MissingRows missing_;
    std::vector<Table> tables_;
    std::vector<std::string> texts_;  // by child field
    uint64_t calls_ = 0;
};

}  // namespace sql

#endif
