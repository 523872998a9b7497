// SPDX-License-Identifier: MIT
#include "tool/input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <cstring>

#include "tool/failure.h"
#include "tool/interrupt.h"

namespace tool {

namespace {

constexpr size_t kBlockBytes = size_t{1} << 20;

[[noreturn]] void fail(const std::string &path, const char *what, int error) {
    throw Failure(path + ": " + what + ": " + strerror(error));
}

}  // namespace

InputFile::InputFile(const std::string &path, size_t largest_need)
    : path_(path),
      descriptor_(open(path.c_str(), O_RDONLY | O_CLOEXEC)),
      capacity_(std::max(kBlockBytes, largest_need)) {
    if (descriptor_ < 0) {
        fail(path, "cannot be opened", errno);
    }
    struct stat status;
    if (fstat(descriptor_, &status) != 0 || S_ISDIR(status.st_mode)) {
        close(descriptor_);
        fail(path, "cannot be read", EISDIR);
    }
    is_regular_ = S_ISREG(status.st_mode);
    size_ = is_regular_ ? static_cast<uint64_t>(status.st_size) : 0;
    posix_fadvise(descriptor_, 0, 0, POSIX_FADV_SEQUENTIAL);
    buffer_ = std::make_unique_for_overwrite<unsigned char[]>(capacity_);
    data_ = end_ = buffer_.get();
}

InputFile::~InputFile() {
    close(descriptor_);
}

void InputFile::rewind() {
    if (lseek(descriptor_, 0, SEEK_SET) != 0) {
        fail(path_, "cannot be read from its start again", errno);
    }
    data_ = end_ = buffer_.get();
    read_ = 0;
}

// Moves what is left to the front, then fills the buffer as far as the file goes.
size_t InputFile::refill(size_t bytes) {
    assert(bytes <= capacity_);
    size_t ready = static_cast<size_t>(end_ - data_);
    memmove(buffer_.get(), data_, ready);
    data_ = buffer_.get();
    while (ready < bytes) {
        InterruptGuard::check();
        const ssize_t n = read(descriptor_, buffer_.get() + ready, capacity_ - ready);
        if (n < 0 && errno == EINTR) {
            continue;  // to the check: a pipe may have nothing to give for ever
        }
        if (n < 0) {
            fail(path_, "cannot be read", errno);
        }
        if (n == 0) {
            break;
        }
        ready += static_cast<size_t>(n);
        read_ += static_cast<uint64_t>(n);
    }
    end_ = data_ + ready;
    return ready;
}

}  // namespace tool
