// SPDX-License-Identifier: MIT
//
// The single-byte code pages that need no help of the C library.
#ifndef RUNTIME_CHARSET_TABLES_H
#define RUNTIME_CHARSET_TABLES_H

#include <stdint.h>

namespace host {

struct SinglePage {
    int32_t number;
    uint16_t meaning[256];  // the code point of each byte
};

inline constexpr int kSinglePageCount = 11;
extern const SinglePage kSinglePages[kSinglePageCount];

}  // namespace host

#endif
