"""The whole program on a Wayland compositor: sessions, the question, the viewer's hands, and all their ends."""

import json
import resource
import signal
import subprocess

import harness
import wayland
from harness import wait_until
from sessions import AWAITING, DENIED, STARTING
from wayland import ESCAPE, KEY_A, RETURN

BLUE, RED = (32, 64, 96), (204, 13, 13)


def is_reddish(pixel):
    return pixel[0] > pixel[1] + 60 and pixel[0] > pixel[2] + 60


class Session(wayland.Case):
    def setUp(self):
        super().setUp()
        self.video = self.home / "video.h264"
        self.durations = self.home / "durations"
        self.agent = self.start_agent("--record", self.video, "--record-durations", self.durations)
        self.program = self.start_program()
        self.greeting = self.agent.next_message()
        # Painted by another program, which takes a moment.
        wait_until(lambda: self.picture().at(640, 400) == BLUE, "the background is painted")

    def units(self):
        if not self.durations.exists():
            return 0
        return self.durations.read_text(encoding="utf-8").count("\n")

    def run_session(self, width=1280, height=800, **members):
        self.agent.send({"op": "start", **members})
        self.assertEqual(self.agent.next_message(), STARTING)
        self.assertEqual(self.agent.next_message(), {
            "op": "started", "width": width, "height": height, "accessibility": True})
        before = self.units()
        wait_until(lambda: self.units() > before, "the video comes")

    def is_bordered(self, picture=None):
        picture = picture or self.picture()
        edge = picture.width - 3, picture.height // 2
        return is_reddish(picture.at(*edge)) and is_reddish(picture.at(2, picture.height // 2))

    def last_picture(self):
        """What the viewer sees in the end."""
        decoded = subprocess.run(
            ["ffmpeg", "-v", "error", "-i", self.video, "-f", "rawvideo", "-pix_fmt", "rgb24", "-"],
            capture_output=True, check=True, timeout=harness.PATIENCE)
        size = decoded.stdout[-1280 * 800 * 3:]
        return wayland.Picture(b"P6 1280 800 255\n" + size)

    def expect_like(self, pixel, wanted):
        for part, other in zip(pixel, wanted):
            self.assertAlmostEqual(part, other, delta=8, msg=f"{pixel} is not like {wanted}")


class Sessions(Session):
    def test_greets_as_what_it_is(self):
        self.assertEqual((self.greeting["screenRecording"], self.greeting["accessibility"]),
                         (True, True))
        self.wait_for_log("The desktop is a Wayland compositor of the wlroots kind.")

    def test_the_person_sees_strip_and_border_and_the_viewer_sees_neither(self):
        self.assertFalse(self.is_bordered())
        self.run_session(viewer="Anna")
        wait_until(self.is_bordered, "the border is in sight")
        seen = self.picture()
        self.assertTrue(is_reddish(seen.at(640 - 200, 20)), "the strip")
        start = self.units()
        wait_until(lambda: self.units() > start + 30, "it stays for a second")
        self.agent.send("stop", "disconnect")
        self.assertEqual(self.agent.next_message()["op"], "hello")
        wait_until(lambda: not self.is_bordered(), "the border is gone")
        shown = self.last_picture()
        for place in ((640, 400), (2, 400), (1277, 400), (640, 797), (440, 20), (640, 12), (300, 1)):
            self.expect_like(shown.at(*place), BLUE)

    def test_no_picture_of_the_video_shows_anything_of_its_own(self):
        for _ in range(3):
            self.run_session(viewer="Anna")
            self.agent.send("stop")
        self.agent.send("disconnect")
        while self.agent.next_message()["op"] != "hello":
            pass
        decoded = subprocess.run(
            ["ffmpeg", "-v", "error", "-i", self.video, "-vf", "scale=320:200:flags=area", "-f",
             "rawvideo", "-pix_fmt", "rgb24", "-"],
            capture_output=True, check=True, timeout=harness.PATIENCE).stdout
        reds = max(decoded[i] - decoded[i + 2] for i in range(0, len(decoded), 3))
        self.assertLess(reds, 0, "something red was seen")

    def test_shows_a_scaled_output_whole(self):
        self.server.command("output", "HEADLESS-1", "scale", 2)
        self.run_session(viewer="Anna")
        wait_until(self.is_bordered, "the border is in sight")

    def test_a_mode_that_changes_ends_it_and_the_next_start_works(self):
        self.run_session(viewer="Anna")
        self.server.command("output", "HEADLESS-1", "mode", "1024x768")
        fault = self.agent.next_message()
        self.assertEqual((fault["op"], fault["message"]),
                         ("fault", "The Mac stopped sharing its screen: "
                                   "The display changed its size or place."))
        wait_until(lambda: not self.is_bordered(), "the border is gone")
        self.run_session(width=1024, height=768)

    def test_ends_with_its_compositor(self):
        self.run_session(viewer="Anna")
        self.server.end(signal.SIGKILL)
        self.assertEqual(self.program.wait(), 0)

    def test_ends_within_a_question_with_its_compositor(self):
        self.agent.send({"op": "start", "viewer": "Anna", "consent": True})
        self.assertEqual(self.agent.next_message(), AWAITING)
        self.server.end(signal.SIGKILL)
        self.assertEqual(self.program.wait(), 0)

    def change_outputs(self):
        """As often as makes a compositor end a connection to which nobody listens."""
        self.server.carry_out(f"output HEADLESS-1 position {n % 2} 0" for n in range(1000))
        self.server.command("output", "HEADLESS-1", "position", 0, 0)

    def test_shows_the_border_also_after_outputs_have_changed_hundreds_of_times(self):
        self.change_outputs()
        self.run_session(viewer="Anna")
        wait_until(self.is_bordered, "the border is in sight")

    def test_shows_the_border_also_to_a_session_that_takes_the_last_descriptors(self):
        process = harness.pathlib.Path(f"/proc/{self.program.pid}/fd")
        # Libraries take some for themselves when they are first used.
        self.run_session()
        self.agent.send("stop", "disconnect")
        self.assertEqual(self.agent.next_message()["op"], "hello")
        at_rest = len(list(process.iterdir()))
        started = 0
        for spare in range(2, 12):
            resource.prlimit(self.program.pid, resource.RLIMIT_NOFILE, (at_rest + spare, 4096))
            self.agent.send({"op": "start", "viewer": "Anna"})
            self.assertEqual(self.agent.next_message(), STARTING)
            if self.agent.next_message()["op"] == "fault":
                continue
            started += 1
            wait_until(self.is_bordered, f"the border is in sight with {spare} descriptors")
            self.assertTrue(is_reddish(self.picture().at(640 - 200, 20)), "the strip")
            self.agent.send("stop", "disconnect")
            self.assertEqual(self.agent.next_message()["op"], "hello")
            wait_until(lambda: not self.is_bordered(), "the border is gone")
        self.assertGreater(started, 0)

    def test_shows_the_border_once_a_compositor_that_was_held_up_goes_on(self):
        def started():
            """Whether a session has come about though the compositor stood still."""
            lines = len(self.log())
            self.agent.send({"op": "start", "viewer": "Anna"})
            self.assertEqual(self.agent.next_message(), STARTING)
            wait_until(lambda: len(self.log()) > lines, "the capture begins")
            self.server.process.send_signal(signal.SIGSTOP)
            # Longer than the program waits for it.
            self.agent.send("pause 3", "help")
            self.agent.wait_for_note("startreading")
            self.server.process.send_signal(signal.SIGCONT)
            return self.agent.next_message()["op"] == "started"
        wait_until(started, "a session has started")
        try:
            wait_until(self.is_bordered, "the border is in sight")
        except harness.Timeout as timeout:
            raise AssertionError("\n".join([str(timeout), *self.log()])) from timeout

    def test_starts_and_stops_leave_nothing_behind(self):
        def footprint():
            process = harness.pathlib.Path(f"/proc/{self.program.pid}")
            return len(list((process / "fd").iterdir())), len(list((process / "task").iterdir()))
        self.run_session()
        self.agent.send("stop", "disconnect")
        self.assertEqual(self.agent.next_message()["op"], "hello")
        before = footprint()
        self.agent.send(*[{"op": op} for _ in range(50) for op in ("start", "stop")])

        def ended():
            self.agent.send("stop", "disconnect")
            while (message := self.agent.next_message())["op"] != "hello":
                self.assertIn(message["op"], ("state", "started"))
            return footprint() == before
        wait_until(ended, "nothing of the sessions is left")
        self.assertFalse(self.is_bordered())


class Consent(Session):
    def ask(self, *lines):
        self.agent.send(*lines, {"op": "start", "viewer": "Anna", "consent": True})
        self.assertEqual(self.agent.next_message(), AWAITING)
        wait_until(self.is_asked, "the alert is on the screen")

    def is_asked(self):
        return self.picture().at(640, 400) != BLUE

    def answer(self, hand, key):
        def gone():
            hand.tap(key)
            return not self.is_asked()
        wait_until(gone, "the alert is gone")

    def test_return_allows(self):
        hand = self.hand()
        self.ask()
        self.answer(hand, RETURN)
        self.assertEqual(self.agent.next_message(), STARTING)

    def test_escape_denies(self):
        hand = self.hand()
        self.ask()
        self.answer(hand, ESCAPE)
        self.assertEqual(self.agent.next_message(), DENIED)

    def test_the_viewer_cannot_answer(self):
        hand = self.hand()
        self.ask("allow-input")
        return_key = ('input {"t":"k","c":13,"e":"down"}', 'input {"t":"k","c":13,"e":"up"}')
        self.agent.send("pause 1", *return_key, "move 0.5 0.5", "click", *return_key)
        self.agent.send("viewer Bo")
        self.agent.wait_a_second()
        self.assertTrue(self.is_asked())
        self.assertTrue(self.agent.has_no_message())
        self.answer(hand, ESCAPE)
        self.assertEqual(self.agent.next_message(), DENIED)

    def test_a_key_that_was_held_before_answers_nothing(self):
        hand = self.hand()
        hand.down(RETURN)
        self.ask()
        self.agent.wait_a_second()
        hand.up(RETURN)
        self.agent.wait_a_second()
        self.assertTrue(self.is_asked())
        self.assertTrue(self.agent.has_no_message())

    def test_is_above_full_screen_and_has_the_keyboard_to_itself(self):
        hand = self.hand()
        receiver = self.start_receiver()
        hand.tap(KEY_A)
        wait_until(lambda: any("utf8: 'a'" in line for line in receiver.lines), "the key arrives")
        before = self.picture().at(640, 400)
        self.agent.send({"op": "start", "viewer": "Anna", "consent": True})
        self.assertEqual(self.agent.next_message(), AWAITING)
        wait_until(lambda: self.picture().at(640, 400) != before, "the alert is on the screen")
        seen = len(receiver.lines)
        self.agent.wait_a_second()
        hand.tap(ESCAPE)
        self.assertEqual(self.agent.next_message(), DENIED)
        wait_until(lambda: self.picture().at(640, 400) == before, "the alert is gone")
        # That a key is still down, which the focus brings along, is no stroke.
        wait_until(lambda: any("wl_keyboard] enter" in line for line in receiver.lines[seen:]),
                   "the window has the focus again")
        self.assertFalse([line for line in receiver.lines[seen:]
                          if "wl_keyboard] key:" in line and "state: 1" in line])
        hand.tap(KEY_A)
        wait_until(lambda: any("utf8: 'a'" in line for line in receiver.lines[seen:]),
                   "the window has the keyboard again")

    def test_asks_also_after_outputs_have_changed_hundreds_of_times(self):
        Sessions.change_outputs(self)
        hand = self.hand()
        self.ask()
        self.answer(hand, RETURN)
        self.assertEqual(self.agent.next_message(), STARTING)

    def test_asks_once_a_compositor_that_was_held_up_goes_on(self):
        hand = self.hand()
        self.server.process.send_signal(signal.SIGSTOP)
        self.agent.send({"op": "start", "viewer": "Anna", "consent": True})
        self.assertEqual(self.agent.next_message(), AWAITING)
        self.agent.send("pause 4", "help")
        self.agent.wait_for_note("startreading")
        self.server.process.send_signal(signal.SIGCONT)
        wait_until(self.is_asked, "the alert is on the screen")
        self.answer(hand, RETURN)
        self.assertEqual(self.agent.next_message(), STARTING)

    def test_its_end_takes_the_question_along(self):
        self.ask()
        self.assertEqual(self.program.end(signal.SIGTERM), 0)
        wait_until(lambda: not self.is_asked(), "the alert is gone")


class Input(wayland.LettingGo, Session):
    def setUp(self):
        super().setUp()
        self.person = self.hand()
        self.receiver = self.start_receiver()

    def test_reaches_the_screen_only_while_it_is_allowed(self):
        self.agent.send("move 0.5 0.5", "viewer Bo")
        self.allow()
        self.agent.send("deny-input", "move 0.75 0.75", "allow-input")
        wait_until(lambda: self.agent.send("move 0.25 0.5") or
                   self.receiver.pointer() == (320, 400), "the pointer has moved")
        self.assertFalse([line for line in self.receiver.lines if "x, y: 960" in line])

    def test_lets_go_also_of_what_a_held_up_compositor_did_not_hear_of(self):
        self.hold()
        self.server.process.send_signal(signal.SIGSTOP)
        self.agent.send("deny-input")
        self.agent.wait_a_second()
        self.server.process.send_signal(signal.SIGCONT)
        self.program.end(signal.SIGKILL)
        self.program = self.start_program()
        self.expect_release()

    def test_nothing_stays_pressed_when_the_program_is_killed(self):
        self.hold()
        self.program.end(signal.SIGKILL)
        # The compositor lets go of the keys, and the next start of the rest.
        wait_until(lambda: not self.receiver.keys(), "the keys are up")
        self.program = self.start_program()
        self.expect_release()

    def test_its_devices_end_with_it(self):
        before = self.server.ask("get_inputs")
        self.hold()
        self.assertNotEqual(self.server.ask("get_inputs"), before)
        self.agent.send("deny-input")
        wait_until(lambda: self.server.ask("get_inputs") == before, "the devices are gone")


class OtherOutput(Session):
    """One that becomes the main one while the session shows the first."""

    lines = ("output HEADLESS-1 position 2000 0",)

    def test_takes_no_hands_that_belong_to_the_one_that_is_watched(self):
        self.start(wayland.Hand, self.environment())
        receiver = self.start_receiver()
        self.run_session(viewer="Anna", input=True)
        for words in (("create_output",),
                      ("output", "HEADLESS-2", "mode", "800x600", "position", 0, 0)):
            self.server.command(*words)
        wait_until(lambda: any((output["rect"]["x"], output["rect"]["width"]) == (0, 800)
                               for output in self.server.ask("get_outputs")), "it is at the origin")
        for place, inside in (("0.25 0.5", (320, 400)), ("0.5 0.25", (640, 200))):
            wait_until(lambda: self.agent.send("move " + place) or receiver.pointer() == inside,
                       "the pointer is on the one that is watched")
        self.agent.send("stop")
        self.run_session(width=800, height=600, viewer="Anna")


class Text(Session):
    def test_types_any_character_into_a_terminal(self):
        typed = self.home / "typed"
        self.hand()
        self.start(harness.Child, ["foot", "sh", "-c", f"stty -echo -icanon; echo on > {typed}.on; exec cat > {typed}"],
                   self.environment(), stderr=subprocess.DEVNULL)
        wait_until(harness.pathlib.Path(f"{typed}.on").exists, "the terminal reads")
        wait_until(lambda: '"app_id": "foot"' in json.dumps(self.server.ask("get_tree")),
                   "the window is there")
        text = "äZ€中😀 ok привет αβγ «ß»"
        self.agent.send("allow-input")

        def read():
            return typed.read_text(encoding="utf-8", errors="replace") if typed.exists() else ""
        wait_until(lambda: self.agent.send("type .") or "." in read(),
                   "the viewer's text is obeyed")
        self.agent.send("type " + text)
        wait_until(lambda: text in read(), f"the text is there: {read()}")


if __name__ == "__main__":
    harness.main()
