"""Which tests hold which file, by what the tests' programs are really linked from: that it was compiled
for one of them says little, as a linker takes from a library only what somebody calls."""

import os
import pathlib
import re
import shlex
from functools import cached_property

LINKED_BY = re.compile(r"^(\S+): (?:CXX|OBJCXX)_EXECUTABLE_LINKER__", re.M)
TEST_OBJECT = re.compile(r"(?P<folder>tests(?:/\S+)?)/CMakeFiles/\S+?\.dir/(?P<source>\S+Test\.(?:cpp|mm))\.o$")
SUITE = re.compile(r"^(?:TYPED_)?TEST(?:_[FP])?\((\w+)", re.M)


class Program:
    """An executable with tests, below a folder that is configured; `linked` needs it to be built."""

    def __init__(self, path, inputs, build):
        self.path = path
        self.build = build
        self.inputs = set(inputs)
        self.tests = [test_of(match) for match in map(TEST_OBJECT.match, inputs) if match]
        # Those that it starts and is not linked from are run by its tests too.
        self.parts = [path, *(each for each in inputs if each in build.executables)]

    def __lt__(self, other):
        return self.path < other.path

    def may_link(self, file):
        """By what it is built from; of a header nothing is known before."""
        return not file.endswith(".cpp") or str(self.build.tree / file) in self.inputs

    @cached_property
    def linked(self):
        """The sources of all that is in it and in the programs that it starts."""
        return {source for part in self.parts for source in self.build.sources_of(part)}

    def suites(self, chosen):
        root = self.build.tree
        return {suite for test in self.tests if chosen(test)
                for suite in SUITE.findall((root / test).read_text())}


def test_of(match):
    """A test's source, as a path from the project's root."""
    return os.path.normpath(pathlib.PurePath(match["folder"], match["source"].replace("__/", "../")))


class Build:
    """What ninja knows of a build folder. `ask` gives ninja's answer to arguments, `build` builds
    programs."""

    def __init__(self, tree, folder, ask, build):
        self.tree = tree
        self.folder = folder
        self.ask = ask
        self.build = build
        self.built = set()
        self.executables = set(LINKED_BY.findall(ask("-t", "targets", "all")))

    @cached_property
    def programs(self):
        found = []
        for path in sorted(self.executables):
            if path.startswith("tests/") and not path.endswith(".cmake"):
                program = Program(path, self.inputs_of(path), self)
                found += [program] if program.tests else []
        return found

    def make(self, programs):
        """Builds those that are not there yet; what was known of objects before is not all then."""
        if missing := [program for program in programs if program not in self.built]:
            self.build(missing)
            self.built.update(missing)
            self.__dict__.pop("dependencies", None)

    def inputs_of(self, path):
        """Which are quoted as for a shell."""
        return shlex.split(self.ask("-t", "inputs", path))

    def objects_of(self, executable):
        """Its own, and those that the linker took out of libraries."""
        folder, name = os.path.split(executable)
        own = f"{folder}/CMakeFiles/{name}.dir/"
        yield from (each for each in self.inputs_of(executable)
                    if each.startswith(own) and each.endswith(".o"))
        taken = (self.folder / f"{executable}.taken").read_text()
        for library, name in re.findall(r"\t(\S+)\((\S+)\)\t", taken):
            # vesk_link out of src/libvesk_link.a, whose objects may lie in folders of their own
            folder, archive = os.path.split(library)
            yield from self.named(f"{folder}/CMakeFiles/{archive[3:-2]}.dir/", name)

    def named(self, folder, name):
        """By the folder of a library's objects and a name alone, which is all that the linker tells."""
        found = [each for each in self.dependencies if each.startswith(folder) and each.endswith(f"/{name}")]
        if len(found) > 1:
            raise ValueError(f"one library has {' and '.join(found)}; which of them is linked nobody tells")
        return found

    @cached_property
    def dependencies(self):
        """For each object, the sources that it was compiled from."""
        known, current = {}, None
        for line in self.ask("-t", "deps").splitlines():
            if line.startswith(" "):
                current.add(os.path.normpath(self.folder / line.strip()))
            elif ": " in line:
                current = known.setdefault(line.split(": ")[0], set())
        return known

    def sources_of(self, executable):
        return {source for each in self.objects_of(executable) for source in self.dependencies.get(each, ())}


class Coverage:
    """The tests that hold a file, in the programs that it is linked into: those of its name; where
    there are none, those of its folder; where there are none either, all."""

    def __init__(self, file, build):
        name = pathlib.PurePath(file).stem
        name = name[0].upper() + name[1:]
        folder = os.path.join("tests/unit", os.path.dirname(os.path.relpath(file, "src")))
        for near in (lambda test: re.match(rf"{re.escape(folder)}/{re.escape(name)}\w*Test\.", test),
                     lambda test: os.path.dirname(test) == folder,
                     lambda test: True):
            candidates = [program for program in build.programs
                          if any(map(near, program.tests)) and program.may_link(file)]
            build.make(candidates)
            self.programs = [each for each in candidates if str(build.tree / file) in each.linked]
            if self.programs:
                self.suites = {program: program.suites(near) for program in self.programs}
                break

    def chosen(self, program):
        """The filters for the tests to run one after the other."""
        own = ":".join(f"{suite}.*:*/{suite}.*" for suite in sorted(self.suites[program]))
        return own, f"-{own}"

    def holds(self, program, suite):
        """Whether a suite, as the program names it, is among those to run first."""
        return suite.split("/")[-1] in self.suites[program]
