"""The program on KDE's compositor without a screen, of which no picture comes: the way to a session, the question to the person, and their ends."""

import signal

import harness
import kwin
from harness import wait_until
from sessions import AWAITING, DENIED, STARTING
from wayland import ESCAPE, KEY_A, RETURN

MIDDLE = (640, 400)
NO_PICTURE = {"op": "fault", "message": "The Mac could not share its screen: The desktop sends no "
                                        "picture of its screen."}


class Case(kwin.Case):
    def setUp(self):
        super().setUp()
        self.empty = self.picture().at(*MIDDLE)
        self.agent = self.start_agent()
        self.program = self.start_program()
        self.greeting = self.agent.next_message()


class Session(Case):
    def test_greets_as_what_it_is_and_has_a_session_as_far_as_the_picture(self):
        self.assertEqual((self.greeting["screenRecording"], self.greeting["accessibility"]),
                         (True, True))
        self.wait_for_log("The desktop is a Wayland desktop that shares its screen by a portal.")
        self.agent.send({"op": "start", "viewer": "Anna"})
        self.assertEqual(self.agent.next_message(), STARTING)
        self.assertEqual(self.agent.next_message(), NO_PICTURE)
        self.assertIn("start streaming", self.server.dialogs.said.read_text(encoding="utf-8"))
        self.assertEqual(self.picture().at(2, 400), self.empty, "there is no border")
        self.assertTrue(self.program.is_running())


class Consent(Case):
    def ask(self):
        self.agent.send({"op": "start", "viewer": "Anna", "consent": True})
        self.assertEqual(self.agent.next_message(), AWAITING)
        wait_until(self.is_asked, "the alert is on the screen")

    def is_asked(self):
        return self.picture().at(*MIDDLE) != self.empty

    def button(self):
        """The middle of the one that allows, which has the alert's only colour beneath its text."""
        picture = self.picture()
        rows = [(x, y) for y in range(400, 500) for x in range(MIDDLE[0], 800)
                if picture.at(x, y)[2] > picture.at(x, y)[0] + 80]
        return tuple((min(values) + max(values)) // 2 for values in zip(*rows))

    def test_a_key_that_was_held_before_answers_nothing_and_return_allows(self):
        self.person.down(RETURN)
        self.ask()
        self.agent.wait_a_second()
        self.person.up(RETURN)
        self.person.tap(KEY_A)
        self.agent.wait_a_second()
        self.assertTrue(self.is_asked())
        self.assertTrue(self.agent.has_no_message())
        self.person.tap(RETURN)
        self.assertEqual(self.agent.next_message(), STARTING)
        wait_until(lambda: not self.is_asked(), "the alert is gone")

    def test_a_click_allows(self):
        self.ask()
        self.agent.wait_a_second()
        self.person.click(*self.button())
        self.assertEqual(self.agent.next_message(), STARTING)
        wait_until(lambda: not self.is_asked(), "the alert is gone")

    def test_is_above_full_screen_has_the_keyboard_to_itself_and_ends_with_the_program(self):
        receiver = self.start_receiver()
        self.empty = self.picture().at(*MIDDLE)
        self.ask()
        seen = len(receiver.lines)
        self.agent.wait_a_second()
        self.person.tap(ESCAPE)
        self.assertEqual(self.agent.next_message(), DENIED)
        wait_until(lambda: not self.is_asked(), "the alert is gone")
        wait_until(lambda: any("wl_keyboard] enter" in line for line in receiver.lines[seen:]),
                   "the window has the focus again")
        self.assertFalse([line for line in receiver.lines[seen:]
                          if "wl_keyboard] key:" in line and "state: 1" in line])
        self.person.tap(KEY_A)
        wait_until(lambda: any("utf8: 'a'" in line for line in receiver.lines[seen:]),
                   "the window has the keyboard again")
        self.ask()
        self.assertEqual(self.program.end(signal.SIGTERM), 0)
        wait_until(lambda: not self.is_asked(), "the alert is gone")

    def test_ends_with_the_compositor(self):
        self.ask()
        self.server.compositor.end(signal.SIGKILL)
        self.assertEqual(self.program.wait(), 0)


if __name__ == "__main__":
    harness.main()
