#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The COBOL programs that read and write XML, compiled and run.

    xml_examples_test.py COMPILER LIBRARIES BITS FOLDER [PRELOAD]

Expected texts are worked out from the documents; the totals of the long one are
counted by its generator.
"""

import errno
import sys

sys.dont_write_bytecode = True
from cobol import TOP, Build  # noqa: E402

LONG = 12000  # orders: some 100000 elements, more than a handle has values without a sign
GROWTH_KILOBYTES = 512

ORDERS = """<?xml version="1.0" encoding="{encoding}"?>
<!-- of March -->
<o:orders xmlns="urn:example:elsewhere" xmlns:o="urn:example:orders" currency="EUR">
  <o:order number="700001" date="2024-03-01">
    <o:customer id="10017">Müller &amp; Söhne</o:customer>
    <o:line item="ITEM-1001">
      <o:text>bolt, M6 &lt;zinc&gt;</o:text><o:quantity>200</o:quantity>
      <o:price> 0.125 </o:price>
      <o:delivery date="2024-03-05">150</o:delivery>
      <o:delivery date="2024-03-09">50</o:delivery>
      <line item="not ours"/>
    </o:line>
    <order>not ours</order>
    <o:line item="ITEM-1002">
      <o:delivery date="2024-03-05">12</o:delivery>
      <o:quantity>12</o:quantity><o:price><![CDATA[3.50]]></o:price>
    </o:line>
    <o:note>call
first</o:note>
  </o:order>
  <order number="1" date="2024-03-01">not ours</order>
  <o:order date="2024-03-02" number="700002">
    <o:line item="ITEM-1038"><o:price>4.43</o:price><o:quantity>-3</o:quantity></o:line>
    <o:customer id="10044">Bakker</o:customer>
  </o:order>
</o:orders>
"""
# 200 * 0.125 = 25; 12 * 3.5 = 42; -3 * 4.43 = -13.29; together 53.71.
ORDERS_SHOWN = """\
order 700001      2024-03-01  10017   Müller & Söhne
   1  ITEM-1001   bolt, M6 <zinc>         200.0000      0.1250           25.00
      (1, 1)      2024-03-05              150.0000
      (1, 2)      2024-03-09               50.0000
   2  ITEM-1002                            12.0000      3.5000           42.00
      (2, 1)      2024-03-05               12.0000
      note: call first
      total                                                              67.00
order 700002      2024-03-02  10044   Bakker
   1  ITEM-1038                            -3.0000      4.4300          -13.29
      total                                                             -13.29
2 orders, 3 lines, 53.71 EUR
"""

INCOMPLETE = """<orders>
<order/>
<order number="2" date="2024-04-01"><customer>B</customer>
<line item="I-1"><quantity>1x</quantity><price>1</price></line>
<line item="I-2"><quantity>2</quantity></line>
<line item="I-3"><quantity>3</quantity><price>0.00001</price></line>
<line item="I-4"><quantity>1000000</quantity><price>1</price></line>
<line item="I-5"><quantity>4</quantity><price>2</price><delivery>all</delivery></line>
</order>
<order number="3" date="2024-04-02"><customer>{long}</customer></order>
</orders>"""
INCOMPLETE_SHOWN = """\
order ?                               (no customer)
      total                                                               0.00
order 2           2024-04-01          B
   1  I-1
   2  I-2                                   2.0000
   3  I-3                                   3.0000
   4  I-4
   5  I-5                                   4.0000      2.0000            8.00
      (5, 1)
      total                                                               8.00
order 3           2024-04-02          {long:.40}
      total                                                               0.00
3 orders, 5 lines, 8.00
"""
INCOMPLETE_TOLD = """\
order ?: no number
order ?: no date
order ?: no customer
order 2: line 1: the quantity is no number: 1x
order 2: line 2: no price
order 2: line 3: the price is no number: 0.00001
order 2: line 4: the quantity is no number: 1000000
order 2: a delivery that is no number
order 3: a text of 200 bytes is cut
"""

FIRST = """<?xml version="1.0"?>
<orders currency="EUR">
  <order number="1" date="2024-01-31"><customer id="7">A</customer></order>
"""
FIRST_SHOWN = """\
order 1           2024-01-31  7       A
      total                                                               0.00
"""

# (file, document or None, what is printed, what is said of it, exit code)
READ = [
    ("latin1.xml", ORDERS.format(encoding="ISO-8859-1").encode("latin-1"), ORDERS_SHOWN, "", 0),
    ("utf8.xml", ORDERS.format(encoding="UTF-8").encode(), ORDERS_SHOWN, "", 0),
    ("utf8_mark.xml", ORDERS.format(encoding="utf-8").encode("utf-8-sig"), ORDERS_SHOWN, "", 0),
    ("utf16le.xml", b"\xff\xfe" + ORDERS.format(encoding="UTF-16").encode("utf-16-le"), ORDERS_SHOWN, "", 0),
    ("utf16be.xml", b"\xfe\xff" + ORDERS.format(encoding="UTF-16").encode("utf-16-be"), ORDERS_SHOWN, "", 0),
    ("cp1252.xml", ORDERS.format(encoding="windows-1252").encode("cp1252"), ORDERS_SHOWN, "", 0),
    ("incomplete.xml", INCOMPLETE.format(long="x" * 200).encode(), INCOMPLETE_SHOWN.format(long="x" * 200),
     "".join(f"incomplete.xml: {line}\n" for line in INCOMPLETE_TOLD.splitlines()), 1),
    ("none.xml", None, "", "none.xml: Unable to open named file (3)\n", 2),
    ("empty.xml", b"", "", "empty.xml: Invalid XML file or other parsing error (4)\n"
     "    line 1, column 1: no element found (XML error 3)\n", 2),
    ("nothing.xml", b"<orders/>", "0 orders, 0 lines, 0.00\n", "", 0),
    ("no_start.xml", b"<?xml version='1.0'?>\n<!-- a --><b c=d>", "",
     "no_start.xml: Invalid XML file or other parsing error (4)\n"
     "    line 2, column 16: not well-formed (invalid token) (XML error 4)\n", 2),
    ("mismatch.xml", (FIRST + '  <order number="2"><note>x</nota></order>\n</orders>').encode(), FIRST_SHOWN,
     "mismatch.xml: not read to its end, orders read: 1\n    line 4, column 30: mismatched tag (XML error 7)\n", 2),
    ("cut.xml", FIRST.encode(), FIRST_SHOWN,
     "cut.xml: not read to its end, orders read: 1\n    line 4, column 1: no element found (XML error 3)\n", 2),
    ("entity.xml", (FIRST + "<order>&none;</order></orders>").encode("utf-16"), FIRST_SHOWN,
     "entity.xml: not read to its end, orders read: 1\n    line 4, column 8: undefined entity (XML error 11)\n", 2),
    # Two elements of one name on each level: an array of more than a thousand dimensions.
    ("deep.xml", b"<orders><order>" + b"<a/><a>" * 1002 + b"</a>" * 1002 + b"</order></orders>", "",
     "deep.xml: not read to its end, orders read: 0\n"
     "    no memory, or more of it asked for than the file is worth\n", 2),
    ("prefix.xml", b"<orders xmlns:='urn:example:orders'/>", "0 orders, 0 lines, 0.00\n",
     "prefix.xml: not a prefix of up to 63 characters: xmlns:\n", 1),
    ("long_prefix.xml", f"<{'p' * 63}:orders xmlns:{'p' * 63}='urn:example:orders'><{'p' * 63}:order number='9' date='2024-01-01'>"
     f"<{'p' * 63}:customer>A</{'p' * 63}:customer></{'p' * 63}:order></{'p' * 63}:orders>".encode(),
     "order 9           2024-01-01          A\n"
     "      total                                                               0.00\n1 orders, 0 lines, 0.00\n", "", 0),
    ("encoding.xml", b"<?xml version='1.0' encoding='x-none'?><orders/>", "",
     "encoding.xml: Invalid XML file or other parsing error (4)\n"
     "    line 1, column 31: unknown encoding (XML error 18)\n", 2),
]

# What the writer's three orders are when they are read; 25 + 42 + 4.43 - 7 = 64.43.
WRITTEN_SHOWN = """\
order 700001      2024-03-01  10017   Müller & Söhne
   1  ITEM-1001   bolt, M6 <zinc>         200.0000      0.1250           25.00
   2  ITEM-1002   nut & washer             12.0000      3.5000           42.00
      note: call first, "2nd floor"
      total                                                              67.00
order 700002      2024-03-02  10044   Bakker
   1  ITEM-1038   bracket                   1.0000      4.4300            4.43
      total                                                               4.43
order 700003      2024-03-11  10017   Müller & Söhne
   1  ITEM-1002   nut & washer             -2.0000      3.5000           -7.00
      total                                                              -7.00
3 orders, 4 lines, 64.43 EUR
"""
WRITTEN = """\
<?xml version="1.0" encoding="{encoding}" standalone="yes"?>
<?xml-stylesheet type="text/css" href="orders.css"?>
<!-- orders of March -->
<orders
     xmlns="urn:example:orders"
     currency="EUR">
  <order
       number="700001"
       date="2024-03-01">
    <customer
         id="10017">Müller &amp; Söhne</customer>
    <line
         item="ITEM-1001">
      <text>bolt, M6 &lt;zinc&gt;</text>
      <quantity>200</quantity>
      <price>0.1250</price>
    </line>
    <line
         item="ITEM-1002">
      <text>nut &amp; washer</text>
      <quantity>12</quantity>
      <price>3.5000</price>
    </line>
    <note>call first, &quot;2nd floor&quot;</note>
  </order>
  <order
       number="700002"
       date="2024-03-02">
    <customer
         id="10044">Bakker</customer>
    <line
         item="ITEM-1038">
      <text>bracket</text>
      <quantity>1</quantity>
      <price>4.4300</price>
    </line>
  </order>
  <!-- goods taken back -->
  <order
       number="700003"
       date="2024-03-11">
    <customer
         id="10017">Müller &amp; Söhne</customer>
    <line
         item="ITEM-1002">
      <text>nut &amp; washer</text>
      <quantity>-2</quantity>
      <price>3.5000</price>
    </line>
  </order>
</orders>
"""

failures = []


def expect(what, got, expected):
    for name, left, right in zip(("exit code", "output", "error output"), got, expected):
        if left != right:
            failures.append(f"{what}: {name}\n{left}\ninstead of\n{right}")


def said(program, text):
    return "".join(f"{program}: {line}\n" if not line.startswith(" ") else line + "\n"
                   for line in text.splitlines()).encode("latin-1")


def check_reading(build, program, static):
    for name, document, shown, told, code in READ:
        if document is not None:
            (build.folder / name).write_bytes(document)
        expect(f"reading {name}", build.run(program, name, static=static),
               (code, shown.encode("latin-1"), said("read_orders_xml", told)))


def check_ways(build, program):
    """Standard input, a character set of the program's own, and what cannot be read."""
    document = (build.folder / "latin1.xml").read_bytes()
    expect("standard input", build.run(program, "-", stdin=document), (0, ORDERS_SHOWN.encode("latin-1"), b""))
    expect("text in UTF-8", build.run(program, "latin1.xml", settings=[("COBOL_CODE_PAGE", "65001")]),
           (0, ORDERS_SHOWN.encode(), b""))
    expect("an error on standard input", build.run(program, "-", stdin=b"<orders><order/></a>"),
           (2, b"order ?                               (no customer)\n"
            b"      total                                                               0.00\n",
            said("read_orders_xml", "-: order ?: no number\n-: order ?: no date\n-: order ?: no customer\n"
                 "-: not read to its end, orders read: 1\n    mismatched tag (XML error 7)\n")))
    # Nobody has memory at address 0.
    expect("a file that cannot be read", build.run(program, "/proc/self/mem"),
           (2, b"", said("read_orders_xml", "/proc/self/mem: Invalid XML file or other parsing error (4)\n"
                         f"    error {errno.EIO} of the system\n")))
    expect("no argument", build.run(program), (2, b"", b"usage: read_orders_xml FILE\n"))
    (build.folder / "folder.xml").mkdir(exist_ok=True)
    expect("a directory", build.run(program, "folder.xml"),
           (2, b"", said("read_orders_xml", "folder.xml: Unable to open named file (3)")))


def write_long(path, orders):
    """A long file, and what is printed of it."""
    total, lines, shown = 0, 0, []
    with open(path, "w", encoding="utf-8") as document:
        document.write('<?xml version="1.0" encoding="UTF-8"?>\n<orders currency="EUR">\n')
        for i in range(orders):
            document.write(f'<order number="{i}" date="2024-05-{i % 28 + 1:02}"><customer id="{i % 97}">Kunde {i} ü</customer>\n')
            shown.append(f"order {i:<12}2024-05-{i % 28 + 1:02}  {i % 97:<8}Kunde {i} ü")
            sum_of_order = 0
            for line in range(1, i % 3 + 2):
                quantity, hundredths = i % 50 + line, i * 7 % 10000 + 1
                document.write(f'<line item="I-{line}"><quantity>{quantity}</quantity>'
                               f"<price>{hundredths // 100}.{hundredths % 100:02}</price></line>\n")
                amount = quantity * hundredths
                shown.append(f"{line:4}  {f'I-{line}':32}{quantity:7}.0000{hundredths // 100:7}.{hundredths % 100:02}00"
                             f"{amount // 100:13}.{amount % 100:02}")
                sum_of_order += amount
                lines += 1
            document.write("</order>\n")
            shown.append(f"      total{sum_of_order // 100:64}.{sum_of_order % 100:02}")
            total += sum_of_order
        document.write("</orders>\n")
    shown.append(f"{orders} orders, {lines} lines, {total // 100}.{total % 100:02} EUR")
    return "".join(line + "\n" for line in shown).encode("latin-1")


def check_long(build, program):
    shown = write_long(build.folder / "long.xml", LONG)
    size = (build.folder / "long.xml").stat().st_size
    if size < 1000000:
        failures.append(f"the long file has {size} bytes only")
    code, output, errors = build.run(program, "long.xml")
    if (code, output, errors) != (0, shown, b""):
        differ = next((pair for pair in zip(output.splitlines(), shown.splitlines()) if pair[0] != pair[1]), None)
        failures.append(f"the long file: exit code {code}, {errors[:500]}, first difference {differ}")
    if not build.preload:  # the sanitizers keep what was freed
        write_long(build.folder / "short.xml", LONG // 12)
        short, long = (build.peak_kilobytes(program, name) for name in ("short.xml", "long.xml"))
        if long - short > GROWTH_KILOBYTES:
            failures.append(f"the long file took {long} KB, a twelfth of it {short} KB")


def check_writing(build, writer, reader, static):
    for encoding, codec in [("ISO-8859-1", "latin-1"), ("UTF-8", "utf-8"), ("UTF-16LE", "utf-16-le"),
                            ("UTF-16BE", "utf-16-be")]:
        name = f"written-{encoding}.xml"
        arguments = [name] if encoding == "ISO-8859-1" else [name, encoding]
        expect(f"writing {name}", build.run(writer, *arguments, static=static),
               (0, f"write_orders_xml: {name}: 3 orders\n".encode(), b""))
        written = (build.folder / name).read_bytes()
        expected = WRITTEN.format(encoding=encoding).encode(codec)
        if written != expected:
            failures.append(f"{name} holds\n{written}\ninstead of\n{expected}")
        expect(f"reading {name}", build.run(reader, name, static=static),
               (0, WRITTEN_SHOWN.encode("latin-1"), b""))


def check_failing_writes(build, writer):
    for what, arguments, told in [
        ("no argument", [], "usage: write_orders_xml FILE [ENCODING]\n"),
        ("no such encoding", ["x.xml", "x-none"], "write_orders_xml: not an encoding: x-none\n"),
        ("no such folder", ["no/x.xml"], "write_orders_xml: no/x.xml: cannot be opened\n"),
        ("a full disk", ["/dev/full"], "write_orders_xml: /dev/full: the disk did not take all of it\n"),
    ]:
        expect(what, build.run(writer, *arguments), (2, b"", told.encode()))
    if (build.folder / "x.xml").exists():
        failures.append("x.xml was made")


def main(*arguments):
    build = Build(*arguments)
    for static in (True, False):
        reader, writer = (build.compile(TOP / f"examples/{name}_orders_xml.cob", static) for name in ("read", "write"))
        check_reading(build, reader, static)
        check_writing(build, writer, reader, static)
        if static:
            check_ways(build, reader)
            check_long(build, reader)
            check_failing_writes(build, writer)
    for failure in failures:
        print(failure)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
