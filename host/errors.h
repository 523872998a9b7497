/* SPDX-License-Identifier: MIT
 *
 * The file error state.  Each function gives the address of one value, always the
 * same; whoever fails writes there, and nobody clears it for others. */
#ifndef HOST_ERRORS_H
#define HOST_ERRORS_H

#include <stdint.h>

#include "host/linkage.h"

HOST_BEGIN

/* The error, a number of the table of file errors (2 a parameter, 14 no memory, 19
 * the interface), its secondary code, and the code of the system behind it. */
HOST_API int16_t *Zstdlib_f_errno(void);
HOST_API int16_t *Zstdlib_f_int_errno(void);
HOST_API int32_t *Zstdlib_f_int2_errno(void);

/* The message, or null; not owned by who reads it, and gone with the next error. */
HOST_API const char **Zstdlib_f_errmsg(void);

/* Non-zero when read locks are to be upgraded; not an error. */
HOST_API int16_t *Zstdlib_f_upgrade_rlock(void);

HOST_END

#endif
