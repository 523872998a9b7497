/* SPDX-License-Identifier: MIT
 *
 * From the name that a COBOL program gives its file to the dictionary in
 * memory.  The file has one of two forms, which docs/formats/text-xfd.md and
 * docs/formats/xml-xfd.md describe; what the records mean stands in
 * wbfsi/records.h. */
#ifndef WBFSI_LOAD_H
#define WBFSI_LOAD_H

#include <stdint.h>

#include "wbfsi/api.h"
#include "wbfsi/records.h"

WBFSI_BEGIN

/* Bits of the flags of Z4ParseXFD; others are ignored. */
enum {
    /* Comment lines directly above a field become its fd_comment; the text form
     * alone has them. */
    XFD_LOAD_COMMENTS = 1,
    /* Items that are listed only (condition 999) get records too; of the text form
     * from version 5 on. */
    XFD_LOAD_LISTED_VIEW = 2,
    /* The occurrences of an OCCURS group keep the declared name instead of
     * getting suffixes _1, _2 ...  A group that names a sub-table does so
     * without this bit. */
    XFD_LOAD_SUBTABLES = 4,
    /* Fields of an OCCURS group are built once and the whole group is copied
     * when it ends: the records of one occurrence stay together.  The copies
     * keep the declared name and share comment, null value and fd_hash_name
     * with the first occurrence. */
    XFD_LOAD_COPY_OCCURS = 8,
    /* A relative file (type 8) gets a field of 31 bytes behind the record, level
     * 999, as key 0; its dictionary declares no keys then. */
    XFD_LOAD_RELATIVE_KEY = 16
};

/* Finds, opens and reads the dictionary of a file.
 *   name     as the program gave it, terminated, any length; directories in it
 *            do not count.  Null is an empty name.
 *   flags    XFD_LOAD_... bits
 *   context  longest composed field name in characters, the max_length of
 *            Z4make_sql_name; 30 is usual
 * Returns the dictionary, the caller's until it goes to Z4XFDFree, or null.
 *
 * Searched are the directories of XFD_PREFIX in order; without that variable the
 * one of XFD_DIRECTORY, "." when it is unset.  In each, six files are tried: the
 * name in lower case, as given and in upper case, each behind XFD_MAP and with
 * ".xfd", then ".XFD".  Directory, name and suffix of more than 259 characters
 * are passed over.  XFD_DIRECTORY holds each directory of XFD_PREFIX in turn and
 * has its earlier text afterwards, of which 255 characters are kept.
 * 4GL_TABLE_CASE and 4GL_COLUMN_CASE decide the case of select and field names.
 *
 * On success f_errno and f_int_errno are 0 and f_errmsg is null; x_filename is
 * the path read.  In the text form a field whose name cannot be composed or whose
 * date format is wrong ends the reading of fields, which is no failure: its slot
 * and all slots behind it have empty names, while the counts are as declared.  In
 * the XML form it is one.
 *
 * On failure nothing stays allocated, f_int2_errno and errno are those of the
 * system call that failed (0 when none did), f_errmsg points at a message that
 * lasts until the next load (empty where the table shows none), and:
 *
 *   f_errno f_int_errno  what was wrong                     message
 *   14      0            memory was refused                 none, or the next line's
 *   19      3            no dictionary found or opened      Unable to open XFD file for
 *                                                           '<name>', error = <errno>
 *   19      1            the file ends early, or cannot     Read error on XFD file,
 *                        be read                            error = <errno>
 *   19      2            made by a later version (over 8)   XFD file '<path>' is a later
 *                                                           version than 8
 *   19      2            no file type (version 4 on)        XFD file '<path>' missing file
 *                                                           type
 *   19      2            no such type of condition          Unknown condition type: <type>
 *   19      2            anything else malformed            XFD file '<path>', line <n>: and
 *                                                           what is wrong with which value
 *   19      2            the same in the XML form           XFD file '<path>', <way to the
 *                                                           element>: and the same
 *   19      5            neither form: not well-formed XML  XFD file '<path>', line <n>, column
 *                                                           <n>: neither the text form nor XML:
 *                                                           and expat's text
 *   19      6            XML form: a name is too long with  as for a malformed one, with message
 *                        its OCCURS suffixes                1161 of set 5
 *   1       0            XML form: the file cannot be read  Read error on XFD file, error =
 *                                                           <errno>
 *
 * A refused copy of the path fails its attempt only (f_errno 14 if it was the
 * last one).  When memory for the earlier text of XFD_DIRECTORY is refused, that
 * variable keeps the directory searched last, and the load fails with 14.
 *
 * With f_trace on, each attempt and key column is traced; above 10 the
 * dictionary is dumped to the error output before and after its conditions are
 * resolved.  Loads are not re-entrant. */
WBFSI_API Xfd *Z4ParseXFD(const char *name, uint32_t flags, int context);

WBFSI_END

#endif
