// SPDX-License-Identifier: MIT
//
// Blocks with tag accounting and refusal on demand.  A small block comes from a
// slab, one unit of blocks of one size class that serves one account, so that
// neither needs a header and freeing one finds tag and size in the slab's
// descriptor.  A large block is a run of units, or a segment of its own.  What an
// account holds is counted from the descriptors when somebody asks: the fast
// paths keep no totals.
#include "host/memory.h"

#include <cassert>
#include <cerrno>
#include <cstring>

#include "runtime/accounts.h"
#include "runtime/blocks.h"
#include "runtime/poison.h"
#include "runtime/segments.h"

namespace host {
namespace {

constexpr size_t kCarveBytes = 4096;  // of a fresh slab at a time: a page of the system's

// Refusal on demand.  While it is armed no request takes the fast path.
struct Refusal {
    int64_t nth;    // the request to refuse, counted down; 0: off
    int64_t count;  // how many from there on, negative: all
    uint64_t refused;
};
Refusal refusal;
size_t fast_limit = kMaxSmall + 1;  // requests below may take the fast path

bool is_refused() {
    if (refusal.nth == 0) {
        return false;
    }
    if (refusal.nth > 1) {
        --refusal.nth;
        return false;
    }
    if (refusal.count > 0 && --refusal.count == 0) {
        refusal.nth = 0;
        fast_limit = kMaxSmall + 1;
    }
    ++refusal.refused;
    errno = ENOMEM;
    return true;
}

// A free block's link lies in memory that is poisoned for everyone else.
HOST_UNCHECKED FreeBlock *link_of(const FreeBlock *block) {
    return block->next;
}

HOST_UNCHECKED void set_link(FreeBlock *block, FreeBlock *next) {
    block->next = next;
}

// Under AddressSanitizer a slab gives out the block that was freed longest ago,
// so that a use after free is seen as long as possible; else the last one, which
// is in the cache.
void push(Page *page, FreeBlock *block) {
    if constexpr (kPoisons) {
        set_link(block, nullptr);
        if (page->free == nullptr) {
            page->free = block;
        } else {
            set_link(page->last_free, block);
        }
        page->last_free = block;
    } else {
        set_link(block, page->free);
        page->free = block;
    }
}

// In debug builds every live block has a bit.
#ifndef NDEBUG
uint64_t &live_word(const void *block, uint64_t *bit) {
    const size_t granule = address_of(block) % kUnitSize / kGranule;
    *bit = uint64_t{1} << granule % 64;
    return segment_of(block)->live[unit_of(block)][granule / 64];
}

void mark_live(const void *block, bool is_live) {
    uint64_t bit;
    uint64_t &word = live_word(block, &bit);
    word = is_live ? word | bit : word & ~bit;
}

bool is_live(const void *block) {
    if (!is_in_segment(block) || address_of(block) % kGranule != 0) {
        return false;
    }
    uint64_t bit;
    return (live_word(block, &bit) & bit) != 0;
}
#else
void mark_live(const void *, bool) {}
#endif

// The address of a block that a caller gave back must be one that he was given.
void assert_live([[maybe_unused]] const void *block) {
    assert(is_live(block) && "not a block of this host, or freed twice");
}

void *handed_out(void *block, size_t size) {
    unpoison(block, size);
    mark_live(block, true);
    return block;
}

void carve(Page *page) {
    const size_t stride = page->block_size;
    size_t more = kPoisons ? kUnitSize / stride : kCarveBytes / stride + 1;
    const auto left = static_cast<size_t>(page->capacity - page->carved);
    more = more < left ? more : left;
    char *start = page_start(page) + page->carved * stride;
    if (page->purpose == Purpose::kStringBodies) {
        // A body that was never one must not look alive: see is_string_body().
        unpoison(start, more * stride);
        memset(start, 0, more * stride);
        poison(start, more * stride);
    }
    for (size_t i = 0; i < more; ++i) {
        // Downwards where the list is a stack: either way the lowest is given out first.
        push(page, reinterpret_cast<FreeBlock *>(start + (kPoisons ? i : more - 1 - i) * stride));
    }
    page->carved = static_cast<uint16_t>(page->carved + more);
}

void put_first(Bin &bin, Page *page) {
    page->previous = nullptr;
    page->next = nullptr;
    page->slow_at = kNeverSlow;
    bin = page;
}

void put_second(Page *first, Page *page) {
    page->previous = first;
    page->next = first->next;
    if (page->next != nullptr) {
        page->next->previous = page;
    }
    first->next = page;
    page->slow_at = kWhenEmpty;
}

// The first slab is full: the one behind it, if any, becomes the first.
void drop_first(Bin &bin) {
    Page *next = bin->next;
    bin->slow_at = kAlwaysSlow;
    if (next == nullptr) {
        bin = &no_slab;
    } else {
        next->previous = nullptr;
        next->slow_at = kNeverSlow;
        bin = next;
    }
}

// Gives back the slabs that bins keep although they are empty: when the system has
// no more memory, that is what is left to give.
void release_empty_slabs() {
    for (Account *account = next_account(nullptr); account != nullptr;
         account = next_account(account)) {
        for (auto &bins : account->bins) {
            for (Bin &bin : bins) {
                if (Page *page = bin; page != &no_slab && page->used == 0) {
                    drop_first(bin);
                    give_units(page);
                }
            }
        }
    }
}

Page *obtain_units(unsigned count) {
    Page *page = take_units(count);
    if (page == nullptr) {
        release_empty_slabs();
        page = take_units(count);
    }
    return page;
}

Page *new_slab(Account *account, Purpose purpose, unsigned size_class) {
    Page *page = obtain_units(1);
    if (page == nullptr) {
        return nullptr;
    }
    page->account = account;
    page->purpose = purpose;
    page->size_class = static_cast<uint8_t>(size_class);
    page->block_size = kClasses.sizes[size_class];
    page->capacity = static_cast<uint16_t>(kUnitSize / page->block_size);
    return page;
}

FreeBlock *pop(Page *page) {
    FreeBlock *block = page->free;
    page->free = link_of(block);
    ++page->used;
    return block;
}

void *allocate_small(Account *account, Purpose purpose, size_t size) {
    const unsigned size_class = class_of(size);
    Bin &bin = account->bin(purpose, size_class);
    while (bin->free == nullptr) {
        if (bin == &no_slab) {
            Page *page = new_slab(account, purpose, size_class);
            if (page == nullptr) {
                return nullptr;
            }
            put_first(bin, page);
        }
        if (bin->carved < bin->capacity) {
            carve(bin);
        } else {
            drop_first(bin);
        }
    }
    return handed_out(pop(bin), size);
}

unsigned units_for(size_t size) {
    return static_cast<unsigned>((size + kRedZone + kUnitSize - 1) / kUnitSize);
}

bool fits_in_run(size_t size) {
    return size <= kMaxRun * kUnitSize - kRedZone;
}

// `room`: bytes to make room for, at least `size`.
void *allocate_large(Account *account, Purpose purpose, size_t size, size_t room) {
    Page *page = fits_in_run(room) ? obtain_units(units_for(room)) : take_large(room);
    if (page == nullptr) {
        return nullptr;
    }
    page->account = account;
    page->purpose = purpose;
    page->block_size = size;
    page->carved = 1;
    page->capacity = 1;
    page->used = 1;
    page->slow_at = kAlwaysSlow;
    return handed_out(page_start(page), size);
}

void *allocate(Account *account, Purpose purpose, size_t size) {
    if (account == nullptr) {
        return nullptr;
    }
    return size <= kMaxSmall ? allocate_small(account, purpose, size)
                             : allocate_large(account, purpose, size, size);
}

[[gnu::noinline]] void *request(Account *account, Purpose purpose, size_t size) {
    return is_refused() ? nullptr : allocate(account, purpose, size);
}

[[gnu::noinline]] void *request(const char *tag, const char *source, Purpose purpose, size_t size) {
    return is_refused() ? nullptr : allocate(account_for(tag, source), purpose, size);
}

// The slab's last block, or one of a full slab, or a large block was freed.
[[gnu::noinline]] void free_slow(Page *page) {
    if (page->capacity == 1) {
        page->units > 0 ? give_units(page) : give_large(page);
        return;
    }
    if (page->slow_at == kAlwaysSlow) {
        Bin &bin = page->account->bin(page->purpose, page->size_class);
        if (bin == &no_slab) {
            put_first(bin, page);
        } else {
            put_second(bin, page);
        }
        return;
    }
    page->previous->next = page->next;
    if (page->next != nullptr) {
        page->next->previous = page->previous;
    }
    give_units(page);
}

// Gives a large block's run or segment room for `size` bytes where it is; a run
// that is less than half used is cut.
bool resize_large(Page *page, size_t size) {
    const size_t room = room_of(page);
    if (size <= kMaxSmall) {
        return false;
    }
    if (size <= room && (size >= room / 2 || size >= page->block_size)) {
        return true;
    }
    return page->units > 0 && fits_in_run(size) && resize_units(page, units_for(size));
}

// Changes the size of a block where it is, when it keeps its class or uses at
// least half of it, or when it is large and there is room behind it.
bool resize_in_place(Page *page, void *block, size_t size) {
    const size_t room = room_of(page);
    if (page->capacity == 1) {
        if (!resize_large(page, size)) {
            return false;
        }
        page->block_size = size;
    } else if (size > room || (size < room / 2 && class_of(size) != page->size_class)) {
        return false;
    }
    if constexpr (kPoisons) {
        poison(block, room);
        unpoison(block, size);
    }
    return true;
}

void *move(Account *account, void *block, size_t size) {
    Page *page = page_of(block);
    const size_t held = readable(block, page->block_size);
    void *fresh = nullptr;
    // A large block that grows once grows again: a quarter more room keeps the copying
    // linear, and costs addresses, not memory, until it is used.
    if (size > kMaxSmall && size > held && size <= SIZE_MAX / 2) {
        fresh = allocate_large(account, Purpose::kBlocks, size, size + size / 4);
    }
    if (fresh == nullptr) {
        fresh = allocate(account, Purpose::kBlocks, size);
    }
    if (fresh != nullptr) {
        memcpy(fresh, block, held < size ? held : size);
        Zfree(block);
    }
    return fresh;
}

void *reallocate(Account *account, void *block, size_t size) {
    if (account == nullptr) {
        return nullptr;
    }
    if (block == nullptr) {
        return allocate(account, Purpose::kBlocks, size);
    }
    assert_live(block);
    Page *page = page_of(block);
    const bool is_large = page->capacity == 1;
    if ((is_large || page->account == account) && resize_in_place(page, block, size)) {
        page->account = account;
        return block;
    }
    if (is_large && page->units == 0 && size > page->block_size && size <= PTRDIFF_MAX / 2) {
        if (Page *grown = grow_large(page, size + size / 8); grown != nullptr) {
            grown->account = account;
            grown->block_size = size;
            return page_start(grown);
        }
    }
    return move(account, block, size);
}

}  // namespace

void *allocate_beside(const void *owner, size_t size) {
    return request(page_of(owner)->account, Purpose::kBlocks, size);
}

void *reallocate_beside(const void *owner, void *block, size_t size) {
    return is_refused() ? nullptr : reallocate(page_of(owner)->account, block, size);
}

void *allocate_string_body(size_t size, const char *tag, const char *source) {
    return request(tag, source, Purpose::kStringBodies, size);
}

void *allocate_string_body_beside(const void *owner, size_t size) {
    return request(page_of(owner)->account, Purpose::kStringBodies, size);
}

bool is_string_body(const void *address) {
    if (!is_in_segment(address) || unit_of(address) < kHeaderUnits) {
        return false;
    }
    const Page *page = page_of(address);
    if (page->purpose != Purpose::kStringBodies) {
        return false;
    }
    const size_t offset = address_of(address) - address_of(page_start(page));
    if (page->capacity == 1) {
        return offset == 0;
    }
    return offset % page->block_size == 0 && offset / page->block_size < page->carved;
}

}  // namespace host

using namespace host;

void *Zmalloc(size_t size, const char *tag, const char *source) {
    if (!kPoisons && size < fast_limit) {
        const CachedAccount &cached = cache_place(tag, source);
        if (cached.tag == tag && cached.source == source && cached.account != nullptr) {
            Page *page = cached.account->bins[0][class_of(size)];
            if (page->free != nullptr) {
                void *block = pop(page);
                mark_live(block, true);
                return block;
            }
        }
    }
    return request(tag, source, Purpose::kBlocks, size);
}

void *Zrealloc(void *block, size_t size, const char *tag, const char *source) {
    return is_refused() ? nullptr : reallocate(account_for(tag, source), block, size);
}

void Zfree(void *block) {
    if (block == nullptr) {
        return;
    }
    assert_live(block);
    mark_live(block, false);
    Page *page = page_of(block);
    if constexpr (kPoisons) {
        poison(block, page->block_size);
    }
    push(page, static_cast<FreeBlock *>(block));
    if (--page->used <= page->slow_at) {
        free_slow(page);
    }
}

char *ZSTRDUP(const char *text, const char *tag, const char *source) {
    if (text == nullptr) {
        errno = EINVAL;
        return nullptr;
    }
    const size_t size = strlen(text) + 1;
    void *copy = Zmalloc(size, tag, source);
    return copy == nullptr ? nullptr : static_cast<char *>(memcpy(copy, text, size));
}

size_t ZMemoryInUse(const char *tag) {
    tally();
    size_t bytes = 0;
    for (Account *account = next_account(nullptr); account != nullptr;
         account = next_account(account)) {
        bytes += tag == nullptr || strcmp(account->tag, tag) == 0 ? account->bytes : 0;
    }
    return bytes;
}

size_t ZMemoryBlocks(const char *tag) {
    tally();
    size_t blocks = 0;
    for (Account *account = next_account(nullptr); account != nullptr;
         account = next_account(account)) {
        blocks += tag == nullptr || strcmp(account->tag, tag) == 0 ? account->blocks : 0;
    }
    return blocks;
}

void ZMemoryReport(void (*visit)(const char *tag, const char *source, size_t blocks, size_t bytes,
                                 void *user),
                   void *user) {
    tally();
    for (Account *account = next_account(nullptr); account != nullptr;
         account = next_account(account)) {
        if (account->blocks > 0) {
            visit(account->tag, account->source, account->blocks, account->bytes, user);
        }
    }
}

void ZMemoryRefuse(int64_t nth, int64_t count) {
    if (nth <= 0) {
        refusal.nth = 0;
    } else {
        refusal = {count == 0 ? 0 : nth, count, 0};
    }
    fast_limit = refusal.nth == 0 ? kMaxSmall + 1 : 0;
}

uint64_t ZMemoryRefused() {
    return refusal.refused;
}
