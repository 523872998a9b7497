// SPDX-License-Identifier: MIT
#include "wbfsi/match.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "host/config.h"
#include "host/memory.h"
#include "tests/fsi/sample_xfd.h"
#include "tests/fsi/spies.h"
#include "wbfsi/lifecycle.h"

namespace {

using Names = std::vector<std::string>;

// A column before matching: "name", or "name@2" for one of table 2.
DbColumnInfo column(const std::string &spec) {
    DbColumnInfo out = {};
    const std::string name = spec.substr(0, spec.find('@'));
    const size_t db = std::min(name.size(), sizeof out.db_name);
    std::memcpy(out.db_name, name.data(), db);
    std::memcpy(out.match_name, name.data(), std::min(name.size(), sizeof out.match_name));
    if (spec != name)
        out.table_num = static_cast<uint16_t>(std::stoi(spec.substr(name.size() + 1)));
    out.field_num = -1;
    return out;
}

struct Table : DbTableInfo {
    explicit Table(const Names &names) : DbTableInfo() {
        for (const std::string &name : names)
            all.push_back(column(name));
        columns = all.data();
        column_count = static_cast<uint32_t>(all.size());
        std::fill(std::begin(index_columns), std::end(index_columns), -1);
    }
    Table(const Table &) = delete;
    Table &operator=(const Table &) = delete;

    // The field of each column, "x" for none, "*" for one set aside.
    std::string marks() const {
        std::string out;
        for (const DbColumnInfo &one : all) {
            out += one.field_num == -1 ? "x" : std::to_string(one.field_num);
            out += one.flags == DB_COLUMN_SET_ASIDE ? "* " : one.flags != 0 ? "? " : " ";
        }
        return out;
    }
    void index(std::initializer_list<int32_t> numbers) {
        std::copy(numbers.begin(), numbers.end(), index_columns);
    }

    std::vector<DbColumnInfo> all;
};

sample::XfdPointer with_fields(const Names &names) {
    sample::XfdPointer xfd = sample::empty();
    for (const std::string &name : names) {
        sample::Field field;
        field.name = name.c_str();
        field.add_to(xfd.get());
        xfd->x_fdesc[xfd->x_n_fields - 1].fd_db_col_num = -1;
    }
    return xfd;
}

sample::XfdPointer with_key(const Names &names) {
    sample::XfdPointer xfd = sample::empty();
    sample::add_key(xfd.get());
    for (const std::string &name : names)
        Z4AddXFDKeyColumn(xfd.get(), 0, -1, name.c_str());
    return xfd;
}

std::string columns_of(const Xfd &xfd) {
    std::string out;
    for (uint32_t i = 0; i < xfd.x_n_fields; ++i)
        out += std::to_string(xfd.x_fdesc[i].fd_db_col_num) + ' ';
    return out;
}

// How the columns are found.
enum class Way { kNames, kTraced, kWithoutMemory };
constexpr Way kWays[] = {Way::kNames, Way::kTraced, Way::kWithoutMemory};

class On {
 public:
    explicit On(Way way) : level_(way == Way::kTraced ? int16_t{1} : int16_t{0}) {
        spies::traces.clear();
        if (way == Way::kWithoutMemory)
            ZMemoryRefuse(1, -1);
    }
    ~On() { ZMemoryRefuse(0, 0); }
    On(const On &) = delete;
    On &operator=(const On &) = delete;

 private:
    spies::TraceLevel level_;
};

struct Match : testing::Test {
    Match() { Z4Init(); }
    ~Match() override {
        ZCSetValueString("4GL_EXTRA_DB_COLS_OK", nullptr);
        Z4Exit();
        EXPECT_EQ(ZMemoryBlocks("DB column names"), 0U);
    }
};
using MatchColumns = Match;
using MatchKeys = Match;
using MatchDescription = Match;
using FindColumn = Match;

TEST_F(FindColumn, TakesTheFirstOfTheExactName) {
    Table table({"id", "Name", "name", "", "name"});
    EXPECT_EQ(Z4FindColumn(&table, "id"), 0);
    EXPECT_EQ(Z4FindColumn(&table, "name"), 2);
    EXPECT_EQ(Z4FindColumn(&table, ""), 3);
    for (const char *name : {"ID", "nam", "names", "x"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(Z4FindColumn(&table, name), -1);
    }
    std::memcpy(table.all[0].match_name, "other", 6);
    EXPECT_EQ(Z4FindColumn(&table, "other"), -1) << "db_name counts";
    const std::string full(31, 'f');
    table.all[1] = column(full);
    EXPECT_EQ(Z4FindColumn(&table, full.c_str()), 1) << "a name may fill its array";
    EXPECT_EQ(Z4FindColumn(&table, (full + full).c_str()), -1);
}

TEST_F(FindColumn, FindsNothingWhereNothingIs) {
    EXPECT_EQ(Z4FindColumn(nullptr, "id"), -1);
    Table table({});
    EXPECT_EQ(Z4FindColumn(&table, "id"), -1);
    table.columns = nullptr;
    table.column_count = 5;
    EXPECT_EQ(Z4FindColumn(&table, "id"), -1);
    EXPECT_EQ(Z4FindColumn(&table, nullptr), -1);
}

TEST_F(FindColumn, IsTraced) {
    Table table({"id"});
    const On traced(Way::kTraced);
    Z4FindColumn(&table, "id");
    EXPECT_EQ(spies::take_traces(), "+1 9 Z4FindColumn, 'id'\n-1 9 Returning 0\n");
    Z4FindColumn(nullptr, "x");
    EXPECT_EQ(spies::take_traces(), "+1 9 Z4FindColumn, 'x'\n-1 9 Returning -1\n");
}

TEST_F(MatchColumns, LinksFieldsAndColumnsByName) {
    const std::string long_name = "a_column_name_of_31_characters_";
    const struct {
        const char *name;
        Names fields;
        Names columns;
        uint32_t compared;
        int result;
        const char *of_fields;
        const char *of_columns;
    } kRows[] = {
        {"in order", {"a", "b"}, {"a", "b"}, 0, 1, "0 1 ", "0 1 "},
        {"another order", {"a", "b", "c"}, {"c", "a", "b"}, 0, 1, "1 2 0 ", "2 0 1 "},
        {"nothing at all", {}, {}, 0, 1, "", ""},
        {"a spare column", {"b"}, {"a", "b", "c"}, 0, 1, "1 ", "x* 0 x* "},
        {"one name twice", {"a", "b", "a"}, {"a", "a", "b"}, 0, 1, "0 2 1 ", "0 2 1 "},
        {"one name too often", {"a", "a"}, {"a", "b"}, 0, 0, "0 -1 ", "0 x "},
        {"no such column", {"a", "x", "b"}, {"a", "b", "c"}, 0, 0, "0 -1 -1 ", "0 x x "},
        {"too few columns", {"a", "b"}, {"a"}, 0, 0, "-1 -1 ", "x "},
        {"standard form", {"A-B", "C "}, {"a_b", "c"}, 0, 1, "0 1 ", "0 1 "},
        {"the column as it is", {"a"}, {"A", "b"}, 0, 0, "-1 ", "x x "},
        {"18 characters", {"first_18_are_equal_1"}, {"first_18_are_equal_2"}, 18, 1, "0 ", "0 "},
        {"19 characters", {"first_18_are_equal_1"}, {"first_18_are_equalX"}, 19, 0, "-1 ", "x "},
        {"short for 18", {"ab", "a"}, {"a", "ab"}, 18, 1, "1 0 ", "1 0 "},
        {"one character", {"ab", "ac", "b"}, {"ax", "bx", "ay"}, 1, 1, "0 2 1 ", "0 2 1 "},
        {"more than there are", {"a"}, {"a"}, UINT32_MAX, 1, "0 ", "0 "},
        {"a cut name", {long_name}, {long_name.substr(0, 30)}, 0, 1, "0 ", "0 "},
        {"empty names", {"", "a"}, {"a", ""}, 0, 1, "1 0 ", "1 0 "},
        {"a name fills its array", {"a"}, {std::string(37, 'a')}, 0, 0, "-1 ", "x "},
        {"and counts in part", {"a"}, {std::string(37, 'a')}, 1, 1, "0 ", "0 "},
        {"longer than a field's",
         {std::string(30, 'a')},
         {std::string(31, 'a')},
         0,
         0,
         "-1 ",
         "x "},
        {"by what counts", {std::string(30, 'a')}, {std::string(37, 'a')}, 31, 0, "-1 ", "x "},
        {"in all that counts", {std::string(30, 'a')}, {std::string(37, 'a')}, 30, 1, "0 ", "0 "},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.name);
        for (const Way way : kWays) {
            SCOPED_TRACE(static_cast<int>(way));
            const sample::XfdPointer xfd = with_fields(row.fields);
            Table table(row.columns);
            table.name_compare_length = row.compared;
            const On on(way);
            EXPECT_EQ(Z4MatchDBColstoXFD(xfd.get(), &table), row.result);
            EXPECT_EQ(columns_of(*xfd), row.of_fields);
            EXPECT_EQ(table.marks(), row.of_columns);
        }
    }
}

TEST_F(MatchColumns, PassesOverTakenColumns) {
    for (const Way way : kWays) {
        SCOPED_TRACE(static_cast<int>(way));
        const sample::XfdPointer xfd = with_fields({"a"});
        Table table({"a", "a", "a", "a", "b", "a"});
        table.all[0].flags = DB_COLUMN_SET_ASIDE;
        table.all[1].field_num = 7;
        table.all[2].flags = 1;
        std::swap(table.all[2], table.all[5]);
        table.all[2].field_num = -2;
        const On on(way);
        EXPECT_EQ(Z4MatchDBColstoXFD(xfd.get(), &table), 1);
        EXPECT_EQ(columns_of(*xfd), "3 ");
        EXPECT_EQ(table.marks(), "x* 7 -2 0 x* x? ");
    }
}

TEST_F(MatchColumns, CountsTheColumnsThatAreLeft) {
    const struct {
        const char *name;
        uint32_t extra;
        uint16_t tables;
        bool has_key;
        const char *extra_ok;
        int result;
    } kRows[] = {
        {"as many as fields", 2, 0, true, "0", 1},
        {"one more, allowed", 1, 0, true, "1", 1},
        {"one more", 1, 0, true, "0", 0},
        {"one fewer", 3, 0, true, "1", 0},
        {"copies of keys count", 0, 1, true, "0", 1},
        {"too many copies", 1, 1, true, "1", 0},
        {"no key, no copies", 2, 5, false, "0", 1},
        {"below nothing, and so many", 5, 0, true, "0", 0},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.name);
        sample::XfdPointer xfd = with_fields({"a", "b"});
        if (row.has_key) {
            sample::add_key(xfd.get());
            Z4AddXFDKeyColumn(xfd.get(), 0, 0, "a");
            Z4AddXFDKeyColumn(xfd.get(), 0, 1, "b");
        }
        Table table({"a", "b", "c", "d"});
        table.extra_columns = row.extra;
        table.table_count = row.tables;
        ZCSetValueString("4GL_EXTRA_DB_COLS_OK", row.extra_ok);
        EXPECT_EQ(Z4MatchDBColstoXFD(xfd.get(), &table), row.result);
        EXPECT_EQ(table.marks(), row.result == 1 ? "0 1 x* x* " : "x x x x ");
    }
}

TEST_F(MatchColumns, FieldsThatAreNotThereMatchNothing) {
    const sample::XfdPointer xfd = with_fields({"a"});
    xfd->x_n_total_fields = 2;
    Table table({"a", "b", ""});
    EXPECT_EQ(Z4MatchDBColstoXFD(xfd.get(), &table), 0);
    xfd->x_n_total_fields = 1;
    table.columns = nullptr;
    EXPECT_EQ(Z4MatchDBColstoXFD(xfd.get(), &table), 0);
}

TEST_F(MatchColumns, AreTraced) {
    const sample::XfdPointer xfd = with_fields({"B-1", "a"});
    Table table({"a", "b_1", "c"});
    const On traced(Way::kTraced);
    EXPECT_EQ(Z4MatchDBColstoXFD(xfd.get(), &table), 1);
    EXPECT_EQ(spies::take_traces(),
              "+1 9 Z4MatchDBColstoXFD (3 vs. 2)\n"
              "+0 9 Matching 'a' against 'b_1'\n+0 9 Matching 'b_1' against 'b_1'\n"
              "+0 9 Matching 'a' against 'a'\n-1 9 Returning 1\n");
    const sample::XfdPointer other = with_fields({"B-2"});
    EXPECT_EQ(Z4MatchDBColstoXFD(other.get(), &table), 0);
    EXPECT_EQ(spies::take_traces(),
              "+1 9 Z4MatchDBColstoXFD (3 vs. 1)\n-1 9 Z4MatchDBColstoXFD, B-2\n");
    table.extra_columns = 4;
    EXPECT_EQ(Z4MatchDBColstoXFD(other.get(), &table), 0);
    EXPECT_EQ(spies::take_traces(),
              "+1 9 Z4MatchDBColstoXFD (4294967295 vs. 1)\n-1 9 Z4MatchDBColstoXFD, B-2\n");
    table.extra_columns = 3;
    EXPECT_EQ(Z4MatchDBColstoXFD(other.get(), &table), 0);
    EXPECT_EQ(spies::take_traces(), "+1 9 Z4MatchDBColstoXFD (0 vs. 1)\n-1 9 Returning 0\n");
}

TEST_F(MatchColumns, AllWaysMarkTheSame) {
    uint32_t random = 7;
    const auto below = [&random](uint32_t limit) {
        random = random * 1664525 + 1013904223;
        return (random >> 8) % limit;
    };
    int matched = 0;
    for (int turn = 0; turn < 2000; ++turn) {
        SCOPED_TRACE(turn);
        Names columns;
        for (uint32_t j = below(12); j > 0; --j)
            columns.push_back(std::string(1 + below(3), static_cast<char>('a' + below(3))));
        Names fields;
        for (const std::string &name : columns) {
            if (below(4) != 0)
                fields.insert(fields.begin() + below(static_cast<uint32_t>(fields.size()) + 1),
                              below(30) == 0 ? "x" : name);
        }
        const uint32_t compared = below(3);
        const uint32_t aside = below(20);
        std::string expected;
        for (const Way way : {Way::kTraced, Way::kNames, Way::kWithoutMemory}) {
            const sample::XfdPointer xfd = with_fields(fields);
            Table table(columns);
            table.name_compare_length = compared;
            if (aside < table.all.size())
                table.all[aside].flags = DB_COLUMN_SET_ASIDE;
            const On on(way);
            const int result = Z4MatchDBColstoXFD(xfd.get(), &table);
            const std::string outcome =
                std::to_string(result) + ": " + columns_of(*xfd) + ": " + table.marks();
            if (way == Way::kTraced)
                expected = outcome;
            EXPECT_EQ(outcome, expected);
            matched += result;
        }
    }
    EXPECT_GT(matched, 600);
    EXPECT_LT(matched, 5400);
}

TEST_F(MatchColumns, EachRefusedRequestLeavesTheResult) {
    for (int64_t n = 1;; ++n) {
        SCOPED_TRACE(n);
        const sample::XfdPointer xfd = with_fields({"a", "b", "c", "d"});
        Table table({"d", "c", "b", "a", "e"});
        const size_t blocks = ZMemoryBlocks(nullptr);
        ZMemoryRefuse(n, 1);
        EXPECT_EQ(Z4MatchDBColstoXFD(xfd.get(), &table), 1);
        const bool was_refused = ZMemoryRefused() != 0;
        ZMemoryRefuse(0, 0);
        EXPECT_EQ(table.marks(), "3 2 1 0 x* ");
        EXPECT_EQ(ZMemoryBlocks(nullptr), blocks);
        if (!was_refused) {
            EXPECT_GT(n, 2);
            break;
        }
    }
}

TEST_F(MatchKeys, AnIndexIsTheStartOfAKey) {
    const struct {
        const char *name;
        std::vector<int32_t> index;
        int result;
    } kRows[] = {
        {"equal", {2, 0}, 1},           {"fewer columns", {2}, 1},
        {"no columns", {}, 1},          {"another order", {0, 2}, 0},
        {"more columns", {2, 0, 1}, 0}, {"another column", {2, 1}, 0},
        {"out of range", {3}, 0},       {"far out of range", {INT_MAX}, 0},
        {"below range", {-2}, 0},       {"the first -1 ends it", {2, -1, 7}, 1},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.name);
        const sample::XfdPointer xfd = with_key({"c", "a"});
        Table table({"a", "b", "c"});
        std::copy(row.index.begin(), row.index.end(), table.index_columns);
        EXPECT_EQ(Z4MatchDBKeystoXFD(xfd.get(), &table, 0), row.result);
        EXPECT_EQ(table.marks(), "x x x ");
    }
}

TEST_F(MatchKeys, ColumnsBehindTheCountAreNotThere) {
    const sample::XfdPointer xfd = with_key({"c"});
    Table table({"a", "b", "c"});
    table.index({2});
    EXPECT_EQ(Z4MatchDBKeystoXFD(xfd.get(), &table, 0), 1);
    table.column_count = 2;
    EXPECT_EQ(Z4MatchDBKeystoXFD(xfd.get(), &table, 0), 0);
    EXPECT_EQ(Z4FindColumn(&table, "c"), -1);
    table.index({-1});
    table.table_count = 1;
    EXPECT_EQ(Z4MatchDBKeystoXFD(xfd.get(), &table, 0), 0);
    EXPECT_EQ(table.marks(), "x x x ");
}

TEST_F(MatchKeys, AnIndexOf16ColumnsNeedsNoEnd) {
    Names names;
    for (char c = 'a'; c <= 'p'; ++c)
        names.emplace_back(1, c);
    Table table(names);
    for (int32_t i = 0; i < 16; ++i)
        table.index_columns[i] = i;
    const sample::XfdPointer xfd = with_key(names);
    EXPECT_EQ(Z4MatchDBKeystoXFD(xfd.get(), &table, 0), 1);
    std::memcpy(xfd->x_key_desc[0].k_field[15].kc_name, "x", 2);
    EXPECT_EQ(Z4MatchDBKeystoXFD(xfd.get(), &table, 0), 0);
}

TEST_F(MatchKeys, NamesMayFillTheirArrays) {
    const std::string full(sizeof(XfdKeyColumn::kc_name), 'k');
    for (const Way way : kWays) {
        SCOPED_TRACE(static_cast<int>(way));
        const sample::XfdPointer xfd = with_key({"a"});
        std::memcpy(xfd->x_key_desc[0].k_field[0].kc_name, full.data(), full.size());
        Table table({full, full + "k"});
        table.table_count = 1;
        table.index({0});
        const On on(way);
        EXPECT_EQ(Z4MatchDBKeystoXFD(xfd.get(), &table, 0), 1);
        table.index({1});
        EXPECT_EQ(Z4MatchDBKeystoXFD(xfd.get(), &table, 0), 0);
        EXPECT_EQ(table.marks(), "x* x ");
    }
}

TEST_F(MatchKeys, AKeyThatIsNotThereMatchesNothing) {
    const sample::XfdPointer xfd = with_key({"a"});
    Table table({"a"});
    for (const unsigned key : {1U, 2U, 65536U, UINT_MAX}) {
        SCOPED_TRACE(key);
        EXPECT_EQ(Z4MatchDBKeystoXFD(xfd.get(), &table, key), 0);
    }
    const sample::XfdPointer keyless = sample::empty();
    EXPECT_EQ(Z4MatchDBKeystoXFD(keyless.get(), &table, 0), 0);
}

TEST_F(MatchKeys, CopiesInEachTableAreSetAside) {
    const struct {
        const char *name;
        Names columns;
        uint16_t tables;
        int result;
        const char *marks;
    } kRows[] = {
        {"no table", {"a", "b"}, 0, 1, "x x "},
        {"one table", {"z", "b", "a", "a"}, 1, 1, "x x* x* x "},
        {"two tables", {"a", "a@1", "b@1", "b", "a@2"}, 2, 1, "x* x* x* x* x "},
        {"a column missing", {"a", "b", "a@1"}, 2, 0, "x* x* x* "},
        {"a table missing", {"a", "b"}, 2, 0, "x* x* "},
        {"twelve tables",
         {"b@11", "a@0", "b@0", "a@1",  "b@1",  "a@2",  "b@2",  "a@3", "b@3",
          "a@4",  "b@4", "a@5", "b@5",  "a@6",  "b@6",  "a@7",  "b@7", "a@8",
          "b@8",  "a@9", "b@9", "a@10", "b@10", "a@11", "a@10", "b@1"},
         12,
         1,
         "x* x* x* x* x* x* x* x* x* x* x* x* x* x* x* x* x* x* x* x* x* x* x* x* x x "},
        {"the last of nine missing",
         {"a@0", "b@0", "a@1", "b@1", "a@2", "b@2", "a@3", "b@3", "a@4", "b@4"},
         9,
         0,
         "x* x* x* x* x* x* x* x* x* x* "},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.name);
        for (const Way way : kWays) {
            SCOPED_TRACE(static_cast<int>(way));
            const sample::XfdPointer xfd = with_key({"a", "b"});
            Table table(row.columns);
            table.table_count = row.tables;
            const On on(way);
            EXPECT_EQ(Z4MatchDBKeystoXFD(xfd.get(), &table, 0), row.result);
            EXPECT_EQ(table.marks(), row.marks);
        }
    }
}

TEST_F(MatchKeys, EachRefusedRequestLeavesTheResult) {
    Names columns;
    for (int t = 0; t < 10; ++t) {
        columns.push_back("b@" + std::to_string(t));
        columns.push_back("a@" + std::to_string(t));
    }
    for (int64_t n = 1;; ++n) {
        SCOPED_TRACE(n);
        const sample::XfdPointer xfd = with_key({"a", "b"});
        Table table(columns);
        table.table_count = 10;
        const size_t blocks = ZMemoryBlocks(nullptr);
        ZMemoryRefuse(n, 1);
        EXPECT_EQ(Z4MatchDBKeystoXFD(xfd.get(), &table, 0), 1);
        const bool was_refused = ZMemoryRefused() != 0;
        ZMemoryRefuse(0, 0);
        for (const DbColumnInfo &one : table.all)
            EXPECT_EQ(one.flags, uint32_t{DB_COLUMN_SET_ASIDE}) << one.match_name;
        EXPECT_EQ(ZMemoryBlocks(nullptr), blocks);
        if (!was_refused) {
            EXPECT_GT(n, 3);
            break;
        }
    }
}

TEST_F(MatchKeys, AreTraced) {
    const sample::XfdPointer xfd = with_key({"a", "b"});
    Table table({"b", "a", "c"});
    table.table_count = 1;
    table.index({1, 0});
    const On traced(Way::kTraced);
    EXPECT_EQ(Z4MatchDBKeystoXFD(xfd.get(), &table, 0), 1);
    EXPECT_EQ(spies::take_traces(),
              "+1 9 Z4MatchDBKeystoXFD, 0\n+0 9 Comparing a with a, i = 0, j = 1\n"
              "+0 9 Comparing b with b, i = 1, j = 0\n+0 9 Z4MatchDBKeystoXFD 0\n"
              "-1 9 Returning 1\n");
    table.index({1, 2});
    EXPECT_EQ(Z4MatchDBKeystoXFD(xfd.get(), &table, 0), 0);
    EXPECT_EQ(spies::take_traces(),
              "+1 9 Z4MatchDBKeystoXFD, 0\n+0 9 Comparing a with a, i = 0, j = 1\n"
              "+0 9 Comparing c with b, i = 1, j = 2\n-1 9 Returning 0\n");
    EXPECT_EQ(Z4MatchDBKeystoXFD(xfd.get(), &table, 5), 0);
    EXPECT_EQ(spies::take_traces(), "+1 9 Z4MatchDBKeystoXFD, 5\n-1 9 Returning 0\n");
}

TEST_F(Match, IsSilentWithoutTracing) {
    const sample::XfdPointer xfd = with_fields({"a", "b"});
    sample::add_key(xfd.get());
    Z4AddXFDKeyColumn(xfd.get(), 0, 0, "a");
    Table table({"a", "b", "a"});
    table.table_count = 1;
    table.index({0});
    for (const Way way : {Way::kNames, Way::kWithoutMemory}) {
        SCOPED_TRACE(static_cast<int>(way));
        const On on(way);
        EXPECT_EQ(Z4FindColumn(&table, "b"), 1);
        EXPECT_EQ(Z4FindColumn(&table, "c"), -1);
        Z4MatchDBColstoXFD(xfd.get(), &table);
        Z4MatchDBKeystoXFD(xfd.get(), &table, 0);
        Z4MatchDBKeystoXFD(xfd.get(), &table, 1);
        Z4MatchFDInfotoXFD(xfd.get(), "120,80,1", "1,0,4,0");
        EXPECT_EQ(spies::take_traces(), "");
    }
}

// Keys "segments duplicates (length offset)...", as key_info has them.
sample::XfdPointer with_keys(const std::vector<std::vector<uint32_t>> &keys) {
    sample::XfdPointer xfd = sample::empty();
    for (const auto &key : keys) {
        uint16_t lengths[XFD_MAX_SEGMENTS] = {};
        uint32_t offsets[XFD_MAX_SEGMENTS] = {};
        for (uint32_t s = 0; s < key[0]; ++s) {
            lengths[s] = static_cast<uint16_t>(key[2 + 2 * s]);
            offsets[s] = key[3 + 2 * s];
        }
        Z4AddXFDKey(xfd.get(), static_cast<uint16_t>(key[0]), static_cast<uint8_t>(key[1]), lengths,
                    offsets, 0);
    }
    return xfd;
}

TEST_F(MatchDescription, AgreesOrSaysWhatDiffers) {
    const struct {
        const char *name;
        const char *file;
        const char *keys;
        int result;
    } kRows[] = {
        {"equal", "120,80,3", "1,0,4,0,2,1,3,8,5,20,1,0,10,30", 0},
        {"separated by blanks", "120 80 3", "1 0 4 0 2 1 3 8 5 20 1 0 10 30", 0},
        {"alternate keys in reverse", "120,80,3", "1,0,4,0,1,0,10,30,2,1,3,8,5,20", 0},
        {"another yes", "120,80,3", "1,0,4,0,2,2,3,8,5,20,1,0,10,30", 0},
        {"maximum", "121,80,3", "1,0,4,0", 2},
        {"minimum", "120,81,3", "1,0,4,0", 3},
        {"keys", "120,80,2", "1,0,4,0", 4},
        {"nothing", "", "", 2},
        {"no words", "a,b,c", "", 2},
        {"primary segments", "120,80,3", "2,0,4,0", 5},
        {"primary duplicates", "120,80,3", "1,1,4,0", 5},
        {"primary length", "120,80,3", "1,0,5,0", 5},
        {"primary offset", "120,80,3", "1,0,4,1", 5},
        {"no keys", "120,80,3", "", 5},
        {"alternate length", "120,80,3", "1,0,4,0,2,1,3,8,6,20,1,0,10,30", 8},
        {"alternate offset", "120,80,3", "1,0,4,0,2,1,3,8,5,21,1,0,10,30", 8},
        {"alternate duplicates", "120,80,3", "1,0,4,0,2,0,3,8,5,20,1,0,10,30", 8},
        {"one key twice", "120,80,3", "1,0,4,0,1,0,10,30,1,0,10,30", 8},
        {"the primary key again", "120,80,3", "1,0,4,0,1,0,4,0,1,0,10,30", 8},
        {"keys cut short", "120,80,3", "1,0,4,0,2,1,3,8,5,20", 8},
        {"17 segments", "120,80,3", "1,0,4,0,17,1,3,8,5,20,1,0,10,30", 8},
        {"a billion segments", "120,80,3", "1,0,4,0,1000000000,1", 8},
        {"negative segments", "120,80,3", "-1,0,4,0", 5},
        {"negative segments behind", "120,80,3", "1,0,4,0,-3,1", 8},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.name);
        const sample::XfdPointer xfd =
            with_keys({{1, 0, 4, 0}, {2, 1, 3, 8, 5, 20}, {1, 0, 10, 30}});
        const size_t blocks = ZMemoryBlocks(nullptr);
        EXPECT_EQ(Z4MatchFDInfotoXFD(xfd.get(), row.file, row.keys), row.result);
        EXPECT_EQ(ZMemoryBlocks(nullptr), blocks);
    }
}

TEST_F(MatchDescription, DuplicatesAreAllowedByAnyNumberButZero) {
    for (const uint32_t ours : {0U, 1U, 2U, 255U}) {
        for (const int theirs : {0, 1, 2, -1}) {
            SCOPED_TRACE(std::to_string(ours) + " and " + std::to_string(theirs));
            const sample::XfdPointer xfd = with_keys({{1, ours, 4, 0}, {1, ours, 2, 9}});
            const std::string flag = std::to_string(theirs);
            const std::string primary = "1," + flag + ",4,0,1," + std::to_string(ours) + ",2,9";
            const std::string other = "1," + std::to_string(ours) + ",4,0,1," + flag + ",2,9";
            const bool agree = (ours != 0) == (theirs != 0);
            EXPECT_EQ(Z4MatchFDInfotoXFD(xfd.get(), "120,80,2", primary.c_str()), agree ? 0 : 5);
            EXPECT_EQ(Z4MatchFDInfotoXFD(xfd.get(), "120,80,2", other.c_str()), agree ? 0 : 7);
        }
    }
}

TEST_F(MatchDescription, AFileWithoutKeysHasNoneToCompare) {
    const sample::XfdPointer xfd = sample::empty();
    EXPECT_EQ(Z4MatchFDInfotoXFD(xfd.get(), "120,80,0", ""), 0);
    EXPECT_EQ(Z4MatchFDInfotoXFD(xfd.get(), "120,80,0", nullptr), 0);
    EXPECT_EQ(Z4MatchFDInfotoXFD(xfd.get(), "120,80,1", "1,0,4,0"), 4);
    EXPECT_EQ(Z4MatchFDInfotoXFD(xfd.get(), "120,81,0", ""), 3);
}

TEST_F(MatchDescription, KeysThatTheArrayDoesNotHoldDiffer) {
    const sample::XfdPointer xfd = with_keys({{1, 0, 4, 0}});
    xfd->x_n_keys = 2;
    EXPECT_EQ(Z4MatchFDInfotoXFD(xfd.get(), "120,80,2", "1,0,4,0,1,0,4,0"), 7);
    xfd->x_n_keys = 1;
    xfd->x_key_desc[0].k_seg_count = 17;
    EXPECT_EQ(Z4MatchFDInfotoXFD(xfd.get(), "120,80,1", "17,0,4,0"), 5);
}

TEST_F(MatchDescription, ManyKeysAreCompared) {
    for (const uint32_t count : {127U, 128U, 129U, 200U, 1000U}) {
        SCOPED_TRACE(count);
        std::vector<std::vector<uint32_t>> keys;
        for (uint32_t k = 0; k < count; ++k)
            keys.push_back({1, 0, 4, k});
        const sample::XfdPointer xfd = with_keys(keys);
        const std::string file = "120,80," + std::to_string(count);
        std::string reversed = "1,0,4,0";
        for (uint32_t k = count - 1; k > 0; --k)
            reversed += ",1,0,4," + std::to_string(k);
        EXPECT_EQ(Z4MatchFDInfotoXFD(xfd.get(), file.c_str(), reversed.c_str()), 0);
        // The last one again in the place of another.
        const std::string twice =
            reversed.substr(0, reversed.rfind(",1,0,4,")) + ",1,0,4," + std::to_string(count - 1);
        EXPECT_EQ(Z4MatchFDInfotoXFD(xfd.get(), file.c_str(), twice.c_str()),
                  static_cast<int>(5 + count));
    }
}

TEST_F(MatchDescription, IsNotReadWithoutMemory) {
    const sample::XfdPointer xfd = with_keys({{1, 0, 4, 0}});
    const size_t blocks = ZMemoryBlocks(nullptr);
    for (int64_t n = 1;; ++n) {
        SCOPED_TRACE(n);
        ZMemoryRefuse(n, 1);
        const int result = Z4MatchFDInfotoXFD(xfd.get(), "120,80,1", "1,0,4,0");
        const bool was_refused = ZMemoryRefused() != 0;
        ZMemoryRefuse(0, 0);
        EXPECT_EQ(result, was_refused ? 2 : 0);
        EXPECT_EQ(ZMemoryBlocks(nullptr), blocks);
        if (!was_refused) {
            EXPECT_GT(n, 2);
            break;
        }
    }
}

}  // namespace
