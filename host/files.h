/* SPDX-License-Identifier: MIT
 *
 * Files, read or written from start to end through a buffer, and today's date.
 * Failures leave the cause in errno. */
#ifndef HOST_FILES_H
#define HOST_FILES_H

#include <stddef.h>
#include <stdint.h>

#include "host/linkage.h"

HOST_BEGIN

typedef struct ZFile ZFile;

/* Opens a file.
 *   mode   "r" reads, "w" begins an empty file, "a" writes behind what is there;
 *          a "b" behind it changes nothing
 *   flags  for hosts that look names up in more than one way; not looked at here
 * Null with the errno of the system, EINVAL for another mode and a null path,
 * EISDIR for a directory, ENOMEM (and no file touched) without memory. */
HOST_API ZFile *os_fopen(const char *path, const char *mode, int flags);

/* Reads a line with its newline, at most size - 1 bytes of it, and terminates it.
 * Returns buffer; null at the end and on an error, which os_ferror tells apart:
 * the buffer's contents are then of no use.  A last line without a newline is a
 * line.  Zero bytes are read like any other. */
HOST_API char *os_fgets(char *buffer, int size, ZFile *file);

/* The bytes read, which may be fewer than asked for; 0 at the end, on an error and
 * when none were asked for. */
HOST_API size_t os_fread(void *buffer, size_t bytes, ZFile *file);

/* The bytes taken.  They are in the file when os_fclose has returned 1; after a
 * failed write nothing more is taken. */
HOST_API size_t os_fwrite(const void *bytes, size_t n, ZFile *file);

/* Non-zero when a read or write failed, or the file was not opened for it. */
HOST_API int os_ferror(ZFile *file);

/* Writes what is still in the buffer, closes the file and releases it in any case.
 * 1; 0 when a write failed now or before, and for null. */
HOST_API int os_fclose(ZFile *file);

/* Removes a file: 1, or 0. */
HOST_API int os_unlink(const char *path);

/* The standard input, always the same; closing it does nothing and returns 1. */
HOST_API ZFile *os_stdin(void);

/* Today as yyyymmdd in local time.  SOURCE_DATE_EPOCH in the environment, when it
 * is a decimal number of seconds since 1970, stands for the clock. */
HOST_API int32_t os_date(void);

HOST_END

#endif
