#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Fields with a null value, which dictionaries in XML form alone have: through load,
verify, cat and unload nothing is lost, whatever bytes the fields hold.

    null_values_test.py WBFSI
"""

import json
import os
import random
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import unittest

WBFSI = ""
DB = "sqlite:test.db"

# Name, bytes, type, digits, scale, null value, bytes that hold it, other bytes.
FIELDS = (
    ("TEXT", 6, 16, 6, 0, "none", b"none  ", b"text  "),
    ("BLANK", 4, 16, 4, 0, "SPACES", b"    ", b"x   "),
    ("HIGH", 3, 16, 3, 0, "HIGH-VALUES", b"\xff\xff\xff", b"abc"),
    ("LOW", 3, 1, 3, 0, "LOW-VALUES", b"\x00\x00\x00", b"012"),
    ("NOUGHT", 4, 1, 4, 0, "ZERO", b"0000", b"0001"),
    ("NINES", 5, 1, 5, -2, "+99999", b"99999", b"00150"),
    ("PACKED", 3, 9, 5, 0, "-00001", b"\x00\x00\x1d", b"\x12\x34\x5c"),
    ("BINARY", 4, 11, 9, 0, "+000000077", b"\x00\x00\x00\x4d", b"\x00\x00\x01\x00"),
    ("EMPTY", 2, 16, 2, 0, "", b"  ", b"no"),
    ("PLAIN", 3, 16, 3, 0, None, b"   ", b"abc"),
)
DATE = ("DAY", 8, 1, 8, 0, "00000000", b"00000000", b"20260131")
TIMES = 3


def field(offset, description, more=""):
    name, size, kind, digits, scale, null_value, _, _ = description
    if null_value is not None:
        more += f' xfd:field-null-value="{null_value}"'
    flags = 1 if name == "DAY" else 0
    return (f'<xfd:field xfd:field-offset="{offset}" xfd:field-bytes="{size}" '
            f'xfd:field-type="{kind}" xfd:field-length="{digits}" xfd:field-scale="{scale}" '
            f'xfd:field-user-flags="{flags}" xfd:field-condition="0" xfd:field-level="5" '
            f'xfd:field-name="{name}"{more}/>\n')


ID = ("ID", 4, 1, 4, 0, None, b"", b"")
GROUP = ("MARK", 2, 16, 2, 0, "--", b"--", b"ab")


def layout():
    """The fields with their offsets, and the size of the record."""
    offset = ID[1]
    text = field(0, ID)
    for description in FIELDS:
        text += field(offset, description)
        offset += description[1]
    text += field(offset, DATE, ' xfd:field-date-format="YYYYMMDD"')
    offset += DATE[1]
    text += (f'<xfd:field-occurs xfd:occurs-count="{TIMES}" xfd:occurs-size="{GROUP[1]}">\n'
             + field(offset, GROUP) + "</xfd:field-occurs>\n")
    return text, offset + TIMES * GROUP[1]


ITEMS, SIZE = layout()


def dictionary(organization, keys, sections=""):
    count = len(FIELDS) + 3
    total = count - 1 + TIMES
    return (f'<xfd:xfdfile xmlns:xfd="urn:wbfsi:xfd"><xfd:identification xfd:version="6">'
            f"<xfd:select-name>NULLS</xfd:select-name><xfd:table-name>NULLS</xfd:table-name>"
            f"<xfd:file-organization>{organization}</xfd:file-organization>"
            f"<xfd:maximum-record-size>{SIZE}</xfd:maximum-record-size>"
            f"<xfd:minimum-record-size>{SIZE}</xfd:minimum-record-size>"
            f"<xfd:number-of-keys>{keys}</xfd:number-of-keys></xfd:identification>{sections}"
            f'<xfd:fields xfd:elementary-items="{count}" '
            f'xfd:elementary-items-with-occurs="{total}" xfd:total-items="{count}" '
            f'xfd:total-items-with-occurs="{total}">\n{ITEMS}</xfd:fields></xfd:xfdfile>\n')


def key(size, offset, name, duplicates):
    return (f'<xfd:key xfd:segment-count="1" xfd:duplicates-allowed="{duplicates}">'
            f'<xfd:segments><xfd:segment xfd:segment-size="{size}" '
            f'xfd:segment-offset="{offset}"/></xfd:segments>'
            f'<xfd:key-columns xfd:key-column-count="1">'
            f'<xfd:key-column xfd:key-column-name="{name}"/></xfd:key-columns></xfd:key>')


# The second key's field has a null value, too.
INDEXED = dictionary("Indexed", 2, "<xfd:keys>" + key(4, 0, "ID", "false")
                     + key(6, 4, "TEXT", "true") + "</xfd:keys>")
SEQUENTIAL = dictionary("Sequential", 0)


def record(number, texts):
    return b"%04d" % number + b"".join(texts)


def records(pick):
    """One field after the other null, then all and none, then bytes of all kinds."""
    described = (*FIELDS, DATE) + (GROUP,) * TIMES
    nulls = [one[6] for one in described]
    others = [one[7] for one in described]
    made = [others[:i] + [nulls[i]] + others[i + 1:] for i in range(len(described))]
    made += [nulls, others]
    odd = [b" ", b"0", b"\x00", b"\xff", b"-", b"9"]
    for _ in range(300):
        made.append([pick.choice([one[6], one[7], pick.choice(odd) * one[1],
                                  bytes(pick.randrange(256) for _ in range(one[1]))])
                     for one in described])
    return b"".join(record(i, texts) for i, texts in enumerate(made))


class NullValues(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="wbfsi-")
        self.addCleanup(shutil.rmtree, self.folder)
        self.environment = {name: value for name, value in os.environ.items()
                            if not name.startswith(("XFD_", "4GL_", "PLEX_", "COBOL_"))}
        self.data = records(random.Random(7))

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, contents):
        with open(self.path(name), "wb") as file:
            file.write(contents)

    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def run_tool(self, *arguments, status=0):
        result = subprocess.run([WBFSI, *arguments], cwd=self.folder, check=False,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                env=self.environment)
        self.assertEqual(result.returncode, status, (arguments, result.stdout, result.stderr))
        return result.stdout.decode()

    def load(self, text):
        self.write("nulls.xfd", text.encode())
        self.write("nulls.dat", self.data)
        self.run_tool("load", "nulls", "nulls.dat", "--db", DB, "-q", "--record-format", "fixed")

    def sql(self, statement):
        connection = sqlite3.connect(self.path("test.db"))
        with connection:
            rows = connection.execute(statement).fetchall()
        connection.close()
        return rows

    def unloaded(self):
        self.run_tool("unload", "nulls", "out.dat", "--db", DB, "-q", "--record-format", "fixed")
        return self.read("out.dat")

    def test_every_byte_comes_back(self):
        for text in (INDEXED, SEQUENTIAL):
            with self.subTest(text[80:240]):
                self.load(text)
                self.assertEqual(self.unloaded(), self.data)
                # Random bytes are no numbers: status 1, though the table holds them.
                report = json.loads(self.run_tool("verify", "nulls", "nulls.dat", "--db", DB,
                                                  "--format", "json", "--record-format", "fixed",
                                                  status=1))
                compared = report["comparison"]
                self.assertEqual((compared["same"], compared["different"], compared["missing"],
                                  compared["extra"]), (len(self.data) // SIZE, 0, 0, 0))
                nulls = {one["name"]: one["null_value"] for one in report["fields"]}
                self.assertGreater(min(nulls[one[0].lower()] for one in (*FIELDS, DATE)
                                       if one[5] is not None), 0)
                self.assertEqual(nulls["plain"], 0)
                os.remove(self.path("test.db"))

    def test_the_column_is_null_where_the_field_holds_its_value(self):
        self.load(INDEXED)
        names = [one[0].lower() for one in (*FIELDS, DATE)]
        names += [f"mark_{i}" for i in range(1, TIMES + 1)]
        for i, name in enumerate(names):
            with self.subTest(name):
                alone = self.sql(f'SELECT "{name}" IS NULL FROM nulls WHERE id = {i}')[0][0]
                self.assertEqual(alone, 0 if name == "plain" else 1)
                none = self.sql(f'SELECT "{name}" IS NULL FROM nulls WHERE id = {len(names) + 1}')
                self.assertEqual(none, [(0,)])

    def test_null_set_by_sql_is_written_as_the_value(self):
        self.load(INDEXED)
        names = [one[0].lower() for one in (*FIELDS, DATE) if one[5] is not None]
        names += [f"mark_{i}" for i in range(1, TIMES + 1)]
        count = len((*FIELDS, DATE)) + TIMES
        changes = ", ".join(f'"{name}" = NULL' for name in names)
        self.sql(f"UPDATE nulls SET {changes} WHERE id = {count + 1}")
        expected = record(count + 1, [one[6] if one[5] is not None else one[7]
                                      for one in (*FIELDS, DATE) + (GROUP,) * TIMES])
        self.assertEqual(self.unloaded()[(count + 1) * SIZE:(count + 2) * SIZE], expected)

    def test_cat_prints_null(self):
        self.load(INDEXED)
        lines = self.run_tool("cat", "nulls", "nulls.dat", "--format", "json", "-q",
                              "--record-format", "fixed").rstrip("\n").split("\n")
        self.assertEqual(len(lines), len(self.data) // SIZE)
        described = (*FIELDS, DATE)
        all_null = json.loads(lines[len(described) + TIMES])
        none_null = json.loads(lines[len(described) + TIMES + 1])
        for name, *_, null_value, _, _ in described:
            with self.subTest(name):
                self.assertEqual(all_null[name.lower()] is None, null_value is not None)
                self.assertIsNotNone(none_null[name.lower()])

    def test_a_written_dictionary_keeps_them(self):
        self.load(INDEXED)
        written = self.run_tool("show", "nulls", "--format", "xml")
        self.assertEqual(written.count("xfd:field-null-value="), len(FIELDS) + 1)
        self.write("nulls.xfd", written.encode())
        self.assertEqual(self.unloaded(), self.data)
        self.run_tool("show", "nulls", "--format", "text", status=2)
        self.run_tool("convert", "nulls", "text.xfd", status=2)
        self.assertFalse(os.path.exists(self.path("text.xfd")))


if __name__ == "__main__":
    WBFSI = os.path.abspath(sys.argv.pop(1))
    unittest.main()
