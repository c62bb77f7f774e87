#!/usr/bin/env python3
"""The generator of entry points: rows that don't hold together are refused with a sentence, and rules give what they say."""

import shutil
import sys
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
SOURCE = Path(__file__).resolve().parents[2] / "src/api"
sys.path.insert(0, str(SOURCE))

from generator import counts, exports, header, stubs, sweep, table  # noqa: E402

GOOD_ROW = """
[ndMake]
brief = "New array."
result = "ndArray_tag*"
arguments = "kvSize m, const kvSize* dims"
forms = "by_size"
built = true
checks = ["size"]
failure = "null"
owner = "caller"
args = { m = "rows", dims = "dimensions" }
returns = "the array"
"""


def load(*files):
    """The table that files with these texts give."""
    with tempfile.TemporaryDirectory() as folder:
        shutil.copy(SOURCE / "vocabulary.toml", folder)
        rows = Path(folder, "entry_points")
        rows.mkdir()
        for number, text in enumerate(files):
            group = "" if "group =" in text else 'group = "data"\n'
            (rows / f"f{number}.toml").write_text(group + text, encoding="utf-8")
        return table.load(Path(folder))


class Refusals(unittest.TestCase):
    def refused(self, sentence, *files):
        with self.assertRaises(table.TableError) as caught:
            load(*files)
        self.assertIn(sentence, str(caught.exception))

    def changed(self, old, new):
        self.assertIn(old, GOOD_ROW)
        return GOOD_ROW.replace(old, new)

    def test_two_rows_of_one_name(self):
        self.refused("both export this name", GOOD_ROW, GOOD_ROW)

    def test_a_name_that_another_row_gives_a_suffix(self):
        other = self.changed("[ndMake]", "[ndMake_730]").replace('"by_size"', '"same"')
        self.refused("ndMake_730: the rows ndMake and ndMake_730 both export this name", GOOD_ROW, other)

    def test_unknown_words(self):
        self.refused('there is no group "dat"', 'group = "dat"\n' + GOOD_ROW)
        self.refused('there is no set of forms "by_weight"', self.changed('"by_size"', '"by_weight"'))
        self.refused('there is no layer "nowhere"', self.changed('"by_size"', '{ 800 = "nowhere" }'))
        self.refused('there is no check "luck"', self.changed('["size"]', '["luck"]'))
        self.refused('there is no owner "nobody"', self.changed('"caller"', '"nobody"'))
        self.refused('"breif" isn\'t a word of a row', self.changed("brief", "breif"))
        self.refused("isn't a generation that a row names", self.changed('"by_size"', '{ 700 = "nd_array_api" }'))

    def test_built_without_documentation(self):
        self.refused("args must describe each of its arguments", self.changed(', dims = "dimensions"', ""))
        self.refused("returns must say what it returns", self.changed('returns = "the array"', ""))
        self.refused("failure must say what it answers", self.changed('failure = "null"', ""))
        self.refused("owner must say whose the memory is", self.changed('owner = "caller"', ""))
        self.refused("brief must be a sentence", self.changed("New array.", "New array"))

    def test_built_without_a_layer(self):
        self.refused("has no header", self.changed('"by_size"', '{ 800 = "fortran" }'))
        self.refused("isn't one of its forms", self.changed("built = true", 'built = ["731"]'))

    def test_broken_signatures(self):
        self.refused("isn't an argument", self.changed("kvSize m,", "m,"))
        self.refused("two arguments have one name", self.changed("kvSize m,", "kvSize dims,"))

    def test_a_check_without_calls(self):
        entries = load(GOOD_ROW)
        entries.checks["luck"] = {}
        entries.rows[0].checks.append("luck")
        with self.assertRaises(table.TableError) as caught:
            sweep.text(entries)
        self.assertIn('the check "luck" has no calls', str(caught.exception))


class Rules(unittest.TestCase):
    def setUp(self):
        self.entries = load(GOOD_ROW + 'fortran.forms = "by_size"\n')
        self.forms = {form.symbol: form for form in self.entries.forms}

    def test_forms(self):
        self.assertEqual(set(self.forms), {"ndMake", "ndMake_700", "ndMake_730", "ndMake_800", "NDMAKE", "ndmake_",
                                           "NDMAKE700", "ndmake700_", "NDMAKE730", "ndmake730_", "NDMAKE800", "ndmake800_"})
        self.assertEqual(self.forms["ndMake_700"].alias_of, "ndMake")
        self.assertEqual(self.forms["ndmake700_"].alias_of, "NDMAKE700")

    def test_narrow_signature(self):
        self.assertEqual(self.forms["ndMake"].signature.declaration("f"), "ndArray_tag* f(int m, const int* dims)")
        self.assertEqual(self.forms["ndMake_730"].signature.declaration("f"),
                         "ndArray_tag* f(kvSize m, const kvSize* dims)")

    def test_fortran_signature(self):
        self.assertEqual(self.forms["NDMAKE"].signature.declaration("f"),
                         "ndArray_tag* f(const int32_t* m, const int32_t* dims)")
        self.assertEqual(self.forms["ndmake800_"].signature.declaration("f"),
                         "ndArray_tag* f(const kvSize* m, const kvSize* dims)")

    def test_only_built_forms_are_exported(self):
        self.assertEqual(exports.expected(self.entries), {"ndMake": "ND_7.0", "ndMake_700": "ND_7.0",
                                                          "ndMake_730": "ND_7.3", "ndMake_800": "ND_8.0"})

    def test_second_names_are_aliases(self):
        text = stubs.file_text(self.entries, "f0.toml")
        self.assertIn('ndMake_700(int m, const int* dims) __attribute__((alias("ndMake")));', text)

    def test_header_declares_what_is_built(self):
        part = GOOD_ROW.replace("built = true", 'built = ["800"]')
        text = header.declarations(load(part).rows[0])
        self.assertEqual(text, "#if ND_API == 800\n"
                               "ND_EXPORT ndArray_tag* ndMake(kvSize m, const kvSize* dims) ND_FORM(ndMake);\n#endif")
        self.assertEqual(header.text(load(GOOD_ROW.replace("built = true", "")), "@DECLARATIONS@\n").count("ndMake"), 0)

    def test_counts(self):
        last = counts.text(self.entries).splitlines()[-1].split()
        self.assertEqual(last, ["all", "1/1", "1/1", "1/1", "1/1", "0/8", "4/12"])


if __name__ == "__main__":
    unittest.main()
