// SPDX-License-Identifier: MIT
//
// The handle table.  A handle is a slot number with the slot's generation above
// it.  Slots stand in chunks that never move, found through a directory; what a
// look-up needs of a slot, the number it was given out as and the record's
// address, is kept apart from the rest: two loads and one comparison.
#include "host/handles.h"

#include <cerrno>
#include <cstring>

#include "host/memory.h"

namespace {

constexpr const char *kSource = "runtime/handles";
constexpr unsigned kIndexBits = 24;
constexpr uint32_t kIndexMask = (1U << kIndexBits) - 1;
constexpr uint32_t kChunkSlots = 1024;
// Slot 0 is never given out, so that no handle is 0, nor is the last one, so that
// none is 0xFFFFFFFF.
constexpr uint32_t kMaxSlots = kIndexMask;
// A freed slot waits until this many are free: together with the generation a
// number comes back after kMinFree * 256 other frees at the earliest.
constexpr uint32_t kMinFree = kChunkSlots / 2;
constexpr int kMaxTypes = 256;

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

struct Chunk {
    Slot slots[kChunkSlots];
    Links links[kChunkSlots];
};

struct Type {
    ZHandleType declared;
    bool is_declared;
    uint32_t first;  // slots of the type, newest first
    uint32_t count;  // with those that are being destroyed
};

// The first chunk is always there: a host with few handles holds no block for them.
Chunk first_chunk;
Chunk *directory[(kIndexMask + 1) / kChunkSlots] = {&first_chunk};
uint32_t slots_used = 1;  // slots that were ever given out, and slot 0
uint32_t live_count;
uint32_t free_count;
uint32_t first_free;
uint32_t last_free;
uint8_t fresh_generation = 1;
Type types[kMaxTypes + 1];

Slot &slot_at(uint32_t index) {
    return directory[index / kChunkSlots]->slots[index % kChunkSlots];
}

Links &links_at(uint32_t index) {
    return directory[index / kChunkSlots]->links[index % kChunkSlots];
}

// The record of a live handle: a free slot has none, and the number it holds was
// not given out yet.
void *record_of(ZHandle handle) {
    const uint32_t index = handle & kIndexMask;
    const Chunk *chunk = directory[index / kChunkSlots];
    if (chunk == nullptr) {
        return nullptr;
    }
    const Slot &slot = chunk->slots[index % kChunkSlots];
    return slot.handle == handle ? slot.record : nullptr;
}

bool is_declared(int type) {
    return type > 0 && type <= kMaxTypes && types[type].is_declared;
}

// When no handle is left the chunks behind the first go, so that an idle host
// holds no block.  Slots that come later start behind every generation so far.
void shrink() {
    if (slots_used <= kChunkSlots) {
        return;
    }
    for (uint32_t i = kChunkSlots; i < slots_used; ++i) {
        const auto generation = static_cast<uint8_t>(slot_at(i).handle >> kIndexBits);
        const auto ahead = static_cast<uint8_t>(generation - fresh_generation);
        fresh_generation = ahead < 128 ? generation : fresh_generation;
    }
    for (uint32_t i = kChunkSlots; i < slots_used; i += kChunkSlots) {
        Zfree(directory[i / kChunkSlots]);
        directory[i / kChunkSlots] = nullptr;
    }
    slots_used = kChunkSlots;
    free_count = kChunkSlots - 1;
    first_free = 1;
    last_free = kChunkSlots - 1;
    for (uint32_t i = first_free; i < last_free; ++i) {
        links_at(i).next = i + 1;
    }
}

// Makes sure that slot `slots_used` has its chunk.
bool grow() {
    if (slots_used == kMaxSlots) {
        errno = ENOMEM;
        return false;
    }
    Chunk *&chunk = directory[slots_used / kChunkSlots];
    if (chunk == nullptr) {
        chunk = static_cast<Chunk *>(Zmalloc(sizeof(Chunk), "Handle table", kSource));
        if (chunk != nullptr) {
            memset(chunk, 0, sizeof(Chunk));
        }
    }
    return chunk != nullptr;
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
    slot.handle += 1U << kIndexBits;  // the generation wraps and leaves the index alone
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
