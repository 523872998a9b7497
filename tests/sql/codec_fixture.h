// SPDX-License-Identifier: MIT
//
// What the tests of the codec share: a layout made from a dictionary field by
// field, without the rules of table_layout, and records that go both ways.
#ifndef TESTS_SQL_CODEC_FIXTURE_H
#define TESTS_SQL_CODEC_FIXTURE_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "sql/field_types.h"
#include "sql/record_codec.h"
#include "sql/record_text.h"
#include "tests/sql/xfd_builder.h"
#include "wbfsi/build.h"
#include "wbfsi/dates.h"

namespace sql_test {

inline std::string shown(const sql::Value &value) {
    switch (value.kind()) {
        case sql::Value::Kind::kInteger:
            return std::to_string(value.as_integer());
        case sql::Value::Kind::kReal: {
            char text[40];
            std::snprintf(text, sizeof text, "%.17g", value.as_real());
            return text;
        }
        case sql::Value::Kind::kText:
            return std::string(1, '\'').append(value.as_text()).append(1, '\'');
        case sql::Value::Kind::kBlob: {
            std::string text(1, 'x');
            for (const unsigned char byte : value.as_blob()) {
                char digits[3];
                std::snprintf(digits, sizeof digits, "%02X", byte);
                text.append(digits, 2);
            }
            return text;
        }
        case sql::Value::Kind::kAbsent:
            return "absent";
        default:
            return "null";
    }
}

inline const char *name_of(sql::FieldState state) {
    constexpr const char *kNames[] = {"",    "null value", "absent",     "behind end", "spaces",
                                      "low", "high",       "bad number", "bad date",   "bad text"};
    return kNames[static_cast<size_t>(state)];
}

inline sql::ColumnType column_type(const XfdField &field) {
    const sql::FieldShape shape = sql::shape_of(field.fd_argument);
    if (field.fd_user_type == 1) {
        const bool has_time = Z4HaveTimeInfo(&field) != 0;
        return Z4HaveDateInfo(&field) == 0 ? sql::ColumnType::kTime
               : has_time                  ? sql::ColumnType::kTimestamp
                                           : sql::ColumnType::kDate;
    }
    if (shape.is_number) {
        return sql::is_integer(shape) ? sql::ColumnType::kInteger : sql::ColumnType::kDecimal;
    }
    return shape.storage == sql::Storage::kFloat   ? sql::ColumnType::kReal
           : shape.storage == sql::Storage::kBytes ? sql::ColumnType::kBlob
                                                   : sql::ColumnType::kText;
}

// Every field of the dictionary, in its order; keys without columns.
inline sql::TableLayout plain_layout(XfdBuilder &builder, int code_page = 28591) {
    const Xfd &xfd = builder.build();
    sql::TableLayout layout;
    layout.table = xfd.x_table_name;
    layout.file_type = xfd.x_file_type;
    layout.max_record = xfd.x_max_rec_size;
    layout.min_record = xfd.x_min_rec_size;
    layout.settings = *xfd.x_cvt_info;
    layout.code_page = code_page;
    layout.dictionary.reset(Z4CopyXFD(&xfd), Z4XFDFree);
    EXPECT_NE(layout.dictionary, nullptr);
    for (uint32_t i = 0; i < xfd.x_n_total_fields; i++) {
        const XfdField &from = xfd.x_fdesc[i];
        sql::Field field;
        field.name = from.fd_name;
        field.slot = i;
        field.offset = from.fd_offset;
        field.data = from.fd_argument;
        field.condition = from.fd_cond_num;
        field.type = column_type(from);
        if (from.fd_user_type == 1) {
            field.decimals = static_cast<uint8_t>(
                std::count(std::begin(from.fd_format), std::end(from.fd_format), 'T'));
        }
        layout.fields.push_back(field);
    }
    layout.field_count = layout.fields.size();
    for (uint16_t k = 0; k < xfd.x_n_keys; k++) {
        sql::Key key;
        for (uint16_t s = 0; s < xfd.x_key_desc[k].k_seg_count; s++) {
            key.segments.push_back(
                {xfd.x_key_desc[k].k_seg_offset[s], xfd.x_key_desc[k].k_seg_length[s]});
        }
        layout.keys.push_back(key);
    }
    return layout;
}

// A codec with room for one record.
class OneRecord {
 public:
    explicit OneRecord(const sql::TableLayout &layout)
        : codec(layout),
          values(codec.value_count()),
          states(codec.value_count()),
          texts_(codec.text_capacity()),
          image_(layout.max_record) {}
    explicit OneRecord(XfdBuilder &builder) : OneRecord(plain_layout(builder)) {}

    // All values, each followed by its state where it is not ordinary, and " kept" where
    // they do not give the record again.
    std::string decode(std::string_view bytes) {
        record = bytes;
        const auto *data = reinterpret_cast<const unsigned char *>(record.data());
        decoded = codec.decode({data, record.size()}, values, texts_, states);
        std::string out;
        for (size_t i = 0; i < values.size(); i++) {
            out.append(i == 0 ? "" : ", ").append(shown(values[i]));
            if (states[i] != sql::FieldState::kOrdinary) {
                out.append(" (").append(name_of(states[i])).append(")");
            }
        }
        return out.append(decoded.is_exact ? "" : " kept");
    }
    // The bytes of a row, or why there are none.
    std::string encode(const std::vector<sql::Value> &row) {
        size_t length = 0;
        const sql::Status status = codec.encode(row, image_, &length);
        return status.ok() ? as_text(length) : status.text();
    }
    std::string encode_over(std::string_view exact, const std::vector<sql::Value> &row) {
        size_t length = 0;
        const auto *data = reinterpret_cast<const unsigned char *>(exact.data());
        const sql::Status status = codec.encode_over({data, exact.size()}, row, image_, &length);
        return status.ok() ? as_text(length) : status.text();
    }
    // What comes back of a record that a table has taken.
    std::string round_trip(std::string_view bytes) {
        decode(bytes);
        return decoded.is_exact ? encode(values) : encode_over(record, values);
    }

    sql::RecordCodec codec;
    std::vector<sql::Value> values;
    std::vector<sql::FieldState> states;
    sql::DecodedRecord decoded;
    std::string record;  // what the values may point into

 private:
    [[nodiscard]] std::string as_text(size_t length) const {
        return {reinterpret_cast<const char *>(image_.data()), length};
    }

    std::vector<char> texts_;
    std::vector<unsigned char> image_;
};

}  // namespace sql_test

#endif
