"""A layer over the machine's files, which goes with the test: what a test installs is in it alone."""

import os
import pathlib
import sys

from support import ROOT, file_of  # first: it knows where the layers lie
from layers import FILES, dpkg, lay_over

ISOLATED = ROOT / "tests/e2e/run_isolated"


def lay():
    """Runs the test's file anew, as root in namespaces of its own, lays the layer there, and sees to it that
    no package of ours is in it. To be called first."""
    if os.environ.get("VESK_LAYERED") != "yes":
        os.environ["VESK_LAYERED"] = "yes"
        as_root = [] if os.geteuid() == 0 else ["sudo", "--preserve-env=VESK_LAYERED,VESK_PACKAGES"]
        command = [*as_root, str(ISOLATED), sys.executable, "-B", *sys.argv]
        os.execvp(command[0], command)
    lay_over("usr", "etc", "var", "home")
    # A container's: nothing is to be started or stopped there.
    pathlib.Path("/usr/sbin/policy-rc.d").unlink(missing_ok=True)
    os.environ["LC_ALL"] = "C.UTF-8"


def layered():
    """All files of the layer; a file that is hidden is one too."""
    return {f"/{path.relative_to(FILES)}" for path in FILES.rglob("*") if path.is_symlink() or not path.is_dir()}


def install(*names):
    """What our own scripts say."""
    said = dpkg("--install", *map(file_of, names)).stderr
    return [line for line in said.splitlines() if "vesk-" in line and "Created symlink" not in line]
