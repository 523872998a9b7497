// SPDX-License-Identifier: MIT
//
// A dictionary written down in a test, without files and without the library.
#ifndef TESTS_SQL_XFD_BUILDER_H
#define TESTS_SQL_XFD_BUILDER_H

#include <cstdint>
#include <cstring>
#include <deque>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "wbfsi/records.h"

namespace sql_test {

struct FieldRow {
    const char *name;
    uint32_t offset;
    uint32_t size;
    uint16_t type;
    uint8_t digits = 0;
    int8_t scale = 0;
};

struct KeyRow {
    bool has_duplicates;
    std::vector<std::pair<uint32_t, uint16_t>> segments;  // offset, length
};

// A record-type condition: a comparison (or "other") of a field with a value, or
// two conditions combined.
struct ConditionRow {
    int16_t type;  // XFD_COND_EQ ...
    const char *field = "";
    const char *value = "";
    int16_t num1 = -1;
    int16_t num2 = -1;
};

class XfdBuilder {
 public:
    XfdBuilder(const std::string &table, uint32_t max_record, uint16_t file_type = XFD_INDEXED) {
        copy(xfd_.x_select_name, sizeof xfd_.x_select_name, table);
        copy(xfd_.x_table_name, sizeof xfd_.x_table_name, table);
        xfd_.x_max_rec_size = xfd_.x_min_rec_size = max_record;
        xfd_.x_file_type = file_type;
        xfd_.x_identity_field = -1;
        settings_ = {0, 40, 25, 11, '.', ',', 0};
    }

    XfdBuilder &field(const FieldRow &row) {
        XfdField field{};
        copy(field.fd_name, sizeof field.fd_name, row.name);
        field.fd_offset = row.offset;
        field.fd_argument = {0, row.size, row.type, row.digits, row.scale, 0};
        field.fd_db_col_num = -1;
        fields_.push_back(field);
        return *this;
    }
    XfdBuilder &fields(std::initializer_list<FieldRow> rows) {
        for (const FieldRow &row : rows) {
            field(row);
        }
        return *this;
    }
    XfdBuilder &key(const KeyRow &row) {
        XfdKey key{};
        key.k_duplicates = row.has_duplicates ? 1 : 0;
        key.k_seg_count = static_cast<uint16_t>(row.segments.size());
        for (size_t i = 0; i < row.segments.size() && i < XFD_MAX_SEGMENTS; i++) {
            key.k_seg_offset[i] = row.segments[i].first;
            key.k_seg_length[i] = row.segments[i].second;
        }
        keys_.push_back(key);
        return *this;
    }
    // Numbered from 1 in the order of the calls; its field is there already.
    XfdBuilder &condition(const ConditionRow &row) {
        XfdCondition condition{};
        condition.c_type = row.type;
        copy(condition.c_variable, sizeof condition.c_variable, row.field);
        copy(condition.c_value, sizeof condition.c_value, row.value);
        condition.c_num1 = row.num1;
        condition.c_num2 = row.num2;
        for (size_t i = 0; i < fields_.size(); i++) {
            if (std::strcmp(fields_[i].fd_name, condition.c_variable) == 0) {
                condition.c_field_num = static_cast<int16_t>(i);
            }
        }
        conditions_.push_back(condition);
        return *this;
    }
    // Of the last field.
    XfdBuilder &under(uint16_t condition) {
        fields_.back().fd_cond_num = condition;
        return *this;
    }
    XfdBuilder &date(const char *format) {
        fields_.back().fd_user_type = 1;
        copy(fields_.back().fd_format, sizeof fields_.back().fd_format, format);
        return *this;
    }
    XfdBuilder &null_value(const char *text) {
        null_values_.emplace_back(text);
        fields_.back().fd_null_value = null_values_.back().data();
        return *this;
    }
    XfdBuilder &min_record(uint32_t size) {
        xfd_.x_min_rec_size = size;
        return *this;
    }

    // The last field, key and the settings, for what the rows do not say.
    XfdField &last_field() { return fields_.back(); }
    XfdKey &last_key() { return keys_.back(); }
    XfdCvtInfo &settings() { return settings_; }
    Xfd &xfd() { return xfd_; }

    // The dictionary; good until the builder changes or goes.
    const Xfd &build() {
        xfd_.x_cvt_info = &settings_;
        xfd_.x_fdesc = fields_.data();
        xfd_.x_n_fields = xfd_.x_n_total_fields = xfd_.x_n_fields_alloc =
            static_cast<uint32_t>(fields_.size());
        xfd_.x_condition = conditions_.data();
        xfd_.x_n_conditions = xfd_.x_n_conditions_alloc = static_cast<uint16_t>(conditions_.size());
        xfd_.x_key_desc = keys_.data();
        xfd_.x_n_keys = xfd_.x_n_keys_alloc = static_cast<uint16_t>(keys_.size());
        return xfd_;
    }

 private:
    static void copy(char *dest, size_t size, const std::string &text) {
        std::strncpy(dest, text.c_str(), size - 1);
        dest[size - 1] = '\0';
    }

    Xfd xfd_{};
    XfdCvtInfo settings_{};
    std::vector<XfdField> fields_;
    std::vector<XfdKey> keys_;
    std::vector<XfdCondition> conditions_;
    std::deque<std::string> null_values_;  // of fields, which point to them
};

}  // namespace sql_test

#endif
