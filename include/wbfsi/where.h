/* SPDX-License-Identifier: MIT
 *
 * The where-constraint buffer: a program leaves one extra SQL where clause for
 * its next database access in it, or in the variable 4GL_WHERE_CONSTRAINT. */
#ifndef WBFSI_WHERE_H
#define WBFSI_WHERE_H

#include "wbfsi/api.h"

/* Shape of the buffer: the text, padded with spaces, then the guard, the bytes
 * 0x80 0x82 0x86 0x84 and "kst4gl".  Whoever writes a clause stays within the
 * text; no zero byte is needed behind it. */
enum { XFD_WHERE_TEXT_BYTES = 32750, XFD_WHERE_BUFFER_BYTES = 32760 };

WBFSI_BEGIN

/* The buffer: XFD_WHERE_BUFFER_BYTES bytes that belong to the library and stay
 * at this address as long as it is loaded.  All zero before fsi_init_cfg, which
 * arms it. */
WBFSI_API char *Z4GLWhereConstraintAddr(void);

/* Arms the buffer: blanks the text, restores the guard, and empties
 * 4GL_WHERE_CONSTRAINT.  Returns what setting the variable returned: 1, or 0
 * when the host refused (the buffer is armed all the same). */
WBFSI_API int Z4FillWhereMagic(void);

WBFSI_END

#endif
