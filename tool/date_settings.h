// SPDX-License-Identifier: MIT
//
// Which configuration variables a date conversion hangs on.
#ifndef TOOL_DATE_SETTINGS_H
#define TOOL_DATE_SETTINGS_H

#include <functional>
#include <string>
#include <vector>

namespace tool {

struct DateSetting {
    std::string name;
    std::string value;  // in force
    std::string other;  // a value with which the result is another
    std::string result;
};

// Runs `convert`, which tells its result as a text, under other values of each
// variable that a date conversion reads, and returns those of which the result
// `actual` depends.  The variables have their values again afterwards.
std::vector<DateSetting> settings_that_matter(const std::function<std::string()> &convert,
                                              const std::string &actual);

}  // namespace tool

#endif
