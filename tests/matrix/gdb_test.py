"""Runs GDB on gdb_subject with the pretty printers and compares what it prints.

    gdb_test.py GDB SUBJECT PRINTERS
"""

import os
import re
import subprocess
import sys
import unittest

EXPECTED = {
    "matrix": "double 2x3 {1, 2.5, -3, 4, 5, 1e+300} [numeric|inline-dims; local; owners 1+0]",
    "scalar": "double 1x1 {0.1} [scalar-double|numeric|inline-dims; local; owners 1+0]",
    "complex": "complex single 1x2 {1 + 2i, 3 + -4i} [numeric|complex|inline-dims; local; owners 1+0]",
    "integers": "uint64 1x2 {1, 18446744073709551615} [numeric|inline-dims; local; owners 1+0]",
    "empty": "int8 0x3 {} [numeric|inline-dims; local; owners 1+0]",
    "cube": "int16 2x2x2 {1, 2, 3, 4, 5, 6, 7, 8} [numeric; local; owners 1+0]",
    "long": "uint8 1x50 {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, ... 50 in all} "
            "[numeric|inline-dims; local; owners 1+0]",
    "text": 'char 1x5 u"array" [inline-dims; local; owners 1+0]',
    "logical": "logical 1x3 {1, 0, 1} [inline-dims; local; owners 1+0]",
    "cell": "cell 1x3 {<double 2x2>, (empty slot), <cell 1x1>} [inline-dims; local; owners 1+0]",
    "member": "double 2x2 {0, 0, 0, 0} [numeric|inline-dims; member; owners 1+0]",
    "shared": "int8 1x2 {1, 2} [numeric|shared-data|inline-dims; local; owners 1+0; block of 2]",
    "damaged": "class 77 1x2 {} [numeric|inline-dims; local; owners 1+0]",
}

# At each stop: the name, the pointer, the value, the plain record, and the header command.
GDB_SCRIPT = """\
set pagination off
set confirm off
set width 0
set print frame-arguments none
source {printers}
break look_at
commands
silent
printf "\\nNAME %s\\n", name
output array
printf "\\n"
if array != 0
output *array
printf "\\n"
nd-header array
end
continue
end
run
python print("CLASSES " + repr([name for name, code in CLASSES]))
python print("FLAGS " + repr([flag_names(1 << bit) for bit in range(32)]))
quit
"""


def run_gdb(gdb, subject, printers):
    script = subject + ".gdb"
    with open(script, "w") as out:
        out.write(GDB_SCRIPT.format(printers=printers))
    environment = dict(os.environ, LC_ALL="C", ASAN_OPTIONS="detect_leaks=0")
    done = subprocess.run([gdb, "-nx", "-batch", "-x", script, subject], env=environment, timeout=240,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    return done.stdout


class Printers(unittest.TestCase):
    arguments = []
    output = ""
    stops = {}

    @classmethod
    def setUpClass(cls):
        cls.output = run_gdb(*cls.arguments)
        for stop in re.split(r"^NAME ", cls.output, flags=re.M)[1:]:
            lines = stop.splitlines()
            cls.stops[lines[0]] = lines[1:]

    def test_every_value_is_reached(self):
        self.assertEqual(sorted(self.stops), sorted([*EXPECTED, "null"]), self.output)

    def test_values(self):
        for name, text in EXPECTED.items():
            with self.subTest(name):
                self.assertEqual(self.stops[name][1], text)

    def test_pointers(self):
        for name, text in EXPECTED.items():
            with self.subTest(name):
                self.assertRegex(self.stops[name][0], "^0x[0-9a-f]+ " + re.escape(text) + "$")
        self.assertEqual(self.stops["null"][0], "0x0")

    def test_header_command(self):
        fields = dict(line.split(None, 1) for line in self.stops["complex"][2:18])
        self.assertEqual(len(fields), 16)
        self.assertEqual(fields["class_id"], "0x7  complex single")
        self.assertEqual(fields["flags"], "0x80880  numeric|complex|inline-dims")
        self.assertEqual(fields["scope"], "0x0  local")
        self.assertEqual(fields["n_or_ndims"], "0x2")

    def test_tables_agree_with_the_library(self):
        classes = re.findall(r"^class \d+ (\w+)$", self.output, flags=re.M)
        flags = re.findall(r"^flag \d+ (.+)$", self.output, flags=re.M)
        self.assertEqual((len(classes), len(flags)), (19, 32))
        self.assertIn("CLASSES " + repr(classes), self.output)
        self.assertIn("FLAGS " + repr(flags), self.output)


if __name__ == "__main__":
    Printers.arguments = sys.argv[1:4]
    unittest.main(argv=sys.argv[:1])
