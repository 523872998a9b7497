// SPDX-License-Identifier: MIT
//
// The error output and the trace: who receives their texts, and the shape of a
// trace line.  Message texts are the business of messages.cpp.

// A trace file may grow large in 32-bit builds too.
#define _FILE_OFFSET_BITS 64
#define _TIME_BITS 64

#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>

#include "host/messages.h"
#include "runtime/error_state.h"
#include "runtime/output.h"
#include "runtime/owner.h"
#include "runtime/variables.h"

int16_t f_trace = 0;

namespace host {
namespace {

struct Sink {
    void (*take)(const char *text, size_t n, void *user);
    void *user;
};

constexpr int kErrorOutput = 0;
constexpr int kTrace = 1;
Sink sinks[2];

int trace_fd = -1;
int trace_level;

constexpr int kMaxIndent = 64;
constexpr size_t kStampBytes = 32;
constexpr size_t kLineBytes = 8192;

// Room for one text.  Up to kLineBytes it needs no memory, unless a sink traces in
// its turn while the static buffer is in use.
class Room {
 public:
    explicit Room(size_t bytes) : is_static_(!in_use && bytes <= kLineBytes) {
        if (is_static_)
            in_use = true;
        text_ = is_static_ ? buffer
                           : static_cast<char *>(Zmalloc(bytes, "output line", "runtime/trace"));
    }
    ~Room() {
        if (is_static_)
            in_use = false;
        else
            Zfree(text_);
    }
    Room(const Room &) = delete;
    Room &operator=(const Room &) = delete;

    char *text() const { return text_; }  // null without memory

 private:
    static inline char buffer[kLineBytes];
    static inline bool in_use;

    bool is_static_;
    char *text_;
};

void write_fd(int fd, const char *text, size_t n) {
    while (n > 0) {
        ssize_t written = write(fd, text, n);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return;
        text += written;
        n -= static_cast<size_t>(written);
    }
}

void write_trace(const char *text, size_t n) {
    if (sinks[kTrace].take != nullptr) {
        sinks[kTrace].take(text, n, sinks[kTrace].user);
    } else if (trace_fd >= 0) {
        write_fd(trace_fd, text, n);
    } else {
        write_error_output(text, n);
    }
}

// Where a text goes, and whether it has to be one line.
struct Target {
    void (*write)(const char *text, size_t n);
    bool is_line;
};

constexpr Target kToTrace = {write_trace, true};
constexpr Target kToErrorOutput = {write_error_output, false};

// Inside a line every line break is a blank.
void flatten(char *text, size_t n) {
    for (char *p = text; p != text + n; ++p) {
        if (*p == '\n' || *p == '\r')
            *p = ' ';
    }
}

// The C library's stream over a target.
ssize_t write_piece(void *cookie, const char *text, size_t n) {
    const auto *target = static_cast<const Target *>(cookie);
    char piece[512];
    for (size_t done = 0; done < n;) {
        const size_t size = std::min(n - done, sizeof piece);
        memcpy(piece, text + done, size);
        if (target->is_line)
            flatten(piece, size);
        target->write(piece, size);
        done += size;
    }
    return static_cast<ssize_t>(n);
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

// For a text that found no memory: a stream of the C library passes it on.
void write_in_pieces(Target target, const char *format, va_list arguments) {
    FILE *stream = fopencookie(&target, "w", {nullptr, write_piece, nullptr, nullptr});
    if (stream == nullptr)
        return;
    vfprintf(stream, format, arguments);
    fclose(stream);
}

// Writes head and text; the result is vsnprintf's.
int write_formatted(Target target, const char *head, size_t head_bytes, const char *format,
                    va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = vsnprintf(nullptr, 0, format, again);
    va_end(again);
    size_t n = length < 0 ? 0 : static_cast<size_t>(length);
    Room room(head_bytes + n + 1);
    if (room.text() == nullptr) {
        target.write(head, head_bytes);
        write_in_pieces(target, format, arguments);
        if (target.is_line)
            target.write("\n", 1);
        return length;
    }
    char *text = room.text() + head_bytes;
    memcpy(room.text(), head, head_bytes);
    if (length >= 0)
        vsnprintf(text, n + 1, format, arguments);
    if (target.is_line) {
        if (n > 0 && text[n - 1] == '\n')
            --n;
        flatten(text, n);
        text[n++] = '\n';  // where the newline or the zero byte was
    }
    target.write(room.text(), head_bytes + n);
    return length;
}

#pragma GCC diagnostic pop

// "2026-11-21 23:22:38.123456 [9] " and two blanks a level.
size_t write_head(char *head, size_t size, int category) {
    struct timespec now;
    struct tm day;
    clock_gettime(CLOCK_REALTIME, &now);
    if (localtime_r(&now.tv_sec, &day) == nullptr)
        day = {};
    int n = snprintf(head, size, "%04d-%02d-%02d %02d:%02d:%02d.%06d [%d] %*s", day.tm_year + 1900,
                     day.tm_mon + 1, day.tm_mday, day.tm_hour, day.tm_min, day.tm_sec,
                     static_cast<int>(now.tv_nsec / 1000), category,
                     2 * std::min(trace_level, kMaxIndent), "");
    return n < 0 ? 0 : std::min(static_cast<size_t>(n), size - 1);
}

bool trace_goes_somewhere() {
    return f_trace != 0 || trace_fd >= 0 || sinks[kTrace].take != nullptr;
}

}  // namespace

void write_error_output(const char *text, size_t n) {
    if (sinks[kErrorOutput].take != nullptr)
        sinks[kErrorOutput].take(text, n, sinks[kErrorOutput].user);
    else
        write_fd(STDERR_FILENO, text, n);
}

bool set_trace_file(const char *path) {
    int fd = -1;
    if (path != nullptr && path[0] != '\0') {
        do {
            fd = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
        } while (fd < 0 && errno == EINTR);
        if (fd < 0) {
            int cause = errno;
            return refuse(kParameterError,
                          "TRACE_FILE: '%.*s' cannot be opened for writing (%s); give a file in a "
                          "directory that exists",
                          kShownBytes, path, strerror(cause)) != 0;
        }
    }
    if (trace_fd >= 0)
        close(trace_fd);
    trace_fd = fd;
    return true;
}

}  // namespace host

int eprintf(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    int length = host::write_formatted(host::kToErrorOutput, "", 0, format, arguments);
    va_end(arguments);
    return length;
}

int ZTrace(int level_change, int category, const char *format, ...) {
    using namespace host;
    start_variables();
    if (level_change < 0)
        trace_level = std::max(0, trace_level + level_change);
    if (trace_goes_somewhere()) {
        int cause = errno;
        char head[kStampBytes + 16 + 2 * kMaxIndent];
        size_t head_bytes = write_head(head, sizeof head, category);
        va_list arguments;
        va_start(arguments, format);
        write_formatted(kToTrace, head, head_bytes, format, arguments);
        va_end(arguments);
        errno = cause;
    }
    if (level_change > 0)
        trace_level += std::min(level_change, INT16_MAX - trace_level);
    return f_trace;
}

void ZOutputRedirect(int which, void (*sink)(const char *text, size_t n, void *user), void *user) {
    if (which == host::kErrorOutput || which == host::kTrace)
        host::sinks[which] = {sink, user};
}
