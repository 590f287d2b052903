#!/usr/bin/python3
"""A desktop that lacks something: no XTEST, no tray, no session bus, no place for the log or for the login item."""
import json
import os
import shutil

from rig import GtkEditor, Scenario, main
from rig.cloud import SHORT, CloudScenario
from rig.menu import StatusItem
from rig.waiting import wait_for

CONFIG = {"app_language": "en", "language": "en", "engine": "local", "duck_enabled": False}
READY = "Ready - press the hotkey to dictate"
TEXT = SHORT + "."
START, STOP = "Start recording  (Right ⌘ Command)", "Stop recording"
ON_CLIPBOARD = "⚠️ Text is on the clipboard (⌘V) - re-enable Accessibility for automatic pasting"
PASTE_HELP = "https://pelloquintar.nl/tavlo/support#plakken"
FEEDBACK = "https://pelloquintar.nl/tavlo/support"

_CLIPBOARD = """
import gi
gi.require_version("Gtk", "3.0")
from gi.repository import Gdk, Gtk
print(Gtk.Clipboard.get(Gdk.SELECTION_CLIPBOARD).wait_for_text() or "", end="")
"""


class NoXTest(Scenario):
    def test_text_is_left_on_the_clipboard_each_time(self):
        desktop = self.desktop(x_arguments=("-extension", "XTEST"), keyring="absent")
        editor = GtkEditor(desktop)
        tavlo = self.tavlo(desktop, config=CONFIG)
        self.assertEqual(tavlo.status(), READY)
        self.assertEqual(tavlo.services(), {"toetsen": "XInput 2", "klembord": "X11", "plakken": "niet",
                                            "schermen": "X11", "overlays": "X11"})

        # Without XTEST the test has no keys to press either: the menu does it.
        tavlo.click(START)
        wait_for(tavlo.is_recording, what="the recording to begin", show=tavlo.status)
        desktop.sound.say(SHORT)
        tavlo.click(STOP)
        tavlo.wait_for_status(ON_CLIPBOARD, timeout=30)
        self.assertEqual(tavlo.icon(), "mic")
        self.check_sounds(desktop, "Pop", "Tink", "Basso")
        wait_for(lambda: desktop.opened() == [PASTE_HELP], what="the help page", show=desktop.opened)
        self.assertEqual(self.clipboard(desktop), TEXT)

        # The same once more, from the menu; the clipboard has been used for something else meanwhile.
        tavlo.click("Paste last text again")
        self.check_sounds(desktop, "Basso")
        wait_for(lambda: desktop.opened() == [PASTE_HELP] * 2, what="the help page once more", show=desktop.opened)
        self.assertEqual(tavlo.status(), ON_CLIPBOARD)
        self.assertEqual(self.clipboard(desktop), TEXT)

        self.assertEqual(editor.text(), "")
        seconds = int(tavlo.recording_seconds())
        tavlo.wait_for_log([f"Opname gestopt: {seconds}s audio, start transcriptie",
                            f"Klaar via local Whisper: {len(TEXT)} tekens"])

    def clipboard(self, desktop):
        return desktop.processes.run("/usr/bin/python3", "-c", _CLIPBOARD)

    def check_sounds(self, desktop, *names):
        loudness = 0.9 * 0.4  # the sound's own peak, at the volume of this warning
        for sound in desktop.ear.wait_for(*names):
            if sound.name == "Basso":
                self.assertLess(sound.peak, loudness * 1.02)
                self.assertGreater(sound.peak, loudness * 0.45)
        desktop.ear.forget()


class NoTray(Scenario):
    def test_told_once_and_the_icon_comes_with_the_panel(self):
        desktop = self.desktop(panel=False, keyring="absent")
        notifications = desktop.processes.start("notifications", [
            "/usr/bin/python3", os.path.join(os.path.dirname(__file__), "../support/apps/notifications.py")])
        wait_for(lambda: desktop.bus.has_owner("org.freedesktop.Notifications"), what="the notifications' service")
        editor = GtkEditor(desktop)
        tavlo = self.tavlo(desktop, config=CONFIG, wait=False)

        def told():
            return [json.loads(line) for line in notifications.output_text().splitlines()]
        wait_for(told, what="the notification")
        self.assertEqual(told(), [["Tavlo", "This desktop has no system tray for the icon. Tavlo works all the same: "
                                            "dictate with the hotkey (Right ⌘ Command). Start Tavlo once more to open "
                                            "its settings."]])

        # The hotkey works without it.
        tavlo.press_hotkey()
        desktop.ear.wait_for("Pop")
        desktop.sound.say(SHORT)
        tavlo.press_hotkey()
        editor.wait_for_text(TEXT, timeout=30)

        desktop.start_panel()
        tavlo.item = StatusItem(desktop, tavlo.process.pid)
        wait_for(tavlo.item.is_there, what="the icon")
        tavlo.wait_for_status("Pasted via local Whisper")
        self.assertEqual(tavlo.icon(), "mic")

        # A panel that is started anew gets it as well, and nobody is told a second time.
        desktop.stop_panel()
        desktop.start_panel()
        wait_for(tavlo.item.is_there, what="the icon in the new panel")
        tavlo.wait_for_status("Pasted via local Whisper")
        self.assertEqual(len(told()), 1)
        seconds = int(tavlo.recording_seconds())
        tavlo.wait_for_log([f"Opname gestopt: {seconds}s audio, start transcriptie",
                            f"Klaar via local Whisper: {len(TEXT)} tekens"])


class NoSessionBus(Scenario):
    def test_works_without_and_says_so_in_the_log(self):
        desktop = self.desktop(keyring="absent")
        editor = GtkEditor(desktop)
        for address in ("unix:path=/nonexistent/bus", ""):
            with self.subTest(address=address):
                # Nor is a bus found in the runtime folder; the sound server, which stands there, is told.
                tavlo = self.tavlo(desktop, config=CONFIG, wait=False, environment={
                    "DBUS_SESSION_BUS_ADDRESS": address, "XDG_RUNTIME_DIR": str(desktop.folder),
                    "PULSE_SERVER": f"unix:{desktop.runtime_folder}/pulse/native"})
                wait_for(tavlo.log, what="the first line of the log")
                desktop.ear.forget()
                tavlo.last_recording.unlink(missing_ok=True)
                wait_for(lambda: self.begins(desktop, tavlo), what="a recording")
                desktop.sound.say(SHORT)
                tavlo.press_hotkey()
                editor.wait_for_text(TEXT, timeout=30)
                seconds = int(tavlo.recording_seconds())
                tavlo.wait_for_log(["Geen sessiebus: Tavlo draait zonder besturing van buitenaf",
                                    f"Opname gestopt: {seconds}s audio, start transcriptie",
                                    f"Klaar via local Whisper: {len(TEXT)} tekens"])
                self.assertFalse(desktop.bus.has_owner("nl.pelloquintar.tavlo"))
                tavlo.end()
                tavlo.log_path.unlink()
                editor.clear()

    def begins(self, desktop, tavlo):
        """Without a bus nothing tells from outside that the keyboard is listened to: the overlay does."""
        if not tavlo.windows():
            tavlo.press_hotkey()
            wait_for(lambda: tavlo.windows() or desktop.ear.names(), timeout=1, what="an answer to the key")
        return tavlo.windows()


class NoPlaceToWrite(CloudScenario):
    """The log and the login item where they cannot be written."""

    def test_log_that_cannot_be_written_holds_nothing_up(self):
        tavlo, _ = self.start(key=None, engine="local")
        tavlo.log_path.unlink()
        for what, replace in (("a full disk", lambda: os.symlink("/dev/full", tavlo.log_path)),
                              ("a pipe without a reader", lambda: os.mkfifo(tavlo.log_path)),
                              ("a folder in its place", lambda: os.mkdir(tavlo.log_path))):
            with self.subTest(what):
                replace()
                self.record(tavlo)
                self.pasted(tavlo, "local Whisper", TEXT)
                self.check_sounds("Pop", "Tink")
                self.editor.clear()
                if tavlo.log_path.is_dir():
                    tavlo.log_path.rmdir()
                else:
                    tavlo.log_path.unlink()

        # It is written again as soon as it can be.
        tavlo.click("🌐 Taal / Language", "🇳🇱 Nederlands")
        tavlo.wait_for_log(["Taal gewijzigd naar nl"])

    def test_support_folder_missing_while_running(self):
        tavlo, _ = self.start(key=None, engine="local")
        shutil.rmtree(tavlo.support)
        # Neither settings nor model nor engine are there now; the settings fall back to what they are by default.
        tavlo.press_hotkey()
        self.shared.ear.wait_for("Pop")
        self.shared.hands.press("Escape")
        tavlo.wait_for_status("Recording cancelled")
        tavlo.click("🌐 Taal / Language", "🇳🇱 Nederlands")
        tavlo.wait_for_status("Klaar - druk op de sneltoets om te dicteren")
        self.shared.ear.wait_for("Pop", "Basso")  # while the volume is lowered, as it is without settings
        tavlo.click("🌐 Taal / Language", "🇬🇧 English")
        tavlo.wait_for_status(READY)

    def test_login_item_that_cannot_be_written(self):
        tavlo, _ = self.start(key=None, engine="local")
        autostart = self.shared.config_home / "autostart"
        entry = autostart / "nl.pelloquintar.tavlo.desktop"
        shutil.rmtree(autostart, ignore_errors=True)
        autostart.write_text("in the way", encoding="utf-8")
        tavlo.click("Start at login")
        tavlo.wait_for_status(f"⚠️ Login item: {autostart}: Not a directory")
        self.check_sounds("Basso", failure=0.5)
        self.assertFalse(tavlo.find("Start at login").checked)
        self.assertEqual(tavlo.icon(), "mic")
        self.assertEqual(tavlo.log(), [])

        autostart.unlink()
        tavlo.click("Start at login")
        wait_for(lambda: tavlo.find("Start at login").checked, what="the check mark")
        self.assertIn(f"\nExec={tavlo.program}\n", entry.read_text(encoding="utf-8"))

        # The user's own hand counts, and a click takes it back.
        entry.write_text(entry.read_text(encoding="utf-8") + "Hidden=true\nX-Own=kept\n", encoding="utf-8")
        tavlo.click("Start at login")
        wait_for(lambda: tavlo.find("Start at login").checked, what="the check mark")
        text = entry.read_text(encoding="utf-8")
        self.assertNotIn("Hidden", text)
        self.assertIn("X-Own=kept", text)
        tavlo.click("Start at login")
        wait_for(lambda: not tavlo.find("Start at login").checked, what="the check mark to go")
        shutil.rmtree(autostart)
        self.assertEqual(self.shared.ear.names(), [])

    def test_feedback_page_is_opened_in_the_browser(self):
        tavlo, _ = self.start(key=None, engine="local")
        before = self.shared.opened()
        tavlo.click("Send feedback or an idea…")
        wait_for(lambda: self.shared.opened() == [*before, FEEDBACK], what="the feedback page", show=self.shared.opened)
        self.assertEqual(tavlo.status(), READY)


if __name__ == "__main__":
    main()
