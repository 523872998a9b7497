/* SPDX-License-Identifier: MIT */
#ifndef WBFSI_LOAD_H
#define WBFSI_LOAD_H

#include <stdint.h>

#include "wbfsi/api.h"
#include "wbfsi/records.h"

WBFSI_BEGIN

/* Bits of the flags of Z4ParseXFD. */
enum {
    XFD_LOAD_COMMENTS = 1,
    XFD_LOAD_LISTED_VIEW = 2,
    XFD_LOAD_SUBTABLES = 4,
    XFD_LOAD_COPY_OCCURS = 8,
    XFD_LOAD_RELATIVE_KEY = 16
};

WBFSI_API Xfd *Z4ParseXFD(const char *name, uint32_t flags, int context);

WBFSI_END

#endif
