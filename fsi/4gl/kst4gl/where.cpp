// SPDX-License-Identifier: MIT
//
// The where-constraint buffer: space in which a program leaves one extra SQL
// where clause for its next database access, with a guard behind it that tells
// whether somebody wrote past the text.
#include "wbfsi/where.h"

#include <array>
#include <cstddef>
#include <cstring>

#include "fsi/4gl/kst4gl/datatest.h"
#include "fsi/4gl/kst4gl/model.h"
#include "host/config.h"
#include "host/errors.h"
#include "host/memory.h"
#include "host/messages.h"

namespace {

constexpr int16_t kErrorNoMemory = 14;
constexpr const char *kVariable = "4GL_WHERE_CONSTRAINT";

// Bytes that no text in the process's code page is likely to end with.
constexpr std::array<unsigned char, 10> kGuard = {0x80, 0x82, 0x86, 0x84, 'k',
                                                  's',  't',  '4',  'g',  'l'};
static_assert(XFD_WHERE_TEXT_BYTES + kGuard.size() == XFD_WHERE_BUFFER_BYTES);

char buffer[XFD_WHERE_BUFFER_BYTES];

// Ends the text behind its last byte that is neither space nor zero.  The first
// byte is not looked at: a text of that one byte is dropped.
void end_text() {
    size_t length = XFD_WHERE_TEXT_BYTES;
    while (length > 1 && (buffer[length - 1] == ' ' || buffer[length - 1] == '\0'))
        --length;
    buffer[length > 1 ? length : 0] = '\0';
}

bool guard_holds() {
    return std::memcmp(buffer + XFD_WHERE_TEXT_BYTES, kGuard.data(), kGuard.size()) == 0;
}

void leave(const char *text) {
    if (f_trace != 0)
        ZTrace(-1, fsi::kDataTraceCategory, "%s", text);
}

}  // namespace

char *Z4GLWhereConstraintAddr() {
    return buffer;
}

int Z4FillWhereMagic() {
    std::memset(buffer, ' ', XFD_WHERE_TEXT_BYTES);
    std::memcpy(buffer + XFD_WHERE_TEXT_BYTES, kGuard.data(), kGuard.size());
    return ZCSetValueRaw(kVariable, 0, "");
}

void Z4CheckExtraWhere(char **where) {
    if (f_trace != 0)
        ZTrace(1, fsi::kDataTraceCategory, "%s", "Z4CheckExtraWhere");
    // The zero byte of a text without a space behind it falls on the guard.
    end_text();
    if (!guard_holds()) {
        Z4FillWhereMagic();
        return leave("Leaving, guard overwritten");
    }

    const char *text = ZCGetValueString(kVariable);
    if (text == nullptr || *text == '\0')
        text = buffer;
    if (*where != nullptr) {
        if (std::strcmp(text, *where) == 0) {
            Z4FillWhereMagic();
            return leave("Leaving, no change");
        }
        Zfree(*where);
        *where = nullptr;
    }
    if (*text == '\0')
        return leave("Leaving, no constraint");
    *where = ZSTRDUP(text, "Extra where clause", fsi::kSource);
    if (*where == nullptr) {
        *Zstdlib_f_errno() = kErrorNoMemory;
        return leave("Leaving, no memory");
    }
    leave("Leaving, new constraint");
    Z4FillWhereMagic();
}
