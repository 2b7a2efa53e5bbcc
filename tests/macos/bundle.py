#!/usr/bin/env python3
"""Checks the property lists of the Mac's bundle and job against each other and the program.

usage: bundle.py BUILD
"""

import pathlib
import plistlib
import re
import sys

PROJECT = pathlib.Path(__file__).resolve().parent.parent.parent


def main():
    bundle = pathlib.Path(sys.argv[1]) / "src/Vesk Remote.app/Contents"
    info = plistlib.loads((bundle / "Info.plist").read_bytes())
    job = plistlib.loads((PROJECT / "packaging/macos/com.vesk.tovarin.screen.plist").read_bytes())
    header = (PROJECT / "src/lifecycle/SingleInstance.h").read_text()
    label = re.search(r'jobLabel\s*=\s*"([^"]+)"', header).group(1)

    assert info["LSUIElement"] is True, "the program must be an accessory application"
    assert info["CFBundleIdentifier"] == label, info["CFBundleIdentifier"]
    assert info["CFBundleExecutable"] == "Vesk Remote", info["CFBundleExecutable"]
    assert info["LSMinimumSystemVersion"] == "12.3", info["LSMinimumSystemVersion"]
    assert re.fullmatch(r"\d+\.\d+\.\d+", info["CFBundleShortVersionString"])
    assert not [key for key, value in info.items() if value == "" or "${" in str(value)], info
    assert (bundle / "MacOS" / info["CFBundleExecutable"]).is_file()

    assert job["Label"] == label, job["Label"]
    assert job["AssociatedBundleIdentifiers"] == label
    assert job["LimitLoadToSessionType"] == "Aqua", "the job belongs to the graphical session"
    assert job["KeepAlive"] is True, "the job has to come back after it asked for a permission"
    assert job["ProgramArguments"] == ["/Applications/Vesk Remote.app/Contents/MacOS/Vesk Remote"]
    # The system sets it for every process of the job; a value from here would count as its own.
    assert "EnvironmentVariables" not in job
    print("the property lists agree")


if __name__ == "__main__":
    main()
