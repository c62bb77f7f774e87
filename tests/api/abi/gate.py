#!/usr/bin/env python3
"""The ABI gate: what programs that use the C interface were compiled against stays as it is.

    gate.py LIBRARY HEADERS...              compares the library with baseline.abi; additions are fine
    gate.py --record LIBRARY HEADERS...     writes baseline.abi; refused when the gate doesn't pass

HEADERS are the folders of the public headers: types that they don't define are private and not compared. The library is one of
the preset "release", whose entry points carry debug information. scripts/update-abi-baseline records.
"""

import argparse
import subprocess
import sys
import tempfile
from pathlib import Path

FOLDER = Path(__file__).resolve().parent
BASELINE = FOLDER / "baseline.abi"
SUPPRESSIONS = ["--suppressions", str(FOLDER / "cxx_names.suppr")]

# A baseline changed in one of these ways must not pass; otherwise the gate compares nothing.
BREAKS = {
    "a function that is gone": ("ndGetM_800", "ndGetMissing_800"),
    "another size of the record": ("size-in-bits='896'", "size-in-bits='960'"),
    "another value of an enumerator": ("name='ndCOMPLEX' value='1'", "name='ndCOMPLEX' value='2'"),
}


def record(library, headers, target):
    folders = [argument for folder in headers for argument in ("--headers-dir", str(folder))]
    subprocess.run(["abidw", "--exported-interfaces-only", "--short-locs", "--no-comp-dir-path", "--no-corpus-path",
                    "--no-elf-needed", "--drop-private-types", "--type-id-style", "hash", *SUPPRESSIONS, *folders,
                    "--out-file", str(target), str(library)], check=True)


def compare(baseline, library, headers):
    """Status of the comparison, 0 when the library keeps what the baseline has, and what was found."""
    folders = [argument for folder in headers
               for argument in ("--headers-dir1", str(folder), "--headers-dir2", str(folder))]
    found = subprocess.run(["abidiff", "--no-added-syms", *SUPPRESSIONS, *folders, str(baseline), str(library)],
                           capture_output=True, text=True)
    return found.returncode, found.stdout + found.stderr


def breaks_that_pass(library, headers):
    text = BASELINE.read_text(encoding="utf-8")
    passed = []
    with tempfile.TemporaryDirectory() as folder:
        altered = Path(folder) / "altered.abi"
        for name, (old, new) in BREAKS.items():
            altered.write_text(text.replace(old, new), encoding="utf-8")
            if old not in text or compare(altered, library, headers)[0] == 0:
                passed.append(name)
    return passed


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--record", action="store_true")
    parser.add_argument("library", type=Path)
    parser.add_argument("headers", type=Path, nargs="+")
    arguments = parser.parse_args()
    if BASELINE.exists():
        status, found = compare(BASELINE, arguments.library, arguments.headers)
        if status:
            sys.exit(f"{found}\nThe C interface isn't what programs were compiled against. Put it back; what must differ gets a "
                     "new name.")
    if arguments.record:
        record(arguments.library, arguments.headers, BASELINE)
    passed = breaks_that_pass(arguments.library, arguments.headers)
    if passed:
        sys.exit(f"The gate lets through: {', '.join(passed)}.")


if __name__ == "__main__":
    main()
