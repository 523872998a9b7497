// SPDX-License-Identifier: MIT
//
// The document that a command reads: a file, a pipe, the standard input.  The library
// always reads it as the standard input, which becomes the document, so that no name
// of a file is ever taken for something else, and what is wrong with a document can be
// told with its place wherever it comes from.
//
// A regular file is read by the library itself, and checked beside it or, after an
// error, from its start.  Anything else goes through a thread that checks it on its
// way.
#ifndef TOOL_XML_SOURCE_H
#define TOOL_XML_SOURCE_H

#include <atomic>
#include <cstdint>
#include <exception>
#include <string>
#include <thread>

#include "tool/failure.h"
#include "tool/xml_check.h"

namespace tool {

// A failure with a line of the document to show below it.
class XmlFailure : public Failure {
 public:
    XmlFailure(const std::string &text, std::string excerpt)
        : Failure(text), excerpt_(std::move(excerpt)) {}
    const std::string &excerpt() const { return excerpt_; }

 private:
    std::string excerpt_;
};

class XmlSource {
 public:
    enum class Reading {
        kAlone,    // a regular file is checked after an error alone
        kChecked,  // in a thread beside the library, which leaves out what stands behind
                   // the top element of records, and passes over references
    };

    // Opens the document, "-" for the standard input.  One at a time.  Throws Failure.
    XmlSource(const std::string &path, Reading reading, XmlCheck::Outside outside);
    // Gives up what is still being checked.
    ~XmlSource();
    XmlSource(const XmlSource &) = delete;
    XmlSource &operator=(const XmlSource &) = delete;

    // As it is called in messages.
    const std::string &name() const { return name_; }

    // The library is done, and found no fault.  Throws XmlFailure for one in what it
    // did not read or passed over.
    void finish();

    // The library has failed; its error state says how.  Throws XmlFailure or Failure.
    [[noreturn]] void fail();

 private:
    void open_input(const std::string &path);
    void start_thread();
    void run() noexcept;
    void check_all();
    size_t read_some(char *buffer, size_t size);
    bool wait_for_input();
    void hand_on(const char *bytes, size_t size);
    void close_pipe();
    void join();
    void throw_what_was_found() const;

    std::string name_;
    XmlCheck check_;
    int input_ = -1;
    int pipe_ = -1;  // to the library; -1 when it reads the input itself
    bool is_regular_ = false;
    int64_t offset_ = 0;  // of a regular file: where checking goes on
    int read_error_ = 0;  // an errno
    std::exception_ptr exception_;
    std::atomic<bool> is_given_up_ = false;
    std::thread thread_;
};

}  // namespace tool

#endif
