#!/usr/bin/python3
"""The desktop's background window, as each desktop has one: a plain colour on which dark overlays can be seen.
Prints "shown" when it stands there."""
import gi

gi.require_version("Gtk", "3.0")
gi.require_version("Gdk", "3.0")
from gi.repository import Gdk, Gtk  # noqa: E402


def main():
    window = Gtk.Window(title="Desktop", decorated=False, accept_focus=False,
                        type_hint=Gdk.WindowTypeHint.DESKTOP)
    area = Gdk.Display.get_default().get_monitor(0).get_geometry()
    window.set_default_size(area.width, area.height)
    style = Gtk.CssProvider()
    style.load_from_data(b"window { background: #5a7184; }")
    window.get_style_context().add_provider(style, Gtk.STYLE_PROVIDER_PRIORITY_APPLICATION)
    window.connect("map-event", lambda *_: print("shown", flush=True))
    window.show_all()
    Gtk.main()


if __name__ == "__main__":
    main()
