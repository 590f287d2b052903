"""sway that gets its keys from the kernel, as on a real computer. Its screen is in memory."""
import pathlib

from rig.sway import SwayDesktop, SwayHands
from rig.waiting import wait_for

from .keyboard import Keyboard
from .root import Root

_SEATD_SOCKET = pathlib.Path("/run/seatd.sock")
# The names that the rig's tests use for keys, where the kernel has others.
_KEYS = {"Super_L": "LEFTMETA", "Super_R": "RIGHTMETA", "Control_L": "LEFTCTRL", "Control_R": "RIGHTCTRL",
         "Alt_L": "LEFTALT", "Alt_R": "RIGHTALT", "Shift_L": "LEFTSHIFT", "Shift_R": "RIGHTSHIFT", "Escape": "ESC",
         "Return": "ENTER", "BackSpace": "BACKSPACE", "space": "SPACE", "ctrl": "LEFTCTRL", "shift": "LEFTSHIFT",
         "alt": "LEFTALT"}


class KernelHands(SwayHands):
    """The user's hands on a keyboard that is plugged in as long as the desktop runs."""

    def __init__(self, desktop):
        super().__init__(desktop)
        self.keyboard = Keyboard("Keyboard of the desktop")

    def press(self, key):
        """Presses a key, or keys together, such as "ctrl+a", and releases them."""
        self.keyboard.chord(*(_KEYS.get(name, name.upper()) for name in key.split("+")))

    def type(self, text):
        self.keyboard.type(text)


class KernelSwayDesktop(SwayDesktop):
    """A SwayDesktop whose `hands` are on a keyboard of the kernel's; it also reads others that are plugged in."""

    backends = {"WLR_BACKENDS": "headless,libinput", "LIBSEAT_BACKEND": "seatd"}

    def __init__(self, **options):
        super().__init__(**options)
        self.hands = KernelHands(self)
        self._seatd = None

    def _start_compositor(self):
        # Devices are opened for the compositor by seatd: the login session's own service would ask polkit, which is
        # not there, whether the compositor may have them.
        self._seatd = Root()
        self._seatd.ask(do="seatd")
        wait_for(_SEATD_SOCKET.is_socket, what="seatd")
        self.hands.keyboard.plug()
        super()._start_compositor()
        wait_for(lambda: self.hands.keyboard.name in self.swaymsg("-t", "get_inputs"), timeout=20,
                 what="the keyboard to be known to the compositor")

    def close(self):
        super().close()
        self.hands.keyboard.unplug()
        if self._seatd:
            self._seatd.close()
