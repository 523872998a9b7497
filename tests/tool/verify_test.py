#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""wbfsi verify as a person sees it: reports, JSON, exit statuses.

    verify_test.py WBFSI
"""

import array
import fcntl
import json
import os
import shutil
import signal
import sqlite3
import subprocess
import sys
import tempfile
import termios
import time
import unittest

WBFSI = ""
DB = "sqlite:test.db"

# Numbers in three storages, a date, text; the last three bytes belong to no field.
MIXED = """\
XFD,06,MIXED,MIXED,4
30,30,0
0,18,46,44,0
0
5,5,5,5
0,4,1,4,0,0,0,5,ID
4,6,1,6,0,0,0,5,AMOUNT
10,3,9,5,0,0,0,5,PACKED
13,8,1,8,0,1,0,5,DAY,YYYYMMDD
21,6,16,6,0,0,0,5,NAME
"""
GOOD = b"0001" b"000042" b"\x00\x01\x2c" b"20260131" b"name  " b"   "

TYPES = """\
XFD,06,TYPES,TYPES,4
8,8,0
0,18,46,44,0
2
1,1,KIND,N
2,1,KIND,T
4,4,4,4
0,2,1,2,0,0,0,5,ID
2,1,16,1,0,0,0,5,KIND
3,5,1,5,0,0,1,5,NUMBER
3,5,16,5,0,0,2,5,WORD
"""

KEYED = """\
XFD,06,KEYED,KEYED,12
10,10,1
0,18,46,44,0
1,0,4,0
1
ID
0
2,2,2,2
0,4,1,4,0,0,0,5,ID
4,6,16,6,0,0,0,5,NAME
"""


def mixed(identity, amount=b"000042", packed=b"\x00\x01\x2c", day=b"20260131", name=b"name  ",
          rest=b"   "):
    return b"%04d" % identity + amount + packed + day + name + rest


class Verify(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="wbfsi-")
        self.addCleanup(shutil.rmtree, self.folder)
        for name, text in (("mixed", MIXED), ("types", TYPES), ("keyed", KEYED)):
            self.write(name + ".xfd", text.encode())
        self.environment = {name: value for name, value in os.environ.items()
                            if not name.startswith(("XFD_", "4GL_", "PLEX_", "COBOL_"))}

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, contents):
        with open(self.path(name), "wb") as file:
            file.write(contents)

    def run_tool(self, *arguments):
        return subprocess.run([WBFSI, *arguments], cwd=self.folder, text=True, check=False,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                              env=self.environment)

    def expect(self, arguments, status, out="", err=""):
        result = self.run_tool(*arguments)
        self.assertEqual((result.returncode, result.stdout, result.stderr), (status, out, err))

    def load(self, name, data, *options):
        self.expect(["load", name, data, "--db", DB, "-q", *options], 0)

    def change(self, *statements):
        connection = sqlite3.connect(self.path("test.db"))
        with connection:
            for statement in statements:
                connection.execute(statement)
        connection.close()


class Usage(Verify):
    def test_help_and_version(self):
        for option, start in (("--help", "Say what the fields"), ("--version", "wbfsi ")):
            result = self.run_tool("verify", option)
            self.assertEqual((result.returncode, result.stderr), (0, ""))
            self.assertTrue(result.stdout.startswith(start), result.stdout)

    def test_mistakes(self):
        advice = '; "wbfsi verify --help" shows the usage\n'
        for arguments, text in (
                (["mixed"], "DATAFILE is required"),
                (["mixed", "data", "--places", "-1"],
                 "--places: Value -1 not in range 0 to 1000000"),
                (["mixed", "data", "--format", "csv"], "--format: csv not in {table,json}")):
            with self.subTest(arguments=arguments):
                self.expect(["verify", *arguments], 2, "", "wbfsi verify: " + text + advice)


class Fields(Verify):
    def test_nothing_found(self):
        self.write("data", mixed(1) + mixed(2))
        self.expect(["verify", "mixed", "data"], 0,
                    "data: 2 records verified, 0 with contents that no column takes\n")
        self.expect(["verify", "mixed", "data", "--quiet"], 0)

    def test_an_empty_file(self):
        self.write("data", b"")
        self.expect(["verify", "mixed", "data"], 0,
                    "data: 0 records verified, 0 with contents that no column takes\n")

    def test_faults_and_their_places(self):
        self.write("data",
                   mixed(1, amount=b"      ", packed=b"\xff\xff\xff") + mixed(2)
                   + mixed(3, amount=b"\0" * 6, day=b"20260230")
                   + mixed(4, amount=b"\xff" * 6, day=b"00000000")
                   + mixed(5, amount=b"00x042", packed=b"   ", name=b"a\0b   "))
        self.expect(["verify", "mixed", "data"], 1, """\
Found in fields
  Field   Null value  Spaces  Low values  High values  Bad number  Bad date  Bad text
  amount                   1           1            1           1
  packed                                            1           1
  day              1                                                      1
  name                                                                              1

First places
  Field   Found        Record  Offset  Bytes
  amount  spaces            1       4  202020202020
  amount  low values        3       4  000000000000
  amount  high values       4       4  FFFFFFFFFFFF
  amount  bad number        5       4  303078303432
  packed  high values       1      10  FFFFFF
  packed  bad number        5      10  202020
  day     bad date          3      13  3230323630323330
  name    bad text          5      21  610062202020

data: 5 records verified, 4 with contents that no column takes
4 records are not told by their columns alone: a load keeps their exact bytes
""")
        self.expect(["verify", "mixed", "data", "--quiet"], 1)

    def test_the_first_places_of_each_kind(self):
        self.write("data", b"".join(mixed(n, amount=b"      ") for n in range(1, 9)))
        for places in (0, 2, 20):
            with self.subTest(places=places):
                result = self.run_tool("verify", "mixed", "data", "--places", str(places),
                                       "--format", "json")
                self.assertEqual((result.returncode, result.stderr), (1, ""))
                self.assertEqual([place["record"] for place in json.loads(result.stdout)["places"]],
                                 list(range(1, min(places, 8) + 1)))

    def test_values_in_another_form_are_no_fault(self):
        # A plus sign where the settings write another, bytes of no field.
        self.write("data", mixed(1, packed=b"\x00\x01\x2a") + mixed(2, rest=b" 12"))
        self.expect(["verify", "mixed", "data"], 0, """\
Found in fields
  Field       Other form
  packed               1
  (no field)           1

First places
  Field       Found       Record  Offset  Bytes
  packed      other form       1      10  00012A
  (no field)  other form       2      28  3132

data: 2 records verified, 0 with contents that no column takes
2 records are not told by their columns alone: a load keeps their exact bytes
""")

    def test_what_a_load_would_convert_is_a_fault_all_the_same(self):
        self.write("data", mixed(1, amount=b"      "))
        for value in ("UNCHANGED", "CONVERTED", "KEY_MOD", "PASS_THROUGH"):
            with self.subTest(value=value):
                result = self.run_tool("verify", "mixed", "data", "--set",
                                       "4GL_ILLEGAL_DATA=" + value, "--format", "json")
                self.assertEqual((result.returncode, result.stderr), (1, ""))
                shown = json.loads(result.stdout)
                self.assertEqual((shown["faulty"], shown["fields"][0]["spaces"]), (1, 1))

    def test_long_contents_are_shown_in_part(self):
        self.write("long.xfd", b"XFD,06,LONG,LONG,4\n40,40,0\n0,18,46,44,0\n0\n1,1,1,1\n"
                               b"0,40,16,40,0,0,0,5,TEXT\n")
        self.write("data", b"\0" + b"a" * 39)
        shown = json.loads(self.run_tool("verify", "long", "data", "--format", "json").stdout)
        self.assertEqual(shown["places"][0]["bytes"], "00" + "61" * 31 + "...")

    def test_a_signal_ends_the_run(self):
        os.mkfifo(self.path("pipe"))
        writer = os.open(self.path("pipe"), os.O_RDWR)
        self.addCleanup(os.close, writer)
        os.write(writer, mixed(1) * 100)
        process = subprocess.Popen([WBFSI, "verify", "mixed", "pipe"], cwd=self.folder, text=True,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   env=self.environment)
        waiting = array.array("i", [1])
        while process.poll() is None and waiting[0] != 0:
            fcntl.ioctl(writer, termios.FIONREAD, waiting)
            time.sleep(0.001)
        process.send_signal(signal.SIGTERM)
        output, errors = process.communicate(timeout=60)
        self.assertEqual((process.returncode, output, errors),
                         (2, "", "wbfsi verify: told to end; the file was not verified to its "
                                 "end\n"))

    def test_records_of_types(self):
        self.write("data", b"01N00007" b"02Thello" b"03X?????" b"04N  \0 7")
        self.expect(["verify", "types", "data"], 1, """\
Found in fields
  Field       Spaces  Other form
  number           1
  (no field)                   1

First places
  Field       Found       Record  Offset  Bytes
  number      spaces           4       3  2020002037
  (no field)  other form       3       3  3F3F3F3F3F

First records for which no condition holds
  3

data: 4 records verified, 1 with contents that no column takes, 1 for which no condition holds
2 records are not told by their columns alone: a load keeps their exact bytes
""")

    def test_json(self):
        self.write("data", b"01N00007" b"03X?????")
        result = self.run_tool("verify", "types", "data", "--format", "json")
        self.assertEqual((result.returncode, result.stderr), (1, ""))
        nothing = dict.fromkeys(("null_value", "spaces", "low_values", "high_values", "bad_number",
                                 "bad_date", "bad_text", "other_form"), 0)
        self.assertEqual(json.loads(result.stdout), {
            "file": "data", "records": 2, "faulty": 0, "untyped": 1, "kept_exact": 1,
            "fields": [{"name": None, **nothing, "other_form": 1}],
            "places": [{"field": None, "found": "other form", "record": 2, "offset": 3,
                        "bytes": "3F3F3F3F3F"}],
            "first_untyped": [2], "comparison": None})


class Tables(Verify):
    def test_the_same(self):
        self.write("data", mixed(1, amount=b"      ") + mixed(2, rest=b"xyz"))
        self.load("mixed", "data")
        result = self.run_tool("verify", "mixed", "data", "--db", DB, "--places", "0")
        self.assertEqual((result.returncode, result.stderr), (1, ""))
        self.assertTrue(result.stdout.endswith(
            "\n2 records are the same in table MIXED of sqlite:test.db, matched by number\n"), result.stdout)

    def test_differences_by_number(self):
        self.write("data", b"".join(mixed(n) for n in range(1, 7)))
        self.load("mixed", "data")
        self.change("UPDATE mixed SET name = 'other' WHERE record_number = 2",
                    "DELETE FROM mixed WHERE record_number = 4",
                    "UPDATE mixed SET name = 'much too long' WHERE record_number = 5",
                    "INSERT INTO mixed (record_number, id) VALUES (9, 9)")
        result = self.run_tool("verify", "mixed", "data", "--db", DB)
        self.assertEqual((result.returncode, result.stderr), (1, ""))
        self.assertEqual(result.stdout, """\
First differences
  Record  Is          Offset  Field  In the file   In the table
       2  different       21  name   6E616D652020  6F7468657220
       4  missing
       5  unreadable                               record 5: column "name" holds 'much too long', which does not fit its field (6 bytes)
       5  missing
       9  extra

data: 6 records verified, 0 with contents that no column takes
3 records are the same in table MIXED of sqlite:test.db, matched by number; 1 different; 2 missing; 1 extra; 1 unreadable
""")
        shown = json.loads(self.run_tool("verify", "mixed", "data", "--db", DB, "--format", "json",
                                         "--places", "1").stdout)["comparison"]
        places = shown.pop("places")
        self.assertEqual(shown, {"database": DB, "table": "MIXED", "matched_by": "number", "same": 3, "different": 1,
                                 "missing": 2, "extra": 1, "unreadable": 1})
        self.assertEqual([(place["record"], place["is"]) for place in places],
                         [(2, "different"), (4, "missing"), (5, "unreadable"), (9, "extra")])
        self.assertEqual(places[0], {"record": 2, "is": "different", "offset": 21, "field": "name",
                                     "in_file": "6E616D652020", "in_table": "6F7468657220"})

    def test_a_file_in_key_order_and_in_another(self):
        for data, order in ((b"0001one   0002two   0003three ", "primary key"),
                            (b"0003three 0001one   0002two   ", "number")):
            with self.subTest(order=order):
                self.write("data", data)
                self.load("keyed", "data", "--replace")
                self.expect(["verify", "keyed", "data", "--db", DB], 0,
                            "data: 3 records verified, 0 with contents that no column takes\n"
                            "3 records are the same in table KEYED of sqlite:test.db, "
                            "matched by %s\n" % order)
        # In key order the numbers of the rows do not count.
        self.write("sorted", b"0001one   0002two   0003three ")
        self.expect(["verify", "keyed", "sorted", "--db", DB, "-q"], 0)
        self.change("UPDATE keyed SET name = 'ONE' WHERE id = 1")
        self.expect(["verify", "keyed", "sorted", "--db", DB, "-q"], 1)
        self.expect(["verify", "keyed", "data", "--db", DB, "-q"], 1)

    def test_slots_and_lines(self):
        self.write("slots.xfd", MIXED.replace("MIXED,MIXED,4", "SLOTS,SLOTS,8").encode())
        self.write("lines.xfd", KEYED.replace("KEYED,KEYED,12", "LINES,LINES,5")
                   .replace("10,10,1", "10,10,0").replace("1,0,4,0\n1\nID\n", "").encode())
        empty = b"\0" * 34
        self.write("slots", b"\x1e\0\0\0" + mixed(1) + empty + b"\x1e\0\0\0" + mixed(3))
        self.write("lines", b"0001one\n0002\n")
        for name, options in (("slots", ["--slot-header", "4"]), ("lines", [])):
            with self.subTest(name=name):
                self.load(name, name, *options)
                self.expect(["verify", name, name, "--db", DB, *options], 0,
                            "%s: 2 records verified, 0 with contents that no column takes\n"
                            "2 records are the same in table %s of sqlite:test.db, matched by "
                            "number\n" % (name, name.upper()))
        # Slots keep their numbers.
        self.change("UPDATE slots SET record_number = 2 WHERE record_number = 3")
        shown = json.loads(self.run_tool("verify", "slots", "slots", "--db", DB, "--format", "json",
                                         "--slot-header", "4").stdout)["comparison"]
        self.assertEqual([(place["record"], place["is"]) for place in shown["places"]],
                         [(2, "extra"), (3, "missing")])

    def test_what_cannot_be_compared(self):
        self.write("data", b"0001one   ")
        self.expect(["verify", "keyed", "data", "--db", "sqlite:none.db"], 2, "",
                    self.run_tool("unload", "keyed", "x", "--db", "sqlite:none.db")
                    .stderr.replace("unload", "verify"))
        self.assertFalse(os.path.exists(self.path("none.db")))
        self.load("keyed", "data")
        result = self.run_tool("verify", "mixed", "data", "--db", DB)
        self.assertEqual((result.returncode, result.stdout), (2, ""))
        self.assertIn('the database has no table "MIXED"', result.stderr)
        self.write("cut", b"0001one   0002")
        self.expect(["verify", "keyed", "cut", "--db", DB], 2, "",
                    "wbfsi verify: cut: record 2 at byte 10: the file ends after 4 of the 10 bytes "
                    "of a record; all records of the file have that length\n")
        self.expect(["verify", "keyed", "gone"], 2, "",
                    "wbfsi verify: gone: cannot be opened: No such file or directory\n")

    def test_a_pipe(self):
        command = [WBFSI, "verify", "keyed", "/dev/stdin"]
        for options, status, out, err in (
                ([], 0, b"/dev/stdin: 1 record verified, 0 with contents that no column takes\n",
                 b""),
                (["--db", DB], 2, b"",
                 b"wbfsi verify: /dev/stdin: what is no regular file is read only once, and a "
                 b"comparison reads it twice; without --db, or from a copy in a file, would be "
                 b"right\n")):
            with self.subTest(options=options):
                result = subprocess.run(command + options, cwd=self.folder, input=b"0001one   ",
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                        check=False, env=self.environment)
                self.assertEqual((result.returncode, result.stdout, result.stderr),
                                 (status, out, err))


if __name__ == "__main__":
    WBFSI = os.path.abspath(sys.argv.pop(1))
    unittest.main()
