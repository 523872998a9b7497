// SPDX-License-Identifier: MIT
//
// In the order of a key, rows come from two queries: those whose columns sort
// as the bytes of the key do, by the columns, and the others by their key
// bytes.  Each is in order; the lesser of the two heads is the next record.
// Where key bytes should be and are not, somebody inserted or changed the row by
// SQL: these are few, and their numbers are sorted in memory.
#include "sql/table_reader.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "sql/child_rows.h"
#include "sql/record_codec.h"
#include "sql/table_columns.h"
#include "sql/table_match.h"

namespace sql {
namespace {

struct LooseRow {
    std::string key;  // compares as memcmp
    int64_t number = 0;

    friend bool operator<(const LooseRow &a, const LooseRow &b) {
        return a.key != b.key ? a.key < b.key : a.number < b.number;
    }
};

// Rows of one query and the record of the row it stands on.
struct Stream {
    std::unique_ptr<Statement> query;
    std::vector<LooseRow> loose;  // when not empty, the query asks for one row by number
    size_t next_loose = 0;
    std::vector<Value> row;  // exact bytes, number, fields, those of child tables
    std::vector<unsigned char> image;
    size_t length = 0;
    std::vector<unsigned char> key;
    bool has_record = false;
    Status status;  // of that record

    [[nodiscard]] int64_t number() const { return row[1].as_integer(); }
};

class Reader final : public TableReader {
 public:
    Reader(Connection &connection, const TableLayout &layout, size_t key)
        : connection_(connection),
          layout_(layout),
          key_(key),
          is_unique_(key < layout.keys.size() && layout.keys[key].unique),
          codec_(layout_) {
        if (!layout_.children.empty()) {
            children_ = std::make_unique<ChildRowReader>(layout_, codec_);
        }
    }

    ~Reader() override {
        streams_.clear();
        children_.reset();
        if (has_begun_) {
            (void)connection_.rollback();
        }
        connection_.expect_bulk(false);
    }

    Status start();
    Status next(RecordView *record, bool *found) override;

 private:
    Status match();
    Status open_stream(const std::string &condition);
    Status open_loose_stream(const std::string &condition);
    Status fetch(Stream &stream);
    Status advance(Stream &stream);
    [[nodiscard]] size_t least_stream() const;
    Status check_key(const Stream &stream);

    Connection &connection_;
    const TableLayout layout_;
    const size_t key_;
    const bool is_unique_;  // that key
    RecordCodec codec_;
    bool has_begun_ = false;
    bool has_exact_ = false;
    std::unique_ptr<ChildRowReader> children_;  // null: the layout has none
    std::vector<Stream> streams_;
    size_t current_ = SIZE_MAX;            // the stream whose record was given last
    std::vector<unsigned char> last_key_;  // of the last good record, where it is unique
    uint64_t last_number_ = 0;
};

Status Reader::start() {
    if (key_ != kRecordOrder && key_ >= layout_.keys.size()) {
        return {ErrorKind::kUsage, "there is no key " + std::to_string(key_ + 1) +
                                       "; the file has " + std::to_string(layout_.keys.size())};
    }
    // All queries see one state of the table, whoever writes meanwhile.
    if (!connection_.in_transaction()) {
        if (Status status = connection_.execute("BEGIN"); !status.ok()) {
            return status;
        }
        has_begun_ = true;
    }
    if (Status status = match(); !status.ok()) {
        return status;
    }
    connection_.expect_bulk(true);
    if (children_ != nullptr) {
        if (Status status = children_->prepare(connection_); !status.ok()) {
            return status;
        }
    }
    const std::string number = number_column(layout_, connection_.dialect());
    Status status;
    if (key_ == kRecordOrder) {
        status = open_stream(" ORDER BY " + number);
    } else {
        const Key &key = layout_.keys[key_];
        const std::string bytes = quoted_names(layout_, {key.bytes_column});
        if (!key.columns.empty()) {
            status = open_stream(" WHERE " + bytes + " IS NULL ORDER BY " +
                                 quoted_names(layout_, key.columns) + ", " + number);
        } else {
            status = open_loose_stream(" WHERE " + bytes + " IS NULL");
        }
        if (status.ok()) {
            status =
                open_stream(" WHERE " + bytes + " IS NOT NULL ORDER BY " + bytes + ", " + number);
        }
    }
    for (Stream &stream : streams_) {
        if (status.ok()) {
            status = advance(stream);
        }
    }
    return status;
}

Status Reader::match() {
    TableMatch match;
    Status status = match_table(connection_, layout_, &match);
    has_exact_ = match.has_exact;
    return status.ok() ? mismatch_of(layout_, match) : status;
}

Status Reader::open_stream(const std::string &condition) {
    const std::string exact =
        has_exact_ ? quoted_names(layout_, {layout_.exact_record}) : std::string("NULL");
    Stream stream;
    stream.row.resize(2 + layout_.fields.size());
    stream.image.resize(layout_.max_record);
    if (key_ != kRecordOrder) {
        stream.key.resize(codec_.key_length(key_));
    }
    Status status = connection_.prepare(
        "SELECT " + exact + ", " + joined(number_and_fields(layout_, connection_.dialect())) +
            " FROM " + Dialect::quote(layout_.table) + condition,
        &stream.query);
    streams_.push_back(std::move(stream));
    return status;
}

// The rows without key bytes, read once for their keys; no stream when there
// are none.
Status Reader::open_loose_stream(const std::string &condition) {
    if (Status status = open_stream(condition); !status.ok()) {
        return status;
    }
    Stream all = std::move(streams_.back());
    streams_.pop_back();
    std::vector<LooseRow> loose;
    Status status;
    while ((status = advance(all)).ok() && all.has_record) {
        codec_.key_bytes(key_, {all.image.data(), all.length}, all.key.data());
        loose.push_back({std::string(all.key.begin(), all.key.end()), all.number()});
    }
    if (!status.ok() || loose.empty()) {
        return status;
    }
    std::ranges::sort(loose, [](const LooseRow &a, const LooseRow &b) { return a < b; });
    const Dialect &dialect = connection_.dialect();
    status =
        open_stream(" WHERE " + number_column(layout_, dialect) + " = " + dialect.parameter(0));
    streams_.back().loose = std::move(loose);
    return status;
}

Status Reader::fetch(Stream &stream) {
    if (!stream.loose.empty()) {
        stream.has_record = stream.next_loose < stream.loose.size();
        if (!stream.has_record) {
            return {};
        }
        const Value number = Value::integer(stream.loose[stream.next_loose++].number);
        stream.query->reset();
        stream.query->bind(0, {&number, 1});
    }
    return stream.query->fetch(std::span(stream.row).first(2 + layout_.field_count),
                               &stream.has_record);
}

// Moves a stream to its next row and makes the record of it.
Status Reader::advance(Stream &stream) {
    if (Status status = fetch(stream); !status.ok() || !stream.has_record) {
        return status;
    }
    const std::span<Value> fields = std::span(stream.row).subspan(2);
    Status child_status;
    if (children_ != nullptr) {
        child_status = children_->read(stream.row[1], fields);
        if (!child_status.ok() && child_status.kind() != ErrorKind::kBadRecord) {
            return child_status;
        }
    }
    stream.length = 0;
    stream.status = codec_.restore(fields, stream.row[0], stream.image, &stream.length);
    if (!child_status.ok()) {
        stream.status = child_status;
    }
    if (key_ != kRecordOrder && (is_unique_ || streams_.size() > 1)) {
        codec_.key_bytes(key_, {stream.image.data(), stream.length}, stream.key.data());
    }
    return {};
}

// Equal keys meet in two streams where one of the rows was changed by SQL; the
// order of insertion decides then, too.
size_t Reader::least_stream() const {
    const auto is_less = [](const Stream &a, const Stream &b) {
        const int order = std::memcmp(a.key.data(), b.key.data(), a.key.size());
        return order != 0 ? order < 0 : a.number() < b.number();
    };
    size_t least = SIZE_MAX;
    for (size_t i = 0; i < streams_.size(); i++) {
        if (streams_[i].has_record &&
            (least == SIZE_MAX || is_less(streams_[i], streams_[least]))) {
            least = i;
        }
    }
    return least;
}

// Values that the database holds for different, null and the blank say, may be the
// same bytes.
Status Reader::check_key(const Stream &stream) {
    if (!is_unique_ || !stream.status.ok()) {
        return stream.status;
    }
    if (stream.key == last_key_) {
        return {ErrorKind::kBadRecord, "its key is that of record " + std::to_string(last_number_) +
                                           ", but key " + std::to_string(key_ + 1) +
                                           " allows no duplicates"};
    }
    last_key_ = stream.key;
    last_number_ = static_cast<uint64_t>(stream.number());
    return {};
}

Status Reader::next(RecordView *record, bool *found) {
    *found = false;
    if (current_ != SIZE_MAX) {
        if (Status status = advance(streams_[current_]); !status.ok()) {
            return status;
        }
    }
    current_ = least_stream();
    if (current_ == SIZE_MAX) {
        return {};
    }
    const Stream &stream = streams_[current_];
    *found = true;
    record->number = static_cast<uint64_t>(stream.number());
    record->bytes = {stream.image.data(), stream.length};
    return check_key(stream).within("record " + std::to_string(record->number));
}

}  // namespace

Status TableReader::open(Connection &connection, const TableLayout &layout, size_t key,
                         std::unique_ptr<TableReader> *out) {
    auto reader = std::make_unique<Reader>(connection, layout, key);
    Status status = reader->start();
    if (status.ok()) {
        *out = std::move(reader);
    }
    return status;
}

size_t default_order(const TableLayout &layout) {
    return layout.file_type == XFD_INDEXED && !layout.keys.empty() ? 0 : TableReader::kRecordOrder;
}

}  // namespace sql
