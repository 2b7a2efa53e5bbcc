#!/usr/bin/env python3
"""The sources that the checks read: those that git knows of, and those that are new."""

import os
import pathlib
import subprocess

KINDS = {".h", ".hh", ".hpp", ".hxx", ".inc", ".ipp", ".tpp", ".c", ".cc", ".cpp", ".cxx", ".m", ".mm"}

# Paths are those from the project's root, wherever a check was started.
os.chdir(pathlib.Path(__file__).resolve().parent.parent)


def git_files(*patterns):
    """The files of these names, as paths from the project's root."""
    listed = subprocess.run(
        ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard", "--", *patterns],
        check=True, text=True, capture_output=True).stdout.split("\0")
    return [path for path in map(pathlib.Path, filter(None, listed)) if path.is_file()]


def sources(*folders):
    """Their files of C++ and Objective-C++; those of all folders where none is named."""
    patterns = [f"{folder}/*" for folder in folders] or ["*"]
    return [path for path in git_files(*patterns) if path.suffix in KINDS]


if __name__ == "__main__":
    print(*sources(), sep="\n")
