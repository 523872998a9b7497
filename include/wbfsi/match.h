/* SPDX-License-Identifier: MIT
 *
 * Does a file description agree with what is really there: with the columns and
 * indexes of a table, and with the description that the program declares?  The
 * functions compare and mark; no database is touched.
 *
 * Tables: column names end with a zero byte or fill their array.  Counts and
 * numbers in a table are not trusted: a column or an index that is not there
 * matches nothing.  While f_trace is set each comparison of two names is traced,
 * and names are searched in time of fields by columns; else they are found in
 * time that grows in proportion, or, when memory is refused, searched all the
 * same.  The result does not depend on it. */
#ifndef WBFSI_MATCH_H
#define WBFSI_MATCH_H

#include "wbfsi/api.h"
#include "wbfsi/records.h"
#include "wbfsi/table.h"

/* Results of Z4MatchFDInfotoXFD.  From Z4_FD_KEYS_DIFFER on: 5 is the primary
 * key; 5 + n with the number of keys of the Xfd as n says that an alternate key of
 * the program is not in the Xfd, with a smaller n that key n of the Xfd is none of
 * the program's. */
enum {
    Z4_FD_AGREES = 0,
    Z4_FD_MAX_SIZE_DIFFERS = 2, /* or a description could not be read */
    Z4_FD_MIN_SIZE_DIFFERS = 3,
    Z4_FD_KEY_COUNT_DIFFERS = 4,
    Z4_FD_KEYS_DIFFER = 5
};

WBFSI_BEGIN

/* The index of the first column whose db_name is the name, to the letter; -1 when
 * there is none, and for a null table or name. */
WBFSI_API int Z4FindColumn(DbTableInfo *table, const char *name);

/* Links the fields of a description with the columns of a table by name.
 *   table   column_count, extra_columns, table_count and name_compare_length say
 *           what counts.  Columns that are set aside, or have a field_num other
 *           than -1, are passed over.
 * Fields are served in their order, each with the first free column whose
 * match_name is the field's name in lower case, "-" as "_": fd_db_col_num and
 * field_num are set.  Then columns without a field are set aside.
 * Returns 1 when every field has its column; else 0, without a mark when the
 * counts forbid it (fewer columns than fields, or more while 4GL_EXTRA_DB_COLS_OK
 * is off), with those of the fields in front of the one that has no column
 * otherwise. */
WBFSI_API int Z4MatchDBColstoXFD(Xfd *xfd, DbTableInfo *table);

/* Compares one index of a table, index_columns, with a key of a description: the
 * columns of the index are the first columns of the key, in the same order, by
 * match_name.  Then finds the key's columns in each of the table_count tables and
 * sets them aside.
 *   key  index of the key
 * Returns 1; 0 when a name differs, the index has more columns than the key, a
 * table lacks a column of the key (the marks made so far stay), or there is no such
 * key. */
WBFSI_API int Z4MatchDBKeystoXFD(Xfd *xfd, DbTableInfo *table, unsigned key);

/* Compares the file description of a program with an Xfd.
 *   file_info  numbers as one line that Zcds_new splits: maximum and minimum
 *              record size, number of keys
 *   key_info   the same for the keys, one after the other, the primary one first:
 *              segments, duplicates (0 or not), then length and offset of each
 *              segment.  Not read when there are no keys.
 * Alternate keys may come in any order; each of the Xfd counts once.  Returns
 * Z4_FD_AGREES, or the first disagreement in the order of the codes above. */
WBFSI_API int Z4MatchFDInfotoXFD(Xfd *xfd, const char *file_info, const char *key_info);

WBFSI_END

#endif
