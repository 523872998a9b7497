// SPDX-License-Identifier: MIT
//
// Ctrl-C and SIGTERM during a run that must leave nothing half done.
#ifndef TOOL_INTERRUPT_H
#define TOOL_INTERRUPT_H

#include <csignal>

#include "sql/connection.h"

namespace tool {

// While one of these lives, the first SIGINT, SIGTERM or SIGHUP only sets a mark
// and ends the statement that the database runs; the command sees the mark between
// two records and gives up in order.  A second signal ends the process at once,
// which the database's journal survives.  One at a time.
class InterruptGuard {
 public:
    // `connection` may be null.  `outcome` says what a run that is given up leaves
    // behind ("nothing was loaded"); it stays.
    InterruptGuard(sql::Connection *connection, const char *outcome);
    ~InterruptGuard();
    InterruptGuard(const InterruptGuard &) = delete;
    InterruptGuard &operator=(const InterruptGuard &) = delete;

    static bool is_set();
    // Throws Failure with the outcome, or another, when a signal has come.
    static void check();
    static void check(const char *outcome);

 private:
    struct sigaction old_[3];
};

}  // namespace tool

#endif
