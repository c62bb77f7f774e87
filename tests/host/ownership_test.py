#!/usr/bin/env python3
"""Addon functions that hand out, claim or close what isn't theirs: the host says what was wrong, and what others own stays theirs."""
import unittest

from tool import LEAKS_ALLOWED, ToolTest, addon

RAISED, OUTPUTS = 6, 8
ELEMENT = "stands in another array; an addon puts out a copy"


class OwnershipTest(ToolTest):
    def behave(self, entry, *arguments, **options):
        return self.call(addon("test_ownership"), "--entry", entry, *arguments, **options)

    def check_value(self, entry, value, *arguments):
        result = self.behave(entry, *arguments)
        self.check(result, 0)
        self.assertEqual(result.stdout.decode().split()[-1], str(value))

    def table(self):
        return self.file("x.csv", "a\n7\n")


class Outputs(OwnershipTest):
    def test_an_element_is_refused(self):
        for mode in (1, 0):
            for entry, output, *arguments in (("put_out_field", 1, "--struct", self.table()), ("put_out_element_of_forgotten", 1),
                                              ("put_out_deep_element", 1), ("store_output_in_output", 1, "--nlhs", 2),
                                              ("store_output_in_forgotten", 1)):
                if mode == 0 and entry in ("put_out_element_of_forgotten", "put_out_deep_element", "store_output_in_forgotten"):
                    continue  # without lists nobody knows what was forgotten
                with self.subTest(entry=entry, mode=mode):
                    result = self.behave(entry, "--mode", mode, *arguments, env={} if mode else LEAKS_ALLOWED)
                    self.check(result, OUTPUTS, f"output {output} {ELEMENT}")
        self.check_value("call_for_element", 1)

    def test_an_element_that_ended_with_its_container_is_refused(self):
        for entry in ("put_out_element_of_ended", "put_out_large_element_of_ended"):
            with self.subTest(entry):
                self.check(self.behave(entry), OUTPUTS, "output 1 isn't alive: ")

    def test_an_element_that_was_taken_out_is_an_output(self):
        self.check_value("put_out_removed_element", 7)

    def test_a_reference_to_what_others_own_is_an_output(self):
        self.check_value("put_out_reference_to_field", 7, "--struct", self.table())
        self.check_value("put_out_reference_to_kept", 7)
        for what in ("element", "private_element", "kept"):
            with self.subTest(what):
                self.check_value(f"call_for_reference_to_{what}", 1)

    def test_very_many_are_taken_at_once(self):
        self.check_value("call_for_many", 600000, 600000)
        for entry, told in (("call_for_many", "There can't be 1000001 results and 0 arguments."),
                            ("call_with_many", "There can't be 1 results and 1000001 arguments.")):
            self.check(self.behave(entry, 1000001), RAISED, f"nd: nd:callAddon:count: {told}")


class Inputs(OwnershipTest):
    def test_an_argument_that_is_claimed_stays_the_callers(self):
        for how in ("claims", "takes"):
            for place in ("first", "last"):
                with self.subTest(how=how, place=place):
                    self.check_value(f"call_that_{how}_the_{place}", 1)
        self.check(self.behave("call_that_claims"), OUTPUTS,
                   "(claim_input): input 1 was claimed by the addon, which doesn't own it; an addon takes a copy")


class Contexts(OwnershipTest):
    def test_those_left_open_are_closed_and_told(self):
        path = addon("test_ownership")
        for arguments, forgot in ((("--nlhs", 2), 2), ((), 3)):
            with self.subTest(arguments):
                result = self.behave("leave_open", "--report", *arguments)
                lines = result.stderr.decode().splitlines()
                self.assertEqual(result.returncode, 0, lines)
                self.assertEqual([line for line in lines if "serial" not in line],
                                 [f"nd: {path} (leave_open): {what}" for what in (
                                     f"forgot {forgot} arrays", "forgot memory of ndMalloc, ndCalloc or ndRealloc",
                                     "left 2 contexts of the array list open", "left a context of the alloc list open")])
                self.assertEqual(result.stdout.decode().split()[-1], "7")
        self.check(self.behave("leave_open"), 0)
        self.check(self.behave("leave_open_and_raise"), RAISED, "nd: ownership:open: with contexts open")

    def test_a_caller_finds_its_own(self):
        for entry in ("call_one_that_leaves_open", "call_one_that_leaves_open_and_raises", "call_one_that_closes_its_context",
                      "call_one_that_closes_this_context"):
            with self.subTest(entry):
                self.check_value(entry, 1)

    def test_those_closed_too_many_are_told(self):
        for entry, kind in (("close_own_context", "array"), ("close_own_block_context", "alloc")):
            with self.subTest(entry):
                self.check(self.behave(entry), OUTPUTS, f"the addon closed a context of the {kind} list that it hadn't opened")


if __name__ == "__main__":
    unittest.main()
