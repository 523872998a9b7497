// SPDX-License-Identifier: MIT
//
// Hash tables.  The entries stand in the order in which they were added; beside
// them an open-addressing index names, for each key, the entry added last, with
// the hash so that a probe seldom reads an entry.
#include <sys/random.h>

#include <cerrno>
#include <cstring>
#include <ctime>

#include "host/containers.h"
#include "host/memory.h"
#include "runtime/blocks.h"
#include "runtime/siphash.h"

namespace {

struct Probe {
    uint32_t hash;
    uint32_t entry_1based;  // 0: empty
};

constexpr uint32_t kFirstEntries = 12;
constexpr uint32_t kFirstProbes = 16;
constexpr uint32_t kMaxEntries = 1U << 28;

}  // namespace

struct ZHash {
    void **entries;
    Probe *probes;  // a power of two of them, at most three quarters in use
    uint32_t count;
    uint32_t capacity;  // of entries: three quarters of the probes
    uint32_t mask;
    size_t key_offset;
    void (*free_entry)(void *entry);
};

namespace {

// One key a process, drawn at the first use.
host::SipKey process_key() {
    static host::SipKey key;
    static bool is_drawn;
    if (!is_drawn) {
        if (getrandom(&key, sizeof key, GRND_NONBLOCK) != static_cast<ssize_t>(sizeof key)) {
            // Early in boot or in a sandbox: the address layout is what is left.
            key = {reinterpret_cast<uintptr_t>(&key) * 0x9e3779b97f4a7c15ULL,
                   static_cast<uint64_t>(time(nullptr)) ^ reinterpret_cast<uintptr_t>(&errno)};
        }
        is_drawn = true;
    }
    return key;
}

uint32_t hash_of(const char *key) {
    return static_cast<uint32_t>(host::siphash<1, 3>(key, strlen(key), process_key()));
}

const char *key_of(const ZHash *hash, const void *entry) {
    const char *key;
    memcpy(&key, static_cast<const char *>(entry) + hash->key_offset, sizeof key);
    return key;
}

// The probe that holds `key`, or the empty one where it belongs.
Probe *find_probe(const ZHash *hash, const char *key, uint32_t value) {
    for (uint32_t i = value & hash->mask;; i = (i + 1) & hash->mask) {
        Probe *probe = &hash->probes[i];
        if (probe->entry_1based == 0 ||
            (probe->hash == value &&
             strcmp(key_of(hash, hash->entries[probe->entry_1based - 1]), key) == 0)) {
            return probe;
        }
    }
}

bool grow(ZHash *hash) {
    if (hash->count >= kMaxEntries) {
        errno = ENOMEM;
        return false;
    }
    const uint32_t probe_count = hash->probes == nullptr ? kFirstProbes : (hash->mask + 1) * 2;
    const uint32_t capacity = probe_count / 4 * 3;
    if (capacity > PTRDIFF_MAX / sizeof(Probe) / 2) {
        errno = ENOMEM;
        return false;
    }
    auto *probes = static_cast<Probe *>(host::allocate_beside(hash, probe_count * sizeof(Probe)));
    if (probes == nullptr) {
        return false;
    }
    auto **entries = static_cast<void **>(
        host::reallocate_beside(hash, hash->entries, capacity * sizeof(void *)));
    if (entries == nullptr) {
        Zfree(probes);
        return false;
    }
    memset(probes, 0, probe_count * sizeof(Probe));
    // Every old probe is a key of its own: the hashes alone place them.
    for (uint32_t i = 0; hash->probes != nullptr && i <= hash->mask; ++i) {
        const Probe probe = hash->probes[i];
        if (probe.entry_1based != 0) {
            uint32_t at = probe.hash & (probe_count - 1);
            while (probes[at].entry_1based != 0) {
                at = (at + 1) & (probe_count - 1);
            }
            probes[at] = probe;
        }
    }
    Zfree(hash->probes);
    hash->probes = probes;
    hash->entries = entries;
    hash->mask = probe_count - 1;
    hash->capacity = capacity;
    return true;
}

}  // namespace

ZHash *HASH_NEW(const char *tag, size_t key_offset, void (*free_entry)(void *entry),
                const char *source) {
    auto *hash = static_cast<ZHash *>(Zmalloc(sizeof(ZHash), tag, source));
    if (hash != nullptr) {
        *hash = {nullptr, nullptr, 0, 0, 0, key_offset, free_entry};
    }
    return hash;
}

int HASH_ADD(ZHash *hash, void *entry) {
    if (hash == nullptr || entry == nullptr || key_of(hash, entry) == nullptr) {
        return 0;
    }
    if (hash->count == hash->capacity && !grow(hash)) {
        return 0;
    }
    const char *key = key_of(hash, entry);
    const uint32_t value = hash_of(key);
    Probe *probe = find_probe(hash, key, value);
    hash->entries[hash->count++] = entry;
    *probe = {value, hash->count};
    return 1;
}

void *HASH_GET(ZHash *hash, const char *key) {
    if (hash == nullptr || key == nullptr || hash->count == 0) {
        return nullptr;
    }
    const Probe *probe = find_probe(hash, key, hash_of(key));
    return probe->entry_1based == 0 ? nullptr : hash->entries[probe->entry_1based - 1];
}

void HASH_CLEAR(ZHash *hash) {
    if (hash == nullptr) {
        return;
    }
    const uint32_t count = hash->count;
    if (count > 0) {
        memset(hash->probes, 0, (hash->mask + size_t{1}) * sizeof(Probe));
        hash->count = 0;
    }
    for (uint32_t i = 0; hash->free_entry != nullptr && i < count; ++i) {
        hash->free_entry(hash->entries[i]);
    }
}

void HASH_FREE(ZHash *hash) {
    if (hash == nullptr) {
        return;
    }
    HASH_CLEAR(hash);
    Zfree(hash->entries);
    Zfree(hash->probes);
    Zfree(hash);
}
