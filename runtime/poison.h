// SPDX-License-Identifier: MIT
//
// What AddressSanitizer and its leak check are told of the host's memory.  In
// other builds every function here is empty.
#ifndef RUNTIME_POISON_H
#define RUNTIME_POISON_H

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#include <sanitizer/lsan_interface.h>
#define HOST_UNCHECKED __attribute__((no_sanitize("address"), noinline))
#else
#define HOST_UNCHECKED
#endif

namespace host {

#if defined(__SANITIZE_ADDRESS__)

constexpr bool kPoisons = true;

inline void poison(const void *start, size_t size) {
    __asan_poison_memory_region(start, size);
}

inline void unpoison(const void *start, size_t size) {
    __asan_unpoison_memory_region(start, size);
}

// How many of `size` bytes at `start` may be read.
inline size_t readable(void *start, size_t size) {
    const void *end = __asan_region_is_poisoned(start, size);
    return end == nullptr ? size
                          : static_cast<size_t>(static_cast<const char *>(end) -
                                                static_cast<const char *>(start));
}

// Pointers held in this memory keep what they point to from being a leak.
inline void register_roots(const void *start, size_t size) {
    __lsan_register_root_region(start, size);
}

inline void unregister_roots(const void *start, size_t size) {
    __lsan_unregister_root_region(start, size);
}

#else

constexpr bool kPoisons = false;

inline void poison(const void *, size_t) {}
inline void unpoison(const void *, size_t) {}
inline size_t readable(void *, size_t size) {
    return size;
}
inline void register_roots(const void *, size_t) {}
inline void unregister_roots(const void *, size_t) {}

#endif

// Unaddressable bytes behind every block, so that an overrun hits one.
constexpr size_t kRedZone = kPoisons ? 16 : 0;

}  // namespace host

#endif
