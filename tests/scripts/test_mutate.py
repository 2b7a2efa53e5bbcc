"""scripts/mutate on a small project: what it makes of a change, of a build that could not be, and of
being told to end."""

import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import time
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PROJECT = {
    "CMakeLists.txt": """
        cmake_minimum_required(VERSION 3.20)
        project(small CXX)
        add_subdirectory(tests)
        """,
    "tests/CMakeLists.txt": """
        find_package(GTest REQUIRED)
        add_executable(unit_tests unit/link/FrameTest.cpp ../src/link/Frame.cpp)
        target_include_directories(unit_tests PRIVATE ../src)
        target_link_libraries(unit_tests PRIVATE GTest::gtest_main)
        """,
    "src/link/Frame.h": "int frame(int size);\n",
    "src/link/Frame.cpp": """#include "link/Frame.h"
int frame(int size) {
  [[maybe_unused]] int room[2];
  if (size > 9)
    return 1;
  return size * size;
}
""",
    "tests/unit/link/FrameTest.cpp": """#include "link/Frame.h"
#include <gtest/gtest.h>
TEST(FrameTest, Squares) { EXPECT_EQ(frame(3), 9); }
""",
}
ROOM, LIMIT, RULE = 3, 4, 6  # lines of Frame.cpp

# Stands in for the compiler: does what the test asks for where the code has been changed.
COMPILER = """#!/bin/sh
case "$*" in *-c*Frame.cpp*) ;; *) exec {compiler} "$@" ;; esac
if ! cmp --quiet {original} {home}/build/mutate/0/tree/src/link/Frame.cpp; then
  echo once >>{home}/tried
  {instead}
fi
exec {compiler} "$@"
"""
FULL = 'echo "LLVM ERROR: IO failure on output stream: No space left on device"; exit 1'


class Mutate(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        subprocess.run(["git", "init", "--quiet", self.root], check=True)
        for name in ("scripts/mutate", "scripts/mutation/copies.py", "scripts/mutation/coverage.py",
                     "scripts/mutation/mutants.py", "tests/e2e/run_isolated"):
            (self.root / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(ROOT / name, self.root / name)
        for name, text in PROJECT.items():
            (self.root / name).parent.mkdir(parents=True, exist_ok=True)
            (self.root / name).write_text(text)
        (self.root / ".gitignore").write_text("build/\nbin/\ntried\n")

    def compiler(self, instead=""):
        wrapper = self.root / "bin" / "clang++"
        wrapper.parent.mkdir(exist_ok=True)
        wrapper.write_text(COMPILER.format(
            compiler=shutil.which("clang++"), home=self.root, instead=instead,
            original=self.root / "src/link/Frame.cpp"))
        wrapper.chmod(0o755)

    def start(self, *options, file="src/link/Frame.cpp"):
        path = f"{self.root / 'bin'}:{os.environ['PATH']}"
        mutate = subprocess.Popen(
            [self.root / "scripts/mutate", "--jobs", "1", *options, self.root / file],
            env={**os.environ, "PATH": path, "CCACHE_DISABLE": "1"}, text=True,
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self.addCleanup(mutate.stdout.close)
        self.addCleanup(lambda: mutate.poll() is None and mutate.terminate())
        return mutate

    def run_on(self, line):
        mutate = self.start("--only", str(line))
        said = mutate.communicate(timeout=120)[0]
        return mutate.returncode, said

    def tries(self):
        return len((self.root / "tried").read_text().splitlines())

    def left(self):
        """The processes that know of this test's folder, as all do that its script has started."""
        found = []
        for process in pathlib.Path("/proc").glob("[0-9]*"):
            try:
                if str(self.root).encode() in (process / "environ").read_bytes():
                    found.append((process / "comm").read_text())
            except OSError:
                pass
        return found

    def test_counts_what_the_tests_notice(self):
        self.compiler()
        status, said = self.run_on(RULE)
        self.assertIn("2 changes: 2 killed, 0 timed out, 0 not compiled, 0 survived, 0 not tried", said)
        self.assertEqual(status, 0)

    def test_lists_what_survives(self):
        self.compiler()
        status, said = self.run_on(LIMIT)
        self.assertIn("if (size > 9)  →  if (size >= 9)", said)
        self.assertEqual(status, 1)

    def test_takes_the_compilers_word_for_what_is_no_code(self):
        self.compiler('echo "../tree/src/link/Frame.cpp:3:7: error: no such thing"; exit 1')
        status, said = self.run_on(ROOM)
        self.assertIn("1 changes: 0 killed, 0 timed out, 1 not compiled, 0 survived, 0 not tried", said)
        self.assertEqual((status, self.tries()), (0, 1))

    def test_tries_again_where_the_build_was_hindered(self):
        self.compiler(f"if [ $(wc -l <{self.root}/tried) -eq 1 ]; then {FULL}; fi")
        status, said = self.run_on(ROOM)
        self.assertIn("1 changes: 0 killed, 0 timed out, 0 not compiled, 1 survived, 0 not tried", said)
        self.assertEqual((status, self.tries()), (1, 2))

    def test_says_what_it_could_not_try(self):
        for instead, why in ((FULL, "No space left on device"), ("kill -9 $$", "")):
            with self.subTest(instead):
                self.compiler(instead)
                status, said = self.run_on(ROOM)
                self.assertIn("0 not compiled, 0 survived, 1 not tried", said)
                self.assertRegex(said, rf"not tried \(.*{why}\): src/link/Frame\.cpp:3: ")
                self.assertEqual(status, 2)

    def test_ends_at_once_with_its_compilers(self):
        self.compiler("sleep 600 & wait")
        for end in (signal.SIGTERM, signal.SIGINT, signal.SIGQUIT):
            with self.subTest(end):
                (self.root / "tried").unlink(missing_ok=True)
                mutate = self.start("--only", str(ROOM))
                while not (self.root / "tried").exists():
                    self.assertIsNone(mutate.poll(), "ended before its time")
                    time.sleep(0.05)
                mutate.send_signal(end)
                self.assertEqual((mutate.communicate(timeout=10)[0], mutate.returncode), ("", 2))
                self.assertEqual(self.left(), [])
                self.assertEqual((self.root / "build/mutate/0/tree/src/link/Frame.cpp").read_text(),
                                 PROJECT["src/link/Frame.cpp"])

    def test_leaves_nothing_running_when_it_is_killed(self):
        self.compiler("sleep 600 & wait")
        mutate = self.start("--only", str(ROOM))
        while not (self.root / "tried").exists():
            self.assertIsNone(mutate.poll(), "ended before its time")
            time.sleep(0.05)
        mutate.kill()
        mutate.communicate(timeout=10)
        until = time.monotonic() + 30
        while self.left() and time.monotonic() < until:
            time.sleep(0.05)
        self.assertEqual(self.left(), [])

    def test_runs_the_tests_of_what_is_linked_and_not_of_what_is_compiled(self):
        """The test of that name is in a program that takes nothing of it, and of two others one starts a
        third that does."""
        (self.root / "tests/CMakeLists.txt").write_text("""
            find_package(GTest REQUIRED)
            include_directories(../src)
            link_libraries(GTest::gtest_main)
            add_library(rooms STATIC ../src/link/Frame.cpp)
            add_executable(unit_tests unit/link/FrameTest.cpp)
            target_link_libraries(unit_tests PRIVATE rooms)
            add_executable(other_tests other/SumTest.cpp)
            target_link_libraries(other_tests PRIVATE rooms)
            add_executable(window window.cpp)
            target_link_libraries(window PRIVATE rooms)
            add_executable(hands_tests hands/WindowTest.cpp)
            target_compile_definitions(hands_tests PRIVATE WINDOW="$<TARGET_FILE:window>")
            add_dependencies(hands_tests window)
            """)
        for file, text in {
                "unit/link/FrameTest.cpp": "TEST(FrameTest, Idles) {}",
                "other/SumTest.cpp": "TEST(SumTest, IsTwo) { EXPECT_EQ(1 + 1, 2); }",
                "window.cpp": "int main() { return frame(3); }",
                "hands/WindowTest.cpp": "TEST(WindowTest, Squares) { EXPECT_EQ(system(WINDOW) >> 8, 9); }",
        }.items():
            (self.root / "tests" / file).parent.mkdir(parents=True, exist_ok=True)
            (self.root / "tests" / file).write_text(
                f'#include "link/Frame.h"\n#include <cstdlib>\n#include <gtest/gtest.h>\n{text}\n')
        self.compiler()
        status, said = self.run_on(RULE)
        self.assertIn("2 changes: 2 killed, 0 timed out, 0 not compiled, 0 survived, 0 not tried", said)
        self.assertIn("WindowTest.Squares", (self.root / "build/mutate/results.txt").read_text())
        self.assertEqual(status, 0)

    def test_knows_of_programs_that_are_built_for_a_later_file(self):
        (self.root / "tests/CMakeLists.txt").write_text("""
            find_package(GTest REQUIRED)
            include_directories(../src)
            link_libraries(GTest::gtest_main)
            add_library(link STATIC ../src/link/Frame.cpp)
            add_library(input STATIC ../src/input/Key.cpp)
            add_executable(unit_tests unit/link/FrameTest.cpp)
            target_link_libraries(unit_tests PRIVATE link)
            add_executable(hands_tests unit/input/KeyTest.cpp)
            target_link_libraries(hands_tests PRIVATE input)
            """)
        for file, text in {"src/input/Key.cpp": "int key() { return 7; }\n",
                           "tests/unit/input/KeyTest.cpp": "#include <gtest/gtest.h>\nint key();\n"
                                                           "TEST(KeyTest, IsSeven) { EXPECT_EQ(key(), 7); }\n"}.items():
            (self.root / file).parent.mkdir(parents=True, exist_ok=True)
            (self.root / file).write_text(text)
        mutate = self.start(self.root / "src/link/Frame.cpp", file="src/input/Key.cpp")
        said = mutate.communicate(timeout=120)[0]
        self.assertNotIn("left out", said)
        self.assertIn("KeyTest.IsSeven", (self.root / "build/mutate/results.txt").read_text())

    def test_leaves_out_what_no_test_runs(self):
        (self.root / "src/link/Frame.cpp").rename(self.root / "src/link/Idle.cpp")
        (self.root / "tests/CMakeLists.txt").write_text("""
            find_package(GTest REQUIRED)
            add_library(rooms STATIC ../src/link/Idle.cpp)
            target_include_directories(rooms PRIVATE ../src)
            add_executable(unit_tests unit/link/FrameTest.cpp)
            target_link_libraries(unit_tests PRIVATE rooms GTest::gtest_main)
            """)
        (self.root / "tests/unit/link/FrameTest.cpp").write_text(
            "#include <gtest/gtest.h>\nTEST(FrameTest, Idles) {}\n")
        mutate = self.start(file="src/link/Idle.cpp")
        said = mutate.communicate(timeout=120)[0]
        self.assertIn("src/link/Idle.cpp: left out, it is part of no executable with tests", said)
        self.assertEqual(mutate.returncode, 2)

    def test_tells_nothing_where_the_tests_fail_by_themselves(self):
        self.compiler()
        seen = self.root / "bin" / "seen"
        (self.root / "tests/unit/link/FrameTest.cpp").write_text(f"""#include <gtest/gtest.h>
#include <cstdio>
TEST(FrameTest, IsRedTheSecondTime) {{
  EXPECT_EQ(std::fopen("{seen}", "r"), nullptr);
  std::fopen("{seen}", "w");
}}
""")
        status, said = self.run_on(ROOM)
        self.assertIn("unit_tests fails without any change", said)
        self.assertEqual(status, 2)

    def test_does_not_take_its_own_failure_for_a_change_that_survived(self):
        self.compiler()
        with (self.root / "scripts/mutation/mutants.py").open("a") as script:
            script.write("def mutants_of(*_): return {}[0]\n")
        self.assertEqual(self.start("--list").wait(60), 2)

    def test_changes_numbers_of_every_base(self):
        (self.root / "src/link/Frame.cpp").write_text("int all[] = {0600, 0x1f, 7, 0};\n")
        said = self.start("--list").communicate(timeout=60)[0]
        for changed in ("{0601, 0x1f, 7, 0}", "{0600, 0x20, 7, 0}", "{0600, 0x1f, 8, 0}", "{0600, 0x1f, 7, 1}"):
            self.assertIn(changed, said)

    def test_begins_with_the_change_that_is_asked_for(self):
        every = [["--every", "2", "--first", first, "--list"] for first in ("1", "2")]
        odd, even, both = (self.start(*options).communicate()[0].splitlines()[:-1]
                           for options in (*every, ["--list"]))
        self.assertEqual((odd, even), (both[::2], both[1::2]))
        self.assertTrue(even)


if __name__ == "__main__":
    unittest.main()
