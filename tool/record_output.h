// SPDX-License-Identifier: MIT
//
// Where printed records go: one block of memory in front of a file descriptor.
// Nothing is allocated while records are printed, whatever their size.
#ifndef TOOL_RECORD_OUTPUT_H
#define TOOL_RECORD_OUTPUT_H

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>

namespace tool {

// Nobody reads the output any more (head has seen enough): the command ends, and
// has no error to report.
struct OutputClosed {};

class RecordOutput {
 public:
    // The most that room() can be asked for.
    static constexpr size_t kMaxRoom = 4096;

    // Does not close the descriptor.
    explicit RecordOutput(int descriptor)
        : descriptor_(descriptor),
          block_(std::make_unique_for_overwrite<char[]>(kBlockBytes)),
          at_(block_.get()),
          end_(at_ + kBlockBytes) {}
    RecordOutput(const RecordOutput &) = delete;
    RecordOutput &operator=(const RecordOutput &) = delete;

    // `bytes` bytes to write at; took() tells where the next byte goes.  Throws
    // Failure and OutputClosed, as all that write do.
    char *room(size_t bytes) {
        if (static_cast<size_t>(end_ - at_) < bytes) [[unlikely]] {
            flush();
        }
        return at_;
    }
    void took(char *next) { at_ = next; }

    void put(char c) {
        *room(1) = c;
        at_++;
    }
    void put(std::string_view text) {
        if (static_cast<size_t>(end_ - at_) < text.size()) [[unlikely]] {
            put_slowly(text);
            return;
        }
        memcpy(at_, text.data(), text.size());
        at_ += text.size();
    }
    void put_integer(int64_t number) {
        char *to = room(kMaxInteger);
        // Narrow numbers are many times cheaper on a 32-bit machine.
        at_ = number == static_cast<int32_t>(number)
                  ? std::to_chars(to, to + kMaxInteger, static_cast<int32_t>(number)).ptr
                  : std::to_chars(to, to + kMaxInteger, number).ptr;
    }
    // The byte that was put last becomes another one.
    void replace_last(char c) { at_[-1] = c; }

    // Two digits a byte, in upper case.
    void put_hex(std::span<const unsigned char> bytes);

    void flush();

 private:
    static constexpr size_t kBlockBytes = size_t{1} << 16;
    static constexpr size_t kMaxInteger = 20;

    void put_slowly(std::string_view text);

    int descriptor_;
    std::unique_ptr<char[]> block_;
    char *at_;
    char *end_;
};

}  // namespace tool

#endif
