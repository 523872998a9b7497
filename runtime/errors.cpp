// SPDX-License-Identifier: MIT
//
// The file error state: one slot a value, process-wide, no locks.
#include "host/errors.h"

#include <errno.h>
#include <stdarg.h>
#include <stdio.h>

#include "runtime/error_state.h"

namespace {
int16_t file_error;
int16_t secondary_error;
int32_t system_error;
const char *error_message;
int16_t upgrade_read_locks;

char message_text[1024];
}  // namespace

int16_t *Zstdlib_f_errno() {
    return &file_error;
}

int16_t *Zstdlib_f_int_errno() {
    return &secondary_error;
}

int32_t *Zstdlib_f_int2_errno() {
    return &system_error;
}

const char **Zstdlib_f_errmsg() {
    return &error_message;
}

int16_t *Zstdlib_f_upgrade_rlock() {
    return &upgrade_read_locks;
}

namespace host {

int refuse(int16_t error, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(message_text, sizeof message_text, format, arguments);
    va_end(arguments);
    file_error = error;
    secondary_error = 0;
    system_error = 0;
    error_message = message_text;
    return 0;
}

int refuse_memory() {
    errno = ENOMEM;
    file_error = kNoMemory;
    secondary_error = 0;
    system_error = ENOMEM;
    error_message = nullptr;
    return 0;
}

}  // namespace host
