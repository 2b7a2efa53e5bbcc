#!/usr/bin/env python3
"""Compares what the Mac platform's objects need from outside with expected_symbols.txt.

usage: symbols.py ARCHITECTURE BUILD

A symbol that is not in the list, a listed one that is not needed, and a framework that is listed and
not linked, or the other way round, are errors.
"""

import pathlib
import re
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
PLATFORM = HERE.parent.parent / "src/platform/macos"
# Not frameworks, so nothing has to be linked for them.
SYSTEM_LIBRARIES = {"objc", "dispatch", "system"}
# Compilers differ in what they call for reference counts, and the C library on the machine that
# compiles stands in for the Mac's: what is listed there may be left out.
VARYING = {"objc", "system"}
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


def needed(build):
    objects = sorted((build / "src/CMakeFiles/vesk_platform.dir/platform/macos").glob("*.o"))
    sources = [s for s in PLATFORM.iterdir() if s.suffix in (".cpp", ".mm")]
    if len(objects) != len(sources):
        sys.exit(f"symbols: {len(sources)} sources, {len(objects)} objects in {build}")
    output = subprocess.run(["llvm-nm", "--undefined-only", "--format=just-symbols", "--no-demangle", *objects],
                            check=True, capture_output=True, text=True).stdout
    return {line for line in output.splitlines() if line and not line.endswith(":")}


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
    symbols = {s for s in needed(build) if not OWN.match(s)}
    complaints = [f"not a symbol of this program or the standard library: {s}" for s in foreign_cxx(symbols)]
    plain = {s for s in symbols if not s.startswith("__Z")}
    complaints += [f"not expected: {s}" for s in sorted(plain - wanted.keys())]
    complaints += [f"expected in {wanted[s]} and not needed: {s}"
                   for s in sorted(wanted.keys() - plain) if wanted[s] not in VARYING]
    listed = set(wanted.values()) - SYSTEM_LIBRARIES
    complaints += [f"listed and not linked: {f}" for f in sorted(listed - linked_frameworks())]
    complaints += [f"linked and not listed: {f}" for f in sorted(linked_frameworks() - listed)]
    print("\n".join(complaints) or f"{len(plain)} symbols as expected")
    sys.exit(bool(complaints))


if __name__ == "__main__":
    main()
