// SPDX-License-Identifier: MIT
//
// How the services of the reference host report what went wrong through the
// error state of host/errors.h.  The state itself lives in errors.cpp.
#ifndef RUNTIME_ERROR_STATE_H
#define RUNTIME_ERROR_STATE_H

#include <stdint.h>

#include "host/linkage.h"

namespace host {

inline constexpr int16_t kParameterError = 2;
inline constexpr int16_t kNoMemory = 14;

// Sets error, message and a clear secondary state; returns 0, the result of a
// service that failed.  The text is cut at 1023 bytes and stays until the next.
int refuse(int16_t error, const char *format, ...) HOST_PRINTF(2, 3);

// The same for a refused allocation: error 14, errno ENOMEM, no message.
int refuse_memory();

// A long value in a message is cut at this many bytes ("%.*s").
inline constexpr int kShownBytes = 200;

}  // namespace host

#endif
