#!/usr/bin/python3
"""The status item and the overlays on a real X server, window manager, panel and session bus."""
import os
import queue
import subprocess
import threading
import unittest

from gi.repository import Gio, GLib

from rig.desktop import Desktop
from rig.icon import icon_state
from rig.menu import StatusItem
from rig.waiting import wait_for

PICK_LANGUAGE, MENU_TOGGLE, OPEN_SETTINGS, QUIT = 1, 2, 7, 11
PILL, BOX = (190, 38), (460, 64)


class Probe:
    """The program that shows our status item and overlays as it is told."""

    def __init__(self, desktop, environment=None):
        self._process = desktop.processes.start("tray_probe", [os.environ["TAVLO_TRAY_PROBE"]], pipe=True,
                                                stdin=subprocess.PIPE, environment=environment)
        self.pid = self._process.pid
        self.events = []
        self._lines = queue.Queue()
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def _read(self):
        for line in self._process.popen.stdout:
            self._lines.put(line.strip())

    def do(self, command):
        """Gives a command and returns when it has been carried out."""
        self._process.popen.stdin.write(command + "\n")
        self._process.popen.stdin.flush()
        while (line := self._lines.get(timeout=20)) != "done":
            if line.startswith("unknown"):
                raise AssertionError(line)
            self.events.append(line)

    def has_told(self, event):
        while not self._lines.empty():
            self.events.append(self._lines.get())
        return event in self.events

    def wait_told(self, event):
        wait_for(lambda: self.has_told(event), what=repr(event), show=lambda: self.events)

    def error_text(self):
        return self._process.error_text()

    def end(self):
        """Lets it end by itself, so that sanitizers can say at the end what they saw; then gives its exit status."""
        self._process.popen.stdin.close()
        try:
            wait_for(lambda: not self._process.is_running, what="the probe to end")
        finally:
            self._process.end()
            self._reader.join()
            self._process.popen.stdout.close()
        return self._process.popen.returncode


class OnDesktop(unittest.TestCase):
    maxDiff = None
    options = {}

    def setUp(self):
        self.desktop = Desktop(sound=None, keyring="absent", **self.options)
        self.desktop.__enter__()
        self.addCleanup(self.desktop.close)

    def start_probe(self):
        self.probe = Probe(self.desktop)
        self.item = StatusItem(self.desktop, self.probe.pid)
        self.addCleanup(self.end_probe)

    def end_probe(self):
        status = self.probe.end()
        self.assertEqual(self.probe.error_text(), "")
        self.assertEqual(status, 0)

    def wait_for_item(self):
        wait_for(self.item.is_there, timeout=20, what="the status item")

    def icon_states(self):
        """The state that the icon shows, by its pictures of all sizes: one, unless they differ."""
        return {icon_state(picture, self.desktop.environment) for picture in self.item.pixmaps()}

    def titles(self):
        return [item.title for item in self.item.menu() if not item.is_separator]

    def row(self, title, rows=None):
        for item in rows if rows is not None else self.item.menu():
            if item.title == title:
                return item
            for below in item.children:
                if below.title == title:
                    return below
        self.fail(f"no row {title!r} in the menu: {self.titles()}")

    def overlays(self):
        """The probe's overlays on the screen, the topmost first, as (width, height, x, y)."""
        tree = self.desktop.processes.run("xwininfo", "-root", "-tree")
        found = []
        for line in tree.splitlines():
            if '"Tavlo": ("tray_probe"' not in line:
                continue
            number, size, place = line.split()[0], line.split()[-2], line.split()[-1]
            width, height = (int(part) for part in size.split("+")[0].split("x"))
            left, top = (int(part) for part in place[1:].split("+"))
            if "IsViewable" in self.desktop.processes.run("xwininfo", "-id", number):
                found.append((width, height, left, top))
        return found

    def pixel(self, x, y):
        """The colour on the screen as (red, green, blue) of 0 to 255."""
        text = self.desktop.processes.run("import", "-window", "root", "-crop", f"1x1+{x}+{y}", "-depth", "8", "rgb:-",
                                          encoding="latin-1")
        return tuple(text.encode("latin-1"))


class StatusItemOnThePanel(OnDesktop):
    def setUp(self):
        super().setUp()
        self.start_probe()
        self.wait_for_item()

    def test_menu_is_the_description_in_both_languages(self):
        self.probe.wait_told("tray yes")
        self.probe.do("status Klaar")
        self.assertEqual(self.titles(), [
            "Klaar", "Engine: lokale Whisper (large-v3-turbo)", "🌐 Taal / Language",
            "Start opname  (Rechter ⌘ Command)", "Plak laatste tekst opnieuw", "Sneltoets",
            "Muziek dempen tijdens opname", "Instellingen…", "Start bij inloggen", "Feedback of idee insturen…",
            "Over Tavlo…", "Stop Tavlo"])
        self.assertEqual([item.is_separator for item in self.item.menu()].count(True), 4)
        self.probe.do("language en")
        self.assertEqual(self.titles()[3:], [
            "Start recording  (Right ⌘ Command)", "Paste last text again", "Hotkey", "Duck music while recording",
            "Settings…", "Start at login", "Send feedback or an idea…", "About Tavlo…", "Quit Tavlo"])
        self.assertEqual([(item.title, item.checked) for item in self.row("🌐 Taal / Language").children],
                         [("🇳🇱 Nederlands", False), ("🇬🇧 English", True)])

    def test_greyed_rows_check_marks_and_keys(self):
        self.probe.do("status Klaar")
        self.assertFalse(self.row("Klaar").enabled)
        self.assertTrue(self.row("🌐 Taal / Language").enabled)
        self.assertFalse(self.row("Plak laatste tekst opnieuw").enabled)
        self.assertTrue(self.row("Muziek dempen tijdens opname").checked)
        self.assertIn(self.row("Instellingen…").shortcut, ("Control+,", "Control+comma"))
        self.assertEqual(self.row("Stop Tavlo").shortcut.upper(), "CONTROL+Q")
        self.probe.do("last tekst")
        self.probe.do("duck")
        self.assertTrue(self.row("Plak laatste tekst opnieuw").enabled)
        self.assertFalse(self.row("Muziek dempen tijdens opname").checked)

    def test_no_sign_of_a_title_is_lost(self):
        for title in ("R&D_test & meer & zo", "alles_met_streepjes", "& vooraan", "achteraan &", "⚠️ " + "lang " * 80):
            self.probe.do("status " + title)
            self.assertEqual(self.titles()[0], title)

    def test_a_custom_hotkey_comes_and_goes(self):
        without = ["Rechter ⌘ Command", "Rechter ⌥ Option", "Rechter ⌃ Control", "Rechter ⇧ Shift",
                   "Fn 🌐 (wereldbol)", "", "Andere toets kiezen…"]
        self.assertEqual([item.title for item in self.row("Sneltoets").children], without)
        self.probe.do("custom F5")
        self.assertEqual([item.title for item in self.row("Sneltoets").children],
                         without[:-1] + ["Aangepast: F5", without[-1]])
        self.probe.do("custom ")
        self.assertEqual([item.title for item in self.row("Sneltoets").children], without)

    def test_a_chosen_row_is_told_and_its_check_mark_stays(self):
        self.item.click(self.row("🇬🇧 English"))
        self.probe.wait_told(f"chosen {PICK_LANGUAGE} en")
        self.assertFalse(self.row("🇬🇧 English").checked)
        self.assertTrue(self.row("🇳🇱 Nederlands").checked)
        self.item.click(self.row("Stop Tavlo"))
        self.probe.wait_told(f"chosen {QUIT}")

    def test_who_has_the_menu_open_is_told_of_every_change(self):
        row = self.item.menu()[0].number
        labels = []
        self.desktop.bus.connection.signal_subscribe(
            None, "com.canonical.dbusmenu", "ItemsPropertiesUpdated", None, None, Gio.DBusSignalFlags.NONE,
            lambda *details: labels.extend(properties.get("label") for number, properties in
                                           details[5].unpack()[0] if number == row))
        context = GLib.MainContext.default()

        def told(label):
            while context.pending():
                context.iteration(False)
            return label in labels

        self.open_panel_menu()
        self.probe.do("status Tijdens open menu")
        wait_for(lambda: told("Tijdens open menu"), what="the panel to be told", show=lambda: labels)
        self.assertEqual(self.item.menu()[0].number, row)
        self.desktop.hands.press("Escape")

    def ink_in_the_panel(self):
        """The first and the last column in which something dark stands in the panel, or None."""
        self.desktop.processes.run("import", "-window", "root", "-crop", "1280x28+0+0", "+repage", "-depth", "8",
                                   self.desktop.folder / "panel.ppm")
        header, data = (self.desktop.folder / "panel.ppm").read_bytes().split(b"\n255\n", 1)
        self.assertTrue(header.startswith(b"P6"))
        dark = [(index // 3) % 1280 for index in range(0, 3 * 1280 * 26, 3) if max(data[index:index + 3]) < 60]
        return (min(dark), max(dark)) if dark else None

    def icon_place(self):
        """The middle of our icon: it is the only thing that stands in the panel."""
        ink = self.ink_in_the_panel()
        return ink and (sum(ink) // 2, 14)

    def open_panel_menu(self):
        x, y = wait_for(self.icon_place, what="the icon's picture in the panel")
        below = (x - 60, y + 60)
        empty = self.pixel(*below)
        self.desktop.hands.click(x, y, button=3)
        wait_for(lambda: self.pixel(*below) != empty, what="the panel's menu", show=lambda: self.pixel(*below))

    def test_a_left_click_opens_the_menu(self):
        x, y = wait_for(self.icon_place, what="the icon's picture in the panel")
        self.desktop.hands.click(x, y)
        wait_for(lambda: self.desktop.hands.windows(self.probe.pid), what="our menu")
        self.desktop.hands.press("Escape")
        wait_for(lambda: not self.desktop.hands.windows(self.probe.pid), what="our menu to close")

    def test_every_state_has_its_icon(self):
        for state in ("waveform", "hourglass", "keyboard", "mic"):
            self.probe.do(f"icon {state}")
            wait_for(lambda expected=state: self.icon_states() == {expected}, what=f"the icon of {state}",
                     show=self.icon_states)
        self.assertEqual({picture[0] for picture in self.item.pixmaps()}, {16, 22, 24, 32, 44})

    def test_no_text_stands_beside_the_icon(self):
        for state in ("waveform", "hourglass", "keyboard", "mic"):
            self.probe.do(f"icon {state}")
            wait_for(lambda expected=state: self.icon_states() == {expected}, what=f"the icon of {state}",
                     show=self.icon_states)
            # It is the only thing that stands in the panel, and at most as wide as it is high.
            left, right = wait_for(self.ink_in_the_panel, what="the icon's picture in the panel")
            self.assertLessEqual(right - left + 1, 22)
        # Panels show a label or a text of some kinds of items only, but then beside the icon.
        properties = self.item.properties()
        self.assertIn("IconPixmap", properties)
        self.assertEqual([name for name in properties if "Label" in name or "Text" in name], [])

    def ink(self):
        """The colour of the icon's solid pixels."""
        _width, _height, data = self.item.pixmaps()[-1]
        return {data[index + 1:index + 4] for index in range(0, len(data), 4) if data[index] == 255}

    def test_the_ink_follows_the_panel_while_running(self):
        wait_for(lambda: self.ink() == {b"\0\0\0"}, what="dark ink on the light panel")
        for dark, ink in (("true", b"\xff\xff\xff"), ("false", b"\0\0\0")):
            self.desktop.processes.run("xfconf-query", "-c", "xfce4-panel", "-p", "/panels/dark-mode", "-s", dark)
            wait_for(lambda expected=ink: self.ink() == {expected}, what=f"the ink for dark mode {dark}",
                     show=self.ink)

    def test_the_icon_comes_back_with_a_restarted_panel(self):
        self.probe.do("status Voor de herstart")
        self.desktop.stop_panel()
        self.probe.wait_told("tray no")
        self.probe.events.clear()
        self.desktop.start_panel()
        self.wait_for_item()
        self.probe.wait_told("tray yes")
        self.assertEqual(self.titles()[0], "Voor de herstart")
        wait_for(self.icon_place, what="the icon's picture in the panel")


class WithoutAPanel(OnDesktop):
    options = {"panel": False}

    def test_the_icon_appears_with_a_panel_that_starts_later(self):
        self.start_probe()
        self.probe.do("icon waveform")
        self.probe.do("status Al lang bezig")
        self.probe.wait_told("tray no")
        self.desktop.start_panel()
        self.probe.wait_told("tray yes")
        self.wait_for_item()
        self.assertEqual(self.titles()[0], "Al lang bezig")
        self.assertEqual(self.icon_states(), {"waveform"})


class InAnEmbeddingTray(OnDesktop):
    """A tray of the old kind, which knows nothing of the bus."""

    options = {"panel": False}

    def start_tray(self):
        self.tray = self.desktop.processes.start("trayer", ["trayer", "--edge", "top", "--align", "right",
                                                            "--height", 24])

    def icon_window(self):
        """Our icon's window in the tray as (x, y) of its middle on the screen, or None."""
        tree = self.desktop.processes.run("xwininfo", "-root", "-tree")
        for line in tree.splitlines():
            if '"tavlo": ("tray_probe"' in line:
                # A tray shows the icon some time after it has taken it in.
                if "IsViewable" not in self.desktop.processes.run("xwininfo", "-id", line.split()[0], check=False):
                    return None
                left, top = line.split()[-1][1:].split("+")
                return int(left) + 11, int(top) + 11
        return None

    def overview(self):
        """Our visible windows with their sizes."""
        return {window: self.desktop.hands.size(window) for window in self.desktop.hands.windows(self.probe.pid)}

    def first_row_contrast(self, menu):
        """Of the strongest strokes in the menu's first row, which is greyed, to its ground."""
        words = self.desktop.processes.run("xdotool", "getwindowgeometry", "--shell", menu).split()
        place = dict(word.split("=") for word in words)
        self.desktop.screenshot(self.desktop.folder / "screen.png")
        row = f"{int(place['WIDTH']) - 20}x16+{int(place['X']) + 10}+{int(place['Y']) + 4}"
        dark, light = map(float, self.desktop.processes.run(
            "convert", self.desktop.folder / "screen.png", "-crop", row, "-colorspace", "LinearGray",
            "-format", "%[fx:minima] %[fx:maxima]", "info:").split())
        return (light + 0.05) / (dark + 0.05)

    def test_the_icon_comes_opens_its_menu_goes_and_comes_back(self):
        self.start_probe()
        self.probe.wait_told("tray no")
        self.start_tray()
        self.probe.wait_told("tray yes")
        place = wait_for(self.icon_window, what="the icon in the tray")
        for button in (1, 3):
            before = set(self.desktop.hands.windows(self.probe.pid))
            self.desktop.hands.click(*place, button=button)
            menu, = wait_for(lambda there=before: set(self.desktop.hands.windows(self.probe.pid)) - there,
                             what="our menu")
            self.probe.do(f"status Bij knop {button}")
            wait_for(lambda window=menu: self.first_row_contrast(window) >= 3.5, what="a status line to read")
            self.desktop.hands.press("Escape")
            wait_for(lambda there=before: set(self.desktop.hands.windows(self.probe.pid)) == there,
                     what="our menu to close", show=lambda there=before: (there, self.overview()))
        self.probe.events.clear()
        self.tray.end()
        self.probe.wait_told("tray no")
        self.start_tray()
        self.probe.wait_told("tray yes")
        wait_for(self.icon_window, what="the icon in the new tray")

    def test_the_key_equivalents_work_while_a_menu_is_open(self):
        self.start_tray()
        self.start_probe()
        self.probe.wait_told("tray yes")
        place = wait_for(self.icon_window, what="the icon in the tray")
        there = set(self.desktop.hands.windows(self.probe.pid))
        for button, key, action in ((1, "ctrl+q", QUIT), (3, "ctrl+comma", OPEN_SETTINGS)):
            self.desktop.hands.click(*place, button=button)
            wait_for(lambda: set(self.desktop.hands.windows(self.probe.pid)) - there, what="our menu")
            self.desktop.hands.press(key)
            self.probe.wait_told(f"chosen {action}")
            wait_for(lambda: set(self.desktop.hands.windows(self.probe.pid)) == there, what="our menu to close",
                     show=lambda: (there, self.overview()))

    def test_the_ink_follows_the_palette_while_running(self):
        self.start_tray()
        self.start_probe()
        wait_for(self.icon_window, timeout=20, what="the icon in the tray")

        def outline():
            # Where the icon is now: the tray still moves it after it has come.
            place = self.icon_window()
            return place and self.pixel(place[0] - 9, place[1])

        for palette, colour in (("light", (0, 0, 0)), ("dark", (255, 255, 255)), ("light", (0, 0, 0))):
            self.probe.do(f"{palette}-palette")
            wait_for(lambda expected=colour: outline() == expected, what=f"the ink for a {palette} palette",
                     show=outline)


class Overlays:
    """What holds with and without a compositor."""

    margin = 0

    def setUp(self):
        super().setUp()
        # A white window behind everything, full-screen: what is dark on the screen is ours.
        self.backdrop = self.desktop.processes.start("backdrop", ["xterm", "-bg", "white", "-fullscreen"])
        window = wait_for(lambda: self.desktop.hands.windows(self.backdrop.pid), timeout=20, what="the backdrop")[0]
        self.desktop.hands.focus(window)
        wait_for(lambda: self.pixel(640, 780) == (255, 255, 255), what="the backdrop to fill the screen")
        self.start_probe()

    def content(self, size):
        wanted = tuple(part + 2 * self.margin for part in size)
        for width, height, left, top in self.overlays():
            if (width, height) == wanted:
                return left + self.margin, top + self.margin
        return None

    def shown(self, size):
        return wait_for(lambda: self.content(size), what=f"an overlay of {size}", show=self.overlays)

    def is_dark(self, x, y):
        return max(self.pixel(x, y)) < 100

    def test_the_pill_stands_above_a_full_screen_window_in_its_shape(self):
        self.probe.do("show-recording")
        left, top = self.shown(PILL)
        self.assertEqual(left, 640 - 95)
        wait_for(lambda: self.is_dark(left + 95, top + 2), what="the pill on the screen")
        self.assertFalse(self.is_dark(left, top))
        self.assertFalse(self.is_dark(left + 189, top + 37))
        red, green, _blue = self.pixel(left + 20, top + 19)
        self.assertGreater(red, 200)
        self.assertLess(green, 120)
        self.probe.do("push 1")
        wait_for(lambda: min(self.pixel(left + 171, top + 12)) > 150, what="the bar of the loudest level")
        self.probe.do("hide-recording")
        wait_for(lambda: not self.overlays(), what="the pill to go")

    def test_the_message_stands_above_the_pill_and_hides_itself(self):
        self.probe.do("show-recording")
        self.shown(PILL)
        self.probe.do("short-message Opname geannuleerd")
        box = self.shown(BOX)
        self.assertEqual(box[0], 640 - 230)
        self.assertEqual(self.overlays()[0][0], BOX[0] + 2 * self.margin)
        wait_for(lambda: self.content(BOX) is None, what="the message to hide itself")
        self.assertIsNotNone(self.content(PILL))

    def test_the_message_stays_above_a_pill_that_comes_second(self):
        self.probe.do("message Opname geannuleerd")
        self.shown(BOX)
        self.probe.do("show-recording")
        self.shown(PILL)
        self.assertEqual([overlay[0] for overlay in self.overlays()],
                         [size[0] + 2 * self.margin for size in (BOX, PILL)])

    def test_neither_takes_the_focus_nor_catches_the_pointer(self):
        before = self.desktop.hands.focused_window()
        self.probe.do("show-recording")
        self.probe.do("message Opname geannuleerd")
        for size in (PILL, BOX):
            left, top = self.shown(size)
            self.desktop.hands.move(left + size[0] // 2, top + size[1] // 2)
            under = self.desktop.processes.run("xdotool", "getmouselocation", "--shell")
            window = next(line for line in under.split() if line.startswith("WINDOW=")).partition("=")[2]
            self.assertNotIn("Tavlo", self.desktop.processes.run("xwininfo", "-id", window))
            self.desktop.hands.click(left + size[0] // 2, top + size[1] // 2)
        self.assertEqual(self.desktop.hands.focused_window(), before)

    def test_a_window_that_becomes_active_stays_below(self):
        self.probe.do("message Opname geannuleerd")
        left, top = self.shown(BOX)
        wait_for(lambda: self.is_dark(left + 10, top + 32), what="the message on the screen")
        other = self.desktop.processes.start("other", ["xterm", "-bg", "yellow", "-fullscreen"])
        window = wait_for(lambda: self.desktop.hands.windows(other.pid), timeout=20, what="another window")[0]
        self.desktop.hands.focus(window)
        # The window manager makes its frame on top of everything and then puts it in its place.
        wait_for(lambda: self.pixel(640, 780) == (255, 255, 0), what="the other window to fill the screen")
        wait_for(lambda: self.is_dark(left + 10, top + 32), what="the message above the other window")


class OverlaysWithoutACompositor(Overlays, OnDesktop):
    options = {"compositor": False}

    def test_the_ground_is_opaque(self):
        self.probe.do("show-recording")
        left, top = self.shown(PILL)
        wait_for(lambda: self.pixel(left + 95, top + 3) == (18, 18, 18), what="an opaque ground")

    def test_there_is_no_shadow(self):
        for command, size in (("show-recording", PILL), ("message Opname geannuleerd", BOX)):
            self.probe.do(command)
            left, top = self.shown(size)
            wait_for(lambda place=(left + size[0] // 2, top + 3): self.is_dark(*place), what="the overlay")
            for y in (top - 2, top + size[1] + 2):
                self.assertEqual(self.pixel(left + size[0] // 2, y), (255, 255, 255))


class OverlaysWithACompositor(Overlays, OnDesktop):
    options = {"compositor": True}
    margin = 16  # room for the shadow

    def test_the_ground_lets_the_window_behind_shine_through(self):
        self.probe.do("show-recording")
        left, top = self.shown(PILL)
        # 0.07 at 0.88 upon white
        expected = round(255 * (0.07 * 0.88 + 0.12))
        wait_for(lambda: abs(self.pixel(left + 95, top + 3)[0] - expected) <= 3, what="a translucent ground",
                 show=lambda: self.pixel(left + 95, top + 3))

    def test_the_panels_cast_a_soft_shadow(self):
        for command, size in (("show-recording", PILL), ("message Opname geannuleerd", BOX)):
            self.probe.do(command)
            left, top = self.shown(size)
            middle, bottom = left + size[0] // 2, top + size[1]
            wait_for(lambda place=(middle, top + 3): self.is_dark(*place), what="the overlay")
            # On the white behind it the shadow grows weaker with the distance, until nothing is left of it.
            below = [self.pixel(middle, bottom + distance)[0] for distance in range(self.margin + 1)]
            self.assertLess(below[0], 225)
            self.assertEqual(sorted(below), below)
            self.assertEqual(below[-1], 255)
            # Light falls from above.
            self.assertLess(below[2], self.pixel(middle, top - 3)[0])
            for x in (left - 4, left + size[0] + 3):
                self.assertLess(self.pixel(x, top + size[1] // 2)[0], 250)


if __name__ == "__main__":
    unittest.main(verbosity=2)
