// SPDX-License-Identifier: MIT
#include "tool/record_output.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>

#include "tool/failure.h"

namespace tool {

void RecordOutput::flush() {
    const char *from = block_.get();
    size_t left = static_cast<size_t>(at_ - from);
    at_ = block_.get();
    while (left > 0) {
        const ssize_t n = write(descriptor_, from, left);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n < 0 && errno == EPIPE) {
            throw OutputClosed();
        }
        if (n < 0) {
            throw Failure(std::string("the output cannot be written: ") + strerror(errno));
        }
        from += n;
        left -= static_cast<size_t>(n);
    }
}

void RecordOutput::put_slowly(std::string_view text) {
    while (!text.empty()) {
        if (at_ == end_) {
            flush();
        }
        const size_t n = std::min(text.size(), static_cast<size_t>(end_ - at_));
        memcpy(at_, text.data(), n);
        at_ += n;
        text.remove_prefix(n);
    }
}

void RecordOutput::put_hex(std::span<const unsigned char> bytes) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    for (const unsigned char byte : bytes) {
        char *to = room(2);
        to[0] = kDigits[byte >> 4];
        to[1] = kDigits[byte & 15];
        took(to + 2);
    }
}

}  // namespace tool
