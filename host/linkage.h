/* SPDX-License-Identifier: MIT
 *
 * Linkage of the host services: C names, default visibility.  Every other
 * header of host/ includes this one; it declares nothing of its own. */
#ifndef HOST_LINKAGE_H
#define HOST_LINKAGE_H

#ifdef __cplusplus
#define HOST_BEGIN extern "C" {
#define HOST_END }
#else
#define HOST_BEGIN
#define HOST_END
#endif

#if defined(__GNUC__)
#define HOST_API __attribute__((visibility("default")))
#define HOST_PRINTF(format_index, first_argument) \
    __attribute__((format(printf, format_index, first_argument)))
#else
#define HOST_API
#define HOST_PRINTF(format_index, first_argument)
#endif

#endif
