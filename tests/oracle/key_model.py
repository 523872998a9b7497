#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The order of records by a key against a model.

A plain model, segment by segment and byte by byte with bytes as signed numbers, runs
beside the library over random cases, hostile ones among them: segments without bytes
far outside the record, segments that overlap, more segments than a key has places for.
Each pair of records is ordered both ways round.

    key_model.py KEY_CASES [--cases N] [--seed S]

KEY_CASES is the program of key_cases.cpp.  The same seed gives the same cases.
"""

import argparse
import random
import subprocess
import sys
from collections import Counter

PLACES = 16  # for segments, in a key
FAR = [0, 1, 70000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF]


def signed(byte):
    return byte - 256 if byte >= 128 else byte


def order(count, segments, record1, record2):
    for length, offset in segments[:min(count, PLACES)]:
        for i in range(length):
            a, b = signed(record1[offset + i]), signed(record2[offset + i])
            if a != b:
                return -1 if a < b else 1
    return 0


def random_bytes(rng, size):
    kind = rng.random()
    if kind < 0.4:
        return bytes(rng.randrange(256) for _ in range(size))
    if kind < 0.8:  # about the borders of the signed order
        return bytes(rng.choice(b"\x00\x01\x7f\x80\x81\xff\x41\xc1") for _ in range(size))
    return bytes([rng.choice(b"\x00\x7f\x80\xff ")]) * size


def random_segments(rng, count, size):
    segments = []
    for _ in range(min(count, PLACES)):
        if rng.random() < 0.25:
            segments.append((0, rng.choice([*FAR, rng.randint(0, size)])))
        else:
            offset = rng.randint(0, size)
            segments.append((min(size - offset, rng.choice([1, 1, 2, 3, 8, 40])), offset))
    return segments


def second_record(rng, style, segments, record1):
    """One that differs as the style says; never in a byte that a sanitizer could miss."""
    keyed = [offset + i for length, offset in segments for i in range(length)]
    record2 = bytearray(record1)
    if style == "random":
        record2 = bytearray(random_bytes(rng, len(record1)))
    elif style == "one byte" and record2:
        record2[rng.choice(keyed or [0])] = rng.randrange(256)
    elif style == "last byte" and keyed:
        record2[keyed[-1]] ^= 1 << rng.randrange(8)
    elif style == "sign bit" and keyed:
        record2[rng.choice(keyed)] ^= 0x80
    elif style == "outside":
        covered = set(keyed)
        for i in range(len(record2)):
            if i not in covered:
                record2[i] = rng.randrange(256)
    elif style == "several":
        for _ in range(rng.randint(1, 5)):
            if keyed:
                record2[rng.choice(keyed)] = rng.randrange(256)
    return bytes(record2)


STYLES = ["random", "one byte", "last byte", "sign bit", "outside", "several", "equal"]


def case(rng):
    count = rng.choice([0, 1, 1, 1, 2, 2, 3, 4, 5, 8, 15, 16, 17, 65535])
    size = rng.choice([0, 1, 2, 3, 8, 8, 20, 20, 60])
    segments = random_segments(rng, count, size)
    record1 = random_bytes(rng, size)
    style = rng.choice(STYLES)
    return line_and_answer(style, count, segments, record1,
                           second_record(rng, style, segments, record1))


def long_case(rng):
    """One segment as long as there are."""
    record1 = random_bytes(rng, 65535 + rng.randint(0, 3))
    segments = [(65535, len(record1) - 65535)]
    style = rng.choice(["last byte", "one byte", "equal"])
    return line_and_answer("long", 1, segments, record1,
                           second_record(rng, style, segments, record1))


def line_and_answer(style, count, segments, record1, record2):
    # No byte behind the last one that a segment has.
    end = max((offset + length for length, offset in segments if length), default=0)
    record1, record2 = record1[:end], record2[:end]
    line = f"{count} {len(segments)} "
    line += "".join(f"{length} {offset} " for length, offset in segments)
    line += f"{record1.hex() or '-'} {record2.hex() or '-'}"
    found = order(count, segments, record1, record2)
    back = order(count, segments, record2, record1)
    assert found == -back
    return line, f"{found} {back}", (style, found)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("program")
    parser.add_argument("--cases", type=int, default=100000)
    parser.add_argument("--seed", type=int, default=19830401)
    options = parser.parse_args()

    rng = random.Random(options.seed)
    cases = [case(rng) for _ in range(options.cases)]
    cases += [long_case(rng) for _ in range(options.cases // 5000)]
    run = subprocess.run([options.program], input="\n".join(line for line, _, _ in cases) + "\n",
                         text=True, stdout=subprocess.PIPE, check=False)
    answers = run.stdout.splitlines()
    if run.returncode != 0 or len(answers) != len(cases):
        sys.exit("%s ended with %d after %d of %d cases; the next one: %s" % (
            options.program, run.returncode, len(answers), len(cases),
            cases[min(len(answers), len(cases) - 1)][0]))

    wrong = 0
    outcomes = Counter()
    for (line, expected, outcome), answer in zip(cases, answers):
        outcomes[outcome] += 1
        if answer != expected:
            wrong += 1
            if wrong <= 10:
                print("case     %s\nexpected %s\nbut got  %s" % (line, expected, answer))
    for (style, found), number in sorted(outcomes.items()):
        print("%-10s %2d %7d" % (style, found, number))
    print("%d cases, %d wrong" % (len(cases), wrong))
    wanted = [(style, found) for style in STYLES if style not in ("outside", "equal")
              for found in (-1, 0, 1)] + [("outside", 0), ("equal", 0)]
    if min(outcomes[outcome] for outcome in wanted) < options.cases // 100:
        sys.exit("the cases are one-sided: every outcome must be well covered")
    sys.exit(1 if wrong else 0)


if __name__ == "__main__":
    main()
