// SPDX-License-Identifier: MIT
#include "sql/sqlite/sqlite_connection.h"

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <map>
#include <utility>

#include "sql/error_map.h"

namespace sql {
namespace {

// Kibibytes of cache while many rows come or go; SQLite's own default is 2000.
constexpr int kBulkCacheKib = 24 * 1024;
constexpr int kUsualCacheKib = 2000;

struct CloseDatabase {
    void operator()(sqlite3 *db) const { sqlite3_close_v2(db); }
};
struct FinalizeStatement {
    void operator()(sqlite3_stmt *statement) const { sqlite3_finalize(statement); }
};
using DatabasePtr = std::unique_ptr<sqlite3, CloseDatabase>;
using StatementPtr = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

struct KindRow {
    int code;
    ErrorKind kind;
};

// Extended codes first, so that they are found before their primary ones.
constexpr std::array kKinds{
    KindRow{SQLITE_CONSTRAINT_UNIQUE, ErrorKind::kDuplicate},
    KindRow{SQLITE_CONSTRAINT_PRIMARYKEY, ErrorKind::kDuplicate},
    KindRow{SQLITE_CONSTRAINT_ROWID, ErrorKind::kDuplicate},
    KindRow{SQLITE_CONSTRAINT, ErrorKind::kConstraint},
    KindRow{SQLITE_NOTADB, ErrorKind::kNotADatabase},
    KindRow{SQLITE_CORRUPT, ErrorKind::kCorrupt},
    KindRow{SQLITE_FORMAT, ErrorKind::kCorrupt},
    KindRow{SQLITE_CANTOPEN, ErrorKind::kCannotOpen},
    KindRow{SQLITE_PERM, ErrorKind::kCannotOpen},
    KindRow{SQLITE_AUTH, ErrorKind::kCannotOpen},
    KindRow{SQLITE_READONLY, ErrorKind::kReadOnly},
    KindRow{SQLITE_FULL, ErrorKind::kDiskFull},
    KindRow{SQLITE_BUSY, ErrorKind::kBusy},
    KindRow{SQLITE_LOCKED, ErrorKind::kBusy},
    KindRow{SQLITE_NOMEM, ErrorKind::kNoMemory},
    KindRow{SQLITE_IOERR, ErrorKind::kIoError},
    KindRow{SQLITE_TOOBIG, ErrorKind::kBadRecord},
    KindRow{SQLITE_INTERRUPT, ErrorKind::kInterrupted},
};

ErrorKind kind_of(int code) {
    for (const KindRow &row : kKinds) {
        if (code == row.code || (row.code < 256 && (code & 0xFF) == row.code)) {
            return row.kind;
        }
    }
    return ErrorKind::kInternal;
}

// Looks an extended code up first, then its primary code.
int32_t file_error_of(const ErrorMap &map, int code) {
    for (const int candidate : {code, code & 0xFF}) {
        if (const int32_t error = map.find(candidate); error != 0) {
            return error;
        }
    }
    return kSysError;
}

Status status_of(const ErrorMap &map, int code, std::string text) {
    const int32_t error = file_error_of(map, code);
    text += " (SQLite " + std::to_string(code) + ", ";
    text.append(file_error_name(error)) += ")";
    return {kind_of(code), std::move(text), code, error};
}

// Of the call that failed last; `code` is its result, for a database that did not
// even become one.
Status status_of(const ErrorMap &map, sqlite3 *db, int code) {
    return db != nullptr ? status_of(map, sqlite3_extended_errcode(db), sqlite3_errmsg(db))
                         : status_of(map, code, sqlite3_errstr(code));
}

class SqliteStatement final : public Statement {
 public:
    SqliteStatement(sqlite3 *db, const ErrorMap &error_map, StatementPtr statement)
        : db_(db), error_map_(error_map), statement_(std::move(statement)) {}

    void bind(size_t first, std::span<const Value> values) override;
    Status execute(uint64_t *rows) override;
    Status fetch(std::span<Value> row, bool *found) override;
    void reset() override { sqlite3_reset(statement_.get()); }

 private:
    sqlite3 *db_;
    const ErrorMap &error_map_;  // of the connection
    StatementPtr statement_;
    int bind_error_ = SQLITE_OK;  // told by the next run
};

void SqliteStatement::bind(size_t first, std::span<const Value> values) {
    sqlite3_stmt *statement = statement_.get();
    int parameter = static_cast<int>(first) + 1;
    for (const Value &value : values) {
        int code = SQLITE_OK;
        switch (value.kind()) {
            case Value::Kind::kNull:
            case Value::Kind::kAbsent:
                code = sqlite3_bind_null(statement, parameter);
                break;
            case Value::Kind::kInteger:
                code = sqlite3_bind_int64(statement, parameter, value.as_integer());
                break;
            case Value::Kind::kReal:
                code = sqlite3_bind_double(statement, parameter, value.as_real());
                break;
            case Value::Kind::kText: {
                const std::string_view text = value.as_text();
                // An empty text has an address too: null would be taken for SQL's.
                code = sqlite3_bind_text(statement, parameter, text.empty() ? "" : text.data(),
                                         static_cast<int>(text.size()), SQLITE_STATIC);
                break;
            }
            case Value::Kind::kBlob: {
                const Bytes bytes = value.as_blob();
                code = bytes.empty()
                           ? sqlite3_bind_zeroblob(statement, parameter, 0)
                           : sqlite3_bind_blob(statement, parameter, bytes.data(),
                                               static_cast<int>(bytes.size()), SQLITE_STATIC);
                break;
            }
        }
        if (code != SQLITE_OK) {
            bind_error_ = code;
        }
        parameter++;
    }
}

Status SqliteStatement::execute(uint64_t *rows) {
    *rows = 0;
    if (const int code = std::exchange(bind_error_, SQLITE_OK); code != SQLITE_OK) {
        return status_of(error_map_, code, sqlite3_errstr(code));
    }
    const int code = sqlite3_step(statement_.get());
    *rows = static_cast<uint64_t>(sqlite3_changes(db_));
    Status status;
    if (code != SQLITE_DONE && code != SQLITE_ROW) {
        status = status_of(error_map_, db_, code);
    }
    sqlite3_reset(statement_.get());
    return status;
}

Status SqliteStatement::fetch(std::span<Value> row, bool *found) {
    sqlite3_stmt *statement = statement_.get();
    const int code = sqlite3_step(statement);
    *found = code == SQLITE_ROW;
    if (code != SQLITE_ROW) {
        Status status;
        if (code != SQLITE_DONE) {
            status = status_of(error_map_, db_, code);
        }
        sqlite3_reset(statement);
        return status;
    }
    int column = 0;
    for (Value &value : row) {
        // One connection, one thread: the value is as safe as it would be with a
        // mutex, and asking it costs half of asking the statement.
        sqlite3_value *const from = sqlite3_column_value(statement, column++);
        switch (sqlite3_value_type(from)) {
            case SQLITE_INTEGER:
                value = Value::integer(sqlite3_value_int64(from));
                break;
            case SQLITE_FLOAT:
                value = Value::real(sqlite3_value_double(from));
                break;
            case SQLITE_TEXT: {
                const auto *text = reinterpret_cast<const char *>(sqlite3_value_text(from));
                value = Value::text(text, static_cast<uint32_t>(sqlite3_value_bytes(from)));
                break;
            }
            case SQLITE_BLOB: {
                const auto *blob = static_cast<const unsigned char *>(sqlite3_value_blob(from));
                value = Value::blob({blob, static_cast<size_t>(sqlite3_value_bytes(from))});
                break;
            }
            default:
                value = Value();
        }
    }
    return {};
}

class SqliteConnection final : public Connection {
 public:
    SqliteConnection(DatabasePtr db, const Dialect &dialect, ErrorMap error_map)
        : db_(std::move(db)), dialect_(dialect), error_map_(std::move(error_map)) {}

    [[nodiscard]] const Dialect &dialect() const override { return dialect_; }
    Status execute(std::string_view sql) override;
    Status begin() override { return execute("BEGIN IMMEDIATE"); }
    Status commit() override { return execute("COMMIT"); }
    Status rollback() override { return in_transaction() ? execute("ROLLBACK") : Status(); }
    [[nodiscard]] bool in_transaction() const override {
        return sqlite3_get_autocommit(db_.get()) == 0;
    }
    Status prepare(std::string_view sql, std::unique_ptr<Statement> *out) override;
    Status describe_table(std::string_view table, TableDescription *out) override;
    void expect_bulk(bool on) override;
    Status check_encoding();
    void interrupt() override { sqlite3_interrupt(db_.get()); }

 private:
    template <size_t columns, typename Take>
    Status query(std::string_view sql, std::span<const Value> parameters, const Take &take);
    Status describe_columns(std::span<const Value> table, TableDescription *out);
    Status describe_indexes(std::span<const Value> table, TableDescription *out);

    DatabasePtr db_;
    const Dialect &dialect_;
    const ErrorMap error_map_;
};

Status SqliteConnection::execute(std::string_view sql) {
    const std::string text(sql);
    const int code = sqlite3_exec(db_.get(), text.c_str(), nullptr, nullptr, nullptr);
    return code == SQLITE_OK ? Status() : status_of(error_map_, db_.get(), code);
}

Status SqliteConnection::prepare(std::string_view sql, std::unique_ptr<Statement> *out) {
    sqlite3_stmt *statement = nullptr;
    const int code = sqlite3_prepare_v3(db_.get(), sql.data(), static_cast<int>(sql.size()),
                                        SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    StatementPtr owner(statement);
    if (code != SQLITE_OK) {
        return status_of(error_map_, db_.get(), code);
    }
    *out = std::make_unique<SqliteStatement>(db_.get(), error_map_, std::move(owner));
    return {};
}

// Runs a query to its end, `take` getting each row.
template <size_t columns, typename Take>
Status SqliteConnection::query(std::string_view sql, std::span<const Value> parameters,
                               const Take &take) {
    std::unique_ptr<Statement> statement;
    Status status = prepare(sql, &statement);
    if (!status.ok()) {
        return status;
    }
    statement->bind(0, parameters);
    std::array<Value, columns> row;
    bool found = true;
    while ((status = statement->fetch(row, &found)).ok() && found) {
        take(std::as_const(row));
    }
    return status;
}

Status SqliteConnection::describe_table(std::string_view table, TableDescription *out) {
    *out = {};
    std::string schema;
    const Value by_name = Value::text(table);
    // Of two tables of one name SQL text finds the temporary one.
    Status status =
        query<4>("SELECT schema, name, type, wr FROM pragma_table_list(?) ORDER BY schema = 'temp'",
                 {&by_name, 1}, [&](const std::array<Value, 4> &row) {
                     schema = row[0].as_text();
                     out->name = row[1].as_text();
                     const std::string_view type = row[2].as_text();
                     out->kind = type == "view"      ? TableDescription::Kind::kView
                                 : type == "virtual" ? TableDescription::Kind::kVirtual
                                                     : TableDescription::Kind::kTable;
                     out->has_row_numbers =
                         out->kind == TableDescription::Kind::kTable && row[3].as_integer() == 0;
                 });
    if (!status.ok() || out->kind == TableDescription::Kind::kNone) {
        return status;
    }
    const std::array<Value, 2> parameters{Value::text(out->name), Value::text(schema)};
    status = describe_columns(parameters, out);
    return status.ok() ? describe_indexes(parameters, out) : status;
}

Status SqliteConnection::describe_columns(std::span<const Value> table, TableDescription *out) {
    TableDescription::Index primary;
    primary.name = "PRIMARY KEY";
    primary.is_primary = primary.is_unique = true;
    std::vector<std::pair<int64_t, size_t>> primary_columns;
    // Hidden columns (1) are arguments of a virtual table.
    Status status = query<4>(
        "SELECT name, type, \"notnull\", pk FROM pragma_table_xinfo(?1, ?2) WHERE hidden <> 1 "
        "ORDER BY cid",
        table, [&](const std::array<Value, 4> &row) {
            if (row[3].as_integer() > 0) {
                primary_columns.emplace_back(row[3].as_integer(), out->columns.size());
            }
            out->columns.push_back({std::string(row[0].as_text()), std::string(row[1].as_text()),
                                    row[2].as_integer() == 0});
        });
    std::ranges::sort(primary_columns);
    for (const auto &[place, column] : primary_columns) {
        primary.columns.push_back(column);
    }
    if (!primary.columns.empty()) {
        out->indexes.push_back(std::move(primary));
    }
    return status;
}

Status SqliteConnection::describe_indexes(std::span<const Value> table, TableDescription *out) {
    std::map<int64_t, size_t> columns;  // by SQLite's number, which counts hidden ones
    Status status =
        query<1>("SELECT cid FROM pragma_table_xinfo(?1, ?2) WHERE hidden <> 1 ORDER BY cid", table,
                 [&](const std::array<Value, 1> &row) {
                     columns.emplace(row[0].as_integer(), columns.size());
                 });
    if (!status.ok()) {
        return status;
    }
    // A primary key that is another name of the row's number has no index of its
    // own; the one that the columns told of stands for it, and for the other kind
    // the index takes its place.
    int64_t sequence = -1;
    return query<9>(
        "SELECT l.seq, l.name, l.\"unique\", l.origin = 'pk', l.partial, x.cid, x.desc, "
        "x.coll, x.seqno FROM pragma_index_list(?1, ?2) AS l, pragma_index_xinfo(l.name, ?2) AS x "
        "WHERE x.key ORDER BY l.seq, x.seqno",
        table, [&](const std::array<Value, 9> &row) {
            const bool is_primary = row[3].as_integer() != 0 && !out->indexes.empty();
            if (row[0].as_integer() != std::exchange(sequence, row[0].as_integer())) {
                if (!is_primary) {
                    out->indexes.emplace_back();
                }
                TableDescription::Index &index =
                    is_primary ? out->indexes.front() : out->indexes.back();
                index = {};
                index.name = row[1].as_text();
                index.is_unique = row[2].as_integer() != 0;
                index.is_primary = is_primary;
                index.is_partial = row[4].as_integer() != 0;
            }
            TableDescription::Index &index =
                is_primary ? out->indexes.front() : out->indexes.back();
            const auto column = columns.find(row[5].as_integer());
            index.columns.push_back(column != columns.end() ? column->second
                                                            : TableDescription::Index::kExpression);
            index.sorts_by_bytes =
                index.sorts_by_bytes && row[6].as_integer() == 0 && row[7].as_text() == "BINARY";
        });
}

// Text in UTF-16 sorts otherwise than the bytes of the keys, and some
// characters do not come back from it.
Status SqliteConnection::check_encoding() {
    std::unique_ptr<Statement> statement;
    Value encoding;
    bool found = false;
    Status status = prepare("PRAGMA encoding", &statement);
    if (status.ok()) {
        status = statement->fetch({&encoding, 1}, &found);
    }
    if (status.ok() && found && encoding.as_text() != "UTF-8") {
        status = {ErrorKind::kMismatch, "it keeps its text in " + std::string(encoding.as_text()) +
                                            "; one that keeps it in UTF-8 would be right"};
    }
    return status;
}

void SqliteConnection::expect_bulk(bool on) {
    const std::string size = std::to_string(on ? kBulkCacheKib : kUsualCacheKib);
    // A hint: a database that refuses it works all the same.
    (void)execute("PRAGMA cache_size = -" + size);
}

}  // namespace

Status open_sqlite(const std::string &file, const OpenOptions &options,
                   std::unique_ptr<Connection> *out) {
    int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX;
    if (options.read_only) {
        flags = SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX;
    } else if (options.create) {
        flags |= SQLITE_OPEN_CREATE;
    }
    sqlite3 *raw = nullptr;
    // "file:..." would be taken for a URI where the library is built so.
    const std::string path = file.starts_with("file:") ? "./" + file : file;
    const int code = sqlite3_open_v2(path.c_str(), &raw, flags, nullptr);
    DatabasePtr db(raw);
    ErrorMap error_map = ErrorMap::of("sqlite");
    const auto failed = [&](int result) {
        return status_of(error_map, db.get(), result).within("database " + file);
    };
    if (code != SQLITE_OK) {
        return failed(code);
    }
    sqlite3_extended_result_codes(db.get(), 1);
    sqlite3_busy_timeout(db.get(), options.busy_timeout_ms);
    // Reads the file for the first time; a foreign schema is not trusted to call
    // functions with side effects.
    const int read = sqlite3_exec(db.get(), "PRAGMA trusted_schema = OFF; PRAGMA schema_version",
                                  nullptr, nullptr, nullptr);
    if (read != SQLITE_OK) {
        return failed(read);
    }
    auto connection = std::make_unique<SqliteConnection>(std::move(db), *find_dialect("sqlite"),
                                                         std::move(error_map));
    if (Status status = connection->check_encoding(); !status.ok()) {
        return status.within("database " + file);
    }
    *out = std::move(connection);
    return {};
}

}  // namespace sql
