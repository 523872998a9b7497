#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compares the dynamic symbols of a shared library with a list kept by hand.

    symbols_test.py LIBRARY LIST WIDTH

The list has one entry a line, "KIND NAME" or "KIND NAME WIDTH" for one width
alone; "#" begins a comment.  Kinds: soname, needed, exported, undefined, weak.
"""

import re
import subprocess
import sys


def run(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def of_library(path):
    entries = set()
    for line in run("readelf", "--dynamic", "--wide", path).splitlines():
        match = re.search(r"\((SONAME|NEEDED)\).*\[(.*)\]", line)
        if match:
            entries.add((match.group(1).lower(), match.group(2)))
    for line in run("nm", "--dynamic", path).splitlines():
        *_, kind, name = line.split()
        name = name.split("@")[0]
        entries.add(({"U": "undefined", "w": "weak", "v": "weak"}.get(kind, "exported"), name))
    return entries


def of_list(path, width):
    entries = set()
    with open(path, encoding="utf-8") as lines:
        for number, line in enumerate(lines, 1):
            words = line.partition("#")[0].split()
            if not words:
                continue
            if len(words) not in (2, 3):
                sys.exit(f"{path}:{number}: expected a kind, a name and perhaps a width")
            if len(words) == 2 or words[2] == width:
                entries.add((words[0], words[1]))
    return entries


def main(library, listed, width):
    found = of_library(library)
    expected = of_list(listed, width)
    for kind, name in sorted(found - expected):
        print(f"{library}: {kind} {name} is not in {listed}")
    for kind, name in sorted(expected - found):
        print(f"{listed}: {kind} {name} is not in {library}")
    return 0 if found == expected and found else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
