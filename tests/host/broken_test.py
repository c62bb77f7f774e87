#!/usr/bin/env python3
"""What addon functions in C break: the host says which output or input it was, and no call ends by a signal."""
import unittest

from tool import LEAKS_ALLOWED, ToolTest, addon

RAISED, OUTPUTS = 6, 8


class Broken(ToolTest):
    def behave(self, entry, *arguments, **options):
        return self.call(addon("test_breaks"), "--entry", entry, *arguments, **options)

    def test_an_output_that_has_ended_is_refused(self):
        for mode in (1, 0):
            for entry in ("end_small_output", "end_large_output", "end_older_output"):
                with self.subTest(entry=entry, mode=mode):
                    result = self.behave(entry, "--mode", mode, env={} if mode else LEAKS_ALLOWED)
                    self.check(result, OUTPUTS, "output 1 isn't alive: the addon has ended that array, ")

    def test_an_output_that_has_ended_is_no_matter_behind_an_error(self):
        for entry in ("end_small_output_and_raise", "end_large_output_and_raise", "end_output_and_make_another"):
            with self.subTest(entry):
                self.check(self.behave(entry), RAISED, "nd: TARVEL:pmaxsize: ")

    def test_a_process_that_the_addon_ends_is_told(self):
        self.check(self.behave("end_process"), OUTPUTS, "(end_process): the addon ended the process")

    def test_an_output_that_stands_in_another_array_is_refused(self):
        for mode in (1, 0):
            env = {} if mode else LEAKS_ALLOWED
            with self.subTest(mode=mode):
                result = self.behave("put_out_element_of_input", "--struct", self.file("x.csv", "a\n1\n"), "--mode", mode, env=env)
                self.check(result, OUTPUTS, "output 1 stands in another array; an addon puts out a copy")
                result = self.behave("put_out_element_of_output", "--nlhs", 2, "--mode", mode, env=env)
                self.check(result, OUTPUTS, "output 2 stands in another array; an addon puts out a copy")

    def test_an_input_that_is_ended_is_told_and_lives(self):
        for entry in ("end_input", "end_input_twice", "end_input_and_put_it_out", "put_input_into_a_cell"):
            with self.subTest(entry):
                self.check(self.behave(entry, 5), OUTPUTS, "input 1 was ended by the addon, or put into an array of its own; ")
        self.check(self.behave("end_input_and_raise", 5), RAISED, "nd: TARVEL:pmaxsize: ")

    def test_an_argument_of_a_call_within_a_call_is_held_as_well(self):
        for entry, callee in (("call_that_ends_the_first", "end_input"), ("call_that_ends_the_last", "end_input_twice")):
            with self.subTest(entry):
                self.check(self.behave(entry), OUTPUTS, f"({callee}): input 1 was ended by the addon, ")

    def test_what_is_forgotten_beside_is_reported_all_the_same(self):
        result = self.behave("call_that_ends_the_first", "--report")
        self.assertEqual(result.returncode, OUTPUTS)
        self.assertIn("(end_input): nothing forgotten\n", result.stderr.decode())

    def test_a_result_that_nobody_asked_for_ends(self):
        result = self.behave("call_for_no_result", "--report")
        self.assertEqual(result.returncode, 0)
        self.assertEqual(result.stderr.decode().count("nothing forgotten"), 2)

    def test_nulls_in_a_call_are_errors_with_a_name(self):
        for entry, what in (("call_nobody", "name of an addon"), ("call_without_place", "place for the results"),
                            ("call_without_arguments", "place where the arguments stand")):
            with self.subTest(entry):
                self.check(self.behave(entry), RAISED, f"nd: nd:callAddon:null: There is no {what}.")


if __name__ == "__main__":
    unittest.main()
