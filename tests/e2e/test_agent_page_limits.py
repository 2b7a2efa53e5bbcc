"""What is kept for a page or a program that does not read, and that nothing waits for them."""

import os
import struct
import sys
import threading
import time
import unittest

from agent_page import DELTA, KEY, PageCase
from agent_support import DEADLINE, frame, video
from page_client import BINARY

PICTURE = 16 * 1024  # four megabits a second at thirty pictures


class PageLimitsTest(PageCase):
    def test_a_program_that_does_not_read_holds_the_page_up(self):
        program, viewer = self.watching()
        count = 1000
        payload = b'\2{"t":"u","s":"' + b"x" * 50_000 + b'"}'

        def flood():
            for _ in range(count):
                viewer.send(BINARY, payload)

        thread = threading.Thread(target=flood)
        thread.start()
        # The rest waits in the sockets: the agent takes no more than it can pass on.
        limit = time.monotonic() + 1
        while thread.is_alive() and time.monotonic() < limit:
            thread.join(0.1)
        self.assertTrue(thread.is_alive())
        self.assertLess(resident_bytes(self.agent.process.pid), 200_000_000)
        for _ in range(count):
            self.assertEqual(program.receive_frame(), (2, payload[1:]))
        thread.join(DEADLINE)

    def test_a_viewer_that_leaves_a_stuck_program_leaves_its_seat(self):
        self.program()
        cookie = self.address.cookie()
        viewer = self.viewer(cookie)
        self.assertEqual(viewer.next(), {"program": "connected"})
        viewer.socket.settimeout(1)
        with self.assertRaises(TimeoutError):
            while True:
                viewer.send(BINARY, b'\2{"t":"u","s":"' + b"x" * 50_000 + b'"}')
        viewer.close()  # which the agent does not read

        # The one that comes back is let in, within the time that a reload may take.
        limit = time.monotonic() + DEADLINE
        while isinstance(first := self.viewer(cookie).next(), tuple):
            self.assertLess(time.monotonic(), limit, first)
            time.sleep(0.1)  # between two tries
        self.assertEqual(first, {"program": "connected"})

    def test_a_viewer_that_a_stuck_program_holds_up_is_told_so(self):
        self.program()
        viewer = self.viewer()
        self.assertEqual(viewer.next(), {"program": "connected"})
        viewer.socket.settimeout(1)
        with self.assertRaises(TimeoutError):
            while True:
                viewer.send(BINARY, b'\2{"t":"u","s":"' + b"x" * 50_000 + b'"}')
        viewer.socket.settimeout(DEADLINE)
        self.assertEqual(viewer.end(), (4410, "The program takes nothing any more. Try again when "
                                              "it goes on."))

    def test_a_page_that_stops_holds_nothing_up(self):
        stop = float(os.environ.get("VESK_PAGE_STOPS", 2))
        program, viewer = self.watching()
        program.send(video(3000, KEY))
        self.assertEqual(viewer.next()[:1], b"\3")

        # As fast as the pictures of a real session, while the page reads nothing.
        slowest = 0
        begin = time.monotonic()
        count = 0
        while (now := time.monotonic()) < begin + stop:
            program.send(video(3000, DELTA + struct.pack("<I", count).ljust(PICTURE, b"x")))
            slowest = max(slowest, time.monotonic() - now)
            count += 1
            time.sleep(1 / 30)  # the pace of the pictures
        self.assertLess(slowest, 0.25)

        # What it gets then is half a second at most, and then a key frame that was asked for.
        program.socket.settimeout(DEADLINE)
        answered = threading.Thread(target=self.answer_key_frame, args=(program,))
        answered.start()
        late = 0
        while isinstance(message := viewer.next(), bytes):
            late += 1
        answered.join(DEADLINE)
        print(f"page: stopped for {stop} s, {count} pictures, {late} came late; "
              f"the slowest took {slowest * 1000:.1f} ms to send", file=sys.stderr)
        self.assertGreater(late, 0)
        self.assertLessEqual(late, 17)
        self.assertEqual(message, {"dropped": count - late})
        self.assertEqual(viewer.next(), b"\3" + struct.pack("<I", 3000) + KEY)

    def answer_key_frame(self, program):
        self.assert_asked_for_key_frame(program)
        program.send(video(3000, KEY))

    def test_a_page_that_never_reads_holds_nothing_up(self):
        program, _ = self.watching(receive_buffer=4096)
        program.send(video(3000, KEY))
        before = resident_bytes(self.agent.process.pid)
        for _ in range(2000):
            program.send(video(3000, DELTA + b"x" * 100_000))  # 200 MB, taken as fast as it goes
        program.send(frame(1, b'{"op":"denied"}'))
        self.assertEqual(self.agent.output.next(), b'{"op":"denied"}')
        self.assertLess(resident_bytes(self.agent.process.pid) - before, 100_000_000)


def resident_bytes(pid):
    with open(f"/proc/{pid}/statm", encoding="ascii") as file:
        return int(file.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")


if __name__ == "__main__":
    unittest.main()
