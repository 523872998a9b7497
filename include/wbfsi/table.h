/* SPDX-License-Identifier: MIT */
#ifndef WBFSI_TABLE_H
#define WBFSI_TABLE_H

#include <stdint.h>

#include "wbfsi/api.h"

typedef struct DbColumnInfo {
    char db_name[31];
    char match_name[37];
    int32_t field_num;
    char reserved[58];
    uint16_t table_num;
    uint32_t flags;
    char reserved_behind[4];
} DbColumnInfo;

typedef struct DbTableInfo {
    char reserved[516];
    uint16_t table_count;
    uint32_t extra_columns;
    uint32_t column_count;
    uint32_t name_compare_length;
    DbColumnInfo *columns;
    int32_t index_columns[16];
} DbTableInfo;

WBFSI_BEGIN

WBFSI_API void Z4FreeTable(DbTableInfo *table);

WBFSI_END

#endif
