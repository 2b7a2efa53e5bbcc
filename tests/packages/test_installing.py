"""Installs, upgrades and removes the packages on this machine, over whose files a layer is laid that goes
with the test: what they leave behind is what that layer has."""

import os
import pathlib
import re
import socket
import subprocess
import sys
import unittest

from support import LABEL, NAMES, ROOT, file_of, files_of, output

ISOLATED = ROOT / "tests/e2e/run_isolated"
LAYERS = pathlib.Path("/run/layers")
LAYERED = ("usr", "etc", "var", "home")
ADAPTER = "/usr/libexec/vesk-remote/launchctl"
TOOL = pathlib.Path("/bin/launchctl")
WANTED = pathlib.Path(f"/etc/systemd/user/graphical-session.target.wants/{LABEL}.service")
CALLS = pathlib.Path("/run/calls")
USERS = pathlib.Path("/run/user")
# The package manager's own: what it knows, what it has done, and caches that it has others keep.
OWN = re.compile(r"/var/(lib/dpkg|log|cache|backups)/|/usr/share/icons/hicolor/icon-theme.cache"
                 r"|/usr/share/applications/mimeinfo.cache|/var/lib/(systemd/deb-systemd|swcatalog)")


def lay():
    """A layer over the machine, and in it no package of ours, and a `systemctl` that tells of its calls and
    carries out those alone that change files."""
    subprocess.run(["mount", "-t", "tmpfs", "vesk-test", "/run"], check=True)
    for name in LAYERED:
        for part in ("files", "work"):
            (LAYERS / name / part).mkdir(parents=True)
        subprocess.run(["mount", "-t", "overlay", "vesk-test", "-o", f"lowerdir=/{name},upperdir={LAYERS}/{name}/files,"
                        f"workdir={LAYERS}/{name}/work", f"/{name}"], check=True)
    subprocess.run(["dpkg", "--purge", *NAMES], capture_output=True)
    # A container's: nothing is to be started or stopped there.
    pathlib.Path("/usr/sbin/policy-rc.d").unlink(missing_ok=True)
    pathlib.Path("/run/systemd/system").mkdir(parents=True)
    tool = pathlib.Path("/run/tools/systemctl")
    tool.parent.mkdir()
    tool.write_text(f'#!/bin/sh\necho "$(id -u) $XDG_RUNTIME_DIR $*" >>{CALLS}\n'
                    'case $* in *--root=/*) exec /usr/bin/systemctl "$@" ;; esac\n')
    tool.chmod(0o755)
    os.environ["PATH"] = f"{tool.parent}:{os.environ['PATH']}"
    os.environ["LC_ALL"] = "C.UTF-8"


def layered():
    """All files of the layer; a file that is hidden is one too."""
    return {f"/{name}/{path.relative_to(LAYERS / name / 'files')}"
            for name in LAYERED for path in (LAYERS / name / "files").rglob("*")
            if path.is_symlink() or not path.is_dir()}


class Installing(unittest.TestCase):
    def setUp(self):
        self.addCleanup(self.dpkg, "--purge", *NAMES)
        self.before = layered()
        CALLS.write_text("")
        CALLS.chmod(0o666)

    def dpkg(self, *arguments):
        return subprocess.run(["dpkg", "--no-triggers", *arguments], check=True, text=True, capture_output=True)

    def install(self):
        """What our own scripts say."""
        said = self.dpkg("--install", *map(file_of, NAMES)).stderr
        return [line for line in said.splitlines() if "vesk-" in line and "Created symlink" not in line]

    def left(self):
        return sorted(file for file in layered() - self.before if not OWN.match(file))

    def calls(self, kind):
        """Who asked a manager of that kind for what since the last time."""
        lines = CALLS.read_text().splitlines()
        CALLS.write_text("")
        return [line for line in lines if f"{kind} " in line and (LABEL in line or "vesk-agent" in line)]

    def log_in(self, user):
        """The manager of a user's units, as far as anybody can see it."""
        place = USERS / str(user) / "systemd"
        place.mkdir(parents=True)
        manager = socket.socket(socket.AF_UNIX)
        self.addCleanup(manager.close)
        self.addCleanup(subprocess.run, ["rm", "-r", place.parent])
        manager.bind(str(place / "private"))

    def test_brings_every_file_and_enables_the_job_alone(self):
        self.assertEqual(self.install(), [])
        for name in NAMES:
            for file in files_of(name):
                self.assertTrue(os.path.lexists(file), file)
        self.assertEqual(os.readlink(TOOL), ADAPTER)
        self.assertTrue(WANTED.exists())
        self.assertEqual(list(pathlib.Path("/etc/systemd/system").rglob("vesk-agent*")), [])
        self.assertEqual(self.calls("--user"), [])

    def test_leaves_nothing_behind_when_purged(self):
        self.install()
        self.dpkg("--remove", *NAMES)
        self.assertFalse(os.path.lexists(TOOL))
        self.dpkg("--purge", *NAMES)
        self.assertEqual(self.left(), [])

    def test_leaves_the_tool_of_another_alone(self):
        def script():
            TOOL.write_text("#!/bin/sh\nexit 0\n")

        def dangling():
            TOOL.symlink_to("/nowhere/launchctl")

        for make in (script, dangling):
            with self.subTest(make.__name__):
                make()
                status = os.lstat(TOOL)
                self.assertEqual(self.install(), ["vesk-remote: /bin/launchctl is not ours and stays; a copy started "
                                                  "by hand cannot hand over to the job"])
                self.install()
                self.dpkg("--purge", *NAMES)
                self.assertEqual(os.lstat(TOOL)[:2], status[:2])
                TOOL.unlink()

    def test_starts_and_ends_the_job_of_whoever_is_logged_in(self):
        self.log_in(0)
        self.log_in(1)
        (USERS / "2").mkdir()
        self.addCleanup((USERS / "2").rmdir)
        job = f"{LABEL}.service"
        self.install()
        self.assertEqual(self.calls("--user"), [f"{user} /run/user/{user} --user {what} {job}"
                                                for user in (0, 1) for what in ("is-enabled", "start")])
        self.install()
        self.assertEqual(self.calls("--user"), [f"{user} /run/user/{user} --user try-restart {job}" for user in (0, 1)])
        self.dpkg("--remove", "vesk-remote")
        self.assertEqual(self.calls("--user"), [f"{user} /run/user/{user} --user stop {job}" for user in (0, 1)])

    def test_never_starts_the_agent_and_stops_it_when_it_is_removed(self):
        self.install()
        self.install()
        self.assertNotRegex("\n".join(self.calls("")), r"(?<!try-re)start .*vesk-agent")
        self.dpkg("--remove", "vesk-agent")
        self.assertEqual(self.calls("stop"), ["0  stop vesk-agent.service vesk-agent.socket"])


if __name__ == "__main__":
    if os.environ.get("VESK_LAYERED") != "yes":
        os.environ["VESK_LAYERED"] = "yes"
        as_root = [] if os.geteuid() == 0 else ["sudo", "--preserve-env=VESK_LAYERED,VESK_PACKAGES"]
        command = [*as_root, str(ISOLATED), sys.executable, "-B", *sys.argv]
        os.execvp(command[0], command)
    lay()
    unittest.main()
