"""Viewing sessions from their request to their end."""

import signal
import subprocess

import harness
from harness import wait_until
from sessions import STARTING, Session


class Sessions(Session):
    def test_sends_a_still_screen_at_the_full_rate_and_decodes_without_a_warning(self):
        self.run_session(fps=30)
        self.wait_for_units(90)
        self.agent.send("stop")
        self.expect_silence()
        units = self.units()
        self.assertEqual((units[0][0], units[0][2]), (3000, "key"))
        ticks = sorted(ticks for ticks, _, _ in units)
        self.assertAlmostEqual(ticks[len(ticks) // 2], 3000, delta=300)
        decoded = subprocess.run(["ffmpeg", "-v", "warning", "-i", self.video, "-f", "null", "-"],
                                 capture_output=True, text=True, timeout=harness.PATIENCE)
        self.assertEqual((decoded.returncode, decoded.stderr), (0, ""))

    def test_a_key_frame_comes_when_asked_for_and_with_a_second_start(self):
        self.run_session()
        self.wait_for_units(5)
        for request, answers in (({"op": "keyframe"}, 0), ({"op": "start", "input": True}, 1)):
            keys = sum(kind == "key" for _, _, kind in self.units())
            self.agent.send(request)
            for _ in range(answers):
                self.assertEqual(self.agent.next_message(),
                                 {"op": "started", "width": 1280, "height": 800})
            wait_until(lambda: sum(kind == "key" for _, _, kind in self.units()) > keys,
                       "a key frame has come")

    def test_nothing_is_in_sight_or_sent_after_a_stop(self):
        before = self.overlays()
        self.run_session(viewer="Anna")
        self.wait_for_units(3)
        self.agent.send("stop", "stop")
        self.expect_silence()
        count = len(self.units())
        wait_until(lambda: self.overlays() == before, "the overlays are gone")
        self.run_session()
        self.wait_for_units(count + 1)
        self.assertEqual(self.units()[count][2], "key")

    def test_ends_with_its_agent_and_may_be_started_by_the_next(self):
        self.run_session()
        self.wait_for_units(3)
        self.agent.end(signal.SIGKILL)
        self.wait_for_log("Lost the Vesk agent; reconnecting.")
        self.agent = self.start_agent("--record-durations", self.durations)
        self.assertEqual(self.agent.next_message()["op"], "hello")
        self.run_session()
        self.wait_for_units(3)

    def test_fifty_starts_and_stops_without_waiting_leave_nothing_behind(self):
        before = self.settled_footprint()
        self.agent.send(*[{"op": op} for _ in range(50) for op in ("start", "stop")])
        # A stop that comes before its start has begun to capture stops nothing, so a session may
        # be running now: the starts are answered in any case, and one more stop ends it.
        def ended():
            self.agent.send("stop", "disconnect")
            while (message := self.agent.next_message())["op"] != "hello":
                self.assertIn(message["op"], ("state", "started"))
            return self.footprint() == before
        wait_until(ended, "nothing of the sessions is left")
        self.run_session()


class WithoutRecording(Session):
    server_options = ("-extension", "DAMAGE")

    def test_the_fault_is_told_and_the_program_ends(self):
        self.agent.send({"op": "start"})
        self.assertEqual(self.agent.next_message(), STARTING)
        self.assertEqual(self.agent.next_message(), {
            "op": "fault", "code": "screen-recording",
            "message": "Screen Recording has not been allowed for Vesk Remote on this Mac. Someone "
                       "at the Mac must turn it on once: System Settings › Privacy & Security › "
                       "Screen & System Audio Recording."})
        self.assertEqual(self.program.wait(), 1)


if __name__ == "__main__":
    harness.main()
