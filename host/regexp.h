/* SPDX-License-Identifier: MIT */
#ifndef HOST_REGEXP_H
#define HOST_REGEXP_H

#include <stddef.h>

#include "host/linkage.h"

HOST_BEGIN

typedef struct ZRegExp ZRegExp;
typedef struct ZRegExpMatch ZRegExpMatch;

HOST_API ZRegExp *ZRegExp_Compile(const char *pattern, int flags);
HOST_API ZRegExpMatch *ZRegExp_Match(ZRegExp *expression, const char *text, size_t *start,
                                     size_t *end);
HOST_API void ZRegExp_ReleaseMatch(ZRegExpMatch *match);
HOST_API void ZRegExp_Release(ZRegExp *expression);

HOST_END

#endif
