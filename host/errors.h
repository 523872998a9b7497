/* SPDX-License-Identifier: MIT */
#ifndef HOST_ERRORS_H
#define HOST_ERRORS_H

#include <stdint.h>

#include "host/linkage.h"

HOST_BEGIN

HOST_API int16_t *Zstdlib_f_errno(void);
HOST_API int16_t *Zstdlib_f_int_errno(void);
HOST_API int32_t *Zstdlib_f_int2_errno(void);
HOST_API const char **Zstdlib_f_errmsg(void);
HOST_API int16_t *Zstdlib_f_upgrade_rlock(void);

HOST_END

#endif
