"""The real program, the reference agent and real X servers, each test in a world of its own.

Every test file runs in its own mount and process namespaces (see run_isolated): /run, where the
agent's socket lies, and /bin are its own, it sees only its own processes, and whatever it starts
ends with it.
"""

import contextlib
import json
import os
import pathlib
import queue
import shutil
import signal
import subprocess
import tempfile
import threading
import time
import unittest

from xclient import XClient

BUILD = pathlib.Path(os.environ["VESK_BUILD"])
PROGRAM = BUILD / "src" / "vesk-remote"
AGENT = BUILD / "agent" / "vesk-agent"
SOCKET = pathlib.Path("/var/run/com.vesk.tovarin.screen.sock")
JOB = "com.vesk.tovarin.screen"

# Far beyond what anything takes; reached only when something is wrong.
PATIENCE = float(os.environ.get("VESK_PATIENCE", 30))


class Timeout(AssertionError):
    """Something that had to happen did not."""


def wait_until(condition, what, every=0.005):
    """Polls for what nobody announces: files, process states. What takes long to find out, as a
    picture of the screen does, is asked for half of the time: the other half is for what it is about."""
    deadline = time.monotonic() + PATIENCE
    asked = time.monotonic()
    while not (result := condition()):
        now = time.monotonic()
        if now > deadline:
            raise Timeout(f"waited in vain until {what}")
        time.sleep(min(max(every, now - asked), 0.1))
        asked = time.monotonic()
    return result


class Child:
    """A program that is killed at the end of its test if it still runs."""

    def __init__(self, command, environment=None, **options):
        self.process = subprocess.Popen(
            [str(part) for part in command], env=environment, **options
        )

    @property
    def pid(self):
        return self.process.pid

    def wait(self):
        """The exit status, negative for a signal."""
        return self.process.wait(PATIENCE)

    def is_running(self):
        return self.process.poll() is None

    def end(self, number=signal.SIGKILL):
        if self.is_running():
            self.process.send_signal(number)
        status = self.process.wait(PATIENCE)
        for stream in (self.process.stdin, self.process.stdout, self.process.stderr):
            if stream:
                with contextlib.suppress(BrokenPipeError):
                    stream.close()
        return status


class XServer(Child):
    """A private Xvfb on a display number that was free, without GLX, whose loading takes as long as
    all the rest of its start. It outlives its last client, unless it is to start anew when that one
    leaves."""

    def __init__(self, screen="1280x800x24", options=(), starts_anew=False):
        read_end, write_end = os.pipe()
        super().__init__(
            ["Xvfb", "-displayfd", write_end, "-screen", "0", screen, "-nolisten", "tcp",
             "-extension", "GLX", *([] if starts_anew else ["-noreset"]), *options],
            pass_fds=[write_end], stderr=subprocess.DEVNULL)
        os.close(write_end)
        with os.fdopen(read_end) as numbers:
            number = numbers.readline().strip()
        if not number:
            raise AssertionError("Xvfb did not start; is it installed?")
        self.display = ":" + number


class Agent(Child):
    """The reference agent; its control messages are waited for in the order of their arrival."""

    def __init__(self, *options):
        super().__init__([AGENT, *options], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                         stderr=subprocess.PIPE, text=True)
        self._messages = queue.Queue()
        self._notes = queue.Queue()
        for stream, target in ((self.process.stdout, self._messages),
                               (self.process.stderr, self._notes)):
            threading.Thread(target=self._read, args=(stream, target), daemon=True).start()
        wait_until(SOCKET.exists, "the agent listens")

    @staticmethod
    def _read(stream, target):
        with contextlib.suppress(ValueError):  # closed at the end of the test
            for line in stream:
                target.put(line.rstrip("\n"))

    def send(self, *lines):
        for line in lines:
            text = json.dumps(line) if isinstance(line, dict) else line
            self.process.stdin.write(text + "\n")
        self.process.stdin.flush()

    def next_message(self):
        try:
            return json.loads(self._messages.get(timeout=PATIENCE))
        except queue.Empty:
            raise Timeout("no control message came") from None

    def wait_a_second(self):
        """By the agent, which carries its commands out in order. An alert answers from half of it on."""
        self.send("pause 1", "help")
        self.wait_for_note("startreading")

    def wait_for_note(self, text):
        """Waits for a line of the agent's own that contains `text`."""
        while True:
            try:
                line = self._notes.get(timeout=PATIENCE)
            except queue.Empty:
                raise Timeout(f"the agent did not say: {text}") from None
            if text in line:
                return line

    def has_no_message(self):
        return self._messages.empty()


class Case(unittest.TestCase):
    """A test with a display, a home folder, and helpers to start the program in them."""

    screen = "1280x800x24"
    server_options = ()

    def setUp(self):
        self.home = pathlib.Path(tempfile.mkdtemp(prefix="vesk-e2e-"))
        self.addCleanup(shutil.rmtree, self.home, ignore_errors=True)
        self.log_path = self.home / "Library" / "Logs" / "Vesk Remote.log"
        self.log_path.parent.mkdir(parents=True)
        self.server = self.start_server()

    def start_server(self):
        return self.start(XServer, self.screen, self.server_options)

    def start(self, kind, *arguments, **options):
        child = kind(*arguments, **options)
        self.addCleanup(child.end)
        return child

    def environment(self, **changes):
        """What the program's job gives it; a value of None takes a variable away."""
        environment = {
            "PATH": os.environ["PATH"], "HOME": str(self.home), "DISPLAY": self.server.display,
            "XDG_RUNTIME_DIR": str(self.home), "XPC_SERVICE_NAME": JOB, "LC_ALL": "C.UTF-8",
        }
        for name in os.environ:
            if name.endswith("SAN_OPTIONS"):
                environment[name] = os.environ[name]
        environment.update(changes)
        return {name: value for name, value in environment.items() if value is not None}

    def start_program(self, program=PROGRAM, arguments=(), **changes):
        return self.start(Child, [program, *arguments], self.environment(**changes),
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)

    def start_window_manager(self, *command):
        """Up to the moment at which it answers: one that is starting may lose a window."""
        self.start(Child, command, self.environment(), stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL)
        client = XClient(self.server.display)
        self.addCleanup(client.close)
        wait_until(client.ask_window_manager(), f"{command[0]} manages windows")

    def start_agent(self, *options):
        return self.start(Agent, *options)

    def log(self):
        """The messages of the log without their time stamps."""
        if not self.log_path.exists():
            return []
        lines = self.log_path.read_text(encoding="utf-8").splitlines()
        return [line.split(" ", 1)[1] for line in lines]

    def wait_for_log(self, message):
        wait_until(lambda: message in self.log(), f"the log says: {message}")


def isolate():
    """Gives this process, which run_isolated started, its own /run and its own /bin."""
    mount = ["mount", "-t", "tmpfs", "vesk-test", "/run"]
    subprocess.run(mount, check=True)
    upper, work = pathlib.Path("/run/bin-upper"), pathlib.Path("/run/bin-work")
    upper.mkdir()
    work.mkdir()
    subprocess.run(["mount", "-t", "overlay", "vesk-test", "-o",
                    f"lowerdir=/usr/bin,upperdir={upper},workdir={work}", "/usr/bin"], check=True)


def main():
    isolate()
    unittest.main(module="__main__", verbosity=2)
