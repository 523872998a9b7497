/* SPDX-License-Identifier: MIT
 *
 * Texts for people: messages from a catalogue, the error output, and the trace. */
#ifndef HOST_MESSAGES_H
#define HOST_MESSAGES_H

#include <stddef.h>
#include <stdint.h>

#include "host/linkage.h"

HOST_BEGIN

/* The text of a message: the catalogue's when MESSAGE_FILE names one that has the
 * message, with the placeholders of default_text, else default_text itself.  The
 * catalogue's texts live for ever.  Its format: docs/formats/messages.md. */
HOST_API const char *message_get(int number, int set, const char *default_text);

/* Writes a text to the error output, with %1 to %9 replaced by the arguments, all
 * const char *, in order; null stands for nothing.  "%%" is one "%"; any other "%"
 * is itself.  Exactly as many arguments are read as the highest number used.
 * Returns the bytes written. */
HOST_API int meprintf(const char *text, ...);

/* printf to the error output. */
HOST_API int eprintf(const char *format, ...) HOST_PRINTF(1, 2);

/* Writes one line to the trace, "2026-11-21 23:22:38.123456 [8] ", two blanks a
 * level (at most 64 levels) and the text: local time, the category, no category
 * filtered out.  A newline at the text's end is dropped, every other newline and
 * CR becomes a blank, and nothing is cut.  The line is in the file when the call
 * returns.
 *   level_change  1 on entering: the level rises behind this line; -1 on leaving:
 *                 it falls before it, not below 0; 0 inside
 * The trace goes to the sink of ZOutputRedirect, else to the file of TRACE_FILE,
 * else, while f_trace is not 0, to the error output.  Keeps errno.
 * Returns f_trace. */
HOST_API int ZTrace(int level_change, int category, const char *format, ...) HOST_PRINTF(3, 4);

/* Gives the error output (which 0) or the trace (1) to a sink; a null sink puts
 * things back.  A trace line comes in one call, its stamp and its newline included.
 * Only when its memory is refused does a line of more than 8 KB come in several,
 * of which the last one ends in the newline, and a newline at the text's end is
 * then a blank.  A message of more than 1 KB may come in several calls.  A sink may
 * trace and print. */
HOST_API void ZOutputRedirect(int which, void (*sink)(const char *text, size_t n, void *user),
                              void *user);

/* How much to trace, 0 for nothing; whoever traces asks it first. */
HOST_API extern int16_t f_trace;

HOST_END

#endif
