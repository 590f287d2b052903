"""Applications into which the text is pasted."""
import json
import pathlib

from .waiting import wait_for

_APPS = pathlib.Path(__file__).resolve().parents[1] / "apps"


class _Editor:
    """Opens its window and gives it the keyboard. `text()` is what stands in it."""

    def __init__(self, desktop):
        self.desktop = desktop
        self.process = self._start()
        self.window = wait_for(self._find_window, timeout=30, what=f"the window of {type(self).__name__}")
        self.focus()

    def _find_window(self):
        if not self.process.is_running:
            raise RuntimeError(f"{self.process.name} ended: {self.process.error_text()}")
        windows = self.desktop.hands.windows(self.process.pid)
        return windows[0] if windows else None

    def focus(self):
        self.desktop.hands.focus(self.window)

    def wait_for_text(self, expected, timeout=10.0):
        wait_for(lambda: self.text() == expected, timeout, f"the text {expected!r}", self.text)

    def close(self):
        self.process.end()


class _Reporting(_Editor):
    """An application that prints its content, as a line of JSON, at each change."""

    script = ""

    def _start(self):
        name = pathlib.Path(self.script).stem
        return self.desktop.processes.start(f"{name}-{id(self)}", ["/usr/bin/python3", _APPS / self.script])

    def text(self):
        lines = [line for line in self.process.output_text().split("\n")[:-1] if line.startswith("text ")]
        return json.loads(lines[-1][5:]) if lines else ""


class GtkEditor(_Reporting):
    script = "text_editor.py"

    def keys(self):
        """The names of all keys that were pressed while it had the keyboard, in the order of the X server."""
        return [line[4:] for line in self.process.output_text().split("\n")[:-1] if line.startswith("key ")]

    def clear(self):
        """Empties the editor, as a user does."""
        self.focus()
        if self.text():
            self.desktop.hands.press("ctrl+a")
            self.desktop.hands.press("BackSpace")
            self.wait_for_text("")


class VteTerminal(_Reporting):
    """A terminal of the GTK desktops. text() is all that it sent to the program inside."""

    script = "vte_terminal.py"


class Xterm(_Editor):
    """xterm as it is by default: Shift+Insert pastes the primary selection. text() is what the program inside read."""

    def _start(self):
        self._received = self.desktop.folder / f"xterm-{id(self)}.txt"
        return self.desktop.processes.start(
            f"xterm-{id(self)}", ["xterm", "-e", "/usr/bin/python3", _APPS / "raw_reader.py", self._received])

    def _find_window(self):
        # The reader inside has made the terminal raw when its file is there.
        return super()._find_window() if self._received.exists() else None

    def text(self):
        return self._received.read_bytes().decode("utf-8", "replace") if self._received.exists() else ""
