"""Keys pressed without a program of its own for each: within a millisecond of what the test waited for."""
import ctypes

_XLIB = ctypes.CDLL("libX11.so.6")
_XTEST = ctypes.CDLL("libXtst.so.6")
_XLIB.XOpenDisplay.restype = ctypes.c_void_p
_XLIB.XOpenDisplay.argtypes = [ctypes.c_char_p]
_XLIB.XStringToKeysym.restype = ctypes.c_ulong
_XLIB.XStringToKeysym.argtypes = [ctypes.c_char_p]
_XLIB.XKeysymToKeycode.restype = ctypes.c_ubyte
_XLIB.XKeysymToKeycode.argtypes = [ctypes.c_void_p, ctypes.c_ulong]
_XLIB.XSync.argtypes = [ctypes.c_void_p, ctypes.c_int]
_XLIB.XCloseDisplay.argtypes = [ctypes.c_void_p]
_XLIB.XQueryKeymap.argtypes = [ctypes.c_void_p, ctypes.c_char_p]
_XTEST.XTestFakeKeyEvent.argtypes = [ctypes.c_void_p, ctypes.c_uint, ctypes.c_int, ctypes.c_ulong]


class QuickHands:
    """One connection to the display for as long as the object is open; a context manager."""

    def __init__(self, desktop):
        self._display = _XLIB.XOpenDisplay(desktop.display.encode())
        if not self._display:
            raise RuntimeError(f"no display {desktop.display}")

    def __enter__(self):
        return self

    def __exit__(self, *_details):
        _XLIB.XCloseDisplay(self._display)
        self._display = None

    def _code(self, key):
        code = _XLIB.XKeysymToKeycode(self._display, _XLIB.XStringToKeysym(key.encode()))
        if not code:
            raise ValueError(f"no key gives {key}")
        return code

    def _send(self, code, is_down):
        _XTEST.XTestFakeKeyEvent(self._display, code, is_down, 0)
        _XLIB.XSync(self._display, 0)

    def down(self, key):
        self._send(self._code(key), 1)

    def up(self, key):
        self._send(self._code(key), 0)

    def press(self, key):
        self.down(key)
        self.up(key)

    def press_code(self, code):
        """Presses the key in a place of the keyboard, whatever it gives in the layout of the moment."""
        self._send(code, 1)
        self._send(code, 0)

    def codes_down(self):
        """The codes of all keys that the X server holds for pressed."""
        state = ctypes.create_string_buffer(32)
        _XLIB.XQueryKeymap(self._display, state)
        return [code for code in range(256) if state.raw[code // 8] >> code % 8 & 1]

    def is_down(self, key):
        return self._code(key) in self.codes_down()
