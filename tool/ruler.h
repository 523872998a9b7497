// SPDX-License-Identifier: MIT
//
// The ruler of a record: which bytes belong to which field, fifty bytes a row.
//
//             0         1         2         3         4
//             01234567890123456789012345678901234567890123456789
//          0  AAAAAABBBBBBBBBBBBBBBBBBBBBBBBBBBBBBCC..DDDDDDDDDD
//             A cust_id 0-5  B name 6-35  C tax 36-37  D street 40-69
//
// Fields that overlap stand in further lanes below the first; rows inside which
// nothing begins or ends are drawn together as one.
#ifndef TOOL_RULER_H
#define TOOL_RULER_H

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace tool {

struct RulerItem {
    std::string name;
    uint64_t offset;  // bytes from the start of the record
    uint64_t size;    // bytes; items of size 0 are not drawn
};

// `record_bytes` is the length of the record; items may reach beyond it, the
// ruler then goes on to their end.  Output grows with the items, not with sizes.
void print_ruler(std::ostream &out, const std::vector<RulerItem> &items, uint64_t record_bytes);

}  // namespace tool

#endif
