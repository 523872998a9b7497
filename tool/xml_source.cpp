// SPDX-License-Identifier: MIT
#include "tool/xml_source.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <memory>

#include "host/errors.h"
#include "tool/interrupt.h"

namespace tool {

namespace {

constexpr size_t kBlockBytes = size_t{1} << 18;
// File errors of the library.
constexpr int kCannotRead = 1;
constexpr int kNoMemory = 14;

// Above the standard streams, whichever of them are closed.
int above_standard(int descriptor) {
    const int above = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int error = errno;
    if (descriptor > STDERR_FILENO) {
        close(descriptor);
    }
    errno = error;
    return above;
}

// The read end of the pipe goes with the old standard input.
void leave_standard_input() {
    const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (nothing < 0 || dup2(nothing, STDIN_FILENO) < 0) {
        close(STDIN_FILENO);
    }
    if (nothing > STDERR_FILENO) {
        close(nothing);
    }
}

}  // namespace

XmlSource::XmlSource(const std::string &path, Reading reading, XmlCheck::Outside outside)
    : name_(path == "-" ? "standard input" : path), check_(outside) {
    open_input(path);
    if (!is_regular_ || reading == Reading::kChecked) {
        start_thread();
    }
}

void XmlSource::open_input(const std::string &path) {
    const auto fail_with = [&](const char *what, int error) {
        if (input_ >= 0) {
            close(input_);
        }
        throw Failure(name_ + ": " + what + ": " + strerror(error));
    };
    input_ = path == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)
                         : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (input_ >= 0 && input_ <= STDERR_FILENO) {
        input_ = above_standard(input_);
    }
    if (input_ < 0) {
        fail_with("cannot be opened", errno);
    }
    struct stat status;
    if (fstat(input_, &status) != 0) {
        fail_with("cannot be read", errno);
    }
    if (S_ISDIR(status.st_mode)) {
        fail_with("cannot be read", EISDIR);
    }
    is_regular_ = S_ISREG(status.st_mode);
    int read_end = input_;
    if (is_regular_) {
        offset_ = lseek(input_, 0, SEEK_CUR);
    } else {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) {
            fail_with("cannot be read", errno);
        }
        read_end = ends[0];
        pipe_ = ends[1];
    }
    if (dup2(read_end, STDIN_FILENO) < 0) {
        fail_with("cannot be read", errno);
    }
    if (read_end != input_ && read_end != STDIN_FILENO) {
        close(read_end);
    }
}

XmlSource::~XmlSource() {
    is_given_up_ = true;
    join();
    close_pipe();
    close(input_);
}

// Signals are the other thread's; a pipe that nobody reads is an error code here.
void XmlSource::start_thread() {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        thread_ = std::thread([this] { run(); });
    } catch (const std::system_error &error) {
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        close_pipe();
        close(input_);
        throw Failure(name_ + ": cannot be read: " + error.what());
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void XmlSource::join() {
    if (thread_.joinable()) {
        if (!is_regular_) {
            leave_standard_input();
        }
        thread_.join();
    }
}

void XmlSource::close_pipe() {
    if (pipe_ >= 0) {
        close(pipe_);
        pipe_ = -1;
    }
}

void XmlSource::run() noexcept {
    try {
        check_all();
    } catch (...) {
        exception_ = std::current_exception();
    }
    close_pipe();
}

void XmlSource::check_all() {
    const auto buffer = std::make_unique_for_overwrite<char[]>(kBlockBytes);
    while (!is_given_up_) {
        const size_t size = read_some(buffer.get(), kBlockBytes);
        if (size == 0) {
            if (read_error_ == 0 && !is_given_up_) {
                check_.finish();
            }
            return;
        }
        const bool is_good = check_.feed(buffer.get(), size);
        hand_on(buffer.get(), size);
        if (!is_good) {
            return;
        }
    }
}

// 0 at the end, at an error and when reading is given up.
size_t XmlSource::read_some(char *buffer, size_t size) {
    while (is_regular_ || wait_for_input()) {
        const ssize_t n = is_regular_ ? pread(input_, buffer, size, static_cast<off_t>(offset_))
                                      : read(input_, buffer, size);
        if (n >= 0) {
            offset_ += n;
            return static_cast<size_t>(n);
        }
        if (errno != EINTR && errno != EAGAIN) {
            read_error_ = errno;
            return 0;
        }
    }
    return 0;
}

// False when reading is given up: the library waits for a pipe without an end of its
// own.
bool XmlSource::wait_for_input() {
    constexpr int kMilliseconds = 100;
    pollfd input{input_, POLLIN, 0};
    while (poll(&input, 1, kMilliseconds) == 0) {
        if (is_given_up_ || InterruptGuard::is_set()) {
            is_given_up_ = true;
            return false;
        }
    }
    return true;
}

void XmlSource::hand_on(const char *bytes, size_t size) {
    while (size > 0 && pipe_ >= 0) {
        const ssize_t n = write(pipe_, bytes, size);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n < 0) {
            close_pipe();  // the library reads no more
            return;
        }
        bytes += n;
        size -= static_cast<size_t>(n);
    }
}

void XmlSource::throw_what_was_found() const {
    if (exception_) {
        std::rethrow_exception(exception_);
    }
    if (read_error_ != 0) {
        throw Failure(name_ + ": cannot be read: " + strerror(read_error_));
    }
    if (const auto &fault = check_.fault()) {
        throw XmlFailure(name_ + ": line " + std::to_string(fault->line) + ", column " +
                             std::to_string(fault->column) + ": " + fault->what,
                         fault->excerpt);
    }
}

void XmlSource::finish() {
    join();
    throw_what_was_found();
}

void XmlSource::fail() {
    // Later calls of the library may set these anew.
    const int code = *Zstdlib_f_errno();
    const int system = *Zstdlib_f_int2_errno();
    const char *message = *Zstdlib_f_errmsg();
    const std::string text = message != nullptr ? message : "";
    InterruptGuard::check();
    if (code == kNoMemory) {
        throw Failure(name_ + ": out of memory, or a tree out of all proportion to the document");
    }
    if (code == kCannotRead) {
        throw Failure(name_ + ": cannot be read: " + strerror(system));
    }
    if (thread_.joinable()) {
        join();
    } else {
        run();
    }
    throw_what_was_found();
    throw Failure(name_ + ": cannot be read" + (text.empty() ? "" : ": " + text));
}

}  // namespace tool
