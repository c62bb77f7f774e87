#!/usr/bin/env python3
"""valgrind_tests.py BUILD: runs each compiled test program that ctest knows in BUILD under valgrind memcheck.

A program passes when it exits with 0 and memcheck finds no error and no lost byte. Left out are tests that are scripts, since
they start programs of their own, and tests that are judged by what they print, since they may exit with anything. Prints one line a program; exits with 1 when one of them failed.
Array headers come from the C heap, block by block: a pool would hide them from memcheck.
"""
import json
import os
import re
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor

SUPPRESSIONS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "valgrind_suppressions.txt")

# The synonym keeps valgrind from replacing the operator new through which the tests inject failures.
VALGRIND = ["valgrind", "--quiet", "--error-exitcode=99", "--leak-check=full", "--show-leak-kinds=definite,indirect,possible", "--errors-for-leak-kinds=none",
            "--soname-synonyms=somalloc=nouserintercepts", "--suppressions=" + SUPPRESSIONS]

# What can't hold here: models that count in long double, of which valgrind keeps 64 bits only; how the C heap treats pages, as
# valgrind brings a heap of its own.
LEFT_OUT = ["Programs.AgreeWithTheModel", "IndexPrograms.AgreeWithTheModel",
            "aligned_heap.a_large_zeroed_block_touches_no_page", "aligned_heap.a_large_block_is_reallocated_without_copying"]

# Random programs run fifty times slower here: fewer of them.
ENVIRONMENT = dict({"RC_PARAMS": "max_success=400 max_size=60", "GTEST_FILTER": "-" + ":".join(LEFT_OUT)},
                   **os.environ, ND_MEMORY_FEATURES="7=0")


def is_program(path):
    with open(path, "rb") as file:
        return file.read(4) == b"\x7fELF"


def programs(build):
    listing = subprocess.run(["ctest", "--test-dir", build, "--show-only=json-v1"], check=True, capture_output=True)
    for test in json.loads(listing.stdout)["tests"]:
        command = test.get("command", [])
        if any(p["name"] == "PASS_REGULAR_EXPRESSION" for p in test.get("properties", [])):
            continue
        if command and os.path.isfile(command[0]) and command[0].startswith(os.path.abspath(build)) and is_program(command[0]):
            directory = next((p["value"] for p in test.get("properties", []) if p["name"] == "WORKING_DIRECTORY"), build)
            yield test["name"], command, directory


def run(job):
    """Its name, whether it passed, and what it said. Children that a test lets die leave blocks behind on purpose: only the program's own count."""
    name, command, directory = job
    program = subprocess.Popen(VALGRIND + command, cwd=directory, env=ENVIRONMENT, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    out, errors = program.communicate()
    lost = re.search(rf"^=={program.pid}== .* lost in loss record", errors, re.MULTILINE)
    return name, program.returncode == 0 and not lost, out[-3000:] + errors[-6000:]


def main():
    jobs = list(programs(sys.argv[1]))
    failed = 0
    with ThreadPoolExecutor(max_workers=os.cpu_count()) as pool:
        for name, passed, text in pool.map(run, jobs):
            print(f"{name}: {'passed' if passed else 'FAILED'}", flush=True)
            if not passed:
                failed += 1
                print(text)
    print(f"{len(jobs) - failed} of {len(jobs)} programs passed under valgrind")
    return 1 if failed or not jobs else 0


if __name__ == "__main__":
    sys.exit(main())
