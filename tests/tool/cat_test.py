#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""`wbfsi cat`: whole outputs in every format, for record files of every form.

    cat_test.py WBFSI
"""

import csv
import decimal
import io
import json
import os
import pty
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest

WBFSI = ""
csv.field_size_limit(1 << 20)  # of the reader that checks; the tool has none


def dictionary(fields, file_type=4, size=0, smallest=None, keys=(), conditions=(), encoding=0):
    """The text of a dictionary; a field is a line without its offset where that follows."""
    lines = []
    offset = 0
    for field in fields:
        lines.append("%d,%s" % (offset, field))
        offset += int(field.split(",")[0])
    size = size or offset
    key_lines = []
    for segments, names in keys:
        key_lines.append("%d,0,%s" % (len(segments), ",".join("%d,%d" % s for s in segments)))
        key_lines += ["%d" % len(names), *names]
    return "\n".join(["XFD,06,TEST,TEST,%d" % file_type,
                      "%d,%d,%d" % (size, size if smallest is None else smallest, len(keys)),
                      "0,18,46,44,%d" % encoding, *key_lines, "%d" % len(conditions), *conditions,
                      "%d,%d,%d,%d" % ((len(lines),) * 4), *lines, ""])


def display(number, digits):
    return b"%0*d" % (digits, number)


def packed(number, digits):
    text = "%0*d%s" % (digits // 2 * 2 + 1, abs(number), "d" if number < 0 else "c")
    return bytes.fromhex(text)


# A key of two columns, an amount, a text.
ITEMS = dictionary(["4,1,4,0,0,0,5,ID", "2,16,0,0,0,0,5,KIND", "4,9,7,-2,0,0,5,AMOUNT",
                    "8,16,0,0,0,0,5,NAME"], 12, keys=[(((4, 0), (2, 4)), ("ID", "KIND")),
                                                      (((2, 4),), ("KIND",))])


def item(number, kind, amount, name):
    return display(number, 4) + kind.ljust(2) + packed(amount, 7) + name.ljust(8)


FOUR = (item(1, b"A", 123456, b"pipe") + item(2, b"B", -5, b'12" rod') +
        item(2, b"C", 0, b"") + item(30, b"A", 100, b"a,b\nc"))


class Cat(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="wbfsi-")
        self.addCleanup(shutil.rmtree, self.folder)
        self.environment = {name: value for name, value in os.environ.items()
                            if not name.startswith(("XFD_", "4GL_", "COBOL_", "FILE_TRACE",
                                                    "PLEX_", "NO_COLOR"))}
        self.write("test.xfd", ITEMS)
        self.write("data", FOUR)

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, contents):
        with open(self.path(name), "wb") as file:
            file.write(contents if isinstance(contents, bytes) else contents.encode("latin-1"))

    def run_tool(self, *arguments):
        return subprocess.run([WBFSI, "cat", *arguments], cwd=self.folder, check=False,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                              env=self.environment)

    def cat(self, *arguments):
        """The output of a run that has nothing to complain about."""
        result = self.run_tool("test", "data", "--quiet", *arguments)
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        return result.stdout.decode("utf-8")

    def refused(self, *arguments):
        result = self.run_tool("test", "data", *arguments)
        self.assertEqual((result.returncode, result.stdout), (2, b""))
        return result.stderr.decode("utf-8")

    def csv_rows(self, *arguments):
        return list(csv.reader(io.StringIO(self.cat("--format", "csv", *arguments), newline="")))

    def json_rows(self, *arguments):
        output = self.cat("--format", "json", *arguments)
        self.assertTrue(output.endswith("\n") or output == "")
        return [json.loads(line, parse_float=decimal.Decimal) for line in output.split("\n")[:-1]]


class Formats(Cat):
    def test_csv(self):
        self.assertEqual(self.cat("--format", "csv"),
                         'id,kind,amount,name\n1,A,1234.56,pipe\n2,B,-0.05,"12"" rod"\n'
                         '2,C,0.00,""\n30,A,1.00,"a,b\nc"\n')

    def test_json(self):
        self.assertEqual(self.cat("--format", "json"),
                         '{"id":1,"kind":"A","amount":1234.56,"name":"pipe"}\n'
                         '{"id":2,"kind":"B","amount":-0.05,"name":"12\\" rod"}\n'
                         '{"id":2,"kind":"C","amount":0.00,"name":""}\n'
                         '{"id":30,"kind":"A","amount":1.00,"name":"a,b\\nc"}\n')

    def test_table(self):
        self.assertEqual(self.cat("--format", "table"),
                         "#  id  kind   amount  name\n"
                         "1   1  A     1234.56  pipe\n"
                         '2   2  B       -0.05  12" rod\n'
                         "3   2  C        0.00\n"
                         "4  30  A        1.00  a,b\\x0Ac\n")

    def test_fields(self):
        self.assertEqual(self.cat("--format", "fields", "--records", "2-3"),
                         "record 2 at byte 18\n  id     = 2\n  kind   = B\n  amount = -0.05\n"
                         '  name   = 12" rod\n'
                         "record 3 at byte 36\n  id     = 2\n  kind   = C\n  amount = 0.00\n"
                         "  name   =\n")

    def test_a_file_without_records(self):
        self.write("data", b"")
        for name, output in (("csv", "id,kind,amount,name\n"), ("json", ""), ("fields", ""),
                             ("table", "#  id  kind  amount  name\n")):
            with self.subTest(format=name):
                self.assertEqual(self.cat("--format", name), output)

    def test_csv_is_for_what_is_no_terminal(self):
        self.assertEqual(self.cat(), self.cat("--format", "csv"))

    def test_a_later_cell_widens_its_column_from_there_on(self):
        self.write("test.xfd", dictionary(["6,16,0,0,0,0,5,NAME", "1,16,0,0,0,0,5,X"]))
        self.write("data", b"a     b" * 50 + b"longerb" + b"a     b")
        lines = self.cat("--format", "table").splitlines()
        self.assertEqual(lines[:2] + lines[50:],
                         ["# name  x".replace("# ", " #  "), " 1  a     b", "50  a     b",
                          "51  longer  b", "52  a       b"])

    def test_long_texts_are_cut_with_a_mark_unless_wide(self):
        self.write("test.xfd", dictionary(["60,16,0,0,0,0,5,NAME"]))
        for text, shown in ((b"x" * 40, "x" * 40), (b"x" * 41, "x" * 39 + "\u2026"),
                            (b"\xe9" * 60, "\u00e9" * 39 + "\u2026")):
            with self.subTest(text=text):
                self.write("data", text.ljust(60))
                self.assertEqual(self.cat("--format", "table"), "#  name\n1  %s\n" % shown)
                self.assertEqual(self.cat("--format", "table", "--wide"),
                                 "#  name\n1  %s\n" % text.decode("latin-1"))


class EveryByte(Cat):
    """Texts of any bytes come out of CSV and JSON as they are, or as their bytes."""

    def expected(self, text):
        """What a field of ten bytes is: its text, or its bytes when it has none."""
        padded = text.ljust(10)
        kept = padded.rstrip(b" \0")
        if b"\0" in kept or (not kept and b"\0" in padded):
            return padded
        return padded.rstrip(b" ").decode("latin-1")

    def test_every_byte(self):
        texts = [place % bytes([byte]) for byte in range(256)
                 for place in (b"A%sB", b"%s", b"%sA", b"A%s", b"A %s ")]
        texts += [b"hex:41", b"text:hex:", b"text:tex", b"hex", b"hex:\"", b'"', b'""', b" ",
                  b"a\0 \0", b" \0", b"\0" * 10, b"a\0b", b"\\u0041", b"\r\n"]
        self.write("test.xfd", dictionary(["10,16,0,0,0,0,5,TEXT", "2,1,2,0,0,0,5,N"]))
        self.write("data", b"".join(text.ljust(10) + b"07" for text in texts))
        expected = [self.expected(text) for text in texts]

        def from_csv(text):
            if text.startswith("hex:"):
                return bytes.fromhex(text[4:])
            unmarked = text
            while unmarked.startswith("text:"):
                unmarked = unmarked[5:]
            return text[5:] if unmarked.startswith("hex:") else text

        rows = self.csv_rows()
        self.assertEqual(rows[0], ["text", "n"])
        self.assertEqual([from_csv(row[0]) for row in rows[1:]], expected)
        self.assertEqual({row[1] for row in rows[1:]}, {"7"})

        def from_json(value):
            return value if isinstance(value, str) else bytes.fromhex(value["hex"])

        self.assertEqual([from_json(row["text"]) for row in self.json_rows()], expected)

    def test_texts_of_any_length(self):
        for size in [1, 2, *range(14, 19), 31, 32, 33, 4080, 4081, 4082, 4096, 65535, 65536, 65537, 200000]:
            for last in (b"x", b",", b'"', b"\xe9"):
                with self.subTest(size=size, last=last):
                    self.write("test.xfd", dictionary(["%d,16,0,0,0,0,5,T" % size,
                                                       "3,23,0,0,0,0,5,B"]))
                    text = b"a" * (size - 1) + last
                    self.write("data", text + b"\1\2\3" + text[::-1] + b"\3\2\1")
                    shown = text.decode("latin-1")
                    self.assertEqual(self.csv_rows()[1:],
                                     [[shown, "010203"], [shown[::-1], "030201"]])
                    self.assertEqual([row["t"] for row in self.json_rows()], [shown, shown[::-1]])

    def test_bytes_without_a_character_are_illegal(self):
        self.write("test.xfd", dictionary(["4,16,0,0,0,0,5,TEXT"]))
        self.write("data", b"a\xffb " + "\u00e9\u20ac".encode("utf-8")[:4] + b"\xc3\xa9  ")
        arguments = ("--set", "COBOL_CODE_PAGE=65001")
        self.assertEqual([row[0] for row in self.csv_rows(*arguments)[1:]],
                         ["hex:61FF6220", "hex:C3A9E282", "\u00e9"])
        self.assertEqual([row["text"] for row in self.json_rows(*arguments)],
                         [{"illegal": "bad text", "hex": "61FF6220"},
                          {"illegal": "bad text", "hex": "C3A9E282"}, "\u00e9"])

    def test_no_terminal_sees_a_control_character(self):
        self.write("test.xfd", dictionary(["8,16,0,0,0,0,5,TEXT"]))
        self.write("data", b"".join(b"a%sb     " % bytes([byte]) for byte in range(1, 256)))
        for name in ("table", "fields"):
            output = self.cat("--format", name)
            self.assertEqual({c for c in output if not c.isprintable()} - {"\xa0", "\xad"}, {"\n"})
            self.assertIn("a\\x1Bb", output)
            self.assertIn("a\\x9Bb", output)


class Storages(Cat):
    def test_every_storage(self):
        rows = (
            ("5,1,5,0,0,0,5,A", b"00420", "420", 420),
            ("5,1,5,-2,0,0,5,A", b"00420", "4.20", decimal.Decimal("4.20")),
            ("3,1,3,2,0,0,5,A", b"042", "4200", 4200),
            ("18,1,18,0,0,0,5,A", b"9" * 18, "9" * 18, int("9" * 18)),
            ("18,1,18,-18,0,0,5,A", b"0" * 17 + b"1", "0." + "0" * 17 + "1",
             decimal.Decimal("0." + "0" * 17 + "1")),
            ("30,1,30,-3,0,0,5,A", b"1" * 30, "1" * 27 + ".111",
             decimal.Decimal("1" * 27 + ".111")),
            ("4,2,3,0,0,0,5,A", b"042-", "-42", -42),
            ("3,3,3,0,0,0,5,A", b"04r", "-42", -42),
            ("4,4,3,0,0,0,5,A", b"-042", "-42", -42),
            ("3,5,3,0,0,0,5,A", b"p42", "-42", -42),
            ("4,6,3,0,0,0,5,A", b"\0\4\2\x0d", "-42", -42),
            ("3,7,3,0,0,0,5,A", b"\0\4\2", "42", 42),
            ("2,8,3,0,0,0,5,A", b"\x04\x2f", "42", 42),
            ("2,9,3,0,0,0,5,A", b"\x04\x2d", "-42", -42),
            ("2,10,4,0,0,0,5,A", b"\x00\x42", "42", 42),
            ("4,11,9,0,0,0,5,A", struct.pack(">i", -42), "-42", -42),
            ("8,12,18,0,0,0,5,A", struct.pack(">Q", 10 ** 17), "1" + "0" * 17, 10 ** 17),
            ("2,13,4,-1,0,0,5,A", struct.pack("<h", -42), "-4.2", decimal.Decimal("-4.2")),
            ("4,14,9,0,0,0,5,A", struct.pack("<I", 42), "42", 42),
            ("4,32,9,0,0,0,5,A", struct.pack("<i", -42), "-42", -42),
            ("4,33,9,0,0,0,5,A", struct.pack("<I", 42), "42", 42),
            ("4,16,0,0,0,0,5,A", b"ab  ", "ab", "ab"),
            ("4,17,0,0,0,0,5,A", b"  ab", "ab", "ab"),
            ("4,18,0,0,0,0,5,A", b" ab ", " ab", " ab"),
            ("4,22,0,0,0,0,5,A", b"a\tb ", "a\tb", "a\tb"),
            ("4,23,0,0,0,0,5,A", struct.pack("<f", 0.1), "0.1", decimal.Decimal("0.1")),
            ("8,23,0,0,0,0,5,A", struct.pack("<d", 0.1), "0.1", decimal.Decimal("0.1")),
            ("8,23,0,0,0,0,5,A", struct.pack("<d", float("-inf")), "-inf", {"number": "-inf"}),
            ("6,24,0,0,0,0,5,A", "\u20aca ".encode("utf-16-le"), "\u20aca", "\u20aca"),
            ("6,25,0,0,0,0,5,A", " \u20aca".encode("utf-16-le"), "\u20aca", "\u20aca"),
            ("3,23,0,0,0,0,5,A", b"\x00\xab\xff", "00ABFF", {"hex": "00ABFF"}),
        )
        for field, contents, in_csv, in_json in rows:
            with self.subTest(field=field, contents=contents):
                self.write("test.xfd", dictionary([field]))
                self.write("data", contents)
                self.assertEqual(self.csv_rows(), [["a"], [in_csv]])
                self.assertEqual(self.json_rows(), [{"a": in_json}])


    def test_what_is_no_number(self):
        self.write("test.xfd", dictionary(["8,23,0,0,0,0,5,R", "6,24,0,0,0,0,5,N"]))
        self.write("data", struct.pack("<d", float("nan")) + b"a\0\0\xd8 \0")
        self.assertEqual(self.cat("--format", "json"),
                         '{"r":{"illegal":"bad number","hex":"000000000000F87F"},'
                         '"n":{"illegal":"bad text","hex":"610000D82000"}}\n')
        self.assertEqual(self.cat("--format", "csv"),
                         "r,n\nhex:000000000000F87F,hex:610000D82000\n")


class SubTables(Cat):
    """Fields of a table of their own stand beside the others, with their subscripts."""

    def setUp(self):
        super().setUp()
        self.write("test.xfd", """\
XFD,06,ORDERS,ORDERS,4
10,10,0
0,18,46,44,0
0
3,5,3,5
0,2,16,0,0,0,0,5,ID
90001,2,4,"START OCCURS",LINES
2,2,16,0,0,0,0,5,ITEM
90001,2,1,"START OCCURS",SIZES
4,1,16,0,0,0,0,5,S
90002,"END OCCURS"
90002,"END OCCURS"
""".replace("3,5,3,5", "3,7,3,7"))
        self.write("data", b"aa11xy22zu")

    def test_names_have_subscripts(self):
        self.assertEqual(self.cat("--format", "json"),
                         '{"id":"aa","item(1)":"11","item(2)":"22","s(1,1)":"x","s(1,2)":"y",'
                         '"s(2,1)":"z","s(2,2)":"u"}\n')
        self.assertEqual(self.csv_rows()[0], ["id", "item(1)", "item(2)", "s(1,1)", "s(1,2)",
                                              "s(2,1)", "s(2,2)"])

    def test_a_name_without_subscripts_means_all(self):
        self.assertEqual(self.cat("--fields", "S(1,2),item"),
                         '"s(1,2)",item(1),item(2)\ny,11,22\n')
        self.assertIn('there is no field "item(3)"; there is item(1), item(2)',
                      self.refused("--fields", "item(3)"))


class Choice(Cat):
    def ids(self, *arguments):
        return [" ".join(row) for row in self.csv_rows("--fields", "id,kind", *arguments)[1:]]

    def test_fields_in_the_order_asked_for(self):
        self.assertEqual(self.csv_rows("--fields", "NAME, id", "--limit", "1"),
                         [["name", "id"], ["pipe", "1"]])

    def test_an_unknown_field_lists_those_that_are_like_it(self):
        for asked, text in (("nmae", 'there is no field "nmae"; there is name'),
                            ("id,zzzzzzzzz", 'there is no field "zzzzzzzzz"; the file has id, kind, '
                                             'amount, name'),
                            ("id,", 'there is no field ""; there is id')):
            with self.subTest(asked=asked):
                self.assertEqual(self.refused("--fields", asked),
                                 "wbfsi cat: --fields %s: %s\n" % (asked, text))

    def test_hidden_fields(self):
        self.write("test.xfd", dictionary(["1,16,0,0,0,0,5,A", "1,16,0,0,32,0,5,B"]))
        self.write("data", b"xy")
        self.assertEqual(self.cat(), "a\nx\n")
        self.assertEqual(self.cat("--all"), "a,b\nx,y\n")
        self.assertEqual(self.cat("--fields", "b"), "b\ny\n")

    def test_records_by_number(self):
        for ranges, expected in (("2", "2 B"), ("2-3", "2 B,2 C"), ("-2", "1 A,2 B"),
                                 ("3-", "2 C,30 A"), ("4,1", "1 A,30 A"), ("1-1,1-2,2", "1 A,2 B"),
                                 ("9-", ""), ("1-3,2", "1 A,2 B,2 C")):
            with self.subTest(ranges=ranges):
                self.assertEqual(",".join(self.ids("--records", ranges)), expected)
        for ranges in ("0", "x", "3-2", "-", "1,", "1-2-3", "99999999999999999999"):
            with self.subTest(ranges=ranges):
                self.assertIn("names no records", self.refused("--records=" + ranges))

    def test_limit(self):
        self.assertEqual(self.ids("--limit", "2"), ["1 A", "2 B"])
        self.assertEqual(self.ids("--limit", "0"), [])
        self.assertEqual(self.ids("--records", "2-", "--limit", "1"), ["2 B"])

    def test_an_error_behind_the_limit_is_not_met(self):
        self.write("data", FOUR + b"x")
        self.assertEqual(self.ids("--limit", "4"), ["1 A", "2 B", "2 C", "30 A"])
        self.assertEqual(self.ids("--records", "4"), ["30 A"])


class Keys(Cat):
    def ids(self, *arguments):
        return ",".join(" ".join(row) for row in self.csv_rows("--fields", "id,kind", *arguments)[1:])

    def test_ranges_of_the_primary_key(self):
        for text, expected in (
                ("2", "2 B,2 C"), ("2,B", "2 B"), ("2,C..30,A", "2 C,30 A"), ("..2", "1 A,2 B,2 C"),
                ("2,C..", "2 C,30 A"), ("..", "1 A,2 B,2 C,30 A"), ("3..29", ""), ("30..1", ""),
                ('2,"B".."0030"', "2 B,2 C,30 A"), ('2,""..2,B', "2 B")):
            with self.subTest(key=text):
                self.assertEqual(self.ids("--key", text), expected)

    def test_another_key(self):
        self.assertEqual(self.ids("--key-number", "1", "--key", "A..B"), "1 A,2 B,30 A")

    def test_quotes_hold_commas_points_and_quotes(self):
        self.write("test.xfd", dictionary(["3,16,0,0,0,0,5,ID"], 12,
                                          keys=[(((3, 0),), ("ID",))]))
        self.write("data", b"a,b" + b"c.." + b'"d ')
        for text, number in (('"a,b"', "1"), ('"c.."', "2"), ('"""d"', "3"), ('b.."c.."', "2")):
            with self.subTest(key=text):
                self.assertEqual(self.cat("--key", text, "--format", "fields").split(" ")[1],
                                 number)

    def test_every_type_of_column(self):
        for field, low, high in (
                ("2,9,3,0,0,0,5,ID", (packed(7, 3), "7"), (packed(400, 3), "400")),
                ("4,11,9,-2,0,0,5,ID", (struct.pack(">i", 125), "1.25"),
                 (struct.pack(">i", 12500), "125.00")),
                ("8,1,8,0,1,0,5,ID,YYYYMMDD", (b"20240229", "2024-02-29"),
                 (b"20240301", "2024-03-01")),
                ("3,23,0,0,0,0,5,ID", (b"\0\xab\1", "00AB01"), (b"\0\xab\2", "00ab02"))):
            with self.subTest(field=field):
                size = int(field.split(",")[0])
                self.write("test.xfd", dictionary([field], 12, keys=[(((size, 0),), ("ID",))]))
                self.write("data", low[0] + high[0])
                for key, records in ((low[1], [1]), (high[1] + "..", [2]), ("..%s" % high[1], [1, 2]),
                                     ("%s..%s" % (low[1], high[1]), [1, 2])):
                    output = self.cat("--key", key, "--format", "fields")
                    self.assertEqual([int(line.split(" ")[1]) for line in output.splitlines()
                                      if line.startswith("record")], records)

    def test_mistakes(self):
        for arguments, text in (
                (("--key", "x"), '--key x: column "id" holds'),
                (("--key", "12345"), '--key 12345: column "id" holds'),
                (("--key", "1,A,2"), "--key 1,A,2: has 3 values; the key has 2 columns"),
                (("--key", "1..2..3"), '--key 1..2..3: has ".." twice'),
                (("--key", '"1'), '--key "1: a double quote is not closed'),
                (("--key", "1", "--key-number", "2"),
                 "--key-number 2: the file's last key is number 1")):
            with self.subTest(arguments=arguments):
                self.assertIn(text, self.refused(*arguments))
        self.write("test.xfd", dictionary(["18,16,0,0,0,0,5,ID"]))
        self.assertIn("the file has no keys; --records chooses by number",
                      self.refused("--key", "1"))


class Conditions(Cat):
    """Records of three kinds: 1 holds for A, 2 for B, 3 for either, 4 for no other."""

    FIELDS = ["1,16,0,0,0,0,5,KIND", "3,1,3,0,0,1,5,COUNT", "0,16,0,0,0,0,5,NONE"]
    RULES = ("1,1,KIND,A", "2,1,KIND,B", "3,9,1,2", "4,3,KIND")

    def setUp(self):
        super().setUp()
        lines = dictionary(self.FIELDS, conditions=self.RULES).split("\n")
        # The fields of the conditions share their bytes.
        lines[-2:] = ["1,3,16,0,0,0,2,5,WORD", "1,3,16,0,0,0,3,5,BOTH", ""]
        text = "\n".join(lines).replace("3,3,3,3", "4,4,4,4")
        self.write("test.xfd", text)
        self.write("data", b"A042" + b"Bxyz" + b"C   " + b"Ax,y")

    def test_csv(self):
        self.assertEqual(self.cat("--format", "csv"),
                         "kind,count,word,both\nA,42,,042\nB,,xyz,xyz\nC,,,\n"
                         'A,hex:782C79,,"x,y"\n')

    def test_json_leaves_out_what_does_not_exist(self):
        self.assertEqual(self.cat("--format", "json"),
                         '{"kind":"A","count":42,"both":"042"}\n'
                         '{"kind":"B","word":"xyz","both":"xyz"}\n{"kind":"C"}\n'
                         '{"kind":"A","count":{"illegal":"bad number","hex":"782C79"},'
                         '"both":"x,y"}\n')

    def test_table(self):
        self.assertEqual(self.cat("--format", "table"),
                         "#  kind                count  word  both\n"
                         "1  A                      42        042\n"
                         "2  B" + " " * 26 + "xyz   xyz\n"
                         "3  C\n"
                         "4  A     <bad number 782C79>        x,y\n")

    def test_fields(self):
        self.assertEqual(self.cat("--format", "fields"),
                         "record 1 at byte 0, conditions 1 and 3\n  kind  = A\n  count = 42\n"
                         "  both  = 042\n"
                         "record 2 at byte 4, conditions 2 and 3\n  kind  = B\n  word  = xyz\n"
                         "  both  = xyz\n"
                         "record 3 at byte 8, condition 4\n  kind  = C\n"
                         "record 4 at byte 12, conditions 1 and 3\n  kind  = A\n"
                         "  count = <bad number 782C79>\n  both  = x,y\n")

    def test_where_a_condition_holds(self):
        for condition, kinds in (("1", "AA"), ("2", "B"), ("3", "ABA"), ("4", "C"), ("0", "ABCA")):
            with self.subTest(condition=condition):
                rows = self.csv_rows("--fields", "kind", "--where-condition", condition)[1:]
                self.assertEqual("".join(row[0] for row in rows), kinds)
        for condition in ("5", "-1"):
            self.assertIn("--where-condition %s: the file has conditions 1 to 4" % condition,
                          self.refused("--where-condition=" + condition))

    def test_the_summary_counts_illegal_data_and_records_of_no_kind(self):
        self.assertEqual(self.run_tool("test", "data").stderr.decode(),
                         "data: 4 records, 1 with illegal data\n")
        self.write("test.xfd", dictionary(["1,16,0,0,0,0,5,KIND"], conditions=("1,1,KIND,A",)))
        self.write("data", b"ABA")
        self.assertEqual(self.run_tool("test", "data").stderr.decode(),
                         "data: 3 records, 1 for which no condition holds\n")


class Nulls(Cat):
    def test_dates(self):
        self.write("test.xfd", dictionary(["8,1,8,0,1,0,5,BORN,YYYYMMDD", "6,1,6,0,1,0,5,AT,HHNNSS"]))
        self.write("data", b"20240229235959" + b"00000000010203" + b"20230229246060" +
                   b" " * 14 + b"\0" * 14)
        self.assertEqual(self.json_rows()[:2], [{"born": "2024-02-29", "at": "23:59:59"},
                                                {"born": None, "at": "01:02:03"}])
        self.assertEqual(self.csv_rows()[1:4],
                         [["2024-02-29", "23:59:59"], ["", "01:02:03"],
                          ["hex:" + b"20230229".hex(), "hex:" + b"246060".hex()]])
        lines = self.cat("--format", "table").splitlines()
        self.assertEqual(lines[2].split(), ["2", "<null>", "01:02:03"])
        self.assertEqual(lines[3], "3  <bad date 3230323330323239>  <bad date 323436303630>")

    def test_illegal_numbers(self):
        self.write("test.xfd", dictionary(["3,1,3,0,0,0,5,N"]))
        for contents, name in ((b"   ", "spaces"), (b"\0\0\0", "low-values"),
                               (b"\xff\xff\xff", "high-values"), (b"1x2", "bad number 317832")):
            with self.subTest(contents=contents):
                self.write("data", contents)
                self.assertEqual(self.cat("--format", "table").splitlines()[1], "1  <%s>" % name)
                self.assertEqual(self.json_rows(),
                                 [{"n": {"illegal": " ".join(name.split()[:2]) if "bad" in name
                                         else name, "hex": contents.hex().upper()}}])

    def test_a_whole_text_of_low_values(self):
        self.write("test.xfd", dictionary(["3,16,0,0,0,0,5,T"]))
        self.write("data", b"\0\0\0")
        self.assertEqual(self.cat("--format", "csv"), "t\nhex:000000\n")


class Files(Cat):
    FIELDS = ["1,1,1,0,0,0,5,N", "3,16,0,0,0,0,5,T"]

    def test_every_form(self):
        rows = (
            ("fixed", 4, 4, b"1abc2de 3   ", (0, 4, 8)),
            ("line", 5, 4, b"1abc\n2de\n3\n", (0, 5, 9)),
            ("relative", 8, 1, b"".join(struct.pack("<Q", n) + text.ljust(4) for n, text in
                                        ((4, b"1abc"), (0, b""), (3, b"2de"), (1, b"3"))),
             (0, 24, 36)),
            ("variable", 4, 1, b"\0\4\0\0001abc\0\3\0\0002de\0\1\0\0003", (0, 8, 15)),
        )
        for name, file_type, smallest, contents, offsets in rows:
            with self.subTest(form=name):
                self.write("test.xfd", dictionary(self.FIELDS, file_type, smallest=smallest))
                self.write("data", contents)
                # Of a record that ends in front of a field there is no value.
                last = '""' if smallest == 4 else ""
                self.assertEqual(self.cat(), "n,t\n1,abc\n2,de\n3,%s\n" % last)
                numbers = (1, 3, 4) if name == "relative" else (1, 2, 3)
                self.assertEqual([line for line in self.cat("--format", "fields").splitlines()
                                  if line.startswith("record")],
                                 ["record %d at byte %d" % place
                                  for place in zip(numbers, offsets)])

    def test_fields_behind_the_end(self):
        self.write("test.xfd", dictionary(self.FIELDS, 4, smallest=1))
        self.write("data", b"\0\1\0\0007")
        self.assertEqual(self.cat("--format", "json"), '{"n":7}\n')
        self.assertEqual(self.cat("--format", "fields"),
                         "record 1 at byte 0\n  n = 7\n  t = <behind the end>\n")

    def test_an_error_names_the_record_and_the_byte(self):
        self.write("data", FOUR + b"short")
        for name, start in (("csv", "id,kind"), ("table", "#  id"), ("json", "{")):
            result = self.run_tool("test", "data", "--format", name)
            self.assertEqual(result.returncode, 2)
            self.assertTrue(result.stdout.decode().startswith(start))
            self.assertIn(b"30", result.stdout, "the records in front of the error")
            self.assertIn(b"wbfsi cat: data: record 5 at byte 72: the file ends after 5 of",
                          result.stderr)

    def test_what_is_missing(self):
        self.assertIn("none: cannot be opened: No such file",
                      self.run_tool("test", "none").stderr.decode())
        self.assertEqual(self.run_tool("nothing", "data").returncode, 1)


class Streams(Cat):
    def test_the_summary_is_on_the_error_output(self):
        for arguments, text in (((), "data: 4 records\n"), (("--limit", "1"), "data: 1 record\n"),
                                (("--records", "2,4"), "data: 2 records of 4 read\n")):
            self.assertEqual(self.run_tool("test", "data", *arguments).stderr.decode(), text)

    def test_a_broken_pipe_ends_quietly(self):
        self.write("data", FOUR * 100000)
        for ignores_the_signal in (False, True):
            with subprocess.Popen([WBFSI, "cat", "test", "data"], cwd=self.folder,
                                  stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                  env=self.environment,
                                  restore_signals=not ignores_the_signal) as process:
                self.assertEqual(process.stdout.readline(), b"id,kind,amount,name\n")
                process.stdout.close()
                self.assertEqual(process.stderr.read(), b"")
                self.assertEqual(process.wait(), 0 if ignores_the_signal else -13)

    def test_an_output_that_takes_nothing_is_an_error(self):
        with open("/dev/full", "wb") as full:
            result = subprocess.run([WBFSI, "cat", "test", "data"], cwd=self.folder, stdout=full,
                                    stderr=subprocess.PIPE, env=self.environment, check=False)
        self.assertEqual((result.returncode, result.stderr.decode()),
                         (2, "wbfsi cat: the output cannot be written: No space left on device\n"))

    def test_memory_stays_flat(self):
        def peak(records):
            self.write("data", FOUR * (records // 4))
            report = self.path("report")
            script = ("import resource, subprocess, sys\n"
                      "subprocess.run(sys.argv[2:], stdout=subprocess.DEVNULL, check=True)\n"
                      "usage = resource.getrusage(resource.RUSAGE_CHILDREN)\n"
                      "open(sys.argv[1], 'w').write(str(usage.ru_maxrss))\n")
            subprocess.run([sys.executable, "-c", script, report, WBFSI, "cat", "test", "data",
                            "-q", "--format", "table"], cwd=self.folder, check=True,
                           env=self.environment)
            with open(report, encoding="ascii") as file:
                return int(file.read())

        # Kilobytes; the file grows by 14 MB.
        self.assertLess(peak(840000) - peak(40000), 4096)


def on_a_terminal(arguments, environment, folder):
    """What a run writes to a terminal that is its output."""
    master, slave = pty.openpty()
    with subprocess.Popen([WBFSI, "cat", *arguments], cwd=folder, stdout=slave,
                          stderr=subprocess.DEVNULL, env=environment) as process:
        os.close(slave)
        output = b""
        while True:
            try:
                block = os.read(master, 4096)
            except OSError:
                break
            if not block:
                break
            output += block
        process.wait()
    os.close(master)
    return output.replace(b"\r\n", b"\n").decode()


class Colours(Cat):
    FIELDS = ["3,1,3,0,0,0,5,N", "1,16,0,0,0,0,5,T"]
    TABLE = "#         n  t\n1         1  a\n2  %s<spaces>%s  b\n"

    def setUp(self):
        super().setUp()
        self.write("test.xfd", dictionary(self.FIELDS))
        self.write("data", b"001a   b")
        self.plain = self.TABLE % ("", "")
        self.red = self.TABLE % ("\x1b[31m", "\x1b[0m")
        self.environment["TERM"] = "xterm"

    def test_on_a_terminal_alone(self):
        arguments = ["test", "data"]
        self.assertEqual(on_a_terminal(arguments, self.environment, self.folder), self.red)
        self.assertEqual(self.cat("--format", "table"), self.plain)
        self.assertEqual(self.cat("--format", "csv"), "n,t\n1,a\nhex:202020,b\n")

    def test_as_told(self):
        for variable, value, option, expected in (
                ("NO_COLOR", "1", "auto", self.plain), ("NO_COLOR", "", "auto", self.red),
                ("NO_COLOR", "1", "always", self.red), ("TERM", "dumb", "auto", self.plain),
                ("TERM", "xterm", "never", self.plain)):
            with self.subTest(variable=variable, value=value, option=option):
                self.assertEqual(on_a_terminal(["test", "data", "--color", option],
                                               {**self.environment, variable: value}, self.folder),
                                 expected)
        self.assertEqual(self.cat("--format", "table", "--color", "always"), self.red)

    def test_one_field_a_line(self):
        self.assertEqual(self.cat("--format", "fields", "--color", "always", "--records", "2"),
                         "record 2 at byte 4\n  n = \x1b[31m<spaces>\x1b[0m\n  t = b\n")


if __name__ == "__main__":
    WBFSI = os.path.abspath(sys.argv.pop(1))
    unittest.main()
