#!/usr/bin/env python3
"""What addon functions in C forget: every call ends with the promised report, and nothing is left behind.

That nothing stays behind is the sanitizers' word in the builds that have them: the leak check turns a success into a failure.
engines_test.cpp counts in the others.
"""
import re
import signal
import unittest
from pathlib import Path

from tool import SOURCE, ToolTest, addon

USAGE, NO_ADDON, RAISED, OUTPUTS = 2, 4, 6, 8
MEMORY = "forgot memory of ndMalloc, ndCalloc or ndRealloc"
NOTHING = "nothing forgotten"


class Forgotten(ToolTest):
    def behave(self, entry, *arguments, **options):
        return self.call("--report", addon("test_forgets"), "--entry", entry, *arguments, **options)

    def check_report(self, result, *lines, status=0):
        """The whole of standard error; a pair (entry, sentence) or an array's "SERIAL: SIZE CLASS" each."""
        path = addon("test_forgets")
        wanted = [f"nd: {path} ({line[0]}): {line[1]}" if isinstance(line, tuple) else f"nd:   serial {line}" for line in lines]
        self.assertEqual(result.stderr.decode().splitlines(), wanted)
        self.assertEqual(result.returncode, status)

    def check_value(self, result, value):
        self.assertEqual(result.stdout.decode().split()[-1], str(value))

    def test_arrays_are_told_by_serial_size_and_class(self):
        result = self.behave("forget_arrays")
        self.check_report(result, ("forget_arrays", "forgot 5 arrays"), "1: 2x3 double", "2: 1x4 logical",
                          "4: 2x2 complex single", "5: 0x7 double", "6: 1000x1000 double")
        self.check_value(result, 1)

    def test_blocks_are_told(self):
        result = self.behave("forget_blocks")
        self.check_report(result, ("forget_blocks", MEMORY))
        self.check_value(result, 2)

    def test_what_was_ended_in_whatever_order_is_not_forgotten(self):
        result = self.behave("free_in_odd_orders")
        self.check_report(result, ("free_in_odd_orders", NOTHING))
        self.check_value(result, 3)

    def test_what_was_left_between_ended_ones_is_found(self):
        result = self.behave("end_most")
        self.check_report(result, ("end_most", "forgot 2 arrays"), "31: 1x31 double", "60: 1x60 double")

    def test_what_is_kept_for_the_next_call_is_forgotten(self):
        self.check_report(self.behave("keep"), ("keep", "forgot 1 array"), "1: 1x1 double", ("keep", MEMORY))

    def test_of_thousands_the_first_and_the_last_are_told(self):
        result = self.behave("forget_thousands")
        lines = result.stderr.decode().splitlines()
        self.assertEqual(result.returncode, 0)
        self.assertEqual(len(lines), 1 + 15 + 1 + 4 + 1)
        self.assertTrue(lines[0].endswith("forgot 5000 arrays"), lines[0])
        self.assertEqual(lines[15:18], ["nd:   serial 15: 1x15 double", "nd:   ...", "nd:   serial 4997: 1x97 double"])
        self.check_value(result, 6)
        whole = self.behave("forget_thousands", "--all").stderr.decode().splitlines()
        self.assertEqual(whole[1:-1], [f"nd:   serial {i}: 1x{i % 100} double" for i in range(1, 5001)])

    def test_up_to_twenty_are_told_without_a_gap(self):
        def told(count, *options):
            lines = self.behave("forget_rows", str(count), *options).stderr.decode().splitlines()
            self.assertTrue(lines[0].endswith(f"(forget_rows): forgot {count} arrays"), lines[0])
            return lines[1:]
        rows = [f"nd:   serial {i}: 1x{i} double" for i in range(1, 23)]
        self.assertEqual(told(19), rows[:19])
        self.assertEqual(told(20), rows[:20])
        self.assertEqual(told(21), rows[:15] + ["nd:   ..."] + rows[17:21])
        self.assertEqual(told(22), rows[:15] + ["nd:   ..."] + rows[18:22])
        self.assertEqual(told(21, "--all"), rows[:21])

    def test_a_forgotten_output_is_told_before_the_failure(self):
        self.check_report(self.behave("forget_the_output"), ("forget_the_output", "forgot 1 array"), "1: 1x3 double",
                          ("forget_the_output", "output 1 was not set: the addon didn't take its inputs, or had no memory"),
                          status=OUTPUTS)

    def test_an_error_ends_the_call_without_a_report(self):
        for entry in ("raise_and_forget", "call_one_that_raises"):
            with self.subTest(entry):
                self.check(self.behave(entry), RAISED, "nd: TARVEL:pmaxsize: ")

    def test_calls_within_calls_have_a_report_each(self):
        result = self.behave("call_others")
        self.check_report(result,
                          ("forget_arrays", "forgot 5 arrays"), "2: 2x3 double", "3: 1x4 logical", "5: 2x2 complex single",
                          "6: 0x7 double", "7: 1000x1000 double",
                          ("forget_blocks", MEMORY),
                          ("call_others", "forgot 2 arrays"), "1: 1x8 double", "4: 1x1 double", ("call_others", MEMORY))
        self.check_value(result, 2)

    def test_a_call_within_a_call_fails_as_the_call_does(self):
        self.check_report(self.behave("call_one_without_output"), ("forget_the_output", "forgot 1 array"), "2: 1x3 double",
                          ("forget_the_output", "output 1 was not set: the addon didn't take its inputs, or had no memory"),
                          status=OUTPUTS)
        folder = Path(addon("test_forgets")).parent
        self.check(self.behave("call_nobody"), NO_ADDON, f"nd: {folder}/test_nobody.so: can't be used as an addon: there is no such file")
        self.check(self.behave("call_with_negative_count"), RAISED, "nd: nd:callAddon:count: There can't be -1 results and 0 arguments.")

    def test_a_call_finds_its_neighbour_and_hands_its_arguments_on(self):
        result = self.behave("call_neighbour", "7.5")
        self.assertEqual(result.stderr.decode().splitlines(),
                         [f"nd: {addon('test_copies')}: {NOTHING}", f"nd: {addon('test_forgets')} (call_neighbour): {NOTHING}"])
        self.check_value(result, 7.5)

    def test_calls_nest_as_deep_as_is_told(self):
        result = self.behave("descend", "9")
        lines = [line for n in range(10) for line in (("descend", "forgot 1 array"), f"{19 - 2 * n}: 1x{n + 1} double")]
        self.check_report(result, *lines)
        self.check_value(result, 45)
        self.assertEqual(self.behave("descend", "255").returncode, 0)
        self.check(self.behave("descend", "256"), RAISED, "nd: nd:callAddon:depth: 256 addon functions are running, ")

    def test_without_being_asked_the_host_says_nothing(self):
        self.check(self.call(addon("test_forgets"), "--entry", "call_others"), 0)

    def test_without_the_engine_there_is_nothing_to_report(self):
        self.check(self.behave("forget_the_output", "--mode", 0), USAGE, "--report needs --mode 1")


class Channels(ToolTest):
    """Both channels at a severity that doesn't end the process: what they write, and that the call goes on."""

    def behave(self, entry, *arguments, **settings):
        result = self.call(addon("test_forgets"), "--entry", entry, *arguments, env=settings)
        return result, result.stderr.decode()

    def test_orphans_are_counted_on_the_first_channel(self):
        result, text = self.behave("call_others", ND_LOG="matrix::arraylist=0x200")
        self.assertEqual(result.returncode, 0, text)
        self.assertEqual(re.findall(r"(\d+) orphan ndArrays found exiting array list context (\d+) from:", text),
                         [("5", "3"), ("2", "2")])

    def test_each_orphan_is_told_with_the_stack_of_its_creation(self):
        result, text = self.behave("call_others", ND_LOG="matrix::arraylist_stacks=0x200")
        self.assertEqual(result.returncode, 0, text)
        orphans = re.split(r"ndArray@0x[0-9a-f]+ (?=\(\d+ of \d+\) orphaned in context \d+ at exit\. )", text)[1:]
        self.assertEqual([orphan.split(" at exit. ")[0] for orphan in orphans],
                         [f"({i} of 5) orphaned in context 3" for i in range(1, 6)]
                         + [f"({i} of 2) orphaned in context 2" for i in range(1, 3)])
        for orphan in orphans[:5]:
            self.assertIn("Originally pushed onto array list from:\n#0 ", orphan)
            self.assertRegex(orphan, r" forget_arrays\+0x[0-9a-f]+ \(.*test_forgets\.so\+0x")
        # An array that a call gave to its caller was made in that call.
        self.assertRegex(orphans[5], r" forget_arrays\+0x[0-9a-f]+ \(")
        self.assertNotRegex(orphans[6], r" forget_arrays\+0x")
        self.assertRegex(orphans[6], r" call_others\+0x[0-9a-f]+ \(")

    def test_a_fatal_channel_ends_no_call(self):
        for channel, severity in (("arraylist", "0x800"), ("arraylist_stacks", "0x800"), ("arraylist_stacks", "0xA00")):
            with self.subTest(channel=channel, severity=severity):
                result, text = self.behave("call_others", "--report", ND_LOG=f"matrix::{channel}={severity}")
                self.assertEqual(result.returncode, 0, text)
                self.assertEqual(re.findall(r"(\d+) orphan ndArrays found exiting array list context (\d+) from:", text),
                                 [("5", "3"), ("2", "2")])
                self.assertEqual(result.stdout.decode().split()[-1], "2")

    def test_no_orphan_no_record(self):
        for channel in ("arraylist", "arraylist_stacks"):
            self.check(self.behave("free_in_odd_orders", ND_LOG=f"matrix::{channel}=0x200")[0], 0)
            result, text = self.behave("raise_and_forget", ND_LOG=f"matrix::{channel}=0x200")
            self.check(result, RAISED, "nd: TARVEL:pmaxsize: ")

    def test_the_report_stands_before_the_records(self):
        result = self.call("--report", addon("test_forgets"), "--entry", "keep", env={"ND_LOG": "matrix::arraylist_stacks=0x200"})
        text = result.stderr.decode()
        self.assertEqual(result.returncode, 0, text)
        self.assertRegex(text, r"(?s)^nd: .*forgot 1 array\nnd:   serial 1: .*\nnd: .*\nmatrix::arraylist_stacks: 1 orphan ")


class Serials(ToolTest):
    def add(self, serial):
        return self.call(addon("test_forgets"), "--entry", "end_most", env={"ND_BREAK_ON_SERIAL": str(serial)})

    def test_the_add_with_the_serial_asked_for_stops_the_process(self):
        for serial in (1, 31, 61):
            self.assertEqual(self.add(serial).returncode, -signal.SIGTRAP, serial)

    def test_calls_within_calls_count_on(self):
        stops = lambda serial: self.call(addon("test_forgets"), "--entry", "call_others", env={"ND_BREAK_ON_SERIAL": str(serial)})
        for serial in (1, 2, 8):
            self.assertEqual(stops(serial).returncode, -signal.SIGTRAP, serial)
        self.check(stops(9), 0)

    def test_a_serial_that_is_never_reached_stops_nothing(self):
        for serial in (0, 62, "", "none"):
            self.check(self.add(serial), 0)


class Example(ToolTest):
    def test_trimmed_means(self):
        rows = [[float(field) for field in line.split(",")]
                for line in (SOURCE / "examples/data/quakes.csv").read_text().splitlines()[1:]]
        wanted = [sum(sorted(column)[1:-1]) / (len(rows) - 2) for column in zip(*rows)]
        for value, mean in zip(self.numbers(addon("trimmed_means"), SOURCE / "examples/data/quakes.csv")[0], wanted, strict=True):
            self.assertAlmostEqual(value, mean, places=9)

    def test_trimmed_means_forgets_two_arrays_and_a_block(self):
        result = self.call("--report", addon("trimmed_means"), SOURCE / "examples/data/co2.csv")
        self.assertEqual(result.returncode, 0)
        self.assertEqual([line.replace(addon("trimmed_means"), "it") for line in result.stderr.decode().splitlines()],
                         ["nd: it: forgot 2 arrays", "nd:   serial 2: 1x3 double", "nd:   serial 3: 1x3 double", f"nd: it: {MEMORY}"])


if __name__ == "__main__":
    unittest.main()
