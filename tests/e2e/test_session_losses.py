"""Sessions that lose something on their way: the agent, its patience, or the display."""

import pathlib
import signal
import subprocess

import harness
from harness import wait_until
from sessions import AWAITING, STARTING, Person, Session
from xclient import XClient


class Losses(Session, Person):
    def next_agent(self):
        """An agent in the place of the one that is gone; the program greets it."""
        agent = self.start_agent("--record-durations", self.durations)
        self.assertEqual(agent.next_message()["op"], "hello")
        return agent

    def expect_to_stop(self, before):
        """A stop ends whatever runs, and a session can be begun as ever."""
        def ended():
            self.agent.send("stop")
            self.expect_silence()
            return self.footprint() == before
        wait_until(ended, "nothing of the session is left")
        self.run_session()

    def ask(self):
        self.agent.send({"op": "start", "consent": True})
        self.assertEqual(self.agent.next_message(), AWAITING)
        wait_until(self.alerts, "the alert is on the screen")

    def test_a_refusal_after_the_agent_was_lost_starts_nothing(self):
        overlays = self.overlays()
        self.ask()
        self.agent.end(signal.SIGKILL)
        self.answer("Escape")
        self.agent = self.next_agent()
        self.expect_silence()
        self.assertEqual(self.overlays(), overlays)
        self.run_session()

    def test_what_the_person_allowed_to_an_agent_that_was_lost_starts_nothing_for_the_next(self):
        overlays = self.overlays()
        self.ask()
        self.agent.end(signal.SIGKILL)
        self.agent = self.next_agent()
        self.answer("Return")
        self.expect_silence()
        self.assertEqual(self.overlays(), overlays)
        self.run_session()

    def test_the_agent_is_lost_while_capture_starts(self):
        before = self.settled_footprint()
        self.agent.send({"op": "start"})
        self.assertEqual(self.agent.next_message(), STARTING)
        self.agent.end(signal.SIGKILL)
        self.agent = self.next_agent()
        self.expect_to_stop(before)

    def test_the_agent_is_lost_while_the_viewer_holds_a_key(self):
        self.run_session(input=True)
        client = XClient(self.server.display)
        self.addCleanup(client.close)

        def pressed():
            self.agent.send("key 65 down")
            return client.held_keys()
        wait_until(pressed, "the key is down")
        self.agent.end(signal.SIGKILL)
        wait_until(lambda: not client.held_keys(), "the key is up")
        self.agent = self.next_agent()
        self.run_session()

    # An agent that does not read

    def draw(self):
        """Something that changes all the time, so that the video soon fills every buffer."""
        self.start(harness.Child, ["xterm", "-geometry", "200x60", "-e",
                                   "while sleep 0.02; do seq $RANDOM | tail -n 60; done"],
                   self.environment(SHELL="/bin/bash"), stderr=subprocess.DEVNULL)

    def is_blocked(self):
        """Whether the encoder waits for room in the agent's socket: otherwise it sleeps between
        pictures."""
        tasks = pathlib.Path(f"/proc/{self.program.pid}/task")
        return any((task / "comm").read_text() == "encoder\n" and "poll" in (task / "wchan").read_text()
                   for task in tasks.iterdir())

    def stop_reading(self):
        self.draw()
        self.run_session(bitrateKbps=8000)
        self.wait_for_units(10)
        self.agent.send("stopreading")
        wait_until(self.is_blocked, "the program waits for its agent")

    def test_goes_on_when_its_agent_reads_again_after_ten_seconds(self):
        self.stop_reading()
        count = len(self.units())
        self.agent.send("pause 10", "startreading")
        self.wait_for_units(count + 60)
        self.assertFalse(self.is_blocked())
        self.agent.send("stop")
        self.expect_silence()
        decoded = subprocess.run(["ffmpeg", "-v", "error", "-i", self.video, "-f", "null", "-"],
                                 capture_output=True, text=True, timeout=harness.PATIENCE)
        self.assertEqual((decoded.returncode, decoded.stderr), (0, ""))

    def test_outlives_an_agent_that_never_reads_again(self):
        before = self.settled_footprint()
        self.stop_reading()
        self.agent.end(signal.SIGKILL)
        self.agent = self.next_agent()
        self.expect_to_stop(before)

    # The display

    def test_tells_of_a_display_that_changes_and_captures_it_anew(self):
        overlays = self.overlays()
        self.run_session()
        self.wait_for_units(3)
        # Xvfb carries the change out and complains of it all the same.
        subprocess.run("xrandr --newmode small 8 640 656 656 720 480 490 490 500;"
                       "xrandr --addmode screen small; xrandr --output screen --mode small",
                       shell=True, env=self.environment(), stderr=subprocess.DEVNULL)
        reason = "The display changed its size or place."
        self.assertEqual(self.agent.next_message(), {
            "op": "fault", "message": f"The Mac stopped sharing its screen: {reason}"})
        self.wait_for_log(f"Capture stopped: {reason}")
        wait_until(lambda: self.overlays() == overlays, "the overlays are gone")
        self.agent.send({"op": "start"})
        self.assertEqual(self.agent.next_message(), STARTING)
        self.assertEqual(self.agent.next_message(), {"op": "started", "width": 640, "height": 480,
                                                     "accessibility": True})


if __name__ == "__main__":
    harness.main()
