#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""`wbfsi xml`: documents written anew, whole and record by record, their trees, and what
is said about those that are not well formed.

    xml_test.py WBFSI
"""

import os
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree

WBFSI = ""

ORDERS = """<?xml version="1.0" encoding="utf-8"?>
<!-- of March --><?sort by-date?>
<orders year="2026" note="a &lt; b &#x9;&quot;">
  <order id="1"><item>pen</item><item>ink</item></order>
  <order id='2'><!-- rare --><item>  paper \u00e9 </item><empty/></order>
</orders>
"""

# The same as the tool lays it out.
ORDERS_WRITTEN = """<?xml version="1.0" encoding="utf-8"?>
<?sort by-date?>
<!-- of March -->
<orders
     year="2026"
     note="a &lt; b &#x09;&quot;">
  <order
       id="1">
    <item>pen</item>
    <item>ink</item>
  </order>
  <order
       id="2">
    <!-- rare -->
    <item>paper \u00e9</item>
    <empty/>
  </order>
</orders>
"""


def model(document, strips=True):
    """What a document says: names, attributes, texts, as another program reads it."""
    def of(element):
        texts = [element.text or ""] + [child.tail or "" for child in element]
        text = "".join(texts)
        return (element.tag, dict(element.attrib), text.strip() if strips else text,
                [of(child) for child in element])
    return of(ElementTree.fromstring(document))


class Xml(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="wbfsi-")
        self.addCleanup(shutil.rmtree, self.folder)
        self.environment = {name: value for name, value in os.environ.items()
                            if not name.startswith(("XFD_", "4GL_", "COBOL_", "FILE_TRACE",
                                                    "XML_"))}
        self.write("orders.xml", ORDERS.encode())

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, contents):
        with open(self.path(name), "wb") as file:
            file.write(contents)

    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def files(self):
        return sorted(os.listdir(self.folder))

    def run_tool(self, *arguments, **how):
        return subprocess.run([WBFSI, "xml", *arguments], cwd=self.folder, check=False,
                              stderr=subprocess.PIPE, env=self.environment,
                              **{"stdout": subprocess.PIPE, **how})

    def xml(self, *arguments, **how):
        """The output of a run that has nothing to complain about."""
        result = self.run_tool(*arguments, **how)
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        return result.stdout

    def written(self, document, *arguments):
        return self.xml("-", *arguments, input=document)

    def refused(self, *arguments, **how):
        """The message and what was written before it, of a run that fails."""
        result = self.run_tool(*arguments, **how)
        self.assertEqual(result.returncode, 2)
        return result.stderr.decode(), result.stdout

    def from_everywhere(self, document, *arguments):
        """A run for a file, for a standard input that is one, and for a pipe."""
        self.write("document", document)
        yield "document", self.run_tool("document", *arguments)
        with open(self.path("document"), "rb") as file:
            yield "standard input", self.run_tool("-", *arguments, stdin=file)
        yield "standard input", self.run_tool("-", *arguments, input=document)


class Written(Xml):
    def test_a_document_is_laid_out_anew(self):
        for name, result in self.from_everywhere(ORDERS.encode()):
            with self.subTest(name=name):
                self.assertEqual((result.returncode, result.stderr, result.stdout),
                                 (0, b"", ORDERS_WRITTEN.encode()))

    def test_records_make_the_same_document(self):
        for name, result in self.from_everywhere(ORDERS.encode(), "--records"):
            with self.subTest(name=name):
                self.assertEqual((result.returncode, result.stderr, result.stdout),
                                 (0, b"", ORDERS_WRITTEN.encode()))

    def test_a_second_round_changes_nothing(self):
        documents = (
            ORDERS.encode(), b"<a/>", b"<a></a>", b"<a>text</a>", b"<a x='1'/>", b"<a><b/></a>",
            b"<!DOCTYPE a [<!ENTITY e 'text &lt; 1'>\n<!ELEMENT a ANY>]>\n<a>&e;</a>",
            b"<!DOCTYPE a PUBLIC 'p' 's'><a/>", b"<a><![CDATA[x < y]]></a>",
            b"<?xml version='1.0' standalone='yes'?><a b='%s &amp;'>&#x20AC;</a>")
        for document in documents:
            for arguments in ((), ("--records",)):
                with self.subTest(document=document, arguments=arguments):
                    once = self.written(document, *arguments)
                    self.assertEqual(model(once), model(document))
                    self.assertEqual(self.written(once, *arguments), once)

    def test_small_documents_record_by_record(self):
        head = b'<?xml version="1.0" standalone="no"?>\n'
        for document, expected in (
                (b"<a/>", b"<a>\n</a>\n"), (b"<a> \n </a>", b"<a>\n</a>\n"),
                (b"<a>t &gt; u</a>", b"<a>\n  t &gt; u\n</a>\n"),
                (b"<a x='1'/>", b'<a\n     x="1">\n</a>\n'),
                (b"<a>s<b/>t<c/>u</a>", b"<a>\n  s\n  <b/>\n  t\n  <c/>\n  u\n</a>\n"),
                (b"<a><b/><!-- x -- y --></a>".replace(b" -- ", b" - "),
                 b"<a>\n  <b/>\n  <!-- x - y -->\n</a>\n"),
                (b"<a><?p d?><b/><?q?></a>", b"<a>\n  <?p d?>\n  <b/>\n  <?q ?>\n</a>\n"),
                (b"<a><b><a/></b><a>x</a></a>",
                 b"<a>\n  <b>\n    <a/>\n  </b>\n  <a>x</a>\n</a>\n")):
            with self.subTest(document=document):
                self.assertEqual(self.written(document, "--records"), head + expected)

    def test_texts_are_texts(self):
        for text in ("%s%n%x", "$(touch x)", "`touch x`", "\\x41\\n", "a'; DROP TABLE t; --",
                     "&amp;lt;", "]]&gt;", "-", "--output", "<?xml version='1.0'?>", "\u200f\ufeff"):
            with self.subTest(text=text):
                root = ElementTree.Element("a", {"v": text})
                ElementTree.SubElement(root, "b").text = text
                document = ElementTree.tostring(root, encoding="utf-8")
                for arguments in ((), ("--records",)):
                    self.assertEqual(model(self.written(document, *arguments)), model(document))
                self.assertIn((" - b = " + root[0].text + "\n").encode(),
                              self.written(document, "--tree"))
        self.assertEqual(self.files(), ["orders.xml"])

    def test_names_of_files_are_names_of_files(self):
        document = b"<a>1</a>"
        expected = self.written(document)
        for name in ("<?xml version='1.0'?><b>2<b>", "%s%n", "a\nb", "\u00e9.xml"):
            with self.subTest(name=name):
                self.write(name, document)
                self.assertEqual(self.xml(name), expected)
        self.write("-", document)
        self.assertEqual(self.xml("./-"), expected)

    def test_blanks_around_texts_are_kept_when_asked_for(self):
        document = b"<a><b k=' v '>  x \n y  </b><b> </b></a>"
        trimmed = b'>x &#x0a; y</b>'
        kept = b'>  x &#x0a; y  </b>'
        for arguments in ((), ("--records",)):
            for more, expected, value in (
                    ((), trimmed, b'"v"'), (("--keep-whitespace",), kept, b'" v "'),
                    (("--set", "XML_KEEP_WHITESPACE=INPUT"), trimmed, b'"v"'),
                    (("--set", "XML_KEEP_WHITESPACE=OUTPUT"), kept, b'" v "'),
                    (("--set", "XML_KEEP_WHITESPACE=BOTH"), kept, b'" v "')):
                with self.subTest(arguments=arguments + more):
                    output = self.written(document, *arguments, *more)
                    self.assertIn(expected, output)
                    self.assertIn(value, output)
        self.assertEqual(model(self.written(document, "--keep-whitespace"), strips=False)[3],
                         model(document, strips=False)[3])

    def test_blanks_within_texts_are_always_kept(self):
        document = b"<a><b> R &amp; D  &lt; <![CDATA[ x ]]> e&#x20; </b></a>"
        for arguments in ((), ("--records",)):
            self.assertIn(b"\n  <b>R &amp; D  &lt;  x  e</b>\n", self.written(document, *arguments))


class Encodings(Xml):
    TEXT = "<a k='\u00e9 \u65e5'><b>\u20ac \u00e9 \U0001f600</b><c>\u0105</c></a>"

    def test_every_encoding_into_every_other(self):
        sources = (
            ("utf-8", ""), ("utf-8", "utf-8"), ("utf-8-sig", ""), ("utf-8-sig", "utf-8"),
            ("utf-16", "utf-16"), ("utf-16", ""), ("utf-16-le", "utf-16le"),
            ("utf-16-be", "utf-16be"), ("iso-8859-1", "iso-8859-1"), ("iso-8859-2", "iso-8859-2"),
            ("windows-1252", "windows-1252"), ("us-ascii", "us-ascii"))
        targets = (((), None), (("--encoding", "UTF-8"), "utf-8"),
                   (("--encoding", "utf-16"), "utf-16-le"),
                   (("--encoding", "UTF-16LE"), "utf-16-le"),
                   (("--encoding", "UTF-16BE"), "utf-16-be"),
                   (("--encoding", "iso-8859-1"), "iso-8859-1"))
        for codec, name in sources:
            head = "<?xml version='1.0'%s?>" % (name and " encoding='%s'" % name)
            document = (head + self.TEXT).encode(codec, "xmlcharrefreplace")
            for more, target in targets:
                for arguments in (more, more + ("--records",)):
                    with self.subTest(source=(codec, name), arguments=arguments):
                        output = self.written(document, *arguments)
                        if target is not None:
                            declared = dict((t, n) for t, n in (
                                ("utf-8", "UTF-8"), ("utf-16-le", "UTF-16LE"),
                                ("utf-16-be", "UTF-16BE"), ("iso-8859-1", "ISO-8859-1")))[target]
                            self.assertTrue(output.decode(target).startswith(
                                '<?xml version="1.0" encoding="%s"' % declared))
                        self.assertEqual(model(output), model(self.TEXT))
                        self.assertEqual(self.written(output, *arguments), output)

    def test_utf_16_that_does_not_say_its_order_has_a_mark(self):
        for head, start in (("<?xml version='1.0'?>", b"<?xml"),  # UTF-8, then
                            ("", b"\xff\xfe<\0?\0"),
                            ("<?xml version='1.0' encoding='UTF-16'?>", b"\xff\xfe<\0?\0"),
                            ("<?xml version='1.0' encoding='UTF-16LE'?>", b"<\0?\0")):
            for arguments in ((), ("--records",)):
                with self.subTest(head=head, arguments=arguments):
                    output = self.written((head + "<a/>").encode("utf-16"), *arguments)
                    self.assertEqual(output[:len(start)], start)

    def test_what_iso_8859_1_cannot_hold_is_refused(self):
        for document, character, excerpt in (
                ("<a><\u65e5/></a>", "65E5", "    <\u65e5/>\n     ^\n"),
                ("<a><b \u0105='1'/></a>", "0105", "         \u0105=\"1\"/>\n         ^\n"),
                ("<!-- \U0001f600 --><a/>", "1F600", "  <!-- \U0001f600 -->\n       ^\n"),
                ("<?p \u20ac?><a/>", "20AC", "  <?p \u20ac?>\n      ^\n")):
            for arguments in ((), ("--records",)):
                with self.subTest(document=document, arguments=arguments):
                    message, _ = self.refused("-", "--encoding", "ISO-8859-1", *arguments,
                                              input=document.encode())
                    if excerpt.startswith("         \u0105"):
                        self.assertIn("\u0105=\"1\"/>\n", message)
                        message = message.split("\n")[0] + "\n" + excerpt
                    self.assertEqual(
                        message, "wbfsi xml: standard input: cannot be written in ISO-8859-1: "
                        "U+%s stands where no reference can stand for it; UTF-8 would be right\n"
                        "%s" % (character, excerpt))

    def test_an_unknown_encoding_is_refused_before_anything_is_read(self):
        for name in ("latin1", "", "EBCDIC", "UTF-32", "utf8"):
            with self.subTest(name=name):
                message, output = self.refused("missing", "--encoding", name)
                self.assertEqual(
                    message, "wbfsi xml: --encoding %s: is no encoding that documents are written "
                    "in; UTF-8, UTF-16LE (also UTF-16), UTF-16BE and ISO-8859-1 would be right\n"
                    % name)
                self.assertEqual(output, b"")


class Trees(Xml):
    def test_the_tree(self):
        lines = self.xml("orders.xml", "--tree").decode().splitlines()
        self.assertRegex(lines[0], r"\ADumping parser \d+\Z")
        start = lines.index("Elements ----------------------")
        self.assertIn(" encoding: utf-8", lines[:start])
        self.assertEqual(lines[-1], "Done --------------------------")
        shown = [" ".join(line.split()[2 if " - " in line else 0:]) for line in lines[start + 1:-1]]
        self.assertEqual(shown, ["order( 1)", "order = 1", "item( 1, 1) = pen",
                                 "item( 1, 2) = ink", "order( 2)", "order = 2",
                                 "item( 2) = paper \u00e9", "empty( 2)"])

    def test_record_by_record_only_the_elements_are_shown(self):
        lines = self.xml("orders.xml", "--tree", "--records").decode().splitlines()
        shown = [" ".join(line.split()[2 if " - " in line else 0:]) for line in lines]
        self.assertEqual(shown, ["order", "order = 1", "item( 1) = pen", "item( 2) = ink",
                                 "order", "order = 2", "item = paper \u00e9", "empty"])

    def test_a_long_value_is_whole(self):
        value = b"x" * 300000
        self.assertIn(b" = " + value + b"\n", self.written(b"<a><b>" + value + b"</b></a>",
                                                          "--tree"))


class Faults(Xml):
    def test_the_place_is_told_and_the_line_shown(self):
        long_line = b"<a>" + b"word " * 100
        rows = (
            (b"<a>\n <b>x</c>\n</a>", 2, 8, "mismatched tag", "   <b>x</c>\n         ^\n"),
            (b"<a>\r\n\t<b>x</c>\r\n</a>", 2, 8, "mismatched tag", "   <b>x</c>\n         ^\n"),
            (b"<a b=1/>", 1, 6, "not well-formed (invalid token)", "  <a b=1/>\n       ^\n"),
            (b"<a><b/></a>junk", 1, 12, "junk after document element",
             "  <a><b/></a>junk\n             ^\n"),
            (b"<a>&e;</a>", 1, 4, "undefined entity", "  <a>&e;</a>\n     ^\n"),
            (b"<a>\xc3\xa9\xe6\x97\xa5&e;</a>", 1, 6, "undefined entity",
             "  <a>\u00e9\u65e5&e;</a>\n       ^\n"),
            (b"<a>\x1b[31m</a>", 1, 4, "not well-formed (invalid token)",
             "  <a>\\x1B[31m</a>\n     ^\n"),
            (b"<a>\xc2\x9b31m\xe2\x80\xae&e;</a>", 1, 9, "undefined entity",
             "  <a>\\x9B31m\\u202E&e;</a>\n                  ^\n"),
            (b"<a>\xff\xfe</a>", 1, 4, "not well-formed (invalid token)",
             "  <a>\\xFF\\xFE</a>\n     ^\n"),
            (b"<?xml version='1.0' encoding='iso-8859-1'?><a>\xe9&e;</a>", 1, 48,
             "undefined entity", "  <?xml version='1.0' encoding='iso-8859-1'?><a>\u00e9&e;</a>\n"
             "  " + " " * 47 + "^\n"),
            (b"<?xml version='1.0' encoding='windows-1252'?>\n<a>\x80&e;</a>", 2, 5,
             "undefined entity", "  <a>\u20ac&e;</a>\n      ^\n"),
            (b"<?xml version='1.0' encoding='iso-8859-2'?>\n<a>\xb1&e;</a>", 2, 5,
             "undefined entity", "  <a>\u0105&e;</a>\n      ^\n"),
            (b"<?xml version='1.0' encoding='windows-1252'?>\n<a>\x81</a>", 2, 4,
             "not well-formed (invalid token)", "  <a>\\x81</a>\n     ^\n"),
            (b"<a><b>", 1, 7, "no element found; the document ends before the end tag of its top "
             "element", "  <a><b>\n        ^\n"),
            (b"<a>\n<b>\n", 3, 1, "no element found; the document ends before the end tag of its "
             "top element", ""),
            (b"", 1, 1, "no element found; the document is empty", ""),
            (b"\xef\xbb\xbf", 1, 1, "no element found; the document is empty", ""),
            (b"\xef\xbb\xbf<a>&e;</a>", 1, 4, "undefined entity", "  <a>&e;</a>\n     ^\n"),
            (b"\xef\xbb\xbfa", 1, 1, "syntax error", "  a\n  ^\n"),
            (b"\xef\xbb\xbf<a>\n&e;</a>", 2, 1, "undefined entity", "  &e;</a>\n  ^\n"),
            (b"<a><!-- x", 1, 4, "unclosed token", "  <a><!-- x\n     ^\n"),
            (b"<a b='1' b='2'/>", 1, 10, "duplicate attribute",
             "  <a b='1' b='2'/>\n           ^\n"),
            (long_line + b"</b>" + b" more" * 100, 1, 506, "mismatched tag",
             "  ..." + ("word " * 100 + "</")[-48:] + "b>" + (" more" * 100)[:24] + "...\n"
             "  " + " " * 51 + "^\n"),
        )
        for document, line, column, what, excerpt in rows:
            for arguments in ((), ("--records",), ("--tree",), ("--records", "--tree")):
                for name, result in self.from_everywhere(document, *arguments):
                    with self.subTest(document=document, name=name, arguments=arguments):
                        self.assertEqual(
                            (result.returncode, result.stderr.decode()),
                            (2, "wbfsi xml: %s: line %d, column %d: %s\n%s"
                             % (name, line, column, what, excerpt)))
                        if not "--records" in arguments:
                            self.assertEqual(result.stdout, b"")

    def test_utf_16(self):
        for codec in ("utf-16", "utf-16-le", "utf-16-be"):
            document = "<a>\n\u65e5\U0001f600\u0a0d&e;</a>\n".encode(codec)
            for name, result in self.from_everywhere(document):
                with self.subTest(codec=codec, name=name):
                    self.assertEqual(
                        result.stderr.decode(), "wbfsi xml: %s: line 2, column 4: undefined entity"
                        "\n  \u65e5\U0001f600\u0a0d&e;</a>\n     ^\n" % name)

    def test_utf_16_in_the_line_of_its_mark(self):
        for codec in ("utf-16", "utf-16-le", "utf-16-be"):
            message, _ = self.refused("-", input="<a>\U0001f600&e;</a>".encode(codec))
            self.assertEqual(message, "wbfsi xml: standard input: line 1, column 5: undefined "
                             "entity\n  <a>\U0001f600&e;</a>\n      ^\n")

    def test_characters_without_a_width_are_not_shown_without_end(self):
        message, _ = self.refused("-", input=("<a>&e;" + "\u0301" * 100000).encode())
        head = "wbfsi xml: standard input: line 1, column 4: undefined entity\n  <a>&e;\u0301"
        self.assertEqual(message[:len(head)], head)
        self.assertEqual(message[-len("\u0301...\n     ^\n"):], "\u0301...\n     ^\n")
        self.assertLess(len(message), 300)

    def test_an_encoding_that_is_not_read(self):
        message, _ = self.refused("-", input=b"<?xml version='1.0' encoding='klingon'?><a/>")
        self.assertEqual(
            message, "wbfsi xml: standard input: line 1, column 31: unknown encoding; UTF-8, "
            "UTF-16, US-ASCII, ISO-8859-1, ISO-8859-2 and Windows-1252 would be right\n"
            "  <?xml version='1.0' encoding='klingon'?><a/>\n" + " " * 32 + "^\n")

    def test_the_place_far_into_a_document(self):
        document = b"<a>\n" + b"<b>x</b>\n" * 200000 + b"<b>y</c>\n" + b"<b>z</b>\n" * 200000
        for arguments in ((), ("--records",)):
            for name, result in self.from_everywhere(document, *arguments):
                with self.subTest(name=name, arguments=arguments):
                    self.assertEqual(
                        (result.returncode, result.stderr.decode()),
                        (2, "wbfsi xml: %s: line 200002, column 7: mismatched tag\n"
                         "  <b>y</c>\n        ^\n" % name))
                    self.assertEqual(result.stdout.count(b"<b>x</b>"),
                                     200000 if arguments else 0)

    def test_a_document_cut_at_every_length_is_refused_or_whole(self):
        document = b"<?xml version='1.0'?><a x='1'><b>y</b><!-- c --></a>"
        for length in range(len(document) + 1):
            with self.subTest(length=length):
                for arguments in ((), ("--records",)):
                    result = self.run_tool("-", *arguments, input=document[:length])
                    self.assertEqual(result.returncode, 0 if length == len(document) else 2)
                    self.assertEqual(result.stderr == b"", length == len(document))

    def test_bombs_end_in_an_error(self):
        entities = b"".join(b"<!ENTITY e%d '%s'>" % (i, b"&e%d;" % (i - 1) * 10)
                            for i in range(1, 12))
        bomb = b"<!DOCTYPE a [<!ENTITY e0 'ha'>%s]><a><b>&e11;</b></a>" % entities
        for arguments in ((), ("--records",)):
            message, _ = self.refused("-", *arguments, input=bomb)
            self.assertIn("standard input: line 1, column ", message)
            self.assertIn("amplification", message)

    def test_what_cannot_be_read(self):
        for name, text in (("missing", "cannot be opened: No such file or directory"),
                           (".", "cannot be read: Is a directory"),
                           ("", "cannot be opened: No such file or directory")):
            with self.subTest(name=name):
                message, output = self.refused(name)
                self.assertEqual((message, output), ("wbfsi xml: %s: %s\n" % (name, text), b""))
        result = subprocess.run(["sh", "-c", '"$0" xml - <&-', WBFSI], check=False,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.assertEqual((result.returncode, result.stderr), (
            2, b"wbfsi xml: standard input: cannot be opened: Bad file descriptor\n"))

    def test_a_file_is_read_where_there_is_no_standard_input(self):
        result = subprocess.run(["sh", "-c", '"$0" xml orders.xml <&-', WBFSI], check=False,
                                cwd=self.folder, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.assertEqual((result.returncode, result.stderr, result.stdout.decode()),
                         (0, b"", ORDERS_WRITTEN))

    def test_mistakes_in_the_command_line(self):
        advice = '; "wbfsi xml --help" shows the usage\n'
        for arguments, text in (((), "FILE is required"),
                                (("orders.xml", "--tree", "--encoding", "UTF-8"),
                                 "--encoding excludes --tree"),
                                (("orders.xml", "other.xml"),
                                 "The following argument was not expected: other.xml"),
                                (("orders.xml", "--encoding"),
                                 "--encoding: 1 required NAME missing")):
            with self.subTest(arguments=arguments):
                self.assertEqual(self.refused(*arguments), ("wbfsi xml: " + text + advice, b""))


class Lost(Xml):
    """What the tree of the library does not have, and what cannot be written."""

    def test_entities_that_are_declared_elsewhere_are_refused(self):
        after_others = "<!ENTITY % p SYSTEM 'p'> %p; <!ENTITY late 'x'>"
        for dtd, body, name, column in (
                ("SYSTEM 's'", "<a>x&nbsp;y</a>", "nbsp", 5),
                ("PUBLIC 'p' 's'", "<a>&amp;&#65;<b/>&nbsp;</a>", "nbsp", 18),
                ("SYSTEM 's'", "<a><b k='&lt;' l='&nbsp;'/></a>", "nbsp", 4),
                ("SYSTEM 's' [<!ENTITY e 'x&f;'><!ENTITY f '&g;'>]", "<a>&e;</a>", "g", 4),
                ("SYSTEM 's' [<!ENTITY e 'x&f;'><!ENTITY f '&g;'>]", "<a k='&e;'/>", "g", 1),
                ("[%s]" % after_others, "<a>&late;</a>", "late", 4),
                ("[%s]" % after_others, "<a k='&late;'/>", "late", 1),
                ("[<!ENTITY x SYSTEM 'file:///etc/hostname'>]", "<a>&x;</a>",
                 "file:///etc/hostname", 4),
                ("SYSTEM 's'", "<a>&\u00e9;</a>", "\u00e9", 4),
                ("SYSTEM 's'", "<a k='&\u00e9;'/>", "\u00e9", 1),
                ("SYSTEM 's'", "<a>&" + "n" * 1000 + ";</a>", "n" * 60 + "...", 4)):
            text = "<!DOCTYPE a %s>\n%s" % (dtd, body)
            for document in (text.encode(), text.encode("utf-8-sig"), text.encode("utf-16"),
                             ("<?xml version='1.0' encoding='windows-1252'?>" + text)
                             .encode("windows-1252")):
                for arguments in ((), ("--records",)):
                    if document == text.encode():
                        results = self.from_everywhere(document, *arguments)
                    else:
                        results = [("standard input",
                                    self.run_tool("-", *arguments, input=document))]
                    for place, result in results:
                        with self.subTest(document=document, place=place, arguments=arguments):
                            self.assertEqual(
                                (result.returncode, result.stderr.decode().split("\n")[0]),
                                (2, 'wbfsi xml: %s: line 2, column %d: the text of the entity "%s" '
                                 "is outside of the document, and nothing is fetched: it would be "
                                 "lost; a declaration with its text in the DOCTYPE would be right"
                                 % (place, column, name)))

    def test_a_doctype_that_is_not_needed_does_no_harm(self):
        for document in (b"<!DOCTYPE a SYSTEM 's'><a k='&amp;&#65;'>&lt;</a>",
                         b"<!DOCTYPE a SYSTEM 's' [<!ENTITY e '&f;'><!ENTITY f 'x&gt;'>]>"
                         b"<a k='&e;&f;'>&e;<b/></a>",
                         b"<!DOCTYPE a [<!ENTITY u SYSTEM 's'>]><a>x</a>"):
            for arguments in ((), ("--records",)):
                for place, result in self.from_everywhere(document, *arguments):
                    with self.subTest(document=document, place=place, arguments=arguments):
                        self.assertEqual((result.returncode, result.stderr), (0, b""))
                        self.assertEqual(model(result.stdout), model(document))

    def test_a_tree_is_that_of_the_programs(self):
        document = b"<!DOCTYPE a SYSTEM 's'><a><b k='v&nbsp;'>x&nbsp;y</b></a>"
        for arguments in (("--tree",), ("--tree", "--records")):
            for place, result in self.from_everywhere(document, *arguments):
                with self.subTest(place=place, arguments=arguments):
                    self.assertEqual((result.returncode, result.stderr), (0, b""))
                    self.assertIn(b" - b = xy\n", result.stdout)

    def test_what_is_nested_out_of_all_proportion_is_refused(self):
        def nested(depth):
            return b"<a>" * depth + b"</a>" * depth
        for arguments in Outputs.MODES:
            with self.subTest(arguments=arguments):
                message, _ = self.refused("-", *arguments, input=nested(1000000))
                self.assertRegex(message, r"\Awbfsi xml: standard input: elements are nested "
                                 r"\d+ levels deep: indented, the blanks in front of them would "
                                 r"take more than 256 MB\n\Z")
        for arguments in ((), ("--records",)):
            output = self.written(nested(1500), *arguments)
            self.assertEqual(output.count(b"<a>\n"), 1499)
            self.assertIn(b"\n" + b"  " * 1499 + b"<a/>\n", output)

    def test_one_long_piece(self):
        size = 4000000
        for document in (b"<a><!--" + b">" * size + b"--><b/></a>",
                         b"<a><b k='" + b">" * size + b"'/></a>",
                         b"<a><b>" + b"x" * size + b"</b></a>",
                         b"<a><b><![CDATA[" + b">" * size + b"]]></b></a>"):
            for arguments in ((), ("--records",)):
                output = self.written(document, *arguments)
                self.assertGreater(len(output), size)
                self.assertEqual(model(output), model(document))


class Outputs(Xml):
    MODES = ((), ("--records",), ("--tree",), ("--records", "--tree"))

    def test_a_file(self):
        for arguments in self.MODES:
            with self.subTest(arguments=arguments):
                expected = self.xml("orders.xml", *arguments)
                self.assertEqual(self.xml("orders.xml", *arguments, "--output", "out"), b"")
                if arguments != ("--tree",):  # it shows addresses
                    self.assertEqual(self.read("out"), expected)
                self.assertEqual(self.xml("orders.xml", *arguments, "--output", "-")[:9],
                                 expected[:9])
        self.assertEqual(self.files(), ["orders.xml", "out"])

    def test_the_document_itself(self):
        for arguments in ((), ("--records",)):
            self.write("in", ORDERS.encode())
            self.xml("in", *arguments, "--output", "in")
            self.assertEqual(self.read("in").decode(), ORDERS_WRITTEN)

    def test_a_file_stays_as_it_was_when_the_document_is_bad(self):
        self.write("out", b"before")
        self.write("bad.xml", b"<a>" + b"<b>x</b>" * 100000 + b"</c>")
        for arguments in self.MODES:
            with self.subTest(arguments=arguments):
                self.assertIn("mismatched tag",
                              self.refused("bad.xml", *arguments, "--output", "out")[0])
                self.assertEqual(self.read("out"), b"before")
        self.assertEqual(self.files(), ["bad.xml", "orders.xml", "out"])

    def test_an_output_that_takes_nothing_is_an_error(self):
        self.write("large.xml", b"<a>" + b"<b>x</b>" * 100000 + b"</a>")
        for document in ("orders.xml", "large.xml"):
            for arguments in self.MODES:
                with self.subTest(document=document, arguments=arguments):
                    with open("/dev/full", "wb") as full:
                        result = self.run_tool(document, *arguments, stdout=full)
                    self.assertEqual((result.returncode, result.stderr.decode()),
                                     (2, "wbfsi xml: the output cannot be written: "
                                      "No space left on device\n"))
                    self.assertEqual(
                        self.refused(document, *arguments, "--output", "/dev/full")[0],
                        "wbfsi xml: /dev/full: cannot be written: No space left on device\n")

    def test_an_output_without_a_name(self):
        for arguments in self.MODES:
            self.assertEqual(self.refused("orders.xml", *arguments, "--output", ""),
                             ("wbfsi xml: --output: the name is empty; that of a file, or -, "
                              "would be right\n", b""))
        self.assertEqual(self.files(), ["orders.xml"])

    def test_a_file_that_cannot_be_made(self):
        for arguments in self.MODES:
            message, _ = self.refused("orders.xml", *arguments, "--output", "no/such/file")
            self.assertEqual(message, "wbfsi xml: no/such/file: no temporary file can be made "
                             "beside it: No such file or directory\n")

    def test_a_broken_pipe_ends_quietly(self):
        self.write("large.xml", b"<a>" + b"<b>x</b>" * 100000 + b"</a>")
        for arguments in self.MODES:
            for ignores_the_signal in (False, True):
                with subprocess.Popen([WBFSI, "xml", "large.xml", *arguments], cwd=self.folder,
                                      stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                      env=self.environment,
                                      restore_signals=not ignores_the_signal) as process:
                    self.assertNotEqual(process.stdout.readline(), b"")
                    process.stdout.close()
                    self.assertEqual(process.stderr.read(), b"")
                    self.assertEqual(process.wait(), 0 if ignores_the_signal else -13)

    def test_records_come_out_while_the_document_goes_in(self):
        with subprocess.Popen([WBFSI, "xml", "-", "--records"], stdin=subprocess.PIPE,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                              env=self.environment) as process:
            process.stdin.write(b"<a>" + b"<b>x</b>" * 20000)
            process.stdin.flush()
            self.assertEqual(process.stdout.read(65536).count(b"<?xml "), 1)
            # Nobody reads on: the end of the input is not waited for.
            process.stdout.close()
            with self.assertRaises(BrokenPipeError):
                while True:
                    process.stdin.write(b"<b>x</b>" * 20000)
                    process.stdin.flush()
            self.assertEqual(process.stderr.read(), b"")
            self.assertEqual(process.wait(), -13)

    def test_an_interrupted_run_leaves_no_file(self):
        with subprocess.Popen([WBFSI, "xml", "-", "--records", "--output", "out"],
                              cwd=self.folder, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, env=self.environment) as process:
            process.stdin.write(b"<a>" + b"<b>x</b>" * 20000)
            process.stdin.flush()
            while len(self.files()) < 2:
                pass
            # The guard is set up behind the file.
            while not signal_is_caught(process.pid, signal.SIGTERM):
                pass
            process.send_signal(signal.SIGTERM)
            self.assertEqual(process.stderr.read(),
                             b"wbfsi xml: told to end; no file was written\n")
            self.assertEqual(process.wait(), 2)
        self.assertEqual(self.files(), ["orders.xml"])


def signal_is_caught(pid, number):
    with open("/proc/%d/status" % pid, encoding="ascii") as status:
        for line in status:
            if line.startswith("SigCgt:"):
                return bool(int(line.split()[1], 16) >> (number - 1) & 1)
    return False


class Memory(Xml):
    def peak_kilobytes(self, name, *arguments):
        report = self.path("report")
        script = ("import resource, subprocess, sys\n"
                  "with open(sys.argv[2], 'rb') as document:\n"
                  "    subprocess.run(sys.argv[3:], stdin=document if sys.argv[-1] == '-' else None,"
                  " stdout=subprocess.DEVNULL, check=True)\n"
                  "usage = resource.getrusage(resource.RUSAGE_CHILDREN)\n"
                  "open(sys.argv[1], 'w').write(str(usage.ru_maxrss))\n")
        subprocess.run([sys.executable, "-c", script, report, name, WBFSI, "xml", *arguments],
                       cwd=self.folder, check=True,
                       env={**self.environment, "ASAN_OPTIONS": "quarantine_size_mb=1"})
        return int(self.read("report"))

    def test_records_are_not_held(self):
        # Texts, comments and instructions between records, too.
        record = (b"  <record id='1'><name>somebody</name><amount>12.50</amount></record>\n"
                  b"  " + b"between " * 20 + b"<!-- " + b"comment " * 20 + b"--><?an instruction?>\n")
        sizes = {}
        whole = {}
        fewer = 5000
        for count in (fewer, 10 * fewer):  # 2 and 22 MB
            self.write("document", b"<?xml version='1.0'?>\n<records>\n" + record * count +
                       b"</records>\n")
            for arguments in (("document", "--records"), ("--records", "-"),
                              ("document", "--records", "--keep-whitespace"),
                              ("document", "--records", "--tree"),
                              ("document", "--records", "--encoding", "ISO-8859-1")):
                sizes[count, arguments] = self.peak_kilobytes("document", *arguments)
            whole[count] = self.peak_kilobytes("document", "document")
        for (count, arguments), size in sizes.items():
            with self.subTest(arguments=arguments, sizes=sizes):
                self.assertLess(size - sizes[fewer, arguments], 4000)
        self.assertGreater(whole[10 * fewer] - whole[fewer], 20000)  # what is held shows


if __name__ == "__main__":
    WBFSI = os.path.abspath(sys.argv.pop(1))
    unittest.main()
