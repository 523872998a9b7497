/* SPDX-License-Identifier: MIT
 *
 * The where-constraint buffer: a program leaves one extra SQL where clause for
 * its next database access in it, or in the variable 4GL_WHERE_CONSTRAINT. */
#ifndef WBFSI_WHERE_H
#define WBFSI_WHERE_H

#include "wbfsi/api.h"

/* Shape of the buffer: the text, padded with spaces, then the guard, the bytes
 * 0x80 0x82 0x86 0x84 and "kst4gl".  A clause has 2 to 32749 bytes and begins the
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

/* Brings the caller's extra clause up to date, before a database access.
 *   where  the clause: a block of the host's memory that the caller owns, or null.
 *          It is replaced when something else is in force, freed and null when
 *          nothing is
 * The variable's text counts when it is not empty, else the buffer's without its
 * trailing blanks and zero bytes.  It is used once: taking it arms the buffer anew, so that
 * the next check drops the clause unless the program gave one again, which may be
 * the same.
 * When the guard is not whole (also for a text that leaves no space in front of it)
 * everything written is discarded, the buffer armed, and the clause stays.  One byte
 * alone in the buffer is no clause.
 * Without memory: f_errno 14, *where null, and the new clause waits for the next
 * check. */
WBFSI_API void Z4CheckExtraWhere(char **where);

WBFSI_END

#endif
