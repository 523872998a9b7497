#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes runtime/charset_tables.cpp: what the bytes of each single-byte code page mean.

The meanings are those of the C library's iconv, whose tables for these pages
follow the mapping files that the Unicode Consortium publishes.  A byte without
a meaning gets the code point of its own number, so that it survives a round trip.

    scripts/make_charset_tables.py > runtime/charset_tables.cpp
"""

import subprocess

PAGES = [
    (37, "IBM037"),
    (273, "IBM273"),
    (437, "IBM437"),
    (500, "IBM500"),
    (850, "IBM850"),
    (1140, "IBM1140"),
    (1141, "IBM1141"),
    (1250, "CP1250"),
    (1252, "CP1252"),
    (28592, "ISO-8859-2"),
    (28605, "ISO-8859-15"),
]


def meaning(name: str, byte: int) -> int:
    done = subprocess.run(
        ["iconv", "-f", name, "-t", "UTF-16LE"],
        input=bytes([byte]),
        stdout=subprocess.PIPE,
        stderr=subprocess.DEVNULL,
        check=False,
    )
    if done.returncode != 0 or len(done.stdout) != 2:
        return byte
    return int.from_bytes(done.stdout, "little")


def main() -> None:
    print("// SPDX-License-Identifier: MIT")
    print("//")
    print("// Made by scripts/make_charset_tables.py, which says where the meanings come from.")
    print('#include "runtime/charset_tables.h"\n')
    print("namespace host {\n")
    print("// clang-format off")
    print("const SinglePage kSinglePages[kSinglePageCount] = {")
    for number, name in PAGES:
        row = [meaning(name, byte) for byte in range(256)]
        print(f"    // {name}\n    {{{number}, {{")
        for start in range(0, 256, 12):
            print("        " + " ".join(f"0x{value:04x}," for value in row[start : start + 12]))
        print("    }},")
    print("};")
    print("// clang-format on\n")
    print("}  // namespace host")


if __name__ == "__main__":
    main()
