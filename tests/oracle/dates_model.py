#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Date conversion against a plain model.

The rules of date formats, special contents and replacements in Python, with the
calendar of its standard library and the data conversion of data_model.py, run
beside the library over random settings, fields, formats and records: result, every
byte of the field and every member of the record must agree.

    dates_model.py DATES_CASES [--cases N] [--seed S]

DATES_CASES is the program of dates_cases.cpp.  The same seed gives the same cases.
"""

import argparse
import calendar
import datetime
import random
import re
import subprocess
import sys
from collections import Counter

import data_model

MEMBERS = ("year", "month", "day", "hour", "minute", "second", "hundredths", "micro")
NOTHING = dict.fromkeys(MEMBERS, 0)
NAMES = {"Y": {"year"}, "M": {"month"}, "D": {"day"}, "E": {"month", "day"},
         "J": {"year", "month", "day"}, "H": {"hour"}, "N": {"minute"}, "S": {"second"},
         "T": {"micro"}}
NATIONAL = {24, 25, 26, *range(35, 40)}
NUMBERS = {*range(6, 15), 23, 30, 31, 32, 33}
DEFAULTS = data_model.Settings()


class Failure(Exception):
    pass


# The calendar, which has no year 0: a date has the number of its like 400 years on.


def ordinal(year, month, day):
    year, month = year + (month - 1) // 12, (month - 1) % 12 + 1
    cycles = 0
    while year < 1:
        year, cycles = year + 400, cycles - 1
    while year > 9999:
        year, cycles = year - 400, cycles + 1
    first = datetime.date(year, month, 1).toordinal() + cycles * 146097
    return first + day - 1 - datetime.date(1899, 12, 31).toordinal()


def date_of(number):
    number += datetime.date(1899, 12, 31).toordinal()
    if not -365 <= number <= datetime.date(9999, 12, 31).toordinal():
        return None
    shift = 400 if number < 1 else 0
    date = datetime.date.fromordinal(number + (146097 if shift else 0))
    return date.year - shift, date.month, date.day


def is_leap(year):
    return calendar.isleap(year)


def month_length(year, month):
    return 29 if month == 2 and is_leap(year) else [31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31][month - 1]


# Formats


def runs(form):
    """(letter, width) of each run; decades come one by one."""
    return [(m[0][0], len(m[0])) for m in re.finditer(r"[FR]|([YMDEJHNST])\1*", form)]


def letters(form):
    return re.sub("[^YMDEJHNSTFR]", "", form)


def named(form):
    names = set().union(*(NAMES.get(c, set()) for c in form))
    return names | ({"year"} if "FY" in form or "RY" in form else set())


def is_valid(date, names):
    ranges = {"year": (0, 9999), "month": (1, 12), "day": (1, 31), "hour": (0, 23),
              "minute": (0, 59), "second": (0, 59), "micro": (0, 999999)}
    if any(not ranges[name][0] <= date[name] <= ranges[name][1] for name in names):
        return False
    # Without a year the record's own decides about February 29.
    return not {"month", "day"} <= names or date["day"] <= month_length(date["year"], date["month"])


class Model:
    def __init__(self, settings):
        self.text = settings
        self.special = {}
        for which in ("INVALID", "NINE", "NULL", "ZERO"):
            value = settings.get("PLEX_DATE_%s_VALUE" % which)
            if value is None or value.lower() == "null":
                continue
            self.read_special(which, value)

    def number(self, name, default):
        return int(self.text.get(name, default))

    def read_special(self, which, value):
        date = None
        if 1 <= len(value) <= 20:
            form = "YYYYMMDDHHNNSSTTTTTT"[:len(value)]
            try:
                date = self.parse(form, value, 0, 0, False)
            except Failure:
                pass
            if date and not is_valid(date, named(form)):
                date = None
        self.special[which] = self.completed(form, date) if date else dict(NOTHING)

    def base_day(self):
        base = self.number("4GL_JULIAN_BASE_DATE", 0)
        if base == 0:
            return 0
        year, month, day = base // 10000, base // 100 % 100, base % 100
        if base < 0 or year > 9999 or not 1 <= month <= 12 or not 1 <= day <= month_length(year, month):
            raise Failure
        return ordinal(year, month, day)

    def parse(self, form, text, base, date_value, windowed):
        layout = letters(form)
        solid = [i for i, c in enumerate(text) if c != " " or (i < len(layout) and layout[i] in "FR")]
        text = text[solid[0]:solid[-1] + 1] if solid else ""
        text = text.rjust(len(layout), "0")
        date, decade, short_year, by_day = dict(NOTHING), 0, False, False
        for letter, width in runs(form):
            part, text = text[:width], text[width:]
            if letter in "FR":
                if not " " <= part <= "I":
                    raise Failure
                decade = ord(part) + 142 if letter == "F" else 247 - ord(part)
                continue
            if not re.fullmatch("[ 0]*([1-9][0-9]*)?", part):
                raise Failure
            value = int(part.replace(" ", "0"))
            if "R" in form:
                value = 10 ** width - 1 - value
            if letter == "Y":
                date["year"] = decade * 10 + value if width == 1 else value
                short_year |= width == 2
            elif letter == "T":
                date["micro"] = value * 10 ** max(0, 6 - width)
            elif letter == "E":
                by_day = True
                date["month"], date["day"] = 0, 0
                if 1 <= value <= 366:
                    month = 1
                    while month < 12 and value > month_length(1, month):
                        value, month = value - month_length(1, month), month + 1
                    date["month"], date["day"] = month, value
            elif letter == "J":
                found = date_of(base + value)
                date["year"], date["month"], date["day"] = found or (10000, 0, 0)
            else:
                (name,) = NAMES[letter]
                date[name] = value
        if by_day and is_leap(date["year"]) and 2 < date["month"] <= 12 and date["year"] <= 9999 and date["day"] > 0:
            # The day before; December 32 becomes 31.
            if date["day"] > 1:
                date["day"] -= 1
            else:
                date["month"] -= 1
                date["day"] = month_length(date["year"], date["month"])
        if date_value == -1:
            for name, value in (("month", 1), ("day", 1), ("hour", 12)):
                if name not in named(form):
                    date[name] = value
        if (short_year or windowed) and date["month"] != 0 and date["year"] <= 99:
            cutoff = self.number("4GL_2000_CUTOFF", 20)
            cutoff = 20 if cutoff >= 100 else cutoff
            date["year"] += 2000 if date["year"] < cutoff else 1900
        return date

    @staticmethod
    def completed(form, date):
        for name, value in (("year", 1901), ("month", 1), ("day", 1)):
            if name not in named(form):
                date = {**date, name: value}
        return date

    def format(self, form, date, base):
        text = ""
        for letter, width in runs(form):
            if letter in "FR":
                decade = abs(date["year"]) // 10
                if date["year"] < 0 or not 174 <= decade <= 215 or (letter == "F" and "R" in form):
                    raise Failure
                text += chr(decade - 174 + 0x20) if letter == "F" else chr(0xF7 - decade)
                continue
            if letter == "J":
                day = ordinal(date["year"], date["month"], date["day"])
                if day == self.number("4GL_JULIAN_NULL", 0) or day < base:
                    raise Failure
                value = day - base
            elif letter == "E":
                value = date["day"] + sum(month_length(date["year"], m) for m in range(1, date["month"])) \
                    if 1 <= date["month"] <= 12 else 0
            elif letter == "T":
                value = date["micro"] // 10 ** max(0, 6 - width)
            else:
                (name,) = NAMES[letter]
                value = date[name]
            value = max(value, 0) % 10 ** width
            if "R" in form:
                value = 10 ** width - 1 - value
            text += str(value).rjust(width, "0")
        return text

    def replacement(self, form, base, date_value):
        if self.number("4GL_CONVERT_DATES", 1) == 0:
            raise Failure
        text = str(date_value)
        if len(text) == len(letters(form)):
            used = form
        elif len(text) in (6, 8):
            used = {6: "YYMMDD", 8: "YYYYMMDD"}[len(text)]
        else:
            raise Failure
        date = self.parse(used, text, base, 0, False)
        if not is_valid(date, named(form) | named(used)):
            raise Failure
        return self.completed(used, date)

    # Fields

    def contents(self, field, text):
        kind, digits, _, data = field
        units = data
        shown = None if text is None else text.strip(" ")
        if kind in NUMBERS or 1 <= kind <= 5:
            done, wide = data_model.convert((16, 64, 0, 0), (kind, digits, 0, data), DEFAULTS)
            shown = wide.decode("latin-1").strip(" ") if done else None
        if kind in NATIONAL and len(data) > 1:
            wide = [data[i:i + 2] for i in range(0, len(data) - 1, 2)]
            plain = {b"0\0": b"0", b"9\0": b"9", b" \0": b" ", b"\0\0": b"\0", b"\xff\xff": b"\xff"}
            units = b"".join(plain.get(unit, b"?") for unit in wide)
        def only(characters):
            return not set(data) - set(characters) or not set(units) - set(characters)
        if "ZERO" in self.special and (only(b"0\0") or (shown and not shown.strip("0"))):
            return self.special["ZERO"]
        if "NINE" in self.special and (only(b"9\xff") or (shown and shown == "9" * nines(field))):
            return self.special["NINE"]
        if "INVALID" in self.special and (only(b" ") or (text is not None and not text.strip(" "))):
            return self.special["INVALID"]
        return None

    def from_field(self, field, form, windowed, base, date_value, illegal):
        kind, digits, scale, data = field
        width = len(letters(form))
        source = data
        unit, blank = (2, b" \0") if kind == 25 else (1, b" ")
        while kind in (17, 19, 25) and len(source) // unit > width and source[:unit] == blank:
            source = source[unit:]
        done, text = data_model.convert((16, width, 0, 0), (kind, digits, scale, source), DEFAULTS)
        text = text.decode("latin-1") if done else None
        special = self.contents(field, text)
        if special is not None:
            if not illegal and not is_valid(special, named(form)):
                raise Failure
            text = self.format(form, special, base)
        if text is None:
            raise Failure
        date = self.parse(form, text, base, date_value, windowed)
        if not is_valid(date, named(form)):
            if "INVALID" in self.special:
                date = self.special["INVALID"]
            elif illegal:
                return self.replacement(form, base, date_value)
            else:
                raise Failure
        return self.completed(form, date)

    def to_field(self, field, form, base, date_value, illegal, date):
        """(bytes, record)"""
        kind, digits, scale, _ = field
        zero = store(field, "0")
        if zero is None:
            raise Failure
        limit = abs(date_value)
        sign = -1 if date_value < 0 else 1
        key = (sign * (limit // 10000), sign * (limit // 100 % 100), sign * (limit % 100))
        times = ("hour", "minute", "second", "micro")
        if (date["year"], date["month"], date["day"]) == key and not any(date[t] for t in times) \
                and self.number("4GL_CONVERT_DATE_ZERO", 1):
            return zero, date
        checked = {"year", "month", "day"} | (named(form) & set(times))
        for which, byte, digit in (("INVALID", b" ", ""),
                                   ("NINE", b"\xff", "9"), ("ZERO", b"\0", "0")):
            if which not in self.special or any(self.special[which][n] != date[n] for n in checked):
                continue
            high = {"NINE": "PLEX_DATE_MAX_HIGH_VALUES", "ZERO": "PLEX_DATE_MIN_LOW_VALUES"}.get(which)
            if high is None or self.number(high, 0):
                return byte * len(field[3]), date
            filled = fill(field, digit)
            if filled is not None:
                return filled, date
            break
        valid = is_valid(date, named(form))
        if not valid and not illegal:
            raise Failure
        text = self.format(form, date, base)
        if not valid:
            date = self.replacement(form, base, date_value)
            text = self.format(form, date, base)
        is_number = kind <= 14 or kind == 23 or 30 <= kind <= 33 or 35 <= kind <= 39
        if is_number and ("F" in form or "R" in form) and set(text) - set("0123456789"):
            raise Failure
        data = store(field, text)
        if data is None:
            raise Failure
        return data, date

    def convert(self, case):
        """(result, bytes, record)"""
        (kind, _, _, data), form, direction, date_value, illegal, date = case
        field = case[0]
        if direction == 2:
            if date["hundredths"]:
                date = {**date, "micro": date["hundredths"] * 10000, "hundredths": 0}
            zero = store(field, "0")
            data = data if zero is None else zero
        try:
            windowed = False
            if form == "":
                form = {6: "YYMMDD", 8: "YYYYMMDD"}.get(kind)
                windowed = kind == 6 or self.number("4GL_8_DIGIT_CUTOFF", 0) != 0
            if form is None or len(form) > 20:
                raise Failure
            base = self.base_day()
            if direction == 1:
                return 1, data, self.from_field(field, form, windowed, base, date_value, illegal)
            return (1, *self.to_field(field, form, base, date_value, illegal, date))
        except Failure:
            null = self.special.get("NULL")
            if direction == 1:
                date = null or NOTHING
            return int(null is not None), data, date


def nines(field):
    kind, digits, _, data = field
    size = len(data)
    if kind in data_model.BINARY:
        room = data_model.sure_digits(size, data_model.BINARY[kind][1]) if size <= 16 else 0
    else:
        room = {6: size - 1, 7: size, 8: 2 * size - 1, 9: 2 * size - 1, 10: 2 * size,
                23: 7 if size == 4 else 15}.get(kind)
    if room is None:
        return digits
    return min(digits or 38, room, 38)


def store(field, text):
    """The field's bytes when a text was written to it; None when it was refused."""
    kind, digits, scale, data = field
    done, stored = data_model.convert((kind, len(data), digits, scale),
                                      (16, 0, 0, text.encode("latin-1")), DEFAULTS)
    if not done:
        return None
    if kind in NATIONAL and len(data) % 2:
        stored = stored[:-1] + data[-1:]
    return stored


def fill(field, digit):
    kind, digits, _, data = field
    if kind in NUMBERS:
        return store(field, "0") if digit == "0" else store((kind, digits, 0, data), "9" * nines(field))
    if kind in NATIONAL:
        return (digit.encode(data_model.UTF16) * len(data))[:len(data) // 2 * 2] + data[len(data) // 2 * 2:]
    return digit.encode() * len(data)


# Cases

FORMATS = ["YYYYMMDD", "YYMMDD", "DDMMYYYY", "MMDDYY", "YYYYEEE", "YYEEE", "EEEYY", "JJJJJ", "JJJJJJJ", "JJJ",
           "HHNNSS", "HHNN", "HHNNSSTT", "HHNNSSTTTTTT", "TTTTTTT", "YYYYMMDDHHNNSSTTTTTT", "YYMMDDHHNNSS",
           "FYMMDD", "RYMMDD", "FYEEE", "RYMMDDHHNNSS", "RYYMMDD", "MMDDYF", "FYYMMDD", "YYYY", "YY", "MMDD", "MM",
           "FRYMMDD", "RRY", "YYYYMMDDR", "", "YYYY-MM-DD", "SSNNHH", "JJJJJJJHHNN", "YYYYYYYYYYYYMMDD", "FF", "TTR"]


def random_format(rng):
    if rng.random() < 0.75:
        return rng.choice(FORMATS)
    pool = rng.sample("YMDEJHNSTFR", rng.randint(1, 6))
    form = "".join(c * rng.choice([1, 2, 2, 2, 3, 4, 6, 11]) for c in pool)
    if rng.random() < 0.1:
        form += rng.choice(["-", "y", "YY", "\xe9", " "])
    return form if rng.random() < 0.1 else form[:20]


def random_date(rng, model=None):
    shape = rng.random()
    if model and model.special and shape < 0.2:
        return dict(rng.choice(list(model.special.values())))
    if shape < 0.3:
        return {"year": rng.choice([0, 1, 1753, -1, 9999, 10000, 32767, -32768, rng.randint(1700, 2200)]),
                "month": rng.choice([0, 1, 2, 12, 13, -1, 127]), "day": rng.choice([0, 1, 29, 30, 31, 32, -128]),
                "hour": rng.choice([0, 23, 24, -1]), "minute": rng.choice([0, 59, 60, -5]),
                "second": rng.choice([0, 59, 60]), "hundredths": rng.choice([0, 0, 1, 99, 100, -1]),
                "micro": rng.choice([0, 5, 999999, 1000000, -1, 2147483647])}
    year = rng.choice([rng.randint(1890, 2110), rng.randint(1735, 2165), rng.randint(0, 9999)])
    month = rng.randint(1, 12)
    day = rng.choice([1, rng.randint(1, month_length(year, month)), month_length(year, month)])
    timed = rng.random() < 0.6
    return {"year": year, "month": month, "day": day,
            "hour": rng.randint(0, 23) if timed else 0, "minute": rng.randint(0, 59) if timed else 0,
            "second": rng.randint(0, 59) if timed else 0,
            "hundredths": rng.choice([0, 0, 0, rng.randint(1, 99)]),
            "micro": rng.randrange(1000000) if timed else 0}


def random_field(rng, width):
    kind = rng.choice([1, 1, 1, 16, 16, 16, 6, 8, 9, rng.choice(data_model.NUMERIC), rng.choice(data_model.TEXT)])
    digits = width if rng.random() < 0.8 else rng.choice([0, max(0, width - 1), width + 1, rng.randint(0, 40)])
    need = digits or width
    if kind in data_model.BINARY:
        size = rng.choice([s for s in range(1, 17) if data_model.sure_digits(s, True) >= need][:2] or [16])
    elif kind in (8, 9):
        size = need // 2 + 1
    elif kind == 10:
        size = (need + 1) // 2
    elif kind == 23:
        size = rng.choice([4, 8])
    else:
        size = need + (kind in (2, 4, 6, 36, 38))
        size *= 2 if kind in NATIONAL else 1
    if rng.random() < 0.1:
        size = max(0, size + rng.choice([-size, -2, -1, 1, 2, 9]))
    return kind, digits, rng.choice([0] * 19 + [rng.randint(-3, 2)]), size


def random_content(rng, model, field, form):
    kind, digits, scale, size = field
    shape = rng.random()
    if shape < 0.15:
        pool = rng.choice([b"0", b"9", b" ", b"\0", b"\xff", b"0\0", b"9\xff", b"0 ", b"9 "])
        return bytes(rng.choice(pool) for _ in range(size))
    if shape < 0.2:
        return rng.randbytes(size)
    if shape < 0.25:
        return fill((kind, digits, scale, bytes(size)), rng.choice("09")) or bytes(size)
    try:
        text = model.format(form, random_date(rng, model), 0)
    except Failure:
        text = str(rng.randrange(10 ** rng.randint(1, 10)))
    if rng.random() < 0.25 and text:
        at = rng.randrange(len(text))
        text = text[:at] + rng.choice("019 :/AaIJ-\0\xff") + text[at + rng.randint(0, 1):]
    if rng.random() < 0.15:
        text = " " * rng.randint(0, 3) + text.lstrip("0").rstrip(" ")[:rng.randint(0, 20)]
    if rng.random() < 0.1:
        text = text.replace("0", " ", rng.randint(1, 3))
    if kind in (17, 19) and rng.random() < 0.6:
        text = text.rjust(size)
    stored = store((kind, digits, scale, b"x" * size), text)
    return rng.randbytes(size) if stored is None else stored


def random_settings(rng):
    settings = {}
    def some(name, chance, values):
        if rng.random() < chance:
            settings[name] = str(rng.choice(values))
    some("4GL_JULIAN_BASE_DATE", 0.35, [20000101, 16010101, 101, 99991231, 19000301, 20000101, 19000229, 20001301, -1,
                                        2147483647])
    some("4GL_JULIAN_NULL", 0.3, [1, -1, 36525, 38716, ordinal(1, 1, 1)])
    some("4GL_2000_CUTOFF", 0.4, [0, 1, 50, 99, 100, 150, -5, 32767])
    for name in ("4GL_CONVERT_DATES", "4GL_CONVERT_DATE_ZERO", "4GL_8_DIGIT_CUTOFF",
                 "PLEX_DATE_MAX_HIGH_VALUES", "PLEX_DATE_MIN_LOW_VALUES"):
        some(name, 0.4, [0, 1])
    dates = ["20991231", "00010101", "17530101", "19000101", "99991231", "20991231235959", "1999", "20051231235959999999",
             "null", "Null", "20050231", "00000000", "99999999", "nonsense", "", "200512312359591234567", "2005 1 1",
             "18991231"]
    for name in ("INVALID", "NINE", "NULL", "ZERO"):
        some("PLEX_DATE_%s_VALUE" % name, 0.4, dates)
    return settings


def random_case(rng, model):
    form = random_format(rng)
    field = random_field(rng, len(letters(form)) or rng.choice([6, 8]))
    if form == "" and rng.random() < 0.7:
        field = rng.choice([(6, 6, 0, 7), (8, 8, 0, 5)])
    direction = rng.choice([1, 2])
    known = form or {6: "YYMMDD"}.get(field[0], "YYYYMMDD")
    data = random_content(rng, model, field, known) if direction == 1 else rng.randbytes(field[3])
    date = random_date(rng, model)
    date_value = rng.choice([0, -1, 19000101, 17530101, 20051231, 991231, 5, 20050231, -20051231,
                             date["year"] * 10000 + date["month"] * 100 + date["day"],
                             rng.randrange(10 ** rng.randint(1, 9)), 2147483647, -2147483648])
    return (*field[:3], data), form, direction, date_value, rng.choice([0, 0, 1]), date


def line_of(case):
    (kind, digits, scale, data), form, direction, date_value, illegal, date = case
    return "convert %d %d %d %s %s %d %d %d %s" % (
        kind, digits, scale, data.hex() or "-", form.encode("latin-1").hex() or "-", direction, date_value, illegal,
        " ".join(str(date[name]) for name in MEMBERS))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("program")
    parser.add_argument("--cases", type=int, default=100000)
    parser.add_argument("--seed", type=int, default=20240229)
    parser.add_argument("--shown", type=int, default=10, help="wrong cases to print")
    options = parser.parse_args()

    rng = random.Random(options.seed)
    lines, cases = [], []
    while len(cases) < options.cases:
        settings = random_settings(rng)
        model = Model(settings)
        lines += ["set %s %s" % (name, value.encode("latin-1").hex() or "-") for name, value in settings.items()]
        lines.append("start")
        for _ in range(100):
            case = random_case(rng, model)
            cases.append((model, case))
            lines.append(line_of(case))
    run = subprocess.run([options.program], input="\n".join(lines) + "\n", text=True,
                         stdout=subprocess.PIPE, check=False)
    answers = run.stdout.splitlines()
    if run.returncode != 0 or len(answers) != len(cases):
        sys.exit("%s ended with %d after %d of %d cases" % (
            options.program, run.returncode, len(answers), len(cases)))

    wrong = 0
    outcomes = Counter()
    for (model, case), answer in zip(cases, answers):
        result, data, date = model.convert(case)
        outcomes[("refused", "read", "refused", "written")[2 * (case[2] - 1) + result]] += 1
        expected = "%d %s %s" % (result, data.hex() or "-", " ".join(str(date[name]) for name in MEMBERS))
        if answer != expected:
            wrong += 1
            if wrong <= options.shown:
                print("settings %s\ncase     %s %s\nexpected %s\nbut got  %s" % (
                    model.text, case[1], line_of(case), expected, answer))
    print("%d cases (%s), %d wrong" % (
        len(cases), ", ".join("%d %s" % (n, name) for name, n in outcomes.most_common()), wrong))
    if min(outcomes["refused"], outcomes["read"], outcomes["written"]) < len(cases) // 10:
        sys.exit("the cases are one-sided: every outcome must be well covered")
    sys.exit(1 if wrong else 0)


if __name__ == "__main__":
    main()
