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

// Lines up to this size need no memory.  A sink that traces in its turn finds
// the buffer in use and takes a block.
char line_buffer[kLineBytes];
bool line_buffer_in_use;

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

// Pieces of a text on their way out.
using Writer = void (*)(const char *text, size_t n);

// A text that found no memory leaves in pieces, through the C library's stream.
struct Pieces {
    Writer write;
    bool one_line;
};

// Inside a line every line break is a blank.
void flatten(char *text, size_t n) {
    for (char *p = text; p != text + n; ++p) {
        if (*p == '\n' || *p == '\r')
            *p = ' ';
    }
}

ssize_t write_pieces(void *cookie, const char *text, size_t n) {
    const auto *pieces = static_cast<const Pieces *>(cookie);
    char piece[512];
    for (size_t done = 0; done < n;) {
        size_t size = std::min(n - done, sizeof piece);
        memcpy(piece, text + done, size);
        if (pieces->one_line)
            flatten(piece, size);
        pieces->write(piece, size);
        done += size;
    }
    return static_cast<ssize_t>(n);
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

int format_in_pieces(const Pieces &pieces, const char *format, va_list arguments) {
    Pieces cookie = pieces;
    FILE *stream = fopencookie(&cookie, "w", {nullptr, write_pieces, nullptr, nullptr});
    if (stream == nullptr)
        return -1;
    int length = vfprintf(stream, format, arguments);
    return fclose(stream) == 0 ? length : -1;
}

// Formats behind the first `head` bytes of a line and, for a trace line, ends
// it with one newline.  The result is vsnprintf's.
int format_line(const char *head, size_t head_bytes, Writer write, bool one_line,
                const char *format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const bool own = !line_buffer_in_use;
    char small[1];
    char *text = own ? line_buffer : small;
    const size_t room = own ? kLineBytes : sizeof small;
    int length = vsnprintf(own ? text + head_bytes : text, own ? room - head_bytes : room, format,
                           arguments);
    Block<char> block(nullptr);
    if (length >= 0 && (!own || head_bytes + static_cast<size_t>(length) + 2 > room)) {
        const size_t bytes = head_bytes + static_cast<size_t>(length) + 2;
        text = static_cast<char *>(Zmalloc(bytes, "output line", "runtime/trace"));
        if (text != nullptr) {
            va_list copy;
            va_copy(copy, again);
            vsnprintf(text + head_bytes, bytes - head_bytes, format, copy);
            va_end(copy);
        }
    }
    if (length < 0) {
        // A format that the C library refuses: nothing to show but the format.
        va_end(again);
        write(head, head_bytes);
        write(format, strlen(format));
        if (one_line)
            write("\n", 1);
        return -1;
    }
    size_t n = static_cast<size_t>(length);
    if (text == nullptr) {
        write(head, head_bytes);
        format_in_pieces({write, one_line}, format, again);
        if (one_line)
            write("\n", 1);
    } else {
        memcpy(text, head, head_bytes);
        if (one_line) {
            if (n > 0 && text[head_bytes + n - 1] == '\n')
                --n;
            flatten(text + head_bytes, n);
            text[head_bytes + n++] = '\n';
        }
        const bool was_in_use = line_buffer_in_use;
        line_buffer_in_use = true;
        write(text, head_bytes + n);
        line_buffer_in_use = was_in_use;
        if (text != line_buffer)
            Zfree(text);
    }
    va_end(again);
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
    int length = host::format_line("", 0, host::write_error_output, false, format, arguments);
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
        format_line(head, head_bytes, write_trace, true, format, arguments);
        va_end(arguments);
        errno = cause;
    }
    if (level_change > 0)
        trace_level = std::min(trace_level + level_change, INT16_MAX + 0);
    return f_trace;
}

void ZOutputRedirect(int which, void (*sink)(const char *text, size_t n, void *user), void *user) {
    if (which == host::kErrorOutput || which == host::kTrace)
        host::sinks[which] = {sink, user};
}
