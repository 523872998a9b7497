// SPDX-License-Identifier: MIT
#include "runtime/text_file.h"

#include <errno.h>
#include <string.h>

#include <algorithm>

#include "host/files.h"
#include "host/memory.h"
#include "runtime/error_state.h"

namespace host {
namespace {

constexpr size_t kMaxBytes = size_t{4} << 20;

bool is_blank(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

// Reads to the end of the file; null when memory was refused or the file is too
// large, which *size > kMaxBytes tells.
char *read_all(ZFile *file, size_t *size) {
    static const char tag[] = "text file";
    static const char source[] = "runtime/text_file";
    size_t room = 8192;
    auto *text = static_cast<char *>(Zmalloc(room, tag, source));
    *size = 0;
    while (text != nullptr) {
        size_t n = os_fread(text + *size, room - 1 - *size, file);
        *size += n;
        if (n == 0)
            break;
        if (*size + 1 < room)
            continue;
        void *larger = *size > kMaxBytes ? nullptr : Zrealloc(text, 2 * room, tag, source);
        if (larger == nullptr) {
            Zfree(text);
            return nullptr;
        }
        text = static_cast<char *>(larger);
        room *= 2;
    }
    if (text != nullptr)
        text[*size] = '\0';
    return text;
}

}  // namespace

TextFile::~TextFile() {
    Zfree(text_);
}

bool TextFile::read(const char *path, const char *what) {
    ZFile *file = path == nullptr ? nullptr : os_fopen(path, "r", 0);
    if (file == nullptr) {
        if (path != nullptr && errno == ENOMEM)
            return refuse_memory() != 0;
        return refuse(kParameterError, "%s '%.*s' cannot be read (%s); give a file that exists",
                      what, kShownBytes, path == nullptr ? "" : path,
                      strerror(path == nullptr ? ENOENT : errno)) != 0;
    }
    char *text = read_all(file, &size_);
    const int cause = os_ferror(file) != 0 ? errno : 0;
    os_fclose(file);
    Zfree(text_);
    text_ = text;
    if (size_ > kMaxBytes)
        return refuse(kParameterError, "%s '%.*s' is larger than %zu bytes", what, kShownBytes,
                      path, kMaxBytes) != 0;
    if (text == nullptr)
        return refuse_memory() != 0;
    if (cause != 0)
        return refuse(kParameterError, "%s '%.*s' cannot be read (%s)", what, kShownBytes, path,
                      strerror(cause)) != 0;
    if (const void *zero = memchr(text, '\0', size_); zero != nullptr) {
        auto line =
            1 + std::count(static_cast<const char *>(text), static_cast<const char *>(zero), '\n');
        return refuse(kParameterError, "%s '%.*s', line %u: a zero byte; a text file has none",
                      what, kShownBytes, path, static_cast<unsigned>(line)) != 0;
    }
    return true;
}

// A line's end becomes zero bytes as far as it is trimmed; a second round takes
// each of them for an empty line.
char *TextFile::next_line() {
    while (next_ < size_) {
        char *line = text_ + next_;
        size_t n = strcspn(line, "\n");
        next_ += n + 1;
        ++line_number_;
        size_t end = n;
        while (end > 0 && is_blank(line[end - 1]))
            --end;
        memset(line + end, 0, std::min(n + 1, static_cast<size_t>(text_ + size_ - line)) - end);
        while (is_blank(*line))
            ++line;
        if (*line != '\0' && *line != '#')
            return line;
    }
    return nullptr;
}

unsigned TextFile::lines() const {
    return static_cast<unsigned>(1 + std::count(text_, text_ + size_, '\n'));
}

char *TextFile::release() {
    char *text = text_;
    text_ = nullptr;
    size_ = 0;
    return text;
}

}  // namespace host
