/* SPDX-License-Identifier: MIT */
#ifndef WBFSI_KEYS_H
#define WBFSI_KEYS_H

#include "wbfsi/api.h"
#include "wbfsi/records.h"

WBFSI_BEGIN

/* Bytes of the key buffer of Z4build_key. */
enum { XFD_KEY_BUFFER_BYTES = 250 };

WBFSI_API void Z4build_key(Xfd *xfd, const char *record, char *key_buffer, int clear_only);
WBFSI_API int Z4CompareKeyN(XfdKey *key, const char *record1, const char *record2);
WBFSI_API int Z4make_sql_name(char *dest, const char *base, const char *suffix, int max_length);
WBFSI_API void Z4fill_nines(char *dest, XfdField *field);

WBFSI_END

#endif
