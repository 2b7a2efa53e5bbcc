"""X servers that lack something: the program says what it cannot do, and does the rest."""

import contextlib
import itertools
import json

import harness
from harness import wait_until
from hiding_server import HidingServer
from xclient import XClient

NEEDED_FOR_THE_SCREEN = {"XFIXES", "DAMAGE", "MIT-SHM", "RANDR", "RENDER", "SHAPE", "Composite"}
NEEDED_FOR_INPUT = {"XTEST", "XKEYBOARD"}
MAY_LACK = sorted(NEEDED_FOR_THE_SCREEN | NEEDED_FOR_INPUT)


class OddServer(harness.Case):
    screen = "640x480x24"

    @contextlib.contextmanager
    def session(self, lacking, display):
        """A program with its agent, which has been greeted and has asked for a session: both times
        it hears the truth, and the same."""
        sees = not NEEDED_FOR_THE_SCREEN & set(lacking)
        touches = not NEEDED_FOR_INPUT & set(lacking)
        agent = harness.Agent()
        program = self.start_program(DISPLAY=display)
        try:
            hello = agent.next_message()
            self.assertEqual((hello["op"], hello["screenRecording"], hello["accessibility"]),
                             ("hello", sees, touches))
            agent.send({"op": "start", "input": True})
            self.assertEqual(agent.next_message(), {"op": "state", "state": "starting"})
            answer = agent.next_message()
            if sees:
                self.assertEqual(answer, {"op": "started", "width": 640, "height": 480,
                                          "accessibility": touches})
            else:
                self.assertEqual((answer["op"], answer.get("code")), ("fault", "screen-recording"))
            yield agent, program
        finally:
            program.end()
            agent.end()

    @contextlib.contextmanager
    def hiding(self, lacking):
        server = HidingServer(self.server.display, lacking)
        try:
            yield server.display
        finally:
            server.end()


class HiddenExtensions(OddServer):
    def test_whichever_one_or_two_are_lacking(self):
        for count in (1, 2):
            for lacking in itertools.combinations(MAY_LACK, count):
                with (self.subTest(lacking=lacking), self.hiding(lacking) as display,
                      self.session(lacking, display) as (_, program)):
                    self.assertTrue(program.is_running())

    def test_the_mouse_needs_no_key_map(self):
        lacking = ["XKEYBOARD"]
        client = XClient(self.server.display)
        self.addCleanup(client.close)
        with self.hiding(lacking) as display, self.session(lacking, display) as (agent, program):
            for message in ({"t": "k", "e": "down", "c": 0x14, "m": 1},
                            {"t": "k", "e": "up", "c": 0x14},
                            {"t": "m", "e": "wheel", "x": 0.25, "y": 0.25, "d": 1},
                            {"t": "u", "s": "a\N{GREEK SMALL LETTER ALPHA}\n"},
                            {"t": "m", "e": "down", "x": 0.5, "y": 0.5, "b": 0}):
                agent.send("input " + json.dumps(message))
            wait_until(lambda: client.pointer() == ((320, 240), {1}), "the button is held")
            agent.send("stop")
            wait_until(lambda: client.pointer() == ((320, 240), set()), "the button is let go of")
            self.assertTrue(program.is_running())


class RealServer(OddServer):
    """Without XFIXES, Xvfb itself goes down as soon as any client leaves: no connection may be
    closed before the answer is given."""

    def test_without_an_extension_of_the_screen(self):
        names = {"COMPOSITE": "Composite"}
        for option in ("XFIXES", "DAMAGE", "MIT-SHM", "RANDR", "RENDER", "COMPOSITE"):
            with self.subTest(extension=option):
                server = self.start(harness.XServer, self.screen, ["-extension", option])
                with self.session([names.get(option, option)], server.display) as (_, program):
                    self.assertEqual(program.wait(), 1)


class FewColours(OddServer):
    screen = "640x480x16"

    def test_the_greeting_and_the_start_say_that_the_screen_cannot_be_read(self):
        agent = harness.Agent()
        self.addCleanup(agent.end)
        self.start_program(DISPLAY=self.server.display)
        self.assertIs(agent.next_message()["screenRecording"], False)
        agent.send({"op": "start"})
        self.assertEqual(agent.next_message(), {"op": "state", "state": "starting"})
        self.assertEqual(agent.next_message()["code"], "screen-recording")


if __name__ == "__main__":
    harness.main()
