"""What ends, ends: stops and losses at every moment, agents that do not read, signals."""

import signal
import time

import harness
from harness import wait_until
from raw_sessions import SHIFT_DOWN, RawSessions


class Ends(RawSessions):
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
            time.sleep(0.5)  # some thirty pictures
            return before > 0 and self.agent.unread() == before
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

if __name__ == "__main__":
    harness.main()
