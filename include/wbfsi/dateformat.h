/* SPDX-License-Identifier: MIT */
#ifndef WBFSI_DATEFORMAT_H
#define WBFSI_DATEFORMAT_H

#include "wbfsi/api.h"

WBFSI_BEGIN

WBFSI_API int Z4ValidDateFormat(const char *format);

WBFSI_END

#endif
