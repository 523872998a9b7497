// SPDX-License-Identifier: MIT
//
// What the sources of kst4gl share about the records of an Xfd: ceilings, and
// the release of what its arrays own.  The public side is wbfsi/build.h.
#ifndef FSI_4GL_KST4GL_MODEL_H
#define FSI_4GL_KST4GL_MODEL_H

#include <cstddef>
#include <cstdint>

#include "fsi/base/owner.h"
#include "wbfsi/build.h"
#include "wbfsi/records.h"

namespace fsi {

using OwnedXfd = Owner<Xfd *, Z4XFDFree>;

// The requesting source of every block of kst4gl.
inline constexpr const char *kSource = "fsi/4gl/kst4gl";

// Ceilings of the arrays.  The counts of keys, key columns and conditions are
// 16-bit members; fields would fit far more, but a record with a million of
// them is no COBOL record.
inline constexpr uint32_t kMaxKeys = 65535;
inline constexpr uint32_t kMaxKeyColumns = 65535;
inline constexpr uint32_t kMaxConditions = 65535;
inline constexpr uint32_t kMaxFieldSlots = 1000000;

// Flag bits that the arguments of Z4AddXFDField decide.
inline constexpr uint32_t kFieldArgumentFlags = XFD_FIELD_IN_KEY | XFD_FIELD_IN_SECONDARY_TABLE |
                                                XFD_FIELD_HIDDEN | XFD_FIELD_READ_ONLY |
                                                XFD_FIELD_IDENTITY;

// Releases the column arrays of all allocated key slots and the key array;
// array and both counts are then null and 0.
void release_keys(Xfd *xfd);

// The same for the conditions, which own nothing.
void release_conditions(Xfd *xfd);

// Releases comments and null values of all allocated field slots, each block
// once however many slots share it, and the field array.  Array, allocated
// count, in-use count, the totals and the listed count are then null and 0, the
// identity field is -1.  Allocates nothing; n log n in the number of blocks.
void release_fields(Xfd *xfd);

// Releases comment and null value of one slot unless another slot shares them,
// and clears both references.
void release_field_blocks(Xfd *xfd, uint32_t slot);

// After the field array moved from address `old_base` (`old_slots` slots) to
// x_fdesc: points each fd_hash_name that lay in the old array at the same place
// of the new one.  So a record's reference to its own name follows it, and the
// copies of an OCCURS group keep the first occurrence's.
void rebase_hash_names(Xfd *xfd, uintptr_t old_base, uint32_t old_slots);

}  // namespace fsi

#endif
