// SPDX-License-Identifier: MIT
#include "tool/session.h"

#include <CLI/CLI.hpp>

#include "host/config.h"
#include "host/errors.h"
#include "tool/failure.h"

namespace tool {

namespace {

std::string host_message() {
    const char *text = *Zstdlib_f_errmsg();
    return text != nullptr ? text : "";
}

// A variable that nobody declared answers with whatever the caller offers.
bool is_declared(const std::string &name) {
    return ZCGetValueLong(name.c_str(), 1) != 1 || ZCGetValueLong(name.c_str(), 2) != 2;
}

void assign(const std::string &assignment) {
    const size_t equals = assignment.find('=');
    if (equals == std::string::npos || equals == 0) {
        throw Failure("--set " + assignment + ": has no name and \"=\"; NAME=VALUE would be right");
    }
    const std::string name = assignment.substr(0, equals);
    if (!is_declared(name)) {
        throw Failure("--set " + assignment + ": there is no configuration variable " + name +
                      "; wbfsi(1) lists them");
    }
    if (ZCSetValueString(name.c_str(), assignment.substr(equals + 1).c_str()) == 0) {
        throw Failure("--set " + assignment + ": " + host_message());
    }
}

// XFD_DIRECTORY counts only while XFD_PREFIX, which may come from the environment,
// is not set; where it is, the directory takes its place.
void look_only_in(const std::string &directory) {
    const bool has_prefix = ZCGetValueString("XFD_PREFIX") != nullptr;
    if (has_prefix && directory.find('"') != std::string::npos) {
        throw Failure("--xfd-directory " + directory +
                      ": XFD_PREFIX is set and cannot hold a double quote; without it the "
                      "directory would be right");
    }
    const int done = has_prefix ? ZCSetValueString("XFD_PREFIX", ('"' + directory + '"').c_str())
                                : ZCSetValueString("XFD_DIRECTORY", directory.c_str());
    if (done == 0) {
        throw Failure("--xfd-directory " + directory + ": " + host_message());
    }
}

}  // namespace

void Settings::declare(CLI::App &app) {
    app.add_option("--set", assignments_, "Set a configuration variable (repeatable)")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false)
        ->group("Configuration");
    app.add_option("--config", config_file_,
                   "Read configuration variables from FILE, one NAME=VALUE a line")
        ->type_name("FILE")
        ->group("Configuration");
    app.add_option("--xfd-directory", xfd_directory_, "Look for the dictionary in DIRECTORY alone")
        ->type_name("DIRECTORY")
        ->group("Configuration");
}

void Settings::apply() const {
    if (!config_file_.empty() && ZCLoadFile(config_file_.c_str()) == 0) {
        const std::string message = host_message();
        throw Failure("--config " + config_file_ + ": " +
                      (message.empty() ? "the file cannot be read" : message));
    }
    for (const std::string &assignment : assignments_) {
        assign(assignment);
    }
    if (!xfd_directory_.empty()) {
        look_only_in(xfd_directory_);
    }
}

Session::Session() {
    fsi_init_cfg();
    Z4Init();
}

Session::~Session() {
    Z4Exit();
}

Dictionary try_load_dictionary(const std::string &name, uint32_t flags) {
    return Dictionary(Z4ParseXFD(name.c_str(), flags, kMaxColumnName));
}

Dictionary load_dictionary(const std::string &name, uint32_t flags) {
    Dictionary xfd = try_load_dictionary(name, flags);
    if (xfd == nullptr) {
        std::string text = name + ": ";
        const std::string message = host_message();
        if (!message.empty()) {
            text += message;
        } else {
            text += *Zstdlib_f_errno() == 14 ? "out of memory" : "the dictionary cannot be loaded";
        }
        const bool not_found = *Zstdlib_f_errno() == 19 && *Zstdlib_f_int_errno() == 3;
        if (not_found) {
            text += "; \"wbfsi locate " + name +
                    "\" shows the files that were tried, --xfd-directory and XFD_PREFIX say where "
                    "to look";
        }
        throw Failure(text, not_found ? kDifferent : kFatal);
    }
    return xfd;
}

int64_t cut_short_at(const Xfd &xfd) {
    for (uint32_t i = 0; i < xfd.x_n_total_fields && i < xfd.x_n_fields_alloc; i++) {
        if (xfd.x_fdesc[i].fd_name[0] == '\0') {
            return i;
        }
    }
    return -1;
}

}  // namespace tool
