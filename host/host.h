/* SPDX-License-Identifier: MIT
 *
 * All services that the library takes from the process it is loaded into. */
#ifndef HOST_HOST_H
#define HOST_HOST_H

#include "host/charset.h"
#include "host/config.h"
#include "host/containers.h"
#include "host/data.h"
#include "host/dates.h"
#include "host/errors.h"
#include "host/files.h"
#include "host/handles.h"
#include "host/memory.h"
#include "host/messages.h"
#include "host/names.h"
#include "host/regexp.h"
#include "host/strings.h"
#include "host/values.h"

#endif
