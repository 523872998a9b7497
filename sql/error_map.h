// SPDX-License-Identifier: MIT
//
// Which file error of COBOL an error number of a database stands for, as the map
// that is shipped for the database says.  docs/formats/error-map.md tells where the
// map is found and how a site gives its own.
#ifndef SQL_ERROR_MAP_H
#define SQL_ERROR_MAP_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "wbfsi/errmap.h"

namespace sql {

// What stands for an error that no map knows.
inline constexpr int32_t kSysError = 1;  // E_SYS_ERROR

class ErrorMap {
 public:
    // The sections of `database` ("sqlite") in its map, in their order.  A map that is
    // not there, or not readable, knows no error.
    static ErrorMap of(std::string_view database);

    // The same from a file.
    static ErrorMap read(const std::string &path, std::string_view database);

    // The file error of the first entry with that number that names one; 0: there is
    // none.
    [[nodiscard]] int32_t find(int32_t native) const;

 private:
    std::vector<ErrorMapEntry> entries_;  // by number, each once
};

// Where the map of a database is: what WBFSI_ERROR_MAP names, else
// ../share/wbfsi/NAME.errmap beside the folder of the running program.  Empty where
// the program's own place is not known.
std::string error_map_path(std::string_view database);

// "E_DUPLICATE" for 7; empty for a number that is no file error.
std::string_view file_error_name(int32_t file_error);

}  // namespace sql

#endif
