// SPDX-License-Identifier: MIT
//
// What the database layer asks of a database.  A database joins by giving a
// Connection and a row in the table of open_connection(); its client library's
// header appears in its own folder alone.
//
//     std::unique_ptr<Connection> db;
//     if (Status s = open_connection("sqlite:shop.db", {}, &db); !s.ok()) ...
//     db->begin(); db->execute("..."); db->commit();
//
// Values reach the database through bound parameters only; names that go into
// SQL text are quoted by the Dialect.  A connection and what it prepared belong
// to one thread at a time.
#ifndef SQL_CONNECTION_H
#define SQL_CONNECTION_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "sql/dialect.h"
#include "sql/status.h"
#include "sql/table_description.h"
#include "sql/value.h"

namespace sql {

// A prepared statement.  It must not outlive its connection.
class Statement {
 public:
    virtual ~Statement() = default;

    // Binds values to the parameters first, first + 1, ... (0-based).  Texts
    // and blobs are not copied: they stay where they are until the statement
    // has run, was reset or has other values bound.
    virtual void bind(size_t first, std::span<const Value> values) = 0;

    // Runs a statement that returns no rows, to its end.  *rows is the number
    // of rows that it changed; after an error of a multi-row insert made with
    // Dialect::insert, the rows in front of the refused one (they stay in the
    // table), so that *rows is the index of the refused row.  Ready to be run
    // again, bindings kept, in either case.
    virtual Status execute(uint64_t *rows) = 0;

    // Next row of a query into `row`, one value a result column; *found is
    // false behind the last one.  Texts and blobs stay until the next call on
    // this statement.
    virtual Status fetch(std::span<Value> row, bool *found) = 0;

    // Back to the first row; bindings kept.
    virtual void reset() = 0;
};

class Connection {
 public:
    virtual ~Connection() = default;  // an open transaction is rolled back

    [[nodiscard]] virtual const Dialect &dialect() const = 0;

    // Runs SQL text without parameters, one statement or several.
    virtual Status execute(std::string_view sql) = 0;

    virtual Status begin() = 0;     // takes the write lock at once
    virtual Status commit() = 0;    // after an error the transaction is still open
    virtual Status rollback() = 0;  // no error when none is open
    [[nodiscard]] virtual bool in_transaction() const = 0;

    virtual Status prepare(std::string_view sql, std::unique_ptr<Statement> *out) = 0;

    // What the catalogue says about a table, found by its name as SQL text would
    // find it.  One that is not there is ok() with Kind::kNone.
    virtual Status describe_table(std::string_view table, TableDescription *out) = 0;

    // Column names of a table in order; empty when there is no such table.
    Status table_columns(std::string_view table, std::vector<std::string> *out);

    // Says that many rows will come in one transaction, or that they have come:
    // bounded memory is spent on a large cache meanwhile.  A hint.
    virtual void expect_bulk(bool on) = 0;

    // May be called from a signal handler or another thread: the statement that
    // runs ends with an error.
    virtual void interrupt() = 0;
};

struct OpenOptions {
    bool create = true;      // make the database when it is not there
    bool read_only = false;  // no writing; implies that it is there
    int busy_timeout_ms = 5000;
};

// Opens "sqlite:FILE" (FILE as the operating system takes it, ":memory:" for
// one without a file).  kUsage: the URL has no known scheme or an empty name;
// kCannotOpen, kNotADatabase, kBusy ... as the database says.
Status open_connection(const std::string &url, const OpenOptions &options,
                       std::unique_ptr<Connection> *out);

}  // namespace sql

#endif
