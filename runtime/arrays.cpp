// SPDX-License-Identifier: MIT
//
// Growing arrays of entries of one size.
#include <cerrno>
#include <cstring>

#include "host/containers.h"
#include "host/memory.h"
#include "runtime/blocks.h"

struct ZArray {
    char *entries;
    size_t entry_size;
    uint32_t count;
    uint32_t capacity;
};

namespace {

constexpr uint32_t kMaxEntries = INT32_MAX;  // a position is an int32_t
constexpr uint32_t kFirstEntries = 4;

char *entry_at(const ZArray *array, uint32_t index) {
    return array->entries + index * array->entry_size;
}

// Room for `count` entries, half as many again as there were to stay linear.
// An `*entry` inside the array moves with it.
bool reserve(ZArray *array, uint32_t count, const void **entry) {
    if (count <= array->capacity) {
        return true;
    }
    const size_t most = static_cast<size_t>(PTRDIFF_MAX) / array->entry_size;
    if (count > kMaxEntries || count > most) {
        errno = ENOMEM;
        return false;
    }
    const uint32_t generous = array->capacity + array->capacity / 2 + kFirstEntries;
    const uint32_t capacity =
        generous < count || generous > kMaxEntries || generous > most ? count : generous;
    const uintptr_t offset =
        reinterpret_cast<uintptr_t>(*entry) - reinterpret_cast<uintptr_t>(array->entries);
    const bool is_own = array->entries != nullptr && offset < array->count * array->entry_size;
    auto *entries = static_cast<char *>(
        host::reallocate_beside(array, array->entries, capacity * array->entry_size));
    if (entries == nullptr) {
        return false;
    }
    array->entries = entries;
    array->capacity = capacity;
    *entry = is_own ? entries + offset : *entry;
    return true;
}

}  // namespace

ZArray *ARRAY_new(size_t entry_size, const char *tag, const char *source) {
    if (entry_size == 0 || entry_size > PTRDIFF_MAX) {
        errno = EINVAL;
        return nullptr;
    }
    auto *array = static_cast<ZArray *>(Zmalloc(sizeof(ZArray), tag, source));
    if (array != nullptr) {
        *array = {nullptr, entry_size, 0, 0};
    }
    return array;
}

int ARRAY_insert(ZArray *array, int32_t position, const void *entry) {
    if (array == nullptr || entry == nullptr) {
        return 0;
    }
    const uint32_t index = position == -1 ? array->count : static_cast<uint32_t>(position);
    if (index > array->count || !reserve(array, array->count + 1, &entry)) {
        return 0;
    }
    char *slot = entry_at(array, index);
    const auto *bytes = static_cast<const char *>(entry);
    // An entry of the array itself at or behind the gap moves up with the others.
    if (bytes >= slot && bytes < entry_at(array, array->count)) {
        bytes += array->entry_size;
    }
    memmove(slot + array->entry_size, slot, (array->count - index) * array->entry_size);
    memcpy(slot, bytes, array->entry_size);
    ++array->count;
    return 1;
}

int ARRAY_set(ZArray *array, uint32_t index, const void *entry) {
    if (array == nullptr || entry == nullptr) {
        return 0;
    }
    if (index >= kMaxEntries) {
        errno = ENOMEM;
        return 0;
    }
    if (!reserve(array, index + 1, &entry)) {
        return 0;
    }
    if (index >= array->count) {
        memset(entry_at(array, array->count), 0, (index - array->count) * array->entry_size);
        array->count = index + 1;
    }
    memmove(entry_at(array, index), entry, array->entry_size);
    return 1;
}

ZArray *ARRAY_copy(const ZArray *array) {
    if (array == nullptr) {
        return nullptr;
    }
    auto *copy = static_cast<ZArray *>(host::allocate_beside(array, sizeof(ZArray)));
    if (copy == nullptr) {
        return nullptr;
    }
    *copy = {nullptr, array->entry_size, array->count, array->count};
    if (array->count > 0) {
        const size_t bytes = array->count * array->entry_size;
        copy->entries = static_cast<char *>(host::allocate_beside(array, bytes));
        if (copy->entries == nullptr) {
            Zfree(copy);
            return nullptr;
        }
        memcpy(copy->entries, array->entries, bytes);
    }
    return copy;
}

void ARRAY_free(ZArray *array) {
    if (array != nullptr) {
        Zfree(array->entries);
        Zfree(array);
    }
}

uint32_t Array_count(const ZArray *array) {
    return array == nullptr ? 0 : array->count;
}

void *Array_get(const ZArray *array, uint32_t index) {
    return index < Array_count(array) ? entry_at(array, index) : nullptr;
}

void Array_delete_multi(ZArray *array, uint32_t index, uint32_t n) {
    if (index >= Array_count(array)) {
        return;
    }
    const uint32_t left = array->count - index;
    n = n < left ? n : left;
    if (n > 0) {
        memmove(entry_at(array, index), entry_at(array, index + n), (left - n) * array->entry_size);
        array->count -= n;
    }
}
