"""The status item and its menu, read and used over the bus the way a panel does it."""
import dataclasses
from typing import List, Optional

from gi.repository import GLib

_ITEM = "org.kde.StatusNotifierItem"
_MENU = "com.canonical.dbusmenu"
_WATCHER = "org.kde.StatusNotifierWatcher"


@dataclasses.dataclass
class MenuItem:
    number: int  # the item's id in the menu protocol
    title: str
    enabled: bool
    checked: bool
    is_separator: bool
    shortcut: Optional[str]  # "Control+comma"
    children: List["MenuItem"]


def _without_mnemonic(label):
    """The title as it is shown: "_x" marks a key, "__" is one underscore."""
    return label.replace("__", "\0").replace("_", "").replace("\0", "_")


def _make(node):
    number, properties, children = node
    shortcut = properties.get("shortcut")
    return MenuItem(number=number, title=_without_mnemonic(properties.get("label", "")),
                    enabled=properties.get("enabled", True), checked=properties.get("toggle-state", 0) == 1,
                    is_separator=properties.get("type") == "separator",
                    shortcut="+".join(shortcut[0]) if shortcut else None,
                    children=[_make(child) for child in children if child[1].get("visible", True)])


class StatusItem:
    """The status item of one process."""

    def __init__(self, desktop, pid):
        self._bus = desktop.bus
        self._pid = pid
        self._address = None

    def _find(self):
        """(bus name, path) of the item, or None while there is none."""
        items = self._bus.get(_WATCHER, "/StatusNotifierWatcher", _WATCHER, "RegisteredStatusNotifierItems") or []
        for item in items:
            name, slash, path = item.partition("/")
            if self._bus.process_of(name) == self._pid:
                return name, (slash + path) if slash else "/StatusNotifierItem"
        return None

    def is_there(self):
        self._address = self._find()
        return self._address is not None

    def _property(self, name):
        if self._address is None and not self.is_there():
            raise LookupError("there is no status item")
        return self._bus.get(*self._address, _ITEM, name)

    def properties(self):
        """All that the item says of itself, by name."""
        if self._address is None and not self.is_there():
            raise LookupError("there is no status item")
        return self._bus.call(*self._address, "org.freedesktop.DBus.Properties", "GetAll",
                              GLib.Variant("(s)", (_ITEM,)))[0]

    def pixmaps(self):
        """The icon's pictures as (width, height, bytes of ARGB), largest last."""
        pictures = self._property("IconPixmap") or []
        return sorted((width, height, bytes(data)) for width, height, data in pictures)

    def _menu_address(self):
        path = self._property("Menu")
        return self._address[0], path

    def menu(self):
        """The rows of the menu, from top to bottom, submenus as children."""
        _revision, layout = self._bus.call(*self._menu_address(), _MENU, "GetLayout",
                                           GLib.Variant("(iias)", (0, -1, [])))
        return _make(layout).children

    def click(self, item):
        self._bus.call(*self._menu_address(), _MENU, "Event",
                       GLib.Variant("(isvu)", (item.number, "clicked", GLib.Variant("i", 0), 0)))
