// SPDX-License-Identifier: MIT
//
// How every call of the database layer ends: a kind that a program can decide
// on, and a text that a person can act on.  No call throws for bad input or a
// database's refusal.
#ifndef SQL_STATUS_H
#define SQL_STATUS_H

#include <cstdint>
#include <string>
#include <utility>

namespace sql {

enum class ErrorKind : uint8_t {
    kOk,
    kDuplicate,      // a unique key has this value already
    kConstraint,     // another rule of the table
    kNotADatabase,   // the file is something else
    kCorrupt,        // a database, but damaged
    kCannotOpen,     // no such file or folder, no permission to open
    kReadOnly,       // opened, but writing is not allowed
    kDiskFull,       // no room for data, journal or temporary files
    kBusy,           // another connection holds the lock
    kNoMemory,       // memory was refused
    kIoError,        // the disk failed
    kTableExists,    // the table to create is there already
    kNoSuchTable,    // the table to read is not there
    kMismatch,       // the table does not have the columns of the dictionary
    kBadDictionary,  // a dictionary that cannot become a table
    kBadRecord,      // a record or a value that cannot be stored as asked
    kInterrupted,    // Connection::interrupt
    kUsage,          // a malformed URL, a call out of order
    kInternal,       // SQL that the database refuses though this layer wrote it
};

// Kind and text of one outcome.  Cheap to return when all is well.
class [[nodiscard]] Status {
 public:
    Status() = default;
    Status(ErrorKind kind, std::string text) : kind_(kind), text_(std::move(text)) {}

    [[nodiscard]] bool ok() const { return kind_ == ErrorKind::kOk; }
    [[nodiscard]] ErrorKind kind() const { return kind_; }
    // One line without a newline at its end; empty when ok().
    [[nodiscard]] const std::string &text() const { return text_; }

    // The same kind with `where` and ": " in front of the text.
    [[nodiscard]] Status within(const std::string &where) const {
        return ok() ? *this : Status(kind_, where + ": " + text_);
    }

 private:
    ErrorKind kind_ = ErrorKind::kOk;
    std::string text_;
};

}  // namespace sql

#endif
