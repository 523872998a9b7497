/* SPDX-License-Identifier: MIT
 *
 * The handle table: numbers that name records, so that a stale or foreign number
 * is recognised where a stale pointer would not be.
 *
 * A handle is the number of a slot, in its low 24 bits, with the slot's generation
 * above, 1 .. 58: nine decimal digits hold it.  A freed slot is used again only after
 * 2047 others, with the next generation: a number comes back after 118000 further
 * frees at the earliest (2048 slots times 58 generations), after 28000 when there was
 * no handle at all in between, and until then it is a bad handle.  It is sooner only
 * where there is no memory for more slots.  Neither 0 nor 0xFFFFFFFF nor a small number
 * is ever a handle.  At most 16777214 handles are live at a time. */
#ifndef HOST_HANDLES_H
#define HOST_HANDLES_H

#include <stdint.h>

#include "host/linkage.h"

HOST_BEGIN

typedef uint32_t ZHandle; /* 0 = none */

typedef struct ZHandleType {
    const char *name;     /* for reports; lives as long as the type */
    uint32_t record_size; /* bytes, may be 0 */
    uint16_t kind;        /* 2: `destroy` runs when a handle is freed; else it does not */
    /* Releases what the record holds; the record itself goes after it.  May be null. */
    void (*destroy)(ZHandle handle, void *record);
} ZHandleType;

/* Declares a type; the description is copied.  Returns its number, 1 .. 256, or 0
 * for null and when 256 types are declared.  A number that was undeclared is given
 * out again. */
HOST_API int H_declare(const ZHandleType *type);

/* Withdraws a type.  Does nothing while a handle of it is left, one that is being
 * destroyed included, nor for a number that is no type. */
HOST_API void H_undeclare(int type);

/* A new handle with a zeroed record, a block under tag and source.  H_FREE releases
 * both.  Returns 0 for a number that is no type and, with errno ENOMEM, for want of
 * memory or slots. */
HOST_API ZHandle HBUILDV(int type, const char *tag, const char *source);

/* The record of a handle: at the same address as long as the handle lives, aligned
 * as Zmalloc's blocks.  Null for any number that is not a live handle.  An index,
 * its bound and one comparison. */
HOST_API void *H_lock(ZHandle handle);

/* The type of a live handle; 0 for any other number. */
HOST_API int H_type(ZHandle handle);

/* Walks the handles of a type: 0 gives the first, a handle of the type the one
 * behind it, the result 0 is the end.  Each handle comes once, in no promised
 * order; those built during the walk may be missed.  A number that is no handle of
 * the type gives 0, so the next one is asked for before a handle is freed.
 * Each call takes the same short time. */
HOST_API ZHandle H_next(ZHandle previous, int type);

/* Frees a handle: runs the destroy routine for kind 2, then releases the record.
 * While the routine runs, the handle still answers H_lock, H_type and H_next, and
 * H_FREE of it gives 0; it may build handles and free others, of its own type too.
 * Returns 0 for a number that is not a live handle, else 1. */
HOST_API int H_FREE(ZHandle handle);

HOST_END

#endif
