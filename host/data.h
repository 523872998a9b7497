/* SPDX-License-Identifier: MIT */
#ifndef HOST_DATA_H
#define HOST_DATA_H

#include <stdint.h>

#include "host/linkage.h"

HOST_BEGIN

typedef struct ZArgument {
    uintptr_t a_address;
    uint32_t a_size;
    uint16_t a_type;
    uint8_t a_digits;
    int8_t a_scale;
    uint32_t a_extra;
} ZArgument;

typedef struct XfdCvtInfo {
    uint16_t cv_sign_compat;
    uint16_t cv_digits_code;
    uint8_t cv_sign_code1;
    uint8_t cv_sign_code2;
    char cv_period;
    char cv_comma;
    int32_t cv_encoding;
} XfdCvtInfo;

HOST_API int ZconvertData(const ZArgument *dest, const ZArgument *src, int flags,
                          const XfdCvtInfo *cvt);
HOST_API uint16_t Ztype_from_UD(uint8_t code);

HOST_END

#endif
