/* SPDX-License-Identifier: MIT
 *
 * Configuration variables: somebody declares them in tables of rows, somebody
 * gives them values, everybody reads them by name.
 *
 * Names compare without case, and "-" equals "_".  They have 1 to 255 bytes.
 *
 * A value may come from the program (the functions below), from the environment
 * (the row's name in upper case, dashes as written, looked at when the row is
 * declared), from a file, or from the row.  The earlier of these wins, whatever
 * the order in which they came. */
#ifndef HOST_CONFIG_H
#define HOST_CONFIG_H

#include <stdint.h>

#include "host/linkage.h"

HOST_BEGIN

/* A word that stands for a number.  One whose name is null matches nothing. */
typedef struct ZCNamedValue {
    const char *name;
    int32_t value;
} ZCNamedValue;

/* Hears of each value and of each clearing of its variable, when the new value
 * can already be read.
 *   name         as the row spells it
 *   value        null on clearing; for type 10 a ZString that lives during the
 *                call, for others the text as it was given, until the next value
 *   short_value  the number of types 2, 3 and 5; else, and on clearing, 0
 *   announce     what ZCAnnounce says
 * It may set, clear and declare other variables, not its own.  Its result is not
 * looked at. */
typedef int (*ZCHandler)(const char *name, void *value, int16_t short_value, int announce);

/* One row of a table.
 *   type           what a value has to be; see below
 *   default_value  of types 2 to 6 the number; of 1, 7 and 8 the address of a
 *                  text, or 0; of 10 nothing
 *   named_values   words that types 3, 5 and 6 take beside numbers, without case
 *   handler        or null
 *   reserved       0
 *
 *   type  value
 *     1   a text kept exactly as it is
 *     2   1 0 on off true false yes no, without case
 *     3   a number from -128 to 127
 *     5   a number from -32768 to 32767
 *     6   a number of 32 bits with sign
 *   7, 8  a text
 *    10   a text for the handler alone, which hears every one of them
 *
 * A number is decimal with an optional sign, and nothing before or behind. */
typedef struct ZCVariable {
    const char *name;
    uint32_t type;
    intptr_t default_value;
    const ZCNamedValue *named_values;
    uint32_t named_count;
    ZCHandler handler;
    uint32_t reserved;
} ZCVariable;

/* Declares the rows in their order.  The table is not copied: it lives until it
 * is withdrawn.  flags is 0.
 * A row that is declared already is passed over, its variable unchanged.  A value
 * that somebody gave before is applied now, and its handler called: the strongest
 * one; of type 10 all of them, first the file's, then the environment's, then the
 * program's.  Without one no handler is called.
 * Returns 0
 *  - with error 2 and nothing declared when a row has no usable name, an unknown
 *    type, or a type other than the one its variable is declared with;
 *  - with error 14 and nothing declared when memory is refused (14 and everything
 *    declared when only a handler of type 10 could not be told);
 *  - with error 2 and all rows declared when a waiting value did not fit.  That
 *    value is forgotten and the next weaker one holds. */
HOST_API int ZCDefineVariables(const ZCVariable *table, uint32_t count, int flags);

/* Withdraws the rows' variables, however often they were declared, and unbinds
 * their indicators.  What was given to them stays for the next declaration.  No
 * handler is called.  Names that are not declared, and the host's own variables,
 * are passed over.  Returns 1.  flags is 0. */
HOST_API int ZCUndefineVariables(const ZCVariable *table, uint32_t count, int flags);

/* Keeps a byte equal to a variable: now, and after every change before its handler
 * runs, until the variable is withdrawn.  The byte holds the low eight bits of a
 * number, and 1 or 0 for a text that is not or is empty.  A variable may have
 * several; binding one again changes nothing.  0 with error 2 for a variable that
 * is not declared and a null byte, with error 14 without memory.  flags is 0. */
HOST_API int ZCDefineIndicator(const char *name, int flags, unsigned char *byte);

/* Gives a value, which is copied; null clears.  Clearing takes back all that
 * program, environment and file gave so far: the row's default holds until the
 * next value or declaration.  An empty text is a value.
 * A name that nobody has declared takes any text: it waits.  Of what waits, and of
 * what a handler of type 10 has heard, the newest MB of a variable is kept.  A value that does not
 * fit changes nothing, calls no handler and sets error 2 and a message with name,
 * value and what would be right; error 14 without memory. */
HOST_API int ZCSetValueString(const char *name, const char *value);
HOST_API int ZCSetValueRaw(const char *name, int flags, const char *value);

/* The text in force, until the variable's next change.  Null for names that nobody
 * declared, when nothing was given and the row has no text, and for type 10. */
HOST_API const char *ZCGetValueString(const char *name);

/* The number in force, brought into the range of the result.  A text gives the
 * number it is, or 0.  otherwise is the result only for a name that nobody declared. */
HOST_API int ZCGetValueBool(const char *name, int otherwise);
HOST_API int8_t ZCGetValueTinyint(const char *name, int8_t otherwise);
HOST_API int16_t ZCGetValueShort(const char *name, int16_t otherwise);
HOST_API int32_t ZCGetValueLong(const char *name, int32_t otherwise);

/* Reads a file of lines NAME VALUE or NAME=VALUE.  Blanks around name and value do
 * not count; empty lines and lines that begin with "#" say nothing.
 * 0 with error 2 when the file cannot be read, is larger than 4 MB, holds a zero
 * byte or a line that is malformed or whose value does not fit its declared
 * variable; the message names file and line, and no line of it counts.  0 with
 * error 14 when memory is refused, with error 2 when one of the host's own variables
 * below refuses its value; the lines before have then counted. */
HOST_API int ZCLoadFile(const char *path);

/* What handlers receive as announce from now on; 0 at the start. */
HOST_API void ZCAnnounce(int on);

/* The host's own variables, declared from the start and for ever:
 *   XFD_PREFIX       text: directories as Zget_path_element reads them
 *   XFD_DIRECTORY    text
 *   COBOL_CODE_PAGE  number, default 28591: setting it switches the code page,
 *                    and a page that ZSetCOBOLCharSet does not know is refused
 *   TRACE_FILE       text: trace lines are appended to this file; default and
 *                    empty text: the error output
 *   MESSAGE_FILE     text: a message catalogue; default and empty text: none */

HOST_END

#endif
