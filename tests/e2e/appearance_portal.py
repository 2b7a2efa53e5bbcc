"""A desktop's settings portal that tells of one choice of colours: what the file says that it is
given, "SCHEME" or "SCHEME RED GREEN BLUE", at the moment that it is asked. A scheme that begins
with "s" is told as a text.

Once it can be asked, there is a second file, of the first one's name with ".ready".
"""

import pathlib
import sys

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

INTERFACE = """<node><interface name="org.freedesktop.portal.Settings"><method name="ReadAll">
  <arg type="as" direction="in"/><arg type="a{sa{sv}}" direction="out"/>
</method></interface></node>"""
GROUP = "org.freedesktop.appearance"


def settings(choice):
    scheme, *accent = choice.read_text().split()
    is_text = scheme.startswith("s")
    told = GLib.Variant("s", scheme[1:]) if is_text else GLib.Variant("u", int(scheme))
    values = {"color-scheme": told}
    if accent:
        values["accent-color"] = GLib.Variant("(ddd)", tuple(map(float, accent)))
    return values


def main():
    choice = pathlib.Path(sys.argv[1])

    def answer(_connection, _sender, _path, _interface, _method, arguments, invocation):
        groups = {GROUP: settings(choice)} if GROUP in arguments.unpack()[0] else {}
        invocation.return_value(GLib.Variant("(a{sa{sv}})", (groups,)))

    bus = Gio.bus_get_sync(Gio.BusType.SESSION)
    interface = Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0]
    bus.register_object("/org/freedesktop/portal/desktop", interface, answer)
    Gio.bus_own_name_on_connection(
        bus,
        "org.freedesktop.portal.Desktop",
        Gio.BusNameOwnerFlags.NONE,
        lambda *_: choice.with_name(choice.name + ".ready").touch(),
        None,
    )
    GLib.MainLoop().run()


main()
