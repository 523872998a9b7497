// SPDX-License-Identifier: MIT
//
// Flattening of a path into a table name.
#include <cstdint>
#include <cstring>

#include "host/config.h"
#include "host/messages.h"
#include "host/names.h"
#include "wbfsi/locate.h"

namespace {
constexpr int kTraceCategory = 8;

// Moves the text at `from`, its zero byte included, to `to` in front of it.
void move_text(char *to, const char *from) {
    std::memmove(to, from, std::strlen(from) + 1);
}
}  // namespace

int Z4FlattenName(char *name) {
    const int8_t level = ZCGetValueTinyint("4GL_USEDIR_LEVEL", 0);
    if (f_trace != 0)
        ZTrace(1, kTraceCategory, "Z4FlattenName %s", name);

    int changed = 0;
    char *base = Zbasename(name);
    // Each round joins the base name with the directory in front of it.
    for (int8_t i = 0; i < level && base != name; ++i) {
        move_text(base - 1, base);
        base = Zbasename(name);
        changed = 1;
    }
    if (base != name) {
        move_text(name, base);
        changed = 1;
    }
    if (f_trace != 0)
        ZTrace(-1, kTraceCategory, "Returning %s", name);
    return changed;
}
