// SPDX-License-Identifier: MIT
//
// Records are decoded into the rows of a batch and inserted many at a time.
// Most rows need neither key bytes nor exact bytes; a batch of such rows leaves
// those columns out.  The indexes of the alternate keys are made behind the
// data, where a sort takes the place of a million searches.
//
// The fields of child tables are decoded with the others and follow once the rows
// of their records are in.
#include "sql/table_loader.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "sql/child_rows.h"
#include "sql/record_codec.h"
#include "sql/table_columns.h"
#include "sql/table_settings.h"

namespace sql {
namespace {

// Rows of one insert: beyond this the parsing saved no longer shows.
constexpr size_t kMaxBatchRows = 32;
// Parameters that every database takes in one statement.
constexpr size_t kMaxParameters = 32000;
constexpr size_t kMaxBatchBytes = size_t{4} << 20;

// Key of a record, kept as bytes in a row.
struct KeyPlace {
    size_t key = 0;
    size_t offset = 0;  // in the key bytes of a row
    size_t length = 0;
};

struct Row {
    uint64_t number = 0;
    Bytes record;             // in the batch's copies
    bool is_special = false;  // counted as kept exact, or as coming back changed
    bool is_in = false;       // the table has taken it
};

class Loader final : public TableLoader {
 public:
    Loader(Connection &connection, const TableLayout &layout, LoadOptions options)
        : connection_(connection), layout_(layout), options_(std::move(options)), codec_(layout_) {
        if (!layout_.children.empty()) {
            children_ = std::make_unique<ChildRowWriter>(layout_, codec_);
        }
    }

    ~Loader() override {
        // A statement that is under way would hold the transaction open.
        select_row_.reset();
        stored_children_.reset();
        if (has_begun_ && !finished_) {
            (void)connection_.rollback();
        }
        connection_.expect_bulk(false);
    }

    Status start();
    Status add(uint64_t record_number, Bytes record) override;
    Status finish(LoadSummary *summary) override;

 private:
    Status make_room();
    Status create_tables();
    void lay_out_rows();
    Status prepare_inserts();
    Status fill_row(size_t row);
    Status compare_with_columns(size_t row);
    Status flush();
    Status flush_main();
    Status insert_one(size_t row, bool is_lean);
    void count(Row &row);
    Status reject(uint64_t number, const Status &reason, Bytes record);
    Status create_indexes(bool first);
    Status reject_duplicates(const IndexSql &index);
    Status reject_stored(uint64_t record_number, const Status &reason);

    std::span<Value> values_of(size_t row) {
        return {values_.data() + row * row_values_, row_values_};
    }
    // Of all fields, those of child tables too.
    std::span<Value> fields_of(size_t row) {
        if (children_ == nullptr) {
            return values_of(row).subspan(1, layout_.field_count);
        }
        const size_t n = layout_.fields.size();
        return {decoded_.data() + row * n, n};
    }

    Connection &connection_;
    const TableLayout layout_;
    const LoadOptions options_;
    RecordCodec codec_;
    LoadSummary summary_;
    bool has_begun_ = false;
    bool finished_ = false;
    bool all_indexes_first_ = false;
    uint64_t last_number_ = 0;

    // A row's values: number, fields, bytes of the keys without columns (lean
    // up to here), bytes of the other keys, exact record.
    size_t row_values_ = 0;
    size_t lean_values_ = 0;
    std::vector<KeyPlace> key_places_;
    size_t lean_keys_ = 0;
    size_t key_bytes_size_ = 0;
    std::vector<std::string> columns_;

    size_t batch_rows_ = 0;
    size_t rows_ = 0;
    bool is_lean_ = true;  // so far, the rows of this batch
    std::vector<Row> batch_;
    std::vector<Value> values_;
    std::vector<Value> decoded_;  // where there are child tables
    std::vector<unsigned char> records_;
    std::vector<unsigned char> key_bytes_;
    std::vector<char> texts_;
    std::vector<unsigned char> image_;

    // [is_lean]
    std::unique_ptr<Statement> insert_batch_[2];
    std::unique_ptr<Statement> insert_row_[2];

    std::unique_ptr<ChildRowWriter> children_;  // null: the layout has none

    // Of records that are rejected once they are in.
    std::unique_ptr<Statement> select_row_;
    std::unique_ptr<Statement> delete_row_;
    std::unique_ptr<ChildRowReader> stored_children_;
    std::vector<Value> stored_;
};

Status Loader::start() {
    connection_.expect_bulk(true);
    Status status = connection_.begin();
    has_begun_ = status.ok();
    if (status.ok()) {
        status = create_tables();
    }
    if (status.ok()) {
        status = keep_settings(connection_, layout_);
    }
    // Where the exact bytes are not kept, a record that turns out to be a
    // duplicate later could not be handed back.
    all_indexes_first_ = layout_.exact_record == TableLayout::kNone;
    if (status.ok()) {
        status = create_indexes(true);
    }
    if (status.ok()) {
        lay_out_rows();
        status = prepare_inserts();
    }
    return status;
}

// Sees to it that no table or view of the layout's names is there.
Status Loader::make_room() {
    struct Relation {
        std::string name;
        const char *drop;
    };
    std::vector<Relation> relations{{layout_.table, "DROP TABLE "}};
    for (const ChildTable &child : layout_.children) {
        relations.push_back({child.name, "DROP TABLE "});
    }
    for (const ChildTable &child : layout_.children) {
        relations.push_back({child.view, "DROP VIEW "});
    }
    relations.push_back({layout_.view, "DROP VIEW "});
    std::erase_if(relations, [](const Relation &relation) { return relation.name.empty(); });

    std::vector<std::string> drops;
    for (const Relation &relation : relations) {
        std::vector<std::string> present;
        if (Status status = connection_.table_columns(relation.name, &present); !status.ok()) {
            return status;
        }
        if (!present.empty() && !options_.replace) {
            return {ErrorKind::kTableExists, "there is a table " + relation.name + " already"};
        }
        if (!present.empty()) {
            drops.push_back(relation.drop + Dialect::quote(relation.name));
        }
    }
    // What refers to a table goes before it.
    Status status;
    for (auto drop = drops.rbegin(); status.ok() && drop != drops.rend(); ++drop) {
        status = connection_.execute(*drop);
    }
    return status;
}

Status Loader::create_tables() {
    const Dialect &dialect = connection_.dialect();
    Status status = make_room();
    if (status.ok()) {
        status = connection_.execute(create_table_sql(layout_, dialect));
    }
    for (const std::string &sql : create_child_table_sql(layout_, dialect)) {
        if (status.ok()) {
            status = connection_.execute(sql);
        }
    }
    return status;
}

void Loader::lay_out_rows() {
    columns_ = number_and_fields(layout_, connection_.dialect());
    for (const bool has_columns : {false, true}) {
        for (size_t k = 0; k < layout_.keys.size(); k++) {
            const Key &key = layout_.keys[k];
            if (key.columns.empty() == has_columns) {
                continue;
            }
            key_places_.push_back({k, key_bytes_size_, codec_.key_length(k)});
            key_bytes_size_ += key_places_.back().length;
            columns_.push_back(Dialect::quote(layout_.columns[key.bytes_column].name));
        }
        if (!has_columns) {
            lean_keys_ = key_places_.size();
            lean_values_ = columns_.size();
        }
    }
    if (layout_.exact_record != TableLayout::kNone) {
        columns_.push_back(Dialect::quote(layout_.columns[layout_.exact_record].name));
    }
    row_values_ = columns_.size();

    const size_t decoded_values = children_ == nullptr ? 0 : layout_.fields.size();
    const size_t row_bytes = layout_.max_record + codec_.text_capacity() + key_bytes_size_ +
                             (row_values_ + decoded_values) * sizeof(Value);
    batch_rows_ = std::clamp<size_t>(
        std::min(kMaxBatchBytes / row_bytes, kMaxParameters / row_values_), 1, kMaxBatchRows);
    batch_.resize(batch_rows_);
    values_.resize(batch_rows_ * row_values_);
    decoded_.resize(batch_rows_ * decoded_values);
    records_.resize(batch_rows_ * layout_.max_record);
    key_bytes_.resize(batch_rows_ * key_bytes_size_);
    texts_.resize(batch_rows_ * codec_.text_capacity());
    image_.resize(layout_.max_record);
}

Status Loader::prepare_inserts() {
    const Dialect &dialect = connection_.dialect();
    for (const bool is_lean : {false, true}) {
        const std::span<const std::string> columns(columns_.data(),
                                                   is_lean ? lean_values_ : row_values_);
        Status status = connection_.prepare(dialect.insert(layout_.table, columns, batch_rows_),
                                            &insert_batch_[is_lean]);
        if (status.ok()) {
            status = connection_.prepare(dialect.insert(layout_.table, columns, 1),
                                         &insert_row_[is_lean]);
        }
        if (!status.ok()) {
            return status;
        }
    }
    return children_ == nullptr ? Status() : children_->prepare(connection_);
}

Status Loader::add(uint64_t record_number, Bytes record) {
    if (finished_ || record_number <= last_number_) {
        return {ErrorKind::kUsage, "record number " + std::to_string(record_number) +
                                       " does not follow " + std::to_string(last_number_)};
    }
    last_number_ = record_number;
    if (record.size() > layout_.max_record) {
        // What came before is told before.
        if (Status status = flush(); !status.ok()) {
            return status;
        }
        return reject(record_number,
                      {ErrorKind::kBadRecord, "the record has " + std::to_string(record.size()) +
                                                  " bytes, the dictionary " +
                                                  std::to_string(layout_.max_record) + " at most"},
                      record);
    }
    unsigned char *copy = records_.data() + rows_ * layout_.max_record;
    std::ranges::copy(record, copy);
    batch_[rows_] = {record_number, {copy, record.size()}};
    if (Status status = fill_row(rows_); !status.ok()) {
        const Status flushed = flush();
        return flushed.ok() ? reject(record_number, status, record) : flushed;
    }
    rows_++;
    return rows_ == batch_rows_ ? flush() : Status();
}

Status Loader::fill_row(size_t row) {
    Row &from = batch_[row];
    const std::span<Value> values = values_of(row);
    values[0] = Value::integer(static_cast<int64_t>(from.number));
    const std::span<Value> fields = fields_of(row);
    const DecodedRecord decoded =
        codec_.decode(from.record, fields,
                      {texts_.data() + row * codec_.text_capacity(), codec_.text_capacity()});
    if (children_ != nullptr) {
        std::ranges::copy(fields.first(layout_.field_count), values.begin() + 1);
    }
    Value *value = values.data() + 1 + layout_.field_count;  // none may be left
    for (size_t i = 0; i < key_places_.size(); i++) {
        const KeyPlace &place = key_places_[i];
        const bool is_irregular = i < lean_keys_ || (decoded.irregular_keys >> place.key & 1) != 0;
        if (is_irregular) {
            unsigned char *bytes = key_bytes_.data() + row * key_bytes_size_ + place.offset;
            codec_.key_bytes(place.key, from.record, bytes);
            *value = Value::blob({bytes, place.length});
            is_lean_ = is_lean_ && i < lean_keys_;
        } else {
            *value = Value();
        }
        value++;
    }
    if (layout_.exact_record == TableLayout::kNone) {
        return decoded.is_exact ? Status() : compare_with_columns(row);
    }
    *value = decoded.is_exact ? Value() : Value::blob(from.record);
    is_lean_ = is_lean_ && decoded.is_exact;
    from.is_special = !decoded.is_exact;
    return {};
}

// Of a record whose exact bytes are not kept: whether it will come back changed.
// kBadRecord when its columns make no record at all.
Status Loader::compare_with_columns(size_t row) {
    size_t length = 0;
    const Bytes record = batch_[row].record;
    if (Status status = codec_.encode(fields_of(row), image_, &length); !status.ok()) {
        return {ErrorKind::kBadRecord,
                "it could not be read back without its exact bytes: " + status.text()};
    }
    batch_[row].is_special =
        length != record.size() || !std::equal(record.begin(), record.end(), image_.begin());
    return {};
}

// Inserts the rows of the batch, then the child rows of those that the table took.
Status Loader::flush() {
    const size_t rows = rows_;
    Status status = flush_main();
    if (children_ == nullptr) {
        return status;
    }
    for (size_t row = 0; status.ok() && row < rows; row++) {
        if (batch_[row].is_in) {
            status = children_->add(batch_[row].number, fields_of(row));
        }
    }
    return status.ok() ? children_->flush() : status;
}

// When the table refuses a row, the rows in front of it are in; it is rejected and
// the others go one by one.
Status Loader::flush_main() {
    const size_t rows = std::exchange(rows_, 0);
    const bool is_lean = std::exchange(is_lean_, true);
    size_t row = 0;
    if (rows == batch_rows_) {
        Statement &insert = *insert_batch_[is_lean];
        const size_t n = is_lean ? lean_values_ : row_values_;
        for (size_t i = 0; i < rows; i++) {
            insert.bind(i * n, values_of(i).first(n));
        }
        uint64_t inserted = 0;
        const Status status = insert.execute(&inserted);
        row = static_cast<size_t>(inserted);
        for (size_t i = 0; i < row; i++) {
            count(batch_[i]);
        }
        if (status.ok()) [[likely]] {
            return {};
        }
    }
    for (; row < rows; row++) {
        if (Status status = insert_one(row, is_lean); !status.ok()) {
            return status;
        }
    }
    return {};
}

Status Loader::insert_one(size_t row, bool is_lean) {
    Statement &insert = *insert_row_[is_lean];
    insert.bind(0, values_of(row).first(is_lean ? lean_values_ : row_values_));
    uint64_t inserted = 0;
    const Status status = insert.execute(&inserted);
    switch (status.kind()) {
        case ErrorKind::kOk:
            count(batch_[row]);
            return {};
        case ErrorKind::kDuplicate:
            return reject(
                batch_[row].number,
                {status.kind(), "its key is in the table already (" + status.text() + ")"},
                batch_[row].record);
        case ErrorKind::kConstraint:
        case ErrorKind::kBadRecord:
            return reject(batch_[row].number, status, batch_[row].record);
        default:
            return status.within("record " + std::to_string(batch_[row].number));
    }
}

void Loader::count(Row &row) {
    row.is_in = true;
    summary_.loaded++;
    if (row.is_special) {
        (layout_.exact_record == TableLayout::kNone ? summary_.changed : summary_.kept_exact)++;
    }
}

Status Loader::reject(uint64_t number, const Status &reason, Bytes record) {
    if (!options_.on_reject) {
        return reason.within("record " + std::to_string(number));
    }
    summary_.rejected++;
    return options_.on_reject({number, reason.text(), record});
}

Status Loader::finish(LoadSummary *summary) {
    if (finished_) {
        return {ErrorKind::kUsage, "the load has been finished"};
    }
    Status status = flush();
    if (status.ok()) {
        status = create_indexes(false);
    }
    for (const auto create : {&create_trigger_sql, &create_view_sql}) {
        for (const std::string &sql : create(layout_, connection_.dialect())) {
            if (status.ok()) {
                status = connection_.execute(sql);
            }
        }
    }
    if (status.ok()) {
        status = connection_.commit();
    }
    finished_ = status.ok();
    if (finished_) {
        *summary = summary_;
    }
    return status;
}

Status Loader::create_indexes(bool first) {
    for (const IndexSql &index : create_index_sql(layout_, connection_.dialect())) {
        if ((index.is_made_first || all_indexes_first_) != first) {
            continue;
        }
        Status status = connection_.execute(index.sql);
        if (status.kind() == ErrorKind::kDuplicate) {
            status = reject_duplicates(index);
            if (status.ok()) {
                status = connection_.execute(index.sql);
            }
        }
        if (!status.ok()) {
            return status;
        }
    }
    return {};
}

// The rows that a unique index cannot take: every one but the first of those
// with equal values, a null among which makes a row unlike any other.
Status Loader::reject_duplicates(const IndexSql &index) {
    const std::string number = number_column(layout_, connection_.dialect());
    std::string present;
    for (const size_t column : index.columns) {
        present += (present.empty() ? "" : " AND ") + Dialect::quote(layout_.columns[column].name) +
                   " IS NOT NULL";
    }
    const std::string names = quoted_names(layout_, index.columns);
    std::unique_ptr<Statement> query;
    Status status = connection_.prepare(
        "SELECT n, first FROM (SELECT " + number + " AS n, min(" + number +
            ") OVER (PARTITION BY " + names + ") AS first FROM " + Dialect::quote(layout_.table) +
            " WHERE " + present + ") AS numbered WHERE n > first ORDER BY n",
        &query);
    if (!status.ok()) {
        return status;
    }
    struct Duplicate {
        uint64_t number;
        uint64_t first;
    };
    std::vector<Duplicate> duplicates;
    Value row[2];
    bool found = true;
    while ((status = query->fetch(row, &found)).ok() && found) {
        duplicates.push_back({static_cast<uint64_t>(row[0].as_integer()),
                              static_cast<uint64_t>(row[1].as_integer())});
        if (!options_.on_reject) {
            break;
        }
    }
    query.reset();
    for (const Duplicate &duplicate : duplicates) {
        if (status.ok()) {
            status = reject_stored(duplicate.number, {ErrorKind::kDuplicate,
                                                      "its key (" + names + ") is that of record " +
                                                          std::to_string(duplicate.first)});
        }
    }
    return status;
}

// Rejects a record that is in the table already: it is read back and deleted.
Status Loader::reject_stored(uint64_t record_number, const Status &reason) {
    if (!options_.on_reject) {
        return reason.within("record " + std::to_string(record_number));
    }
    const Dialect &dialect = connection_.dialect();
    const std::string where =
        " WHERE " + number_column(layout_, dialect) + " = " + dialect.parameter(0);
    const std::string table = Dialect::quote(layout_.table);
    if (select_row_ == nullptr) {
        // Exact bytes in front, so that the fields of all tables lie together.
        Status status = connection_.prepare("SELECT " + columns_.back() + ", " +
                                                joined(number_and_fields(layout_, dialect)) +
                                                " FROM " + table + where,
                                            &select_row_);
        if (status.ok()) {
            status = connection_.prepare("DELETE FROM " + table + where, &delete_row_);
        }
        if (status.ok() && children_ != nullptr) {
            stored_children_ = std::make_unique<ChildRowReader>(layout_, codec_);
            status = stored_children_->prepare(connection_);
        }
        if (!status.ok()) {
            return status;
        }
        stored_.resize(2 + layout_.fields.size());
    }
    const Value key = Value::integer(static_cast<int64_t>(record_number));
    select_row_->bind(0, {&key, 1});
    bool found = false;
    size_t length = 0;
    const std::span<Value> fields = std::span(stored_).subspan(2);
    Status status = select_row_->fetch(std::span(stored_).first(2 + layout_.field_count), &found);
    if (status.ok() && found && stored_children_ != nullptr) {
        status = stored_children_->read(key, fields);
    }
    if (status.ok() && found) {
        status = codec_.restore(fields, stored_[0], image_, &length);
    }
    if (status.ok()) {
        summary_.loaded--;
        summary_.kept_exact -= stored_[0].is_null() ? 0 : 1;
    }
    select_row_->reset();
    uint64_t deleted = 0;
    if (status.ok()) {
        delete_row_->bind(0, {&key, 1});
        status = delete_row_->execute(&deleted);
    }
    if (status.ok() && children_ != nullptr) {
        status = children_->remove(record_number);
    }
    return status.ok() ? reject(record_number, reason, {image_.data(), length}) : status;
}

}  // namespace

Status TableLoader::begin(Connection &connection, const TableLayout &layout, LoadOptions options,
                          std::unique_ptr<TableLoader> *out) {
    auto loader = std::make_unique<Loader>(connection, layout, std::move(options));
    Status status = loader->start();
    if (status.ok()) {
        *out = std::move(loader);
    }
    return status;
}

}  // namespace sql
