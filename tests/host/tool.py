"""Runs the host tool for tests: where it is, what it said, and files to feed it. Paths come from the environment that ctest sets."""
import os
import re
import subprocess
import tempfile
import unittest
from pathlib import Path

TOOL = os.environ["ND_TOOL"]
ADDONS = Path(os.environ["ND_ADDONS"])
SOURCE = Path(os.environ["ND_SOURCE"])

# A failed allocation answers null under the sanitizers too, as it does without them.
# They say so on standard error; that line, and no other, isn't the tool's.
REFUSED_ALLOCATION = re.compile(r"^==\d+==WARNING: \w+Sanitizer failed to allocate 0x[0-9a-f]+ bytes\n", re.MULTILINE)
SANITIZERS = {name: os.environ.get(name, "") + ":allocator_may_return_null=1" for name in ("ASAN_OPTIONS", "TSAN_OPTIONS")}

# For calls without the engine, where nobody ends what a function leaves.
LEAKS_ALLOWED = {"ASAN_OPTIONS": SANITIZERS["ASAN_OPTIONS"] + ":detect_leaks=0"}


def addon(name):
    return str(ADDONS / f"{name}.so")


class ToolTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)

    def path(self, name):
        return str(Path(self.folder.name) / name)

    def file(self, name, content):
        path = self.path(name)
        Path(path).write_bytes(content if isinstance(content, bytes) else content.encode())
        return path

    def run_tool(self, *arguments, env=(), **options):
        command = [TOOL, *map(str, arguments)]
        return subprocess.run(command, capture_output=True, env={**os.environ, **SANITIZERS, **dict(env)}, timeout=120, **options)

    def call(self, *arguments, **options):
        return self.run_tool("call", *arguments, **options)

    def check(self, result, status, error=""):
        """The exit status, and the whole of standard error: nothing, or one line "nd: " with error in it."""
        text = REFUSED_ALLOCATION.sub("", result.stderr.decode())
        self.assertEqual(result.returncode, status, text)
        if error:
            self.assertEqual(text.count("\n"), 1, text)
            self.assertTrue(text.startswith("nd: "), text)
            self.assertIn(error, text)
        else:
            self.assertEqual(text, "")

    def numbers(self, *arguments):
        """The rows of the first output, as written to CSV."""
        out = self.path("numbers.csv")
        self.check(self.call(*arguments, "--out", out), 0)
        return [[float(field) for field in line.split(",")] for line in Path(out).read_text().splitlines()]
