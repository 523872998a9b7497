/* SPDX-License-Identifier: MIT
 *
 * The records of a file description (XFD): what the library knows about one
 * COBOL file.  Callers receive pointers into them; order, width and stride of
 * the members are part of the interface.  For reading them there is one
 * function a property in accessors.h; build.h makes and releases them.
 *
 * Texts end with a zero byte; an array of N bytes and a limit of fewer
 * characters keeps zeros behind the text.  Field, key and condition indexes are
 * 0-based; a condition called by its number is 1-based, 0 being none.
 *
 * Ownership: an Xfd owns its conversion settings, its three arrays, the column
 * array of each key, comment and null value of each field, file name and
 * trigger; Z4XFDFree releases them.  The records of one OCCURS group may share
 * a comment and a null value; nothing is shared between two Xfds. */
#ifndef WBFSI_RECORDS_H
#define WBFSI_RECORDS_H

#include <stdint.h>

#include "host/data.h"
#include "host/strings.h"

#define XFD_MAX_SEGMENTS 16 /* segments of a key */
#define XFD_MAX_OCCURS 16   /* entries of the OCCURS arrays of a field */

/* The host's description of a data item; XfdCvtInfo, the conversion settings of
 * a file, is the host's too (host/data.h). */
typedef ZArgument XfdArgument;

/* One field that makes up a key. */
typedef struct XfdKeyColumn {
    int16_t kc_field_num; /* index of the field; -1 until it is found */
    char kc_name[32];     /* its name, at most 30 characters */
} XfdKeyColumn;

/* One key; key 0 is the primary one. */
typedef struct XfdKey {
    uint16_t k_seg_count;                    /* segments in use, at most 16 */
    uint8_t k_duplicates;                    /* not 0: duplicates are allowed */
    uint16_t k_seg_length[XFD_MAX_SEGMENTS]; /* bytes */
    uint32_t k_seg_offset[XFD_MAX_SEGMENTS]; /* bytes from the start of the record */
    uint16_t k_db_index;                     /* matching database index; 65535: none */
    uint16_t k_n_fields;                     /* columns in use */
    uint16_t k_n_fields_alloc;               /* columns allocated */
    XfdKeyColumn *k_field;                   /* null without columns */
} XfdKey;

/* One field, elementary or group; of a field within OCCURS one record an
 * occurrence. */
typedef struct XfdField {
    uint32_t fd_offset;      /* bytes from the start of the record */
    XfdArgument fd_argument; /* size, type, digits, scale; the address is the caller's */
    uint16_t fd_user_type;   /* 1: a date */
    uint16_t fd_cond_num;    /* condition under which it exists, XFD_LISTED_ONLY, or 0 */
    uint16_t fd_level;       /* COBOL level; 999 on the added relative key */
    uint16_t fd_max_occurs[XFD_MAX_OCCURS];   /* times of each enclosing OCCURS, outermost first */
    uint16_t fd_occurs_index[XFD_MAX_OCCURS]; /* 1-based subscript at each of them */
    uint8_t fd_occurs_depth;                  /* enclosing OCCURS levels, 0..15 */
    uint32_t fd_flags;                        /* XFD_FIELD_... */
    char fd_name[31];                         /* column name, at most 30 characters */
    char fd_format[31];                       /* date format, at most 30 characters, or empty */
    uint8_t fd_valid;                         /* the caller's to use */
    ZString fd_comment;    /* comment lines in front of it in the file, or null */
    int32_t fd_db_col_num; /* matching column of the table; -1: none yet */
    char *fd_hash_name;    /* fd_name, of this record or of the first occurrence */
    char fd_subtable[129]; /* secondary table of its OCCURS group, or empty */
    char *fd_null_value;   /* text that stands for null, or null */
} XfdField;

/* One enclosing OCCURS group while a text dictionary is read. */
typedef struct XfdOccurs {
    uint16_t oc_times;       /* occurrences */
    uint16_t oc_size;        /* bytes of one occurrence */
    uint32_t oc_start_field; /* index of the first field within */
    char oc_subtable[129];   /* secondary table, at most 128 characters, or empty */
} XfdOccurs;

/* One record-type condition. */
typedef struct XfdCondition {
    int16_t c_type;      /* XFD_COND_... */
    char c_variable[31]; /* comparisons and "other": field tested, at most 30 characters */
    char c_value[51];    /* comparisons: what it is compared with, at most 50 bytes */
    char c_table[129];   /* table that goes with the condition, or empty */
    int16_t c_num1;      /* "and", "or": numbers of the operands, all 16 bits; else -1 */
    int16_t c_num2;
    int16_t c_field_num; /* index of the field tested */
    uint32_t c_flags;    /* XFD_CONDITION_... */
} XfdCondition;

/* One COBOL file. */
typedef struct Xfd {
    uint16_t x_version;      /* of the dictionary file; 0 when built by program */
    char x_select_name[31];  /* name in the SELECT clause, at most 30 characters */
    char x_table_name[129];  /* database table, at most 128 characters */
    char *x_filename;        /* path of the dictionary file; null when built by program */
    char *x_cobol_trigger;   /* name of the trigger program, or null */
    uint32_t x_max_rec_size; /* bytes */
    uint32_t x_min_rec_size; /* bytes */
    uint16_t x_n_keys_alloc;
    uint16_t x_n_keys;
    XfdCvtInfo *x_cvt_info;
    XfdKey *x_key_desc;
    uint16_t x_n_conditions;
    uint16_t x_n_conditions_alloc;
    XfdCondition *x_condition;
    uint32_t x_n_fields;       /* elementary items; or fields added */
    uint32_t x_n_total_fields; /* the same with OCCURS expanded */
    uint32_t x_n_fields_alloc; /* slots of x_fdesc */
    XfdField *x_fdesc;
    uint16_t x_file_type;             /* XFD_SEQUENTIAL ... */
    uint32_t x_n_fields_listed;       /* elementary items and those of the listed view */
    uint32_t x_n_total_fields_listed; /* the same with OCCURS expanded */
    int32_t x_identity_field;         /* index of the identity field; -1: none */
    uint32_t x_flags;                 /* XFD_MULTIPLE_01 */
    char *x_temp_file; /* temporary file of a load, or null; not freed with the Xfd */
} Xfd;

/* File organisations, Xfd.x_file_type. */
enum { XFD_SEQUENTIAL = 4, XFD_LINE_SEQUENTIAL = 5, XFD_RELATIVE = 8, XFD_INDEXED = 12 };

/* Bits of Xfd.x_flags. */
enum { XFD_MULTIPLE_01 = 1 /* more than one level-01 item */ };

/* Bits of XfdField.fd_flags. */
enum {
    XFD_FIELD_IN_KEY = 1,
    XFD_FIELD_IN_SECONDARY_TABLE = 2,
    XFD_FIELD_HIDDEN = 4,
    XFD_FIELD_READ_ONLY = 8,
    XFD_FIELD_IDENTITY = 16,
    XFD_FIELD_ADDED = 32 /* by the caller */
};

/* XfdField.fd_cond_num of an item that belongs to the listed view alone. */
enum { XFD_LISTED_ONLY = 999 };

/* XfdCondition.c_type. */
enum {
    XFD_COND_EQ = 1,
    XFD_COND_AND = 2,
    XFD_COND_OTHER = 3, /* no other condition on the same field holds */
    XFD_COND_GT = 4,
    XFD_COND_GE = 5,
    XFD_COND_LT = 6,
    XFD_COND_LE = 7,
    XFD_COND_NE = 8,
    XFD_COND_OR = 9
};

/* Bits of XfdCondition.c_flags. */
enum { XFD_CONDITION_TRUE = 1 /* for the current record */ };

#endif
