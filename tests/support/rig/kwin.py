"""A Wayland desktop of the test's own: KDE Plasma's compositor, with a panel that has a tray."""
import os
import pathlib
import shutil

from .audio import AudioServer
from .bus import Bus
from .desktop import Desktop
from .editors import GtkEditor, VteTerminal
from .keyring import Keyring
from .sounds import Ear
from .waiting import is_listened_to, wait_for


class BusHands:
    """A key of the desktop's own settings, bound to a command: no key is pressed here, the command is run."""

    def __init__(self, desktop):
        self._desktop = desktop

    def press(self, _key):
        self._desktop.bus.call("nl.pelloquintar.tavlo", "/nl/pelloquintar/Tavlo1", "nl.pelloquintar.Tavlo1", "Toggle")


class KWinDesktop(Desktop):
    """Its options are those of a Desktop that make sense here, and

    entry    the program whose desktop entry asks the compositor for what the installed one asks for; or None
    """

    def __init__(self, size=(1280, 800), keyring="unlocked", sound="pulseaudio", entry=None):
        super().__init__(size=size, window_manager=False, panel=True, keyring=keyring, sound=sound,
                         environment={"XDG_SESSION_TYPE": "wayland", "XDG_CURRENT_DESKTOP": "KDE",
                                      "QT_QPA_PLATFORM": None})
        self._entry = entry
        self.hands = BusHands(self)

    def _start(self):
        if os.geteuid() == 0:
            raise RuntimeError("root may do what a user may not")
        self.bus = Bus(self, ["org.xfce.Xfconf"])
        if self._entry:
            self._write_entry()
        self._start_compositor()
        self.start_panel()
        # What stands on the desktop besides is a Wayland program.
        self.environment["GDK_BACKEND"] = "wayland"
        self.keyring = Keyring(self, self._wants_keyring)
        if self._wants_sound:
            self.sound = AudioServer(self, self._wants_sound)
            self.ear = Ear(self)

    def _write_entry(self):
        installed = pathlib.Path(os.environ["TAVLO_DESKTOP_ENTRY"]).read_text(encoding="utf-8")
        folder = self.data_home / "applications"
        folder.mkdir(parents=True)
        (folder / "nl.pelloquintar.tavlo.desktop").write_text(
            installed.replace("Exec=tavlo\n", f"Exec={self._entry}\n"), encoding="utf-8")

    def _start_compositor(self):
        # The installed file carries a capability, with which it does not start everywhere; a copy has none.
        program = self.folder / "kwin_wayland"
        shutil.copyfile("/usr/bin/kwin_wayland", program)
        program.chmod(0o755)
        width, height = self._size
        told = self.folder / "display"
        tell = f'printf "%s" "$DISPLAY" >{told}.part; mv {told}.part {told}; exec sleep infinity'
        self.compositor = self.processes.start("kwin", [
            program, "--virtual", "--width", str(width), "--height", str(height), "--xwayland", "--no-lockscreen",
            "--no-global-shortcuts", "--socket", "wayland-1", f"sh -c '{tell}'"], {"KWIN_COMPOSE": "Q", "GDK_BACKEND": "x11"})
        wait_for(lambda: is_listened_to(self.runtime_folder / "wayland-1"), timeout=20, what="the compositor",
                 show=self.compositor.error_text)
        wait_for(told.exists, timeout=20, what="the X11 display of the compositor", show=self.compositor.error_text)
        self.environment["WAYLAND_DISPLAY"] = "wayland-1"
        self.environment["DISPLAY"] = told.read_text(encoding="utf-8")
        self.environment["GDK_BACKEND"] = "x11"


class _Newest:
    """A window that has just been opened has the keyboard, and tells so itself."""

    def _find_window(self):
        if not self.process.is_running:
            raise RuntimeError(f"{self.process.name} ended: {self.process.error_text()}")
        return "focused" in self.process.output_text().split("\n")

    def focus(self):
        pass


class NewEditor(_Newest, GtkEditor):
    pass


class NewTerminal(_Newest, VteTerminal):
    pass
