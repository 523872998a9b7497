// SPDX-License-Identifier: MIT
//
// Files: a descriptor and one buffer in one block, so that the host's memory
// service sees all of it.  Time of day for the date of documents.

// Large files and years past 2037 in 32-bit builds too.
#define _FILE_OFFSET_BITS 64
#define _TIME_BITS 64

#include "host/files.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <charconv>

#include "host/memory.h"
#include "runtime/owner.h"

namespace {
constexpr size_t kBufferBytes = 16384;
}

struct ZFile {
    int fd;
    bool writes;
    bool failed;
    size_t next;  // reading: first byte not handed out; writing: 0
    size_t end;   // behind the last byte in the buffer
    char buffer[kBufferBytes];
};

namespace {

ZFile standard_input;

// Flags of open(2) for a mode, -1 for a mode that is none.
int open_flags(const char *mode) {
    struct Mode {
        const char *text;
        int flags;
    };
    static constexpr Mode kModes[] = {
        {"r", O_RDONLY},
        {"rb", O_RDONLY},
        {"w", O_WRONLY | O_CREAT | O_TRUNC},
        {"wb", O_WRONLY | O_CREAT | O_TRUNC},
        {"a", O_WRONLY | O_CREAT | O_APPEND},
        {"ab", O_WRONLY | O_CREAT | O_APPEND},
    };
    for (const Mode &known : kModes) {
        if (strcmp(mode, known.text) == 0)
            return known.flags;
    }
    return -1;
}

// -1 with errno set, for a directory too.
int open_file(const char *path, int flags) {
    int fd;
    do {
        fd = open(path, flags | O_CLOEXEC, 0666);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0)
        return -1;
    struct stat status;
    int cause = fstat(fd, &status) != 0 ? errno : S_ISDIR(status.st_mode) ? EISDIR : 0;
    if (cause == 0)
        return fd;
    close(fd);
    errno = cause;
    return -1;
}

// One read(2) that no signal interrupts; 0 at the end and on errors.
size_t read_some(ZFile *file, void *buffer, size_t bytes) {
    ssize_t n;
    do {
        n = read(file->fd, buffer, bytes);
    } while (n < 0 && errno == EINTR);
    if (n < 0) {
        file->failed = true;
        return 0;
    }
    return static_cast<size_t>(n);
}

bool refill(ZFile *file) {
    file->next = 0;
    file->end = read_some(file, file->buffer, kBufferBytes);
    return file->end != 0;
}

// The bytes written before the first failure.
size_t write_all(ZFile *file, const char *bytes, size_t n) {
    size_t done = 0;
    while (done < n) {
        ssize_t written = write(file->fd, bytes + done, n - done);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0) {
            file->failed = true;
            break;
        }
        done += static_cast<size_t>(written);
    }
    return done;
}

bool flush(ZFile *file) {
    size_t n = file->end;
    file->end = 0;
    return write_all(file, file->buffer, n) == n;
}

bool usable(ZFile *file, bool writes) {
    if (file != nullptr && file->writes == writes)
        return true;
    if (file != nullptr)
        file->failed = true;
    errno = EBADF;
    return false;
}

// SOURCE_DATE_EPOCH, when it is a number of seconds, stands for the clock: what
// is built twice from the same source is then the same.
time_t now() {
    if (const char *text = getenv("SOURCE_DATE_EPOCH"); text != nullptr) {
        const char *end = text + strlen(text);
        int64_t seconds = 0;
        auto [behind, error] = std::from_chars(text, end, seconds);
        if (error == std::errc() && behind == end && text != end)
            return static_cast<time_t>(seconds);
    }
    return time(nullptr);
}

}  // namespace

ZFile *os_fopen(const char *path, const char *mode, int) {
    int flags = path == nullptr || mode == nullptr ? -1 : open_flags(mode);
    if (flags < 0) {
        errno = EINVAL;
        return nullptr;
    }
    // Memory first: a refusal must not cost the file that is there its contents.
    host::Block<ZFile> file(Zmalloc(sizeof(ZFile), "file", "runtime/files"));
    if (!file) {
        errno = ENOMEM;
        return nullptr;
    }
    file->fd = open_file(path, flags);
    if (file->fd < 0) {
        const int cause = errno;
        Zfree(file.release());
        errno = cause;
        return nullptr;
    }
    file->writes = (flags & O_ACCMODE) == O_WRONLY;
    file->failed = false;
    file->next = 0;
    file->end = 0;
    return file.release();
}

char *os_fgets(char *buffer, int size, ZFile *file) {
    if (buffer == nullptr || size <= 0) {
        errno = EINVAL;
        return nullptr;
    }
    if (!usable(file, false))
        return nullptr;
    char *out = buffer;
    size_t room = static_cast<size_t>(size) - 1;
    bool complete = room == 0;
    while (!complete) {
        if (file->next == file->end && !refill(file)) {
            if (file->failed || out == buffer)
                return nullptr;
            break;
        }
        const char *from = file->buffer + file->next;
        size_t n = file->end - file->next;
        n = n < room ? n : room;
        const void *newline = memchr(from, '\n', n);
        if (newline != nullptr)
            n = static_cast<size_t>(static_cast<const char *>(newline) - from) + 1;
        memcpy(out, from, n);
        out += n;
        room -= n;
        file->next += n;
        complete = newline != nullptr || room == 0;
    }
    *out = '\0';
    return buffer;
}

size_t os_fread(void *buffer, size_t bytes, ZFile *file) {
    if (!usable(file, false) || bytes == 0)
        return 0;
    if (file->next == file->end) {
        if (bytes >= kBufferBytes)
            return read_some(file, buffer, bytes);
        if (!refill(file))
            return 0;
    }
    size_t n = file->end - file->next;
    n = n < bytes ? n : bytes;
    memcpy(buffer, file->buffer + file->next, n);
    file->next += n;
    return n;
}

size_t os_fwrite(const void *bytes, size_t n, ZFile *file) {
    if (!usable(file, true) || file->failed)
        return 0;
    if (n > kBufferBytes - file->end && !flush(file))
        return 0;
    if (n >= kBufferBytes)
        return write_all(file, static_cast<const char *>(bytes), n);
    if (n > 0)
        memcpy(file->buffer + file->end, bytes, n);
    file->end += n;
    return n;
}

int os_ferror(ZFile *file) {
    return file == nullptr || file->failed;
}

int os_fclose(ZFile *file) {
    if (file == nullptr) {
        errno = EBADF;
        return 0;
    }
    if (file == &standard_input)
        return 1;
    int done = 1;
    int cause = errno;
    if (file->writes && (file->failed || !flush(file))) {
        done = 0;
        cause = errno;
    }
    if (close(file->fd) != 0 && done) {
        done = 0;
        cause = errno;
    }
    Zfree(file);
    errno = cause;
    return done;
}

int os_unlink(const char *path) {
    return unlink(path) == 0;
}

ZFile *os_stdin() {
    return &standard_input;
}

int32_t os_date() {
    time_t seconds = now();
    struct tm day;
    if (localtime_r(&seconds, &day) == nullptr || day.tm_year < -1900 || day.tm_year > 9999 - 1900)
        return 0;
    return (day.tm_year + 1900) * 10000 + (day.tm_mon + 1) * 100 + day.tm_mday;
}
