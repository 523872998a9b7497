// SPDX-License-Identifier: MIT
//
// The handle table.  A handle is a slot index with the slot's generation above
// it; a slot holds the record's address and the number under which it was given
// out, so that a look-up is one bounds check and one comparison.
#include "host/handles.h"

#include <cstring>

#include "host/memory.h"

namespace {

constexpr const char *kSource = "runtime/handles";
constexpr unsigned kIndexBits = 24;
constexpr uint32_t kIndexMask = (1U << kIndexBits) - 1;
// Slot 0 is never given out, so that no handle is 0; the last index neither, so
// that none is 0xFFFFFFFF.
constexpr uint32_t kMaxSlots = kIndexMask;
constexpr uint32_t kOwnSlots = 1024;
// A freed slot waits until this many are free: together with the generation a
// number comes back after kMinFree * 256 other frees at the earliest.
constexpr uint32_t kMinFree = kOwnSlots / 2;
constexpr int kMaxTypes = 256;

struct Slot {
    void *record;    // null in a free slot
    ZHandle handle;  // what the slot was given out as; in a free slot what it will be
    uint32_t next;   // of its type; in a free slot the next free one
    uint32_t previous;
    uint16_t type;
    bool is_dying;  // its destroy routine is running
};

struct Type {
    ZHandleType declared;
    bool is_declared;
    uint32_t first;  // slots of the type, newest first
    uint32_t count;  // with those that are being destroyed
};

Slot own_slots[kOwnSlots];
Slot *slots = own_slots;
uint32_t slot_capacity = kOwnSlots;
uint32_t slots_used = 1;  // slots that were ever given out, and slot 0
uint32_t live_count;
uint32_t free_count;
uint32_t first_free;
uint32_t last_free;
uint8_t fresh_generation = 1;
Type types[kMaxTypes + 1];

Slot *find(ZHandle handle) {
    const uint32_t index = handle & kIndexMask;
    if (index >= slots_used || slots[index].handle != handle || slots[index].record == nullptr) {
        return nullptr;
    }
    return &slots[index];
}

bool is_declared(int type) {
    return type > 0 && type <= kMaxTypes && types[type].is_declared;
}

bool grow() {
    if (slot_capacity == kMaxSlots) {
        return false;
    }
    const uint32_t capacity = slot_capacity < kMaxSlots / 2 ? slot_capacity * 2 : kMaxSlots;
    Slot *old = slots == own_slots ? nullptr : slots;
    auto *grown =
        static_cast<Slot *>(Zrealloc(old, capacity * sizeof(Slot), "Handle table", kSource));
    if (grown == nullptr) {
        return false;
    }
    if (old == nullptr) {
        memcpy(grown, own_slots, sizeof(own_slots));
    }
    slots = grown;
    slot_capacity = capacity;
    return true;
}

// Back to the table's own slots when no handle is left, so that an idle host
// holds no block.  Slots that come later start behind every generation so far.
void shrink() {
    if (slots == own_slots) {
        return;
    }
    uint8_t newest = fresh_generation;
    for (uint32_t i = kOwnSlots; i < slots_used; ++i) {
        const auto generation = static_cast<uint8_t>(slots[i].handle >> kIndexBits);
        newest = static_cast<uint8_t>(generation - newest) < 128 ? generation : newest;
    }
    fresh_generation = newest;
    memcpy(own_slots, slots, sizeof(own_slots));
    Zfree(slots);
    slots = own_slots;
    slot_capacity = kOwnSlots;
    slots_used = kOwnSlots;
    free_count = kOwnSlots - 1;
    first_free = 1;
    last_free = kOwnSlots - 1;
    for (uint32_t i = first_free; i < last_free; ++i) {
        slots[i].next = i + 1;
    }
}

// A slot to give out, 0 without memory.
uint32_t take_slot() {
    if (free_count < kMinFree && slots_used <= kMaxSlots - 1 &&
        (slots_used < slot_capacity || grow())) {
        slots[slots_used].handle =
            static_cast<uint32_t>(fresh_generation) << kIndexBits | slots_used;
        return slots_used++;
    }
    if (free_count == 0) {
        return 0;
    }
    const uint32_t index = first_free;
    first_free = slots[index].next;
    --free_count;
    return index;
}

void give_back_slot(uint32_t index) {
    Slot &slot = slots[index];
    slot.record = nullptr;
    slot.is_dying = false;
    slot.handle += 1U << kIndexBits;  // the generation wraps and leaves the index alone
    slot.next = 0;
    if (free_count == 0) {
        first_free = index;
    } else {
        slots[last_free].next = index;
    }
    last_free = index;
    ++free_count;
}

void link(uint32_t index, Type &type) {
    slots[index].previous = 0;
    slots[index].next = type.first;
    if (type.first != 0) {
        slots[type.first].previous = index;
    }
    type.first = index;
}

void unlink(uint32_t index, Type &type) {
    const Slot &slot = slots[index];
    if (slot.previous == 0) {
        type.first = slot.next;
    } else {
        slots[slot.previous].next = slot.next;
    }
    if (slot.next != 0) {
        slots[slot.next].previous = slot.previous;
    }
}

}  // namespace

int H_declare(const ZHandleType *type) {
    if (type == nullptr) {
        return 0;
    }
    for (int number = 1; number <= kMaxTypes; ++number) {
        if (!types[number].is_declared) {
            types[number] = {*type, true, 0, 0};
            return number;
        }
    }
    return 0;
}

void H_undeclare(int type) {
    if (is_declared(type) && types[type].count == 0) {
        types[type].is_declared = false;
    }
}

ZHandle HBUILDV(int type, const char *tag, const char *source) {
    if (!is_declared(type)) {
        return 0;
    }
    Type &declared = types[type];
    void *record = Zmalloc(declared.declared.record_size, tag, source);
    if (record == nullptr) {
        return 0;
    }
    const uint32_t index = take_slot();
    if (index == 0) {
        Zfree(record);
        return 0;
    }
    memset(record, 0, declared.declared.record_size);
    Slot &slot = slots[index];
    slot.record = record;
    slot.type = static_cast<uint16_t>(type);
    link(index, declared);
    ++declared.count;
    ++live_count;
    return slot.handle;
}

void *H_lock(ZHandle handle) {
    const uint32_t index = handle & kIndexMask;
    return index < slots_used && slots[index].handle == handle ? slots[index].record : nullptr;
}

int H_type(ZHandle handle) {
    const Slot *slot = find(handle);
    return slot == nullptr ? 0 : slot->type;
}

ZHandle H_next(ZHandle previous, int type) {
    if (!is_declared(type)) {
        return 0;
    }
    uint32_t index = types[type].first;
    if (previous != 0) {
        const Slot *slot = find(previous);
        if (slot == nullptr || slot->is_dying || slot->type != type) {
            return 0;
        }
        index = slot->next;
    }
    return index == 0 ? 0 : slots[index].handle;
}

int H_FREE(ZHandle handle) {
    const Slot *slot = find(handle);
    if (slot == nullptr || slot->is_dying) {
        return 0;
    }
    const uint32_t index = handle & kIndexMask;
    const int number = slot->type;
    Type &type = types[number];
    unlink(index, type);
    slots[index].is_dying = true;
    void *record = slots[index].record;
    if (type.declared.kind == 2 && type.declared.destroy != nullptr) {
        type.declared.destroy(handle, record);
    }
    give_back_slot(index);  // by index: the routine may have built handles and moved the table
    Zfree(record);
    --type.count;
    if (--live_count == 0) {
        shrink();
    }
    return 1;
}
