"""A viewer who holds Alt, with which window managers take keys and clicks for themselves, keeps the
person from nothing."""

import re
import subprocess

import harness
from harness import wait_until
from sessions import DENIED, HoldingViewer

ALT, ALT_IN_MASK = 18, 4


class AltHeld(HoldingViewer):
    def setUp(self):
        super().setUp()
        self.ask_while_holding(ALT, ALT_IN_MASK)

    def place(self, window):
        facts = subprocess.run(["xwininfo", "-id", window], env=self.environment(), check=True,
                               capture_output=True, text=True, timeout=harness.PATIENCE).stdout
        return [int(re.search(rf"{fact}: +(-?\d+)", facts)[1])
                for fact in ("Absolute upper-left X", "Absolute upper-left Y", "Width", "Height")]

    def expect_refusal(self):
        self.assertEqual(self.agent.next_message(), DENIED)
        self.assertFalse(self.client.held_keys())

    def test_the_person_can_refuse_by_mouse(self):
        alert, = self.alerts()
        x, y, width, height = self.place(alert)
        self.person("mousemove", str(x + width - 68), str(y + height - 32))

        def gone():
            self.person("click", "1")
            return self.alerts() != [alert]
        wait_until(gone, "the alert is gone after a click")
        self.expect_refusal()

    def test_the_person_can_refuse_by_key(self):
        self.answer("Escape")
        self.expect_refusal()


if __name__ == "__main__":
    harness.main()
