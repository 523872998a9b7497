/* SPDX-License-Identifier: MIT
 *
 * Linkage of the host services: C names, default visibility.  Every other
 * header of host/ includes this one; it declares nothing of its own.
 *
 * The rules that all services share, unless one says otherwise:
 *  - The result is 1 or a pointer on success, 0 or null on failure.
 *  - No service exits, throws or prints by itself.
 *  - One thread at a time.
 *  - Texts end with a zero byte.  A tag names what a block holds and a source
 *    the file that asks for it; both live for ever and compare by content.
 *  - Memory comes from Zmalloc, so that any service that needs some can fail:
 *    it then leaves things as they were, with errno ENOMEM. */
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
