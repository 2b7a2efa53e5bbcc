#!/usr/bin/env python3
"""Looks in the syntax trees of the Mac platform for blocks and lambdas that the system keeps, while what
they refer to does not last. Shows first on the files of captures/ that it finds each kind: with their
mistake they must be refused for the reason that the first line tells, and without it they must pass.

Every lambda counts as kept that is not written where it is handed to a function that waits for it. What
is right although it looks wrong has a comment on the line before: `// captures: ` and why.

It does not see:
- references and pointers within what is captured by value: views, iterators, structures;
- what `std::bind` and `std::ref` make, and objects with a call operator of their own;
- what a function returns or keeps that is handed a reference, and whether those that are said to wait do;
- plain pointers that an object of the system's has as a member, and a context that C is given as `void*`;
- blocks and objects that hold each other;
- a header whose lambdas no file includes that has one itself.

usage: captures.py BUILD
"""

import json
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
PLATFORM = HERE.parent.parent / "src/platform/macos"
OURS = "unless(isExpansionInSystemHeader())"
# Functions and what is there for good can be pointed to.
POINTING = """anyOf(hasType(hasUnqualifiedDesugaredType(referenceType())),
    hasType(hasUnqualifiedDesugaredType(pointerType(unless(pointee(functionType()))))))"""
FROM_OUTSIDE = f"""to(varDecl({POINTING}, unless(hasGlobalStorage())).bind("captured")),
    hasAncestor(blockExpr(unless(hasDescendant(varDecl(equalsBoundNode("captured"))))))"""
# The closure has a field for each variable that is captured: a reference for one captured as such.
BORROWING = f"""anyOf(hasAnyCapture(lambdaCapture(capturesThis())),
    hasType(cxxRecordDecl(has(fieldDecl({POINTING})))))"""
KEPT = "a lambda that is kept and captures this, a reference or a pointer"
RULES = {
    # It would capture references to the lambda's captures, and copy nothing of what they refer to.
    "a block within a lambda": f"blockExpr({OURS}, hasAncestor(lambdaExpr()))",
    "a block that captures this": f"blockExpr({OURS}, hasDescendant(cxxThisExpr()))",
    "a block that captures a reference or a pointer": f"declRefExpr({OURS}, {FROM_OUTSIDE})",
    KEPT: f"lambdaExpr({OURS}, {BORROWING})",
}
# Whoever calls these waits for what he hands over.
WAITING = ("::vesk::mac::guarded", "::vesk::SerialQueue::sync", "::vesk::mac::DispatchQueue::sync")
# Regardless of conversions on the way, which closures do not show in the other traversal.
WAITED_FOR = f"""lambdaExpr(hasParent(callExpr(callee(functionDecl(
    hasAnyName({", ".join(f'"{name}"' for name in WAITING)}))))))"""
QUERIES = ["set output diag", "set bind-root true",
           *(f"match {rule}" for rule in RULES.values()),
           "set traversal IgnoreUnlessSpelledInSource", f"match {WAITED_FOR}"]
ALLOWANCE = re.compile(r"^\s*// captures: \S")
# What every block, and every lambda, has in its text. A tree takes half a second, mostly of the library's.
SUSPECT = re.compile(r"\^|\]\s*[({<]")
INCLUSION = re.compile(r"^#(?:import|include) .*$", re.M)
COUNT = re.compile(r"^\d+ match(?:es)?\.$", re.M)
PLACE = re.compile(r"^(/[^:\n]+):(\d+):(\d+): note: \"root\" binds here$", re.M)


def flags_of_the_platform(build):
    """How an Objective-C++ file of the platform is compiled, without the file and its output."""
    entries = json.loads((build / "compile_commands.json").read_text())
    entry = next(e for e in entries if e["file"].endswith("src/platform/macos/MacScreenStream.mm"))
    command = shlex.split(entry["command"])
    compiler = next(i for i, word in enumerate(command) if word.endswith("clang++"))
    return command[compiler + 1:command.index("-o")]


def found(files, flags):
    """(file name, line, rule) for everything that is found."""
    arguments = [word for query in QUERIES for word in ("-c", " ".join(query.split()))]
    done = subprocess.run(["clang-query", *arguments, *map(str, files), "--", *flags],
                          text=True, capture_output=True)
    answers = [set(PLACE.findall(answer)) for answer in COUNT.split(done.stdout)[:-1]]
    if done.returncode != 0 or len(answers) != len(RULES) + 1 or "error:" in done.stderr:
        sys.exit(f"captures: clang-query failed:\n{done.stdout}{done.stderr}")
    *answers, waited_for = answers
    wrong = dict(zip(RULES, answers))
    wrong[KEPT] -= waited_for
    return {(pathlib.Path(file).name, int(line), rule)
            for rule, places in wrong.items() for file, line, _ in places if not is_allowed(file, int(line))}


def is_allowed(file, line):
    lines = pathlib.Path(file).read_text().splitlines()
    return line > 1 and ALLOWANCE.match(lines[line - 2]) is not None


def in_one(samples, folder):
    """A file that holds them all, each in a namespace: most of a tree is what they include."""
    texts = [sample.read_text() for sample in samples]
    included = sorted({line for text in texts for line in INCLUSION.findall(text)})
    parts = [f'namespace sample_{i} {{\n#line 1 "{sample}"\n{INCLUSION.sub("", text)}\n}}'
             for i, (sample, text) in enumerate(zip(samples, texts))]
    file = pathlib.Path(folder) / "samples.mm"
    file.write_text("\n".join([*included, *parts]))
    return file


def complaints_about_samples(flags):
    samples = sorted((HERE / "captures").glob("*.mm"))
    if not samples:
        yield "there is nothing to try it on"
    with tempfile.TemporaryDirectory() as folder:
        file = in_one(samples, folder)
        wrong = {(file, rule) for file, _, rule in found([file], [*flags, "-DMISTAKE"])}
        right = found([file], flags)
    wanted = {(s.name, s.read_text().splitlines()[0].removeprefix("// refused: ")) for s in samples}
    yield from (f"{file} passes with {rule}" for file, rule in sorted(wanted - wrong))
    yield from (f"{file} is taken for {rule}" for file, rule in sorted(wrong - wanted))
    yield from (f"{rule} is in no sample" for rule in RULES.keys() - {rule for _, rule in wanted})
    yield from (f"what is right is refused: {place}" for place in sorted(right))


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
