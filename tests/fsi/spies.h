// SPDX-License-Identifier: MIT
//
// What a test hears of the library's calls to the host's trace and messages.
// Include it in one source of a test program only: it defines ZTrace and
// message_get, which then stand in front of the reference host's.
#ifndef TESTS_FSI_SPIES_H
#define TESTS_FSI_SPIES_H

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

#include "host/messages.h"

namespace spies {

// One line a call: level change, category, text.  "+1 8 Z4FlattenName a/b".
inline std::vector<std::string> traces;

// One entry a look-up: number and set.
inline std::vector<std::string> messages;

// All trace lines since the last call, each with a newline.
inline std::string take_traces() {
    std::string all;
    for (const std::string &line : traces)
        all += line + "\n";
    traces.clear();
    return all;
}

inline std::string take_messages() {
    std::string all;
    for (const std::string &message : messages)
        all += message + "\n";
    messages.clear();
    return all;
}

// Collects the host's error output while it lives.
class ErrorOutput {
 public:
    ErrorOutput() {
        ZOutputRedirect(
            0,
            [](const char *text, size_t n, void *user) {
                static_cast<ErrorOutput *>(user)->text_.append(text, n);
            },
            this);
    }
    ~ErrorOutput() { ZOutputRedirect(0, nullptr, nullptr); }
    ErrorOutput(const ErrorOutput &) = delete;
    ErrorOutput &operator=(const ErrorOutput &) = delete;

    std::string take() {
        std::string text;
        text.swap(text_);
        return text;
    }

 private:
    std::string text_;
};

// The trace level, set back at the end of the scope.
class TraceLevel {
 public:
    explicit TraceLevel(int16_t level) : old_(f_trace) { f_trace = level; }
    ~TraceLevel() { f_trace = old_; }
    TraceLevel(const TraceLevel &) = delete;
    TraceLevel &operator=(const TraceLevel &) = delete;

 private:
    int16_t old_;
};

}  // namespace spies

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
int ZTrace(int level_change, int category, const char *format, ...) {
    char text[4096];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    char head[32];
    std::snprintf(head, sizeof head, "%+d %d ", level_change, category);
    spies::traces.push_back(std::string(head) + text);
    return f_trace;
}
#pragma GCC diagnostic pop

const char *message_get(int number, int set, const char *default_text) {
    spies::messages.push_back(std::to_string(number) + "/" + std::to_string(set));
    return default_text;
}

#endif
