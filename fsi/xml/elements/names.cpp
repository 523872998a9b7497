// SPDX-License-Identifier: MIT
//
// A hash table of names with chains.  It grows by doubling and never shrinks while
// a name is left: documents bring few distinct names and hold them to their end.
#include "fsi/xml/elements/names.h"

#include <sys/auxv.h>

#include <cstring>

#include "host/memory.h"

namespace fsi::xml {
namespace {

constexpr const char *kSource = "fsi/xml/elements/names";
constexpr uint32_t kFirstBuckets = 64;

struct Table {
    Name **buckets;
    uint32_t mask;  // buckets - 1
    uint32_t count;
};

Table table;

// Of 16 random bytes that the kernel gives each process.
uint64_t hash_key;

uint64_t seed() {
    if (hash_key == 0) {
        hash_key = 0x9E3779B97F4A7C15U;
        const auto *random = reinterpret_cast<const unsigned char *>(getauxval(AT_RANDOM));
        if (random != nullptr)
            std::memcpy(&hash_key, random, sizeof hash_key);
        hash_key |= 1;
    }
    return hash_key;
}

uint32_t hash_of(std::string_view text) {
    // Multiply and fold, eight bytes at a time, each step keyed by the seed.
    const uint64_t key = seed();
    uint64_t hash = key ^ (text.size() * 0x9E3779B97F4A7C15U);
    const char *bytes = text.data();
    size_t left = text.size();
    const auto mix = [&](uint64_t word) {
        hash = (hash ^ word) * 0xD6E8FEB86659FD93U;
        hash ^= hash >> 32;
        hash += key;
    };
    for (; left >= 8; left -= 8, bytes += 8) {
        uint64_t word;
        std::memcpy(&word, bytes, 8);
        mix(word);
    }
    uint64_t word = 0;
    if (left >= 4) {
        uint32_t low, high;
        std::memcpy(&low, bytes, 4);
        std::memcpy(&high, bytes + left - 4, 4);
        word = low | uint64_t{high} << 32;
    } else if (left > 0) {
        word = static_cast<unsigned char>(bytes[0]) |
               uint32_t{static_cast<unsigned char>(bytes[left / 2])} << 8 |
               uint32_t{static_cast<unsigned char>(bytes[left - 1])} << 16;
    }
    mix(word);
    mix(key >> 7);
    return static_cast<uint32_t>(hash >> 16);
}

bool grow() {
    const uint32_t old_size = table.buckets == nullptr ? 0 : table.mask + 1;
    const uint32_t size = old_size == 0 ? kFirstBuckets : old_size * 2;
    if (size > UINT32_MAX / sizeof(Name *) / 2)
        return old_size != 0;
    auto **buckets =
        static_cast<Name **>(Zmalloc(size * sizeof(Name *), "XML element name table", kSource));
    if (buckets == nullptr)
        return old_size != 0;  // chains grow longer, nothing else happens
    std::memset(buckets, 0, size * sizeof(Name *));
    for (uint32_t i = 0; i < old_size; i++) {
        for (Name *name = table.buckets[i]; name != nullptr;) {
            Name *const next = name->next;
            Name *&bucket = buckets[name->hash & (size - 1)];
            name->next = bucket;
            bucket = name;
            name = next;
        }
    }
    Zfree(table.buckets);
    table.buckets = buckets;
    table.mask = size - 1;
    return true;
}

void free_table_when_empty() {
    if (table.count == 0) {
        Zfree(table.buckets);
        table = {};
    }
}

}  // namespace

Name *hold_name(std::string_view text) {
    if ((table.buckets == nullptr || table.count > table.mask) && !grow())
        return nullptr;
    const uint32_t hash = hash_of(text);
    Name *&bucket = table.buckets[hash & table.mask];
    for (Name *name = bucket; name != nullptr; name = name->next) {
        if (name->hash == hash && name->length == text.size() &&
            std::memcmp(name->text(), text.data(), text.size()) == 0)
            return hold_name(name);
    }
    auto *name =
        static_cast<Name *>(Zmalloc(sizeof(Name) + text.size() + 1, "XML element name", kSource));
    if (name == nullptr) {
        free_table_when_empty();
        return nullptr;
    }
    *name = {bucket, 1, hash, static_cast<uint32_t>(text.size())};
    auto *bytes = reinterpret_cast<char *>(name + 1);
    if (!text.empty())
        std::memcpy(bytes, text.data(), text.size());
    bytes[text.size()] = '\0';
    bucket = name;
    table.count++;
    return name;
}

void release_name(Name *name) {
    if (name == nullptr || --name->holders != 0)
        return;
    Name **link = &table.buckets[name->hash & table.mask];
    while (*link != name)
        link = &(*link)->next;
    *link = name->next;
    Zfree(name);
    table.count--;
    free_table_when_empty();
}

}  // namespace fsi::xml
