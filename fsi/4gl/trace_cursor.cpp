// SPDX-License-Identifier: MIT
//
// Cursor and transaction tracing.  Hosts differ in how long a trace line may be;
// pieces of 1020 characters fit all of them.
#include <array>
#include <cstdio>
#include <cstring>

#include "host/messages.h"
#include "wbfsi/trace.h"

namespace {

constexpr int kPieceLength = 1020;

constexpr std::array<const char *, 3> kContextNames = {
    "COMMIT_CONTEXT_PROGRAMMED", "COMMIT_CONTEXT_UNKNOWN", "COMMIT_CONTEXT_NO_TRX"};

}  // namespace

int Z4CurTrace(const char *text, int level, int cursor) {
    if (cursor >= 0)
        ZTrace(0, level, "CURSOR %d: ", cursor);
    else if (cursor == Z4_LOCK_CURSOR)
        ZTrace(0, level, "LOCK CURSOR: ");

    size_t rest = std::strlen(text);
    for (; rest > kPieceLength; rest -= kPieceLength) {
        ZTrace(0, level, "%.*s", kPieceLength, text);
        text += kPieceLength;
    }
    return ZTrace(0, level, "%s", text);
}

int Z4TransactionTrace(const char *code_name, int context, int level) {
    if (f_trace <= level)
        return f_trace;
    char entering[sizeof "entering  code: " + Z4_CODE_NAME_SHOWN];
    std::snprintf(entering, sizeof entering, "entering %.*s code: ", Z4_CODE_NAME_SHOWN, code_name);
    Z4CurTrace(entering, level, 0);

    const auto index = static_cast<size_t>(context);
    if (context >= 0 && index < kContextNames.size())
        return Z4CurTrace(kContextNames[index], level, 0);
    char other[16];
    std::snprintf(other, sizeof other, "[%d]", context);
    return Z4CurTrace(other, level, 0);
}
