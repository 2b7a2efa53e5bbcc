"""Nothing that the viewer has on its way when the question is put answers it."""

import json
import signal
import subprocess
import time

import harness
from harness import wait_until
from raw_agent import frame
from raw_sessions import RawSessions

MEBIBYTE = 1 << 20
RETURN_DOWN = {"t": "k", "c": 13, "e": "down"}


class Queued(RawSessions):
    def setUp(self):
        super().setUp()
        self.start_window_manager("openbox")
        self.bare = self.client.in_sight()

    def ask(self):
        self.agent.forget()
        self.agent.say(op="stop")
        self.agent.say(op="start", consent=True, viewer="Anna")
        # Strip and border have the alert's name too.
        wait_until(lambda: len(self.alerts()) == 1, "nothing but the alert is on the screen")

    def expect_the_person_to_decide(self):
        # Longer than the server waits before it repeats a key, and then dozens of repeats; no event
        # tells that nothing happens.
        time.sleep(2)
        self.assertTrue(self.alerts())
        self.assertFalse(self.client.held_keys())
        self.answer("Return")
        self.agent.wait_for("started")
        self.agent.say(op="stop")

    def test_a_key_whose_release_waits_behind_a_long_queue(self):
        for _ in range(3):
            self.run_session(input=True)
            self.agent.say_input(**RETURN_DOWN)
            self.agent.send(frame(2, b"{" + b" " * (MEBIBYTE - 1)) * 60)
            self.ask()
            self.expect_the_person_to_decide()

    def test_text_on_its_way_into_a_program_that_does_not_answer(self):
        for _ in range(3):
            terminal = self.start(harness.Child, ["xterm"], self.environment(SHELL="/bin/cat"),
                                  stderr=subprocess.DEVNULL)
            wait_until(lambda: self.person("search", "--onlyvisible", "--class", "XTerm"),
                       "the terminal is on the screen")
            terminal.process.send_signal(signal.SIGSTOP)
            self.run_session(input=True)
            text = "".join(map(chr, range(0x4E00, 0x4E00 + 300))) + "\n"
            for _ in range(5):
                self.agent.say_input(t="u", s=text)
            self.ask()
            self.expect_the_person_to_decide()
            terminal.end()


class TimeOfTheEnd(RawSessions):
    """How long after its end input goes on: what a client of the server's hears of it."""

    def setUp(self):
        super().setUp()
        self.client.watch_keys()

    def expect_an_early_end(self, messages, between=b"", **end):
        """What comes after an end is counted from the moment at which the agent has said it."""
        self.run_session(input=True)
        begun = time.monotonic()
        self.agent.send(b"".join(frame(2, json.dumps(message).encode()) for message in messages))
        wait_until(self.client.keys_heard, "the first keys have come")
        self.agent.send(between)
        if end:
            self.agent.say(**end)
        else:
            self.agent.disconnect()
        said = heard = time.monotonic()
        while time.monotonic() - heard < 1:
            if self.client.keys_heard(within=1):
                heard = time.monotonic()
        self.assertGreater(self.client.last_key, begun)
        self.assertLess(self.client.last_key - said, 0.25)
        self.assertFalse(self.client.held_keys())
        if not end:
            self.agent.connect()
        self.agent.say(op="stop")
        self.expect_clear()

    def test_of_two_hundred_messages_of_foreign_text(self):
        texts = [{"t": "u", "s": "".join(chr(0x4E00 + 512 * i % 16384 + j) for j in range(512))}
                 for i in range(200)]
        self.expect_an_early_end(texts, op="stop")
        self.expect_an_early_end(texts, op="input", allowed=False)
        self.expect_an_early_end(texts)

    def test_behind_a_flood_of_requests(self):
        texts = [{"t": "u", "s": "".join(chr(0x4E00 + 512 * i + j) for j in range(512))}
                 for i in range(30)]
        flood = b"".join(frame(1, json.dumps({"op": "viewer", "name": f"{i}" + "aя日\u0301" * 20})
                               .encode()) for i in range(2000))
        self.expect_an_early_end(texts, flood, op="stop")
        self.expect_an_early_end(texts, flood, op="input", allowed=False)
        self.expect_an_early_end(texts, frame(1, b'{"op":"start"}') * 1000, op="stop")

    def test_of_a_message_of_marks(self):
        marks = {"t": "u", "s": ("a" + "\u0301" * 500) * 200}
        self.expect_an_early_end([marks] * 3, op="stop")


if __name__ == "__main__":
    harness.main()
