// SPDX-License-Identifier: MIT
//
// The catalogue's columns go to the library in the order of the fields that they
// stand for, so that of two names which the library holds for one ("A-B", "A_B")
// each field gets its own.  Why something does not match is found out here; the
// library only says that it does not.
#include "sql/table_match.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "host/charset.h"
#include "host/config.h"
#include "host/memory.h"
#include "host/names.h"
#include "sql/table_settings.h"
#include "wbfsi/accessors.h"
#include "wbfsi/build.h"
#include "wbfsi/match.h"

namespace sql {
namespace {

constexpr uint32_t kNoSlot = UINT32_MAX;
constexpr uint16_t kNoIndex = UINT16_MAX;
constexpr int kLowerCase = 4;
// Level of the field that a loader adds behind a relative record for its number.
constexpr uint32_t kRelativeKeyLevel = 999;
// Problems that one message names; a table of another file has them by thousands.
constexpr size_t kMaxProblemsInAMessage = 5;

struct XfdRelease {
    void operator()(Xfd *xfd) const { Z4XFDFree(xfd); }
};
struct TableRelease {
    void operator()(DbTableInfo *table) const { Z4FreeTable(table); }
};
using XfdPtr = std::unique_ptr<Xfd, XfdRelease>;
using DbTablePtr = std::unique_ptr<DbTableInfo, TableRelease>;

std::string folded(std::string_view name) {
    std::string out(name);
    for (char &c : out) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return out;
}

// A name of the dictionary as the library compares it.
std::string standardised(std::string name) {
    stdz_name(name.data(), -3, kLowerCase);
    name.resize(std::strlen(name.c_str()));
    return name;
}

// What no field is called: longer than their names.
std::string unmatchable() {
    return std::string(sizeof(DbColumnInfo::match_name) - 1, '?');
}

// A column's name as the library compares it.  One that the program's character
// set cannot write is no field's.
std::string match_name_of(const std::string &utf8) {
    if (utf8.empty() || utf8.find('\0') != std::string::npos) {
        return unmatchable();
    }
    std::string name(utf8.size(), '\0');
    const auto size = static_cast<int32_t>(utf8.size());
    const int32_t needed = ZUTF8ToCOBOLCharSet(utf8.data(), size, name.data(), size);
    if (needed < 1 || needed > size) {
        return unmatchable();
    }
    name.resize(static_cast<size_t>(needed));
    std::string back(utf8.size(), '\0');
    const bool is_whole =
        ZCOBOLCharSetToUTF8(name.data(), needed, back.data(), size) == size && back == utf8;
    return is_whole ? standardised(std::move(name)) : unmatchable();
}

template <size_t size>
void copy_name(char (&dest)[size], std::string_view name) {
    const size_t n = std::min(name.size(), size - 1);
    std::memcpy(dest, name.data(), n);
    std::memset(dest + n, 0, size - n);
}

// One table and where its columns are.
struct Table {
    TableDescription description;
    std::unordered_map<std::string, size_t> columns;  // by folded name
    std::vector<bool> is_known;                       // stands for something of the layout
    std::string where;                                // in front of its problems

    [[nodiscard]] size_t find(std::string_view name) const {
        const auto column = columns.find(folded(name));
        return column != columns.end() ? column->second : TableLayout::kNone;
    }
};

// An entry of DbTableInfo::columns.
struct Entry {
    size_t table = 0;
    size_t column = 0;        // in the table's description
    uint32_t slot = kNoSlot;  // of the field that it stands for
    std::string match_name;
    bool is_own = false;  // of this layer, set aside
};

// An index that the layout makes.
struct Need {
    size_t table = 0;
    size_t key = TableLayout::kNone;  // in TableLayout::keys; kNone: none of them
    std::string what;
    std::vector<std::string> names;
    bool is_unique = true;
    bool is_of_other_rows = false;  // beside the key's columns; may be partial
    std::string index_name;         // as the layout calls it
};

std::string quoted(const std::vector<std::string> &names) {
    std::string text;
    for (const std::string &name : names) {
        text += (text.empty() ? "" : ", ") + Dialect::quote(name);
    }
    return text;
}

class Matcher {
 public:
    Matcher(Connection &connection, const TableLayout &layout)
        : connection_(connection),
          layout_(layout),
          takes_extra_columns_(ZCGetValueBool("4GL_EXTRA_DB_COLS_OK", 1) != 0) {}

    Status match(TableMatch *out);

 private:
    Status describe_tables();
    Status describe(const std::string &name, Table *out);
    void find_identity();
    Status copy_dictionary();
    Status set_key_columns(size_t key, const std::vector<size_t> &columns);

    void add_main_columns();
    void add_child_columns(const ChildTable &child, size_t table);
    void add_other_columns(size_t table);
    void add_own_column(size_t table, const std::string &name, const char *note, bool is_needed);
    void check_kind(size_t table);
    Status build_table();
    void match_columns();

    [[nodiscard]] std::vector<Need> needs() const;
    void match_key(const Need &need);
    bool agrees(const Need &need, size_t index);
    [[nodiscard]] std::string problem_of(const Need &need,
                                         const std::vector<size_t> &columns) const;
    [[nodiscard]] std::string statement_for(const Need &need) const;
    [[nodiscard]] std::string match_name_of_column(size_t column) const;
    [[nodiscard]] std::string standard_field_name(uint32_t slot) const {
        return standardised(layout_.dictionary->x_fdesc[slot].fd_name);
    }
    void problem(const std::string &text) { out_.problems.push_back(text); }

    Connection &connection_;
    const TableLayout &layout_;
    const bool takes_extra_columns_;
    uint32_t identity_slot_ = kNoSlot;  // of the field that the record number stands for
    std::vector<Table> tables_;         // the main one first, then the children
    std::vector<Entry> entries_;
    std::vector<int32_t> numbers_;  // of the main table's columns: their entries
    XfdPtr xfd_;
    DbTablePtr db_table_;
    TableMatch out_;
};

Status Matcher::match(TableMatch *out) {
    Status status = describe_tables();
    if (!status.ok()) {
        return status;
    }
    find_identity();
    if (status = copy_dictionary(); !status.ok()) {
        return status;
    }
    check_kind(0);
    add_main_columns();
    for (size_t i = 0; i < layout_.children.size(); i++) {
        add_child_columns(layout_.children[i], i + 1);
    }
    if (status = build_table(); !status.ok()) {
        return status;
    }
    match_columns();
    for (const Need &need : needs()) {
        match_key(need);
    }
    if (status = changed_settings(connection_, layout_, &out_.problems); !status.ok()) {
        return status;
    }
    *out = std::move(out_);
    return {};
}

Status Matcher::describe(const std::string &name, Table *out) {
    Status status = connection_.describe_table(name, &out->description);
    const std::vector<TableDescription::Column> &columns = out->description.columns;
    for (size_t i = 0; i < columns.size(); i++) {
        out->columns.emplace(folded(columns[i].name), i);
    }
    out->is_known.resize(columns.size());
    return status;
}

Status Matcher::describe_tables() {
    tables_.resize(1 + layout_.children.size());
    Table &main = tables_[0];
    if (Status status = describe(layout_.table, &main); !status.ok()) {
        return status;
    }
    if (main.description.kind == TableDescription::Kind::kNone) {
        return {ErrorKind::kNoSuchTable,
                "the database has no table " + Dialect::quote(layout_.table)};
    }
    main.where = "it";
    for (size_t i = 0; i < layout_.children.size(); i++) {
        const std::string &name = layout_.children[i].name;
        if (Status status = describe(name, &tables_[i + 1]); !status.ok()) {
            return status;
        }
        tables_[i + 1].where = "table " + Dialect::quote(name);
    }
    return {};
}

// The field that a loader adds behind a relative record is told by its level; the
// layout leaves it out.
void Matcher::find_identity() {
    const Xfd &xfd = *layout_.dictionary;
    if (layout_.record_number == TableLayout::kNone || layout_.file_type != XFD_RELATIVE) {
        return;
    }
    std::vector<bool> has_column(xfd.x_n_fields_alloc);
    for (const Field &field : layout_.fields) {
        has_column[field.slot] = true;
    }
    for (uint32_t slot = 0; slot < xfd.x_n_fields_alloc; slot++) {
        const XfdField &field = xfd.x_fdesc[slot];
        if (!has_column[slot] && field.fd_level == kRelativeKeyLevel && field.fd_name[0] != '\0' &&
            field.fd_cond_num != XFD_LISTED_ONLY) {
            identity_slot_ = slot;
        }
    }
}

// The dictionary as its table has it: the fields that have columns, with the
// columns of the keys that the layout found.
Status Matcher::copy_dictionary() {
    Status no_memory(ErrorKind::kNoMemory, "no memory to match the dictionary");
    xfd_.reset(Z4CopyXFD(layout_.dictionary.get()));
    if (xfd_ == nullptr) {
        return no_memory;
    }
    std::vector<bool> has_column(xfd_->x_n_fields_alloc);
    for (const Field &field : layout_.fields) {
        has_column[field.slot] = true;
    }
    if (identity_slot_ != kNoSlot) {
        has_column[identity_slot_] = true;
    }
    // Records trade places; each still owns what it owned.
    uint32_t n = 0;
    for (uint32_t slot = 0; slot < xfd_->x_n_fields_alloc; slot++) {
        xfd_->x_fdesc[slot].fd_db_col_num = -1;
        if (has_column[slot]) {
            std::swap(xfd_->x_fdesc[n++], xfd_->x_fdesc[slot]);
        }
    }
    xfd_->x_n_total_fields = n;
    for (size_t k = 0; k < xfd_->x_n_keys; k++) {
        Z4SetXFDKeyDBIndex(xfd_.get(), static_cast<uint32_t>(k), kNoIndex);
    }
    for (size_t k = 0; k < layout_.keys.size(); k++) {
        const Key &key = layout_.keys[k];
        const std::vector<size_t> bytes{key.bytes_column};
        if (Status status = set_key_columns(k, key.columns.empty() ? bytes : key.columns);
            !status.ok()) {
            return no_memory;
        }
    }
    if (identity_slot_ != kNoSlot && xfd_->x_n_keys > 0) {
        return set_key_columns(0, {layout_.record_number});
    }
    return {};
}

Status Matcher::set_key_columns(size_t key, const std::vector<size_t> &columns) {
    Z4GetXFDKeyInfo(xfd_.get(), static_cast<uint32_t>(key))->k_n_fields = 0;
    for (const size_t column : columns) {
        if (Z4AddXFDKeyColumn(xfd_.get(), static_cast<uint16_t>(key), -1,
                              match_name_of_column(column).c_str()) < 0) {
            return {ErrorKind::kNoMemory, "no memory to match the dictionary"};
        }
    }
    return {};
}

std::string Matcher::match_name_of_column(size_t column) const {
    if (column < layout_.field_count) {
        return standard_field_name(layout_.fields[column].slot);
    }
    if (column == layout_.record_number && identity_slot_ != kNoSlot) {
        return standard_field_name(identity_slot_);
    }
    return match_name_of(layout_.columns[column].name);
}

void Matcher::check_kind(size_t table) {
    const Table &in = tables_[table];
    if (in.description.kind == TableDescription::Kind::kView ||
        in.description.kind == TableDescription::Kind::kVirtual) {
        const bool is_view = in.description.kind == TableDescription::Kind::kView;
        problem(in.where + " is a " + (is_view ? "view" : "virtual table") +
                ", which has no index; a table of its own rows would be right");
        return;
    }
    const bool has_number_column = layout_.record_number != TableLayout::kNone ||
                                   !connection_.dialect().row_number_declaration(layout_).empty();
    if (table == 0 && !has_number_column && !in.description.has_row_numbers) {
        problem(
            "its rows have no numbers, which say in what order they came; a table without "
            "\"WITHOUT ROWID\" would be right");
    }
}

void Matcher::add_own_column(size_t table, const std::string &name, const char *note,
                             bool is_needed) {
    Table &in = tables_[table];
    const size_t at = in.find(name);
    if (at == TableLayout::kNone) {
        if (is_needed) {
            problem(in.where + " has no column " + Dialect::quote(name) + " (" + note + ")");
            out_.columns.push_back({in.description.name, "", "", note});
        }
        return;
    }
    in.is_known[at] = true;
    entries_.push_back({table, at, kNoSlot, match_name_of(name), true});
    out_.columns.push_back({in.description.name, in.description.columns[at].name, "", note});
}

void Matcher::add_main_columns() {
    Table &main = tables_[0];
    const TableDescription &description = main.description;
    for (size_t i = 0; i < layout_.columns.size(); i++) {
        const Column &column = layout_.columns[i];
        if (column.role == ColumnRole::kField) {
            const size_t at = main.find(column.name);
            TableMatch::ColumnRow row{description.name, "", layout_.fields[i].name, ""};
            if (at == TableLayout::kNone) {
                problem(main.where + " has no column " + Dialect::quote(column.name));
                row.note = "missing";
            } else {
                main.is_known[at] = true;
                row.column = description.columns[at].name;
                const uint32_t slot = layout_.fields[i].slot;
                entries_.push_back({0, at, slot, standard_field_name(slot)});
            }
            out_.columns.push_back(std::move(row));
            continue;
        }
        switch (column.role) {
            case ColumnRole::kRecordNumber:
                add_own_column(0, column.name, "record number", true);
                if (identity_slot_ != kNoSlot && main.find(column.name) != TableLayout::kNone) {
                    // It stands for a field of the dictionary after all.
                    Entry &entry = entries_.back();
                    entry.slot = identity_slot_;
                    entry.match_name = standard_field_name(identity_slot_);
                    entry.is_own = false;
                }
                break;
            case ColumnRole::kKeyBytes:
                add_own_column(0, column.name,
                               ("bytes of key " + std::to_string(column.key + 1)).c_str(), true);
                break;
            default:
                out_.has_exact = main.find(column.name) != TableLayout::kNone;
                add_own_column(0, column.name, "exact record", false);
        }
    }
    const Dialect &dialect = connection_.dialect();
    if (layout_.record_number == TableLayout::kNone &&
        !dialect.row_number_declaration(layout_).empty()) {
        add_own_column(0, dialect.row_number(layout_), "row number", true);
    }
    add_other_columns(0);
}

void Matcher::add_child_columns(const ChildTable &child, size_t table) {
    Table &in = tables_[table];
    if (in.description.kind == TableDescription::Kind::kNone) {
        problem("the database has no table " + Dialect::quote(child.name) +
                " for a part of the record");
        return;
    }
    check_kind(table);
    add_own_column(table, child.number_column, "number of the row", true);
    for (const std::string &name : child.subscript_columns) {
        add_own_column(table, name, "subscript", true);
    }
    for (size_t c = 0; c < child.columns.size(); c++) {
        const size_t at = in.find(child.columns[c].name);
        TableMatch::ColumnRow row{in.description.name, "", "", ""};
        if (at == TableLayout::kNone) {
            problem(in.where + " has no column " + Dialect::quote(child.columns[c].name));
            row.note = "missing";
        } else {
            in.is_known[at] = true;
            row.column = in.description.columns[at].name;
        }
        std::string last;
        for (const ChildTable::Row &occurrence : child.rows) {
            if (occurrence.fields[c] == TableLayout::kNone) {
                continue;
            }
            const Field &field = layout_.fields[occurrence.fields[c]];
            (row.field.empty() ? row.field : last) = field.name;
            if (at != TableLayout::kNone) {
                entries_.push_back({table, at, field.slot, standard_field_name(field.slot)});
            }
        }
        row.field += last.empty() ? "" : " to " + last;
        out_.columns.push_back(std::move(row));
    }
    add_other_columns(table);
}

// Columns that nothing of the layout has.
void Matcher::add_other_columns(size_t table) {
    const Table &in = tables_[table];
    for (size_t i = 0; i < in.is_known.size(); i++) {
        if (in.is_known[i]) {
            continue;
        }
        const std::string &name = in.description.columns[i].name;
        entries_.push_back({table, i, kNoSlot, match_name_of(name)});
        out_.columns.push_back({in.description.name, name, "", "not in the dictionary"});
        if (!takes_extra_columns_) {
            problem(in.where + " has a column " + Dialect::quote(name) +
                    " that no field stands for, and 4GL_EXTRA_DB_COLS_OK is off");
        }
    }
}

Status Matcher::build_table() {
    std::ranges::stable_sort(entries_, {}, &Entry::slot);
    const auto allocate = [](size_t size) {
        void *block = Zmalloc(size, "table match", "sql/table_match");
        return block != nullptr ? std::memset(block, 0, size) : nullptr;
    };
    db_table_.reset(static_cast<DbTableInfo *>(allocate(sizeof(DbTableInfo))));
    if (db_table_ != nullptr && !entries_.empty() &&
        entries_.size() <= INT32_MAX / sizeof(DbColumnInfo)) {
        db_table_->columns =
            static_cast<DbColumnInfo *>(allocate(entries_.size() * sizeof(DbColumnInfo)));
    }
    if (db_table_ == nullptr || (db_table_->columns == nullptr && !entries_.empty())) {
        return {ErrorKind::kNoMemory, "no memory to match the table"};
    }
    db_table_->column_count = static_cast<uint32_t>(entries_.size());
    numbers_.assign(tables_[0].description.columns.size(), -1);
    for (size_t i = 0; i < entries_.size(); i++) {
        const Entry &entry = entries_[i];
        DbColumnInfo &column = db_table_->columns[i];
        copy_name(column.db_name, tables_[entry.table].description.columns[entry.column].name);
        copy_name(column.match_name, entry.match_name);
        column.field_num = -1;
        column.table_num = static_cast<uint16_t>(entry.table);
        if (entry.is_own) {
            column.flags = DB_COLUMN_SET_ASIDE;
            db_table_->extra_columns++;
        }
        if (entry.table == 0) {
            numbers_[entry.column] = static_cast<int32_t>(i);
        }
    }
    return {};
}

void Matcher::match_columns() {
    const bool agrees = Z4MatchDBColstoXFD(xfd_.get(), db_table_.get()) != 0;
    // Whatever keeps the library from a match has been told by name.
    if (!agrees && out_.problems.empty()) {
        problem("its columns do not match the fields of the dictionary");
    }
}

std::vector<Need> Matcher::needs() const {
    std::vector<Need> needs;
    const auto name_of = [&](size_t column) { return layout_.columns[column].name; };
    if (layout_.record_number != TableLayout::kNone) {
        Need need;
        need.what = "record number";
        need.names = {name_of(layout_.record_number)};
        need.index_name = layout_.table + "_number";
        needs.push_back(std::move(need));
    }
    for (size_t k = 0; k < layout_.keys.size(); k++) {
        const Key &key = layout_.keys[k];
        Need need;
        need.key = k;
        need.what = std::string("key ").append(std::to_string(k + 1));
        need.is_unique = key.unique;
        need.index_name = key.index_name;
        if (!key.columns.empty()) {
            std::ranges::transform(key.columns, std::back_inserter(need.names), name_of);
            needs.push_back(need);
            need.what += ", other rows";
            need.is_of_other_rows = true;
            need.index_name += "_bytes";
        }
        need.names = {name_of(key.bytes_column)};
        needs.push_back(std::move(need));
    }
    for (size_t i = 0; i < layout_.children.size(); i++) {
        const ChildTable &child = layout_.children[i];
        Need need;
        need.table = i + 1;
        need.what = "rows of a record";
        need.names = child.subscript_columns;
        need.names.insert(need.names.begin(), child.number_column);
        need.index_name = child.name + "_rows";
        needs.push_back(std::move(need));
    }
    return needs;
}

void Matcher::match_key(const Need &need) {
    const Table &table = tables_[need.table];
    const std::vector<TableDescription::Index> &indexes = table.description.indexes;
    std::vector<size_t> columns;
    std::ranges::transform(need.names, std::back_inserter(columns),
                           [&](const std::string &name) { return table.find(name); });
    const bool has_columns = std::ranges::find(columns, TableLayout::kNone) == columns.end();
    TableMatch::KeyRow row;
    row.table = table.description.name;
    row.key = need.key;
    row.what = need.what;
    row.columns = need.names;
    row.is_unique = need.is_unique;
    for (size_t i = 0; has_columns && row.index.empty() && i < indexes.size(); i++) {
        if (indexes[i].columns == columns && agrees(need, i)) {
            row.index = indexes[i].name;
        }
    }
    // A column that is missing has been told, and a view takes no index.
    if (row.index.empty() && has_columns &&
        table.description.kind == TableDescription::Kind::kTable) {
        problem(problem_of(need, columns));
    }
    out_.keys.push_back(std::move(row));
}

// Of an index over the right columns.
bool Matcher::agrees(const Need &need, size_t index) {
    const TableDescription::Index &found = tables_[need.table].description.indexes[index];
    if (found.is_unique != need.is_unique || !found.sorts_by_bytes ||
        (found.is_partial && !need.is_of_other_rows)) {
        return false;
    }
    if (need.table != 0 || need.is_of_other_rows) {
        return true;
    }
    uint32_t key = 0;
    if (need.key != TableLayout::kNone) {
        key = static_cast<uint32_t>(need.key);
    } else if (identity_slot_ == kNoSlot || xfd_->x_n_keys == 0) {
        return true;  // the dictionary has no key for record numbers
    }
    std::ranges::fill(db_table_->index_columns, -1);
    const size_t n = std::min(found.columns.size(), std::size(db_table_->index_columns));
    for (size_t c = 0; c < n; c++) {
        db_table_->index_columns[c] = numbers_[found.columns[c]];
    }
    if (Z4MatchDBKeystoXFD(xfd_.get(), db_table_.get(), key) == 0) {
        return false;
    }
    Z4SetXFDKeyDBIndex(xfd_.get(), key, static_cast<uint16_t>(std::min<size_t>(index, kNoIndex)));
    return true;
}

std::string Matcher::problem_of(const Need &need, const std::vector<size_t> &columns) const {
    const TableDescription &table = tables_[need.table].description;
    std::string text = need.table == 0 ? "" : "table " + Dialect::quote(table.name) + ", ";
    text += need.what + " (" + quoted(need.names) + "): ";

    const auto is_prefix = [](const std::vector<size_t> &a, const std::vector<size_t> &b) {
        return a.size() < b.size() && std::equal(a.begin(), a.end(), b.begin());
    };
    // The index that is nearest to the one wanted.
    enum Nearness { kFar, kTooShort, kTooLong, kReordered, kSame };
    Nearness nearness = kFar;
    const TableDescription::Index *nearest = nullptr;
    for (const TableDescription::Index &index : table.indexes) {
        Nearness near = kFar;
        if (index.columns == columns) {
            near = kSame;
        } else if (std::ranges::is_permutation(index.columns, columns)) {
            near = kReordered;
        } else if (is_prefix(columns, index.columns)) {
            near = kTooLong;
        } else if (is_prefix(index.columns, columns)) {
            near = kTooShort;
        }
        if (near > nearness) {
            nearness = near;
            nearest = &index;
        }
    }
    if (nearest == nullptr) {
        text += columns.size() == 1 ? "there is no index on it" : "there is no index on them";
        return text + "; " + statement_for(need) + " would make it";
    }
    text += "index " + Dialect::quote(nearest->name);
    if (nearness == kTooShort) {
        text += " has only the first " + std::to_string(nearest->columns.size()) + " of them";
    } else if (nearness == kTooLong) {
        text += " has more columns";
    } else if (nearness == kReordered) {
        text += " has them in another order";
    } else if (nearest->is_unique != need.is_unique) {
        text += need.is_unique ? " is not unique" : " is unique, but the key allows duplicates";
    } else if (nearest->is_partial && !need.is_of_other_rows) {
        text += " has only a part of the rows";
    } else if (!nearest->sorts_by_bytes) {
        text += " does not ascend by the bytes of its values";
    } else {
        text += " has other columns than the key";  // as the library finds
    }
    return text + "; " + statement_for(need) + " would make it";
}

// The statement of the layout, or for a primary key one that does as well.  An
// index that has its name already goes first.
std::string Matcher::statement_for(const Need &need) const {
    const TableDescription &table = tables_[need.table].description;
    std::string text;
    for (const TableDescription::Index &index : table.indexes) {
        if (folded(index.name) == folded(need.index_name)) {
            text = "DROP INDEX " + Dialect::quote(index.name) + "; ";
        }
    }
    const std::string_view verb = need.is_unique ? "CREATE UNIQUE INDEX " : "CREATE INDEX ";
    const auto is_needed = [&](const IndexSql &index) {
        return index.sql.starts_with(verb) &&
               std::ranges::equal(index.columns, need.names, [&](size_t column, const auto &name) {
                   return layout_.columns[column].name == name;
               });
    };
    if (need.table == 0) {
        const std::vector<IndexSql> all = create_index_sql(layout_, connection_.dialect());
        const auto index = std::ranges::find_if(all, is_needed);
        if (index != all.end()) {
            return text + index->sql;
        }
    }
    return text.append(verb) + Dialect::quote(need.index_name) + " ON " +
           Dialect::quote(table.name) + " (" + quoted(need.names) + ")";
}

}  // namespace

Status match_table(Connection &connection, const TableLayout &layout, TableMatch *out) {
    return Matcher(connection, layout).match(out);
}

Status mismatch_of(const TableLayout &layout, const TableMatch &match) {
    if (match.problems.empty()) {
        return {};
    }
    std::string text =
        "the table " + Dialect::quote(layout.table) + " cannot be read with this dictionary: ";
    for (size_t i = 0; i < match.problems.size(); i++) {
        if (i == kMaxProblemsInAMessage) {
            text += "; and " + std::to_string(match.problems.size() - i) + " more";
            break;
        }
        text += (i > 0 ? "; " : "") + match.problems[i];
    }
    return {ErrorKind::kMismatch, text};
}

}  // namespace sql
