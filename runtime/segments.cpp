// SPDX-License-Identifier: MIT
//
// Segments: mapped, found by address, and their units by the length of a run.
#include "runtime/segments.h"

#include <sys/mman.h>

#include <bit>
#include <cassert>
#include <cerrno>
#include <utility>

#include "runtime/poison.h"

namespace host {
namespace {

constexpr uint64_t kAllUnits = ~uint64_t{0} << kHeaderUnits;
constexpr size_t kHeaderSize = kHeaderUnits * kUnitSize;
static_assert(kUnits == 64, "a segment's units are the bits of one word");

// Segments by the length of their longest free run, and a bit for each list
// that is not empty: a run is found without a search.
Segment *by_run[kUnits + 1];
uint64_t runs_present;
size_t segment_count;
size_t empty_count;
constexpr size_t kFewSegments = 16;

// Which megabytes of the address space are segments: a bit each, in leaves that
// are there only where segments are.
constexpr unsigned kAddressBits = sizeof(void *) == 8 ? 47 : 32;
constexpr unsigned kLeafBits = sizeof(void *) == 8 ? 14 : 12;
constexpr size_t kLeaves = size_t{1} << (kAddressBits - 20 - kLeafBits);
struct Leaf {
    uint64_t bits[(size_t{1} << kLeafBits) / 64];
};
Leaf *leaves[kLeaves];

struct MapPlace {
    size_t leaf;
    size_t word;
    uint64_t bit;
};

MapPlace map_place(const void *address) {
    const uintptr_t number = address_of(address) / kSegmentSize;
    const uintptr_t in_leaf = number & ((uintptr_t{1} << kLeafBits) - 1);
    return {number >> kLeafBits, in_leaf / 64, uint64_t{1} << in_leaf % 64};
}

bool note_segment(const Segment *segment) {
    const MapPlace place = map_place(segment);
    if (place.leaf >= kLeaves) {
        return false;
    }
    if (leaves[place.leaf] == nullptr) {
        void *leaf =
            mmap(nullptr, sizeof(Leaf), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (leaf == MAP_FAILED) {
            return false;
        }
        leaves[place.leaf] = static_cast<Leaf *>(leaf);
    }
    leaves[place.leaf]->bits[place.word] |= place.bit;
    return true;
}

void forget_segment(const Segment *segment) {
    const MapPlace place = map_place(segment);
    leaves[place.leaf]->bits[place.word] &= ~place.bit;
}

// `size` bytes at a multiple of the segment size: first where the last mapping
// suggests, then with a segment's length too much, which is trimmed.
void *map_aligned(size_t size) {
    static uintptr_t hint;
    constexpr int kProtection = PROT_READ | PROT_WRITE;
    constexpr int kFlags = MAP_PRIVATE | MAP_ANONYMOUS;
    const int old_errno = errno;
    void *map = mmap(reinterpret_cast<void *>(hint), size, kProtection, kFlags, -1, 0);
    if (map != MAP_FAILED && address_of(map) % kSegmentSize != 0) {
        munmap(map, size);
        map = MAP_FAILED;
    }
    if (map == MAP_FAILED) {
        if (size > SIZE_MAX - kSegmentSize) {
            errno = ENOMEM;
            return nullptr;
        }
        map = mmap(nullptr, size + kSegmentSize, kProtection, kFlags, -1, 0);
        if (map == MAP_FAILED) {
            return nullptr;
        }
        char *start = static_cast<char *>(map);
        const size_t before = (kSegmentSize - address_of(map) % kSegmentSize) % kSegmentSize;
        if (before > 0) {
            munmap(start, before);
        }
        munmap(start + before + size, kSegmentSize - before);
        map = start + before;
    }
    errno = old_errno;
    hint = address_of(map) - size;  // the system hands out addresses downwards
    return map;
}

Segment *map_segment(size_t size) {
    auto *segment = static_cast<Segment *>(map_aligned(size));
    if (segment == nullptr) {
        return nullptr;
    }
    if (!note_segment(segment)) {
        munmap(segment, size);
        errno = ENOMEM;
        return nullptr;
    }
    poison(reinterpret_cast<char *>(segment) + kHeaderSize, size - kHeaderSize);
    register_roots(segment, size);
    segment->mapped_size = size;
    return segment;
}

void unmap_segment(Segment *segment) {
    forget_segment(segment);
    unregister_roots(segment, segment->mapped_size);
    unpoison(segment, segment->mapped_size);
    munmap(segment, segment->mapped_size);
}

// Has the system give out pages that are as good as used, all at once and not one by
// one as they are touched: a tree of 200 MB was built in 1.6 of the time of its parser
// alone instead of 2.0.  That it cannot is no harm.
void take_pages(void *start, size_t size) {
#ifndef MADV_POPULATE_WRITE
    constexpr int MADV_POPULATE_WRITE = 23;  // Linux 5.14; the C library's header is older
#endif
    const int old_errno = errno;
    madvise(start, size, MADV_POPULATE_WRITE);
    errno = old_errno;
}

// Bit i: a run of `count` set bits begins at bit i.
uint64_t runs_of(uint64_t bits, unsigned count) {
    for (unsigned have = 1; have < count;) {
        const unsigned step = have < count - have ? have : count - have;
        bits &= bits >> step;
        have += step;
    }
    return bits;
}

unsigned longest_run(uint64_t bits) {
    uint64_t runs[7] = {bits};  // runs[k]: as runs_of(bits, 1 << k)
    unsigned k = 0;
    for (; runs[k] != 0; ++k) {
        runs[k + 1] = runs[k] & runs[k] >> (1U << k);
    }
    if (k == 0) {
        return 0;
    }
    uint64_t found = runs[--k];
    unsigned length = 1U << k;
    while (k-- > 0) {
        if (const uint64_t longer = found & runs[k] >> length; longer != 0) {
            found = longer;
            length += 1U << k;
        }
    }
    return length;
}

void link(Segment *segment) {
    Segment *&head = by_run[segment->longest_run];
    segment->previous = nullptr;
    segment->next = head;
    if (head != nullptr) {
        head->previous = segment;
    }
    head = segment;
    if (segment->longest_run > 0) {
        runs_present |= uint64_t{1} << segment->longest_run;
    }
}

void unlink(Segment *segment) {
    if (segment->previous != nullptr) {
        segment->previous->next = segment->next;
    } else {
        by_run[segment->longest_run] = segment->next;
        if (segment->next == nullptr) {
            runs_present &= ~(uint64_t{1} << segment->longest_run);
        }
    }
    if (segment->next != nullptr) {
        segment->next->previous = segment->previous;
    }
}

void set_free_units(Segment *segment, uint64_t free_units) {
    empty_count -= segment->free_units == kAllUnits ? 1 : 0;
    empty_count += free_units == kAllUnits ? 1 : 0;
    segment->free_units = free_units;
    const unsigned longest = longest_run(free_units);
    if (longest != segment->longest_run) {
        unlink(segment);
        segment->longest_run = longest;
        link(segment);
    }
}

Segment *segment_with_run(unsigned count) {
    const uint64_t fitting = runs_present >> count << count;
    if (fitting != 0) {
        return by_run[std::countr_zero(fitting)];
    }
    Segment *segment = map_segment(kSegmentSize);
    if (segment == nullptr) {
        return nullptr;
    }
    // Who has filled so many will fill this one.
    if (segment_count >= kFewSegments) {
        take_pages(segment, kSegmentSize);
    }
    segment->free_units = kAllUnits;
    segment->longest_run = kMaxRun;
    link(segment);
    ++segment_count;
    ++empty_count;
    return segment;
}

// Empty segments beyond an eighth of the others go back to the system; some stay,
// so that a caller who frees and asks again does not wait for it.
void give_back_empty() {
    while (empty_count > 1 + segment_count / 8) {
        Segment *segment = by_run[kMaxRun];
        unlink(segment);
        --empty_count;
        --segment_count;
        unmap_segment(segment);
    }
}

uint64_t unit_bits(const Page *page, unsigned first, unsigned count) {
    const auto unit = static_cast<unsigned>(page - segment_of(page)->pages);
    return (~uint64_t{0} >> (64 - count)) << (unit + first);
}

// Large blocks with segments of their own, for the report.
Segment *large_segments;

void link_large(Segment *segment) {
    segment->previous = nullptr;
    segment->next = large_segments;
    if (large_segments != nullptr) {
        large_segments->previous = segment;
    }
    large_segments = segment;
}

void unlink_large(Segment *segment) {
    (segment->previous == nullptr ? large_segments : segment->previous->next) = segment->next;
    if (segment->next != nullptr) {
        segment->next->previous = segment->previous;
    }
}

// The last one that was given back, if it is not very large, waits for the next
// request: mapping it and touching its pages anew costs more than copying would.
constexpr size_t kMaxKept = size_t{4} << 20;
Segment *kept_large;

Segment *take_kept(size_t mapping) {
    Segment *segment = kept_large;
    if (segment == nullptr || segment->mapped_size < mapping) {
        return nullptr;
    }
    kept_large = nullptr;
    segment->pages[kHeaderUnits] = {};
    return segment;
}

// Bytes to map for a block of `size`, 0 when there is no such number.
size_t large_mapping(size_t size) {
    const size_t most = static_cast<size_t>(PTRDIFF_MAX) - kHeaderSize - kUnitSize - kRedZone;
    return size > most ? 0
                       : (kHeaderSize + size + kRedZone + kUnitSize - 1) / kUnitSize * kUnitSize;
}

}  // namespace

bool is_in_segment(const void *address) {
    const MapPlace place = map_place(address);
    return place.leaf < kLeaves && leaves[place.leaf] != nullptr &&
           (leaves[place.leaf]->bits[place.word] & place.bit) != 0;
}

Page *take_units(unsigned count) {
    assert(count > 0 && count <= kMaxRun);
    Segment *segment = segment_with_run(count);
    if (segment == nullptr) {
        return nullptr;
    }
    Page *page = &segment->pages[std::countr_zero(runs_of(segment->free_units, count))];
    set_free_units(segment, segment->free_units & ~unit_bits(page, 0, count));
    *page = {};
    page->units = static_cast<uint8_t>(count);
    return page;
}

void give_units(Page *page) {
    Segment *segment = segment_of(page);
    page->purpose = Purpose::kNone;
    poison(page_start(page), page->units * kUnitSize);
    set_free_units(segment, segment->free_units | unit_bits(page, 0, page->units));
    give_back_empty();
}

bool resize_units(Page *page, unsigned count) {
    Segment *segment = segment_of(page);
    if (count > page->units) {
        if (unit_of(page_start(page)) + count > kUnits) {
            return false;
        }
        const uint64_t more = unit_bits(page, page->units, count - page->units);
        if ((segment->free_units & more) != more) {
            return false;
        }
        set_free_units(segment, segment->free_units & ~more);
    } else if (count < page->units) {
        const unsigned less = page->units - count;
        poison(page_start(page) + count * kUnitSize, less * kUnitSize);
        set_free_units(segment, segment->free_units | unit_bits(page, count, less));
    }
    page->units = static_cast<uint8_t>(count);
    return true;
}

Page *take_large(size_t size) {
    const size_t mapping = large_mapping(size);
    if (mapping == 0) {
        errno = ENOMEM;
        return nullptr;
    }
    Segment *segment = take_kept(mapping);
    if (segment == nullptr) {
        segment = map_segment(mapping);
    }
    if (segment == nullptr) {
        return nullptr;
    }
    link_large(segment);
    return &segment->pages[kHeaderUnits];
}

void give_large(Page *page) {
    Segment *segment = segment_of(page);
    unlink_large(segment);
    page->purpose = Purpose::kNone;
    if (segment->mapped_size <= kMaxKept &&
        (kept_large == nullptr || kept_large->mapped_size < segment->mapped_size)) {
        poison(page_start(page), segment->mapped_size - kHeaderSize);
        std::swap(kept_large, segment);
    }
    if (segment != nullptr) {
        unmap_segment(segment);
    }
}

Page *grow_large(Page *page, size_t size) {
    Segment *segment = segment_of(page);
    const size_t mapping = large_mapping(size);
    // The sanitizer's shadow does not move with the pages.
    if (kPoisons || mapping == 0) {
        return nullptr;
    }
    const int old_errno = errno;
    if (mremap(segment, segment->mapped_size, mapping, 0) != MAP_FAILED) {
        segment->mapped_size = mapping;
        return page;
    }
    errno = old_errno;
    void *target = map_aligned(mapping);
    if (target == nullptr) {
        return nullptr;
    }
    auto *moved = static_cast<Segment *>(target);
    if (!note_segment(moved)) {
        munmap(target, mapping);
        return nullptr;
    }
    unlink_large(segment);
    if (mremap(segment, segment->mapped_size, mapping, MREMAP_MAYMOVE | MREMAP_FIXED, target) ==
        MAP_FAILED) {
        // The target may already be unmapped and, by another thread, in use again.
        link_large(segment);
        forget_segment(moved);
        return nullptr;
    }
    forget_segment(segment);
    moved->mapped_size = mapping;
    link_large(moved);
    return &moved->pages[kHeaderUnits];
}

size_t room_of(const Page *page) {
    if (page->capacity > 1) {
        return page->block_size - kRedZone;
    }
    const size_t bytes =
        page->units > 0 ? page->units * kUnitSize : segment_of(page)->mapped_size - kHeaderSize;
    return bytes - kRedZone;
}

void visit_pages(void (*visit)(Page *page)) {
    for (Segment *segment : by_run) {
        for (; segment != nullptr; segment = segment->next) {
            for (unsigned unit = kHeaderUnits; unit < kUnits;) {
                Page *page = &segment->pages[unit];
                const bool is_free = (segment->free_units >> unit & 1) != 0;
                if (!is_free) {
                    visit(page);
                }
                unit += is_free ? 1 : page->units;
            }
        }
    }
    for (Segment *segment = large_segments; segment != nullptr; segment = segment->next) {
        visit(&segment->pages[kHeaderUnits]);
    }
}

}  // namespace host
