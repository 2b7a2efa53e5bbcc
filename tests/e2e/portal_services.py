"""What a private desktop that shares its screen by a portal has beside its compositor."""

import os
import pathlib
import shutil
import socket
import tempfile

from gi.repository import Gio, GLib

import harness
from harness import wait_until

BUS = """<busconfig><type>session</type><listen>unix:path={socket}</listen><auth>EXTERNAL</auth>
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/>
<allow own="*"/></policy></busconfig>
"""
# One file, so that nobody else's dialogs are waited for.
PORTAL = """[portal]
DBusName={dialogs}
Interfaces=org.freedesktop.impl.portal.ScreenCast;org.freedesktop.impl.portal.RemoteDesktop;
UseIn={desktop}
"""


def answers(address):
    """Whether somebody listens there."""
    with socket.socket(socket.AF_UNIX) as client:
        try:
            client.connect(str(address))
        except OSError:
            return False
        return True


class Service(harness.Child):
    """One of the desktop's programs; what it says is kept."""

    def __init__(self, folder, environment, *command):
        self.said = folder / (pathlib.Path(command[0]).name + ".said")
        with open(self.said, "a", encoding="utf-8") as output:
            super().__init__(command, environment, stdout=output, stderr=output)


class PortalServices:
    """A folder, a bus, PipeWire with its session manager, and around the compositor, which whoever
    derives from this starts, the portal. All of it answers when this has been made, and ends with
    the test. Nobody is started by being called over the bus."""

    display = "wayland-9"
    # In XDG_CURRENT_DESKTOP, and its part of the portal on the bus.
    desktop = dialogs_name = None

    def __init__(self, case):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="vesk-desktop-"))
        self._start = case.start
        case.addCleanup(self.clean_up)
        self.runtime = self.folder / "run"
        self.runtime.mkdir(mode=0o700)
        # There is no session of systemd's, without which the Bluetooth module ends the program.
        self.write("home/.config/wireplumber/bluetooth.lua.d/80-off.lua",
                   "bluez_monitor.enabled = false\n")
        self.write("portals/own.portal",
                   PORTAL.format(dialogs=self.dialogs_name, desktop=self.desktop))
        self._start_bus()
        self.pipewire = self.serve("pipewire")
        # Whoever comes before it gives up.
        wait_until(lambda: answers(self.runtime / "pipewire-0"), "PipeWire answers")
        self.session_manager = self.serve("wireplumber")
        self.start_compositor()
        self.permissions = self.serve("/usr/libexec/xdg-permission-store")
        self.await_name("org.freedesktop.impl.portal.PermissionStore")
        self.start_dialogs()
        self.start_portal()

    def write(self, path, text):
        path = self.folder / path
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")

    def _start_bus(self):
        address = self.folder / "bus"
        self.write("bus.conf", BUS.format(socket=address))
        self.bus = self.serve("dbus-daemon", "--nofork", "--nopidfile",
                              f"--config-file={self.folder}/bus.conf")
        wait_until(lambda: answers(address), "the bus answers")
        self.connection = Gio.DBusConnection.new_for_address_sync(
            f"unix:path={address}", Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT |
            Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        self.connection.set_exit_on_close(False)

    def start_dialogs(self):
        self.dialogs = self.serve(self.dialogs_program())
        self.await_name(self.dialogs_name)
        # A portal that comes before takes it to have none, for good.
        wait_until(self._knows_devices, "the dialogs know of devices")

    def _knows_devices(self):
        try:
            devices, = self.call(self.dialogs_name, "/org/freedesktop/portal/desktop",
                                 "org.freedesktop.DBus.Properties", "Get", "(ss)",
                                 "org.freedesktop.impl.portal.RemoteDesktop", "AvailableDeviceTypes")
        except GLib.Error:
            return False
        return devices != 0

    def start_portal(self):
        self.portal = self.serve("/usr/libexec/xdg-desktop-portal")
        self.await_name("org.freedesktop.portal.Desktop")

    def serve(self, *command, **changes):
        """Starts one of the desktop's own programs; what is None in `changes` it is not told."""
        environment = {**self.service_environment(), **changes}
        told = {name: value for name, value in environment.items() if value is not None}
        return self._start(Service, self.folder, told, *command)

    def service_environment(self):
        """What the desktop's own programs are told."""
        return {**self.environment(), "PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8",
                "HOME": str(self.folder / "home"), "LIBGL_ALWAYS_SOFTWARE": "1",
                "XDG_DESKTOP_PORTAL_DIR": str(self.folder / "portals"),
                **{name: value for name, value in os.environ.items() if name.startswith("MESA_")}}

    def environment(self):
        """What programs that are started on the desktop are told."""
        return {"XDG_RUNTIME_DIR": str(self.runtime), "WAYLAND_DISPLAY": self.display,
                "XDG_CURRENT_DESKTOP": self.desktop, "NO_AT_BRIDGE": "1",
                "DBUS_SESSION_BUS_ADDRESS": f"unix:path={self.folder}/bus",
                "DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/dev/null"}

    def clean_up(self):
        """Once all of it has ended."""
        shutil.rmtree(self.folder, ignore_errors=True)

    def await_name(self, name):
        wait_until(lambda: self.call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                     "org.freedesktop.DBus", "NameHasOwner", "(s)", name)[0],
                   f"somebody is {name}")

    def call(self, service, path, interface, method, kind=None, *arguments):
        parameters = GLib.Variant(kind, arguments) if kind else None
        answer = self.connection.call_sync(service, path, interface, method, parameters, None,
                                           Gio.DBusCallFlags.NONE, int(harness.PATIENCE * 1000), None)
        return answer.unpack()
