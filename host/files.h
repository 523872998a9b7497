/* SPDX-License-Identifier: MIT */
#ifndef HOST_FILES_H
#define HOST_FILES_H

#include <stddef.h>
#include <stdint.h>

#include "host/linkage.h"

HOST_BEGIN

typedef struct ZFile ZFile;

HOST_API ZFile *os_fopen(const char *path, const char *mode, int flags);
HOST_API char *os_fgets(char *buffer, int size, ZFile *file);
HOST_API size_t os_fread(void *buffer, size_t bytes, ZFile *file);
HOST_API size_t os_fwrite(const void *bytes, size_t n, ZFile *file);
HOST_API int os_ferror(ZFile *file);
HOST_API int os_fclose(ZFile *file);
HOST_API int os_unlink(const char *path);
HOST_API ZFile *os_stdin(void);
HOST_API int32_t os_date(void);

HOST_END

#endif
