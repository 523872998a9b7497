#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""wbfsi match: tables that are the dictionary's and tables that are not; and the
numbers that a database's refusal shows.

    match_test.py WBFSI
"""

import json
import os
import sqlite3
import sys
import unittest

sys.dont_write_bytecode = True
import cli_test  # noqa: E402

# The name is a key with duplicates, the town has none.
PEOPLE = """\
XFD,06,PEOPLE,PEOPLE,12
20,20,2
0,18,46,44,0
1,0,4,0
1
ID
1,1,10,4
1
NAME
0
3,3,3,3
0,4,1,4,0,0,0,5,ID
4,10,16,0,0,0,0,5,NAME
14,6,16,0,0,0,0,5,TOWN
"""

MATCH = """\
Table PEOPLE of sqlite:test.db agrees with the dictionary

FIELD  COLUMN        NOTE
id     id
name   name
town   town
-      key_1_bytes   bytes of key 1
-      key_2_bytes   bytes of key 2
-      exact_record  exact record

KEY                COLUMNS      UNIQUE  INDEX
key 1              id           yes     sqlite_autoindex_PEOPLE_1
key 1, other rows  key_1_bytes  yes     PEOPLE_key_1_bytes
key 2              name         no      PEOPLE_key_2
key 2, other rows  key_2_bytes  no      PEOPLE_key_2_bytes
"""

DIFFERENT = """\
Table PEOPLE of sqlite:test.db differs from the dictionary

FIELD  COLUMN          NOTE
id     id
name   name
town   -               missing
-      key_1_bytes     bytes of key 1
-      key_2_bytes     bytes of key 2
-      exact_record    exact record
-      \\x1B[2J"' café  not in the dictionary

KEY                COLUMNS      UNIQUE  INDEX
key 1              id           yes     sqlite_autoindex_PEOPLE_1
key 1, other rows  key_1_bytes  yes     PEOPLE_key_1_bytes
key 2              name         no      -
key 2, other rows  key_2_bytes  no      PEOPLE_key_2_bytes

PROBLEMS
it has no column "town"
it has a column "\\x1B[2J""' café" that no field stands for, and 4GL_EXTRA_DB_COLS_OK is off
key 2 ("name"): there is no index on it; CREATE INDEX "PEOPLE_key_2" ON "PEOPLE" ("name") would \
make it
"""


class Match(cli_test.Tool):
    DB = "sqlite:test.db"

    def setUp(self):
        super().setUp()
        self.write("people.xfd", PEOPLE)
        self.write("data", b"")
        self.expect(["load", "people", "data", "--db", self.DB, "-q"], 0)

    def change(self, script):
        connection = sqlite3.connect(self.path("test.db"))
        connection.executescript(script)
        connection.close()

    def match(self, *options):
        return ["match", "people", "--db", self.DB, *options]

    def test_the_table_of_a_load(self):
        self.expect(self.match(), 0, MATCH)
        self.expect(self.match("--set", "4GL_EXTRA_DB_COLS_OK=0"), 0, MATCH)

    def test_another_table(self):
        self.change("""DROP INDEX PEOPLE_key_2; ALTER TABLE PEOPLE DROP COLUMN TOWN;
                       ALTER TABLE PEOPLE ADD COLUMN "\x1B[2J""' café";""")
        result = self.run_tool(*self.match("--set", "4GL_EXTRA_DB_COLS_OK=0"))
        self.assertEqual((result.returncode, result.stdout, result.stderr), (1, DIFFERENT, ""))

    def test_an_extra_column_is_fine(self):
        self.change("ALTER TABLE PEOPLE ADD COLUMN remark")
        result = self.run_tool(*self.match())
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertIn("-      remark        not in the dictionary\n", result.stdout)

    def test_the_advice_of_a_problem_helps(self):
        self.change("DROP INDEX PEOPLE_key_2; CREATE UNIQUE INDEX PEOPLE_key_2 ON PEOPLE (NAME)")
        result = self.run_tool(*self.match("--format", "json"))
        self.assertEqual((result.returncode, result.stderr), (1, ""))
        problems = json.loads(result.stdout)["problems"]
        self.assertEqual(problems, [
            'key 2 ("name"): index "PEOPLE_key_2" is unique, but the key allows duplicates; '
            'DROP INDEX "PEOPLE_key_2"; CREATE INDEX "PEOPLE_key_2" ON "PEOPLE" ("name") would '
            'make it'])
        self.change(problems[0].partition("; ")[2].removesuffix(" would make it"))
        self.expect(self.match(), 0, MATCH)

    def test_json(self):
        result = self.run_tool(*self.match("--format", "json"))
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        match = json.loads(result.stdout)
        self.assertEqual({name: match[name] for name in ("table", "agrees", "exact_records",
                                                         "problems")},
                         {"table": "PEOPLE", "agrees": True, "exact_records": True,
                          "problems": []})
        self.assertEqual(match["columns"][0],
                         {"field": "id", "table": "PEOPLE", "column": "id", "note": None})
        self.assertEqual(match["columns"][-1], {"field": None, "table": "PEOPLE",
                                                "column": "exact_record", "note": "exact record"})
        self.assertEqual(match["keys"][2],
                         {"key": 2, "what": "key 2", "table": "PEOPLE", "columns": ["name"],
                          "unique": False, "index": "PEOPLE_key_2"})

    def test_no_table(self):
        self.expect(["match", "plain", "--db", self.DB], 1, "",
                    'wbfsi match: --db sqlite:test.db: the database has no table "PLAIN"\n')

    def test_help_and_mistakes(self):
        result = self.run_tool("match", "--help")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertIn("--format FORMAT", result.stdout)
        self.expect(self.match("--format", "x"), 2, "",
                    'wbfsi match: --format: x not in {table,json}; "wbfsi match --help" shows the '
                    'usage\n')

    def test_no_database_and_no_dictionary(self):
        before = self.files()
        result = self.run_tool("match", "people", "--db", "sqlite:none.db")
        self.assertEqual((result.returncode, result.stdout), (2, ""))
        self.assertIn("(SQLite 14, E_MISSING_FILE)\n", result.stderr)
        self.assertEqual(self.files(), before)
        self.assertEqual(self.run_tool("match", "nobody", "--db", self.DB).returncode, 1)
        self.assertEqual(self.run_tool("match", "people").returncode, 2)


class ErrorNumbers(cli_test.Tool):
    def test_a_locked_database(self):
        self.write("data", b"0001one   ")
        connection = sqlite3.connect(self.path("test.db"), isolation_level=None)
        connection.execute("BEGIN EXCLUSIVE")
        connection.execute("CREATE TABLE other (a)")
        command = ["match", "plain", "--db", "sqlite:test.db"]
        result = self.run_tool(*command)
        self.assertEqual((result.returncode, result.stdout), (2, ""))
        self.assertTrue(result.stderr.endswith("database is locked (SQLite 5, E_REC_LOCKED)\n"),
                        result.stderr)
        connection.close()

    def test_the_map_of_a_site(self):
        self.write("text.db", b"no database " * 100)
        self.write("site.errmap", "[sqlite]\n26 E_MISMATCH\n")
        for path, name in (("", "E_BROKEN"), ("site.errmap", "E_MISMATCH"),
                           ("nothing", "E_SYS_ERROR")):
            with self.subTest(map=path):
                result = self.run_tool("match", "plain", "--db", "sqlite:text.db",
                                       WBFSI_ERROR_MAP=path and self.path(path))
                self.assertEqual((result.returncode, result.stdout, result.stderr), (
                    2, "", "wbfsi match: --db sqlite:text.db: database text.db: "
                    "file is not a database (SQLite 26, %s)\n" % name))

    def test_the_shipped_map_has_no_line_that_counts_for_nothing(self):
        shipped = os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(cli_test.WBFSI))),
                               "share", "wbfsi", "sqlite.errmap")
        result = self.run_tool("errmap", shipped)
        self.assertEqual((result.returncode, result.stderr), (0, ""))


if __name__ == "__main__":
    cli_test.WBFSI = os.path.abspath(sys.argv.pop(1))
    unittest.main()
