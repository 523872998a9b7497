/* SPDX-License-Identifier: MIT */
#ifndef WBFSI_LOCATE_H
#define WBFSI_LOCATE_H

#include "wbfsi/api.h"

WBFSI_BEGIN

WBFSI_API char *Z4GetXFDName(char *dst, const char *src);
WBFSI_API const char *Z4DBFromPath(const char *path);
WBFSI_API int Z4FlattenName(char *name);

WBFSI_END

#endif
