// SPDX-License-Identifier: MIT
#include "tool/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <limits>

#include "tool/failure.h"
#include "tool/interrupt.h"

namespace tool {

namespace {

std::string without_links(const std::string &path) {
    char *resolved = realpath(path.c_str(), nullptr);
    if (resolved == nullptr) {
        return path;  // not there yet, or about to fail at open
    }
    std::string result = resolved;
    free(resolved);
    return result;
}

mode_t mode_of_new_files() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

}  // namespace

OutputFile::OutputFile(const std::string &path)
    : path_(path),
      target_(without_links(path)),
      buffer_(std::make_unique_for_overwrite<unsigned char[]>(kBlockBytes)) {
    struct stat status;
    const bool exists = stat(target_.c_str(), &status) == 0;
    if (exists && S_ISDIR(status.st_mode)) {
        fail("cannot be written", EISDIR);
    }
    if (exists && !S_ISREG(status.st_mode)) {
        descriptor_ = open(target_.c_str(), O_WRONLY | O_CLOEXEC);
        if (descriptor_ < 0) {
            fail("cannot be opened for writing", errno);
        }
        return;
    }
    std::string pattern = target_ + ".XXXXXX";
    descriptor_ = mkostemp(pattern.data(), O_CLOEXEC);
    if (descriptor_ < 0) {
        fail("no temporary file can be made beside it", errno);
    }
    temporary_ = pattern;
    // A mode that cannot be set leaves the file with its owner alone.
    if (fchmod(descriptor_, exists ? status.st_mode & 07777 : mode_of_new_files()) != 0) {
        errno = 0;
    }
}

OutputFile::~OutputFile() {
    if (descriptor_ >= 0) {
        close(descriptor_);
    }
    if (!temporary_.empty()) {
        unlink(temporary_.c_str());
    }
}

void OutputFile::fail(const char *what, int error) const {
    throw Failure(path_ + ": " + what + ": " + strerror(error));
}

void OutputFile::write_out(const unsigned char *bytes, size_t size) {
    while (size > 0) {
        const ssize_t n = ::write(descriptor_, bytes, size);
        if (n < 0 && errno == EINTR) {
            // A pipe may take nothing for ever.
            InterruptGuard::check("the output is not complete");
            continue;
        }
        if (n < 0) {
            fail("cannot be written", errno);
        }
        bytes += n;
        size -= static_cast<size_t>(n);
        flushed_ += static_cast<uint64_t>(n);
    }
}

void OutputFile::flush() {
    const size_t size = filled_;
    filled_ = 0;
    write_out(buffer_.get(), size);
}

void OutputFile::write_slowly(const void *bytes, size_t size) {
    flush();
    if (size > kBlockBytes) {
        write_out(static_cast<const unsigned char *>(bytes), size);
    } else {
        memcpy(buffer_.get(), bytes, size);
        filled_ = size;
    }
}

void OutputFile::fill(unsigned char byte, size_t count) {
    while (count > 0) {
        if (filled_ == kBlockBytes) {
            flush();
        }
        const size_t part = std::min(count, kBlockBytes - filled_);
        memset(buffer_.get() + filled_, byte, part);
        filled_ += part;
        count -= part;
    }
}

void OutputFile::seek(uint64_t offset) {
    flush();
    if (offset > static_cast<uint64_t>(std::numeric_limits<off_t>::max()) ||
        lseek(descriptor_, static_cast<off_t>(offset), SEEK_SET) < 0) {
        fail("cannot be written at that offset", offset > INT64_MAX ? EFBIG : errno);
    }
    flushed_ = offset;
}

void OutputFile::commit() {
    flush();
    if (temporary_.empty()) {
        return;
    }
    const bool on_disk = fsync(descriptor_) == 0;
    const bool closed = close(descriptor_) == 0;
    descriptor_ = -1;
    if (!on_disk || !closed || rename(temporary_.c_str(), target_.c_str()) != 0) {
        const int error = errno;
        const std::string what = "is complete in " + temporary_ + " but cannot take its name";
        temporary_.clear();
        fail(what.c_str(), error);
    }
    temporary_.clear();
}

}  // namespace tool
