// SPDX-License-Identifier: MIT
//
// Files that one command reads and writes at once must not be the same file.
#ifndef TOOL_PATHS_H
#define TOOL_PATHS_H

#include <string>

namespace tool {

// Throws Failure when `written` names the file that `kept` names; empty names are
// no files.
void refuse_same_file(const std::string &kept, const std::string &written);

// Whether the standard output goes to the file.
bool is_standard_output(const std::string &file);

// The file of a database URL; empty for a database without one.
std::string file_of_database(const std::string &url);

}  // namespace tool

#endif
