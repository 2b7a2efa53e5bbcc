"""Layers over this machine's folders, which go with the test: what is written there is in them alone.

For a process that runs as root in namespaces of its own."""

import pathlib
import subprocess

NAMES = ("vesk-remote", "vesk-agent")
FILES = pathlib.Path("/run/layers/files")
_WORK = pathlib.Path("/run/layers/work")


def lay_over(*folders):
    """A new /run, with what says that systemd is there, and a layer over each of these folders of the root's,
    in which no package of ours is: this machine may have them."""
    subprocess.run(["mount", "-t", "tmpfs", "vesk-test", "/run"], check=True)
    for folder in folders:
        upper, work = FILES / folder, _WORK / folder
        upper.mkdir(parents=True)
        work.mkdir(parents=True)
        subprocess.run(["mount", "-t", "overlay", "vesk-test", "-o",
                        f"lowerdir=/{folder},upperdir={upper},workdir={work}", f"/{folder}"], check=True)
    dpkg("--purge", *NAMES)
    pathlib.Path("/run/systemd/system").mkdir(parents=True)


def dpkg(*arguments, through=(), **options):
    """Runs dpkg, by way of another command if it is to find itself in other circumstances. What it says
    belongs to its failure."""
    try:
        return subprocess.run([*through, "dpkg", "--no-triggers", *arguments], check=True, text=True,
                              capture_output=True, **options)
    except subprocess.CalledProcessError as failure:
        failure.add_note(failure.stdout + failure.stderr)
        raise
