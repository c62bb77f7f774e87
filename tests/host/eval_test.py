#!/usr/bin/env python3
"""nd eval from outside: what is shown, errors with a caret, exit statuses, addons, files, pipes and a terminal with history."""
import os
import pty
import re
import select
import shlex
import subprocess
import time
import unittest

from tool import SANITIZERS, SOURCE, TOOL, ToolTest, addon

USAGE, INPUT, NO_ADDON, RAISED, OUTPUTS, NOTATION = 2, 3, 4, 6, 8, 10
BACK, END = b"\x10", b"\x04"  # the keys control-P and control-D


class EvalTest(ToolTest):
    def eval(self, *lines, **options):
        return self.run_tool("eval", *lines, **options)

    def shows(self, lines, expected, *options):
        result = self.eval(*([lines] if isinstance(lines, str) else lines), *options)
        self.check(result, 0)
        self.assertEqual(result.stdout.decode(), expected)

    def fails(self, line, status, identifier, caret, *options):
        """The error, the line, and a caret in the column (from 0) where it says."""
        result = self.eval(*options, line)
        text = result.stderr.decode().splitlines()
        self.assertEqual(result.returncode, status, text)
        self.assertEqual(len(text), 3, text)
        self.assertTrue(text[0].startswith(f"nd: {identifier}: "), text)
        self.assertEqual(text[1], "  " + line)
        self.assertEqual(text[2], "  " + " " * caret + "^", text)


class Shown(EvalTest):
    def test_values_are_shown_unless_a_semicolon_follows(self):
        self.shows("x = 1:5; x(2) = []", "x: 1x4 double [1 3 4 5]\n")
        self.shows("x = 1, y = 'a'; y", "x: 1x1 double 1\ny: 1x1 char 'a'\n")
        self.shows("x = 1;", "")
        self.shows("5", "ans: 1x1 double 5\n")
        self.shows("% nothing", "")

    def test_matrices_are_tables_and_containers_trees(self):
        self.shows("x = [1 2; 3 4.5]", "x: 2x2 double\n     1    2\n  1  1  2.0\n  2  3  4.5\n")
        self.shows("s(2).name = 'b'", "s: 1x2 struct\n  (1).name: empty\n  (2).name: 1x1 char 'b'\n")
        self.shows("c = {1, 'two'}", "c: 1x2 cell\n  {1}: 1x1 double 1\n  {2}: 1x3 char 'two'\n")
        self.shows("c = {1, 'two'}; c{:}", "ans: 1x1 double 1\nans: 1x3 char 'two'\n")

    def test_a_variable_that_gets_two_values_has_the_last(self):
        twice = "c = {1, [2 3]}; [a, a] = c{:}"
        self.shows(twice, "a: 1x2 double [2 3]\na: 1x2 double [2 3]\n")
        self.shows("a = 1; c = {{4}, 5}; [a, a{2}] = c{:}", "a: 1x2 cell\n  {1}: 1x1 double 4\n  {2}: 1x1 double 5\n" * 2)

    def test_long_values_are_elided_without_all(self):
        self.assertIn(b"...", self.eval("1:100").stdout)
        self.assertNotIn(b"...", self.eval("1:100", "--all").stdout)

    def test_each_word_is_a_line_and_variables_stay(self):
        self.shows(["x = 1:3;", "x(2) = 7;", "x"], "x: 1x3 double [1 7 3]\n")

    def test_standard_input_is_read_line_by_line(self):
        result = self.eval(input=b"x = 1:3;\n\n% a comment\nx(end)\nx(1) = []")
        self.check(result, 0)
        self.assertEqual(result.stdout, b"ans: 1x1 double 3\nx: 1x2 double [2 3]\n")


class Failures(EvalTest):
    def test_the_caret_stands_under_the_place(self):
        self.fails("x = 1:5; x(7)", RAISED, "TARVEL:badsubscript", 11)
        self.fails("x = 1:5; x(1, 7)", RAISED, "TARVEL:badsubscript", 14)
        self.fails("x = ones(2); x(1, 2.5) = 3", RAISED, "TARVEL:badsubscript", 18)
        self.fails("x = ones(2); x(7) = 1", RAISED, "TARVEL:indexed_matrix_cannot_be_resized", 14)
        self.fails("c = {1, 1}; x = ones(2); x(c{:}, 9, 1)", RAISED, "TARVEL:badsubscript", 33)
        self.fails("c = {1, 9}; x = ones(2); x(c{:})", RAISED, "TARVEL:badsubscript", 27)
        self.fails("c = {1, 1}; x = ones(2); x(c{:}, 9, 1) = 'a':'b'", RAISED, "TARVEL:subsassigndimmismatch", 26)
        self.fails("x = 1:5; x(1:2) = [1 2 3]", RAISED, "TARVEL:subsassigndimmismatch", 10)
        self.fails("x = 1:5; y = x(x(0))", RAISED, "TARVEL:badsubscript", 17)
        self.fails("x = int8(1):int16(2)", RAISED, "TARVEL:colon:mixedNonDoubleOperands", 4)
        self.fails("x = 1; y", NOTATION, "nd:eval:undefinedName", 7)
        self.fails("x = 5 + 'a'", NOTATION, "nd:eval:operands", 6)
        self.fails("s.a = 1; s.b", NOTATION, "nd:eval:undefinedField", 10)
        self.fails("s." + "a" * 2049 + " = 1", RAISED, "TARVEL:AddField:InvalidFieldName", 1)
        self.fails("s.b = 1; s." + "a" * 2049 + " = 1", RAISED, "TARVEL:AddField:InvalidFieldName", 10)
        self.fails("x = [1 2", NOTATION, "nd:eval:syntax", 4)
        self.fails("'é', x(", NOTATION, "nd:eval:syntax", 7)

    def test_lines_of_any_bytes_and_length_end_with_an_identifier(self):
        many = 100000
        for line in (b"(" * many, b"[" * many, b"{" * many + b"}" * many, b"x(" * many, b"-" * many + b"1", b"x" + b".a" * many + b" = 1",
                     b"x = 0" + b"'" * many, b"9" * many, b"1e-" + b"9" * many, b"'" + b"a" * many, b"x = 1\0", b"\xFF\xFE x = 1",
                     b"x" + b"{1}" * many + b" = 1", b"[" + b"a " * many + b"] = 5", b"zeros(end)", b"x.1", b"x{} = 1", b"[] = 5", b"x(1)(", b"..."):
            result = self.eval(input=line + b"\n")
            self.assertEqual(result.returncode, NOTATION, line[:20])
            self.assertRegex(result.stderr, rb"^nd: nd:eval:\w+: .*\n  .*\n +\^\n$", line[:20])

    def test_containers_in_one_another_have_no_end(self):
        deep = b"c = {};\n" + b"c = {c};\n" * 20000
        self.check(self.eval(input=deep + b"d = c; d{1}{1}{2} = 1; s.a = d; s(3) = s; d(1) = []; s(2) = []; c = 1;\n"), 0)

    def test_text_has_to_be_utf8(self):
        for broken in (b"\xFF", b"\xED\xA0\x80", b"\xC3"):
            result = self.eval(input=b"x = 'a" + broken + b"'\n")
            text = result.stderr.decode().splitlines()
            self.assertEqual(result.returncode, NOTATION, text)
            self.assertEqual(text[0], "nd: nd:eval:syntax: the text isn't UTF-8 here")
            self.assertEqual(text[2], "        ^", text)

    def test_the_first_line_that_fails_is_the_last(self):
        result = self.eval("x = 1", "x(0)", "x = 2")
        self.assertEqual(result.returncode, RAISED)
        self.assertEqual(result.stdout, b"x: 1x1 double 1\n")
        result = self.eval(input=b"x = 1\nx(\nx = 2\n")
        self.assertEqual(result.returncode, NOTATION)
        self.assertEqual(result.stdout, b"x: 1x1 double 1\n")

    def test_usage(self):
        self.assertEqual(self.eval("--frobnicate").returncode, USAGE)
        self.assertEqual(self.eval("--help").returncode, 0)


class Files(EvalTest):
    def test_reads_csv(self):
        path = self.file("a.csv", "a,b\n1,2\n3,4\n")
        self.shows(f"x = read('{path}'); x(2, :)", "ans: 1x2 double [3 4]\n")
        self.shows(f"s = read('{path}', 'struct'); s.b(end) = 7; s.b", "ans: 2x1 double [2; 7]\n")
        self.fails("read('/nonexistent.csv')", INPUT, "/nonexistent.csv", 0)
        iris = SOURCE / "examples/data/iris.csv"
        self.shows(f"f = read('{iris}', 'struct'); f.Species{{end}}", "ans: 1x9 char 'virginica'\n")
        self.fails(f"read('{path}', 'frob')", NOTATION, "nd:eval:arguments", 0)

    def test_works_on_measured_data(self):
        quakes = SOURCE / "examples/data/quakes.csv"
        rows = quakes.read_text().splitlines()
        magnitude = rows[0].replace('"', "").split(",").index("mag")
        last = [float(row.split(",")[magnitude]) for row in rows[-3:]]
        self.shows(f"q = read('{quakes}', 'struct'); q.mag(end-2:end)", "ans: 3x1 double [%g; %g; %g]\n" % tuple(last))


class Addons(EvalTest):
    def test_an_addon_is_called_by_its_files_name(self):
        means = addon("column_means")
        self.shows("m = column_means([1 2; 3 5])", "m: 1x2 double [2 3.5]\n", "--addon", means)
        self.shows("x = {column_means([1 2; 3 5])}; x{1}(2)", "ans: 1x1 double 3.5\n", "--addon", means)
        self.shows(" [a, b] = test_copies(1, [2 3]); b", "b: 1x2 double [2 3]\n", "--addon", addon("test_copies"))
        self.shows("[test_copies(4) 5]", "ans: 1x2 double [4 5]\n", "--addon", addon("test_copies"))
        self.shows("column_means = 5", "column_means: 1x1 double 5\n", "--addon", means)

    def test_colon_objects_of_addons_are_rows(self):
        for line, shown in (("size(x)", "1x2 double [1 5]"), ("size(x, 2)", "1x1 double 5"), ("numel(x)", "1x1 double 5"),
                            ("x'", "5x1 double [1; 2; 3; 4; 5]"), ("reshape(x, 5, 1)", "5x1 double [1; 2; 3; 4; 5]"),
                            ("[x 6]", "1x6 double [1 2 3 4 5 6]"), ("x(end)", "1x1 double 5")):
            self.shows(["x = test_odd_values(1);", line], f"ans: {shown}\n", "--addon", addon("test_odd_values"))

    def test_elements_without_data_are_zeros_and_empty_slots(self):
        for which, line, shown in ((2, "x + 1", "1x1 double 1"), (2, "[x 1]", "1x2 double [0 1]"), (2, "1:x", "1x0 double"),
                                   (3, "x + 1", "1x1 double 1"), (4, "y = [x {1}]; y{2}", "0x0 double"), (5, "x(2).a", "0x0 double"),
                                   (6, "x{1} + 1", "1x1 double 1"), (7, "x{1}{2}", "0x0 double"),
                                   (4, "x{2}(3) = 5; x{2}", "1x3 double [0 0 5]"), (5, "x(2).a(3) = 5; x(2).a", "1x3 double [0 0 5]"),
                                   (6, "x{1}(2) = 5; x{1}", "1x2 double [0 5]"), (7, "x{1}{2}{1} = 5; x{1}{2}{1}", "1x1 double 5")):
            self.shows([f"x = test_odd_values({which});", line], f"ans: {shown}\n", "--addon", addon("test_odd_values"))

    def test_failures_of_addons_have_a_place(self):
        means = addon("column_means")
        self.fails("x = 1; y = column_means()", OUTPUTS, means, 11, "--addon", means)
        result = self.eval("1", "--addon", "/nonexistent.so")
        self.check(result, NO_ADDON, "/nonexistent.so")

    def test_what_an_addon_forgot_is_told(self):
        result = self.eval("x = trimmed_means([1 2; 3 4; 5 6]);", "--report", "--addon", addon("trimmed_means"))
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn(b"forgot 2 arrays", result.stderr)


class Documents(EvalTest):
    def examples(self, path, title):
        """The commands of a section, each with what the section says it prints."""
        section = (SOURCE / path).read_text().split(f"## {title}\n")[1].split("\n## ")[0]
        block = "\n".join(line[4:] for line in section.splitlines() if line.startswith("    "))
        for example in re.split(r"^\$ |^(?=build/)", block, flags=re.MULTILINE):
            command, _, printed = example.partition("\n")
            if command:
                yield shlex.split(command)[1:], printed.strip("\n")

    def test_examples_print_what_the_documents_say(self):
        for path, title in (("README.md", "Trying things out"), ("docs/formats.md", "The notation")):
            examples = list(self.examples(path, title))
            self.assertEqual(len(examples), 1, path)
            for command, printed in examples:
                words = [addon("column_means") if word == "column_means.so" else word for word in command]
                result = self.run_tool(*words, cwd=SOURCE)
                self.assertEqual((result.stdout + result.stderr).decode().strip("\n"), printed, command)


class Terminal(EvalTest):
    def type(self, keys, history):
        """Types at a terminal that nd eval has, each of keys when it waits for them; what the terminal shows, and the exit status."""
        environment = {**os.environ, **SANITIZERS, "ND_HISTORY": history, "TERM": "dumb", "HOME": self.folder.name}
        screen, terminal = pty.openpty()
        tool = subprocess.Popen([TOOL, "eval"], stdin=terminal, stdout=terminal, stderr=terminal, env=environment,
                                start_new_session=True)
        os.close(terminal)
        shown, keys, deadline = b"", list(keys), time.monotonic() + 60
        try:
            while time.monotonic() < deadline:
                if select.select([screen], [], [], 0.2)[0]:
                    shown += os.read(screen, 65536)
                elif shown.endswith(b"> ") and keys:
                    os.write(screen, keys.pop(0))
        except OSError:  # the other end is closed
            pass
        finally:
            os.close(screen)
            if tool.poll() is None and time.monotonic() >= deadline:
                tool.kill()
        return shown.decode(errors="replace"), tool.wait(timeout=60)

    def test_a_failing_line_doesnt_end_the_session_and_lines_are_remembered(self):
        history = self.path("history")
        shown, status = self.type([b"x = 1:3;\n", b"x(7)\n", b"x(2) = []\n", END], history)
        self.assertEqual(status, 0, shown)
        self.assertIn("nd: TARVEL:badsubscript: ", shown)
        self.assertIn("x: 1x2 double [1 3]", shown)
        shown, status = self.type([BACK * 3 + b"\n", b"x(end)\n", END], history)  # three lines back: x = 1:3;
        self.assertEqual(status, 0, shown)
        self.assertIn("ans: 1x1 double 3", shown)

    def test_without_a_history_lines_are_remembered_in_the_session_only(self):
        shown, status = self.type([b"x = 5\n", BACK + b"\n", END], "")
        self.assertEqual(status, 0, shown)
        self.assertEqual(shown.count("x: 1x1 double 5"), 2, shown)
        self.assertEqual(os.listdir(self.folder.name), [])


if __name__ == "__main__":
    unittest.main()
