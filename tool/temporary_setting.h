// SPDX-License-Identifier: MIT
//
// A configuration variable with another value for a while.
#ifndef TOOL_TEMPORARY_SETTING_H
#define TOOL_TEMPORARY_SETTING_H

#include <optional>
#include <string>

namespace tool {

class TemporarySetting {
 public:
    // Gives the variable the value, null for its default.  Throws Failure when it
    // does not fit.
    TemporarySetting(const char *name, const char *value);
    ~TemporarySetting();
    TemporarySetting(const TemporarySetting &) = delete;
    TemporarySetting &operator=(const TemporarySetting &) = delete;

 private:
    const char *name_;
    std::optional<std::string> before_;
};

}  // namespace tool

#endif
