"""A session of the whole program on a desktop that shares its screen by a portal, up to the video."""

import subprocess

import gnome
import harness
import wayland
from harness import wait_until
from sessions import STARTING

def is_reddish(pixel):
    return pixel[0] > pixel[1] + 60 and pixel[0] > pixel[2] + 60


class Session(gnome.Case):
    def setUp(self):
        super().setUp()
        self.empty = self.picture()
        self.video = self.home / "video.h264"
        self.durations = self.home / "durations"
        self.agent = self.start_agent("--record", self.video, "--record-durations", self.durations)
        self.program = self.start_program()
        self.greeting = self.agent.next_message()

    def units(self):
        if not self.durations.exists():
            return 0
        return self.durations.read_text(encoding="utf-8").count("\n")

    def ask_portal(self):
        """Up to the portal's question."""
        self.agent.send({"op": "start", "viewer": "Anna"})
        self.assertEqual(self.agent.next_message(), STARTING)
        self.dialog.wait_for()

    def expect_session(self, may_control=True):
        """From the portal's question to the video."""
        self.dialog.allow(may_control)
        self.assertEqual(self.agent.next_message(), {
            "op": "started", "width": gnome.WIDTH, "height": gnome.HEIGHT, "accessibility": True})
        before = self.units()
        wait_until(lambda: self.units() > before, "the video comes")
        self.dialog.wait_for_end()

    def run_session(self, may_control=True):
        self.ask_portal()
        self.expect_session(may_control)

    def expect_fault(self, beginning, *reasons):
        fault = self.agent.next_message()
        self.assertEqual(fault["op"], "fault")
        self.assertIn(fault["message"], [beginning + reason for reason in reasons])
        wait_until(lambda: not self.is_bordered(), "the border is gone")

    def expect_none_started(self, *reasons):
        self.expect_fault("The Mac could not share its screen: ", *reasons)

    def expect_end(self, *reasons):
        self.expect_fault("The Mac stopped sharing its screen: ", *reasons)

    def is_bordered(self):
        picture = self.picture()
        return is_reddish(picture.at(2, 400)) and is_reddish(picture.at(gnome.WIDTH - 3, 400))

    def last_picture(self, width=gnome.WIDTH, height=gnome.HEIGHT):
        """What the viewer sees in the end."""
        decoded = subprocess.run(
            ["ffmpeg", "-v", "error", "-i", self.video, "-f", "rawvideo", "-pix_fmt", "rgb24", "-"],
            capture_output=True, check=True, timeout=harness.PATIENCE)
        size = width * height * 3
        return wayland.Picture(b"P6 %d %d 255\n" % (width, height) + decoded.stdout[-size:])

    def expect_like(self, pixel, wanted, place):
        for part, other in zip(pixel, wanted):
            self.assertAlmostEqual(part, other, delta=12,
                                   msg=f"{pixel} is not like {wanted} at {place}")
