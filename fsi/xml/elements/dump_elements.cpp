// SPDX-License-Identifier: MIT
//
// The listing of elements for people who look for a mistake.
#include <algorithm>

#include "fsi/xml/elements/wall.h"
#include "host/messages.h"
#include "wbfsi/xml_writer.h"

using namespace fsi::xml;

namespace {

const char *scratch() {
    return xml_scratch == nullptr ? "" : xml_scratch;
}

// A text as a getter brings it into the scratch buffer.
template <typename Getter>
const char *fetched(Getter getter) {
    const int32_t length = getter(nullptr, 0);
    if (length >= 0 && length < INT32_MAX && validate_scratch(length + 1) != 0)
        getter(xml_scratch, xml_scratchlen);
    return scratch();
}

// A level as the width of a field, which may start anywhere and goes up and down.
// Nobody reads lines of more blanks than that.
int width(int64_t level) {
    constexpr int64_t kMost = 1'000'000;
    return static_cast<int>(std::clamp(level, -kMost, kMost));
}

void dump_attributes(const Element &element, int64_t level) {
    const uint32_t count = static_cast<uint32_t>(attributes_of(element).size());
    for (uint32_t i = 0; i < count; i++) {
        // The name is measured, not fetched: what is printed in its place is what the
        // buffer held before.
        const int32_t length = ZxmlElem_attribute_name(element.handle, i, nullptr, 0);
        const bool was_held = xml_scratch != nullptr;
        if (validate_scratch(length + 1) != 0 && !was_held)
            xml_scratch[0] = '\0';
        eprintf("\n%*s%s = ", width(level + 4), " ", scratch());
        eprintf("%s", fetched([&](char *buffer, int32_t size) {
                    return ZxmlElem_attribute_value(element.handle, i, buffer, size);
                }));
    }
}

// One line of an element; nothing, not even for what is below, when it has no name.
bool dump_one(Element *element, int64_t level) {
    if (element->name->length == 0)
        return false;
    const ZHandle handle = element->handle;
    eprintf("%*s%u - %s", width(level), " ", handle, fetched([&](char *buffer, int32_t size) {
                return ZxmlElem_name(handle, buffer, size);
            }));
    for (int i = 0; i <= element->array_depth; i++)
        eprintf("%c %d", i == 0 ? '(' : ',', element->index_array()[i]);
    if (element->array_depth >= 0)
        eprintf(")");
    if (element->has_value()) {
        eprintf(" = %s", fetched([&](char *buffer, int32_t size) {
                    return ZxmlElem_value(handle, buffer, size);
                }));
    }
    dump_attributes(*element, level);
    eprintf("\n");
    return true;
}

}  // namespace

void ZxmlElem_dump(ZHandle handle, int32_t first_level) {
    const Element *top = require_element(handle);
    if (top == nullptr)
        return;
    int64_t level = first_level;
    Element *element = top->first_child();
    while (element != nullptr) {
        if (dump_one(element, level) && element->has_children != 0) {
            element = element->child;
            level++;
            continue;
        }
        while (element != top && element->next == nullptr) {
            element = element->parent;
            level--;
        }
        element = element == top ? nullptr : element->next;
    }
}
