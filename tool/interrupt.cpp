// SPDX-License-Identifier: MIT
#include "tool/interrupt.h"

#include <iterator>
#include <string>

#include "tool/failure.h"

namespace tool {

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t signal_seen = 0;
sql::Connection *volatile running_connection = nullptr;
const char *outcome_of_run = "";

void on_signal(int number) {
    signal_seen = number;
    if (sql::Connection *connection = running_connection) {
        connection->interrupt();
    }
}

}  // namespace

InterruptGuard::InterruptGuard(sql::Connection *connection, const char *outcome) {
    static_assert(std::size(kSignals) == sizeof old_ / sizeof old_[0]);
    running_connection = connection;
    outcome_of_run = outcome;
    struct sigaction action = {};
    action.sa_handler = on_signal;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigemptyset(&action.sa_mask);
    for (size_t i = 0; i < std::size(kSignals); i++) {
        sigaction(kSignals[i], nullptr, &old_[i]);
        if (old_[i].sa_handler != SIG_IGN) {  // as nohup asks
            sigaction(kSignals[i], &action, nullptr);
        }
    }
}

InterruptGuard::~InterruptGuard() {
    for (size_t i = 0; i < std::size(kSignals); i++) {
        sigaction(kSignals[i], &old_[i], nullptr);
    }
    running_connection = nullptr;
}

bool InterruptGuard::is_set() {
    return signal_seen != 0;
}

void InterruptGuard::check() {
    check(outcome_of_run);
}

void InterruptGuard::check(const char *outcome) {
    if (is_set()) {
        throw Failure(std::string(signal_seen == SIGINT ? "interrupted" : "told to end") + "; " +
                      outcome);
    }
}

}  // namespace tool
