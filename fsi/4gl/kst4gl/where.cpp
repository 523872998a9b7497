// SPDX-License-Identifier: MIT
//
// The where-constraint buffer: space in which a program leaves one extra SQL
// where clause for its next database access, with a guard behind it that tells
// whether somebody wrote past the text.
#include "wbfsi/where.h"

#include <array>
#include <cstddef>
#include <cstring>

#include "host/config.h"

namespace {

// Bytes that no text in the process's code page is likely to end with.
constexpr std::array<unsigned char, 10> kGuard = {0x80, 0x82, 0x86, 0x84, 'k',
                                                  's',  't',  '4',  'g',  'l'};
static_assert(XFD_WHERE_TEXT_BYTES + kGuard.size() == XFD_WHERE_BUFFER_BYTES);

char buffer[XFD_WHERE_BUFFER_BYTES];

}  // namespace

char *Z4GLWhereConstraintAddr() {
    return buffer;
}

int Z4FillWhereMagic() {
    std::memset(buffer, ' ', XFD_WHERE_TEXT_BYTES);
    std::memcpy(buffer + XFD_WHERE_TEXT_BYTES, kGuard.data(), kGuard.size());
    return ZCSetValueRaw("4GL_WHERE_CONSTRAINT", 0, "");
}
