// SPDX-License-Identifier: MIT
//
// How every call of the database layer ends: a kind that a program can decide
// on, and a text that a person can act on.  No call throws for bad input or a
// database's refusal.
#ifndef SQL_STATUS_H
#define SQL_STATUS_H

#include <cstdint>
#include <memory>
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

// Kind and text of one outcome.  One that is ok costs a null pointer, so that
// calls made for every record can return it.
class [[nodiscard]] Status {
 public:
    Status() = default;
    Status(ErrorKind kind, std::string text)
        : error_(std::make_shared<const Error>(Error{kind, std::move(text), 0, 0})) {}

    // A refusal of a database: its own error number, and the file error of COBOL
    // (1 to 18, include/wbfsi/errmap.h) that it stands for.
    Status(ErrorKind kind, std::string text, int32_t native_code, int32_t file_error)
        : error_(std::make_shared<const Error>(
              Error{kind, std::move(text), native_code, file_error})) {}

    [[nodiscard]] bool ok() const { return error_ == nullptr; }
    [[nodiscard]] ErrorKind kind() const { return ok() ? ErrorKind::kOk : error_->kind; }
    // One line without a newline at its end; empty when ok().
    [[nodiscard]] std::string text() const { return ok() ? std::string() : error_->text; }

    // 0 unless a database refused.
    [[nodiscard]] int32_t native_code() const { return ok() ? 0 : error_->native_code; }
    [[nodiscard]] int32_t file_error() const { return ok() ? 0 : error_->file_error; }

    // The same kind with `where` and ": " in front of the text.
    [[nodiscard]] Status within(const std::string &where) const {
        return ok() ? *this
                    : Status(error_->kind, where + ": " + error_->text, error_->native_code,
                             error_->file_error);
    }

 private:
    struct Error {
        ErrorKind kind;
        std::string text;
        int32_t native_code = 0;
        int32_t file_error = 0;
    };
    std::shared_ptr<const Error> error_;
};

}  // namespace sql

#endif
