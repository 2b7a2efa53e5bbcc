"""Sessions with an agent that speaks in raw bytes, and what must be gone when they end."""

import fcntl
import json
import struct
import subprocess
import termios

import harness
from harness import wait_until
from raw_agent import RawAgent, frame
from sessions import Person
from xclient import XClient

SHIFT_DOWN = {"t": "k", "c": 160, "e": "down", "m": 1}
BUTTON_DOWN = {"t": "m", "e": "down", "x": 0.5, "y": 0.5, "b": 0}


class Agent(RawAgent):
    """Remembers whether the video of a connection began with a key frame."""

    def connect(self):
        self.first_types = []
        super().connect()

    def end(self):
        super().end()
        harness.SOCKET.unlink()

    def say_input(self, **message):
        return self.send(frame(2, json.dumps(message).encode()))

    def unread(self):
        """Bytes of the program's that wait to be read."""
        count = bytearray(4)
        fcntl.ioctl(self._socket, termios.FIONREAD, count)
        return struct.unpack("i", count)[0]

    def _hear(self, kind, payload):
        if kind == 3:
            self.first_types.append(payload[8] & 0x1F)
        super()._hear(kind, payload)


class RawSessions(Person):
    def setUp(self):
        super().setUp()
        self.agent = Agent()
        self.addCleanup(self.agent.end)
        self.program = self.start_program()
        self.agent.connect()
        self.client = XClient(self.server.display)
        self.addCleanup(self.client.close)
        self.bare = self.client.in_sight()

    def run_session(self, **members):
        """A session that runs: only its own start is answered with the word on accessibility."""
        self.agent.forget()
        self.agent.say(op="start", **members)
        self.assertIn("accessibility", self.agent.wait_for("started", "fault"))

    def hold(self):
        """The viewer holds a key and a button."""
        self.agent.say_input(**SHIFT_DOWN)
        self.agent.say_input(**BUTTON_DOWN)
        wait_until(lambda: self.client.held_keys() and self.client.pointer()[1], "both are down")

    def is_clear(self):
        """No banner, and nothing pressed."""
        return (self.client.in_sight() == self.bare and not self.client.held_keys()
                and not self.client.pointer()[1])

    def expect_clear(self):
        wait_until(self.is_clear, "banner, keys and buttons are gone")

    def expect_no_hands(self):
        """What the viewer does now moves nothing."""
        before = self.client.pointer()
        for place in (0.1, 0.9):
            self.agent.say_input(t="m", e="move", x=place, y=place)
        self.agent.say_input(**SHIFT_DOWN)
        self.run_session()
        self.assertEqual(self.client.pointer(), before)
        self.assertFalse(self.client.held_keys())

    def draw(self):
        """Something that changes all the time, so that the video soon fills every buffer."""
        self.start(harness.Child, ["xterm", "-geometry", "200x60", "-e",
                                   "while sleep 0.02; do seq $RANDOM | tail -n 60; done"],
                   self.environment(SHELL="/bin/bash"), stderr=subprocess.DEVNULL)
        wait_until(lambda: self.client.in_sight() > self.bare, "there is something to see")
        self.bare = self.client.in_sight()
