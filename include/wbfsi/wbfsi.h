/* SPDX-License-Identifier: MIT
 *
 * The whole library: every record and every exported function. */
#ifndef WBFSI_WBFSI_H
#define WBFSI_WBFSI_H

#include "wbfsi/accessors.h"
#include "wbfsi/build.h"
#include "wbfsi/dateformat.h"
#include "wbfsi/keys.h"
#include "wbfsi/lifecycle.h"
#include "wbfsi/load.h"
#include "wbfsi/locate.h"
#include "wbfsi/records.h"
#include "wbfsi/table.h"
#include "wbfsi/where.h"

#endif
