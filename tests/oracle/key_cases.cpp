// SPDX-License-Identifier: MIT
//
// Orders pairs of records that a script describes, one a line on standard input, by
// a key, and prints what came out.  Bytes are hexadecimal, "-" for none.
//
//     SEGMENTS LISTED {LENGTH OFFSET} RECORD1 RECORD2
//
// SEGMENTS is what the key says it has, LISTED how many of its 16 places are given;
// the others are full of the highest numbers.  The answer is the order of the
// records, then that of the same two the other way round.
//
// Records are heap blocks of exactly their sizes, so that a sanitizer sees every
// byte read outside them.
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>

#include "wbfsi/wbfsi.h"

namespace {

std::unique_ptr<char[]> read_record(std::istream &in) {
    std::string hex;
    in >> hex;
    if (hex == "-")
        hex.clear();
    const auto value = [](char c) {
        return static_cast<unsigned>(c <= '9' ? c - '0' : c - 'a' + 10);
    };
    auto record = std::make_unique<char[]>(hex.size() / 2);
    for (size_t i = 0; i < hex.size() / 2; ++i)
        record[i] = static_cast<char>(value(hex[2 * i]) << 4 | value(hex[2 * i + 1]));
    return record;
}

bool run(const std::string &line) {
    std::istringstream in(line);
    XfdKey key;
    std::memset(&key, 0xFF, sizeof key);
    unsigned listed = 0;
    in >> key.k_seg_count >> listed;
    if (listed > XFD_MAX_SEGMENTS)
        return false;
    for (unsigned s = 0; s < listed; ++s)
        in >> key.k_seg_length[s] >> key.k_seg_offset[s];
    const auto record1 = read_record(in);
    const auto record2 = read_record(in);
    if (in.fail())
        return false;
    std::cout << Z4CompareKeyN(&key, record1.get(), record2.get()) << ' '
              << Z4CompareKeyN(&key, record2.get(), record1.get()) << '\n';
    return true;
}

}  // namespace

int main() {
    std::ios::sync_with_stdio(false);
    std::string line;
    for (unsigned long number = 1; std::getline(std::cin, line); ++number) {
        if (!run(line)) {
            std::fprintf(stderr, "line %lu is no case: %s\n", number, line.c_str());
            return 2;
        }
    }
    return 0;
}
