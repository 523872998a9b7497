/* SPDX-License-Identifier: MIT */
#ifndef HOST_MESSAGES_H
#define HOST_MESSAGES_H

#include <stddef.h>
#include <stdint.h>

#include "host/linkage.h"

HOST_BEGIN

HOST_API const char *message_get(int number, int set, const char *default_text);
HOST_API int meprintf(const char *text, ...);
HOST_API int eprintf(const char *format, ...) HOST_PRINTF(1, 2);
HOST_API int ZTrace(int level_change, int category, const char *format, ...) HOST_PRINTF(3, 4);
HOST_API void ZOutputRedirect(int which, void (*sink)(const char *text, size_t n, void *user),
                              void *user);
HOST_API extern int16_t f_trace;

HOST_END

#endif
