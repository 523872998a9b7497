/* SPDX-License-Identifier: MIT */
#ifndef HOST_STRINGS_H
#define HOST_STRINGS_H

#include <stddef.h>
#include <stdint.h>

#include "host/linkage.h"

HOST_BEGIN

typedef struct ZStringBody *ZString;

HOST_API ZString ZSTRINGNew(size_t capacity, const char *tag, const char *source);
HOST_API int ZSTRINGAppend(ZString string, const char *text);
HOST_API int ZSTRINGAppendN(ZString string, const void *bytes, size_t n);
HOST_API ZString ZSTRINGDup(ZString string);
HOST_API void ZSTRINGDelete(ZString string);
HOST_API const char *ZStringGet(ZString string);
HOST_API size_t ZStringGetLength(ZString string);
HOST_API void ZStringClear(ZString string);
HOST_API void ZStringRemoveRight(ZString string, size_t n);
HOST_API int ZStringCompareHH(ZString a, ZString b);
HOST_API int ZIsAString(const void *target);

HOST_API int ZSTRINGAddNSPChar(ZString string, const char *piece);
HOST_API int ZSTRINGAddNSString(ZString string, ZString piece);
HOST_API uint32_t ZStringCountNSStrings(ZString string);
HOST_API const char *ZStringGetNSPiece(ZString string, uint32_t i, size_t *length);

HOST_API void Zspace_info(const char *text, size_t length, size_t *first, size_t *end);

HOST_END

#endif
