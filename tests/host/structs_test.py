#!/usr/bin/env python3
"""CSV files as structs of their columns, and results that are trees, from outside."""
import unittest
from pathlib import Path

from tool import SOURCE, ToolTest, addon

INPUT, WRITING = 3, 9


class Structs(ToolTest):
    def shown(self, content, *arguments):
        """What a copy of the CSV file's struct is printed as, without its first line."""
        result = self.call(addon("test_values"), "--struct", self.file("x.csv", content), *arguments)
        self.check(result, 0)
        first, _, rest = result.stdout.decode().partition("\n")
        self.assertEqual(first, "output 1: 1x1 struct")
        return rest

    def test_a_field_for_each_column(self):
        for content, wanted in (
            ("year,ppm\n1959,315.42\n1960,316\n", "  year: 2x1 double [1959; 1960]\n  ppm: 2x1 double [315.42; 316]\n"),
            ("a,b\n1,NA\n", "  a: 1x1 double 1\n  b: 1x1 double NaN\n"),
            ("a\n", "  a: 0x1 double\n"),
            ("depth (km),1st,\u00f8re,\n1,2,3,4\n",
             "  depth__km_: 1x1 double 1\n  x1st: 1x1 double 2\n  x_re: 1x1 double 3\n  x4: 1x1 double 4\n"),
            ("a,a,a_2\n1,2,3\n", "  a: 1x1 double 1\n  a_3: 1x1 double 2\n  a_2: 1x1 double 3\n"),
            ('"1959","x\ny"\n1,2\n', "  x1959: 1x1 double 1\n  x_y: 1x1 double 2\n"),
            ("n,place\n1,Fiji\n2,\n", "  n: 2x1 double [1; 2]\n  place: 2x1 cell\n    {1}: 1x4 char 'Fiji'\n    {2}: 0x0 char\n"),
            ("place\nL\u00f8ten \U0001f30b\n", "  place: 1x1 cell\n    {1}: 1x8 char 'L\u00f8ten \U0001f30b'\n"),
            ("a,place\nNA,NA\n", "  a: 1x1 double NaN\n  place: 1x1 double NaN\n"),
        ):
            with self.subTest(content):
                self.assertEqual(self.shown(content), wanted)

    def test_numbers_stay_numbers_and_every_file_becomes_a_struct(self):
        one, two = self.file("1.csv", "a\n1\n"), self.file("2.csv", "b\n2\n")
        result = self.call(addon("test_values"), "--nlhs", 3, "--struct", one, "7", two)
        self.check(result, 0)
        self.assertEqual(result.stdout.decode(), "output 1: 1x1 struct\n  a: 1x1 double 1\n"
                                                 "output 2: 1x1 double\n     1\n  1  7\n"
                                                 "output 3: 1x1 struct\n  b: 1x1 double 2\n")

    def test_without_the_option_a_file_is_a_matrix(self):
        result = self.call(addon("test_values"), self.file("x.csv", "a,b\n1,2\n"))
        self.check(result, 0)
        self.assertEqual(result.stdout.decode(), "output 1: 1x2 double\n     1  2\n  1  1  2\n")

    def test_files_that_make_no_struct(self):
        for content, text in (
            ("1,2\n3,4\n", "x.csv: the first line has no names of columns to make a struct of"),
            (",\n3,4\n", "x.csv: the first line has no names of columns to make a struct of"),
            ("a,2\n3,4\n", "x.csv: line 1, column 1: 'a' is no number, but column 2 of this line is one"),
            ('"a,b\n3,4\n', "x.csv: line 1, column 1: the quote that opens the field is never closed"),
            ("a,b\n3\n", "x.csv: line 2, column 1: the line has 1 columns"),
            ("a,b\n1,d\nc,d\n", "x.csv: line 3, column 1: 'c' (a) is not a number"),
            (b"a\nL\xf8ten\n", "x.csv: line 2, column 1: byte 0xF8 (a) is not UTF-8"),
            ("", "x.csv: the file is empty"),
        ):
            with self.subTest(content):
                self.check(self.call(addon("test_values"), "--struct", self.file("x.csv", content)), INPUT, text)

    def test_in_both_modes(self):
        for mode in (1, 0):
            self.assertEqual(self.shown("a,b\n5,x\n", "--mode", mode),
                             "  a: 1x1 double 5\n  b: 1x1 cell\n    {1}: 1x1 char 'x'\n")

    def test_measured_data_with_names_of_species(self):
        result = self.call(addon("test_values"), "--struct", SOURCE / "examples" / "data" / "iris.csv", "--all")
        self.check(result, 0)
        lines = (SOURCE / "examples" / "data" / "iris.csv").read_text().splitlines()
        rows = [line.split(",") for line in lines[1:]]
        wanted = ["output 1: 1x1 struct"]
        for column, name in enumerate(("Sepal_Length", "Sepal_Width", "Petal_Length", "Petal_Width")):
            wanted.append(f"  {name}: 150x1 double [{'; '.join(f'{float(row[column]):g}' for row in rows)}]")
        wanted.append("  Species: 150x1 cell")
        wanted += [f"    {{{i}}}: 1x{len(row[4])} char '{row[4]}'" for i, row in enumerate(rows, 1)]
        self.assertEqual(result.stdout.decode().splitlines(), wanted)

    def test_long_columns_are_cut_unless_all_is_asked_for(self):
        content = "n\n" + "".join(f"{i}\n" for i in range(1, 101))
        self.assertEqual(self.shown(content), "  n: 100x1 double [1; 2; 3; 4; 5; 6; 7; 8; ...; 99; 100]\n")
        self.assertEqual(self.shown(content, "--all"), f"  n: 100x1 double [{'; '.join(map(str, range(1, 101)))}]\n")

    def test_many_columns(self):
        names = [f"c{i}" for i in range(1, 2001)]
        rest = self.shown(",".join(names) + "\n" + ",".join("1" for _ in names) + "\n", "--all")
        self.assertEqual(rest, "".join(f"  {name}: 1x1 double 1\n" for name in names))

    def test_a_result_of_any_depth_has_an_end(self):
        deep = ["--entry", "nest", 1000000]
        for arguments, levels in ((deep, 10), (deep + ["--all"], 100)):
            result = self.call(addon("test_values"), *arguments)
            self.check(result, 0)
            lines = ["output 1: 1x1 cell"] + ["  " * k + "{1}: 1x1 cell" for k in range(1, levels + 1)]
            self.assertEqual(result.stdout.decode(), "\n".join(lines) + " ...\n")

    def test_ranges_are_the_vectors_they_stand_for(self):
        behaviours = (addon("test_behaviours"), "--entry", "range")
        result = self.call(*behaviours, 3)
        self.check(result, 0)
        self.assertEqual(result.stdout.decode(), "output 1: 1x3 double\n     1  2  3\n  1  1  2  3\n")
        long = 1100000
        result = self.call(*behaviours, long)
        self.check(result, 0)
        self.assertEqual(result.stdout.decode(), f"output 1: 1x{long} double 1:1:{long}\n")
        for length in (3, long):
            self.assertEqual(self.numbers(*behaviours, length), [list(range(1, length + 1))])

    def test_sparse_arrays_are_lists_and_pictures(self):
        result = self.call(addon("test_behaviours"), "--entry", "sparse_eye", 2)
        self.check(result, 0)
        self.assertEqual(result.stdout.decode(), "output 1: 2x2 sparse double, 2 stored\n  (1,1)  1\n  (2,2)  1\n  |*.|\n  |.*|\n")
        result = self.call(addon("test_behaviours"), "--entry", "sparse_eye", 2, "--out", self.path("out.csv"))
        self.check(result, WRITING, "output 1 (2x2 sparse double) has no numbers to write as CSV")

    def test_a_tree_is_not_written_as_csv(self):
        result = self.call(addon("test_values"), "--struct", self.file("x.csv", "a\n5\n"), "--out", self.path("out.csv"))
        self.check(result, WRITING, "output 1 (1x1 struct) has no numbers to write as CSV")
        self.assertFalse(Path(self.path("out.csv")).exists())


if __name__ == "__main__":
    unittest.main()
