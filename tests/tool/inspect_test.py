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


class Date(cli_test.Tool):
    INVALID = ["--set", "PLEX_DATE_INVALID_VALUE=19000101"]
    NINE = ["--set", "PLEX_DATE_NINE_VALUE=20991231"]
    ZERO = ["--set", "PLEX_DATE_ZERO_VALUE=17520914"]
    HIGH = ["--set", "PLEX_DATE_MAX_HIGH_VALUES=1"]

    def check(self, rows):
        for row in rows:
            with self.subTest(row=row):
                *arguments, out = row
                self.expect(["date", *arguments], 0, out)

    def test_from_the_text_of_a_field(self):
        self.check((
            ("YYYYMMDD", "20051231", "2005-12-31\n"),
            ("YYMMDD", "191231", "2019-12-31\n"),
            ("YYMMDD", "991231", "1999-12-31\n"),
            ("YYMMDD", "191231", "--set", "4GL_2000_CUTOFF=10", "1919-12-31\n"),
            ("YYYYEEE", "2004366", "2004-12-31\n"),
            ("YYYYMMDD", "2005 1 1", "--type", "alphanumeric", "2005-01-01\n"),
            ("MMDD", "1231", "1901-12-31\n"),
            ("HHNNSS", "123059", "12:30:59\n"),
            ("HHNN", "930", "09:30:00\n"),
            ("HHNNSSTT", "12305925", "12:30:59.250000\n"),
            ("YYYYMMDDHHNNSS", "20051231123059", "2005-12-31 12:30:59\n"),
            # The decade of the 2000s is 26 behind that of the blank.
            ("FYMMDD", ":51231", "--type", "alphanumeric", "2005-12-31\n"),
            ("JJJJJ", "366", "--set", "4GL_JULIAN_BASE_DATE=20000101", "2001-01-01\n"),
            ("", "991231", "--type", "6", "1999-12-31\n"),
            ("", "20051231", "--type", "8", "2005-12-31\n"),
        ))

    def test_from_the_bytes_of_a_field(self):
        self.check((
            ("YYYYMMDD", "020051231F", "--hex", "--type", "packed", "2005-12-31\n"),
            ("YYYYMMDD", "02 00 51 23 1f", "--hex", "--type", "comp-3", "2005-12-31\n"),
            ("YYYYMMDD", "0131F51F", "--hex", "--type", "comp", "2005-12-31\n"),
            ("YYYYMMDD", "1FF53101", "--hex", "--type", "comp-5", "2005-12-31\n"),
            ("YYMMDD", "00 05 01 02 03 01", "--hex", "--type", "7", "2005-12-31\n"),
            ("YYYYMMDD", "FFFFFFFFFF", "--hex", "--type", "packed", *self.NINE, "2099-12-31\n"),
        ))

    def test_special_contents(self):
        self.check((
            ("YYYYMMDD", "99999999", *self.NINE, "2099-12-31\n"),
            ("YYYYMMDD", "00000000", *self.ZERO, "1752-09-14\n"),
            ("YYYYMMDD", "0", *self.ZERO, "--type", "packed", "1752-09-14\n"),
            ("YYYYMMDD", " " * 8, *self.INVALID, "1900-01-01\n"),
            ("YYYYMMDD", "20050229", *self.INVALID, "1900-01-01\n"),
            ("YYYYMMDD", "none", "--set", "PLEX_DATE_NULL_VALUE=20000229", "2000-02-29\n"),
            ("YYYYMMDD", "20050229", "--use-illegal", "--date-value", "19991231", "1999-12-31\n"),
        ))

    def test_to_the_text_of_a_field(self):
        to_field = "--to-field"
        self.check((
            ("YYYYMMDD", "2005-12-31", to_field, "20051231\n"),
            ("YYMMDD", "2005-12-31", to_field, "051231\n"),
            ("YYMMDD", "2005-12-31", to_field, "--type", "packed", "051231\nbytes 00 51 23 1F\n"),
            ("YYYYMMDD", "2005-12-31", to_field, "--type", "comp", "20051231\nbytes 01 31 F5 1F\n"),
            ("YYYYMMDD", "2005-12-31", to_field, "--type", "comp-5",
             "20051231\nbytes 1F F5 31 01\n"),
            ("YYYYMMDD", "2005-12-31", to_field, "--type", "comp-6",
             "20051231\nbytes 20 05 12 31\n"),
            ("YYYYMMDD", "2005-12-31", to_field, "--type", "packed-signed", "--digits", "9",
             "020051231\nbytes 02 00 51 23 1C\n"),
            ("YYMMDD", "2005-12-31", to_field, "--type", "national",
             "051231\nbytes 30 00 35 00 31 00 32 00 33 00 31 00\n"),
            ("YYYYMMDD", "2005-12-31", to_field, "--type", "alphanumeric", "--size", "10",
             "20051231  \nbytes 32 30 30 35 31 32 33 31 20 20\n"),
            ("HHNNSSTTT", "12:30:59.25", to_field, "123059250\n"),
            ("YYYYMMDDHHNN", "2005-12-31T12:30:59", to_field, "200512311230\n"),
            ("YYYYMMDDHHNN", "2005-12-31 12:30:59", to_field, "200512311230\n"),
            ("YYYYMMDDHHNN", "2005-12-31", to_field, "200512310000\n"),
            ("FYMMDD", "2005-12-31", to_field, "--type", "alphanumeric", ":51231\n"),
            ("JJJJJ", "2001-01-01", to_field, "--set", "4GL_JULIAN_BASE_DATE=20000101", "00366\n"),
            ("YYYYMMDD", "2099-12-31", to_field, *self.NINE, "99999999\n"),
            ("YYYYMMDD", "2099-12-31", to_field, *self.NINE, *self.HIGH,
             "\\xFF" * 8 + "\nbytes" + " FF" * 8 + "\n"),
            ("YYYYMMDD", "2099-12-31", to_field, *self.NINE, *self.HIGH, "--type", "packed",
             "bytes" + " FF" * 5 + "\n"),
            ("YYYYMMDD", "1900-01-01", to_field, *self.INVALID,
             " " * 8 + "\nbytes" + " 20" * 8 + "\n"),
            ("YYYYMMDD", "1601-01-01", to_field, "--date-value", "16010101", "00000000\n"),
            ("YYYYMMDD", "2005-02-29", to_field, "--use-illegal", "--date-value", "19991231",
             "19991231\n"),
        ))

    def test_there_and_back_in_every_storage(self):
        # Storages of one digit a byte among them, which no other test has.
        for storage in ("display display-trailing-separate display-trailing "
                        "display-leading-separate display-leading packed comp-3 packed-signed "
                        "comp-6 comp comp-signed comp-5 comp-5-signed comp-2 alphanumeric justified "
                        "alphabetic group national").split() + [str(n) for n in range(40)]:
            with self.subTest(storage=storage):
                written = self.run_tool("date", "YYYYMMDD", "2004-02-29", "--to-field", "--type",
                                        storage, "--verbose")
                self.assertEqual((written.returncode, written.stderr), (0, ""))
                field = [line for line in written.stdout.split("\n")
                         if line.startswith("  field ")][0].split(": ")[1]
                self.expect(["date", "YYYYMMDD", field, "--hex", "--type", storage], 0,
                            "2004-02-29\n")
                self.expect(["date", "YYYYMMDD", "20040229", "--type", storage], 0, "2004-02-29\n")

    def test_what_a_result_hangs_on(self):
        self.expect(["date", "YYMMDD", "051231", "--verbose"], 0, """\
2005-12-31
  format   YYMMDD
  field    DISPLAY, unsigned, 6 digits, 6 bytes: 30 35 31 32 33 31
  record   2005-12-31 00:00:00.000000
  setting  4GL_2000_CUTOFF is 20; with 0: 1905-12-31
""")
        # Four digits of the year leave the cutoff nothing to say.
        self.expect(["date", "YYYYMMDD", "20051231", "--verbose"], 0, """\
2005-12-31
  format   YYYYMMDD
  field    DISPLAY, unsigned, 8 digits, 8 bytes: 32 30 30 35 31 32 33 31
  record   2005-12-31 00:00:00.000000
""")
        self.expect(["date", "", "991231", "--type", "8", "--verbose",
                     "--set", "4GL_8_DIGIT_CUTOFF=1"], 0, """\
1999-12-31
  format   none
  field    packed, unsigned, 8 digits, 5 bytes: 00 09 91 23 1F
  record   1999-12-31 00:00:00.000000
  setting  4GL_8_DIGIT_CUTOFF is 1; with 0: 0099-12-31
""".replace("  setting  4GL_2000_CUTOFF is 20; with 0: 1999-12-31\n", ""))
        self.expect(["date", "MMDD", "0501", "--date-value", "-1", "--verbose"], 0, """\
1901-05-01
  format   MMDD
  field    DISPLAY, unsigned, 4 digits, 4 bytes: 30 35 30 31
  record   1901-05-01 12:00:00.000000
""")
        self.expect(["date", "YYYYMMDD", "2099-12-31", "--to-field", "--type", "packed",
                     "--verbose", *self.NINE, *self.HIGH], 0, """\
bytes FF FF FF FF FF
  format   YYYYMMDD
  field    packed, unsigned, 8 digits, 5 bytes: FF FF FF FF FF
  record   2099-12-31 00:00:00.000000
  setting  PLEX_DATE_NINE_VALUE is 20991231; with null: "20991231", bytes 02 09 91 23 1F
  setting  PLEX_DATE_MAX_HIGH_VALUES is 1; with 0: "99999999", bytes 09 99 99 99 9F
""")
        self.expect(["date", "JJJ", "1", "--verbose", "--set", "4GL_JULIAN_BASE_DATE=20050229"], 1,
                    """\
  format   JJJ
  field    DISPLAY, unsigned, 3 digits, 3 bytes: 30 30 31
  setting  4GL_JULIAN_BASE_DATE is 20050229; with 0: 1900-01-01
""", "wbfsi date: 001 holds no date of the format JJJ\n")
        self.expect(["date", "JJJ", "1900-01-01", "--to-field", "--verbose",
                     "--set", "4GL_JULIAN_NULL=1"], 1, """\
  format   JJJ
  field    DISPLAY, unsigned, 3 digits, 3 bytes: 30 30 30
  setting  4GL_JULIAN_NULL is 1; with -2147483648: 001
""", "wbfsi date: 1900-01-01: cannot be written to the field (DISPLAY, unsigned, 3 digits, "
     "3 bytes) in its format\n")

    def test_no_such_date(self):
        for arguments, text in (
                (["YYYYMMDD", "20050229"], "20050229 holds no date of the format YYYYMMDD"),
                (["YYMMDD", "051301", "--type", "packed"],
                 '"051301", bytes 00 51 30 1F holds no date of the format YYMMDD'),
                (["YYYYMMDD", "2005123x"], "2005123x holds no date of the format YYYYMMDD"),
                (["YYYYMMDD", "FFFF", "--hex"],
                 '"\\xFF\\xFF", bytes FF FF holds no date of the format YYYYMMDD'),
                (["YYYYMMDD", "FFFF", "--hex", "--type", "packed"],
                 "bytes FF FF holds no date of the format YYYYMMDD"),
                (["", "0", "--type", "8"], '"00000000", bytes 00 00 00 00 0F holds no date'),
                (["YYYYMMDD", "2005-02-29", "--to-field"], "2005-02-29: there is no such date"),
                (["HHNN", "24:00:00", "--to-field"], "24:00:00: there is no such date"),
                (["FYMMDD", "1739-12-31", "--to-field", "--type", "alphanumeric"],
                 "1739-12-31: cannot be written to the field (alphanumeric, 6 bytes) in its "
                 "format"),
                (["FYMMDD", "2005-12-31", "--to-field"],
                 "2005-12-31: cannot be written to the field (DISPLAY, unsigned, 6 digits, "
                 "6 bytes) in its format; the characters of F and R want --type alphanumeric"),
                (["FYMMDD", ":51231"], ":51231 holds no date of the format FYMMDD; the characters "
                 "of F and R want --type alphanumeric")):
            with self.subTest(arguments=arguments):
                self.expect(["date", *arguments], 1, "", "wbfsi date: %s\n" % text)

    def test_mistakes(self):
        letters = "D E F H J M N R S T Y, each in one run, would be right"
        iso = (" is no ISO date; YYYY-MM-DD, HH:MM:SS with up to six decimals behind a point, or "
               "both with a blank or T between them, would be right")
        for arguments, text in (
                (["YYYY-MM-DD", "1"],
                 '"YYYY-MM-DD" is no date format; no letter of a format: "-" (5, 8); ' + letters),
                (["yYMDY", "1"], '"yYMDY" is no date format; no letter of a format: "y" (1); in '
                 'more than one place: "Y" (2, 5); ' + letters),
                (["Y" * 21, "1"], '"%s" is no date format; it has 21 letters, 20 are the most; '
                 % ("Y" * 21) + letters),
                (["Y\x1b\xe9", "1"], '"Y\\x1B\xe9" is no date format; no letter of a format: '
                 '"\\x1B" (2), "\\xC3" (3), "\\xA9" (4); ' + letters),
                (["", "1"], "an empty format is YYMMDD in a field of type 6 and YYYYMMDD in one of "
                 "type 8, and nothing in others"),
                (["YYMMDD", "x", "--type", "packed"], '"x" does not fit into the field (packed, '
                 "unsigned, 6 digits, 4 bytes); --hex takes the bytes of a field as they are"),
                (["YYMMDD", "151231", "--size", "5"], '"151231" does not fit into the field '
                 "(DISPLAY, unsigned, 6 digits, 5 bytes); --hex takes the bytes of a field as they "
                 "are"),
                (["YYMMDD", "0512", "--type", "alphanumeric", "--size", "3"], '"0512" does not fit '
                 "into the field (alphanumeric, 3 bytes); --hex takes the bytes of a field as they "
                 "are"),
                (["YYMMDD", "1", "--size", "0"],
                 "--size 0: a whole number from 1 to 1000 would be right"),
                (["YYMMDD", "1", "--digits", "39"],
                 "--digits 39: a whole number from 1 to 38 would be right"),
                (["YYMMDD", "1", "--type", "40"],
                 "--type 40: a whole number from 0 to 39 would be right"),
                (["YYMMDD", "1", "--date-value", "x"], "--date-value x: a whole number from "
                 "-2147483648 to 2147483647 would be right"),
                (["YYMMDD", "1" * 3001], "VALUE has more than 3000 characters; a field of up to "
                 "1000 bytes would be right"),
                (["YYMMDD", "123", "--hex"], '--hex "123": two hexadecimal digits a byte, of at '
                 "least one byte, would be right"),
                (["YYMMDD", "1234", "--hex", "--size", "3"], '--hex "1234": two hexadecimal digits '
                 "a byte, of 3 bytes, would be right"),
                (["YYMMDD", "2005-12-31", "--hex", "--to-field"],
                 "--hex is for the bytes of a field; --to-field takes a date"),
                (["YYMMDD", "12:30:00", "--to-field"], '"12:30:00" has no date, which the format '
                 "wants; YYYY-MM-DD in front of it would be right"),
                *((["YYMMDD", text, "--to-field"], '"%s"' % text + iso)
                  for text in ("", "2005", "2005-1-1", "2005-12-31T", "2005-12-31x12:30:00",
                               "12:30", "12:30:00.", "12:30:00.1234567", "2005-12-31 ",
                               "+005-12-31"))):
            with self.subTest(arguments=arguments):
                self.expect(["date", *arguments], 2, "", "wbfsi date: %s\n" % text)
        result = self.run_tool("date", "YYMMDD", "1", "--type", "comp3")
        self.assertEqual((result.returncode, result.stdout), (2, ""))
        self.assertTrue(result.stderr.startswith(
            "wbfsi date: --type comp3: is no storage; a code from 0 to 39 or one of display "))


if __name__ == "__main__":
    cli_test.WBFSI = os.path.abspath(sys.argv.pop(1))
    unittest.main()
