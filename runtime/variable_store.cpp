// SPDX-License-Identifier: MIT
#include "runtime/variable_store.h"

#include <string.h>
#include <sys/auxv.h>

#include <bit>

#include "host/memory.h"
#include "runtime/error_state.h"

namespace host {
namespace {

constexpr const char *kSource = "runtime/variable_store";
constexpr size_t kFirstBuckets = 128;

Variable *first_buckets[kFirstBuckets];
Variable **buckets = first_buckets;
size_t bucket_count = kFirstBuckets;  // a power of two
size_t variable_count;

// Names are folded and hashed a machine word at a time: a variable is looked up at
// each conversion of a date, and byte by byte that took half of its time.
using Word = size_t;
constexpr Word kOnes = static_cast<Word>(0x0101010101010101);
constexpr Word kHighBits = kOnes << 7;

// Each byte of a word: "-" becomes "_", a lower case letter upper case.
Word fold(Word bytes) {
    const Word low = bytes & ~kHighBits;
    // The high bits mark what is asked for; no sum reaches the next byte.
    const Word from_a = low + (0x80 - 'a') * kOnes;
    const Word behind_z = low + (0x7F - 'z') * kOnes;
    const Word lower = from_a & ~behind_z & ~bytes & kHighBits;
    const Word not_dash = bytes ^ '-' * kOnes;
    const Word dash = ~(((not_dash & ~kHighBits) + 0x7F * kOnes) | not_dash) & kHighBits;
    return (bytes ^ lower >> 2) ^ (dash >> 7) * ('-' ^ '_');
}

// Seeded, so that names from a file cannot be chosen to share a bucket.
uint32_t hash_seed() {
    static uint32_t seed;
    if (seed == 0) {
        const void *bytes = reinterpret_cast<const void *>(getauxval(AT_RANDOM));
        if (bytes != nullptr)
            memcpy(&seed, bytes, sizeof seed);
        seed |= 1;
    }
    return seed;
}

Word load_word(const char *at) {
    Word word;
    memcpy(&word, at, sizeof word);
    return word;
}

// What whole words leave of a name, with zero bytes behind it.
Word last_word(const char *name, size_t length) {
    const size_t rest = length % sizeof(Word);
    if (length >= sizeof(Word) && rest != 0 && std::endian::native == std::endian::little)
        return load_word(name + length - sizeof(Word)) >> 8 * (sizeof(Word) - rest);
    Word word = 0;
    memcpy(&word, name + length - rest, rest);
    return word;
}

// A name as it is kept and compared.
struct FoldedName {
    Word words[kMaxNameBytes / sizeof(Word) + 1];  // zero bytes behind the text
    size_t length = 0;                             // 0 for none, and for one past the limit
    uint32_t hash = 0;

    explicit FoldedName(const char *name) {
        length = name == nullptr ? 0 : strnlen(name, kMaxNameBytes + 1);
        if (length == 0 || length > kMaxNameBytes) {
            length = 0;
            words[0] = 0;
            return;
        }
        const size_t count = word_count();
        constexpr auto kSpread = static_cast<Word>(0x9E3779B97F4A7C15);
        Word mix = hash_seed();
        for (size_t i = 0; i < count; ++i) {
            words[i] =
                fold(i + 1 < count ? load_word(name + i * sizeof(Word)) : last_word(name, length));
            mix = (mix ^ words[i]) * kSpread;
            mix ^= mix >> (sizeof(Word) * 4);
        }
        hash = static_cast<uint32_t>(mix);
    }
    size_t word_count() const { return length / sizeof(Word) + 1; }

    // Names are kept in whole words, so no load goes past their end: all words but the
    // last are free of zero bytes.
    bool is(const char *kept) const {
        for (size_t i = 0; i < word_count(); ++i) {
            if (load_word(kept + i * sizeof(Word)) != words[i])
                return false;
        }
        return true;
    }
};

Variable **bucket_of(uint32_t hash) {
    return &buckets[hash & (bucket_count - 1)];
}

void move_to(Variable **table, size_t count) {
    Variable **old = buckets;
    size_t old_count = bucket_count;
    memset(table, 0, count * sizeof *table);
    buckets = table;
    bucket_count = count;
    for (size_t i = 0; i < old_count; ++i) {
        for (Variable *v = old[i]; v != nullptr;) {
            Variable *next = v->next;
            v->next = *bucket_of(v->hash);
            *bucket_of(v->hash) = v;
            v = next;
        }
    }
    if (old != first_buckets)
        Zfree(old);
}

// Without memory the chains grow instead.
void grow_when_crowded() {
    if (variable_count < 2 * bucket_count)
        return;
    void *table = Zmalloc(4 * bucket_count * sizeof(Variable *), "configuration names", kSource);
    if (table != nullptr)
        move_to(static_cast<Variable **>(table), 4 * bucket_count);
}

void link(Variable *variable) {
    grow_when_crowded();
    variable->next = *bucket_of(variable->hash);
    *bucket_of(variable->hash) = variable;
    ++variable_count;
}

Variable *find_variable(const FoldedName &name) {
    for (Variable *v = *bucket_of(name.hash); v != nullptr; v = v->next) {
        if (v->hash == name.hash && name.is(v->name))
            return v;
    }
    return nullptr;
}

}  // namespace

Variable *find_variable(const char *name) {
    const FoldedName folded(name);
    return folded.length == 0 ? nullptr : find_variable(folded);
}

Variable *need_variable(const char *name) {
    const FoldedName folded(name);
    if (folded.length == 0) {
        refuse(kParameterError,
               "'%.*s' is no name of a configuration variable; names have 1 to %zu bytes",
               kShownBytes, name == nullptr ? "" : name, kMaxNameBytes);
        return nullptr;
    }
    if (Variable *known = find_variable(folded); known != nullptr)
        return known;
    auto *variable = static_cast<Variable *>(Zmalloc(
        sizeof(Variable) + folded.word_count() * sizeof(Word), "configuration variable", kSource));
    if (variable == nullptr) {
        refuse_memory();
        return nullptr;
    }
    *variable = {};
    variable->hash = folded.hash;
    variable->name = reinterpret_cast<char *>(variable + 1);
    memcpy(variable->name, folded.words, folded.word_count() * sizeof(Word));
    link(variable);
    return variable;
}

void adopt_variable(Variable *variable, char *name_room, const char *name) {
    const FoldedName folded(name);
    variable->hash = folded.hash;
    variable->name = name_room;
    memcpy(name_room, folded.words, folded.word_count() * sizeof(Word));
    link(variable);
}

void drop_if_unused(Variable *variable) {
    if (variable->row != nullptr)
        return;
    for (const GivenList &list : variable->given) {
        if (list.first != nullptr)
            return;
    }
    Variable **place = bucket_of(variable->hash);
    while (*place != variable)
        place = &(*place)->next;
    *place = variable->next;
    --variable_count;
    Zfree(variable);
    if (variable_count <= kFirstBuckets && buckets != first_buckets)
        move_to(first_buckets, kFirstBuckets);
}

Given *make_given(const char *text) {
    size_t length = strlen(text);
    auto *given =
        static_cast<Given *>(length >= SIZE_MAX / 2 ? nullptr
                                                    : Zmalloc(sizeof(Given) + length + 1,
                                                              "configuration value", kSource));
    if (given == nullptr) {
        refuse_memory();
        return nullptr;
    }
    given->next = nullptr;
    given->length = length;
    given->text = reinterpret_cast<char *>(given + 1);
    memcpy(given->text, text, length + 1);
    return given;
}

void append(GivenList *list, Given *given) {
    if (list->last == nullptr)
        list->first = given;
    else
        list->last->next = given;
    list->last = given;
    list->bytes += sizeof(Given) + given->length;
}

void remove_first(GivenList *list) {
    Given *given = list->first;
    list->first = given->next;
    if (list->first == nullptr)
        list->last = nullptr;
    list->bytes -= sizeof(Given) + given->length;
    Zfree(given);
}

void clear(GivenList *list) {
    while (list->first != nullptr)
        remove_first(list);
}

}  // namespace host
