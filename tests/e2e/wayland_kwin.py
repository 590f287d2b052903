#!/usr/bin/python3
"""A dictation under KDE Plasma's compositor: a key of the desktop, speech, key, and the words stand in Wayland programs."""
import os

from rig import Scenario, main
from rig.kwin import KWinDesktop, NewEditor, NewTerminal

SENTENCE = "open the letter and write a message"
TEXT = SENTENCE + "."
ON_CLIPBOARD = "⚠️ Text is on the clipboard (⌘V) - re-enable Accessibility for automatic pasting"
ENGLISH = {"app_language": "en", "language": "en", "engine": "local", "duck_enabled": False}


class UnderKWin(Scenario):
    def desktop(self, **options):
        desktop = KWinDesktop(**options)
        self.enterContext_(desktop)
        self.addCleanup(self._tell, desktop)
        return desktop

    def dictate(self, desktop, tavlo):
        speech = desktop.sound.speech(SENTENCE)
        tavlo.begin()
        desktop.sound.play(speech)
        tavlo.finish()

    def test_words_stand_in_an_editor_and_in_a_terminal(self):
        desktop = self.desktop(entry=os.environ["TAVLO_PROGRAM"])
        editor = NewEditor(desktop)
        tavlo = self.tavlo(desktop, config=ENGLISH)
        self.assertEqual(tavlo.services(), {"toetsen": "niet", "klembord": "data-control", "plakken": "fake_input",
                                            "schermen": "X11", "overlays": "X11"})
        self.dictate(desktop, tavlo)
        editor.wait_for_text(TEXT, timeout=30)
        tavlo.wait_for_status("Pasted via local Whisper")
        self.assertEqual(desktop.processes.run("wl-paste", "-n"), TEXT)

        terminal = NewTerminal(desktop)
        self.dictate(desktop, tavlo)
        terminal.wait_for_text(TEXT, timeout=30)
        self.assertEqual(editor.text(), TEXT)

    def test_without_its_desktop_entry_the_text_stays_on_the_clipboard_and_that_is_said(self):
        desktop = self.desktop()
        editor = NewEditor(desktop)
        tavlo = self.tavlo(desktop, config=ENGLISH)
        self.assertEqual(tavlo.services()["plakken"], "niet")
        self.dictate(desktop, tavlo)
        tavlo.wait_for_status(ON_CLIPBOARD)
        self.assertEqual(desktop.processes.run("wl-paste", "-n"), TEXT)
        self.assertEqual(editor.text(), "")


if __name__ == "__main__":
    main()
