#!/usr/bin/env python3
"""The catalog generator refuses what isn't right, with one sentence that names the place, and writes what is.

Usage: generate_messages_test.py path/to/generate_messages.py
"""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

GENERATOR = sys.argv.pop()


def generate(text, name="sample.msg"):
    """Runs the generator on one catalog; gives its status, its complaint, the header and the source."""
    with tempfile.TemporaryDirectory() as folder:
        catalogs, header, source = Path(folder, "catalogs"), Path(folder, "m.hpp"), Path(folder, "m.cpp")
        catalogs.mkdir()
        if name:
            Path(catalogs, name).write_text(text, encoding="utf-8")
        command = [sys.executable, GENERATOR, catalogs, "--header", header, "--source", source]
        done = subprocess.run(command, capture_output=True, text=True, check=False)
        files = [path.read_text(encoding="utf-8") if path.exists() else "" for path in (header, source)]
        return done.returncode, done.stderr.strip(), *files


REFUSED = {
    "key(string a)\n": 'the key "key" has no text',
    "key\n  Text.\nkey\n  Text.\n": 'sample.msg:3: the key "key" is defined twice',
    "key(text a)\n  {0}\n": 'sample.msg:1: "text" isn\'t an argument type',
    "key(string)\n  {0}\n": '"string" isn\'t an argument',
    "key(string a, string a)\n  {0}\n": 'the argument name "a" is used twice',
    "key(string a = x, string b)\n  {0}\n": '"b" follows an argument with a default and has none',
    "key(uint64 a = x)\n  {0}\n": 'the default of "a" must be a number',
    "key(string a\n  {0}\n": "isn't a key",
    "1key\n  Text.\n": "isn't a key",
    "  Text.\nkey\n  Text.\n": "there is text before the first key",
    "key\n  Text {0}.\n": "the place {0} has no argument",
    "key(string a)\n  Text {0} {1}.\n": "the place {1} has no argument",
    "key(uint64 a)\n  {0, plural, =0 {none} other {{1}}}\n": "the place {1} has no argument",
    "key(uint64 a)\n  {0, plural, =0 {none}}\n": 'has no "other"',
    "key(string a)\n  {0, plural, other {x}}\n": "needs a number",
    "key(uint64 a)\n  {0, plural, other {x}\n": "isn't closed",
    "key(uint64 a)\n  {0, plural, other {x\n": "isn't closed",
    "key(string a)\n  Text {a}.\n": "isn't followed by an argument number",
    "key(string a)\n  Text {0.\n": "isn't followed by an argument number",
    "key\n  Text }.\n": 'a "}" closes nothing',
    "key(string a)\n  Text '{0}'.\n": "an apostrophe stands where it would quote",
    "key\n  Text \\x.\n": "isn't an escape",
    "# nothing\n": "the catalog is empty",
}


class Generator(unittest.TestCase):
    def test_refuses_malformed_rows(self):
        for text, complaint in REFUSED.items():
            with self.subTest(text):
                status, said, header, source = generate(text)
                self.assertNotEqual(status, 0)
                self.assertIn(complaint, said)
                self.assertEqual(len(said.splitlines()), 1)
                self.assertEqual(header + source, "", "nothing is written")

    def test_refuses_file_names_that_are_no_catalogs(self):
        self.assertIn("the file name", generate("key\n  Text.\n", "no-catalog.msg")[1])
        self.assertIn("there are no catalog files", generate("", None)[1])

    def test_writes_classes_and_texts(self):
        row = 'key(string name, ustring wide, int64 i, uint64 u, double d)\n  A "text" of\n  {0}\\n{4}.\\s\n'
        status, said, header, source = generate(row, "some.where.msg")
        self.assertEqual((status, said), (0, ""))
        self.assertIn("namespace TARVEL::some::where {", header)
        self.assertIn("class ND_EXPORT key : public resource_core::BaseMsgID", header)
        self.assertIn("(std::string name, std::u16string wide, std::int64_t i, std::uint64_t u, double d)", header)
        self.assertIn('{"TARVEL:some:where", "key", "A \\"text\\" of {0}\\n{4}. "}', source)

    def test_writes_defaults(self):
        header = generate("key(int64 i, string name = none, ustring wide = x, uint64 u = 0)\n  {0}\n")[2]
        self.assertIn('(std::int64_t i, std::string name = "none", std::u16string wide = u"x", std::uint64_t u = 0)', header)


unittest.main()
