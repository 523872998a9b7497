/* SPDX-License-Identifier: MIT */
#ifndef WBFSI_BUILD_H
#define WBFSI_BUILD_H

#include <stdint.h>

#include "wbfsi/api.h"
#include "wbfsi/records.h"

WBFSI_BEGIN

WBFSI_API Xfd *Z4AllocXFD(const char *select_name, const char *table_name,
                          const char *cobol_trigger, uint32_t max_rec_size, uint32_t min_rec_size,
                          const XfdCvtInfo *cvt_info, uint16_t file_type, uint32_t n_fields,
                          uint32_t n_keys, uint32_t n_conditions);
WBFSI_API int Z4AddXFDKey(Xfd *xfd, uint16_t seg_count, uint8_t duplicates,
                          const uint16_t *seg_lengths, const uint32_t *seg_offsets,
                          uint16_t n_columns);
WBFSI_API int Z4AddXFDKeyColumn(Xfd *xfd, uint16_t key_index, int16_t field_num, const char *name);
WBFSI_API int Z4AddXFDField(Xfd *xfd, uint32_t offset, const XfdArgument *argument,
                            uint16_t user_type, uint16_t cond_num, uint16_t level,
                            const uint16_t *max_occurs, const uint16_t *occurs_index,
                            uint8_t occurs_depth, uint8_t in_key, uint8_t in_secondary_table,
                            uint8_t hidden, uint8_t read_only, uint8_t identity, const char *name,
                            const char *format, const char *comment, const char *subtable,
                            const char *null_value);
WBFSI_API int Z4XFDAddCondition(Xfd *xfd, int16_t type, const char *variable, const char *value,
                                const char *table, int16_t num1, int16_t num2, int16_t field_num);
WBFSI_API Xfd *Z4CopyXFD(const Xfd *xfd);
WBFSI_API void Z4XFDFree(Xfd *xfd);

WBFSI_END

#endif
