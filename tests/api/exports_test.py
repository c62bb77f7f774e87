#!/usr/bin/env python3
"""Compares what libnd exports with the table of entry points, both ways.

    exports_test.py LIBRARY

Every built C and Fortran name is exported from its version node, a second name stands on the address of the first, C++ names
stand in their own node, and nothing else gets out.
"""

import sys
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "src/api"))

from generator import exports, library, table  # noqa: E402


class Exports(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.table = table.load()
        cls.expected = exports.expected(cls.table)
        cls.found = library.exported(LIBRARY)

    def test_every_built_name_is_exported(self):
        self.assertEqual(sorted(set(self.expected) - set(self.found)), [])

    def test_nothing_else_is_exported(self):
        others = [symbol.name for symbol in self.found.values()
                  if symbol.name not in self.expected and symbol.node != exports.CXX_NODE]
        self.assertEqual(sorted(others), [])

    def test_each_name_stands_in_its_node(self):
        nodes = {name: self.found[name].node for name in self.expected if name in self.found}
        self.assertEqual(nodes, {name: node for name, node in self.expected.items() if name in self.found})

    def test_names_are_functions(self):
        kinds = {name: self.found[name].kind for name in self.expected if name in self.found}
        self.assertEqual([name for name, kind in kinds.items() if kind != "T"], [])

    def test_second_names_share_the_address(self):
        pairs = exports.aliases(self.table)
        self.assertGreater(len(pairs), 0)
        self.assertEqual([pair for pair in pairs if self.found[pair[0]].address != self.found[pair[1]].address], [])

    def test_cxx_names_are_mangled(self):
        strays = [symbol.name for symbol in self.found.values()
                  if symbol.node == exports.CXX_NODE and not symbol.name.startswith("_Z")]
        self.assertEqual(strays, [])


if __name__ == "__main__":
    LIBRARY = sys.argv.pop(1)
    unittest.main()
