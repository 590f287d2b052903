#!/usr/bin/python3
"""An application that fills the whole screen. Prints "shown" when it does."""

import gi

gi.require_version("Gdk", "3.0")
gi.require_version("Gtk", "3.0")
from gi.repository import Gdk, Gtk  # noqa: E402


def main():
    window = Gtk.Window(title="Full screen")
    window.fullscreen()

    def changed(_window, event):
        if event.new_window_state & Gdk.WindowState.FULLSCREEN:
            print("shown", flush=True)

    def clicked(_window, event):
        print(f"click {event.x_root:.0f} {event.y_root:.0f}", flush=True)

    window.add_events(Gdk.EventMask.BUTTON_PRESS_MASK)
    window.connect("window-state-event", changed)
    window.connect("button-press-event", clicked)
    window.connect("destroy", Gtk.main_quit)
    window.show_all()
    Gtk.main()


if __name__ == "__main__":
    main()
