// SPDX-License-Identifier: MIT
#include "sql/child_rows.h"

#include <algorithm>

#include "sql/child_table_maker.h"
#include "sql/table_columns.h"

namespace sql {
namespace {

// Rows of one insert: beyond this the parsing saved no longer shows.
constexpr size_t kMaxBatchRows = 32;
// Parameters that every database takes in one statement.
constexpr size_t kMaxParameters = 32000;

std::string of_number(const ChildTable &child, const Dialect &dialect) {
    return " FROM " + Dialect::quote(child.name) + " WHERE " + child_key(child)[0] + " = " +
           dialect.parameter(0);
}

}  // namespace

// A field of a blank record may hold a value that is not written as blanks, where
// illegal data is converted: rows with such a field are always stored.  A field
// that may be behind the end of its record, or not exist in it, is null there.
MissingRows::MissingRows(const TableLayout &layout, const RecordCodec &codec)
    : layout_(layout),
      values_(layout.fields.size(), Value::absent()),
      blank_(layout.max_record),
      texts_(codec.text_capacity()) {
    std::vector<unsigned char> image(layout.max_record);
    size_t length = 0;
    if (layout.children.empty() || !codec.encode(values_, blank_, &length).ok()) {
        return;
    }
    std::vector<Value> values(layout.fields.size());
    codec.decode(blank_, values, texts_);
    for (size_t i = 0; i < values.size(); i++) {
        if (layout.fields[i].condition != 0 || layout.min_record != layout.max_record) {
            values[i] = Value();
        }
    }
    const bool is_encoded = codec.encode(values, image, &length).ok();
    const auto is_blank = [&](size_t i) {
        const Field &field = layout.fields[i];
        return is_encoded && std::equal(blank_.begin() + field.offset,
                                        blank_.begin() + field.offset + field.data.a_size,
                                        image.begin() + field.offset);
    };
    for (const ChildTable &child : layout.children) {
        std::vector<bool> is_left_out;
        for (const ChildTable::Row &row : child.rows) {
            is_left_out.push_back(std::ranges::all_of(row.fields, [&](size_t field) {
                return field == TableLayout::kNone || is_blank(field);
            }));
            for (const size_t field : row.fields) {
                if (field != TableLayout::kNone && is_left_out.back()) {
                    values_[field] = values[field];
                }
            }
        }
        is_left_out_.push_back(std::move(is_left_out));
    }
}

bool MissingRows::can_leave_out(size_t child, size_t row, std::span<const Value> values) const {
    return !is_left_out_.empty() && is_left_out_[child][row] &&
           std::ranges::all_of(layout_.children[child].rows[row].fields, [&](size_t field) {
               return field == TableLayout::kNone || values[field] == values_[field];
           });
}

ChildRowWriter::ChildRowWriter(const TableLayout &layout, const RecordCodec &codec)
    : layout_(layout), missing_(layout, codec), tables_(layout.children.size()) {}

Status ChildRowWriter::prepare(Connection &connection) {
    const Dialect &dialect = connection.dialect();
    for (size_t i = 0; i < tables_.size(); i++) {
        const ChildTable &child = layout_.children[i];
        Table &table = tables_[i];
        const std::vector<std::string> columns = child_columns(child);
        table.width = columns.size();
        const size_t most = std::clamp<size_t>(kMaxParameters / table.width, 1, kMaxBatchRows);
        for (size_t rows = 1; rows <= most; rows *= 2) {
            table.inserts.emplace_back();
            if (Status status = connection.prepare(dialect.insert(child.name, columns, rows),
                                                   &table.inserts.back());
                !status.ok()) {
                return status;
            }
        }
        if (Status status = connection.prepare("DELETE" + of_number(child, dialect), &table.remove);
            !status.ok()) {
            return status;
        }
    }
    return {};
}

Status ChildRowWriter::add(uint64_t number, std::span<const Value> values) {
    for (size_t i = 0; i < tables_.size(); i++) {
        std::vector<Value> &pending = tables_[i].pending;
        const ChildTable &child = layout_.children[i];
        for (size_t r = 0; r < child.rows.size(); r++) {
            if (missing_.can_leave_out(i, r, values)) {
                continue;
            }
            const ChildTable::Row &row = child.rows[r];
            pending.push_back(Value::integer(static_cast<int64_t>(number)));
            for (const uint16_t subscript : row.subscripts) {
                pending.push_back(Value::integer(subscript));
            }
            for (const size_t field : row.fields) {
                pending.push_back(field == TableLayout::kNone ? Value() : values[field]);
            }
            if (Status status = flush(i, false); !status.ok()) {
                return status;
            }
        }
    }
    return {};
}

Status ChildRowWriter::flush() {
    for (size_t i = 0; i < tables_.size(); i++) {
        if (Status status = flush(i, true); !status.ok()) {
            return status;
        }
    }
    return {};
}

// Inserts what waits for a table, in as few statements as there are; not `all`:
// only once the greatest of them is full.
Status ChildRowWriter::flush(size_t child, bool all) {
    Table &table = tables_[child];
    const size_t rows = table.pending.size() / table.width;
    const size_t greatest = table.inserts.size() - 1;
    if (rows == 0 || (!all && rows < size_t{1} << greatest)) {
        return {};
    }
    for (size_t done = 0; done < rows;) {
        size_t power = greatest;
        while (power > 0 && size_t{1} << power > rows - done) {
            power--;
        }
        Statement &insert = *table.inserts[power];
        const size_t n = size_t{1} << power;
        insert.bind(0, std::span(table.pending).subspan(done * table.width, n * table.width));
        uint64_t inserted = 0;
        if (Status status = insert.execute(&inserted); !status.ok()) {
            return status.within("table " + Dialect::quote(layout_.children[child].name));
        }
        done += n;
    }
    table.pending.clear();
    return {};
}

Status ChildRowWriter::remove(uint64_t number) {
    const Value key = Value::integer(static_cast<int64_t>(number));
    for (const Table &table : tables_) {
        uint64_t deleted = 0;
        table.remove->bind(0, {&key, 1});
        if (Status status = table.remove->execute(&deleted); !status.ok()) {
            return status;
        }
    }
    return {};
}

ChildRowReader::ChildRowReader(const TableLayout &layout, const RecordCodec &codec)
    : layout_(layout),
      missing_(layout, codec),
      tables_(layout.children.size()),
      texts_(layout.fields.size() - layout.field_count) {}

Status ChildRowReader::prepare(Connection &connection) {
    for (size_t i = 0; i < tables_.size(); i++) {
        const ChildTable &child = layout_.children[i];
        std::vector<std::string> columns = child_columns(child);
        columns.erase(columns.begin());
        tables_[i].row.resize(columns.size());
        tables_[i].seen.resize(child.rows.size());
        if (Status status = connection.prepare(
                "SELECT " + joined(columns) + of_number(child, connection.dialect()),
                &tables_[i].query);
            !status.ok()) {
            return status;
        }
    }
    return {};
}

Status ChildRowReader::read(const Value &number, std::span<Value> values) {
    calls_++;
    for (size_t i = 0; i < tables_.size(); i++) {
        if (Status status = read(i, number, values); !status.ok()) {
            for (size_t field = layout_.field_count; field < values.size(); field++) {
                values[field] = missing_.value(field);
            }
            return status;
        }
    }
    return {};
}

Status ChildRowReader::read(size_t child, const Value &number, std::span<Value> values) {
    Table &table = tables_[child];
    table.query->bind(0, {&number, 1});
    Status status;
    bool found = true;
    for (size_t next = 0;;) {
        status = table.query->fetch(table.row, &found);
        if (status.ok() && found) {
            status = take(child, values, &next);
        }
        if (!status.ok() || !found) {
            break;
        }
    }
    table.query->reset();
    if (!status.ok()) {
        return status;
    }
    const std::vector<ChildTable::Row> &rows = layout_.children[child].rows;
    for (size_t r = 0; r < rows.size(); r++) {
        if (table.seen[r] == calls_) {
            continue;
        }
        for (const size_t field : rows[r].fields) {
            if (field != TableLayout::kNone) {
                values[field] = missing_.value(field);
            }
        }
    }
    return {};
}

// Puts the row that was fetched where it belongs; most come in order, so that
// row *next is tried first.
Status ChildRowReader::take(size_t child, std::span<Value> values, size_t *next) {
    const ChildTable &description = layout_.children[child];
    Table &table = tables_[child];
    const size_t depth = description.subscript_columns.size();
    const auto bad_row = [&](const std::string &what) {
        std::string shown;
        for (size_t i = 0; i < depth; i++) {
            const Value &value = table.row[i];
            shown.append(i != 0 ? "," : "")
                .append(value.kind() == Value::Kind::kInteger ? std::to_string(value.as_integer())
                                                              : "?");
        }
        return Status(ErrorKind::kBadRecord, "table " + Dialect::quote(description.name) +
                                                 " has the row (" + shown + ")" + what);
    };
    std::vector<uint16_t> subscripts(depth);
    for (size_t i = 0; i < depth; i++) {
        const Value &value = table.row[i];
        if (value.kind() != Value::Kind::kInteger || value.as_integer() < 0 ||
            value.as_integer() > UINT16_MAX) {
            return bad_row(", which the dictionary does not have");
        }
        subscripts[i] = static_cast<uint16_t>(value.as_integer());
    }
    const std::vector<ChildTable::Row> &rows = description.rows;
    size_t r = *next;
    if (r >= rows.size() || rows[r].subscripts != subscripts) {
        const auto at =
            std::ranges::lower_bound(rows, subscripts, {}, &ChildTable::Row::subscripts);
        if (at == rows.end() || at->subscripts != subscripts) {
            return bad_row(", which the dictionary does not have");
        }
        r = static_cast<size_t>(at - rows.begin());
    }
    if (table.seen[r] == calls_) {
        return bad_row(" twice");
    }
    table.seen[r] = calls_;
    *next = r + 1;
    for (size_t i = 0; i < rows[r].fields.size(); i++) {
        const size_t field = rows[r].fields[i];
        if (field != TableLayout::kNone) {
            values[field] = kept(field, table.row[depth + i]);
        }
    }
    return {};
}

// A value of the row that was fetched, for longer than the row.
Value ChildRowReader::kept(size_t field, const Value &value) {
    std::string &text = texts_[field - layout_.field_count];
    if (value.kind() == Value::Kind::kText) {
        return Value::text(text.assign(value.as_text()));
    }
    if (value.kind() == Value::Kind::kBlob) {
        const Bytes blob = value.as_blob();
        text.assign(reinterpret_cast<const char *>(blob.data()), blob.size());
        return Value::blob({reinterpret_cast<const unsigned char *>(text.data()), text.size()});
    }
    return value;
}

}  // namespace sql
