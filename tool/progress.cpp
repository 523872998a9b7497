// SPDX-License-Identifier: MIT
#include "tool/progress.h"

#include <unistd.h>

#include <cstdio>

namespace tool {

namespace {

constexpr auto kInterval = std::chrono::milliseconds(200);

// The time left is a wild guess before this part of the whole is done.
constexpr double kFirstGuess = 0.02;

std::string in_words(double seconds) {
    char text[32];
    const auto whole = static_cast<long long>(seconds);
    if (whole < 60) {
        snprintf(text, sizeof text, "%llds", whole);
    } else if (whole < 3600) {
        snprintf(text, sizeof text, "%lldm %02llds", whole / 60, whole % 60);
    } else {
        snprintf(text, sizeof text, "%lldh %02lldm", whole / 3600, whole / 60 % 60);
    }
    return text;
}

}  // namespace

std::string progress_line(const std::string &verb, uint64_t records, uint64_t done, uint64_t whole,
                          double seconds) {
    std::string line = verb + ": " + std::to_string(records) + " records";
    if (seconds > 0) {
        char rate[48];
        snprintf(rate, sizeof rate, ", %.0f a second", static_cast<double>(records) / seconds);
        line += rate;
    }
    if (whole > 0 && done > 0 && done <= whole) {
        const double part = static_cast<double>(done) / static_cast<double>(whole);
        char percent[16];
        snprintf(percent, sizeof percent, ", %.0f %%", part * 100);
        line += percent;
        if (part >= kFirstGuess) {
            line += ", " + in_words(seconds / part - seconds) + " left";
        }
    }
    return line;
}

Progress::Progress(const char *verb, bool quiet)
    : verb_(verb),
      shown_(!quiet && isatty(STDERR_FILENO) != 0),
      start_(Clock::now()),
      last_(start_) {}

void Progress::redraw(uint64_t records, uint64_t done, uint64_t whole) {
    const auto now = Clock::now();
    if (now - last_ >= kInterval) {
        last_ = now;
        const double seconds = std::chrono::duration<double>(now - start_).count();
        draw(progress_line(verb_, records, done, whole, seconds));
    }
}

void Progress::say(const char *step) {
    if (shown_) {
        draw(verb_ + ": " + step);
    }
}

// The line before may have been longer: the rest of it is erased.
void Progress::draw(const std::string &line) {
    fprintf(stderr, "\r%s\x1b[K", line.c_str());
    fflush(stderr);
    drawn_ = true;
}

void Progress::clear() {
    if (drawn_) {
        fputs("\r\x1b[K", stderr);
        fflush(stderr);
        drawn_ = false;
    }
}

}  // namespace tool
