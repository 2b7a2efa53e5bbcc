"""A layer over the machine's files, which goes with the test: what a test installs is in it alone."""

import os
import pathlib
import subprocess
import sys

from support import NAMES, ROOT, file_of

ISOLATED = ROOT / "tests/e2e/run_isolated"
LAYERS = pathlib.Path("/run/layers")
LAYERED = ("usr", "etc", "var", "home")


def lay():
    """Runs the test's file anew, as root in namespaces of its own, lays the layer there, and sees to it that
    no package of ours is in it. To be called first."""
    if os.environ.get("VESK_LAYERED") != "yes":
        os.environ["VESK_LAYERED"] = "yes"
        as_root = [] if os.geteuid() == 0 else ["sudo", "--preserve-env=VESK_LAYERED,VESK_PACKAGES"]
        command = [*as_root, str(ISOLATED), sys.executable, "-B", *sys.argv]
        os.execvp(command[0], command)
    subprocess.run(["mount", "-t", "tmpfs", "vesk-test", "/run"], check=True)
    for name in LAYERED:
        for part in ("files", "work"):
            (LAYERS / name / part).mkdir(parents=True)
        subprocess.run(["mount", "-t", "overlay", "vesk-test", "-o", f"lowerdir=/{name},upperdir={LAYERS}/{name}/files,"
                        f"workdir={LAYERS}/{name}/work", f"/{name}"], check=True)
    dpkg("--purge", *NAMES)
    # A container's: nothing is to be started or stopped there.
    pathlib.Path("/usr/sbin/policy-rc.d").unlink(missing_ok=True)
    pathlib.Path("/run/systemd/system").mkdir(parents=True)
    os.environ["LC_ALL"] = "C.UTF-8"


def layered():
    """All files of the layer; a file that is hidden is one too."""
    return {f"/{name}/{path.relative_to(LAYERS / name / 'files')}"
            for name in LAYERED for path in (LAYERS / name / "files").rglob("*")
            if path.is_symlink() or not path.is_dir()}


def dpkg(*arguments, through=(), **options):
    """Runs dpkg, by way of another command if it is to find itself in other circumstances."""
    return subprocess.run([*through, "dpkg", "--no-triggers", *arguments], check=True, text=True, capture_output=True,
                          **options)


def install(*names):
    """What our own scripts say."""
    said = dpkg("--install", *map(file_of, names)).stderr
    return [line for line in said.splitlines() if "vesk-" in line and "Created symlink" not in line]
