/* SPDX-License-Identifier: MIT */
#ifndef HOST_HANDLES_H
#define HOST_HANDLES_H

#include <stdint.h>

#include "host/linkage.h"

HOST_BEGIN

typedef uint32_t ZHandle;

typedef struct ZHandleType {
    const char *name;
    uint32_t record_size;
    uint16_t kind;
    void (*destroy)(ZHandle handle, void *record);
} ZHandleType;

HOST_API int H_declare(const ZHandleType *type);
HOST_API void H_undeclare(int type);
HOST_API ZHandle HBUILDV(int type, const char *tag, const char *source);
HOST_API void *H_lock(ZHandle handle);
HOST_API int H_type(ZHandle handle);
HOST_API ZHandle H_next(ZHandle previous, int type);
HOST_API int H_FREE(ZHandle handle);

HOST_END

#endif
