"""What the tests of viewing sessions share: a session, what it left behind, and the person."""

import pathlib
import subprocess

import harness
from harness import wait_until
from xclient import XClient

AWAITING = {"op": "state", "state": "awaiting-consent"}
STARTING = {"op": "state", "state": "starting"}
DENIED = {"op": "denied", "message": "The person at the Mac did not allow it."}


class Session(harness.Case):
    """The program with its agent, which records the video, under a window manager."""

    def setUp(self):
        super().setUp()
        self.start_window_manager("openbox")
        self.video = self.home / "video.h264"
        self.durations = self.home / "durations"
        self.agent = self.start_agent("--record", self.video, "--record-durations", self.durations)
        self.program = self.start_program()
        self.agent.next_message()

    def units(self):
        """Duration in ticks, size and kind of each access unit so far, the one of which only a
        part of the line is there yet left out."""
        if not self.durations.exists():
            return []
        *lines, _ = self.durations.read_text().split("\n")
        return [(int(ticks), int(size), kind) for ticks, size, kind in map(str.split, lines)]

    def run_session(self, **members):
        self.agent.send({"op": "start", **members})
        self.assertEqual(self.agent.next_message(), STARTING)
        started = self.agent.next_message()
        self.assertEqual(started, {"op": "started", "width": 1280, "height": 800,
                                   "accessibility": True})

    def wait_for_units(self, count):
        wait_until(lambda: len(self.units()) >= count, f"{count} access units have come")

    def overlays(self):
        """How many windows of the program are in sight."""
        tree = subprocess.run(["xwininfo", "-root", "-tree"], env=self.environment(),
                              capture_output=True, text=True, timeout=harness.PATIENCE).stdout
        return sum("Vesk Remote" in line and " 1x1+" not in line for line in tree.splitlines())

    def footprint(self):
        """How many descriptors, threads and windows the program has."""
        process = pathlib.Path(f"/proc/{self.program.pid}")
        return (len(list((process / "fd").iterdir())), len(list((process / "task").iterdir())),
                self.overlays())

    def settled_footprint(self):
        """The footprint behind a first session: libraries start threads when they are first used."""
        self.run_session()
        self.agent.send("stop")
        self.expect_silence()
        return self.footprint()

    def expect_silence(self):
        """Nothing more is sent: what was asked before the greeting of a new connection is done."""
        self.agent.send("disconnect")
        self.assertEqual(self.agent.next_message()["op"], "hello")


class Person(harness.Case):
    """The person at the screen, with keyboard and mouse."""

    def person(self, *arguments):
        result = subprocess.run(["xdotool", *arguments], env=self.environment(),
                                capture_output=True, text=True, timeout=harness.PATIENCE)
        return result.stdout.split()

    def alerts(self):
        return self.person("search", "--onlyvisible", "--name", "^Vesk Remote$")

    def answer(self, key):
        """Presses a key until the alert has taken it: the first half second does not count."""
        alert = self.alerts()

        def gone():
            self.person("key", key)
            return self.alerts() != alert
        wait_until(gone, f"the alert is gone after {key}")


class HoldingViewer(Person):
    """A viewer whose input is allowed, and who holds something, before the person is asked."""

    def setUp(self):
        super().setUp()
        self.start_window_manager("openbox")
        self.client = XClient(self.server.display)
        self.addCleanup(self.client.close)
        self.agent = self.start_agent()
        self.program = self.start_program()
        self.agent.next_message()
        self.agent.send("allow-input")

        def moved():
            self.agent.send("move 0.1 0.1")
            return self.client.pointer()[0] == (128, 80)
        wait_until(moved, "the viewer's input is obeyed")

    def ask_while_holding(self, key, modifiers=0):
        self.agent.send('input {"t":"k","c":%d,"e":"down","m":%d}' % (key, modifiers))
        wait_until(self.client.held_keys, "the key is down")
        self.agent.send({"op": "start", "viewer": "Anna", "consent": True})
        self.assertEqual(self.agent.next_message(), AWAITING)
        wait_until(self.alerts, "the alert is on the screen")
