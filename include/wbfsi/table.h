/* SPDX-License-Identifier: MIT
 *
 * The description of a database table that an interface hands to the library.
 * Members named "reserved" are the interface's own. */
#ifndef WBFSI_TABLE_H
#define WBFSI_TABLE_H

#include <stdint.h>

#include "wbfsi/api.h"

/* One column of the table. */
typedef struct DbColumnInfo {
    char db_name[31];    /* as the database gives it */
    char match_name[37]; /* what is compared with field names */
    int32_t field_num;   /* index of the matching field; -1: none */
    char reserved[58];
    uint16_t table_num; /* table that the column belongs to, 0 .. table_count - 1 */
    uint32_t flags;     /* DB_COLUMN_... */
    char reserved_behind[4];
} DbColumnInfo;

/* Bits of DbColumnInfo.flags.  A column that is set aside is not matched with
 * fields: a copy of a key column, or one that no field stands for. */
enum { DB_COLUMN_SET_ASIDE = 2 };

/* One table. */
typedef struct DbTableInfo {
    char reserved[516];
    uint16_t table_count;         /* tables that repeat the key columns */
    uint32_t extra_columns;       /* columns that no field stands for */
    uint32_t column_count;        /* entries of columns */
    uint32_t name_compare_length; /* not 0: characters of a name that count */
    DbColumnInfo *columns;
    int32_t index_columns[16]; /* columns of one index in order, then -1 unless there are 16 */
} DbTableInfo;

WBFSI_BEGIN

/* Releases a table description, column array and all, both of which came from
 * Zmalloc; null is accepted. */
WBFSI_API void Z4FreeTable(DbTableInfo *table);

WBFSI_END

#endif
