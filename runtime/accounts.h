// SPDX-License-Identifier: MIT
//
// Who holds memory: one account for each pair of tag and source, compared by
// content, with the slabs that serve it.  Also the size classes of slabs.
#ifndef RUNTIME_ACCOUNTS_H
#define RUNTIME_ACCOUNTS_H

#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "runtime/poison.h"
#include "runtime/segments.h"

namespace host {

// Block sizes of slabs: every granule up to 128 bytes, four to each doubling up to
// 1 KiB, then what divides a unit into 14, 12 and 10 to 2 blocks.
struct SizeClasses {
    static constexpr unsigned kMax = 48;
    uint32_t sizes[kMax] = {};
    unsigned count = 0;
    uint8_t by_granules[kUnitSize / 2 / kGranule + 1] = {};  // of a size rounded up

    constexpr SizeClasses() {
        for (uint32_t size = kGranule; size <= 128; size += kGranule) {
            sizes[count++] = size;
        }
        for (uint32_t step = 32; step <= 128; step *= 2) {
            for (uint32_t i = 5; i <= 8; ++i) {
                sizes[count++] = step * i;
            }
        }
        for (const unsigned blocks : {14U, 12U, 10U, 9U, 8U, 7U, 6U, 5U, 4U, 3U, 2U}) {
            sizes[count++] = static_cast<uint32_t>(kUnitSize / blocks / kGranule * kGranule);
        }
        unsigned fitting = 0;
        for (uint32_t granules = 0; granules < sizeof by_granules; ++granules) {
            fitting += granules * kGranule > sizes[fitting] ? 1 : 0;
            by_granules[granules] = static_cast<uint8_t>(fitting);
        }
    }
};

inline constexpr SizeClasses kClasses;
constexpr size_t kMaxSmall = kUnitSize / 2 - kRedZone;  // requests above are large blocks
static_assert(kClasses.sizes[kClasses.count - 1] == kUnitSize / 2);

// size 0 .. kMaxSmall
inline unsigned class_of(size_t size) {
    return kClasses.by_granules[(size + kRedZone + kGranule - 1) / kGranule];
}

// Slabs of one class with free blocks.  The first serves requests and stays even
// when it is empty; those behind it go when they are.
using Bin = Page *;

constexpr int32_t kNeverSlow = -1;          // slow_at of a bin's first slab
constexpr int32_t kWhenEmpty = 0;           // of those behind it
constexpr int32_t kAlwaysSlow = INT32_MAX;  // of full slabs and large blocks

struct Account {
    const char *tag;
    const char *source;
    Account *next_in_bucket;
    size_t blocks, bytes;            // set by tally() alone
    Bin bins[2][SizeClasses::kMax];  // string bodies apart from other blocks

    Bin &bin(Purpose purpose, unsigned size_class) {
        return bins[purpose == Purpose::kStringBodies ? 1 : 0][size_class];
    }
};

// What an empty bin points at: a slab that never has a free block.
extern Page no_slab;

// The accounts found last, by the addresses of both texts: a call site always
// passes the same ones.
struct CachedAccount {
    const char *tag;
    const char *source;
    Account *account;
};
constexpr unsigned kCacheBits = 9;
extern CachedAccount account_cache[1U << kCacheBits];

inline CachedAccount &cache_place(const char *tag, const char *source) {
    const auto mixed = static_cast<uint32_t>(address_of(tag) * 5 + address_of(source));
    return account_cache[mixed * 0x9e3779b1U >> (32 - kCacheBits)];
}

// The account of a pair of texts, opened at its first use and kept for ever; null
// with errno ENOMEM.  Null texts count as empty ones.
Account *open_account(const char *tag, const char *source);

inline Account *account_for(const char *tag, const char *source) {
    const CachedAccount &cached = cache_place(tag, source);
    return cached.tag == tag && cached.source == source && cached.account != nullptr
               ? cached.account
               : open_account(tag, source);
}

// Counts what every account holds now.
void tally();

// After tally(): the next account, null to start and at the end.
Account *next_account(Account *account);

}  // namespace host

#endif
