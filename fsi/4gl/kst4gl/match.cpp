// SPDX-License-Identifier: MIT
//
// Fields and columns, keys and indexes.  Both ways to find a column, the plain
// search and the look-up in a table of names, serve the fields in their order
// and stop at the same field, so their marks are the same.
#include "wbfsi/match.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>

#include "fsi/4gl/kst4gl/column_names.h"
#include "fsi/4gl/kst4gl/model.h"
#include "fsi/base/text.h"
#include "host/config.h"
#include "host/messages.h"
#include "host/names.h"
#include "host/values.h"

namespace fsi {
namespace {

constexpr int kTraceCategory = 9;
constexpr int kLowerCase = 4;
constexpr int32_t kNoField = -1;

int leave(int result) {
    if (f_trace != 0)
        ZTrace(-1, kTraceCategory, "Returning %d", result);
    return result;
}

uint32_t column_count(const DbTableInfo *table) {
    return table->columns != nullptr ? table->column_count : 0;
}

const DbColumnInfo *column_at(const DbTableInfo *table, int64_t index) {
    return index >= 0 && index < column_count(table) ? &table->columns[index] : nullptr;
}

std::string_view match_name(const DbColumnInfo &column) {
    return bounded_view(column.match_name, sizeof column.match_name);
}

const XfdKey *key_at(const Xfd *xfd, uint32_t index) {
    return index < std::min(xfd->x_n_keys, xfd->x_n_keys_alloc) ? &xfd->x_key_desc[index] : nullptr;
}

uint32_t key_columns(const XfdKey *key) {
    return key != nullptr && key->k_field != nullptr
               ? std::min(key->k_n_fields, key->k_n_fields_alloc)
               : 0;
}

std::string_view column_name(const XfdKey *key, uint32_t index) {
    return bounded_view(key->k_field[index].kc_name, sizeof(XfdKeyColumn::kc_name));
}

// Fields and the columns that are free for them.
class FieldMatch {
 public:
    FieldMatch(Xfd *xfd, DbTableInfo *table) : xfd_(xfd), table_(table) {}

    // Links every field; the first one that has no column ends it and is the
    // result, else null.
    const XfdField *link_all();

 private:
    using Name = char[sizeof(XfdField::fd_name)];

    static bool is_free(const DbColumnInfo &column) {
        return (column.flags & DB_COLUMN_SET_ASIDE) == 0 && column.field_num == kNoField;
    }
    // As much of a name as counts.
    std::string_view counting(std::string_view name) const {
        const uint32_t limit = table_->name_compare_length;
        return limit != 0 ? name.substr(0, limit) : name;
    }
    bool collect_names();
    int64_t search(const char *name) const;
    int64_t find(const char *name);

    Xfd *xfd_;
    DbTableInfo *table_;
    Block<Name> cut_names_;  // of the columns, when only a part of each counts
    ColumnNames names_;
    bool has_names_ = false;
};

bool FieldMatch::collect_names() {
    const uint32_t count = column_count(table_);
    const bool is_cut = table_->name_compare_length != 0;
    if (is_cut)
        cut_names_.reset(allocate_cleared<Name>(count, "DB column names", kSource));
    if ((is_cut && !cut_names_) || !names_.reserve(count))
        return false;
    for (uint32_t j = 0; j < count; ++j) {
        const DbColumnInfo &column = table_->columns[j];
        const std::string_view name = counting(match_name(column));
        // A longer name is none of a field.
        if (!is_free(column) || name.size() >= sizeof(Name))
            continue;
        const char *text = column.match_name;
        if (is_cut) {
            copy_text(cut_names_.get()[j], name);
            text = cut_names_.get()[j];
        }
        if (!names_.add(text, j))
            return false;
    }
    return true;
}

int64_t FieldMatch::search(const char *name) const {
    for (uint32_t j = 0; j < column_count(table_); ++j) {
        const DbColumnInfo &column = table_->columns[j];
        if (!is_free(column))
            continue;
        const std::string_view candidate = match_name(column);
        if (f_trace != 0)
            ZTrace(0, kTraceCategory, "Matching '%.*s' against '%s'",
                   static_cast<int>(candidate.size()), candidate.data(), name);
        if (counting(candidate) == counting(name))
            return j;
    }
    return -1;
}

int64_t FieldMatch::find(const char *name) {
    if (!has_names_)
        return search(name);
    Name cut;
    copy_text(cut, counting(name));
    return names_.take(cut);
}

const XfdField *FieldMatch::link_all() {
    has_names_ = f_trace == 0 && collect_names();
    for (uint32_t i = 0; i < xfd_->x_n_total_fields; ++i) {
        XfdField &field = xfd_->x_fdesc[i];
        Name name;
        copy_text(name, field.fd_name);
        stdz_name(name, -3, kLowerCase);
        const int64_t j = find(name);
        if (j < 0)
            return &field;
        field.fd_db_col_num = static_cast<int32_t>(j);
        table_->columns[j].field_num = static_cast<int32_t>(i);
    }
    return nullptr;
}

// Do the counts let every field have a column?
bool counts_agree(const Xfd *xfd, uint32_t available) {
    if (available < xfd->x_n_total_fields || xfd->x_n_total_fields > xfd->x_n_fields_alloc)
        return false;
    return available == xfd->x_n_total_fields || ZCGetValueBool("4GL_EXTRA_DB_COLS_OK", 1) != 0;
}

// The columns of the index are the first ones of the key.
bool index_agrees(const XfdKey *key, const DbTableInfo *table) {
    for (uint32_t i = 0; i < std::size(table->index_columns); ++i) {
        const int32_t j = table->index_columns[i];
        if (j == -1)
            break;
        const DbColumnInfo *column = column_at(table, j);
        if (column == nullptr || i >= key_columns(key))
            return false;
        const std::string_view name = match_name(*column);
        const std::string_view wanted = column_name(key, i);
        if (f_trace != 0)
            ZTrace(0, kTraceCategory, "Comparing %.*s with %.*s, i = %u, j = %u",
                   static_cast<int>(name.size()), name.data(), static_cast<int>(wanted.size()),
                   wanted.data(), i, static_cast<uint32_t>(j));
        if (name != wanted)
            return false;
    }
    return true;
}

// The columns of a key in each of the tables that repeat it.
class KeyCopies {
 public:
    KeyCopies(const XfdKey *key, DbTableInfo *table) : key_(key), table_(table) {}

    // False when a table lacks a column.
    bool set_aside();

 private:
    // The number of a table and a name in it.
    using Name = char[sizeof("65535 ") + sizeof(DbColumnInfo::match_name)];

    static void compose(Name &text, uint32_t table_num, std::string_view name);
    bool collect_names();
    int64_t search(uint32_t table_num, std::string_view name) const;
    int64_t find(uint32_t table_num, std::string_view name) const;

    const XfdKey *key_;
    DbTableInfo *table_;
    Block<Name> texts_;
    ColumnNames names_;
    bool has_names_ = false;
};

void KeyCopies::compose(Name &text, uint32_t table_num, std::string_view name) {
    char *end = std::to_chars(text, text + sizeof text, table_num).ptr;
    *end++ = ' ';
    std::memcpy(end, name.data(), name.size());
    end[name.size()] = '\0';
}

bool KeyCopies::collect_names() {
    const uint32_t count = column_count(table_);
    texts_.reset(allocate_cleared<Name>(count, "DB column names", kSource));
    if (!texts_ || !names_.reserve(count))
        return false;
    for (uint32_t j = 0; j < count; ++j) {
        const DbColumnInfo &column = table_->columns[j];
        compose(texts_.get()[j], column.table_num, match_name(column));
        if (!names_.add(texts_.get()[j], j))
            return false;
    }
    return true;
}

int64_t KeyCopies::search(uint32_t table_num, std::string_view name) const {
    for (uint32_t j = 0; j < column_count(table_); ++j) {
        const DbColumnInfo &column = table_->columns[j];
        if (column.table_num == table_num && match_name(column) == name)
            return j;
    }
    return -1;
}

int64_t KeyCopies::find(uint32_t table_num, std::string_view name) const {
    if (!has_names_)
        return search(table_num, name);
    Name text;
    compose(text, table_num, name);
    return names_.first(text);
}

bool KeyCopies::set_aside() {
    // For a few columns a search is quicker than a table of all names.
    static constexpr uint32_t kFew = 8;
    has_names_ = f_trace == 0 && table_->table_count > kFew / std::max(key_columns(key_), 1U) &&
                 collect_names();
    for (uint32_t t = 0; t < table_->table_count; ++t) {
        if (f_trace != 0)
            ZTrace(0, kTraceCategory, "%s %u", "Z4MatchDBKeystoXFD", t);
        for (uint32_t c = 0; c < key_columns(key_); ++c) {
            const int64_t j = find(t, column_name(key_, c));
            if (j < 0)
                return false;
            table_->columns[j].flags |= DB_COLUMN_SET_ASIDE;
        }
    }
    return true;
}

// The numbers of a description, one after the other.
class Numbers {
 public:
    explicit Numbers(const char *text) : values_(Zcds_new(text)) {}
    explicit operator bool() const { return static_cast<bool>(values_); }
    int32_t next() { return Zcds_get_int_value(values_.get(), next_++); }

 private:
    OwnedHandle values_;
    uint32_t next_ = 0;
};

// A key as the program declares it.
struct DeclaredKey {
    int32_t n_segments;
    bool has_duplicates;
    uint32_t length[XFD_MAX_SEGMENTS];
    uint32_t offset[XFD_MAX_SEGMENTS];

    // With a number of segments that no key has, nothing behind it is read.
    explicit DeclaredKey(Numbers &numbers) {
        n_segments = numbers.next();
        has_duplicates = numbers.next() != 0;
        if (n_segments > XFD_MAX_SEGMENTS)
            n_segments = kNoKey;
        for (int32_t s = 0; s < n_segments; ++s) {
            length[s] = static_cast<uint32_t>(numbers.next());
            offset[s] = static_cast<uint32_t>(numbers.next());
        }
    }
    bool is_a_key() const { return n_segments >= 0; }
    bool agrees(const XfdKey *key) const {
        if (key == nullptr || key->k_seg_count != n_segments ||
            (key->k_duplicates != 0) != has_duplicates)
            return false;
        for (int32_t s = 0; s < n_segments; ++s) {
            if (key->k_seg_length[s] != length[s] || key->k_seg_offset[s] != offset[s])
                return false;
        }
        return true;
    }

 private:
    static constexpr int32_t kNoKey = -1;
};

// Which keys of an Xfd have been found in the other description.
class MatchedKeys {
 public:
    bool has(uint32_t key) const { return (bits_[key / 8] & bit(key)) != 0; }
    void add(uint32_t key) { bits_[key / 8] |= bit(key); }

 private:
    static uint8_t bit(uint32_t key) { return static_cast<uint8_t>(1U << key % 8); }
    uint8_t bits_[(kMaxKeys + 1) / 8] = {};
};

int compare_keys(const Xfd *xfd, Numbers &numbers) {
    const uint32_t n_keys = xfd->x_n_keys;
    if (!DeclaredKey(numbers).agrees(key_at(xfd, 0)))
        return Z4_FD_KEYS_DIFFER;

    // Keys in front of `first_free` are matched, the primary one from the start; so
    // keys in the same order are found without a search.
    MatchedKeys matched;
    uint32_t first_free = 1;
    for (uint32_t i = 1; i < n_keys; ++i) {
        const DeclaredKey declared(numbers);
        uint32_t k = declared.is_a_key() ? first_free : n_keys;
        while (k < n_keys && (matched.has(k) || !declared.agrees(key_at(xfd, k))))
            ++k;
        if (k == n_keys)
            return Z4_FD_KEYS_DIFFER + static_cast<int>(n_keys);
        matched.add(k);
        while (first_free < n_keys && matched.has(first_free))
            ++first_free;
    }
    return first_free < n_keys ? Z4_FD_KEYS_DIFFER + static_cast<int>(first_free) : Z4_FD_AGREES;
}

// Z4_FD_AGREES when sizes and number of keys do.
int compare_sizes(const Xfd *xfd, const char *file_info) {
    Numbers numbers(file_info);
    if (!numbers || static_cast<uint32_t>(numbers.next()) != xfd->x_max_rec_size)
        return Z4_FD_MAX_SIZE_DIFFERS;
    if (static_cast<uint32_t>(numbers.next()) != xfd->x_min_rec_size)
        return Z4_FD_MIN_SIZE_DIFFERS;
    return numbers.next() == xfd->x_n_keys ? Z4_FD_AGREES : Z4_FD_KEY_COUNT_DIFFERS;
}

}  // namespace
}  // namespace fsi

int Z4FindColumn(DbTableInfo *table, const char *name) {
    using namespace fsi;
    if (f_trace != 0)
        ZTrace(1, kTraceCategory, "%s, '%s'", "Z4FindColumn", name != nullptr ? name : "");
    const uint32_t count = table != nullptr && name != nullptr ? column_count(table) : 0;
    for (uint32_t j = 0; j < count; ++j) {
        const DbColumnInfo &column = table->columns[j];
        if (bounded_view(column.db_name, sizeof column.db_name) == name)
            return leave(static_cast<int>(j));
    }
    return leave(-1);
}

int Z4MatchDBColstoXFD(Xfd *xfd, DbTableInfo *table) {
    using namespace fsi;
    const XfdKey *primary = key_at(xfd, 0);
    const uint32_t copies =
        primary != nullptr ? uint32_t{table->table_count} * primary->k_n_fields : 0;
    const uint32_t available = table->column_count - table->extra_columns - copies;
    if (f_trace != 0)
        ZTrace(1, kTraceCategory, "%s (%u vs. %u)", "Z4MatchDBColstoXFD", available,
               xfd->x_n_total_fields);
    if (!counts_agree(xfd, available))
        return leave(0);

    if (const XfdField *lonely = FieldMatch(xfd, table).link_all()) {
        if (f_trace != 0)
            ZTrace(-1, kTraceCategory, "%s, %s", "Z4MatchDBColstoXFD", lonely->fd_name);
        return 0;
    }
    for (uint32_t j = 0; j < column_count(table); ++j) {
        if (table->columns[j].field_num == kNoField)
            table->columns[j].flags |= DB_COLUMN_SET_ASIDE;
    }
    return leave(1);
}

int Z4MatchDBKeystoXFD(Xfd *xfd, DbTableInfo *table, unsigned key) {
    using namespace fsi;
    if (f_trace != 0)
        ZTrace(1, kTraceCategory, "%s, %d", "Z4MatchDBKeystoXFD", static_cast<int>(key));
    const XfdKey *wanted = key_at(xfd, key);
    return leave(wanted != nullptr && index_agrees(wanted, table) &&
                 KeyCopies(wanted, table).set_aside());
}

int Z4MatchFDInfotoXFD(Xfd *xfd, const char *file_info, const char *key_info) {
    using namespace fsi;
    const int sizes = compare_sizes(xfd, file_info);
    if (sizes != Z4_FD_AGREES || xfd->x_n_keys == 0)
        return sizes;
    Numbers numbers(key_info);
    return numbers ? compare_keys(xfd, numbers) : Z4_FD_MAX_SIZE_DIFFERS;
}
