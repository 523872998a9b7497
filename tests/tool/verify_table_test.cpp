// SPDX-License-Identifier: MIT
//
// Records of a file beside those of a table, matched by number and by key.
#include "tool/verify_table.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/sql/xfd_builder.h"

namespace {

using sql_test::XfdBuilder;

sql::Bytes as_bytes(const std::string &text) {
    return {reinterpret_cast<const unsigned char *>(text.data()), text.size()};
}

// Rows as they are written down; one that begins with "!" cannot be read.
class Rows final : public sql::TableReader {
 public:
    using Row = std::pair<uint64_t, std::string>;
    explicit Rows(std::vector<Row> rows) : rows_(std::move(rows)) {}

    sql::Status next(sql::RecordView *record, bool *found) override {
        *found = next_ < rows_.size();
        if (!*found) {
            return {};
        }
        const Row &row = rows_[next_++];
        *record = {row.first, as_bytes(row.second)};
        if (row.second == "?") {
            return {sql::ErrorKind::kIoError, "the disk failed"};
        }
        return row.second.starts_with('!')
                   ? sql::Status(sql::ErrorKind::kBadRecord, row.second.substr(1))
                   : sql::Status();
    }

 private:
    std::vector<Row> rows_;
    size_t next_ = 0;
};

// A key of four characters in the middle, and two fields around it.
sql::TableLayout layout_of_records() {
    XfdBuilder builder("RECORDS", 10);
    builder.fields({{"HEAD", 0, 2, 16, 2}, {"ID", 2, 4, 16, 4}, {"TAIL", 6, 3, 16, 3}})
        .key({false, {{2, 4}}});
    sql::TableLayout layout;
    EXPECT_TRUE(sql::make_layout(builder.build(), {}, &layout).ok());
    return layout;
}

// "same 2; different 3 at 6 TAIL 616263/616264; missing 4": every place in order.
std::string compared(size_t order, const std::vector<Rows::Row> &file,
                     const std::vector<Rows::Row> &table, size_t places = 100) {
    const sql::TableLayout layout = layout_of_records();
    tool::TableVerifier verifier(layout, order, places);
    Rows rows(table);
    sql::Status status;
    for (const Rows::Row &record : file) {
        status = verifier.add(rows, {record.first, as_bytes(record.second)});
        if (!status.ok()) {
            return status.text();
        }
    }
    status = verifier.end(rows);
    if (!status.ok()) {
        return status.text();
    }
    std::string text = "same " + std::to_string(verifier.same_records());
    for (const tool::TablePlace &place : verifier.places()) {
        text += std::string("; ") + in_words(place.difference) + ' ' + std::to_string(place.record);
        if (place.difference == tool::Difference::kDifferent) {
            text += " at " + std::to_string(place.offset) + ' ' + place.column + ' ' +
                    place.in_file + '/' + place.in_table;
        }
        text += place.reason;
    }
    EXPECT_EQ(verifier.is_same(), verifier.count(tool::Difference::kDifferent) +
                                          verifier.count(tool::Difference::kMissing) +
                                          verifier.count(tool::Difference::kExtra) +
                                          verifier.count(tool::Difference::kUnreadable) ==
                                      0);
    return text;
}

constexpr size_t kByNumber = sql::TableReader::kRecordOrder;
constexpr size_t kByKey = 0;

TEST(TableVerifier, MatchesByNumber) {
    const Rows::Row one{1, "aa0001xyz."}, two{2, "bb0002xyz."}, three{3, "cc0003xyz."};
    const struct {
        const char *what;
        std::vector<Rows::Row> file, table;
        const char *result;
    } rows[] = {
        {"nothing at all", {}, {}, "same 0"},
        {"all alike", {one, two, three}, {one, two, three}, "same 3"},
        {"an empty table", {one, two}, {}, "same 0; missing 1; missing 2"},
        {"an empty file", {}, {one, two}, "same 0; extra 1; extra 2"},
        {"gaps in both", {one, three}, {two, three}, "same 1; missing 1; extra 2"},
        {"more rows at the end", {one}, {one, two, three}, "same 1; extra 2; extra 3"},
        {"another field",
         {one, two},
         {one, {2, "bb0002xy!."}},
         "same 1; different 2 at 8 TAIL 78797A/787921"},
        {"bytes of no field", {one}, {{1, "aa0001xyz!"}}, "same 0; different 1 at 9  2E/21"},
        {"a shorter row", {one}, {{1, "aa0001xy"}}, "same 0; different 1 at 8 TAIL 78797A/7879"},
        {"a longer row", {{1, "aa0001"}}, {one}, "same 0; different 1 at 6 TAIL /78797A"},
        {"a row that is no record",
         {one, two},
         {{1, "!does not fit"}, two},
         "same 1; unreadable 1does not fit; missing 1"},
        {"a table that fails", {one}, {{1, "?"}}, "the disk failed"},
        {"a table that fails behind the file", {one}, {one, {2, "?"}}, "the disk failed"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(compared(kByNumber, row.file, row.table), row.result);
    }
}

TEST(TableVerifier, MatchesByKeyWhateverTheNumbers) {
    const struct {
        const char *what;
        std::vector<Rows::Row> file, table;
        const char *result;
    } rows[] = {
        {"all alike",
         {{1, "aa0001xyz."}, {2, "aa0002xyz."}},
         {{7, "aa0001xyz."}, {3, "aa0002xyz."}},
         "same 2"},
        {"one between",
         {{1, "aa0001xyz."}, {2, "aa0003xyz."}},
         {{7, "aa0001xyz."}, {3, "aa0002xyz."}, {9, "aa0003xyz."}},
         "same 2; extra 3"},
        {"one taken out",
         {{1, "aa0001xyz."}, {2, "aa0002xyz."}, {3, "aa0003xyz."}},
         {{7, "aa0001xyz."}, {9, "aa0003xyz."}},
         "same 2; missing 2"},
        {"another key",
         {{1, "aa0001xyz."}, {2, "aa0002xyz."}},
         {{1, "aa0001xyz."}, {2, "aa000\xFFxyz."}},
         "same 1; missing 2; extra 2"},
        {"another head",
         {{1, "aa0001xyz."}},
         {{5, "ab0001xyz."}},
         "same 0; different 1 at 1 HEAD 6161/6162"},
        {"equal keys in the order of insertion",
         {{1, "aa0001xyz."}, {2, "bb0001xyz."}},
         {{1, "aa0001xyz."}, {2, "bb0001xyz."}},
         "same 2"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(compared(kByKey, row.file, row.table), row.result);
    }
}

TEST(TableVerifier, KeepsTheFirstPlacesOfEachKind) {
    std::vector<Rows::Row> file, table;
    for (uint64_t n = 1; n <= 9; n++) {
        file.emplace_back(n, "aa0001xyz.");
        table.emplace_back(n + 5, n <= 2 ? "ba0001xyz." : "aa0001xyz.");
    }
    EXPECT_EQ(compared(kByNumber, file, table, 2),
              "same 2; missing 1; missing 2; different 6 at 0 HEAD 6161/6261; different 7 at 0 "
              "HEAD 6161/6261; extra 10; extra 11");
    EXPECT_EQ(compared(kByNumber, file, table, 0), "same 2");
}

TEST(KeyOrder, HoldsWhileKeysAscendAsUnsignedBytes) {
    const struct {
        std::vector<std::string> records;
        bool holds;
    } rows[] = {
        {{}, true},
        {{"zz0005", "aa0005", "bb0006"}, true},
        {{"aa0005", "aa0004"}, false},
        {{"aa000\x7F", "aa000\x80"}, true},
        {{"aa000\x80", "aa000\x7F"}, false},
        {{"aa0005", "aa0004", "aa0009"}, false},
        {{"aa000!", "aa000", "aa000"}, false},  // what is not there is blank
        {{"aa000", "aa000!"}, true},
    };
    const sql::TableLayout layout = layout_of_records();
    for (const auto &row : rows) {
        SCOPED_TRACE(row.records.empty() ? "" : row.records[0]);
        tool::KeyOrder order(layout, 0);
        for (const std::string &record : row.records) {
            order.add(as_bytes(record));
        }
        EXPECT_EQ(order.holds(), row.holds);
    }
}

}  // namespace
