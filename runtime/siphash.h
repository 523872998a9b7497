// SPDX-License-Identifier: MIT
//
// SipHash, a keyed hash: without the key nobody can choose texts that collide.
// Source: Aumasson and Bernstein, "SipHash: a fast short-input PRF", 2012.
#ifndef RUNTIME_SIPHASH_H
#define RUNTIME_SIPHASH_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace host {

struct SipKey {
    uint64_t k0, k1;
};

// `kRounds` mixing rounds a word of 8 bytes, `kFinalRounds` at the end; 2 and 4
// for the paper's function, 1 and 3 for tables.
template <int kRounds, int kFinalRounds>
uint64_t siphash(const void *bytes, size_t length, SipKey key) {
    uint64_t v0 = key.k0 ^ 0x736f6d6570736575;
    uint64_t v1 = key.k1 ^ 0x646f72616e646f6d;
    uint64_t v2 = key.k0 ^ 0x6c7967656e657261;
    uint64_t v3 = key.k1 ^ 0x7465646279746573;
    const auto rotate = [](uint64_t x, int n) { return x << n | x >> (64 - n); };
    const auto mix = [&](int rounds) {
        for (int i = 0; i < rounds; ++i) {
            v0 += v1;
            v2 += v3;
            v1 = rotate(v1, 13) ^ v0;
            v3 = rotate(v3, 16) ^ v2;
            v0 = rotate(v0, 32);
            v2 += v1;
            v0 += v3;
            v1 = rotate(v1, 17) ^ v2;
            v3 = rotate(v3, 21) ^ v0;
            v2 = rotate(v2, 32);
        }
    };
    const auto *at = static_cast<const unsigned char *>(bytes);
    size_t left = length;
    for (; left >= 8; left -= 8, at += 8) {
        uint64_t word;
        memcpy(&word, at, sizeof word);  // both widths are little endian
        v3 ^= word;
        mix(kRounds);
        v0 ^= word;
    }
    uint64_t last = static_cast<uint64_t>(length) << 56;
    for (size_t i = 0; i < left; ++i) {
        last |= static_cast<uint64_t>(at[i]) << (8 * i);
    }
    v3 ^= last;
    mix(kRounds);
    v0 ^= last;
    v2 ^= 0xff;
    mix(kFinalRounds);
    return v0 ^ v1 ^ v2 ^ v3;
}

}  // namespace host

#endif
