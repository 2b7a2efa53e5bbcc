"""Floods: whatever comes, and however fast, costs little memory, time and log."""

import json
import pathlib
import time

import harness
from harness import wait_until
from raw_agent import frame
from raw_sessions import BUTTON_DOWN, RawSessions

MEBIBYTE = 1 << 20


class Floods(RawSessions):
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
        # The queue is busy with text, which nobody has the focus for, when the same comes on and on.
        text = json.dumps({"t": "u", "s": "".join(map(chr, range(0x4E00, 0x5000)))}).encode()
        allow = frame(2, text) * 200 + frame(1, b'{"op":"input","allowed":true}') * 200_000
        before = self.most_memory()
        for flood in (junk * 200, deep * 8, wide * 8, names * 8, keys, clicks, allow, junk * 20):
            self.agent.send(flood)
        self.expect_answer_soon()
        self.assertLess(self.most_memory() - before, 16 * MEBIBYTE)

    def test_answers_after_twenty_thousand_starts_and_stops(self):
        pair = frame(1, b'{"op":"start"}') + frame(1, b'{"op":"stop"}')
        self.agent.send(pair * 10_000)
        self.expect_answer_soon()
        self.expect_clear()

    def test_writes_a_hundred_lines_of_a_kind(self):
        self.run_session(input=True)
        for code in (19, 255, -3):
            self.agent.send(frame(2, json.dumps({"t": "k", "c": code, "e": "down"}).encode()) * 900)
            before = self.client.pointer()
            self.agent.say_input(t="m", e="move", x=abs(code) / 300, y=0.5)
            wait_until(lambda: self.client.pointer() != before, "all keys are through")
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
