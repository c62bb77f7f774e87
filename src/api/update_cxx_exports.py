#!/usr/bin/env python3
"""Writes the list of exported C++ names, cxx_exports.txt, from a library that was built with the preset "release".

    update_cxx_exports.py build/release/src/libnd.so            rewrites the list
    update_cxx_exports.py --check build/release/src/libnd.so    fails, with the difference, when the list isn't current

Each line is a mangled name, two blanks and the name as C++ spells it, in the order of the spelling. Other presets have other
inline functions as symbols, so the list is compared with this one only.
"""

import argparse
import sys
from pathlib import Path

sys.dont_write_bytecode = True  # the sources stay as they were checked out

from generator import exports, library

LIST = Path(__file__).resolve().parent / "cxx_exports.txt"


def current_lines(path):
    names = [symbol.name for symbol in library.exported(path).values() if symbol.node == exports.CXX_NODE]
    spelling = library.demangled(names)
    return [f"{name}  {spelling[name]}" for name in sorted(names, key=lambda name: (spelling[name], name))]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("library", type=Path)
    parser.add_argument("--check", action="store_true")
    arguments = parser.parse_args()
    lines = current_lines(arguments.library)
    if not arguments.check:
        LIST.write_text("".join(f"{line}\n" for line in lines), encoding="utf-8")
        return
    listed = LIST.read_text(encoding="utf-8").splitlines() if LIST.exists() else []
    for line in sorted(set(lines) - set(listed)):
        print(f"exported, not listed: {line}")
    for line in sorted(set(listed) - set(lines)):
        print(f"listed, not exported: {line}")
    if lines != listed:
        sys.exit(f"{LIST} isn't current. Look at the difference; if it is meant, run\n"
                 "    scripts/update-abi-baseline")


if __name__ == "__main__":
    main()
