"""The program on a real GNOME desktop, which shares its screen by its portal, with a person at it."""

import contextlib
import os
import pathlib
import re
import subprocess

from gi.repository import Gio, GLib

import harness
import wayland
from harness import wait_until
from portal_services import PortalServices, answers
from wayland import LEFT_BUTTON, SHIFT

WIDTH, HEIGHT = 1280, 800


class Mutter(PortalServices):
    """A private GNOME desktop without its shell and without a screen: Mutter with its X server, and
    what it shares its screen by."""

    desktop, dialogs_name = "GNOME", "org.freedesktop.impl.portal.desktop.gnome"
    x_displays = ()
    # Another monitor, to the right of the first: its size.
    beside = None

    def start_compositor(self):
        # A switch is not another one before it has moved, and a program that got no processor while
        # a key was down would repeat it.
        self.write("home/.config/glib-2.0/settings/keyfile",
                   "[org/gnome/desktop/interface]\nenable-animations=false\n"
                   "[org/gnome/desktop/peripherals/keyboard]\nrepeat=false\n")
        beside = ("--virtual-monitor", f"{self.beside[0]}x{self.beside[1]}") if self.beside else ()
        self.compositor = self.serve("mutter", "--headless", "--virtual-monitor", f"{WIDTH}x{HEIGHT}",
                                     *beside, "--wayland", "--wayland-display", self.display)
        told = re.compile(r"Using public X11 display :(\d+), \(using :(\d+) for managed services")
        self.x_displays = wait_until(lambda: told.search(self.compositor.said.read_text("utf-8")),
                                     "the X server has a number").groups()
        wait_until(lambda: answers(self.runtime / self.display), "the compositor answers")
        self.await_name("org.gnome.Mutter.ScreenCast")
        self.await_name("org.gnome.Mutter.RemoteDesktop")

    def dialogs_program(self):
        return "/usr/libexec/xdg-desktop-portal-gnome"

    def service_environment(self):
        return {**super().service_environment(), "GTK_A11Y": "none", "GDK_BACKEND": "wayland",
                "GSETTINGS_BACKEND": "keyfile"}

    def environment(self):
        environment = super().environment()
        if self.x_displays:
            environment["DISPLAY"] = ":" + self.x_displays[0]
            environment["XAUTHORITY"] = str(next(self.runtime.glob(".mutter-Xwaylandauth.*")))
        return environment

    def clean_up(self):
        """A compositor that was killed leaves its X server's places."""
        for number in self.x_displays:
            pathlib.Path(f"/tmp/.X{number}-lock").unlink(missing_ok=True)
            pathlib.Path(f"/tmp/.X11-unix/X{number}").unlink(missing_ok=True)
        super().clean_up()


class Hand:
    """The person's mouse, keyboard and eyes: a session that the compositor gives without asking.
    What it does has been taken when the call returns."""

    SERVICE, CAST = "org.gnome.Mutter.RemoteDesktop", "org.gnome.Mutter.ScreenCast"

    def __init__(self, desktop, monitor=""):
        """The first monitor where no other is named."""
        self.desktop = desktop
        self.session, = desktop.call(self.SERVICE, "/org/gnome/Mutter/RemoteDesktop", self.SERVICE,
                                     "CreateSession")
        identity, = desktop.call(self.SERVICE, self.session, "org.freedesktop.DBus.Properties", "Get",
                                 "(ss)", self.SERVICE + ".Session", "SessionId")
        cast, = desktop.call(self.CAST, "/org/gnome/Mutter/ScreenCast", self.CAST, "CreateSession",
                             "(a{sv})", {"remote-desktop-session-id": GLib.Variant("s", identity)})
        self.stream, = desktop.call(self.CAST, cast, self.CAST + ".Session", "RecordMonitor",
                                    "(sa{sv})", monitor, {"cursor-mode": GLib.Variant("u", 0)})
        nodes = []
        subscription = desktop.connection.signal_subscribe(
            self.CAST, self.CAST + ".Stream", "PipeWireStreamAdded", self.stream, None,
            Gio.DBusSignalFlags.NONE, lambda *signal: nodes.append(signal[5][0]))
        self._tell("Start")
        wait_until(lambda: (GLib.MainContext.default().iteration(False), nodes)[1],
                   "a stream has come")
        desktop.connection.signal_unsubscribe(subscription)
        self.node = nodes[0]
        # A seat that has had no mouse or keyboard gets it by the first stroke, which nobody hears.
        self.move(WIDTH - 1, HEIGHT - 1)
        self.tap(SHIFT)

    def _tell(self, method, kind=None, *arguments):
        self.desktop.call(self.SERVICE, self.session, self.SERVICE + ".Session", method, kind,
                          *arguments)

    def end(self):
        """Unless the desktop has ended it."""
        if self.desktop.compositor.is_running() and self.desktop.bus.is_running():
            with contextlib.suppress(GLib.Error):
                self._tell("Stop")

    def move(self, x, y):
        self._tell("NotifyPointerMotionAbsolute", "(sdd)", self.stream, x, y)

    def click(self, x, y):
        self.move(x, y)
        self._tell("NotifyPointerButton", "(ib)", LEFT_BUTTON, True)
        self._tell("NotifyPointerButton", "(ib)", LEFT_BUTTON, False)

    def down(self, key):
        self._tell("NotifyKeyboardKeycode", "(ub)", key, True)

    def up(self, key):
        self._tell("NotifyKeyboardKeycode", "(ub)", key, False)

    def tap(self, key):
        self.down(key)
        self.up(key)

    def picture(self):
        """What the screen shows, without the pointer."""
        taken = subprocess.run([harness.BUILD / "tests" / "pipewire_picture", str(self.node)],
                               env={**os.environ, **self.desktop.environment()}, check=True,
                               capture_output=True, timeout=harness.PATIENCE)
        return wayland.Picture(taken.stdout)


class Receiver(wayland.Receiver):
    """A window that tells of all input that it gets, and has come up whole."""

    # Where the compositor puts a first window of this size.
    LEFT, TOP, RIGHT, BOTTOM = 319, 106, 959, 586

    def __init__(self, environment, hand):
        # It tells of no pointer before it is whole.
        hand.move(WIDTH - 1, HEIGHT - 1)
        super().__init__(environment)
        self._hand = hand
        wait_until(self._is_whole, "the window is there")
        hand.move(WIDTH // 2, HEIGHT // 2)
        wait_until(lambda: self.place() == (WIDTH // 2, HEIGHT // 2), "the window has the pointer")
        wait_until(lambda: any("wl_keyboard] enter" in line for line in list(self.lines)),
                   "the window has the keyboard")

    def _is_whole(self):
        """Windows grow to their size, about their middle. It is grey from one corner to the other,
        what is behind it is blue."""
        picture = self._hand.picture()
        corners = picture.at(self.LEFT, self.TOP), picture.at(self.RIGHT - 1, self.BOTTOM - 1)
        return all(abs(pixel[0] - pixel[2]) < 8 for pixel in corners)

    def place(self):
        """Where the pointer was last, on the screen."""
        if not (inside := self.pointer()):
            return None
        return round(inside[0]) + self.LEFT, round(inside[1]) + self.TOP


class Dialog:
    """The portal's question to the person. It stands in the middle of the screen, and its places are
    those on a screen of this size."""

    SHARE, CANCEL, MAY_CONTROL = (852, 273), (428, 273), (820, 472)
    SECOND_MONITOR = (640, 441)
    # It grows about its middle. Once its outermost button has reached its place, all have.
    EDGE_OF_SHARE = (881, 273)

    def __init__(self, hand):
        self._hand = hand

    def is_there(self):
        red, green, blue = self._hand.picture().at(*self.EDGE_OF_SHARE)
        return blue > 200 and red < 100 and green < 160

    def has_pointer(self):
        """Buttons become lighter beneath it. Clicked at before that, they may hear nothing of it."""
        return self.is_there() and self._hand.picture().at(*self.EDGE_OF_SHARE)[0] > 62

    def wait_for(self):
        self._hand.move(*self.EDGE_OF_SHARE)
        wait_until(self.has_pointer, "the portal's question is on the screen")

    def wait_for_end(self):
        wait_until(lambda: not self.is_there(), "the portal's question is gone")

    def allow(self, may_control=True):
        """Both answer a question that has been waited for."""
        if may_control:
            self._hand.click(*self.MAY_CONTROL)
        self._hand.click(*self.SHARE)

    def refuse(self):
        self._hand.click(*self.CANCEL)

    def choose_second_monitor(self):
        """What the question offers where there are two. It is grey once it is chosen."""
        def is_chosen():
            self._hand.click(*self.SECOND_MONITOR)
            return self._hand.picture().at(*self.SECOND_MONITOR)[0] < 245
        wait_until(is_chosen, "the second monitor is chosen")


class Case(harness.Case):
    """A test with such a desktop and a person at it, a home folder, and helpers to start the program
    in them."""

    def setUp(self):
        super().setUp()
        self.person = self.start(Hand, self.server)
        self.dialog = Dialog(self.person)

    def start_server(self):
        return Mutter(self)

    def environment(self, **changes):
        """What a program that is started on the desktop is told."""
        return super().environment(**{**self.server.environment(), **changes})

    def picture(self):
        return self.person.picture()

    def start_receiver(self):
        return self.start(Receiver, self.environment(), self.person)
