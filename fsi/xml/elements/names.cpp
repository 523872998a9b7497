// SPDX-License-Identifier: MIT
//
// A hash table of names with chains.  It grows by doubling and never shrinks while
// a name is left: documents bring few distinct names and hold them to their end.
#include "fsi/xml/elements/names.h"

#include <sys/auxv.h>
#include <sys/random.h>

#include <array>
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

// Always there: few names need no block.
Name *first_buckets[kFirstBuckets];
Table table = {first_buckets, kFirstBuckets - 1, 0};

// The names that were asked for last, by length and two characters.  A name has one
// place, which release_name clears: what stands here lives.
constexpr uint32_t kRecent = 128;
Name *recent[kRecent];

Name *&recent_place(std::string_view text) {
    if (text.empty())
        return recent[0];
    const auto key = static_cast<uint32_t>(text.size()) * 37 +
                     static_cast<unsigned char>(text.front()) * 5U +
                     static_cast<unsigned char>(text.back()) * 17U;
    return recent[key % kRecent];
}

template <class Word>
Word load(const char *bytes) {
    Word word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

// Without the loop over characters, whose end no processor foresees.
bool is_same(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    const size_t size = a.size();
    const char *const x = a.data();
    const char *const y = b.data();
    if (size > 16)
        return std::memcmp(x, y, size) == 0;
    if (size >= 8)
        return ((load<uint64_t>(x) ^ load<uint64_t>(y)) |
                (load<uint64_t>(x + size - 8) ^ load<uint64_t>(y + size - 8))) == 0;
    if (size >= 4)
        return ((load<uint32_t>(x) ^ load<uint32_t>(y)) |
                (load<uint32_t>(x + size - 4) ^ load<uint32_t>(y + size - 4))) == 0;
    return size == 0 || (x[0] == y[0] && x[size / 2] == y[size / 2] && x[size - 1] == y[size - 1]);
}

// Drawn once a process, so that nobody can choose names that meet in one bucket.
struct Keys {
    std::array<uint32_t, 4> words;
    bool are_drawn;
};
Keys keys;

void draw_keys() {
    if (getrandom(&keys.words, sizeof keys.words, GRND_NONBLOCK) != sizeof keys.words) {
        // Early in boot or in a sandbox: 16 random bytes that each process starts with.
        const auto *random = reinterpret_cast<const unsigned char *>(getauxval(AT_RANDOM));
        if (random != nullptr)
            std::memcpy(&keys.words, random, sizeof keys.words);
    }
    keys.are_drawn = true;
}

// Two halves that are multiplied with each other, both keyed: what a change of one half
// does depends on the other one, which is secret.
struct Hash {
    uint32_t a, b;

    void mix(uint32_t low, uint32_t high) {
        const uint64_t product = uint64_t{a ^ low} * (b ^ high);
        a = static_cast<uint32_t>(product) ^ keys.words[2];
        b = static_cast<uint32_t>(product >> 32) ^ keys.words[3];
    }
};

uint32_t hash_of(std::string_view text) {
    const char *bytes = text.data();
    size_t left = text.size();
    Hash hash = {keys.words[0] ^ static_cast<uint32_t>(left), keys.words[1]};
    for (; left > 8; left -= 8, bytes += 8)
        hash.mix(load<uint32_t>(bytes), load<uint32_t>(bytes + 4));
    if (left >= 4) {
        hash.mix(load<uint32_t>(bytes), load<uint32_t>(bytes + left - 4));
    } else if (left > 0) {
        hash.mix(static_cast<unsigned char>(bytes[0]) |
                     uint32_t{static_cast<unsigned char>(bytes[left / 2])} << 8 |
                     uint32_t{static_cast<unsigned char>(bytes[left - 1])} << 16,
                 0);
    }
    hash.mix(0, 0);
    return hash.a ^ hash.b;
}

// Twice the buckets.  Without memory the chains grow longer, and nothing else happens.
void grow() {
    const uint32_t old_size = table.mask + 1;
    if (old_size > UINT32_MAX / sizeof(Name *) / 4)
        return;
    const uint32_t size = old_size * 2;
    auto **buckets =
        static_cast<Name **>(Zmalloc(size * sizeof(Name *), "XML element name table", kSource));
    if (buckets == nullptr)
        return;
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
    if (table.buckets != first_buckets)
        Zfree(table.buckets);
    table.buckets = buckets;
    table.mask = size - 1;
}

void return_to_first_buckets() {
    if (table.buckets != first_buckets)
        Zfree(table.buckets);
    table = {first_buckets, kFirstBuckets - 1, 0};
    std::memset(first_buckets, 0, sizeof first_buckets);
}

}  // namespace

Name *hold_name(std::string_view text) {
    Name *&place = recent_place(text);
    if (place != nullptr && is_same(place->view(), text))
        return hold_name(place);
    if (!keys.are_drawn)
        draw_keys();
    const uint32_t hash = hash_of(text);
    for (Name *name = table.buckets[hash & table.mask]; name != nullptr; name = name->next) {
        if (name->hash == hash && is_same(name->view(), text)) {
            place = name;
            return hold_name(name);
        }
    }
    auto *name =
        static_cast<Name *>(Zmalloc(sizeof(Name) + text.size() + 1, "XML element name", kSource));
    if (name == nullptr)
        return nullptr;
    if (table.count > table.mask)
        grow();
    Name *&bucket = table.buckets[hash & table.mask];
    *name = {bucket, 1, hash, static_cast<uint32_t>(text.size())};
    auto *bytes = reinterpret_cast<char *>(name + 1);
    if (!text.empty())
        std::memcpy(bytes, text.data(), text.size());
    bytes[text.size()] = '\0';
    bucket = name;
    table.count++;
    place = name;
    return name;
}

void release_name(Name *name) {
    if (name == nullptr || --name->holders != 0)
        return;
    Name **link = &table.buckets[name->hash & table.mask];
    while (*link != name)
        link = &(*link)->next;
    *link = name->next;
    if (Name *&place = recent_place(name->view()); place == name)
        place = nullptr;
    Zfree(name);
    if (--table.count == 0)
        return_to_first_buckets();
}

}  // namespace fsi::xml
