// SPDX-License-Identifier: MIT
//
// Owners of the host's resources.  An owner is as large as what it holds and
// releases it at the end of its scope; it can be moved, not copied.  Blocks
// that end up inside a record are handed over with release().
#ifndef FSI_BASE_OWNER_H
#define FSI_BASE_OWNER_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "host/files.h"
#include "host/handles.h"
#include "host/memory.h"
#include "host/strings.h"

namespace fsi {

// Resource{} stands for "none" and is never passed to Free.
template <typename Resource, auto Free>
class Owner {
 public:
    Owner() = default;
    explicit Owner(Resource resource) : resource_(resource) {}
    Owner(Owner &&other) noexcept : resource_(other.release()) {}
    Owner &operator=(Owner &&other) noexcept {
        reset(other.release());
        return *this;
    }
    Owner(const Owner &) = delete;
    Owner &operator=(const Owner &) = delete;
    ~Owner() { reset(); }

    Resource get() const { return resource_; }
    explicit operator bool() const { return resource_ != Resource{}; }
    Resource operator->() const { return resource_; }

    // Gives the resource up without freeing it.
    [[nodiscard]] Resource release() { return std::exchange(resource_, Resource{}); }

    void reset(Resource resource = Resource{}) {
        const Resource old = std::exchange(resource_, resource);
        if (old != Resource{})
            Free(old);
    }

 private:
    Resource resource_{};
};

template <typename T>
using Block = Owner<T *, Zfree>;
using OwnedString = Owner<ZString, ZSTRINGDelete>;
using OwnedHandle = Owner<ZHandle, H_FREE>;
using OwnedFile = Owner<ZFile *, os_fclose>;

// An array of `count` cleared records, null when it cannot be had or its size
// does not fit a size_t.  Only for records that are valid when all bytes are
// zero; those of the API are.
template <typename T>
T *allocate_cleared(size_t count, const char *tag, const char *source) {
    if (count > SIZE_MAX / sizeof(T))
        return nullptr;
    void *block = Zmalloc(count * sizeof(T), tag, source);
    if (block != nullptr)
        std::memset(block, 0, count * sizeof(T));
    return static_cast<T *>(block);
}

}  // namespace fsi

#endif
