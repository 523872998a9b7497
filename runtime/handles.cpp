// SPDX-License-Identifier: MIT
//
// The handle table.  A handle is a slot number with the slot's generation above
// it.  What a look-up needs of a slot, its generation and the record's address, is
// eight bytes in an array apart from the rest, so that a look-up is an index, its
// bound and one comparison.  The arrays grow by an eighth: slots move, records do not,
// and what is not used yet is not touched.
#include "host/handles.h"

#include <cerrno>
#include <cstring>
#include <type_traits>

#include "host/memory.h"

namespace host::handles {

constexpr uint32_t kFirstSlots = 4096;

constexpr unsigned kIndexBits = 24;
constexpr uint32_t kIndexMask = (1U << kIndexBits) - 1;

// What the slot was given out as, in a free slot what it will be given out as, and the
// record's address, which is null in a free slot.
class NarrowSlot {
 public:
    void set(ZHandle handle, void *record) {
        record_ = record;
        handle_ = handle;
    }
    [[nodiscard]] void *record_of(ZHandle handle) const {
        return handle_ == handle ? record_ : nullptr;
    }
    [[nodiscard]] uint32_t generation() const { return handle_ >> kIndexBits; }

 private:
    void *record_;
    ZHandle handle_;
};

// The same in as many bytes where addresses have up to 47 bits: the generation, which is
// what the slot does not know of its handle, stands above the address.
class WideSlot {
 public:
    void set(ZHandle handle, void *record) {
        word_ = generation_bits(handle) | reinterpret_cast<uintptr_t>(record);
    }
    [[nodiscard]] void *record_of(ZHandle handle) const {
        const uint64_t address = word_ ^ generation_bits(handle);
        return address >> kShift == 0 ? reinterpret_cast<void *>(static_cast<uintptr_t>(address))
                                      : nullptr;
    }
    [[nodiscard]] uint32_t generation() const { return static_cast<uint32_t>(word_ >> kShift); }

 private:
    static constexpr unsigned kShift = 56;

    static uint64_t generation_bits(ZHandle handle) { return uint64_t{handle & ~kIndexMask} << 32; }

    uint64_t word_;
};

using Slot = std::conditional_t<sizeof(void *) == 8, WideSlot, NarrowSlot>;
static_assert(sizeof(Slot) == 8);

// Slots of the same type; in a free slot `next` is the next free one.
struct Links {
    uint32_t next_and_type;       // the type's number less one above the index
    uint32_t previous_and_dying;  // above the index: its destroy routine is running

    [[nodiscard]] uint32_t next() const { return next_and_type & kIndexMask; }
    [[nodiscard]] uint32_t previous() const { return previous_and_dying & kIndexMask; }
    [[nodiscard]] int type() const { return static_cast<int>(next_and_type >> kIndexBits) + 1; }
    [[nodiscard]] bool is_dying() const { return previous_and_dying > kIndexMask; }

    void set_next(uint32_t index) { next_and_type = (next_and_type & ~kIndexMask) | index; }
    void set_previous(uint32_t index) {
        previous_and_dying = (previous_and_dying & ~kIndexMask) | index;
    }
    void set_dying() { previous_and_dying |= kIndexMask + 1; }
};

struct Table {
    Slot *slots;
    Links *links;
    uint32_t used;  // slots that were ever given out, and slot 0
    uint32_t size;
};

// The first arrays are always there: a host with few handles holds no block for them.
Slot first_slots[kFirstSlots];
Links first_links[kFirstSlots];
// Not local to this file: it is read by its name in assembly, behind the compiler's back.
[[gnu::used]] Table table asm("host_handle_table") = {first_slots, first_links, 1, kFirstSlots};

}  // namespace host::handles

namespace {

using namespace host::handles;

constexpr const char *kSource = "runtime/handles";
// Slot 0 is never given out: in links it stands for none.  Nor is the last one.
constexpr uint32_t kMaxSlots = kIndexMask;
// The last generation: handles stay below a thousand million, so that an item of nine
// decimal digits holds each of them, as a program in COBOL has it.
constexpr uint32_t kGenerations = 58;
static_assert((kGenerations << kIndexBits | kIndexMask) < 1000000000);
// A freed slot waits until this many are free: together with the generation a
// number comes back after kMinFree * kGenerations other frees at the earliest.
constexpr uint32_t kMinFree = kFirstSlots / 2;
constexpr int kMaxTypes = 256;

struct Type {
    ZHandleType declared;
    bool is_declared;
    uint32_t first;  // slots of the type, newest first
    uint32_t count;  // with those that are being destroyed
};

uint32_t live_count;
uint32_t free_count;
uint32_t first_free;
uint32_t last_free;
uint32_t fresh_generation = 1;
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

// The record of a live handle; null for any other number, since a free slot has none.
void *record_of(ZHandle handle) {
    const Table *found = find_table();
    const uint32_t index = handle & kIndexMask;
    return index < found->used ? found->slots[index].record_of(handle) : nullptr;
}

ZHandle handle_at(uint32_t index) {
    return slot_at(index).generation() << kIndexBits | index;
}

// Generation 0 is left out, so that no small number becomes a handle.
uint32_t next_generation(uint32_t generation) {
    return generation == kGenerations ? 1 : generation + 1;
}

// What a slot is given out as next.
ZHandle next_handle(ZHandle handle) {
    return next_generation(handle >> kIndexBits) << kIndexBits | (handle & kIndexMask);
}

bool is_declared(int type) {
    return type > 0 && type <= kMaxTypes && types[type].is_declared;
}

void return_to_first_arrays() {
    memcpy(first_slots, table.slots, sizeof first_slots);
    Zfree(table.slots);
    Zfree(table.links);
    table.slots = first_slots;
    table.links = first_links;
    table.size = kFirstSlots;
}

// The generation that slots behind the first ones start with when their own are lost: that
// of theirs which has the most generations ahead of it that none of them is at, so that a
// number they had takes as long as can be to come back.  0: less than a quarter of all
// are ahead, since handles that lived long left slots at generations of every age.
uint32_t newest_generation() {
    bool is_there[kGenerations + 1] = {};
    for (uint32_t i = kFirstSlots; i < table.used; ++i) {
        is_there[slot_at(i).generation()] = true;
    }
    uint32_t newest = 0;
    uint32_t most = kGenerations / 4 - 1;
    for (uint32_t generation = 1; generation <= kGenerations; ++generation) {
        if (!is_there[generation]) {
            continue;
        }
        uint32_t ahead = 0;
        for (uint32_t i = next_generation(generation); !is_there[i]; i = next_generation(i)) {
            ++ahead;
        }
        if (ahead > most) {
            most = ahead;
            newest = generation;
        }
    }
    return newest;
}

// When no handle is left the slots behind the first ones go, so that an idle host
// holds no block, unless stale numbers could not be told then.
void shrink() {
    if (table.used <= kFirstSlots) {
        return;
    }
    const uint32_t newest = newest_generation();
    if (newest == 0) {
        return;
    }
    fresh_generation = newest;
    return_to_first_arrays();
    table.used = kFirstSlots;
    free_count = kFirstSlots - 1;
    first_free = 1;
    last_free = kFirstSlots - 1;
    for (uint32_t i = first_free; i <= last_free; ++i) {
        links_at(i) = {i + 1, 0};
    }
}

// The array with room for `count` entries, more than before; `first` itself stays.
// Null without memory, with the array as it was.
template <class T>
T *enlarged(T *array, const T (&first)[kFirstSlots], uint32_t count) {
    const bool is_first = array == first;
    auto *larger = static_cast<T *>(
        Zrealloc(is_first ? nullptr : array, count * sizeof(T), "Handle table", kSource));
    if (larger != nullptr && is_first) {
        memcpy(larger, first, sizeof first);
    }
    return larger;
}

// Makes sure that slot `table.used` is there.
bool grow() {
    if (table.used < table.size) {
        return true;
    }
    if (table.used == kMaxSlots) {
        errno = ENOMEM;
        return false;
    }
    const uint32_t wanted = table.size + table.size / 8 + kFirstSlots;
    const uint32_t size = wanted < kMaxSlots ? wanted : kMaxSlots;
    Links *links = enlarged(table.links, first_links, size);
    if (links == nullptr) {
        return false;
    }
    Slot *slots = enlarged(table.slots, first_slots, size);
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
    table.size = size;
    return true;
}

// A slot to give out, 0 without memory: a new one while few are free.
uint32_t take_slot() {
    if (free_count < kMinFree && grow()) {
        slot_at(table.used).set(fresh_generation << kIndexBits, nullptr);
        return table.used++;
    }
    if (free_count == 0) {
        return 0;
    }
    const uint32_t index = first_free;
    first_free = links_at(index).next();
    --free_count;
    return index;
}

void give_back_slot(uint32_t index) {
    slot_at(index).set(next_handle(handle_at(index)), nullptr);
    links_at(index) = {};
    if (free_count == 0) {
        first_free = index;
    } else {
        links_at(last_free).set_next(index);
    }
    last_free = index;
    ++free_count;
}

void link(uint32_t index, int number) {
    Type &type = types[number];
    links_at(index) = {static_cast<uint32_t>(number - 1) << kIndexBits | type.first, 0};
    if (type.first != 0) {
        links_at(type.first).set_previous(index);
    }
    type.first = index;
}

void unlink(uint32_t index, Type &type) {
    const Links &links = links_at(index);
    const uint32_t next = links.next();
    const uint32_t previous = links.previous();
    if (previous == 0) {
        type.first = next;
    } else {
        links_at(previous).set_next(next);
    }
    if (next != 0) {
        links_at(next).set_previous(previous);
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
    const ZHandle handle = handle_at(index);
    slot_at(index).set(handle, record);
    return handle;
}

void *H_lock(ZHandle handle) {
    return record_of(handle);
}

int H_type(ZHandle handle) {
    return record_of(handle) == nullptr ? 0 : links_at(handle & kIndexMask).type();
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
        index = links_at(previous & kIndexMask).next();
    }
    return index == 0 ? 0 : handle_at(index);
}

int H_FREE(ZHandle handle) {
    void *record = record_of(handle);
    if (record == nullptr) {
        return 0;
    }
    const uint32_t index = handle & kIndexMask;
    Links &links = links_at(index);
    if (links.is_dying()) {
        return 0;
    }
    Type &type = types[links.type()];
    links.set_dying();
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
