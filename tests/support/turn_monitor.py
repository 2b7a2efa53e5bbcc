"""Turns the monitor of a Mutter, which the session bus leads to, by a quarter."""

from gi.repository import Gio, GLib

NAME = "org.gnome.Mutter.DisplayConfig"
TEMPORARILY = 1
BY_A_QUARTER = 1


def call(bus, method, arguments=None):
    return bus.call_sync(NAME, "/org/gnome/Mutter/DisplayConfig", NAME, method, arguments, None,
                         Gio.DBusCallFlags.NONE, 10_000, None)


def main():
    bus = Gio.bus_get_sync(Gio.BusType.SESSION)
    serial, monitors, logical, _ = call(bus, "GetCurrentState").unpack()
    connector = monitors[0][0][0]
    mode = monitors[0][1][0][0]
    scale = logical[0][2]
    call(bus, "ApplyMonitorsConfig", GLib.Variant(
        "(uua(iiduba(ssa{sv}))a{sv})",
        (serial, TEMPORARILY, [(0, 0, scale, BY_A_QUARTER, True, [(connector, mode, {})])], {})))


if __name__ == "__main__":
    main()
