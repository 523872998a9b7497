// SPDX-License-Identifier: MIT
#include "tool/verify_table.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

#include "tool/verify_fields.h"

namespace tool {

const char *in_words(Difference difference) {
    constexpr const char *kWords[] = {"different", "missing", "extra", "unreadable"};
    static_assert(std::size(kWords) == kDifferences);
    return kWords[static_cast<size_t>(difference)];
}

TableVerifier::TableVerifier(const sql::TableLayout &layout, size_t key, size_t places)
    : layout_(layout),
      key_(key),
      places_wanted_(places),
      codec_(layout),
      values_(codec_.value_count()),
      texts_(codec_.text_capacity()),
      states_(codec_.value_count()) {
    if (!is_by_number()) {
        file_key_.resize(codec_.key_length(key));
        row_key_.resize(codec_.key_length(key));
    }
}

bool TableVerifier::is_same() const {
    return std::ranges::all_of(counts_, [](uint64_t count) { return count == 0; });
}

void TableVerifier::note(TablePlace place) {
    if (counts_[static_cast<size_t>(place.difference)]++ < places_wanted_) {
        places_.push_back(std::move(place));
    }
}

sql::Status TableVerifier::next_row(sql::TableReader &table) {
    for (;;) {
        sql::Status status = table.next(&row_, &has_row_);
        if (status.kind() == sql::ErrorKind::kBadRecord) {
            TablePlace place;
            place.difference = Difference::kUnreadable;
            place.record = row_.number;
            place.reason = status.text();
            note(std::move(place));
            continue;
        }
        if (status.ok() && has_row_ && !is_by_number()) {
            codec_.key_bytes(key_, row_.bytes, row_key_.data());
        }
        return status;
    }
}

// Negative: the row comes before the record; 0: it is the record's.
int TableVerifier::order_of_row(const Record &record) {
    if (is_by_number()) {
        return row_.number < record.number ? -1 : row_.number > record.number;
    }
    codec_.key_bytes(key_, record.bytes, file_key_.data());
    return std::memcmp(row_key_.data(), file_key_.data(), file_key_.size());
}

sql::Status TableVerifier::add(sql::TableReader &table, const Record &record) {
    if (!has_begun_) {
        has_begun_ = true;
        if (sql::Status status = next_row(table); !status.ok()) {
            return status;
        }
    }
    while (has_row_) {
        const int order = order_of_row(record);
        if (order > 0) {
            break;
        }
        if (order == 0) {
            compare(record);
            return next_row(table);
        }
        note({Difference::kExtra, row_.number, 0, {}, {}, {}, {}});
        if (sql::Status status = next_row(table); !status.ok()) {
            return status;
        }
    }
    note({Difference::kMissing, record.number, 0, {}, {}, {}, {}});
    return {};
}

sql::Status TableVerifier::end(sql::TableReader &table) {
    sql::Status status;
    if (!has_begun_) {
        status = next_row(table);
    }
    while (status.ok() && has_row_) {
        note({Difference::kExtra, row_.number, 0, {}, {}, {}, {}});
        status = next_row(table);
    }
    // Rows that make no record are met when the table is read, a step ahead.
    if (is_by_number()) {
        std::ranges::stable_sort(places_, {}, &TablePlace::record);
    }
    return status;
}

void TableVerifier::compare(const Record &record) {
    const auto [in_file, in_table] = std::ranges::mismatch(record.bytes, row_.bytes);
    if (in_file == record.bytes.end() && in_table == row_.bytes.end()) {
        same_++;
        return;
    }
    TablePlace place;
    place.record = record.number;
    const auto offset = static_cast<size_t>(in_file - record.bytes.begin());
    size_t start = offset;
    size_t size = layout_.max_record - start;
    codec_.decode(record.bytes, values_, texts_, states_);
    for (size_t i = 0; i < states_.size(); i++) {
        const sql::Field &field = layout_.fields[i];
        if (states_[i] != sql::FieldState::kAbsent && field.offset <= offset &&
            offset - field.offset < field.data.a_size) {
            place.column = field.name;
            start = field.offset;
            size = field.data.a_size;
            break;
        }
    }
    const auto part_of = [&](sql::Bytes bytes) {
        const size_t from = std::min(start, bytes.size());
        return shown_in_hex(bytes.subspan(from, std::min(size, bytes.size() - from)));
    };
    place.offset = static_cast<uint32_t>(offset);
    place.in_file = part_of(record.bytes);
    place.in_table = part_of(row_.bytes);
    note(std::move(place));
}

KeyOrder::KeyOrder(const sql::TableLayout &layout, size_t key)
    : codec_(layout), key_(key), current_(codec_.key_length(key)) {}

void KeyOrder::add(sql::Bytes record) {
    if (!holds_) {
        return;
    }
    codec_.key_bytes(key_, record, current_.data());
    if (last_.empty()) {
        last_.resize(current_.size());
    } else {
        holds_ = std::memcmp(last_.data(), current_.data(), current_.size()) <= 0;
    }
    last_.swap(current_);
}

}  // namespace tool
