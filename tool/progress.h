// SPDX-License-Identifier: MIT
//
// One line on a terminal that says how far a long run has come: records, rate,
// time left.  Prints nothing when the error output is no terminal.
#ifndef TOOL_PROGRESS_H
#define TOOL_PROGRESS_H

#include <chrono>
#include <cstdint>
#include <string>

namespace tool {

class Progress {
 public:
    // `verb` begins the line ("loading").
    Progress(const char *verb, bool quiet);
    ~Progress() { clear(); }
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    bool is_shown() const { return shown_; }

    // `done` of `whole` units (bytes, records) lie behind the run; whole 0 means
    // that nobody knows.  Cheap: the clock is read once in kStride calls.
    void update(uint64_t records, uint64_t done, uint64_t whole) {
        if (shown_ && ++calls_ % kStride == 0) {
            redraw(records, done, whole);
        }
    }

    // A step without a measure ("making indexes").
    void say(const char *step);

    // Takes the line off the terminal.
    void clear();

 private:
    static constexpr unsigned kStride = 1024;
    using Clock = std::chrono::steady_clock;

    void redraw(uint64_t records, uint64_t done, uint64_t whole);
    void draw(const std::string &line);

    std::string verb_;
    bool shown_;
    bool drawn_ = false;
    unsigned calls_ = 0;
    Clock::time_point start_;
    Clock::time_point last_;
};

// The text of the line; `seconds` have passed.
std::string progress_line(const std::string &verb, uint64_t records, uint64_t done, uint64_t whole,
                          double seconds);

}  // namespace tool

#endif
