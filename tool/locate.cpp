// SPDX-License-Identifier: MIT
//
// wbfsi locate: the search for a dictionary, as the library itself tells it in its
// trace while it loads the file.

#include <CLI/CLI.hpp>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/config.h"
#include "host/errors.h"
#include "host/messages.h"
#include "host/names.h"
#include "tool/columns.h"
#include "tool/command.h"
#include "tool/failure.h"
#include "tool/session.h"

namespace tool {

namespace {

struct Attempt {
    std::string path;
    bool too_long = false;
};

// Collects the attempts from the trace for as long as it lives.
class TraceListener {
 public:
    TraceListener() : level_before_(f_trace) {
        ZOutputRedirect(1, receive, this);
        if (f_trace == 0) {
            f_trace = 1;
        }
    }
    ~TraceListener() {
        f_trace = level_before_;
        ZOutputRedirect(1, nullptr, nullptr);
    }
    TraceListener(const TraceListener &) = delete;
    TraceListener &operator=(const TraceListener &) = delete;

    const std::vector<Attempt> &attempts() const { return attempts_; }

 private:
    static void receive(const char *text, size_t n, void *user) {
        static_cast<TraceListener *>(user)->add({text, n});
    }

    // A path may hold any byte, a quote or a newline too: it ends at the last quote
    // of the trace line.
    void add(std::string_view line) {
        constexpr std::string_view kAttempt = "Attempting to open XFD file '";
        constexpr std::string_view kTooLong = "Filename too long: ";
        if (const size_t at = line.find(kAttempt); at != std::string_view::npos) {
            const std::string_view rest = line.substr(at + kAttempt.size());
            attempts_.push_back({std::string(rest.substr(0, rest.rfind('\''))), false});
        } else if (const size_t at_long = line.find(kTooLong); at_long != std::string_view::npos) {
            const std::string_view rest = line.substr(at_long + kTooLong.size());
            attempts_.push_back({std::string(rest.substr(0, rest.rfind('>') + 1)), true});
        }
    }

    int16_t level_before_;
    std::vector<Attempt> attempts_;
};

// The three spellings of the base name that the library looks for, in its order,
// and what the name map makes of each.
void print_names(const std::string &name) {
    constexpr size_t kMaxPath = 260;
    std::cout << "name      " << printable(name.c_str()) << '\n';
    const std::string base = Zbasename(name.c_str());
    std::string before;
    bool first = true;
    for (const int mode : {4, 0, 6}) {
        char spelling[kMaxPath] = {};
        strncpy(spelling, base.c_str(), kMaxPath - 1);
        stdz_name(spelling, -3, mode);
        if (mode != 4 && before == spelling) {
            continue;
        }
        before = spelling;
        char mapped[kMaxPath] = {};
        Z4GetXFDName(mapped, spelling);
        std::cout << (first ? "name map  " : "          ") << printable(spelling)
                  << (strcmp(spelling, mapped) == 0 ? ": as it is"
                                                    : " becomes " + printable(mapped))
                  << '\n';
        first = false;
    }
}

int locate(const std::string &name) {
    Dictionary xfd;
    std::vector<Attempt> attempts;
    {
        const TraceListener listener;
        xfd = try_load_dictionary(name, 0);
        attempts = listener.attempts();
    }
    const bool is_missing =
        xfd == nullptr && *Zstdlib_f_errno() == 19 && *Zstdlib_f_int_errno() == 3;
    const char *message = *Zstdlib_f_errmsg();
    const std::string error = message != nullptr ? message : "out of memory";

    print_names(name);
    const char *label = "tried     ";
    for (size_t i = 0; i < attempts.size(); i++) {
        const bool is_taken = !is_missing && i + 1 == attempts.size();
        std::cout << (is_taken ? "taken     " : label) << printable(attempts[i].path.c_str())
                  << (is_taken               ? ""
                      : attempts[i].too_long ? ": too long"
                                             : ": not opened")
                  << '\n';
        label = "          ";
    }
    if (is_missing) {
        const char *prefix = ZCGetValueString("XFD_PREFIX");
        const char *directory = ZCGetValueString("XFD_DIRECTORY");
        throw Failure(name + ": no dictionary was found; XFD_PREFIX is " +
                          (prefix != nullptr ? "\"" + printable(prefix) + "\"" : "not set") +
                          ", XFD_DIRECTORY is " +
                          (directory != nullptr ? "\"" + printable(directory) + "\"" : "not set"),
                      kDifferent);
    }
    if (xfd == nullptr) {
        throw Failure(name + ": " + printable(error.c_str()));
    }
    return kDone;
}

}  // namespace

Action declare_locate(CLI::App &app) {
    const auto name = std::make_shared<std::string>();
    app.add_option("NAME", *name, "Name of the COBOL file")->required();
    return [name] { return locate(*name); };
}

}  // namespace tool
