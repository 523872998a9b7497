// SPDX-License-Identifier: MIT
//
// One slot a column in one block, the first of each name in a hash of the host,
// which no choice of names can make slow.
#include "fsi/4gl/kst4gl/column_names.h"

#include <cstddef>

#include "fsi/4gl/kst4gl/model.h"

namespace fsi {

bool ColumnNames::reserve(uint32_t most) {
    static constexpr const char *kTag = "DB column names";
    slots_.reset(allocate_cleared<Slot>(most, kTag, kSource));
    table_.reset(HASH_NEW(
        kTag, offsetof(Slot, name), [](void *) {}, kSource));
    return slots_ && table_;
}

bool ColumnNames::add(const char *name, uint32_t column) {
    const uint32_t index = count_;
    Slot *slot = slots_.get() + index;
    *slot = {name, column, kNone, index, index};
    if (Slot *head = find(name)) {
        slots_.get()[head->back].next = index;
        head->back = index;
    } else if (!HASH_ADD(table_.get(), slot)) {
        return false;
    }
    ++count_;
    return true;
}

int64_t ColumnNames::first(const char *name) const {
    const Slot *head = find(name);
    return head != nullptr && head->front != kNone ? slots_.get()[head->front].column : int64_t{-1};
}

int64_t ColumnNames::take(const char *name) {
    Slot *head = find(name);
    if (head == nullptr || head->front == kNone)
        return -1;
    const Slot &taken = slots_.get()[head->front];
    head->front = taken.next;
    return taken.column;
}

ColumnNames::Slot *ColumnNames::find(const char *name) const {
    return static_cast<Slot *>(HASH_GET(table_.get(), name));
}

}  // namespace fsi
