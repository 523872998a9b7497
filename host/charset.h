/* SPDX-License-Identifier: MIT */
#ifndef HOST_CHARSET_H
#define HOST_CHARSET_H

#include <stddef.h>
#include <stdint.h>

#include "host/linkage.h"

HOST_BEGIN

HOST_API int ZGetCOBOLCharSet(void);
HOST_API int ZSetCOBOLCharSet(int code_page);
HOST_API int32_t ZCOBOLCharSetToUTF8(const char *text, int32_t length, char *buffer, int32_t size);
HOST_API int32_t ZUTF8ToCOBOLCharSet(const char *text, int32_t length, char *buffer, int32_t size);
HOST_API int32_t ZUTF8To16(const char *text, int32_t length, char *buffer, int32_t size,
                           int encoding_type);
HOST_API int32_t ZUTF8ToISO88591(const char *text, int32_t length, char *buffer, int32_t size);
HOST_API int Zencoding_name_to_type(const char *name);
HOST_API const char *Zencoding_type_to_name(int type);
HOST_API int ZicuBOMIs(const char *bytes, size_t length);
HOST_API int ZCPByteInc(const char *text, int encoding_type);
HOST_API extern const uint8_t Zstdlib_cp_size[8];

HOST_END

#endif
