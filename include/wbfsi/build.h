/* SPDX-License-Identifier: MIT
 *
 * Building a file description by program: allocate it, append keys, fields and
 * conditions, copy it, release it.  A description read from a dictionary file
 * comes from load.h and is released here too.
 *
 * Every text and array passed in is copied, none is kept, and it may lie in the
 * Xfd itself (another field's name, say).  Longer texts than a member holds are
 * cut.
 *
 * An append returns the new count, which is the 1-based number of what it added,
 * or -1 and has added nothing: for a null Xfd or another null pointer that may
 * not be null, at a ceiling (65535 keys, columns of a key, or conditions;
 * 1000000 fields), and when memory is refused.  Arrays grow by one slot an
 * append; slots allocated beforehand are used first.  When the array that grows
 * cannot be had, what it held is released: its reference is null and its counts
 * are 0 (of fields the totals and the listed count too, and the identity field is
 * -1); the Xfd can be freed.  After any other failure the Xfd is as it was but for
 * one slot more that may be allocated.
 *
 * Pointers to records end with the next append to their array.
 *
 * No function here writes a message or sets the file error. */
#ifndef WBFSI_BUILD_H
#define WBFSI_BUILD_H

#include <stdint.h>

#include "wbfsi/api.h"
#include "wbfsi/records.h"

WBFSI_BEGIN

/* A new description without keys, fields and conditions.
 *   select_name    at most 30 characters are kept
 *   table_name     at most 128 characters are kept
 *   cobol_trigger  null: no trigger program
 *   max_rec_size   bytes, as min_rec_size
 *   cvt_info       copied
 *   file_type      4, 5, 8 or 12
 *   n_fields, n_keys, n_conditions
 *                  slots to allocate beforehand, 0 for none; they are cleared and
 *                  not in use
 * The caller releases it with Z4XFDFree.  Null for another file type, a null
 * name or cvt_info, more slots than the ceilings, or when memory is refused. */
WBFSI_API Xfd *Z4AllocXFD(const char *select_name, const char *table_name,
                          const char *cobol_trigger, uint32_t max_rec_size, uint32_t min_rec_size,
                          const XfdCvtInfo *cvt_info, uint16_t file_type, uint32_t n_fields,
                          uint32_t n_keys, uint32_t n_conditions);

/* Appends a key.
 *   seg_count    segments in use, at most 16
 *   duplicates   not 0: duplicates are allowed
 *   seg_lengths  16 lengths in bytes, copied whole
 *   seg_offsets  16 record offsets in bytes, copied whole
 *   n_columns    column slots to allocate beforehand; with 0 the columns that
 *                wait for this key (below) become its own, else they are released
 * k_db_index stays as the slot held it: 0 in a new one. */
WBFSI_API int Z4AddXFDKey(Xfd *xfd, uint16_t seg_count, uint8_t duplicates,
                          const uint16_t *seg_lengths, const uint32_t *seg_offsets,
                          uint16_t n_columns);

/* Appends a column to a key and returns the key's column count.
 *   key_index  0-based, at most the number of keys: a column given to the key
 *              behind the last one waits in its slot
 *   field_num  index of the field, -1 when it is not known yet
 *   name       at most 30 characters are kept
 * When the key's column array cannot grow, the key has no columns any more; when
 * the slot behind the last key cannot be had, the Xfd has no keys any more. */
WBFSI_API int Z4AddXFDKeyColumn(Xfd *xfd, uint16_t key_index, int16_t field_num, const char *name);

/* Appends a field.
 *   offset        bytes from the start of the record
 *   argument      copied, address and extra word included
 *   cond_num      condition number, 0 always; 999: the listed view alone, the
 *                 field does not count in x_n_total_fields
 *   max_occurs, occurs_index
 *                 16 entries each, copied whole
 *   in_key ... identity
 *                 flags, not 0: set.  An identity field is not in the secondary
 *                 table whatever is said, and becomes the Xfd's identity field.
 *   name          at most 30 characters are kept; null: as the slot held it
 *   format        at most 30 characters; null: as the slot held it
 *   comment       null: none
 *   subtable      at most 128 characters; null: as the slot held it
 *   null_value    null: none
 * The added bit, fd_valid and fd_db_col_num stay as the slot held them: 0 in a
 * new one.  After the array moved each fd_hash_name names its record again. */
WBFSI_API int Z4AddXFDField(Xfd *xfd, uint32_t offset, const XfdArgument *argument,
                            uint16_t user_type, uint16_t cond_num, uint16_t level,
                            const uint16_t *max_occurs, const uint16_t *occurs_index,
                            uint8_t occurs_depth, uint8_t in_key, uint8_t in_secondary_table,
                            uint8_t hidden, uint8_t read_only, uint8_t identity, const char *name,
                            const char *format, const char *comment, const char *subtable,
                            const char *null_value);

/* Appends a condition; the texts (30, 50 and 128 characters are kept) may be
 * empty, not null.  Whether it is true stays as the slot held it: false in a new
 * one. */
WBFSI_API int Z4XFDAddCondition(Xfd *xfd, int16_t type, const char *variable, const char *value,
                                const char *table, int16_t num1, int16_t num2, int16_t field_num);

/* A deep copy that shares nothing with the original; the caller releases it.
 * All allocated slots are copied and then count as in use.  Not carried over:
 * file name, temporary file, x_flags, listed counts (the total is counted anew),
 * k_db_index, c_flags, and of fields the added bit, fd_valid and fd_db_col_num.
 * Null for null, for a description that Z4AllocXFD would refuse, and when memory
 * is refused. */
WBFSI_API Xfd *Z4CopyXFD(const Xfd *xfd);

/* Releases a description and all it owns, a block that several fields share
 * once; null is accepted.  Also drops the comment that a load in progress
 * collects, and leaves x_temp_file alone. */
WBFSI_API void Z4XFDFree(Xfd *xfd);

WBFSI_END

#endif
