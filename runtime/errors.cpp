// SPDX-License-Identifier: MIT
//
// The file error state: one slot a value, process-wide, no locks.
#include "host/errors.h"

namespace {
int16_t file_error;
int16_t secondary_error;
int32_t system_error;
const char *error_message;
int16_t upgrade_read_locks;
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
