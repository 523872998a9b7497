// SPDX-License-Identifier: MIT
#include "runtime/variable_store.h"

#include <string.h>
#include <sys/auxv.h>

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

char fold(char c) {
    if (c == '-')
        return '_';
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c;
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

// The folded name's hash; 0 in *length for an empty name and one past the limit.
uint32_t hash_name(const char *name, size_t *length) {
    uint32_t hash = hash_seed();
    size_t n = 0;
    for (; name[n] != '\0'; ++n) {
        if (n == kMaxNameBytes) {
            *length = 0;
            return 0;
        }
        hash = (hash ^ static_cast<unsigned char>(fold(name[n]))) * 0x01000193u;
        hash ^= hash >> 15;
    }
    *length = n;
    return hash;
}

bool same_name(const char *folded, const char *name) {
    for (; *folded == fold(*name); ++folded, ++name) {
        if (*folded == '\0')
            return true;
    }
    return false;
}

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

void fold_into(char *folded, const char *name, size_t length) {
    for (size_t i = 0; i < length; ++i)
        folded[i] = fold(name[i]);
    folded[length] = '\0';
}

}  // namespace

Variable *find_variable(const char *name) {
    if (name == nullptr)
        return nullptr;
    size_t length;
    const uint32_t hash = hash_name(name, &length);
    for (Variable *v = *bucket_of(hash); v != nullptr; v = v->next) {
        if (v->hash == hash && same_name(v->name, name))
            return v;
    }
    return nullptr;
}

Variable *need_variable(const char *name) {
    if (Variable *known = find_variable(name); known != nullptr)
        return known;
    size_t length = 0;
    const uint32_t hash = name == nullptr ? 0 : hash_name(name, &length);
    if (length == 0) {
        refuse(kParameterError,
               "'%.*s' is no name of a configuration variable; names have 1 to %zu bytes",
               kShownBytes, name == nullptr ? "" : name, kMaxNameBytes);
        return nullptr;
    }
    auto *variable = static_cast<Variable *>(
        Zmalloc(sizeof(Variable) + length + 1, "configuration variable", kSource));
    if (variable == nullptr) {
        refuse_memory();
        return nullptr;
    }
    *variable = {};
    variable->hash = hash;
    variable->name = reinterpret_cast<char *>(variable + 1);
    fold_into(variable->name, name, length);
    link(variable);
    return variable;
}

void adopt_variable(Variable *variable, char *name_room, const char *name) {
    size_t length;
    variable->hash = hash_name(name, &length);
    variable->name = name_room;
    fold_into(name_room, name, length);
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
