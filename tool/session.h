// SPDX-License-Identifier: MIT
//
// The library as the tool uses it: start and end, configuration from the command
// line, and dictionaries that release themselves.
#ifndef TOOL_SESSION_H
#define TOOL_SESSION_H

#include <memory>
#include <string>
#include <vector>

#include "wbfsi/wbfsi.h"

namespace CLI {
class App;
}

namespace tool {

// Longest column name that the tool lets the library compose.
constexpr int kMaxColumnName = 30;

// The configuration options that every command has.
class Settings {
 public:
    void declare(CLI::App &app);

    // Hands everything to the library's configuration: the file first, then the
    // values in the order of the command line.  Throws Failure for a file that
    // cannot be read, a value that does not fit and a name that nobody knows.
    void apply() const;

 private:
    std::vector<std::string> assignments_;
    std::string config_file_;
    std::string xfd_directory_;
};

// The library between its start and its end.
class Session {
 public:
    Session();
    ~Session();
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;
};

struct XfdRelease {
    void operator()(Xfd *xfd) const { Z4XFDFree(xfd); }
};
using Dictionary = std::unique_ptr<Xfd, XfdRelease>;

// Loads the dictionary of the COBOL file `name`; `flags` are those of Z4ParseXFD.
// Throws Failure with the library's message when there is none or it is malformed.
Dictionary load_dictionary(const std::string &name, uint32_t flags);

// The same, null instead of an exception.
Dictionary try_load_dictionary(const std::string &name, uint32_t flags);

// The 0-based slot of the first field that could not be built, or -1.  The text
// reader ends quietly at such a field, so the dictionary is only a part of itself.
int64_t cut_short_at(const Xfd &xfd);

}  // namespace tool

#endif
