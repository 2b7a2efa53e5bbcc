"""Copies of the sources, in which scripts/mutate builds and tests what it changes."""

import collections
import ctypes
import os
import pathlib
import re
import resource
import shutil
import signal
import subprocess
import sys

from mutation.coverage import Build

ROOT = pathlib.Path(__file__).resolve().parents[2]
HOME = ROOT / "build" / "mutate"
LIBC = ctypes.CDLL(None)
# Names what the linker takes out of libraries.
LINK = ("<CMAKE_CXX_COMPILER> <FLAGS> <CMAKE_CXX_LINK_FLAGS> <LINK_FLAGS> -fuse-ld=lld "
        "-Wl,--why-extract=<TARGET>.taken <OBJECTS> -o <TARGET> <LINK_LIBRARIES>")
SHARDS = 3
# What the compiler says of the code names a place in it. Where it was ended, where the time was over or
# the disc full, nothing does.
REFUSAL = re.compile(r"^[^\s:][^:\n]*:\d+:\d+: (?:fatal )?error: ", re.M)


def fail(reason):
    print(f"mutate: {reason}", file=sys.stderr)
    sys.exit(2)


class Interrupted(Exception):
    """The run was told to end."""


class Runner:
    """Runs commands in namespaces of their own, so that each ends together with all that it started: a
    build gives every compiler a process group, and a change may send signals to anybody."""

    ISOLATED = ROOT / "tests" / "e2e" / "run_isolated"

    def __init__(self):
        self.running = set()
        self.over = False

    def run(self, command, limit, bound=lambda: None, **options):
        """The exit status and the output; no status when the time was over. `bound` is called in the
        new process."""
        self.go_on()
        process = subprocess.Popen(
            [str(part) for part in (self.ISOLATED, *command)], start_new_session=True,
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
            errors="replace", preexec_fn=lambda: (self.end_with_parent(), bound()), **options)
        self.running.add(process.pid)
        try:
            output = process.communicate(timeout=0 if self.over else limit)[0]
            status = process.returncode
        except subprocess.TimeoutExpired:
            status, output = None, ""
        finally:
            self.end(process.pid)
            process.communicate()
            self.running.discard(process.pid)
        self.go_on()
        return status, output

    def go_on(self):
        """What ran while the end came tells nothing of the change."""
        if self.over:
            raise Interrupted

    @staticmethod
    def end_with_parent():
        """By whatever the parent ends, be it SIGKILL."""
        death_signal = 1  # PR_SET_PDEATHSIG
        LIBC.prctl(death_signal, signal.SIGKILL, 0, 0, 0)

    @staticmethod
    def end(group):
        try:
            os.killpg(group, signal.SIGKILL)
        except ProcessLookupError:
            pass

    def end_all(self, *_):
        """Raises nothing, so that it may come between any two steps of the main thread."""
        self.over = True
        for group in list(self.running):
            self.end(group)


class Copy:
    """One copy of the sources with a build of its own."""

    def __init__(self, number, runner):
        self.place = HOME / str(number)
        self.tree = self.place / "tree"
        self.build_folder = self.place / "build"
        self.temporary = self.place / "tmp"
        self.runner = runner

    def prepare(self):
        self.take_over()
        cache = ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"] if shutil.which("ccache") else []
        status, output = self.runner.run(
            ["cmake", "-S", self.tree, "-B", self.build_folder, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=",
             "-DCMAKE_CXX_COMPILER=clang++", "-DCMAKE_CXX_FLAGS=-O0 -w -D_GLIBCXX_ASSERTIONS",
             "-DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST",
             f"-DCMAKE_CXX_LINK_EXECUTABLE={LINK}", *cache], 120)
        self.expect_built(status, output)

    def build_unchanged(self, programs):
        self.expect_built(*self.build(programs))

    @staticmethod
    def expect_built(status, output):
        if status != 0:
            fail(f"the sources do not build without any change:\n{output[-3000:]}")

    def take_over(self):
        """Copies what differs, so that only that is built anew."""
        listed = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                                cwd=ROOT, check=True, capture_output=True, text=True).stdout
        wanted = {name for name in listed.split("\0") if name and (ROOT / name).is_file()}
        for old in self.tree.rglob("*"):
            if old.is_file() and str(old.relative_to(self.tree)) not in wanted:
                old.unlink()
        for name in wanted:
            new, old = ROOT / name, self.tree / name
            if not old.is_file() or old.read_bytes() != new.read_bytes():
                old.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(new, old)

    def build(self, programs):
        basis = {"CCACHE_BASEDIR": str(self.place), "CCACHE_NOHASHDIR": "1"}
        paths = [program.path for program in programs]
        return self.runner.run(["cmake", "--build", self.build_folder, "--target", *paths], 1800,
                               env={**os.environ, **basis})

    def built(self):
        """What ninja knows of this copy's build."""
        return Build(self.tree, self.build_folder, lambda *arguments: self.runner.run(
            ["ninja", "-C", self.build_folder, "--quiet", *arguments], 60)[1], self.build_unchanged)

    def test(self, program, chosen, limit):
        """Runs the chosen tests up to the first that fails. Several processes share them: in one, the
        log would leave out lines that it has heard too often."""
        output = ""
        for shard in range(SHARDS):
            status, more = self.test_shard(program, chosen, shard, limit)
            output += more
            if status != 0:
                break
        return status, output

    def test_shard(self, program, chosen, shard, limit):
        shutil.rmtree(self.temporary, ignore_errors=True)
        self.temporary.mkdir()
        own = {"TMPDIR": self.temporary, "HOME": self.temporary, "VESK_PATIENCE": "3",
               "GTEST_TOTAL_SHARDS": str(SHARDS), "GTEST_SHARD_INDEX": str(shard)}
        return self.runner.run(
            [self.build_folder / program.path, "--gtest_fail_fast", f"--gtest_filter={chosen}"],
            limit, cwd=self.temporary, env={**os.environ, **own}, bound=self.bound)

    @staticmethod
    def bound():
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        # Of what is really used: a browser reserves addresses by the terabyte.
        resource.setrlimit(resource.RLIMIT_DATA, (8 << 30, 8 << 30))
        resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 28, 1 << 28))

    def times(self, program):
        """The seconds that each suite takes; all of them have to pass."""
        status, output = self.test(program, "*", 900)
        if status != 0:
            fail(f"{program.path} fails without any change:\n{output[-3000:]}")
        taken = re.findall(r"^\[-+\] \d+ tests? from ([\w/]+)[^(]* \((\d+) ms total\)", output, re.M)
        seconds = collections.Counter()
        for suite, milliseconds in taken:
            seconds[suite] += int(milliseconds) / 1000
        return seconds

    def build_changed(self, programs):
        """Nothing once they are built, or what becomes of the change and the last word on it."""
        for _ in range(2):
            status, output = self.build(programs)
            if status == 0:
                return None
            if REFUSAL.search(output):
                return "not compiled", ""
        said = [line for line in output.splitlines() if not line.startswith(("ninja:", "gmake"))]
        return "not tried", "no time" if status is None else said[-1] if said else f"status {status}"

    def try_out(self, mutant, coverage, times):
        """What becomes of the change, and the test that saw it."""
        place = self.tree / mutant.file
        text = place.read_text()
        place.write_text(text[:mutant.start] + mutant.text + text[mutant.end:])
        try:
            if hindrance := self.build_changed(coverage.programs):
                return hindrance
            for program in sorted(coverage.programs, key=lambda each: times[each].total()):
                if seen := self.noticed(program, coverage, times[program]):
                    return seen
            return "survived", ""
        finally:
            place.write_text(text)

    def noticed(self, program, coverage, times):
        """How a program's tests notice the change and which does, or nothing."""
        own = sum(time for suite, time in times.items() if coverage.holds(program, suite))
        for chosen, usual in zip(coverage.chosen(program), (own, times.total())):
            status, output = self.test(program, chosen, 5 + 4 * usual)
            if status != 0:
                seen = re.findall(r"^\[  FAILED  \] ([\w/.]+)", output, re.M)
                return "timed out" if status is None else "killed", seen[0] if seen else ""
        return None
