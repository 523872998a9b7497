#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Comparison of text, of signed digits, and evaluation of conditions against a model.

A plain model of the rules, walking byte by byte and calling itself where a condition
asks for another, runs beside the library over random cases, hostile ones among them:
conditions that refer to themselves, in circles and in long chains, operands and fields
that are not there.  Results, result bits and the order of evaluations must agree.

    condition_model.py CONDITION_CASES [--cases N] [--seed S]

CONDITION_CASES is the program of condition_cases.cpp, N the cases of each kind.  The
same seed gives the same cases.
"""

import argparse
import random
import subprocess
import sys
import threading
from collections import Counter

SIGNED = [*range(128), *range(-128, 0)]  # a byte as a signed character
EQUAL, AND, OTHER, GREATER, NOT_LESS, LESS, NOT_GREATER, UNEQUAL, OR = range(1, 10)


def sign(number):
    return (number > 0) - (number < 0)


def compare_bytes(a, b):
    return (a > b) - (a < b)


def compare_text(data, value):
    """The walk with one index; the last decision wins."""
    n = min(len(data), 50)
    value = value.ljust(51, b"\0")
    order = compare_bytes(data[:n], value[:n])
    if order == 0:
        return 0
    i = 0
    while i < n:
        if data[i] == value[i]:
            i += 1
            continue
        if value[i] != 0:
            break
        order = 0
        while i < n and data[i] == 0x20:
            i += 1
        if i == n:
            break
        order = 1
        i += 1
    return order


def compare_digits(a, b, length):
    """Texts with zero bytes behind their ends."""
    a = a.ljust(length + 4, b"\0")
    b = b.ljust(length + 4, b"\0")
    negative = False
    if a[:1] == b"-":
        if b[:1] != b"-":
            return -1
        a, b, length, negative = a[1:], b[1:], length - 1, True
        if b[:1] == b"+":
            b = b[1:]
    else:
        if b[:1] == b"-":
            return 1
        if a[:1] == b"+":
            a, length = a[1:], length - 1
        if b[:1] == b"+":
            b = b[1:]
    for i in range(length):
        if a[i] != b[i]:
            order = 1 if SIGNED[a[i]] > SIGNED[b[i]] else -1
            return -order if negative else order
    return 0


class Field:
    def __init__(self, offset, size, kind, digits):
        self.offset, self.size, self.kind, self.digits = offset, size, kind, digits

    def compare(self, record, value):
        data = record[self.offset:self.offset + self.size]
        if self.kind != 1:
            return compare_text(data, value)
        # Unsigned digits; what is none, or has no room for one, leaves no text.
        if data.isdigit() and self.digits > 0:
            text = b"+" + data[-self.digits:].rjust(self.digits, b"0")
        else:
            text = b""
        return compare_digits(text, value, self.digits + 1)


class Condition:
    def __init__(self, kind, num1, num2, field, bit, value):
        self.kind, self.num1, self.num2 = kind, num1, num2
        self.field, self.bit, self.value = field, bit, value


class Call:
    """One call from outside."""

    def __init__(self, fields, conditions, record):
        self.fields, self.conditions, self.record = fields, conditions, record
        self.begun = []
        self.evaluated = set()

    def evaluate(self, n):
        self.begun.append(n)
        if n == 0:
            return 1
        if n < 0 or n > len(self.conditions):
            return 0
        self.evaluated.add(n)
        c = self.conditions[n - 1]
        if c.kind == AND:
            c.bit = int(self.operand(c.num2, n) and self.operand(c.num1, n))
        elif c.kind == OR:
            c.bit = int(self.operand(c.num2, n) or self.operand(c.num1, n))
        elif c.kind == OTHER:
            rivals = [k for k in range(1, len(self.conditions) + 1)
                      if k != n and self.conditions[k - 1].field == c.field]
            c.bit = int(not any(self.operand(k, n) for k in rivals))
        else:
            c.bit = int(self.compare(c))
        return c.bit

    def compare(self, c):
        if c.kind < 1 or c.kind > 9 or not 0 <= c.field < len(self.fields):
            return False
        order = sign(self.fields[c.field].compare(self.record, c.value))
        return {EQUAL: order == 0, GREATER: order > 0, NOT_LESS: order >= 0, LESS: order < 0,
                NOT_GREATER: order <= 0, UNEQUAL: order != 0}[c.kind]

    def operand(self, m, n):
        if m <= 0:
            return 0
        if m <= n or m in self.evaluated:
            return self.conditions[m - 1].bit
        return self.evaluate(m)


# Random cases: the line, the model's answer, and what kind of outcome it is.


def hexed(data):
    return data.hex() or "-"


def random_bytes(rng, letters, most):
    return bytes(rng.choices(letters, k=rng.randint(0, most)))


def text_case(rng):
    letters = rng.choice([b"A ", b"AB  ", b"AB  \0\xff", b" \0", bytes(range(256))])
    value = random_bytes(rng, [c for c in letters if c], rng.choice([3, 8, 50]))
    data = random_bytes(rng, letters, rng.choice([3, 8, 60]))
    if rng.random() < 0.7:
        # Data that goes on where the value ends.
        rest = random_bytes(rng, letters, rng.choice([2, 6, 55]))
        data = value[:rng.choice([1, 50])] + rest if rng.random() < 0.3 else value + rest
    if rng.random() < 0.5:
        data = data.ljust(rng.randint(0, 55))
    order = compare_text(data, value)
    return f"T {hexed(data)} {hexed(value)}", f"{order} {int(order == 0)}", order


def digits_case(rng):
    letters = rng.choice([b"01", b"0123456789", b"0+-", bytes(range(256))])
    length = rng.choice([*range(-1, 6), 20])
    signs = [b"", b"", b"+", b"-", b"-+", b"++", b"--"]
    size = max(length, 0) + 2
    a = (rng.choice(signs) + bytes(rng.choices(letters, k=size)))[:size]
    b = (rng.choice(signs) + (a.lstrip(b"+-") if rng.random() < 0.6 else b"") +
         bytes(rng.choices(letters, k=size)))[:size]
    order = compare_digits(a, b, length)
    return f"N {a.hex()} {b.hex()} {length}", str(order), order


def reference(rng, number, count):
    """An operand: mostly another condition, also itself, none, and beyond."""
    return rng.choice([rng.randint(1, count), rng.randint(1, count), min(number + 1, count), number,
                       rng.randint(number, count), rng.choice([0, -1, -32768, 32767, count + 1])])


def conditions_case(rng):
    record = bytes(rng.choices(b"AB  019", k=12))
    fields = []
    for _ in range(rng.randint(1, 3)):
        offset = rng.randint(0, 11)
        size = rng.randint(0, 12 - offset)
        fields.append(Field(offset, size, rng.choice([1, 16]), rng.choice([size, size, 0, 3, 9])))
    style = rng.choice(["mixed", "mixed", "combined", "chain", "others"])
    # Above 64 conditions the work stack is a block of memory.
    count = rng.choice([2, 3, 4, 5, 6, 8, 12]) if rng.random() < 0.97 else rng.randint(60, 130)
    conditions = []
    for n in range(1, count + 1):
        kind = rng.choice([1, 1, 4, 5, 6, 7, 8, AND, AND, OR, OR, OTHER, OTHER, rng.choice([0, 10, -1])])
        if style == "combined":
            kind = rng.choice([AND, OR])
        elif style == "chain" and n < count:
            kind = rng.choice([AND, OR, OTHER])
        elif style == "others" and n < count:
            kind = OTHER
        num1, num2 = reference(rng, n, count), reference(rng, n, count)
        if style == "chain" and kind != OTHER:
            num2 = n + 1
        field = rng.randrange(len(fields)) if rng.random() < 0.93 else rng.choice([len(fields), 300, -1])
        value = random_bytes(rng, b"AB 01+", rng.choice([1, 4]))
        if rng.random() < 0.4 and 0 <= field < len(fields):
            f = fields[field]
            value = record[f.offset:f.offset + f.size][:50]
            value = b"+" + value if f.kind == 1 else value.rstrip()
        conditions.append(Condition(kind, num1, num2, field, rng.randint(0, 1), value))
    numbers = [*range(1, min(count, 20) + 1)] if rng.random() < 0.4 else [
        rng.choice([rng.randint(1, count), 1, 0, count + 1, -1]) for _ in range(rng.randint(1, 3))]

    line = f"C {len(fields)}"
    line += "".join(f" {f.offset} {f.size} {f.kind} {f.digits}" for f in fields)
    line += f" {count}"
    line += "".join(f" {c.kind} {c.num1} {c.num2} {c.field} {c.bit} {hexed(c.value)}" for c in conditions)
    line += f" {hexed(record)} {len(numbers)} " + " ".join(map(str, numbers))
    answers = []
    for number in numbers:
        call = Call(fields, conditions, record)
        truth = call.evaluate(number)
        assert len(set(call.begun) & set(range(1, count + 1))) == len(
            [n for n in call.begun if 1 <= n <= count])
        bits = "".join(str(c.bit) for c in conditions)
        answers.append(f"{truth}:{bits}:{','.join(map(str, call.begun))}")
    outcome = f"{truth} after {'one' if len(call.begun) == 1 else 'several'}"
    return line, " ".join(answers), outcome


def chain_case(rng):
    """One long chain, with a way back to its beginning."""
    count = rng.randint(2000, 4000)
    conditions = [Condition(rng.choice([AND, OR]), rng.choice([1, n, n + 1]), n + 1, 0,
                            rng.randint(0, 1), b"") for n in range(1, count)]
    conditions.append(Condition(EQUAL, -1, -1, 0, 0, b"A"))
    call = Call([Field(0, 1, 16, 0)], conditions, b"A")
    line = f"C 1 0 1 16 0 {count}"
    line += "".join(f" {c.kind} {c.num1} {c.num2} {c.field} {c.bit} {hexed(c.value)}" for c in conditions)
    truth = call.evaluate(1)
    bits = "".join(str(c.bit) for c in conditions)
    return line + " 41 1 1", f"{truth}:{bits}:{','.join(map(str, call.begun))}", "chain"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("program")
    parser.add_argument("--cases", type=int, default=100000)
    parser.add_argument("--seed", type=int, default=19830401)
    options = parser.parse_args()

    rng = random.Random(options.seed)
    cases = []
    for kind in (text_case, digits_case, conditions_case):
        cases += [(kind.__name__, *kind(rng)) for _ in range(options.cases)]
    cases += [("chain_case", *chain_case(rng)) for _ in range(options.cases // 5000)]
    run = subprocess.run([options.program], input="\n".join(line for _, line, _, _ in cases) + "\n",
                         text=True, stdout=subprocess.PIPE, check=False)
    answers = run.stdout.splitlines()
    if run.returncode != 0 or len(answers) != len(cases):
        sys.exit("%s ended with %d after %d of %d cases; the next one: %s" % (
            options.program, run.returncode, len(answers), len(cases),
            cases[min(len(answers), len(cases) - 1)][1]))

    wrong = 0
    outcomes = Counter()
    for (kind, line, expected, outcome), answer in zip(cases, answers):
        outcomes[kind, outcome] += 1
        if answer != expected:
            wrong += 1
            if wrong <= 10:
                print("case     %s\nexpected %s\nbut got  %s" % (line, expected, answer))
    for (kind, outcome), number in sorted(outcomes.items(), key=str):
        print("%-16s %-20s %7d" % (kind, outcome, number))
    print("%d cases, %d wrong" % (len(cases), wrong))
    if min(n for (kind, _), n in outcomes.items() if kind != "chain_case") < options.cases // 50:
        sys.exit("the cases are one-sided: every outcome must be well covered")
    sys.exit(1 if wrong else 0)


def main_on_a_large_stack():
    """The model calls itself once for each link of a chain."""
    result = []

    def run():
        try:
            main()
        except SystemExit as ending:
            result.append(ending.code)

    sys.setrecursionlimit(40000)
    threading.stack_size(512 << 20)
    thread = threading.Thread(target=run)
    thread.start()
    thread.join()
    sys.exit(result[0] if result else 1)


if __name__ == "__main__":
    main_on_a_large_stack()
