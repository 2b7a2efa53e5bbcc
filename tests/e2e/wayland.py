"""The program on a real Wayland compositor, with a person's hands and programs that are their own."""

import json
import os
import re
import signal
import socket
import struct
import subprocess
import tempfile

import harness
import letting_go
from harness import wait_until

# The kernel's numbers.
SHIFT, KEY_A, RETURN, ESCAPE = 42, 30, 28, 1
LEFT_BUTTON = 272


class Sway(harness.Child):
    """A private compositor without a screen of its own. It refuses to run as root and so runs as
    somebody else in a namespace, whom the system takes for the user of this process."""

    def __init__(self, folder, lines=(), rights=None):
        """`rights` are those of a user who is not root; the folder is theirs."""
        ready = folder / "ready"
        os.mkfifo(ready)
        if rights:
            os.chown(ready, rights["user"], rights["group"])
        configuration = folder / "sway.conf"
        configuration.write_text("\n".join([
            "output HEADLESS-1 mode 1280x800@60Hz position 0 0 bg #204060 solid_color",
            "xwayland disable", "default_border none", "focus_follows_mouse no", *lines,
            f"exec echo $WAYLAND_DISPLAY $SWAYSOCK > {ready}", ""]))
        self.folder = folder
        self.errors = open(folder / "sway.err", "w", encoding="utf-8")
        as_somebody = [] if rights else ["unshare", "--user", "--map-user=1000", "--map-group=1000"]
        super().__init__(
            [*as_somebody, "sway", "--config", configuration],
            {"PATH": os.environ["PATH"], "HOME": str(folder), "XDG_RUNTIME_DIR": str(folder),
             "WLR_BACKENDS": "headless", "WLR_LIBINPUT_NO_DEVICES": "1",
             "WLR_RENDERER": "pixman", "WLR_HEADLESS_OUTPUTS": "1"},
            stderr=self.errors, **(rights or {}))
        with open(ready, encoding="utf-8") as pipe:
            self.display, self.control = pipe.read().split()

    def end(self, *arguments):
        status = super().end(*arguments)
        self.errors.close()
        return status

    def environment(self):
        return {"XDG_RUNTIME_DIR": str(self.folder), "WAYLAND_DISPLAY": self.display}

    def command(self, *words):
        """One of its commands, carried out when this returns."""
        self.carry_out([" ".join(map(str, words))])

    def carry_out(self, commands):
        """Many of them, each once the one before was carried out."""
        with socket.socket(socket.AF_UNIX) as control:
            control.connect(self.control)
            for command in commands:
                control.sendall(b"i3-ipc" + struct.pack("=II", len(command), 0) + command.encode())
                size, _ = struct.unpack("=II", control.recv(14, socket.MSG_WAITALL)[6:])
                answer = control.recv(size, socket.MSG_WAITALL)
                if b'"success": true' not in answer:
                    raise AssertionError(f"sway refused {command}: {answer}")

    def ask(self, kind):
        answer = subprocess.run(["swaymsg", "--raw", "--socket", self.control, "-t", kind],
                                check=True, capture_output=True, timeout=harness.PATIENCE)
        return json.loads(answer.stdout)


class Picture:
    """What a screen shows, its pixels in red, green and blue."""

    def __init__(self, portable_pixmap):
        header = re.match(rb"P6\s+(\d+)\s+(\d+)\s+255\s", portable_pixmap)
        self.width, self.height = int(header[1]), int(header[2])
        self.pixels = portable_pixmap[header.end():]

    def at(self, x, y):
        start = (y * self.width + x) * 3
        return tuple(self.pixels[start:start + 3])


class Receiver(harness.Child):
    """A window that tells of all input that it gets, a line each."""

    def __init__(self, environment):
        super().__init__(["stdbuf", "--output=L", "wev"], environment, stdout=subprocess.PIPE, text=True)
        self.lines = []
        harness.threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        for line in self.process.stdout:
            self.lines.append(line.strip())

    def keys(self):
        """Which keys are down, by the numbers of the kernel."""
        down = set()
        pressed = None
        for line in list(self.lines):
            if key := re.search(r"wl_keyboard\] key: .*key: (\d+); state: (\d)", line):
                pressed = int(key[1]) - 8
                (down.add if key[2] == "1" else down.discard)(pressed)
            elif "wl_keyboard] leave" in line:
                down.clear()
        return down

    def buttons(self):
        down = set()
        for line in list(self.lines):
            if button := re.search(r"wl_pointer\] button: .*button: (\d+).*state: (\d)", line):
                (down.add if button[2] == "1" else down.discard)(int(button[1]))
        return down

    def pointer(self):
        """Where the pointer was last, in the window."""
        for line in reversed(list(self.lines)):
            if place := re.search(r"wl_pointer\] (?:motion|enter): .*x, y: ([-\d.]+), ([-\d.]+)",
                                  line):
                return float(place[1]), float(place[2])
        return None

    def place(self):
        """Where that is on the screen, all of which the window covers."""
        return self.pointer()


class Hand(harness.Child):
    """A person's keyboard and mouse; each call returns once the compositor has taken it."""

    def __init__(self, environment):
        super().__init__([harness.BUILD / "tests" / "wayland_hand", 1280, 800], environment,
                         stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self._await()

    def _await(self):
        if self.process.stdout.readline() != "done\n":
            raise AssertionError("the hand has gone")

    def do(self, *words):
        self.process.stdin.write(" ".join(map(str, words)) + "\n")
        self.process.stdin.flush()
        self._await()

    def down(self, key):
        self.do("key", key, "down")

    def up(self, key):
        self.do("key", key, "up")

    def tap(self, key):
        self.do("key", key, "tap")

    def click(self, x, y, button=272):
        self.do("move", x, y)
        self.do("button", button, "click")


class Case(harness.Case):
    """A test with a compositor, a home folder, and helpers to start the program in them."""

    lines = ()

    def start_server(self):
        folder = harness.pathlib.Path(tempfile.mkdtemp(prefix="vesk-sway-"))
        self.addCleanup(harness.shutil.rmtree, folder, ignore_errors=True)
        return self.start(Sway, folder, self.lines)

    def environment(self, **changes):
        return super().environment(**{"DISPLAY": None, **self.server.environment(), **changes})

    def picture(self):
        taken = subprocess.run(["grim", "-t", "ppm", "-"], env=self.environment(), check=True,
                               capture_output=True, timeout=harness.PATIENCE)
        return Picture(taken.stdout)

    def start_receiver(self):
        """A window in full screen that has the focus."""
        receiver = self.start(Receiver, self.environment())
        wait_until(lambda: '"app_id": "wev"' in json.dumps(self.server.ask("get_tree")),
                   "the window is there")
        self.server.command("fullscreen", "enable")
        return receiver

    def hand(self):
        """The person's keyboard and mouse, there from then on."""
        return self.start(Hand, self.environment())


class LettingGo(letting_go.LettingGo):
    """The same, as a window sees it that the case has as its `receiver`."""

    def allow(self):
        self.agent.send("allow-input")

        def moved():
            self.agent.send("move 0.5 0.375")
            return self.receiver.place() == (640, 300)
        wait_until(moved, "the pointer moves")

    def hold(self):
        self.press()
        wait_until(lambda: self.receiver.keys() == {SHIFT, KEY_A}, "the keys are down")
        wait_until(lambda: self.receiver.buttons() == {LEFT_BUTTON}, "the button is down")
        self.assertEqual(self.receiver.place(), (640, 200))

    def expect_release(self):
        wait_until(lambda: not self.receiver.keys(), "the keys are up")
        wait_until(lambda: not self.receiver.buttons(), "the button is up")

    def test_lets_go_when_the_program_is_told_to_end(self):
        self.hold()
        self.program.end(signal.SIGTERM)
        self.expect_release()
