"""A whole desktop of the test's own: display, session bus, window manager, panel, keyring and sound."""
import os
import pathlib
import shutil
import tempfile

from .audio import AudioServer
from .bus import Bus
from .hands import Hands
from .keyring import Keyring
from .processes import Processes, descendants
from .sounds import Ear
from .waiting import wait_for

_PANEL_SETTINGS = """<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="dark-mode" type="bool" value="{dark}"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="length" type="uint" value="100"/>
      <property name="size" type="uint" value="{size}"/>
      <property name="icon-size" type="uint" value="0"/>
      <property name="plugin-ids" type="array">
        <value type="int" value="1"/>
        <value type="int" value="2"/>
      </property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="separator">
      <property name="expand" type="bool" value="true"/>
      <property name="style" type="uint" value="0"/>
    </property>
    <property name="plugin-2" type="string" value="systray">
      <property name="square-icons" type="bool" value="true"/>
    </property>
  </property>
</channel>
"""

# (Its option --compositor=on makes it try twice to start the compositor.)
_WINDOW_MANAGER_SETTINGS = """<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfwm4" version="1.0">
  <property name="general" type="empty">
    <property name="use_compositing" type="bool" value="{compositing}"/>
  </property>
</channel>
"""


class Desktop:
    """Everything is on unless it is switched off:

    size, dpi          of the screen
    window_manager     xfwm4, or none
    compositor         of the window manager
    panel              xfce4-panel with a tray, or none
    theme              "light" or "dark"
    keyring            "unlocked", "locked", "absent" (Keyring.start() brings it later)
    sound              "pulseaudio", "pipewire", or None
    volume_history     whether PulseAudio notes each change of a volume
    x_arguments        more arguments of the X server, such as ("-extension", "XTEST")
    environment        more variables for all programs; None as a value removes one

    Use it in a "with" statement: what was started is ended, whatever happens.
    """

    def __init__(self, size=(1280, 800), dpi=96, window_manager=True, compositor=True, panel=True, theme="light",
                 keyring="unlocked", sound="pulseaudio", volume_history=False, x_arguments=(), environment=None):
        self._size, self._dpi, self._x_arguments = size, dpi, x_arguments
        self._compositor, self._theme = compositor, theme
        self.has_window_manager, self._wants_panel = window_manager, panel
        self._wants_keyring, self._wants_sound, self._volume_history = keyring, sound, volume_history
        # A short path: names of sockets have little room.
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="tavlo-rig-"))
        self.home = self.folder / "home"
        self.config_home, self.data_home = self.home / ".config", self.home / ".local/share"
        self.runtime_folder = self.folder / "run"
        self.environment = self._make_environment(environment or {})
        self.processes = Processes(self.folder / "output", self.environment)
        self.bus = self.keyring = self.sound = self.ear = self.panel = self.window_manager = None
        self.display = None
        self.hands = Hands(self)

    def _make_environment(self, more):
        stand_ins = self.folder / "stand-ins"
        for folder in (self.config_home, self.data_home, self.runtime_folder, self.folder / "tmp", stand_ins):
            folder.mkdir(parents=True, mode=0o700)
        # Nothing is opened on a virtual desktop: what was to be opened is noted.
        opener = stand_ins / "xdg-open"
        opener.write_text(f'#!/bin/sh\nprintf "%s\\n" "$1" >>"{self.folder}/opened"\n', encoding="utf-8")
        opener.chmod(0o755)
        environment = {
            "PATH": f"{stand_ins}:" + os.environ.get("PATH", "/usr/local/bin:/usr/bin:/bin"),
            "HOME": str(self.home),
            "TMPDIR": str(self.folder / "tmp"),
            "LANG": "C.UTF-8",
            "XDG_RUNTIME_DIR": str(self.runtime_folder),
            "XDG_CONFIG_HOME": str(self.config_home),
            "XDG_DATA_HOME": str(self.data_home),
            "XDG_CACHE_HOME": str(self.home / ".cache"),
            "XDG_STATE_HOME": str(self.home / ".local/state"),
            "XDG_CURRENT_DESKTOP": "XFCE",
            "XDG_SESSION_TYPE": "x11",
            "NO_AT_BRIDGE": "1",  # no accessibility bus: it would be started, and is asked for by nobody
            "GSETTINGS_BACKEND": "memory",
            "DBUS_SESSION_BUS_ADDRESS": f"unix:path={self.runtime_folder / 'bus'}",
        }
        # How programs with sanitizers in them report, and what of the libraries they leave out.
        for name in ("ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"):
            if name in os.environ:
                environment[name] = os.environ[name]
        for name, value in more.items():
            if value is None:
                environment.pop(name, None)
            else:
                environment[name] = value
        return environment

    def __enter__(self):
        try:
            self._start()
        except BaseException:
            self.close()
            raise
        return self

    def __exit__(self, *_details):
        self.close()

    def _start(self):
        self._start_display()
        services = ["org.xfce.Xfconf"] if self.has_window_manager or self._wants_panel else []
        self.bus = Bus(self, services)
        if self.has_window_manager:
            self.start_window_manager()
            background = self.processes.start(
                "background", ["/usr/bin/python3", pathlib.Path(__file__).with_name("background.py")])
        if self._wants_panel:
            self.start_panel()
        self.keyring = Keyring(self, self._wants_keyring)
        if self._wants_sound:
            self.sound = AudioServer(self, self._wants_sound, self._volume_history)
            self.ear = Ear(self)
        if self.has_window_manager:
            wait_for(background.output_text, timeout=20, what="the desktop's background")

    def _start_display(self):
        width, height = self._size
        reading, writing = os.pipe()
        try:
            self._x_server = self.processes.start(
                "xvfb", ["Xvfb", "-displayfd", writing, "-screen", "0", f"{width}x{height}x24", "-dpi", self._dpi,
                         "-nolisten", "tcp", "-noreset", *self._x_arguments], pass_fds=(writing,))
        finally:
            os.close(writing)
        with os.fdopen(reading) as answer:
            number = answer.readline().strip()
        if not number:
            raise RuntimeError("Xvfb did not start: " + self._x_server.error_text())
        self.display = f":{number}"
        self.environment["DISPLAY"] = self.display
        # The keyboard that the test's hands expect, whatever the machine's own is.
        self.set_layout("us")

    def listen(self):
        """Gives the desktop a new ear, once the sound server has been started again."""
        self.ear = Ear(self)

    def end_display(self):
        """Ends the X server, and with it the session, as a crash of it does."""
        self._x_server.end()

    def set_layout(self, layout, variant=None):
        """Sets the keyboard layout(s), such as "us" or "us,gr"."""
        words = ["-layout", layout] + (["-variant", variant] if variant else [])
        self.processes.run("setxkbmap", "-model", "pc105", *words)

    def start_window_manager(self):
        settings = self.config_home / "xfce4/xfconf/xfce-perchannel-xml/xfwm4.xml"
        settings.parent.mkdir(parents=True, exist_ok=True)
        settings.write_text(_WINDOW_MANAGER_SETTINGS.format(compositing="true" if self._compositor else "false"),
                            encoding="utf-8")
        self.window_manager = self.processes.start("xfwm4", ["xfwm4", "--vblank=off"])
        wait_for(lambda: "_NET_SUPPORTING_WM_CHECK(WINDOW)" in
                 self.processes.run("xprop", "-root", "_NET_SUPPORTING_WM_CHECK", check=False),
                 timeout=20, what="the window manager")
        self.has_window_manager = True

    def start_panel(self, size=28):
        settings = self.config_home / "xfce4/xfconf/xfce-perchannel-xml/xfce4-panel.xml"
        settings.parent.mkdir(parents=True, exist_ok=True)
        dark = "true" if self._theme == "dark" else "false"
        settings.write_text(_PANEL_SETTINGS.format(dark=dark, size=size), encoding="utf-8")
        gtk = self.config_home / "gtk-3.0/settings.ini"
        gtk.parent.mkdir(parents=True, exist_ok=True)
        gtk.write_text(f"[Settings]\ngtk-application-prefer-dark-theme={dark}\n", encoding="utf-8")
        self.panel = self.processes.start("xfce4-panel", ["xfce4-panel", "--disable-wm-check"])
        wait_for(lambda: self.bus.has_owner("org.kde.StatusNotifierWatcher"), timeout=20, what="the panel's tray")

    def stop_panel(self):
        self.panel.end()
        self.panel = None
        wait_for(lambda: not self.bus.has_owner("org.kde.StatusNotifierWatcher"), what="the panel's tray to go")

    def click_tray(self, button=1):
        """Clicks the first icon of the panel's tray, which stands at the panel's right end."""
        self.hands.click(self._size[0] - 14, 14, button)

    def panel_menu_is_open(self):
        """Whether the panel, or one of its plugins' processes, shows more than the panel itself."""
        return any(self.hands.size(window)[1] > 60 for pid in [self.panel.pid, *descendants(self.panel.pid)]
                   for window in self.hands.windows(pid))

    def wait_for_menu(self):
        wait_for(self.panel_menu_is_open, what="the panel's menu")

    def screenshot(self, path):
        """Writes the whole screen as a PNG file."""
        self.processes.run("import", "-window", "root", path)
        return pathlib.Path(path)

    def opened(self):
        """The addresses and files that were handed to the desktop to be opened, in order."""
        note = self.folder / "opened"
        return note.read_text(encoding="utf-8").splitlines() if note.exists() else []

    def report(self):
        """What the desktop's programs wrote to their standard error, for a test that failed."""
        parts = []
        for path in sorted((self.folder / "output").glob("*.err")):
            text = path.read_text(errors="replace").strip()
            if text:
                parts.append(f"--- {path.stem}\n" + "\n".join(text.splitlines()[-15:]))
        return "\n".join(parts)

    def close(self):
        if self.bus:
            self.bus.close()
        self.processes.end()
        shutil.rmtree(self.folder, ignore_errors=True)
