"""The whole program under an agent that says anything, a viewer who does anything and a person who
sometimes answers: at the end nothing has changed.

What is done is told by the seed alone, step by step; how far it gets is told by the time. Both come
from the environment: VESK_FUZZ_SEED (a new one unless it is set) and VESK_FUZZ_SECONDS.
"""

import os
import pathlib
import random
import subprocess
import time

import fuzz_frames
import harness
from harness import wait_until
from raw_agent import RawAgent, frame
from xclient import XClient

SEED = int(os.environ.get("VESK_FUZZ_SEED") or random.SystemRandom().randrange(1 << 32))
SECONDS = float(os.environ.get("VESK_FUZZ_SECONDS", 60))

# A desktop on which nothing that is pressed or typed starts or ends anything.
MANAGER = """<?xml version="1.0"?>
<openbox_config xmlns="http://openbox.org/3.4/rc">
  <focus><focusNew>yes</focusNew></focus>
  <keyboard/>
  <mouse><context name="Client"><mousebind button="Left" action="Press">
    <action name="Focus"/><action name="Raise"/></mousebind></context></mouse>
</openbox_config>
"""
RECEIVER = ["xterm", "-xrm", "*omitTranslation: popup-menu", "-e", "sh", "-c",
            "stty raw -echo; exec cat >/dev/null"]


class Footprint:
    """What the program has of the system's."""

    def __init__(self, pid):
        process = pathlib.Path(f"/proc/{pid}")
        self.descriptors = len(list((process / "fd").iterdir()))
        self.threads = len(list((process / "task").iterdir()))
        status = (process / "status").read_text()
        # Without the fonts that were looked into: the system takes those back as it likes.
        self.resident = next(int(line.split()[1]) for line in status.splitlines()
                             if line.startswith("RssAnon"))

    def __repr__(self):
        return f"{self.descriptors} descriptors, {self.threads} threads, {self.resident} KiB"


class Fuzz(harness.Case):
    # An instrumented build keeps what is freed, up to a bound of its own.
    most_growth = 64 * 1024 if "ASAN_OPTIONS" in os.environ else 16 * 1024  # KiB
    most_log_lines = 2000

    def setUp(self):
        super().setUp()
        manager = self.home / "openbox.xml"
        manager.write_text(MANAGER)
        self.start_window_manager("openbox", "--config-file", str(manager))
        self.x = XClient(self.server.display)
        self.addCleanup(self.x.close)
        self.start(harness.Child, RECEIVER, self.environment(), stderr=subprocess.DEVNULL)
        wait_until(self.managed_windows, "the receiver is there")
        self.receiver = self.managed_windows()
        self.agent = RawAgent()
        self.addCleanup(self.agent.end)
        self.program = self.start(harness.Child, [harness.PROGRAM], self.environment())
        self.agent.connect()

    # The person's side

    def tool(self, *command):
        return subprocess.run(command, env=self.environment(), capture_output=True, text=True,
                              timeout=harness.PATIENCE).stdout

    def managed_windows(self):
        words = self.tool("xprop", "-root", "_NET_CLIENT_LIST").replace(",", " ").split()
        return {word for word in words if word.startswith("0x")}

    def alerts(self):
        return self.managed_windows() - self.receiver

    def answer(self, key):
        if self.alerts():
            self.tool("xdotool", "key", key)

    def keyboard(self):
        """What is mapped to the keys: text borrows some of them and gives them back. Locks are no
        part of it, since the viewer has their keys."""
        return self.tool("xmodmap", "-pke").splitlines()

    def overlays(self):
        tree = self.tool("xwininfo", "-root", "-tree")
        return sum("Vesk Remote" in line and " 1x1+" not in line for line in tree.splitlines())

    # The agent's side

    def send(self, data):
        """Over a new connection when the program has taken the last one for lost."""
        if not self.agent.send(data):
            self.reconnect()

    def reconnect(self, rudely=False):
        self.agent.disconnect(rudely)
        self.agent.connect()

    def say(self, **message):
        if not self.agent.say(**message):
            self.reconnect()

    # What may happen in a step

    def random_frames(self, chance):
        for _ in range(chance.randrange(1, 40)):
            self.send(fuzz_frames.random_frame(chance))

    def nearly_messages(self, chance):
        for _ in range(chance.randrange(1, 40)):
            self.send(fuzz_frames.nearly_a_message(chance))

    def frame_in_pieces(self, chance):
        data = fuzz_frames.nearly_a_message(chance)
        cut = chance.randrange(len(data) + 1)
        self.send(data[:cut])
        if chance.random() < 0.5:
            self.reconnect()
        else:
            self.send(data[cut:])

    def length_at_the_limit(self, chance):
        size = chance.choice([1_048_575, 1_048_576])
        self.send(frame(chance.choice([0, 1, 2, 3, 255]), chance.randbytes(64) + bytes(size - 64)))

    def length_above_the_limit(self, chance):
        length = chance.choice([1_048_577, 0x7fffffff, 0x80000000, 0xffffffff])
        self.agent.send(frame(chance.choice([0, 1, 2, 3]), b"", length))
        self.reconnect()

    def input_burst(self, chance):
        self.say(op="input", allowed=chance.random() < 0.8)
        for _ in range(chance.randrange(1, 200)):
            self.send(fuzz_frames.input_message(chance))

    def session(self, chance):
        self.say(op="start", **fuzz_frames.start_members(chance))
        time.sleep(chance.choice([0, 0, 0.02, 0.2, 0.5]))
        for _ in range(chance.randrange(60)):
            self.send(fuzz_frames.input_message(chance))
        if chance.random() < 0.7:
            self.say(op="stop")

    def consent(self, chance):
        self.say(op="start", consent=True, **fuzz_frames.start_members(chance))
        if chance.random() < 0.3:
            self.say(op="stop")
        time.sleep(chance.choice([0, 0.1, 0.7]))
        for _ in range(chance.randrange(30)):
            self.send(fuzz_frames.input_message(chance))
        if chance.random() < 0.8:
            self.answer(chance.choice(["Return", "Escape"]))

    def answer_what_is_there(self, chance):
        self.answer(chance.choice(["Return", "Escape", "Tab"]))

    def no_reading(self, chance):
        self.agent.stop_reading()
        if chance.random() < 0.7:
            self.session(chance)
        for _ in range(chance.randrange(1, 100)):
            if not self.agent.send(fuzz_frames.input_message(chance)):
                break
        time.sleep(chance.choice([0.1, 0.5, 1.5]))
        self.agent.read_on()

    def disconnection(self, chance):
        if chance.random() < 0.5:
            self.agent.say(op="start", **fuzz_frames.start_members(chance))
        self.reconnect(rudely=chance.random() < 0.5)

    WEIGHTS = {
        random_frames: 6, nearly_messages: 12, frame_in_pieces: 3, length_at_the_limit: 2,
        length_above_the_limit: 1, input_burst: 10, session: 8, consent: 4,
        answer_what_is_there: 6, no_reading: 2, disconnection: 2,
    }

    def step(self, number):
        chance = random.Random(f"{SEED}/{number}")
        action = chance.choices(list(self.WEIGHTS), list(self.WEIGHTS.values()))[0]
        begun = time.monotonic()
        action(self, chance)
        if os.environ.get("VESK_FUZZ_VERBOSE"):
            print(f"{number} {action.__name__} {time.monotonic() - begun:.2f} s, "
                  f"{Footprint(self.program.pid)}", flush=True)
        self.assertTrue(self.program.is_running(), f"it ended in step {number}")
        self.assertEqual(self.agent.complaints, [], f"in step {number}")

    # What must hold

    def rest(self):
        """Everything is over: what is left is what an idle program has."""
        self.say(op="stop")
        self.expect_answer_to_a_start()
        wait_until(lambda: not self.x.held_keys(), "no key is held")
        wait_until(lambda: not self.x.pointer()[1], "no button is held")
        wait_until(lambda: self.overlays() == 0, "no overlay is left")
        self.expect_keyboard_as_before()
        self.assertTrue(self.program.is_running())
        wait_until(lambda: not {"screen", "encoder"} & self.threads(), "no thread of a session is left")
        return Footprint(self.program.pid)

    def threads(self):
        """By name. Those of a session end behind its stop, not in it."""
        tasks = pathlib.Path(f"/proc/{self.program.pid}/task").glob("*/comm")
        names = set()
        for task in tasks:
            try:
                names.add(task.read_text().strip())
            except OSError:  # it has just ended
                pass
        return names

    def expect_keyboard_as_before(self):
        try:
            wait_until(lambda: self.keyboard() == self.keyboard_before, "the keyboard is as before")
        except harness.Timeout:
            self.assertEqual(self.keyboard(), self.keyboard_before)

    def expect_answer_to_a_start(self):
        """Behind everything that was asked before, and every alert of it."""
        self.reconnect()
        self.say(op="start")

        def started():
            self.answer("Escape")
            return self.agent.heard("started")
        wait_until(started, "a start is answered")
        before = self.agent.units
        wait_until(lambda: self.agent.units > before, "there is video")
        self.say(op="stop")

    def test_leaves_everything_as_it_was(self):
        print(f"VESK_FUZZ_SEED={SEED} VESK_FUZZ_SECONDS={SECONDS}", flush=True)
        self.keyboard_before = self.keyboard()
        footprints = []
        number = 0
        for part in (1, 2):
            deadline = time.monotonic() + SECONDS / 2
            while time.monotonic() < deadline:
                self.step(number)
                number += 1
            footprints.append(self.rest())
            print(f"after {number} steps: {footprints[-1]}, {self.agent.units} access units, "
                  f"{len(self.log())} lines of log", flush=True)
        middle, end = footprints
        self.assertEqual((end.descriptors, end.threads), (middle.descriptors, middle.threads))
        self.assertLessEqual(end.resident - middle.resident, self.most_growth)
        self.assertLessEqual(len(self.log()), self.most_log_lines)


if __name__ == "__main__":
    harness.main()
