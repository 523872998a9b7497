#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""docs/api/cobol.md and the copybook against the headers and the COBOL compiler.

    cobol_page_test.py CC COMPILER LIBRARIES BITS FOLDER [PRELOAD]

  * the page has one call of every exported XML function and of no other;
  * arguments and results of each call are of the kinds that its prototype has;
  * the calls compile and link, the items have the sizes that the page says;
  * the program of the page prints what the page says;
  * xml_calls.cob makes all calls of the page and finds their results right;
  * every constant of the copybook has the value of the header's, and none of them is
    missing; the items of its records stand where the members of the C records do.

CC is the C compiler with its flags in one argument.
"""

import pathlib
import re
import subprocess
import sys

sys.dont_write_bytecode = True
from cobol import TOP, Build  # noqa: E402

HEADERS = ["xml_element.h", "xml_parser.h", "xml_expat.h", "xml_writer.h"]
# Constants that have no name in C, or one in a comment alone.
COBOL_ONLY = {
    "ZXML_READ_WHOLE": "ZXML_READ_USUAL | ZXML_WHOLE",
    "ZXML_UTF_8": 'Zencoding_name_to_type("UTF-8")',
    "ZXML_UTF_16LE": 'Zencoding_name_to_type("UTF-16LE")',
    "ZXML_UTF_16BE": 'Zencoding_name_to_type("UTF-16BE")',
    "ZXML_ISO_8859_1": 'Zencoding_name_to_type("ISO-8859-1")',
}
# Part of the file error's contract, which has no header of its own.
FILE_ERRORS = {"FILE_ERROR_SYSTEM": 1, "FILE_ERROR_END": 8, "FILE_ERROR_NO_MEMORY": 14, "FILE_ERROR_XML": 19}
NUMBERS = {"ZHandle", "int", "int32_t", "uint32_t", "uint8_t"}

failures = []


def expect(condition, text):
    if not condition:
        failures.append(text)


def header_text(name):
    text = (TOP / "include/wbfsi" / name).read_text(encoding="utf-8")
    return re.sub(r"/\*.*?\*/", " ", text, flags=re.DOTALL)


def prototypes():
    """name -> (result, [argument types]), as in "const char *"."""
    found = {}
    for name in HEADERS:
        for declaration in re.findall(r"^WBFSI_API\s+([^;{]*\));", header_text(name), flags=re.MULTILINE):
            head, _, arguments = declaration.rstrip(")").partition("(")
            function = re.findall(r"\w+", head)[-1]
            types = [re.sub(r"\w+$", "", argument.strip()).strip() for argument in arguments.split(",")]
            found[function] = (head[: head.rindex(function)].strip(), types)
    return found


def page_calls(page):
    """name -> the call, from the rows of the tables."""
    calls = {}
    for name, call in re.findall(r"^\| `(\w+)` \| `(call [^`]*)` \|$", page, flags=re.MULTILINE):
        expect(name not in calls, f"{name} has two rows")
        expect(call.startswith(f'call "{name}" '), f"the row of {name} calls something else")
        calls[name] = call
    return calls


def page_items(page):
    """item -> (usage, C types, bytes in 32 bits, in 64 bits)"""
    items = {}
    for names, *row in re.findall(r"^\| ((?:`[\w-]+` ?)+)\| ([^|]*) \| ([^|]*) \| (\w+) \| (\w+) \|$", page, flags=re.MULTILINE):
        for name in re.findall(r"`([\w-]+)`", names):
            expect(name not in items, f"the item {name} has two rows")
            items[name] = [part.replace("\\*", "*") for part in row]
    return items


def arguments_of(call):
    """([(by value or by reference, item)], item of RETURNING)"""
    words = call.split()[2:]
    mode, passed, returning = "reference", [], None
    while words:
        word = words.pop(0)
        if word == "by":
            mode = words.pop(0)
        elif word == "returning":
            returning = words.pop(0)
        elif word != "using":
            passed.append((mode, word))
    return passed, returning


def check_call(name, call, prototype, items):
    result, types = prototype
    passed, returning = arguments_of(call)
    expect(len(passed) == len(types), f"{name} takes {len(types)} arguments, the page has {len(passed)}")
    for (mode, item), c_type in zip(passed, types):
        usage, c_types = items.get(item, ("nothing", ""))[:2]
        if c_type in ("const char *", "char *"):
            right = mode == "reference" and usage.startswith("pic x")
        elif c_type in ("int32_t *", "const ZxmlTextPiece *"):
            right = mode == "reference" and c_types == c_type.replace("const ", "").replace(" *", "") + ", by reference"
        elif c_type.endswith("*") or c_type == "ZString":
            right = mode == "value" and usage == "usage pointer" and c_type in c_types.split(", ")
        else:
            right = mode == "value" and c_type in NUMBERS and usage.startswith("binary-long") and c_type in c_types.split(", ")
        expect(right, f"{name}: {item} by {mode} does not stand for {c_type}")
    if result == "void":
        expect(returning == "omitted", f"{name} returns nothing")
    else:
        usage, c_types = items.get(returning, ("nothing", ""))[:2]
        pointer = result.endswith("*") or result == "ZString"
        expect(usage == ("usage pointer" if pointer else "binary-long") and result.replace("const void", "void") in c_types.split(", "),
               f"{name}: {returning} does not stand for the result {result}")


def calls_program(calls, items):
    """A program that shows the sizes of the items and has all calls."""
    lines = ["identification division.", "program-id. all_calls.", "data division.", "working-storage section."]
    for name, (usage, *_) in items.items():
        if name == "text-piece":
            lines += ["01  text-piece.", "    05  piece-address   usage pointer.",
                      "    05  piece-length    binary-long.", "    05  piece-code-page binary-long value 2."]
        else:
            lines.append(f"01  {name} {usage.partition(',')[0].replace('(n)', '(80)')}.")
    lines += ["procedure division.", "main-line."]
    lines += [f'    display "{name} " length of {name}' for name in items]
    lines += ["    move 0 to return-code", "    stop run.", "calls."]
    lines += ["    " + call.replace(" by ", "\n        by ").replace(" returning", "\n        returning") for call in calls.values()]
    return "\n".join(lines) + ".\n"


def check_page(build):
    page = (TOP / "docs/api/cobol.md").read_text(encoding="utf-8")
    calls, items, declared = page_calls(page), page_items(page), prototypes()
    exports = re.sub(r"/\*.*?\*/", " ", (TOP / "fsi/exports.map").read_text(encoding="utf-8"), flags=re.DOTALL)
    exported = set(re.findall(r"(\w+);", exports.partition("local:")[0]))
    expect(len(exported & set(declared)) > 60, "the XML functions were not found")
    for name in sorted((exported & set(declared)) ^ set(calls)):
        expect(False, f"{name} is {'not on the page' if name in exported else 'on the page and not exported'}")
    for name in sorted(exported):
        if re.match("Zxml|expat_", name):
            expect(name in declared, f"{name} is exported and in none of {HEADERS}")
    for name in calls:
        if name in declared:
            check_call(name, calls[name], declared[name], items)

    source = build.folder / "all_calls.cob"
    source.write_text(calls_program(calls, items), encoding="utf-8")
    code, output, errors = build.run(build.compile(source))
    expect((code, errors) == (0, b""), f"all_calls ended with {code}: {errors}")
    sizes = dict(line.split() for line in output.decode().splitlines())
    for name, (_, _, in_32, in_64) in items.items():
        size = {32: in_32, 64: in_64}[build.bits].replace("n", "80")
        expect(int(sizes.get(name, -1)) == int(size), f"{name} has {sizes.get(name)} bytes, on the page {size}")

    program, expected = re.search(r"^```cobol\n(.*?)^```\n.*?^```text\n(.*?)^```$", page, flags=re.DOTALL | re.MULTILINE).groups()
    check_calls(build, calls)
    source = build.folder / "show_lines.cob"
    source.write_text(program, encoding="utf-8")
    for static in (True, False):
        code, output, errors = build.run(build.compile(source, static), static=static)
        expect((code, output.decode(), errors) == (0, expected, b""),
               f"the program of the page ended with {code} and printed\n{output.decode()}{errors.decode()}")


# What xml_calls.cob lists on the error output, with H for a handle and A for an address.
# In place of an attribute's name stands the text before it.
ELEMENTS_LISTED = """\
 H - line( 1) = 42 pens & M\u00fc
 H - line( 3)
 H - line( 2)
     line = I-2 < 3
"""
LISTED = ELEMENTS_LISTED + """\
Dumping parser H
fxml: 0
filename:\x20
XML parser: (nil)
 Flags: 0
 version: 1.0
 encoding: ISO-8859-1
 encoding type: 7
 element depth: 0
 standalone: Yes
 Top element: H
Elements ----------------------
""" + ELEMENTS_LISTED + """\
Done --------------------------
XML parser: A
 Flags: 408f8
 version: 1.0
 encoding: ISO-8859-1
 encoding type: 7
 element depth: 0
 standalone: Yes
 Top element: H
Elements ----------------------
 H - line( 1) = 42 pens& M\u00fc
 H - line( 2)
 H - line( 3)
     line = I-2 < 3
Done --------------------------
"""


def check_calls(build, calls):
    source = TOP / "tests/examples/xml_calls.cob"
    text = source.read_text(encoding="utf-8")
    for name in sorted(set(calls) - set(re.findall(r'call "(\w+)"', text))):
        expect(False, f"{name} is not called by {source.name}")
    checks = re.findall(r"^    perform (expect\S*)$", text.partition("\nexpect.\n")[0], flags=re.MULTILINE)
    results = len(checks) + sum("-error" in check and "file" not in check for check in checks)
    # One stands in the branch that is taken when the hash has been found.
    results += len(re.findall(r"^        perform expect-text$", text, flags=re.MULTILINE))
    for static in (True, False):
        code, output, errors = build.run(build.compile(source, static), static=static)
        expect((code, output.decode("latin-1")) == (0, f"{results} results were right\n"),
               f"{source.name} ended with {code} and printed\n{output.decode('latin-1')}")
        listed = re.sub(r"0x[0-9a-f]+", "A", re.sub(r"\b\d{8,}\b", "H", errors.decode("latin-1")))
        expect(listed == LISTED, f"{source.name} listed\n{listed}")


def check_copybook(build, compiler):
    copybook = (TOP / "examples/wbfsi-xml.cpy").read_text(encoding="utf-8")
    lines = [line for line in copybook.splitlines() if line and not line.startswith("*>")]
    constants = {}
    for line in lines:
        match = re.fullmatch(r"78  ([A-Z0-9-]+) +value (\d+)\.", line)
        expect(match is not None, f"the copybook has the line {line!r}")
        if match is not None:
            constants[match.group(1).replace("-", "_")] = int(match.group(2))
    expect(len(constants) == len(lines), "the copybook has a name twice")
    named = set()
    for name in HEADERS:
        for body in re.findall(r"enum \{(.*?)\}", header_text(name), flags=re.DOTALL):
            named |= set(re.findall(r"\b(\w+) =", body))
    expect("ZXML_READ_USUAL" in named, "no constants found in the headers")
    for name in sorted(named - set(constants)):
        expect(False, f"{name} is not in the copybook")
    for name in sorted(set(constants) - named - set(COBOL_ONLY) - set(FILE_ERRORS)):
        expect(False, f"{name} is in the copybook and in no header")
    for name, value in FILE_ERRORS.items():
        expect(constants.get(name) == value, f"{name} is {constants.get(name)}, not {value}")

    values = [(name, value) for name, value in constants.items() if name not in FILE_ERRORS]
    statements = "".join(f'    printf("%d\\n", {COBOL_ONLY.get(name, name)});\n' for name, _ in values)
    in_c = c_lines(build, compiler, "constants", statements)
    expect(len(in_c) == len(values), f"{len(in_c)} constants in C, {len(values)} in the copybook")
    for (name, value), line in zip(values, in_c):
        expect(value == int(line), f"{name} is {value} in the copybook and {line} in C")


def c_lines(build, compiler, name, statements):
    """What a C program with these statements prints."""
    source = build.folder / f"{name}.c"
    source.write_text("#include <host/host.h>\n#include <stddef.h>\n#include <stdio.h>\n#include <wbfsi/wbfsi.h>\n"
                      "int main(void) {\n" + statements + "    return 0;\n}\n", encoding="utf-8")
    program = build.folder / name
    subprocess.run([*compiler.split(), f"-I{TOP}", f"-I{TOP / 'include'}", "-o", program, source,
                    f"-L{build.libraries}", "-lwbhost"], check=True)
    code, output, errors = build.run(program)
    expect((code, errors) == (0, b""), f"{name} ended with {code}: {errors.decode()}")
    return output.decode().splitlines()


def check_records(build, compiler):
    """Each item's offset, found by COBOL and by C."""
    copybook = (TOP / "examples/wbfsi-xml-records.cpy").read_text(encoding="utf-8")
    records = {"zxml-expat-state": "ZxmlExpatState", "zxml-hash-node": "ZxmlHashNode", "zxml-text-piece": "ZxmlTextPiece"}
    members = []
    for level, name in re.findall(r"^ *(\d\d)  ([\w-]+)", copybook, flags=re.MULTILINE):
        if level == "01":
            record = name
        else:
            members.append((record, name))
    expect({record for record, _ in members} == set(records), "the copybook has other records")

    lines = ["identification division.", "program-id. offsets.", "data division.", "working-storage section.",
             'copy "wbfsi-xml-records.cpy".', "01  start-at usage pointer.", "01  start-number redefines start-at binary-c-long unsigned.",
             "01  item-at usage pointer.", "01  item-number redefines item-at binary-c-long unsigned.", "01  shown pic z(5)9.",
             "procedure division.", "main-line."]
    for record, name in members:
        lines += [f"    set start-at to address of {record}", f"    set item-at to address of {name}",
                  "    subtract start-number from item-number giving shown",
                  f'    display "{name} " function trim(shown) " " length of {name}']
    source = build.folder / "offsets.cob"
    source.write_text("\n".join(lines) + "\n    move 0 to return-code\n    stop run.\n", encoding="utf-8")
    code, output, errors = build.run(build.compile(source))
    expect((code, errors) == (0, b""), f"offsets ended with {code}: {errors}")
    statements = ""
    for record, name in members:
        member = name.partition("-")[2].replace("-", "_")
        statements += (f'    printf("{name} %zu %zu\\n", offsetof({records[record]}, {member}), '
                       f"sizeof((({records[record]} *)0)->{member}));\n")
    in_cobol, in_c = output.decode().splitlines(), c_lines(build, compiler, "offsets_in_c", statements)
    expect(len(in_c) == len(members) > 20, f"{len(in_c)} offsets")
    for left, right in zip(in_cobol, in_c):
        name, offset, size = left.split()
        expect(right == f"{name} {offset} {int(size)}", f"the copybook has {left}, C {right}")
    expect(len(in_cobol) == len(in_c), f"{len(in_cobol)} items, {len(in_c)} members")
    for record, c_record in records.items():
        named = [name.partition("-")[2].replace("-", "_") for of, name in members if of == record]
        body = re.search(r"typedef struct " + c_record + r" \{(.*?)\}", "".join(map(header_text, HEADERS)), flags=re.DOTALL).group(1)
        expect(named == re.findall(r"(\w+);", body), f"{record} has {named}, not all members of {c_record} in order")


def main(compiler, *arguments):
    build = Build(*arguments)
    check_copybook(build, compiler)
    check_records(build, compiler)
    check_page(build)
    for failure in failures:
        print(failure)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
