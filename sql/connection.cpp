// SPDX-License-Identifier: MIT
#include "sql/connection.h"

#include <algorithm>
#include <array>

#include "sql/sqlite/sqlite_connection.h"

namespace sql {
namespace {

struct Scheme {
    std::string_view prefix;
    Status (*open)(const std::string &name, const OpenOptions &, std::unique_ptr<Connection> *);
};

constexpr std::array kSchemes{Scheme{"sqlite:", open_sqlite}};

}  // namespace

Status Connection::table_columns(std::string_view table, std::vector<std::string> *out) {
    TableDescription description;
    Status status = describe_table(table, &description);
    out->clear();
    for (TableDescription::Column &column : description.columns) {
        out->push_back(std::move(column.name));
    }
    return status;
}

Status open_connection(const std::string &url, const OpenOptions &options,
                       std::unique_ptr<Connection> *out) {
    for (const Scheme &scheme : kSchemes) {
        if (url.starts_with(scheme.prefix)) {
            const std::string name = url.substr(scheme.prefix.size());
            if (name.empty() || name.find('\0') != std::string::npos) {
                return {ErrorKind::kUsage,
                        "\"" + url + "\" names no database; a database is sqlite:FILE"};
            }
            return scheme.open(name, options, out);
        }
    }
    return {ErrorKind::kUsage, "\"" + url + "\" is no database; a database is sqlite:FILE"};
}

}  // namespace sql
