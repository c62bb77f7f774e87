#!/usr/bin/env python3
"""The host's command line from outside: every exit status with its message, inputs, outputs, modes, versions, broken addons."""
import math
import random
import struct
import subprocess
import unittest
from pathlib import Path

from tool import ADDONS, LEAKS_ALLOWED, TOOL, ToolTest, addon

USAGE, INPUT, NO_ADDON, VERSION, RAISED, FOREIGN, OUTPUTS, WRITING = 2, 3, 4, 5, 6, 7, 8, 9


class CommandLine(ToolTest):
    def test_version_and_help_are_successes(self):
        version = self.run_tool("--version")
        self.assertEqual(version.returncode, 0)
        self.assertRegex(version.stdout.decode(), r"^nd \d+\.\d+\.\d+, interface version 0x08000000 \(Interleaved Complex\)\n$")
        for arguments in (["--help"], ["call", "--help"]):
            self.assertEqual(self.run_tool(*arguments).returncode, 0)

    def test_usage_errors(self):
        copies = addon("test_copies")
        for arguments in (
            [],
            ["call"],
            ["frobnicate"],
            ["call", copies, "--frobnicate"],
            ["call", copies, "--nlhs", "-1"],
            ["call", copies, "--nlhs", "256"],
            ["call", copies, "--nlhs", "many"],
            ["call", copies, "--mode", "2"],
            ["call", copies, "1", "--report", "--mode", "0"],
            ["call", copies, "1", "--out", self.path("a.csv"), "--out", self.path("b.csv")],
            ["call", copies, "1", "--columns", "a", "--columns", "b"],
            ["call", copies, "1", "--columns", "a,b"],
        ):
            with self.subTest(arguments):
                result = self.run_tool(*arguments)
                self.assertEqual(result.returncode, USAGE)
                self.assertNotEqual(result.stderr, b"")


class Loading(ToolTest):
    def refused(self, path, status, text, *more):
        result = self.call(path, *more)
        self.check(result, status, text)
        self.assertEqual(result.stdout, b"")

    def test_what_is_no_addon(self):
        self.refused("/nonexistent/x.so", NO_ADDON, "/nonexistent/x.so: can't be used as an addon: there is no such file")
        self.refused(self.folder.name, NO_ADDON, "it is not a file")
        self.refused(self.file("text.so", "hello"), NO_ADDON, "it is not a shared object")
        self.refused(self.file("empty.so", ""), NO_ADDON, "it is not a shared object")
        self.refused(self.file("short.so", b"\x7fELF"), NO_ADDON, "the file is cut off")
        self.refused(TOOL, NO_ADDON, "can't be used as an addon: ")
        self.refused(addon("test_no_stamp"), NO_ADDON,
                     f"nd: {addon('test_no_stamp')}: can't be used as an addon: it has no interface version (ndAddonInterfaceVersion), "
                     "but this library calls addons of version 0x08000000 (Interleaved Complex); "
                     "put ND_ADDON_FUNCTION; once beside ndAddonFunction\n")
        self.refused(addon("test_no_entry"), NO_ADDON, "it has no function 'ndAddonFunction'")
        self.refused(addon("test_borrowed_stamp"), NO_ADDON, "it has no interface version (ndAddonInterfaceVersion)")
        for entry in ("other", "free", "ndCreateDoubleScalar", "ndAddonInterfaceVersion"):
            self.refused(addon("test_copies"), NO_ADDON, f"it has no function '{entry}'", "--entry", entry)

    def test_a_file_cut_off_anywhere_ends_in_no_signal(self):
        whole = Path(addon("test_copies")).read_bytes()
        for length in range(0, len(whole), max(1, len(whole) // 60)):
            result = self.call(self.file("cut.so", whole[:length]), "1")
            self.assertIn(result.returncode, (0, NO_ADDON), f"{length} of {len(whole)} bytes: {result.stderr.decode()}")
        self.check(self.call(self.file("cut.so", whole), "1"), 0)

    def test_a_name_without_a_folder_is_a_file_here(self):
        self.check(self.call("test_copies.so", "1", cwd=ADDONS), 0)

    def test_other_interface_versions_are_refused_with_both_versions_and_a_way_out(self):
        current = "but this library calls addons of version 0x08000000 (Interleaved Complex); "
        older = current + "compile it with ND_API 800"
        newer = current + "install the libnd it was compiled for, or compile it with this one's headers"
        self.refused(addon("test_one_700"), VERSION, "compiled for interface version 0x07000000 (32-bit), " + older)
        self.refused(addon("test_one_730"), VERSION, "compiled for interface version 0x07300000 (Separate Complex), " + older)
        self.refused(addon("test_stamp_0"), VERSION, "compiled for interface version 0x00000000 (unknown), " + older)
        self.refused(addon("test_stamp_future"), VERSION, "compiled for interface version 0x08000001 (incompatible), " + newer)
        self.check(self.call(addon("test_one_800")), 0)


class Inputs(ToolTest):
    def test_bad_files_are_told_with_line_and_column(self):
        ragged = self.file("ragged.csv", "a,b\n1,2\n3\n")
        self.check(self.call(addon("test_copies"), ragged), INPUT, "ragged.csv: line 3, column 1: ")
        self.check(self.call(addon("test_copies"), self.file("junk.csv", bytes(range(256)))), INPUT, "junk.csv: line 1, column 1: ")
        self.check(self.call(addon("test_copies"), self.file("none.csv", "")), INPUT, "none.csv: the file is empty")
        self.check(self.call(addon("test_copies"), self.path("missing.csv")), INPUT, "No such file or directory")
        self.check(self.call(addon("test_copies"), "1e400"), INPUT, "1e400: no double can hold this number")
        self.check(self.call(addon("test_copies"), "twelve"), INPUT, "twelve: can't be read: ")

    def test_numbers_are_scalars(self):
        for word, value in (("3.25", 3.25), ("-17.5", -17.5), ("+1e3", 1000.0), ("Inf", math.inf)):
            self.assertEqual(self.numbers(addon("test_copies"), word), [[value]])
        result = self.call("--out", "-", addon("test_copies"), "--", "-inf")
        self.check(result, 0)
        self.assertEqual(result.stdout, b"-Inf\n")

    def test_standard_input_is_a_file(self):
        result = self.call(addon("test_copies"), "/dev/stdin", "--out", "-", input=b"1,2\n3,4\n")
        self.check(result, 0)
        self.assertEqual(result.stdout, b"1,2\n3,4\n")

    def test_every_double_comes_back_bit_for_bit(self):
        chance = random.Random(11)
        values = [struct.unpack("<d", chance.randbytes(8))[0] for _ in range(3000)]
        values = [v for v in values if math.isfinite(v)] + [5e-324, -0.0, 1.7976931348623157e308, 0.1]
        source = self.file("values.csv", "".join(f"{v!r}\n" for v in values))
        back = [row[0] for row in self.numbers(addon("test_copies"), source)]
        self.assertEqual([struct.pack("<d", v) for v in back], [struct.pack("<d", v) for v in values])

    def test_rows_and_columns_keep_their_places(self):
        source = self.file("m.csv", "a,b,c\r\n1,2,\r\n4,NaN,6")
        result = self.call(addon("test_copies"), source, "--out", "-", "--columns", "x,y z,1")
        self.check(result, 0)
        self.assertEqual(result.stdout.decode(), 'x,y z,"1"\n1,2,NaN\n4,NaN,6\n')


class Errors(ToolTest):
    def behave(self, entry, *arguments, **options):
        return self.call(addon("test_behaviours"), "--entry", entry, *arguments, **options)

    def test_errors_raised_on_purpose_pass_in_every_mode(self):
        for mode in (1, 0):
            for entry, text in (
                ("raise_own", "nd: behaviours:own: Nummer of 7, 100% \u00e4\n"),
                ("raise_by_number", "nd: TARVEL:badargs: "),
                ("raise_no_memory", "nd: TARVEL:nomem: "),
                ("throw_bad_alloc", "nd: TARVEL:nomem: out of memory\n"),
                ("throw_through_c", "nd: behaviours:c: through C\n"),
            ):
                with self.subTest(entry=entry, mode=mode):
                    self.check(self.behave(entry, "--mode", mode, env={} if mode else LEAKS_ALLOWED), RAISED, text)

    def test_a_creator_raises_in_mode_1_and_answers_null_in_mode_0(self):
        for entry, identifier in (("create_too_large", "TARVEL:pmaxsize"), ("create_beyond_memory", "TARVEL:nomem")):
            with self.subTest(entry):
                self.check(self.behave(entry, "--mode", 1), RAISED, f"nd: {identifier}: ")
                self.check(self.behave(entry, "--mode", 0), OUTPUTS, "output 1 was not set")

    def test_what_is_no_error_of_the_library_is_foreign(self):
        self.check(self.behave("throw_standard"), FOREIGN, "the addon threw a C++ exception: seven is beyond six")
        self.check(self.behave("throw_number"), FOREIGN, "the addon threw something that is no C++ exception class")


    def test_warnings_go_to_standard_error(self):
        result = self.behave("warn", "--out", "-")
        self.assertEqual(result.returncode, 0)
        self.assertEqual(result.stdout, b"1\n")
        self.assertRegex(result.stderr.decode(), "^nd: .*5 \u00e4 \U0001f30b.*\n$")


class Outputs(ToolTest):
    def behave(self, entry, *arguments):
        return self.call(addon("test_behaviours"), "--entry", entry, *arguments)

    def test_outputs_that_break_the_contract(self):
        self.check(self.behave("nothing"), OUTPUTS, "output 1 was not set")
        self.check(self.behave("answer", "--nlhs", 2), OUTPUTS, "output 2 was not set")
        self.check(self.behave("one_too_many"), OUTPUTS, "more outputs than the 1 asked for")
        self.check(self.behave("one_too_many", "--nlhs", 5), OUTPUTS, "more outputs than the 5 asked for")
        self.check(self.behave("same_array_twice", "--nlhs", 2), OUTPUTS, "output 2 is the same array as an output before it")
        self.check(self.behave("input_as_output", 3), OUTPUTS, "output 1 is an input itself")

    def test_without_outputs_asked_for_one_answer_is_allowed(self):
        nothing = self.behave("nothing", "--nlhs", 0)
        self.check(nothing, 0)
        self.assertEqual(nothing.stdout, b"")
        answer = self.behave("answer", "--nlhs", 0)
        self.check(answer, 0)
        self.assertEqual(answer.stdout.decode(), "output 1: 1x1 double\n      1\n  1  42\n")

    def test_as_many_outputs_as_one_may_ask_for(self):
        result = self.behave("all_asked_for", "--nlhs", 255)
        self.check(result, 0)
        self.assertIn("output 255: 1x1 double\n", result.stdout.decode())

    def test_files_take_the_first_outputs_and_the_rest_is_printed(self):
        first, second = self.path("1.csv"), self.path("2.csv")
        result = self.behave("all_asked_for", "--nlhs", 3, "--out", first, "--out", second)
        self.check(result, 0)
        self.assertEqual((Path(first).read_text(), Path(second).read_text()), ("1\n", "2\n"))
        self.assertEqual(result.stdout.decode(), "output 3: 1x1 double\n     1\n  1  3\n")

    def test_each_output_may_have_names_for_its_columns(self):
        out = self.path("1.csv")
        result = self.behave("all_asked_for", "--nlhs", 2, "--out", out, "--columns", "x", "--columns", "y z")
        self.check(result, 0)
        self.assertEqual(Path(out).read_text(), "x\n1\n")
        self.assertEqual(result.stdout.decode(), "output 2: 1x1 double\n     y z\n  1    2\n")

    def test_every_class_is_shown_or_told(self):
        result = self.behave("results_of_classes", "--nlhs", 5)
        self.check(result, 0)
        for line in ("output 1: 1x2 int64", "  1  0  -9223372036854775808", "output 2: 1x2 logical",
                     "output 3: 1x2 cell\n  {1}: empty\n  {2}: empty", "output 4: 1x2 char '\\x00\\x00'", "output 5: 1x2 single"):
            self.assertIn(line + "\n", result.stdout.decode())

    def test_what_cannot_be_written(self):
        self.check(self.behave("answer", "--out", "/nonexistent/x.csv"), WRITING, "/nonexistent/x.csv: can't be written: ")
        self.check(self.behave("answer", "--out", "/dev/full"), WRITING, "/dev/full: can't be written: No space left")
        outs = [argument for k in "123" for argument in ("--out", self.path(k))]
        self.check(self.behave("results_of_classes", "--nlhs", 3, *outs), WRITING, "output 3 (1x2 cell) has no numbers")
        with open("/dev/full", "wb") as full:
            command = [TOOL, "call", addon("test_behaviours"), "--entry", "answer"]
            result = subprocess.run(command, stdout=full, stderr=subprocess.PIPE, timeout=120)
        self.check(result, WRITING, "standard output: can't be written: No space left")


if __name__ == "__main__":
    unittest.main()
