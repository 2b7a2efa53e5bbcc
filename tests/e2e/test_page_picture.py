"""What a viewer sees in a browser of what is on the person's screen, and how soon."""

import re
import statistics
import subprocess
import time

import harness
from selenium.webdriver.common.keys import Keys
from viewing import Viewing, wait_until
from xclient import XClient, XWindow

# Of a still page at the rate that the page asks for at first; what is left are colours at half the
# resolution, and what a browser rounds.
ALIKE = 38  # decibels
DARK, LIGHT = 0x202020, 0xe0e0e0
CHANGES = 40
SOON = 5000  # milliseconds: some 25 where nothing else runs, and a deadline where much does
# Notes when a place of the drawn pictures, left of the pointer, has turned from dark to light or back, by this machine's
# clock. The page draws a picture and closes it at once, so it is looked at in between.
WATCH_TURNS = """
  window.turns = [];
  const probe = new OffscreenCanvas(1, 1).getContext('2d', { willReadFrequently: true });
  const draw = CanvasRenderingContext2D.prototype.drawImage;
  CanvasRenderingContext2D.prototype.drawImage = function (frame, ...rest) {
    draw.call(this, frame, ...rest);
    const time = performance.timeOrigin + performance.now();
    probe.drawImage(frame, frame.displayWidth * 0.4, frame.displayHeight / 2, 1, 1, 0, 0, 1, 1);
    const isLight = probe.getImageData(0, 0, 1, 1).data[1] > 128;
    if (turns.at(-1)?.isLight !== isLight) turns.push({ isLight, time });
  };
"""


class Picture(Viewing):
    def show_text(self):
        """A terminal full of text on a coloured desktop."""
        subprocess.run(["xsetroot", "-solid", "#2f4f6f"], env=self.environment(), check=True)
        self.start(harness.Child,
                   ["xterm", "-fa", "Monospace", "-fs", "11", "-geometry", "90x30+40+40", "-e",
                    "seq -w 1 400 | paste -sd ' ' | fold -w 88; touch written; read never"],
                   self.environment(), cwd=self.home)
        wait_until((self.home / "written").exists, "the terminal has written")

    def save_screen(self, path):
        subprocess.run(["ffmpeg", "-v", "error", "-y", "-f", "x11grab", "-video_size", "1280x800",
                        "-i", self.server.display, "-frames:v", "1", path],
                       env=self.environment(), check=True, timeout=harness.PATIENCE)

    def likeness(self, one, other):
        """How alike two pictures are, in decibels over all three colours."""
        result = subprocess.run(["ffmpeg", "-i", one, "-i", other, "-lavfi",
                                 "[0]format=gbrp[a];[1]format=gbrp[b];[a][b]psnr", "-f", "null", "-"],
                                capture_output=True, text=True, check=True, timeout=harness.PATIENCE)
        return float(re.search(r"average:(\S+)", result.stderr)[1])

    def test_equals_the_screen(self):
        self.show_text()
        # Before anybody watches, since the program's own strip and border are no part of the picture.
        screen, canvas = self.home / "screen.png", self.home / "canvas.png"
        self.save_screen(screen)
        self.watch()

        def likeness():
            self.page.save_canvas(canvas)
            return self.likeness(screen, canvas)
        wait_until(lambda: likeness() >= ALIKE, "the page shows the screen")
        print(f"{likeness():.1f} dB", end=" ", flush=True)
        wait_until(lambda: self.page.figure("size") == "1280 × 800", "the page tells its size")
        self.browser.picture("watching")

    def test_shows_a_change_soon(self):
        client = XClient(self.server.display)
        self.addCleanup(client.close)
        window = XWindow(client, 400, 300, 480, 200)
        self.watch()
        self.browser.run(WATCH_TURNS)

        def delay(is_light):
            """Milliseconds from the paint on the screen to the paint on the page."""
            painted = time.time() * 1000
            window.paint(LIGHT if is_light else DARK)
            turn = wait_until(lambda: self.browser.run(
                "return turns.at(-1)?.isLight === arguments[0] && turns.at(-1)", is_light),
                "the page shows it")
            return turn["time"] - painted
        delay(True)
        delays = [delay(bool(number % 2)) for number in range(CHANGES)]
        print(f"{statistics.median(delays):.1f} ms at the median, {max(delays):.1f} at most", end=" ",
              flush=True)
        self.assertLess(statistics.median(delays), SOON)


# As fast as pictures are taken, and not as fast as a processor can: a screen full of other letters.
PAGES = "while head -c 3000 /dev/urandom | base64; do sleep 0.03; done"


class Busy(Viewing):
    """A screen on which much goes on all the time."""

    def setUp(self):
        super().setUp()
        self.start(harness.Child, ["xterm", "-fullscreen", "-fa", "Monospace", "-e",
                                   PAGES], self.environment())
        wait_until(lambda: self.person("search", "--onlyvisible", "--class", "xterm"),
                   "the terminal is on the screen")
        self.watch()

    def rate(self):
        return int(self.page.figure("bits").replace("–", "0"))

    def test_the_slider_changes_the_bit_rate(self):
        wait_until(lambda: self.rate() > 2000, "the bit rate is what was asked for")
        self.page.element("bitrate").send_keys(Keys.HOME)
        self.assertEqual(self.page.text("bitrate-words"), "200 kbit/s")
        wait_until(lambda: self.rate() < 500, "the bit rate is lower")
        self.page.element("bitrate").send_keys(Keys.END)
        wait_until(lambda: self.rate() > 2000, "the bit rate is higher again")

    def test_a_page_that_stops_for_ten_seconds_holds_nobody_up(self):
        wait_until(lambda: self.rate() > 2000, "the bit rate is what was asked for")
        end = time.monotonic() + 10
        taken = []
        with self.browser.halted_page():
            while time.monotonic() < end:
                taken.append(int(self.agent.wait_for_note("video: ").split()[2]))
        self.agent.wait_for_note("too slow for")
        # What the program sends meanwhile is taken, second by second. The first notes are older.
        self.assertGreater(min(taken[-5:]), 5)
        decoded = int(self.page.figure("decoded"))
        wait_until(lambda: int(self.page.figure("decoded")) > decoded + 30, "pictures come again")
        self.assertGreater(int(self.page.figure("dropped")), 0)
        print(f"{self.page.figure('dropped')} dropped, delay {self.page.figure('delay')}", end=" ")


if __name__ == "__main__":
    harness.main()
