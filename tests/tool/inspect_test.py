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


MAP = b"""\
early 1
# c

 [statements]
 100\tE_NOT_FOUND no row
-803 E_DUPLICATE
+5 E_NO
12
12x E_BROKEN
13 E_FOO\x1b[2J
99999999999 E_BROKEN
100 E_PERM
foo E_X
7 E_BROKEN\0x
[empty]
[last]
8 E_FI
0 E_NONE"""
# The lines of MAP that the library passes over, or reads in an unexpected way.
WARNINGS = (
    (1, 'skipped: it stands in front of the first section; a line that begins with "[" opens one'),
    (7, '"E_NO" counts as E_NOT_FOUND; E_NO_MEMORY, E_NO_SUPPORT, E_NO_LOCKS begin with it, too'),
    (8, 'skipped: no name follows the number 12'),
    (9, 'skipped: "x" follows the number 12 at once; a blank between them would be right'),
    (10, '"E_FOO\x1b[2J" is no file error: the number stands for none; E_SYS_ERROR to E_NO_LOCKS '
     'are known'),
    (11, 'the number 99999999999 is beyond 32 bits: it counts as 2147483647'),
    (12, 'the number 100 stands on line 5 of this section already'),
    (13, 'skipped: it begins with no number; NUMBER E_NAME, or [NAME] for a section, would be '
     'right'),
    (14, 'what follows its zero byte is not read'),
    (18, '"E_NONE" is no file error: the number stands for none; E_SYS_ERROR to E_NO_LOCKS are '
     'known'),
)


def said(warnings, file="map"):
    return "".join("wbfsi errmap: %s: line %d: %s\n" % (file, line, text.replace("\x1b", "\\x1B"))
                   for line, text in warnings)


class Errmap(cli_test.Tool):
    NAMES = ("E_SYS_ERROR E_PARAM_ERR E_TOO_MANY_FILES E_MODE_CLASH E_REC_LOCKED E_BROKEN "
             "E_DUPLICATE E_NOT_FOUND E_UNDEF_RECORD E_DISK_FULL E_FILE_LOCKED E_REC_CHANGED "
             "E_MISMATCH E_NO_MEMORY E_MISSING_FILE E_PERMISSION E_NO_SUPPORT E_NO_LOCKS").split()

    def test_table_and_warnings(self):
        self.write("map", MAP)
        self.expect(["errmap", "map"], 0, """\
[statements]
      Number  Code  File error    Line
         100     8  E_NOT_FOUND      5
        -803     7  E_DUPLICATE      6
           5     8  E_NOT_FOUND      7
          13     0  none            10
  2147483647     6  E_BROKEN        11
         100    16  E_PERMISSION    12
           7     6  E_BROKEN        14

[empty]
  no entries

[last]
  Number  Code  File error     Line
       8    11  E_FILE_LOCKED    17
       0     0  none             18
""", said(WARNINGS))

    def test_every_name(self):
        self.write("map", "[all]\n" + "".join(
            "%d %s\n" % (-code, name) for code, name in enumerate(self.NAMES, 1)))
        result = self.run_tool("errmap", "map", "--format", "json")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertEqual(json.loads(result.stdout), {
            "file": "map",
            "sections": [{"name": "[all]", "line": 1, "entries": [
                {"number": -code, "code": code, "file_error": name, "line": code + 1}
                for code, name in enumerate(self.NAMES, 1)]}],
            "warnings": []})

    def test_lookup(self):
        self.write("map", MAP)
        heading = "    Number  Code  File error     Line  Section\n"
        self.expect(["errmap", "map", "--lookup", "100", "-803", "+008"], 0, heading[4:] + """\
   100     8  E_NOT_FOUND       5  [statements]
   100    16  E_PERMISSION     12  [statements]
  -803     7  E_DUPLICATE       6  [statements]
     8    11  E_FILE_LOCKED    17  [last]
""", said(WARNINGS))
        # An entry without an error is shown, and is none.
        self.expect(["errmap", "--lookup", "13", "99", "-803", "map"], 1, """\
Number  Code  File error   Line  Section
    13     0  none           10  [statements]
  -803     7  E_DUPLICATE     6  [statements]
""", said(WARNINGS) + "wbfsi errmap: map: no file error for 13, 99\n")
        self.expect(["errmap", "map", "--lookup", "1"], 1, "",
                    said(WARNINGS) + "wbfsi errmap: map: no file error for 1\n")

    def test_json(self):
        self.write("map", MAP)
        result = self.run_tool("errmap", "map", "--lookup", "8", "1", "--format", "json")
        self.assertEqual((result.returncode, result.stderr),
                         (1, "wbfsi errmap: map: no file error for 1\n"))
        self.assertNotIn("\x1b", result.stdout)
        self.assertEqual(json.loads(result.stdout), {
            "file": "map",
            "entries": [{"number": 8, "code": 11, "file_error": "E_FILE_LOCKED", "line": 17,
                         "section": "[last]"}],
            "warnings": [{"line": line, "text": text} for line, text in WARNINGS]})

    def test_implicit_section(self):
        self.write("map", "# c\n5 E_BROKEN\n6 E_DISK_FULL\n[x]\n7 E_MISMATCH\n")
        x = "[x]\n  Number  Code  File error  Line\n       7    13  E_MISMATCH     5\n"
        self.expect(["errmap", "map", "--implicit-section"], 0, """\
5 E_BROKEN
  Number  Code  File error   Line
       5     6  E_BROKEN        2
       6    10  E_DISK_FULL     3

""" + x)
        self.expect(["errmap", "map"], 0, x, said((2, WARNINGS[0][1]) if n == 0 else
                                                  (3, WARNINGS[0][1]) for n in range(2)))

    def test_long_lines(self):
        for blanks, warnings in ((497, ()), (498, ((2, "only its first 511 characters are read"),)),
                                 (506, ((2, "only its first 511 characters are read"),
                                        (2, '"E_" counts as E_SYS_ERROR; ' +
                                         ", ".join(self.NAMES[1:]) + " begin with it, too"))),
                                 (70000, ((2, "only its first 511 characters are read"),
                                          (2, "skipped: no name follows the number 10")))):
            for end in ("\n", ""):
                with self.subTest(blanks=blanks, end=end):
                    self.write("map", "[a]\n10 " + " " * blanks + "E_NOT_FOUND" + end)
                    result = self.run_tool("errmap", "map")
                    self.assertEqual((result.returncode, result.stderr), (0, said(warnings)))
                    self.assertEqual(result.stdout.count("10"), 0 if blanks == 70000 else 1)
        self.write("map", "[" + 79 * "n" + "\n")
        self.expect(["errmap", "map"], 0, "[" + 78 * "n" + "\n  no entries\n",
                    said(((1, "the name of the section is cut to its first 79 characters"),)))

    def test_many_entries(self):
        self.write("map", "".join("[%d]\n" % section + "".join(
            "%d E_BROKEN\n" % n for n in range(1000)) for section in range(12)))
        result = self.run_tool("errmap", "map", "--lookup", "999")
        self.assertEqual((result.returncode, result.stderr, result.stdout), (
            0, "", "Number  Code  File error   Line  Section\n" + "".join(
                "%6d     6  E_BROKEN    %5d  [%d]\n" % (999, 1001 * (n + 1), n)
                for n in range(12))))

    def test_files_that_cannot_be_read(self):
        os.mkfifo(self.path("pipe"))
        for file, text in (("none", "cannot be opened: No such file or directory"),
                           ("pipe", "is no regular file; it has to be read twice"),
                           (".", "is no regular file; it has to be read twice")):
            with self.subTest(file=file):
                self.expect(["errmap", file], 2, "", "wbfsi errmap: %s: %s\n" % (file, text))
        self.write("empty", "")
        self.expect(["errmap", "empty"], 0, "no sections\n")
        for number in ("1.5", "0x10", "2147483648", "+-1", "+"):
            with self.subTest(number=number):
                self.expect(["errmap", "empty", "--lookup", number], 2, "",
                            "wbfsi errmap: --lookup %s: a whole number from -2147483648 to "
                            "2147483647 would be right\n" % number)


if __name__ == "__main__":
    cli_test.WBFSI = os.path.abspath(sys.argv.pop(1))
    unittest.main()
