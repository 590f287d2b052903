"""A Wayland desktop of the test's own: sway with its bar as the tray, in place of the X server and its desktop."""
import json
import os
import pathlib

from .bus import Bus
from .audio import AudioServer
from .desktop import Desktop
from .editors import GtkEditor, Xterm
from .keyring import Keyring
from .sounds import Ear
from .waiting import is_listened_to, wait_for

_SETTINGS = """output * resolution {width}x{height}
xwayland {xwayland}
default_border none
focus_on_window_activation focus
bindsym F9 exec dbus-send --type=method_call --dest=nl.pelloquintar.tavlo /nl/pelloquintar/Tavlo1 \
nl.pelloquintar.Tavlo1.Toggle
bar {{
    position top
    tray_output *
}}
exec sh -c 'printf %s "$DISPLAY" >{folder}/part; mv {folder}/part {folder}/display'
"""


class SwayHands:
    """The user's hands: keys through a keyboard of wtype's, windows through sway's own control."""

    def __init__(self, desktop):
        self._desktop = desktop

    def press(self, key):
        """Presses a key and releases it: "F9", "Escape", "Control_R". The compositor's own keys are such a key too."""
        # A new keyboard needs a moment until programs know of it.
        self._desktop.processes.run("wtype", "-s", 200, "-k", key)

    def windows(self, pid):
        """The windows of a process that the compositor manages."""
        return [node["id"] for node in self._nodes() if node.get("pid") == pid]

    def focus(self, window):
        self._desktop.swaymsg(f"[con_id={window}]", "focus")
        wait_for(lambda: window in [node["id"] for node in self._nodes() if node["focused"]],
                 what=f"window {window} to have the keyboard")

    def _nodes(self):
        def walk(node):
            yield node
            for child in node["nodes"] + node["floating_nodes"]:
                yield from walk(child)
        return list(walk(json.loads(self._desktop.swaymsg("-t", "get_tree"))))


class SwayDesktop(Desktop):
    """Its options are those of a Desktop that make sense here, and

    xwayland    whether X11 programs can be shown
    """

    # Where the compositor gets screens and keyboards from.
    backends = {"WLR_BACKENDS": "headless", "WLR_LIBINPUT_NO_DEVICES": "1"}

    def __init__(self, size=(1280, 800), xwayland=True, keyring="unlocked", sound="pulseaudio"):
        super().__init__(size=size, window_manager=False, panel=False, keyring=keyring, sound=sound,
                         environment={"XDG_SESSION_TYPE": "wayland", "XDG_CURRENT_DESKTOP": "sway",
                                      "GDK_BACKEND": "wayland"})
        self._xwayland = xwayland
        self.hands = SwayHands(self)

    def _start(self):
        if os.geteuid() == 0:
            raise RuntimeError("sway refuses to run as root")
        self.bus = Bus(self)
        self._start_compositor()
        self.keyring = Keyring(self, self._wants_keyring)
        if self._wants_sound:
            self.sound = AudioServer(self, self._wants_sound)
            self.ear = Ear(self)

    def _start_compositor(self):
        width, height = self._size
        settings = self.folder / "sway.conf"
        settings.write_text(_SETTINGS.format(width=width, height=height, folder=self.folder,
                                             xwayland="enable" if self._xwayland else "disable"), encoding="utf-8")
        self.compositor = self.processes.start("sway", ["sway", "-c", settings],
                                               {"WLR_RENDERER": "pixman", **self.backends})
        socket = self.runtime_folder / "wayland-1"
        wait_for(lambda: is_listened_to(socket), timeout=20, what="the compositor", show=self.compositor.error_text)
        self.environment["WAYLAND_DISPLAY"] = socket.name
        wait_for(lambda: list(self.runtime_folder.glob("sway-ipc.*.sock")), what="the compositor's control")
        self.environment["SWAYSOCK"] = str(next(self.runtime_folder.glob("sway-ipc.*.sock")))
        if self._xwayland:
            display = self.folder / "display"
            wait_for(display.exists, timeout=20, what="the X11 display of the compositor")
            self.environment["DISPLAY"] = display.read_text(encoding="utf-8")
        wait_for(lambda: self.bus.has_owner("org.kde.StatusNotifierWatcher"), timeout=20, what="the bar's tray",
                 show=self.compositor.error_text)

    def swaymsg(self, *words):
        return self.processes.run("swaymsg", *words)

    def screenshot(self, path):
        self.processes.run("grim", path)
        return pathlib.Path(path)


class WaylandEditor(GtkEditor):
    """The text editor as a Wayland program."""


class Foot(Xterm):
    """A Wayland terminal. text() is what the program inside read."""

    def _start(self):
        self._received = self.desktop.folder / f"foot-{id(self)}.txt"
        reader = pathlib.Path(__file__).resolve().parents[1] / "apps/raw_reader.py"
        return self.desktop.processes.start(f"foot-{id(self)}", ["foot", "/usr/bin/python3", reader, self._received])
