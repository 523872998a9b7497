// SPDX-License-Identifier: MIT
#include "sql/date_column.h"

#include <algorithm>
#include <cstring>

#include "host/data.h"
#include "wbfsi/dateformat.h"
#include "wbfsi/dates.h"

namespace sql {
namespace {

constexpr uint16_t kDateUserType = 1;
constexpr size_t kMaxFormat = 20;
constexpr size_t kMaxSecondDecimals = 6;  // microseconds

struct DefaultFormat {
    uint16_t type;
    const char *format;
};
constexpr DefaultFormat kDefaultFormats[] = {{6, "YYMMDD"}, {8, "YYYYMMDD"}};

}  // namespace

std::string date_format_of(const XfdField &field) {
    std::string own(field.fd_format, strnlen(field.fd_format, sizeof field.fd_format));
    if (!own.empty()) {
        return own;
    }
    const auto *const found =
        std::ranges::find(kDefaultFormats, field.fd_argument.a_type, &DefaultFormat::type);
    return found != std::end(kDefaultFormats) ? found->format : "";
}

std::optional<DateColumn> date_column_of(const XfdField &field) {
    const std::string format = date_format_of(field);
    if (field.fd_user_type != kDateUserType || format.empty() || format.size() > kMaxFormat ||
        Z4ValidDateFormat(format.c_str()) == 0) {
        return std::nullopt;
    }
    const bool has_date = Z4HaveDateInfo(&field) != 0;
    const bool has_time = Z4HaveTimeInfo(&field) != 0;
    if (!has_date && !has_time) {
        return std::nullopt;
    }
    const auto decimals = static_cast<size_t>(std::ranges::count(format, 'T'));
    return DateColumn{!has_time   ? ColumnType::kDate
                      : !has_date ? ColumnType::kTime
                                  : ColumnType::kTimestamp,
                      static_cast<uint8_t>(std::min(decimals, kMaxSecondDecimals))};
}

bool sorts_by_digits(std::string_view date_format, const DateColumn &column) {
    std::string digits = column.type == ColumnType::kTime ? "" : "YYYYMMDD";
    if (column.type != ColumnType::kDate) {
        digits.append("HHNNSS").append(column.decimals, 'T');
    }
    return date_format == digits;
}

}  // namespace sql
