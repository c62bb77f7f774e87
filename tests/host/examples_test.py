#!/usr/bin/env python3
"""The examples on the measured data, against figures computed here by other means: exact fractions, vectors, sorted sums."""
import math
import unittest
from fractions import Fraction
from pathlib import Path

from tool import SOURCE, ToolTest, addon

DATA = SOURCE / "examples" / "data"
OUTPUTS, RAISED = 8, 6


def read(name):
    """The rows of a CSV file after its names, as exact fractions."""
    lines = (DATA / name).read_text().splitlines()[1:]
    return [[Fraction(field) for field in line.split(",")] for line in lines]


class Examples(ToolTest):
    def compare(self, got, wanted, relative=1e-11):
        self.assertEqual([len(row) for row in got], [len(row) for row in wanted])
        for row, wanted_row in zip(got, wanted):
            for value, wanted_value in zip(row, wanted_row):
                self.assertTrue(
                    math.isclose(value, wanted_value, rel_tol=relative, abs_tol=1e-9)
                    or (math.isnan(value) and math.isnan(wanted_value)),
                    f"{value} instead of {float(wanted_value)}",
                )

    def test_column_means(self):
        for name in ("co2.csv", "quakes.csv"):
            rows = read(name)
            means = [sum(column) / len(rows) for column in zip(*rows)]
            self.compare(self.numbers(addon("column_means"), DATA / name), [means])

    def test_co2_seasons(self):
        rows = read("co2.csv")
        times = [year + (month - Fraction(1, 2)) / 12 for year, month, _ in rows]
        values = [value for _, _, value in rows]
        n = len(rows)
        # The normal equations, without rounding.
        sum_t, sum_v = sum(times), sum(values)
        slope = (n * sum(t * v for t, v in zip(times, values)) - sum_t * sum_v) / (n * sum(t * t for t in times) - sum_t**2)
        departures = [v - (sum_v / n + slope * (t - sum_t / n)) for t, v in zip(times, values)]

        def mean(figures, month):
            chosen = [figure for figure, row in zip(figures, rows) if row[1] == month]
            return sum(chosen) / len(chosen)

        seasons = [[month, mean(values, month), mean(departures, month)] for month in range(1, 13)]
        rest = sum((d - seasons[int(row[1]) - 1][2]) ** 2 for d, row in zip(departures, rows)) / n

        table, trend = self.path("table.csv"), self.path("trend.csv")
        self.check(self.call(addon("co2_seasons"), "--nlhs", 2, "--out", table, "--out", trend, DATA / "co2.csv"), 0)
        for path, wanted in ((table, seasons), (trend, [[slope, sum_v / n, math.sqrt(rest)]])):
            self.compare([[float(f) for f in line.split(",")] for line in Path(path).read_text().splitlines()], wanted)

    def test_co2_seasons_leaves_out_missing_values(self):
        with_gap = self.file("gap.csv", "y,m,v\n2000,1,10\n2000,2,NaN\n2000,3,12\n2001,1,22\n2001,3,24\n")
        table = self.numbers(addon("co2_seasons"), with_gap)
        self.compare([row[:2] for row in table[:3]], [[1, 16], [2, math.nan], [3, 18]])

    def test_co2_seasons_puts_out_nothing_for_what_is_no_series(self):
        for content in ("1,2\n", "2000,13,5\n", "2000,1.5,5\n", "2000,NaN,5\n"):
            with self.subTest(content):
                self.check(self.call(addon("co2_seasons"), self.file("x.csv", content)), OUTPUTS, "output 1 was not set")

    def test_species_means(self):
        lines = [line.split(",") for line in (DATA / "iris.csv").read_text().splitlines()]
        fields = [name.replace(".", "_") for name in lines[0][:-1]]
        wanted = ["output 1: 3x1 struct"]
        for k, species in enumerate(("setosa", "versicolor", "virginica"), 1):
            rows = [line for line in lines[1:] if line[-1] == species]
            for column, field in enumerate(fields):
                mean = sum(Fraction(row[column]) for row in rows) / len(rows)
                wanted.append(f"  ({k}).{field}: 1x1 double {float(mean):g}")
            wanted.append(f"  ({k}).Species: 1x{len(species)} char '{species}'")
        result = self.call(addon("species_means"), "--struct", DATA / "iris.csv")
        self.check(result, 0)
        self.assertEqual(result.stdout.decode().splitlines(), wanted)

    def test_species_means_compares_texts_whole(self):
        content = "x,Species\n1,b\n2,\n3,bb\n4,b\n6,NA\n"
        result = self.call(addon("species_means"), "--struct", self.file("x.csv", content))
        self.check(result, 0)
        wanted = ["output 1: 3x1 struct"]
        for k, (mean, text) in enumerate(((2.5, "1x1 char 'b'"), (4, "0x0 char"), (3, "1x2 char 'bb'")), 1):
            wanted += [f"  ({k}).x: 1x1 double {mean:g}", f"  ({k}).Species: {text}"]
        self.assertEqual(result.stdout.decode().splitlines(), wanted)

    def test_quake_depths(self):
        rows = read("quakes.csv")
        lines = ["output 1: 1x1 struct"]
        for name, low, high in (("shallow", -1, 70), ("intermediate", 70, 300), ("deep", 300, 700)):
            found = [row for row in rows if low < row[2] <= high]
            strongest = max(found, key=lambda row: row[3])  # the first of several
            place = " ".join(f"{float(x):g}" for x in strongest[:2])
            lines += [f"  {name}: 1x1 struct", f"    range: 1x2 double [{max(low, 0)} {high}]", f"    quakes: 1x1 double {len(found)}",
                      f"    mag: 1x2 double [{float(min(row[3] for row in found)):g} {float(strongest[3]):g}]",
                      f"    place: 1x2 double [{place}]"]
        result = self.call(addon("quake_depths"), "--struct", DATA / "quakes.csv")
        self.check(result, 0)
        self.assertEqual(result.stdout.decode().splitlines(), lines)

    def test_quake_depths_leaves_out_what_is_not_known(self):
        for content, wanted in (
            ("mag,depth\n4,70\nNA,5\n5,NA\n", ("1x1 double 1", "1x2 double [4 4]", "0x0 double")),
            ("mag,depth,lat,long\n", ("1x1 double 0", "0x0 double", "0x0 double")),
            ("mag,depth,lat,long\n4,0,-1,2\n4,1,-3,4\n", ("1x1 double 2", "1x2 double [4 4]", "1x2 double [-1 2]")),
        ):
            with self.subTest(content):
                result = self.call(addon("quake_depths"), "--struct", self.file("x.csv", content))
                self.check(result, 0)
                shallow = [line.split(": ")[1] for line in result.stdout.decode().splitlines()[3:6]]
                self.assertEqual(tuple(shallow), wanted)

    def test_quake_depths_puts_out_nothing_for_what_is_no_table_of_quakes(self):
        for arguments in ([DATA / "quakes.csv"], [5], ["--struct", DATA / "co2.csv"], []):
            with self.subTest(arguments):
                self.check(self.call(addon("quake_depths"), *arguments), OUTPUTS, "output 1 was not set")

    def test_quake_rings(self):
        latitude, longitude, width = -17.8, 178.0, 250.0

        def vector(lat, long):
            lat, long = math.radians(lat), math.radians(long)
            return (math.cos(lat) * math.cos(long), math.cos(lat) * math.sin(long), math.sin(lat))

        def distance(lat, long):
            a, b = vector(latitude, longitude), vector(lat, long)
            cross = (a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0])
            return 6371.0 * math.atan2(math.hypot(*cross), sum(x * y for x, y in zip(a, b)))

        rings = {}
        for lat, long, depth, magnitude, _ in read("quakes.csv"):
            place = distance(float(lat), float(long)) / width
            self.assertGreater(abs(place - round(place)), 1e-9)  # no quake so near to an edge that rounding decides
            rings.setdefault(int(place), []).append((depth, magnitude))
        wanted = []
        for index in range(max(rings) + 1):
            depths, magnitudes = zip(*rings[index])
            wanted.append([index * width, (index + 1) * width, len(depths), sum(depths) / len(depths), max(depths), max(magnitudes)])
        self.assertGreater(len(wanted), 3)
        self.compare(self.numbers(addon("quake_rings"), DATA / "quakes.csv", latitude, longitude, width), wanted)

    def test_quake_rings_raises_errors_of_its_own(self):
        quakes = DATA / "quakes.csv"
        for mode in (1, 0):
            for arguments, text in (
                ([quakes], "quake_rings:call: Give the table, latitude,"),
                ([5, 1, 2, 3], "quake_rings:table: The first input must be a real matrix of latitude, longitude and depth, "
                               "but is a double with 1 columns."),
                ([quakes, quakes, 2, 3], "quake_rings:number: The latitude must be one finite number."),
                ([quakes, 1, "nan", 3], "quake_rings:number: The longitude must be one finite number."),
                ([quakes, 1, 2, 0], "quake_rings:width: The width of a ring must be above 0, but is 0."),
                ([quakes, 1, 2, 1e-9], "quake_rings:far: Row 1 lies beyond 10000 rings"),
            ):
                with self.subTest(arguments=arguments, mode=mode):
                    self.check(self.call("--mode", mode, addon("quake_rings"), *arguments), RAISED, text)


if __name__ == "__main__":
    unittest.main()
