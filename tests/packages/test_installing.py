"""Installs, upgrades and removes the packages on this machine, in a layer of the test's own: what they leave
behind is what that layer has."""

import os
import pathlib
import pty
import re
import shutil
import socket
import subprocess
import time
import unittest

from layer import dpkg, install, lay, layered
from support import LABEL, NAMES, file_of, files_of

ADAPTER = "/usr/libexec/vesk-remote/launchctl"
SESSIONS = "/usr/libexec/vesk-remote/sessions"
TOOL = pathlib.Path("/bin/launchctl")
WANTED = pathlib.Path(f"/etc/systemd/user/graphical-session.target.wants/{LABEL}.service")
CALLS = pathlib.Path("/run/calls")
# Where it is, no manager answers.
SILENCE = pathlib.Path("/run/silence")
# Where it is, managers take what they are asked for and do nothing.
STUCK = pathlib.Path("/run/stuck")
# What root has open while it installs.
GIVEN = 27
USERS = pathlib.Path("/run/user")
# The package manager's own: what it knows, what it has done, and caches that it has others keep.
OWN = re.compile(r"/var/(lib/dpkg|log|cache|backups)/|/usr/share/icons/hicolor/icon-theme.cache"
                 r"|/usr/share/applications/mimeinfo.cache|/var/lib/(systemd/deb-systemd|swcatalog)")


def listen_in():
    """A `systemctl` that tells of its calls and carries out those alone that change files."""
    tool = pathlib.Path("/run/tools/systemctl")
    tool.parent.mkdir()
    tool.write_text(f"""#!/bin/sh
echo "$(id -u) $XDG_RUNTIME_DIR $*" >>{CALLS}
[ ! -e {STUCK} ] || {{ trap '' TERM; exec sleep 600; }}
{{
  echo "asked by $(stat -c %u /proc/$PPID)"
  echo $(grep -E '^(Uid|Gid|Groups):' /proc/$$/status)
  cut -d ' ' -f 7 /proc/$$/stat
  readlink /proc/$$/cwd /proc/$$/fd/0 /proc/$$/fd/2
  [ ! -e /proc/$$/fd/{GIVEN} ] || echo a descriptor
  tr '\\0' '\\n' </proc/$$/environ | sort
  echo
}} >>{CALLS}.of-$(id -u)
[ ! -e {SILENCE} ] || exit 1
case $* in *--root=/*) exec /usr/bin/systemctl "$@" ;; esac
""")
    tool.chmod(0o755)
    os.environ["PATH"] = f"{tool.parent}:{os.environ['PATH']}"


class Installing(unittest.TestCase):
    def setUp(self):
        self.addCleanup(dpkg, "--purge", *NAMES)
        self.before = layered()
        CALLS.write_text("")
        CALLS.chmod(0o666)

    def install(self):
        return install(*NAMES)

    def left(self):
        return sorted(file for file in layered() - self.before if not OWN.match(file))

    def calls(self, kind):
        """Who asked a manager of that kind for what since the last time."""
        lines = CALLS.read_text().splitlines()
        CALLS.write_text("")
        return sorted((line for line in lines if f"{kind} " in line
                       and (LABEL in line or "vesk-agent" in line or line.endswith("--user daemon-reload"))),
                      key=lambda line: line.split()[0])  # users are asked at once, each for one thing after another

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
        dpkg("--remove", *NAMES)
        self.assertFalse(os.path.lexists(TOOL))
        dpkg("--purge", *NAMES)
        self.assertEqual(self.left(), [])
        self.assertEqual(list(pathlib.Path("/run").glob("vesk-*")), [])

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
                dpkg("--purge", *NAMES)
                self.assertEqual(os.lstat(TOOL)[:2], status[:2])
                TOOL.unlink()

    def test_starts_and_ends_the_job_of_whoever_is_logged_in(self):
        self.log_in(0)
        self.log_in(1)
        (USERS / "2").mkdir()
        self.addCleanup((USERS / "2").rmdir)
        def asked(*things):
            return [f"{user} /run/user/{user} --user {thing}" for user in (0, 1) for thing in things]

        job = f"{LABEL}.service"
        self.install()
        self.assertEqual(self.calls("--user"), asked("daemon-reload", f"is-enabled {job}", f"start {job}"))
        self.install()
        self.assertEqual(self.calls("--user"), asked("daemon-reload", f"try-restart {job}"))
        dpkg("--remove", "vesk-remote")
        self.assertEqual(self.calls("--user"), asked(f"stop {job}", "daemon-reload"))

    def test_hands_nothing_of_roots_to_what_runs_as_somebody_who_is_logged_in(self):
        # Who it runs as may look into it, stop it, and write to its terminal.
        self.log_in(1)
        seen = pathlib.Path(f"{CALLS}.of-1")
        seen.write_text("")
        seen.chmod(0o666)
        self.addCleanup(seen.unlink)
        terminal, of_roots = pty.openpty()
        os.dup2(of_roots, GIVEN)
        for descriptor in (terminal, of_roots, GIVEN):
            self.addCleanup(os.close, descriptor)
        circumstances = {"through": ["setsid", "--ctty", "--wait", "setpriv", "--groups", "4,24"], "stdin": of_roots,
                         "pass_fds": [GIVEN], "env": {**os.environ, "ROOTS": "secret"}}
        dpkg("--install", file_of("vesk-remote"), **circumstances)
        dpkg("--remove", "vesk-remote", **circumstances)
        told = seen.read_text().split("\n\n")
        self.assertEqual((len(told), set(told[:-1])), (6, {f"""\
asked by 0
Uid: 1 1 1 1 Gid: 1 1 1 1 Groups: 1
0
/
/dev/null
/dev/null
LC_ALL=C
PATH={os.environ['PATH']}
XDG_RUNTIME_DIR=/run/user/1"""}))

    def test_waits_seconds_for_managers_that_are_stuck_however_many_there_are(self):
        self.install()
        STUCK.touch()
        self.addCleanup(STUCK.unlink)
        for user in range(4):
            self.log_in(user)
        self.calls("")
        before = time.monotonic()
        subprocess.run([SESSIONS, "stop"], check=True, timeout=60)
        self.assertLess(time.monotonic() - before, 30)
        self.assertEqual(self.calls("--user"),
                         [f"{user} /run/user/{user} --user stop {LABEL}.service" for user in range(4)])
        self.assertEqual(subprocess.run(["pgrep", "--runstates", "RSD", "-x", "sleep"]).returncode, 1)

    def test_starts_the_job_anew_beside_the_tool_of_another(self):
        TOOL.write_text("#!/bin/sh\nexit 0\n")
        self.addCleanup(TOOL.unlink)
        self.log_in(0)
        self.install()
        dpkg("--remove", "vesk-remote")
        self.calls("--user")
        self.install()
        self.assertEqual(self.calls("--user")[-1:], [f"0 /run/user/0 --user start {LABEL}.service"])

    def test_leaves_what_was_stopped_alone_though_the_tool_has_gone(self):
        self.log_in(0)
        self.install()
        TOOL.unlink()
        self.calls("--user")
        self.install()
        self.assertEqual(self.calls("--user")[-1:], [f"0 /run/user/0 --user try-restart {LABEL}.service"])

    def test_goes_where_no_manager_answers(self):
        self.install()
        SILENCE.touch()
        self.addCleanup(SILENCE.unlink)
        dpkg("--purge", *NAMES)
        self.assertEqual(self.left(), [])

    def test_goes_though_files_of_it_are_gone_already(self):
        self.install()
        shutil.rmtree("/usr/libexec/vesk-remote")
        self.addCleanup(self.install)  # so that whatever is left of it can be purged
        dpkg("--purge", *NAMES)

    def test_is_whole_again_after_a_removal_that_failed(self):
        self.log_in(0)
        self.install()
        script = pathlib.Path("/var/lib/dpkg/info/vesk-remote.prerm")
        text = script.read_text()
        script.write_text(text + "exit 1\n")
        self.addCleanup(script.write_text, text)
        with self.assertRaises(subprocess.CalledProcessError):
            dpkg("--remove", "vesk-remote")
        self.assertTrue(os.path.lexists(TOOL))
        self.assertEqual(self.calls("--user")[-1:], [f"0 /run/user/0 --user start {LABEL}.service"])

    def test_is_whole_again_after_an_upgrade_that_failed(self):
        self.log_in(0)
        self.install()
        script = "/var/lib/dpkg/info/vesk-remote.postinst"
        for arguments in (["abort-upgrade", "99"], ["abort-deconfigure", "in-favour", "other", "1"]):
            TOOL.unlink()
            self.calls("--user")
            subprocess.run([script, *arguments], check=True, capture_output=True,
                           env={**os.environ, "DPKG_MAINTSCRIPT_PACKAGE": "vesk-remote"})
            self.assertEqual(os.readlink(TOOL), ADAPTER)
            # What the person had stopped before stays stopped.
            self.assertEqual(self.calls("--user")[-1:], [f"0 /run/user/0 --user try-restart {LABEL}.service"])

    def test_never_starts_the_agent_and_stops_it_when_it_is_removed(self):
        self.install()
        self.install()
        self.assertNotRegex("\n".join(self.calls("")), r"(?<!try-re)start .*vesk-agent")
        dpkg("--remove", "vesk-agent")
        self.assertEqual(self.calls("stop"), ["0  stop vesk-agent.service vesk-agent.socket"])


if __name__ == "__main__":
    lay()
    listen_in()
    unittest.main()
