#!/usr/bin/python3
"""A dictation on sway: the compositor's own key, speech, key, and the words stand in Wayland programs."""
import re
import subprocess
import tempfile

from rig import Scenario, Tavlo, main, wait_for
from rig.sway import Foot, SwayDesktop, WaylandEditor

SENTENCE = "open the letter and write a message"
TEXT = SENTENCE + "."
ENGLISH = {"app_language": "en", "language": "en", "engine": "local", "duck_enabled": False}
NO_KEYS = ("⚠️ Wayland shows Tavlo no keys. Install tavlo-wayland-keys, or let your desktop itself have a key control "
           "Tavlo: the guide says how (Wayland).")
KEY = "F9"  # which the desktop's settings bind to Tavlo


class OnSway(Scenario):
    def desktop(self, **options):
        desktop = SwayDesktop(**options)
        self.enterContext_(desktop)
        self.addCleanup(self._tell, desktop)
        return desktop

    def dictate(self, desktop, tavlo):
        speech = desktop.sound.speech(SENTENCE)
        tavlo.begin(KEY)
        desktop.sound.play(speech)
        tavlo.finish(KEY)

    def test_words_stand_in_an_editor_and_in_a_terminal(self):
        desktop = self.desktop()
        editor = WaylandEditor(desktop)
        tavlo = self.tavlo(desktop, config=ENGLISH)
        self.assertEqual(tavlo.services(), {"toetsen": "niet", "klembord": "data-control", "plakken": "virtual-keyboard",
                                            "schermen": "X11", "overlays": "X11"})
        # No key of Tavlo's own arrives: that is said before anybody speaks, and after a change of language too.
        self.assertEqual(tavlo.status(), NO_KEYS)
        tavlo.click("🌐 Taal / Language", "🇬🇧 English")
        wait_for(lambda: tavlo.log()[-1:] == ["Taal gewijzigd naar en"], what="the change of language", show=tavlo.log)
        self.assertEqual(tavlo.status(), NO_KEYS)
        # Nor is a key waited for that cannot come: nothing could be dictated meanwhile.
        tavlo.click("Hotkey", "Choose another key…")
        self.assertEqual(tavlo.icon(), "mic")

        self.dictate(desktop, tavlo)
        editor.wait_for_text(TEXT, timeout=30)
        tavlo.wait_for_status("Pasted via local Whisper")
        self.assertEqual(desktop.processes.run("wl-paste", "-n"), TEXT)

        terminal = Foot(desktop)
        self.dictate(desktop, tavlo)
        terminal.wait_for_text(TEXT, timeout=30)
        self.assertEqual(editor.text(), TEXT)

    def test_the_overlay_stands_on_the_screen_while_recording(self):
        desktop = self.desktop()
        WaylandEditor(desktop)
        tavlo = self.tavlo(desktop, config=ENGLISH)
        self.assertEqual(self.red_pixels(desktop), 0)
        tavlo.begin(KEY)
        wait_for(lambda: self.red_pixels(desktop) > 20, what="the overlay's red dot", show=tavlo.status)
        self.call(desktop, "Cancel")
        tavlo.wait_for_status("Recording cancelled")
        wait_for(lambda: self.red_pixels(desktop) == 0, what="the overlay to go")

    def red_pixels(self, desktop):
        """How many pixels near the bottom of the screen have the red of the recording overlay's dot."""
        with tempfile.TemporaryDirectory() as folder:
            picture = desktop.screenshot(f"{folder}/screen.png")
            text = subprocess.run(["convert", picture, "-crop", "400x200+440+600", "-depth", "8", "txt:-"],
                                  stdout=subprocess.PIPE, text=True, check=True).stdout
        return len(re.findall(r"#(?:E|F)[0-9A-F][2-4][0-9A-F][2-4][0-9A-F]\b", text))

    def call(self, desktop, method):
        desktop.bus.call("nl.pelloquintar.tavlo", "/nl/pelloquintar/Tavlo1", "nl.pelloquintar.Tavlo1", method)


if __name__ == "__main__":
    main()
