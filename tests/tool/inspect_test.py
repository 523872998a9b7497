#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The commands that show what the library makes of dictionaries, error maps and
dates: whole outputs, messages, exit statuses.

    inspect_test.py WBFSI
"""

import json
import os
import sys
import unittest

sys.dont_write_bytecode = True
import cli_test  # noqa: E402
from cli_test import ITEMS  # noqa: E402


class Compare(cli_test.Tool):
    def setUp(self):
        super().setUp()
        for folder in ("old", "new"):
            os.mkdir(self.path(folder))
        self.write("old/items.xfd", ITEMS)

    def compare(self, changed, *options):
        self.write("new/items.xfd", changed)
        return ["compare", "old/items.xfd", "new/items.xfd", *options]

    def test_equal(self):
        self.expect(self.compare(ITEMS), 0,
                    "no differences between old/items.xfd (<) and new/items.xfd (>)\n")
        self.expect(self.compare(ITEMS, "--quiet"), 0)

    def test_differences(self):
        changed = ITEMS.replace("24,24,1", "25,25,1").replace("5,5,3,5,-2", "5,5,3,5,-3")
        sizes = "Min rec size\n< 24\n> 25\nMax rec size\n< 24\n> 25\n"
        scale = "Field 2 scale\n< -2\n> -3\n"
        between = " between old/items.xfd (<) and new/items.xfd (>)\n"
        self.expect(self.compare(changed), 1, sizes + scale + "\n3 differences" + between)
        self.expect(self.compare(changed, "--ignore-sizes"), 1,
                    scale + "\n1 difference" + between)
        self.expect(self.compare(changed, "--ignore-sizes", "-q"), 1, scale)
        self.expect(self.compare(changed, "--ignore-sizes", "-q", "--verbose"), 1,
                    "\nFatal difference\n" + scale)

    def test_versions(self):
        changed = ITEMS.replace("XFD,06", "XFD,07")
        self.expect(self.compare(changed, "-q"), 1, "Version\n< 6\n> 7\n")
        self.expect(self.compare(changed, "-q", "--verbose"), 1,
                    "\nInconsequential difference\nVersion\n< 6\n> 7\n")
        self.expect(self.compare(changed, "-q", "--skip-version"), 0)

    def test_keys_in_another_order(self):
        header = "XFD,06,K,K,12\n12,12,3\n0,18,46,44,0\n"
        keys = ["1,0,4,0\n1\nID\n", "1,1,4,4\n1\nNAME\n", "1,0,4,8\n1\nTOWN\n"]
        fields = ("0\n3,3,3,3\n0,4,16,0,0,0,0,5,ID\n4,4,16,0,0,0,0,5,NAME\n"
                  "8,4,16,0,0,0,0,5,TOWN\n")
        self.write("old/items.xfd", header + "".join(keys) + fields)
        changed = header + keys[0] + keys[2] + keys[1] + fields
        self.expect(self.compare(changed, "-q"), 1,
                    "Key 1 dups allowed\n< 1\n> 0\nKey 1, segment 0 offset\n< 4\n> 8\n"
                    "Key 2 dups allowed\n< 0\n> 1\nKey 2, segment 0 offset\n< 8\n> 4\n")
        self.expect(self.compare(changed, "-q", "--sort-keys"), 0)

    def test_names_and_files_in_one_comparison(self):
        self.write("old/plain.XFD", cli_test.PLAIN)
        for first, second, taken, options in (
                ("items", "old/items.xfd", ("./items.xfd", "old/items.xfd"), {}),
                ("/data/items", "items", ("old/items.xfd", "old/items.xfd"),
                 {"XFD_DIRECTORY": "old"}),
                ("items", self.path("items.xfd"), ("old/items.xfd", self.path("items.xfd")),
                 {"XFD_PREFIX": "none old"}),
                ("items.xfd", "items", ("./items.xfd", "old/items.xfd"), {"XFD_PREFIX": "old"}),
                ("plain", "old/plain.XFD", ("./plain.xfd", "old/plain.XFD"), {})):
            with self.subTest(first=first, second=second):
                result = self.run_tool("compare", first, second, **options)
                self.assertEqual(
                    (result.returncode, result.stdout, result.stderr),
                    (0, "no differences between %s (<) and %s (>)\n" % taken, ""))

    def test_what_cannot_be_compared_is_no_difference(self):
        self.write("new/Items.xfd", ITEMS)
        self.write("new/items.xfd", ITEMS)
        self.write("new/later.xfd", "XFD,9,A,A,12\n")
        self.write("new/short.xfd", ITEMS.replace("5,5,3,5,-2,0,1,5,PRICE",
                                                  "5,5,3,5,-2,1,1,5,PRICE,NONSENSE"))
        for name, settings, message in (
                ("none", [], "none: Unable to open XFD file for 'none', error = 2; \"wbfsi locate "
                 "none\" shows the files that were tried, --xfd-directory and XFD_PREFIX say where "
                 "to look"),
                ("none/none.xfd", [], "none/none.xfd: there is no such dictionary"),
                ("new/later.xfd", [], "later: XFD file 'new/later.xfd' is a later "
                 "version than 8"),
                ("new/short.xfd", [], "new/short.xfd: the dictionary is cut short: field 3 of 6 "
                 "could not be built; only a whole one can be compared"),
                ("new/Items.xfd", [], "new/Items.xfd: the search for its name takes new/items.xfd; "
                 "a name that is the only one of its folder but for case and hyphens, and that "
                 "XFD_MAP leaves alone, would be right"),
                ("new/later.xfd", ["--set", "XFD_MAP=later=gone"], "new/later.xfd: the file is "
                 "there, but the search for its name does not end at it; a readable file whose "
                 "name XFD_MAP leaves alone would be right")):
            with self.subTest(name=name, settings=settings):
                self.expect(["compare", "old/items.xfd", name, *settings], 2, "",
                            "wbfsi compare: %s\n" % message)

    def test_a_dictionary_cannot_command_the_terminal(self):
        self.expect(self.compare(ITEMS.replace("XFD,06,ITEMS", "XFD,06,IT\x1b[2J"), "-q"), 1,
                    "Select name\n< ITEMS\n> IT\\x1B[2J\n")

    def test_many_differences(self):
        # More than any buffer on the way holds.
        header = "XFD,06,M,M,12\n4000,4000,0\n0,18,46,44,0\n0\n1000,1000,1000,1000\n"
        self.write("old/items.xfd", header + "".join(
            "%d,4,16,0,0,0,0,5,F%d\n" % (4 * n, n) for n in range(1000)))
        changed = header + "".join("%d,4,16,0,0,0,0,5,G%d\n" % (4 * n, n) for n in range(1000))
        self.expect(self.compare(changed), 1, "".join(
            "Field %d name\n< f%d\n> g%d\n" % (n, n, n) for n in range(1000)) +
            "\n1000 differences between old/items.xfd (<) and new/items.xfd (>)\n")


if __name__ == "__main__":
    cli_test.WBFSI = os.path.abspath(sys.argv.pop(1))
    unittest.main()
