// SPDX-License-Identifier: MIT
//
// A line is read into a fixed buffer.  When it does not end there, the next read
// tells whether the file ends, the line goes on, or a zero byte hides its rest.
#include "fsi/4gl/kst4gl/text_lines.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace fsi {
namespace {

// The text of a line from its first character that is neither blank nor tab.
const char *skip_blanks(const char *line) {
    return line + strspn(line, " \t");
}

bool is_comment(const char *text) {
    const bool is_empty = text[0] == '\0' || (text[0] == '\r' && text[1] == '\0');
    return is_empty || text[0] == '#';
}

}  // namespace

bool TextLines::fetch(char (&buffer)[kBufferBytes]) {
    errno = 0;
    return os_fgets(buffer, kBufferBytes, file_) != nullptr;
}

// Fills buffer_ with the next line, its last character cut: the newline, or
// whatever ends a file without one.
LoadStatus TextLines::read() {
    status_ = LoadStatus::kDone;
    if (has_read_ahead_) {
        std::memcpy(buffer_, ahead_, sizeof buffer_);
        has_read_ahead_ = false;
    } else if (!fetch(buffer_)) {
        return errno == ENOMEM
                   ? out_of_memory()
                   : fail(LoadStatus::kReadError, "Read error on XFD file, error = %d", errno);
    }
    ++reader.line;

    // Without a newline the file ends here, or the line goes on unseen: behind
    // a full buffer or behind a zero byte.
    const size_t length = strlen(buffer_);
    const bool is_whole = length != 0 && buffer_[length - 1] == '\n';
    if (!is_whole)
        has_read_ahead_ = fetch(ahead_);
    is_cut_ = has_read_ahead_ && length == kBufferBytes - 1;
    has_zero_byte_ = has_read_ahead_ && !is_cut_;
    if (length != 0)
        buffer_[length - 1] = '\0';
    return LoadStatus::kDone;
}

void TextLines::skip_rest() {
    while (has_read_ahead_ && strchr(ahead_, '\n') == nullptr)
        has_read_ahead_ = fetch(ahead_);
    has_read_ahead_ = false;
}

LoadStatus TextLines::keep_comment() {
    if (reader.comments == nullptr)
        return LoadStatus::kDone;
    const bool is_first = ZStringGetLength(reader.comments) == 0;
    if ((!is_first && !ZSTRINGAppend(reader.comments, "\n")) ||
        !ZSTRINGAppend(reader.comments, buffer_))
        return out_of_memory();
    return LoadStatus::kDone;
}

LoadStatus TextLines::first() {
    if (reader.comments != nullptr)
        ZStringClear(reader.comments);
    for (;;) {
        LoadStatus status = read();
        if (status != LoadStatus::kDone)
            return status;
        const char *text = skip_blanks(buffer_);
        // A zero byte in front of everything is half a character of XML in UTF-16.
        const bool is_wide = reader.line == 1 && has_zero_byte_ && buffer_[0] == '\0';
        if (is_wide || !is_comment(text)) {
            values_.reset(Zcds_new(text));
            return values_ ? LoadStatus::kDone : out_of_memory();
        }
        status = keep_comment();
        if (status != LoadStatus::kDone)
            return status;
        if (is_cut_)
            skip_rest();
    }
}

LoadStatus TextLines::next() {
    const LoadStatus status = first();
    return status == LoadStatus::kDone ? refuse_cut_line() : status;
}

LoadStatus TextLines::refuse_cut_line() {
    if (is_cut_)
        return refuse("the line is longer than %d characters", kBufferBytes - 2);
    if (has_zero_byte_)
        return refuse("the line holds a zero byte behind '%.60s'", buffer_);
    return LoadStatus::kDone;
}

bool TextLines::is_text_form() const {
    return strncmp(text(0), "XFD", 3) == 0;
}

int32_t TextLines::checked(uint32_t i, const char *what, int32_t least, int32_t most) {
    if (status_ != LoadStatus::kDone)
        return 0;
    if (Zcds_get_type(values_.get(), i) == kInteger) {
        const int32_t value = integer(i);
        if (value >= least && value <= most)
            return value;
    }
    const char *written = text(i);
    status_ = *written == '\0' ? refuse("the %s is missing", what)
                               : refuse("the %s must be a number from %d to %d, not '%.60s'", what,
                                        least, most, written);
    return 0;
}

}  // namespace fsi
