#!/usr/bin/env python3
"""Makes from the table of entry points the stubs, the version script, the public C header and the manual pages.

    generate.py --out FOLDER          everything, below FOLDER; files whose text didn't change keep their time
    generate.py --sweep FILE          the argument sweep of tests/api
    generate.py --counts              prints how many names are built, by group and generation
"""

import argparse
import sys
from pathlib import Path

sys.dont_write_bytecode = True  # the sources stay as they were checked out

from generator import counts, exports, header, manual, stubs, sweep, table


def write(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    if not path.exists() or path.read_text(encoding="utf-8") != text:
        path.write_text(text, encoding="utf-8")


def outputs(entries):
    """Every generated file below the output folder, with its text."""
    files = {f"stubs/{Path(file).stem}.cpp": stubs.file_text(entries, file) for file in entries.files}
    files["include/nd/compat.hpp"] = stubs.compat_text(entries)
    files["include/nd/nd.h"] = header.text(entries, (table.FOLDER / "nd.h.in").read_text(encoding="utf-8"))
    files["libnd.map"] = exports.version_script(entries)
    files.update({f"man/{name}": text for name, text in manual.pages(entries).items()})
    return files


def remove_stale(folder, files):
    """Pages of functions that the table no longer has would be installed; nothing else is picked up by pattern."""
    for page in (folder / "man").glob("*.3"):
        if f"man/{page.name}" not in files:
            page.unlink()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--out", type=Path)
    parser.add_argument("--sweep", type=Path)
    parser.add_argument("--counts", action="store_true")
    arguments = parser.parse_args()
    try:
        entries = table.load()
        if arguments.out:
            files = outputs(entries)
            for name, text in files.items():
                write(arguments.out / name, text)
            remove_stale(arguments.out, files)
        if arguments.sweep:
            write(arguments.sweep, sweep.text(entries))
    except table.TableError as error:
        sys.exit(f"src/api/entry_points: {error}")
    if arguments.counts:
        print(counts.text(entries))


if __name__ == "__main__":
    main()
