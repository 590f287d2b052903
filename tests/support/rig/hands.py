"""The user's hands: keys and the pointer, through the X server."""
import subprocess

from .waiting import wait_for


class Hands:
    def __init__(self, desktop):
        self._desktop = desktop

    def _xdotool(self, *words):
        return self._desktop.processes.run("xdotool", *words)

    def press(self, key):
        """Presses a key and releases it: "Super_R", "Escape", "F5", "ctrl+v"."""
        self._xdotool("key", "--delay", "15", key)

    def down(self, key):
        self._xdotool("keydown", key)

    def up(self, key):
        self._xdotool("keyup", key)

    def type(self, text):
        self._xdotool("type", "--delay", "5", text)

    def click(self, x, y, button=1):
        self._xdotool("mousemove", x, y, "click", button)

    def move(self, x, y):
        self._xdotool("mousemove", x, y)

    def active_window(self):
        """The window that the window manager calls active, or None."""
        try:
            return int(self._xdotool("getactivewindow"))
        except (RuntimeError, ValueError, subprocess.TimeoutExpired):
            return None

    def focused_window(self):
        try:
            return int(self._xdotool("getwindowfocus"))
        except (RuntimeError, ValueError, subprocess.TimeoutExpired):
            return None

    def windows(self, pid):
        """The visible windows of a process."""
        try:
            return [int(line) for line in self._xdotool("search", "--onlyvisible", "--pid", pid).split()]
        except RuntimeError:  # none
            return []

    def size(self, window):
        """(width, height) of a window; (0, 0) when it is gone."""
        try:
            words = dict(line.split("=") for line in self._xdotool("getwindowgeometry", "--shell", window).split())
        except RuntimeError:
            return 0, 0
        return int(words["WIDTH"]), int(words["HEIGHT"])

    def focus(self, window):
        """Gives a window the keyboard and returns when it has it."""
        if self._desktop.has_window_manager:
            self._xdotool("windowactivate", window)
            wait_for(lambda: self.active_window() == window, what=f"window {window} to become active",
                     show=self.active_window)
        else:
            self._xdotool("windowfocus", window)
        wait_for(lambda: self.focused_window() is not None, what="a window to have the keyboard")
