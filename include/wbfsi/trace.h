/* SPDX-License-Identifier: MIT
 *
 * Statements, cursors and transactions of a database interface in the host's
 * trace.  A line each goes out whatever the text's length; both return the trace
 * level, f_trace.  No pointer may be null; none is kept. */
#ifndef WBFSI_TRACE_H
#define WBFSI_TRACE_H

#include "wbfsi/api.h"

/* Cursors of Z4CurTrace that are no number. */
enum {
    Z4_NO_CURSOR = -1,  /* no prefix */
    Z4_LOCK_CURSOR = -2 /* "LOCK CURSOR: " */
};

/* Contexts of Z4TransactionTrace. */
enum { Z4_COMMIT_PROGRAMMED = 0, Z4_COMMIT_UNKNOWN = 1, Z4_COMMIT_NO_TRANSACTION = 2 };

/* Characters of a code name that Z4TransactionTrace shows. */
enum { Z4_CODE_NAME_SHOWN = 1000 };

WBFSI_BEGIN

/* Traces a text.  It does not look at f_trace; the caller does.
 *   text    terminated, of any length: one line up to 1020 characters, else lines
 *           of 1020 characters and one with the rest
 *   level   the trace's category of every line
 *   cursor  0 and above: a line "CURSOR n: " goes in front; Z4_LOCK_CURSOR: a line
 *           "LOCK CURSOR: "; any other value: none */
WBFSI_API int Z4CurTrace(const char *text, int level, int cursor);

/* Traces, while f_trace is above level, that a transaction routine is entered:
 * "entering NAME code: ", then the commit context, each as Z4CurTrace does for
 * cursor 0.
 *   code_name  terminated; the first Z4_CODE_NAME_SHOWN characters are shown
 *   context    Z4_COMMIT_... is shown by its name ("COMMIT_CONTEXT_PROGRAMMED",
 *              "COMMIT_CONTEXT_UNKNOWN", "COMMIT_CONTEXT_NO_TRX"), another as "[n]" */
WBFSI_API int Z4TransactionTrace(const char *code_name, int context, int level);

WBFSI_END

#endif
