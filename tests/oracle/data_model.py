#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Data conversion against exact arithmetic.

A model of the conversion rules in Python's whole numbers and fractions, written
from the rules and not from the code, runs beside the library over random pairs
of descriptions and values: results and every byte of the target must agree.

    data_model.py DATA_CASES [--cases N] [--seed S]

DATA_CASES is the program of data_cases.cpp.  The same seed gives the same cases.
"""

import argparse
import random
import re
import struct
import subprocess
import sys
from collections import Counter
from fractions import Fraction

ORDER = sys.byteorder
UTF16 = "utf-16-le" if ORDER == "little" else "utf-16-be"

SIGNED_DISPLAY = {2: "end", 3: "last", 4: "front", 5: "first"}
NATIONAL_TEXT = {24, 25, 26}
RIGHT = {17, 19, 25}
BINARY = {  # byte order, signed
    11: ("big", True), 12: ("big", False), 13: (ORDER, True), 14: (ORDER, False),
    30: (ORDER, True), 31: (ORDER, False), 32: ("little", True), 33: ("little", False),
}
NUMERIC = [*range(1, 15), 23, 30, 31, 32, 33, *range(35, 40)]
TEXT = [0, 15, 16, 17, 18, 19, 20, 21, 22, 24, 25, 26, 27, 34, 40, 63, 64, 300]

FORMS = {
    25: ("0123456789", "pqrstuvwxy"),
    16: ("{ABCDEFGHI", "}JKLMNOPQR"),
    64: ("@ABCDEFGHI", "PQRSTUVWXY"),
}


def sign_meanings(code):
    """character -> (digit, negative): the own form, then what all others agree on."""
    others = {}
    for positive, negative in FORMS.values():
        for letters, minus in ((positive, False), (negative, True)):
            for digit, letter in enumerate(letters):
                others.setdefault(letter, set()).add((digit, minus))
    meanings = {letter: next(iter(m)) for letter, m in others.items() if len(m) == 1}
    for letters, minus in zip(FORMS[code], (False, True)):
        meanings.update({letter: (digit, minus) for digit, letter in enumerate(letters)})
    return meanings


MEANINGS = {code: sign_meanings(code) for code in FORMS}


class Settings:
    def __init__(self, code1=25, code2=11, point="."):
        self.code1, self.code2, self.point = code1, code2, point
        self.form = code1 if code1 in FORMS else 25
        self.number = re.compile(
            r" *([+-]?)([0-9]*)(?:%s([0-9]*))? *\Z" % re.escape(point))


# Numbers: (negative, coefficient, exponent), None for a storage without one.


def shortest_single(magnitude):
    """Shortest decimal within the rounding interval of a 4-byte number, nearest and even."""
    bits = struct.unpack("<I", struct.pack("<f", magnitude))[0]
    exact = Fraction(magnitude)
    if bits == 0:
        return 0, 0
    exponent = max(bits >> 23, 1) - 150
    below = Fraction(2) ** (exponent - 1)
    if bits & 0x7FFFFF == 0 and bits >> 23 > 1:
        below /= 2
    low, high = exact - below, exact + Fraction(2) ** (exponent - 1)
    even = bits % 2 == 0
    top = len(str(int(exact))) if exact >= 1 else 0
    while top < 1 and exact < Fraction(10) ** (top - 1):
        top -= 1
    for digits in range(1, 12):
        scale = top - digits
        unit = Fraction(10) ** scale
        floor = exact // unit
        good = [c for c in (floor, floor + 1)
                if low < c * unit < high or (even and c * unit in (low, high))]
        if good:
            return min(good, key=lambda c: (abs(c * unit - exact), c % 2)), scale
    raise AssertionError(magnitude)


def read_float(data):
    if len(data) not in (4, 8):
        return None
    code = "f" if len(data) == 4 else "d"
    number = struct.unpack("=" + code, data)[0]
    if number != number or number in (float("inf"), float("-inf")):
        return None
    negative = struct.pack(">" + code, number)[0] >= 0x80
    if code == "f":
        coefficient, exponent = shortest_single(abs(number))
    else:
        mantissa, _, power = repr(abs(number)).partition("e")
        whole, _, fraction = mantissa.partition(".")
        coefficient, exponent = int(whole + fraction), int(power or 0) - len(fraction)
    while exponent < 0 and coefficient % 10 == 0:
        coefficient, exponent = coefficient // 10, exponent + 1
    return negative, coefficient, exponent


def read_characters(kind, text, scale, settings):
    """DISPLAY from its characters."""
    place = SIGNED_DISPLAY.get(kind)
    negative = False
    if place in ("front", "end"):
        sign = text[:1] if place == "front" else text[-1:]
        text = text[1:] if place == "front" else text[:-1]
        if sign not in ("+", "-"):
            return None
        negative = sign == "-"
    elif place and text:
        at = 0 if place == "first" else len(text) - 1
        meaning = MEANINGS[settings.form].get(text[at])
        if meaning is None:
            return None
        negative = meaning[1]
        text = text[:at] + str(meaning[0]) + text[at + 1:]
    if not re.fullmatch("[0-9]{1,256}", text):
        return None
    return negative, int(text), scale


def read(kind, digits, scale, data, settings):
    if 35 <= kind <= 39:
        data = data[:len(data) // 2 * 2]
        return read_characters(kind - 34, data.decode(UTF16, "replace"), scale, settings)
    if 1 <= kind <= 5:
        return read_characters(kind, data.decode("latin-1"), scale, settings)
    if kind in (6, 7):
        negative = False
        if kind == 6:
            if data[-1:] not in (b"\x0b", b"\x0d"):
                return None
            negative, data = data[-1] == 13, data[:-1]
        if not 1 <= len(data) <= 256 or max(data) > 9:
            return None
        return negative, int("".join(map(str, data))), scale
    if kind in (8, 9, 10):
        nibbles = data.hex()
        negative = False
        if kind != 10:
            if nibbles[-1:] not in tuple("abcdef"):
                return None
            negative = kind == 9 and nibbles[-1] in "bd"
            nibbles = nibbles[:-1]
        if not re.fullmatch("[0-9]+", nibbles) or len(data) > 128:
            return None
        return negative, int(nibbles), scale
    if kind in BINARY:
        if not 1 <= len(data) <= 16:
            return None
        order, signed = BINARY[kind]
        number = int.from_bytes(data, order, signed=signed)
        return number < 0, abs(number), scale
    if kind == 23:
        return read_float(data)
    if kind in NATIONAL_TEXT:
        text = data[:len(data) // 2 * 2].decode(UTF16, "replace")
    else:
        text = data.decode("latin-1")
    match = settings.number.match(text)
    if match is None or not (match[2] or match[3]):
        return None
    fraction = match[3] or ""
    return match[1] == "-", int(match[2] + fraction), -len(fraction)


def aligned(number, scale):
    _, coefficient, exponent = number
    if exponent >= scale:
        return coefficient * 10 ** (exponent - scale)
    return coefficient // 10 ** (scale - exponent)


def sure_digits(size, signed):
    return len(str(2 ** (8 * size - (1 if signed else 0)))) - 1


def write_float(size, number):
    negative, coefficient, exponent = number
    if size not in (4, 8):
        return None
    if size == 8:
        magnitude = float("%de%d" % (coefficient, exponent))
        if magnitude == float("inf"):
            return None
        return 1, struct.pack("=d", -magnitude if negative and magnitude else magnitude)
    exact = coefficient * Fraction(10) ** exponent
    if exact == 0:
        return 1, bytes(4)
    power = exact.numerator.bit_length() - exact.denominator.bit_length()
    if exact < Fraction(2) ** power:
        power -= 1
    unit = Fraction(2) ** max(power - 23, -149)
    rounded = round(exact / unit) * unit  # ties to even
    if rounded >= Fraction(2) ** 128:
        return None
    magnitude = float(rounded)
    return 1, struct.pack("=f", -magnitude if negative and magnitude else magnitude)


def number_text(number, point):
    negative, coefficient, exponent = number
    if exponent >= 0:
        text = str(coefficient * 10 ** exponent)
    else:
        text = str(coefficient).rjust(1 - exponent, "0")
        text = text[:exponent] + point + text[exponent:]
    return ("-" if negative and coefficient else "") + text


def pad(kind, text, size):
    if kind in RIGHT:
        return text[max(0, len(text) - size):].rjust(size)
    return text[:size].ljust(size)


def pad_units(kind, units, size):
    """As pad, for UTF-16 units; None in the last place keeps an odd byte."""
    blank = " ".encode(UTF16)
    cells = [units[i:i + 2] for i in range(0, len(units), 2)]
    room = size // 2
    if kind in RIGHT:
        cells = cells[max(0, len(cells) - room):]
        cells = [blank] * (room - len(cells)) + cells
    else:
        cells = cells[:room] + [blank] * (room - len(cells))
    return b"".join(cells) + b"\xa5" * (size % 2)


def write(kind, size, digits, scale, number, settings):
    """(result, bytes), or None when the target stays as it was."""
    negative = number[0]

    def low_digits(positions):
        value = aligned(number, scale)
        low = value % 10 ** min(digits or positions, positions)
        return low, negative and low != 0, int(low == value)

    if 1 <= kind <= 5 or 35 <= kind <= 39:
        wide = kind >= 35
        place = SIGNED_DISPLAY.get(kind - 34 if wide else kind)
        positions = (size // 2 if wide else size) - (place in ("front", "end"))
        if not 1 <= positions <= 256:
            return None
        low, minus, result = low_digits(positions)
        text = str(low).rjust(positions, "0")
        sign = "-" if minus else "+"
        letters = FORMS[settings.form][minus]
        if place == "front":
            text = sign + text
        elif place == "end":
            text += sign
        elif place == "first":
            text = letters[int(text[0])] + text[1:]
        elif place == "last":
            text = text[:-1] + letters[int(text[-1])]
        if wide:
            return result, text.encode(UTF16) + b"\xa5" * (size % 2)
        return result, text.encode("latin-1")
    if kind in (6, 7):
        positions = size - (kind == 6)
        if not 1 <= positions <= 256:
            return None
        low, minus, result = low_digits(positions)
        data = bytes(int(c) for c in str(low).rjust(positions, "0"))
        return result, data + (bytes([13 if minus else 11]) if kind == 6 else b"")
    if kind in (8, 9, 10):
        if not 1 <= size <= 128:
            return None
        positions = 2 * size - (kind != 10)
        low, minus, result = low_digits(positions)
        text = str(low).rjust(positions, "0")
        if kind == 8:
            text += "f"
        elif kind == 9:
            text += "d" if minus else "f" if settings.code2 == 13 else "c"
        return result, bytes.fromhex(text)
    if kind in BINARY:
        if not 1 <= size <= 16:
            return None
        order, signed = BINARY[kind]
        value = aligned(number, scale)
        low = value % 10 ** digits if 0 < digits <= 39 else value
        minus = signed and negative
        if low > 2 ** (8 * size - signed) - (0 if minus else 1):
            low %= 10 ** sure_digits(size, signed)
        stored = -low if minus else low
        return int(low == value), stored.to_bytes(size, order, signed=signed)
    if kind == 23:
        return write_float(size, number)
    text = number_text(number, settings.point)
    if kind in NATIONAL_TEXT:
        if len(text) > size // 2:
            return None
        return 1, pad_units(kind, text.encode(UTF16), size)
    if len(text) > size:
        return None
    return 1, pad(kind, text, size).encode("latin-1")


def move_text(to_kind, size, from_kind, data):
    to_wide, from_wide = to_kind in NATIONAL_TEXT, from_kind in NATIONAL_TEXT
    if from_wide:
        data = data[:len(data) // 2 * 2]
    if to_wide:
        units = data if from_wide else data.decode("latin-1").encode(UTF16)
        return 1, pad_units(to_kind, units, size)
    if from_wide:
        text = re.sub("[\ud800-\udfff]", "?", data.decode(UTF16, "surrogatepass"))
        data = text.encode("latin-1", "replace")
    return 1, pad(to_kind, data.decode("latin-1"), size).encode("latin-1")


def convert(to, source, settings):
    to_kind, to_size, to_digits, to_scale = to
    from_kind, from_digits, from_scale, data = source
    unchanged = 0, b"\xa5" * to_size
    if to_kind not in NUMERIC and from_kind not in NUMERIC:
        return move_text(to_kind, to_size, from_kind, data)
    number = read(from_kind, from_digits, from_scale, data, settings)
    if number is None:
        return unchanged
    return write(to_kind, to_size, to_digits, to_scale, number, settings) or unchanged


# Cases


def random_number(rng):
    shape = rng.random()
    if shape < 0.08:
        coefficient = 0
    elif shape < 0.2:
        coefficient = abs(2 ** rng.choice([7, 8, 15, 16, 23, 31, 32, 53, 63, 64, 127, 128])
                          + rng.randint(-1, 1))
    elif shape < 0.3:
        coefficient = 10 ** rng.randint(0, 40) + rng.randint(-1, 1)
    else:
        coefficient = rng.randrange(10 ** rng.randint(1, rng.choice([4, 9, 18, 38, 45])))
    return rng.random() < 0.5, coefficient, rng.choice([0, 0, -2, -2, rng.randint(-12, 12)])


def random_field(rng):
    kind = rng.choice(NUMERIC if rng.random() < 0.8 else TEXT)
    digits = rng.choice([rng.randint(1, 9), rng.randint(1, 18), rng.randint(1, 38)])
    scale = rng.choice([0, 0, -2, -2, rng.randint(-6, 3), rng.randint(-6, 3)])
    if rng.random() < 0.03:
        scale = rng.randint(-128, 127)
    if kind in BINARY:
        size = rng.choice([1, 2, 3, 4, 4, 5, 6, 7, 8, 8, 8, 9, 12, 15, 16])
        if rng.random() < 0.6:
            digits = rng.randint(1, sure_digits(size, BINARY[kind][1]))
    elif kind in (8, 9):
        size = digits // 2 + 1
    elif kind == 10:
        size = (digits + 1) // 2
    elif kind == 23:
        size = rng.choice([4, 8])
    elif kind in NUMERIC:
        size = digits + (kind in (2, 4, 6, 36, 38))
        size *= 2 if kind >= 35 else 1
    else:
        size = rng.choice([rng.randint(0, 12), rng.randint(8, 60)])
    if rng.random() < 0.06:
        size = rng.choice([0, 1, 2, size + 1, max(0, size - 1), rng.randint(0, 40),
                           rng.choice([127, 128, 129, 255, 256, 257, 258, 514])])
    if rng.random() < 0.06:
        digits = rng.choice([0, 0, rng.randint(0, 45), 255])
    return kind, size, digits, scale


def random_text(rng, size, settings):
    number = random_number(rng)
    exponent = number[2] if number[2] < 0 or rng.random() < 0.5 else 0
    text = number_text((number[0], number[1], exponent), settings.point)
    text = rng.choice(["", "", " ", "  ", "0", "+"]) + text + rng.choice(["", "", "  ", "."])
    if rng.random() < 0.25 and text:
        at = rng.randrange(len(text))
        text = text[:at] + rng.choice("+-., 0x\0/:") + text[at + rng.randint(0, 1):]
    return text.rjust(size) if rng.random() < 0.2 else text.ljust(size)


def random_source(rng, settings):
    kind, size, digits, scale = random_field(rng)
    shape = rng.random()
    if shape < 0.06:
        data = rng.randbytes(size)
    elif kind == 23 and shape < 0.6:
        data = rng.randbytes(size)
    elif kind in NUMERIC:
        written = write(kind, size, digits, scale, random_number(rng), settings)
        data = written[1] if written else rng.randbytes(size)
        if shape > 0.85 and data:
            at = rng.randrange(len(data))
            new = rng.choice([rng.randrange(256), ord(rng.choice("+- 09/:AJPRSYZ{}@pyz"))])
            data = data[:at] + bytes([new]) + data[at + 1:]
    else:
        text = random_text(rng, size, settings)
        data = text.encode(UTF16 if kind in NATIONAL_TEXT else "latin-1")
        data = data[:size] if rng.random() < 0.7 else data
        if rng.random() < 0.05 and data:
            at = rng.randrange(len(data))
            data = data[:at] + rng.randbytes(1) + data[at + 1:]
    return kind, digits, scale, data


def random_case(rng):
    settings = Settings(rng.choice([25, 25, 16, 64, 0]), rng.choice([11, 13]),
                        rng.choice([".", ".", ","]))
    source = random_source(rng, settings)
    if rng.random() < 0.15:  # what record work asks for most: its own sign and digits
        kind, digits, scale, _ = source
        return (4, digits + 1, digits, scale), source, settings
    to = random_field(rng)
    if rng.random() < 0.2:  # and the way back
        _, _, digits, scale = to
        text = (4, digits + 1, digits, scale)
        written = write(*text, random_number(rng), settings)
        if written:
            data = written[1]
            if rng.random() < 0.1:
                at = rng.randrange(len(data))
                data = data[:at] + rng.choice([b"/", b":", b"+", b"-", b" "]) + data[at + 1:]
            source = 4, digits, scale, data
    return to, source, settings


def line_of(case):
    to, (kind, digits, scale, data), settings = case
    return "%d %d %d %d  %d %d %d %s  %d %d %d" % (
        *to, kind, digits, scale, data.hex() or "-",
        settings.code1, settings.code2, ord(settings.point))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("program")
    parser.add_argument("--cases", type=int, default=100000)
    parser.add_argument("--seed", type=int, default=20240229)
    options = parser.parse_args()

    rng = random.Random(options.seed)
    cases = [random_case(rng) for _ in range(options.cases)]
    lines = [line_of(case) for case in cases]
    run = subprocess.run([options.program], input="\n".join(lines) + "\n", text=True,
                         stdout=subprocess.PIPE, check=False)
    answers = run.stdout.splitlines()
    if run.returncode != 0 or len(answers) != len(cases):
        sys.exit("%s ended with %d after %d of %d cases; the next one: %s" % (
            options.program, run.returncode, len(answers), len(cases),
            lines[min(len(answers), len(lines) - 1)]))

    wrong = 0
    outcomes = Counter()
    for case, line, answer in zip(cases, lines, answers):
        result, data = convert(*case)
        expected = "%d %s" % (result, data.hex())
        same = data == b"\xa5" * case[0][1]
        outcomes["done" if result else "unchanged" if same else "low digits"] += 1
        if answer != expected:
            wrong += 1
            if wrong <= 10:
                print("case     %s\nexpected %s\nbut got  %s" % (line, expected, answer))
    print("%d cases (%s), %d wrong" % (
        len(cases), ", ".join("%d %s" % (n, name) for name, n in outcomes.most_common()), wrong))
    if min(outcomes["done"], outcomes["unchanged"], outcomes["low digits"]) < len(cases) // 20:
        sys.exit("the cases are one-sided: every outcome must be well covered")
    sys.exit(1 if wrong else 0)


if __name__ == "__main__":
    main()
