#!/usr/bin/env python3
"""valgrind_tests.py BUILD: runs each compiled test program that ctest knows in BUILD under valgrind memcheck.

A program passes when it exits with 0 and memcheck finds no error and no lost byte. Left out are tests that are scripts, since
they start programs of their own, and tests that are judged by what they print, since they may exit with anything. Prints one line a program; exits with 1 when one of them failed.
Array headers come from the C heap, block by block: a pool would hide them from memcheck.
"""
import json
import os
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor

# The synonym keeps valgrind from replacing the operator new through which the tests inject failures.
VALGRIND = ["valgrind", "--quiet", "--error-exitcode=99", "--leak-check=full", "--errors-for-leak-kinds=definite,indirect,possible",
            "--soname-synonyms=somalloc=nouserintercepts"]

# Random programs run fifty times slower here: fewer of them.
ENVIRONMENT = dict({"RC_PARAMS": "max_success=400 max_size=60"}, **os.environ, ND_MEMORY_FEATURES="7=0")


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
    name, command, directory = job
    return name, subprocess.run(VALGRIND + command, cwd=directory, env=ENVIRONMENT, capture_output=True, text=True)


def main():
    jobs = list(programs(sys.argv[1]))
    failed = 0
    with ThreadPoolExecutor(max_workers=os.cpu_count()) as pool:
        for name, result in pool.map(run, jobs):
            print(f"{name}: {'passed' if result.returncode == 0 else 'FAILED'}", flush=True)
            if result.returncode != 0:
                failed += 1
                print(result.stdout[-3000:] + result.stderr[-6000:])
    print(f"{len(jobs) - failed} of {len(jobs)} programs passed under valgrind")
    return 1 if failed or not jobs else 0


if __name__ == "__main__":
    sys.exit(main())
