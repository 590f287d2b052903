"""Keyboards and mice that the kernel takes for plugged in, and the user's fingers on it."""
import itertools
import time

from evdev import ecodes

from .root import Root


class Device:
    """Plugged in while in a "with" statement."""

    kind = None
    _numbers = itertools.count(1)

    def __init__(self, name=None):
        self.name = name or f"Test {self.kind} {next(self._numbers)}"
        self.node = None  # The path of its device; the rules of udev have been applied to it
        self._root = None

    def __enter__(self):
        self.plug()
        return self

    def __exit__(self, *_details):
        self.unplug()

    def plug(self):
        self._root = Root()
        self.node = self._root.ask(do="plug", name=self.name, kind=self.kind)["node"]
        if not self.node:
            raise RuntimeError(f"{self.name} has no device")

    def unplug(self):
        if self._root:
            self._root.ask(do="unplug", name=self.name)
            self._root.close()
            self._root = None


class Mouse(Device):
    kind = "mouse"


class Keyboard(Device):
    """Keys are named as in <linux/input-event-codes.h>, without "KEY_"."""

    kind = "keyboard"

    def down(self, *keys):
        self._write([(key, 1) for key in keys])

    def up(self, *keys):
        self._write([(key, 0) for key in keys])

    def press(self, key, seconds=0.05):
        """Presses a key for that long and releases it."""
        self.down(key)
        time.sleep(seconds)
        self.up(key)

    def chord(self, *keys):
        """Presses keys one after the other, and releases them in reverse order."""
        self.down(*keys)
        time.sleep(0.05)
        self.up(*reversed(keys))

    def type(self, text):
        """Types small letters and blanks as on an American keyboard."""
        for letter in text:
            self.press("SPACE" if letter == " " else letter.upper(), 0.01)

    def _write(self, changes):
        self._root.ask(do="write", name=self.name,
                       events=[(ecodes.ecodes[f"KEY_{key}"], value) for key, value in changes])
