/* SPDX-License-Identifier: MIT */
#ifndef WBFSI_WHERE_H
#define WBFSI_WHERE_H

#include "wbfsi/api.h"

WBFSI_BEGIN

WBFSI_API char *Z4GLWhereConstraintAddr(void);
WBFSI_API int Z4FillWhereMagic(void);

WBFSI_END

#endif
