"""The base of the tests of Tavlo's own windows: what a screen reader is told of them, and the mouse and the keys."""
from gi.repository import GLib

from .accessibility import Accessibility
from .local import LocalScenario
from .waiting import wait_for

SETTINGS = "Tavlo Settings"


class WindowScenario(LocalScenario):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.accessibility = Accessibility(cls.shared)
        cls.addClassCleanup(cls.accessibility.close)

    # Windows

    def window(self, tavlo, title):
        """The window of that title, as soon as it is in front and has the keyboard."""
        window = self.accessibility.window(tavlo.process.pid, title)
        wait_for(lambda: "active" in window.states, what=f"{title!r} to be in front", show=lambda: window.states)
        return window

    def titles(self, tavlo):
        """The titles of the windows that show, overlays apart."""
        return sorted(window.name for window in self.accessibility.windows(tavlo.process.pid)
                      if window.role in ("dialog", "alert message"))

    def wait_for_titles(self, tavlo, *titles):
        wait_for(lambda: self.titles(tavlo) == sorted(titles), what=f"the windows {titles}",
                 show=lambda: self.titles(tavlo))

    def open_settings(self, tavlo, row="Settings…", title=SETTINGS):
        tavlo.click(row)
        return self.window(tavlo, title)

    def message(self, tavlo):
        """The text of the message overlay that shows, or None."""
        for window in self.accessibility.windows(tavlo.process.pid):
            try:
                if window.role == "filler":
                    texts = [node.name for node in window.children]
                    if texts not in (["Recording"], ["Opname"]):
                        return texts[0]
            except GLib.Error:
                pass  # gone meanwhile
        return None

    def wait_for_message(self, tavlo, text):
        """Waits for a message, or for None to show."""
        wait_for(lambda: self.message(tavlo) == text, what=f"the message {text!r}", show=lambda: self.message(tavlo))

    def close_box(self, window):
        """Clicks the close box, at the right end of the title bar that the window manager puts above a window."""
        x, y, width, _height = window.extents
        self.shared.hands.click(x + width - 11, y - 14)

    # Controls

    def click(self, control):
        self.shared.hands.click(*control.centre)

    def press_button(self, window, name):
        self.click(window.find("push button", name))

    def focus(self, control):
        """Clicks a control that takes the keyboard."""
        self.click(control)
        self.wait_for_focus(control)

    def wait_for_focus(self, control):
        wait_for(lambda: "focused" in control.states, what=f"{control} to have the keyboard")

    def focused(self, window):
        """The window's control that has the keyboard, or None."""
        for node in window.descendants():
            try:
                if "focused" in node.states:
                    return node
            except GLib.Error:
                pass  # gone meanwhile
        return None

    @staticmethod
    def pop_ups(window):
        """The window's pop-ups from top to bottom."""
        return [node for node in window.children if node.role == "combo box"]

    @staticmethod
    def entries(pop_up):
        return [node.name for node in pop_up.descendants() if node.role == "list item"]

    def choose(self, tavlo, pop_up, entry):
        """Opens a pop-up with the mouse and takes an entry with the keys."""
        windows = len(tavlo.windows())
        self.click(pop_up)
        wait_for(lambda: len(tavlo.windows()) == windows + 1, what="the pop-up to open")
        for key in ["Home", *["Down"] * self.entries(pop_up).index(entry), "Return"]:
            self.shared.hands.press(key)
        self.wait_for_name(pop_up, entry)
        wait_for(lambda: len(tavlo.windows()) == windows, what="the pop-up to close")

    @staticmethod
    def wait_for_name(control, name):
        wait_for(lambda: control.name == name, what=f"{name!r}", show=lambda: control.name)

    @staticmethod
    def wait_for_content(control, text):
        wait_for(lambda: control.text == text, what=f"the text {text!r}", show=lambda: control.text)

    def paste(self, text):
        """Puts a text on the clipboard, as another application does, and pastes it where the keyboard is."""
        # xclip stays in the background to give the text to who asks for it, until somebody else has the clipboard.
        process = self.shared.processes.start("xclip", ["xclip", "-quiet", "-selection", "clipboard", "-in",
                                                        self._clipboard_file(text)])
        wait_for(lambda: self.shared.processes.run("xclip", "-selection", "clipboard", "-out", check=False) == text,
                 what="the clipboard")
        self.shared.hands.press("ctrl+v")
        self.addCleanup(process.end)

    def _clipboard_file(self, text):
        path = self.shared.folder / "clipboard.txt"
        path.write_bytes(text.encode())
        return path
