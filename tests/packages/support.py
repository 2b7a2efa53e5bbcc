"""The packages that VESK_PACKAGES has, unpacked once, and what their control files say."""

import functools
import os
import pathlib
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests/support"))

from layers import NAMES

PACKAGES = pathlib.Path(os.environ.get("VESK_PACKAGES", ROOT / "build/packages"))
LABEL = "com.vesk.tovarin.screen"
PROGRAMS = {"vesk-remote": "usr/bin/vesk-remote", "vesk-agent": "usr/bin/vesk-agent"}

_folder = tempfile.TemporaryDirectory(prefix="vesk-packages-")


def output(*command, **options):
    """What a command says, which has to succeed."""
    done = subprocess.run(command, text=True, capture_output=True, **options)
    if done.returncode != 0:
        raise AssertionError(f"{command} ended with {done.returncode}: {done.stdout}{done.stderr}")
    return done.stdout


def file_of(name):
    """The one package of that name."""
    found = sorted(PACKAGES.glob(f"{name}_*.deb"))
    if len(found) != 1:
        raise AssertionError(f"{PACKAGES} has {len(found)} packages {name}; run scripts/package")
    return found[0]


@functools.cache
def unpacked(name):
    """A folder with the package's files."""
    folder = pathlib.Path(_folder.name) / name
    output("dpkg-deb", "--extract", file_of(name), folder)
    return folder


def files_of(name):
    """All files of a package, without folders, as they will lie on the system."""
    folder = unpacked(name)
    return sorted("/" + str(path.relative_to(folder)) for path in folder.rglob("*")
                  if path.is_symlink() or not path.is_dir())


def field(name, key):
    return output("dpkg-deb", "--field", file_of(name), key).strip()


def dependencies(name, keys=("Pre-Depends", "Depends", "Recommends")):
    """The names of the packages in those fields."""
    lists = (field(name, key) for key in keys)
    entries = (entry for text in lists for entry in text.split(","))
    return sorted({entry.split("(")[0].strip() for entry in entries} - {""})
