// SPDX-License-Identifier: MIT
//
// The address space of the allocator.  Memory comes from the system in segments
// of one MiB, aligned to their size and cut into units of 16 KiB; the first unit
// holds the descriptors of the others.  So a block's descriptor stands at a
// place computed from its address, and blocks need no header.  This file hands
// out runs of units; what is in them is memory.cpp's affair.
#ifndef RUNTIME_SEGMENTS_H
#define RUNTIME_SEGMENTS_H

#include <cstddef>
#include <cstdint>

namespace host {

struct Account;

constexpr size_t kSegmentSize = size_t{1} << 20;
constexpr size_t kUnitSize = size_t{1} << 14;
constexpr unsigned kUnits = kSegmentSize / kUnitSize;
constexpr size_t kGranule = 2 * sizeof(void *);  // every block starts at a multiple of it

struct FreeBlock {
    FreeBlock *next;
};

enum class Purpose : uint8_t {
    kNone,         // not handed out, or the allocator's own
    kBlocks,       // blocks of callers
    kStringBodies  // bodies of dynamic strings and nothing else
};

// Descriptor of a run of units: either a slab (one unit of blocks of one size)
// or one large block.  Ordered by use: the first line is what the fast paths touch.
struct alignas(64) Page {
    FreeBlock *free;
    int32_t used;           // blocks handed out
    int32_t slow_at;        // a free that leaves `used` at or below this has more to do
    Page *next, *previous;  // in the bin: slabs with free blocks
    Account *account;
    FreeBlock *last_free;  // kept under AddressSanitizer only
    size_t block_size;     // a slab's class; a large block's requested size
    uint16_t carved;       // blocks that were ever on the free list
    uint16_t capacity;     // blocks of a slab; 1 for a large block
    uint8_t size_class;
    Purpose purpose;
    uint8_t units;  // 0 for a large block with a segment of its own
};

struct Segment {
    Page pages[kUnits];        // by unit; of a run of units only the first is used
    uint64_t free_units;       // bit per unit
    Segment *next, *previous;  // of the same longest free run
    size_t mapped_size;
    unsigned longest_run;
#ifndef NDEBUG
    uint64_t live[kUnits][kUnitSize / kGranule / 64];  // bit per granule: a live block begins there
#endif
};

constexpr unsigned kHeaderUnits = (sizeof(Segment) + kUnitSize - 1) / kUnitSize;
constexpr unsigned kMaxRun = kUnits - kHeaderUnits;

inline uintptr_t address_of(const void *pointer) {
    return reinterpret_cast<uintptr_t>(pointer);
}

inline Segment *segment_of(const void *address) {
    return reinterpret_cast<Segment *>(address_of(address) & ~(kSegmentSize - 1));
}

inline unsigned unit_of(const void *address) {
    return static_cast<unsigned>(address_of(address) / kUnitSize % kUnits);
}

// The descriptor of a slab's block or of a large block, from its first byte.
inline Page *page_of(const void *block) {
    return &segment_of(block)->pages[unit_of(block)];
}

inline char *page_start(const Page *page) {
    Segment *segment = segment_of(page);
    return reinterpret_cast<char *>(segment) +
           static_cast<size_t>(page - segment->pages) * kUnitSize;
}

// Whether a segment of the allocator lies at `address`; reads nothing there.
bool is_in_segment(const void *address);

// A run of 1 .. kMaxRun units; null with errno ENOMEM.  The descriptor is
// cleared but for `units`.
Page *take_units(unsigned count);
void give_units(Page *page);

// Lengthens or shortens a run where it is; false when the units behind are taken.
bool resize_units(Page *page, unsigned count);

// A segment of its own for one block of `size` bytes, any size.
Page *take_large(size_t size);
void give_large(Page *page);

// Grows the segment to `size` bytes for its block, moving it when need be; null
// when that is not possible, and then the block is as it was.
Page *grow_large(Page *page, size_t size);

// Bytes that the block of `page` has room for.
size_t room_of(const Page *page);

// Calls visit for every run that is handed out.
void visit_pages(void (*visit)(Page *page));

}  // namespace host

#endif
