// SPDX-License-Identifier: MIT
#include "fsi/xml/elements/occurrences.h"

#include <cstring>

#include "host/memory.h"

namespace fsi::xml {
namespace {

constexpr const char *kSource = "fsi/xml/elements/occurrences";
constexpr const char *kTag = "XML element array_indices array";

// Room for `count` numbers, which stay as they are.
bool reserve(Element *element, int count) {
    if (count <= kSmallIndices)
        return true;
    if (count > kMaxArrayDepth + 1)
        return false;
    if (count <= element->index_capacity)
        return true;
    const unsigned capacity = static_cast<unsigned>(count + 3) / 4 * 4;
    const bool was_small = element->index_capacity <= kSmallIndices;
    int32_t *old = was_small ? nullptr : element->indices;
    auto *moved = static_cast<int32_t *>(Zrealloc(old, capacity * sizeof(int32_t), kTag, kSource));
    if (moved == nullptr)
        return false;
    if (was_small)
        std::memcpy(moved, element->small_indices, sizeof element->small_indices);
    element->indices = moved;
    element->index_capacity = capacity & 0x3FFF;
    return true;
}

// Puts the number 1 in as one level more.  An element that has no levels of its own
// below its parent's gets it last; else it goes to the place of its own last level,
// whatever the parent's: programs count on just that.
void insert_level(Element *element, int parent_depth) {
    int32_t *indices = element->index_array();
    const int depth = element->array_depth;
    if (depth == -1 || depth == parent_depth) {
        indices[depth + 1] = 1;
    } else {
        indices[depth + 1] = indices[depth];
        indices[depth] = 1;
    }
    element->array_depth++;
}

}  // namespace

bool copy_many_indices(Element *element, Element &parent, int32_t number) {
    const int count = parent.array_depth + 1;
    const int more = number != 0 ? 1 : 0;
    if (!reserve(element, count + more))
        return false;
    int32_t *indices = element->index_array();
    std::memcpy(indices, parent.index_array(), static_cast<size_t>(count) * sizeof(int32_t));
    if (more != 0)
        indices[count] = number;
    element->array_depth = static_cast<int16_t>(parent.array_depth + more);
    return true;
}

bool become_first(Element *element, int parent_depth) {
    for (Element *e = element; e != nullptr; e = next_in_tree(e, element)) {
        if (!reserve(e, e->array_depth + 2))
            return false;
    }
    for (Element *e = element; e != nullptr; e = next_in_tree(e, element))
        insert_level(e, parent_depth);
    return true;
}

void free_indices(Element *element) {
    if (element->index_capacity > kSmallIndices)
        Zfree(element->indices);
}

}  // namespace fsi::xml
