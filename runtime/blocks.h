// SPDX-License-Identifier: MIT
//
// What the other services of the reference host know of its blocks beyond
// <host/memory.h>: making one for an owner whose tag they did not keep.
#ifndef RUNTIME_BLOCKS_H
#define RUNTIME_BLOCKS_H

#include <cstddef>

namespace host {

// Allocates a block that counts under the tag and source of `owner`, a live block.
[[nodiscard]] void *allocate_beside(const void *owner, size_t size);

// As Zrealloc under the tag and source that `owner` has; `block` may be null.
[[nodiscard]] void *reallocate_beside(const void *owner, void *block, size_t size);

// A block that holds nothing but a string body: Zfree releases it.
[[nodiscard]] void *allocate_string_body(size_t size, const char *tag, const char *source);

// As allocate_string_body under the tag and source of `owner`.
[[nodiscard]] void *allocate_string_body_beside(const void *owner, size_t size);

// Whether `address` is the start of a block that was made for a string body and
// that is live, was freed or waits for its first use.  Of a freed one all but the
// first pointer is as it was left; one that waits is zero behind it.  Reads no
// memory but the host's own, whatever the address is.
bool is_string_body(const void *address);

}  // namespace host

#endif
