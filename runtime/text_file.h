// SPDX-License-Identifier: MIT
//
// The host's own small text files: all of a file in memory, line by line.
#ifndef RUNTIME_TEXT_FILE_H
#define RUNTIME_TEXT_FILE_H

#include <stddef.h>

namespace host {

class TextFile {
 public:
    TextFile() = default;
    ~TextFile();
    TextFile(const TextFile &) = delete;
    TextFile &operator=(const TextFile &) = delete;

    // False with the error state set: a file that cannot be read, that is larger
    // than 4 MB or holds a zero byte, no memory.  The message begins with what.
    bool read(const char *path, const char *what);

    // The next line that says something, without blanks around it; null at the
    // end.  Empty lines and those that begin with "#" say nothing.  A caller may
    // write into a line; one that has not may rewind.
    char *next_line();
    void rewind() { next_ = 0; }

    // Of the line returned last, until the first rewind.
    unsigned line_number() const { return line_number_; }
    unsigned lines() const;

    // The caller keeps the block that holds the lines.
    char *release();

 private:
    char *text_ = nullptr;
    size_t size_ = 0;
    size_t next_ = 0;
    unsigned line_number_ = 0;
};

}  // namespace host

#endif
