// SPDX-License-Identifier: MIT
//
// The table is open addressing over the addresses of names.  An entry whose count
// has fallen to zero stays until the table grows: it means nothing, also when its
// name is gone and another one has taken its address.
#include "fsi/xml/elements/child_names.h"

#include <cstring>

#include "host/memory.h"

namespace fsi::xml {

struct ChildNames {
    uint32_t mask;  // entries - 1
    uint32_t used;  // entries that are not free, counts of zero included

    NameCount *entries() { return reinterpret_cast<NameCount *>(this + 1); }
};

namespace {

constexpr const char *kSource = "fsi/xml/elements/child_names";
// Up to so many children are looked through: that is as fast as a table, and most
// elements need no table then.
constexpr uint32_t kMaxUncounted = 12;
constexpr uint32_t kFirstEntries = 8;

// The entry of the name, or the free one where it belongs.
NameCount *entry_of(ChildNames *names, const Name *name) {
    uint32_t i = name->hash & names->mask;
    NameCount *const entries = names->entries();
    while (entries[i].name != name && entries[i].name != nullptr)
        i = (i + 1) & names->mask;
    return &entries[i];
}

void count(NameCount *entry, const Element &child) {
    entry->name = child.name;
    entry->count++;
    entry->handles ^= child.handle;
}

ChildNames *make_table(uint32_t entries) {
    const size_t size = sizeof(ChildNames) + entries * sizeof(NameCount);
    auto *names =
        static_cast<ChildNames *>(Zmalloc(size, "XML element unique name array", kSource));
    if (names != nullptr) {
        std::memset(names, 0, size);
        names->mask = entries - 1;
    }
    return names;
}

bool build_table(Element *parent, uint32_t children) {
    uint32_t entries = kFirstEntries;
    while (entries < children * 2 + 2)
        entries *= 2;
    if (!has_extras(parent))
        return false;
    ChildNames *names = make_table(entries);
    if (names == nullptr)
        return false;
    for (const Element *child = parent->first_child(); child != nullptr; child = child->next) {
        NameCount *entry = entry_of(names, child->name);
        names->used += entry->name == nullptr ? 1 : 0;
        count(entry, *child);
    }
    parent->extras->child_names = names;
    return true;
}

}  // namespace

bool find_name(Element *parent, const Name *name, NameCount *found) {
    if (ChildNames *names = parent->child_names(); names != nullptr) {
        *found = *entry_of(names, name);
        return true;
    }
    *found = {};
    uint32_t children = 0;
    for (const Element *child = parent->first_child(); child != nullptr; child = child->next) {
        if (child->name == name)
            count(found, *child);
        children++;
    }
    return children <= kMaxUncounted || build_table(parent, children);
}

bool make_room_for_name(Element *parent) {
    ChildNames *old = parent->extras->child_names;
    if (old->used <= old->mask / 4 * 3)
        return true;
    uint32_t live = 0;
    for (uint32_t i = 0; i <= old->mask; i++)
        live += old->entries()[i].count != 0 ? 1 : 0;
    uint32_t entries = kFirstEntries;
    while (entries < live * 2 + 2)
        entries *= 2;
    ChildNames *names = make_table(entries);
    if (names == nullptr)
        return false;
    for (uint32_t i = 0; i <= old->mask; i++) {
        const NameCount &entry = old->entries()[i];
        if (entry.count != 0)
            *entry_of(names, entry.name) = entry;
    }
    names->used = live;
    Zfree(old);
    parent->extras->child_names = names;
    return true;
}

void count_child(Element *parent, const Element &child) {
    ChildNames *names = parent->child_names();
    if (names == nullptr)
        return;
    NameCount *entry = entry_of(names, child.name);
    names->used += entry->name == nullptr ? 1 : 0;
    count(entry, child);
}

void uncount_child(Element *parent, const Element &child) {
    ChildNames *names = parent->child_names();
    if (names == nullptr)
        return;
    NameCount *entry = entry_of(names, child.name);
    if (entry->count != 0) {
        entry->count--;
        entry->handles ^= child.handle;
    }
}

void free_child_names(ChildNames *names) {
    Zfree(names);
}

}  // namespace fsi::xml
