#!/usr/bin/python3
"""A terminal as the GTK desktops have them: Control+Shift+V pastes the clipboard, Shift+Insert the primary selection.
Prints "text " and all it has sent to the program inside as JSON, at every change."""

import json
import sys

import gi

gi.require_version("Gdk", "3.0")
gi.require_version("Gtk", "3.0")
gi.require_version("Vte", "2.91")
from gi.repository import Gdk, GLib, Gtk, Vte  # noqa: E402


def main():
    GLib.set_prgname("gnome-terminal-server")
    window = Gtk.Window(title="Terminal")
    terminal = Vte.Terminal()
    sent = []

    def commit(_terminal, text, _size):
        sent.append(text)
        print("text " + json.dumps("".join(sent)), flush=True)

    terminal.connect("commit", commit)
    terminal.spawn_sync(Vte.PtyFlags.DEFAULT, None, ["/bin/cat"], None, GLib.SpawnFlags.DEFAULT, None, None, None)
    shortcuts = Gtk.AccelGroup()
    control_shift = Gdk.ModifierType.CONTROL_MASK | Gdk.ModifierType.SHIFT_MASK
    shortcuts.connect(Gdk.KEY_v, control_shift, Gtk.AccelFlags.VISIBLE,
                      lambda *_: terminal.paste_clipboard() or True)
    window.add_accel_group(shortcuts)
    window.add(terminal)
    window.connect("destroy", Gtk.main_quit)
    window.connect("focus-in-event", lambda *_: print("focused", flush=True))
    window.show_all()
    terminal.grab_focus()
    Gtk.main()


if __name__ == "__main__":
    sys.exit(main())
