#!/usr/bin/python3
"""A text editor of one window. Prints "text " and its content as JSON at every change, "key " and the name of each
key that is pressed while it has the keyboard, and "focused" when it gets the keyboard."""

import json
import sys

import gi

gi.require_version("Gdk", "3.0")
gi.require_version("Gtk", "3.0")
from gi.repository import Gdk, Gtk  # noqa: E402


def report(buffer):
    start, end = buffer.get_bounds()
    print("text " + json.dumps(buffer.get_text(start, end, True)), flush=True)


def report_key(_view, event):
    print("key " + (Gdk.keyval_name(event.keyval) or "?"), flush=True)
    return False  # The key does what it does.


def main():
    window = Gtk.Window(title="Editor")
    window.set_default_size(500, 300)
    view = Gtk.TextView()
    view.get_buffer().connect("changed", report)
    view.connect("key-press-event", report_key)
    window.add(view)
    window.connect("destroy", Gtk.main_quit)
    window.connect("focus-in-event", lambda *_: print("focused", flush=True))
    window.show_all()
    view.grab_focus()
    Gtk.main()


if __name__ == "__main__":
    sys.exit(main())
