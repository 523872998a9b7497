/* SPDX-License-Identifier: MIT
 *
 * Linkage of the library's exported functions: C names, default visibility.
 * Every other header of wbfsi/ includes this one; it declares nothing of its
 * own. */
#ifndef WBFSI_API_H
#define WBFSI_API_H

#ifdef __cplusplus
#define WBFSI_BEGIN extern "C" {
#define WBFSI_END }
#else
#define WBFSI_BEGIN
#define WBFSI_END
#endif

#if defined(__GNUC__)
#define WBFSI_API __attribute__((visibility("default")))
#else
#define WBFSI_API
#endif

#endif
