#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Record files that COBOL programs write, through the tool and back.

A program (record_files.cob) writes a file of every form and prints what it put
into the records.  Checked, for each form:

  * `wbfsi load` brings the values that the program printed into the table;
  * `wbfsi unload` writes the program's file again, byte for byte;
  * the program reads the unloaded file and, writing what it read, makes the
    same file a second time.

    record_files_test.py WBFSI [OVERLAY]

OVERLAY is the folder of the 32-bit packages; with it the program is also built
for 32 bits, whose relative files have narrower slot headers.
"""

import os
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
WBFSI = ""
OVERLAY = ""
RECORD = 28

FIELDS = """\
3,3,3,3
0,4,1,4,0,0,0,5,ITEM_ID
4,8,4,7,-2,0,0,5,ITEM_AMOUNT
12,16,16,0,0,0,0,5,ITEM_NAME
"""


def dictionary(table, file_type, smallest=RECORD):
    keys = "1,0,4,0\n1\nITEM_ID\n" if file_type == 12 else ""
    return "XFD,06,%s,%s,%d\n%d,%d,%d\n0,18,46,44,0\n%s0\n%s" % (
        table, table, file_type, RECORD, smallest, 1 if keys else 0, keys, FIELDS)


DICTIONARIES = {
    "fixed": dictionary("FIXED", 4),
    "varying": dictionary("VARYING", 4, 4),
    "layouts": dictionary("LAYOUTS", 4, 16),
    "lines": dictionary("LINES", 5),
    "slots": dictionary("SLOTS", 8),
    "shortslots": dictionary("SHORTSLOTS", 8, 4),
    "indexed": dictionary("INDEXED", 12),
    "indexedvarying": dictionary("INDEXEDVARYING", 12, 4),
}


def read(path):
    with open(path, "rb") as file:
        return file.read()


class Program:
    """The COBOL program in one width, in a folder of its own."""

    def __init__(self, folder, bits):
        self.folder = folder
        self.slot_header = bits // 8
        self.environment = dict(os.environ)
        self.environment.pop("COB_VARSEQ_FORMAT", None)
        compiler = "cobc"
        if bits == 32:
            libraries = "%s/usr/lib/i386-linux-gnu" % OVERLAY
            both = "%s:%s/lib/i386-linux-gnu" % (libraries, OVERLAY)
            compiler = "%s/usr/bin/cobc" % OVERLAY
            self.environment.update(
                LD_LIBRARY_PATH=both,
                COB_CONFIG_DIR="%s/etc/gnucobol" % OVERLAY,
                COB_COPY_DIR="%s/usr/share/gnucobol/copy" % OVERLAY,
                COB_CC="gcc -m32",
                COB_CFLAGS="-m32 -pipe -I%s/usr/include -I%s/usr/include/i386-linux-gnu"
                           % (OVERLAY, OVERLAY),
                COB_LDFLAGS="-m32 -L%s -Wl,-rpath-link,%s" % (libraries, both),
                COB_LIBS="-L%s -lcob -lm" % libraries)
        subprocess.run([compiler, "-x", "-free", "-o", "record_files",
                        os.path.join(HERE, "record_files.cob")],
                       cwd=folder, env=self.environment, check=True)
        for name, text in DICTIONARIES.items():
            with open(os.path.join(folder, name + ".xfd"), "w", encoding="ascii") as file:
                file.write(text)

    def run(self, command, length_header=None):
        environment = dict(self.environment)
        if length_header is not None:
            environment["COB_VARSEQ_FORMAT"] = str(length_header)
        return subprocess.run(["./record_files", command], cwd=self.folder, env=environment,
                              check=True, stdout=subprocess.PIPE).stdout.decode("latin-1")


def wbfsi(folder, *arguments):
    return subprocess.run([WBFSI, *arguments, "--xfd-directory", "."], cwd=folder,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=False)


def printed_items(output, name):
    """(n, id, amount, name) of each record that the program printed for a file."""
    items = []
    for line in output.splitlines():
        if line.split(" ")[0] == name:
            words = line.split()
            items.append((int(words[1]), int(words[2]), words[3],
                          line[line.index("[") + 1:line.rindex("]")]))
    return items


class RecordFiles(unittest.TestCase):
    bits = 64

    @classmethod
    def setUpClass(cls):
        if cls.bits == 32 and not OVERLAY:
            raise unittest.SkipTest("no 32-bit packages given")
        cls.folder = tempfile.mkdtemp(prefix="wbfsi-")
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        cls.program = Program(cls.folder, cls.bits)
        cls.printed = cls.program.run("write")

    def path(self, name):
        return os.path.join(self.folder, name)

    def load(self, name, data, *options):
        if os.path.exists(self.path("test.db")):
            os.remove(self.path("test.db"))
        result = wbfsi(self.folder, "load", name, data, "--db", "sqlite:test.db", *options)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        return result.stdout

    def unload(self, name, data, *options):
        result = wbfsi(self.folder, "unload", name, data, "--db", "sqlite:test.db", *options)
        self.assertEqual((result.returncode, result.stderr), (0, ""))

    def rows(self, table, columns):
        connection = sqlite3.connect(self.path("test.db"))
        try:
            return connection.execute("SELECT %s FROM %s ORDER BY 1" % (columns, table)).fetchall()
        finally:
            connection.close()

    def assert_values(self, table, items):
        """Whole records: what the program printed is in the columns."""
        expected = sorted((ident, amount, name.rstrip(" ")) for _, ident, amount, name in items)
        self.assertGreater(len(expected), 0)
        self.assertEqual(self.rows(table, "item_id, item_amount, item_name"), expected)

    def test_fixed_length(self):
        self.load("fixed", "fixed.dat")
        self.assert_values("FIXED", printed_items(self.printed, "fixed"))
        self.unload("fixed", "fixed.back")
        self.assertEqual(read(self.path("fixed.back")), read(self.path("fixed.dat")))

    def test_indexed_from_fixed_length(self):
        self.load("indexed", "fixed.dat")
        self.assert_values("INDEXED", printed_items(self.printed, "fixed"))
        self.unload("indexed", "fixed.back")
        self.assertEqual(read(self.path("fixed.back")), read(self.path("fixed.dat")))

    def test_line_sequential(self):
        self.load("lines", "lines.dat")
        items = printed_items(self.printed, "lines")
        whole = [row for row in self.rows("LINES", "item_id, item_amount, item_name")
                 if row[0] is not None]
        self.assertEqual(whole, sorted((i, a, n.rstrip(" ")) for _, i, a, n in items))
        # The last record is all blank: no number, and an empty line.
        self.assertEqual(len(self.rows("LINES", "item_id")), len(items) + 1)
        self.assertTrue(read(self.path("lines.dat")).endswith(b"\n\n"))
        self.unload("lines", "lines.back")
        self.assertEqual(read(self.path("lines.back")), read(self.path("lines.dat")))

    def check_varying(self, name, table, data, *options):
        self.load(name, data, *options)
        items = printed_items(self.printed, os.path.splitext(data)[0])
        # A record that ends inside the name or in front of it still has its number.
        self.assertEqual([row[0] for row in self.rows(table, "item_id")],
                         sorted(ident for _, ident, _, _ in items))
        self.unload(name, "varying.back", *options)
        self.assertEqual(read(self.path("varying.back")), read(self.path(data)))

    def test_variable_length(self):
        self.check_varying("varying", "VARYING", "varying.dat")

    def test_variable_length_because_of_two_layouts(self):
        self.check_varying("layouts", "LAYOUTS", "layouts.dat")

    def test_indexed_from_variable_length(self):
        self.check_varying("indexedvarying", "INDEXEDVARYING", "varying.dat",
                           "--record-format", "variable")

    def test_every_length_header(self):
        for header in range(4):
            with self.subTest(header=header):
                self.program.run("write", header)
                written = read(self.path("varying.dat"))
                self.check_varying("varying", "VARYING", "varying.dat",
                                   "--length-header", str(header))
                self.copy_back("varying", "varying.back", header)
                self.assertEqual(read(self.path("varying.out")), written)
        self.program.run("write")

    def slots(self, name):
        data = read(self.path(name))
        size = self.program.slot_header + RECORD
        self.assertEqual(len(data) % size, 0)
        return [data[i:i + size] for i in range(0, len(data), size)]

    def test_relative(self):
        summary = self.load("slots", "slots.dat")
        items = [item for item in printed_items(self.printed, "slots") if item[0] != 5]
        self.assert_values("SLOTS", items)
        self.assertEqual([row[0] for row in self.rows("SLOTS", "record_number")],
                         [n * 4 for n, _, _, _ in items])
        self.assertIn("31 are empty, headers of %d bytes" % self.program.slot_header, summary)
        self.unload("slots", "slots.back", "--slot-header", str(self.program.slot_header))
        # All comes back but what the deleted record left in its slot.
        expected = self.slots("slots.dat")
        self.assertEqual(expected[19][:self.program.slot_header], bytes(self.program.slot_header))
        self.assertNotEqual(expected[19], bytes(len(expected[19])))
        self.assertIn("note: 1 empty slot held bytes of a deleted record", summary)
        expected[19] = bytes(len(expected[19]))
        self.assertEqual(self.slots("slots.back"), expected)

    def test_relative_with_short_records(self):
        self.load("shortslots", "shortslots.dat")
        self.assertEqual([row[0] for row in self.rows("SHORTSLOTS", "record_number")],
                         list(range(2, 21, 2)))
        self.unload("shortslots", "shortslots.back",
                    "--slot-header", str(self.program.slot_header))
        self.assertEqual(read(self.path("shortslots.back")), read(self.path("shortslots.dat")))

    def test_the_wrong_slot_header_is_refused(self):
        wrong = 12 - self.program.slot_header
        result = wbfsi(self.folder, "load", "slots", "slots.dat", "--db", "sqlite:wrong.db",
                       "--slot-header", str(wrong))
        self.assertEqual(result.returncode, 2)
        self.assertIn("slots.dat: record ", result.stderr)
        self.assertIn("--slot-header chooses between the two widths", result.stderr)
        self.assertFalse(os.path.exists(self.path("wrong.db")))

    def copy_back(self, name, back, length_header=None):
        for form in ("fixed", "varying", "lines", "slots"):
            shutil.copy(self.path(form + ".dat"), self.path(form + ".in"))
        shutil.copy(self.path(back), self.path(name + ".in"))
        self.program.run("copy", length_header)

    def test_the_program_reads_what_was_unloaded(self):
        for name in ("fixed", "varying", "lines", "slots"):
            with self.subTest(name=name):
                back = name + ".back"
                self.load(name, name + ".dat")
                self.unload(name, back, "--slot-header", str(self.program.slot_header))
                self.copy_back(name, back)
                self.assertEqual(read(self.path(name + ".out")), read(self.path(back)))


class RecordFilesOf32BitPrograms(RecordFiles):
    bits = 32


if __name__ == "__main__":
    WBFSI = os.path.abspath(sys.argv.pop(1))
    if len(sys.argv) > 1 and not sys.argv[1].startswith("-"):
        OVERLAY = os.path.abspath(sys.argv.pop(1))
    unittest.main()
