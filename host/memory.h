/* SPDX-License-Identifier: MIT */
#ifndef HOST_MEMORY_H
#define HOST_MEMORY_H

#include <stddef.h>
#include <stdint.h>

#include "host/linkage.h"

HOST_BEGIN

HOST_API void *Zmalloc(size_t size, const char *tag, const char *source);
HOST_API void *Zrealloc(void *block, size_t size, const char *tag, const char *source);
HOST_API void Zfree(void *block);
HOST_API char *ZSTRDUP(const char *text, const char *tag, const char *source);

HOST_API size_t ZMemoryInUse(const char *tag);
HOST_API size_t ZMemoryBlocks(const char *tag);
HOST_API void ZMemoryReport(void (*visit)(const char *tag, const char *source, size_t blocks,
                                          size_t bytes, void *user),
                            void *user);

HOST_API void ZMemoryRefuse(int64_t nth, int64_t count);
HOST_API uint64_t ZMemoryRefused(void);

HOST_END

#endif
