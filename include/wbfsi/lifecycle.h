/* SPDX-License-Identifier: MIT */
#ifndef WBFSI_LIFECYCLE_H
#define WBFSI_LIFECYCLE_H

#include "wbfsi/api.h"

WBFSI_BEGIN

WBFSI_API int fsi_init_cfg(void);
WBFSI_API int Z4Init(void);
WBFSI_API int Z4Exit(void);
WBFSI_API int Z4SetCaseUpper(void);

WBFSI_END

#endif
