/* SPDX-License-Identifier: MIT */
#ifndef WBFSI_RECORDS_H
#define WBFSI_RECORDS_H

#include <stdint.h>

#include "host/data.h"
#include "host/strings.h"

#define XFD_MAX_SEGMENTS 16
#define XFD_MAX_OCCURS 16

typedef ZArgument XfdArgument;

typedef struct XfdKeyColumn {
    int16_t kc_field_num;
    char kc_name[32];
} XfdKeyColumn;

typedef struct XfdKey {
    uint16_t k_seg_count;
    uint8_t k_duplicates;
    uint16_t k_seg_length[XFD_MAX_SEGMENTS];
    uint32_t k_seg_offset[XFD_MAX_SEGMENTS];
    uint16_t k_db_index;
    uint16_t k_n_fields;
    uint16_t k_n_fields_alloc;
    XfdKeyColumn *k_field;
} XfdKey;

typedef struct XfdField {
    uint32_t fd_offset;
    XfdArgument fd_argument;
    uint16_t fd_user_type;
    uint16_t fd_cond_num;
    uint16_t fd_level;
    uint16_t fd_max_occurs[XFD_MAX_OCCURS];
    uint16_t fd_occurs_index[XFD_MAX_OCCURS];
    uint8_t fd_occurs_depth;
    uint32_t fd_flags;
    char fd_name[31];
    char fd_format[31];
    uint8_t fd_valid;
    ZString fd_comment;
    int32_t fd_db_col_num;
    char *fd_hash_name;
    char fd_subtable[129];
    char *fd_null_value;
} XfdField;

typedef struct XfdOccurs {
    uint16_t oc_times;
    uint16_t oc_size;
    uint32_t oc_start_field;
    char oc_subtable[129];
} XfdOccurs;

typedef struct XfdCondition {
    int16_t c_type;
    char c_variable[31];
    char c_value[51];
    char c_table[129];
    int16_t c_num1;
    int16_t c_num2;
    int16_t c_field_num;
    uint32_t c_flags;
} XfdCondition;

typedef struct Xfd {
    uint16_t x_version;
    char x_select_name[31];
    char x_table_name[129];
    char *x_filename;
    char *x_cobol_trigger;
    uint32_t x_max_rec_size;
    uint32_t x_min_rec_size;
    uint16_t x_n_keys_alloc;
    uint16_t x_n_keys;
    XfdCvtInfo *x_cvt_info;
    XfdKey *x_key_desc;
    uint16_t x_n_conditions;
    uint16_t x_n_conditions_alloc;
    XfdCondition *x_condition;
    uint32_t x_n_fields;
    uint32_t x_n_total_fields;
    uint32_t x_n_fields_alloc;
    XfdField *x_fdesc;
    uint16_t x_file_type;
    uint32_t x_n_fields_listed;
    uint32_t x_n_total_fields_listed;
    int32_t x_identity_field;
    uint32_t x_flags;
    char *x_temp_file;
} Xfd;

/* File organisations, Xfd.x_file_type. */
enum { XFD_SEQUENTIAL = 4, XFD_LINE_SEQUENTIAL = 5, XFD_RELATIVE = 8, XFD_INDEXED = 12 };

/* Bits of Xfd.x_flags. */
enum { XFD_MULTIPLE_01 = 1 };

/* Bits of XfdField.fd_flags. */
enum {
    XFD_FIELD_IN_KEY = 1,
    XFD_FIELD_IN_SECONDARY_TABLE = 2,
    XFD_FIELD_HIDDEN = 4,
    XFD_FIELD_READ_ONLY = 8,
    XFD_FIELD_IDENTITY = 16,
    XFD_FIELD_ADDED = 32
};

/* XfdField.fd_cond_num of an item that belongs to the listed view alone. */
enum { XFD_LISTED_ONLY = 999 };

/* XfdCondition.c_type. */
enum {
    XFD_COND_EQ = 1,
    XFD_COND_AND = 2,
    XFD_COND_OTHER = 3,
    XFD_COND_GT = 4,
    XFD_COND_GE = 5,
    XFD_COND_LT = 6,
    XFD_COND_LE = 7,
    XFD_COND_NE = 8,
    XFD_COND_OR = 9
};

/* Bits of XfdCondition.c_flags. */
enum { XFD_CONDITION_TRUE = 1 };

#endif
