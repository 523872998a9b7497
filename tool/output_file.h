// SPDX-License-Identifier: MIT
//
// A file written in large blocks that appears under its name only when it is
// complete: it grows as a temporary file beside it and is renamed at the end.
#ifndef TOOL_OUTPUT_FILE_H
#define TOOL_OUTPUT_FILE_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

namespace tool {

class OutputFile {
 public:
    // Starts a file; `path` stays as it is until commit().  A path that names
    // something other than a regular file (a pipe, a terminal) is written
    // directly.  Throws Failure.
    explicit OutputFile(const std::string &path);
    // Without commit(): removes the temporary file.
    ~OutputFile();
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;

    void write(const void *bytes, size_t size) {
        if (size <= kBlockBytes - filled_) {
            memcpy(buffer_.get() + filled_, bytes, size);
            filled_ += size;
        } else {
            write_slowly(bytes, size);
        }
    }
    void fill(unsigned char byte, size_t count);

    // Goes on at another offset.  What is passed over reads as zeros.
    void seek(uint64_t offset);
    uint64_t position() const { return flushed_ + filled_; }

    // Hands what is buffered to the operating system.
    void flush();

    // Writes everything to the disk and gives the file its name.  When only that
    // last step fails, the failure names the temporary file, which then stays.
    void commit();
    const std::string &path() const { return path_; }

 private:
    static constexpr size_t kBlockBytes = size_t{1} << 20;

    void write_slowly(const void *bytes, size_t size);
    void write_out(const unsigned char *bytes, size_t size);
    [[noreturn]] void fail(const char *what, int error) const;

    std::string path_;
    std::string target_;     // path_ with symbolic links followed
    std::string temporary_;  // empty when the target is written directly
    int descriptor_ = -1;
    std::unique_ptr<unsigned char[]> buffer_;
    size_t filled_ = 0;
    uint64_t flushed_ = 0;  // offset of the buffer in the file
};

}  // namespace tool

#endif
