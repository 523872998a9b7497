// SPDX-License-Identifier: MIT
//
// The settings that a table was loaded under, kept beside it: those that decide
// which values stand for which bytes.  Reading the table under others would bring
// other records back without a word.
#ifndef SQL_TABLE_SETTINGS_H
#define SQL_TABLE_SETTINGS_H

#include <string>
#include <vector>

#include "sql/connection.h"
#include "sql/status.h"
#include "sql/table_layout.h"

namespace sql {

// The table that holds them, for all tables of a database: table_name, name, value.
inline constexpr const char *kSettingsTable = "wbfsi_settings";

// Writes the settings of now in place of what the database has for the table;
// within the caller's transaction.
Status keep_settings(Connection &connection, const TableLayout &layout);

// One line for each setting that is another one now than when the table was loaded,
// saying both.  None for a table that was not loaded, or by a release that kept no
// settings.
Status changed_settings(Connection &connection, const TableLayout &layout,
                        std::vector<std::string> *changes);

}  // namespace sql

#endif
