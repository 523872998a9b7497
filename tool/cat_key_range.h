// SPDX-License-Identifier: MIT
//
// A range of key values, given as text, in the order of the key's bytes: the order
// in which a program reads an indexed file along that key.
#ifndef TOOL_CAT_KEY_RANGE_H
#define TOOL_CAT_KEY_RANGE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "sql/record_codec.h"
#include "sql/table_layout.h"

namespace tool {

class KeyRange {
 public:
    // `text` is FROM..TO, both included, either of them empty for no bound, or one
    // value alone.  Each bound has values for the key's columns, separated by commas;
    // columns left out at its end are not compared.  A value that holds a comma,
    // two points or a double quote stands between double quotes, the quote doubled.
    // Throws Failure.
    //   key  index in TableLayout::keys
    KeyRange(const sql::TableLayout &layout, size_t key, const std::string &text);

    [[nodiscard]] bool contains(sql::Bytes record);

 private:
    using KeyBytes = std::vector<unsigned char>;

    std::vector<size_t> columns_of(const Xfd &dictionary) const;
    KeyBytes bound(const std::vector<std::string> &values) const;

    sql::TableLayout layout_;  // its fields without conditions
    size_t key_;
    std::string text_;
    sql::RecordCodec codec_;
    std::vector<size_t> columns_;  // of the key, in TableLayout::fields
    KeyBytes from_;                // as many bytes as are compared, perhaps none
    KeyBytes to_;
    KeyBytes of_record_;
};

}  // namespace tool

#endif
