"""What ends, ends: stops and losses at every moment, agents that do not read, signals, floods."""

import fcntl
import json
import pathlib
import signal
import struct
import subprocess
import termios
import time

import harness
from harness import wait_until
from raw_agent import RawAgent, frame
from sessions import Person
from xclient import XClient

SHIFT_DOWN = {"t": "k", "c": 160, "e": "down", "m": 1}
BUTTON_DOWN = {"t": "m", "e": "down", "x": 0.5, "y": 0.5, "b": 0}
MEBIBYTE = 1 << 20


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


class Ends(Person):
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

    # At every moment

    def test_a_stop_is_never_lost_however_soon_it_follows_its_start(self):
        for delay in range(25):
            with self.subTest(milliseconds=delay):
                self.agent.say(op="start", input=True)
                self.agent.wait_for("state")
                time.sleep(delay / 1000)  # the moment is what is tried, not something to wait for
                self.agent.say(op="stop")
                self.assertIn("accessibility", self.agent.wait_for("started"))
                self.expect_clear()
                self.expect_no_hands()
                self.agent.say(op="stop")
                self.expect_clear()

    def test_a_loss_is_never_lost_however_soon_it_follows_the_start(self):
        for delay in range(0, 25, 2):
            with self.subTest(milliseconds=delay):
                self.agent.say(op="start", input=True)
                self.agent.wait_for("state")
                time.sleep(delay / 1000)  # as above
                self.agent.disconnect()
                self.agent.connect()
                units = self.agent.units
                self.expect_clear()
                self.agent.say_input(**SHIFT_DOWN)
                self.run_session()
                self.assertFalse(self.client.held_keys())
                wait_until(lambda: self.agent.units > units, "the session's own video comes")
                self.assertEqual(self.agent.first_types[0], 7, "it begins with a key frame")
                self.agent.say(op="stop")
                self.expect_clear()

    # An agent that does not read

    def hold_up(self):
        """A session whose agent has stopped reading, with everything full."""
        self.draw()
        self.run_session(input=True, fps=60, bitrateKbps=8000)
        self.hold()
        self.agent.stop_reading()

        def is_full():
            before = self.agent.unread()
            time.sleep(0.3)  # some twenty pictures
            return before > 10_000 and self.agent.unread() == before
        wait_until(is_full, "the program finds no more room")

    def expect_to_end_soon(self, *messages):
        began = time.monotonic()
        for message in messages:
            self.agent.say(**message)
        wait_until(lambda: not self.client.held_keys() and not self.client.pointer()[1],
                   "keys and buttons are up")
        taken = time.monotonic() - began
        self.assertLess(taken, 1)
        return taken

    def test_ends_for_an_agent_that_does_not_read(self):
        self.hold_up()
        self.expect_to_end_soon({"op": "stop"})
        self.expect_clear()
        self.agent.read_on()
        self.agent.first_types.clear()
        self.expect_no_hands()
        wait_until(lambda: 7 in self.agent.first_types, "the next session has its key frame")
        self.assertEqual(self.agent.complaints, [])

    def test_withdraws_input_for_an_agent_that_does_not_read(self):
        self.hold_up()
        self.expect_to_end_soon({"op": "input", "allowed": False})

    def test_ends_after_a_second_start_of_an_agent_that_does_not_read(self):
        self.hold_up()
        self.expect_to_end_soon({"op": "start"}, {"op": "start"}, {"op": "stop"})
        self.expect_clear()
        self.agent.disconnect()
        self.agent.connect()
        self.run_session()

    # Signals

    def expect_to_end_by(self, number):
        began = time.monotonic()
        self.program.process.send_signal(number)
        self.assertEqual(self.program.wait(), 0)
        self.assertLess(time.monotonic() - began, 1)
        self.expect_clear()

    def test_lets_go_of_everything_when_a_signal_asks_for_its_end(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            with self.subTest(signal=number.name):
                self.run_session(input=True)
                self.hold()
                self.expect_to_end_by(number)
                self.agent.disconnect()
                self.program = self.start_program()
                self.agent.connect()

    def test_ends_by_a_signal_with_the_alert_open_and_while_its_agent_does_not_read(self):
        self.agent.say(op="start", consent=True)
        wait_until(self.alerts, "the alert is on the screen")
        self.expect_to_end_by(signal.SIGTERM)
        self.agent.disconnect()
        self.program = self.start_program()
        self.agent.connect()
        self.hold_up()
        self.expect_to_end_by(signal.SIGTERM)

    # Floods

    def most_memory(self):
        """The most memory in bytes that the program has had so far."""
        status = pathlib.Path(f"/proc/{self.program.pid}/status").read_text()
        return int(status.split("VmHWM:")[1].split()[0]) * 1024

    def expect_answer_soon(self):
        """The next start is answered; a flood that came before it is over by then."""
        self.agent.forget()
        began = time.monotonic()
        self.agent.say(op="stop")
        self.run_session()
        self.assertLess(time.monotonic() - began, 2)
        self.agent.say(op="stop")

    def test_takes_little_memory_for_any_flood(self):
        self.run_session(input=True)
        self.agent.say(op="stop")
        self.expect_clear()
        self.agent.say(op="input", allowed=True)
        junk = frame(2, b"{" + b" " * (MEBIBYTE - 1))
        deep = frame(1, b'{"op":"viewer","name":' + b"[" * (MEBIBYTE // 2) + b"]" * 10)
        wide = frame(1, b'{"op":"viewer","x":[' + b"0," * (MEBIBYTE // 2 - 20) + b"0]}")
        names = frame(1, json.dumps({"op": "viewer", "name": "\u0301" * 150_000}).encode())
        keys = b"".join(frame(1, b'{"%d":0}' % i) for i in range(100_000))
        clicks = frame(2, json.dumps(BUTTON_DOWN | {"e": "wheel", "d": 1}).encode()) * 20_000
        before = self.most_memory()
        for flood in (junk * 200, deep * 8, wide * 8, names * 8, keys, clicks, junk * 20):
            self.agent.send(flood)
        self.expect_answer_soon()
        self.assertLess(self.most_memory() - before, 16 * MEBIBYTE)

    def test_answers_after_twenty_thousand_starts_and_stops(self):
        pair = frame(1, b'{"op":"start"}') + frame(1, b'{"op":"stop"}')
        self.agent.send(pair * 10_000)
        self.expect_answer_soon()
        self.expect_clear()

    def test_writes_a_hundred_lines_of_a_kind(self):
        self.agent.say(op="input", allowed=True)
        for code in (19, 255, -3):
            self.agent.send(frame(2, json.dumps({"t": "k", "c": code, "e": "down"}).encode()) * 900)
            self.run_session(input=True)
            self.agent.say(op="stop")
        self.assertEqual(sum("No Mac key" in line for line in self.log()), 100)

    def test_shows_the_question_whatever_the_name(self):
        for name in ("\u0301" * 150_000, "W" * 300_000, "\u202e", "\u200b"):
            with self.subTest(name=name[:1].encode("unicode_escape")):
                self.agent.say(op="start", consent=True, viewer=name)
                wait_until(self.alerts, "the alert is on the screen")
                self.answer("Escape")
                self.agent.wait_for("denied")


if __name__ == "__main__":
    harness.main()
