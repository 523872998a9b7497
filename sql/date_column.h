// SPDX-License-Identifier: MIT
//
// Which column a date field becomes, by its date format (wbfsi/dates.h tells the
// letters).
#ifndef SQL_DATE_COLUMN_H
#define SQL_DATE_COLUMN_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "sql/table_layout.h"
#include "wbfsi/records.h"

namespace sql {

// The format that counts: the field's own or, where that is empty, the one that
// its storage stands for; empty when there is none.
std::string date_format_of(const XfdField &field);

struct DateColumn {
    ColumnType type = ColumnType::kDate;  // kDate, kTime, kTimestamp
    uint8_t decimals = 0;                 // of the seconds
};

// Nothing for a field that stays the number or text that it is in the record: no
// date, or one whose format tells neither date nor time or is none.
std::optional<DateColumn> date_column_of(const XfdField &field);

// Whether a field of that format has the digits of the column's text, in their
// order: only then do its dates sort by their digits.
bool sorts_by_digits(std::string_view date_format, const DateColumn &column);

}  // namespace sql

#endif
