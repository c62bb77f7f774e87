#!/usr/bin/env python3
"""Installs the build into a prefix of its own and uses it from there, as users do: by find_package and by pkg-config.

Each way builds and runs a C11 and a C++20 program for each generation of the interface. The README's first addon function is
taken out of the README, compiled and called; the examples are built as the project of their own that they are.
"""
import os
import re
import shutil
import subprocess
import textwrap
import unittest
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

BUILD = Path(os.environ["ND_BUILD"])
SOURCE = Path(os.environ["ND_SOURCE"])
SANITIZE = [f"-fsanitize={os.environ['ND_SANITIZE']}"] if os.environ.get("ND_SANITIZE") else []
WORK = BUILD / "tests" / "install" / "work"
PREFIX = WORK / "prefix"
HERE = Path(__file__).parent
GENERATIONS = {"700": "07000000", "730": "07300000", "800": "08000000"}


def run(*command, **options):
    """The standard output of a command that must succeed."""
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True, **options)
    if done.returncode != 0:
        raise AssertionError(f"{' '.join(map(str, command))}: status {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout


def build_program(variable, source, program, flags, libraries):
    """Compiles source and links program from it, by the compiler that CC or CXX names; through the compiler cache if there is one."""
    launcher = os.environ.get("CMAKE_C_COMPILER_LAUNCHER")
    compiler = [*([launcher] if launcher else []), os.environ[variable]]
    run(*compiler, "-Wall", "-Wextra", "-Werror", *SANITIZE, *flags, "-c", source, "-o", f"{program}.o")
    run(os.environ[variable], *SANITIZE, f"{program}.o", "-o", program, *libraries)


def pkg_config(*arguments):
    environment = dict(os.environ, PKG_CONFIG_PATH=str(next(PREFIX.glob("lib*/**/pkgconfig"))))
    return run("pkg-config", *arguments, env=environment).split()


def build_project(source, name, *definitions):
    """Configures and builds a user's project against the prefix; gives its build folder."""
    build = WORK / name
    flags = " ".join(SANITIZE)
    run("cmake", "-S", source, "-B", build, f"-DCMAKE_PREFIX_PATH={PREFIX}", f"-DCMAKE_C_FLAGS={flags}",
        f"-DCMAKE_CXX_FLAGS={flags}", *definitions)
    run("cmake", "--build", build)
    return build


class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        shutil.rmtree(WORK, ignore_errors=True)
        run("cmake", "--install", BUILD, "--prefix", PREFIX)

    def check_consumer(self, program, generation):
        wanted = f"{generation} {GENERATIONS[generation]} int16 24\n"
        self.assertEqual(run(program), wanted, f"{program}")

    def test_what_is_installed(self):
        for path in ("bin/nd", "include/nd/nd.h", "include/nd/engine.hpp", "include/nd/platform/foundation/usm/usm.hpp",
                     "share/man/man3/ndCreateDoubleMatrix.3"):
            self.assertTrue((PREFIX / path).is_file(), path)
        self.assertRegex(run(PREFIX / "bin/nd", "--version"), r"^nd \d")

    def test_no_installed_text_names_the_build_tree(self):
        for path in PREFIX.rglob("*"):
            if path.is_file() and path.suffix in (".h", ".hpp", ".cmake", ".pc", ".3"):
                self.assertNotIn(str(SOURCE), path.read_text(), path)

    def test_consumers_by_cmake(self):
        build = build_project(HERE / "project", "by_cmake", f"-DCONSUMERS={HERE}")
        for generation in GENERATIONS:
            for language in ("c", "cxx"):
                self.check_consumer(build / f"{language}_{generation}", generation)

    def test_consumers_by_pkg_config(self):
        (WORK / "by_pkg_config").mkdir(parents=True)
        folder = next(PREFIX.glob("lib*/**/libnd.so")).parent

        def build(job):
            variable, standard, source, module, generation = job
            program = WORK / "by_pkg_config" / f"{source}_{generation}"
            flags = [f"-std={standard}", "-pedantic", f"-DND_API={generation}", *pkg_config("--cflags", module)]
            build_program(variable, HERE / source, program, flags, [*pkg_config("--libs", module), f"-Wl,-rpath,{folder}"])
            return program, generation

        jobs = [(*kind, generation) for generation in GENERATIONS
                for kind in (("CC", "c11", "consumer.c", "nd"), ("CXX", "c++20", "consumer.cpp", "nd-engine"))]
        with ThreadPoolExecutor(max_workers=os.cpu_count()) as pool:
            for program, generation in pool.map(build, jobs):
                self.check_consumer(program, generation)

    def test_each_header_stands_alone(self):
        flags = ["-std=c++20", "-fsyntax-only", "-x", "c++", *pkg_config("--cflags", "nd-engine")]
        with ThreadPoolExecutor(max_workers=os.cpu_count()) as pool:
            list(pool.map(lambda path: run(os.environ["CXX"], *flags, "-include", path, "/dev/null"),
                          sorted((PREFIX / "include" / "nd").glob("*.h*"))))

    def test_a_c_project_needs_nothing_but_the_library(self):
        folder = WORK / "c_only_source"
        folder.mkdir()
        (folder / "CMakeLists.txt").write_text(
            "cmake_minimum_required(VERSION 3.25)\nproject(c_only LANGUAGES C)\nset(CMAKE_DISABLE_FIND_PACKAGE_Boost ON)\n"
            f"find_package(nd REQUIRED)\nadd_executable(c_only {HERE}/consumer.c)\ntarget_link_libraries(c_only nd::nd)\n")
        self.check_consumer(build_project(folder, "c_only") / "c_only", "800")

    def test_the_first_addon_of_the_readme(self):
        readme = (SOURCE / "README.md").read_text()
        blocks = re.findall(r"^```c\n(.*?)^```$", readme, re.MULTILINE | re.DOTALL)
        self.assertEqual(blocks[0], (SOURCE / "examples" / "column_means.c").read_text())
        self.assertLessEqual(blocks[0].count("\n"), 20)
        source = WORK / "first.c"
        source.write_text(blocks[0])
        build_program("CC", source, WORK / "first.so", ["-fPIC", *pkg_config("--cflags", "nd")],
                      ["-shared", *pkg_config("--libs", "nd")])
        shown = run(PREFIX / "bin/nd", "call", WORK / "first.so", SOURCE / "examples/data/quakes.csv",
                    "--columns", "lat,long,depth,mag,stations")
        self.assertIn(textwrap.indent(shown, "    "), readme)

    def readme_guide(self, title):
        """The blocks of an example in a section of the README: commands that write or call something, and what they print."""
        section = (SOURCE / "README.md").read_text().split(f"## {title}\n")[1].split("\n## ")[0]
        return [textwrap.dedent(block) for block in re.findall(r"(?:^    .*\n)+", section, re.MULTILINE)]

    def run_as_written(self, command, folder):
        """A command of the README, with the compiler and the prefix of this test; gives what it prints."""
        compiler = " ".join([os.environ["CC"], *SANITIZE])
        command = re.sub(r"^cc ", f"{compiler} ", command, flags=re.MULTILINE).replace("build/release/prefix", str(PREFIX))
        pkg_path = next(PREFIX.glob("lib*/**/pkgconfig"))
        done = subprocess.run(["bash", "-c", command], capture_output=True, text=True, cwd=folder, timeout=200,
                              env=dict(os.environ, PKG_CONFIG_PATH=str(pkg_path)))
        return done.stderr + done.stdout

    def assert_lines_follow(self, wanted, printed):
        """Each line of wanted stands in printed, one behind the other; addresses, folders and frame numbers may differ."""
        lines = iter(printed.splitlines())
        for line in wanted.splitlines():
            if line == "...":
                continue
            pattern = re.escape(line).replace("/home/me/", ".*/")
            pattern = re.sub(r"0x[0-9a-f]+", "0x[0-9a-f]+", re.sub(r"^\\#\d+(\\ )+", r"#\\d+ +", pattern))
            self.assertTrue(any(re.fullmatch(pattern, one) for one in lines), f"no {line!r} in\n{printed}")

    def test_the_guide_to_what_was_forgotten(self):
        folder = WORK / "guide"
        folder.mkdir()
        (folder / "examples").symlink_to(SOURCE / "examples")
        compile_and_report, report, stacks, orphans, debugger, stop = self.readme_guide("Finding what your function forgot")
        self.assertEqual(self.run_as_written(compile_and_report, folder), report)
        told = self.run_as_written(stacks, folder)
        self.assert_lines_follow(orphans, told)
        frame = re.search(r"/trimmed_means\.so\+(0x[0-9a-f]+)\)", told)[1]
        # Some compilers divide the line into blocks, which the tool then numbers.
        self.assertRegex(run("addr2line", "-e", folder / "trimmed_means.so", frame),
                         r"trimmed_means\.c:16( \(discriminator \d+\))?\n")
        self.assert_lines_follow(stop, self.run_as_written(debugger, folder))

    def test_the_examples_are_a_project_of_their_own(self):
        build = build_project(SOURCE / "examples", "examples")
        lines = run(build / "embed").splitlines()
        self.assertEqual(lines[:4], ["column 1: 3", "column 2: 12", "column 3: 21", "column 4: 30"])
        self.assertTrue(lines[4].startswith("TARVEL:pmaxsize: "), lines[4])
        run(PREFIX / "bin/nd", "call", build / "column_means.so", SOURCE / "examples/data/quakes.csv")


if __name__ == "__main__":
    unittest.main()
