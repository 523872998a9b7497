// SPDX-License-Identifier: MIT
//
// One field of a dictionary becomes the records of an Xfd: one, or with OCCURS
// one an occurrence.  Both forms build their fields here; how a form writes a
// field down is its reader's business.
#ifndef FSI_4GL_KST4GL_BUILD_FIELD_H
#define FSI_4GL_KST4GL_BUILD_FIELD_H

#include <cstdint>

#include "fsi/4gl/kst4gl/load.h"

namespace fsi {

// A field as its dictionary declares it.  The texts are the reader's and are
// copied.
struct FieldDeclaration {
    uint32_t offset = 0;
    uint32_t size = 0;
    uint32_t digits = 0;
    uint32_t user_flags = 0;
    uint16_t type = 0;
    uint16_t condition = 0;
    uint16_t level = 0;
    int8_t scale = 0;
    bool is_identity = false;
    bool in_subtable = false;  // its innermost group names one: as flag bit 2 of the load
    const char *name = "";     // at most kMaxDeclaredName characters
    const char *format = "";   // of a date
    const char *null_value = nullptr;
};
inline constexpr uint32_t kMaxDeclaredName = 31;

// Builds the records of one field inside the groups that are open, from slot
// *slot on, which moves behind them.  A group with flag bit 3 (copies) gives one
// record here; copy_group makes the others when it closes.
// The records share comment and null value.
//   kDone, kNoMemory
//   kBadField   its name cannot be composed or its date format is wrong; the
//               occurrences before that one are built
//   kMalformed  more occurrences than slots, or one behind the largest offset
LoadStatus build_field(Load &load, const FieldDeclaration &field, uint32_t *slot);

// Opens a group whose fields begin at `slot`; of the sub-table's name, empty for
// none, 128 characters count.  kDone, or kMalformed when 15 are open.
LoadStatus open_group(uint16_t times, uint16_t size_bytes, const char *subtable, uint32_t slot);

// Closes the innermost group under flag bit 3: copies the records from its
// first one up to *slot for every further occurrence.  The copies share comment,
// null value and hash name with the first one.  kDone or kMalformed.
LoadStatus copy_group(const Load &load, uint32_t *slot);

// The key of a relative file, which no COBOL field holds: key 0, before any
// field is read, and its field in the last slot, after all others.
LoadStatus build_relative_key(Load &load);
void build_relative_key_field(Load &load, uint32_t slot);

// After the last field: every key column gets the field that was built last
// under its name; a slot that 16 bits cannot name stays 65535, none.
void bind_key_columns(Load &load);

}  // namespace fsi

#endif
