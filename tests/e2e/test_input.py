"""The viewer's input through the whole program, as the X server sees it."""

import signal

import harness
import letting_go
from harness import wait_until
from xclient import XClient

SHIFT, KEY_A = 50, 38  # keycodes of Xvfb's keyboard


class Input(letting_go.LettingGo, harness.Case):
    def setUp(self):
        super().setUp()
        self.agent = self.start_agent()
        self.program = self.start_program()
        self.agent.next_message()
        self.x = XClient(self.server.display)
        self.addCleanup(self.x.close)

    def allow(self):
        """Allows input, and waits until that has taken hold: input is not kept for then."""
        self.agent.send("allow-input")

        def moved():
            self.agent.send("move 0.1 0.1")
            return self.x.pointer()[0] == (128, 80)
        wait_until(moved, "the pointer moves")

    def hold(self):
        """A button, a modifier and a key that the viewer does not let go of."""
        self.press()
        wait_until(lambda: self.x.held_keys() == {SHIFT, KEY_A}, "the keys are down")
        self.assertEqual(self.x.pointer(), ((640, 200), {1}))

    def expect_release(self):
        wait_until(lambda: not self.x.held_keys(), "the keys are up")
        wait_until(lambda: not self.x.pointer()[1], "the button is up")

    def test_reaches_the_screen_only_while_it_is_allowed(self):
        before = self.x.pointer()
        self.agent.send("move 0.5 0.5", "viewer Bo")
        self.allow()
        self.assertNotEqual(before, self.x.pointer())
        self.agent.send("move 0.25 0.5")
        wait_until(lambda: self.x.pointer()[0] == (320, 400), "the pointer has moved")

    def test_lets_go_when_the_program_is_told_to_end_or_killed(self):
        for number in (signal.SIGTERM, signal.SIGKILL):
            self.hold()
            self.program.end(number)
            self.program = self.start_program()
            self.agent.next_message()
            self.expect_release()

    def test_does_not_let_go_of_what_the_person_holds(self):
        person = self.start(harness.Child, ["xdotool", "keydown", "b"], self.environment())
        self.assertEqual(person.wait(), 0)
        held = self.x.held_keys()
        self.assertEqual(len(held), 1)
        self.allow()
        self.agent.send("key 65 down")
        wait_until(lambda: self.x.held_keys() == held | {KEY_A}, "the key is down")
        self.agent.send("stop")
        wait_until(lambda: self.x.held_keys() == held, "only the person's key is down")


if __name__ == "__main__":
    harness.main()
