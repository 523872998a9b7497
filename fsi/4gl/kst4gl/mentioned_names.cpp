// SPDX-License-Identifier: MIT
//
// One entry a distinct name, all in one block, found through a hash of the host,
// which no choice of names can make slow.
#include "fsi/4gl/kst4gl/mentioned_names.h"

#include <cstddef>

#include "fsi/4gl/kst4gl/model.h"

namespace fsi {
namespace {

bool compares_a_field(const XfdCondition &condition) {
    return condition.c_type != XFD_COND_AND && condition.c_type != XFD_COND_OR;
}

}  // namespace

bool MentionedNames::collect(const Xfd *xfd) {
    size_t most = xfd->x_n_conditions_alloc;
    for (uint32_t k = 0; k < xfd->x_n_keys_alloc; ++k)
        most += xfd->x_key_desc[k].k_n_fields;
    if (most == 0)
        return true;

    static constexpr const char *kTag = "XFD mentioned names";
    entries_.reset(allocate_cleared<Entry>(most, kTag, kSource));
    table_.reset(HASH_NEW(
        kTag, offsetof(Entry, name), [](void *) {}, kSource));
    if (!entries_ || !table_)
        return false;

    for (uint32_t k = 0; k < xfd->x_n_keys_alloc; ++k) {
        const XfdKey &key = xfd->x_key_desc[k];
        for (uint32_t c = 0; c < key.k_n_fields; ++c) {
            if (!add(key.k_field[c].kc_name, true))
                return false;
        }
    }
    for (uint32_t c = 0; c < xfd->x_n_conditions_alloc; ++c) {
        const XfdCondition &condition = xfd->x_condition[c];
        if (compares_a_field(condition) && !add(condition.c_variable, false))
            return false;
    }
    return true;
}

void MentionedNames::clear() {
    table_.reset();
    entries_.reset();
    count_ = 0;
}

bool MentionedNames::add(const char *name, bool is_key_column) {
    if (Entry *known = find(name)) {
        known->is_key_column |= is_key_column;
        return true;
    }
    Entry *entry = entries_.get() + count_;
    *entry = {name, is_key_column, -1, -1};
    if (!HASH_ADD(table_.get(), entry))
        return false;
    ++count_;
    return true;
}

MentionedNames::Entry *MentionedNames::find(const char *name) const {
    if (!table_)
        return nullptr;
    return static_cast<Entry *>(HASH_GET(table_.get(), name));
}

bool MentionedNames::note_field(const char *lower_name, uint32_t slot, uint16_t condition) {
    Entry *entry = find(lower_name);
    if (entry == nullptr)
        return false;
    entry->last_field = slot;
    if (entry->first_field < 0 && condition != XFD_LISTED_ONLY)
        entry->first_field = slot;
    return entry->is_key_column;
}

int64_t MentionedNames::key_field(const char *column_name) const {
    const Entry *entry = find(column_name);
    return entry == nullptr ? -1 : entry->last_field;
}

int64_t MentionedNames::condition_field(const char *variable) const {
    const Entry *entry = find(variable);
    return entry == nullptr ? -1 : entry->first_field;
}

}  // namespace fsi
