// SPDX-License-Identifier: MIT
//
// The field names that keys and conditions of one dictionary mention.  Each
// field is looked up here once, while it is built; so keys and conditions find
// their fields in time that grows with the file, not with fields times keys.
#ifndef FSI_4GL_KST4GL_MENTIONED_NAMES_H
#define FSI_4GL_KST4GL_MENTIONED_NAMES_H

#include <cstdint>

#include "fsi/base/owner.h"
#include "host/containers.h"
#include "wbfsi/records.h"

namespace fsi {

class MentionedNames {
 public:
    // Collects the key columns and condition variables of `xfd`, whose names are
    // lower case already and stay where they are while this lives.  False when
    // memory was refused.
    [[nodiscard]] bool collect(const Xfd *xfd);

    bool empty() const { return count_ == 0; }
    void clear();

    // Notes the field built at `slot`, whose lower-case name is given; true when
    // a key column has that name.
    bool note_field(const char *lower_name, uint32_t slot, uint16_t condition);

    // The last field of a key column's name, -1 when there is none.
    int64_t key_field(const char *column_name) const;
    // The first field of a condition's variable that exists outside the listed
    // view, -1 when there is none.
    int64_t condition_field(const char *variable) const;

 private:
    struct Entry {
        const char *name;
        bool is_key_column;
        int64_t first_field;
        int64_t last_field;
    };
    using Table = Owner<ZHash *, HASH_FREE>;

    bool add(const char *name, bool is_key_column);
    Entry *find(const char *name) const;

    Block<Entry> entries_;
    Table table_;  // goes before the entries it points at, and they before their names
    size_t count_ = 0;
};

}  // namespace fsi

#endif
