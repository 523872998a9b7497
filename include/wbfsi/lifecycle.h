/* SPDX-License-Identifier: MIT
 *
 * Start and end of the library's work in a process.  fsi_init_cfg comes first,
 * once, then Z4Init from each database interface that starts.
 *
 * Variables that fsi_init_cfg declares:
 *   XML_KEEP_WHITESPACE  OFF or FALSE 0, ON, TRUE or INPUT 1, OUTPUT 2, BOTH or
 *                        IO 3; 0 unless set
 *   FILE_TRACE           the trace level, f_trace; 0 unless set
 *   STRENGTHEN_LOCKS     the host's flag that upgrades read locks
 *   XFD_MAP_RESETS       1 (unless set): each XFD_MAP replaces the name map;
 *                        0: it adds to it
 *   XFD_MAP              PATTERN=NAME,PATTERN=NAME ... (locate.h)
 *   NO_TRANSACTIONS, DEFAULT_HOST, DEFAULT_FILESYSTEM, DEFAULT_IDX_FILESYSTEM,
 *   DEFAULT_REL_FILESYSTEM, DEFAULT_SEQ_FILESYSTEM
 *                        for the host alone
 * Z4Init declares those named 4GL_... and PLEX_DATE_...; docs/api/configuration.md
 * lists them with their defaults. */
#ifndef WBFSI_LIFECYCLE_H
#define WBFSI_LIFECYCLE_H

#include "wbfsi/api.h"

WBFSI_BEGIN

/* Declares the general variables and arms the where-constraint buffer (where.h).
 * Returns what Z4FillWhereMagic returned. */
WBFSI_API int fsi_init_cfg(void);

/* Declares the variables of the database interfaces.  Always 0; doing it again
 * changes nothing. */
WBFSI_API int Z4Init(void);

/* Withdraws what Z4Init declared.  The general variables, the name map and the
 * database map stay.  Always 0. */
WBFSI_API int Z4Exit(void);

/* Field names are folded to upper case from here on, until the next load of a
 * dictionary reads 4GL_COLUMN_CASE anew.  Always 1. */
WBFSI_API int Z4SetCaseUpper(void);

WBFSI_END

#endif
