/* SPDX-License-Identifier: MIT */
#ifndef HOST_NAMES_H
#define HOST_NAMES_H

#include <stdint.h>

#include "host/linkage.h"

HOST_BEGIN

HOST_API void stdz_name(char *name, int32_t length, int mode);
HOST_API char *Zbasename(const char *path);
HOST_API char *concat_path(char *dest, const char *directory, const char *name);
HOST_API int Zget_path_element(char *element, const char *cobol_name, const char *list, int first,
                               void **state);
HOST_API char *Zdbc_strchr(const char *text, int c);
HOST_API char *dbc_next(const char *text);

HOST_END

#endif
