// SPDX-License-Identifier: MIT
//
// What verify found, for a person and as JSON.
#ifndef TOOL_VERIFY_REPORT_H
#define TOOL_VERIFY_REPORT_H

#include <ostream>
#include <string>

#include "sql/table_layout.h"
#include "tool/verify_fields.h"
#include "tool/verify_table.h"

namespace tool {

struct VerifyReport {
    const std::string &data_file;
    const std::string &database;  // URL; empty when no table was looked at
    const sql::TableLayout &layout;
    const FieldVerifier &fields;
    const TableVerifier *table;  // null when no table was looked at
    bool has_types;              // the dictionary has conditions
};

void print_verify_text(std::ostream &out, const VerifyReport &report);
void print_verify_json(std::ostream &out, const VerifyReport &report);

}  // namespace tool

#endif
