/* SPDX-License-Identifier: MIT */
#ifndef HOST_CONFIG_H
#define HOST_CONFIG_H

#include <stdint.h>

#include "host/linkage.h"

HOST_BEGIN

typedef struct ZCNamedValue {
    const char *name;
    int32_t value;
} ZCNamedValue;

typedef int (*ZCHandler)(const char *name, void *value, int16_t short_value, int announce);

typedef struct ZCVariable {
    const char *name;
    uint32_t type;
    intptr_t default_value;
    const ZCNamedValue *named_values;
    uint32_t named_count;
    ZCHandler handler;
    uint32_t reserved;
} ZCVariable;

HOST_API int ZCDefineVariables(const ZCVariable *table, uint32_t count, int flags);
HOST_API int ZCUndefineVariables(const ZCVariable *table, uint32_t count, int flags);
HOST_API int ZCDefineIndicator(const char *name, int flags, unsigned char *byte);
HOST_API int ZCSetValueString(const char *name, const char *value);
HOST_API int ZCSetValueRaw(const char *name, int flags, const char *value);
HOST_API const char *ZCGetValueString(const char *name);
HOST_API int ZCGetValueBool(const char *name, int otherwise);
HOST_API int8_t ZCGetValueTinyint(const char *name, int8_t otherwise);
HOST_API int16_t ZCGetValueShort(const char *name, int16_t otherwise);
HOST_API int32_t ZCGetValueLong(const char *name, int32_t otherwise);
HOST_API int ZCLoadFile(const char *path);
HOST_API void ZCAnnounce(int on);

HOST_END

#endif
