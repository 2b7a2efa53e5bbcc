"""The sources that the checks read: those that git knows of, and those that are new."""

import pathlib
import subprocess


def sources(*folders):
    """Their files of C++ and Objective-C++, as paths from the project's root."""
    listed = subprocess.run(
        ["git", "ls-files", "--cached", "--others", "--exclude-standard",
         *(f"{folder}/*.{kind}" for folder in folders for kind in ("h", "cpp", "mm"))],
        check=True, text=True, capture_output=True).stdout.split()
    return [path for path in map(pathlib.Path, listed) if path.exists()]
