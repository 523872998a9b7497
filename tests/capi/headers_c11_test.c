/* SPDX-License-Identifier: MIT
 *
 * Every public header in one C11 program.  The layouts are asserted once more
 * here, because a C compiler lays the records out on its own. */
#include <host/host.h>
#include <wbfsi/wbfsi.h>

#include <assert.h>
#include <stddef.h>

#if __STDC_VERSION__ != 201112L
#error "this program is meant to be compiled as C11"
#endif

#ifdef __i386__
static_assert(sizeof(ZArgument) == 16, "an argument has 16 bytes");
static_assert(sizeof(XfdField) == 308, "a field has 308 bytes");
static_assert(offsetof(XfdField, fd_hash_name) == 168, "the name reference is at byte 168");
#endif
static_assert(sizeof(DateTimeValue) == 12, "a date-time has 12 bytes");
static_assert(XFD_INDEXED == 12 && XFD_RELATIVE == 8, "file types are those of a dictionary");

int main(void) {
    return 0;
}
