"""The virtual desktop's session bus, and a connection of the test's own to it."""
import os
import pathlib
import shutil
import signal

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

from .waiting import is_listened_to, wait_for  # noqa: E402

_CONFIGURATION = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <keep_umask/>
  <listen>unix:path={socket}</listen>
  <servicedir>{services}</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
"""


class Bus:
    """Starts by itself only the services that were asked for: a keyring that is absent stays absent."""

    def __init__(self, desktop, services=()):
        self._desktop = desktop
        self.socket = desktop.runtime_folder / "bus"
        self.address = f"unix:path={self.socket}"
        self._services = desktop.folder / "bus-services"
        self._services.mkdir()
        for name in services:
            self.allow_service(name)
        configuration = desktop.folder / "bus.conf"
        configuration.write_text(_CONFIGURATION.format(socket=self.socket, services=self._services), encoding="utf-8")
        self._command = ["dbus-daemon", f"--config-file={configuration}", "--nofork", "--nopidfile"]
        self.start()

    def start(self):
        """Starts the bus; also once more, after a crash()."""
        self._daemon = self._desktop.processes.start("dbus", self._command)
        wait_for(lambda: is_listened_to(self.socket), what="the session bus")
        self.connection = wait_for(self._connect, what="a connection to the session bus")

    def crash(self):
        """Ends the bus without a word to those who are connected. Its socket goes, so that start() can wait for it."""
        self.close()
        os.kill(self._daemon.pid, signal.SIGKILL)
        self._daemon.end()
        self.socket.unlink()

    def allow_service(self, name):
        """Lets the bus start a service of this machine by itself when it is asked for."""
        shutil.copy(pathlib.Path("/usr/share/dbus-1/services", name + ".service"), self._services)

    def _connect(self):
        try:
            connection = Gio.DBusConnection.new_for_address_sync(
                self.address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT |
                Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        except GLib.Error:
            return None
        connection.set_exit_on_close(False)
        return connection

    def call(self, name, path, interface, method, arguments=None, timeout=10.0):
        """Calls a method and gives its results as plain Python values. `arguments` is a GLib.Variant of a tuple."""
        reply = self.connection.call_sync(name, path, interface, method, arguments, None,
                                          Gio.DBusCallFlags.NO_AUTO_START, int(timeout * 1000), None)
        return reply.unpack()

    def get(self, name, path, interface, property_name):
        """A property, or None when it cannot be read."""
        try:
            return self.call(name, path, "org.freedesktop.DBus.Properties", "Get",
                             GLib.Variant("(ss)", (interface, property_name)))[0]
        except GLib.Error:
            return None

    def has_owner(self, name):
        return self.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameHasOwner",
                         GLib.Variant("(s)", (name,)))[0]

    def process_of(self, name):
        """The process id behind a name, or None."""
        try:
            return self.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                             "GetConnectionUnixProcessID", GLib.Variant("(s)", (name,)))[0]
        except GLib.Error:
            return None

    def close(self):
        try:
            self.connection.close_sync(None)
        except GLib.Error:
            pass
