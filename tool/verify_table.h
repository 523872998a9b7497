// SPDX-License-Identifier: MIT
//
// The records of a file beside those of its table, both streamed in one order.
#ifndef TOOL_VERIFY_TABLE_H
#define TOOL_VERIFY_TABLE_H

#include <cstdint>
#include <string>
#include <vector>

#include "sql/record_codec.h"
#include "sql/table_layout.h"
#include "sql/table_reader.h"
#include "tool/record_reader.h"

namespace tool {

enum class Difference : uint8_t {
    kDifferent,   // in both, with other bytes
    kMissing,     // not in the table
    kExtra,       // not in the file
    kUnreadable,  // a row that makes no record; its record counts as missing, too
};
constexpr size_t kDifferences = 4;
// "missing".
const char *in_words(Difference difference);

struct TablePlace {
    Difference difference = Difference::kDifferent;
    uint64_t record = 0;  // number in the file; kExtra, kUnreadable: of the row
    // kDifferent: the first byte that differs, the column that holds it (empty:
    // none does), and the bytes of the column, or those from there on.
    uint32_t offset = 0;
    std::string column;
    std::string in_file;
    std::string in_table;
    std::string reason;  // kUnreadable
};

class TableVerifier {
 public:
    // `key` is an index in layout.keys, by whose bytes the records are matched, or
    // TableReader::kRecordOrder: by their numbers.  File and table come in that
    // order.  The layout stays.
    TableVerifier(const sql::TableLayout &layout, size_t key, size_t places);

    // One step each: the next record of the file, or after the last one end().
    // The status is that of the table.
    sql::Status add(sql::TableReader &table, const Record &record);
    sql::Status end(sql::TableReader &table);

    [[nodiscard]] bool is_by_number() const { return key_ == sql::TableReader::kRecordOrder; }
    [[nodiscard]] uint64_t same_records() const { return same_; }
    [[nodiscard]] uint64_t count(Difference difference) const {
        return counts_[static_cast<size_t>(difference)];
    }
    [[nodiscard]] const std::vector<TablePlace> &places() const { return places_; }
    [[nodiscard]] bool is_same() const;

 private:
    sql::Status next_row(sql::TableReader &table);
    [[nodiscard]] int order_of_row(const Record &record);
    void compare(const Record &record);
    void note(TablePlace place);

    const sql::TableLayout &layout_;
    const size_t key_;
    const size_t places_wanted_;
    sql::RecordCodec codec_;
    sql::RecordView row_;
    bool has_begun_ = false;
    bool has_row_ = false;
    std::vector<unsigned char> file_key_;
    std::vector<unsigned char> row_key_;
    std::vector<sql::Value> values_;
    std::vector<char> texts_;
    std::vector<sql::FieldState> states_;

    uint64_t same_ = 0;
    uint64_t counts_[kDifferences] = {};
    std::vector<TablePlace> places_;
};

// Whether the records that are added come in the order of a key's bytes.
class KeyOrder {
 public:
    KeyOrder(const sql::TableLayout &layout, size_t key);
    void add(sql::Bytes record);
    [[nodiscard]] bool holds() const { return holds_; }

 private:
    sql::RecordCodec codec_;
    size_t key_;
    bool holds_ = true;
    std::vector<unsigned char> last_;
    std::vector<unsigned char> current_;
};

}  // namespace tool

#endif
