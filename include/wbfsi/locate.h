/* SPDX-License-Identifier: MIT
 *
 * Services on file names: the name map, the map from directories to databases,
 * and paths as table names.  Finding the dictionary of a file is part of
 * loading it (load.h).  No pointer may be null. */
#ifndef WBFSI_LOCATE_H
#define WBFSI_LOCATE_H

#include "wbfsi/api.h"

WBFSI_BEGIN

/* The name that XFD_MAP puts in the place of a file name; the name itself when
 * no pattern covers it whole.  Patterns are tried in the order in which they were
 * added: "*" stands for any run of characters, "?" for one, case counts.
 *   dst  takes at most 129 bytes: the name and its zero byte, and with a name of
 *        129 characters or more its first 129 without one.  So callers clear a
 *        larger buffer first (260 bytes are usual).  May be src.
 * Returns dst. */
WBFSI_API char *Z4GetXFDName(char *dst, const char *src);

/* The database that 4GL_DB_MAP gives to the directory of a path; null when it
 * gives none, the path names no directory, or memory is refused.  The map may name
 * the directory as it is, with "/" or with "\" behind it, tried in this order.
 * The result belongs to the map and ends with the next clearing of 4GL_DB_MAP. */
WBFSI_API const char *Z4DBFromPath(const char *path);

/* Turns a path into a table name, in place: drops the directory, but joins the
 * last 4GL_USEDIR_LEVEL directory names with the file's.  /usr/ledger/sales/orders
 * is orders at level 0, salesorders at level 1.  The text never gets longer.
 * Returns 1 when it changed the name, else 0. */
WBFSI_API int Z4FlattenName(char *name);

WBFSI_END

#endif
