/* SPDX-License-Identifier: MIT
 *
 * Memory with accounting: who holds how much of what, and refusal on demand, so
 * that a test can fail any allocation.
 *
 * Every block belongs to a tag, which names what it holds, and a source, which
 * names the file that asked for it ("fsi/xml/elements").  Both are texts that live
 * as long as the process, compared by content; null counts as an empty text.  The
 * host keeps the addresses of texts it has seen: one that changes or goes away
 * is charged to what it was.
 *
 * One thread at a time, as all of the host.
 *
 * The reference host serves blocks of up to 8 KiB from slabs, 16 KiB of blocks
 * of one size, tag and source; larger ones are whole runs of 16 KiB, and beyond
 * about 1 MiB mappings of their own.  There is no header beside a block and no
 * search in a free.  Builds with assertions catch a block that is freed twice
 * and an address that was never handed out; under AddressSanitizer everything but
 * the bytes asked for is poisoned, and pointers in blocks count for its leak
 * check. */
#ifndef HOST_MEMORY_H
#define HOST_MEMORY_H

#include <stddef.h>
#include <stdint.h>

#include "host/linkage.h"

HOST_BEGIN

/* A block of at least `size` bytes, not cleared, aligned to 8 bytes on i386 and 16
 * on x86-64.  Size 0 gives a block of its own, without a byte to use.
 * The caller releases it with Zfree, or hands on that duty.
 * Returns null with errno ENOMEM when memory is exhausted, the size is beyond
 * PTRDIFF_MAX, or the request is one to be refused (below). */
HOST_API void *Zmalloc(size_t size, const char *tag, const char *source);

/* Changes the size of `block` to `size`, any size, and its tag and source to those
 * given.  The bytes up to the smaller size are kept, those beyond are not cleared.
 * The result is the block, at its old or a new address; the old one is then gone.
 * A null block is allocated; size 0 does not free.
 * Returns null as Zmalloc does, shrinking included: the block is then as it was,
 * where it was.  Growing a large block step by step takes time in proportion to
 * its size. */
HOST_API void *Zrealloc(void *block, size_t size, const char *tag, const char *source);

/* Releases a block of Zmalloc, Zrealloc or ZSTRDUP.  Null is accepted.
 * Leaves errno as it is. */
HOST_API void Zfree(void *block);

/* A copy of `text` up to and with its zero byte, as a block of its own.
 * Returns null as Zmalloc does, and for a null text with errno EINVAL. */
HOST_API char *ZSTRDUP(const char *text, const char *tag, const char *source);

/* Bytes in the live blocks of a tag, of all sources; null: of all tags.  A block of
 * up to 8 KiB counts with the size of its slab's blocks, which is what was asked
 * for rounded up: to a multiple of twice the pointer size up to 128 bytes, by at
 * most a quarter up to 1 KiB, and to the next of 16 KiB / 14, 12, 10, 9 .. 2 above.
 * A larger one counts as asked for.
 * Takes time in proportion to the memory in use: for tests and reports. */
HOST_API size_t ZMemoryInUse(const char *tag);

/* Number of live blocks of a tag, of all sources; null: of all tags, with those
 * that the host holds for its own purposes.  Time as ZMemoryInUse. */
HOST_API size_t ZMemoryBlocks(const char *tag);

/* Calls `visit` once for each pair of tag and source that has live blocks, in no
 * particular order, with their number and bytes as above and `user` as it is.  The
 * texts live for ever.  `visit` may allocate and free. */
HOST_API void ZMemoryReport(void (*visit)(const char *tag, const char *source, size_t blocks,
                                          size_t bytes, void *user),
                            void *user);

/* Makes requests fail: the `nth` from now (1 = the next one) and the count - 1
 * behind it; count below 0: all from there on; count 0: none.  nth 0 or less ends
 * that.  A request is one call of Zmalloc, Zrealloc or ZSTRDUP, whatever the size
 * and also when a block shrinks; strings, handles and containers make theirs
 * through the same door.  A refused request sets errno to ENOMEM and changes
 * nothing. */
HOST_API void ZMemoryRefuse(int64_t nth, int64_t count);

/* How many requests were refused on demand since ZMemoryRefuse was last called
 * with an nth above 0; ending refusal keeps the number. */
HOST_API uint64_t ZMemoryRefused(void);

HOST_END

#endif
