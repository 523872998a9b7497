#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The built tool as a person sees it: whole outputs, messages, exit statuses.

    cli_test.py WBFSI
"""

import json
import os
import shutil
import signal
import sqlite3
import subprocess
import sys
import tempfile
import time
import unittest

WBFSI = ""

# A key, a condition, an OCCURS group, a field over another and a comment.
ITEMS = """\
XFD,06,ITEMS,ITEMS,12
24,24,1
0,18,46,44,0
1,0,4,0
1
ID
1
1,1,KIND,A
5,6,5,6
0,4,1,4,0,0,0,5,ID
4,1,16,0,0,0,0,5,KIND
# in cents
5,5,3,5,-2,0,1,5,PRICE
90001,2,7,START OCCURS
10,7,16,0,0,0,0,10,WORD
90002,END OCCURS
8,4,16,0,0,32,0,5,OVER
"""
# Without the field over another and the condition: columns give all bytes back.
PLAIN = """\
XFD,06,PLAIN,PLAIN,12
10,10,1
0,18,46,44,0
1,0,4,0
1
ID
0
2,2,2,2
0,4,1,4,0,0,0,5,ID
4,6,16,0,0,0,0,5,NAME
"""

LINES = """\
XFD,06,LINES,LINES,5
10,10,0
0,18,46,44,0
0
2,2,2,2
0,4,1,4,0,0,0,5,ID
4,6,16,0,0,0,0,5,NAME
"""


class Tool(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="wbfsi-")
        self.addCleanup(shutil.rmtree, self.folder)
        self.write("items.xfd", ITEMS)
        self.write("plain.xfd", PLAIN)
        self.environment = {name: value for name, value in os.environ.items()
                            if not name.startswith(("XFD_", "4GL_", "COBOL_", "FILE_TRACE"))}

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, contents):
        with open(self.path(name), "wb") as file:
            file.write(contents if isinstance(contents, bytes) else contents.encode("latin-1"))

    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def run_tool(self, *arguments, **environment):
        return subprocess.run([WBFSI, *arguments], cwd=self.folder, text=True, check=False,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                              env={**self.environment, **environment})

    def expect(self, arguments, status, out="", err=""):
        result = self.run_tool(*arguments)
        self.assertEqual((result.returncode, result.stdout, result.stderr), (status, out, err))

    def files(self):
        return sorted(os.listdir(self.folder))


class Usage(Tool):
    def test_every_command_has_help_and_version(self):
        for command in ([], ["show"], ["locate"], ["convert"], ["ddl"], ["cat"], ["load"],
                        ["unload"], ["verify"], ["match"], ["compare"], ["errmap"], ["date"],
                        ["xml"]):
            with self.subTest(command=command):
                help_text = self.run_tool(*command, "--help")
                self.assertEqual((help_text.returncode, help_text.stderr), (0, ""))
                self.assertIn("Usage: wbfsi", help_text.stdout)
                version = self.run_tool(*command, "--version")
                self.assertEqual((version.returncode, version.stderr), (0, ""))
                self.assertRegex(version.stdout, r"\Awbfsi \d+\.\d+\.\d+\n\Z")

    def test_mistakes_in_the_command_line_end_with_2(self):
        advice = '; "wbfsi%s --help" shows the usage\n'
        for arguments, text in (
                ([], "wbfsi: A subcommand is required" + advice % ""),
                (["show"], "wbfsi show: NAME is required" + advice % " show"),
                (["load", "plain", "data"], "wbfsi load: --db is required" + advice % " load"),
                (["show", "plain", "--format", "x"],
                 "wbfsi show: --format: x not in {table,json,text,xml}" + advice % " show")):
            with self.subTest(arguments=arguments):
                self.expect(arguments, 2, "", text)

    def test_configuration_reaches_the_library(self):
        self.expect(["show", "plain", "--set", "NO_SUCH=1"], 2, "",
                    "wbfsi show: --set NO_SUCH=1: there is no configuration variable NO_SUCH; "
                    "wbfsi(1) lists them\n")
        self.expect(["show", "plain", "--set", "4GL_COLUMN_CASE"], 2, "",
                    "wbfsi show: --set 4GL_COLUMN_CASE: has no name and \"=\"; NAME=VALUE would "
                    "be right\n")
        result = self.run_tool("show", "plain", "--set", "4GL_COLUMN_CASE=MIDDLE")
        self.assertEqual((result.returncode, result.stdout), (2, ""))
        self.assertIn("4GL_COLUMN_CASE", result.stderr)
        self.write("settings", "# names\n4GL_COLUMN_CASE=UPPER\n")
        for options in (["--set", "4gl-column-case=upper"], ["--config", "settings"]):
            text = self.run_tool("show", "plain", "--format", "text", *options)
            self.assertEqual((text.returncode, text.stderr), (0, ""))
            self.assertIn("0,4,1,4,0,0,0,5,ID\n", text.stdout)
        # What the command line says comes after what the file says.
        text = self.run_tool("show", "plain", "--format", "text", "--config", "settings",
                             "--set", "4GL_COLUMN_CASE=LOWER")
        self.assertIn("0,4,1,4,0,0,0,5,id\n", text.stdout)
        self.assertEqual(self.run_tool("show", "plain", "--config", "nothing").returncode, 2)


class Show(Tool):
    def test_table(self):
        self.expect(["show", "items", "--comments"], 0, """\
Dictionary    ./items.xfd, version 6
Select name   ITEMS
Table         ITEMS
File          indexed
Records       24 bytes
Numbers       sign compatibility 0, 18 digits, point ".", grouping ",", encoding 0
Fields        5, with OCCURS 6; listed 5, with OCCURS 6

Keys
  Key  Values  Offset+length  Fields
    0  unique  0+4            id

Conditions
  Condition  Holds when
          1  kind = A

Fields
  #  Field   Offset  Size  Type                         Digits  Scale  Level  Condition  Flags   Occurs
  1  id           0     4  DISPLAY, unsigned                 4             5             in key
  2  kind         4     1  alphanumeric                                    5
  3  price        5     5  DISPLAY, sign in last digit       5     -2      5          1
  4  word_1      10     7  alphanumeric                                   10                     1/2
  5  word_2      17     7  alphanumeric                                   10                     2/2
  6  over         8     4  alphanumeric                                    5             hidden

Comments
  price
    # in cents

Record (24 bytes)
            0         1         2         3         4
            01234567890123456789012345678901234567890123456789
         0  AAAABCCCCCDDDDDDDEEEEEEE
            A id 0-3  B kind 4  C price 5-9  D word_1 10-16  E word_2 17-23
            ........AAAA............
            A over 8-11
""")

    def test_json(self):
        result = self.run_tool("show", "items", "--format", "json")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        shown = json.loads(result.stdout)
        self.assertEqual((shown["dictionary"], shown["version"], shown["file_type_name"]),
                         ("./items.xfd", 6, "indexed"))
        self.assertEqual(shown["keys"], [{"duplicates": False,
                                          "segments": [{"offset": 0, "length": 4}],
                                          "columns": [{"name": "id", "field": 0}]}])
        self.assertEqual(shown["conditions"], [{"number": 1, "operator": "=", "field": "kind",
                                                "value": "A", "table": None}])
        self.assertEqual([field["name"] for field in shown["fields"]],
                         ["id", "kind", "price", "word_1", "word_2", "over"])
        self.assertEqual(shown["fields"][4]["occurs"], [{"times": 2, "index": 2}])
        self.assertEqual(shown["fields"][2]["comment"], "# in cents")

    def test_nothing_to_show(self):
        result = self.run_tool("show", "nothing")
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertIn("Unable to open XFD file for 'nothing'", result.stderr)

    def test_a_malformed_dictionary(self):
        self.write("later.xfd", "XFD,9,A,A,12\n")
        result = self.run_tool("show", "later")
        self.assertEqual((result.returncode, result.stdout), (2, ""))
        self.assertIn("XFD file './later.xfd' is a later version than 8", result.stderr)

    def test_a_dictionary_cut_short(self):
        self.write("short.xfd", ITEMS.replace("5,5,3,5,-2,0,1,5,PRICE",
                                              "5,5,3,5,-2,1,1,5,PRICE,NONSENSE"))
        result = self.run_tool("show", "short")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertIn("The dictionary is cut short: field 3 of 6 could not be built",
                      result.stdout)
        for command in (["ddl", "short"], ["load", "short", "x", "--db", "sqlite:x.db"],
                        ["unload", "short", "x", "--db", "sqlite:x.db"]):
            refused = self.run_tool(*command)
            self.assertEqual((refused.returncode, refused.stdout), (2, ""))
            self.assertIn("cut short", refused.stderr)


class Refused(Tool):
    def test_dictionaries_that_cannot_become_a_table(self):
        rows = (
            ("twice", PLAIN.replace("6,16,0,0,0,0,5,NAME", "6,16,0,0,0,0,5,Id"), "id"),
            ("norecord", PLAIN.replace("10,10,1", "0,0,1"), ""),
        )
        for name, text, word in rows:
            self.write(name + ".xfd", text)
            self.write("data", b"0001one   ")
            before = self.files()
            for command in (["ddl", name], ["load", name, "data", "--db", "sqlite:x.db"],
                            ["unload", name, "data", "--db", "sqlite:x.db"]):
                with self.subTest(command=command):
                    result = self.run_tool(*command)
                    self.assertEqual((result.returncode, result.stdout), (2, ""))
                    self.assertTrue(result.stderr.startswith(
                        "wbfsi %s: %s: " % (command[0], name)), result.stderr)
                    self.assertIn(word, result.stderr)
                    self.assertEqual(self.files(), before)

    def test_a_name_cannot_command_the_terminal(self):
        result = self.run_tool("show", "a\x1b[2Jb")
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertNotIn("\x1b", result.stderr)
        self.assertIn("a\\x1B[2Jb", result.stderr)


class Ddl(Tool):
    def test_both_dialects(self):
        for dialect in ("sqlite", "postgresql"):
            with self.subTest(dialect=dialect):
                result = self.run_tool("ddl", "plain", "--dialect", dialect)
                self.assertEqual((result.returncode, result.stderr), (0, ""))
                self.assertTrue(result.stdout.startswith('CREATE TABLE "PLAIN" (\n    "id" '),
                                result.stdout)
                self.assertTrue(result.stdout.endswith(";\n"))
                self.assertIn('"exact_record"', result.stdout)
        self.assertNotIn('"exact_record"', self.run_tool("ddl", "plain", "--no-exact").stdout)

    def test_the_statements_make_the_table_that_load_makes(self):
        self.write("data", b"0001one   ")
        self.expect(["load", "plain", "data", "--db", "sqlite:test.db", "-q"], 0)
        ours = sqlite3.connect(":memory:")
        loaded = sqlite3.connect(self.path("test.db"))
        ours.executescript(self.run_tool("ddl", "plain").stdout)
        query = ("SELECT type, name, sql FROM sqlite_master "
                 "WHERE name <> 'wbfsi_settings' ORDER BY name")
        self.assertEqual(ours.execute(query).fetchall(), loaded.execute(query).fetchall())
        ours.close()
        loaded.close()


class Convert(Tool):
    def test_there_and_back(self):
        self.expect(["convert", "plain", "xml.xfd"], 0, "", "")
        with open(os.path.join(self.folder, "xml.xfd")) as file:
            self.assertTrue(file.read().startswith("<?xml "))
        self.expect(["convert", "xml", "text.xfd"], 0, "", "")
        for command in (["show", "%s"], ["show", "%s", "--format", "json"],
                        ["show", "%s", "--format", "text"], ["show", "%s", "--format", "xml"],
                        ["ddl", "%s"], ["convert", "%s", "-", "--format", "text"]):
            shown = [self.run_tool(*[part.replace("%s", name) for part in command])
                     for name in ("plain", "xml", "text")]
            with self.subTest(command=command):
                self.assertEqual([(s.returncode, s.stderr) for s in shown], [(0, "")] * 3)
                texts = {s.stdout.replace("xml.xfd", "plain.xfd").replace("text.xfd", "plain.xfd")
                         for s in shown}
                self.assertEqual(len(texts), 1)
        self.assertIn("taken     ./xml.xfd\n", self.run_tool("locate", "xml").stdout)

    def test_records_pass_through_either_form(self):
        self.expect(["convert", "plain", "xml.xfd"], 0, "", "")
        self.write("data", "0001abcdef0002ghijkl")
        load = self.run_tool("load", "xml", "data", "--db", "sqlite:x.db", "--quiet")
        self.assertEqual((load.returncode, load.stderr), (0, ""))
        unload = self.run_tool("unload", "plain", "back", "--db", "sqlite:x.db", "--quiet")
        self.assertEqual((unload.returncode, unload.stderr), (0, ""))
        with open(os.path.join(self.folder, "back")) as file:
            self.assertEqual(file.read(), "0001abcdef0002ghijkl")

    def test_nothing_is_written_when_it_cannot_be(self):
        self.write("odd.xfd", PLAIN.replace("4,6,16,", "4,6,99,"))
        self.write("out", "as it was")
        self.expect(["convert", "odd", "out"], 2, "",
                    "wbfsi convert: field name: the XML form cannot hold it: types go up to 63, "
                    "this one is 99\n")
        with open(os.path.join(self.folder, "out")) as file:
            self.assertEqual(file.read(), "as it was")
        self.write("broken.xfd", "<a>\n <b>\n</a>\n")
        for command in (["convert", "broken", "out"], ["show", "broken"], ["ddl", "broken"],
                        ["locate", "broken"]):
            result = self.run_tool(*command)
            self.assertEqual(result.returncode, 2)
            self.assertIn("XFD file './broken.xfd', line 3, column 3: neither the text form nor "
                          "XML: mismatched tag", result.stderr)


class Locate(Tool):
    def test_taken(self):
        self.expect(["locate", "/data/Plain"], 0, """\
name      /data/Plain
name map  plain: as it is
          Plain: as it is
          PLAIN: as it is
taken     ./plain.xfd
""")

    def test_name_map_and_prefix(self):
        self.expect(["locate", "p-1", "--set", "XFD_MAP=p*=plain", "--set", "XFD_PREFIX=/none ."],
                    0, """\
name      p-1
name map  p_1 becomes plain
          p-1 becomes plain
          P_1: as it is
tried     /none/plain.xfd: not opened
          /none/plain.XFD: not opened
          /none/plain.xfd: not opened
          /none/plain.XFD: not opened
          /none/P_1.xfd: not opened
          /none/P_1.XFD: not opened
taken     ./plain.xfd
""")

    def test_not_found(self):
        self.expect(["locate", "gone", "--xfd-directory", "x" * 300], 1, """\
name      gone
name map  gone: as it is
          GONE: as it is
tried     <%(d)s> concat <gone> concat <.xfd>: too long
          <%(d)s> concat <gone> concat <.XFD>: too long
          <%(d)s> concat <gone> concat <.xfd>: too long
          <%(d)s> concat <gone> concat <.XFD>: too long
          <%(d)s> concat <GONE> concat <.xfd>: too long
          <%(d)s> concat <GONE> concat <.XFD>: too long
""" % {"d": "x" * 300}, "wbfsi locate: gone: no dictionary was found; XFD_PREFIX is not set, "
                        "XFD_DIRECTORY is \"%s\"\n" % ("x" * 300))

    def test_the_directory_of_the_command_line_comes_first(self):
        os.mkdir(self.path("a b"))
        os.rename(self.path("plain.xfd"), self.path("a b/plain.xfd"))
        for environment in ({}, {"XFD_PREFIX": "/none"}, {"XFD_DIRECTORY": "/none"}):
            with self.subTest(environment=environment):
                result = self.run_tool("locate", "plain", "--xfd-directory", "a b", **environment)
                self.assertEqual((result.returncode, result.stderr), (0, ""))
                self.assertTrue(result.stdout.endswith("\ntaken     a b/plain.xfd\n"))
                self.assertNotIn("/none", result.stdout)

    def test_found_but_malformed(self):
        self.write("later.xfd", "XFD,9,A,A,12\n")
        result = self.run_tool("locate", "later")
        self.assertEqual(result.returncode, 2)
        self.assertTrue(result.stdout.endswith("taken     ./later.xfd\n"), result.stdout)
        self.assertIn("later version", result.stderr)


class LoadAndUnload(Tool):
    DB = "sqlite:test.db"

    def rows(self, query):
        connection = sqlite3.connect(self.path("test.db"))
        try:
            return connection.execute(query).fetchall()
        finally:
            connection.close()

    def test_there_and_back(self):
        data = b"0002two   0001one   0003      "
        self.write("data", data)
        self.expect(["load", "plain", "data", "--db", self.DB], 0,
                    "data: 3 records loaded into table PLAIN of sqlite:test.db\n")
        self.assertEqual(self.rows("SELECT id, name FROM plain ORDER BY id"),
                         [(1, "one"), (2, "two"), (3, "")])
        self.expect(["unload", "plain", "back", "--db", self.DB], 0,
                    "back: 3 records unloaded from table PLAIN of sqlite:test.db\n")
        self.assertEqual(self.read("back"), b"0001one   0002two   0003      ")
        self.expect(["unload", "plain", "back", "--db", self.DB, "--quiet"], 0)

    def test_exact_records_and_without_them(self):
        self.write("data", b"0001one   0002a\0\0\0\0\0")
        self.expect(["load", "plain", "data", "--db", self.DB], 0,
                    "data: 2 records loaded into table PLAIN of sqlite:test.db\n"
                    "1 record keeps its exact bytes beside the columns\n")
        self.expect(["unload", "plain", "back", "--db", self.DB, "-q"], 0)
        self.assertEqual(self.read("back"), self.read("data"))
        self.expect(["load", "plain", "data", "--db", self.DB, "--replace", "--no-exact"], 0,
                    "data: 2 records loaded into table PLAIN of sqlite:test.db\n"
                    "1 record was changed: its columns do not give the same bytes back\n")

    def test_a_table_that_is_there(self):
        self.write("data", b"0001one   ")
        self.expect(["load", "plain", "data", "--db", self.DB, "-q"], 0)
        self.write("data", b"0002two   ")
        self.expect(["load", "plain", "data", "--db", self.DB], 2, "",
                    "wbfsi load: --db sqlite:test.db: there is a table PLAIN already; --replace "
                    "drops it first, another database leaves it alone\n")
        self.assertEqual(self.rows("SELECT id FROM plain"), [(1,)])
        self.expect(["load", "plain", "data", "--db", self.DB, "-q", "--replace"], 0)
        self.assertEqual(self.rows("SELECT id FROM plain"), [(2,)])

    def test_nothing_is_loaded_from_a_bad_file(self):
        self.write("data", b"0001one   0002tw")
        before = self.files()
        self.expect(["load", "plain", "data", "--db", self.DB], 2, "",
                    "wbfsi load: data: record 2 at byte 10: the file ends after 6 of the 10 bytes "
                    "of a record; all records of the file have that length\n")
        self.assertEqual(self.files(), before)

    def test_a_bad_file_does_not_cost_the_table_it_would_replace(self):
        self.write("data", b"0001one   ")
        self.expect(["load", "plain", "data", "--db", self.DB, "-q"], 0)
        self.write("data", b"0002two   x")
        self.assertEqual(self.run_tool("load", "plain", "data", "--db", self.DB,
                                       "--replace").returncode, 2)
        self.assertEqual(self.rows("SELECT id FROM plain"), [(1,)])

    def test_rejected_records(self):
        self.write("data", b"0001one   0002two   0001again 0003three ")
        before = self.files()
        result = self.run_tool("load", "plain", "data", "--db", self.DB)
        self.assertEqual((result.returncode, result.stdout), (2, ""))
        self.assertTrue(result.stderr.startswith("wbfsi load: data: record 3: "), result.stderr)
        self.assertTrue(result.stderr.endswith(
            "; nothing was loaded (--reject FILE would keep such records and go on)\n"))
        self.assertEqual(self.files(), before)

        self.expect(["load", "plain", "data", "--db", self.DB, "--reject", "bad"], 3,
                    "data: 3 records loaded into table PLAIN of sqlite:test.db\n"
                    "1 record rejected, kept in bad, reasons in bad.reasons\n")
        self.assertEqual(self.rows("SELECT id, name FROM plain ORDER BY id"),
                         [(1, "one"), (2, "two"), (3, "three")])
        self.assertEqual(self.read("bad"), b"0001again ")
        self.assertRegex(self.read("bad.reasons"), rb"\Arecord 3: [^\n]+\n\Z")
        # The rejected records can be loaded by themselves.
        self.expect(["load", "plain", "bad", "--db", "sqlite:other.db", "-q"], 0)

    def test_files_that_would_be_overwritten(self):
        self.write("data", b"0001one   ")
        self.expect(["load", "plain", "data", "--db", self.DB, "-q"], 0)
        for arguments in (["load", "plain", "data", "--db", "sqlite:x.db", "--reject", "data"],
                          ["load", "plain", "data", "--db", self.DB, "--reject", "test.db"],
                          ["unload", "plain", "test.db", "--db", self.DB]):
            with self.subTest(arguments=arguments):
                result = self.run_tool(*arguments)
                self.assertEqual((result.returncode, result.stdout), (2, ""))
                self.assertIn("is the same file as", result.stderr)
        self.assertEqual(self.rows("SELECT id FROM plain"), [(1,)])
        self.assertEqual(self.read("data"), b"0001one   ")

    def test_rejected_records_take_no_place_of_a_file_in_use(self):
        self.write("data.reasons", b"0001one   ")
        before = self.files()
        for data, database, reject in (("data.reasons", "new.db", "new.db"),
                                       ("data.reasons", "bad.reasons", "bad"),
                                       ("data.reasons", "new.db", "data"),
                                       ("data.reasons", "new.db", "plain.xfd")):
            with self.subTest(database=database, reject=reject):
                result = self.run_tool("load", "plain", data, "--db", "sqlite:" + database,
                                       "--reject", reject)
                self.assertEqual((result.returncode, result.stdout), (2, ""))
                self.assertIn("is the same file as", result.stderr)
                self.assertEqual(self.files(), before)
        self.assertEqual(self.read("data.reasons"), b"0001one   ")
        self.assertTrue(self.read("plain.xfd").startswith(b"XFD"))

    def test_records_of_a_line_sequential_dictionary_in_other_forms(self):
        self.write("lines.xfd", LINES.encode())
        for form, data in (("fixed", b"0001ab    0002      "),
                           ("variable", b"\0\x0a\0\x000001ab    \0\x0a\0\x000002      "),
                           ("relative", b"\x0a\0\0\x000001ab    \x0a\0\0\x000002      "),
                           ("line", b"0001ab\n0002\n")):
            with self.subTest(form=form):
                self.write("data", data)
                options = ["--db", self.DB, "-q", "--record-format", form, "--slot-header", "4"]
                self.expect(["load", "lines", "data", "--replace", *options], 0)
                self.expect(["unload", "lines", "back", *options], 0)
                self.assertEqual(self.read("back"), data)

    def test_unloading_to_the_standard_output_prints_records_alone(self):
        self.write("data", b"0001one   0002two   ")
        self.expect(["load", "plain", "data", "--db", self.DB, "-q"], 0)
        self.expect(["unload", "plain", "/dev/stdout", "--db", self.DB], 0,
                    "0001one   0002two   ")

    def test_slots_of_a_pipe_need_their_header(self):
        self.write("slots.xfd", LINES.replace("LINES,LINES,5", "SLOTS,SLOTS,8").encode())
        data = b"\x0a\0\0\x000001ab    "
        command = [WBFSI, "load", "slots", "/dev/stdin", "--db", self.DB, "-q"]
        for options, status in ((["--slot-header", "4"], 0), ([], 2)):
            result = subprocess.run(command + options, cwd=self.folder, input=data,
                                    stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                    env=self.environment)
            self.assertEqual(result.returncode, status)
        self.assertIn(b"--slot-header 4 (written by a 32-bit program) or --slot-header 8 would be "
                      b"right", result.stderr)

    def test_what_cannot_be_unloaded_leaves_the_old_file(self):
        self.write("data", b"0001one   ")
        self.write("back", b"old")
        self.expect(["load", "plain", "data", "--db", self.DB, "-q"], 0)
        connection = sqlite3.connect(self.path("test.db"))
        with connection:
            connection.execute("UPDATE plain SET name = 'much too long'")
        connection.close()
        before = self.files()
        result = self.run_tool("unload", "plain", "back", "--db", self.DB)
        self.assertEqual((result.returncode, result.stdout), (2, ""))
        self.assertTrue(result.stderr.startswith(
            "wbfsi unload: --db sqlite:test.db: table PLAIN: "), result.stderr)
        self.assertTrue(result.stderr.endswith("; no file was written\n"), result.stderr)
        self.assertEqual((self.files(), self.read("back")), (before, b"old"))

    def test_databases_and_tables_that_are_not_there(self):
        self.write("data", b"0001one   ")
        before = self.files()
        for arguments in (["unload", "plain", "back", "--db", "sqlite:none.db"],
                          ["load", "plain", "data", "--db", "nosuch:x"],
                          ["load", "plain", "none", "--db", self.DB],
                          ["load", "plain", "data", "--db", "sqlite:no/such/folder.db"]):
            with self.subTest(arguments=arguments):
                result = self.run_tool(*arguments)
                self.assertEqual((result.returncode, result.stdout), (2, ""))
                self.assertEqual(self.files(), before)
        self.expect(["load", "plain", "data", "--db", self.DB, "-q"], 0)
        result = self.run_tool("unload", "items", "back", "--db", self.DB)
        self.assertEqual(result.returncode, 2)
        self.assertIn("ITEMS", result.stderr)

    def test_a_signal_leaves_nothing_half_done(self):
        os.mkfifo(self.path("pipe"))

        def database_is_open():
            return os.path.exists(self.path("test.db-journal"))

        # A pipe that gives some records and no end: the load is surely under way.
        writer = os.open(self.path("pipe"), os.O_RDWR)
        self.addCleanup(os.close, writer)
        os.write(writer, b"".join(b"%04dname  " % n for n in range(1000)))
        before = self.files()
        process = subprocess.Popen([WBFSI, "load", "plain", "pipe", "--db", self.DB],
                                   cwd=self.folder, text=True, stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE, env=self.environment)
        while process.poll() is None and not database_is_open():
            time.sleep(0.001)
        time.sleep(0.2)  # all records are read by now
        process.send_signal(signal.SIGTERM)
        # Nothing more comes: the signal alone ends the wait.
        _, errors = process.communicate(timeout=60)
        self.assertEqual((process.returncode, errors),
                         (2, "wbfsi load: told to end; nothing was loaded\n"))
        self.assertEqual(self.files(), before)


if __name__ == "__main__":
    WBFSI = os.path.abspath(sys.argv.pop(1))
    unittest.main()
