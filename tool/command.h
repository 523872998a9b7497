// SPDX-License-Identifier: MIT
//
// What every command of the tool shares: its row in the table of main.cpp, the
// exit statuses, and the one exception that ends a command with a message.
#ifndef TOOL_COMMAND_H
#define TOOL_COMMAND_H

#include <CLI/CLI.hpp>
#include <functional>
#include <stdexcept>
#include <string>

namespace tool {

enum ExitStatus {
    kDone = 0,
    kDifferent = 1,  // differences, or not found
    kFatal = 2,      // usage or fatal error
    kRejected = 3,   // done, but some records were rejected
};

// Ends the command.  The text says where (file, record, byte), what was wrong and
// what would be right; main prints it behind "wbfsi COMMAND: ".
class Failure : public std::runtime_error {
 public:
    explicit Failure(const std::string &text, ExitStatus status = kFatal)
        : std::runtime_error(text), status_(status) {}
    ExitStatus status() const { return status_; }

 private:
    ExitStatus status_;
};

// What a command does once its options are parsed; returns the exit status.
using Action = std::function<int()>;

// Declares the command's arguments and options on `app` and returns its action,
// which owns what they were parsed into.  The action runs after the library has
// started and before it is shut down.
using Declare = Action (*)(CLI::App &app);

Action declare_show(CLI::App &app);
Action declare_locate(CLI::App &app);
Action declare_ddl(CLI::App &app);
Action declare_load(CLI::App &app);
Action declare_unload(CLI::App &app);

}  // namespace tool

#endif
