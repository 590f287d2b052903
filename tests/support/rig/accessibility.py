"""The accessibility bus (AT-SPI) of the virtual desktop: what a screen reader is told of a program's windows.

It also tells the tests where a control stands, so that they can click it.
"""
from gi.repository import Gio, GLib

from .waiting import wait_for

_LAUNCHER = "/usr/libexec/at-spi-bus-launcher"
_ACCESSIBLE = "org.a11y.atspi.Accessible"
_COMPONENT = "org.a11y.atspi.Component"
_TEXT = "org.a11y.atspi.Text"
_VALUE = "org.a11y.atspi.Value"
_LABELLED_BY = 2  # a relation
_SCREEN = 0  # coordinates of the screen, not of the window

# The numbers of the states that the tests ask for.
_STATES = {"active": 1, "checked": 4, "enabled": 8, "focusable": 11, "focused": 12, "sensitive": 24, "showing": 25,
           "visible": 30, "default": 39}


class Node:
    """One accessible object of a program."""

    def __init__(self, bus, owner, path):
        self._bus, self._owner, self.path = bus, owner, path

    def __eq__(self, other):
        return isinstance(other, Node) and (self._owner, self.path) == (other._owner, other.path)

    def __hash__(self):
        return hash((self._owner, self.path))

    def __repr__(self):
        return f"{self.role} {self.name!r}"

    def _call(self, interface, method, arguments=None):
        return self._bus.call_sync(self._owner, self.path, interface, method, arguments, None,
                                   Gio.DBusCallFlags.NO_AUTO_START, 10_000, None).unpack()

    def _get(self, interface, name):
        return self._call("org.freedesktop.DBus.Properties", "Get", GLib.Variant("(ss)", (interface, name)))[0]

    @property
    def name(self):
        return self._get(_ACCESSIBLE, "Name")

    @property
    def description(self):
        return self._get(_ACCESSIBLE, "Description")

    @property
    def role(self):
        return self._call(_ACCESSIBLE, "GetRoleName")[0]

    @property
    def states(self):
        words = self._call(_ACCESSIBLE, "GetState")[0]
        bits = words[0] | (words[1] << 32)
        return {name for name, number in _STATES.items() if bits >> number & 1}

    @property
    def children(self):
        return [Node(self._bus, owner, path) for owner, path in self._call(_ACCESSIBLE, "GetChildren")[0]]

    def labelled_by(self):
        """The labels that say what this control is."""
        return [Node(self._bus, owner, path) for kind, targets in self._call(_ACCESSIBLE, "GetRelationSet")[0]
                if kind == _LABELLED_BY for owner, path in targets]

    def descendants(self):
        found = []
        for child in self.children:
            found += [child, *child.descendants()]
        return found

    def find(self, role, name=None):
        """The showing control below this one with that role and name."""
        found = [node for node in self.descendants()
                 if node.role == role and (name is None or node.name == name) and "showing" in node.states]
        if len(found) != 1:
            raise LookupError(f"{len(found)} of {role} {name!r} among {self.descendants()}")
        return found[0]

    @property
    def extents(self):
        """(x, y, width, height) on the screen."""
        return tuple(self._call(_COMPONENT, "GetExtents", GLib.Variant("(u)", (_SCREEN,)))[0])

    @property
    def centre(self):
        x, y, width, height = self.extents
        return x + width // 2, y + height // 2

    @property
    def text(self):
        length = self._get(_TEXT, "CharacterCount")
        return self._call(_TEXT, "GetText", GLib.Variant("(ii)", (0, length)))[0]

    @property
    def value(self):
        return self._get(_VALUE, "CurrentValue")


class Accessibility:
    """Starts the accessibility bus and says that somebody reads it, as a screen reader does. Before the programs that
    are to be read."""

    def __init__(self, desktop):
        self._desktop = desktop
        desktop.processes.start("at-spi", [_LAUNCHER])
        wait_for(lambda: desktop.bus.has_owner("org.a11y.Bus"), timeout=20, what="the accessibility bus")
        address = desktop.bus.call("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress")[0]
        self._bus = Gio.DBusConnection.new_for_address_sync(
            address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION,
            None, None)
        self._bus.set_exit_on_close(False)
        desktop.bus.call("org.a11y.Bus", "/org/a11y/bus", "org.freedesktop.DBus.Properties", "Set",
                         GLib.Variant("(ssv)", ("org.a11y.Status", "IsEnabled", GLib.Variant("b", True))))
        # The registry, in which programs enter themselves, starts when it is asked for.
        self._bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                            "StartServiceByName", GLib.Variant("(su)", ("org.a11y.atspi.Registry", 0)), None,
                            Gio.DBusCallFlags.NONE, 20_000, None)

    def _process_of(self, owner):
        return self._bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                   "GetConnectionUnixProcessID", GLib.Variant("(s)", (owner,)), None,
                                   Gio.DBusCallFlags.NONE, 10_000, None).unpack()[0]

    def application(self, pid):
        """The program with that process id, as soon as it has entered itself."""
        root = Node(self._bus, "org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root")

        def search():
            for owner, path in root._call(_ACCESSIBLE, "GetChildren")[0]:
                try:
                    if self._process_of(owner) == pid:
                        return Node(self._bus, owner, path)
                except GLib.Error:
                    pass  # ended meanwhile
            return None
        return wait_for(search, timeout=20, what=f"process {pid} on the accessibility bus")

    def windows(self, pid, title=None):
        """The showing windows of a program, or those of them with that title."""
        found = []
        for node in self.application(pid).children:
            try:
                if "showing" in node.states and (title is None or node.name == title):
                    found.append(node)
            except GLib.Error:
                pass  # gone meanwhile
        return found

    def window(self, pid, title):
        """The program's only window of that title, as soon as it shows."""
        return wait_for(lambda: self.windows(pid, title), what=f"the window {title!r}",
                        show=lambda: self.windows(pid))[0]

    def close(self):
        try:
            self._bus.close_sync(None)
        except GLib.Error:
            pass
