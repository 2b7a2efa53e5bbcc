#!/usr/bin/env python3
"""Compiles every file of mistakes/ twice: with its mistake, which must be refused for the reason that
the file's first line tells, and without, which must pass.

usage: mistakes.py BUILD
"""

import json
import pathlib
import shlex
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent


def command_of_the_platform(build):
    """How an Objective-C++ file of the platform is compiled, without the file and its output."""
    entries = json.loads((build / "compile_commands.json").read_text())
    entry = next(e for e in entries if e["file"].endswith("src/platform/macos/MacScreenStream.mm"))
    command = shlex.split(entry["command"])
    compiler = next(i for i, word in enumerate(command) if word.endswith("clang++"))
    return command[compiler:command.index("-o")] + ["-fsyntax-only", "-fno-color-diagnostics"]


def compile_file(command, source, *definitions):
    return subprocess.run([*command, *definitions, str(source)], capture_output=True, text=True)


def complaints_about(command, source):
    reason = source.read_text().splitlines()[0].removeprefix("// refused: ")
    wrong = compile_file(command, source, "-DMISTAKE")
    if wrong.returncode == 0:
        yield "the mistake passes"
    elif f"error: {reason}" not in wrong.stderr or wrong.stderr.count("error: ") != 1:
        yield "the mistake is refused for another reason:\n" + wrong.stderr
    right = compile_file(command, source)
    if right.returncode != 0:
        yield "what is right is refused:\n" + right.stderr


def main():
    command = command_of_the_platform(pathlib.Path(sys.argv[1]))
    sources = sorted((HERE / "mistakes").glob("*.mm"))
    complaints = [f"{s.name}: {c}" for s in sources for c in complaints_about(command, s)]
    if len(sources) < 10:
        complaints.append(f"only {len(sources)} mistakes were tried")
    print("\n".join(complaints) or f"{len(sources)} mistakes refused")
    sys.exit(bool(complaints))


if __name__ == "__main__":
    main()
