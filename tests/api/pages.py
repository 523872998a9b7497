#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The reference pages of docs/api against the library.

    pages.py names TOP-OF-THE-TREE     every exported function is named by a page, and
                                       no page names one that there is not
    pages.py program PAGE OUTPUT       writes the program of a page
    pages.py run PAGE PROGRAM          runs it: it prints what the page says
"""

import pathlib
import re
import subprocess
import sys


def block(page, language):
    blocks = re.findall(rf"^```{language}\n(.*?)^```$", page.read_text(encoding="utf-8"), re.DOTALL | re.MULTILINE)
    if len(blocks) != 1:
        sys.exit(f"{page} has {len(blocks)} blocks of {language}, not one")
    return blocks[0]


def names(top):
    exports = re.sub(r"/\*.*?\*/", " ", (top / "fsi/exports.map").read_text(encoding="utf-8"), flags=re.DOTALL)
    exported = set(re.findall(r"(\w+);", exports.partition("local:")[0]))
    text = "".join(page.read_text(encoding="utf-8") for page in sorted((top / "docs/api").glob("*.md")))
    words = set(re.findall(r"`(\w+)`", text))
    named = {word for word in words if word in exported or re.match("Z4|fsi_|Zxml|expat_", word)}
    for name in sorted(exported - named):
        print(f"{name} is in fsi/exports.map and on no page of docs/api")
    for name in sorted(named - exported):
        print(f"{name} is on a page of docs/api and not in fsi/exports.map")
    return 1 if exported != named or not exported else 0


def run(page, program):
    done = subprocess.run([program], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
    expected = block(page, "text")
    if done.returncode == 0 and done.stdout == expected:
        return 0
    print(f"{program} ended with {done.returncode} and printed\n{done.stdout}\ninstead of, on {page}\n{expected}")
    return 1


def main(arguments):
    if arguments[0] == "names":
        return names(pathlib.Path(arguments[1]))
    page = pathlib.Path(arguments[1])
    if arguments[0] == "program":
        pathlib.Path(arguments[2]).write_text(block(page, "c"), encoding="utf-8")
        return 0
    return run(page, arguments[2])


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
