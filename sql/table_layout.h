// SPDX-License-Identifier: MIT
//
// The table that a COBOL file becomes: columns, keys, and which bytes of the
// record each column stands for.  docs/formats/table-layout.md tells the rules.
//
//     TableLayout layout;
//     if (Status s = make_layout(*xfd, {}, &layout); !s.ok()) ...
//     std::string script = ddl_script(layout, *find_dialect("postgresql"));
#ifndef SQL_TABLE_LAYOUT_H
#define SQL_TABLE_LAYOUT_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/data.h"
#include "sql/dialect.h"
#include "sql/status.h"
#include "wbfsi/records.h"

namespace sql {

enum class ColumnType : uint8_t {
    kInteger,  // whole numbers that fit 64 bits
    kDecimal,  // exact decimal text: "-" when negative, digits without leading
               // zeros (at least one), a point and all `decimals` behind it
    kReal,     // binary floating point, bit for bit
    kText,     // UTF-8 without padding
    kBlob,
    // Text of ISO 8601, as far as the date format of the field goes:
    kDate,       // 2026-11-22
    kTime,       // 23:59:59, with as many decimals as the format has letters T
    kTimestamp,  // both, a blank between them
};

inline bool is_date(ColumnType type) {
    return type >= ColumnType::kDate;
}

// What becomes of a field whose contents no column of its type can take
// (4GL_ILLEGAL_DATA); docs/formats/table-layout.md tells each.
enum class IllegalData : uint8_t { kUnchanged = 0, kConverted = 1, kKeyMod = 2, kPassThrough = 3 };

enum class ColumnRole : uint8_t {
    kField,         // a field of the record
    kRecordNumber,  // the number of the record in its file, from 1; of an indexed
                    // file with child tables, its place in the order of insertion
    kKeyBytes,      // the bytes of one key, where its columns do not sort alike
    kExactRecord,   // the whole record, where the columns do not give it back
};

struct Column {
    std::string name;
    ColumnRole role = ColumnRole::kField;
    ColumnType type = ColumnType::kText;
    uint32_t digits = 0;      // numbers: digits in front of the point and behind
    uint32_t decimals = 0;    // kDecimal, kTime, kTimestamp: digits behind the point
    uint32_t characters = 0;  // kText: how many fit
    size_t key = 0;           // kKeyBytes: index in TableLayout::keys
    bool is_sole_primary_key = false;
    bool is_hidden = false;  // kField: marks of the dictionary
    bool is_read_only = false;
    bool is_identity = false;
};

// An elementary item of the record: where its bytes are and what they mean.
struct Field {
    std::string name;   // of its column; with subscripts, "QTY(3)", in a child table
    uint32_t slot = 0;  // in x_fdesc of TableLayout::dictionary
    uint32_t offset = 0;
    ZArgument data{};        // a_address is 0
    uint16_t condition = 0;  // 1-based number of the one under which it exists; 0: always
    ColumnType type = ColumnType::kText;  // kDate, kTime, kTimestamp: a date field
    uint8_t decimals = 0;                 // of a date field's seconds
};

// A table that holds a part of each record in rows of its own: the occurrences of
// an OCCURS group that the dictionary gives a sub-table, or (one row a record, no
// subscripts) the fields marked for the secondary table.
struct ChildTable {
    struct Row {
        std::vector<uint16_t> subscripts;  // from 1, outermost first
        // For each column its field, an index in TableLayout::fields, or kNone.
        std::vector<size_t> fields;
    };
    std::string name;
    std::string view;           // without the hidden columns; empty: there is none
    std::string number_column;  // number of the record's row in the main table
    std::vector<std::string> subscript_columns;
    std::vector<Column> columns;  // of the fields
    std::vector<Row> rows;        // that one record can have, by ascending subscripts
};

struct KeySegment {
    uint32_t offset = 0;
    uint32_t length = 0;
};

struct Key {
    std::string index_name;
    bool unique = true;
    std::vector<KeySegment> segments;
    // The columns that cover the segments exactly and in order and sort as the
    // bytes do.  Empty: this key's column of key bytes is filled in every row;
    // else only in the rows whose contents do not sort so.
    std::vector<size_t> columns;
    size_t bytes_column = 0;  // index in TableLayout::columns
};

struct TableLayout {
    static constexpr size_t kNone = SIZE_MAX;

    std::string table;
    std::string view;        // of the fields that are not hidden; empty: there is none
    uint16_t file_type = 0;  // XFD_SEQUENTIAL ...
    uint32_t max_record = 0;
    uint32_t min_record = 0;
    XfdCvtInfo settings{};
    int code_page = 0;  // of the texts in the record
    IllegalData illegal_data = IllegalData::kUnchanged;
    // At least one field: those of the main table in the order of the dictionary,
    // then those of the child tables.
    std::vector<Field> fields;
    // columns[i] is that of fields[i] for i < field_count; then the others.
    std::vector<Column> columns;
    size_t field_count = 0;
    std::vector<ChildTable> children;
    // A copy of what the layout was made from.
    std::shared_ptr<const Xfd> dictionary;
    std::vector<Key> keys;         // keys[0] is the primary one
    size_t record_number = kNone;  // column; none: an indexed file without children
    size_t exact_record = kNone;   // column, unless left out

    // Whether a column has that name, without case as the databases compare.
    [[nodiscard]] bool has_column(std::string_view name) const;
};

struct LayoutOptions {
    bool keep_exact = true;  // false: no column for exact records
};

// Table of a dictionary, of which a copy is kept.  The code page of the host
// (COBOL_CODE_PAGE), the settings of the dictionary, 4GL_ILLEGAL_DATA (a value
// outside 0 to 3 is 0) and 4GL_USE_VIEWS count as they are now.
// kBadDictionary, with the reason and the field's name, *out untouched: no
// table or select name, or that of the settings; a dictionary cut short (a slot without a name
// among the first x_n_total_fields); two columns of one name in a table, or in a child table two of
// the same subscripts (compared without case); a sub-table of the name of another table or index,
// or over items of different OCCURS depth; a condition that is not there; columns that take all
// names of SQLite's row number; a field or key segment outside the record; no field; more columns
// than a database takes (2000).
Status make_layout(const Xfd &xfd, const LayoutOptions &options, TableLayout *out);

// The table alone, with its primary key; no semicolon behind it.
std::string create_table_sql(const TableLayout &layout, const Dialect &dialect);

// The child tables, which name the table; one statement each, no semicolons.
std::vector<std::string> create_child_table_sql(const TableLayout &layout, const Dialect &dialect);

// An index and the statement that makes it, no semicolon behind it.
struct IndexSql {
    std::string sql;
    std::vector<size_t> columns;  // in TableLayout::columns
    // Cheaper to keep while rows come than to make behind them: few rows are in
    // it, or they come in its order.
    bool is_made_first = false;
};

// The indexes of the table.
std::vector<IndexSql> create_index_sql(const TableLayout &layout, const Dialect &dialect);

// What comes behind the rows, no semicolons behind the statements; none where
// the triggers of the dialect take more than a statement:
// - key bytes become null when somebody changes a key's columns by SQL, and the
//   reader works them out again;
// - the rows of a child table go with their record's row, and follow its number;
// - read-only columns refuse updates;
// - the identity column of a row inserted without a value gets the next one.
std::vector<std::string> create_trigger_sql(const TableLayout &layout, const Dialect &dialect);

// The views without hidden columns, no semicolons behind the statements.
std::vector<std::string> create_view_sql(const TableLayout &layout, const Dialect &dialect);

// All statements for a person or a script, each closed by ";" and a newline.
std::string ddl_script(const TableLayout &layout, const Dialect &dialect);

}  // namespace sql

#endif
