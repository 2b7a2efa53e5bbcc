"""The viewer's hands on a desktop that shares its screen by a portal."""

import signal
import subprocess

import harness
import wayland
from harness import wait_until
from portal_session import Session
from wayland import KEY_A


class Input(wayland.LettingGo, Session):
    def setUp(self):
        super().setUp()
        self.run_session()
        self.receiver = self.start_receiver()

    def test_reaches_the_screen_only_while_it_is_allowed(self):
        self.agent.send("move 0.375 0.5", "viewer Bo")
        self.allow()
        self.agent.send("deny-input", "move 0.625 0.5", "allow-input")
        wait_until(lambda: self.agent.send("move 0.5 0.5") or self.receiver.place() == (640, 400),
                   "the pointer has moved")
        self.assertFalse([line for line in self.receiver.lines
                          if "x, y: 161" in line or "x, y: 481" in line])

    def test_goes_through_the_strip_that_the_person_sees(self):
        self.allow()
        self.agent.send("move 0.5 0.01", "click", "move 0.5 0.375", "click")
        wait_until(lambda: len([line for line in list(self.receiver.lines)
                                if "wl_pointer] button" in line]) >= 2, "the window is clicked")
        self.assertTrue(self.is_bordered())

    def test_nothing_stays_pressed_when_the_program_is_killed(self):
        self.hold()
        self.program.end(signal.SIGKILL)
        self.expect_release()

    def test_nothing_stays_pressed_when_the_portal_is_killed(self):
        self.hold()
        self.server.portal.end(signal.SIGKILL)
        self.expect_release()


class View(Session):
    """The person lets the viewer look, and touch nothing."""

    def test_nobody_gets_the_viewers_input(self):
        self.run_session(may_control=False)
        receiver = self.start_receiver()
        seen = len(receiver.lines)
        self.agent.send("allow-input", "move 0.5 0.25", "click", "key 65", "type Hello", "wheel 1",
                        "deny-input", "disconnect")
        # Each end of input waits for what comes before it.
        self.assertEqual(self.agent.next_message()["op"], "hello")
        self.person.tap(KEY_A)

        def told():
            return "\n".join(receiver.lines[seen:])
        wait_until(lambda: told().count("wl_keyboard] key:") >= 2, "the person's own key arrives")
        self.assertIn("utf8: 'a'", told())
        self.assertNotRegex(told(), r"wl_pointer\] (motion|button|axis)")
        self.assertEqual(told().count("wl_keyboard] key:"), 2)
        self.assertTrue(self.program.is_running())


class Text(Session):
    def test_types_what_the_layout_has_and_counts_the_rest(self):
        self.run_session()
        typed = self.home / "typed"
        self.start(harness.Child,
                   ["foot", "sh", "-c",
                    f"stty -echo -icanon; echo on > {typed}.on; exec cat > {typed}"],
                   self.environment(), stderr=subprocess.DEVNULL)
        wait_until(harness.pathlib.Path(f"{typed}.on").exists, "the terminal reads")
        self.agent.send("allow-input")

        def read():
            return typed.read_text(encoding="utf-8", errors="replace") if typed.exists() else ""
        wait_until(lambda: self.agent.send("type .") or "." in read(),
                   "the viewer's text is obeyed")
        self.agent.send("type Hello, ä中 World! 100 %", "key 13")
        wait_until(lambda: "Hello,  World! 100 %" in read(), f"the text is there: {read()}")
        self.agent.send("deny-input")
        self.wait_for_log("The keyboard's layout lacks 2 characters that the viewer typed.")


if __name__ == "__main__":
    harness.main()
