#!/usr/bin/env python3
"""Looks in the syntax trees of the Mac platform for blocks and lambdas that the system keeps, while what
they refer to does not last. Shows first on the files of captures/ that it finds each kind: with their
mistake they must be refused for the reason that the first line tells, and without it they must pass.

usage: captures.py BUILD
"""

import json
import pathlib
import re
import shlex
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
PLATFORM = HERE.parent.parent / "src/platform/macos"
OURS = "unless(isExpansionInSystemHeader())"
FROM_OUTSIDE = "declRefExpr(to(varDecl(hasType(referenceType()), unless(hasAncestor(blockExpr())))))"
FUNCTION = 'hasDeclaration(cxxConstructorDecl(ofClass(hasName("::std::function"))))'
# The closure has a reference for each variable that is captured as one. Whoever calls `sync` waits.
BORROWING = """lambdaExpr(anyOf(hasAnyCapture(lambdaCapture(capturesThis())),
                                hasType(cxxRecordDecl(has(fieldDecl(hasType(referenceType())))))))"""
WAITING = 'hasAncestor(callExpr(callee(functionDecl(hasName("sync")))))'
RULES = {
    # It would capture references to the lambda's captures, and copy nothing of what they refer to.
    "a block within a lambda": f"blockExpr({OURS}, hasAncestor(lambdaExpr()))",
    "a block that captures this": f"blockExpr({OURS}, hasDescendant(cxxThisExpr()))",
    "a block that captures a reference": f"blockExpr({OURS}, hasDescendant({FROM_OUTSIDE}))",
    "a lambda that is kept and captures this or a reference":
        f"cxxConstructExpr({OURS}, {FUNCTION}, hasDescendant({BORROWING}), unless({WAITING}))",
}
# What every block, and every lambda, has in its text. A tree takes half a second, mostly of the library's.
SUSPECT = re.compile(r"\^|\]\s*[({<]")
COUNT = re.compile(r"^\d+ match(?:es)?\.$", re.M)
PLACE = re.compile(r"^(/[^:\n]+):(\d+):\d+: note: \"root\" binds here$", re.M)


def flags_of_the_platform(build):
    """How an Objective-C++ file of the platform is compiled, without the file and its output."""
    entries = json.loads((build / "compile_commands.json").read_text())
    entry = next(e for e in entries if e["file"].endswith("src/platform/macos/MacScreenStream.mm"))
    command = shlex.split(entry["command"])
    compiler = next(i for i, word in enumerate(command) if word.endswith("clang++"))
    return command[compiler + 1:command.index("-o")]


def found(files, flags):
    """(file name, line, rule) for everything that is found."""
    queries = ["set output diag", "set bind-root true",
               *("match " + " ".join(rule.split()) for rule in RULES.values())]
    arguments = [word for query in queries for word in ("-c", query)]
    done = subprocess.run(["clang-query", *arguments, *map(str, files), "--", *flags],
                          text=True, capture_output=True)
    answers = COUNT.split(done.stdout)[:-1]
    if done.returncode != 0 or len(answers) != len(RULES) or "error:" in done.stderr:
        sys.exit(f"captures: clang-query failed:\n{done.stdout}{done.stderr}")
    return {(pathlib.Path(file).name, int(line), rule) for rule, answer in zip(RULES, answers)
            for file, line in PLACE.findall(answer)}


def complaints_about_samples(flags):
    samples = sorted((HERE / "captures").glob("*.mm"))
    if not samples:
        yield "there is nothing to try it on"
    wrong = {(file, rule) for file, _, rule in found(samples, [*flags, "-DMISTAKE"])}
    wanted = {(s.name, s.read_text().splitlines()[0].removeprefix("// refused: ")) for s in samples}
    yield from (f"{file} passes with {rule}" for file, rule in sorted(wanted - wrong))
    yield from (f"{file} is taken for {rule}" for file, rule in sorted(wrong - wanted))
    yield from (f"{rule} is in no sample" for rule in RULES.keys() - {rule for _, rule in wanted})
    yield from (f"what is right is refused: {place}" for place in sorted(found(samples, flags)))


def main():
    flags = flags_of_the_platform(pathlib.Path(sys.argv[1]))
    complaints = list(complaints_about_samples(flags))
    sources = sorted(s for s in PLATFORM.iterdir() if s.suffix in (".cpp", ".mm"))
    suspects = [s for s in sources if SUSPECT.search(s.read_text())]
    complaints += [f"{file}:{line}: {rule}" for file, line, rule in sorted(found(suspects, flags))]
    print("\n".join(complaints) or f"nothing in {len(suspects)} of {len(sources)} files")
    sys.exit(bool(complaints))


if __name__ == "__main__":
    main()
