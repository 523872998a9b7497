// SPDX-License-Identifier: MIT
//
// The columns of a table by name, so that many fields find theirs in time that
// grows with the table, not with fields times columns.  Columns of one name are
// kept in their order.
#ifndef FSI_4GL_KST4GL_COLUMN_NAMES_H
#define FSI_4GL_KST4GL_COLUMN_NAMES_H

#include <cstdint>

#include "fsi/base/owner.h"
#include "host/containers.h"

namespace fsi {

class ColumnNames {
 public:
    // Room for `most` columns.  False when memory was refused.
    [[nodiscard]] bool reserve(uint32_t most);

    // Adds a column behind those of its name; false when memory was refused.  The
    // name stays where it is while this lives.
    [[nodiscard]] bool add(const char *name, uint32_t column);

    // The first column of a name that was not taken, -1 for none.  From the first
    // look-up on nothing is added.
    int64_t first(const char *name) const;
    // The same; that column is then taken.
    int64_t take(const char *name);

 private:
    // The first column of a name carries its queue; all others hang on it.
    struct Slot {
        const char *name;
        uint32_t column;
        uint32_t next;   // slot of the next column of this name, or kNone
        uint32_t front;  // first column that is not taken, or kNone
        uint32_t back;   // last column
    };
    static constexpr uint32_t kNone = UINT32_MAX;
    using Table = Owner<ZHash *, HASH_FREE>;

    Slot *find(const char *name) const;

    Block<Slot> slots_;
    Table table_;  // goes before the slots it points at
    uint32_t count_ = 0;
};

}  // namespace fsi

#endif
