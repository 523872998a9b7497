// SPDX-License-Identifier: MIT
//
// Accounts by the content of their texts.
#include "runtime/accounts.h"

#include <cstring>
#include <initializer_list>

namespace host {

Page no_slab;
CachedAccount account_cache[1U << kCacheBits];

namespace {

constexpr unsigned kBuckets = 256;
Account *buckets[kBuckets];

// Accounts are few and stay: they are cut from units in turn.
char *arena;
char *arena_end;

unsigned bucket_of(const char *tag, const char *source) {
    uint32_t hash = 2166136261U;  // FNV-1a: the texts are the program's own
    for (const char *text : {tag, source}) {
        do {
            hash = (hash ^ static_cast<unsigned char>(*text)) * 16777619U;
        } while (*text++ != '\0');
    }
    return hash % kBuckets;
}

Account *new_account() {
    if (static_cast<size_t>(arena_end - arena) < sizeof(Account)) {
        Page *page = take_units(1);
        if (page == nullptr) {
            return nullptr;
        }
        arena = page_start(page);
        arena_end = arena + kUnitSize;
        unpoison(arena, kUnitSize);
    }
    auto *account = reinterpret_cast<Account *>(arena);
    arena += sizeof(Account);
    for (auto &bins : account->bins) {
        for (Bin &bin : bins) {
            bin = &no_slab;
        }
    }
    return account;
}

}  // namespace

Account *open_account(const char *tag, const char *source) {
    const char *tag_text = tag == nullptr ? "" : tag;
    const char *source_text = source == nullptr ? "" : source;
    Account *&bucket = buckets[bucket_of(tag_text, source_text)];
    Account *account = bucket;
    while (account != nullptr &&
           (strcmp(account->tag, tag_text) != 0 || strcmp(account->source, source_text) != 0)) {
        account = account->next_in_bucket;
    }
    if (account == nullptr) {
        account = new_account();
        if (account == nullptr) {
            return nullptr;
        }
        account->tag = tag_text;
        account->source = source_text;
        account->next_in_bucket = bucket;
        bucket = account;
    }
    cache_place(tag, source) = {tag, source, account};
    return account;
}

Account *next_account(Account *account) {
    if (account != nullptr && account->next_in_bucket != nullptr) {
        return account->next_in_bucket;
    }
    unsigned bucket = account == nullptr ? 0 : bucket_of(account->tag, account->source) + 1;
    while (bucket < kBuckets && buckets[bucket] == nullptr) {
        ++bucket;
    }
    return bucket == kBuckets ? nullptr : buckets[bucket];
}

void tally() {
    for (Account *account = next_account(nullptr); account != nullptr;
         account = next_account(account)) {
        account->blocks = 0;
        account->bytes = 0;
    }
    visit_pages([](Page *page) {
        if (page->account != nullptr) {
            const auto blocks = static_cast<size_t>(page->used);
            page->account->blocks += blocks;
            page->account->bytes += blocks * page->block_size;
        }
    });
}

}  // namespace host
