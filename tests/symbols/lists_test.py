#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The names that the public headers declare, that the maps of exports
spell out and that the symbol lists hold are the same names.

    lists_test.py TOP-OF-THE-TREE
"""

import pathlib
import re
import sys


def declared(folder, macro):
    names = set()
    for header in folder.glob("*.h"):
        text = re.sub(r"/\*.*?\*/", " ", header.read_text(encoding="utf-8"), flags=re.DOTALL)
        for declaration in re.findall(rf"^{macro}\s+([^;{{]*);", text, flags=re.MULTILINE):
            # The name before the arguments, or the last one of an object.
            head = re.sub(r"\[.*", "", declaration).partition("(")[0]
            names.add(re.findall(r"\w+", head)[-1])
    return names


def mapped(path):
    text = re.sub(r"/\*.*?\*/", " ", path.read_text(encoding="utf-8"), flags=re.DOTALL)
    return set(re.findall(r"(\w+);", text.partition("local:")[0]))


def listed(path, kind):
    lines = path.read_text(encoding="utf-8").splitlines()
    return {words[1] for words in map(str.split, lines) if len(words) > 1 and words[0] == kind}


def main(top):
    top = pathlib.Path(top)
    symbols = top / "tests/symbols"
    api = declared(top / "include/wbfsi", "WBFSI_API")
    host = declared(top / "host", "HOST_API")
    pairs = [
        ("include/wbfsi", api, "fsi/exports.map", mapped(top / "fsi/exports.map")),
        ("include/wbfsi", api, "tests/symbols/wbfsi2.txt", listed(symbols / "wbfsi2.txt", "exported")),
        ("host", host, "runtime/exports.map", mapped(top / "runtime/exports.map")),
        ("host", host, "tests/symbols/wbhost.txt", listed(symbols / "wbhost.txt", "exported")),
    ]
    failed = False
    for left, names, right, others in pairs:
        for name in sorted(names ^ others):
            there, missing = (left, right) if name in names else (right, left)
            print(f"{name} is in {there} and not in {missing}")
            failed = True
        if not names:
            print(f"no name found in {left}")
            failed = True
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
