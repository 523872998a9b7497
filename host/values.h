/* SPDX-License-Identifier: MIT */
#ifndef HOST_VALUES_H
#define HOST_VALUES_H

#include <stdint.h>

#include "host/handles.h"
#include "host/linkage.h"

HOST_BEGIN

HOST_API ZHandle Zcds_new(const char *text);
HOST_API uint32_t Zcds_get_count(ZHandle values);
HOST_API int Zcds_get_type(ZHandle values, uint32_t i);
HOST_API int32_t Zcds_get_int_value(ZHandle values, uint32_t i);
HOST_API const char *Zcds_get_str_value(ZHandle values, uint32_t i, int flags);

HOST_END

#endif
