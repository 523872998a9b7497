// SPDX-License-Identifier: MIT
//
// A file read forwards in large blocks through one bounded buffer.
#ifndef TOOL_INPUT_FILE_H
#define TOOL_INPUT_FILE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace tool {

class InputFile {
 public:
    // Opens the file; `largest_need` is the most that need() will be asked for.
    // Throws Failure.
    InputFile(const std::string &path, size_t largest_need);
    ~InputFile();
    InputFile(const InputFile &) = delete;
    InputFile &operator=(const InputFile &) = delete;

    // Sees to it that `bytes` bytes, or all that are left, lie at data(); returns
    // how many do, possibly more than asked for.  Throws Failure on a read error.
    size_t need(size_t bytes) {
        const size_t ready = static_cast<size_t>(end_ - data_);
        return ready >= bytes ? ready : refill(bytes);
    }
    const unsigned char *data() const { return data_; }
    void skip(size_t bytes) { data_ += bytes; }

    // Offset of data() in the file.
    uint64_t position() const { return read_ - static_cast<uint64_t>(end_ - data_); }
    // Bytes of the file when it was opened, 0 for what is no regular file.
    uint64_t size() const { return size_; }
    bool is_regular() const { return is_regular_; }
    const std::string &path() const { return path_; }
    void rewind();

 private:
    size_t refill(size_t bytes);

    std::string path_;
    int descriptor_;
    size_t capacity_;
    std::unique_ptr<unsigned char[]> buffer_;
    const unsigned char *data_;
    const unsigned char *end_;
    uint64_t read_ = 0;  // bytes taken from the file
    uint64_t size_ = 0;
    bool is_regular_ = false;
};

}  // namespace tool

#endif
