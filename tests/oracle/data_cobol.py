#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Data conversion against fields that COBOL programs write and read.

A generated program holds one field of every kind and length.  It moves given
values into the fields, writes them to a file and prints what the fields hold
then; called the other way it reads such a file and prints.  Checked, for every
field and value:

  * the library decodes the program's bytes to the value that the program printed;
  * the library encodes the value to exactly the program's bytes;
  * the program, reading a file that the library made, prints the values.

    data_cobol.py DATA_CASES [--seed S] [--keep FOLDER]

DATA_CASES is the program of data_cases.cpp.  Needs the GnuCOBOL compiler, cobc.
"""

import argparse
import os
import random
import shutil
import subprocess
import sys
import tempfile
from collections import Counter
from decimal import Decimal, getcontext

getcontext().prec = 100  # more than any field's digits
LITTLE = sys.byteorder == "little"
# DISPLAY by its SIGN clause: type code and clause.
SIGNS = {
    2: "SIGN TRAILING SEPARATE", 3: "SIGN TRAILING",
    4: "SIGN LEADING SEPARATE", 5: "SIGN LEADING",
}
# The sign option, cv_sign_code1, and how COMP fields get their sizes.
BUILDS = [("ASCII", 25, "1-2-4-8"), ("EBCDIC", 16, "1--8")]
ROUNDS = 12


class Field:
    """picture() digits of weight 10^scale up; canonical is the picture to print it in."""

    def __init__(self, kind, digits, scale, clause, signed, step=1):
        self.kind, self.digits, self.scale = kind, digits, scale
        self.clause, self.signed, self.step = clause, signed, step
        self.size = 0

    def picture(self):
        if self.kind == 23:
            return ""
        sign = "S" if self.signed else ""
        if self.scale > 0:
            return "PIC %s9(%d)P(%d)" % (sign, self.digits, self.scale)
        whole, leading = self.digits + self.scale, 0
        if whole < 0:
            whole, leading = 0, -whole
        text = "9(%d)" % whole if whole else ""
        if self.scale < 0:
            text += "V" + ("P(%d)" % leading if leading else "")
            text += "9(%d)" % (self.digits - whole)
        return "PIC " + sign + text

    def canonical_digits(self):
        """Digits in front of and behind the point."""
        return max(self.digits + self.scale, 0), max(-self.scale, 0)

    def canonical_picture(self):
        whole, decimals = self.canonical_digits()
        text = "9(%d)" % whole if whole else ""
        return "PIC S%s%s SIGN LEADING SEPARATE" % (text, "V9(%d)" % decimals if decimals else "")

    def canonical_text(self, stored):
        """A stored whole number as the bytes of the canonical picture."""
        whole, decimals = self.canonical_digits()
        number = abs(stored) * 10 ** max(self.scale, 0)
        return "%s%0*d" % ("-" if stored < 0 else "+", whole + decimals, number)

    def value(self, stored):
        return Decimal(stored).scaleb(self.scale)

    def values(self, rng):
        most = 10 ** self.digits - 1
        if self.kind == 23:
            most = most // self.step * self.step
        picks = [0, most, -most, self.step, -self.step]
        while len(picks) < ROUNDS:
            size = 10 ** rng.randint(1, self.digits)
            picks.append(rng.randrange(size) // self.step * self.step * rng.choice([1, -1]))
        return picks if self.signed else [abs(pick) for pick in picks]


def all_fields():
    """Every usage, sign clause and digit count, and a spread of scales."""
    fields = []

    def add(kind, most_digits, clause, signed, scales):
        for digits in range(1, most_digits + 1):
            fields.append(Field(kind, digits, scales[digits % len(scales)], clause, signed))

    for scales in ((0,), (-1, -2, 2, -3)):
        add(1, 38, "", False, scales)
        for kind, clause in SIGNS.items():
            add(kind, 38, clause, True, scales)
        add(8, 38, "COMP-3", False, scales)
        add(9, 38, "COMP-3", True, scales)
        add(10, 38, "COMP-6", False, scales)
        add(11, 18, "COMP", True, scales)
        add(12, 18, "COMP", False, scales)
        add(13 if LITTLE else 11, 18, "COMP-5", True, scales)
        add(14 if LITTLE else 12, 18, "COMP-5", False, scales)
        add(12, 18, "COMP-X", False, scales)
    # Numbers of few binary digits: what the program prints of others is not exact.
    for scale in range(-6, 1):
        if scale >= -3:
            fields.append(Field(23, 7, scale, "COMP-1", True, 5 ** -scale))
        fields.append(Field(23, 15, scale, "COMP-2", True, 5 ** -scale))
    return [f for f in fields if f.digits + max(f.scale, 0) <= 38 and moved_rightly(f)]


def moved_rightly(field):
    """GnuCOBOL 3.1 itself goes wrong with a P in packed fields, and in binary ones
    whose number has more than 18 digits."""
    if field.clause in ("COMP-3", "COMP-6"):
        return -field.digits <= field.scale <= 0
    return not field.clause.startswith("COMP") or field.digits + field.scale <= 18


def program(fields):
    lines = """\
IDENTIFICATION DIVISION.
PROGRAM-ID. FIELDS.
ENVIRONMENT DIVISION.
INPUT-OUTPUT SECTION.
FILE-CONTROL.
    SELECT GIVEN-FILE ASSIGN TO "given" ORGANIZATION SEQUENTIAL.
    SELECT FIELD-FILE ASSIGN TO "fields" ORGANIZATION SEQUENTIAL.
DATA DIVISION.
FILE SECTION.
FD GIVEN-FILE.
01 GIVEN-RECORD.""".splitlines()
    lines += ["  03 C%d %s." % (i, f.canonical_picture()) for i, f in enumerate(fields)]
    lines += ["FD FIELD-FILE.", "01 FIELD-RECORD."]
    lines += ["  03 F%d %s %s." % (i, f.picture(), f.clause) for i, f in enumerate(fields)]
    lines += """\
WORKING-STORAGE SECTION.
01 DIRECTION PIC X(8).
01 AT-END PIC 9 VALUE 0.
PROCEDURE DIVISION.
MAIN-PARAGRAPH.
    ACCEPT DIRECTION FROM COMMAND-LINE
    EVALUATE DIRECTION
      WHEN "sizes" PERFORM SHOW-SIZES
      WHEN "write" PERFORM WRITE-FIELDS
      WHEN "read" PERFORM READ-FIELDS
    END-EVALUATE
    STOP RUN.
WRITE-FIELDS.
    OPEN INPUT GIVEN-FILE OUTPUT FIELD-FILE
    PERFORM UNTIL AT-END = 1
      READ GIVEN-FILE AT END MOVE 1 TO AT-END
        NOT AT END PERFORM TO-FIELDS PERFORM FROM-FIELDS PERFORM SHOW WRITE FIELD-RECORD
      END-READ
    END-PERFORM
    CLOSE GIVEN-FILE FIELD-FILE.
READ-FIELDS.
    OPEN INPUT FIELD-FILE OUTPUT GIVEN-FILE
    PERFORM UNTIL AT-END = 1
      READ FIELD-FILE AT END MOVE 1 TO AT-END
        NOT AT END PERFORM FROM-FIELDS PERFORM SHOW
      END-READ
    END-PERFORM
    CLOSE GIVEN-FILE FIELD-FILE.""".splitlines()
    for paragraph, line in (("TO-FIELDS", "MOVE C{0} TO F{0}"), ("FROM-FIELDS", "MOVE F{0} TO C{0}"),
                            ("SHOW", "DISPLAY C{0}"), ("SHOW-SIZES", "DISPLAY LENGTH OF F{0}")):
        lines += [paragraph + "."] + ["    " + line.format(i) for i in range(len(fields))]
        lines += ["    CONTINUE."]
    return "\n".join(lines) + "\n"


class Conversions:
    """Cases for data_cases, run in one go."""

    def __init__(self, runner, code1):
        self.runner, self.code1, self.lines = runner, code1, []

    def add(self, to, source, data):
        """to and source: (kind, size, digits, scale)."""
        self.lines.append("%d %d %d %d  %d %d %d %s  %d 11 46" % (
            *to, source[0], *source[2:], data.hex(), self.code1))

    def run(self):
        run = subprocess.run([self.runner], input="\n".join(self.lines) + "\n", text=True,
                             stdout=subprocess.PIPE, check=True)
        answers = [line.split() for line in run.stdout.splitlines()]
        return [(int(result), bytes.fromhex(data)) for result, data in answers]


def canonical_description(field):
    digits = sum(field.canonical_digits())
    return 4, digits + 1, digits, min(field.scale, 0)


def description(field):
    return field.kind, field.size, field.digits, field.scale


class Check:
    def __init__(self, folder, runner, build, seed):
        self.sign, self.code1, self.binary_size = build
        self.folder = os.path.join(folder, self.sign)
        self.runner = runner
        self.fields = all_fields()
        self.rng = random.Random(seed)
        self.faults = Counter()

    def fault(self, what, field, got, wanted):
        self.faults[what] += 1
        if self.faults[what] <= 5:
            print("%s: %s, %s %s: got %s, wanted %s" % (
                self.sign, what, field.picture(), field.clause, got, wanted))

    def call(self, direction):
        run = subprocess.run(["./program", direction], cwd=self.folder, text=True,
                             stdout=subprocess.PIPE, check=True)
        return run.stdout.split()

    def build(self):
        os.makedirs(self.folder)
        with open(os.path.join(self.folder, "program.cob"), "w") as source:
            source.write(program(self.fields))
        subprocess.run(["cobc", "-x", "-free", "-fsign=" + self.sign,
                        "-fbinary-size=" + self.binary_size, "-o", "program", "program.cob"],
                       cwd=self.folder, check=True)
        for field, size in zip(self.fields, self.call("sizes"), strict=True):
            field.size = int(size)

    def records(self, data):
        """The fields' bytes, record after record."""
        size = sum(field.size for field in self.fields)
        if len(data) != ROUNDS * size:
            sys.exit("the program wrote %d bytes, not %d records of %d" % (
                len(data), ROUNDS, size))
        at = 0
        for _ in range(ROUNDS):
            for field in self.fields:
                yield field, data[at:at + field.size]
                at += field.size

    def run(self):
        self.build()
        columns = [field.values(self.rng) for field in self.fields]
        stored = [column[i] for i in range(ROUNDS) for column in columns]
        rounds = list(zip(self.fields * ROUNDS, stored))
        with open(os.path.join(self.folder, "given"), "w") as given:
            given.write("".join(field.canonical_text(number) for field, number in rounds))

        printed = [Decimal(text) for text in self.call("write")]
        with open(os.path.join(self.folder, "fields"), "rb") as fields:
            written = list(self.records(fields.read()))
        for (field, number), value in zip(rounds, printed, strict=True):
            if value != field.value(number):
                self.fault("the program itself changed a value", field, value, field.value(number))

        decoding = Conversions(self.runner, self.code1)
        encoding = Conversions(self.runner, self.code1)
        for (field, number), (_, data) in zip(rounds, written, strict=True):
            decoding.add(canonical_description(field), description(field), data)
            encoding.add(description(field), canonical_description(field),
                         field.canonical_text(number).encode())
        for (field, data), value, (result, text) in zip(
                written, printed, decoding.run(), strict=True):
            decimals = field.canonical_digits()[1]
            decoded = Decimal(text.decode("latin-1")).scaleb(-decimals) if result == 1 else None
            if decoded != value:
                self.fault("decoding", field, (data.hex(), result, text), value)
        encoded = encoding.run()
        for (field, data), (result, ours) in zip(written, encoded, strict=True):
            if (result, ours) != (1, data):
                self.fault("encoding", field, (result, ours.hex()), data.hex())

        with open(os.path.join(self.folder, "fields"), "wb") as fields:
            fields.write(b"".join(ours for _, ours in encoded))
        for (field, number), text in zip(rounds, self.call("read"), strict=True):
            if Decimal(text) != field.value(number):
                self.fault("reading what the library wrote", field, text, field.value(number))
        print("%s signs: %d fields, %d values, %d faults" % (
            self.sign, len(self.fields), len(rounds), sum(self.faults.values())))
        return not self.faults


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("program")
    parser.add_argument("--seed", type=int, default=20240229)
    parser.add_argument("--keep", help="work in this folder and leave it there")
    options = parser.parse_args()
    if shutil.which("cobc") is None:
        sys.exit("cobc is not installed: this test needs the GnuCOBOL 3.1 compiler "
                 "(Debian package gnucobol3; ./check installs it)")
    runner = os.path.abspath(options.program)
    with tempfile.TemporaryDirectory() as folder:
        folder = options.keep or folder
        good = [Check(folder, runner, build, options.seed).run() for build in BUILDS]
    sys.exit(0 if all(good) else 1)


if __name__ == "__main__":
    main()
