"""The whole program on a desktop that shares its screen by a portal: sessions, both questions, and all their ends."""

import signal
import subprocess

import gnome
import harness
from harness import wait_until
from portal_session import Session, is_reddish
from sessions import AWAITING, DENIED, STARTING
from wayland import ESCAPE, RETURN

MIDDLE = (640, 400)

WITHDRAWN = ("The desktop asked whether to share the screen, and the session was over before the "
             "answer.")
REFUSED = "The desktop asked whether to share the screen, and got a no."
PORTAL_GONE = "The desktop's portal, which shares the screen, has ended."
BUS_GONE = "The desktop's message bus cannot be reached."
# By itself, or by Qt where that sees first that the compositor's X server has ended.
OWN_ENDS = (0, 1)


class Sessions(Session):
    def test_greets_as_what_it_is(self):
        self.assertEqual((self.greeting["screenRecording"], self.greeting["accessibility"]),
                         (True, True))
        self.wait_for_log("The desktop is a Wayland desktop that shares its screen by a portal.")
        self.assertFalse(self.dialog.is_there(), "nobody is asked before there is a session")

    def test_the_person_sees_strip_and_border_and_the_viewer_sees_neither(self):
        self.assertFalse(self.is_bordered())
        self.run_session()
        wait_until(self.is_bordered, "the border is in sight")
        self.assertTrue(is_reddish(self.picture().at(640 - 200, 20)), "the strip")
        start = self.units()
        wait_until(lambda: self.units() > start + 30, "it stays for a second")
        self.agent.send("stop", "disconnect")
        self.assertEqual(self.agent.next_message()["op"], "hello")
        wait_until(lambda: not self.is_bordered(), "the border is gone")
        shown = self.last_picture()
        for place in (MIDDLE, (2, 400), (1277, 400), (640, 797), (440, 20), (640, 12), (300, 1)):
            self.expect_like(shown.at(*place), self.empty.at(*place), place)

    def test_the_viewer_sees_what_is_on_the_screen(self):
        self.run_session()
        receiver = self.start_receiver()
        start = self.units()
        wait_until(lambda: self.units() > start + 15, "the video goes on")
        receiver.end()
        wait_until(lambda: self.picture().at(*MIDDLE) == self.empty.at(*MIDDLE), "the window is gone")
        self.assertEqual(self.seen_greys(), [False, True, False])

    def seen_greys(self):
        """Whether the middle was grey, as it is with a window there, or blue, in the order of the video.
        A window is seen through while it comes and goes; that is neither."""
        decoded = subprocess.run(
            ["ffmpeg", "-v", "error", "-i", self.video, "-vf", "scale=128:80:flags=area", "-f",
             "rawvideo", "-pix_fmt", "rgb24", "-"],
            capture_output=True, check=True, timeout=harness.PATIENCE).stdout
        seen = []
        for picture in range(0, len(decoded), 128 * 80 * 3):
            middle = picture + (40 * 128 + 64) * 3
            blueness = decoded[middle + 2] - decoded[middle]
            if 12 < blueness < 40:
                continue
            is_grey = blueness <= 12
            if seen[-1:] != [is_grey]:
                seen.append(is_grey)
        return seen

    def test_refused_at_the_portal_it_is_a_fault_and_the_next_one_works(self):
        self.ask_portal()
        self.dialog.refuse()
        self.expect_none_started(REFUSED)
        self.dialog.wait_for_end()
        self.run_session()

    def test_can_be_had_again(self):
        for _ in range(3):
            self.run_session()
            self.agent.send("stop", "disconnect")
            self.assertEqual(self.agent.next_message()["op"], "hello")
            wait_until(lambda: not self.is_bordered(), "the border is gone")

    def test_starts_and_stops_leave_nothing_behind(self):
        def footprint():
            process = harness.pathlib.Path(f"/proc/{self.program.pid}")
            return len(list((process / "fd").iterdir())), len(list((process / "task").iterdir()))

        def end():
            self.agent.send("stop", "disconnect")
            self.assertEqual(self.agent.next_message()["op"], "hello")
        self.run_session()
        end()
        before = footprint()
        for _ in range(3):
            self.run_session()
            end()
        wait_until(lambda: footprint() == before, "nothing of the sessions is left")
        self.assertFalse(self.is_bordered())


class TwoMonitors(gnome.Mutter):
    beside = (1024, 768)


class OtherMonitor(Session):
    """Where the person shares another monitor than the main one."""

    def setUp(self):
        super().setUp()
        self.watching = self.start(gnome.Hand, self.server, "Meta-1")
        self.bare = self.watching.picture()

    def start_server(self):
        return TwoMonitors(self)

    def share_it(self):
        self.ask_portal()
        self.dialog.choose_second_monitor()
        self.dialog.allow(may_control=False)
        width, height = TwoMonitors.beside
        self.assertEqual(self.agent.next_message(),
                         {"op": "started", "width": width, "height": height, "accessibility": True})
        wait_until(lambda: self.units() > 0, "the video comes")
        self.dialog.wait_for_end()

    def has_sign(self):
        picture = self.watching.picture()
        return all(is_reddish(picture.at(*place))
                   for place in ((2, 384), (1021, 384), (512, 765), (512 - 200, 20)))

    def test_is_the_one_with_the_sign_and_the_one_that_the_viewer_sees(self):
        self.share_it()
        wait_until(self.has_sign, "strip and border are in sight")
        self.assertEqual(self.picture().pixels, self.empty.pixels, "nothing is on the other one")
        start = self.units()
        wait_until(lambda: self.units() > start + 30, "it stays for a second")
        self.agent.send("stop", "disconnect")
        self.assertEqual(self.agent.next_message()["op"], "hello")
        wait_until(lambda: self.watching.picture().pixels == self.bare.pixels, "the sign is gone")
        shown = self.last_picture(*TwoMonitors.beside)
        for place in ((512, 384), (2, 384), (1021, 384), (512, 765), (312, 20), (512, 12), (1, 1)):
            self.expect_like(shown.at(*place), self.bare.at(*place), place)
        self.run_session()


class Questions(Session):
    """The program's own one, and then the portal's."""

    def ask(self):
        self.agent.send({"op": "start", "viewer": "Anna", "consent": True})
        self.assertEqual(self.agent.next_message(), AWAITING)
        wait_until(lambda: self.picture().at(*MIDDLE) != self.empty.at(*MIDDLE),
                   "the alert is on the screen")

    def answer(self, key):
        """Until the alert has taken it: the first half second does not count."""
        def answered():
            self.person.tap(key)
            self.picture()  # as a person looks between two strokes
            return not self.agent.has_no_message()
        wait_until(answered, "the alert is answered")

    def test_are_put_one_after_the_other(self):
        self.ask()
        self.assertFalse(self.dialog.is_there())
        self.answer(RETURN)
        self.assertEqual(self.agent.next_message(), STARTING)
        self.dialog.wait_for()
        self.expect_session()

    def test_the_portal_asks_nothing_where_the_first_answer_is_no(self):
        self.ask()
        self.answer(ESCAPE)
        self.assertEqual(self.agent.next_message(), DENIED)
        wait_until(lambda: self.picture().pixels == self.empty.pixels, "the screen is empty")
        self.agent.send("disconnect")
        self.assertEqual(self.agent.next_message()["op"], "hello")
        self.assertFalse(self.dialog.is_there())

    def test_its_end_takes_the_first_question_along(self):
        self.ask()
        self.assertEqual(self.program.end(signal.SIGTERM), 0)
        wait_until(lambda: self.picture().pixels == self.empty.pixels, "the alert is gone")

    def test_a_stop_takes_the_portals_question_away(self):
        self.ask_portal()
        self.agent.send("stop")
        self.dialog.wait_for_end()
        self.expect_none_started(WITHDRAWN)
        self.run_session()

    def test_a_stop_that_comes_before_the_portals_question_takes_it_away(self):
        self.agent.send({"op": "start"}, "stop")
        self.assertEqual(self.agent.next_message(), STARTING)
        self.expect_none_started(WITHDRAWN)

    def test_the_portals_question_stays_where_only_input_is_denied(self):
        self.ask_portal()
        self.agent.send("deny-input")
        self.expect_session()

    def test_no_viewer_answers_the_portals_question(self):
        for _ in range(2):
            self.agent.send({"op": "start", "input": True})
            self.assertEqual(self.agent.next_message(), STARTING)
            self.dialog.wait_for()
        self.dialog.allow()
        self.assertEqual(self.agent.next_message()["op"], "started")
        self.dialog.wait_for()
        x, y = self.dialog.SHARE
        self.agent.send(*(f"move {x / gnome.WIDTH} {y / gnome.HEIGHT}", "click") * 3)
        start = self.units()
        wait_until(lambda: self.units() > start + 30, "a second goes by")
        self.assertTrue(self.dialog.is_there())
        self.agent.send("stop")
        self.expect_none_started(WITHDRAWN)

    def test_an_agent_that_leaves_takes_the_portals_question_away(self):
        self.ask_portal()
        self.agent.send("disconnect")
        self.dialog.wait_for_end()
        self.assertEqual(self.agent.next_message()["op"], "hello")
        self.run_session()

    def test_the_programs_end_takes_the_portals_question_away(self):
        self.ask_portal()
        self.assertEqual(self.program.end(signal.SIGTERM), 0)
        self.dialog.wait_for_end()

    def test_the_programs_death_takes_the_portals_question_away(self):
        self.ask_portal()
        self.program.end(signal.SIGKILL)
        self.dialog.wait_for_end()

    def test_a_portal_that_ends_while_it_asks_is_a_fault_and_the_next_one_works(self):
        self.ask_portal()
        self.server.portal.end(signal.SIGKILL)
        self.expect_none_started(PORTAL_GONE)
        self.dialog.wait_for_end()
        self.server.start_portal()
        self.run_session()

    def test_ends_with_its_compositor_while_the_portal_asks(self):
        self.ask_portal()
        self.server.compositor.end(signal.SIGKILL)
        self.assertIn(self.program.wait(), OWN_ENDS)


class Ends(Session):
    def setUp(self):
        super().setUp()
        self.run_session()

    def test_the_desktops_own_end_of_it_is_a_fault(self):
        # Without which the compositor ends what it shares, as it does where the person says so.
        self.server.pipewire.end(signal.SIGKILL)
        fault = self.agent.next_message()
        self.assertEqual(fault["op"], "fault")
        self.assertTrue(fault["message"].startswith("The Mac stopped sharing its screen: "), fault)
        self.assertTrue(self.program.is_running())

    def test_the_portals_end_is_a_fault_and_the_next_one_works(self):
        self.server.portal.end(signal.SIGKILL)
        self.expect_end(PORTAL_GONE)
        self.server.start_portal()
        self.run_session()

    def test_the_buss_end_is_a_fault(self):
        self.server.bus.end(signal.SIGKILL)
        fault = self.agent.next_message()
        self.assertEqual((fault["op"], fault["message"]),
                         ("fault", "The Mac stopped sharing its screen: " + BUS_GONE))

    def test_ends_with_its_compositor(self):
        self.server.compositor.end(signal.SIGKILL)
        self.assertIn(self.program.wait(), OWN_ENDS)

    def test_outlives_a_desktop_that_is_held_up(self):
        for part in (self.server.portal, self.server.bus, self.server.pipewire):
            part.process.send_signal(signal.SIGSTOP)
        self.agent.send("stop", "disconnect")
        self.assertEqual(self.agent.next_message()["op"], "hello")
        for part in (self.server.portal, self.server.bus, self.server.pipewire):
            part.process.send_signal(signal.SIGCONT)
        wait_until(lambda: not self.is_bordered(), "the border is gone")
        self.run_session()


if __name__ == "__main__":
    harness.main()
