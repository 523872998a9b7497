// SPDX-License-Identifier: MIT
//
// The handle table.  A handle is a slot number with the slot's generation above
// it.  What a look-up needs of a slot, the number it was given out as and the
// record's address, stands in one array apart from the rest, so that a look-up is a
// masked index and one comparison.  The array grows by doubling: slots move, records
// do not.
#include "host/handles.h"

#include <cerrno>
#include <cstring>

#include "host/memory.h"

namespace host::handles {

constexpr uint32_t kFirstSlots = 1024;

struct Slot {
    void *record;    // null in a free slot
    ZHandle handle;  // what the slot was given out as; in a free slot what it will be
};

struct Links {
    uint32_t next;  // slot of the same type; in a free slot the next free one
    uint32_t previous;
    uint16_t type;
    bool is_dying;  // its destroy routine is running
};

// Slots that were never given out are zero.
struct Table {
    Slot *slots;
    Links *links;
    uint32_t mask;  // their number, a power of two, less one
};

// The first arrays are always there: a host with few handles holds no block for them.
Slot first_slots[kFirstSlots];
Links first_links[kFirstSlots];
// Not local to this file: it is read by its name in assembly, behind the compiler's back.
[[gnu::used]] Table table asm("host_handle_table") = {first_slots, first_links, kFirstSlots - 1};

}  // namespace host::handles

namespace {

using namespace host::handles;

constexpr const char *kSource = "runtime/handles";
constexpr unsigned kIndexBits = 24;
constexpr uint32_t kIndexMask = (1U << kIndexBits) - 1;
// Slot 0 is never given out, so that no handle is 0, nor is the last one, so that
// none is 0xFFFFFFFF.
constexpr uint32_t kMaxSlots = kIndexMask;
// A freed slot waits until this many are free: together with the generation a
// number comes back after kMinFree * 255 other frees at the earliest.
constexpr uint32_t kMinFree = kFirstSlots / 2;
constexpr int kMaxTypes = 256;

struct Type {
    ZHandleType declared;
    bool is_declared;
    uint32_t first;  // slots of the type, newest first
    uint32_t count;  // with those that are being destroyed
};

uint32_t slots_used = 1;  // slots that were ever given out, and slot 0
uint32_t live_count;
uint32_t free_count;
uint32_t first_free;
uint32_t last_free;
uint8_t fresh_generation = 1;
Type types[kMaxTypes + 1];

// Where the table is.  For position-independent code of 32 bits the compiler calls a
// function to learn its own address, and that call and return took a third of a
// look-up: 2.35 ns, 1.6 ns with a call of the next instruction, which processors know
// not to be one.
const Table *find_table() {
#if defined(__i386__) && defined(__PIC__)
    const Table *found;
    asm("call 1f\n1:\tpop %0\n\tadd $host_handle_table-1b, %0" : "=r"(found));
    return found;
#else
    return &table;
#endif
}

Slot &slot_at(uint32_t index) {
    return table.slots[index];
}

Links &links_at(uint32_t index) {
    return table.links[index];
}

// The record of a live handle: a free slot has none, and the number it holds was
// not given out yet.  A number beyond the array meets a slot that holds another.
void *record_of(ZHandle handle) {
    const Table *found = find_table();
    const Slot &slot = found->slots[handle & found->mask];
    return slot.handle == handle ? slot.record : nullptr;
}

// What a slot is given out as next.  Generation 0 is left out, so that no small
// number becomes a handle.
ZHandle next_handle(ZHandle handle) {
    constexpr uint32_t step = 1U << kIndexBits;
    handle += step;  // wraps and leaves the index alone
    return handle < step ? handle + step : handle;
}

bool is_declared(int type) {
    return type > 0 && type <= kMaxTypes && types[type].is_declared;
}

void return_to_first_arrays() {
    memcpy(first_slots, table.slots, sizeof first_slots);
    Zfree(table.slots);
    Zfree(table.links);
    table = {first_slots, first_links, kFirstSlots - 1};
}

// When no handle is left the slots behind the first ones go, so that an idle host
// holds no block.  Slots that come later start behind every generation so far.
void shrink() {
    if (slots_used <= kFirstSlots) {
        return;
    }
    for (uint32_t i = kFirstSlots; i < slots_used; ++i) {
        const auto generation = static_cast<uint8_t>(slot_at(i).handle >> kIndexBits);
        const auto ahead = static_cast<uint8_t>(generation - fresh_generation);
        fresh_generation = ahead < 128 ? generation : fresh_generation;
    }
    return_to_first_arrays();
    slots_used = kFirstSlots;
    free_count = kFirstSlots - 1;
    first_free = 1;
    last_free = kFirstSlots - 1;
    for (uint32_t i = first_free; i <= last_free; ++i) {
        links_at(i) = {i + 1, 0, 0, false};
    }
}

// The array with room for `count` entries, twice as many as before, the new ones
// zeroed; `first` itself stays.  Null without memory, with the array as it was.
template <class T>
T *doubled(T *array, const T *first, uint32_t count) {
    const bool is_first = array == first;
    auto *larger = static_cast<T *>(
        Zrealloc(is_first ? nullptr : array, count * sizeof(T), "Handle table", kSource));
    if (larger != nullptr) {
        if (is_first) {
            memcpy(larger, first, count / 2 * sizeof(T));
        }
        memset(larger + count / 2, 0, count / 2 * sizeof(T));
    }
    return larger;
}

// Makes sure that slot `slots_used` is there.
bool grow() {
    if (slots_used == kMaxSlots) {
        errno = ENOMEM;
        return false;
    }
    if (slots_used <= table.mask) {
        return true;
    }
    const uint32_t count = 2 * slots_used;
    Links *links = doubled(table.links, first_links, count);
    if (links == nullptr) {
        return false;
    }
    Slot *slots = doubled(table.slots, first_slots, count);
    if (slots == nullptr && table.links == first_links) {
        Zfree(links);
        return false;
    }
    // Links that have room before the slots do are no harm.
    table.links = links;
    if (slots == nullptr) {
        return false;
    }
    table.slots = slots;
    table.mask = count - 1;
    return true;
}

// A slot to give out, 0 without memory: a new one while few are free.
uint32_t take_slot() {
    if (free_count < kMinFree && grow()) {
        slot_at(slots_used).handle =
            static_cast<uint32_t>(fresh_generation) << kIndexBits | slots_used;
        return slots_used++;
    }
    if (free_count == 0) {
        return 0;
    }
    const uint32_t index = first_free;
    first_free = links_at(index).next;
    --free_count;
    return index;
}

void give_back_slot(uint32_t index) {
    Slot &slot = slot_at(index);
    slot.record = nullptr;
    slot.handle = next_handle(slot.handle);
    links_at(index) = {};
    if (free_count == 0) {
        first_free = index;
    } else {
        links_at(last_free).next = index;
    }
    last_free = index;
    ++free_count;
}

void link(uint32_t index, int number) {
    Type &type = types[number];
    links_at(index) = {type.first, 0, static_cast<uint16_t>(number), false};
    if (type.first != 0) {
        links_at(type.first).previous = index;
    }
    type.first = index;
}

void unlink(uint32_t index, Type &type) {
    const Links &links = links_at(index);
    (links.previous == 0 ? type.first : links_at(links.previous).next) = links.next;
    if (links.next != 0) {
        links_at(links.next).previous = links.previous;
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
    const size_t record_size = types[type].declared.record_size;
    void *record = Zmalloc(record_size, tag, source);
    if (record == nullptr) {
        return 0;
    }
    const uint32_t index = take_slot();
    if (index == 0) {
        Zfree(record);
        return 0;
    }
    memset(record, 0, record_size);
    link(index, type);
    ++types[type].count;
    ++live_count;
    slot_at(index).record = record;
    return slot_at(index).handle;
}

void *H_lock(ZHandle handle) {
    return record_of(handle);
}

int H_type(ZHandle handle) {
    return record_of(handle) == nullptr ? 0 : links_at(handle & kIndexMask).type;
}

ZHandle H_next(ZHandle previous, int type) {
    if (!is_declared(type)) {
        return 0;
    }
    uint32_t index = types[type].first;
    if (previous != 0) {
        if (H_type(previous) != type) {
            return 0;
        }
        index = links_at(previous & kIndexMask).next;
    }
    return index == 0 ? 0 : slot_at(index).handle;
}

int H_FREE(ZHandle handle) {
    void *record = record_of(handle);
    if (record == nullptr) {
        return 0;
    }
    const uint32_t index = handle & kIndexMask;
    Links &links = links_at(index);
    if (links.is_dying) {
        return 0;
    }
    Type &type = types[links.type];
    links.is_dying = true;
    if (type.declared.kind == 2 && type.declared.destroy != nullptr) {
        type.declared.destroy(handle, record);
    }
    // Only now: while the routine runs the handle is left, for those who ask H_next.
    unlink(index, type);
    --type.count;
    give_back_slot(index);
    Zfree(record);
    if (--live_count == 0) {
        shrink();
    }
    return 1;
}
