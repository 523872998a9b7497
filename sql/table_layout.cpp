// SPDX-License-Identifier: MIT
//
// Which table a dictionary becomes.  docs/formats/table-layout.md has the rules
// for readers.
#include "sql/table_layout.h"

#include <algorithm>
#include <optional>
#include <set>
#include <utility>

#include "host/charset.h"
#include "host/config.h"
#include "sql/child_table_maker.h"
#include "sql/date_column.h"
#include "sql/field_types.h"
#include "sql/record_text.h"
#include "sql/table_settings.h"
#include "wbfsi/build.h"

namespace sql {
namespace {

// The least of what the databases take; SQLite's default.
constexpr size_t kMaxColumns = 2000;
// Keys whose columns may stand for their bytes; DecodedRecord has a bit for each.
constexpr size_t kMaxColumnKeys = 32;
// Level of the field that a loader adds behind a relative record for its number.
constexpr uint16_t kRelativeKeyLevel = 999;

Status bad_dictionary(const std::string &text) {
    return {ErrorKind::kBadDictionary, text};
}

bool is_ascii(std::string_view name) {
    return std::ranges::all_of(name, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// A name of the dictionary in UTF-8.
std::string name_in_utf8(std::string_view name) {
    if (is_ascii(name)) {
        return std::string(name);
    }
    std::string out(name.size() * 4, '\0');
    const int32_t size = ZCOBOLCharSetToUTF8(name.data(), static_cast<int32_t>(name.size()),
                                             out.data(), static_cast<int32_t>(out.size()));
    out.resize(std::clamp<size_t>(static_cast<size_t>(std::max(size, 0)), 0, out.size()));
    return out;
}

class LayoutMaker {
 public:
    LayoutMaker(const Xfd &xfd, const LayoutOptions &options) : xfd_(xfd), options_(options) {}

    Status make(TableLayout *out) {
        for (const auto step : {&LayoutMaker::name_table, &LayoutMaker::add_fields,
                                &LayoutMaker::add_keys, &LayoutMaker::add_other_columns,
                                &LayoutMaker::add_children, &LayoutMaker::name_views}) {
            if (Status status = (this->*step)(); !status.ok()) {
                return status.within("dictionary of \"" + name_in_utf8(xfd_.x_select_name) + "\"");
            }
        }
        *out = std::move(layout_);
        return {};
    }

 private:
    Status name_table();
    Status add_fields();
    Status add_field(const XfdField &field);
    Status check_field(const XfdField &field, const std::string &quoted);
    void describe(const XfdField &field, Column *column, Field *item) const;
    Status add_child_field(const XfdField &field, const Column &column, Field item);
    Status add_keys();
    Status add_other_columns();
    Status add_children();
    Status name_views();
    std::string free_name(const std::string &wanted);
    std::string free_relation(const std::string &wanted);
    bool cover(const Key &key, size_t segment, uint32_t at, std::vector<size_t> *columns);
    [[nodiscard]] bool sorts_as_bytes(const Field &field) const;
    [[nodiscard]] bool has_relative_key_field() const;

    const Xfd &xfd_;
    const LayoutOptions &options_;
    TableLayout layout_;
    std::set<std::string> names_;      // of the table's columns, folded
    std::set<std::string> relations_;  // of tables, indexes and views, folded
    ChildTableMaker children_;
    std::optional<CodePage> code_page_;
    size_t cover_steps_ = 0;
    uint32_t field_bytes_ = 0;
};

bool LayoutMaker::has_relative_key_field() const {
    if (xfd_.x_file_type != XFD_RELATIVE || xfd_.x_n_total_fields == 0 ||
        xfd_.x_n_total_fields > xfd_.x_n_fields_alloc) {
        return false;
    }
    const XfdField &last = xfd_.x_fdesc[xfd_.x_n_total_fields - 1];
    return last.fd_level == kRelativeKeyLevel && last.fd_name[0] != '\0' &&
           last.fd_argument.a_size <= xfd_.x_max_rec_size &&
           last.fd_offset == xfd_.x_max_rec_size - last.fd_argument.a_size;
}

Status LayoutMaker::name_table() {
    const char *name = xfd_.x_table_name[0] != '\0' ? xfd_.x_table_name : xfd_.x_select_name;
    layout_.table = name_in_utf8(name);
    if (layout_.table.empty()) {
        return bad_dictionary("it names neither a table nor a file");
    }
    if (folded(layout_.table) == kSettingsTable) {
        return bad_dictionary("its table has the name under which settings are kept, " +
                              std::string(kSettingsTable) + "; give it another");
    }
    layout_.file_type = xfd_.x_file_type;
    layout_.max_record = xfd_.x_max_rec_size;
    layout_.min_record = std::min(xfd_.x_min_rec_size, xfd_.x_max_rec_size);
    constexpr uint32_t kMaxRecord = 64U << 20;
    if (layout_.max_record == 0 || layout_.max_record > kMaxRecord) {
        return bad_dictionary("its record size is " + std::to_string(layout_.max_record) +
                              " bytes; 1 to " + std::to_string(kMaxRecord) + " are possible");
    }
    layout_.settings =
        xfd_.x_cvt_info != nullptr ? *xfd_.x_cvt_info : XfdCvtInfo{0, 40, 25, 11, '.', ',', 0};
    layout_.code_page = code_page_of_encoding(layout_.settings.cv_encoding, ZGetCOBOLCharSet());
    code_page_.emplace(layout_.code_page);
    const int illegal_data = ZCGetValueTinyint("4GL_ILLEGAL_DATA", 0);
    layout_.illegal_data = illegal_data >= 0 && illegal_data <= 3
                               ? static_cast<IllegalData>(illegal_data)
                               : IllegalData::kUnchanged;
    if (xfd_.x_n_keys > xfd_.x_n_keys_alloc || (xfd_.x_n_keys > 0 && xfd_.x_key_desc == nullptr)) {
        return bad_dictionary("it is cut short: it has " + std::to_string(xfd_.x_n_keys_alloc) +
                              " of its " + std::to_string(xfd_.x_n_keys) + " keys");
    }
    layout_.dictionary.reset(Z4CopyXFD(&xfd_), Z4XFDFree);
    if (layout_.dictionary == nullptr) {
        return {ErrorKind::kNoMemory, "it cannot be copied: no memory, or its file type " +
                                          std::to_string(xfd_.x_file_type) +
                                          " is none of 4, 5, 8 and 12"};
    }
    return {};
}

Status LayoutMaker::add_fields() {
    uint32_t wanted = xfd_.x_n_total_fields;
    if (has_relative_key_field()) {
        // The record number column takes its place.
        const uint32_t size = xfd_.x_fdesc[wanted - 1].fd_argument.a_size;
        layout_.max_record -= size;
        layout_.min_record = std::min(layout_.min_record, layout_.max_record);
        wanted--;
    }
    uint32_t found = 0;
    for (uint32_t slot = 0; found < wanted; slot++) {
        if (slot >= xfd_.x_n_fields_alloc || xfd_.x_fdesc[slot].fd_name[0] == '\0') {
            return bad_dictionary("it is cut short: field " + std::to_string(found + 1) + " of " +
                                  std::to_string(wanted) +
                                  " could not be read; correct that field in the dictionary file");
        }
        // Group items that only the listed view shows have no column.
        if (xfd_.x_fdesc[slot].fd_cond_num == XFD_LISTED_ONLY) {
            continue;
        }
        if (Status status = add_field(xfd_.x_fdesc[slot]); !status.ok()) {
            return status;
        }
        found++;
    }
    layout_.field_count = layout_.columns.size();
    if (found == 0) {
        return bad_dictionary("it has no fields");
    }
    return {};
}

Status LayoutMaker::check_field(const XfdField &field, const std::string &quoted) {
    const ZArgument &data = field.fd_argument;
    if (field.fd_offset > layout_.max_record ||
        data.a_size > layout_.max_record - field.fd_offset) {
        return bad_dictionary(quoted + " is " + std::to_string(data.a_size) + " bytes at offset " +
                              std::to_string(field.fd_offset) + ", outside the record of " +
                              std::to_string(layout_.max_record) + " bytes");
    }
    if (field.fd_cond_num > xfd_.x_n_conditions) {
        return bad_dictionary(quoted + " exists under condition " +
                              std::to_string(field.fd_cond_num) + " of " +
                              std::to_string(xfd_.x_n_conditions));
    }
    if (field.fd_occurs_depth > XFD_MAX_OCCURS) {
        return bad_dictionary(quoted + " has " + std::to_string(field.fd_occurs_depth) +
                              " subscripts; " + std::to_string(XFD_MAX_OCCURS) + " are possible");
    }
    // Fields may redefine each other; all of them together stay within memory.
    constexpr uint32_t kMaxFieldBytes = 64U << 20;
    if (data.a_size > kMaxFieldBytes - field_bytes_) {
        return bad_dictionary("its fields take more than " + std::to_string(kMaxFieldBytes) +
                              " bytes");
    }
    field_bytes_ += data.a_size;
    return {};
}

// What a column and a field are of, whatever table they are in.
void LayoutMaker::describe(const XfdField &field, Column *column, Field *item) const {
    const ZArgument &data = field.fd_argument;
    const FieldShape shape = shape_of(data);
    if (const std::optional<DateColumn> date = date_column_of(field)) {
        column->type = date->type;
        column->decimals = date->decimals;
    } else if (shape.is_number) {
        column->type = is_integer(shape) ? ColumnType::kInteger : ColumnType::kDecimal;
        column->decimals = shape.scale < 0 ? static_cast<uint32_t>(-shape.scale) : 0;
        const uint32_t zeros = shape.scale > 0 ? static_cast<uint32_t>(shape.scale) : 0;
        column->digits = std::max(shape.digits + zeros, std::max(column->decimals, 1U));
    } else if (shape.storage == Storage::kFloat) {
        column->type = ColumnType::kReal;
    } else if (shape.storage == Storage::kBytes) {
        column->type = ColumnType::kBlob;
    } else {
        const bool is_national =
            shape.storage == Storage::kNational || shape.storage == Storage::kNationalRight;
        column->characters = std::max(is_national ? data.a_size / 2 : data.a_size, 1U);
    }
    column->is_hidden = (field.fd_flags & XFD_FIELD_HIDDEN) != 0;
    column->is_read_only = (field.fd_flags & XFD_FIELD_READ_ONLY) != 0;
    column->is_identity = (field.fd_flags & XFD_FIELD_IDENTITY) != 0;
    item->name = column->name;
    item->slot = static_cast<uint32_t>(&field - xfd_.x_fdesc);
    item->offset = field.fd_offset;
    item->data = data;
    item->data.a_address = 0;
    item->condition = field.fd_cond_num;
    item->type = column->type;
    if (is_date(column->type)) {
        item->decimals = static_cast<uint8_t>(column->decimals);
    }
}

Status LayoutMaker::add_field(const XfdField &field) {
    Column column;
    column.name = name_in_utf8(field.fd_name);
    if (Status status = check_field(field, "field \"" + column.name + "\""); !status.ok()) {
        return status;
    }
    Field item;
    describe(field, &column, &item);
    if (field.fd_subtable[0] != '\0' || (field.fd_flags & XFD_FIELD_IN_SECONDARY_TABLE) != 0) {
        return add_child_field(field, column, std::move(item));
    }
    if (!names_.insert(folded(column.name)).second) {
        return bad_dictionary("two fields make the column \"" + column.name +
                              "\"; give one of them another name");
    }
    if (layout_.columns.size() == kMaxColumns) {
        return bad_dictionary("it has more than " + std::to_string(kMaxColumns) + " fields");
    }
    layout_.fields.push_back(std::move(item));
    layout_.columns.push_back(std::move(column));
    return {};
}

Status LayoutMaker::add_child_field(const XfdField &field, const Column &column, Field item) {
    if (field.fd_subtable[0] == '\0') {
        return children_.add({}, {}, column, std::move(item));
    }
    const std::span<const uint16_t> subscripts(field.fd_occurs_index, field.fd_occurs_depth);
    item.name += shown_subscripts(subscripts);
    return children_.add(name_in_utf8(field.fd_subtable), subscripts, column, std::move(item));
}

bool LayoutMaker::sorts_as_bytes(const Field &field) const {
    const FieldShape shape = shape_of(field.data);
    if (is_date(field.type) &&
        (shape.scale != 0 || !sorts_by_digits(date_format_of(xfd_.x_fdesc[field.slot]),
                                              {field.type, field.decimals}))) {
        return false;
    }
    if (shape.is_number) {
        return is_integer(shape) && sorts_by_bytes(shape, layout_.settings);
    }
    return shape.storage == Storage::kText && code_page_->is_ascii();
}

// Fields that lie one behind the other from `at` to the end of the segments,
// found by trying: where items redefine each other there may be several rows of
// them, and not each gets to the end.
bool LayoutMaker::cover(const Key &key, size_t segment, uint32_t at, std::vector<size_t> *columns) {
    constexpr size_t kMaxSteps = 100000;
    const KeySegment &wanted = key.segments[segment];
    if (at == wanted.offset + wanted.length) {
        return segment + 1 == key.segments.size() ||
               cover(key, segment + 1, key.segments[segment + 1].offset, columns);
    }
    for (size_t i = 0; i < layout_.field_count; i++) {
        const Field &field = layout_.fields[i];
        if (++cover_steps_ > kMaxSteps) {
            return false;
        }
        const uint32_t size = field.data.a_size;
        if (field.offset != at || size == 0 || size > wanted.offset + wanted.length - at ||
            !sorts_as_bytes(field) || std::ranges::find(*columns, i) != columns->end()) {
            continue;
        }
        columns->push_back(i);
        if (cover(key, segment, at + size, columns)) {
            return true;
        }
        columns->pop_back();
    }
    return false;
}

Status LayoutMaker::add_keys() {
    // A relative file's key is its record number; other keys of one that has
    // the number as a field are that field.
    if (has_relative_key_field()) {
        return {};
    }
    for (size_t k = 0; k < xfd_.x_n_keys; k++) {
        const XfdKey &from = xfd_.x_key_desc[k];
        const std::string quoted = "key " + std::to_string(k + 1);
        Key key;
        key.unique = from.k_duplicates == 0;
        key.index_name = layout_.table + "_key_" + std::to_string(k + 1);
        if (from.k_seg_count < 1 || from.k_seg_count > XFD_MAX_SEGMENTS) {
            return bad_dictionary(quoted + " has " + std::to_string(from.k_seg_count) +
                                  " segments; 1 to " + std::to_string(XFD_MAX_SEGMENTS) +
                                  " are possible");
        }
        for (size_t s = 0; s < from.k_seg_count; s++) {
            const KeySegment segment{from.k_seg_offset[s], from.k_seg_length[s]};
            if (segment.length == 0 || segment.offset > layout_.max_record ||
                segment.length > layout_.max_record - segment.offset) {
                return bad_dictionary(quoted + ": segment " + std::to_string(s + 1) + " is " +
                                      std::to_string(segment.length) + " bytes at offset " +
                                      std::to_string(segment.offset) + ", outside the record of " +
                                      std::to_string(layout_.max_record) + " bytes");
            }
            key.segments.push_back(segment);
        }
        cover_steps_ = 0;
        if (k >= kMaxColumnKeys || !cover(key, 0, key.segments[0].offset, &key.columns)) {
            key.columns.clear();
        }
        layout_.keys.push_back(std::move(key));
    }
    return {};
}

// `wanted`, or that with the first number behind it that makes it a new name.
std::string LayoutMaker::free_name(const std::string &wanted) {
    std::string name = wanted;
    for (size_t n = 2; !names_.insert(folded(name)).second; n++) {
        name = wanted + "_" + std::to_string(n);
    }
    return name;
}

// The same for what the schema of the database has: tables, indexes, views.
std::string LayoutMaker::free_relation(const std::string &wanted) {
    std::string name = wanted;
    for (size_t n = 2; !relations_.insert(folded(name)).second; n++) {
        name = wanted + "_" + std::to_string(n);
    }
    return name;
}

Status LayoutMaker::add_other_columns() {
    const bool is_indexed = layout_.file_type == XFD_INDEXED;
    // Rows of child tables need a number that stays.
    if (!is_indexed || !children_.empty()) {
        Column column;
        column.name = free_name(is_indexed ? "row_number" : "record_number");
        column.role = ColumnRole::kRecordNumber;
        column.type = ColumnType::kInteger;
        column.digits = 18;
        layout_.record_number = layout_.columns.size();
        layout_.columns.push_back(std::move(column));
    } else if (!layout_.keys.empty() && layout_.keys[0].unique &&
               layout_.keys[0].columns.size() == 1) {
        layout_.columns[layout_.keys[0].columns[0]].is_sole_primary_key = true;
    }
    for (size_t k = 0; k < layout_.keys.size(); k++) {
        Column column;
        column.name = free_name("key_" + std::to_string(k + 1) + "_bytes");
        column.role = ColumnRole::kKeyBytes;
        column.type = ColumnType::kBlob;
        column.key = k;
        layout_.keys[k].bytes_column = layout_.columns.size();
        layout_.columns.push_back(std::move(column));
    }
    if (options_.keep_exact) {
        Column column;
        column.name = free_name("exact_record");
        column.role = ColumnRole::kExactRecord;
        column.type = ColumnType::kBlob;
        layout_.exact_record = layout_.columns.size();
        layout_.columns.push_back(std::move(column));
    }
    if (layout_.record_number == TableLayout::kNone && layout_.has_column("rowid") &&
        layout_.has_column("_rowid_") && layout_.has_column("oid")) {
        return bad_dictionary(
            "its fields take the names \"rowid\", \"_rowid_\" and \"oid\", by which a row is "
            "found; give one of them another name");
    }
    if (layout_.columns.size() > kMaxColumns) {
        return bad_dictionary("its table would have " + std::to_string(layout_.columns.size()) +
                              " columns; " + std::to_string(kMaxColumns) + " are possible");
    }
    return {};
}

// Tables that the dictionary names keep their names; those of this layer give way.
Status LayoutMaker::add_children() {
    relations_.insert({folded(layout_.table), kSettingsTable});
    for (const Key &key : layout_.keys) {
        relations_.insert(folded(key.index_name));
        relations_.insert(folded(key.index_name + "_bytes"));
    }
    if (children_.empty()) {
        return {};
    }
    const std::string &number = layout_.columns[layout_.record_number].name;
    if (Status status = children_.finish(number, &layout_); !status.ok()) {
        return status;
    }
    for (const ChildTable &child : layout_.children) {
        if (!child.name.empty() && !relations_.insert(folded(child.name)).second) {
            return bad_dictionary(
                "its sub-table \"" + child.name +
                "\" has the name of another table or of an index; give it another");
        }
    }
    const auto secondary =
        std::ranges::find_if(layout_.children, &std::string::empty, &ChildTable::name);
    if (secondary != layout_.children.end()) {
        secondary->name = free_relation(layout_.table + "_secondary");
    }
    return {};
}

Status LayoutMaker::name_views() {
    const auto is_hidden = [](const std::vector<Column> &columns) {
        return std::ranges::any_of(columns, &Column::is_hidden);
    };
    const bool is_hidden_in_child =
        std::ranges::any_of(layout_.children, is_hidden, &ChildTable::columns);
    const auto fields = std::span(layout_.columns).first(layout_.field_count);
    if (ZCGetValueBool("4GL_USE_VIEWS", 1) == 0 ||
        (!is_hidden(layout_.columns) && !is_hidden_in_child)) {
        return {};
    }
    if (!std::ranges::all_of(fields, &Column::is_hidden)) {
        layout_.view = free_relation(layout_.table + "_view");
    }
    for (ChildTable &child : layout_.children) {
        if (is_hidden(child.columns)) {
            child.view = free_relation(child.name + "_view");
        }
    }
    return {};
}

}  // namespace

bool TableLayout::has_column(std::string_view name) const {
    return std::ranges::any_of(
        columns, [&](const Column &column) { return folded(column.name) == folded(name); });
}

Status make_layout(const Xfd &xfd, const LayoutOptions &options, TableLayout *out) {
    return LayoutMaker(xfd, options).make(out);
}

}  // namespace sql
