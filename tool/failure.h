// SPDX-License-Identifier: MIT
//
// The exit statuses of the tool, and the one exception that ends a command with a
// message.
#ifndef TOOL_FAILURE_H
#define TOOL_FAILURE_H

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

}  // namespace tool

#endif
