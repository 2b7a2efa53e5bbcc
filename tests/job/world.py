"""A machine of its own within this one: the program installed, a person who has logged in, the
person's own systemd, and an X server.

Every test file runs as root in namespaces of its own (see run_delegated). There /usr, /etc and /var
are this machine's until something is written, which nobody else sees; /run and the homes are new.
"""

import contextlib
import os
import pathlib
import pwd
import shutil
import signal
import socket
import subprocess
import sys
import threading
import unittest

for folder in ("e2e", "support"):
    sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / folder))

os.environ.setdefault("VESK_BUILD", "/usr")  # packages need no build beside them

import harness
from harness import JOB, wait_until
from layers import FILES, NAMES, dpkg, lay_over
from raw_sessions import SHIFT_DOWN, Agent
from xclient import XClient

UNIT = JOB + ".service"
PROGRAM = "/usr/bin/vesk-remote"
ADAPTER = "/bin/launchctl"
PACKAGES = os.environ.get("VESK_PACKAGES")
HOMES = pathlib.Path("/run/homes")


def isolate():
    """Gives this process, which run_delegated started, its own of whatever is written to."""
    lay_over("usr", "etc", "var")
    subprocess.run(["mount", "-t", "cgroup2", "vesk-test", "/sys/fs/cgroup"], check=True)
    HOMES.mkdir()


def install():
    """The packages, where VESK_PACKAGES says that there are some; else what this build has, the way the
    packages' scripts do it."""
    if PACKAGES:
        install_packages()
        return
    subprocess.run(["cmake", "--install", harness.BUILD], check=True, stdout=subprocess.DEVNULL)
    if not pathlib.Path("/usr/lib/systemd/user/com.vesk.tovarin.screen.service").exists():
        raise SystemExit(f"{harness.BUILD} installs elsewhere than in /usr: configure it anew")
    subprocess.run(["systemctl", "--global", "enable", UNIT], check=True, capture_output=True)
    os.symlink("/usr/libexec/vesk-remote/launchctl", ADAPTER)


def install_packages():
    files = [next(pathlib.Path(PACKAGES).glob(f"{name}_*.deb")) for name in NAMES]
    dpkg("--install", *files)


@contextlib.contextmanager
def missing(path):
    """A file of the system's that is not there for a while."""
    os.rename(path, path + ".away")
    try:
        yield
    finally:
        os.rename(path + ".away", path)


def written():
    """What was written to this machine's folders so far."""
    return {str(path.relative_to(FILES)) for path in FILES.rglob("*")}


def entries_of(folder, uid):
    """What a user has in a folder in which others' tests come and go meanwhile."""
    found = []
    for path in pathlib.Path(folder).iterdir():
        with contextlib.suppress(FileNotFoundError):
            if path.lstat().st_uid == uid:
                found.append(str(path))
    return found


class Journal:
    """Stands where the system's journal listens, and remembers who has said what."""

    def __init__(self):
        path = pathlib.Path("/run/systemd/journal/stdout")
        path.parent.mkdir(parents=True, exist_ok=True)
        self._listener = socket.socket(socket.AF_UNIX)
        self._listener.bind(str(path))
        path.chmod(0o666)
        self._listener.listen(64)
        self._lines = []
        threading.Thread(target=self._accept, daemon=True).start()

    def _accept(self):
        while True:
            connection, _ = self._listener.accept()
            threading.Thread(target=self._read, args=(connection,), daemon=True).start()

    def _read(self, connection):
        with connection, connection.makefile(encoding="utf-8", errors="replace") as lines:
            speaker = lines.readline().rstrip("\n")
            for _ in range(6):  # unit, priority, and what is to be done with a line
                lines.readline()
            for line in lines:
                self._lines.append((speaker, line.rstrip("\n")))

    def said_by(self, speaker):
        return [line for who, line in list(self._lines) if who == speaker]

    def forget(self):
        self._lines.clear()


class Person:
    """A user of this machine, and what is the user's own."""

    def __init__(self, name, number):
        self.name, self.uid = name, number
        self.home = HOMES / name
        self.runtime = pathlib.Path(f"/run/user/{number}")
        with contextlib.suppress(KeyError):
            pwd.getpwnam(name)
            return
        with open("/etc/passwd", "a", encoding="utf-8") as users:
            users.write(f"{name}:x:{number}:{number}::{self.home}:/bin/sh\n")
        with open("/etc/group", "a", encoding="utf-8") as groups:
            groups.write(f"{name}:x:{number}:\n")

    def move_in(self):
        for folder in (self.home, self.runtime):
            folder.mkdir(parents=True)
            folder.chmod(0o700)
            os.chown(folder, self.uid, self.uid)

    def move_out(self):
        for folder in (self.home, self.runtime):
            shutil.rmtree(folder)

    def rights(self):
        return {"user": self.uid, "group": self.uid, "extra_groups": []}

    def environment(self, **changes):
        environment = {"PATH": "/usr/local/bin:/usr/bin:/bin", "HOME": str(self.home),
                       "USER": self.name, "XDG_RUNTIME_DIR": str(self.runtime),
                       "LC_ALL": "C.UTF-8", **changes}
        return {name: value for name, value in environment.items() if value is not None}

    def run(self, *command, **changes):
        """A command of the person's, to its end."""
        return subprocess.run([str(part) for part in command], env=self.environment(**changes),
                              cwd="/", capture_output=True, text=True, timeout=harness.PATIENCE,
                              stdin=subprocess.DEVNULL, **self.rights())

    def processes(self):
        """The person's, except what has ended and waits to be noticed."""
        found = []
        for folder in pathlib.Path("/proc").glob("[0-9]*"):
            with contextlib.suppress(OSError):
                if folder.stat().st_uid == self.uid and (folder / "cmdline").read_bytes():
                    found.append(int(folder.name))
        return found


class Manager(harness.Child):
    """The person's own systemd, up to the moment at which it has started what it starts."""

    def __init__(self, person):
        self._person = person
        groups = pathlib.Path("/sys/fs/cgroup")
        for path in (groups, *(groups / f"cgroup.{name}"
                               for name in ("procs", "threads", "subtree_control"))):
            os.chown(path, person.uid, person.uid)
        # What a machine starts for each of its users besides: it leaves folders in their homes.
        units = pathlib.Path("/run/systemd/user")
        units.mkdir(parents=True, exist_ok=True)
        for unit in ("pipewire.service", "pipewire.socket", "wireplumber.service"):
            with contextlib.suppress(FileExistsError):
                (units / unit).symlink_to("/dev/null")
        super().__init__(["/lib/systemd/systemd", "--user", "--log-target=null"],
                         person.environment(), cwd="/", stdin=subprocess.DEVNULL,
                         stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **person.rights())
        wait_until((person.runtime / "systemd/private").exists, "the person's systemd listens")
        self("is-system-running", "--wait", check=False)

    def __call__(self, *arguments, check=True):
        result = self._person.run("systemctl", "--user", *arguments)
        if check and result.returncode:
            raise AssertionError(f"systemctl {' '.join(arguments)}: {result.stderr}")
        return result.stdout.strip()

    def show(self, name, unit=UNIT):
        return self("show", unit, "--value", "-p", name)

    def state(self):
        return self.show("ActiveState")

    def program(self):
        """The process that the job runs, or 0."""
        return int(self.show("MainPID"))

    def end(self, number=signal.SIGTERM):  # it stops everything that it has started
        return super().end(number)


class PackagedAgent(harness.Agent):
    """The one that the package brings, instead of this build's."""

    def __init__(self, *options):
        harness.AGENT = "/usr/bin/vesk-agent"
        super().__init__(*options)

    def end(self, number=signal.SIGTERM):  # it takes its socket along
        return super().end(number)


class World(unittest.TestCase):
    """A test with a person who has logged in; the session and its desktop begin when it says so."""

    journal = None  # the machine's one
    server_options = ()
    person_is = ("anna", 61001)

    def setUp(self):
        self.journal.forget()
        self.person = Person(*self.person_is)
        self.person.move_in()
        self.addCleanup(self.person.move_out)
        self.addCleanup(self.expect_nobody)
        self.log_path = self.person.home / "Library/Logs/Vesk Remote.log"
        self.server = self.start(harness.XServer, options=self.server_options)
        self.manager = self.start(Manager, self.person)
        self.client = XClient(self.server.display)
        self.addCleanup(self.client.close)
        self.bare = self.client.in_sight()

    def start(self, kind, *arguments, **options):
        child = kind(*arguments, **options)
        self.addCleanup(child.end)
        return child

    def expect_nobody(self):
        """Whatever the person's session has started has ended with it."""
        wait_until(lambda: not self.person.processes(), "all of the person's processes have ended")

    def listen(self):
        """The machine's agent, which everybody may connect to."""
        agent = Agent()
        self.addCleanup(agent.end)
        harness.SOCKET.chmod(0o666)
        return agent

    def change_job(self, *lines):
        """The job has these lines as well, or instead."""
        changes = self.person.runtime / "systemd/user" / f"{UNIT}.d" / "change.conf"
        changes.parent.mkdir(parents=True)
        changes.write_text("\n".join(("[Service]", *lines, "")), encoding="utf-8")
        self.manager("daemon-reload")

    def begin_session(self, **variables):
        """What a desktop does that has systemd start its session."""
        for name, value in {"DISPLAY": self.server.display, **variables}.items():
            self.manager("set-environment", f"{name}={value}")
        desktop = self.person.runtime / "systemd/user/desktop.target"
        desktop.parent.mkdir(parents=True, exist_ok=True)
        desktop.write_text("[Unit]\nBindsTo=graphical-session.target\n"
                           "Before=graphical-session.target\n", encoding="utf-8")
        self.manager("daemon-reload")
        self.manager("start", "desktop.target")

    def run_session(self, agent, **members):
        """A session up to its first picture."""
        agent.forget()
        units = agent.units
        agent.say(op="start", **members)
        self.assertIn("accessibility", agent.wait_for("started", "fault"))
        wait_until(lambda: agent.units > units, "the video comes")

    def run_and_hold(self, agent):
        """A session with a banner in sight and a key that the viewer holds."""
        self.run_session(agent, input=True)
        agent.say_input(**SHIFT_DOWN)
        wait_until(lambda: self.client.held_keys() and self.client.in_sight() > self.bare,
                   "the viewer's key is down, and the banner in sight")

    def expect_clear(self):
        wait_until(lambda: not self.client.held_keys() and self.client.in_sight() == self.bare,
                   "the key is up and the banner gone")

    def log(self):
        if not self.log_path.exists():
            return []
        return [line.split(" ", 1)[1] for line in self.log_path.read_text().splitlines()]

    def expect_one_line(self, result, status, line):
        """What a command has answered: this status, and one line that matches."""
        self.assertEqual((result.returncode, result.stdout), (status, ""), result.stderr)
        self.assertRegex(result.stderr, rf"\A{line}\n\Z")


def main(prepare=install):
    isolate()
    World.journal = Journal()
    prepare()
    unittest.main(module="__main__", verbosity=2)
