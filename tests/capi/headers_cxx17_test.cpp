// SPDX-License-Identifier: MIT
//
// Every public header in one C++17 program, and C linkage for all of them.
#include <host/host.h>
#include <wbfsi/wbfsi.h>

static_assert(__cplusplus == 201703L, "this program is meant to be compiled as C++17");

// A second declaration with C linkage is an error unless the first has it too.
extern "C" Xfd *Z4ParseXFD(const char *name, uint32_t flags, int context);
extern "C" void *Zmalloc(size_t size, const char *tag, const char *source);

int main() {
    return 0;
}
