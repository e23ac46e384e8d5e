#!/usr/bin/python3
"""Stands in for the desktop's portal and tells programs on this session bus which colour scheme the user prefers, and
whether things may move.

    portal.py light|dark [calm]

It says "ready" on a line once programs can ask, and runs until it is ended.
"""

import sys

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402  (the version first)

NAME = "org.freedesktop.portal.Desktop"
PATH = "/org/freedesktop/portal/desktop"
INTERFACE = """
<node>
  <interface name="org.freedesktop.portal.Settings">
    <method name="ReadAll">
      <arg name="namespaces" type="as" direction="in"/>
      <arg name="value" type="a{sa{sv}}" direction="out"/>
    </method>
    <signal name="SettingChanged">
      <arg name="namespace" type="s"/><arg name="key" type="s"/><arg name="value" type="v"/>
    </signal>
    <property name="version" type="u" access="read"/>
  </interface>
</node>
"""
SCHEMES = {"dark": 1, "light": 2}


def main(scheme, moves):
    appearance = {"color-scheme": GLib.Variant("u", SCHEMES[scheme])}
    interface = {"enable-animations": GLib.Variant("b", moves)}

    def answer(_bus, _sender, _path, _interface, _method, _arguments, invocation):
        groups = {"org.freedesktop.appearance": appearance, "org.gnome.desktop.interface": interface}
        invocation.return_value(GLib.Variant("(a{sa{sv}})", (groups,)))

    def offer(bus, _name):
        settings = Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0]
        bus.register_object(PATH, settings, answer, lambda *_: GLib.Variant("u", 1), None)

    Gio.bus_own_name(Gio.BusType.SESSION, NAME, Gio.BusNameOwnerFlags.NONE, offer,
                     lambda *_: print("ready", flush=True), lambda *_: sys.exit("the bus has another portal"))
    GLib.MainLoop().run()


if __name__ == "__main__":
    if len(sys.argv) not in (2, 3) or sys.argv[1] not in SCHEMES or sys.argv[2:] not in ([], ["calm"]):
        sys.exit(__doc__)
    main(sys.argv[1], len(sys.argv) == 2)
