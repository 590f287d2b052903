#!/usr/bin/python3
"""Stands in for the desktop's notifications: prints each one, as a line of JSON with its title and text."""
import json

from gi.repository import Gio, GLib

_INTERFACE = """<node><interface name="org.freedesktop.Notifications">
  <method name="Notify">
    <arg type="s" direction="in"/><arg type="u" direction="in"/><arg type="s" direction="in"/>
    <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="as" direction="in"/>
    <arg type="a{sv}" direction="in"/><arg type="i" direction="in"/>
    <arg type="u" direction="out"/>
  </method>
</interface></node>"""


def answer(_connection, _sender, _path, _interface, _method, arguments, invocation):
    print(json.dumps(arguments.unpack()[3:5]), flush=True)
    invocation.return_value(GLib.Variant("(u)", (1,)))


def serve(connection, _name):
    description = Gio.DBusNodeInfo.new_for_xml(_INTERFACE)
    connection.register_object("/org/freedesktop/Notifications", description.interfaces[0], answer, None, None)


Gio.bus_own_name(Gio.BusType.SESSION, "org.freedesktop.Notifications", Gio.BusNameOwnerFlags.NONE, serve, None, None)
GLib.MainLoop().run()
