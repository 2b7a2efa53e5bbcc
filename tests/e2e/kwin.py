"""The program on a real KDE desktop, which shares its screen by its portal, with a person at it."""

import os
import pathlib
import shutil
import socket
import struct

from gi.repository import Gio, GLib

import harness
import wayland
from harness import wait_until
from portal_services import PortalServices, answers
from wayland import LEFT_BUTTON, SHIFT

WIDTH, HEIGHT = 1280, 800


class KWin(PortalServices):
    """A private KDE desktop without its shell and without a screen: KWin, and what it shares its input
    by. Without a screen it never sends a picture to whoever it shares that with."""

    desktop, dialogs_name = "KDE", "org.freedesktop.impl.portal.desktop.kde"

    def start_compositor(self):
        # Its file asks for a capability that a container may lack; a copy asks for none.
        program = self.folder / "kwin_wayland"
        shutil.copyfile("/usr/bin/kwin_wayland", program)
        program.chmod(0o700)
        self.compositor = self.serve(
            str(program), "--virtual", "--width", str(WIDTH), "--height", str(HEIGHT),
            "--no-lockscreen", "--no-global-shortcuts", "--socket", self.display,
            # For the person's hand and eyes, and for the portal, whose rights are looked up by where
            # it was installed.
            KWIN_WAYLAND_NO_PERMISSION_CHECKS="1", KWIN_SCREENSHOT_NO_PERMISSION_CHECKS="1",
            WAYLAND_DISPLAY=None, QT_QPA_PLATFORM=None)
        wait_until(lambda: answers(self.runtime / self.display), "the compositor answers")
        self.await_name("org.kde.KWin")

    def dialogs_program(self):
        """It lies in a folder that is named after the machine's architecture."""
        service = pathlib.Path(f"/usr/share/dbus-1/services/{self.dialogs_name}.service")
        lines = service.read_text(encoding="utf-8").splitlines()
        return next(line[len("Exec="):] for line in lines if line.startswith("Exec="))

    def service_environment(self):
        return {**super().service_environment(), "KDE_FULL_SESSION": "true",
                "KDE_SESSION_VERSION": "5", "QT_QPA_PLATFORM": "wayland"}

    def make_full_screen(self):
        """The window that has the focus."""
        self.write("full_screen.js", "workspace.activeClient.fullScreen = true;")
        number, = self.call("org.kde.KWin", "/Scripting", "org.kde.kwin.Scripting", "loadScript",
                            "(s)", str(self.folder / "full_screen.js"))
        self.call("org.kde.KWin", f"/{number}", "org.kde.kwin.Script", "run")

    def picture(self):
        """What the screen shows, without the pointer."""
        read_end, write_end = os.pipe()
        passed = Gio.UnixFDList.new()
        place = passed.append(write_end)
        os.close(write_end)
        question = GLib.Variant("(a{sv}h)", ({}, place))
        answer, _ = self.connection.call_with_unix_fd_list_sync(
            "org.kde.KWin", "/org/kde/KWin/ScreenShot2", "org.kde.KWin.ScreenShot2",
            "CaptureWorkspace", question, None, Gio.DBusCallFlags.NONE,
            int(harness.PATIENCE * 1000), passed, None)
        told, = answer.unpack()
        with open(read_end, "rb") as pipe:
            pixels = pipe.read(told["stride"] * told["height"])
        colours = bytearray(len(pixels) // 4 * 3)
        colours[0::3], colours[1::3], colours[2::3] = pixels[2::4], pixels[1::4], pixels[0::4]
        header = b"P6 %d %d 255\n" % (told["width"], told["height"])
        return wayland.Picture(header + bytes(colours))


class Hand:
    """The person's mouse and keyboard: KWin's own way for programs that may make up input, spoken
    without a library, which would need its description. What it does has been taken when the call
    returns."""

    INTERFACE, VERSION = b"org_kde_kwin_fake_input", 4
    DISPLAY, REGISTRY = 1, 2
    AUTHENTICATE, BUTTON, POINT, KEY = 0, 2, 9, 10

    def __init__(self, desktop):
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.settimeout(harness.PATIENCE)
        self._socket.connect(str(desktop.runtime / desktop.display))
        self._last = self.REGISTRY
        self._offered = {}
        self._request(self.DISPLAY, 1, struct.pack("=I", self.REGISTRY))
        self._settle()
        self._input = self._new()
        self._request(self.REGISTRY, 0, struct.pack("=I", self._offered[self.INTERFACE])
                      + self._text(self.INTERFACE) + struct.pack("=II", self.VERSION, self._input))
        self._request(self._input, self.AUTHENTICATE, self._text(b"person") + self._text(b"test"))
        # A seat that has had no mouse or keyboard gets it by the first stroke.
        self.move(WIDTH - 1, HEIGHT - 1)
        self.tap(SHIFT)

    @staticmethod
    def _text(text):
        padding = 4 - len(text) % 4
        return struct.pack("=I", len(text) + 1) + text + bytes(padding)

    def _request(self, target, number, arguments=b""):
        size = len(arguments) + 8
        self._socket.sendall(struct.pack("=II", target, size << 16 | number) + arguments)

    def _new(self):
        """The number of a new object: they are counted up."""
        self._last += 1
        return self._last

    def _settle(self):
        done = self._new()
        self._request(self.DISPLAY, 0, struct.pack("=I", done))
        while True:
            target, code = struct.unpack("=II", self._socket.recv(8, socket.MSG_WAITALL))
            body = self._socket.recv((code >> 16) - 8, socket.MSG_WAITALL) if code >> 16 > 8 else b""
            if target == done:
                return
            if target == self.DISPLAY and code & 0xffff == 0:
                raise AssertionError(f"the compositor refused the hand: {body}")
            if target == self.REGISTRY and code & 0xffff == 0:
                number, size = struct.unpack("=II", body[:8])
                self._offered[body[8:8 + size - 1]] = number

    def _do(self, number, *arguments):
        self._request(self._input, number, struct.pack("=ii", *arguments))
        self._settle()

    def end(self):
        self._socket.close()

    def move(self, x, y):
        self._do(self.POINT, x * 256, y * 256)

    def click(self, x, y):
        self.move(x, y)
        self._do(self.BUTTON, LEFT_BUTTON, 1)
        self._do(self.BUTTON, LEFT_BUTTON, 0)

    def down(self, key):
        self._do(self.KEY, key, 1)

    def up(self, key):
        self._do(self.KEY, key, 0)

    def tap(self, key):
        self.down(key)
        self.up(key)


class Case(harness.Case):
    """A test with such a desktop and a person at it, a home folder, and helpers to start the program
    in them."""

    def setUp(self):
        super().setUp()
        self.person = self.start(Hand, self.server)

    def start_server(self):
        return KWin(self)

    def environment(self, **changes):
        """What a program that is started on the desktop is told."""
        return super().environment(**{"DISPLAY": None, **self.server.environment(), **changes})

    def picture(self):
        return self.server.picture()

    def start_receiver(self):
        """A window in full screen that has the focus."""
        receiver = self.start(wayland.Receiver, self.environment())
        wait_until(lambda: any("wl_keyboard] enter" in line for line in list(receiver.lines)),
                   "the window has the keyboard")
        self.server.make_full_screen()
        corner = WIDTH - 2, HEIGHT - 2
        wait_until(lambda: self.picture().at(*corner) != (0, 0, 0), "the window is everywhere")
        return receiver
